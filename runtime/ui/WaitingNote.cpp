#include "runtime/ui/WaitingNote.h"

#include "runtime/ui/Application.h"
#include "runtime/ui/Style.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString TextFor(const TLongWait& wait)
{
    const auto doing = [&] {
        if (wait.searching)
            return u"连接已断开，正在重新连接服务器"_s;
        switch (wait.kind) {
        case wire::RequestKind::Query:
            return u"正在查询"_s;
        case wire::RequestKind::ApplyUpdates:
            return u"正在保存"_s;
        case wire::RequestKind::Execute:
            return u"正在执行"_s;
        case wire::RequestKind::Login:
            return u"正在登录"_s;
        case wire::RequestKind::Clock:
            break;
        }
        return u"正在等待服务器"_s;
    };
    return u"%1，已等待%2秒"_s.arg(doing()).arg(wait.milliseconds / 1000);
}

// What Esc does. A save that no server has read yet is not taken back by it, only no longer waited for.
QString HintFor(const TLongWait& wait)
{
    if (!wait.cancellable)
        return u"请稍候"_s;
    return wait.kind == wire::RequestKind::Query ? u"Esc 取消"_s : u"Esc 不再等待"_s;
}

// Commands rather than text or a step from field to field.
bool IsCommand(const QKeyEvent& key)
{
    constexpr Qt::KeyboardModifiers kCommand = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    return (key.modifiers() & kCommand) != 0 || (key.key() >= Qt::Key_F1 && key.key() <= Qt::Key_F35);
}

} // namespace

TWaitingNote::TWaitingNote(QObject* parent)
    : QObject(parent)
{
}

TWaitingNote::~TWaitingNote()
{
    Over();
}

QWidget* TWaitingNote::Panel() const noexcept
{
    return waiting_ ? panel_.data() : nullptr;
}

bool TWaitingNote::KeepWaiting(const TLongWait& wait)
{
    if (!waiting_) {
        waiting_ = true;
        cancelled_ = pressDropped_ = false;
        modalBefore_ = QApplication::activeModalWidget();
        QCoreApplication::instance()->installEventFilter(this);
        ShowPanel();
    }
    cancellable_ = wait.cancellable;
    if (panel_) {
        const QString text = TextFor(wait);
        if (text != text_->text()) {
            text_->setText(text);
            hint_->setText(HintFor(wait));
            PlacePanel();
        }
    }
    // What the server sends is read by whoever waits for it, not by the event loop.
    QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
    return !cancelled_;
}

void TWaitingNote::Over() noexcept
{
    if (!std::exchange(waiting_, false))
        return;
    QCoreApplication::instance()->removeEventFilter(this);
    if (panel_) {
        panel_->hide();
        panel_->deleteLater();
        panel_ = nullptr;
    }
    for (auto& [receiver, event] : std::exchange(kept_, {}))
        if (receiver)
            QCoreApplication::postEvent(receiver, event.release());
    for (const auto& [receiver, id] : std::exchange(timers_, {}))
        if (receiver)
            QCoreApplication::postEvent(receiver, new QTimerEvent(id));
}

void TWaitingNote::ShowPanel()
{
    QWidget* over = QApplication::activeWindow();
    if (!over && Application)
        over = Application->MainForm();
    if (!over || !over->isVisible())
        return;
    panel_ = new QFrame(over->window());
    panel_->setObjectName(u"WaitingNote"_s);
    panel_->setStyleSheet(u"QFrame#WaitingNote { background: #fffbe6; border: 1px solid #c9b458;"
                          "border-radius: 3px; } QFrame#WaitingNote QLabel { color: #1f2933; }"
                          "QFrame#WaitingNote QLabel#Hint { color: #5c6773; }"_s);
    panel_->setFocusPolicy(Qt::NoFocus);
    auto* layout = new QHBoxLayout(panel_);
    layout->setContentsMargins(16, 10, 16, 10);
    layout->setSpacing(24);
    layout->addWidget(text_ = new QLabel(panel_));
    layout->addWidget(hint_ = new QLabel(panel_));
    hint_->setObjectName(u"Hint"_s);
    panel_->show();
    panel_->raise();
}

void TWaitingNote::PlacePanel()
{
    const QWidget* window = panel_->parentWidget();
    panel_->adjustSize();
    panel_->move((window->width() - panel_->width()) / 2, (window->height() - panel_->height()) / 3);
}

bool TWaitingNote::eventFilter(QObject* receiver, QEvent* event)
{
    if (QApplication::activeModalWidget() != modalBefore_)
        return false;
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return TakeKey(receiver, *static_cast<const QKeyEvent*>(event));
    case QEvent::InputMethod:
        Keep(receiver, *event);
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        pressDropped_ = true;
        return true;
    case QEvent::MouseButtonRelease:
        // Of a button that was down before: left out, it would count as held.
        if (!pressDropped_)
            Keep(receiver, *event);
        return true;
    case QEvent::Timer:
        if (receiver->isWindowType())
            return false; // how some systems pace painting
        if (const std::pair<QPointer<QObject>, int> due{
                receiver, static_cast<QTimerEvent*>(event)->timerId()};
            std::find(timers_.begin(), timers_.end(), due) == timers_.end())
            timers_.push_back(due);
        return true;
    case QEvent::Close:
        if (!receiver->isWindowType())
            return false;
        event->ignore();
        return true;
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
        return true;
    default:
        return false;
    }
}

bool TWaitingNote::TakeKey(QObject* receiver, const QKeyEvent& key)
{
    if (key.key() == Qt::Key_Escape) {
        cancelled_ = cancelled_ || (cancellable_ && key.type() == QEvent::KeyPress);
        return true;
    }
    // Enter or a blank on a button would run its command again.
    const bool onButton = qobject_cast<QAbstractButton*>(QApplication::focusWidget()) != nullptr;
    if (!IsCommand(key) && !onButton)
        Keep(receiver, key);
    return true;
}

void TWaitingNote::Keep(QObject* receiver, const QEvent& event)
{
    kept_.emplace_back(receiver, std::unique_ptr<QEvent>(event.clone()));
}
