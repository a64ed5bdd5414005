#include "server/provider/RowTarget.h"

#include "server/Texts.h"
#include "server/provider/Policy.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

// The column of the log as the query itself describes it; clients are not taken at their word where the
// server knows better.
const wire::ColumnInfo& Described(
    const dialect::Translation& query, const std::vector<wire::ColumnInfo>& columns, size_t position)
{
    const auto same = [&](const wire::ColumnInfo& info) {
        return info.name.compare(columns[position].name, Qt::CaseInsensitive) == 0;
    };
    if (position < query.columns.size() && same(query.columns[position]))
        return query.columns[position];
    const auto found = std::ranges::find_if(query.columns, same);
    return found != query.columns.end() ? *found : columns[position];
}

// What two desks most often change at once has a name in the clerks' language; other columns go by their own.
QString CaptionOf(const QString& name)
{
    if (name == u"BILL_CODE"_s)
        return u"运单编号"_s;
    if (name == u"REC_GOODS_MAN"_s)
        return u"接单业务员"_s;
    if (name == u"STATUS"_s)
        return u"状态"_s;
    if (name == u"REC_SITE"_s)
        return u"接单/揽件网点"_s;
    if (name == u"PREPARE_SITE"_s)
        return u"可接单网点"_s;
    return name;
}

} // namespace

RowTarget::RowTarget(storage::Connection& connection, const wire::ChangeLog& log)
    : database_(connection.Base())
{
    const dialect::Translated query = connection.Translate(log.commandText);
    RequireQuery(*query.translation);
    RequireWritable(query.translation->targetTable);
    table_ = connection.Catalog().Find(query.translation->targetTable);
    if (table_ == nullptr)
        throw wire::Error(wire::ErrorKind::Data, texts::NoTable());

    int keyColumns = 0;
    columns_.resize(log.columns.size());
    for (const dialect::CatalogColumn& column : table_->columns) {
        const int key = column.key ? keyColumns++ : -1;
        for (size_t i = 0; i < log.columns.size(); ++i) {
            if (log.columns[i].name.compare(column.name, Qt::CaseInsensitive) != 0)
                continue;
            const wire::ColumnInfo& info = Described(*query.translation, log.columns, i);
            if (!info.stored)
                continue;
            columns_[i] = TargetColumn{column.name, CaptionOf(column.name), storage::Quoted(column.name),
                column.name.toStdString(), column.type, column.width, key, info.guard, i};
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

bool RowTarget::KeyIsNumbered() const noexcept
{
    return keys_.size() == 1 && keys_.front()->type == wire::ColumnType::Integer;
}

std::string RowTarget::WhereKey(const Columns& checks) const
{
    std::string sql;
    for (const TargetColumn* key : keys_)
        sql += (sql.empty() ? " where " : " and ") + key->quotedName + " = ?";
    // The plus keeps the planner to the key's index.
    for (const TargetColumn* check : checks)
        sql += " and +" + check->quotedName + " is ?";
    return sql;
}

std::string RowTarget::UpdateText(const Columns& sets, const Columns& checks) const
{
    std::string list;
    for (const TargetColumn* column : sets)
        list += (list.empty() ? "" : ", ") + column->quotedName + " = ?";
    return "update " + storage::Quoted(table_->name) + " set " + list + WhereKey(checks);
}

std::string RowTarget::InsertText(const Columns& sets) const
{
    std::string names;
    std::string places;
    for (const TargetColumn* column : sets) {
        names += (names.empty() ? "" : ", ") + column->quotedName;
        places += places.empty() ? "?" : ", ?";
    }
    return "insert into " + storage::Quoted(table_->name) + "(" + names + ") values(" + places + ")";
}

std::string RowTarget::DeleteText(const Columns& checks) const
{
    return "delete from " + storage::Quoted(table_->name) + WhereKey(checks);
}

std::optional<std::vector<wire::Value>> RowTarget::Present(std::span<const wire::Value> key)
{
    if (!present_) {
        std::string list;
        for (const auto& column : columns_)
            list += (list.empty() ? "" : ", ") + (column ? column->quotedName : "null");
        present_.emplace(
            database_.Prepare("select " + list + " from " + storage::Quoted(table_->name) + WhereKey({})));
    }
    const storage::ResetGuard reset(*present_);
    int parameter = 0;
    for (const wire::Value& value : key)
        present_->Bind(++parameter, value);
    if (!present_->Step())
        return std::nullopt;
    std::vector<wire::Value> values(columns_.size());
    for (size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i])
            values[i] = present_->Value(static_cast<int>(i), columns_[i]->type);
    }
    return values;
}

QString RowTarget::LastModifier(std::span<const wire::Value> key)
{
    if (table_->Find(u"MODIFY_SITE") == nullptr || table_->Find(u"MODIFIER") == nullptr)
        return {};
    storage::Statement query = database_.Prepare(
        "select MODIFY_SITE, MODIFIER from " + storage::Quoted(table_->name) + WhereKey({}));
    int parameter = 0;
    for (const wire::Value& value : key)
        query.Bind(++parameter, value);
    return query.Step() ? u"%1 %2"_s.arg(query.Text(0), query.Text(1)).trimmed() : QString();
}

} // namespace server
