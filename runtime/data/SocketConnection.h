#pragma once

#include "runtime/Export.h"
#include "runtime/data/Waiting.h"

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
// transport: in process, or TCP with or without TLS. All of it runs on the caller's thread.
//
// A request that finds the connection broken reconnects, to another server where there are several, and logs
// in again; what is harmless to repeat is sent once more: queries, the clock and apply-updates, which carries
// a name of its own. Queries and saves go on trying for a time, so that a server's restart need not be
// noticed.
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
    QString LoginUser; // kept encrypted on data modules, where it plays no part at run time
    QString LoginPassword;
    // How long a request goes on looking for a server that answers, in milliseconds; a connection attempt
    // that has begun by then is let end. A save's rows were typed by hand: it outlasts the restart of a
    // server that crashed, which takes three seconds.
    int QueryPatience = 2'000;
    int SavePatience = 6'000;

    // Who is told while a request takes long, and may give a query up; not owned, must outlive the
    // connection's use. Without one a request simply blocks.
    void SetWaiting(TWaiting* waiting);
    // Takes another way to the server, replacing host and port; closes the present connection.
    void SetTransport(std::unique_ptr<wire::Transport> transport);

    // Connects and logs in. Raises wire::Error (Connection, Login).
    void Open(const QString& account, const QString& password);
    void Close() noexcept;
    bool Connected() const noexcept;
    const wire::Identity& Identity() const noexcept;
    // Differs between any two logins of the process, also on one object and where one object takes the place
    // of another; logging in again after a break is no other login.
    quint64 LoginSerial() const noexcept;
    // The server's clock as of now: its last reported time moved on by this machine's steady clock; asks the
    // server when it has not reported for a minute. Raises wire::Error.
    wire::DateTime ServerTime();

    // Nobody has answered for a few seconds. Requests then try once and without patience; what asks by
    // itself, without a click, had better not ask.
    bool Unreachable() const noexcept;

    // Raises wire::Error, and EAbort where the user gave a query up. The sink is called before this
    // returns, never after.
    wire::Reply Send(const wire::Request& request, wire::ReplySink& sink);
    // Of the last request, which failed: no server was found to send it to, so nothing can have come of it.
    bool NeverSent() const noexcept;
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
