#include "server/storage/postgres/PostgresCreation.h"

#include "server/dialect/Postgres.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/OwnTables.h"
#include "server/storage/postgres/Binary.h"
#include "server/storage/postgres/PostgresSchema.h"

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace storage::postgres {
namespace {

namespace texts = server::texts;

// Of this program among all that lock in the same database: "zelmor" in ASCII.
constexpr auto kCreationLock = "134576029396850";
constexpr size_t kCopyBytes = 65'536;

QString TextOf(const Result& result, int column = 0)
{
    return PQntuples(result.get()) > 0 ? QString::fromUtf8(PQgetvalue(result.get(), 0, column)) : QString();
}

bool IsTrue(const Result& result, int column = 0)
{
    return TextOf(result, column) == u"t"_s;
}

// Takes rows by binary COPY into a table that the same transaction has made, so that nobody ever looks at
// them again to see whether they are committed.
class CopyLoader final : public company::RowSink {
public:
    explicit CopyLoader(Link& link)
        : link_(link)
    {
    }

    void BeginTable(const company::Table& table) override
    {
        table_ = &table;
        std::string names;
        for (const company::Column& column : table.columns)
            names += (names.empty() ? "" : ", ") + NameOf(column.name);
        link_.Run("copy " + NameOf(table.name) + "(" + names + ") from stdin (format binary, freeze)");
        constexpr char kHead[] = "PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0"; // no flags, no extension
        buffer_.assign(kHead, 19);
    }

    void Row(std::span<const wire::Value> values) override
    {
        row_.Clear();
        for (size_t i = 0; i < values.size(); ++i)
            row_.Add(values[i], table_->columns[i].type);
        row_.AppendCopyRow(buffer_);
        if (buffer_.size() >= kCopyBytes)
            Send();
    }

    void EndTable() override
    {
        buffer_ += "\377\377";
        Send();
        if (PQputCopyEnd(link_.Handle(), nullptr) < 0)
            link_.RaiseLost();
        Result failed;
        while (Result result = link_.Next()) {
            if (IsError(result))
                failed = std::move(result);
        }
        if (failed)
            link_.Raise(failed);
        if (HasNumberedKey(*table_)) {
            const std::string key = NameOf(table_->primaryKey.front());
            link_.Run("select setval(pg_get_serial_sequence('" + NameOf(table_->name) + "', '"
                + table_->primaryKey.front().toLower().toStdString() + "'), max(" + key + ")) from "
                + NameOf(table_->name));
        }
    }

private:
    void Send()
    {
        if (PQputCopyData(link_.Handle(), buffer_.data(), static_cast<int>(buffer_.size())) < 0)
            link_.RaiseLost();
        buffer_.clear();
    }

    Link& link_;
    const company::Table* table_ = nullptr;
    Parameters row_;
    std::string buffer_;
};

class Creation {
public:
    Creation(Link& link, const OpenOptions& options)
        : link_(link)
        , options_(options)
    {
    }

    void Run()
    {
        if (IsReady())
            return;
        link_.Run("begin");
        try {
            Lock();
            if (!IsOurs())
                Create();
            EnsureFunctions();
            link_.Run("commit");
        } catch (...) {
            Undo();
            throw;
        }
    }

private:
    bool IsReady()
    {
        return IsOurs() && !dialect::PostgresFunctionsAreOutdated(FunctionsComment(), HasOrafce());
    }

    // Raises where it is somebody else's, or a newer program's.
    bool IsOurs()
    {
        const Result schema = link_.Run("select current_schema(), "
                                        "to_regclass(quote_ident(current_schema()) || '.zelmor_meta') "
                                        "is not null");
        if (IsTrue(schema, 1)) {
            const QString version = TextOf(link_.Run("select value from zelmor_meta where name = 'version'"));
            if (version.toInt() > kSchemaVersion)
                throw wire::Error(wire::ErrorKind::Storage, texts::NewerDatabase(version));
            return true;
        }
        const Result tables = link_.Run(R"(
            select exists(select from pg_class c
                where c.relnamespace = to_regnamespace(quote_ident(current_schema()))
                and c.relkind in ('r', 'p', 'f')
                and not exists(select from pg_depend d
                    where d.classid = 'pg_class'::regclass and d.objid = c.oid and d.deptype = 'e')))");
        if (IsTrue(tables))
            throw wire::Error(wire::ErrorKind::Storage, texts::NotOurSchema(TextOf(schema)));
        return false;
    }

    bool HasOrafce()
    {
        return IsTrue(link_.Run("select exists(select from pg_extension where extname = 'orafce')"));
    }

    std::string FunctionsComment()
    {
        return TextOf(link_.Run("select obj_description(to_regnamespace('zelmor'), 'pg_namespace')"))
            .toStdString();
    }

    // Until the transaction ends. Databases that have no such locks let the second server fail on a table
    // that the first has made, and it finds everything there when it is started again.
    void Lock()
    {
        const bool known =
            IsTrue(link_.Run("select exists(select from pg_proc where proname = 'pg_advisory_xact_lock')"));
        if (known)
            link_.Run(std::string("select pg_advisory_xact_lock(") + kCreationLock + ")");
    }

    void Create()
    {
        for (const company::Table& table : OwnTables())
            link_.Run(CreateTableText(table, RowOrder::Unknown));
        for (const company::Table& table : company::Tables())
            link_.Run(CreateTableText(table, RowOrder::Kept));
        CopyLoader loader(link_);
        if (!options_.demo.isEmpty())
            options_.fill(loader);
        LoadTable(loader, MetaTable(), MetaRows(options_.demo));
        for (const auto* tables : {&OwnTables(), &company::Tables()}) {
            for (const company::Table& table : *tables) {
                for (const std::string& text : CreateIndexTexts(table))
                    link_.Run(text);
                link_.Run("analyze " + NameOf(table.name));
            }
        }
    }

    void EnsureFunctions()
    {
        const bool orafce = HasOrafce();
        if (dialect::PostgresFunctionsAreOutdated(FunctionsComment(), orafce))
            link_.Run(dialect::PostgresFunctionsText(orafce));
    }

    // A copy that broke off leaves the connection waiting for more of it: closing it undoes everything too.
    void Undo() noexcept
    {
        try {
            if (PQtransactionStatus(link_.Handle()) != PQTRANS_ACTIVE)
                link_.Run("rollback");
        } catch (const wire::Error&) {
            link_.GiveUp();
        }
    }

    Link& link_;
    const OpenOptions& options_;
};

} // namespace

void EnsureSchema(Link& link, const OpenOptions& options)
{
    // Copying waits for the other side in libpq itself.
    PQsetnonblocking(link.Handle(), 0);
    Creation(link, options).Run();
    PQsetnonblocking(link.Handle(), 1);
}

} // namespace storage::postgres
