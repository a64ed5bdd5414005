#include "orders/search/DateWindow.h"

#include "framework/LabelledControls.h"
#include "module/data/DateRange.h"
#include "module/data/HostBridge.h"

#include <QGridLayout>
#include <QHBoxLayout>

using namespace Qt::Literals::StringLiterals;

TDateWindow::TDateWindow(QWidget* parent, const TOptions& options)
    : QGroupBox(options.title, parent)
    , DBDateTimeEditEh1(new TDBDateTimeEditEh(this, u"DBDateTimeEditEh1"_s))
    , DBDateTimeEditEh2(new TDBDateTimeEditEh(this, u"DBDateTimeEditEh2"_s))
{
    const int room = fontMetrics().horizontalAdvance(u"0000-00-00 00:00:00 00000"_s);
    for (TDBDateTimeEditEh* edit : {DBDateTimeEditEh1, DBDateTimeEditEh2})
        edit->setFixedWidth(room);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(8, 4, 8, 6);
    grid->setVerticalSpacing(4);
    grid->addWidget(LabelFor(DBDateTimeEditEh1, options.from, this), 0, 0);
    grid->addWidget(DBDateTimeEditEh1, 0, 1);
    grid->addWidget(LabelFor(DBDateTimeEditEh2, options.to, this), 1, 0);
    grid->addWidget(DBDateTimeEditEh2, 1, 1);
    if (!options.choosesColumn)
        return;
    rbrdo1 = new QRadioButton(u"产生时间"_s, this);
    rbrdo3 = new QRadioButton(u"揽件时间"_s, this);
    rbrdo1->setObjectName(u"rbrdo1"_s);
    rbrdo3->setObjectName(u"rbrdo3"_s);
    rbrdo1->setChecked(true);
    auto* choice = new QHBoxLayout;
    choice->addWidget(rbrdo1);
    choice->addWidget(rbrdo3);
    choice->addStretch(1);
    grid->addLayout(choice, 2, 0, 1, 2);
}

void TDateWindow::PresetToday()
{
    DBDateTimeEditEh1->SetText(StartOfToday());
    DBDateTimeEditEh2->SetText(EndOfToday());
}

void TDateWindow::PresetNoonToNoon()
{
    const wire::DateTime now = ServerDateTime();
    DBDateTimeEditEh1->SetText(now.AddDays(-1).Format(u"yyyy-mm-dd") + u" 12:00:00"_s);
    DBDateTimeEditEh2->SetText(now.Format(u"yyyy-mm-dd") + u" 11:59:59"_s);
}

bool TDateWindow::Refused(int maxDays) const
{
    return CheckDateRange(From(), To(), maxDays, true);
}
