#include "bench/system/Databases.h"

#include "bench/system/Floor.h"
#include "server/storage/sqlite/SqliteStorage.h"

#include <QDir>
#include <QFile>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kCopies = 9;
constexpr qint64 kSecondsApart = 400LL * 86'400;

QString FileIn(const QString& folder)
{
    const QStringList files = QDir(folder).entryList({u"*.db"_s, u"*.sqlite"_s}, QDir::Files);
    return files.isEmpty() ? QString() : QDir(folder).filePath(files.first());
}

} // namespace

std::unique_ptr<server::ApplicationServer> MeasuredDatabase::Serve() const
{
    server::Options options;
    options.open = storage::SqliteIn(folder);
    options.demo = u"medium"_s;
    options.now = wire::DateTime::FromParts(2024, 6, 30, 15, 0, 0);
    return std::make_unique<server::ApplicationServer>(options);
}

MeasuredDatabase Medium(const QString& cacheFolder)
{
    MeasuredDatabase database{QDir(cacheFolder).filePath(u"medium"_s), {}};
    if (FileIn(database.folder).isEmpty())
        std::fputs("making the database of 100,000 orders …\n", stderr);
    database.Serve();
    database.file = FileIn(database.folder);
    return database;
}

MeasuredDatabase Grown(const QString& cacheFolder)
{
    MeasuredDatabase grown{QDir(cacheFolder).filePath(u"grown"_s), {}};
    const QString done = grown.folder + u"/complete"_s;
    if (!QFile::exists(done)) {
        std::fputs("making the database of 1,000,000 orders …\n", stderr);
        QDir(grown.folder).removeRecursively();
        QDir().mkpath(grown.folder);
        const MeasuredDatabase medium = Medium(cacheFolder);
        const QString file = QDir(grown.folder).filePath(QFileInfo(medium.file).fileName());
        QFile::copy(medium.file, file);
        Floor database(file);
        const QStringList columns = database.ColumnsOf(u"tab_zelmor_bill"_s);
        database.Run(u"begin"_s);
        for (int copy = 1; copy <= kCopies; ++copy) {
            QStringList values = columns;
            for (QString& value : values) {
                if (value.compare(u"TX_LOGISTIC_ID"_s, Qt::CaseInsensitive) == 0)
                    value = u"'G%1' || TX_LOGISTIC_ID"_s.arg(copy);
                else if (value.endsWith(u"_DATE"_s, Qt::CaseInsensitive))
                    value += u" - %1"_s.arg(copy * kSecondsApart);
            }
            database.Run(u"insert into tab_zelmor_bill (%1) select %2 from tab_zelmor_bill "
                         "where TX_LOGISTIC_ID not like 'G%'"_s.arg(columns.join(u','), values.join(u',')));
        }
        database.Run(u"commit"_s);
        QFile(done).open(QIODevice::WriteOnly);
    }
    grown.file = FileIn(grown.folder);
    return grown;
}
