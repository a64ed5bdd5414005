#include "framework/ListExportFile.h"

#include "wire/Error.h"

#include <QFile>
#include <QStringEncoder>

#include <algorithm>
#include <array>
#include <charconv>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kBufferBytes = 1 << 20;
constexpr QByteArrayView kFormulaBegins = "=+-@";

// By byte: whether a cell that holds it stands in quotes.
constexpr auto kNeedsQuotes = [] {
    std::array<bool, 256> needs{};
    for (const char character : {'"', ',', '\r', '\n'})
        needs[static_cast<unsigned char>(character)] = true;
    return needs;
}();

class CsvFile {
public:
    CsvFile(TExportRows& rows, const QString& path, TCsvEncoding encoding)
        : rows_(rows)
        , columns_(rows.Columns())
        , part_(path)
        , file_(part_.Name())
        , recode_(encoding == TCsvEncoding::CodePage936)
        , encoder_(recode_ ? QStringEncoder("GBK") : QStringEncoder(QStringEncoder::Utf8))
    {
        if (!encoder_.isValid())
            part_.RaiseUnwritable(u"本机不支持代码页 936，请选 UTF-8"_s);
        if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            part_.RaiseUnwritable(file_.errorString());
        line_.reserve(kBufferBytes + kBufferBytes / 4);
        if (!recode_)
            line_ += "\xEF\xBB\xBF"; // tells spreadsheets what it is
    }

    bool Write(const TExportProgress& progress)
    {
        TPacedProgress paced(progress);
        for (size_t i = 0; i < columns_.size(); ++i)
            AddText(i, QString(columns_[i].title).replace(u'|', u' ').toUtf8());
        EndLine();
        const int count = rows_.RowCount();
        for (int row = 0; row < count; ++row) {
            for (size_t i = 0; i < columns_.size(); ++i)
                AddCell(i, rows_.Cell(row, static_cast<int>(i)));
            EndLine();
            if (!paced.GoOn(row))
                return false;
        }
        for (int line = 0; line < rows_.FooterRows(); ++line) {
            for (size_t i = 0; i < columns_.size(); ++i)
                AddFooter(i, rows_.Footer(line, static_cast<int>(i)));
            EndLine();
        }
        Flush();
        file_.close();
        part_.Finish();
        return true;
    }

private:
    void AddCell(size_t column, const TExportCell& cell)
    {
        if (cell.empty) {
            Separate(column);
            return;
        }
        switch (columns_[column].kind) {
        case TExportKind::Text:
            AddText(column, cell.text);
            return;
        case TExportKind::Number: {
            Separate(column);
            std::array<char, 32> digits{};
            const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), cell.number);
            line_.append(digits.data(), written.ptr - digits.data());
            return;
        }
        case TExportKind::Moment: {
            const QString& format = columns_[column].format;
            Separate(column);
            line_ += (format.isEmpty() ? cell.moment.ToText() : cell.moment.Format(format)).toLatin1();
            return;
        }
        }
    }

    void AddText(size_t column, QByteArrayView text)
    {
        Separate(column);
        const bool formula = !text.isEmpty() && kFormulaBegins.contains(text.front());
        const bool quoted =
            std::ranges::any_of(text, [](char c) { return kNeedsQuotes[static_cast<unsigned char>(c)]; });
        if (quoted)
            line_ += '"';
        if (formula)
            line_ += '\'';
        if (!quoted) {
            line_ += text;
            return;
        }
        for (const char character : text) {
            if (character == '"')
                line_ += '"';
            line_ += character;
        }
        line_ += '"';
    }

    void AddFooter(size_t column, const QString& text)
    {
        bool isNumber = false;
        text.toDouble(&isNumber);
        if (!isNumber) {
            AddText(column, text.toUtf8());
            return;
        }
        Separate(column); // a negative total is no formula
        line_ += text.toLatin1();
    }

    void Separate(size_t column)
    {
        if (column > 0)
            line_ += ',';
    }

    void EndLine()
    {
        line_ += "\r\n";
        if (line_.size() >= kBufferBytes)
            Flush();
    }

    void Flush()
    {
        const QByteArray recoded = recode_ ? QByteArray(encoder_(QString::fromUtf8(line_))) : QByteArray();
        const QByteArray& bytes = recode_ ? recoded : line_;
        if (file_.write(bytes) != bytes.size())
            part_.RaiseUnwritable(file_.errorString());
        line_.resize(0); // keeps its room
    }

    TExportRows& rows_;
    const std::vector<TExportColumn>& columns_;
    TPartFile part_;
    QFile file_;
    const bool recode_;
    QStringEncoder encoder_;
    QByteArray line_; // lines not yet written
};

} // namespace

bool WriteCsv(TExportRows& rows, const QString& path, TCsvEncoding encoding, const TExportProgress& progress)
{
    return CsvFile(rows, path, encoding).Write(progress);
}
