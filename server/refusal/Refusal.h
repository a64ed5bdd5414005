#pragma once

#include "wire/Error.h"

#include <optional>

namespace server {

// Why something was refused to a client.
enum class RefusalReason : quint8 {
    Sessions, // as many clients as may be
    Stopping, // the server takes nothing new
    LoginTime, // connected, but did not log in
    IdleTime, // no request for too long
    FrameTime, // began a frame and did not finish it, or takes no reply
    Protocol, // bytes that are no frame or no request
    Size, // a frame, packet, reply or piece of work above its limit
    Tls, // no handshake, or a plain client where TLS is asked for
    Login, // wrong account or password
    LoginRate, // too many failed logins
    NotLoggedIn, // a request before the login
    Syntax, // SQL that cannot be read
    Policy, // a table or statement that is closed to the account
    Site, // rows of a site that is not under the account's own
    Data, // values that do not fit
    Rows, // a query of too many rows
    StatementTime, // a request that ran too long
    Busy, // a request that got no database connection in time
};
constexpr size_t kRefusalReasons = static_cast<size_t>(RefusalReason::Busy) + 1;
// "sessions", "login_rate"…: the `reason` of log lines and figures.
const char* NameOf(RefusalReason reason) noexcept;

// A refusal whose reason is told more closely than the kind of error tells it.
class RefusedError : public wire::Error {
public:
    RefusedError(
        RefusalReason reason, wire::ErrorKind kind, const QString& message, const QString& sqlText = {})
        : wire::Error(kind, message, sqlText)
        , reason_(reason)
    {
    }
    RefusalReason Reason() const noexcept { return reason_; }

private:
    RefusalReason reason_;
};

// What a failure of a request is to the administrator: refused for a reason, or (nothing) something that went
// wrong on the server's side.
std::optional<RefusalReason> RefusalOf(const wire::Error& error) noexcept;

} // namespace server
