#include "import/OdsRows.h"

#include "import/ZipEntry.h"

#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

std::vector<std::vector<TRepeatedRow>> RepeatedRows(const QByteArray& odsFile)
{
    std::vector<std::vector<TRepeatedRow>> tables;
    const std::vector<unsigned char> content = ZipEntry(odsFile, "content.xml");
    QXmlStreamReader xml(BytesOf(content));
    int row = 0;
    int count = 0;
    bool filled = false;
    while (!xml.atEnd()) {
        xml.readNext();
        const bool isRow = xml.qualifiedName() == u"table:table-row";
        if (xml.isStartElement() && xml.qualifiedName() == u"table:table") {
            tables.emplace_back();
            row = 0;
        } else if (xml.isStartElement() && isRow) {
            count = std::max(1, xml.attributes().value(u"table:number-rows-repeated"_s).toInt());
            filled = false;
        } else if (xml.isStartElement() && xml.qualifiedName() == u"table:table-cell") {
            filled = filled || xml.attributes().hasAttribute(u"office:value-type"_s);
        } else if (xml.isEndElement() && isRow) {
            if (filled && count > 1 && !tables.empty())
                tables.back().push_back({row, count});
            row += count;
        }
    }
    return tables;
}
