#pragma once

#include "siege/chaos/Ledger.h"

#include <span>

namespace chaos {

// One row of the database's audit table.
struct AuditEntry {
    qint64 id = 0;
    QString account;
    QString key;
    Fields fields;
};

// Rows of the order table by their keys; null is empty text.
using RowState = std::map<QString, QString>;
using States = std::map<QString, RowState>;

struct Verdict {
    std::vector<QString> problems; // empty: every promise was kept
    int saves = 0;
    int repeated = 0; // saves that were sent more than once
    int accepted = 0; // rows
    int refused = 0;
    int unknown = 0; // the desk gave up before it heard what became of them
    int unknownStored = 0; // of these
    int failures = 0; // errors that desks were shown
    qint64 longestWait = 0; // of any desk, milliseconds
};

// Holds what the desks sent and heard against what the database says happened to orders. Every acknowledged
// row must have been stored exactly once, every refused one never and have been shown with its reason, every
// one of unknown fate at most once; nothing may be stored that nobody sent; each change must have started
// from what the one before left, and all of them together lead from `before` to `after`. `audit` is in the
// order of its numbers.
Verdict Judge(std::span<const Ledger> ledgers, std::span<const AuditEntry> audit, const States& before,
    const States& after);

} // namespace chaos
