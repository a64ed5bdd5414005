#include "host/MainForm.h"

#include "host/HelpView.h"
#include "host/KeysPage.h"
#include "host/StartPage.h"
#include "host/WindowList.h"
#include "runtime/ScreenTable.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/grid/SelectionSum.h"
#include "runtime/ui/ActionKeys.h"
#include "runtime/ui/Application.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDockWidget>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOption>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDefaultWidth = 1240;
constexpr int kDefaultHeight = 780;
constexpr int kNoticeMilliseconds = 6000;
constexpr QColor kAreaColor(0xd9, 0xe0, 0xe8);
constexpr QColor kConnectedColor(0x1b, 0x7a, 0x3d);
constexpr QColor kLostColor(0xb0, 0x1e, 0x1e);

// Screens publish their buttons under these names.
constexpr const char* kQueryButton = "QueryButton";
constexpr const char* kSaveButton = "SaveButton";
// And their lists what they offer.
const QString kExportAction = u"ExportAction"_s;
const QString kPrintAction = u"PrintAction"_s;

// A text of the status bar that gives way on a narrow screen instead of widening the frame.
class TStatusLabel : public QLabel {
public:
    using QLabel::QLabel;

    QSize minimumSizeHint() const override
    {
        return {fontMetrics().averageCharWidth() * 8, QLabel::minimumSizeHint().height()};
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
        style()->drawItemText(
            &painter, contentsRect(), Qt::AlignVCenter, palette(), isEnabled(), shown, QPalette::WindowText);
        setToolTip(shown == text() ? QString() : text());
    }
};

std::vector<TForm*> OpenScreens()
{
    std::vector<TForm*> screens;
    for (TForm* form : Screen->Forms()) {
        if (form->FormStyle == TFormStyle::MDIChild && form->IsShown())
            screens.push_back(form);
    }
    return screens;
}

bool HoldsUnsavedEdits(const TForm* screen)
{
    const auto dataSets = screen->findChildren<TClientDataSetEx*>(Qt::FindDirectChildrenOnly);
    return std::any_of(dataSets.begin(), dataSets.end(),
        [](const TClientDataSetEx* dataSet) { return dataSet->Active() && dataSet->HasUnsavedEdits(); });
}

} // namespace

TMainForm::TMainForm(TPublishedData& published, std::function<wire::DateTime()> clock)
    : published_(published)
    , clock_(std::move(clock))
    , desk_(new QStackedWidget)
    , area_(new QMdiArea)
{
    setObjectName(u"MainForm"_s);
    setWindowTitle(u"快运业务系统"_s);
    area_->setObjectName(u"MdiArea"_s);
    area_->setBackground(kAreaColor);
    area_->setOption(QMdiArea::DontMaximizeSubWindowOnActivation, false);

    auto* tabs = new QTabBar;
    tabs->setObjectName(u"WindowTabs"_s);
    tabs->setAccessibleName(u"已打开的窗口"_s);
    tabs->setTabsClosable(true);
    tabs->setMovable(true);
    tabs->setDocumentMode(true);
    tabs->setExpanding(false);
    tabs->setFocusPolicy(Qt::NoFocus);

    auto* center = new QWidget;
    auto* layout = new QVBoxLayout(center);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(tabs);
    auto* startPage = new TStartPage;
    connect(startPage, &TStartPage::ScreenWanted, this, &TMainForm::ScreenWanted);
    desk_->addWidget(startPage);
    desk_->addWidget(area_);
    layout->addWidget(desk_, 1);
    setCentralWidget(center);

    BuildMenus();
    windows_ = new TWindowList(tabs, menuBar()->findChild<QMenu*>(u"WindowMenu"_s), this);
    connect(windows_, &TWindowList::Chosen, this, [](QWidget* screen) {
        if (auto* form = qobject_cast<TForm*>(screen))
            form->Show();
    });
    connect(windows_, &TWindowList::CloseWanted, this, [](QWidget* screen) {
        if (auto* form = qobject_cast<TForm*>(screen))
            form->Close();
    });
    connect(windows_, &TWindowList::ModifiedChanged, this, &TMainForm::UpdateActions);
    connect(windows_, &TWindowList::CountChanged, this, [this](int count) {
        QWidget* shown = desk_->widget(count > 0 ? 1 : 0);
        if (shown == desk_->currentWidget())
            return;
        desk_->setCurrentWidget(shown);
        if (count == 0)
            shown->setFocus();
    });
    BuildToolBar();
    BuildStatusBar();
    UpdateActions();
    QSize size(kDefaultWidth, kDefaultHeight);
    // Never larger than the screen; without a display the pictures keep their size.
    if (QGuiApplication::platformName() != u"offscreen"_s)
        size = size.boundedTo(screen()->availableSize());
    resize(size);
}

qulonglong TMainForm::GlobalCdsAddr() const
{
    return reinterpret_cast<quintptr>(&published_.DataSets());
}

qulonglong TMainForm::GlobalValueAddr() const
{
    return reinterpret_cast<quintptr>(&published_.Values());
}

qulonglong TMainForm::GlobalTreeAddr() const
{
    return reinterpret_cast<quintptr>(&published_.Trees());
}

void TMainForm::SetGlobalTree(const QString& name)
{
    globalTree_ = name;
    published_.PrepareTree(name);
}

double TMainForm::ServerDateTime() const
{
    return clock_().ToSerial();
}

void TMainForm::ResetSearch(QWidget* grid)
{
    searchGrid_ = qobject_cast<TDBGridEh*>(grid);
    UpdateActions();
}

void TMainForm::ShowUser(const wire::Identity& identity, const QString& place)
{
    place_ = place;
    searchEdit_->clear();
    siteLabel_->setText(u"网点："_s + identity.site);
    employeeLabel_->setText(u"员工："_s + identity.employeeName + u"（"_s + identity.employeeCode + u"）"_s);
    setWindowTitle(identity.site + u" - 快运业务系统"_s);
    ShowConnection(true);
    ShowClock();
}

void TMainForm::ShowConnection(bool connected)
{
    QPalette palette = connectionLabel_->palette();
    palette.setColor(QPalette::WindowText, connected ? kConnectedColor : kLostColor);
    connectionLabel_->setPalette(palette);
    connectionLabel_->setText((connected ? u"● 已连接 "_s : u"○ 连接已断开 "_s) + place_);
    reconnectAction_->setEnabled(!connected);
}

void TMainForm::ShowNotice(const QString& text)
{
    statusBar()->showMessage(text, kNoticeMilliseconds);
}

QStringList TMainForm::ScreenNames() const
{
    QStringList names = windows_->ScreenNames();
    if (const TForm* current = Screen->ActiveForm(); current && names.removeOne(current->objectName()))
        names.append(current->objectName());
    return names;
}

bool TMainForm::CloseScreens()
{
    // A closing screen may take others with it: look anew after each.
    for (;;) {
        const std::vector<TForm*> screens = OpenScreens();
        if (screens.empty())
            return true;
        // Those that will ask come first, so that a refusal finds the others still open.
        const auto asking = std::find_if(screens.rbegin(), screens.rend(), HoldsUnsavedEdits);
        TForm* screen = asking == screens.rend() ? screens.back() : *asking;
        if (asking != screens.rend())
            screen->BringToFront();
        const QString caption = screen->Caption();
        if (!screen->Close()) {
            ShowNotice(u"“"_s + caption + u"”没有关闭，其余窗口、用户和程序都照旧。"_s);
            return false;
        }
    }
}

bool TMainForm::event(QEvent* event)
{
    const int number = event->type();
    if (number != kMessageCreating && number != kMessageActivated && number != kMessageClosed)
        return QMainWindow::event(event);

    QWidget* screen = static_cast<TFormMessage*>(event)->First();
    if (number != kMessageActivated)
        statusBar()->clearMessage(); // it was said of the window in front until now
    if (number == kMessageCreating) {
        windows_->Add(screen);
    } else if (number == kMessageActivated) {
        windows_->SetActive(screen);
    } else {
        windows_->Remove(screen);
        if (searchGrid_ && screen->isAncestorOf(searchGrid_))
            searchGrid_ = nullptr;
    }
    // The screen announces itself while it is changing; its buttons are known a moment later.
    QTimer::singleShot(0, this, &TMainForm::UpdateActions);
    return true;
}

void TMainForm::closeEvent(QCloseEvent* event)
{
    const QStringList screens = ScreenNames();
    event->setAccepted(CloseScreens());
    if (event->isAccepted())
        Q_EMIT Leaving(screens);
}

void TMainForm::BuildMenus()
{
    QMenu* system = menuBar()->addMenu(u"系统(&S)"_s);
    reconnectAction_ = system->addAction(u"重新连接(&R)"_s, this, &TMainForm::ReconnectWanted);
    reconnectAction_->setObjectName(u"ReconnectAction"_s);
    QAction* changeUser = system->addAction(u"更换用户(&U)…"_s, this, &TMainForm::ChangeUserWanted);
    changeUser->setObjectName(u"ChangeUserAction"_s);
    QAction* preferences = system->addAction(u"首选项(&P)…"_s, this, &TMainForm::PreferencesWanted);
    preferences->setObjectName(u"PreferencesAction"_s);
    preferences->setShortcut(QKeySequence(u"Ctrl+,"_s));
    system->addSeparator();
    QAction* quit = system->addAction(u"退出(&X)"_s, this, &QWidget::close);
    quit->setShortcut(QKeySequence(u"Alt+F4"_s));

    for (const char16_t* title : ScreenMenus()) {
        QMenu* menu = nullptr; // none without a screen
        for (const TScreenInfo& info : ScreenTable()) {
            if (!info.built || info.menu != title)
                continue;
            if (!menu)
                menu = menuBar()->addMenu(QString::fromUtf16(title));
            QAction* action = menu->addAction(info.Caption() + info.Note());
            action->setObjectName(info.NameText());
            action->setShortcut(QKeySequence(QString::fromUtf16(info.shortcut)));
            connect(action, &QAction::triggered, this,
                [this, name = info.NameText()] { Q_EMIT ScreenWanted(name); });
        }
    }

    QMenu* window = menuBar()->addMenu(u"窗口(&W)"_s);
    window->setObjectName(u"WindowMenu"_s);
    window->addAction(u"层叠(&C)"_s, area_, &QMdiArea::cascadeSubWindows);
    window->addAction(u"平铺(&T)"_s, area_, &QMdiArea::tileSubWindows);
    QAction* next = window->addAction(u"下一个(&N)"_s, area_, &QMdiArea::activateNextSubWindow);
    next->setShortcut(QKeySequence(u"Ctrl+Tab"_s));
    QAction* closeOne = window->addAction(u"关闭(&O)"_s, area_, &QMdiArea::closeActiveSubWindow);
    closeOne->setShortcut(QKeySequence(u"Ctrl+F4"_s));
    window->addAction(u"全部关闭(&A)"_s, this, [this] { CloseScreens(); });
    windowActions_ = window->actions();
    window->addSeparator();

    QMenu* help = menuBar()->addMenu(u"帮助(&H)"_s);
    QAction* thisWindow = help->addAction(u"本窗口的说明(&H)"_s, this, [this] { ShowHelp(); });
    thisWindow->setObjectName(u"HelpAction"_s);
    thisWindow->setShortcut(QKeySequence(Qt::Key_F1));
    help->addAction(u"手册目录(&C)"_s, this, [this] { ShowHelp(guide::kContents); });
    QAction* keys = help->addAction(u"全部按键(&K)"_s, this, [this] { ShowHelp(guide::kKeys); });
    keys->setObjectName(u"KeysAction"_s);
    keys->setShortcut(QKeySequence(u"Ctrl+F1"_s));
    help->addSeparator();
    help->addAction(u"关于(&A)…"_s, this, &TMainForm::ShowAbout);
}

void TMainForm::BuildToolBar()
{
    QToolBar* bar = addToolBar(u"工具栏"_s);
    bar->setObjectName(u"ToolBar"_s);
    bar->setMovable(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const int side = fontMetrics().height();
    bar->setIconSize({side, side});

    queryAction_ = bar->addAction(style()->standardIcon(QStyle::SP_BrowserReload), u"查询"_s, this,
        [this] { PressScreenButton(kQueryButton); });
    queryAction_->setObjectName(u"QueryAction"_s);
    queryAction_->setShortcut(QKeySequence(QString::fromUtf16(kQueryKey)));
    queryAction_->setToolTip(u"当前窗口的查询（F5）"_s);
    saveAction_ = bar->addAction(style()->standardIcon(QStyle::SP_DialogSaveButton), u"保存"_s, this,
        [this] { PressScreenButton(kSaveButton); });
    saveAction_->setObjectName(u"SaveAction"_s);
    saveAction_->setShortcut(QKeySequence(QString::fromUtf16(kSaveKey)));
    saveAction_->setToolTip(u"当前窗口的保存，有没有保存的修改时可以用（Ctrl+S）"_s);
    exportAction_ = bar->addAction(style()->standardIcon(QStyle::SP_FileIcon), u"导出"_s, this, [this] {
        if (QAction* action = ListAction(kExportAction))
            action->trigger();
    });
    exportAction_->setObjectName(u"ExportListAction"_s);
    exportAction_->setShortcut(QKeySequence(QString::fromUtf16(kExportKey)));
    exportAction_->setToolTip(u"把当前窗口的列表导出到文件（Ctrl+E）"_s);
    printAction_ =
        bar->addAction(style()->standardIcon(QStyle::SP_FileDialogContentsView), u"打印"_s, this, [this] {
            if (QAction* action = ListAction(kPrintAction))
                action->trigger();
        });
    printAction_->setObjectName(u"PrintListAction"_s);
    printAction_->setShortcut(QKeySequence(u"Ctrl+P"_s));
    printAction_->setToolTip(u"预览和打印当前窗口的列表（Ctrl+P）"_s);
    bar->addSeparator();

    auto* label = new QLabel(u" 查找(&G) "_s);
    searchEdit_ = new QLineEdit;
    searchEdit_->setObjectName(u"SearchEdit"_s);
    searchEdit_->setAccessibleName(u"在列表的当前列中查找"_s);
    searchEdit_->setPlaceholderText(u"在列表的当前列中查找，回车找下一个"_s);
    searchEdit_->setClearButtonEnabled(true);
    searchEdit_->setFixedWidth(fontMetrics().height() * 22);
    label->setBuddy(searchEdit_);
    bar->addWidget(label);
    bar->addWidget(searchEdit_);
    connect(searchEdit_, &QLineEdit::returnPressed, this, [this] { FindNext(false); });
    connect(new QShortcut(QKeySequence(u"Shift+Return"_s), searchEdit_, nullptr, nullptr, Qt::WidgetShortcut),
        &QShortcut::activated, this, [this] { FindNext(true); });
    connect(new QShortcut(QKeySequence(Qt::Key_F3), this), &QShortcut::activated, this,
        [this] { FindNext(false); });
    connect(new QShortcut(QKeySequence(u"Shift+F3"_s), this), &QShortcut::activated, this,
        [this] { FindNext(true); });
}

void TMainForm::BuildStatusBar()
{
    statusBar()->addWidget(new TSelectionSum);
    siteLabel_ = new TStatusLabel;
    siteLabel_->setObjectName(u"SiteLabel"_s);
    employeeLabel_ = new TStatusLabel;
    employeeLabel_->setObjectName(u"EmployeeLabel"_s);
    connectionLabel_ = new TStatusLabel;
    connectionLabel_->setObjectName(u"ConnectionLabel"_s);
    clockLabel_ = new TStatusLabel;
    clockLabel_->setObjectName(u"ClockLabel"_s);
    for (QLabel* label : {siteLabel_, employeeLabel_, connectionLabel_, clockLabel_}) {
        label->setContentsMargins(6, 0, 6, 0);
        statusBar()->addPermanentWidget(label);
    }
    auto* tick = new QTimer(this);
    connect(tick, &QTimer::timeout, this, [this] {
        if (isVisible())
            ShowClock();
    });
    tick->start(1000);
}

void TMainForm::ShowClock()
{
    clockLabel_->setText(u"服务器时间 "_s + clock_().ToText());
}

QAbstractButton* TMainForm::ScreenButton(const char* property) const
{
    const TForm* screen = Screen->ActiveForm();
    return screen ? qobject_cast<QAbstractButton*>(screen->property(property).value<QObject*>()) : nullptr;
}

void TMainForm::PressScreenButton(const char* property)
{
    if (QAbstractButton* button = ScreenButton(property))
        PressButton(*button);
}

void TMainForm::UpdateActions()
{
    queryAction_->setEnabled(ScreenButton(kQueryButton));
    // The screen's own button may be pressed at any time, and says when there is nothing.
    saveAction_->setEnabled(ScreenButton(kSaveButton) && Screen->ActiveForm()->isWindowModified());
    exportAction_->setEnabled(ListAction(kExportAction));
    printAction_->setEnabled(ListAction(kPrintAction));
    searchEdit_->setEnabled(searchGrid_);
    for (QAction* action : std::as_const(windowActions_))
        action->setEnabled(windows_->Count() > 0);
}

// What the list of the screen in front offers.
QAction* TMainForm::ListAction(const QString& name) const
{
    return searchGrid_ ? searchGrid_->findChild<QAction*>(name, Qt::FindDirectChildrenOnly) : nullptr;
}

void TMainForm::FindNext(bool backwards)
{
    const QString text = searchEdit_->text();
    if (text.isEmpty() || !searchGrid_)
        return;
    if (!searchGrid_->FindText(text, true, backwards) && !searchGrid_->FindText(text, false, backwards))
        ShowNotice(u"当前列中没有找到“"_s + text + u"”。"_s);
}

QString TMainForm::ScreenPage() const
{
    return guide::PageOf(Screen->ActiveForm());
}

void TMainForm::ShowHelp(QString page)
{
    if (!help_) {
        help_ = new QDockWidget(u"帮助"_s, this);
        help_->setObjectName(u"HelpDock"_s);
        help_->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
        auto* view = new THelpView(help_);
        view->Browser().KeysPage = [this] { return KeysPage(*this, Screen->ActiveForm()); };
        // Back to the work, where it was left.
        connect(view, &THelpView::CloseWanted, this, [this] {
            help_->hide();
            if (TForm* screen = Screen->ActiveForm())
                screen->setFocus();
        });
        help_->setWidget(view);
        addDockWidget(Qt::RightDockWidgetArea, help_);
        resizeDocks({help_}, {width() * 2 / 5}, Qt::Horizontal);
    }
    if (page.isEmpty())
        page = ScreenPage();
    help_->show();
    auto* view = static_cast<THelpView*>(help_->widget());
    view->ShowPage(page);
    view->setFocus();
}

void TMainForm::ShowAbout()
{
    Application->MessageBox(u"快运业务系统 "_s + QCoreApplication::applicationVersion()
            + u"\n在线订单客户端\n\n"_s + u"界面库 Qt "_s + QString::fromLatin1(qVersion()) + u"\n数据："_s
            + place_,
        u"关于"_s, TMessageIcon::Information);
}
