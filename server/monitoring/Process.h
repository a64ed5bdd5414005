#pragma once

#include <QtGlobal>

// The running program as its system sees it.
namespace server::monitoring {

// Bytes of memory in use; 0 where the system does not say.
qint64 ResidentBytes() noexcept;
// "0.1.0"
const char* Version() noexcept;

} // namespace server::monitoring
