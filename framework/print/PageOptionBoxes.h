#pragma once

#include "framework/print/ListPages.h"

#include <QComboBox>
#include <QWidget>

// How a list is set out on paper, in boxes to choose from.
class TPageOptionBoxes : public QWidget {
    Q_OBJECT
public:
    // As the account had them last.
    TPageOptionBoxes(QWidget* parent, const TPrintDBGridEh& settings);

    // All of so many rows, or the selected ones where there are any.
    void OfferRows(const TDBGridEh& grid);
    TPageOptions Options() const;
    // A paper that was chosen elsewhere; false where it is the present one.
    bool Take(const QPageLayout& paper);
    void Keep() const;

Q_SIGNALS:
    void Changed();

private:
    void Recall();

    QMarginsF margins_; // millimetres
    QComboBox* ComboBox1; // 范围
    QComboBox* ComboBox2; // 纸张
    QComboBox* ComboBox3; // 方向
    QComboBox* ComboBox4; // 列
    QComboBox* ComboBox5; // 行高
};
