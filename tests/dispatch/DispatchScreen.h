#pragma once

#include "tests/orders/OrderDesk.h"
#include "tests/orders/OrderScreen.h"

// A desk whose server also knows sites below the login site, couriers, drivers and kinds of payment.
class DispatchDesk : public OrderDesk {
public:
    DispatchDesk()
    {
        host.SetValue(QStringLiteral("user"), QStringLiteral("pudong1"));
        host.SetValue(QStringLiteral("FinanceCenter"), QStringLiteral("上海财务中心"));
        host.Server.OnQuery = [answer = host.Server.OnQuery](const QString& sqlText) {
            if (sqlText.contains(QStringLiteral("tab_employee")))
                return Employees();
            if (sqlText.contains(QStringLiteral("TAB_PAY_MODE")))
                return MakeTextRows({QStringLiteral("MODE_CODE"), QStringLiteral("MODE_NAME")},
                    {{QStringLiteral("1"), QStringLiteral("现付")},
                        {QStringLiteral("2"), QStringLiteral("月结")}});
            return answer(sqlText);
        };
    }

    // Two of a name.
    static wire::RowSet Employees()
    {
        const QString site = QStringLiteral("浦东二部");
        return MakeTextRows({QStringLiteral("EMPLOYEE_CODE"), QStringLiteral("EMPLOYEE_NAME"),
                                QStringLiteral("OWNER_SITE"), QStringLiteral("PHONE")},
            {{QStringLiteral("E101"), QStringLiteral("张伟"), QStringLiteral("浦东一部"), {}},
                {QStringLiteral("E102"), QStringLiteral("王芳"), site, {}},
                {QStringLiteral("E103"), QStringLiteral("张伟"), site, {}}});
    }
};

// One of the three screens over orders that are dispatched.
template <typename Screen> class DispatchScreen : public OrderScreen<Screen, DispatchDesk> {
protected:
    using Base = OrderScreen<Screen, DispatchDesk>;

    void OpenWith(std::vector<OrderFields> orders)
    {
        for (size_t i = 0; i < orders.size(); ++i)
            orders[i][QStringLiteral("TX_LOGISTIC_ID")] = Number(i);
        this->desk.orders = std::move(orders);
        Base::Open();
        this->cds = this->screen->template findChild<TClientDataSetEx*>(QStringLiteral("CDS_ORDER_PDA"));
        this->Press(QStringLiteral("btn_open"));
    }
    static QString Number(size_t order) { return QStringLiteral("T%1").arg(order); }
    void GoTo(size_t order)
    {
        ASSERT_TRUE(this->cds->Locate(u"TX_LOGISTIC_ID", {wire::TextValue(Number(order))}));
    }
    QString Text(QStringView field) { return this->cds->FieldByName(field).AsString(); }

    void Select(const std::vector<size_t>& orders)
    {
        std::vector<TBookmark> rows;
        for (const size_t order : orders) {
            GoTo(order);
            rows.push_back(this->cds->Bookmark());
        }
        this->grid->SelectRows(rows);
    }
    // Presses with these answers to come; what was shown.
    QStringList Answer(const QString& button, const QStringList& answers)
    {
        for (const QString& answer : answers)
            this->desk.host.App.QueueAnswer({answer});
        this->Press(button);
        for (QStringList left; this->desk.host.App.TakeAnswer(left);) { }
        return this->desk.host.TakeMessages();
    }
    template <typename Box> Box* Find(const QString& name)
    {
        return this->screen->template findChild<Box*>(name);
    }
};

inline QString Summary(int changed, int unchanged)
{
    return QStringLiteral("详细：批量修改完毕！%1条数据修改成功，%2条数据未改变！")
        .arg(changed)
        .arg(unchanged);
}
