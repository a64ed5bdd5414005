#include "module/Module.h"

#include "module/Registry.h"
#include "module/data/LayoutStorage.h"
#include "module/data/PerlRegEx.h"
#include "module/data/dm_BasicData.h"
#include "module/data/dm_GlobalData.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>

#include <array>
#include <optional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t kRightsLength = 3;

// Weak: at the end of the process the host's objects may be gone before the library is. Made by StartUp(),
// and so gone only after ShutDown().
struct TSavedGlobals {
    QPointer<TApplication> application;
    QPointer<TScreen> screen;
};

TSavedGlobals& SavedGlobals()
{
    static TSavedGlobals saved;
    return saved;
}

QString DllCaption()
{
    return u"DLL调用"_s;
}

// Not from within a screen that is being made or destroyed: a box runs events of its own. Bound to the
// storage, so that nothing is left waiting when the library goes.
void TellProblem(const QString& message)
{
    QMetaObject::invokeMethod(
        LayoutStorage,
        [message] {
            if (Application && Application->MainForm())
                Application->MessageBox(u"详细："_s + message, u"设置文件"_s, TMessageIcon::Warning);
        },
        Qt::QueuedConnection);
}

// Of the connection in use. Kept apart from it: the object of an earlier login may be gone.
std::optional<quint64> boundLogin;

// True when somebody else has logged in since the last call.
bool BindConnections(const std::array<TSocketConnectionEx*, 2>& connections)
{
    TSocketConnectionEx* host = connections[0];
    bool anotherLogin = false;
    if (host) {
        anotherLogin = boundLogin && *boundLogin != host->LoginSerial();
        boundLogin = host->LoginSerial();
    }
    if (host == dm_BasicData->HostConnection)
        return anotherLogin;
    dm_BasicData->HostConnection = host;
    dm_GlobalData->QueryConnection = connections[1];
    for (TClientDataSetEx* command : {dm_BasicData->comm, dm_BasicData->comm1, dm_BasicData->comm2})
        command->SetRemoteServer(host);
    return anotherLogin;
}

void ShowScreen(std::string_view formName)
{
    const size_t nameLength = formName.size() > kRightsLength ? formName.size() - kRightsLength : 0;
    TScreenSlot* slot = FindScreenSlot(formName.substr(0, nameLength));
    if (!slot) {
        Application->MessageBox(u"详细：此窗体不存在！"_s, DllCaption(), TMessageIcon::Error);
        return;
    }
    if (!slot->open) {
        slot->open = slot->make(Application);
        const std::string_view fixed = slot->info->fixedRights;
        const std::string_view rights = fixed.empty() ? formName.substr(nameLength) : fixed;
        slot->open->SetRights(QLatin1StringView(rights.data(), static_cast<qsizetype>(rights.size())));
        slot->open->SetFormVar(&slot->open);
    }
    slot->open->Show();
}

} // namespace

QString SettingsFileName(const QString& exeName)
{
    return QFileInfo(exeName).absolutePath() + u"/WindowsIni/Zelmor.ini"_s;
}

void StartUp() noexcept
{
    SavedGlobals() = {.application = Application, .screen = Screen};
    dm_BasicData = new Tdm_BasicData;
    dm_GlobalData = new Tdm_GlobalData;
    boundLogin.reset();
    try {
        dm_GlobalData->DataModuleCreate();
    } catch (const std::exception&) {
        // There is no call yet that could tell the user: the first one asks again.
    }
    LayoutStorage = new TIniPropStorageManEh;
    LayoutStorage->OnProblem = TellProblem;
    LayoutStorage->SetIniFileName(
        SettingsFileName(Application ? Application->ExeName() : QCoreApplication::applicationFilePath()));
}

void ShutDown() noexcept
{
    // Whatever is still open would run code that is about to be unmapped.
    if (QCoreApplication::instance()) {
        for (TScreenSlot& slot : ScreenSlots())
            delete slot.open;
    }
    Screen = SavedGlobals().screen;
    Application = SavedGlobals().application;
    ReleaseSharedRegEx();
    delete std::exchange(dm_BasicData, nullptr);
    delete std::exchange(dm_GlobalData, nullptr);
    delete std::exchange(LayoutStorage, nullptr);
}

void OpenScreen(TApplication* application, TScreen* screen, const std::uintptr_t* hostData, int highIndex,
    const char* formName) noexcept
{
    const auto tell = [](const QString& message) {
        Application->MessageBox(
            u"详细：因为"_s + message + u"调用失败！"_s, DllCaption(), TMessageIcon::Error);
    };
    Application = application;
    Screen = screen;
    Guarded(
        [&] {
            std::array<TSocketConnectionEx*, 2> connections{};
            for (int i = 0; i <= highIndex && i < static_cast<int>(connections.size()); ++i)
                connections[static_cast<size_t>(i)] = reinterpret_cast<TSocketConnectionEx*>(hostData[i]);
            // The copies of the last user's lists are not the next one's.
            const bool anotherLogin = BindConnections(connections);
            if (anotherLogin || !dm_GlobalData->Ready())
                dm_GlobalData->DataModuleCreate();
            ShowScreen(formName ? formName : "");
        },
        tell);
}
