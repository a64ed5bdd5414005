#pragma once

#include "wire/ColumnData.h"

#include <QStringList>

// Numbers texts from 0 on, equal ones alike: of very many, in a fraction of what a hash of strings takes.
class TextNumbers {
public:
    TextNumbers() = default;
    explicit TextNumbers(const QStringList& texts)
    {
        for (const QString& text : texts)
            NumberOf(text);
    }
    quint32 NumberOf(const QString& text)
    {
        const QByteArray utf8 = text.toUtf8();
        return index_.Find(texts_, utf8.constData(), utf8.size() + 1); // with its zero: an empty one has none
    }
    quint32 Count() const noexcept { return static_cast<quint32>(texts_.Count()); }

private:
    wire::TextPool texts_;
    wire::TextIndex index_;
};
