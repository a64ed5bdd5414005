#include "server/storage/sqlite/SqliteBackup.h"

#include "server/storage/sqlite/Sqlite.h"
#include "server/storage/sqlite/SqliteCreation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;
using wire::Error;
using wire::ErrorKind;

namespace storage {
namespace {

using namespace sqlite;

std::filesystem::path PathOf(const QString& file)
{
    return std::filesystem::path(file.toStdU16String());
}

// In one step: a step takes a snapshot that writers do not wait for, while one that is divided begins anew
// whenever something is written in between.
void CopyPages(Database& from, Database& to)
{
    sqlite3_backup* backup = sqlite3_backup_init(to.Handle(), "main", from.Handle(), "main");
    if (backup == nullptr)
        RaiseError(to.Handle(), sqlite3_errcode(to.Handle()));
    const int copied = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    if (copied != SQLITE_DONE || finished != SQLITE_OK)
        RaiseError(to.Handle(), finished != SQLITE_OK ? finished : copied);
}

void Check(Database& database, const QString& file)
{
    Statement check = database.Prepare("pragma integrity_check(1)");
    if (!check.Step() || check.Text(0) != u"ok")
        throw Error(ErrorKind::Storage, u"the copy %1 is damaged: %2"_s.arg(file, check.Text(0)));
}

} // namespace

qint64 BackUpDatabase(const QString& dataDir, const QString& file)
{
    const QString source = QDir(dataDir).absoluteFilePath(u"zelmor.db"_s);
    if (QFileInfo(source).size() == 0)
        throw Error(ErrorKind::Storage, u"there is no database in %1"_s.arg(dataDir));
    const QString unfinished = file + u".unfinished"_s;
    const auto removeUnfinished = [&] {
        for (const QString& suffix : {u""_s, u"-journal"_s, u"-wal"_s, u"-shm"_s})
            QFile::remove(unfinished + suffix);
    };
    removeUnfinished();
    try {
        MakeForOwnerAlone(unfinished);
        Database from(source, OpenMode::Look);
        Database to(unfinished, OpenMode::Fill);
        CopyPages(from, to);
        // One file, complete in itself, and on the disk: changing the journal writes it with all care.
        to.Execute("pragma journal_mode=delete; pragma synchronous=full");
        Check(to, unfinished);
        to.Execute("pragma user_version = 0");
    } catch (...) {
        removeUnfinished();
        throw;
    }
    std::error_code failure;
    std::filesystem::rename(PathOf(unfinished), PathOf(file), failure);
    if (failure) {
        removeUnfinished();
        throw Error(ErrorKind::Storage,
            u"cannot write %1: %2"_s.arg(file, QString::fromStdString(failure.message())));
    }
    return QFileInfo(file).size();
}

} // namespace storage
