#include "import/SheetFile.h"

#include "import/ZipEntry.h"
#include "wire/Error.h"

#include <QFile>
#include <QStringDecoder>
#include <QtEndian>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// Of an archive's end record and of the entries of its directory.
constexpr QByteArrayView kEndMark("PK\x05\x06", 4);
constexpr QByteArrayView kEntryMark("PK\x01\x02", 4);
constexpr qsizetype kEndLength = 22;
constexpr qsizetype kEntryLength = 46;
constexpr qsizetype kLongestComment = 0xFFFF;
constexpr quint32 kSizeElsewhere = 0xFFFFFFFF; // of files beyond 4 GB
constexpr int kMostEntries = 2'000;

constexpr QByteArrayView kCompoundMark("\xD0\xCF\x11\xE0", 4); // old files, and new ones with a password

[[noreturn]] void RaiseData(const QString& message)
{
    throw wire::Error(wire::ErrorKind::Data, message);
}

[[noreturn]] void RaiseBroken()
{
    RaiseData(u"文件已损坏，或者不是表格。请用表格软件打开，另存为 .xlsx 再导入。"_s);
}

[[noreturn]] void RaisePassword()
{
    RaiseData(u"文件有密码。请用表格软件打开，取消密码，另存以后再导入。"_s);
}

template <typename TNumber> TNumber NumberAt(QByteArrayView bytes, qsizetype at)
{
    return qFromLittleEndian<TNumber>(bytes.data() + at);
}

struct TArchive {
    QList<QByteArray> names;
    qint64 unpackedBytes = 0;
};

TArchive ReadDirectory(QByteArrayView bytes)
{
    const qsizetype from = std::max<qsizetype>(0, bytes.size() - kEndLength - kLongestComment);
    const qsizetype end = bytes.sliced(from).lastIndexOf(kEndMark);
    if (end < 0 || bytes.size() - from - end < kEndLength)
        RaiseBroken();
    qsizetype at = NumberAt<quint32>(bytes, from + end + 16);
    const int entries = NumberAt<quint16>(bytes, from + end + 10);
    if (entries > kMostEntries)
        RaiseBroken();
    TArchive archive;
    for (int i = 0; i < entries; ++i) {
        if (at > bytes.size() - kEntryLength || bytes.sliced(at, 4) != kEntryMark)
            RaiseBroken();
        const auto length = [&](qsizetype field) { return NumberAt<quint16>(bytes, at + field); };
        if (length(8) & 1)
            RaisePassword();
        const auto unpacked = NumberAt<quint32>(bytes, at + 24);
        archive.unpackedBytes += unpacked == kSizeElsewhere ? qint64(1) << 40 : unpacked;
        if (length(28) > bytes.size() - at - kEntryLength)
            RaiseBroken();
        archive.names.append(bytes.sliced(at + kEntryLength, length(28)).toByteArray());
        at += kEntryLength + length(28) + length(30) + length(32);
    }
    return archive;
}

TSheetKind KindOfArchive(const QByteArray& bytes, const TSheetBudget& budget)
{
    const TArchive archive = ReadDirectory(bytes);
    if (archive.unpackedBytes > budget.unpackedBytes)
        throw wire::Error(wire::ErrorKind::Limit,
            u"文件解开以后有%1MB，超过了%2MB，没有读取。请分成几个文件再导入。"_s
                .arg(archive.unpackedBytes >> 20)
                .arg(budget.unpackedBytes >> 20));
    if (archive.names.contains("xl/workbook.xml"))
        return TSheetKind::Xlsx;
    if (!archive.names.contains("content.xml"))
        RaiseBroken();
    if (BytesOf(ZipEntry(bytes, "META-INF/manifest.xml")).contains("encryption-data"))
        RaisePassword();
    return TSheetKind::Ods;
}

std::optional<QString> Decoded(QStringDecoder decoder, const QByteArray& bytes)
{
    QString text = decoder.decode(bytes);
    return decoder.isValid() && !decoder.hasError() ? std::optional(std::move(text)) : std::nullopt;
}

// As spreadsheets save text: with a mark, as UTF-8, or in the desktop's own code page.
QByteArray ReadText(const QByteArray& bytes)
{
    std::optional<QString> text;
    if (const auto marked = QStringConverter::encodingForData(bytes))
        text = Decoded(QStringDecoder(*marked), bytes);
    else if (!bytes.contains('\0'))
        text = Decoded(QStringDecoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless), bytes);
    if (!text && !bytes.contains('\0'))
        text = Decoded(QStringDecoder("GB18030"), bytes);
    if (!text || text->contains(QChar(0)))
        RaiseData(u"文件不是表格。可以导入 .xlsx、.ods 和 .csv 文件。"_s);
    return text->toUtf8();
}

} // namespace

TSheetFile LoadSheetFile(const QString& path, const TSheetBudget& budget)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw wire::Error(wire::ErrorKind::Usage,
            u"文件打不开：%1。如果正在别的程序里编辑，请先关闭。"_s.arg(file.errorString()));
    if (file.size() > budget.fileBytes)
        throw wire::Error(wire::ErrorKind::Limit,
            u"文件有%1MB，超过了%2MB。请分成几个文件再导入。"_s.arg(file.size() >> 20)
                .arg(budget.fileBytes >> 20));
    TSheetFile loaded{.bytes = file.read(budget.fileBytes)};
    if (loaded.bytes.startsWith("PK"))
        loaded.kind = KindOfArchive(loaded.bytes, budget);
    else if (loaded.bytes.startsWith(kCompoundMark))
        RaiseData(u"文件有密码，或者是旧格式(.xls)。请用表格软件打开，取消密码，另存为 .xlsx 再导入。"_s);
    else
        loaded.bytes = ReadText(loaded.bytes);
    return loaded;
}
