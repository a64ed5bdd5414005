#pragma once

#include <QtGlobal>

// The running program as its system sees it.
namespace server::monitoring {

// Bytes of memory in use; 0 where the system does not say.
qint64 ResidentBytes() noexcept;
// Gives memory that was let go back to the system, which the C library does not do by itself: where a good
// deal of it has come together, or `all` of it, which takes some time.
enum class FreeMemory { Much, All };
void ReturnFreeMemory(FreeMemory which) noexcept;
// "0.1.0"
const char* Version() noexcept;

} // namespace server::monitoring
