#pragma once

#include "runtime/Export.h"

#include <QEvent>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

enum class TFormStyle { Normal, MDIChild };
enum class TCloseAction { None, Hide, Free };

// Messages from a screen to the host's main form, as Qt events of these very types: first parameter the
// screen, second 0.
inline constexpr int kMessageActivated = 1124;
inline constexpr int kMessageClosed = 1125;
inline constexpr int kMessageCreating = 1127;

class RUNTIME_EXPORT TFormMessage : public QEvent {
public:
    TFormMessage(int number, QWidget* first, qintptr second);
    QWidget* First() const noexcept { return first_; }
    qintptr Second() const noexcept { return second_; }

private:
    QWidget* first_;
    qintptr second_;
};

// Delivers the message at once; does nothing without a receiver.
RUNTIME_EXPORT void SendFormMessage(QWidget* receiver, int number, QWidget* first, qintptr second = 0);

// A window: an MDI child of the main form's QMdiArea, or a dialog. Controls are its child widgets, components
// (datasets, timers, actions) its child objects.
class RUNTIME_EXPORT TForm : public QWidget {
    Q_OBJECT
public:
    // `owner`: the application, which frees the form at its end, or a widget.
    explicit TForm(QObject* owner = nullptr, const QString& name = {});
    ~TForm() override;

    QString Caption() const;
    void SetCaption(const QString& caption);

    TFormStyle FormStyle = TFormStyle::Normal;
    bool OpenMaximized = false;
    bool KeyPreview = false;

    // Makes an MDI child a child of the main form's area the first time; brings an open one forward.
    void Show();
    void BringToFront();
    bool IsShown() const noexcept;
    // Asks OnClose; false when it refused.
    bool Close();
    // Modal, centred; returns when closed.
    void ShowModal();

    // Every key of every control of the form while KeyPreview is on, before the control; true eats it.
    virtual bool FormKeyDown(QKeyEvent* event);

protected:
    virtual void FormShow() { } // before the form becomes visible
    virtual void FormActivate() { }
    virtual TCloseAction FormClose() { return TCloseAction::Free; }

    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void EnterMdiArea();
    void Activated();
    void LeaveScreen();

    class Private;
    std::unique_ptr<Private> d_;
};

// The shared components that a host publishes: a list that is indexed and counted, each item known by its
// objectName. Value items carry their value as the property "text".
using TObjectList = std::vector<QObject*>;
