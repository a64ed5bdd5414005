#pragma once

#include "server/provider/RowRule.h"

#include <optional>

namespace server {

// An order as it was read and as it becomes; what the log leaves out is looked up when it is asked for.
struct OrderChange {
    const RowTarget& target;
    const storage::RowWrite& write;
    storage::RowWriter& writer;
    const wire::Value* statusWas = nullptr;
    const wire::Value* candidatesWere = nullptr;
    const wire::Value* recSiteWas = nullptr;
    bool giving = true; // nothing changes but what giving on changes
    bool revoking = true;
    mutable std::optional<storage::Row> row = std::nullopt;

    // nullptr where it does not change.
    const wire::Value* Set(QStringView name) const;
    bool IsGiven(QStringView name) const { return Set(name) != nullptr && !wire::IsNull(*Set(name)); }
    bool IsEmptied(QStringView name) const { return Set(name) != nullptr && wire::IsNull(*Set(name)); }
    // Null where the log lacks the column.
    const wire::Value& Stored(QStringView name) const;
    bool IsThere() const;
    const wire::Value& Becomes(QStringView name) const;
    // Without a look at the database: the log carries the guards.
    const wire::Value& StatusBecomes() const { return ValueOr(Set(u"STATUS"), *statusWas); }
    const wire::Value& CandidatesBecome() const { return ValueOr(Set(u"PREPARE_SITE"), *candidatesWere); }
    const wire::Value& RecSiteBecomes() const { return ValueOr(Set(u"REC_SITE"), *recSiteWas); }
    // Entrusting does not set the status of dispatch.
    bool GoesToDriver() const;
    // A courier's order becomes nobody's again: whoever gets it next needs no reason.
    bool IsHandedBack() const;

private:
    static const wire::Value& ValueOr(const wire::Value* set, const wire::Value& was)
    {
        return set != nullptr ? *set : was;
    }
};

} // namespace server
