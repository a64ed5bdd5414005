// Desks work while servers, connections and the database die at random; then the audit table is held against
// what the desks sent and heard.
//
//   zelmor_chaos [--seconds N] [--seed N] [--desks N] [--storage postgres|embedded] [--folder DIR] [--soak]
//
// --soak: half of the desks are at a server that nobody kills, and what it holds at the end must be what it
// held after a quarter of the time.

#include "demo/Generator.h"
#include "siege/chaos/ChaosDesk.h"
#include "siege/chaos/ServerGroup.h"
#include "siege/chaos/Verdict.h"
#include "siege/chaos/WatchedServer.h"
#include "tests/support/Desk.h"
#include "tests/support/ServerProcess.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QRandomGenerator>

#include <algorithm>
#include <cstdio>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace chaos {
namespace {

constexpr int kShared = 120; // orders that every site may take
constexpr double kFaultRate = 0.002; // of frames, at all times
constexpr size_t kProblemsPrinted = 20;
constexpr int kReload = 5'000; // milliseconds between two certificates

const QStringList kSites{u"安徽合肥一部"_s, u"安徽合肥二部"_s, u"安徽合肥三部"_s, u"安徽宣城同行"_s};
const QString kHeadquarters = u"快运本部"_s;
// Columns that desks change.
const QStringList kColumns{u"STATUS"_s, u"PREPARE_SITE"_s, u"REC_SITE"_s, u"DUTY_SITE"_s, u"REC_BILL_MAN"_s,
    u"ACCEPT_DATE"_s, u"REC_GOODS_MAN"_s, u"MESSAGE"_s, u"CANCEL_DESC"_s, u"BL_CANCEL"_s, u"CANCEL_DATE"_s,
    u"CANCEL_SITE"_s, u"CANCEL_MAN"_s, u"BILL_CODE"_s, u"REC_MAN"_s, u"REC_DATE"_s, u"MODIFIER"_s,
    u"MODIFY_CODE"_s, u"MODIFY_SITE"_s, u"REMARK"_s};

struct Plan {
    int seconds = 60;
    quint32 seed = 0;
    int desks = 50;
    ServerGroup::Storage storage = ServerGroup::Storage::Postgres;
    QString folder;
    bool soak = false;
};

States OrdersOf(const ServerGroup& servers)
{
    States states;
    for (const QStringList& row :
        servers.Ask(u"select TX_LOGISTIC_ID, %1 from tab_zelmor_bill"_s.arg(kColumns.join(u", "_s)))) {
        RowState& state = states[row[0]];
        for (qsizetype i = 0; i < kColumns.size(); ++i)
            state[kColumns[i]] = row[i + 1];
    }
    return states;
}

std::vector<AuditEntry> AuditOf(const ServerGroup& servers)
{
    std::vector<AuditEntry> entries;
    for (const QStringList& row :
        servers.Ask(u"select AUDIT_ID, ACCOUNT, ROW_KEY, FIELDS from zelmor_audit order by AUDIT_ID"_s))
        entries.push_back({row[0].toLongLong(), row[1], row[2],
            FieldsFromJson(QJsonDocument::fromJson(row[3].toUtf8()).object())});
    return entries;
}

// What dies, and how often it did.
class Killer {
public:
    Killer(ServerGroup& servers, quint32 seed)
        : servers_(servers)
        , random_(seed)
    {
    }

    void Strike()
    {
        if (deck_.empty())
            Shuffle();
        const Blow blow = deck_.back();
        deck_.pop_back();
        const int server = int(random_() % quint32(servers_.ServerCount()));
        switch (blow) {
        case Blow::CutDesks:
            servers_.Cut(server);
            ++cuts;
            break;
        case Blow::KillServer:
            servers_.Kill(server);
            ++kills;
            break;
        case Blow::StopServer:
            servers_.Terminate(server);
            ++stops;
            break;
        case Blow::CutDatabase:
            backends += servers_.TerminateBackends(1 + int(random_() % 4));
            break;
        case Blow::CrashDatabase:
            servers_.RestartDatabase();
            ++databaseCrashes;
            break;
        }
    }
    // Milliseconds until the next one.
    int Pause() { return 100 + int(random_() % 1'400); }

    int cuts = 0;
    int kills = 0;
    int stops = 0;
    int backends = 0;
    int databaseCrashes = 0;

private:
    enum class Blow { CutDesks, KillServer, StopServer, CutDatabase, CrashDatabase };

    // Each kind in its share, in an order of chance.
    void Shuffle()
    {
        deck_ = {Blow::CutDesks, Blow::CutDesks, Blow::KillServer, Blow::KillServer, Blow::StopServer};
        if (servers_.Cluster())
            deck_.insert(
                deck_.end(), {Blow::CutDatabase, Blow::CutDatabase, Blow::CutDatabase, Blow::CrashDatabase});
        std::shuffle(deck_.begin(), deck_.end(), random_);
    }

    ServerGroup& servers_;
    std::mt19937 random_;
    std::vector<Blow> deck_;
};

ChaosDesk::Settings SettingsOf(const Plan& plan, const ServerGroup& servers, int number,
    const QString& account, const WatchedServer* watched = nullptr)
{
    ChaosDesk::Settings settings;
    settings.account = account;
    // Each desk remembers on its own which server answered last, and begins where its neighbour does not.
    settings.way.addresses = servers.Addresses();
    std::rotate(settings.way.addresses.begin(),
        settings.way.addresses.begin() + number % servers.ServerCount(), settings.way.addresses.end());
    if (watched != nullptr && number % 2 == 1)
        settings.way = watched->Way();
    settings.ledgerPath = plan.folder + u"/desk-%1.log"_s.arg(number, 2, 10, QChar(u'0'));
    settings.number = number;
    settings.seed = plan.seed + quint32(number);
    const QDateTime now = QDateTime::currentDateTime();
    const QString format = u"yyyy-MM-dd HH:mm:ss"_s;
    settings.from = now.addDays(-7).toString(format);
    settings.to = now.addDays(1).toString(format);
    return settings;
}

void LetRun(const Plan& plan, ServerGroup& servers, Killer& killer, WatchedServer* watched)
{
    std::atomic<bool> stop = false;
    std::vector<std::unique_ptr<DeskThread>> desks;
    for (int number = 1; number <= plan.desks; ++number) {
        // One in eight at headquarters, which brings the orders back.
        const QString site = number % 8 == 0 ? kHeadquarters : kSites[number % kSites.size()];
        const ChaosDesk::Settings settings = SettingsOf(plan, servers, number, DemoAccountOf(site), watched);
        desks.push_back(std::make_unique<DeskThread>([settings, &stop] {
            try {
                ChaosDesk(settings).Work(stop);
            } catch (const std::exception& error) {
                std::fprintf(stderr, "desk %d gave up: %s\n", settings.number, error.what());
            }
        }));
    }
    servers.SetFaultRate(kFaultRate, plan.seed);
    QDeadlineTimer nextBlow(2'000);
    QDeadlineTimer nextReload(kReload);
    QDeadlineTimer early(plan.seconds * 250);
    for (const QDeadlineTimer end(plan.seconds * 1'000); !end.hasExpired();) {
        if (nextBlow.hasExpired()) {
            killer.Strike();
            nextBlow = QDeadlineTimer(killer.Pause());
        }
        if (watched != nullptr && nextReload.hasExpired()) {
            watched->Reload();
            nextReload = QDeadlineTimer(kReload);
        }
        if (watched != nullptr && early.hasExpired()) {
            watched->NoteEarly();
            early = QDeadlineTimer(QDeadlineTimer::Forever);
        }
        servers.Supervise();
        QThread::msleep(20);
    }
    if (watched != nullptr)
        watched->NoteLate();
    // What is on its way must come to its end on servers that live.
    servers.SetFaultRate(0, 0);
    stop = true;
    std::atomic<bool> ended = false;
    const DeskThread waiting([&] {
        desks.clear();
        ended = true;
    });
    while (!ended) {
        servers.Supervise();
        QThread::msleep(20);
    }
}

int Report(const Plan& plan, const Verdict& verdict, const Killer& killer, const ServerGroup& servers,
    const WatchedServer* watched)
{
    std::printf("desks                 %d, for %d seconds, seed %u\n", plan.desks, plan.seconds, plan.seed);
    std::printf(
        "killed                %d servers, %d more stopped, %d database connections, the database %d times,\n"
        "                      every connection of a server %d times, and %g %% of all frames met a fault\n",
        killer.kills, killer.stops, killer.backends, killer.databaseCrashes, killer.cuts, kFaultRate * 100);
    std::printf(
        "saves                 %d, of them %d sent more than once\n", verdict.saves, verdict.repeated);
    std::printf("rows acknowledged     %d\n", verdict.accepted);
    std::printf("rows refused          %d\n", verdict.refused);
    std::printf("rows of unknown fate  %d, of them %d stored\n", verdict.unknown, verdict.unknownStored);
    std::printf("errors shown          %d\n", verdict.failures);
    std::printf("longest wait          %.1f s\n", double(verdict.longestWait) / 1000);
    for (size_t i = 0; i < std::min(kProblemsPrinted, verdict.problems.size()); ++i)
        std::printf("WRONG: %s\n", qUtf8Printable(verdict.problems[i]));
    if (verdict.problems.size() > kProblemsPrinted)
        std::printf("WRONG: … and %zu more\n", verdict.problems.size() - kProblemsPrinted);
    bool good = verdict.problems.empty();
    if (watched != nullptr) {
        std::printf("watched server        %s\n", qUtf8Printable(watched->Report()));
        for (const QString& problem : watched->Problems()) {
            std::printf("WRONG: of the watched server: %s\n", qUtf8Printable(problem));
            good = false;
        }
    }
    if (servers.Crashes() > 0) {
        std::printf("WRONG: servers ended %d times although nobody had killed them\n", servers.Crashes());
        good = false;
    }
    if (verdict.accepted == 0 || verdict.refused == 0) {
        std::puts("WRONG: nothing was tested: no rows were acknowledged, or none refused");
        good = false;
    }
    std::printf("verdict               %s; ledgers and server logs are in %s\n",
        good ? "every promise was kept" : "PROMISES WERE BROKEN", qUtf8Printable(plan.folder));
    return good ? 0 : 1;
}

int Run(const Plan& plan)
{
    QDir(plan.folder).removeRecursively();
    if (!QDir().mkpath(plan.folder))
        throw wire::Error(wire::ErrorKind::Usage, u"%1 cannot be made"_s.arg(plan.folder));
    ServerGroup servers(plan.storage, plan.folder, u"small"_s);
    const States before = OrdersOf(servers);
    ChaosDesk(SettingsOf(plan, servers, 0, DemoAccountOf(kHeadquarters))).OfferToAll(kShared, kSites);
    Killer killer(servers, plan.seed);
    std::optional<WatchedServer> watched;
    if (plan.soak)
        watched.emplace(servers.Cluster()->Uri(), plan.folder);
    WatchedServer* const atWork = watched ? &*watched : nullptr;
    LetRun(plan, servers, killer, atWork);
    if (watched)
        watched->Stop();
    servers.CloseDown();

    std::vector<Ledger> ledgers;
    for (int number = 0; number <= plan.desks; ++number)
        ledgers.push_back(ReadLedger(SettingsOf(plan, servers, number, {}).ledgerPath));
    return Report(plan, Judge(ledgers, AuditOf(servers), before, OrdersOf(servers)), killer, servers, atWork);
}

Plan PlanOf(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{u"seconds"_s, u"How long the desks work; 60 unless given."_s, u"N"_s, u"60"_s},
        {u"seed"_s, u"Of chance; another one for each run unless given."_s, u"N"_s},
        {u"desks"_s, u"50 unless given."_s, u"N"_s, u"50"_s},
        {u"storage"_s, u"postgres (two servers) unless given; or embedded (one)."_s, u"KIND"_s,
            u"postgres"_s},
        {u"soak"_s, u"Half of the desks at a server that nobody kills; needs PostgreSQL."_s},
        {u"folder"_s, u"For ledgers and logs; what is in it is deleted."_s, u"DIR"_s, u"chaos"_s}});
    parser.process(arguments);
    Plan plan;
    plan.seconds = parser.value(u"seconds"_s).toInt();
    plan.desks = parser.value(u"desks"_s).toInt();
    plan.seed =
        parser.isSet(u"seed"_s) ? parser.value(u"seed"_s).toUInt() : QRandomGenerator::system()->generate();
    plan.storage = parser.value(u"storage"_s) == u"embedded" ? ServerGroup::Storage::Embedded
                                                             : ServerGroup::Storage::Postgres;
    plan.soak = parser.isSet(u"soak"_s);
    if (plan.soak && plan.storage == ServerGroup::Storage::Embedded)
        throw wire::Error(wire::ErrorKind::Usage, u"--soak needs --storage postgres"_s);
    plan.folder = QDir(parser.value(u"folder"_s)).absolutePath();
    return plan;
}

} // namespace
} // namespace chaos

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    try {
        const chaos::Plan plan = chaos::PlanOf(QCoreApplication::arguments());
        std::printf("seed %u\n", plan.seed);
        std::fflush(stdout);
        return chaos::Run(plan);
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "chaos: %s\n", error.what());
        return 2;
    }
}
