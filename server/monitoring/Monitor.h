#pragma once

#include "server/monitoring/Log.h"
#include "server/monitoring/Metrics.h"

#include <memory>

namespace server::monitoring {

// Log and figures of one server. The program makes one and hands it to everything below; where nobody looks
// (embedded server, tests) it is a quiet one.
struct Monitor {
    explicit Monitor(
        LogLevel level = LogLevel::Off, LogFormat format = LogFormat::Text, const Log::Sink& sink = {})
        : log(level, format, sink)
    {
    }

    // Whatever is refused to a client goes through here: one line (event "refused"), one more in the figures.
    void Refuse(RefusalReason reason, std::initializer_list<LogField> fields) noexcept;

    Log log;
    Metrics metrics;
};

// Never null where it is handed down.
using MonitorPtr = std::shared_ptr<Monitor>;

} // namespace server::monitoring
