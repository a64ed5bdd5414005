// The library's own entry and its life in the host's process.

#include "module/Module.h"

#if defined(_WIN32) && !defined(_WIN64)
#define ZELMOR_CALL __attribute__((stdcall))
#else
#define ZELMOR_CALL
#endif
#if defined(_WIN32)
#define ZELMOR_EXPORT __declspec(dllexport)
#else
#define ZELMOR_EXPORT __attribute__((visibility("default")))
#endif

namespace {

// Made when the library is loaded, gone when it is unloaded.
struct TLibraryLife {
    TLibraryLife() noexcept { StartUp(); }
    ~TLibraryLife() { ShutDown(); }
    TLibraryLife(const TLibraryLife&) = delete;
    TLibraryLife& operator=(const TLibraryLife&) = delete;
};

const TLibraryLife life;

} // namespace

extern "C" ZELMOR_EXPORT void ZELMOR_CALL exec(TApplication* AApplication, TScreen* AScreen,
    const std::uintptr_t* AHostData, int AHostDataHigh, const char* AFormName)
{
    OpenScreen(AApplication, AScreen, AHostData, AHostDataHigh, AFormName);
}
