#include "runtime/ui/Forms.h"

#include "runtime/ui/Application.h"
#include "runtime/ui/ScreenPrivate.h"
#include "runtime/ui/ScrollPane.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

TFormMessage::TFormMessage(int number, QWidget* first, qintptr second)
    : QEvent(Type(number))
    , first_(first)
    , second_(second)
{
}

void SendFormMessage(QWidget* receiver, int number, QWidget* first, qintptr second)
{
    if (!receiver)
        return;
    TFormMessage message(number, first, second);
    QCoreApplication::sendEvent(receiver, &message);
}

namespace {

TForm* FormOf(QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        if (auto* form = qobject_cast<TForm*>(widget))
            return form;
        if (widget->isWindow())
            return nullptr; // a pop-up's keys are its own
    }
    return nullptr;
}

// Lets each form see the keys of its controls before they do. One filter serves all forms: a key that a
// control ignores is offered to its parents in turn, and must reach the form once only.
class KeyPreviewFilter : public QObject {
public:
    using QObject::QObject;

    static void Install()
    {
        static QPointer<KeyPreviewFilter> filter;
        if (!filter) {
            filter = new KeyPreviewFilter(qApp);
            qApp->installEventFilter(filter);
        }
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
            return false;
        auto* widget = static_cast<QWidget*>(watched);
        const bool handedUp = event == lastEvent_ && lastWidget_ && lastWidget_->parentWidget() == widget;
        lastEvent_ = event;
        lastWidget_ = widget;
        TForm* form = handedUp ? nullptr : FormOf(widget);
        if (!form || !form->KeyPreview)
            return false;
        bool eaten = false;
        Guarded([&] { eaten = form->FormKeyDown(static_cast<QKeyEvent*>(event)); });
        if (eaten)
            event->accept();
        return eaten;
    }

private:
    const QEvent* lastEvent_ = nullptr;
    QPointer<QWidget> lastWidget_;
};

// The frame of an MDI child. It tells its form when it goes, before it is half gone.
class ScreenWindow : public QMdiSubWindow {
public:
    ~ScreenWindow() override
    {
        if (OnDestroyed)
            OnDestroyed();
    }
    std::function<void()> OnDestroyed;
};

// The screen that the main form's area has for its current one.
TForm* CurrentScreen()
{
    const QWidget* mainForm = Application ? Application->MainForm() : nullptr;
    const auto* area = mainForm ? mainForm->findChild<QMdiArea*>() : nullptr;
    const QMdiSubWindow* window = area ? area->currentSubWindow() : nullptr;
    const auto* pane = window ? qobject_cast<TScrollPane*>(window->widget()) : nullptr;
    return pane ? qobject_cast<TForm*>(pane->Content()) : nullptr;
}

} // namespace

class TForm::Private {
public:
    ScreenWindow* window = nullptr; // of an MDI child, once shown
    QPointer<QEventLoop> loop; // of a modal form
    bool shown = false;
    bool closing = false;
    bool gone = false; // closed for good; only its deletion is outstanding
};

TForm::TForm(QObject* owner, const QString& name)
    : QWidget(qobject_cast<QWidget*>(owner), owner && owner->isWidgetType() ? Qt::Window : Qt::WindowFlags())
    , d_(std::make_unique<Private>())
{
    setObjectName(name);
    KeyPreviewFilter::Install();
    if (Screen)
        Screen->d_->forms.push_back(this);
    if (auto* application = qobject_cast<TApplication*>(owner))
        application->OwnForm(this);
}

TForm::~TForm()
{
    LeaveScreen();
    if (d_->loop)
        d_->loop->quit();
    if (d_->window) {
        d_->window->OnDestroyed = {};
        d_->window->hide();
        d_->window->deleteLater();
    }
}

void TForm::LeaveScreen()
{
    if (!Screen)
        return;
    std::erase(Screen->d_->forms, this);
    if (Screen->d_->active != this)
        return;
    Screen->d_->active = nullptr;
    // A dialog hands back to the screen it stood over; not every window system makes that known.
    TForm* screen = FormStyle == TFormStyle::Normal ? CurrentScreen() : nullptr;
    if (screen && screen != this)
        screen->Activated();
}

QString TForm::Caption() const
{
    return windowTitle();
}

void TForm::SetCaption(const QString& caption)
{
    setWindowTitle(caption);
    setAccessibleName(caption);
}

void TForm::Show()
{
    if (d_->gone)
        return;
    if (d_->shown && (d_->window ? d_->window->isVisible() : isVisible())) {
        BringToFront();
        return;
    }
    if (FormStyle == TFormStyle::MDIChild && !d_->window)
        EnterMdiArea();
    d_->shown = true;
    try {
        FormShow();
    } catch (...) {
        d_->shown = false;
        throw;
    }
    QWidget* window = d_->window ? static_cast<QWidget*>(d_->window) : this;
    if (OpenMaximized)
        window->showMaximized();
    else
        window->show();
    if (d_->window)
        show();
    BringToFront();
}

void TForm::EnterMdiArea()
{
    QWidget* mainForm = Application ? Application->MainForm() : nullptr;
    auto* area = mainForm ? mainForm->findChild<QMdiArea*>() : nullptr;
    if (!area)
        return;
    auto* window = new ScreenWindow;
    window->OnDestroyed = [this] { d_->window = nullptr; };
    window->setAttribute(Qt::WA_DeleteOnClose);
    // A window on a small screen, or one of many side by side, is smaller than its screen needs. The screen
    // comes last, into a window that stands: each change of a parent styles all that is below it anew.
    auto* pane = new TScrollPane(testAttribute(Qt::WA_Resized) ? size() : sizeHint());
    window->setWidget(pane);
    window->setWindowTitle(windowTitle());
    connect(this, &QWidget::windowTitleChanged, window, &QWidget::setWindowTitle);
    // No minimise button: a screen is on the window list, never an icon.
    area->addSubWindow(window,
        Qt::SubWindow | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
            | Qt::WindowMaximizeButtonHint | Qt::WindowCloseButtonHint);
    pane->Take(this);
    window->setWindowIcon(mainForm->windowIcon());
    // The frame's menu closes the window in front by the same key; of two that have it, neither is run.
    const QList<QAction*> commands = window->systemMenu()->actions();
    for (QAction* command : commands)
        command->setShortcut({});
    d_->window = window;
    connect(area, &QMdiArea::subWindowActivated, this, [this](QMdiSubWindow* active) {
        if (active && active == d_->window)
            Activated();
    });
}

void TForm::Activated()
{
    if (d_->gone || !Screen || Screen->d_->active == this)
        return;
    Screen->d_->active = this;
    Guarded([this] { FormActivate(); });
}

void TForm::BringToFront()
{
    if (d_->window) {
        d_->window->raise();
        if (auto* area = d_->window->mdiArea())
            area->setActiveSubWindow(d_->window);
        Activated(); // the area is silent about a window that it held for active while hidden
    } else {
        raise();
        activateWindow();
        Activated();
    }
}

bool TForm::IsShown() const noexcept
{
    return d_->shown && !d_->gone;
}

bool TForm::Close()
{
    if (d_->gone)
        return true;
    return d_->window ? d_->window->close() : close();
}

void TForm::ShowModal()
{
    setWindowFlags((windowFlags() & ~Qt::WindowType_Mask) | Qt::Dialog);
    setWindowModality(Qt::ApplicationModal);
    setAttribute(Qt::WA_Moved, false);
    resize(size().boundedTo(screen()->availableSize()));
    const QPointer<QWidget> before = QApplication::activeWindow();
    Show();
    // Over the main form, unless the form has placed itself.
    const QWidget* mainForm = Application ? Application->MainForm() : nullptr;
    if (mainForm && !testAttribute(Qt::WA_Moved)) {
        const QRect place = mainForm->window()->frameGeometry();
        move(place.center() - rect().center());
    }
    QEventLoop loop;
    d_->loop = &loop;
    loop.exec();
    // The keyboard goes back, which not every window system sees to. The form may be gone by now.
    const QWidget* active = QApplication::activeWindow();
    if (before && (!active || !active->isVisible()))
        before->activateWindow();
}

bool TForm::FormKeyDown(QKeyEvent*)
{
    return false;
}

void TForm::closeEvent(QCloseEvent* event)
{
    if (d_->gone || d_->closing) {
        event->setAccepted(d_->gone);
        return;
    }
    d_->closing = true;
    TCloseAction action = TCloseAction::None;
    Guarded([&] { action = FormClose(); });
    d_->closing = false;
    if (action == TCloseAction::None) {
        event->ignore();
        return;
    }
    if (d_->loop)
        d_->loop->quit();
    if (action == TCloseAction::Hide) {
        d_->shown = false;
        if (Screen && Screen->d_->active == this)
            Screen->d_->active = nullptr;
        if (d_->window) {
            d_->window->hide();
            event->ignore(); // the frame stays for the next time
        } else {
            event->accept();
        }
        return;
    }
    // Gone from everybody's sight at once, so that the same screen can be opened anew right away; the object
    // itself outlives the handlers that may still be running in it.
    d_->gone = true;
    LeaveScreen();
    event->accept();
    if (!d_->window)
        deleteLater();
}

void TForm::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isWindow() && isActiveWindow())
        Activated();
}

void TForm::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!d_->shown && !event->spontaneous()) {
        d_->shown = true;
        Guarded([this] { FormShow(); });
    }
}

void TForm::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && d_->loop)
        Close();
    else
        QWidget::keyPressEvent(event);
}
