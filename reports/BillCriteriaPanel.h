#pragma once

#include "framework/NumberListInput.h"
#include "orders/DateWindow.h"
#include "reports/BillQuery.h"
#include "runtime/ui/DBControls.h"

#include <QLabel>
#include <QWidget>

// The criteria of the order query: pasted numbers, or two dozen filters. Asks the server nothing itself.
class TBillCriteriaPanel : public QWidget {
    Q_OBJECT
public:
    TBillCriteriaPanel(QWidget* parent, const QString& name);

    // What the day begins with: the time window, the site offered to, and whether the user's site is a centre
    // that may ask for its whole subtree.
    void Preset(const QString& site, bool atCentre);
    void OfferProvinces(const QStringList& provinces);

    // Numbers are pasted, and which they are.
    bool ByOrderNumber() const { return numbers_->FirstWay(); }
    bool ByWaybill() const { return numbers_->SecondWay(); }
    // The quoted list; empty, the user having been told why, when there is none.
    QString NumberList() { return numbers_->List(); }
    // The filters as they stand; the subtree and the area are the caller's to fill in.
    TBillCriteria Criteria() const;

private:
    QWidget* CreateTimePanel();
    QWidget* CreateFilterPanel();
    void CreateFilters(QWidget* panel);
    TDBLookupComboboxEh* NewLookup(QWidget* panel, const QString& name, const TLookupParams& lookup);
    void DBLookupComboboxEh2Exit(TDBLookupComboboxEh& box);

    TNumberListInput* numbers_;
    TDateWindow* window_;
    TDBCheckBoxEh* CheckBox3; // 中心及下属网点
    TDBCheckBoxEh* DBCheckBoxEh1; // 已做撤单处理
    TDBLookupComboboxEh* DBLookupComboboxEh1; // 接单/揽件网点
    TDBLookupComboboxEh* DBLookupComboboxEh2; // 可接单网点
    TDBLookupComboboxEh* DBLookupComboboxEh3; // 派件网点
    TDBLookupComboboxEh* DBLookupComboboxEh4; // 撤单网点
    TDBLookupComboboxEh* dbl1; // 责任网点
    TDBEditEh* edt_1; // 仓库编号
    TDBLookupComboboxEh* DBLookupComboboxEh5; // 接单员工
    TDBLookupComboboxEh* DBLookupComboboxEh6; // 揽件员工
    TDBLookupComboboxEh* DBLookupComboboxEh7; // 派件员工
    TDBLookupComboboxEh* DBLookupComboboxEh8; // 撤单员工
    TDBComboBoxEh* DBComboBoxEh1; // 订单状态
    TDBComboBoxEh* DBComboBoxEh2; // 项目
    TDBComboBoxEh* DBComboBoxEh3; // 撤消原因
    TDBComboBoxEh* DBComboBoxEh4; // 省份, hidden
    TDBEditEh* DBEditEh1; // 发货客户
    TDBEditEh* DBEditEh2; // 发货地址
    TDBEditEh* DBEditEh3; // 收货客户
    TDBEditEh* DBEditEh4; // 收货地址
};
