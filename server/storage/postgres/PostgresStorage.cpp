#include "server/storage/postgres/PostgresStorage.h"

#include "server/storage/postgres/PostgresConnection.h"
#include "server/storage/postgres/PostgresCreation.h"

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

using namespace postgres;

// A request's own deadline comes first; this one ends statements whose server process is gone.
constexpr int kGraceSeconds = 30;

// Only what the database knows: not every compatible one has every setting.
std::string SettingsText(const QString& schema, int maxSeconds)
{
    const std::string limit = std::to_string(maxSeconds + kGraceSeconds) + "s";
    std::string path = Quoted(schema.toStdString()) + ", zelmor";
    for (size_t at = path.find('\''); at != std::string::npos; at = path.find('\'', at + 2))
        path.insert(at, 1, '\'');
    return "select set_config(s.name, v.setting, false) from (values ('search_path', '" + path
        + "'), ('statement_timeout', '" + limit + "'), ('idle_in_transaction_session_timeout', '" + limit
        + "'), ('default_transaction_isolation', 'read committed'), ('datestyle', 'ISO'), ('jit', 'off')) "
          "v(name, setting) join pg_settings s on lower(s.name) = v.name";
}

class PostgresBackend final : public Backend {
public:
    PostgresBackend(const QString& uri, const server::Options& options, wire::DateTime now)
        : uri_(uri)
    {
        Link link(uri);
        EnsureSchema(link, options, now);
        const QString schema = QString::fromUtf8(PQgetvalue(link.Run("select current_schema()").get(), 0, 0));
        settings_ = SettingsText(schema, options.maxSeconds);
        catalog_ = std::make_shared<const PostgresCatalog>(link);
        PGconn* const handle = link.Handle();
        description_ = u"PostgreSQL %1, %2:%3/%4"_s.arg(
            QString::fromUtf8(PQparameterStatus(handle, "server_version")), QString::fromUtf8(PQhost(handle)),
            QString::fromUtf8(PQport(handle)), QString::fromUtf8(PQdb(handle)));
    }

    std::shared_ptr<const dialect::Catalog> Catalog() const override { return catalog_; }
    std::unique_ptr<Connection> Connect() override
    {
        return std::make_unique<PostgresConnection>(uri_, settings_, catalog_);
    }
    bool HasOneWriter() const noexcept override { return false; }
    QString Description() const override { return description_; }

private:
    QString uri_;
    std::string settings_;
    std::shared_ptr<const PostgresCatalog> catalog_;
    QString description_;
};

} // namespace

std::unique_ptr<Backend> OpenPostgres(const QString& uri, const server::Options& options, wire::DateTime now)
{
    return std::make_unique<PostgresBackend>(uri, options, now);
}

} // namespace storage
