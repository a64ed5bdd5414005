#include "server/dialect/Postgres.h"
#include "tests/server/dialect_database.h"
#include "tests/support/PostgresDatabase.h"

#include <QtEndian>

#include <libpq-fe.h>

#include <array>
#include <bit>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr Oid kText = 25, kVarchar = 1043, kInteger = 20, kNumber = 701, kTimestamp = 1114;

Oid OidOf(wire::ColumnType type)
{
    constexpr std::array kOids{kText, kInteger, kNumber, kTimestamp};
    return kOids[static_cast<size_t>(type) - 1];
}

QString TypeText(const demo::ColumnDef& column)
{
    switch (column.type) {
    case wire::ColumnType::Integer:
        return u"bigint"_s;
    case wire::ColumnType::Number:
        return u"double precision"_s;
    case wire::ColumnType::DateTime:
        return u"timestamp(0)"_s;
    case wire::ColumnType::Text:
        break;
    }
    return u"varchar(%1) collate \"C\""_s.arg(column.width);
}

QString List(const std::vector<QString>& names)
{
    return QStringList(names.begin(), names.end()).join(u',').toLower();
}

wire::Value CellOf(const PGresult* result, int row, int column, wire::ColumnType type)
{
    if (PQgetisnull(result, row, column))
        return {};
    const char* bytes = PQgetvalue(result, row, column);
    switch (type) {
    case wire::ColumnType::Integer:
        return qFromBigEndian<qint64>(bytes);
    case wire::ColumnType::Number:
        return std::bit_cast<double>(qFromBigEndian<quint64>(bytes));
    case wire::ColumnType::DateTime:
        return wire::DateTime{
            qFromBigEndian<qint64>(bytes) / 1'000'000 + wire::DateTime::FromParts(2000, 1, 1).seconds};
    case wire::ColumnType::Text:
        break;
    }
    return QString::fromUtf8(bytes);
}

class PostgresDialect final : public DialectDatabase {
public:
    explicit PostgresDialect(bool orafce);

    void Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now) override;
    wire::RowSet Query(const QString& sql) override;
    qint64 Execute(const QString& sql) override;
    QString Plan(const QString& sql) override;

private:
    using ResultPtr = std::unique_ptr<PGresult, decltype(&PQclear)>;

    ResultPtr Run(const QString& sql);
    ResultPtr Run(const dialect::Translated& translated);
    void Prepare(const dialect::Translated& translated);
    ResultPtr Checked(PGresult* result, const std::string& sql);

    PostgresDatabase database_;
    std::unique_ptr<PGconn, decltype(&PQfinish)> connection_;
};

PostgresDialect::PostgresDialect(bool orafce)
    : DialectDatabase(std::make_shared<SchemaCatalog>(u"zelmor_row"_s), dialect::Target::Postgres)
    , database_(orafce ? PostgresDatabase::Orafce::With : PostgresDatabase::Orafce::Without)
    , connection_(PQconnectdb(database_.Uri().toUtf8().constData()), PQfinish)
{
    PQsetNoticeProcessor(
        connection_.get(), [](void*, const char*) {}, nullptr);
    Run(QString::fromStdString("begin;" + dialect::PostgresFunctionsText(orafce) + "commit"));
    for (const demo::TableDef& table : demo::Schema()) {
        QStringList columns;
        for (const demo::ColumnDef& column : table.columns)
            columns.push_back(column.name.toLower() + u' ' + TypeText(column));
        Run(u"create table %1(%2, zelmor_row bigint generated always as identity, primary key(%3))"_s.arg(
            table.name.toLower(), columns.join(u','), List(table.primaryKey)));
        for (const demo::IndexDef& index : table.indexes)
            Run(u"create index %1 on %2(%3)"_s.arg(index.name, table.name, List(index.columns)));
    }
}

void PostgresDialect::Load(const std::vector<conformance::TableRows>& tables, wire::DateTime now)
{
    now_ = now;
    QStringList statements{u"begin"_s};
    for (const demo::TableDef& table : demo::Schema())
        statements.push_back(u"truncate %1 restart identity"_s.arg(table.name));
    for (const conformance::TableRows& rows : tables) {
        QStringList columns;
        for (const demo::ColumnDef& column : rows.table->columns)
            columns.push_back(column.name);
        QStringList tuples;
        for (const std::vector<wire::Value>& row : rows.rows) {
            QStringList cells;
            for (const wire::Value& value : row)
                cells.push_back(wire::IsNull(value)
                        ? u"null"_s
                        : u'\'' + wire::ToText(value).replace(u'\'', u"''"_s) + u'\'');
            tuples.push_back(u'(' + cells.join(u',') + u')');
        }
        if (!tuples.isEmpty())
            statements.push_back(u"insert into %1(%2) values "_s.arg(rows.table->name, columns.join(u','))
                + tuples.join(u','));
    }
    Run((statements << u"commit"_s).join(u';'));
}

wire::RowSet PostgresDialect::Query(const QString& sql)
{
    const dialect::Translated translated = translator_.Translate(sql);
    const ResultPtr rows = Run(translated);
    wire::RowSet result;
    result.infos = *translated.translation->columns;
    if (PQnfields(rows.get()) != static_cast<int>(result.infos.size()))
        throw wire::Error(wire::ErrorKind::Usage, u"another number of columns"_s);
    for (size_t i = 0; i < result.infos.size(); ++i) {
        const wire::ColumnType type = result.infos[i].type;
        const Oid oid = PQftype(rows.get(), static_cast<int>(i));
        if (oid != OidOf(type) && !(type == wire::ColumnType::Text && oid == kVarchar))
            throw wire::Error(
                wire::ErrorKind::Usage, u"column %1 is of another type: %2"_s.arg(i + 1).arg(oid));
        result.columns.emplace_back(type);
        for (int row = 0; row < PQntuples(rows.get()); ++row) {
            const wire::Value value = CellOf(rows.get(), row, static_cast<int>(i), type);
            if (const auto* text = std::get_if<QString>(&value); text && text->isEmpty())
                throw wire::Error(wire::ErrorKind::Usage, u"an empty text that is not null"_s);
            result.columns.back().AppendValue(value);
        }
    }
    return result;
}

qint64 PostgresDialect::Execute(const QString& sql)
{
    return QByteArray(PQcmdTuples(Run(translator_.Translate(sql)).get())).toLongLong();
}

// Of tables so small that every plan is as good: those with indexes are preferred.
QString PostgresDialect::Plan(const QString& sql)
{
    Run(u"set enable_seqscan=off; set enable_bitmapscan=off; set enable_hashjoin=off; set enable_mergejoin=off"_s);
    const dialect::Translated translated = translator_.Translate(sql);
    Prepare(translated);
    QStringList values;
    for (size_t i = 0; i < translated.translation->parameters.size(); ++i)
        values.push_back(u'\'' + wire::ToText(Bound(translated, i)).replace(u'\'', u"''"_s) + u'\'');
    const ResultPtr plan = Run(u"explain (costs off) execute statement"_s
        + (values.isEmpty() ? QString() : u'(' + values.join(u',') + u')'));
    Run(u"reset all"_s);
    QString steps;
    for (int row = 0; row < PQntuples(plan.get()); ++row)
        steps += QString::fromUtf8(PQgetvalue(plan.get(), row, 0)) + u'\n';
    return steps;
}

PostgresDialect::ResultPtr PostgresDialect::Run(const QString& sql)
{
    const QByteArray utf8 = sql.toUtf8();
    return Checked(PQexec(connection_.get(), utf8.constData()), utf8.toStdString());
}

PostgresDialect::ResultPtr PostgresDialect::Run(const dialect::Translated& translated)
{
    Prepare(translated);
    std::vector<QByteArray> texts;
    std::vector<const char*> values;
    for (size_t i = 0; i < translated.translation->parameters.size(); ++i)
        texts.push_back(wire::ToText(Bound(translated, i)).toUtf8());
    for (const QByteArray& text : texts)
        values.push_back(text.constData());
    return Checked(PQexecPrepared(connection_.get(), "statement", static_cast<int>(values.size()),
                       values.data(), nullptr, nullptr, 1),
        translated.translation->sql);
}

void PostgresDialect::Prepare(const dialect::Translated& translated)
{
    Run(u"deallocate all"_s);
    std::vector<Oid> types;
    for (const dialect::Parameter& parameter : translated.translation->parameters)
        types.push_back(OidOf(parameter.type));
    const std::string& sql = translated.translation->sql;
    Checked(
        PQprepare(connection_.get(), "statement", sql.c_str(), static_cast<int>(types.size()), types.data()),
        sql);
}

PostgresDialect::ResultPtr PostgresDialect::Checked(PGresult* result, const std::string& sql)
{
    ResultPtr owned(result, PQclear);
    const ExecStatusType status = PQresultStatus(result);
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK)
        return owned;
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const auto error = dialect::ErrorOfSqlState(
        state ? state : "", QString::fromUtf8(PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY)));
    if (PQtransactionStatus(connection_.get()) == PQTRANS_INERROR)
        PQclear(PQexec(connection_.get(), "rollback"));
    if (error && error->Kind() == wire::ErrorKind::Data)
        throw *error;
    throw wire::Error(wire::ErrorKind::Storage,
        QString::fromUtf8(PQresultErrorMessage(result)) + QString::fromStdString(sql));
}

} // namespace

std::unique_ptr<DialectDatabase> MakePostgres(bool orafce)
{
    return std::make_unique<PostgresDialect>(orafce);
}
