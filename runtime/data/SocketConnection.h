#pragma once

#include "runtime/Export.h"
#include "wire/Messages.h"

#include <QObject>

#include <functional>
#include <memory>

// What the trace sees of one request, after its reply or failure.
struct TTraceEntry {
    QString kind; // "login", "query", "execute", "apply"
    QString text; // the SQL text; never a password
    qint64 rows = 0; // read, changed or sent
    qint64 microseconds = 0;
    QString error; // empty on success
};

// A connection to the application server: sends one request and waits for its reply. The way there is a
// transport: in process, TCP, later TLS. All of it runs on the caller's thread.
//
// A request that finds the connection broken tries to reconnect (and log in again) once before it fails, when
// the request is harmless to repeat: queries, the clock and apply-updates, which carries a name of its own.
class RUNTIME_EXPORT TSocketConnectionEx : public QObject {
    Q_OBJECT
public:
    explicit TSocketConnectionEx(QObject* owner = nullptr);
    ~TSocketConnectionEx() override;

    // Where the server is; used by `Open` when no transport was set.
    QString Host;
    int Port = 8866;
    QString ServerName;
    QString ServerGUID;
    QString LoginUser; // kept enciphered on data modules, where it plays no part at run time
    QString LoginPassword;

    // Takes another way to the server, replacing host and port; closes the present connection.
    void SetTransport(std::unique_ptr<wire::Transport> transport);

    // Connects and logs in. Raises wire::Error (Connection, Login).
    void Open(const QString& account, const QString& password);
    void Close() noexcept;
    bool Connected() const noexcept;
    const wire::Identity& Identity() const noexcept;
    // The server's clock as of now: its last reported time moved on by this machine's steady clock; asks the
    // server when it has not reported for a minute. Raises wire::Error.
    wire::DateTime ServerTime();

    // Raises wire::Error. The sink is called before this returns, never after.
    wire::Reply Send(const wire::Request& request, wire::ReplySink& sink);
    // A name for the next apply-updates; keep it until its outcome is known.
    wire::ApplyName NextApplyName();

    // Called after every request, on the caller's thread.
    std::function<void(const TTraceEntry&)> OnTrace;

Q_SIGNALS:
    void ConnectedChanged(bool connected);

private:
    class Private;
    std::unique_ptr<Private> d_;
};

// The way over TCP: host name or address, and port. Makes no connection before `Connect`. Timeouts are in
// milliseconds; a reply may take `replyTimeout` from its last received byte.
RUNTIME_EXPORT std::unique_ptr<wire::Transport> MakeTcpTransport(
    const QString& host, int port, int connectTimeout = 10'000, int replyTimeout = 120'000);
