#pragma once

#include "server/Clock.h"
#include "server/accounts/Accounts.h"
#include "server/provider/AuditTrail.h"

#include <atomic>
#include <chrono>

namespace server {

// What the sessions of one server share.
struct Core {
    explicit Core(const Options& options);

    Options options;
    Clock clock;
    storage::ConnectionPool pool;
    Accounts accounts;
};

class ClientSession final : public Session {
public:
    // `rowsPerReply`: rows of a query handed on at a time; 0: all at once.
    ClientSession(Core& core, const QString& peer, qsizetype rowsPerReply);

    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override;
    const wire::Identity& Identity() const noexcept override { return identity_; }
    void Interrupt() noexcept override { interrupted_ = true; }

private:
    class Watch;

    void Login(const wire::Request& request, wire::Reply& reply);
    void Query(const wire::Request& request, wire::ReplySink& sink, wire::Reply& reply);
    void Execute(const wire::Request& request, wire::Reply& reply);
    void ApplyUpdates(const wire::Request& request, wire::Reply& reply);
    // The same failure as the client is to see it.
    [[noreturn]] void Rethrow(const wire::Error& error, const Watch& watch, const QString& sqlText) const;
    Caller CallerNow() const { return {identity_, peer_, core_.clock.Now()}; }

    Core& core_;
    QString peer_;
    qsizetype rowsPerReply_;
    wire::Identity identity_;
    bool loggedIn_ = false;
    std::atomic<bool> interrupted_{false};
};

} // namespace server
