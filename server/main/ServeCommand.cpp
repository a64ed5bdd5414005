#include "server/main/Arguments.h"
#include "server/main/Commands.h"

#include "server/net/Listener.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr int kSignalPoll = 100; // milliseconds

volatile std::sig_atomic_t stopRequested = 0;

void RequestStop(int signal)
{
    stopRequested = 1;
    std::signal(signal, SIG_DFL); // the second one means it
}

void Log(const QString& line)
{
    // One call, so that lines of different threads do not mix.
    std::fprintf(stderr, "%s %s\n", qUtf8Printable(wire::DateTime::Now().ToText()), qUtf8Printable(line));
}

Options ReadOptions(const QCommandLineParser& parser)
{
    Options options;
    options.dataDir = RequiredValue(parser, u"data"_s);
    options.demo = parser.value(u"demo"_s);
    if (parser.isSet(u"now"_s)) {
        options.now = wire::DateTime::Parse(parser.value(u"now"_s));
        if (!options.now)
            throw UsageError(u"--now takes a time such as \"2026-03-14 09:30:00\""_s);
    }
    options.onProgress = [last = QString(), lastPercent = -1](const QString& stage, int percent) mutable {
        if (std::exchange(last, stage) != stage || percent / 10 != lastPercent / 10)
            Log(u"demo data: %1, %2 %"_s.arg(stage).arg(percent));
        lastPercent = percent;
    };
    return options;
}

} // namespace

int Serve(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Serves orders to host clients over TCP until it is told to stop "
        "(SIGINT, SIGTERM).\n“zelmor-server account --help” tells about accounts."_s);
    parser.addOptions({
        {u"data"_s, u"Folder of the database; made when it does not exist."_s, u"DIR"_s},
        {u"demo"_s, u"Fills a new database: small, medium, large or a number of orders."_s, u"SIZE"_s},
        {u"listen"_s, u"Where to listen; 127.0.0.1:8866 unless given."_s, u"ADDR:PORT"_s},
        {u"plain-network"_s, u"Serve other machines although connections are not enciphered."_s},
        {u"now"_s, u"Sets the server's clock, which runs on from there."_s, u"\"YYYY-MM-DD HH:MM:SS\""_s},
    });
    ParseArguments(parser, arguments);
    if (!parser.positionalArguments().isEmpty())
        throw UsageError(u"“%1” is not understood"_s.arg(parser.positionalArguments().constFirst()));
    const Endpoint endpoint = ParseEndpoint(parser.value(u"listen"_s));

    ListenerOptions options;
    options.address = endpoint.address;
    options.port = endpoint.port;
    options.plainNetwork = parser.isSet(u"plain-network"_s);
    options.log = Log;
    // Before a database is made or filled.
    RequireServable(options);
    ApplicationServer server(ReadOptions(parser));
    Listener listener([&server](const QString& peer) { return server.NewSession(peer); }, options);
    std::signal(SIGINT, RequestStop);
    std::signal(SIGTERM, RequestStop);
    listener.Start();
    Log(u"listening on %1:%2"_s.arg(endpoint.address.toString()).arg(listener.Port()));

    QTimer signals;
    QObject::connect(&signals, &QTimer::timeout, &signals, [] {
        if (stopRequested != 0)
            QCoreApplication::quit();
    });
    signals.start(kSignalPoll);
    QCoreApplication::exec();
    Log(u"stopping: %1 clients connected"_s.arg(listener.ConnectionCount()));
    listener.Stop();
    Log(u"stopped"_s);
    return 0;
}

} // namespace server
