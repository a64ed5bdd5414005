#pragma once

#include "server/monitoring/Monitor.h"
#include "server/provider/Session.h"

namespace server::monitoring {

// Lets every request of a session through, counts and times it, and writes the lines that tell of it: logins,
// whatever is refused, what fails, slow statements. Lines name statements by their shape, never by the values
// in them. The one place where requests are logged: sessions themselves only raise, as RefusedError where the
// kind alone does not say the reason.
class MonitoredSession final : public Session {
public:
    MonitoredSession(std::unique_ptr<Session> session, const QString& peer, MonitorPtr monitor,
        std::chrono::milliseconds slow);
    ~MonitoredSession() override;

    wire::Reply Handle(const wire::Request& request, wire::ReplySink& sink) override;
    const wire::Identity& Identity() const noexcept override { return session_->Identity(); }
    void Interrupt() noexcept override
    {
        interrupted_ = true;
        session_->Interrupt();
    }

private:
    void Succeeded(const wire::Request& request, const wire::Reply& reply, std::chrono::nanoseconds time);
    void NotDone(const wire::Request& request, const wire::Error& error, std::chrono::nanoseconds time);
    void Abandoned(const wire::Request& request, const wire::Error& error, std::chrono::nanoseconds time);
    void LoggedIn(bool yes) noexcept;

    std::unique_ptr<Session> session_;
    QString peer_;
    MonitorPtr monitor_;
    std::chrono::milliseconds slow_;
    bool loggedIn_ = false;
    std::atomic<bool> interrupted_{false}; // the request that runs
};

} // namespace server::monitoring
