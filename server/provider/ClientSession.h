#pragma once

#include "server/provider/AuditFields.h"
#include "server/provider/Policy.h"
#include "server/provider/ServerParts.h"
#include "server/provider/Session.h"

#include <atomic>
#include <chrono>

namespace server {

class ClientSession final : public Session {
public:
    // `rowsPerReply`: rows of a query handed on at a time; 0: all at once.
    ClientSession(ServerParts& server, const QString& peer, qsizetype rowsPerReply);

    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override;
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override { interrupted_ = true; }
    // Asked about every 50 ms by what runs long on the session's own thread; false interrupts it.
    std::function<bool()> OnWait;

private:
    class Watch;
    class WatchedSink;

    void Login(const wire::Request& request, wire::Reply& reply);
    void Query(const wire::Request& request, wire::ReplySink& sink, wire::Reply& reply);
    void Execute(const wire::Request& request, wire::Reply& reply);
    void ApplyUpdates(const wire::Request& request, wire::Reply& reply);
    // Raises wire::Error (Limit, Storage) where the account or the disk has none.
    void RequireRoomToSave();
    // Runs the work on a lent connection until it ends, the client is gone or the time is over.
    template <typename Work>
    void Watched(storage::Connection& connection, const QString& sqlText, Work&& work);
    void Permit(const Account& account);
    // Takes notice, every few minutes, of what became of the account and the sites. Raises wire::Error
    // (Login) where the account is gone.
    void RefreshPermissions();
    Caller CallerNow() const { return {identity_, peer_, server_.clock.Now()}; }

    ServerParts& server_;
    QString peer_;
    qsizetype rowsPerReply_;
    wire::Identity identity_;
    bool loggedIn_ = false;
    Permissions permissions_;
    std::chrono::steady_clock::time_point permittedAt_;
    std::atomic<bool> interrupted_{false};
};

} // namespace server
