// Plays every attack that once went through against a server of its own; fails where one does again.
//
//   zelmor_attack [--brief] [--only NAME] [--storage embedded|postgres|odbc] [--log FILE]

#include "siege/attack/Attacks.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace attack {

const std::vector<Attack>& Attacks()
{
    static const std::vector<Attack> attacks{
        {"crash", Crash},
        {"freeze", Freeze},
        {"translation", TranslateWithoutEnd},
        {"memory", FillTheMemory},
        {"shapes", PrepareWithoutEnd},
        {"statements", StarveByStatements},
        {"saves", StarveBySaving},
        {"readers", StarveByNotReading},
        {"connections", OccupyConnections},
        {"passwords", GuessPasswords},
        {"once", SaveTwice},
        {"leaving", LeaveWhileSaving},
        {"rights", WriteWhatIsOthers},
        {"files", MisplaceFilesAndKeys},
    };
    return attacks;
}

namespace {

int Run(bool brief, const QString& only, Target::Storage storage, const QString& log)
{
    int through = 0;
    const auto tell = [&](const char* name, const Result& result, double seconds) {
        through += result.held ? 0 : 1;
        std::printf("%-12s %-14s %5.1f s  %s\n", name, result.held ? "held" : "WENT THROUGH", seconds,
            qUtf8Printable(result.what));
        std::fflush(stdout);
    };
    Target target(brief ? 1 : 3, storage, log);
    for (const Attack& attack : Attacks()) {
        if (!only.isEmpty() && only != QLatin1StringView(attack.name))
            continue;
        QElapsedTimer time;
        time.start();
        Result result;
        try {
            result = attack.play(target, brief);
        } catch (const wire::Error& error) {
            result = {false, u"could not be played: "_s + error.Message()};
        }
        if (!target.IsAlive())
            result = {false, u"the server died; "_s + result.what};
        tell(attack.name, result, double(time.elapsed()) / 1000);
        if (!target.IsAlive())
            return 1;
    }
    // Whatever runs, a stop is a stop.
    std::vector<std::unique_ptr<Attacker>> busy;
    for (int i = 0; i < 4; ++i) {
        busy.push_back(std::make_unique<Attacker>(target.Port()));
        busy.back()->LogIn(u"hefei1"_s);
        busy.back()->Send(wire::EncodeRequest(
            Query(u"select a.* from tab_zelmor_bill a, tab_zelmor_bill b, tab_zelmor_bill c"_s), 2));
    }
    const double seconds = target.Stop();
    tell("stop", {seconds < 10, u"SIGTERM while statements ran and nobody read"_s}, seconds);
    return through == 0 ? 0 : 1;
}

} // namespace
} // namespace attack

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    rlimit files;
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{u"brief"_s, u"In some seconds, with fewer clients."_s},
        {u"only"_s, u"This attack alone."_s, u"NAME"_s},
        {u"storage"_s, u"embedded unless given; postgres; or odbc, to PostgreSQL."_s, u"KIND"_s,
            u"embedded"_s},
        {u"log"_s, u"For the server's log."_s, u"FILE"_s}});
    parser.process(application);
    const QStringList kinds{u"embedded"_s, u"postgres"_s, u"odbc"_s}; // as Target has them
    const qsizetype storage = kinds.indexOf(parser.value(u"storage"_s));
    if (storage < 0)
        parser.showHelp(2);
    try {
        return attack::Run(parser.isSet(u"brief"_s), parser.value(u"only"_s),
            attack::Target::Storage(storage), parser.value(u"log"_s));
    } catch (const wire::Error& error) {
        std::fprintf(stderr, "attack: %s\n", error.what());
        return 2;
    }
}
