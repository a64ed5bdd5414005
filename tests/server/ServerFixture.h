#pragma once

#include "server/provider/ApplicationServer.h"
#include "server/storage/sqlite/Sqlite.h"
#include "server/storage/sqlite/SqliteStorage.h"
#include "tests/support/Raised.h"
#include "tests/support/RowKeeper.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// A server over a new database with one branch site, its clerk (who may write everything) and three orders,
// and a way to talk to it.
namespace server::testing {

using namespace Qt::Literals::StringLiterals;

inline wire::Request RequestOf(wire::RequestKind kind, const QString& text = {})
{
    wire::Request request;
    request.kind = kind;
    request.text = text;
    return request;
}

class Client {
public:
    Client(ApplicationServer& server, const QString& account, const QString& password)
        : Client(server)
    {
        Login(account, password);
    }
    explicit Client(ApplicationServer& server, const QString& peer = u"10.0.0.1:5000"_s)
        : session_(server.NewSession(peer))
    {
    }

    wire::Identity Login(const QString& account, const QString& password)
    {
        wire::Request request = RequestOf(wire::RequestKind::Login);
        request.account = account;
        request.password = password;
        return Ask(request).identity;
    }
    wire::RowSet Query(const QString& text)
    {
        const wire::Reply reply = Ask(RequestOf(wire::RequestKind::Query, text));
        EXPECT_EQ(reply.rowCount, sink_.rows.RowCount());
        return std::move(sink_.rows);
    }
    qint64 Execute(const QString& text) { return Ask(RequestOf(wire::RequestKind::Execute, text)).rowCount; }
    wire::ApplyOutcome Apply(const wire::ChangeLog& log, int maxErrors = -1)
    {
        return Apply(log, {.client = {7, 7}, .number = ++number_}, maxErrors);
    }
    wire::ApplyOutcome Apply(const wire::ChangeLog& log, const wire::ApplyName& name, int maxErrors)
    {
        wire::Request request = RequestOf(wire::RequestKind::ApplyUpdates);
        request.changes = log;
        request.name = name;
        request.maxErrors = maxErrors;
        return Ask(request).outcome;
    }
    Session& Conversation() { return *session_; }

private:
    wire::Reply Ask(const wire::Request& request)
    {
        sink_ = {};
        return session_->Handle(request, sink_);
    }

    std::unique_ptr<Session> session_;
    RowKeeper sink_;
    static inline quint64 number_ = 0;
};

// A change log over rows that were read, put together as a dataset does.
class Changes {
public:
    Changes(const QString& commandText, const wire::RowSet& rows)
        : rows_(rows)
    {
        log.commandText = commandText;
        log.columns = rows.infos;
    }

    using Edits = std::vector<std::pair<QString, wire::Value>>;

    // Edits as text: "STATUS=1, NAME=新, REC_SITE=" makes REC_SITE null.
    Changes& Update(qsizetype row, const QString& edits) { return Update(row, Read(edits)); }
    Changes& Update(qsizetype row, const Edits& edits) { return Add(wire::ChangeKind::Update, row, edits); }
    Changes& Delete(qsizetype row) { return Add(wire::ChangeKind::Delete, row, {}); }
    Changes& Insert(const QString& values) { return Insert(Read(values)); }
    Changes& Insert(const Edits& values)
    {
        wire::RowChange& change = NewRow(wire::ChangeKind::Insert);
        for (const auto& [name, value] : values)
            change.cells.push_back({Position(name), {}, value});
        return *this;
    }

    wire::ChangeLog log;

private:
    Edits Read(const QString& text) const
    {
        Edits edits;
        for (const QString& edit : text.split(u", "_s)) {
            const QString name = edit.section(u'=', 0, 0);
            edits.emplace_back(
                name, wire::FromText(rows_.infos.at(Position(name)).type, edit.section(u'=', 1)));
        }
        return edits;
    }
    quint16 Position(const QString& name) const
    {
        const int position = rows_.IndexOf(name);
        EXPECT_GE(position, 0) << name.toStdString();
        return static_cast<quint16>(position);
    }
    wire::RowChange& NewRow(wire::ChangeKind kind)
    {
        wire::RowChange& change = log.rows.emplace_back();
        change.kind = kind;
        change.rowId = static_cast<quint32>(100 + log.rows.size());
        return change;
    }
    Changes& Add(wire::ChangeKind kind, qsizetype row, const Edits& edits)
    {
        wire::RowChange& change = NewRow(kind);
        for (size_t i = 0; i < rows_.infos.size(); ++i) {
            const wire::Value original = rows_.columns[i].ValueAt(row);
            const auto edit = std::ranges::find_if(
                edits, [&](const auto& item) { return Position(item.first) == static_cast<quint16>(i); });
            if (edit != edits.end())
                change.cells.push_back({static_cast<quint16>(i), original, edit->second});
            else if (rows_.infos[i].key || rows_.infos[i].guard)
                change.cells.push_back({static_cast<quint16>(i), original, original});
        }
        return *this;
    }

    wire::RowSet rows_;
};

// A database that is not the embedded one.
class OtherDatabase {
public:
    virtual ~OtherDatabase() = default;
    virtual void Configure(Options& options) const = 0;
    virtual void Run(const QString& sql) const = 0;
    // The first column of each row; nullopt where it is null.
    virtual std::vector<std::optional<QString>> Texts(const QString& sql) const = 0;
    // A date as SQL, from an SQL expression for the seconds since 1970.
    virtual QString Time(const QString& seconds) const = 0;
};

class ServerTest : public ::testing::Test {
protected:
    explicit ServerTest(std::unique_ptr<OtherDatabase> other = {})
        : other_(std::move(other))
    {
        Start();
        Raw("insert into tab_site(SITE_CODE, SITE_NAME) values('S1', '合肥一部')");
        Raw("insert into tab_employee(EMPLOYEE_CODE, EMPLOYEE_NAME, OWNER_SITE) values('E1', '张三', "
            "'合肥一部')");
        Raw(u"insert into tab_zelmor_bill(TX_LOGISTIC_ID, CREATE_DATE, STATUS, PREPARE_SITE, TOTAL_WEIGHT, "
            "NAME)"
            " values('A', %1, 0, ';合肥一部;', 1.5, '甲'), ('B', %2, null, null, null, null),"
            " ('C', %3, 1, ';合肥二部;', 2, '丙')"_s.arg(Time(u"1000"_s), Time(u"2000"_s), Time(u"3000"_s)));
        server_->AddAccount({u"clerk"_s, u"secret"_s, u"E1"_s, u"2"_s, u"110"_s, Role::Headquarters});
    }

    void Start()
    {
        Options options;
        options.open = storage::SqliteIn(folder_.path());
        options.now = wire::DateTime::FromParts(2024, 3, 1, 8);
        options.maxRows = maxRows_;
        options.maxSeconds = maxSeconds_;
        options.savedBytesADay = savedBytesADay_;
        options.diskReserve = diskReserve_;
        if (other_)
            other_->Configure(options);
        server_ = std::make_unique<ApplicationServer>(options);
    }
    void Restart()
    {
        server_.reset();
        Start();
    }
    Client LoggedIn() { return {*server_, u"clerk"_s, u"secret"_s}; }

    QString File() const { return QDir(folder_.path()).filePath(u"zelmor.db"_s); }
    // Behind the server's back.
    void Raw(const QString& sql)
    {
        if (other_)
            other_->Run(sql);
        else
            storage::sqlite::Database(File(), storage::sqlite::OpenMode::Serve)
                .Execute(sql.toUtf8().constData());
    }
    void Raw(const char* sql) { Raw(QString::fromUtf8(sql)); }
    // The first column of every row, with commas between.
    QString RawText(const QString& sql)
    {
        QStringList texts;
        for (const std::optional<QString>& text : RawTexts(sql))
            texts << text.value_or(u"(null)"_s);
        return texts.isEmpty() ? u"(no row)"_s : texts.join(u',');
    }
    QString RawText(const char* sql) { return RawText(QString::fromUtf8(sql)); }
    // A date as SQL, from an SQL expression for the seconds since 1970.
    QString Time(const QString& seconds) const { return other_ ? other_->Time(seconds) : seconds; }

    static inline const QString kOrders = u"select a.* from tab_zelmor_bill a order by a.TX_LOGISTIC_ID"_s;

    QTemporaryDir folder_;
    std::unique_ptr<OtherDatabase> other_;
    qint64 maxRows_ = 1'000'000;
    int maxSeconds_ = 60;
    qint64 savedBytesADay_ = qint64(1) << 30;
    qint64 diskReserve_ = 0;
    std::unique_ptr<ApplicationServer> server_;

private:
    std::vector<std::optional<QString>> RawTexts(const QString& sql) const
    {
        if (other_)
            return other_->Texts(sql);
        storage::sqlite::Database database(File(), storage::sqlite::OpenMode::Serve);
        storage::sqlite::Statement statement = database.Prepare(sql.toStdString());
        std::vector<std::optional<QString>> texts;
        while (statement.Step())
            texts.push_back(statement.IsNull(0) ? std::nullopt : std::optional(statement.Text(0)));
        return texts;
    }
};

} // namespace server::testing
