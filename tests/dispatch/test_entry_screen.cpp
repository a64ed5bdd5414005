#include "dispatch/frm_order_pda.h"
#include "framework/RowFields.h"
#include "module/data/dm_GlobalData.h"
#include "tests/orders/OrderScreen.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kSaved = u"详细：数据保存成功！"_s;

class EntryScreen : public OrderScreen<Tfrm_order_pda, OrderDesk> {
protected:
    EntryScreen()
    {
        desk.host.SetValue(u"Phone_and_MoblePh"_s, u"^[0-9]{11}$"_s);
        desk.host.SetValue(u"FinanceCenter"_s, u"上海财务"_s);
        desk.host.DataSet(u"City_N"_s)
            .OpenRows(MakeTextRows({u"PROVINCE"_s, u"CITY_NAME"_s},
                {{u"上海"_s, u"上海市"_s}, {u"江苏"_s, u"南京市"_s}, {u"江苏"_s, u"苏州市"_s}}));
        desk.host.DataSet(u"County_N"_s)
            .OpenRows(MakeTextRows({u"CITY"_s, u"COUNTY_NAME"_s},
                {{u"上海市"_s, u"浦东新区"_s}, {u"南京市"_s, u"玄武区"_s}, {u"苏州市"_s, u"姑苏区"_s}}));
        dm_GlobalData->DataModuleCreate();
        desk.host.Server.OnQuery = [this, answer = desk.host.Server.OnQuery](const QString& sqlText) {
            if (sqlText.contains(u"max(TX_LOGISTIC_ID)"_s))
                return MakeTextRows({u"TX_LOGISTIC_ID"_s}, {{last}});
            if (sqlText.contains(u"TAB_PAY_MODE"_s))
                return MakeTextRows(
                    {u"MODE_CODE"_s, u"MODE_NAME"_s}, {{u"1"_s, u"现付"_s}, {u"2"_s, u"月结"_s}});
            if (sqlText.contains(u"tab_employee"_s))
                return MakeTextRows({u"EMPLOYEE_NAME"_s, u"EMPLOYEE_CODE"_s, u"OWNER_SITE"_s},
                    {{u"李雷"_s, u"E001"_s, u"浦东一部"_s}, {u"李雷"_s, u"E009"_s, u"浦东二部"_s},
                        {u"韩梅梅"_s, u"E002"_s, u"浦东一部"_s}});
            if (sqlText.contains(u"tab_customer"_s))
                return MakeTextRows({u"CUSTOMER_CODE"_s, u"CUSTOMER_NAME"_s, u"CUSTOMER_FULL_NAME"_s,
                                        u"CUSTOMER_LINKMAN"_s, u"CUSTOMER_PHONE1"_s, u"CUSTOMER_ADDRESS"_s,
                                        u"PROV"_s, u"CITY"_s, u"COUNTY"_s, u"CUSTOMER_BALANCE_MODE"_s},
                    {{u"K1"_s, u"晨光"_s, u"晨光文具有限公司"_s, u"王芳"_s, u"13911112222"_s, u"中山路1号"_s,
                        u"江苏"_s, u"南京市"_s, u"玄武区"_s, u";现付;预付到付;到付;"_s}});
            return answer(sqlText);
        };
        desk.host.MainForm.show();
    }

    void OpenForm()
    {
        Open();
        cds = Find<TClientDataSetEx>(u"CDS_ORDER_PDA"_s);
        form = Find<TEntryForm>();
    }
    // Typed into the box, which is then left with Enter; goes to where the focus is by then.
    void Fill(const QString& box, const QString& text)
    {
        auto* edit = form->findChild<QLineEdit*>(box);
        edit->setFocus();
        edit->selectAll();
        edit->insert(text);
        QTest::keyClick(edit, Qt::Key_Return);
    }
    void FillOrder()
    {
        for (const auto& [box, text] : std::initializer_list<std::pair<QString, QString>>{
                 {u"PHONE"_s, u"13800000001"_s}, {u"edt_name"_s, u"王芳"_s}, {u"PROV"_s, u"江苏"_s},
                 {u"CITY"_s, u"南京市"_s}, {u"COUNTY"_s, u"玄武区"_s}, {u"ADDRESS"_s, u"中山路1号"_s},
                 {u"SEND_PROV"_s, u"上海"_s}, {u"SEND_CITY"_s, u"上海市"_s},
                 {u"SEND_COUNTY"_s, u"浦东新区"_s}, {u"REC_GOODS_MAN"_s, u"韩梅梅"_s}})
            Fill(box, text);
    }
    QString FocusedBox()
    {
        QCoreApplication::processEvents();
        return screen->focusWidget() ? screen->focusWidget()->objectName() : QString();
    }
    QStringList Asked(const QString& part) { return desk.host.Server.Queries().filter(part); }

    TEntryForm* form = nullptr;
    QString last = u"D20240131000041"_s; // number that any desk has saved
};

} // namespace

TEST_F(EntryScreen, AsksForTheCouriersOfItsKindOfSite)
{
    OpenForm();
    EXPECT_TRUE(Asked(u"tab_employee"_s).last().contains(u"start with SITE_NAME='浦东一部'"_s));
    EXPECT_EQ(form->PAY_TYPE->Items(), QStringList(u"现付"_s));
    EXPECT_EQ(screen->SaveButton(), form->BTN_SAVE);
    desk.host.DataSet(u"loginSite"_s)
        .OpenRows(MakeTextRows({u"SITE_NAME"_s, u"TYPE"_s}, {{u"浦东一部"_s, u"中心"_s}}));
    OpenForm();
    EXPECT_TRUE(Asked(u"tab_employee"_s).last().contains(u"start with SITE_NAME='上海财务'"_s));
    desk.host.DataSet(u"loginSiteOwner"_s)
        .OpenRows(MakeTextRows({u"SITE_NAME"_s, u"BL_BIG_CUSTOMER"_s}, {{u"浦东一部"_s, u"1"_s}}));
    OpenForm();
    EXPECT_FALSE(Asked(u"tab_employee"_s).last().contains(u"where"_s));
    EXPECT_EQ(Told(u"btn_Excel"_s),
        QStringList(u"详细：从Excel导入数据的模块\"ImportFromExcel.dll\"未能成功装载！"_s));
}

TEST_F(EntryScreen, AnOrderIsTypedCheckedAndSavedWithoutAMouse)
{
    OpenForm();
    EXPECT_EQ(FocusedBox(), u"CUSTOMER_NAME"_s);
    Fill(u"PHONE"_s, u"123"_s);
    EXPECT_EQ(cds->State(), TDataSetState::Insert) << "typing begins an order";
    EXPECT_EQ(Text(u"TX_LOGISTIC_ID"_s), u"D20240131000042"_s);
    EXPECT_EQ(Text(u"CREATER_CODE"_s), u"E001"_s);
    QStringList walk;
    for (QString box = FocusedBox(); !box.isEmpty() && walk.size() < 20; box = FocusedBox()) {
        walk += box;
        if (box == u"REMARK"_s)
            break;
        QTest::keyClick(screen->focusWidget(), Qt::Key_Return);
    }
    EXPECT_EQ(walk.join(u' '),
        u"edt_name COMPANYNAME PROV CITY COUNTY ADDRESS SEND_PROV SEND_CITY SEND_COUNTY SEND_ADDRESS "
        "DBLookupComboboxEh1 TOTAL_WEIGHT TOTAL_VOLUME PIECE SEND_START_TIME BL_INSURANCE PAY_TYPE "
        "REC_GOODS_MAN REMARK"_s);

    Fill(u"REC_GOODS_MAN"_s, u"E009"_s);
    EXPECT_EQ(Text(u"MESSAGE"_s), u"E009"_s) << "one of two of that name";
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(u"详细：发货人电话输入有错，请检查！"_s));
    EXPECT_EQ(FocusedBox(), u"PHONE"_s);
    EXPECT_EQ(form->PHONE->selectedText(), u"123"_s);
    FillOrder();
    EXPECT_EQ(Text(u"MESSAGE"_s), u"E002"_s);
    last = u"D20240131000077"_s; // another desk, meanwhile
    desk.host.Server.Requests.clear();
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(kSaved));
    ASSERT_EQ(desk.saves.size(), 1U);
    EXPECT_EQ(
        SavedFields(desk.saves[0], 0,
            u"TX_LOGISTIC_ID REC_GOODS_MAN MESSAGE STATUS BL_DISPART CREATER_SITE SEND_NAME MODIFIER"_s),
        u"D20240131000078|韩梅梅|E002|0|0|浦东一部|空|李雷"_s);
    EXPECT_EQ(desk.host.Server.Queries().value(0),
        u"select /*+index(a,TAB_ZELMOR_BILL_P)*/ 1 from tab_zelmor_bill a where TX_LOGISTIC_ID in "
        "('D20240131000042')"_s);
    EXPECT_TRUE(cds->IsEmpty());
    EXPECT_EQ(FocusedBox(), u"CUSTOMER_NAME"_s) << "ready for the next call";
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(u"详细：没有改变任何数据，因此不需要保存！"_s));
}

TEST_F(EntryScreen, ACustomerFillsTheShipperAndAnUnknownOneEmptiesIt)
{
    OpenForm();
    Fill(u"CUSTOMER_NAME"_s, u"K1"_s);
    EXPECT_EQ(Fields(u"CUSTOMER_ID NAME PHONE COMPANYNAME ADDRESS PAY_TYPE"_s),
        u"K1|王芳|13911112222|晨光文具有限公司|中山路1号|现付"_s);
    EXPECT_EQ(form->CITY->Text() + form->COUNTY->Text(), u"南京市玄武区"_s);
    EXPECT_EQ(form->PAY_TYPE->Items(), QStringList({{}, u"现付"_s, u"到付"_s}));
    EXPECT_TRUE(form->PHONE->isReadOnly() && form->edt_name->isReadOnly() && form->COMPANYNAME->isReadOnly());
    EXPECT_TRUE(form->CUSTOMER_NAME->Text().isEmpty());
    EXPECT_EQ(dm_GlobalData->cds_city_n->RecordCount(), 2) << "those of the province";
    EXPECT_EQ(dm_GlobalData->cds_city_n1->RecordCount(), 3) << "the consignee's are others";

    desk.host.Server.OnQuery = [answer = desk.host.Server.OnQuery](const QString& sqlText) {
        return sqlText.contains(u"tab_customer"_s)
            ? MakeTextRows({u"CUSTOMER_CODE"_s, u"CUSTOMER_NAME"_s}, {})
            : answer(sqlText);
    };
    Fill(u"CUSTOMER_NAME"_s, u"没有"_s);
    EXPECT_EQ(Fields(u"CUSTOMER_ID NAME PHONE PROV COUNTY ADDRESS"_s), u"|||||中山路1号"_s);
    EXPECT_FALSE(form->PHONE->isReadOnly());
    EXPECT_EQ(desk.host.MainForm.Notices.filter(u"没有"_s).size(), 1);

    Press(u"DiscardButton"_s);
    EXPECT_TRUE(cds->IsEmpty());
    EXPECT_EQ(dm_GlobalData->cds_city_n->RecordCount(), 3);
    EXPECT_EQ(form->PAY_TYPE->Items(), QStringList(u"现付"_s));
}

TEST_F(EntryScreen, TwoDesksAtTheSameSecondBothKeepTheirOrders)
{
    OpenForm();
    FillOrder();
    desk.RefuseSaves(u"主键“D20240131000042”已存在！"_s);
    Press(u"BTN_SAVE"_s);
    EXPECT_EQ(desk.host.App.ShownMessages().back().icon, TMessageIcon::Information);
    EXPECT_EQ(desk.host.TakeMessages(), QStringList(u"详细：保存失败"_s));
    EXPECT_EQ(desk.host.Server.Requests.back().maxErrors, 0);
    EXPECT_EQ(Find<QLabel>(u"RefusedReason"_s)->text(), u"当前行：主键“D20240131000042”已存在！"_s);
    EXPECT_EQ(Text(u"NAME"_s), u"王芳"_s);
    last = u"D20240131000042"_s;
    desk.onSave = nullptr;
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(kSaved));
    EXPECT_EQ(wire::ToText(SavedValue(desk.saves.back(), 0, u"TX_LOGISTIC_ID"_s)), u"D20240131000043"_s);
}

TEST_F(EntryScreen, ALostReplyStoresTheOrderOnce)
{
    OpenForm();
    FillOrder();
    desk.host.Connection.SavePatience = 0;
    desk.host.Server.Faults = {Fault::LoseReply, Fault::LoseRequest}; // what the connection sends again, too
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(u"详细：保存失败"_s));
    last = u"D20240131000042"_s; // its own
    EXPECT_EQ(Told(u"BTN_SAVE"_s), QStringList(kSaved));
    EXPECT_EQ(desk.saves.size(), 1U);
    EXPECT_TRUE(cds->IsEmpty());
}
