#pragma once

#include "runtime/Export.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

class TForm;

// Cursor numbers as the screens use them.
inline constexpr int crDefault = 0;
inline constexpr int crBusy = 102;

enum class TMessageIcon { None, Information, Warning, Question, Error };
enum class TMessageButtons { Ok, OkCancel, YesNo };
enum class TMessageResult { Ok, Cancel, Yes, No };

// A message box as it was shown.
struct TShownMessage {
    QString text;
    QString caption;
    TMessageIcon icon;
};

// The process's application object: main form, message and input boxes, the executable's place. Created by
// the host after the QApplication; the module adopts it.
class RUNTIME_EXPORT TApplication : public QObject {
    Q_OBJECT
public:
    explicit TApplication(QObject* parent = nullptr);
    ~TApplication() override;

    QWidget* MainForm() const noexcept;
    void SetMainForm(QWidget* form);

    // Full path of the running program; settings lie beside it.
    QString ExeName() const;
    void SetExeName(const QString& path);
    QString Title;

    // Forms created with the application as owner; freed with it.
    void OwnForm(TForm* form);

    // A modal box; returns the button pressed. `defaultButton` has the focus and takes Enter; Esc means
    // Cancel, No, or Ok where that is all there is. Queued answers (below) are taken instead of showing it.
    TMessageResult MessageBox(const QString& text, const QString& caption, TMessageIcon icon,
        TMessageButtons buttons = TMessageButtons::Ok, bool secondIsDefault = false);
    // A one-line question; the text typed, or `defaultText` when cancelled. `confirmed` tells which.
    QString InputBox(
        const QString& caption, const QString& prompt, const QString& defaultText, bool* confirmed = nullptr);

    // For automation and tests. An answer is "ok", "cancel", "yes", "no", a text for an input box, or a list
    // of names for a picker; each coming box or picker takes the next one. With `Unattended`, a box without
    // an answer takes its default button at once instead of waiting for a user.
    void QueueAnswer(const QStringList& answer);
    bool TakeAnswer(QStringList& answer);
    int QueuedAnswers() const noexcept;
    bool Unattended = false;
    const std::vector<TShownMessage>& ShownMessages() const noexcept; // the last 500 at least
    // Enters among the shown messages what another dialog than a message box told the user.
    void NoteShown(const QString& text, const QString& caption, TMessageIcon icon);
    void ClearShownMessages();

    // What to do with an exception that no handler caught; shows "详细：" and the message when unset.
    std::function<void(const QString& message)> OnException;
    void HandleException(const QString& message);

Q_SIGNALS:
    void MessageShown(const QString& text, const QString& caption);

private:
    class Private;
    std::unique_ptr<Private> d_;
};

// The process's screen object: the cursor, and the forms that are open.
class RUNTIME_EXPORT TScreen : public QObject {
    Q_OBJECT
public:
    explicit TScreen(QObject* parent = nullptr);
    ~TScreen() override;

    int Cursor() const noexcept;
    void SetCursor(int cursor);

    const std::vector<TForm*>& Forms() const noexcept;
    TForm* ActiveForm() const noexcept;

private:
    friend class TForm;
    class Private;
    std::unique_ptr<Private> d_;
};

extern RUNTIME_EXPORT TApplication* Application;
extern RUNTIME_EXPORT TScreen* Screen;

// Busy cursor for a scope; the cursor from before it, the default one as a rule, comes back in every outcome.
class RUNTIME_EXPORT BusyCursor {
public:
    BusyCursor();
    ~BusyCursor();
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;

private:
    QPointer<TScreen> screen_;
    int before_;
};

// Runs what a user's action started: a silent abort ends it quietly, any other failure goes to the handler
// given (message text), or to Application->HandleException. Every slot bound to a control runs through this.
RUNTIME_EXPORT void Guarded(
    const std::function<void()>& action, const std::function<void(const QString& message)>& onError = {});
