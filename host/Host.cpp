#include "host/Host.h"

#include "host/HostApplication.h"
#include "host/LoginWindow.h"
#include "host/MainForm.h"
#include "host/PreferencesWindow.h"
#include "host/WindowList.h"
#include "runtime/ScreenTable.h"
#include "server/storage/sqlite/SqliteStorage.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kClockHeardFor = std::chrono::minutes(5);

class TNoRows : public wire::ReplySink {
public:
    void Columns(const wire::ColumnInfos&) override { }
    void Rows(std::vector<wire::Column>) override { }
};

void SayOnStandardError(const QString& text)
{
    std::fprintf(stderr, "zelmor-host: %s\n", qUtf8Printable(text));
}

} // namespace

THost::THost(THostOptions options)
    : options_(std::move(options))
    , settings_(options_.dataDir,
          [this](const QString& message) {
              SayOnStandardError(message);
              if (mainForm_)
                  mainForm_->ShowNotice(message);
              else if (loginWindow_)
                  loginWindow_->ShowRemark(message);
          })
    , helpKey_([this] { return mainForm_ ? mainForm_->ScreenPage() : QString(); })
    , module_(std::make_unique<TModuleLibrary>(QCoreApplication::applicationDirPath() + u"/Zelmor"_s))
    , automation_(QCoreApplication::applicationDirPath() + u"/zelmor-automation"_s)
{
    ::Application = &application_;
    ::Screen = &screen_;
    application_.Title = u"快运业务系统"_s;
    application_.SetExeName(QCoreApplication::applicationFilePath());
    connect(&embedded_, &TEmbeddedServer::Ready, this, &THost::EmbeddedReady);
}

THost::~THost()
{
    if (loginThread_.joinable())
        loginThread_.join();
    // Screens before the code they are made of, and that before the objects it was handed.
    while (!screen_.Forms().empty())
        delete screen_.Forms().back();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    module_->Unload();
}

void THost::SetModulePath(const QString& path)
{
    module_ = std::make_unique<TModuleLibrary>(path);
}

void THost::Start()
{
    loginWindow_ = std::make_unique<TLoginWindow>();
    std::vector<TServerAddresses> servers = settings_.Servers();
    const bool named = !options_.servers.empty();
    if (named) {
        std::erase(servers, options_.servers);
        servers.insert(servers.begin(), options_.servers);
    }
    loginWindow_->SetServers(servers);
    loginWindow_->SetEncryption(options_.tls.value_or(settings_.Tls()),
        options_.caFile.isEmpty() ? settings_.CaFile() : options_.caFile);
    loginWindow_->ChooseServer(named || (settings_.UsesServer() && options_.script.isEmpty()));
    loginWindow_->SetAccount(settings_.LastAccount());

    connect(loginWindow_.get(), &TLoginWindow::FirstPainted, this, &THost::AfterFirstPaint);
    connect(loginWindow_.get(), &TLoginWindow::LoginRequested, this, &THost::TryLogin);
    connect(loginWindow_.get(), &TLoginWindow::EmbeddedChosen, this, &THost::OpenEmbedded);
    connect(loginWindow_.get(), &TLoginWindow::Closed, this, &THost::Leave);
    connect(&embedded_, &TEmbeddedServer::Progress, loginWindow_.get(), &TLoginWindow::ShowPreparing);
    connect(&embedded_, &TEmbeddedServer::Failed, loginWindow_.get(), &TLoginWindow::ShowUnavailable);
    loginWindow_->show();
}

void THost::AfterFirstPaint()
{
    if (options_.paintAndQuit) {
        std::puts("painted");
        std::fflush(stdout);
        QCoreApplication::exit(0);
        return;
    }
    QApplication::setWindowIcon(ProgramIcon());
    const QString fontProblem = FontProblem();
    if (!fontProblem.isEmpty()) {
        SayOnStandardError(fontProblem);
        loginWindow_->ShowRemark(fontProblem);
    }
    if (!options_.traceFile.isEmpty()) {
        const QString problem = trace_.WriteTo(options_.traceFile);
        if (!problem.isEmpty()) {
            SayOnStandardError(u"cannot write "_s + options_.traceFile + u": "_s + problem);
            loginWindow_->ShowRemark(u"跟踪文件写不了，请换一个文件："_s + options_.traceFile);
        }
    }
    if (loginWindow_->UsesEmbedded())
        OpenEmbedded();
    if (!options_.script.isEmpty())
        RunScript();
}

void THost::OpenEmbedded()
{
    server::Options options;
    options.open = storage::SqliteIn(options_.dataDir);
    options.demo = options_.demo;
    options.now = options_.now;
    embedded_.Open(options);
}

void THost::EmbeddedReady()
{
    std::vector<TOfferedAccount> offered;
    for (const server::DemoAccount& account : embedded_.Server()->DemoAccounts())
        offered.push_back({account.account, account.password, account.description});
    loginWindow_->OfferAccounts(offered);
    loginWindow_->ShowReady();
}

void THost::RunScript()
{
    trace_.Keep();
    // A script begins on an empty desk, whatever was open last.
    reopening_ = false;
    const auto run = reinterpret_cast<TAutomationRun>(automation_.resolve("zelmor_automation_run"));
    if (!run) {
        SayOnStandardError(u"scripts need the automation library: "_s + automation_.errorString());
        QCoreApplication::exit(2);
        return;
    }
    // As an event of its own, so that the script finds the event loop idle.
    QTimer::singleShot(0, this, [this, run] {
        const int code = run(this, &options_.script, &options_.screenshots);
        QCoreApplication::exit(code);
    });
}

// Names, passwords and addresses are tried on a thread of their own: a server that is far, slow or gone must
// not stop the window. What succeeded is then opened for good.
void THost::TryLogin(
    const QString& account, const QString& password, const std::optional<TConnectOptions>& way)
{
    if (loginWindow_->IsBusy())
        return;
    loginWindow_->SetBusy(true);
    way_ = way;
    if (loginThread_.joinable())
        loginThread_.join();
    loginThread_ = std::thread([this, account, password, way] {
        QString problem;
        try {
            const std::unique_ptr<wire::Transport> transport =
                way ? MakeTcpTransport(*way) : embedded_.Server()->NewTransport();
            transport->Connect();
            wire::Request request;
            request.kind = wire::RequestKind::Login;
            request.account = account;
            request.password = password;
            TNoRows sink;
            transport->Exchange(request, sink);
            transport->Disconnect();
        } catch (const std::exception& error) {
            problem = QString::fromUtf8(error.what());
        }
        QMetaObject::invokeMethod(
            this, [=, this] { FinishLogin(account, password, problem); }, Qt::QueuedConnection);
    });
}

void THost::FinishLogin(const QString& account, const QString& password, const QString& problem)
{
    loginThread_.join();
    loginWindow_->SetBusy(false);
    if (!problem.isEmpty()) {
        loginWindow_->ShowError(problem);
        return;
    }
    auto main = std::make_unique<TSocketConnectionEx>();
    auto query = std::make_unique<TSocketConnectionEx>();
    try {
        for (TSocketConnectionEx* connection : {main.get(), query.get()}) {
            connection->SetTransport(NewTransport());
            trace_.Watch(*connection);
            connection->SetWaiting(&waitingNote_);
            connection->Open(account, password);
        }
    } catch (const wire::Error& error) {
        loginWindow_->ShowError(error.Message());
        return;
    }
    main->setParent(this);
    query->setParent(this);
    main_ = main.release();
    query_ = query.release();
    settings_.RememberLogin(account, way_);
    EnterFrame();
}

void THost::EnterFrame()
{
    loggedIn_ = true;
    clockHeard_ = {};
    if (!mainForm_) {
        mainForm_ = std::make_unique<TMainForm>(published_, [this] { return ServerClock(); });
        connect(mainForm_.get(), &TMainForm::ScreenWanted, this, &THost::OpenScreen);
        connect(mainForm_.get(), &TMainForm::ReconnectWanted, this, &THost::Reconnect);
        connect(mainForm_.get(), &TMainForm::ChangeUserWanted, this, [this] { OpenLoginWindow(); });
        connect(mainForm_.get(), &TMainForm::PreferencesWanted, this, &THost::AskPreferences);
        connect(mainForm_.get(), &TMainForm::Leaving, this, [this](const QStringList& screens) {
            LogOut(screens);
            Leave();
        });
        mainForm_->restoreGeometry(settings_.WindowGeometry());
        application_.SetMainForm(mainForm_.get());
    }
    TListStyles::Instance().Set(settings_.ListStyle(main_->Identity().account));
    mainForm_->ShowUser(main_->Identity(), Place());
    connect(main_, &TSocketConnectionEx::ConnectedChanged, mainForm_.get(), &TMainForm::ShowConnection);
    mainForm_->show();
    mainForm_->activateWindow();
    loginWindow_->hide();
    // The frame is on the screen before the shared data is read.
    QTimer::singleShot(0, this, [this] {
        Guarded([this] {
            LoadPublishedData();
            ReopenScreens();
        });
    });
}

void THost::ReopenScreens()
{
    if (!loggedIn_ || !reopening_)
        return;
    const QStringList names = settings_.OpenScreens(main_->Identity().account);
    for (const QString& name : names) {
        // Another version of the program may have had other screens.
        const TScreenInfo* info = FindScreenInfo(name.toStdString());
        if (info && info->built)
            ExecScreen(name + main_->Identity().rights);
    }
}

void THost::LoadPublishedData()
{
    if (loggedIn_ && !published_.IsLoaded()) {
        const BusyCursor busy;
        published_.Load(*main_);
    }
}

void THost::OpenScreen(const QString& name)
{
    Guarded([&] { ExecScreen(name + main_->Identity().rights); });
}

void THost::Reconnect()
{
    Guarded([this] {
        const BusyCursor busy;
        // Any request finds its own way back, logging in again; the clock's is the smallest.
        for (TSocketConnectionEx* connection : {main_, query_}) {
            TNoRows sink;
            connection->Send({}, sink);
        }
        mainForm_->ShowNotice(u"已重新连接。"_s);
    });
}

void THost::AskPreferences()
{
    TPreferencesWindow window(mainForm_.get());
    if (window.exec() == QDialog::Accepted)
        settings_.RememberListStyle(main_->Identity().account, ListStyle());
    mainForm_->activateWindow(); // not every window system gives the keyboard back
}

void THost::LogOut(const QStringList& openScreens)
{
    loggedIn_ = false;
    settings_.RememberOpenScreens(main_->Identity().account, openScreens);
    settings_.RememberWindowGeometry(mainForm_->saveGeometry());
    main_->disconnect(mainForm_.get());
    main_->Close();
    query_->Close();
    published_.Clear();
    mainForm_->hide();
}

void THost::Leave()
{
    QCoreApplication::exit(0);
}

QWidget* THost::OpenLoginWindow()
{
    if (loggedIn_) {
        const QStringList open = mainForm_->ScreenNames();
        if (!CloseScreens())
            return nullptr;
        LogOut(open);
        loginWindow_->Reset();
        loginWindow_->show();
        loginWindow_->activateWindow();
    }
    return loginWindow_.get();
}

QWidget* THost::LoggedInForm()
{
    return loggedIn_ ? mainForm_.get() : nullptr;
}

void THost::ExecScreen(const QString& formName)
{
    if (!loggedIn_)
        throw wire::Error(wire::ErrorKind::Usage, u"还没有登录。"_s);
    LoadPublishedData();
    module_->Exec(main_, query_, formName);
}

bool THost::CloseScreens()
{
    return !mainForm_ || mainForm_->CloseScreens();
}

wire::RowSet THost::ServerRows(const QString& sqlText)
{
    if (way_ || !embedded_.IsReady())
        throw wire::Error(wire::ErrorKind::Usage, u"只有本机数据库可以这样查询。"_s);
    return embedded_.Server()->QueryAsAdministrator(sqlText);
}

std::unique_ptr<wire::Transport> THost::NewTransport()
{
    if (way_)
        return MakeTcpTransport(*way_);
    if (!embedded_.IsReady())
        throw wire::Error(wire::ErrorKind::Usage, u"本机数据库还没有打开。"_s);
    return embedded_.Server()->NewTransport();
}

wire::DateTime THost::ServerClock()
{
    const auto now = std::chrono::steady_clock::now();
    // Asked now and then alone: the clock in the status bar ticks on this machine.
    if (clockHeard_ == std::chrono::steady_clock::time_point{} || now - clockHeard_ > kClockHeardFor) {
        try {
            clockBase_ = main_->ServerTime();
        } catch (const wire::Error&) {
            // The connection tells of its own state; the clock runs on from what was last heard.
            if (clockHeard_ == std::chrono::steady_clock::time_point{})
                clockBase_ = wire::DateTime::Now();
            else
                clockBase_.seconds +=
                    std::chrono::duration_cast<std::chrono::seconds>(now - clockHeard_).count();
        }
        clockHeard_ = now;
    }
    return {clockBase_.seconds + std::chrono::duration_cast<std::chrono::seconds>(now - clockHeard_).count()};
}

QString THost::Place() const
{
    return way_ ? TextOf(way_->addresses) : u"本机数据库"_s;
}
