#pragma once

#include "runtime/ui/Forms.h"

class QLabel;
class QProgressBar;

// How far a long action has come: a text, the rows done and their total. Not modal; it paints itself while
// the action keeps the thread. Freed by its scope.
class Tfrm_Progress : public TForm {
    Q_OBJECT
public:
    Tfrm_Progress(QObject* owner, const QString& caption);

    // Opens with the text and nothing done.
    void Start(const QString& text, int total);
    // Shows text and count at once.
    void Step(const QString& text, int done);
    void Finish(const QString& text);

    QString Text() const;
    int Done() const;
    int Total() const;

private:
    QLabel* Label1; // text
    QLabel* Label2; // done / total
    QProgressBar* ProgressBar1;
};
