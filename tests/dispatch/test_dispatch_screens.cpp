#include "dispatch/frm_order_pda_EMP.h"
#include "dispatch/frm_order_pda_control.h"
#include "dispatch/frm_order_pda_depute.h"
#include "framework/PageLookup.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// A desk whose server also knows sites below the login site, couriers, drivers and kinds of payment.
class DispatchDesk : public OrderDesk {
public:
    DispatchDesk()
    {
        host.SetValue(u"user"_s, u"pudong1"_s);
        host.SetValue(u"FinanceCenter"_s, u"上海财务中心"_s);
        host.Server.OnQuery = [answer = host.Server.OnQuery](const QString& sqlText) {
            if (sqlText.contains(u"tab_employee"_s))
                return Employees();
            if (sqlText.contains(u"TAB_PAY_MODE"_s))
                return MakeTextRows(
                    {u"MODE_CODE"_s, u"MODE_NAME"_s}, {{u"1"_s, u"现付"_s}, {u"2"_s, u"月结"_s}});
            return answer(sqlText);
        };
    }

    // Two of a name.
    static wire::RowSet Employees()
    {
        const QString site = u"浦东二部"_s;
        return MakeTextRows({u"EMPLOYEE_CODE"_s, u"EMPLOYEE_NAME"_s, u"OWNER_SITE"_s, u"PHONE"_s},
            {{u"E101"_s, u"张伟"_s, u"浦东一部"_s, {}}, {u"E102"_s, u"王芳"_s, site, {}},
                {u"E103"_s, u"张伟"_s, site, {}}});
    }
};

// One of the three screens over orders that are dispatched.
template <typename Screen> class DispatchScreen : public OrderScreen<Screen, DispatchDesk> {
protected:
    using Base = OrderScreen<Screen, DispatchDesk>;

    void OpenWith(std::vector<OrderFields> orders)
    {
        for (size_t i = 0; i < orders.size(); ++i)
            orders[i][u"TX_LOGISTIC_ID"_s] = Number(i);
        this->desk.orders = std::move(orders);
        Base::Open();
        this->cds = this->template Find<TClientDataSetEx>(u"CDS_ORDER_PDA"_s);
        this->Press(u"btn_open"_s);
    }
    static QString Number(size_t order) { return u"T%1"_s.arg(order); }
    void GoTo(size_t order)
    {
        ASSERT_TRUE(this->cds->Locate(u"TX_LOGISTIC_ID", {wire::TextValue(Number(order))}));
    }
    void Select(const std::vector<size_t>& orders)
    {
        std::vector<TBookmark> rows;
        for (const size_t order : orders) {
            GoTo(order);
            rows.push_back(this->cds->Bookmark());
        }
        this->grid->SelectRows(rows);
    }
};

QString Summary(int changed, int unchanged)
{
    return u"详细：批量修改完毕！%1条数据修改成功，%2条数据未改变！"_s.arg(changed).arg(unchanged);
}

const QString kOffer = u"btn_Select"_s;
const QString kDrive = u"Button1"_s;
const QString kCancel = u"btn_CANEL"_s;
const QString kRefuse = u"btn_Fail"_s;

// Further fields of an order.
const QString kWithWaybill = u", BILL_CODE=1"_s;
const QString kWithDriver = u", REC_BILL_MAN=旧"_s;
const QString kOurs = u", CREATER_SITE=浦东一部"_s;
const QString kOfferedHere = u", PREPARE_SITE=;浦东一部;"_s;

OrderFields Order(int status, const QString& more = {})
{
    return ::Order(u"STATUS=%1"_s.arg(status) + more);
}

template <typename Screen> class GivingScreen : public DispatchScreen<Screen> {
protected:
    void OpenReady(std::vector<OrderFields> orders)
    {
        this->OpenWith(std::move(orders));
        this->template Find<TDBLookupComboboxEh>(u"SITE_NAME"_s)->SetText(u"浦东二部"_s);
        auto* driver = this->template Find<TDBPageLookup_Employee>(u"EMP_NAME"_s);
        driver->DropDown();
        driver->ListDataSet().SetRecNo(2);
        driver->CloseUp(true);
    }
    struct Case {
        QString button;
        std::vector<OrderFields> taken;
        std::vector<OrderFields> left; // each for one reason alone
    };
    // Each order alone, by its button.
    void CheckEach(const std::vector<Case>& cases)
    {
        std::vector<OrderFields> orders;
        for (const Case& each : cases) {
            orders.insert(orders.end(), each.taken.begin(), each.taken.end());
            orders.insert(orders.end(), each.left.begin(), each.left.end());
        }
        OpenReady(orders);
        size_t order = 0;
        for (const Case& each : cases) {
            for (size_t i = 0; i < each.taken.size() + each.left.size(); ++i, ++order) {
                const bool taken = i < each.taken.size();
                this->Select({order});
                const QStringList told = this->Told(each.button, {u"yes"_s, u"原因"_s});
                this->GoTo(order);
                EXPECT_EQ(this->cds->UpdateStatus() == TRowStatus::Modified, taken)
                    << qUtf8Printable(each.button) << ' ' << i;
                EXPECT_TRUE(!told.isEmpty() && told.last().startsWith(Summary(taken, !taken)));
            }
        }
    }
    // "REC_SITE=浦东二部, BILL_CODE=" is what the order holds.
    void CheckFields(size_t order, const QString& fields)
    {
        this->GoTo(order);
        for (const QString& field : fields.split(u", "_s))
            EXPECT_EQ(this->Text(field.section(u'=', 0, 0)), field.section(u'=', 1)) << qUtf8Printable(field);
    }
};

using ControlScreen = GivingScreen<Tfrm_order_pda_control>;
using DeputeScreen = GivingScreen<Tfrm_order_pda_depute>;
using WorklistScreen = DispatchScreen<Tfrm_order_pda_EMP>;

} // namespace

TEST_F(ControlScreen, TakesTheOrdersThatMeetTheConditions)
{
    const auto driverless = [](int status) { return Order(status, kOurs); };
    const OrderFields unknown = ::Order(u"STATUS="_s);
    CheckEach({
        {kOffer, {Order(0), unknown, Order(10)},
            {Order(0, kOfferedHere), Order(0, kWithWaybill), Order(-1), Order(1)}},
        {kDrive, {Order(0), Order(12), Order(10, kWithDriver)},
            {Order(-1), Order(3), Order(4), Order(0, kWithWaybill)}},
        {kCancel, {driverless(0), driverless(11)},
            {driverless(-1), driverless(3), driverless(4), driverless(10), driverless(12),
                Order(0, kOurs + kWithDriver), Order(0, u", CREATER_SITE=浦东二部"_s)}},
        {kRefuse, {Order(1, kOfferedHere), Order(11, kOfferedHere)},
            {Order(0, kOfferedHere), Order(10, kOfferedHere), Order(1), Order(1, kOfferedHere + kWithWaybill),
                Order(1, u", PREPARE_SITE=;浦东一部;浦东二部;"_s)}},
    });
}

TEST_F(ControlScreen, HeadquartersCancelsWhatAnyoneMadeAndAsksForEveryonesOrders)
{
    desk.host.SetValue(u"site"_s, u"快运本部"_s);
    CheckEach({{kCancel, {Order(0, u", CREATER_SITE=浦东二部"_s)}, {}}});
    EXPECT_FALSE(cds->CommandText().contains(u"CREATER_SITE"_s));
    delete screen;
    desk.host.DataSet(u"loginSite"_s).SetFieldAndPost(u"TYPE", wire::TextValue(u"中心"_s));
    OpenWith({});
    EXPECT_TRUE(cds->CommandText().contains(u"CREATER_SITE in ('浦东二部')"_s)) << "but not as a centre";
}

TEST_F(ControlScreen, ADayAtTheDesk)
{
    const QString before = kOurs + u", CANCEL_DESC=旧原因, REC_SITE=旧网点"_s;
    OpenReady({Order(0, before), Order(11, before + kWithDriver), Order(0), Order(0, kOurs),
        Order(1, kOfferedHere), Order(10, kWithDriver), Order(10, kWithDriver), Order(10, kWithDriver)});
    const QStringList opening = desk.host.Server.Queries().first(3);
    EXPECT_TRUE(opening[0].contains(u"start with SITE_NAME='浦东一部'"_s)
        && opening[1].contains(u"BL_GOODS_MARKET"_s) && opening[2].contains(u"TAB_PAY_MODE"_s));
    EXPECT_EQ(screen->QueryButton()->objectName(), u"btn_open"_s);
    EXPECT_EQ(screen->SaveButton()->objectName(), u"btn_Save"_s);
    EXPECT_TRUE(screen->QueryButton()->isHidden() && screen->SaveButton()->isHidden());
    EXPECT_EQ(Find<TDBComboBoxEh>(u"PAY_TYPE"_s)->Items(), QStringList({u"全部"_s, u"现付"_s, u"月结"_s}));
    EXPECT_EQ(Find<TDBComboBoxEh>(u"STATUS"_s)->Items().size(), 10);
    EXPECT_TRUE(cds->CommandText().contains(
        u"to_date('2024-01-31 23:59:59','yyyy-mm-dd hh24:mi:ss')  and nvl(a.status, -2)=0 and "
        u"(((CREATER_SITE in "
        "('浦东二部'))) or (substr(a.PREPARE_SITE, 2, length(a.PREPARE_SITE) -2)='浦东一部')) order by"_s));

    for (const QString& button : {kOffer, kDrive, kCancel, kRefuse})
        EXPECT_TRUE(Told(button, {}).isEmpty()) << "no row is selected";
    EXPECT_EQ(desk.host.MainForm.Notices.size(), 4) << "but not without a hint";

    Select({0, 4});
    const QString site = Find<TDBLookupComboboxEh>(u"SITE_NAME"_s)->Text();
    Find<TDBLookupComboboxEh>(u"SITE_NAME"_s)->SetText({});
    EXPECT_EQ(Told(kOffer), QStringList(u"详细：请输入可接单网点！"_s));
    Find<TDBLookupComboboxEh>(u"SITE_NAME"_s)->SetText(site);
    EXPECT_EQ(Told(kOffer, {u"no"_s}), QStringList(u"是否进行批量修改可接单网点?"_s));
    EXPECT_EQ(Told(kOffer, {u"yes"_s}), QStringList({u"是否进行批量修改可接单网点?"_s, Summary(1, 1)}));
    CheckFields(0,
        u"PREPARE_SITE=;浦东二部;, CANCEL_DESC=, REC_SITE=, BL_DISPART=1, STATUS=1, MODIFIER=李雷, "
        "MODIFY_CODE=E001, MODIFY_SITE=浦东一部"_s);

    // A name alone is no driver.
    auto* driver = Find<TDBPageLookup_Employee>(u"EMP_NAME"_s);
    driver->SetText(u"王芳"_s);
    Select({1, 2});
    EXPECT_EQ(Told(kDrive), QStringList(u"详细：请输入可接单司机！"_s));
    driver->DropDown();
    driver->ListDataSet().SetRecNo(2);
    driver->CloseUp(true);
    EXPECT_EQ(Told(kDrive, {u"yes"_s, u"车坏了"_s}),
        QStringList(
            {u"是否进行批量修改接单司机?"_s, u"请输入重新分派的原因               "_s, Summary(2, 0)}));
    const QString driven =
        u"REC_SITE=浦东二部, REC_BILL_MAN=王芳, REC_BILL_CODE=E102, PREPARE_SITE=;浦东二部;, "
        "STATUS=10, BL_DISPART=1, CANCEL_DESC=车坏了"_s;
    CheckFields(1, driven);
    CheckFields(2, driven); // the reason of the order before it
    EXPECT_TRUE(Text(u"ACCEPT_DATE"_s).startsWith(u"2024-01-31 10:59"_s));
    // No reason leaves the order as it is; who gives up the question is not asked again.
    Select({5, 6, 7});
    EXPECT_EQ(Told(kDrive, {u"yes"_s, {}, u"cancel"_s}).size(), 4);
    for (size_t order = 5; order <= 7; ++order)
        CheckFields(order, u"REC_BILL_MAN=旧"_s);

    Select({3});
    EXPECT_EQ(Told(kCancel, {u"yes"_s, {}}),
        QStringList({u"是否进行批量取消订单?"_s, u"请输入取消订单的原因                "_s}));
    EXPECT_EQ(Told(kCancel, {u"yes"_s, u"不要了"_s}).last(), Summary(1, 0));
    CheckFields(
        3, u"STATUS=-1, CANCEL_DESC=不要了, CANCEL_MAN=pudong1, CANCEL_SITE=浦东一部, BL_DISPART=1"_s);
    Select({4});
    EXPECT_EQ(Told(kRefuse, {u"yes"_s, u"太远"_s}),
        QStringList(
            {u"是否进行批量接单失败?"_s, u"请输入接单失败的描述                    "_s, Summary(1, 0)}));
    CheckFields(
        4, u"STATUS=2, CANCEL_DESC=太远, CANCEL_MAN=pudong1, PREPARE_SITE=, BL_DISPART=0, BL_DEPUTE=0"_s);

    // One order refused: all stay, and the clerk sees which and why.
    desk.RefuseSaves(u"该记录已被其他用户修改！"_s, 1);
    Press(u"btn_Save"_s);
    EXPECT_EQ(desk.host.App.ShownMessages().back().icon, TMessageIcon::Information);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：保存失败"_s));
    EXPECT_EQ(desk.host.Server.Requests.back().maxErrors, 0);
    EXPECT_EQ(cds->ChangeCount(), 5);
    EXPECT_FALSE(Find<QWidget>(u"RefusedRows"_s)->isHidden());
    EXPECT_TRUE(desk.host.MainForm.Notices.back().contains(u"该记录已被其他用户修改！"_s));
    desk.onSave = nullptr;
    EXPECT_EQ(Told(u"btn_Save"_s), QStringList(u"详细：数据保存成功！"_s));
    EXPECT_EQ(Told(u"btn_Save"_s), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));

    auto* numbers = Find<QWidget>(u"NumberBox"_s);
    numbers->findChild<QCheckBox*>(u"CheckBox1"_s)->setChecked(true);
    EXPECT_EQ(Told(u"btn_open"_s), QStringList(u"详细：没有输入任何运单编号！"_s));
    numbers->findChild<QPlainTextEdit*>(u"Memo1"_s)->setPlainText(u"T1\n T2"_s);
    EXPECT_TRUE(Told(u"btn_open"_s).isEmpty());
    EXPECT_TRUE(cds->CommandText().contains(u"TX_LOGISTIC_ID in ('T1','T2') and (((CREATER_SITE"_s));
    numbers->findChild<QCheckBox*>(u"CheckBox1"_s)->setChecked(false);
    Find<TDBDateTimeEditEh>(u"DBDateTimeEditEh1"_s)->SetText(u"2023-12-31 23:59:58"_s);
    EXPECT_EQ(Told(u"btn_open"_s), QStringList(u"详细：结束日期不能超过开始日期\"31\"天！"_s));
}

TEST_F(DeputeScreen, TakesTheOrdersThatMeetTheConditions)
{
    CheckEach({
        {kOffer, {Order(0), Order(1), Order(10)},
            {Order(2), Order(-1), Order(11), Order(0, kWithWaybill), Order(0, kWithDriver),
                Order(0, u", ORDERSOURCE=芮讯"_s)}},
        {kDrive, {Order(0)}, {Order(0, kWithDriver)}},
        {kCancel, {Order(0, kOurs)}, {}},
    });
    EXPECT_FALSE(cds->CommandText().contains(u"PREPARE_SITE"_s)) << "orders of every site";
}

TEST_F(DeputeScreen, EntrustsOrdersToASite)
{
    OpenReady({Order(0, u", CANCEL_DESC=旧"_s), Order(0, u", ORDERSOURCE=芮讯"_s),
        Order(0, u", ORDERSOURCE=芮讯"_s), Order(10, kWithDriver), Order(10, kWithDriver), Order(0)});
    EXPECT_EQ(Find<QWidget>(kRefuse), nullptr);
    Select({0, 1, 2, 3, 4});
    const QStringList told = Told(kOffer, {u"yes"_s});
    EXPECT_EQ(told,
        QStringList({u"是否进行批量修改委托网点?"_s, u"详细：该订单已分派给员工，不能修改可接单网点！"_s,
            u"存在订单来源不为空的订单！这些订单只可以快运本部可以委托"_s,
            Summary(1, 4) + u"订单状态不符"_s}))
        << "each reason once";
    CheckFields(
        0, u"PREPARE_SITE=;浦东二部;, CANCEL_DESC=, STATUS=1, BL_DISPART=1, BL_DEPUTE=1, MODIFIER=李雷"_s);
    Select({5});
    EXPECT_EQ(Told(kDrive, {u"yes"_s}), QStringList({u"是否进行批量修改可接单网点?"_s, Summary(1, 0)}));
    CheckFields(5, u"REC_BILL_MAN=王芳, STATUS=1, BL_DEPUTE=1"_s);
    GoTo(1);
    const auto post = [this](const QString& sites) {
        cds->Edit();
        cds->FieldByName(u"PREPARE_SITE").SetAsString(sites);
        Guarded([this] { cds->Post(); });
        return desk.host.TakeMessages();
    };
    EXPECT_EQ(post({}), QStringList(u"详细：该可接单网点不能为空！"_s));
    EXPECT_TRUE(cds->IsEditing());
    EXPECT_TRUE(post(u";"_s).isEmpty());
    CheckFields(1, u"BL_DISPART=0, STATUS=0"_s);

    desk.host.SetValue(u"site"_s, u"快运本部"_s);
    Select({2});
    EXPECT_EQ(Told(kOffer, {u"yes"_s}).last(), Summary(1, 0) + u"订单状态不符"_s);
}

TEST_F(WorklistScreen, GivesOrdersToDriversInTheList)
{
    OpenWith({Order(1, kOfferedHere), Order(1), Order(10, kOfferedHere + kWithDriver),
        Order(11, kOfferedHere + kWithDriver + u", REC_BILL_CODE=E9"_s), Order(1, kOfferedHere),
        Order(1, kOfferedHere)});
    EXPECT_TRUE(cds->CommandText().contains(
        u" and nvl(a.status, -2)=1 and ((substr(prepare_site,2,length(prepare_site)-2) in ('浦东二部'))) order by"_s));
    EXPECT_EQ(Find<QWidget>(u"BL_DEPUTE"_s), nullptr);
    desk.host.MainForm.show();
    QApplication::setActiveWindow(&desk.host.MainForm);
    // Types into the driver's cell and takes the first row of the list, if any.
    const auto type = [this](size_t order, const QString& typed) {
        GoTo(order);
        grid->SelectField(u"REC_BILL_MAN");
        grid->setFocus();
        EXPECT_TRUE(grid->EditCurrentCell());
        for (const QChar key : typed) {
            if (desk.host.App.ShownMessages().empty())
                QTest::keyClick(QApplication::focusWidget(), key.toLatin1());
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QCoreApplication::processEvents();
        Guarded([this] { cds->Post(); });
        GoTo(order);
        return desk.host.TakeMessages();
    };
    EXPECT_EQ(type(1, u"E102"_s), QStringList(u"详细：该订单未分派给网点，不能分派给司机！"_s));
    EXPECT_EQ(
        type(2, u"E102"_s), QStringList(u"详细：该运单已分派给司机，未拒收情况下，不能进行再次分派！"_s));
    EXPECT_EQ(cds->ChangeCount(), 0);
    EXPECT_TRUE(type(3, u"E102"_s).isEmpty());
    EXPECT_EQ(Fields(u"REC_BILL_MAN REC_BILL_CODE STATUS"_s), u"王芳|E102|10"_s);
    EXPECT_TRUE(type(0, u"E103"_s).isEmpty());
    EXPECT_EQ(Fields(u"REC_BILL_MAN REC_BILL_CODE MODIFIER"_s), u"张伟|E103|李雷"_s)
        << "the namesake that was taken";
    EXPECT_TRUE(type(4, u"nobody"_s).isEmpty());
    EXPECT_EQ(Fields(u"REC_BILL_MAN REC_BILL_CODE"_s), u"nobody|"_s) << "no terminal has it";

    // A refusal needs its reason before its cell is left, and takes driver and offer away.
    GoTo(5);
    cds->Edit();
    cds->FieldByName(u"STATUS").SetAsInteger(2);
    grid->SelectField(u"CANCEL_DESC");
    QTest::keyClick(grid, Qt::Key_Left);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：接单失败请输入撤消原因！"_s));
    EXPECT_EQ(grid->SelectedField(), u"CANCEL_DESC"_s);
    cds->FieldByName(u"CANCEL_DESC").SetAsString(u"禁运品"_s);
    cds->FieldByName(u"REC_BILL_MAN").SetAsString(u"王芳"_s);
    QTest::keyClick(grid, Qt::Key_Left);
    EXPECT_NE(grid->SelectedField(), u"CANCEL_DESC"_s);
    cds->Post();
    EXPECT_EQ(Fields(u"PREPARE_SITE REC_BILL_MAN REC_BILL_CODE BL_DISPART"_s), u"|||0"_s);

    // No button refuses a batch here; the handler is there.
    EXPECT_EQ(Find<QAbstractButton>(kRefuse), nullptr);
    cds->CancelUpdates();
    Select({4});
    desk.host.App.QueueAnswer({u"yes"_s});
    desk.host.App.QueueAnswer({u"太远"_s});
    QMetaObject::invokeMethod(screen, "btn_FailClick");
    EXPECT_EQ(desk.host.TakeMessages(),
        QStringList({u"是否进行批量接单失败?"_s, u"请输入接单失败的描述"_s, Summary(1, 0)}));
}
