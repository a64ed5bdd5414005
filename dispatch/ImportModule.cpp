#include "dispatch/ImportModule.h"

#include "runtime/ui/Application.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

#if defined(Q_OS_WIN32) && !defined(Q_OS_WIN64)
#define IMPORT_CALL __stdcall
#else
#define IMPORT_CALL
#endif

namespace {

extern "C" using TExec1 =
    void(IMPORT_CALL*)(TApplication*, TScreen*, TDBGridEh* grid, int firstRow, int firstColumn);

} // namespace

void TImportModule::Load()
{
    library_.setFileName(QFileInfo(Application->ExeName()).absolutePath() + u"/ImportFromExcel"_s);
    entry_ = library_.resolve("exec1");
}

void TImportModule::Run(TDBGridEh* grid, int firstRow, int firstColumn) const
{
    reinterpret_cast<TExec1>(entry_)(Application, Screen, grid, firstRow, firstColumn);
}
