#include "server/provider/OrderChange.h"

#include "company/OrderStatus.h"

namespace server {

using wire::IsNull;
using wire::Value;

const Value* OrderChange::Set(QStringView name) const
{
    for (const storage::Cell& cell : write.sets) {
        if (cell.column->name.compare(name, Qt::CaseInsensitive) == 0)
            return &cell.value;
    }
    return nullptr;
}

const Value& OrderChange::Stored(QStringView name) const
{
    static constexpr Value kNull;
    if (write.kind == wire::ChangeKind::Insert)
        return kNull;
    if (!row)
        row = writer.Present(write.keys);
    const TargetColumn* column = target.Find(name);
    return column == nullptr || row->empty() ? kNull : (*row)[column->position];
}

bool OrderChange::IsThere() const
{
    Stored({});
    return row && !row->empty();
}

const Value& OrderChange::Becomes(QStringView name) const
{
    const Value* set = Set(name);
    return set != nullptr ? *set : Stored(name);
}

// The driver's code may stand there already, from when the order was this driver's before.
bool OrderChange::GoesToDriver() const
{
    const qint64 becomes = NumberOf(StatusBecomes());
    return becomes == company::kStatusDispatched
        || (becomes == company::kStatusAccepted && NumberOf(Becomes(u"BL_DEPUTE")) == 1
            && !IsNull(Becomes(u"REC_BILL_CODE")));
}

bool OrderChange::IsHandedBack() const
{
    const bool wasSomebodys = !IsNull(*candidatesWere) || !IsNull(*recSiteWas);
    return wasSomebodys && IsNull(CandidatesBecome()) && IsNull(RecSiteBecomes());
}

} // namespace server
