#pragma once

#include "server/provider/Policy.h"
#include "server/provider/RowTarget.h"

namespace server {

// Which rows of a table an account may write. Rows are judged by the values that their change log says they
// were read with; these stand in the statement that writes them, so a false one writes nothing.
class RowRule {
public:
    virtual ~RowRule();
    // Why the row may not be written, in the clerks' language; nothing where it may. Where the log does not
    // settle it, the row is looked up as it stands. Raises wire::Error (Data) where the log lacks what it has
    // to carry.
    virtual std::optional<QString> RefusalOf(
        const storage::RowWrite& write, storage::RowWriter& stored) const = 0;
};

// nullptr: every row is open. Raises wire::Error (Policy) where none is, or where the log's query leaves out
// what rows are judged by. Lives no longer than both.
std::unique_ptr<RowRule> RuleFor(const Permissions& permissions, const RowTarget& target);

} // namespace server
