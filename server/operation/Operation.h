#pragma once

#include "server/operation/Log.h"
#include "server/operation/Metrics.h"
#include "wire/Error.h"

#include <memory>

namespace server::operation {

// Log and figures of one server. The program makes one and hands it to everything below; where nobody looks
// (embedded server, tests) it is a quiet one.
struct Operation {
    explicit Operation(
        LogLevel level = LogLevel::Off, LogFormat format = LogFormat::Text, const Log::Sink& sink = {})
        : log(level, format, sink)
    {
    }

    // Whatever is refused to a client goes through here: one line (event "refused"), one more in the figures.
    void Refuse(Refusal reason, std::initializer_list<LogField> fields) noexcept;

    Log log;
    Metrics metrics;
};

// Never null where it is handed down.
using Shared = std::shared_ptr<Operation>;

// A refusal whose reason is told more closely than the kind of error tells it.
class RefusedError : public wire::Error {
public:
    RefusedError(Refusal reason, wire::ErrorKind kind, const QString& message, const QString& sqlText = {})
        : wire::Error(kind, message, sqlText)
        , reason_(reason)
    {
    }
    Refusal Reason() const noexcept { return reason_; }

private:
    Refusal reason_;
};

// What a failure of a request is to the administrator: refused for a reason, or (nothing) something that went
// wrong on the server's side.
std::optional<Refusal> RefusalOf(const wire::Error& error) noexcept;

} // namespace server::operation
