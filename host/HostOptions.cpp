#include "host/HostOptions.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

QString DefaultDataDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/zelmor"_s;
}

namespace {

// What may stand on the command line.
struct TCommandLine {
    TCommandLine()
    {
        parser.setApplicationDescription(
            u"Desktop client for the online orders of an express-freight company."_s);
        parser.addOptions(
            {data, demo, now, server, tls, plainNetwork, ca, script, trace, tour, screenshots, paint});
    }

    QCommandLineParser parser;
    QCommandLineOption help = parser.addHelpOption();
    QCommandLineOption data{u"data"_s, u"Folder of the embedded database and the settings."_s, u"DIR"_s};
    QCommandLineOption demo{u"demo"_s,
        u"Size of a new embedded database: small, medium, large or a number of orders."_s, u"SIZE"_s};
    QCommandLineOption now{
        u"now"_s, u"Fixes the embedded server's clock at start-up."_s, u"YYYY-MM-DD HH:MM:SS"_s};
    QCommandLineOption server{u"server"_s,
        u"Offers this server in the login window, or these of one database."_s, u"HOST:PORT,…"_s};
    QCommandLineOption tls{
        u"tls"_s, u"Encrypts the connection always; by default only where it leaves this machine."_s};
    QCommandLineOption plainNetwork{u"plain-network"_s, u"Encrypts nothing, on a network that is trusted."_s};
    QCommandLineOption ca{u"ca"_s,
        u"Authorities (PEM) that the server's certificate must come from, in place of the system's."_s,
        u"FILE"_s};
    QCommandLineOption script{u"script"_s, u"Runs a script that drives the windows."_s, u"FILE.js"_s};
    QCommandLineOption trace{u"trace-sql"_s, u"Writes every SQL text as one JSON line."_s, u"FILE"_s};
    QCommandLineOption tour{u"tour"_s, u"Plays the guided tour."_s};
    QCommandLineOption screenshots{u"screenshots"_s, u"Folder for the pictures of scripts."_s, u"DIR"_s};
    QCommandLineOption paint{
        u"paint-and-quit"_s, u"Ends as soon as the login window is painted, for measuring."_s};
};

// Which server is asked, and how its connection is made safe.
std::optional<TOptionsProblem> ReadServer(const TCommandLine& line, THostOptions& options)
{
    const QCommandLineParser& parser = line.parser;
    if (parser.isSet(line.server)) {
        const auto servers = ParseServerAddresses(parser.value(line.server));
        if (!servers)
            return TOptionsProblem{
                u"--server takes an address as HOST:PORT, or several with commas between."_s};
        options.servers = *servers;
    }
    if (parser.isSet(line.tls) && parser.isSet(line.plainNetwork))
        return TOptionsProblem{u"--tls and --plain-network exclude one another."_s};
    if (parser.isSet(line.tls) || parser.isSet(line.plainNetwork))
        options.tls = parser.isSet(line.tls) ? TTlsUse::Always : TTlsUse::Never;
    if (parser.isSet(line.ca))
        options.caFile = QFileInfo(parser.value(line.ca)).absoluteFilePath();
    return std::nullopt;
}

void ChooseDataDir(const TCommandLine& line, THostOptions& options)
{
    options.dataDir = DefaultDataDir();
    if (line.parser.isSet(line.data)) {
        options.dataDir = QDir(line.parser.value(line.data)).absolutePath();
    } else if (options.tour) {
        // The tour changes orders: it plays on data of its own, the same each time.
        options.dataDir += u"/tour"_s;
        options.freshData = true;
        if (!options.now)
            options.now = wire::DateTime::FromParts(2026, 11, 20, 15, 30, 0);
    }
}

} // namespace

std::optional<TOptionsProblem> ReadOptions(const QStringList& arguments, bool headless, THostOptions& options)
{
    TCommandLine line;
    QCommandLineParser& parser = line.parser;
    if (!parser.parse(arguments))
        return TOptionsProblem{parser.errorText()};
    if (parser.isSet(line.help))
        return TOptionsProblem{parser.helpText(), true};
    if (!parser.positionalArguments().isEmpty())
        return TOptionsProblem{u"Unknown argument: "_s + parser.positionalArguments().first()};

    options.script = parser.value(line.script);
    options.tour = parser.isSet(line.tour) || (headless && options.script.isEmpty());
    if (options.tour && !options.script.isEmpty())
        return TOptionsProblem{u"--tour and --script exclude one another."_s};
    options.paintAndQuit = parser.isSet(line.paint);
    options.traceFile = parser.value(line.trace);
    options.screenshots = parser.value(line.screenshots);
    if (options.screenshots.isEmpty())
        options.screenshots = options.tour ? u"tour-screenshots"_s : u"."_s;
    if (parser.isSet(line.demo))
        options.demo = parser.value(line.demo);
    else if (options.tour)
        options.demo = u"small"_s;
    if (parser.isSet(line.now)) {
        options.now = wire::DateTime::Parse(parser.value(line.now));
        if (!options.now)
            return TOptionsProblem{u"--now takes a time as \"2026-01-31 08:30:00\"."_s};
    }
    if (auto problem = ReadServer(line, options))
        return problem;
    ChooseDataDir(line, options);
    return std::nullopt;
}
