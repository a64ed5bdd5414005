#include "host/WindowList.h"

#include "runtime/ScreenTable.h"

#include <QAction>
#include <QEvent>
#include <QMenu>
#include <QSignalBlocker>
#include <QTabBar>
#include <QWidget>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

TWindowList::TWindowList(QTabBar* tabs, QMenu* menu, QObject* owner)
    : QObject(owner)
    , tabs_(tabs)
    , menu_(menu)
    , group_(this)
{
    connect(tabs_, &QTabBar::currentChanged, this, [this](int index) {
        if (index >= 0 && index < Count() && screens_[index].screen)
            Q_EMIT Chosen(screens_[index].screen);
    });
    connect(tabs_, &QTabBar::tabCloseRequested, this, [this](int index) {
        if (index >= 0 && index < Count() && screens_[index].screen)
            Q_EMIT CloseWanted(screens_[index].screen);
    });
    connect(tabs_, &QTabBar::tabMoved, this, [this](int from, int to) {
        const TEntry moved = screens_[from];
        screens_.erase(screens_.begin() + from);
        screens_.insert(screens_.begin() + to, moved);
    });
}

void TWindowList::Add(QWidget* screen)
{
    if (IndexOf(screen) >= 0)
        return;
    QAction* action = menu_->addAction(QString());
    action->setCheckable(true);
    group_.addAction(action);
    connect(action, &QAction::triggered, this, [this, screen = QPointer(screen)] {
        if (screen)
            Q_EMIT Chosen(screen);
    });
    screens_.push_back({screen, screen, action});
    const QSignalBlocker quiet(tabs_);
    tabs_->addTab(QString());
    ShowTitle(screen);
    connect(screen, &QWidget::windowTitleChanged, this, [this, screen] { ShowTitle(screen); });
    screen->installEventFilter(this); // tells when there is something to save
    connect(screen, &QObject::destroyed, this, &TWindowList::Remove);
    Q_EMIT CountChanged(Count());
}

void TWindowList::SetActive(QWidget* screen)
{
    Add(screen);
    const int index = IndexOf(screen);
    const QSignalBlocker quiet(tabs_);
    tabs_->setCurrentIndex(index);
    screens_[index].action->setChecked(true);
    ShowTitle(screen);
}

void TWindowList::Remove(QObject* screen)
{
    const int index = IndexOf(screen);
    if (index < 0)
        return;
    disconnect(screen, nullptr, this, nullptr);
    screen->removeEventFilter(this);
    delete screens_[index].action;
    screens_.erase(screens_.begin() + index);
    const QSignalBlocker quiet(tabs_);
    tabs_->removeTab(index);
    Q_EMIT CountChanged(Count());
}

QStringList TWindowList::ScreenNames() const
{
    QStringList names;
    for (const TEntry& entry : screens_)
        names.append(entry.key->objectName());
    return names;
}

int TWindowList::IndexOf(const QObject* screen) const noexcept
{
    const auto found = std::find_if(
        screens_.begin(), screens_.end(), [screen](const TEntry& entry) { return entry.key == screen; });
    return found == screens_.end() ? -1 : static_cast<int>(found - screens_.begin());
}

void TWindowList::ShowTitle(const QWidget* screen)
{
    const int index = IndexOf(screen);
    if (index < 0)
        return;
    const TScreenInfo* info = FindScreenInfo(screen->objectName().toStdString());
    const QString title = screen->windowTitle() + (info ? info->Note() : QString())
        + (screen->isWindowModified() ? u" ●"_s : QString());
    tabs_->setTabText(index, title);
    screens_[index].action->setText(title);
}

bool TWindowList::eventFilter(QObject* screen, QEvent* event)
{
    if (event->type() == QEvent::ModifiedChange) {
        ShowTitle(static_cast<QWidget*>(screen));
        Q_EMIT ModifiedChanged();
    }
    return false;
}
