#include "server/main/Commands.h"
#include "server/main/Settings.h"

#include "server/storage/sqlite/SqliteBackup.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace server {

int BackUp(const QStringList& arguments)
{
    Settings settings(
        u"Copies the embedded database into one file, as it stands at one moment, while a server goes on "
        "with it.\nTo restore, stop the server and put the file into its folder as zelmor.db, with no "
        "zelmor.db-wal and zelmor.db-shm beside it.\nDatabases behind --storage are backed up by their own "
        "tools."_s,
        {u"data"_s, u"to"_s, u"config"_s});
    settings.Read(arguments);
    settings.RequireNoWords();
    const QString to = settings.Value(u"to"_s);
    if (settings.Value(u"data"_s).isEmpty())
        throw UsageError(u"--data DIR is missing: the folder of the database to be copied"_s);
    if (to.isEmpty())
        throw UsageError(u"--to FILE is missing: where the copy is to be"_s);
    const qint64 bytes = storage::BackUpDatabase(settings.Value(u"data"_s), to);
    std::printf("%s: %lld bytes\n", qUtf8Printable(to), static_cast<long long>(bytes));
    return 0;
}

} // namespace server
