#pragma once

#include "framework/PageLookup.h"
#include "framework/RecordButtons.h"
#include "runtime/controls/DBControls.h"

#include <QHash>
#include <QLabel>
#include <QPushButton>

class TFlowGrid;

// The boxes of the order being entered, and the buttons below them. Tab and Enter walk the boxes in the order
// in which a telephone call goes: who calls, from where, to where, what, when, who collects it.
class TEntryForm : public QWidget {
    Q_OBJECT
public:
    TEntryForm(QWidget* parent, TDataSource* order);

    // Each box chooses from its list, the couriers from theirs.
    void AttachLists(TDataSource* couriers);
    // What a known customer's row has filled in is not typed over.
    void SetShipperKnown(bool known);
    // To what the clerk has to correct; a number, a time or a telephone is selected, so that it is typed
    // anew.
    void GoTo(const QString& field);
    void ShowHint(const QString& text) { hint_->setText(text); }

    TDBPageLookup_Customer* CUSTOMER_NAME = nullptr; // 客户检索
    TDBEditEh* PHONE = nullptr; // 发货人电话
    TDBEditEh* edt_name = nullptr; // 发货人姓名
    TDBEditEh* COMPANYNAME = nullptr; // 发货人公司
    TDBLookupComboboxEh* PROV = nullptr; // 发货地址 省
    TDBLookupComboboxEh* CITY = nullptr; // 市
    TDBLookupComboboxEh* COUNTY = nullptr; // 区(县)
    TDBLookupComboboxEh* SEND_PROV = nullptr; // 收货地址 省
    TDBLookupComboboxEh* SEND_CITY = nullptr; // 市
    TDBLookupComboboxEh* SEND_COUNTY = nullptr; // 区(县)
    TDBLookupComboboxEh* DBLookupComboboxEh1 = nullptr; // 目的地
    TDBComboBoxEh* PAY_TYPE = nullptr; // 支付方式
    TDBLookupComboboxEh* REC_GOODS_MAN = nullptr; // 业务员
    QPushButton* BTN_SAVE = nullptr; // 保存
    TRecordButtons* Records = nullptr; // 增加, 放弃
    QPushButton* btn_Excel = nullptr; // Excel导入

private:
    QWidget* CreateShipper();
    QWidget* CreateAddresses();
    QWidget* CreateParcel();
    QWidget* CreateButtons();
    template <typename TBox> TBox* NewBox(QWidget* parent, const QString& name, QStringView field);
    // A label and a new box of the field, the box `span` pairs wide.
    template <typename TBox>
    TBox* Place(
        TFlowGrid& grid, const QString& caption, const QString& name, QStringView field, int span = 1);

    TDataSource* order_;
    QHash<QString, QWidget*> boxes_; // by field
    QLabel* hint_ = nullptr;
};
