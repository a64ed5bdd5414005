#include "server/monitoring/MetricsPort.h"
#include "server/monitoring/MonitoredSession.h"
#include "server/monitoring/Process.h"
#include "server/monitoring/StatementShape.h"
#include "server/refusal/Secrets.h"

#include <QCoreApplication>
#include <QSet>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;
using namespace server;
using namespace server::monitoring;

namespace {

// What a log wrote, without the time.
class Written {
public:
    Log::Sink Sink()
    {
        return [this](std::string_view line) {
            lines.append(QString::fromUtf8(line.data(), qsizetype(line.size())));
        };
    }
    QString Last() const
    {
        const QString line = lines.value(lines.size() - 1);
        return line.sliced(line.indexOf(u"level"));
    }
    QStringList lines;
};

TEST(Log, NoValueEndsTheLineOrBeginsAField)
{
    Written written;
    Log log(LogLevel::Info, LogFormat::Text, written.Sink());
    const struct {
        QString value;
        QString shown;
    } cases[] = {
        {u"hefei1"_s, u"hefei1"_s},
        {u"合肥一部"_s, u"合肥一部"_s},
        {u""_s, u"\"\""_s},
        {u"a b"_s, u"\"a b\""_s},
        {u"x level=error"_s, u"\"x level=error\""_s},
        {u"x\" forged=1 \""_s, u"\"x\\\" forged=1 \\\"\""_s},
        {u"a\r\ntime=2026 event=login"_s, u"\"a\\u000d\\ntime=2026 event=login\""_s},
        {u"\u2028\u202e\u061c\u0085\u001b[2J"_s, u"\"\\u2028\\u202e\\u061c\\u0085\\u001b[2J\""_s},
        {u"back\\slash"_s, u"\"back\\\\slash\""_s},
    };
    for (const auto& [value, shown] : cases) {
        log.Warn("login", {{"account", value}, {"tries", 3}});
        EXPECT_EQ(written.Last(), u"level=warn event=login account=%1 tries=3\n"_s.arg(shown));
    }
    log.Debug("hidden", {});
    EXPECT_EQ(written.lines.size(), std::size(cases));
}

TEST(Log, LongValuesAreCutBetweenCharacters)
{
    Written written;
    Log log(LogLevel::Info, LogFormat::Text, written.Sink());
    log.Info("x", {{"v", QString(499, u'a') + u"🚚🚚"_s}});
    EXPECT_EQ(written.Last(), u"level=info event=x v=%1…\n"_s.arg(QString(499, u'a')));
}

TEST(Log, JsonIsOneObjectALine)
{
    Written written;
    Log log(LogLevel::Info, LogFormat::Json, written.Sink());
    log.Refused("login", {{"account", u"a\"\n"_s}, {"milliseconds", 12}, {"late", true}});
    EXPECT_TRUE(written.lines[0].startsWith(u"{\"time\": \"20"));
    EXPECT_EQ(written.Last(),
        u"level\": \"warn\", \"event\": \"refused\", \"reason\": \"login\", \"account\": \"a\\\"\\n\", "
        "\"milliseconds\": 12, \"late\": \"yes\"}\n"_s);
}

TEST(Log, LinesOfThreadsDoNotMix)
{
    Written written;
    Log log(LogLevel::Info, LogFormat::Text, written.Sink());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i)
                log.Info("tick", {{"text", "one two"}});
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(written.lines.size(), 400);
    EXPECT_TRUE(std::ranges::all_of(written.lines,
        [](const QString& line) { return line.endsWith(u"level=info event=tick text=\"one two\"\n"); }));
}

TEST(Log, WhatRepeatsIsCounted)
{
    Written written;
    {
        Log log(LogLevel::Info, LogFormat::Text, written.Sink());
        for (int i = 0; i < 10'000; ++i) {
            log.Refused("sessions", {{"peer", "192.0.2.7:1"}});
            log.Info("connected", {});
        }
        log.Refused("login", {}); // another reason: not drowned
        EXPECT_EQ(written.lines.size(), Log::kMostRefusedAMinute + Log::kMostAMinute + 1);
        written.lines.clear();
    }
    EXPECT_EQ(written.lines.size(), 2);
    EXPECT_EQ(written.Last(),
        u"level=warn event=repeated of=refused reason=sessions times=%1\n"_s.arg(
            10'000 - Log::kMostRefusedAMinute));
}

TEST(Secrets, AreMaskedWhereverConnectionStringsHoldThem)
{
    const struct {
        QString text;
        QString masked;
    } cases[] = {
        {u"postgresql://desk:geheim@db:5432/zelmor?sslmode=require"_s,
            u"postgresql://desk:***@db:5432/zelmor?sslmode=require"_s},
        {u"postgresql://desk:p@ss/w:rd@db/zelmor"_s, u"postgresql://desk:***@db/zelmor"_s},
        {u"postgresql://db/zelmor?user=desk&password=geheim&x=1"_s,
            u"postgresql://db/zelmor?user=desk&password=***&x=1"_s},
        {u"host=db user=desk password='ge\\'h eim' dbname=zelmor"_s,
            u"host=db user=desk password=*** dbname=zelmor"_s},
        {u"odbc:DSN=company;UID=desk;PWD=two words;"_s, u"odbc:DSN=company;UID=desk;PWD=***;"_s},
        {u"Driver={X};Pwd={a;}}b};Port=1"_s, u"Driver={X};Pwd=***;Port=1"_s},
        {u"sslpassword = geheim sslkey=k"_s, u"sslpassword = *** sslkey=k"_s},
        {u"http://localhost:9866/status"_s, u"http://localhost:9866/status"_s},
        {u"select a from t where b = 'x'"_s, u"select a from t where b = 'x'"_s},
    };
    for (const auto& [text, masked] : cases)
        EXPECT_EQ(MaskSecrets(text), masked);

    Written written;
    Log log(LogLevel::Info, LogFormat::Text, written.Sink());
    log.Info("x",
        {{"storage", "postgresql://u:geheim@h/d"}, {"long", QString(490, u'a') + u" password=geheim"_s}});
    EXPECT_FALSE(written.Last().contains(u"geheim"));
}

TEST(StatementShape, HoldsNoValue)
{
    const struct {
        QString sql;
        QString shape;
    } cases[] = {
        {u"select  A1,\n t.B from T1 t where NAME = '王''芳' and N>=-1.5e3"_s,
            u"select A1, t.B from T1 t where NAME = ? and N>=-?"_s},
        {u"select /*+ hint */ 1 from t -- where phone = '139'\nwhere x in (1,2, 3,'4')"_s,
            u"select ? from t where x in (?, …)"_s},
        {u"update t set a = '未完"_s, u"update t set a = ?"_s},
        {u"where d = date'2026-01-01' and q = q'[it's 王]' and z = 1"_s,
            u"where d = date? and q = ? and z = ?"_s},
        {u"select 1 /* open 13900001111"_s, u"select ?"_s},
    };
    for (const auto& [sql, shape] : cases)
        EXPECT_EQ(StatementShape(sql), shape);
}

TEST(Metrics, AreRenderedForPrometheus)
{
    using namespace std::chrono_literals;
    Metrics metrics;
    metrics.Request(wire::RequestKind::Query, Outcome::Ok, 80us);
    metrics.Request(wire::RequestKind::Query, Outcome::Ok, 3ms);
    metrics.Request(wire::RequestKind::Query, Outcome::Refused, 2min);
    metrics.Refused(RefusalReason::LoginRate);
    metrics.sessions.Add(3);
    metrics.sessions.Add(-1);
    const QByteArray text = metrics.All().Render();
    for (const char* line : {
             "# HELP zelmor_sessions Clients connected.\n# TYPE zelmor_sessions gauge\nzelmor_sessions 2\n",
             "\nzelmor_requests_total{kind=\"query\",outcome=\"ok\"} 2\n",
             "\nzelmor_requests_total{kind=\"query\",outcome=\"refused\"} 1\n",
             "\n# TYPE zelmor_request_seconds histogram\n",
             "\nzelmor_request_seconds_bucket{kind=\"query\",le=\"0.0001\"} 1\n",
             "\nzelmor_request_seconds_bucket{kind=\"query\",le=\"0.0025\"} 1\n",
             "\nzelmor_request_seconds_bucket{kind=\"query\",le=\"0.005\"} 2\n",
             "\nzelmor_request_seconds_bucket{kind=\"query\",le=\"60\"} 2\n",
             "\nzelmor_request_seconds_bucket{kind=\"query\",le=\"+Inf\"} 3\n",
             "\nzelmor_request_seconds_sum{kind=\"query\"} 120.00308",
             "\nzelmor_request_seconds_count{kind=\"query\"} 3\n",
             "\nzelmor_refused_total{reason=\"login_rate\"} 1\n",
         })
        EXPECT_TRUE(text.contains(line)) << line << "\nin\n" << text.constData();
    // One head a family, and every line a comment or "name value".
    QSet<QByteArray> heads;
    for (const QByteArray& line : text.split('\n')) {
        if (line.startsWith("# TYPE ")) {
            EXPECT_FALSE(heads.contains(line)) << line.constData();
            heads.insert(line);
        } else if (!line.startsWith('#') && !line.isEmpty()) {
            bool number = false;
            line.sliced(line.lastIndexOf(' ') + 1).toDouble(&number);
            EXPECT_TRUE(number) << line.constData();
        }
    }
    EXPECT_EQ(metrics.Requests(), 3u);
    EXPECT_GT(ResidentBytes(), 1 << 20);
}

// Answers every request as it is told to.
class ScriptedSession final : public server::Session {
public:
    explicit ScriptedSession(std::function<wire::Reply(const wire::Request&)> script)
        : script_(std::move(script))
    {
    }
    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override
    {
        if (request.kind == wire::RequestKind::Query)
            sink.Columns({});
        return script_(request);
    }
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override { }

private:
    std::function<wire::Reply(const wire::Request&)> script_;
    wire::Identity identity_{u"hefei1"_s, {}, {}, {}, {}, {}};
};

// A client, there or gone.
class NoSink final : public wire::ReplySink {
public:
    bool gone = false;

    void Columns(const wire::ColumnInfos&) override
    {
        if (gone)
            throw wire::Error(wire::ErrorKind::Connection, u"gone"_s);
    }
    void Rows(std::vector<wire::Column>) override { }
};

TEST(MonitoredSession, CountsAndLogsWithoutValues)
{
    Written written;
    const auto monitor = std::make_shared<Monitor>(LogLevel::Info, LogFormat::Text, written.Sink());
    Metrics& metrics = monitor->metrics;
    std::function<wire::Reply(const wire::Request&)> script;
    NoSink sink;
    {
        MonitoredSession session(
            std::make_unique<ScriptedSession>([&](const wire::Request& r) { return script(r); }), u"peer"_s,
            monitor, std::chrono::hours(1));
        EXPECT_EQ(metrics.sessions.Value(), 1);
        wire::Request login{wire::RequestKind::Login, {}, u"hefei1"_s, u"geheim"_s, {}, {}};
        const auto fail = [&](auto error) {
            script = [error](const wire::Request&) -> wire::Reply { throw error; };
        };
        const auto expectRefused = [&](const wire::Request& request, const QString& reason) {
            EXPECT_THROW(session.Handle(request, sink), wire::Error);
            EXPECT_TRUE(written.Last().startsWith(u"level=warn event=refused reason=%1 "_s.arg(reason)))
                << qPrintable(written.Last());
        };
        fail(wire::Error(wire::ErrorKind::Login, u"账号或密码错误！"_s));
        expectRefused(login, u"login"_s);
        fail(RefusedError(RefusalReason::LoginRate, wire::ErrorKind::Login, u"登录失败次数过多"_s));
        expectRefused(login, u"login_rate"_s);
        script = [](const wire::Request&) { return wire::Reply{}; };
        session.Handle(login, sink);
        EXPECT_EQ(metrics.loggedIn.Value(), 1);

        wire::Request query;
        query.kind = wire::RequestKind::Query;
        query.text = u"select * from zelmor_account where PHONE = '13900001111'"_s;
        fail(wire::Error(wire::ErrorKind::Policy, u"不允许访问表"_s));
        expectRefused(query, u"policy"_s);
        fail(wire::Error(wire::ErrorKind::Data, u"“13900001111”不是日期"_s));
        expectRefused(query, u"data"_s);
        fail(wire::Error(wire::ErrorKind::Storage, u"disk full"_s));
        EXPECT_THROW(session.Handle(query, sink), wire::Error);
        EXPECT_TRUE(written.Last().startsWith(u"level=error event=request_failed "));

        sink.gone = true;
        EXPECT_THROW(session.Handle(query, sink), wire::Error);
        EXPECT_TRUE(written.Last().startsWith(u"level=info event=abandoned ")) << qPrintable(written.Last());

        wire::Request apply;
        apply.kind = wire::RequestKind::ApplyUpdates;
        apply.changes.commandText = u"select * from tab_zelmor_bill where SITE = '合肥'"_s;
        script = [](const wire::Request&) {
            wire::Reply reply;
            reply.outcome.rows = {{1, true, {}, false, {}}, {2, false, u"changed by 王芳"_s, false, {}}};
            return reply;
        };
        session.Handle(apply, sink);
        EXPECT_TRUE(written.Last().contains(u"event=rows_refused ")) << qPrintable(written.Last());
    }
    EXPECT_EQ(metrics.rowsWritten.Value(), 1u);
    EXPECT_EQ(metrics.rowsRefused.Value(), 1u);
    EXPECT_EQ(metrics.loginsRefused.Value(), 2u);
    EXPECT_EQ(metrics.Refused(), 4u);
    EXPECT_EQ(metrics.Requests(Outcome::Failed), 1u);
    EXPECT_EQ(metrics.Requests(Outcome::Abandoned), 1u);
    EXPECT_EQ(metrics.sessions.Value(), 0);
    EXPECT_EQ(metrics.loggedIn.Value(), 0);
    const QString all = written.lines.join(QString());
    for (const QString& value : {u"geheim"_s, u"13900001111"_s, u"王芳"_s})
        EXPECT_FALSE(all.contains(value)) << qPrintable(all);
}

QByteArray Talk(quint16 port, const QByteArray& bytes)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    socket.waitForConnected(5000);
    socket.write(bytes);
    QByteArray answer;
    while (socket.waitForReadyRead(5000))
        answer += socket.readAll();
    return answer + socket.readAll();
}

TEST(MetricsPort, AnswersItsTwoPagesAndNothingElse)
{
    const MetricsPort port(
        QHostAddress(QHostAddress::LocalHost), 0, [] { return "figures\n"; }, [] { return "fine\n"; });
    EXPECT_EQ(FetchPage(QHostAddress(QHostAddress::LocalHost), port.Port(), "/metrics"), "figures\n");
    EXPECT_EQ(FetchPage(QHostAddress(QHostAddress::LocalHost), port.Port(), "/status"), "fine\n");
    const struct {
        QByteArray request;
        QByteArray status;
    } cases[] = {
        {"GET /metrics?x=1 HTTP/1.1\r\nHost: h\r\n\r\n", "200"},
        {"HEAD /metrics HTTP/1.0\r\n\r\n", "200"},
        {"GET / HTTP/1.1\r\n\r\n", "404"},
        {"GET /../status HTTP/1.1\r\n\r\n", "404"},
        {"POST /metrics HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc", "405"},
        {"nonsense\r\n\r\n", "400"},
        {"GET /" + QByteArray(10'000, 'a'), "431"},
    };
    for (const auto& [request, status] : cases)
        EXPECT_TRUE(Talk(port.Port(), request).startsWith("HTTP/1.1 " + status)) << request.constData();
    // One that says nothing is left, and holds up nobody.
    EXPECT_TRUE(Talk(port.Port(), "GET /met").isEmpty());
    EXPECT_THROW(MetricsPort(QHostAddress(u"192.0.2.1"_s), 0, {}, {}), wire::Error);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
