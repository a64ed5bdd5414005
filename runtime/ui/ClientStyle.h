#pragma once

#include <QProxyStyle>

// Fusion, with lists to choose from drawn as the other boxes that drop a list down.
class TClientStyle : public QProxyStyle {
    Q_OBJECT
public:
    TClientStyle();

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
        QStyleHintReturn* data) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
        const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
        const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
        const QWidget* widget) const override;
};
