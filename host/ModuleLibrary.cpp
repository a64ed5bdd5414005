#include "host/ModuleLibrary.h"

#include "runtime/ui/Application.h"
#include "wire/Error.h"

#include <QDir>

#include <cstdint>

using namespace Qt::Literals::StringLiterals;

#if defined(Q_OS_WIN32) && !defined(Q_OS_WIN64)
#define MODULE_CALL __stdcall
#else
#define MODULE_CALL
#endif

namespace {

extern "C" using TExec = void(MODULE_CALL*)(
    TApplication*, TScreen*, const std::uintptr_t* hostData, int hostDataHigh, const char* formName);

} // namespace

TModuleLibrary::TModuleLibrary(const QString& path)
    : library_(path)
{
}

void TModuleLibrary::Exec(TSocketConnectionEx* main, TSocketConnectionEx* query, const QString& formName)
{
    Load();
    const std::uintptr_t hostData[]{
        reinterpret_cast<std::uintptr_t>(main), reinterpret_cast<std::uintptr_t>(query)};
    reinterpret_cast<TExec>(entry_)(Application, Screen, hostData, static_cast<int>(std::size(hostData)) - 1,
        formName.toLocal8Bit().constData());
}

void TModuleLibrary::Unload()
{
    entry_ = nullptr;
    if (library_.isLoaded())
        library_.unload();
}

void TModuleLibrary::Load()
{
    if (entry_)
        return;
    entry_ = library_.resolve("exec");
    if (entry_)
        return;
    const QString problem = u"业务模块装不上，功能窗口暂时不能使用。\n文件："_s
        + QDir::toNativeSeparators(library_.fileName()) + u"\n原因："_s + library_.errorString()
        + u"\n请重新安装客户端，或请管理员检查该文件，然后再打开一次。"_s;
    // The next try must look at the file again.
    if (library_.isLoaded())
        library_.unload();
    throw wire::Error(wire::ErrorKind::Usage, problem);
}
