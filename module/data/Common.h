#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/DBControls.h"

#include <QString>

#include <optional>

// In single quotes, every single quote inside doubled.
QString QuotedStr(const QString& text);

// A condition "column in (…)" over the key field of every row in view, in lists of at most `chunkSize` values
// joined by "or". The dataset's position stays.
QString BuildInList(
    const TClientDataSetEx& dataSet, const QString& keyField, const QString& column, int chunkSize = 999);

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

// Any of CR LF, CR and LF ends a line; blank lines inside the text are items too.
TPastedNumbers ParsePastedNumbers(const QString& memoText, const TPasteRule& rule = {});
// The same on a memo, which makes its line breaks uniform as text comes in; tells the complaint. Returns the
// list.
QString PastedNumberList(QPlainTextEdit& memo, const TPasteRule& rule = {});

struct TDateRangeFault {
    QString text;
    QString caption;
};

// What is wrong with a date range of at most `maxDays` days, if anything.
std::optional<TDateRangeFault> FindDateRangeFault(const QString& from, const QString& to, int maxDays);
// True when the range is rejected; tells the user why when `showMessages`.
bool CheckDateRange(const QString& from, const QString& to, int maxDays, bool showMessages);

// The server's date with " 00:00:00" and " 23:59:59": what date filters are preset to.
QString StartOfToday();
QString EndOfToday();

// Completes what was typed into a lookup box from its list; runs on Enter and when the box is left.
void CompleteLookupText(TDBLookupComboboxEh& box);

// Message boxes as the screens show them; texts are complete, "详细：" included.
void ShowWarning(const QString& text, const QString& caption);
void ShowInformation(const QString& text, const QString& caption);
void ShowError(const QString& text, const QString& caption);
// "详细：" and the reason, as a warning.
void ShowFailure(const QString& reason, const QString& caption);
// A rule violation: the warning, then the silent abort.
[[noreturn]] void Refuse(const QString& text, const QString& caption);
