#pragma once

#include "runtime/controls/DBControls.h"

#include <QGroupBox>
#include <QRadioButton>

// The time window of a search over orders, where the screen offers it by the time of the order or of its
// pickup.
class TDateWindow : public QGroupBox {
    Q_OBJECT
public:
    struct TOptions {
        QString title{};
        QString from = QStringLiteral("开始");
        QString to = QStringLiteral("结束");
        bool choosesColumn = false; // by order or by pickup
    };

    TDateWindow(QWidget* parent, const TOptions& options);

    void PresetToday(); // from its first second to its last
    void PresetNoonToNoon(); // from yesterday noon to today noon
    QString From() const { return DBDateTimeEditEh1->Text(); } // as shown
    QString To() const { return DBDateTimeEditEh2->Text(); }
    bool ByPickupTime() const { return rbrdo3 && rbrdo3->isChecked(); }
    // Whether the window is no window, or longer; the user is told.
    bool Refused(int maxDays) const;

private:
    TDBDateTimeEditEh* DBDateTimeEditEh1; // 开始
    TDBDateTimeEditEh* DBDateTimeEditEh2; // 结束
    QRadioButton* rbrdo1 = nullptr; // 产生时间
    QRadioButton* rbrdo3 = nullptr; // 揽件时间
};
