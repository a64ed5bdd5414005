#include "import/InlineTexts.h"

#include "import/SheetCells.h"
#include "import/ZipEntry.h"

#include <QHash>
#include <QXmlStreamReader>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kFolder = u"xl/"_s;

void ForEachElement(const QByteArray& part, const std::function<void(QXmlStreamReader& xml)>& visit)
{
    QXmlStreamReader xml(part);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            visit(xml);
    }
    if (xml.hasError())
        throw std::runtime_error(xml.errorString().toStdString());
}

// The table that each entry of the archive holds. One that is named for several is read once.
QHash<QByteArray, QString> TablesByEntry(const QByteArray& file)
{
    QHash<QString, QByteArray> entries; // by relationship
    const auto relationships = ZipEntry(file, "xl/_rels/workbook.xml.rels");
    ForEachElement(BytesOf(relationships), [&](const QXmlStreamReader& xml) {
        const QString target = xml.attributes().value(u"Target"_s).toString();
        entries[xml.attributes().value(u"Id"_s).toString()] =
            (target.startsWith(u'/') ? target.sliced(1) : kFolder + target).toUtf8();
    });
    QHash<QByteArray, QString> tables;
    const auto workbook = ZipEntry(file, "xl/workbook.xml");
    ForEachElement(BytesOf(workbook), [&](const QXmlStreamReader& xml) {
        if (xml.name() != u"sheet")
            return;
        for (const QXmlStreamAttribute& attribute : xml.attributes()) {
            if (attribute.name() == u"id" && entries.contains(attribute.value().toString()))
                tables[entries.value(attribute.value().toString())] =
                    xml.attributes().value(u"name"_s).toString();
        }
    });
    return tables;
}

// The text of a cell, in one piece or in pieces of several looks; how it is read aloud is no part of it.
QString ReadCell(QXmlStreamReader& xml)
{
    QString text;
    int aloud = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement() && xml.name() == u"c")
            break;
        if (xml.name() == u"rPh")
            aloud += xml.isStartElement() ? 1 : xml.isEndElement() ? -1 : 0;
        else if (xml.isStartElement() && xml.name() == u"t" && aloud == 0)
            text += xml.readElementText(QXmlStreamReader::IncludeChildElements);
    }
    return text;
}

} // namespace

void ReadInlineTexts(const QByteArray& xlsxFile, const TInlineText& take)
{
    const QHash<QByteArray, QString> tables = TablesByEntry(xlsxFile);
    for (auto table = tables.begin(); table != tables.end(); ++table) {
        const auto entry = ZipEntry(xlsxFile, table.key());
        if (!BytesOf(entry).contains("inlineStr"))
            continue; // as spreadsheets save them
        int row = -1;
        int column = -1;
        ForEachElement(BytesOf(entry), [&](QXmlStreamReader& xml) {
            const QByteArray place = xml.attributes().value(u"r"_s).toUtf8();
            if (xml.name() == u"row") {
                row = place.isEmpty() ? row + 1 : place.toInt() - 1;
                column = -1;
            } else if (xml.name() == u"c") {
                column = place.isEmpty() ? column + 1 : CellAddress(place.toStdString()).column;
                if (xml.attributes().value(u"t"_s) == u"inlineStr")
                    take(table.value(), row, column, ReadCell(xml));
            }
        });
    }
}
