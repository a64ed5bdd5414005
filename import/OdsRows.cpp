#include "import/OdsRows.h"

#include <QXmlStreamReader>

#include <orcus/zip_archive.hpp>
#include <orcus/zip_archive_stream.hpp>

using namespace Qt::Literals::StringLiterals;

namespace {

std::vector<unsigned char> ContentOf(const QByteArray& odsFile)
{
    orcus::zip_archive_stream_blob stream(
        reinterpret_cast<const unsigned char*>(odsFile.constData()), static_cast<size_t>(odsFile.size()));
    orcus::zip_archive archive(&stream);
    archive.load();
    std::vector<unsigned char> content;
    archive.read_file_entry("content.xml", content);
    return content;
}

} // namespace

std::vector<std::vector<TRepeatedRow>> RepeatedRows(const QByteArray& odsFile)
{
    std::vector<std::vector<TRepeatedRow>> tables;
    const std::vector<unsigned char> content = ContentOf(odsFile);
    QXmlStreamReader xml(QByteArray::fromRawData(
        reinterpret_cast<const char*>(content.data()), static_cast<qsizetype>(content.size())));
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
