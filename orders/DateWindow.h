#pragma once

#include "runtime/ui/DBControls.h"

#include <QGroupBox>
#include <QRadioButton>

// The time window of a search over orders, by the time of the order or of its pickup. Preset to the day from
// yesterday noon to today noon.
class TDateWindow : public QGroupBox {
    Q_OBJECT
public:
    explicit TDateWindow(QWidget* parent, const QString& title);

    void PresetNoonToNoon();
    QString From() const { return DBDateTimeEditEh1->Text(); } // as shown
    QString To() const { return DBDateTimeEditEh2->Text(); }
    bool ByPickupTime() const { return !rbrdo1->isChecked(); }

private:
    TDBDateTimeEditEh* DBDateTimeEditEh1; // 开始
    TDBDateTimeEditEh* DBDateTimeEditEh2; // 结束
    QRadioButton* rbrdo1; // 产生时间
    QRadioButton* rbrdo3; // 揽件时间
};
