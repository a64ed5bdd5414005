#pragma once

#include "server/net/Listener.h"

#include <QHash>

#include <atomic>
#include <mutex>

namespace storage {
class SharedBudget;
}

namespace server {

class Certificates;
class ClientChannel;

// How many sessions each account has. Safe to use from any thread.
class AccountSessions {
public:
    // False where the account has as many as it may. Unless the options say how many that is, it is half of
    // all clients, and the last quarter of them is for accounts that have no more than a desk needs.
    bool Enter(const QString& account, const ListenerOptions& options);
    // Does nothing for an account that has none.
    void Leave(const QString& account);

private:
    std::mutex mutex_;
    QHash<QString, int> counts_;
    int all_ = 0;
};

// What the connections of one listener share; outlives them.
struct ClientContext {
    const SessionFactory& newSession;
    const ListenerOptions& options;
    const Certificates* certificates; // null: nothing is encrypted
    AccountSessions& accounts;
    storage::SharedBudget& requests;
    storage::SharedBudget& replies;
};

// One client: `Run` on its thread, everything else from the listener's.
class ClientConnection {
public:
    // Takes the descriptor over when `Run` begins. Where it is not `welcome`, the client is told that there
    // are too many.
    ClientConnection(qintptr descriptor, const ClientContext& context, bool welcome);

    // Reads and answers until either side ends the connection; logs why when it was not the client's wish.
    void Run() noexcept;
    // No further request is read; the one that runs is answered.
    void Finish() noexcept;
    // Ends a running request soon.
    void Interrupt() noexcept;
    // Makes room for another client, where this one has not logged in.
    void Displace() noexcept;
    bool IsNewcomer() const noexcept { return !loggedIn_ && !IsLeaving(); }
    // Its place is another's already.
    bool IsLeaving() const noexcept { return !welcome_ || displaced_; }
    // Interrupts a request that runs for a client that has gone.
    void InterruptIfAbandoned() noexcept;

private:
    class Sink;

    void Open(ClientChannel& channel);
    void Serve(ClientChannel& channel);
    // Raises what ends the connection; everything else goes to the client.
    void Answer(ClientChannel& channel, const wire::Request& request, quint32 number, bool compress);
    // Raises wire::Error (Limit) where the account has too many sessions.
    void Admit(const QString& account);
    void Left(const wire::Error* reason);
    // Around a request; false where none, or no further one, may run.
    bool Begin();
    void BeginSending();
    bool End();

    const ClientContext& context_;
    const bool welcome_;
    QString peer_;
    QString account_; // admitted
    std::unique_ptr<Session> session_; // there while `running_`
    std::atomic<bool> loggedIn_{false};
    std::atomic<bool> displaced_{false};

    std::mutex mutex_; // of what follows
    qintptr descriptor_; // -1 once it is being closed
    bool ownDescriptor_ = false; // a duplicate of the socket's
    bool running_ = false; // a request
    bool sending_ = false; // what is left of its reply
    bool finishing_ = false;
};

} // namespace server
