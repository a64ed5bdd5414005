#include "server/storage/sqlite/SqliteStorage.h"

#include "server/refusal/UserTexts.h"
#include "server/storage/sqlite/Checkpointer.h"
#include "server/storage/sqlite/SqliteCatalog.h"
#include "server/storage/sqlite/SqliteConnection.h"
#include "server/storage/sqlite/SqliteCreation.h"

#include <QDir>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace storage {
namespace {

using namespace sqlite;

std::shared_ptr<const SqliteCatalog> ReadCatalog(const QString& file)
{
    Database database(file, OpenMode::Serve);
    return std::make_shared<const SqliteCatalog>(database);
}

class SqliteBackend final : public Backend {
public:
    SqliteBackend(const QString& file, qint64 reserve)
        : file_(file)
        , reserve_(reserve)
        , catalog_(ReadCatalog(file))
        , checkpointer_(file)
    {
        ForgetDamage(file);
    }

    std::shared_ptr<const dialect::Catalog> Catalog() const override { return catalog_; }
    std::unique_ptr<Connection> Connect() override
    {
        return std::make_unique<SqliteConnection>(file_, catalog_, checkpointer_);
    }
    bool HasOneWriter() const noexcept override { return true; }
    void RequireRoom() const override
    {
        std::error_code unknown;
        const auto space = std::filesystem::space(file_.toStdU16String(), unknown);
        if (!unknown && space.available < static_cast<std::uintmax_t>(reserve_))
            throw wire::Error(wire::ErrorKind::Storage, server::texts::DiskAlmostFull());
    }
    QString Description() const override
    {
        return u"SQLite %1, %2"_s.arg(
            QString::fromLatin1(sqlite3_libversion()), QDir::toNativeSeparators(file_));
    }

private:
    QString file_;
    const qint64 reserve_;
    std::shared_ptr<const SqliteCatalog> catalog_;
    Checkpointer checkpointer_;
};

} // namespace

Opener SqliteIn(const QString& folder)
{
    return [folder](const OpenOptions& options) {
        return std::make_unique<SqliteBackend>(EnsureDatabase(folder, options), options.diskReserve);
    };
}

} // namespace storage
