#include "server/provider/ServiceRule.h"

#include "server/refusal/UserTexts.h"

#include <algorithm>

namespace server {

using storage::Cell;
using wire::ChangeKind;

ServiceRule::ServiceRule(const Permissions& permissions, const RowTarget& target)
    : allSites_(permissions.TheRole() == Role::Headquarters || permissions.OpensSites())
    , permissions_(permissions)
    , site_(target.Table().Find(u"SITE_NAME"))
    , open_(target.Table().Find(u"BL_OPEN"))
    , key_(static_cast<size_t>(
          std::ranges::find(target.Keys(), site_, &TargetColumn::stored) - target.Keys().begin()))
    , openAt_(target.Find(u"BL_OPEN"))
{
    for (const TargetColumn* column : target.Keys())
        keys_.push_back(column->stored);
}

bool ServiceRule::IsOpen(const storage::RowWrite& write, storage::RowWriter& stored) const
{
    const storage::Row row = stored.Present(write.keys);
    return openAt_ != nullptr && !row.empty() && NumberOf(row[openAt_->position]) == 1;
}

// A county that was closed would come back open under its old name once its row had gone, or bore another.
std::optional<QString> ServiceRule::RefusalOfLeaving(
    const storage::RowWrite& write, storage::RowWriter& stored) const
{
    const bool renamed = write.kind == ChangeKind::Update
        && std::ranges::any_of(write.sets,
            [this](const Cell& cell) { return std::ranges::find(keys_, cell.column) != keys_.end(); });
    const bool leaves = write.kind == ChangeKind::Delete || (renamed && !IsOpen(write, stored));
    return leaves && !permissions_.OpensSites() ? std::optional(texts::OpeningClosed()) : std::nullopt;
}

std::optional<QString> ServiceRule::RefusalOf(
    const storage::RowWrite& write, storage::RowWriter& stored) const
{
    const bool insert = write.kind == ChangeKind::Insert;
    const SiteScope& sites = permissions_.Sites();
    const bool own = allSites_ || insert || (key_ < write.keys.size() && sites.Has(TextOf(write.keys[key_])));
    if (!own)
        return texts::ForeignService();
    bool opened = false;
    for (const Cell& cell : write.sets) {
        if (IsBadFlag(cell))
            return texts::ValueUnknown(cell.column->name, wire::ToText(cell.value));
        if (cell.column == site_) {
            const QString site = wire::ToText(cell.value);
            if (!permissions_.Exists(site))
                return texts::NoSuchSite(cell.column->name, site);
            if (!allSites_ && !sites.Has(site))
                return texts::ForeignService();
        }
        if (cell.column == open_) {
            opened = NumberOf(cell.value) == 1;
            if (!insert && !permissions_.OpensSites())
                return texts::OpeningClosed();
        }
    }
    // A new row is open unless somebody who may closes it.
    const bool closes = insert && open_ != nullptr && !opened;
    if (closes && !permissions_.OpensSites())
        return texts::OpeningClosed();
    return RefusalOfLeaving(write, stored);
}

} // namespace server
