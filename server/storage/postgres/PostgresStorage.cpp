#include "server/storage/postgres/PostgresStorage.h"

#include "server/storage/postgres/PostgresConnection.h"
#include "server/storage/postgres/PostgresCreation.h"

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

using namespace postgres;

// A request's own deadline comes first; this one ends statements whose server process is gone.
constexpr int kGraceSeconds = 30;

// The first schema that the database's administrator lets this user see, and the functions. A user may well
// be called as the functions' schema is, which then comes first of itself.
constexpr auto kPathText = R"(
select string_agg(quote_ident(s.name), ', ' order by s.position) || ', zelmor'
from unnest(current_schemas(false)) with ordinality s(name, position) where s.name <> 'zelmor')";

std::string AsLiteral(std::string text)
{
    for (size_t at = text.find('\''); at != std::string::npos; at = text.find('\'', at + 2))
        text.insert(at, 1, '\'');
    return '\'' + text + '\'';
}

// Only what the database knows: not every compatible one has every setting.
std::string SettingsText(const std::string& path, int maxSeconds)
{
    const std::string limit = std::to_string(maxSeconds + kGraceSeconds) + "s";
    return "select set_config(s.name, v.setting, false) from (values ('search_path', " + path
        + "), ('statement_timeout', '" + limit + "'), ('idle_in_transaction_session_timeout', '" + limit
        + "'), ('default_transaction_isolation', 'read committed'), ('datestyle', 'ISO'), "
          "('standard_conforming_strings', 'on'), ('jit', 'off')) v(name, setting) join pg_settings s on "
          "lower(s.name) = v.name";
}

class PostgresBackend final : public Backend {
public:
    PostgresBackend(const QString& uri, const OpenOptions& options)
        : uri_(uri)
    {
        Link link(uri);
        const std::string path = AsLiteral(PQgetvalue(link.Run(kPathText).get(), 0, 0));
        link.Run("select set_config('search_path', " + path + ", false)");
        EnsureSchema(link, options);
        settings_ = SettingsText(path, options.maxSeconds);
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

Opener PostgresAt(const QString& uri)
{
    return [uri](const OpenOptions& options) { return std::make_unique<PostgresBackend>(uri, options); };
}

} // namespace storage
