#pragma once

#include "runtime/Export.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QComboBox;
class QLineEdit;
class TTextMark;

// What the boxes with a drop-down list have in common beyond their looks.

// The button at the end of a box that opens its list or closes it.
RUNTIME_EXPORT void AddListButton(QLineEdit& box, const std::function<void()>& toggle);

// Esc gives a box back the text that it had when it was entered; where nothing was typed, Esc is not its key.
class RUNTIME_EXPORT TTypedText : public QObject {
public:
    struct TBox {
        std::function<QString()> text;
        std::function<void(const QString& text)> setText;
        std::function<bool()> listVisible; // Esc then closes the list
    };
    TTypedText(QWidget* box, TBox access);
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    TBox access_;
    QString before_;
};

// A fixed list's part: rows as high as any list's, a list as wide as its texts, and a mark on a text
// that it does not hold. What is typed is completed in place: one Enter takes it and goes on.
class TFixedList : public QObject {
public:
    explicit TFixedList(QComboBox* box);
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Fit();
    void Mark();

    QComboBox* box_;
    QPointer<TTextMark> mark_; // goes with the line edit of a box that can be typed into
};
