#include "server/storage/odbc/Odbc.h"

#include "server/storage/OwnTables.h"
#include "server/storage/odbc/OdbcCatalog.h"
#include "server/storage/odbc/OdbcConnection.h"
#include "server/storage/odbc/OdbcOwnTables.h"

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

using odbc::Database;
using odbc::Product;

// Whether one failed statement leaves the rest of its transaction standing. Depends on the database and on
// how its driver is set, so it is tried.
bool FailureSpoilsTransaction(Database& database)
{
    database.Begin();
    database.TryExecute(u"select count(*) from zelmor_no_such_table"_s);
    const bool spoilt = database.TryExecute(u"select count(*) from zelmor_meta"_s).has_value();
    database.Rollback();
    return spoilt;
}

class OdbcBackend final : public Backend {
public:
    OdbcBackend(const QString& connection, int maxSeconds)
    {
        auto profile = std::make_shared<odbc::Profile>();
        profile->settings = odbc::ReadSettings(connection);
        profile->maxSeconds = maxSeconds;
        odbc::Worker worker([] {});
        worker.Run([&] {
            Database database(profile->settings, maxSeconds);
            auto catalog = std::make_shared<odbc::OdbcCatalog>();
            catalog->Read(database, company::Tables());
            odbc::EnsureOwnTables(database);
            catalog->Read(database, OwnTables());
            catalog_ = std::move(catalog);
            profile->product = database.Product();
            profile->productName = database.ProductName();
            profile->schema = database.Schema();
            profile->needsSavepoints = FailureSpoilsTransaction(database);
        });
        profile_ = std::move(profile);
    }

    std::shared_ptr<const dialect::Catalog> Catalog() const override { return catalog_; }
    std::unique_ptr<Connection> Connect() override
    {
        return std::make_unique<odbc::OdbcConnection>(profile_, catalog_);
    }
    bool HasOneWriter() const noexcept override { return profile_->product == Product::Sqlite; }
    QString Description() const override
    {
        const QString schema = profile_->schema.isEmpty() ? QString() : u", schema "_s + profile_->schema;
        return u"%1 through ODBC, %2%3"_s.arg(profile_->productName, profile_->settings.place, schema);
    }

private:
    std::shared_ptr<const odbc::Profile> profile_;
    std::shared_ptr<const dialect::Catalog> catalog_;
};

} // namespace

Opener OdbcThrough(const QString& connection)
{
    return [connection](const OpenOptions& options) {
        if (!options.demo.isEmpty()) {
            throw wire::Error(wire::ErrorKind::Usage,
                u"Demo data are not put into the company's own database: leave out --demo."_s);
        }
        return std::make_unique<OdbcBackend>(connection, options.maxSeconds);
    };
}

} // namespace storage
