#pragma once

#include "server/provider/Policy.h"
#include "server/provider/RowTarget.h"

namespace server {

// Which rows of a table an account may write, and with which values. Rows are judged by the values that their
// change log says they were read with; these stand in the statement that writes them, so a false one writes
// nothing.
class RowRule {
public:
    virtual ~RowRule();
    // Why the row may not be written, in the clerks' language; nothing where it may. Where the log does not
    // settle it, the row is looked up as it stands. Raises wire::Error (Data) where the log lacks what it has
    // to carry.
    virtual std::optional<QString> RefusalOf(
        const storage::RowWrite& write, storage::RowWriter& stored) const = 0;
    // What every update sets besides, unless its sender has set it.
    virtual std::vector<storage::Cell> Stamps() const { return {}; }
};

// Raises wire::Error (Policy) where no row may be written, or where the log's query leaves out what rows are
// judged by. Lives no longer than its arguments.
std::unique_ptr<RowRule> RuleFor(storage::OwnStatements& statements, const Permissions& permissions,
    const Caller& caller, const RowTarget& target);

// For the rules themselves.
QStringView TextOf(const wire::Value& value); // empty where it is no text
qint64 NumberOf(const wire::Value& value); // null is 0, as the screens read it
// A cell of a yes/no column that is neither 0, 1 nor null.
bool IsBadFlag(const storage::Cell& cell);

} // namespace server
