#include "server/storage/odbc/OdbcCatalog.h"

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
ColumnType Settle(ColumnType stored, const company::Column& known, const QString& table)
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

// Column names of the primary key, in upper case; none where the driver names none.
QStringList KeyOf(Database& database, const company::Table& table, const QSqlRecord& columns)
{
    const QString qualified =
        database.Schema().isEmpty() ? table.name : database.Schema() + u'.' + table.name;
    const QSqlIndex index = database.Driver().primaryIndex(qualified);
    QStringList keys;
    for (int i = 0; i < index.count(); ++i)
        keys << index.fieldName(i).toUpper();
    // Tables of one name in several schemas come as one.
    const bool usable = keys.removeDuplicates() == 0
        && std::ranges::all_of(keys, [&](const QString& name) { return columns.contains(name); });
    return usable ? keys : QStringList();
}

dialect::CatalogTable Describe(
    const company::Table& table, const QSqlRecord& columns, const QStringList& keys)
{
    dialect::CatalogTable described;
    described.name = table.name;
    for (int i = 0; i < columns.count(); ++i) {
        const QSqlField field = columns.field(i);
        dialect::CatalogColumn column{field.name().toUpper(), TypeOf(field)};
        if (const company::Column* known = table.Find(column.name)) {
            column.type = Settle(column.type, *known, table.name);
            column.guard = known->guarded;
        }
        if (column.type == ColumnType::Text)
            column.width = std::max(field.length(), 0);
        column.key = keys.contains(column.name);
        described.columns.push_back(std::move(column));
    }
    return described;
}

} // namespace

void OdbcCatalog::Read(Database& database, const std::vector<company::Table>& tables)
{
    QStringList missing;
    QStringList unkeyed;
    for (const company::Table& table : tables) {
        // Asked for as clients ask, so that what they reach by a synonym or a view is found too, and columns
        // stand in the order of "select *".
        const auto columns = database.ColumnsOf(u"select * from %1 where 1 = 0"_s.arg(table.name));
        if (!columns) {
            missing << table.name;
            continue;
        }
        QStringList keys = KeyOf(database, table, *columns);
        if (keys.isEmpty()) {
            unkeyed << table.name;
            keys = QStringList(table.primaryKey.begin(), table.primaryKey.end());
        }
        tables_.insert(table.name.toUpper(), Describe(table, *columns, keys));
    }
    if (missing.size() == static_cast<qsizetype>(tables.size())) {
        throw wire::Error(wire::ErrorKind::Storage,
            u"None of the company's tables is open to this database user; name their owner by ZELMOR_SCHEMA "
            "in the connection string, or grant the rights."_s);
    }
    if (!unkeyed.isEmpty()) {
        qWarning("odbc: the driver names no primary key of %s; those that clients rely on are taken",
            qUtf8Printable(unkeyed.join(u", "_s)));
    }
    if (!missing.isEmpty())
        qWarning("odbc: tables that are not there: %s", qUtf8Printable(missing.join(u", "_s)));
}

const dialect::CatalogTable* OdbcCatalog::Find(QStringView tableName) const
{
    const auto found = tables_.constFind(tableName.toString().toUpper());
    return found == tables_.cend() ? nullptr : &*found;
}

} // namespace storage::odbc
