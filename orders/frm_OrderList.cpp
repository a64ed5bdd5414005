#include "orders/frm_OrderList.h"

#include "framework/Questions.h"
#include "framework/ScreenHandlers.h"
#include "module/data/DataSetRows.h"
#include "module/data/ServerLink.h"
#include "orders/record/OrderView.h"

using namespace Qt::Literals::StringLiterals;

Tfrm_OrderList::Tfrm_OrderList(QObject* owner, const QString& name)
    : Tfrm_BasicBoot(owner)
    , cds(new TClientDataSetEx(this, name))
    , cdsms(new TClientDataSetEx(this, u"cdsms"_s))
    , items_(new TOrderItems(cds, cdsms))
{
    cds->SetCommandText(u"select * from tab_zelmor_bill where 1=0"_s);
}

bool Tfrm_OrderList::HasOrders() const
{
    return HasRows(*cds);
}

bool Tfrm_OrderList::HasSelectedOrders() const
{
    return HasOrders() && !DataView1->DataViewGrid->SelectedRows().empty();
}

void Tfrm_OrderList::ShowOrders(const QString& sqlText)
{
    AskToDropEdits(*cds, Caption());
    const BusyCursor busy;
    OpenQuery(*cds, sqlText);
    items_->Load();
}

void Tfrm_OrderList::PrepareList(std::vector<TColumnEh> columns, int frozen)
{
    PrepareOrdersView(*DataView1, std::move(columns), cds, frozen);
    DataView1->DataViewGrid->OnCellClick = [this](const TColumnEh&) {
        RunHandler(this, [this] { DataView1DataViewGridCellClick(); });
    };
}

void Tfrm_OrderList::DataView1DataViewGridCellClick()
{
    items_->Load();
}

QAction* Tfrm_OrderList::NewBatchAction(const QString& name, const QString& caption)
{
    auto* action = new QAction(caption, this);
    action->setObjectName(name);
    const auto update = [this, action] { action->setEnabled(HasOrders()); };
    connect(cds, &TClientDataSetEx::DataReset, this, update);
    update();
    return action;
}

void Tfrm_OrderList::CheckRow(const std::function<void()>& rules)
{
    RunRules(Caption(), rules, [this](const QString& field) { GoToColumn(field); });
}

void Tfrm_OrderList::GoToColumn(const QString& field)
{
    DataView1->DataViewGrid->SelectField(field);
}

TSaveOutcome Tfrm_OrderList::SaveOrders(TSave save)
{
    if (save.caption.isEmpty())
        save.caption = Caption();
    save.keyField = u"TX_LOGISTIC_ID"_s;
    const TSaveOutcome outcome = SaveChanges(*cds, save);
    if (SaveReloads(save.after, outcome))
        items_->Load();
    return outcome;
}
