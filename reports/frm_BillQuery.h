#pragma once

#include "orders/search/frm_OrderSearch.h"

// 泽摩订单查询: searches the orders by pasted numbers or by criteria, and shows an order's goods and trail.
class Tfrm_BillQuery : public Tfrm_OrderSearch {
    Q_OBJECT
public:
    explicit Tfrm_BillQuery(QObject* owner);

protected:
    void FormCreate() override;
    QString NumbersQuery(const QString& numbers) const override;
    void CompleteCriteria(TOrderCriteria& criteria) override;
    void SearchRefused() override;

private:
    TClientDataSetEx* cdscheck; // the subtree of the candidate site
    QString areaName_; // of the login site
};
