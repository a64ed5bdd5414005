// The module's one entry, for the screen that offers the import.

#include "import/Import.h"
#include "runtime/ui/Application.h"

#if defined(_WIN32) && !defined(_WIN64)
#define IMPORT_CALL __attribute__((stdcall))
#else
#define IMPORT_CALL
#endif
#if defined(_WIN32)
#define IMPORT_EXPORT __declspec(dllexport)
#else
#define IMPORT_EXPORT __attribute__((visibility("default")))
#endif

extern "C" IMPORT_EXPORT void IMPORT_CALL exec1(
    TApplication* AApplication, TScreen* AScreen, TDBGridEh* AGrid, int AFirstRow, int AFirstColumn)
{
    Application = AApplication;
    Screen = AScreen;
    if (AGrid)
        Guarded([=] { ImportIntoGrid(*AGrid, AFirstRow, AFirstColumn); });
}
