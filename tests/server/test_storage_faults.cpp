#include "company/Tables.h"
#include "server/provider/Resolver.h"
#include "server/refusal/UserTexts.h"
#include "server/storage/Pool.h"
#include "server/storage/sqlite/Checkpointer.h"
#include "server/storage/sqlite/SqliteConnection.h"
#include "server/storage/sqlite/TemporaryFiles.h"
#include "tests/server/ServerFixture.h"

#include <QFile>
#include <QFileInfo>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace server::testing {
namespace {

class StorageFaultTest : public ServerTest {
protected:
    void Overwrite(const QString& file, qint64 at, const QByteArray& bytes)
    {
        QFile f(file);
        ASSERT_TRUE(f.open(QFile::ReadWrite));
        ASSERT_TRUE(f.seek(at));
        ASSERT_EQ(f.write(bytes), bytes.size());
    }
    QByteArray Contents() const
    {
        QFile file(File());
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    // The last reader gone, everything is in the database file itself.
    void Stop() { server_.reset(); }
};

TEST_F(StorageFaultTest, DatabaseHasEveryTableWithKeysAndNamedIndexes)
{
    for (const company::Table& table : company::Tables()) {
        const auto ask = [&](const QString& sql) {
            return RawText(sql.arg(table.name).toUtf8().constData());
        };
        EXPECT_EQ(ask(u"select count(*) from pragma_table_info('%1')"_s).toULongLong(), table.columns.size());
        EXPECT_EQ(ask(u"select count(*) from pragma_table_info('%1') where pk > 0"_s).toULongLong(),
            table.primaryKey.size());
        for (const company::Index& index : table.indexes)
            EXPECT_EQ(
                ask(u"select count(*) from pragma_index_list('%1') where name = '"_s + index.name + u"'"_s),
                u"1"_s)
                << index.name.toStdString();
    }
    EXPECT_EQ(RawText("pragma journal_mode"), u"wal"_s);
}

TEST_F(StorageFaultTest, HalfMadeDatabaseIsMadeAgain)
{
    // Killed while filling: the unfinished file is there, the real one is not (or only as an empty shell).
    Stop();
    ASSERT_TRUE(QFile::rename(File(), File() + u".unfinished"_s));
    Overwrite(File(), 0, {});
    Start();
    EXPECT_EQ(server_->QueryAsAdministrator(kOrders).RowCount(), 0) << "its rows were not taken over";
    EXPECT_FALSE(QFile::exists(File() + u".unfinished"_s));
    // A whole one is left alone.
    Raw("insert into tab_zelmor_bill(TX_LOGISTIC_ID) values('A')");
    Restart();
    EXPECT_EQ(server_->QueryAsAdministrator(kOrders).RowCount(), 1);
}

// A temporary file of an account, so large without that anything is written.
class SortedFile {
public:
    SortedFile(const QString& account, qint64 size)
    {
        const storage::sqlite::TemporaryFilesOf files(account);
        constexpr int kFlags = SQLITE_OPEN_TEMP_JOURNAL | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
            | SQLITE_OPEN_EXCLUSIVE | SQLITE_OPEN_DELETEONCLOSE;
        sqlite3_vfs* const system = sqlite3_vfs_find(storage::sqlite::CountedFiles());
        memory_.resize(static_cast<size_t>(system->szOsFile) / sizeof(qint64) + 1);
        if (system->xOpen(system, nullptr, File(), kFlags, nullptr) == SQLITE_OK)
            fits = File()->pMethods->xWrite(File(), "x", 1, size - 1) == SQLITE_OK;
    }
    ~SortedFile() { File()->pMethods->xClose(File()); }
    SortedFile(const SortedFile&) = delete;
    SortedFile& operator=(const SortedFile&) = delete;

    bool fits = false;

private:
    sqlite3_file* File() { return reinterpret_cast<sqlite3_file*>(memory_.data()); }

    std::vector<qint64> memory_;
};

// What is sorted may fill the disk that saves need, and keep others from sorting.
TEST_F(StorageFaultTest, WhatIsSortedTakesNoMoreOfTheDiskThanItMay)
{
    constexpr qint64 kMost = qint64(2) << 30;
    EXPECT_FALSE(SortedFile(u"other"_s, kMost + 1).fits);
    QStringList rows;
    for (int i = 0; i < 17; ++i)
        rows << u"('%1')"_s.arg(i);
    Raw((u"insert into tab_zelmor_bill(TX_LOGISTIC_ID) values"_s + rows.join(u',')).toUtf8().constData());
    Client client = LoggedIn();
    // 20 MB, more than a connection sorts in memory.
    const QString sorted = u"select count(*) from (select distinct rpad(a.TX_LOGISTIC_ID,4000,'x') || "
                           "b.TX_LOGISTIC_ID || c.TX_LOGISTIC_ID x from tab_zelmor_bill a, "
                           "tab_zelmor_bill b, tab_zelmor_bill c) t"_s;
    {
        const SortedFile others(u"other"_s, kMost);
        EXPECT_TRUE(others.fits);
        const SortedFile first(u"clerk"_s, kMost);
        const SortedFile second(u"clerk"_s, kMost);
        EXPECT_TRUE(first.fits && second.fits);
        EXPECT_EQ(ErrorOf([&] { client.Query(sorted); }).Message(), texts::SortedTooMuch());
        EXPECT_TRUE(SortedFile(u"third"_s, kMost / 4).fits);
    }
    EXPECT_EQ(client.Query(sorted).RowCount(), 1) << "what was refused has been given back";
}

TEST_F(StorageFaultTest, FolderThatCannotBeMade)
{
    Options options;
    const QString below = File() + u"/below-a-file"_s;
    options.open = storage::SqliteIn(below);
    const wire::Error error = ErrorOf([&] { ApplicationServer server(options); });
    EXPECT_EQ(error.Kind(), wire::ErrorKind::Storage);
    EXPECT_TRUE(error.Message().contains(below)) << error.what();
    options.open = storage::SqliteIn({});
    EXPECT_EQ(KindOf([&] { ApplicationServer server(options); }), wire::ErrorKind::Storage);
}

TEST_F(StorageFaultTest, WrongSizeLeavesNothingBehind)
{
    QTemporaryDir folder;
    Options options;
    options.open = storage::SqliteIn(folder.path());
    options.demo = u"huge"_s;
    EXPECT_EQ(KindOf([&] { ApplicationServer server(options); }), wire::ErrorKind::Usage);
    EXPECT_FALSE(QFile::exists(folder.filePath(u"zelmor.db"_s)));
    EXPECT_FALSE(QFile::exists(folder.filePath(u"zelmor.db.unfinished"_s)));
}

TEST_F(StorageFaultTest, WhatIsNotOursIsRefusedAndLeftAsItIs)
{
    const QByteArray good = (Stop(), Contents());
    Start();
    Raw("update zelmor_meta set VALUE = '99' where NAME = 'version'");
    const QByteArray newer = (Stop(), Contents());
    QFile::remove(File());
    storage::sqlite::Database(File(), storage::sqlite::OpenMode::Fill).Execute("create table other(x)");
    const QByteArray foreign = Contents();
    const struct {
        const char* what;
        QByteArray bytes;
        QString told;
    } cases[] = {
        {"no database", QByteArray(4096, 'x') + good.mid(4096), u"备份"_s},
        {"another program's", foreign, u"zelmor.db"_s},
        {"of a later version", newer, u"99"_s},
        {"empty", {}, u"备份"_s},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        ASSERT_TRUE(QFile::resize(File(), 0));
        Overwrite(File(), 0, each.bytes);
        const wire::Error error = ErrorOf([&] { Start(); });
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Storage);
        EXPECT_TRUE(error.Message().contains(each.told)) << error.what();
        EXPECT_EQ(Contents(), each.bytes);
    }
}

#ifdef Q_OS_UNIX
TEST_F(StorageFaultTest, NobodyElseMayReadTheFiles)
{
    const auto others = [&] {
        QFile::Permissions open;
        for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s})
            open |= QFile::permissions(File() + suffix)
                & (QFile::ReadOther | QFile::WriteOther | QFile::ReadGroup);
        return open;
    };
    EXPECT_EQ(others(), QFile::Permissions());
    // One that an earlier version left open.
    Stop();
    QFile::setPermissions(File(), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    Start();
    EXPECT_EQ(others(), QFile::Permissions());
}
#endif

TEST_F(StorageFaultTest, DamagedPagesFailTheRequestAndEverySaveFromThenOn)
{
    Raw("with recursive n(i) as (select 1 union all select i + 1 from n where i < 3000) insert into "
        "tab_zelmor_bill(TX_LOGISTIC_ID, REMARK) select 'X' || i, hex(randomblob(60)) from n");
    const qint64 root =
        RawText("select rootpage from sqlite_schema where name = 'tab_zelmor_bill'").toLongLong();
    const qint64 size = RawText("pragma page_size").toLongLong();
    Stop();
    Overwrite(File(), (root - 1) * size, QByteArray(64, '\xff'));
    Start();
    Client client = LoggedIn();
    const wire::Error error = ErrorOf([&] { client.Query(kOrders); });
    EXPECT_EQ(error.Kind(), wire::ErrorKind::Storage);
    EXPECT_TRUE(error.Message().contains(u"损坏"_s)) << error.what();
    // What can be read may be looked at; what is saved would be lost with the file.
    const wire::RowSet sites = client.Query(u"select a.* from tab_site a"_s);
    EXPECT_EQ(sites.RowCount(), 1);
    const wire::Error save = ErrorOf(
        [&] { client.Execute(u"update tab_zelmor_bill a set a.REMARK='x' where a.TX_LOGISTIC_ID='A'"_s); });
    EXPECT_EQ(save.Kind(), wire::ErrorKind::Storage);
    EXPECT_TRUE(save.Message().contains(u"损坏"_s)) << save.what();
}

TEST_F(StorageFaultTest, FullDiskUndoesTheSaveAndSaysSo)
{
    Raw("with recursive n(i) as (select 1 union all select i + 1 from n where i < 2000) insert into "
        "tab_zelmor_bill(TX_LOGISTIC_ID) select 'X' || i from n");
    const wire::RowSet rows = LoggedIn().Query(kOrders);
    Changes changes(kOrders, rows);
    for (qsizetype row = 0; row < rows.RowCount(); ++row)
        changes.Update(row, {{u"REMARK"_s, QString(150, u'备')}});
    {
        Options options;
        options.open = storage::SqliteIn(folder_.path());
        storage::ConnectionPool pool(options.open({}), 1);
        storage::Transaction transaction(pool);
        static_cast<storage::sqlite::SqliteConnection&>(*transaction)
            .Base()
            .Execute("pragma max_page_count = 1"); // it cannot shrink: not a page more
        const Permissions everything(
            Role::Headquarters, {}, std::make_shared<SiteTree>(std::vector<Site>()), {});
        ForbiddenRows forbidden;
        const wire::Error error = ErrorOf([&] {
            ApplyChanges(*transaction, changes.log, -1, {{}, {}, {}}, everything, forbidden);
        });
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Storage);
        EXPECT_TRUE(error.Message().contains(u"磁盘空间不足"_s)) << error.what();
    }
    EXPECT_EQ(RawText("select count(*) from tab_zelmor_bill where REMARK is not null"), u"0"_s);
    EXPECT_EQ(RawText("select count(*) from zelmor_audit"), u"0"_s);
}

// The last of a disk is for what has to go on: the log, a copy, an account that is closed.
TEST_F(StorageFaultTest, SavesLeaveTheDiskItsReserve)
{
    Client before = LoggedIn();
    const Changes changes = Changes(kOrders, before.Query(kOrders)).Update(0, u"REMARK=x"_s);
    const wire::ApplyName name{.client = {1}, .number = 1};
    before.Apply(changes.log, name, -1);
    diskReserve_ = qint64(1) << 60;
    Restart();
    Client client = LoggedIn();
    const wire::ChangeLog next = Changes(kOrders, client.Query(kOrders)).Update(0, u"REMARK=y"_s).log;
    for (const wire::Error& error : {ErrorOf([&] { client.Apply(next); }),
             ErrorOf([&] { client.Execute(u"update tab_zelmor_bill set REMARK='x'"_s); })}) {
        EXPECT_EQ(error.Kind(), wire::ErrorKind::Storage);
        EXPECT_EQ(error.Message(), texts::DiskAlmostFull());
    }
    EXPECT_EQ(client.Apply(changes.log, name, -1).Rejected(), 0) << "was stored before";
    server_->RemoveAccount(u"clerk"_s);
}

// Readers that overlap keep the log from being begun anew; saves would let it grow over the disk.
TEST_F(StorageFaultTest, TheLogHasAnEndThoughThereIsAlwaysSomebodyReading)
{
    using namespace storage::sqlite;
    Checkpointer checkpointer(File(), 100);
    Database writer(File(), OpenMode::Serve);
    checkpointer.Watch(writer);
    std::atomic<bool> saved{false};
    const auto read = [&] {
        Database reader(File(), OpenMode::Serve);
        while (!saved) {
            reader.Execute("begin; select count(*) from tab_zelmor_bill");
            while (!saved && !checkpointer.NeedsRoom())
                std::this_thread::yield();
            reader.Execute("commit");
        }
    };
    {
        const std::jthread one(read);
        const std::jthread other(read);
        for (int i = 0; i < 300; ++i)
            writer.Execute("update tab_zelmor_bill set REMARK = hex(randomblob(4000))");
        saved = true;
    }
    EXPECT_LT(QFileInfo(File() + u"-wal"_s).size(), 200 * 4200); // of 10 MB
    EXPECT_EQ(RawText("pragma integrity_check"), u"ok"_s);
}

// What a reply takes of the memory must not grow with the length of its texts.
TEST(RowStream, LongTextsAreHandedOnInSmallParts)
{
    constexpr int kRows = 1500;
    class LongTexts final : public storage::RowSource {
    public:
        bool Fill(storage::CellBlocks& blocks) override
        {
            while (!storage::AreFull(blocks)) {
                if (row_ == kRows)
                    return false;
                const QByteArray text = QByteArray::number(row_++) + QByteArray(64 << 10, 'x');
                blocks.front().AddText(text.constData(), text.size());
            }
            return true;
        }

    private:
        int row_ = 0;
    } source;
    class Sink final : public wire::ReplySink {
    public:
        void Columns(const wire::ColumnInfos&) override { }
        void Rows(std::vector<wire::Column> block) override
        {
            rows += block.front().RowCount();
            most = std::max(most, block.front().MemoryUse());
        }
        qsizetype rows = 0;
        size_t most = 0;
    } sink;
    storage::CellBlocks scratch;
    scratch.emplace_back(wire::ColumnType::Text);
    EXPECT_EQ(storage::StreamRows(source, scratch, {kRows, kRows}, sink), kRows);
    EXPECT_EQ(sink.rows, kRows);
    EXPECT_LT(sink.most, size_t(64) << 20); // of 94 MB
}

TEST_F(StorageFaultTest, ARowIsNoLongerThanAnybodyReads)
{
    QStringList columns;
    for (int i = 0; i < 400; ++i)
        columns += u"replace(lpad('a',4000,'a'),'a','%1') c%1"_s.arg(i, 12, 10, QChar(u'0'));
    const wire::Error error =
        ErrorOf([&] { LoggedIn().Query(u"select %1 from dual"_s.arg(columns.join(u','))); });
    EXPECT_EQ(error.Kind(), wire::ErrorKind::Limit);
    EXPECT_TRUE(error.Message().contains(u"过长"_s)) << error.what();
}

#ifdef __GLIBC__
// Statements keep what their rows were read into; wide ones megabytes each.
TEST_F(StorageFaultTest, WhatStatementsKeepHasABudget)
{
    Raw("with recursive n(i) as (select 1 union all select i + 1 from n where i < 1000) insert into "
        "tab_zelmor_bill(TX_LOGISTIC_ID, STATUS) select 'X' || i, i from n");
    const auto held = [] {
        const auto info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    Client client = LoggedIn();
    client.Query(kOrders);
    const size_t before = held();
    for (int statement = 0; statement < 20; ++statement) {
        QStringList columns;
        for (int i = 0; i < 900; ++i)
            columns += u"a.STATUS s%1_%2"_s.arg(statement).arg(i);
        client.Query(u"select %1 from tab_zelmor_bill a where rownum <= 1000"_s.arg(columns.join(u',')));
    }
    EXPECT_LT(held() - before, size_t(60) << 20); // of 160 MB
}
#endif

TEST_F(StorageFaultTest, TextsLargerThanTheDatabaseTakesAreRefusedAsSuch)
{
    Client client = LoggedIn();
    QStringList tables;
    for (int i = 0; i < 80; ++i)
        tables += u"tab_site t%1"_s.arg(i);
    for (const QString& text : {u"select 1 from "_s + tables.join(u','),
             u"select 1 from dual where "_s + u"1=1 and "_s.repeated(2000) + u"1=1"_s,
             u"select 1 from "_s + u"(select * from "_s.repeated(60) + u"tab_site"_s + u")"_s.repeated(60)}) {
        EXPECT_EQ(KindOf([&] { client.Query(text); }), wire::ErrorKind::Syntax);
    }
    // And texts that an expression builds without end.
    const QString large = u"select replace(replace(lpad('x', 4000, 'x'), 'x', lpad('y', 4000, 'y')), "
                          "'y', lpad('z', 4000, 'z')) t from dual"_s;
    EXPECT_EQ(KindOf([&] { client.Query(large); }), wire::ErrorKind::Data);
    EXPECT_EQ(client.Query(u"select 1 from dual"_s).RowCount(), 1);
}

} // namespace
} // namespace server::testing
