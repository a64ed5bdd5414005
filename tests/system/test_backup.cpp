// The documented backup of a database that is being written to, and what stands after its restore.

#include "server/storage/sqlite/Sqlite.h"
#include "tests/support/Desk.h"
#include "tests/support/PostgresDatabase.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <atomic>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowsASave = 5;
const QString kRows = u"select a.* from tab_zelmor_bill a where rownum<=%1"_s.arg(kRowsASave);

// Every table's definition and rows, condensed.
using Contents = std::map<std::string, std::string>;

Contents ContentsOfFile(const QString& file)
{
    storage::sqlite::Database database(file, storage::sqlite::OpenMode::Look);
    Contents contents;
    storage::sqlite::Statement tables =
        database.Prepare("select name, sql from sqlite_master where type = 'table' order by name");
    while (tables.Step()) {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        storage::sqlite::Statement rows =
            database.Prepare("select * from " + storage::sqlite::Quoted(tables.Text(0)));
        while (rows.Step()) {
            for (int i = 0; i < sqlite3_column_count(rows.Handle()); ++i)
                hash.addData(rows.IsNull(i) ? "-" : "+" + rows.Text(i).toUtf8() + '\0');
        }
        contents[tables.Text(0).toStdString()] =
            tables.Text(1).toStdString() + hash.result().toHex().toStdString();
    }
    return contents;
}

Contents ContentsOfDatabase(const PostgresDatabase& database)
{
    Contents contents;
    for (const auto& table :
        database.Texts(u"select quote_ident(schemaname) || '.' || quote_ident(tablename) "
                       "from pg_tables where schemaname in ('public', 'zelmor') order by 1"_s))
        contents[table->toStdString()] =
            database
                .Texts(u"select count(*) || ' ' || coalesce(md5(string_agg("
                       "t::text, E'\\n' order by t::text)), '') from %1 t"_s.arg(*table))
                .front()
                ->toStdString();
    return contents;
}

// One of the scripts, as an administrator runs it; its exit code.
int RunScript(const QString& name, const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ZELMOR_SERVER"_s, QCoreApplication::applicationDirPath() + u"/zelmor-server"_s);
    environment.insert(u"KEEP"_s, u"1"_s);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QStringLiteral(ZELMOR_DEPLOY_DIR "/") + name, arguments);
    process.waitForFinished(60'000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QString Mark(int save)
{
    return u"备份第%1次"_s.arg(save);
}

void Save(Desk& desk, int number)
{
    desk.MarkAll(Mark(number));
    desk.orders.ApplyUpdates(0);
}

// Saves from its own desk, one after another, as long as it lives.
class Saver {
public:
    explicit Saver(int port)
        : thread_([this, port] { Run(port); })
    {
    }
    ~Saver() { stop_ = true; }

    // Waits until that many more are acknowledged; gives the number of the last.
    int Await(int more) const
    {
        const int target = acknowledged_ + more;
        while (acknowledged_ < target && !failed_)
            QThread::msleep(1);
        EXPECT_FALSE(failed_);
        return acknowledged_;
    }

private:
    void Run(int port)
    {
        try {
            Desk desk(port, DemoAccountOf(u"本部"_s));
            desk.Open(kRows);
            while (!stop_) {
                Save(desk, acknowledged_ + 1);
                ++acknowledged_;
            }
        } catch (const wire::Error& error) {
            ADD_FAILURE() << error.what();
            failed_ = true;
        }
    }

    std::atomic<int> acknowledged_ = 0;
    std::atomic<bool> stop_ = false;
    std::atomic<bool> failed_ = false;
    DeskThread thread_; // the last: it uses the others
};

// What the orders of the saves say after a restore: one mark, on all of them.
int LastSaveAt(int port)
{
    int number = -1;
    const auto look = [&] {
        Desk desk(port, DemoAccountOf(u"本部"_s));
        desk.Open(u"select a.* from tab_zelmor_bill a where a.REMARK like '备份第%'"_s);
        EXPECT_EQ(desk.orders.RecordCount(), kRowsASave);
        const QString mark = desk.orders.FieldByName(u"REMARK").AsString();
        number = QString(mark).remove(u"备份第"_s).remove(u"次"_s).toInt();
        for (desk.orders.First(); !desk.orders.Eof(); desk.orders.Next())
            EXPECT_EQ(desk.orders.FieldByName(u"REMARK").AsString(), mark) << "half a save";
        // And it goes on from there.
        Save(desk, number + 1);
    };
    {
        const DeskThread thread([&] {
            try {
                look();
            } catch (const wire::Error& error) {
                ADD_FAILURE() << error.what();
            }
        });
    }
    return number;
}

class Backups {
public:
    Backups() { QDir(folder_.path()).mkdir(u"copies"_s); }

    // A file of options with one line.
    QString Config(const QString& name, const QString& line) const
    {
        QFile file(folder_.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write((u"# written by a test\n  "_s + line + u"  \n"_s).toUtf8());
        return file.fileName();
    }
    QString Path(const QString& name) const { return folder_.filePath(name); }
    // Runs backup.sh; the one copy that it leaves.
    QString BackUp(const QString& config) const
    {
        QThread::msleep(1000); // copies are named by the second
        EXPECT_EQ(RunScript(u"backup.sh"_s, {config, Path(u"copies"_s)}), 0);
        const QStringList copies = QDir(Path(u"copies"_s)).entryList(QDir::Files);
        EXPECT_EQ(copies.size(), 1) << qPrintable(copies.join(u' '));
        return Path(u"copies/"_s + copies.value(0));
    }

private:
    QTemporaryDir folder_;
};

// Backs up what `from` names while it is written to, and again when it is quiet; gives the second copy.
// `restored` names an empty place for the first.
QString BackUpTwice(const Backups& backups, const QString& from, const QString& restored)
{
    const ServerProcess server({}, {u"--config"_s, from, u"--demo"_s, u"small"_s});
    int before = 0;
    QString copy;
    {
        const Saver saver(server.Port());
        before = saver.Await(3);
        copy = backups.BackUp(from);
        saver.Await(1);
    }
    EXPECT_EQ(RunScript(u"restore.sh"_s, {restored, copy}), 0);
    const ServerProcess again({}, {u"--config"_s, restored});
    EXPECT_GE(LastSaveAt(again.Port()), before) << "what was acknowledged before the backup is not in it";
    return backups.BackUp(from);
}

TEST(Backup, OfAnEmbeddedDatabase)
{
    const Backups backups;
    const QString from = backups.Config(u"from.conf"_s, u"data = "_s + backups.Path(u"from"_s));
    const QString to = backups.Config(u"to.conf"_s, u"data="_s + backups.Path(u"to"_s));
    const QString copy = BackUpTwice(backups, from, to);
    // Over a database that is there, which was written to.
    ASSERT_EQ(RunScript(u"restore.sh"_s, {to, copy}), 0);
    EXPECT_EQ(
        ContentsOfFile(backups.Path(u"from/zelmor.db"_s)), ContentsOfFile(backups.Path(u"to/zelmor.db"_s)));
    EXPECT_TRUE(QFile::exists(backups.Path(u"to/zelmor.db.before"_s)));
    // Where the database is lost, and what was saved last stands in the file beside it.
    ASSERT_TRUE(QFile::rename(backups.Path(u"to/zelmor.db"_s), backups.Path(u"to/zelmor.db-wal"_s)));
    ASSERT_EQ(RunScript(u"restore.sh"_s, {to, copy}), 0);
    EXPECT_FALSE(QFile::exists(backups.Path(u"to/zelmor.db-wal"_s)));
    const ServerProcess server({}, {u"--config"_s, to});
    EXPECT_GT(LastSaveAt(server.Port()), 0);
}

TEST(Backup, OfAPostgresDatabase)
{
    const Backups backups;
    const PostgresDatabase source;
    const PostgresDatabase during;
    const PostgresDatabase after;
    const QString from = backups.Config(u"from.conf"_s, u"storage = "_s + source.Uri());
    const QString copy =
        BackUpTwice(backups, from, backups.Config(u"during.conf"_s, u"storage = "_s + during.Uri()));
    const QString to = backups.Config(u"after.conf"_s, u"storage = "_s + after.Uri());
    ASSERT_EQ(RunScript(u"restore.sh"_s, {to, copy}), 0);
    const Contents contents = ContentsOfDatabase(after);
    EXPECT_GT(contents.size(), 10u);
    EXPECT_EQ(ContentsOfDatabase(source), contents);
    const ServerProcess server({}, {u"--config"_s, to});
    EXPECT_GT(LastSaveAt(server.Port()), 0);
}

TEST(Backup, ThatCannotBeMadeLeavesNothingAndSaysSo)
{
    const Backups backups;
    const QString nowhere = backups.Config(u"nowhere.conf"_s, u"data = /nonexistent/zelmor"_s);
    const QString open = backups.Config(u"open.conf"_s, u"storage = postgresql://zelmor:geheim@/zelmor"_s);
    const QString other = backups.Config(u"other.conf"_s, u"storage = odbc:DSN=company"_s);
    for (const QString& config : {nowhere, open, other})
        EXPECT_EQ(RunScript(u"backup.sh"_s, {config, backups.Path(u"copies"_s)}), 1) << qPrintable(config);
    EXPECT_TRUE(QDir(backups.Path(u"copies"_s)).entryList(QDir::Files).isEmpty());
}

} // namespace
