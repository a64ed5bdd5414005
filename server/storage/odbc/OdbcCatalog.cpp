#include "server/storage/odbc/OdbcCatalog.h"

#include "server/storage/OwnTables.h"
#include "wire/Error.h"

#include <QSqlDriver>
#include <QSqlField>
#include <QSqlIndex>
#include <QSqlRecord>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using wire::ColumnType;

namespace storage::odbc {
namespace {

// Decimals with so many digits fit into 64 bits.
constexpr int kWholeDigits = 18;

ColumnType TypeOf(const QSqlField& field)
{
    switch (field.metaType().id()) {
    case QMetaType::Bool:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return ColumnType::Integer;
    case QMetaType::Double: {
        const bool whole = field.precision() == 0 && field.length() > 0 && field.length() <= kWholeDigits;
        return whole ? ColumnType::Integer : ColumnType::Number;
    }
    case QMetaType::QDate:
    case QMetaType::QDateTime:
        return ColumnType::DateTime;
    default:
        return ColumnType::Text;
    }
}

// As clients know the column, where the database's type can serve for that.
ColumnType Settle(ColumnType stored, const demo::ColumnDef& known, const QString& table)
{
    const auto isNumeric = [](ColumnType type) {
        return type == ColumnType::Integer || type == ColumnType::Number;
    };
    if (stored == known.type || (isNumeric(stored) && isNumeric(known.type)))
        return known.type;
    qWarning("odbc: column %s.%s is of another type than clients expect", qUtf8Printable(table),
        qUtf8Printable(known.name));
    return stored;
}

// Column names of the primary key, in upper case.
QStringList KeyOf(Database& database, const demo::TableDef& table, const QSqlRecord& columns)
{
    const QString qualified =
        database.Schema().isEmpty() ? table.name : database.Schema() + u'.' + table.name;
    const QSqlIndex index = database.Driver().primaryIndex(qualified);
    QStringList keys;
    for (int i = 0; i < index.count(); ++i)
        keys << index.fieldName(i).toUpper();
    // Tables of one name in several schemas come as one.
    const bool usable = !keys.isEmpty() && keys.removeDuplicates() == 0
        && std::ranges::all_of(keys, [&](const QString& name) { return columns.contains(name); });
    if (usable)
        return keys;
    keys = QStringList(table.primaryKey.begin(), table.primaryKey.end());
    qInfo("odbc: the driver names no primary key of %s; taken: %s", qUtf8Printable(table.name),
        qUtf8Printable(keys.join(u", "_s)));
    return keys;
}

dialect::CatalogTable Describe(Database& database, const demo::TableDef& table, const QSqlRecord& columns)
{
    dialect::CatalogTable described;
    described.name = table.name;
    const QStringList keys = KeyOf(database, table, columns);
    for (int i = 0; i < columns.count(); ++i) {
        const QSqlField field = columns.field(i);
        dialect::CatalogColumn column{field.name().toUpper(), TypeOf(field), 0, false};
        const auto known = std::ranges::find(table.columns, column.name, &demo::ColumnDef::name);
        if (known != table.columns.end())
            column.type = Settle(column.type, *known, table.name);
        if (column.type == ColumnType::Text)
            column.width = std::max(field.length(), 0);
        column.key = keys.contains(column.name);
        described.columns.push_back(std::move(column));
    }
    return described;
}

} // namespace

OdbcCatalog::OdbcCatalog(Database& database)
{
    QStringList missing;
    const auto add = [&](const demo::TableDef& table) {
        // Asked for as clients ask, so that what they reach by a synonym or a view is found too, and columns
        // stand in the order of "select *".
        const auto columns = database.ColumnsOf(u"select * from %1 where 1 = 0"_s.arg(table.name));
        if (columns)
            tables_.insert(table.name.toUpper(), Describe(database, table, *columns));
        else
            missing << table.name;
    };
    for (const demo::TableDef& table : demo::Schema())
        add(table);
    if (tables_.isEmpty()) {
        throw wire::Error(wire::ErrorKind::Storage,
            u"None of the company's tables is open to this database user; name their owner by ZELMOR_SCHEMA "
            "in the connection string, or grant the rights."_s);
    }
    for (const demo::TableDef& table : OwnTables())
        add(table);
    if (!missing.isEmpty())
        qWarning("odbc: tables that are not there: %s", qUtf8Printable(missing.join(u", "_s)));
}

const dialect::CatalogTable* OdbcCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.constFind(tableName.toString().toUpper());
    return found == tables_.cend() ? nullptr : &*found;
}

} // namespace storage::odbc
