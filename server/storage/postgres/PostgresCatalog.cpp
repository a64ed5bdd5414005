#include "server/storage/postgres/PostgresCatalog.h"

#include "server/storage/OwnTables.h"
#include "server/storage/postgres/PostgresSchema.h"

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage::postgres {
namespace {

constexpr auto kColumns = R"(
select c.relname, a.attname, t.typname, a.atttypmod, coalesce(a.attnum = any(i.indkey), false)
from pg_class c
join pg_attribute a on a.attrelid = c.oid and a.attnum > 0 and not a.attisdropped
join pg_type t on t.oid = a.atttypid
left join pg_index i on i.indrelid = c.oid and i.indisprimary
where c.relnamespace = to_regnamespace(quote_ident(current_schema())) and c.relkind in ('r', 'p', 'v', 'm')
order by c.relname, a.attnum)";

constexpr auto kIndexes = R"(
select c.relname, ic.relname, i.indisprimary,
    (select string_agg(a.attname, ',' order by k.position)
     from unnest(i.indkey::int2[]) with ordinality k(number, position)
     join pg_attribute a on a.attrelid = c.oid and a.attnum = k.number
     where k.position <= i.indnkeyatts)
from pg_class c
join pg_index i on i.indrelid = c.oid and i.indpred is null and i.indexprs is null
join pg_class ic on ic.oid = i.indexrelid
where c.relnamespace = to_regnamespace(quote_ident(current_schema()))
order by c.relname, ic.relname)";

QString TextAt(const Result& result, int row, int column)
{
    return QString::fromUtf8(PQgetvalue(result.get(), row, column));
}

bool IsTrue(const Result& result, int row, int column)
{
    return *PQgetvalue(result.get(), row, column) == 't';
}

struct ReadType {
    wire::ColumnType type;
    int width = 0;
};

std::optional<ReadType> TypeOfColumn(const QString& name, int modifier)
{
    using wire::ColumnType;
    if (name == u"varchar"_s || name == u"bpchar"_s)
        return ReadType{ColumnType::Text, std::max(modifier - 4, 0)};
    if (name == u"text"_s)
        return ReadType{ColumnType::Text};
    if (name == u"int8"_s || name == u"int4"_s || name == u"int2"_s)
        return ReadType{ColumnType::Integer};
    if (name == u"float8"_s || name == u"float4"_s || name == u"numeric"_s)
        return ReadType{ColumnType::Number};
    if (name == u"timestamp"_s || name == u"date"_s)
        return ReadType{ColumnType::DateTime};
    return std::nullopt;
}

QString SpelledTable(const QString& name)
{
    if (const company::Table* table = company::FindTable(name))
        return table->name;
    const auto& own = OwnTables();
    const auto found = std::ranges::find(own, name, &company::Table::name);
    return found != own.end() ? found->name : name.toUpper();
}

bool IsGuarded(const QString& tableName, const QString& name)
{
    const company::Table* table = company::FindTable(tableName);
    const company::Column* column = table != nullptr ? table->Find(name) : nullptr;
    return column != nullptr && column->guarded;
}

} // namespace

PostgresCatalog::PostgresCatalog(Link& link)
{
    ReadColumns(link);
    ReadIndexes(link);
}

void PostgresCatalog::ReadColumns(Link& link)
{
    const Result rows = link.Run(kColumns);
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
        const QString tableName = TextAt(rows, row, 0);
        const QString name = TextAt(rows, row, 1);
        if (tableName != tableName.toLower() || name != name.toLower())
            continue;
        dialect::CatalogTable& table = tables_[tableName.toUpper()];
        table.name = SpelledTable(tableName);
        if (name == QLatin1StringView(kRowColumn))
            table.rowColumn = name;
        else if (const auto type = TypeOfColumn(TextAt(rows, row, 2), TextAt(rows, row, 3).toInt()))
            table.columns.push_back(
                {name.toUpper(), type->type, type->width, IsTrue(rows, row, 4), IsGuarded(table.name, name)});
    }
}

void PostgresCatalog::ReadIndexes(Link& link)
{
    const Result rows = link.Run(kIndexes);
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
        const auto table = tables_.find(TextAt(rows, row, 0).toUpper());
        if (table == tables_.end())
            continue;
        const QString name = TextAt(rows, row, 1);
        if (IsTrue(rows, row, 2))
            primaryKeys_.insert(table->name, name.toStdString());
        table->indexes.push_back(name.toUpper());
        std::vector<QString>& columns = table->indexColumns.emplace_back();
        for (const QString& column : TextAt(rows, row, 3).toUpper().split(u','))
            columns.push_back(column);
    }
}

const dialect::CatalogTable* PostgresCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.constFind(tableName.toString().toUpper());
    return found == tables_.constEnd() ? nullptr : &*found;
}

std::string PostgresCatalog::PrimaryKeyOf(const dialect::CatalogTable& table) const
{
    return primaryKeys_.value(table.name);
}

} // namespace storage::postgres
