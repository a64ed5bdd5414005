#pragma once

#include "runtime/Export.h"

#include <QByteArrayView>
#include <QString>

#include <vector>

// Ranks of texts in Chinese (pinyin) order, digits and Latin letters first: rank[i] of texts[i], equal texts
// equal ranks. One pass over all distinct values of a column; sorting then compares numbers.
RUNTIME_EXPORT std::vector<quint32> CollationRanks(const std::vector<QByteArrayView>& utf8Texts);
// <0, 0, >0 in the same order.
RUNTIME_EXPORT int CompareChinese(const QString& a, const QString& b);
// The pinyin initials of the text: one lower-case letter for each Chinese character, other characters in
// lower case as they are. "上海a1" gives "sha1".
RUNTIME_EXPORT QString PinyinInitials(QStringView text);
// How many bytes the text has in code page 936: one for ASCII, two for a Chinese character, and one for what
// the code page lacks (it becomes "?").
RUNTIME_EXPORT int CodePage936Length(QStringView text);
