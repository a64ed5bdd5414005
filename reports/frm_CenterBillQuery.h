#pragma once

#include "orders/search/frm_OrderSearch.h"

// 泽摩订单查询 of the headquarters and the centres, and of other sites for their own orders: with the price
// on the waybill, and whether one was entered.
class Tfrm_CenterBillQuery : public Tfrm_OrderSearch {
    Q_OBJECT
public:
    explicit Tfrm_CenterBillQuery(QObject* owner);

protected:
    void CreateControls() override;
    void FormCreate() override;
    QString NumbersQuery(const QString& numbers) const override;
    void CompleteCriteria(TOrderCriteria& criteria) override;

private:
    void DBComboBoxEh1Change();

    TDBComboBoxEh* DBComboBoxEh1 = nullptr; // 订单状态
    TDBComboBoxEh* ComboBox1 = nullptr; // 等待导出
};
