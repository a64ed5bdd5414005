#include "server/main/Commands.h"
#include "server/main/OpenStorage.h"
#include "server/main/ServiceManager.h"
#include "server/main/Settings.h"
#include "server/main/StatusPage.h"

#include "server/monitoring/MetricsPort.h"
#include "server/monitoring/MonitoredSession.h"
#include "server/monitoring/Process.h"
#include "server/net/Listener.h"

#include <QCoreApplication>
#include <QTimer>

#include <csignal>

#ifdef __linux__
#include <sched.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace server {
namespace {

constexpr int kSignalPoll = 100; // milliseconds
constexpr int kTidying = 3600'000; // milliseconds
constexpr qint64 kLongTime = 7 * 24 * 3600; // seconds: the longest that any patience may be set to

volatile std::sig_atomic_t stopRequested = 0;

void RequestStop(int signal)
{
    stopRequested = 1;
    std::signal(signal, SIG_DFL); // the second one means it
}

// A request is a few short pieces of work, each begun by waking a thread. As batch threads, woken ones wait
// for a free processor instead of interrupting whoever woke them, the database for instance; more requests a
// second are served so. Threads inherit this.
void TakeTurns() noexcept
{
#ifdef SCHED_BATCH
    const sched_param none{};
    sched_setscheduler(0, SCHED_BATCH, &none); // forbidden, it goes as it went before
#endif
}

#ifdef SIGHUP
volatile std::sig_atomic_t reloadRequested = 0;

void RequestReload(int)
{
    reloadRequested = 1;
}
#endif

// While this lives, what Qt and the storages say through Qt becomes lines of the log.
class QtMessages {
public:
    explicit QtMessages(monitoring::Log& log)
    {
        log_ = &log;
        qInstallMessageHandler(Write);
    }
    ~QtMessages() { qInstallMessageHandler(nullptr); }
    Q_DISABLE_COPY(QtMessages)

private:
    static void Write(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        using monitoring::LogLevel;
        const LogLevel level = type == QtDebugMsg ? LogLevel::Debug
            : type == QtInfoMsg                   ? LogLevel::Info
            : type == QtWarningMsg                ? LogLevel::Warn
                                                  : LogLevel::Error;
        log_->Write(level, "message",
            {{"from", context.category != nullptr ? context.category : ""}, {"message", message}});
    }
    static inline monitoring::Log* log_ = nullptr; // Qt's handler takes nothing along
};

monitoring::MonitorPtr NewMonitor(const Settings& settings)
{
    const QString level = settings.Value(u"log-level"_s);
    const QString format = settings.Value(u"log-format"_s);
    const auto logLevel = level.isEmpty() ? monitoring::LogLevel::Info : monitoring::ParseLogLevel(level);
    const auto logFormat =
        format.isEmpty() ? monitoring::LogFormat::Text : monitoring::ParseLogFormat(format);
    if (!logLevel)
        throw UsageError(u"--log-level is debug, info, warn, error or off, not “%1”"_s.arg(level));
    if (!logFormat)
        throw UsageError(u"--log-format is text or json, not “%1”"_s.arg(format));
    return std::make_shared<monitoring::Monitor>(*logLevel, *logFormat);
}

Options ReadOptions(const Settings& settings, const monitoring::MonitorPtr& monitor)
{
    Options options = StorageOptions(settings);
    options.demo = settings.Value(u"demo"_s);
    if (settings.IsSet(u"now"_s)) {
        options.now = wire::DateTime::Parse(settings.Value(u"now"_s));
        if (!options.now)
            throw UsageError(u"--now takes a time such as \"2026-03-14 09:30:00\""_s);
    }
    options.maxRows = settings.Number(u"max-rows"_s, options.maxRows, 1, INT_MAX);
    options.maxSeconds =
        static_cast<int>(settings.Number(u"statement-timeout"_s, options.maxSeconds, 1, kLongTime));
    options.waitSeconds =
        static_cast<int>(settings.Number(u"wait-timeout"_s, options.waitSeconds, 1, kLongTime));
    options.savedBytesADay =
        settings.Number(u"saved-bytes-per-day"_s, options.savedBytesADay, qint64(1) << 20, qint64(1) << 40);
    options.diskReserve = settings.Number(u"disk-reserve"_s, options.diskReserve, 0, qint64(1) << 40);
    options.onRefusedRows = [monitor](const RefusedRows& rows) {
        monitor->Refuse(RefusalReason::Site,
            {{"account", rows.who.account}, {"site", rows.who.site}, {"peer", rows.peer},
                {"table", rows.table}, {"rows", rows.count}, {"first_row", rows.firstRow}});
    };
    options.onProgress = [monitor, last = QString(), lastPercent = -1](
                             const QString& stage, int percent) mutable {
        if (std::exchange(last, stage) != stage || percent / 10 != lastPercent / 10)
            monitor->log.Info("demo_data", {{"stage", stage}, {"percent", percent}});
        lastPercent = percent;
    };
    return options;
}

ListenerOptions ReadListenerOptions(const Settings& settings, const monitoring::MonitorPtr& monitor)
{
    const Endpoint endpoint = settings.Address(u"listen"_s, Endpoint().port);
    const auto milliseconds = [&settings](const QString& name, int otherwise) {
        return static_cast<int>(settings.Number(name, otherwise / 1000, 1, kLongTime) * 1000);
    };
    ListenerOptions options;
    options.address = endpoint.address;
    options.port = endpoint.port;
    options.plainNetwork = settings.Flag(u"plain-network"_s);
    options.maxConnections =
        static_cast<int>(settings.Number(u"max-sessions"_s, options.maxConnections, 1, 100'000));
    options.loginTimeout = milliseconds(u"login-timeout"_s, options.loginTimeout);
    options.idleTimeout = milliseconds(u"idle-timeout"_s, options.idleTimeout);
    options.stopTimeout = milliseconds(u"stop-timeout"_s, options.stopTimeout);
    options.maxPerAccount =
        static_cast<int>(settings.Number(u"max-sessions-per-account"_s, options.maxPerAccount, 0, 100'000));
    options.maxPerAddress =
        static_cast<int>(settings.Number(u"max-sessions-per-address"_s, options.maxPerAddress, 0, 100'000));
    options.maxNewcomers =
        static_cast<int>(settings.Number(u"max-newcomers"_s, options.maxNewcomers, 1, 100'000));
    options.maxRequestBytes = static_cast<quint32>(settings.Number(
        u"max-request-bytes"_s, wire::kMaxRequestBody, wire::kMaxLoginBody, wire::kMaxRequestBody));
    options.requestMemory =
        settings.Number(u"request-memory"_s, options.requestMemory, qint64(64) << 20, qint64(1) << 40);
    options.tls = {settings.Value(u"tls-certificate"_s), settings.Value(u"tls-key"_s)};
    options.monitor = monitor;
    return options;
}

std::optional<Endpoint> ReadMetricsEndpoint(const Settings& settings)
{
    if (!settings.IsSet(u"metrics"_s))
        return std::nullopt;
    const Endpoint endpoint = settings.Address(u"metrics"_s, kMetricsPort);
    if (!endpoint.address.isLoopback())
        throw UsageError(u"--metrics takes a loopback address such as 127.0.0.1:%1"_s.arg(kMetricsPort));
    return endpoint;
}

// Warns at every start of a password that others can read.
void WarnOfOpenSecrets(const Settings& settings, monitoring::Log& log)
{
    if (!HasPassword(settings.Value(u"storage"_s)))
        return;
    if (settings.IsOnCommandLine(u"storage"_s))
        log.Warn("open_secret",
            {{"message",
                "every user of this machine sees the password in --storage; put it into a file for "
                "--config"}});
    else if (settings.File().IsOpenToAll())
        log.Warn("open_secret",
            {{"message", "every user of this machine may read the password in the file"},
                {"file", settings.File().Path()}});
}

void Tidy(ApplicationServer& server, monitoring::Log& log)
{
    try {
        server.Tidy();
    } catch (const wire::Error& error) {
        log.Warn("tidying_failed", {{"message", error.Message()}});
    }
}

void CatchSignals()
{
    std::signal(SIGINT, RequestStop);
    std::signal(SIGTERM, RequestStop);
#ifdef SIGHUP
    std::signal(SIGHUP, RequestReload);
#endif
}

// Until a signal tells to stop.
void RunUntilStopped(ApplicationServer& server, Listener& listener, monitoring::Log& log)
{
    QTimer signals;
    QObject::connect(&signals, &QTimer::timeout, &signals, [&listener] {
        if (stopRequested != 0)
            QCoreApplication::quit();
#ifdef SIGHUP
        if (reloadRequested != 0) {
            reloadRequested = 0;
            NotifyReloading();
            listener.ReloadCertificates();
            NotifyServiceManager("READY=1");
        }
#endif
    });
    signals.start(kSignalPoll);
    QTimer tidying;
    QObject::connect(&tidying, &QTimer::timeout, &tidying, [&] { Tidy(server, log); });
    tidying.start(kTidying);
    QCoreApplication::exec();
}

} // namespace

int Serve(const QStringList& arguments)
{
    Settings settings(
        u"Serves orders to host clients over TCP until it is told to stop (SIGINT, SIGTERM). SIGHUP makes it "
        "read its certificate again.\nOther commands, each with its --help:\n"
        "  zelmor-server account   accounts and their passwords\n"
        "  zelmor-server status    what a running server is doing\n"
        "  zelmor-server backup    a copy of the embedded database"_s,
        {u"config"_s, u"data"_s, u"storage"_s, u"connections"_s, u"demo"_s, u"now"_s, u"listen"_s,
            u"tls-certificate"_s, u"tls-key"_s, u"plain-network"_s, u"max-sessions"_s,
            u"max-sessions-per-account"_s, u"max-sessions-per-address"_s, u"max-newcomers"_s,
            u"wait-timeout"_s, u"max-rows"_s, u"max-request-bytes"_s, u"request-memory"_s,
            u"saved-bytes-per-day"_s, u"disk-reserve"_s, u"statement-timeout"_s, u"slow-statement"_s,
            u"login-timeout"_s, u"idle-timeout"_s, u"stop-timeout"_s, u"metrics"_s, u"log-level"_s,
            u"log-format"_s});
    settings.Read(arguments);
    settings.RequireNoWords();
    TakeTurns();

    const monitoring::MonitorPtr monitor = NewMonitor(settings);
    monitoring::Log& log = monitor->log;
    const QtMessages qtMessages(log);
    const ListenerOptions listenerOptions = ReadListenerOptions(settings, monitor);
    const std::chrono::milliseconds slow(settings.Number(u"slow-statement"_s, 1000, 0, kLongTime * 1000));
    const std::optional<Endpoint> metricsEndpoint = ReadMetricsEndpoint(settings);
    // Before a database is made or filled.
    RequireServable(listenerOptions);
    const Options options = ReadOptions(settings, monitor);
    log.Info("starting", {{"version", monitoring::Version()}});
    WarnOfOpenSecrets(settings, log);

    ApplicationServer server(options);
    log.Info("database", {{"storage", server.StorageDescription()}, {"connections", options.connections}});
    RegisterPool(monitor->metrics.All(), server);
    Listener listener(
        [&](const QString& peer) {
            return std::make_unique<monitoring::MonitoredSession>(
                server.NewSession(peer), peer, monitor, slow);
        },
        listenerOptions);
    listener.Start();
    const StatusPage status(server, listener, listenerOptions, *monitor);
    std::optional<monitoring::MetricsPort> metrics;
    if (metricsEndpoint)
        metrics.emplace(
            metricsEndpoint->address, metricsEndpoint->port, [&] { return monitor->metrics.All().Render(); },
            [&] { return status.Text(); });
    log.Info("listening",
        {{"address", listenerOptions.address.toString()}, {"port", listener.Port()},
            {"metrics", metrics ? metrics->Port() : 0}});
    CatchSignals(); // before anybody is told that there is something to reload
    NotifyServiceManager("READY=1");

    RunUntilStopped(server, listener, log);
    NotifyServiceManager("STOPPING=1");
    log.Info("stopping", {{"sessions", listener.ConnectionCount()}});
    metrics.reset();
    listener.Stop();
    log.Info("stopped");
    return 0;
}

} // namespace server
