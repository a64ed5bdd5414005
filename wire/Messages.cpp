#include "wire/Messages.h"

#include <algorithm>

namespace wire {

ReplySink::~ReplySink() = default;

Transport::~Transport() = default;

int ApplyOutcome::Rejected() const noexcept
{
    return static_cast<int>(
        std::count_if(rows.begin(), rows.end(), [](const RowVerdict& row) { return !row.accepted; }));
}

} // namespace wire
