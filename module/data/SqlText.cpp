#include "module/data/SqlText.h"

using namespace Qt::Literals::StringLiterals;

QString QuotedStr(const QString& text)
{
    QString inside = text;
    inside.replace(u'\'', u"''"_s);
    return u'\'' + inside + u'\'';
}

QString BuildInList(
    const TClientDataSetEx& dataSet, const QString& keyField, const QString& column, int chunkSize)
{
    const int rows = dataSet.RecordCount();
    const int key = rows > 0 ? dataSet.FieldByName(keyField).Index() : -1;
    QString result;
    QString chunk;
    const auto closeChunk = [&] {
        if (!result.isEmpty())
            result += u"or"_s;
        result += u'(' + column + u" in ("_s + chunk + u"))"_s;
        chunk.clear();
    };
    for (int row = 0; row < rows; ++row) {
        if (!chunk.isEmpty())
            chunk += u',';
        chunk += u'\'' + dataSet.ViewText(row, key) + u'\'';
        if ((row + 1) % chunkSize == 0)
            closeChunk();
    }
    if (!chunk.isEmpty())
        closeChunk();
    return u'(' + result + u')';
}

QString SiteAndBelow(const QString& site, QStringView connect)
{
    return u" start with SITE_NAME='"_s + site + u'\'' + connect.toString()
        + u"SITE_NAME=(case SITE_NAME when '"_s + site + u"' then '' else SUPERIOR_SITE end)"_s;
}
