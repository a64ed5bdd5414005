// Any text that a client may send as SQL. What the translator takes, SQLite must take too, and running it on
// a small database must give cells of the announced types, or an error in the data, or reach a limit. Neither
// takes longer than its budget: asked to stop, a statement ends.
//
// Input: the text, UTF-8.

#include "fuzz/Database.h"
#include "fuzz/Finding.h"
#include "server/dialect/Limits.h"
#include "server/dialect/SqliteFunctions.h"
#include "tests/server/conformance/Suite.h"

#include <memory>
#include <optional>

using dialect::Translated;
using dialect::Translation;
using fuzz::Require;
using wire::ColumnType;
using wire::ErrorKind;

namespace {

constexpr int kInstructions = 1'000; // between two looks at the time
constexpr int kMostSteps = 300; // such stretches a statement may take
constexpr int kMostBytes = 1 << 20; // of one value
// With everything that checks the program built in, ten times as slow as it is.
constexpr double kTranslationSeconds = 5;
constexpr double kStatementSeconds = 10;

struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

// The small company of the conformance suite. A statement that changes something is taken back.
class Company {
public:
    Company()
    {
        for (const conformance::TableRows& rows : conformance::ReadTables())
            database_.Insert(*rows.table, rows.rows);
        watch_.shouldStop = [this] { return --stepsLeft_ < 0; };
        dialect::RegisterFunctions(Handle(), &watch_);
        sqlite3_limit(Handle(), SQLITE_LIMIT_LENGTH, kMostBytes);
        sqlite3_progress_handler(
            Handle(), kInstructions,
            [](void* self) { return --static_cast<Company*>(self)->stepsLeft_ < 0 ? 1 : 0; }, this);
    }

    void Try(const QString& text)
    {
        const std::optional<Translated> translated = Translate(translator_, text);
        // A translation kept from another text of the same shape must be what this text's own would be.
        dialect::Translator fresh(database_.Catalog());
        const std::optional<Translated> own = Translate(fresh, text);
        Require(
            translated.has_value() == own.has_value(), "a text is taken or refused by what came before it");
        if (!translated)
            return;
        const Translation& translation = *translated->translation;
        Require(translation.sql == own->translation->sql && translated->literals == own->literals,
            "a text is translated by what came before it");
        Require(*translation.columns == *own->translation->columns, "columns differ by what came before");

        // What another database takes is not tried here, but everybody refuses the same texts.
        if (const std::optional<Translated> forPostgres = Translate(postgres_, text))
            Require(*forPostgres->translation->columns == *translation.columns, "columns differ by database");

        const Statement statement = Prepare(translation.sql);
        if (!statement)
            return;
        Bind(statement.get(), *translated);
        stepsLeft_ = kMostSteps;
        if (translation.kind == dialect::StatementKind::Select) {
            Require(sqlite3_stmt_readonly(statement.get()) != 0, "a select that writes");
            Run(statement.get(), translation);
            return;
        }
        sqlite3_exec(Handle(), "savepoint before", nullptr, nullptr, nullptr);
        Run(statement.get(), translation);
        CheckStored(translation.targetTable);
        sqlite3_exec(Handle(), "rollback to before; release before", nullptr, nullptr, nullptr);
    }

private:
    sqlite3* Handle() { return database_.Base().Handle(); }

    static std::optional<Translated> Translate(dialect::Translator& translator, const QString& text)
    {
        const fuzz::Budget budget(kTranslationSeconds, "a text takes too long to be translated");
        try {
            return translator.Translate(text);
        } catch (const wire::Error& error) {
            const ErrorKind kind = error.Kind();
            Require(kind == ErrorKind::Syntax || kind == ErrorKind::Policy || kind == ErrorKind::Data
                    || kind == ErrorKind::Limit,
                "another kind of error for a text");
            return std::nullopt;
        }
    }

    // Nothing where the text is well-formed but larger than SQLite takes.
    Statement Prepare(const std::string& sql)
    {
        sqlite3_stmt* statement = nullptr;
        const char* rest = nullptr;
        const int code =
            sqlite3_prepare_v2(Handle(), sql.data(), static_cast<int>(sql.size()), &statement, &rest);
        if (code != SQLITE_OK) {
            const std::string_view message = sqlite3_errmsg(Handle());
            for (const std::string_view limit :
                {"too many ", "at most 64 tables", "Expression tree is too large", "parser stack overflow"}) {
                if (message.starts_with(limit))
                    return nullptr;
            }
            Tell(sql);
        }
        Require(code == SQLITE_OK, "SQLite does not take a translation");
        Require(rest == sql.data() + sql.size(), "SQLite does not see the end of a translation");
        return Statement(statement);
    }

    void Tell(const std::string& sql)
    {
        std::fprintf(stderr, "%s\n%s\n", sqlite3_errmsg(Handle()), sql.c_str());
    }

    static void Bind(sqlite3_stmt* statement, const Translated& translated)
    {
        int number = 0;
        for (const dialect::Parameter& parameter : translated.translation->parameters) {
            ++number;
            if (parameter.source == dialect::Parameter::Source::Now) {
                sqlite3_bind_int64(statement, number, conformance::Now().seconds);
                continue;
            }
            const wire::Value& value = translated.literals.at(static_cast<size_t>(parameter.literal));
            if (const auto* text = std::get_if<QString>(&value)) {
                const QByteArray utf8 = text->toUtf8();
                sqlite3_bind_text(
                    statement, number, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
            } else if (const auto* integer = std::get_if<qint64>(&value)) {
                sqlite3_bind_int64(statement, number, *integer);
            } else if (const auto* real = std::get_if<double>(&value)) {
                sqlite3_bind_double(statement, number, *real);
            } else if (const auto* date = std::get_if<wire::DateTime>(&value)) {
                sqlite3_bind_int64(statement, number, date->seconds);
            }
        }
        Require(number == sqlite3_bind_parameter_count(statement), "parameters do not match the statement");
    }

    void Run(sqlite3_stmt* statement, const Translation& translation)
    {
        const fuzz::Budget budget(kStatementSeconds, "a statement runs on when it is told to stop");
        Require(sqlite3_column_count(statement) == static_cast<int>(translation.columns->size()),
            "columns do not match the statement");
        int code = sqlite3_step(statement);
        for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
            for (size_t i = 0; i < translation.columns->size(); ++i)
                CheckCell(statement, static_cast<int>(i), translation);
        }
        const bool expected = code == SQLITE_DONE || code == dialect::kDataErrorCode
            || (code & 0xff) == SQLITE_CONSTRAINT || code == SQLITE_INTERRUPT || code == SQLITE_TOOBIG;
        if (!expected)
            Tell(translation.sql);
        Require(expected, "running a translation fails");
    }

    void CheckCell(sqlite3_stmt* statement, int column, const Translation& translation)
    {
        const ColumnType type = (*translation.columns)[static_cast<size_t>(column)].type;
        const int stored = sqlite3_column_type(statement, column);
        bool right = stored == SQLITE_NULL;
        switch (type) {
        case ColumnType::Text:
            right |= stored == SQLITE_TEXT && sqlite3_column_bytes(statement, column) > 0;
            break;
        case ColumnType::Number:
            right |= stored == SQLITE_FLOAT || stored == SQLITE_INTEGER;
            break;
        case ColumnType::Integer:
        case ColumnType::DateTime:
            right |= stored == SQLITE_INTEGER;
            break;
        }
        Require(stored != SQLITE_TEXT
                || sqlite3_column_bytes(statement, column) <= int(dialect::kLongestBuiltText),
            "a statement builds a longer text than it may");
        if (!right)
            std::fprintf(stderr, "column %d of type %d holds a cell of type %d\n%s\n", column, int(type),
                stored, translation.sql.c_str());
        Require(right, "a cell is of another type than was announced");
    }

    // No update stores an empty text, or a value of a type that is not its column's.
    void CheckStored(const QString& tableName)
    {
        const company::Table* const table = company::FindTable(tableName);
        if (table == nullptr)
            return; // one of the server's own, closed to clients
        QString wrong;
        for (const company::Column& column : table->columns) {
            const QString type = column.type == ColumnType::Text ? QStringLiteral("'text'")
                : column.type == ColumnType::Number              ? QStringLiteral("'real','integer'")
                                                                 : QStringLiteral("'integer'");
            wrong += QStringLiteral("%1\"%2\"='' or typeof(\"%2\") not in ('null',%3)")
                         .arg(wrong.isEmpty() ? QString() : QStringLiteral(" or "), column.name, type);
        }
        stepsLeft_ = kMostSteps;
        const Statement statement =
            Prepare(QStringLiteral("select * from \"%1\" where %2").arg(table->name, wrong).toStdString());
        Require(
            sqlite3_step(statement.get()) == SQLITE_DONE, "an update stored what its column does not hold");
    }

    dialect::FunctionWatch watch_;
    fuzz::Database database_;
    dialect::Translator translator_{database_.Catalog()};
    dialect::Translator postgres_{database_.Catalog(), dialect::Target::Postgres};
    int stepsLeft_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const quint8* data, size_t size)
{
    static Company company;
    company.Try(QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}
