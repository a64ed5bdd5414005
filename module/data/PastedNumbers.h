#pragma once

#include <QString>
#include <QStringList>

class QPlainTextEdit;

// How a screen reads a pasted list of numbers.
struct TPasteRule {
    int maxLines = 800;
    bool trimmed = true; // each line without surrounding blanks
    bool lastFirst = false; // the lines in reverse order
};

struct TPastedNumbers {
    QString list; // ('a','b'); empty when there is a complaint
    QString complaint; // what to tell the user; empty when all is well
};

// The lines of a text; any of CR LF, CR and LF ends one.
QStringList NumberLines(const QString& text);
// Blank lines inside the text are items too.
TPastedNumbers ParsePastedNumbers(const QString& memoText, const TPasteRule& rule = {});
// The same on a memo, which makes its line breaks uniform as text comes in; tells the complaint. Returns the
// list.
QString PastedNumberList(QPlainTextEdit& memo, const TPasteRule& rule = {});
