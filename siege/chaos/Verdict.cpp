#include "siege/chaos/Verdict.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace chaos {
namespace {

const QString kStatus = u"STATUS"_s;
const QString kWaiting = u"0"_s;
const QString kAccepted = u"1"_s;
const QString kPickedUp = u"3"_s;

// What makes two changes the same: what was sent.
QString Signature(const QString& account, const QString& key, const Fields& fields)
{
    QStringList parts{account, key};
    for (const auto& [column, change] : fields) {
        if (!change.byServer)
            parts += {column, change.before, change.after};
    }
    return parts.join(QChar(0x1f));
}

class Judging {
public:
    explicit Judging(std::span<const AuditEntry> audit)
    {
        for (const AuditEntry& entry : audit)
            stored_[Signature(entry.account, entry.key, entry.fields)].push_back(&entry);
    }

    void Hear(const Ledger& ledger)
    {
        for (const QString& contradiction : ledger.contradictions)
            Complain(contradiction);
        if (!ledger.ended)
            Complain(u"a desk of %1 did not work to the end"_s.arg(ledger.account));
        verdict.failures += ledger.failures;
        verdict.longestWait = std::max(verdict.longestWait, ledger.longestWait);
        for (const Save& save : ledger.saves) {
            ++verdict.saves;
            verdict.repeated += save.sendings > 1;
            for (const SentRow& row : save.rows)
                Hear(ledger.account, save, row);
            CheckTold(save);
        }
    }

    void NothingElse()
    {
        for (const auto& [signature, entries] : stored_) {
            for (const AuditEntry* entry : entries)
                Complain(u"audit %1: %2 was changed by %3, but nobody sent that"_s.arg(entry->id).arg(
                    entry->key, entry->account));
        }
    }

    void Complain(const QString& problem) { verdict.problems.push_back(problem); }

    Verdict verdict;

private:
    void Hear(const QString& account, const Save& save, const SentRow& row)
    {
        const auto found = stored_.find(Signature(account, row.key, row.fields));
        const size_t times = found == stored_.end() ? 0 : found->second.size();
        const QString what = u"save %1, %2: "_s.arg(save.name, row.key);
        switch (row.fate) {
        case RowFate::Accepted:
            ++verdict.accepted;
            if (times != 1)
                Complain(what + u"acknowledged, but stored %1 times"_s.arg(times));
            break;
        case RowFate::Refused:
            ++verdict.refused;
            if (times != 0)
                Complain(what + u"refused, but stored"_s);
            if (row.reason.isEmpty() || row.shown != row.reason)
                Complain(what + u"refused because of “%1”, but shown “%2”"_s.arg(row.reason, row.shown));
            break;
        case RowFate::Unknown:
            ++verdict.unknown;
            verdict.unknownStored += times > 0;
            if (times > 1)
                Complain(what + u"unknown, but stored %1 times"_s.arg(times));
            break;
        }
        if (row.fate != RowFate::Refused && !row.shown.isEmpty())
            Complain(what + u"shown as refused, but it was not"_s);
        if (found != stored_.end())
            stored_.erase(found);
    }

    void CheckTold(const Save& save)
    {
        const auto has = [&save](RowFate fate) {
            return std::ranges::any_of(save.rows, [fate](const SentRow& row) { return row.fate == fate; });
        };
        const Told expected = has(RowFate::Unknown) ? Told::Failed
            : has(RowFate::Refused)                 ? Told::Rejected
                                                    : Told::Saved;
        if (save.told != expected)
            Complain(u"save %1: its desk was told something else than the server said"_s.arg(save.name));
    }

    // Changes by their signatures; what the desks sent is taken out.
    std::map<QString, std::vector<const AuditEntry*>> stored_;
};

const QString& ValueOf(const RowState& state, const QString& column)
{
    static const QString null;
    const auto found = state.find(column);
    return found == state.end() ? null : found->second;
}

// Empty where the status of an order may change so.
QString StatusComplaint(const FieldChange& status)
{
    const bool waited = status.before.isEmpty() || status.before == kWaiting;
    if (status.after == kAccepted && !waited)
        return u"accepted although it was not waiting"_s;
    if (status.after == kPickedUp && status.before != kAccepted)
        return u"picked up although it was not accepted"_s;
    return {};
}

} // namespace

Verdict Judge(std::span<const Ledger> ledgers, std::span<const AuditEntry> audit, const States& before,
    const States& after)
{
    Judging judging(audit);
    for (const Ledger& ledger : ledgers)
        judging.Hear(ledger);
    judging.NothingElse();

    States states = before;
    for (const AuditEntry& entry : audit) {
        RowState& state = states[entry.key];
        const auto complain = [&](const QString& text) {
            judging.Complain(u"audit %1: %2 "_s.arg(entry.id).arg(entry.key) + text);
        };
        for (const auto& [column, change] : entry.fields) {
            QString& value = state[column];
            if (!change.byServer && value != change.before)
                complain(u"was changed from %1 “%2”, but “%3” stood there: a lost update"_s.arg(
                    column, change.before, value));
            value = change.after;
            const QString complaint = column == kStatus ? StatusComplaint(change) : QString();
            if (!complaint.isEmpty())
                complain(u"was "_s + complaint);
        }
    }
    for (const auto& [key, state] : states) {
        const auto found = after.find(key);
        for (const auto& [column, value] : state) {
            const QString stands = found == after.end() ? QString() : ValueOf(found->second, column);
            if (stands != value)
                judging.Complain(u"%1 has %2 “%3”, but by the audit “%4”"_s.arg(key, column, stands, value));
        }
    }
    return std::move(judging.verdict);
}

} // namespace chaos
