#include "framework/ListBlocks.h"

#include "wire/ColumnData.h"
#include "wire/Error.h"

#include <QFile>
#include <QStringEncoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr size_t kShortCell = 64; // the most characters of a number or moment
// Between these a number is written without an exponent; below the upper one a double holds each cent.
constexpr double kLeastPlain = 1e-9;
constexpr double kMostPlain = 1e15;

bool IsFormula(char first)
{
    return first == '=' || first == '+' || first == '-' || first == '@';
}

// By character, one or sixteen: a cell that holds it stands in quotes.
template <typename Character> auto NeedsQuotes(Character character)
{
    return (character == '"') | (character == ',') | (character == '\r') | (character == '\n');
}

char* PutNumber(char* to, double number)
{
    char* const end = to + kShortCell;
    const double magnitude = std::fabs(number);
    if (!(magnitude < kMostPlain) || (magnitude < kLeastPlain && magnitude != 0))
        return std::to_chars(to, end, number).ptr;
    *to = '-';
    char* const cents = wire::PutCents(std::signbit(number) ? to + 1 : to, magnitude);
    return cents ? cents : std::to_chars(to, end, number, std::chars_format::fixed).ptr;
}

char* PutInteger(char* to, qint64 number)
{
    return std::fabs(double(number)) < kMostPlain ? wire::PutInteger(to, number)
                                                  : PutNumber(to, double(number));
}

// Up to `readable` the memory at the text may be read.
char* PutText(wire::TextBuffer& lines, char* to, QByteArrayView text, const char* readable)
{
    if (text.isEmpty())
        return to;
    const auto size = static_cast<size_t>(text.size());
    const bool formula = IsFormula(text.front());
    to = lines.Room(to, 2 * size + 3); // two quotes and an apostrophe
    if (!formula) {
        if (char* const end = wire::CopyPlain(
                to, text.data(), size, readable, [](wire::Sixteen piece) { return NeedsQuotes(piece); }))
            return end;
    }
    const bool quoted = std::ranges::any_of(text, [](char c) { return NeedsQuotes(c) != 0; });
    if (quoted)
        *to++ = '"';
    if (formula)
        *to++ = '\'';
    for (const char character : text) {
        if (character == '"')
            *to++ = '"';
        *to++ = character;
    }
    if (quoted)
        *to++ = '"';
    return to;
}

class CsvFormat final : public TLineFormat {
public:
    CsvFormat(const std::vector<TExportColumn>& columns, bool recode)
        : columns_(columns)
        , recode_(recode)
    {
    }

    void AddCell(wire::TextBuffer& to, size_t column, const TExportCell& cell) override
    {
        if (cell.empty)
            return;
        char* const place = to.Room(to.End(), kShortCell);
        switch (columns_[column].kind) {
        case TExportKind::Text:
            AddText(to, cell.text);
            return;
        case TExportKind::Number:
            to.SetEnd(PutNumber(place, cell.number));
            return;
        case TExportKind::Moment:
            if (columns_[column].format.isEmpty())
                to.SetEnd(moments_.Put(place, cell.moment.seconds));
            else
                to.Add(cell.moment.Format(columns_[column].format).toLatin1());
            return;
        }
    }

    static void AddText(wire::TextBuffer& to, QByteArrayView text)
    {
        to.SetEnd(PutText(to, to.End(), text, text.data() + text.size()));
    }

    void AddRows(TRowBlock& block) const override
    {
        wire::TextBuffer& lines = block.lines;
        lines.Clear();
        wire::MomentTexts moments;
        const char* made = block.made.Bytes().data();
        const char* const madeBegin = made;
        auto madeEnd = block.madeEnds.cbegin();
        char* to = lines.End();
        for (const qint64 place : block.places) {
            to = lines.Room(to, 0);
            for (size_t i = 0; i < columns_.size(); ++i) {
                to = lines.Room(to, kShortCell);
                if (i > 0)
                    *to++ = ',';
                if (place >= 0 && columns_[i].stored) {
                    to = PutStored(lines, to, columns_[i].stored->Raw(), place, moments);
                    continue;
                }
                const char* const end = madeBegin + *madeEnd++;
                to = std::copy(made, end, lines.Room(to, static_cast<size_t>(end - made)));
                made = end;
            }
            *to++ = '\r';
            *to++ = '\n';
        }
        lines.SetEnd(to);
        if (recode_)
            Recode(lines);
    }

    static void Recode(wire::TextBuffer& lines)
    {
        QStringEncoder encoder("GBK");
        const QByteArray recoded = encoder(QString::fromUtf8(lines.Bytes()));
        lines.Clear();
        lines.Add(recoded);
    }

private:
    static char* PutStored(wire::TextBuffer& lines, char* to, const wire::Column::Data& stored, qint64 row,
        wire::MomentTexts& moments)
    {
        if (stored.type == wire::ColumnType::Text) {
            const qint64 entry = stored.plain ? row : stored.ints.At(row) - 1;
            return entry < 0 ? to
                             : PutText(lines, to, stored.pool.At(entry),
                                 stored.pool.bytes.Begin() + stored.pool.bytes.Size());
        }
        if (stored.nulls.IsNull(row))
            return to;
        if (stored.type == wire::ColumnType::Number)
            return PutNumber(to, stored.numbers[row]);
        if (stored.type == wire::ColumnType::Integer)
            return PutInteger(to, stored.ints.At(row));
        return moments.Put(to, stored.ints.At(row));
    }

    const std::vector<TExportColumn>& columns_;
    const bool recode_;
    wire::MomentTexts moments_;
};

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
        if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
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
            CsvFormat::Recode(lines);
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
            CsvFormat::AddText(lines, QString(columns_[i].title).replace(u'|', u' ').toUtf8());
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
                    CsvFormat::AddText(lines, text.toUtf8());
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
    CsvFormat format_;
};

} // namespace

bool WriteCsv(TExportRows& rows, const QString& path, TCsvEncoding encoding, const TExportProgress& progress)
{
    return CsvFile(rows, path, encoding).Write(progress);
}
