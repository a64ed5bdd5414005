#include "server/main/OpenStorage.h"

#include "server/main/Settings.h"
#include "server/operation/Secrets.h"
#include "server/storage/odbc/Odbc.h"
#include "server/storage/postgres/PostgresStorage.h"

using namespace Qt::Literals::StringLiterals;

namespace server {

Options StorageOptions(const Settings& settings)
{
    Options options;
    options.dataDir = settings.Value(u"data"_s);
    const QString uri = settings.Value(u"storage"_s);
    if (uri.isEmpty() && options.dataDir.isEmpty())
        throw UsageError(u"which database: --data DIR, --storage URI, or one of them in --config FILE"_s);
    if (!uri.isEmpty() && !options.dataDir.isEmpty())
        throw UsageError(u"--data and --storage name two databases; give one"_s);
    options.connections = static_cast<int>(settings.Number(u"connections"_s, options.connections, 1, 1000));
    if (uri.startsWith(u"postgresql://") || uri.startsWith(u"postgres://"))
        options.open = [uri](const Options& server, wire::DateTime now) {
            return storage::OpenPostgres(uri, server, now);
        };
    else if (uri.startsWith(u"odbc:"))
        options.open = [connection = uri.sliced(5)](const Options& server, wire::DateTime now) {
            return storage::OpenOdbc(connection, server, now);
        };
    else if (!uri.isEmpty())
        throw UsageError(u"--storage begins with postgresql:// or odbc:"_s);
    return options;
}

bool HasPassword(const QString& storage)
{
    return operation::MaskSecrets(storage) != storage;
}

} // namespace server
