#include "server/monitoring/Process.h"

#include <cstdio>

#ifdef Q_OS_WIN
#include <windows.h>
// After windows.h
#include <psapi.h>
#else
#include <unistd.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace server::monitoring {

#ifdef Q_OS_WIN

qint64 ResidentBytes() noexcept
{
    PROCESS_MEMORY_COUNTERS counters = {};
    if (!K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters))
        return 0;
    return static_cast<qint64>(counters.WorkingSetSize);
}

#else

qint64 ResidentBytes() noexcept
{
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr)
        return 0;
    char line[128] = {};
    const size_t size = std::fread(line, 1, sizeof line - 1, file);
    std::fclose(file);
    long long pages = 0;
    if (size == 0 || std::sscanf(line, "%*s %lld", &pages) != 1)
        return 0;
    return pages * sysconf(_SC_PAGESIZE);
}

#endif

void ReturnFreeMemory([[maybe_unused]] FreeMemory which) noexcept
{
#ifdef Q_OS_WIN
    if (which == FreeMemory::All)
        HeapCompact(GetProcessHeap(), 0); // it gives back large pieces by itself
#elif defined(__GLIBC__)
    constexpr size_t kMuch = 64 << 20; // bytes
    if (which == FreeMemory::All || mallinfo2().fordblks > kMuch)
        malloc_trim(0);
#endif
}

const char* Version() noexcept
{
    return ZELMOR_VERSION;
}

} // namespace server::monitoring
