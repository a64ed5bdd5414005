#include "server/storage/OwnTables.h"

using namespace Qt::Literals::StringLiterals;
using wire::ColumnType;

namespace storage {

const company::Table& MetaTable()
{
    static const company::Table table{
        .name = u"zelmor_meta"_s,
        .columns = {{u"NAME"_s, ColumnType::Text, 40}, {u"VALUE"_s, ColumnType::Text, 200}},
        .primaryKey = {u"NAME"_s},
        .primaryKeyName = u"ZELMOR_META_P"_s,
    };
    return table;
}

const company::Table& AccountTable()
{
    static const company::Table table{
        .name = u"zelmor_account"_s,
        .columns = {{u"ACCOUNT"_s, ColumnType::Text, 30}, {u"PASSWORD_HASH"_s, ColumnType::Text, 128},
            {u"EMPLOYEE_CODE"_s, ColumnType::Text, 20}, {u"USER_TYPE"_s, ColumnType::Text, 10},
            {u"RIGHTS"_s, ColumnType::Text, 3}, {u"ROLE"_s, ColumnType::Text, 20},
            {u"DESCRIPTION"_s, ColumnType::Text, 100}, {u"CREATE_DATE"_s, ColumnType::DateTime}},
        .primaryKey = {u"ACCOUNT"_s},
        .primaryKeyName = u"ZELMOR_ACCOUNT_P"_s,
    };
    return table;
}

// In the order of time as it is written; an index by time or by row key would cost every save more than it
// ever gives back.
const company::Table& AuditTable()
{
    static const company::Table table{
        .name = u"zelmor_audit"_s,
        .columns = {{u"AUDIT_ID"_s, ColumnType::Integer}, {u"AUDIT_DATE"_s, ColumnType::DateTime},
            {u"ACCOUNT"_s, ColumnType::Text, 30}, {u"EMPLOYEE_NAME"_s, ColumnType::Text, 30},
            {u"PEER"_s, ColumnType::Text, 100}, {u"TABLE_NAME"_s, ColumnType::Text, 40},
            {u"ACTION"_s, ColumnType::Text, 10}, {u"ROW_KEY"_s, ColumnType::Text, 200},
            {u"FIELDS"_s, ColumnType::Text}},
        .primaryKey = {u"AUDIT_ID"_s},
        .primaryKeyName = u"ZELMOR_AUDIT_P"_s,
    };
    return table;
}

const company::Table& OutcomeTable()
{
    static const company::Table table{
        .name = u"zelmor_outcome"_s,
        .columns = {{u"CLIENT"_s, ColumnType::Text, 32}, {u"SERIAL"_s, ColumnType::Integer},
            {u"ACCOUNT"_s, ColumnType::Text, 30}, {u"APPLY_TIME"_s, ColumnType::Integer},
            {u"OUTCOME"_s, ColumnType::Text}},
        .primaryKey = {u"CLIENT"_s, u"SERIAL"_s},
        .primaryKeyName = u"ZELMOR_OUTCOME_P"_s,
        .indexes = {{u"ZELMOR_OUTCOME_I"_s, {u"APPLY_TIME"_s}}},
    };
    return table;
}

const std::vector<company::Table>& OwnTables()
{
    static const std::vector<company::Table> tables{
        MetaTable(), AccountTable(), AuditTable(), OutcomeTable()};
    return tables;
}

std::vector<std::vector<wire::Value>> MetaRows(const QString& demo)
{
    std::vector<std::vector<wire::Value>> rows{{u"version"_s, QString::number(kSchemaVersion)}};
    if (!demo.isEmpty())
        rows.push_back({u"demo"_s, demo});
    return rows;
}

} // namespace storage
