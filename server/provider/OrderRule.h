#pragma once

#include "server/provider/RowRule.h"

#include <array>

namespace server {

// Orders: who may write one, and that stamps, statuses, sites and times in it are what they say. The
// headquarters may write any order; its values are judged like everybody's.
class OrderRule final : public RowRule {
public:
    OrderRule(storage::OwnStatements& statements, const Permissions& permissions, const Caller& caller,
        const RowTarget& target);
    std::optional<QString> RefusalOf(
        const storage::RowWrite& write, storage::RowWriter& stored) const override;

private:
    enum class Part : quint8;
    struct Column;
    struct Order;

    static const Column* KnownColumn(QStringView name);
    const Column& Of(const storage::Cell& cell) const;
    int Position(QStringView name) const;
    Order Read(const storage::RowWrite& write, storage::RowWriter& stored) const;

    std::optional<QString> RefusalOfInsert(const Order& order) const;
    std::optional<QString> RefusalOfUpdate(const Order& order) const;
    std::optional<QString> RefusalOfRevocation(const Order& order) const;
    std::optional<QString> RefusalOfValues(const Order& order) const;
    static bool IsHandedBack(const Order& order);
    std::optional<QString> RefusalOfCell(const Order& order, const storage::Cell& cell) const;
    bool IsOurs(const Order& order) const;
    bool IsOursAsStored(const Order& order) const;
    bool IsReported(const Order& order) const;
    bool IsRecent(const wire::Value& value) const;
    bool IsKnownList(QStringView list, QStringView before) const;

    storage::OwnStatements& statements_;
    const Permissions& permissions_;
    const Caller& caller_;
    const RowTarget& target_;
    const SiteScope& sites_;
    const bool everything_; // the headquarters
    std::vector<const Column*> columns_; // parallel to the table's
};

} // namespace server
