#include "runtime/ui/Application.h"

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Forms.h"
#include "runtime/ui/ScreenPrivate.h"
#include "runtime/ui/ScrollPane.h"
#include "wire/Error.h"

#include <QApplication>
#include <QCoreApplication>
#include <QCursor>
#include <QInputDialog>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QtDebug>

#include <algorithm>
#include <exception>

using namespace Qt::Literals::StringLiterals;

TApplication* Application = nullptr;
TScreen* Screen = nullptr;

namespace {

// A client runs for weeks: of the boxes it showed, the older half goes where there are more.
constexpr size_t kMostShown = 1'000;

QMessageBox::Icon BoxIcon(TMessageIcon icon)
{
    switch (icon) {
    case TMessageIcon::Information:
        return QMessageBox::Information;
    case TMessageIcon::Warning:
        return QMessageBox::Warning;
    case TMessageIcon::Question:
        return QMessageBox::Question;
    case TMessageIcon::Error:
        return QMessageBox::Critical;
    case TMessageIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

struct ButtonChoice {
    TMessageResult result;
    QString text;
    QMessageBox::ButtonRole role;
};

std::vector<ButtonChoice> Choices(TMessageButtons buttons)
{
    switch (buttons) {
    case TMessageButtons::OkCancel:
        return {{TMessageResult::Ok, u"确定(&O)"_s, QMessageBox::AcceptRole},
            {TMessageResult::Cancel, u"取消(&C)"_s, QMessageBox::RejectRole}};
    case TMessageButtons::YesNo:
        return {{TMessageResult::Yes, u"是(&Y)"_s, QMessageBox::YesRole},
            {TMessageResult::No, u"否(&N)"_s, QMessageBox::NoRole}};
    case TMessageButtons::Ok:
        break;
    }
    return {{TMessageResult::Ok, u"确定(&O)"_s, QMessageBox::AcceptRole}};
}

// What a queued answer means for these buttons; anything that is not one of them takes the default.
TMessageResult AnswerResult(
    const QStringList& answer, const std::vector<ButtonChoice>& choices, size_t byDefault)
{
    const QString word = answer.value(0).toLower();
    if (word == u"ok"_s || word == u"yes"_s)
        return choices.front().result;
    if (word == u"cancel"_s || word == u"no"_s)
        return choices.back().result;
    return choices[byDefault].result;
}

// A text too long for the screen scrolls, so that the buttons stay in reach.
void FitToScreen(QMessageBox& box)
{
    auto* label = box.findChild<QLabel*>(u"qt_msgbox_label"_s);
    const QSize room = box.screen()->availableSize();
    const int width = qMin(room.width() / 2, 500); // from here on a box wraps its text
    label->setWordWrap(true);
    if (label->heightForWidth(width) < room.height() * 2 / 3)
        return;
    auto* const place = new QWidget(&box);
    delete box.layout()->replaceWidget(label, place);
    auto* const pane = new TScrollPane(label);
    pane->setMinimumSize(width, room.height() / 2);
    delete box.layout()->replaceWidget(place, pane);
    delete place;
}

// A box shows the ordinary pointer even where the work around it shows the busy one.
class CursorPause {
public:
    CursorPause()
        : cursor_(Screen ? Screen->Cursor() : crDefault)
    {
        if (Screen)
            Screen->SetCursor(crDefault);
    }
    ~CursorPause()
    {
        if (Screen)
            Screen->SetCursor(cursor_);
    }
    CursorPause(const CursorPause&) = delete;
    CursorPause& operator=(const CursorPause&) = delete;

private:
    int cursor_;
};

} // namespace

class TApplication::Private {
public:
    QPointer<QWidget> mainForm;
    QString exeName;
    std::vector<QPointer<TForm>> forms;
    std::deque<QStringList> answers;
    std::vector<TShownMessage> shown;

    QWidget* BoxParent() const
    {
        if (QWidget* modal = QApplication::activeModalWidget())
            return modal;
        return mainForm ? mainForm->window() : nullptr;
    }
};

TApplication::TApplication(QObject* parent)
    : QObject(parent)
    , d_(std::make_unique<Private>())
{
    d_->exeName = QCoreApplication::applicationFilePath();
}

TApplication::~TApplication()
{
    // Newest first: a screen may have opened another one.
    while (!d_->forms.empty()) {
        const QPointer<TForm> form = d_->forms.back();
        d_->forms.pop_back();
        delete form.data();
    }
    if (Application == this)
        Application = nullptr;
}

QWidget* TApplication::MainForm() const noexcept
{
    return d_->mainForm;
}

void TApplication::SetMainForm(QWidget* form)
{
    d_->mainForm = form;
}

QString TApplication::ExeName() const
{
    return d_->exeName;
}

void TApplication::SetExeName(const QString& path)
{
    d_->exeName = path;
}

void TApplication::OwnForm(TForm* form)
{
    std::erase_if(d_->forms, [](const QPointer<TForm>& known) { return known.isNull(); });
    d_->forms.emplace_back(form);
}

TMessageResult TApplication::MessageBox(const QString& text, const QString& caption, TMessageIcon icon,
    TMessageButtons buttons, bool secondIsDefault)
{
    const std::vector<ButtonChoice> choices = Choices(buttons);
    const size_t byDefault = secondIsDefault ? choices.size() - 1 : 0;
    NoteShown(text, caption, icon);

    QStringList answer;
    if (TakeAnswer(answer))
        return AnswerResult(answer, choices, byDefault);
    if (Unattended)
        return choices[byDefault].result;

    const CursorPause pause;
    QMessageBox box(BoxIcon(icon), caption, text, QMessageBox::NoButton, d_->BoxParent());
    box.setTextFormat(Qt::PlainText);
    box.setAccessibleName(caption);
    std::vector<QAbstractButton*> made;
    made.reserve(std::size(choices));
    for (const ButtonChoice& choice : choices)
        made.push_back(box.addButton(choice.text, choice.role));
    box.setDefaultButton(qobject_cast<QPushButton*>(made[byDefault]));
    box.setEscapeButton(made.back());
    FitToScreen(box);
    box.exec();
    const auto pressed = std::find(made.begin(), made.end(), box.clickedButton());
    return pressed == made.end() ? choices.back().result : choices[size_t(pressed - made.begin())].result;
}

QString TApplication::InputBox(
    const QString& caption, const QString& prompt, const QString& defaultText, bool* confirmed)
{
    const auto outcome = [confirmed](bool taken, const QString& text) {
        if (confirmed)
            *confirmed = taken;
        return text;
    };
    NoteShown(prompt, caption, TMessageIcon::None);

    QStringList answer;
    if (TakeAnswer(answer)) {
        const QString text = answer.value(0);
        if (text == u"cancel"_s)
            return outcome(false, defaultText);
        return outcome(true, text == u"ok"_s ? defaultText : text);
    }
    if (Unattended)
        return outcome(true, defaultText);

    const CursorPause pause;
    QInputDialog dialog(d_->BoxParent());
    dialog.setWindowTitle(caption);
    dialog.setLabelText(prompt);
    dialog.setTextValue(defaultText);
    dialog.setOkButtonText(u"确定(&O)"_s);
    dialog.setCancelButtonText(u"取消(&C)"_s);
    const bool accepted = dialog.exec() == QDialog::Accepted;
    return outcome(accepted, accepted ? dialog.textValue() : defaultText);
}

void TApplication::QueueAnswer(const QStringList& answer)
{
    d_->answers.push_back(answer);
}

bool TApplication::TakeAnswer(QStringList& answer)
{
    if (d_->answers.empty())
        return false;
    answer = std::move(d_->answers.front());
    d_->answers.pop_front();
    return true;
}

int TApplication::QueuedAnswers() const noexcept
{
    return int(d_->answers.size());
}

const std::vector<TShownMessage>& TApplication::ShownMessages() const noexcept
{
    return d_->shown;
}

void TApplication::NoteShown(const QString& text, const QString& caption, TMessageIcon icon)
{
    if (d_->shown.size() >= kMostShown)
        d_->shown.erase(d_->shown.begin(), d_->shown.begin() + kMostShown / 2);
    d_->shown.push_back({text, caption, icon});
    Q_EMIT MessageShown(text, caption);
}

void TApplication::ClearShownMessages()
{
    d_->shown.clear();
}

void TApplication::HandleException(const QString& message)
{
    if (OnException)
        OnException(message);
    else
        MessageBox(u"详细："_s + message, Title, TMessageIcon::Error);
}

TScreen::TScreen(QObject* parent)
    : QObject(parent)
    , d_(std::make_unique<Private>())
{
}

TScreen::~TScreen()
{
    SetCursor(crDefault);
    if (Screen == this)
        Screen = nullptr;
}

int TScreen::Cursor() const noexcept
{
    return d_->cursor;
}

void TScreen::SetCursor(int cursor)
{
    if (cursor == d_->cursor)
        return;
    // One override at most, whatever the order of the calls.
    if (d_->cursor != crDefault)
        QGuiApplication::restoreOverrideCursor();
    if (cursor != crDefault)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    d_->cursor = cursor;
}

const std::vector<TForm*>& TScreen::Forms() const noexcept
{
    return d_->forms;
}

TForm* TScreen::ActiveForm() const noexcept
{
    return d_->active;
}

BusyCursor::BusyCursor()
    : screen_(Screen)
    , before_(Screen ? Screen->Cursor() : crDefault)
{
    if (screen_)
        screen_->SetCursor(crBusy);
}

BusyCursor::~BusyCursor()
{
    if (screen_)
        screen_->SetCursor(before_);
}

void Guarded(const std::function<void()>& action, const std::function<void(const QString& message)>& onError)
{
    QString message;
    try {
        action();
        return;
    } catch (const EAbort&) {
        return;
    } catch (const wire::Error& error) {
        message = error.Message();
    } catch (const std::exception& error) {
        message = QString::fromUtf8(error.what());
    }
    if (onError)
        onError(message);
    else if (Application)
        Application->HandleException(message);
    else
        qCritical("%s", qUtf8Printable(message));
}
