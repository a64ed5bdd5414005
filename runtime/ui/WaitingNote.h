#pragma once

#include "runtime/data/Waiting.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>

#include <memory>
#include <utility>
#include <vector>

class QEvent;
class QFrame;
class QKeyEvent;
class QLabel;

// A small panel over the active window that tells what is waited for and for how long, and takes Esc.
//
// Meanwhile windows are painted, and nothing else happens in them. What is typed is kept and handed on
// afterwards, as are timers that were due. Clicks and command keys (function keys, Ctrl and Alt) are dropped:
// they were meant for rows that are about to change. A box that opens meanwhile gets its input at once.
class RUNTIME_EXPORT TWaitingNote final : public QObject, public TWaiting {
    Q_OBJECT
public:
    explicit TWaitingNote(QObject* parent = nullptr);
    ~TWaitingNote() override;

    bool KeepWaiting(const TLongWait& wait) override;
    void Over() noexcept override;
    // nullptr while nothing is waited for.
    QWidget* Panel() const noexcept;

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    void ShowPanel();
    void PlacePanel();
    bool TakeKey(QObject* receiver, const QKeyEvent& key);
    void Keep(QObject* receiver, const QEvent& event);

    bool waiting_ = false;
    bool cancellable_ = false;
    bool cancelled_ = false;
    bool pressDropped_ = false;
    QPointer<QWidget> modalBefore_;
    QPointer<QFrame> panel_;
    QPointer<QLabel> text_;
    QPointer<QLabel> hint_;
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> kept_;
    std::vector<std::pair<QPointer<QObject>, int>> timers_; // due, by their ids
};
