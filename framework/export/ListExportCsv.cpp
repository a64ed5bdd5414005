#include "framework/export/CsvFormat.h"

#include "wire/Error.h"

#include <QFile>
#include <QStringEncoder>

using namespace Qt::Literals::StringLiterals;

namespace {

class CsvFile {
public:
    CsvFile(TExportRows& rows, const QString& path, TCsvEncoding encoding)
        : rows_(rows)
        , columns_(rows.Columns())
        , part_(path)
        , file_(part_.Name())
        , recode_(encoding == TCsvEncoding::CodePage936)
        , format_(columns_, recode_)
    {
        if (recode_ && !QStringEncoder("GBK").isValid())
            part_.RaiseUnwritable(u"本机不支持代码页 936，请选 UTF-8"_s);
        // The part is there and empty. A file system that sees it truncated writes it to the disk when it is
        // closed, and the window waits.
        if (!file_.open(QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered))
            part_.RaiseUnwritable(file_.errorString());
    }

    bool Write(const TExportProgress& progress)
    {
        TPacedProgress paced(progress);
        WriteTitles();
        TListBlocks blocks(rows_, format_, [this](QByteArrayView lines) { return Take(lines); });
        switch (blocks.Write(0, rows_.RowCount(), paced)) {
        case TListBlocks::TOutcome::GivenUp:
            return false;
        case TListBlocks::TOutcome::Full:
            part_.RaiseUnwritten(file_.errorString());
        case TListBlocks::TOutcome::Done:
            break;
        }
        WriteFooters();
        file_.close();
        part_.Finish();
        return true;
    }

private:
    bool Take(QByteArrayView lines) { return file_.write(lines.data(), lines.size()) == lines.size(); }

    void TakeOwn(wire::TextBuffer& lines)
    {
        if (recode_)
            TCsvFormat::Recode(lines);
        if (!Take(lines.Bytes()))
            part_.RaiseUnwritten(file_.errorString());
    }

    void WriteTitles()
    {
        wire::TextBuffer lines;
        if (!recode_)
            lines.Add("\xEF\xBB\xBF"); // tells spreadsheets what it is
        for (size_t i = 0; i < columns_.size(); ++i) {
            Separate(lines, i);
            TCsvFormat::AddText(lines, QString(columns_[i].title).replace(u'|', u' ').toUtf8());
        }
        lines.Add("\r\n");
        TakeOwn(lines);
    }

    void WriteFooters()
    {
        wire::TextBuffer lines;
        for (int line = 0; line < rows_.FooterRows(); ++line) {
            for (size_t i = 0; i < columns_.size(); ++i) {
                Separate(lines, i);
                const QString text = rows_.Footer(line, static_cast<int>(i));
                bool isNumber = false;
                text.toDouble(&isNumber);
                if (isNumber)
                    lines.Add(text.toLatin1()); // a negative total is no formula
                else
                    TCsvFormat::AddText(lines, text.toUtf8());
            }
            lines.Add("\r\n");
        }
        TakeOwn(lines);
    }

    static void Separate(wire::TextBuffer& lines, size_t column)
    {
        if (column > 0)
            lines.Add(",");
    }

    TExportRows& rows_;
    const std::vector<TExportColumn>& columns_;
    TPartFile part_;
    QFile file_;
    const bool recode_;
    TCsvFormat format_;
};

} // namespace

bool WriteCsv(TExportRows& rows, const QString& path, TCsvEncoding encoding, const TExportProgress& progress)
{
    return CsvFile(rows, path, encoding).Write(progress);
}
