#pragma once

#include "runtime/Export.h"

#include <QObject>

// How a grid is set out on paper.
class RUNTIME_EXPORT TPrintDBGridEh : public QObject {
    Q_OBJECT
public:
    explicit TPrintDBGridEh(QObject* grid = nullptr, const QString& name = {});

    double MarginTop = 2.0, MarginBottom = 2.0, MarginLeft = 2.0, MarginRight = 2.0; // centimetres
    int HeaderFontPixels = 14;
    int FooterFontPixels = 14;
    bool FooterLine = true; // a single rule under the footer
};
