#include "dispatch/frm_order_pda.h"

#include "dispatch/Couriers.h"
#include "dispatch/EntryCustomer.h"
#include "dispatch/EntryQueries.h"
#include "dispatch/EntryRules.h"
#include "framework/Lookups.h"
#include "framework/RefusedRows.h"
#include "framework/SaveChanges.h"
#include "framework/ScreenHandlers.h"
#include "framework/SelectedRows.h"
#include "module/data/DataSetRows.h"
#include "module/data/HostBridge.h"
#include "module/data/MessageBoxes.h"
#include "module/data/ServerLink.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"
#include "orders/record/OrderColumns.h"
#include "orders/record/OrderView.h"
#include "runtime/controls/LookupCompletion.h"

#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kFirstImportRow = 2;
constexpr int kFirstImportColumn = 2;

constexpr OrderColumnUse kColumns[] = {
    {.field = u"TX_LOGISTIC_ID", .title = u"订单编号"},
    {.field = u"REC_GOODS_MAN", .title = u"业务员"},
    {.field = u"PAY_TYPE", .title = u"支付方式"},
    {.field = u"TOTAL_WEIGHT", .title = u"货物重量"},
    {.field = u"TOTAL_VOLUME", .title = u"体积"},
    {.field = u"PIECE", .title = u"件数"},
    {.field = u"SEND_START_TIME", .title = u"预约时间"},
    {.field = u"BL_INSURANCE", .title = u"是否保价"},
    {.field = u"PHONE", .title = u"发货人电话"},
    {.field = u"NAME", .title = u"发货人姓名"},
    {.field = u"COMPANYNAME", .title = u"发货人公司"},
    {.field = u"PROV", .title = u"发货地址|省"},
    {.field = u"CITY", .title = u"发货地址|市"},
    {.field = u"COUNTY", .title = u"发货地址|区(县)"},
    {.field = u"ADDRESS", .title = u"发货地址|县下详细地址"},
    {.field = u"SEND_PROV", .title = u"收货地址|省"},
    {.field = u"SEND_CITY", .title = u"收货地址|市"},
    {.field = u"SEND_COUNTY", .title = u"收货地址|区(县)"},
    {.field = u"SEND_ADDRESS", .title = u"收货地址|县下详细地址"},
    {.field = u"DESTINATION", .title = u"目的地"},
    {.field = u"REMARK", .title = u"备注"},
};

// The site's own record among those that the module knows.
bool IsBigCustomerSite(const TClientDataSetEx& sites, const QString& site)
{
    const int name = sites.FieldIndex(u"SITE_NAME");
    const int flag = sites.FieldIndex(u"BL_BIG_CUSTOMER");
    for (int row = 0; flag >= 0 && row < sites.RecordCount(); ++row) {
        if (sites.ViewText(row, name) == site)
            return sites.ViewInteger(row, flag) == 1;
    }
    return false;
}

void Widen(TClientDataSetEx* list)
{
    if (list->Filtered())
        list->SetFiltered(false);
}

} // namespace

Tfrm_order_pda::Tfrm_order_pda(QObject* owner)
    : Tfrm_BasicBoot(owner)
    , CDS_ORDER_PDA(new TClientDataSetEx(this, u"CDS_ORDER_PDA"_s))
    , cds_loginsiteowner_employee(new TClientDataSetEx(this, u"cds_loginsiteowner_employee"_s))
    , dsOrder(new TDataSource(this, u"dsOrder"_s))
    , dsCourier(new TDataSource(this, u"dsCourier"_s))
{
    CDS_ORDER_PDA->AfterInsert = [this] { CDS_ORDER_PDAAfterInsert(); };
    CDS_ORDER_PDA->BeforePost = [this] { CDS_ORDER_PDABeforePost(); };
    CDS_ORDER_PDA->AfterPost = [this] { CDS_ORDER_PDAAfterPost(); };
    CDS_ORDER_PDA->AfterScroll = [this] { ForgetCaller(); };
    CDS_ORDER_PDA->AfterOpen = [this] { givenTimes_.clear(); };
    dsOrder->SetDataSet(CDS_ORDER_PDA);
    dsCourier->SetDataSet(cds_loginsiteowner_employee);
}

void Tfrm_order_pda::CreateControls()
{
    form_ = new TEntryForm(this, dsOrder);
    CreateView();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(form_);
    layout->addWidget(DataView1, 1);
}

void Tfrm_order_pda::CreateView()
{
    std::vector<TColumnEh> columns = OrderColumns(kColumns);
    ColumnOf(columns, u"PAY_TYPE").style = TColumnStyle::Text; // words here, no codes
    columns.insert(columns.begin(), {.title = u"序号"_s, .width = 46, .readOnly = true});
    DataView1 = new TDataView(this, u"DataView1"_s);
    DataView1->DataViewGrid->SetColumns(std::move(columns));
    DataView1->DataViewGrid->SetFrozenCols(2);
    DataView1->DataViewGrid->ReadOnly = true;
    DataView1->DS->SetDataSet(CDS_ORDER_PDA);
    DataView1->Loaded();
    KeepRowsInSight(*DataView1);
    new TRefusedRows(*DataView1, u"TX_LOGISTIC_ID");
}

void Tfrm_order_pda::FormCreate()
{
    Tfrm_BasicBoot::FormCreate();
    import_.Load();
    BigCustomerSite = IsBigCustomerSite(*dm_GlobalData->site, GlobalValue(u"site"_s));
    form_->AttachLists(dsCourier);
    form_->CUSTOMER_NAME->SetRemoteServer(dm_BasicData->HostConnection);
    BindHandlers();
}

void Tfrm_order_pda::BindHandlers()
{
    OnClick(form_->BTN_SAVE, this, &Tfrm_order_pda::BTN_SAVEClick);
    OnClick(form_->btn_Excel, this, &Tfrm_order_pda::btn_ExcelClick);
    OnClick(form_->Records->AddButton, this, &Tfrm_order_pda::AddButtonClick);
    form_->CUSTOMER_NAME->OnExit = [this] { RunHandler(this, [this] { CUSTOMER_NAMEExit(); }); };
    connect(form_->CUSTOMER_NAME, &QLineEdit::textEdited, this,
        [this] { RunHandler(this, [this] { CUSTOMER_NAMEEdited(); }); });
    const auto onChange = [this](TDBLookupComboboxEh* box, void (Tfrm_order_pda::*handler)()) {
        box->OnChange = [this, handler] { RunHandler(this, [this, handler] { (this->*handler)(); }); };
    };
    onChange(form_->PROV, &Tfrm_order_pda::PROVChange);
    onChange(form_->CITY, &Tfrm_order_pda::CITYChange);
    onChange(form_->SEND_PROV, &Tfrm_order_pda::SEND_PROVChange);
    onChange(form_->SEND_CITY, &Tfrm_order_pda::SEND_CITYChange);
    onChange(form_->REC_GOODS_MAN, &Tfrm_order_pda::REC_GOODS_MANChange);
    form_->DBLookupComboboxEh1->OnExit = [this] { DBLookupComboboxEh1Exit(); };
    form_->REC_GOODS_MAN->OnUpdateData = form_->REC_GOODS_MAN->OnChange; // another of the same name
    for (const auto change : {&TClientDataSetEx::RowInserted, &TClientDataSetEx::RowRemoved})
        connect(CDS_ORDER_PDA, change, this, &Tfrm_order_pda::ShowHint);
    connect(CDS_ORDER_PDA, &TClientDataSetEx::DataReset, this, &Tfrm_order_pda::ShowHint);
}

void Tfrm_order_pda::FirstLoad()
{
    OpenQuery(*dm_BasicData->comm, PayModesQuery());
    if (HasRows(*dm_BasicData->comm))
        payChoices_ = PayChoices(ColumnTexts(*dm_BasicData->comm, u"MODE_NAME"));
    form_->PAY_TYPE->SetItems(payChoices_);
    OpenQuery(
        *cds_loginsiteowner_employee, BigCustomerSite ? AllCouriersQuery() : CouriersQuery(DispatchRoot()));
    OpenQuery(*CDS_ORDER_PDA, NoOrdersQuery());
    FindNextOrderNo();
}

void Tfrm_order_pda::FormShow()
{
    Setup(DataView1, CDS_ORDER_PDA, form_->BTN_SAVE, nullptr);
    form_->CUSTOMER_NAME->setFocus();
}

TCloseAction Tfrm_order_pda::FormClose()
{
    const TCloseAction action = Tfrm_BasicBoot::FormClose();
    if (action != TCloseAction::None)
        ForgetCaller(); // other screens choose from the same regions
    return action;
}

void Tfrm_order_pda::FindNextOrderNo()
{
    OpenQuery(*dm_BasicData->comm, LastNumberQuery());
    const QString last =
        HasRows(*dm_BasicData->comm) ? TextOf(*dm_BasicData->comm, u"TX_LOGISTIC_ID") : QString();
    NextOrderNo = NextNumber(last, ServerDateTime());
}

void Tfrm_order_pda::CDS_ORDER_PDAAfterInsert()
{
    BeginOrder(*CDS_ORDER_PDA, NextOrderNo, ServerDateTime(),
        {GlobalValue(u"SITE"_s), GlobalValue(u"EMPLOYEENAME"_s), GlobalValue(u"EMPLOYEECODE"_s)});
}

void Tfrm_order_pda::CDS_ORDER_PDABeforePost()
{
    TClientDataSetEx& order = *CDS_ORDER_PDA;
    // A courier who did not come through the box has a code all the same.
    const int courier = HasText(order, u"MESSAGE")
        ? -1
        : LookupRow(form_->REC_GOODS_MAN->Lookup(), u"EMPLOYEE_NAME"_s, TextOf(order, u"REC_GOODS_MAN"));
    if (courier >= 0)
        SetText(order, u"MESSAGE",
            cds_loginsiteowner_employee->ViewText(
                courier, cds_loginsiteowner_employee->FieldIndex(u"EMPLOYEE_CODE")));
    RunRules(
        Caption(),
        [&] {
            CheckNewOrder(order,
                {GlobalValue(u"Phone_and_MoblePh"_s), ServerDateTime(), givenTimes_[order.Bookmark()]});
            StampModifier(order);
        },
        [this](const QString& field) { form_->GoTo(field); });
}

void Tfrm_order_pda::CDS_ORDER_PDAAfterPost()
{
    const QString posted = TextOf(*CDS_ORDER_PDA, u"TX_LOGISTIC_ID");
    if (NextOrderNo <= posted)
        NextOrderNo = NumberAfter(posted);
}

// The button has begun the row, or a rule has kept the one before.
void Tfrm_order_pda::AddButtonClick()
{
    if (CDS_ORDER_PDA->State() == TDataSetState::Insert && !HasText(*CDS_ORDER_PDA, u"PHONE"))
        form_->CUSTOMER_NAME->setFocus();
}

// The numbers shown while typing are provisional: the one written is found now, and every order in the list
// gets it. Where it is not known whether the last sending was stored, the orders keep the number of that
// sending, or they might be stored twice.
void Tfrm_order_pda::BTN_SAVEClick()
{
    PostPending(*CDS_ORDER_PDA);
    if (CDS_ORDER_PDA->ChangeCount() > 0 && !unanswered_)
        NumberOrders();
    const TSaveOutcome outcome = SaveChanges(*CDS_ORDER_PDA,
        {.caption = Caption(),
            .maxErrors = 0,
            .failure = u"详细：保存失败"_s,
            .failureIcon = TMessageIcon::Information});
    unanswered_ = outcome == TSaveOutcome::Failed;
    if (outcome == TSaveOutcome::Saved)
        form_->CUSTOMER_NAME->setFocus();
    else if (outcome == TSaveOutcome::Rejected)
        ShowNotice(u"订单没有保存，内容都在。编号刚被别人用去的，再保存一次就有新编号。"_s);
}

void Tfrm_order_pda::NumberOrders()
{
    const ControlsOff still(*CDS_ORDER_PDA);
    OpenQuery(*dm_BasicData->comm, NumbersInUseQuery(ColumnTexts(*CDS_ORDER_PDA, u"TX_LOGISTIC_ID")));
    FindNextOrderNo();
    WalkAllRows(*CDS_ORDER_PDA, [number = NextOrderNo](TClientDataSetEx& order) {
        if (order.UpdateStatus() == TRowStatus::Inserted) { // not what was saved and could not be read anew
            order.Edit();
            SetText(order, u"TX_LOGISTIC_ID", number);
            order.Post();
        }
        return true;
    });
}

// A call often begins with who it is.
void Tfrm_order_pda::CUSTOMER_NAMEEdited()
{
    if (CDS_ORDER_PDA->State() == TDataSetState::Browse && CDS_ORDER_PDA->IsEmpty())
        CDS_ORDER_PDA->Append();
}

void Tfrm_order_pda::CUSTOMER_NAMEExit()
{
    if (!CDS_ORDER_PDA->IsEditing())
        return;
    const QString name = form_->CUSTOMER_NAME->Text().trimmed();
    const bool known = !name.isEmpty() && FindCustomer(name);
    if (known) {
        FillShipper(*CDS_ORDER_PDA, form_->CUSTOMER_NAME->ListDataSet());
        PROVChange();
        CITYChange();
    } else {
        ClearShipper(*CDS_ORDER_PDA);
    }
    OfferPayment(known);
    form_->SetShipperKnown(known);
    form_->CUSTOMER_NAME->SetText({});
    if (!known && !name.isEmpty())
        ShowNotice(u"没有客户“%1”，请手工填写发货人。"_s.arg(name));
}

// Names repeat: the customer who was taken from the list goes before the first of that name.
bool Tfrm_order_pda::FindCustomer(const QString& name)
{
    TClientDataSetEx& customers = form_->CUSTOMER_NAME->ListDataSet();
    return HasRows(customers)
        && (customers.Locate(u"CUSTOMER_NAME;CUSTOMER_CODE", {name, form_->CUSTOMER_NAME->KeyValue()})
            || customers.Locate(u"CUSTOMER_NAME", {name}));
}

void Tfrm_order_pda::OfferPayment(bool customerKnown)
{
    if (!customerKnown) {
        form_->PAY_TYPE->SetItems(PayChoicesWithoutCustomer());
        return;
    }
    const QStringList choices =
        PayChoicesOfCustomer(TextOf(form_->CUSTOMER_NAME->ListDataSet(), u"CUSTOMER_BALANCE_MODE"));
    form_->PAY_TYPE->SetItems(choices);
    if (choices.size() > 1)
        SetText(*CDS_ORDER_PDA, u"PAY_TYPE", choices[1]);
}

void Tfrm_order_pda::ForgetCaller()
{
    for (TClientDataSetEx* list : {dm_GlobalData->cds_city_n, dm_GlobalData->cds_county_n,
             dm_GlobalData->cds_city_n1, dm_GlobalData->cds_county_n1})
        Widen(list);
    form_->SetShipperKnown(false);
    if (form_->PAY_TYPE->Items() != payChoices_)
        form_->PAY_TYPE->SetItems(payChoices_);
}

// The handheld knows the courier by the code.
void Tfrm_order_pda::REC_GOODS_MANChange()
{
    if (CDS_ORDER_PDA->IsEditing())
        SetText(*CDS_ORDER_PDA, u"MESSAGE",
            form_->REC_GOODS_MAN->Text().isEmpty() ? QString()
                                                   : form_->REC_GOODS_MAN->ListText(u"EMPLOYEE_CODE"));
}

void Tfrm_order_pda::PROVChange()
{
    if (CDS_ORDER_PDA->Active())
        NarrowList(
            *dm_GlobalData->cds_city_n, u"province", form_->PROV->Text(), {form_->CITY, form_->COUNTY});
}

void Tfrm_order_pda::CITYChange()
{
    if (CDS_ORDER_PDA->Active())
        NarrowList(*dm_GlobalData->cds_county_n, u"city", form_->CITY->Text(), {form_->COUNTY});
}

void Tfrm_order_pda::SEND_PROVChange()
{
    if (CDS_ORDER_PDA->Active())
        NarrowList(*dm_GlobalData->cds_city_n1, u"province", form_->SEND_PROV->Text(),
            {form_->SEND_CITY, form_->SEND_COUNTY});
}

void Tfrm_order_pda::SEND_CITYChange()
{
    if (CDS_ORDER_PDA->Active())
        NarrowList(*dm_GlobalData->cds_county_n1, u"city", form_->SEND_CITY->Text(), {form_->SEND_COUNTY});
}

// 目的地
void Tfrm_order_pda::DBLookupComboboxEh1Exit()
{
    CompleteLookupText(*form_->DBLookupComboboxEh1);
}

void Tfrm_order_pda::btn_ExcelClick()
{
    if (!import_.IsLoaded()) {
        ShowWarning(u"详细：从Excel导入数据的模块\"ImportFromExcel.dll\"未能成功装载！"_s, Caption());
        return;
    }
    {
        const ControlsOff still(*CDS_ORDER_PDA);
        import_.Run(DataView1->DataViewGrid, kFirstImportRow, kFirstImportColumn);
    }
    if (!CDS_ORDER_PDA->IsEditing()) // nothing was imported then
        CDS_ORDER_PDA->First();
}

void Tfrm_order_pda::ShowHint()
{
    const int orders = CDS_ORDER_PDA->Active() ? CDS_ORDER_PDA->RecordCount() : 0;
    form_->ShowHint(orders == 0 ? u"在任何一格里输入，就开始一张新订单。"_s
            : orders == 1 ? u"保存以后再录入下一张；订单编号在保存时才最后确定。"_s
                          : u"一次只能保存一张订单：请放弃多出来的，保存以后再录入。"_s);
}
