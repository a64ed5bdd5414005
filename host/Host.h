#pragma once

#include "host/EmbeddedServer.h"
#include "host/HelpView.h"
#include "host/HostSettings.h"
#include "host/ModuleLibrary.h"
#include "host/PublishedData.h"
#include "host/SqlTrace.h"
#include "host/automation/Automation.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/WaitingNote.h"

#include <QLibrary>
#include <QPointer>

#include <chrono>
#include <memory>
#include <thread>

class TLoginWindow;
class TMainForm;

// The host itself: from the login window through the frame to the end. Owns the server connections, the
// shared data and the module, and lives as long as the process.
class THost : public QObject, public TAutomationHost {
    Q_OBJECT
public:
    explicit THost(THostOptions options);
    ~THost() override;

    // Shows the login window; everything that takes time follows its first picture.
    void Start();

    TLoginWindow* LoginWindow() const noexcept { return loginWindow_.get(); }
    TMainForm* MainForm() const noexcept { return mainForm_.get(); }
    TPublishedData& PublishedData() noexcept { return published_; }
    // Where the module's library lies; for tests before its first use.
    void SetModulePath(const QString& path);

    QWidget* OpenLoginWindow() override;
    QWidget* LoggedInForm() override;
    void ExecScreen(const QString& formName) override;
    bool CloseScreens() override;
    void SetReopening(bool reopening) override { reopening_ = reopening; }
    wire::RowSet ServerRows(const QString& sqlText) override;
    std::unique_ptr<wire::Transport> NewTransport() override;
    const std::vector<TTraceEntry>& SqlEntries() const override { return trace_.Entries(); }
    void ClearSqlEntries() override { trace_.Clear(); }

private:
    void AfterFirstPaint();
    void OpenEmbedded();
    void EmbeddedReady();
    void RunScript();

    void TryLogin(const QString& account, const QString& password, const std::optional<TConnectOptions>& way);
    void FinishLogin(const QString& account, const QString& password, const QString& problem);
    void EnterFrame();
    void LoadPublishedData();
    void OpenScreen(const QString& name);
    void Reconnect();
    void AskPreferences();
    // Brings back what the user had open last.
    void ReopenScreens();
    void LogOut(const QStringList& openScreens);
    void Leave();
    wire::DateTime ServerClock();
    QString Place() const;

    THostOptions options_;
    THostSettings settings_;
    TApplication application_;
    TScreen screen_;
    TSqlTrace trace_;
    TWaitingNote waitingNote_;
    THelpKey helpKey_;
    TEmbeddedServer embedded_;
    TPublishedData published_;
    std::unique_ptr<TModuleLibrary> module_;
    QLibrary automation_;

    std::unique_ptr<TLoginWindow> loginWindow_;
    std::unique_ptr<TMainForm> mainForm_;

    std::optional<TConnectOptions> way_; // in use or being tried; nullopt: the embedded one
    bool loggedIn_ = false;
    bool reopening_ = true;
    std::thread loginThread_;
    // Element 0 and 1 of what the module is handed. A pair serves one login; earlier pairs stay, closed, as
    // long as the module may still hold them.
    TSocketConnectionEx* main_ = nullptr;
    TSocketConnectionEx* query_ = nullptr;

    // The server's clock as last heard of, for the moments when it cannot be asked.
    wire::DateTime clockBase_;
    std::chrono::steady_clock::time_point clockHeard_;
};
