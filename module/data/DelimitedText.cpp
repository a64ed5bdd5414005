#include "module/data/DelimitedText.h"

namespace {

constexpr QChar kQuote = u'"';
constexpr QChar kComma = u',';

// Behind the opening quote; ends behind the closing one, or where the text ends.
QString QuotedItem(QStringView text, qsizetype& at)
{
    QString item;
    for (; at < text.size(); ++at) {
        if (text[at] == kQuote && (++at == text.size() || text[at] != kQuote))
            break;
        item += text[at];
    }
    return item;
}

} // namespace

QStringList SplitDelimited(const QString& text)
{
    qsizetype at = 0;
    const auto skipBlanks = [&] {
        while (at < text.size() && text[at] <= u' ')
            ++at;
    };
    QStringList items;
    skipBlanks();
    while (at < text.size()) {
        if (text[at] == kQuote) {
            items += QuotedItem(text, ++at);
        } else {
            const qsizetype start = at;
            while (at < text.size() && text[at] > u' ' && text[at] != kComma)
                ++at;
            items += text.sliced(start, at - start);
        }
        skipBlanks();
        if (at < text.size() && text[at] == kComma) {
            if (++at == text.size())
                items += QString();
            skipBlanks();
        }
    }
    return items;
}
