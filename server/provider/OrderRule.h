#pragma once

#include "server/provider/StampRule.h"

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
    std::vector<storage::Cell> Stamps() const override { return stamps_.Last(); }

private:
    enum class Part : quint8;
    struct Column;

    static const Column* KnownColumn(QStringView name);
    const Column& Of(const storage::Cell& cell) const;
    OrderChange Read(const storage::RowWrite& write, storage::RowWriter& stored) const;

    std::optional<QString> RefusalOfInsert(const OrderChange& order) const;
    std::optional<QString> RefusalOfUpdate(const OrderChange& order) const;
    std::optional<QString> RefusalOfRevocation(const OrderChange& order) const;
    std::optional<QString> RefusalOfValues(const OrderChange& order) const;
    std::optional<QString> RefusalOfCell(const OrderChange& order, const storage::Cell& cell) const;
    std::optional<QString> RefusalOfSite(const OrderChange& order, const storage::Cell& cell) const;
    std::optional<QString> RefusalOfName(const OrderChange& order, const storage::Cell& cell) const;
    bool IsOurs(const OrderChange& order) const;
    bool IsOursAsStored(const OrderChange& order) const;
    bool IsReported(const OrderChange& order) const;
    bool IsKnownList(QStringView list, QStringView before) const;

    storage::OwnStatements& statements_;
    const Permissions& permissions_;
    const Caller& caller_;
    const RowTarget& target_;
    const SiteScope& sites_;
    const StampRule stamps_;
    const bool everything_; // the headquarters
    std::vector<const Column*> columns_; // parallel to the table's
};

} // namespace server
