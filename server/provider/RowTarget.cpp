#include "server/provider/RowTarget.h"

#include "company/Tables.h"
#include "server/provider/Policy.h"
#include "server/refusal/UserTexts.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

// In either case. Every save compares thousands of names, and most differ in length or soon.
bool IsSame(QStringView a, QStringView b)
{
    return std::ranges::equal(
        a, b, [](QChar x, QChar y) { return x == y || x.toCaseFolded() == y.toCaseFolded(); });
}

// The column of the log as the query itself describes it; clients are not taken at their word where the
// server knows better.
const wire::ColumnInfo& Described(
    const std::vector<wire::ColumnInfo>& query, const std::vector<wire::ColumnInfo>& columns, size_t position)
{
    const auto same = [&](const wire::ColumnInfo& info) { return IsSame(info.name, columns[position].name); };
    if (position < query.size() && same(query[position]))
        return query[position];
    const auto found = std::ranges::find_if(query, same);
    return found != query.end() ? *found : columns[position];
}

} // namespace

RowTarget::RowTarget(
    storage::Connection& connection, const wire::ChangeLog& log, const Permissions& permissions)
{
    const dialect::Translated query = connection.Translate(log.commandText);
    permissions.RequireChanges(*query.translation);
    table_ = connection.Catalog().Find(query.translation->targetTable);
    if (table_ == nullptr)
        throw wire::Error(wire::ErrorKind::Data, texts::NoTable());

    int keyColumns = 0;
    columns_.resize(log.columns.size());
    for (const dialect::CatalogColumn& column : table_->columns) {
        const int key = column.key ? keyColumns++ : -1;
        for (size_t i = 0; i < log.columns.size(); ++i) {
            if (!IsSame(log.columns[i].name, column.name))
                continue;
            const wire::ColumnInfo& info = Described(*query.translation->columns, log.columns, i);
            if (!info.stored)
                continue;
            columns_[i] = TargetColumn{&column, key, info.guard, i};
            if (column.key)
                keys_.push_back(&*columns_[i]);
            break;
        }
        if (column.key && static_cast<int>(keys_.size()) != keyColumns)
            throw wire::Error(wire::ErrorKind::Data, texts::KeyMissing(column.name));
    }
    if (keys_.empty())
        throw wire::Error(wire::ErrorKind::Data, texts::NoTable());
}

const TargetColumn* RowTarget::Column(quint16 position) const
{
    if (position >= columns_.size())
        throw wire::Error(wire::ErrorKind::Data, texts::BadChangeLog());
    const auto& column = columns_[position];
    return column ? &*column : nullptr;
}

const TargetColumn* RowTarget::Find(QStringView name) const
{
    const auto found = std::ranges::find_if(columns_, [name](const std::optional<TargetColumn>& column) {
        return column && IsSame(name, column->stored->name);
    });
    return found != columns_.end() ? &**found : nullptr;
}

QString RowTarget::CaptionOf(const TargetColumn& column) const
{
    const company::Table* known = company::FindTable(table_->name);
    const company::Column* same = known != nullptr ? known->Find(column.stored->name) : nullptr;
    return same == nullptr || same->caption.isEmpty() ? column.stored->name : same->caption;
}

bool RowTarget::KeyIsNumbered() const noexcept
{
    return keys_.size() == 1 && keys_.front()->stored->type == wire::ColumnType::Integer;
}

storage::WriteTarget RowTarget::ForWriting(const Caller& caller) const
{
    storage::WriteTarget target{table_, {}, {},
        {caller.now, caller.identity.account, caller.identity.employeeName, caller.peer, table_->name}};
    for (const TargetColumn* key : keys_)
        target.keys.push_back(key->stored);
    for (const auto& column : columns_)
        target.read.push_back(column ? column->stored : nullptr);
    target.read.push_back(table_->Find(u"MODIFY_SITE"));
    target.read.push_back(table_->Find(u"MODIFIER"));
    return target;
}

QString RowTarget::TakeLastModifier(storage::Row& row) const
{
    const QString name = wire::ToText(row.back());
    row.pop_back();
    const QString site = wire::ToText(row.back());
    row.pop_back();
    return u"%1 %2"_s.arg(site, name).trimmed();
}

} // namespace server
