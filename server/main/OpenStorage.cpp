#include "server/main/OpenStorage.h"

#include "server/main/Settings.h"
#include "server/refusal/Secrets.h"
#include "server/storage/odbc/Odbc.h"
#include "server/storage/postgres/PostgresStorage.h"
#include "server/storage/sqlite/SqliteStorage.h"

using namespace Qt::Literals::StringLiterals;

namespace server {

Options StorageOptions(const Settings& settings)
{
    Options options;
    const QString folder = settings.Value(u"data"_s);
    const QString uri = settings.Value(u"storage"_s);
    if (uri.isEmpty() && folder.isEmpty())
        throw UsageError(u"which database: --data DIR, --storage URI, or one of them in --config FILE"_s);
    if (!uri.isEmpty() && !folder.isEmpty())
        throw UsageError(u"--data and --storage name two databases; give one"_s);
    options.connections = static_cast<int>(settings.Number(u"connections"_s, options.connections, 1, 1000));
    if (uri.startsWith(u"postgresql://") || uri.startsWith(u"postgres://"))
        options.open = storage::PostgresAt(uri);
    else if (uri.startsWith(u"odbc:"))
        options.open = storage::OdbcThrough(uri.sliced(5));
    else if (!uri.isEmpty())
        throw UsageError(u"--storage begins with postgresql:// or odbc:"_s);
    else
        options.open = storage::SqliteIn(folder);
    return options;
}

bool HasPassword(const QString& storage)
{
    return MaskSecrets(storage) != storage;
}

} // namespace server
