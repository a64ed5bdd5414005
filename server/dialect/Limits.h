#pragma once

#include "server/dialect/Lexer.h"

#include <chrono>

// What one text may be: far more than a screen or a person writes, far less than starves a server or ends its
// stack. What each database refuses on its own (500 members of a union, 1,664 columns) lies above.
namespace dialect {

constexpr qsizetype kLongestStatement = 1 << 20; // UTF-16 units
constexpr qsizetype kLongestLiteral = 4'000; // of one text in quotes, as in the company's database
constexpr size_t kMostListValues = 1'000; // of one in list, as there
constexpr int kMostNodes = 30'000; // of the tree, the columns that stars stand for included
// Outside of long in lists. The time that SQLite takes to prepare grows with their square.
constexpr int kMostLiterals = 6'000;
constexpr int kMostDepth = 200; // of the tree, and of brackets
constexpr size_t kMostOperands =
    255; // arguments, branches of a case, operands of ||, keys of a sort or group
constexpr size_t kMostColumns = 1'000; // of a select or an update, as in the company's database
constexpr size_t kMostSources = 60; // of one from clause
constexpr size_t kMostSourcesInAll = 200;
constexpr size_t kMostBlocks = 200; // selects of a statement
constexpr qsizetype kLongestMask = 100; // format of a date or a number

// Of a text that an expression builds, in bytes of UTF-8.
constexpr size_t kLongestBuiltText = 64 << 10;
// Characters that never are more bytes than that.
constexpr int kSurelyShort = kLongestBuiltText / 4;
constexpr int kLongestPadded = 4'000; // by lpad and rpad
constexpr int kLongestNumber = 400; // and a date: as text

// The time that a text may take to be translated, measured now and then.
class TranslationTime {
public:
    explicit TranslationTime(QStringView text)
        : text_(text)
        , end_(std::chrono::steady_clock::now() + kMost)
    {
    }
    // Raises Limit when it is over.
    void Check()
    {
        if (++calls_ % kCallsALook == 0)
            Look();
    }

private:
    static constexpr std::chrono::seconds kMost{5};
    static constexpr unsigned kCallsALook = 256;

    void Look() const;

    QStringView text_;
    std::chrono::steady_clock::time_point end_;
    unsigned calls_ = 0;
};

} // namespace dialect
