#pragma once

#include "runtime/ui/Forms.h"

#include <QElapsedTimer>

class QLabel;
class QProgressBar;
class QPushButton;

// How far a long action has come: a text, the rows done and their total. Not modal; it paints itself while
// the action keeps the thread. Freed by its scope.
//
// With AllowCancel() it is modal, has a cancel button, and every step lets the user press it.
class Tfrm_Progress : public TForm {
    Q_OBJECT
public:
    Tfrm_Progress(QObject* owner, const QString& caption);
    ~Tfrm_Progress() override;

    void AllowCancel();
    bool Cancelled() const noexcept { return cancelled_; }

    // Opens with the text and nothing done.
    void Start(const QString& text, int total);
    // Takes text and count; painted as often as the eye can follow, and for the last step.
    void Step(const QString& text, int done);
    void Finish(const QString& text);

    QString Text() const;
    int Done() const;
    int Total() const;

    bool FormKeyDown(QKeyEvent* event) override;

protected:
    TCloseAction FormClose() override;

private:
    void Take(const QString& text, int done);
    void ShowTaken();

    QLabel* Label1; // text
    QLabel* Label2; // done / total
    QProgressBar* ProgressBar1;
    QPushButton* Button1 = nullptr; // 取消
    bool cancelled_ = false;
    QString text_;
    int done_ = 0;
    QElapsedTimer painted_;
};
