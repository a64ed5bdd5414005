#pragma once

#include "runtime/Export.h"

#include <QLabel>
#include <QObject>
#include <QPointer>
#include <QString>

class QLineEdit;

// Tells at a box what is wrong with its text, without a message box: the text in the colour of texts that
// nothing knows, the reason as a word at the box's right end, or in a hint below it where there is no room,
// and as its tool tip. The text stays as it is.
class RUNTIME_EXPORT TTextMark : public QObject {
public:
    explicit TTextMark(QLineEdit* box);
    // An empty reason takes the mark away.
    void Set(const QString& reason);
    const QString& Reason() const noexcept { return reason_; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Place();
    void ShowHint();

    QLineEdit* box_;
    QLabel* word_; // inside the box
    QPointer<QLabel> hint_; // below it, made when first needed
    QString reason_;
};
