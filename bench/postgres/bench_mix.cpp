// Fifty clients of a server over PostgreSQL, as a branch's day looks: look-ups, lists of orders, saves;
// against pgbench with the same statements by way of PgBouncer, over as many connections as the server's pool
// has; first the look-ups alone, then the mix. Each desk has an account, since none gets more than half a
// pool. Needs a cluster as bench_postgres does. Usage: bench_mix [SECONDS-A-ROUND [ROUNDS
// [LOOK-UPS:LISTS:SAVES [CONNECTIONS]]]]

#include "bench/postgres/PgBouncer.h"
#include "bench/system/Measure.h"
#include "demo/Generator.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/data/TcpTransport.h"
#include "server/dialect/Dialect.h"
#include "server/provider/ApplicationServer.h"
#include "server/storage/postgres/PostgresStorage.h"
#include "tests/support/PostgresDatabase.h"
#include "tests/support/RowKeeper.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/TestAuthority.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <barrier>
#include <cstdio>
#include <mutex>
#include <optional>
#include <random>
#include <thread>

using namespace Qt::Literals::StringLiterals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kClients = 50;
int connections = 16; // the server's own number
constexpr int kRowsASave = 5;
constexpr int kRowsAList = 500;
constexpr int kLists = 10; // windows of time with so many rows
constexpr int kCopies = 10'000; // orders with numbers that pgbench can count
constexpr qint64 kFirstOrder = 9'000'000;
// Each client, of either side, saves five orders of its own.
constexpr qint64 kFirstPgbenchOrder = kFirstOrder + 2 * kClients * kRowsASave;
constexpr qint64 kFirstWaybill = 880'000'000;

// How often each kind of statement comes. A pickup of five parcels asks three questions for each, then saves
// and lists the orders anew.
struct Mix {
    int lookUps = 15;
    int lists = 1;
    int saves = 1;
};

// Of so many look-ups.
constexpr int kUsed = 6;
constexpr int kDisabled = 6;
constexpr int kItems = 3;
constexpr int kLookUps = kUsed + kDisabled + kItems;

struct Window {
    QString from, to;
};

QString UsedText(const QString& number)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I)*/ a.* from TAB_ZELMOR_BILL a where a.bill_code='%1'"_s.arg(
        number);
}

QString DisabledText(const QString& number)
{
    return u"select /*+index(a,TAB_BILL_DEL_P)*/ * from tab_bill_del a where a.bill_code='%1'"_s.arg(number);
}

QString ItemsText(const QString& order)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_ITEMS_I)*/ a.TX_LOGISTIC_ID,a.ITEM_NAME,a.PIECE,a.REMARK FROM "
           "TAB_ZELMOR_BILL_ITEMS  a  where a.TX_LOGISTIC_ID= '%1'"_s.arg(order);
}

QString ListText(const Window& window)
{
    return u"select /*+index(a,TAB_ZELMOR_BILL_I3)*/a.* from tab_zelmor_bill a where a.create_date between "
           "to_date('%1','yyyy-mm-dd hh24:mi:ss') and to_date('%2','yyyy-mm-dd hh24:mi:ss')   and "
           "a.bl_dispart=1  "
           "order by a.CREATE_DATE desc"_s.arg(window.from, window.to);
}

QString RowsText(const QStringList& orders)
{
    return u"select a.* from tab_zelmor_bill a where a.TX_LOGISTIC_ID in ('%1')"_s.arg(orders.join(u"','"_s));
}

QString AccountOf(int number)
{
    return u"desk%1"_s.arg(number);
}

// One client: speaks the protocol, decodes what comes and forgets it.
class Client {
public:
    Client(const TConnectOptions& way, int number)
        : transport_(MakeTcpTransport(way))
        , random_(quint32(number))
    {
        transport_->Connect();
        wire::Request login;
        login.kind = wire::RequestKind::Login;
        login.account = AccountOf(number);
        login.password = demo::DemoPassword();
        transport_->Exchange(login, keeper_);
        QStringList own;
        for (int i = 0; i < kRowsASave; ++i)
            own.append(QString::number(kFirstOrder + number * kRowsASave + i));
        save_.kind = wire::RequestKind::ApplyUpdates;
        save_.name.client[0] = quint8(number);
        save_.name.number = QRandomGenerator::global()->generate64() >> 1;
        save_.changes.commandText = RowsText(own);
        const wire::RowSet& rows = Query(save_.changes.commandText);
        save_.changes.columns = rows.infos;
        for (qsizetype row = 0; row < rows.RowCount(); ++row) {
            wire::RowChange change;
            change.rowId = quint32(row + 1);
            for (quint16 column = 0; column < rows.columns.size(); ++column) {
                const wire::ColumnInfo& info = rows.infos[column];
                const wire::Value value = rows.columns[column].ValueAt(row);
                if (info.key || info.guard || kChanged.contains(info.name))
                    change.cells.push_back({column, value, value});
            }
            save_.changes.rows.push_back(std::move(change));
        }
    }

    // One statement of the mix; true when it was a look-up.
    bool Next()
    {
        const int chance = int(random_() % quint32(mix.lookUps + mix.lists + mix.saves));
        if (chance < mix.lookUps)
            LookUp(int(random_() % kLookUps));
        else if (chance < mix.lookUps + mix.lists)
            Query(ListText(windows[random_() % windows.size()]));
        else
            Save();
        return chance < mix.lookUps;
    }

    static inline Mix mix;
    static inline std::vector<Window> windows;

private:
    static inline const QStringList kChanged{u"REMARK"_s, u"REC_GOODS_MAN"_s, u"MESSAGE"_s};

    const wire::RowSet& Query(const QString& text)
    {
        request_.kind = wire::RequestKind::Query;
        request_.text = text;
        transport_->Exchange(request_, keeper_);
        return keeper_.rows;
    }

    void LookUp(int kind)
    {
        const QString number = QString::number(kFirstWaybill + random_() % kCopies);
        if (kind < kUsed)
            Query(UsedText(number));
        else if (kind < kUsed + kDisabled)
            Query(DisabledText(number));
        else
            Query(ItemsText(QString::number(kFirstOrder + random_() % kCopies)));
    }

    void Save()
    {
        ++save_.name.number;
        const wire::Value text = QString::number(random_());
        for (wire::RowChange& row : save_.changes.rows) {
            for (wire::CellChange& cell : row.cells) {
                cell.original = cell.current;
                if (kChanged.contains(save_.changes.columns[cell.column].name))
                    cell.current = text;
            }
        }
        const wire::ApplyOutcome outcome = transport_->Exchange(save_, keeper_).outcome;
        if (outcome.rows.size() != kRowsASave || outcome.Rejected() > 0)
            throw wire::Error(wire::ErrorKind::Usage, u"rows were refused"_s);
    }

    std::unique_ptr<wire::Transport> transport_;
    std::mt19937 random_;
    wire::Request request_;
    wire::Request save_;
    RowKeeper keeper_;
};

// The clients of one server, each on a thread of its own, where its socket was made.
class Crowd {
public:
    Crowd(const TConnectOptions& way, int firstNumber)
    {
        for (int i = 0; i < kClients; ++i)
            threads_.emplace_back([=, this] { Work(way, firstNumber + i); });
        gate_.arrive_and_wait(); // all are logged in
    }
    ~Crowd()
    {
        ended_ = true;
        gate_.arrive_and_wait();
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    // Statements a second of all together.
    double Rate(int seconds)
    {
        RequireSuccess();
        statements_ = 0;
        const Clock::time_point start = Clock::now();
        end_ = start + std::chrono::seconds(seconds);
        gate_.arrive_and_wait();
        gate_.arrive_and_wait();
        RequireSuccess();
        return double(statements_) / std::chrono::duration<double>(Clock::now() - start).count();
    }

    std::vector<double> lookUps; // what each took, in milliseconds

private:
    void Work(const TConnectOptions& way, int number)
    {
        std::optional<Client> client;
        Guarded([&] { client.emplace(way, number); });
        for (gate_.arrive_and_wait();; gate_.arrive_and_wait()) {
            gate_.arrive_and_wait();
            if (ended_)
                return;
            if (client)
                Guarded([&] { WorkRound(*client); });
        }
    }

    void WorkRound(Client& client)
    {
        std::vector<double> times;
        qint64 count = 0;
        for (; Clock::now() < end_; ++count) {
            bool lookUp = false;
            const double time = MillisecondsOf([&] { lookUp = client.Next(); });
            if (lookUp)
                times.push_back(time);
        }
        const std::lock_guard lock(mutex_);
        statements_ += count;
        lookUps.insert(lookUps.end(), times.begin(), times.end());
    }

    template <typename F> void Guarded(F&& work)
    {
        try {
            work();
        } catch (const wire::Error& error) {
            const std::lock_guard lock(mutex_);
            failure_ = error.Message();
        }
    }
    void RequireSuccess()
    {
        if (!failure_.isEmpty())
            throw wire::Error(wire::ErrorKind::Usage, failure_);
    }

    std::barrier<> gate_{kClients + 1};
    std::mutex mutex_;
    QString failure_;
    qint64 statements_ = 0;
    Clock::time_point end_;
    bool ended_ = false; // between two gates, as what is above
    std::vector<std::jthread> threads_;
};

QString Quoted(const QString& text)
{
    return u'\'' + QString(text).replace(u"'"_s, u"''"_s) + u'\'';
}

// The peer: pgbench with one script for each kind of statement.
class PgBench {
public:
    // With the mix as it is now.
    explicit PgBench(std::shared_ptr<const dialect::Catalog> catalog)
        : translator_(std::move(catalog), dialect::Target::Postgres)
    {
        const QString counted = u"\\set n random(%1, %2)\n"_s;
        const QString waybill = counted.arg(kFirstWaybill).arg(kFirstWaybill + kCopies - 1);
        const QString order = counted.arg(kFirstOrder).arg(kFirstOrder + kCopies - 1);
        Add(waybill + Statement(UsedText(u"?"_s)), kUsed * kLists * Client::mix.lookUps);
        Add(waybill + Statement(DisabledText(u"?"_s)), kDisabled * kLists * Client::mix.lookUps);
        Add(order + Statement(ItemsText(u"?"_s)), kItems * kLists * Client::mix.lookUps);
        if (Client::mix.lists > 0) {
            for (const Window& window : Client::windows)
                Add(Statement(ListText(window)), kLookUps * Client::mix.lists);
        }
        if (Client::mix.saves > 0)
            Add(SaveScript(), kLookUps * kLists * Client::mix.saves);
    }

    // `protocol`: simple or extended; transactions that take turns on a connection cannot prepare anything.
    double Rate(int seconds, const QString& uri, const QString& protocol)
    {
        QProcess pgbench;
        QString program = u"/usr/lib/postgresql/15/bin/pgbench"_s;
        if (!QFile::exists(program))
            program = QStandardPaths::findExecutable(u"pgbench"_s);
        pgbench.start(program,
            QStringList{u"-n"_s, u"-M"_s, protocol, u"-c"_s, QString::number(kClients), u"-j"_s, u"2"_s,
                u"-T"_s, QString::number(seconds)}
                + scripts_ + QStringList{uri});
        pgbench.waitForFinished(-1);
        const QString output = QString::fromUtf8(pgbench.readAllStandardOutput());
        static const QRegularExpression kRate(u"tps = ([0-9.]+)"_s);
        static const QRegularExpression kFailed(u"number of failed transactions: 0 "_s);
        const auto rate = kRate.match(output);
        if (pgbench.exitCode() != 0 || !rate.hasMatch() || !kFailed.match(output).hasMatch())
            throw wire::Error(wire::ErrorKind::Usage,
                u"pgbench: "_s + output + QString::fromUtf8(pgbench.readAllStandardError()));
        return rate.captured(1).toDouble();
    }

private:
    void Add(const QString& script, int weight)
    {
        const QString path = folder_.filePath(u"%1.sql"_s.arg(scripts_.size()));
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(script.toUtf8());
        scripts_ += {u"-f"_s, path + u'@' + QString::number(weight)};
    }

    // The server's own translation; what was "?" becomes the counted number, everything else stands in it.
    QString Statement(const QString& text)
    {
        static constexpr const char* kTypes[] = {"text", "int8", "float8", "timestamp"};
        const dialect::Translated translated = translator_.Translate(text);
        const std::vector<dialect::Parameter>& parameters = translated.translation->parameters;
        QString sql = QString::fromStdString(translated.translation->sql);
        for (size_t i = parameters.size(); i-- > 0;) {
            const QString type = QString::fromLatin1(kTypes[int(parameters[i].type) - 1]);
            const wire::Value& value = translated.literals[size_t(parameters[i].literal)];
            const QString said = wire::ToText(value) == u"?"_s ? u":n"_s : Quoted(wire::ToText(value));
            sql.replace(u'$' + QString::number(i + 1), said + u"::"_s + type);
        }
        return sql.replace(u'\n', u' ') + u";\n"_s;
    }

    // What the server sends for a save of five rows, one statement after the other. The old values are not
    // known here: that they differ is as much work to find out as that they are the same.
    static QString SaveScript()
    {
        QString script =
            u"\\set serial random(1, 1000000000000)\n\\set v random(1, 1000000000)\nbegin;\n"
            "select account, outcome from zelmor_outcome where client = 'pgbench' and serial = :serial;\n"
            "savepoint zelmor_rows;\n"_s;
        for (int row = 0; row < kRowsASave; ++row) {
            script =
                u"\\set k%1 %2 + :client_id * %3 + %1\n"_s.arg(row).arg(kFirstPgbenchOrder).arg(kRowsASave)
                + script;
            script +=
                u"with written as (update tab_zelmor_bill set rec_goods_man = :v, message = :v, remark = :v "
                "where tx_logistic_id = :k%1::text and status is not distinct from 1 and prepare_site is not "
                "distinct from ';A;' and rec_site is not distinct from 'A' and rec_goods_man is distinct "
                "from "
                ":v::text and message is distinct from :v::text and remark is distinct from :v::text "
                "returning "
                "tx_logistic_id) insert into zelmor_audit(audit_date, account, employee_name, peer, "
                "table_name, "
                "action, row_key, fields) select localtimestamp(0), 'benbu', 'pgbench', '127.0.0.1:50000', "
                "'tab_zelmor_bill', 'update', :k%1::text, "
                "'{\"REC_GOODS_MAN\":[\"1\",\"2\"],\"MESSAGE\":[\"1\",\"2\"],\"REMARK\":[\"1\",\"2\"]}' from "
                "written;\n"_s.arg(row);
        }
        return script
            + u"release savepoint zelmor_rows;\n"
              "insert into zelmor_outcome(client, serial, account, apply_time, outcome) values('pgbench', "
              ":serial, "
              "'benbu', 1, 'AAAAEnicY2BgYGJgYGAGYhYgZgViNiBmBwAEfgAk');\ncommit;\n"_s;
    }

    QTemporaryDir folder_;
    dialect::Translator translator_;
    QStringList scripts_;
};

// Orders whose numbers can be counted, outside of every list.
void CopyOrders(const PostgresDatabase& database, const dialect::Catalog& catalog)
{
    const QStringList given{
        u"tx_logistic_id"_s, u"bill_code"_s, u"bl_dispart"_s, u"status"_s, u"prepare_site"_s, u"rec_site"_s};
    QStringList others;
    for (const dialect::CatalogColumn& column : catalog.Find(u"tab_zelmor_bill")->columns) {
        if (!given.contains(column.name.toLower()))
            others.append(column.name.toLower());
    }
    database.Run(
        u"insert into tab_zelmor_bill(%1, %2) select (%3 + n)::text, (%4 + n)::text, 0, 1, ';A;', 'A', %2 "
        "from (select *, row_number() over () - 1 as n from tab_zelmor_bill limit %5) a"_s
            .arg(given.join(u", "_s), others.join(u", "_s))
            .arg(kFirstOrder)
            .arg(kFirstWaybill)
            .arg(kCopies));
    database.Run(u"vacuum analyze"_s);
}

// An account for each desk.
void AddAccounts(const PostgresDatabase& database)
{
    server::Options options;
    options.open = storage::PostgresAt(database.Uri());
    server::ApplicationServer server(options);
    const QString employee = server.Accounts().front().employeeCode;
    for (int number = 0; number < 2 * kClients; ++number)
        server.AddAccount({AccountOf(number), demo::DemoPassword(), employee, u"2"_s, u"111"_s,
            server::Role::Headquarters});
}

// With so many orders in each.
std::vector<Window> FindWindows(TSocketConnectionEx& connection)
{
    TClientDataSetEx orders;
    orders.SetRemoteServer(&connection);
    orders.SetCommandText(
        u"select a.CREATE_DATE from tab_zelmor_bill a where a.bl_dispart=1 order by a.CREATE_DATE"_s);
    orders.Open();
    std::vector<Window> windows;
    for (int i = 0; i < kLists; ++i) {
        const int first = orders.RecordCount() / (kLists + 1) * (i + 1);
        windows.push_back({orders.ViewText(first, 0), orders.ViewText(first + kRowsAList - 1, 0)});
    }
    return windows;
}

double Percentile(std::vector<double> values, double share)
{
    const auto at = values.begin() + std::ptrdiff_t(double(values.size() - 1) * share);
    std::ranges::nth_element(values, at);
    return *at;
}

void Run(int seconds, int rounds)
{
    const PostgresDatabase database;
    const QStringList options{u"--storage"_s, database.Uri(), u"--connections"_s,
        QString::number(connections), u"--log-level"_s, u"warn"_s, u"--demo"_s, u"medium"_s};
    std::fputs("making a database of 100,000 orders …\n", stderr);
    const ServerProcess server({}, options);
    TestAuthority authority;
    const TestAuthority::Files files = authority.Issue();
    const ServerProcess tlsServer(
        {}, options + QStringList{u"--tls-certificate"_s, files.certificates, u"--tls-key"_s, files.key});
    const auto catalog = storage::PostgresAt(database.Uri())({})->Catalog();
    CopyOrders(database, *catalog);
    AddAccounts(database);
    TConnectOptions way;
    way.addresses = {{u"127.0.0.1"_s, server.Port()}};
    TConnectOptions tlsWay;
    tlsWay.addresses = {{u"127.0.0.1"_s, tlsServer.Port()}};
    tlsWay.tls = TTlsUse::Always;
    tlsWay.caFile = authority.CaFile();
    {
        TSocketConnectionEx connection;
        connection.SetTransport(MakeTcpTransport(way));
        connection.Open(demo::Logins().front().account, demo::DemoPassword());
        Client::windows = FindWindows(connection);
    }
    const PgBouncer bouncer(database.Uri(), connections);
    Crowd plain(way, 0);
    Crowd tls(tlsWay, kClients);
    const auto plainRate = [&] { return plain.Rate(seconds); };
    const auto each = [](double perSecond) {
        return QString::number(perSecond, 'f', 0) + u" statements/s"_s;
    };
    // Against the protocol that suits the peer better.
    const auto against = [&](const QString& work, double target) {
        PgBench pgbench(catalog);
        const auto by = [&](const QString& protocol) {
            return [&pgbench, &bouncer, seconds, protocol] {
                return pgbench.Rate(seconds, bouncer.Uri(), protocol);
            };
        };
        const auto simple = by(u"simple"_s);
        const auto extended = by(u"extended"_s);
        const bool prefersSimple = simple() > extended();
        const Comparison rate = Compare(rounds, plainRate, prefersSimple ? simple : extended);
        PrintRateRow(work, each(rate.subject),
            u"pgbench by way of PgBouncer (%1 protocol), %2 server connections: "_s
                    .arg(prefersSimple ? u"simple"_s : u"extended"_s)
                    .arg(connections)
                + each(rate.peer),
            rate.ratio, target);
    };
    PrintHead();
    const Mix mix = Client::mix;
    if (mix.lookUps > 0 && mix.lists + mix.saves > 0) {
        Client::mix = {mix.lookUps, 0, 0};
        against(u"%1 clients: look-ups on PostgreSQL"_s.arg(kClients), 1);
        Client::mix = mix;
        plain.lookUps.clear();
    }
    against(
        u"%1 clients: look-ups, lists of %2 rows, saves of %3 (%4 : %5 : %6) on PostgreSQL"_s.arg(kClients)
            .arg(kRowsAList)
            .arg(kRowsASave)
            .arg(mix.lookUps)
            .arg(mix.lists)
            .arg(mix.saves),
        mix.lists + mix.saves > 0 ? 1.2 : 1);
    if (Client::mix.lookUps > 0) {
        const double median = Percentile(plain.lookUps, 0.5);
        const double slow = Percentile(plain.lookUps, 0.99);
        PrintRow(u"99th percentile of a look-up in it"_s, Milliseconds(slow),
            u"median: "_s + Milliseconds(median), slow / median, 8);
    }
    const Comparison encrypted = Compare(
        rounds, [&] { return tls.Rate(seconds); }, plainRate);
    PrintRateRow(u"the same with TLS"_s, each(encrypted.subject), u"plain: "_s + each(encrypted.peer),
        encrypted.ratio, 0.8);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    try {
        const QStringList weights = arguments.value(3).split(u':');
        if (weights.size() == 3)
            Client::mix = {weights[0].toInt(), weights[1].toInt(), weights[2].toInt()};
        connections = arguments.value(4, QString::number(connections)).toInt();
        Run(arguments.value(1, u"5"_s).toInt(), arguments.value(2, u"5"_s).toInt());
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
