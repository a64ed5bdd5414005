#include "tests/import/SheetFiles.h"

#include <QHash>

namespace {

void Append(QByteArray& bytes, std::initializer_list<std::pair<quint32, int>> numbers)
{
    for (const auto& [number, size] : numbers) {
        for (int i = 0; i < size; ++i)
            bytes.append(static_cast<char>(number >> (8 * i)));
    }
}

quint32 Crc32(const QByteArray& bytes)
{
    quint32 crc = 0xFFFFFFFF;
    for (const char each : bytes) {
        crc ^= static_cast<quint8>(each);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) ? 0xEDB88320 : 0);
    }
    return ~crc;
}

QByteArray ColumnLetters(int column)
{
    QByteArray letters;
    for (++column; column > 0; column = (column - 1) / 26)
        letters.prepend(static_cast<char>('A' + (column - 1) % 26));
    return letters;
}

} // namespace

QByteArray ZipOf(const QList<TZipEntry>& entries)
{
    QByteArray zip;
    QByteArray directory;
    for (const TZipEntry& entry : entries) {
        const auto at = static_cast<quint32>(zip.size());
        const auto size = static_cast<quint32>(entry.bytes.size());
        const auto nameSize = static_cast<quint32>(entry.name.size());
        const quint32 crc = Crc32(entry.bytes);
        const quint32 claimed = entry.claimed != 0 ? entry.claimed : size;
        zip += "PK\x03\x04";
        Append(zip,
            {{20, 2}, {entry.flags, 2}, {0, 2}, {0, 4}, {crc, 4}, {size, 4}, {claimed, 4}, {nameSize, 2},
                {0, 2}});
        zip += entry.name + entry.bytes;
        directory += "PK\x01\x02";
        Append(directory,
            {{20, 2}, {20, 2}, {entry.flags, 2}, {0, 2}, {0, 4}, {crc, 4}, {size, 4}, {claimed, 4},
                {nameSize, 2}, {0, 2}, {0, 2}, {0, 2}, {0, 2}, {0, 4}, {at, 4}});
        directory += entry.name;
    }
    const auto count = static_cast<quint32>(entries.size());
    const auto at = static_cast<quint32>(zip.size());
    zip += directory + "PK\x05\x06";
    Append(zip,
        {{0, 2}, {0, 2}, {count, 2}, {count, 2}, {static_cast<quint32>(directory.size()), 4}, {at, 4},
            {0, 2}});
    return zip;
}

QByteArray XlsxOf(const std::vector<QStringList>& rows, const QByteArray& more)
{
    QByteArray sheet;
    QByteArray strings;
    QHash<QString, int> known;
    for (size_t row = 0; row < rows.size(); ++row) {
        const QByteArray number = QByteArray::number(static_cast<int>(row) + 1);
        sheet += "<row r=\"" + number + "\">";
        for (int column = 0; column < rows[row].size(); ++column) {
            const QString& text = rows[row][column];
            if (text.isEmpty())
                continue;
            if (text.startsWith(u'<')) {
                sheet += text.toUtf8();
                continue;
            }
            sheet += "<c r=\"" + ColumnLetters(column) + number + '"';
            if (text.startsWith(u'=') || text.startsWith(u'@')) {
                sheet += (text.startsWith(u'@') ? " s=\"1\"" : "") + QByteArray("><v>") + text.mid(1).toUtf8()
                    + "</v></c>";
                continue;
            }
            auto at = known.find(text);
            if (at == known.end()) {
                at = known.insert(text, static_cast<int>(known.size()));
                strings += "<si><t>" + text.toHtmlEscaped().toUtf8() + "</t></si>";
            }
            sheet += " t=\"s\"><v>" + QByteArray::number(*at) + "</v></c>";
        }
        sheet += "</row>";
    }
    static const QByteArray kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
    static const QByteArray kMain = " xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"";
    static const QByteArray kRels = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    static const QByteArray kPackage = "http://schemas.openxmlformats.org/package/2006/";
    static const QByteArray kType = "application/vnd.openxmlformats-officedocument.spreadsheetml.";
    return ZipOf({
        {"[Content_Types].xml",
            kHead + "<Types xmlns=\"" + kPackage
                + "content-types\"><Default Extension=\"rels\" ContentType=\"application/"
                  "vnd.openxmlformats-package.relationships+xml\"/><Default Extension=\"xml\" "
                  "ContentType=\"application/xml\"/>"
                  "<Override PartName=\"/xl/workbook.xml\" ContentType=\""
                + kType
                + "sheet.main+xml\"/>"
                  "<Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\""
                + kType
                + "worksheet+xml\"/>"
                  "<Override PartName=\"/xl/styles.xml\" ContentType=\""
                + kType
                + "styles+xml\"/>"
                  "<Override PartName=\"/xl/sharedStrings.xml\" ContentType=\""
                + kType + "sharedStrings+xml\"/></Types>"},
        {"_rels/.rels",
            kHead + "<Relationships xmlns=\"" + kPackage + "relationships\"><Relationship Id=\"rId1\" Type=\""
                + kRels + "/officeDocument\" Target=\"xl/workbook.xml\"/></Relationships>"},
        {"xl/workbook.xml",
            kHead + "<workbook" + kMain + " xmlns:r=\"" + kRels
                + "\"><sheets><sheet name=\"订单\" sheetId=\"1\" r:id=\"rId1\"/></sheets></workbook>"},
        {"xl/_rels/workbook.xml.rels",
            kHead + "<Relationships xmlns=\"" + kPackage + "relationships\"><Relationship Id=\"rId1\" Type=\""
                + kRels + "/worksheet\" Target=\"worksheets/sheet1.xml\"/><Relationship Id=\"rId2\" Type=\""
                + kRels + "/styles\" Target=\"styles.xml\"/><Relationship Id=\"rId3\" Type=\"" + kRels
                + "/sharedStrings\" Target=\"sharedStrings.xml\"/></Relationships>"},
        {"xl/styles.xml",
            kHead + "<styleSheet" + kMain
                + "><numFmts count=\"1\"><numFmt numFmtId=\"176\" formatCode=\"yyyy&quot;年&quot;m/d\\ "
                  "hh:mm\"/></numFmts>"
                  "<cellXfs count=\"2\"><xf numFmtId=\"0\"/><xf numFmtId=\"176\" "
                  "applyNumberFormat=\"1\"/></cellXfs>"
                  "</styleSheet>"},
        {"xl/sharedStrings.xml", kHead + "<sst" + kMain + ">" + strings + "</sst>"},
        {"xl/worksheets/sheet1.xml",
            kHead + "<worksheet" + kMain + "><sheetData>" + sheet + "</sheetData>" + more + "</worksheet>"},
    });
}

QByteArray OdsOf(const QByteArray& rows, const QByteArray& manifest)
{
    return ZipOf({
        {"mimetype", "application/vnd.oasis.opendocument.spreadsheet"},
        {"META-INF/manifest.xml", manifest},
        {"content.xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><office:document-content "
            "xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\" "
            "xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\" "
            "xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\" "
            "office:version=\"1.2\"><office:body>"
            "<office:spreadsheet><table:table table:name=\"订单\">"
                + rows + "</table:table></office:spreadsheet></office:body></office:document-content>"},
    });
}
