#include "framework/ListExportFile.h"

#include "wire/Error.h"

#include <QFile>
#include <QStringEncoder>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype kBufferBytes = 1 << 20;
constexpr size_t kNumberCharacters = 64;
constexpr QByteArrayView kFormulaBegins = "=+-@";

// By byte: whether a cell that holds it stands in quotes.
constexpr auto kNeedsQuotes = [] {
    std::array<bool, 256> needs{};
    for (const char character : {'"', ',', '\r', '\n'})
        needs[static_cast<unsigned char>(character)] = true;
    return needs;
}();

constexpr qint64 kDaySeconds = 86'400;
// Between these a number is written without an exponent; below the upper one a double holds each cent.
constexpr double kLeastPlain = 1e-9;
constexpr double kMostPlain = 1e15;

// Lines not yet written. Whoever adds says first how much at the most.
class LineBuffer {
public:
    // Room for `bytes` at the end; what of it was filled is told by `Fill`.
    char* Room(size_t bytes)
    {
        if (bytes > bytes_.size() - size_)
            bytes_.resize(std::max(bytes_.size() * 2, size_ + bytes));
        return bytes_.data() + size_;
    }
    void Fill(const char* end) { size_ = static_cast<size_t>(end - bytes_.data()); }
    void Add(QByteArrayView text)
    {
        char* to = Room(static_cast<size_t>(text.size()));
        Fill(std::copy(text.begin(), text.end(), to));
    }
    void Add(char character)
    {
        *Room(1) = character;
        ++size_;
    }
    QByteArrayView Bytes() const { return {bytes_.data(), static_cast<qsizetype>(size_)}; }
    void Clear() { size_ = 0; } // keeps its room

private:
    std::vector<char> bytes_ = std::vector<char>(kBufferBytes + kBufferBytes / 4);
    size_t size_ = 0;
};

char* PutTwo(char* to, qint64 number)
{
    *to++ = static_cast<char>('0' + number / 10);
    *to++ = static_cast<char>('0' + number % 10);
    return to;
}

// Amounts have two decimals or fewer; to find those takes a fraction of what the search for the shortest
// text of any number does.
char* PutNumber(char* to, char* end, double number)
{
    const double magnitude = std::fabs(number);
    if (!(magnitude < kMostPlain) || (magnitude < kLeastPlain && magnitude != 0))
        return std::to_chars(to, end, number).ptr;
    const double cents = std::nearbyint(magnitude * 100);
    if (cents / 100 != magnitude)
        return std::to_chars(to, end, number, std::chars_format::fixed).ptr;
    const auto whole = static_cast<qint64>(cents);
    if (std::signbit(number))
        *to++ = '-';
    to = std::to_chars(to, end, whole / 100).ptr;
    const qint64 rest = whole % 100;
    if (rest == 0)
        return to;
    *to++ = '.';
    *to++ = static_cast<char>('0' + rest / 10);
    if (rest % 10 != 0)
        *to++ = static_cast<char>('0' + rest % 10);
    return to;
}

// Times of one column: days repeat.
class MomentText {
public:
    explicit MomentText(const QString& format)
        : format_(format)
    {
    }
    void AddTo(LineBuffer& lines, wire::DateTime moment)
    {
        if (!format_.isEmpty()) {
            lines.Add(moment.Format(format_).toLatin1());
            return;
        }
        qint64 day = moment.seconds / kDaySeconds;
        qint64 rest = moment.seconds % kDaySeconds;
        if (rest < 0) {
            rest += kDaySeconds;
            --day;
        }
        if (day != day_ || dayText_.isEmpty()) {
            day_ = day;
            dayText_ = moment.ToText().first(kDayCharacters).toLatin1();
        }
        char* to = lines.Room(kMomentCharacters);
        to = std::copy(dayText_.begin(), dayText_.end(), to);
        to = PutTwo(to, rest / 3600);
        *to++ = ':';
        to = PutTwo(to, rest / 60 % 60);
        *to++ = ':';
        lines.Fill(PutTwo(to, rest % 60));
    }

private:
    static constexpr qsizetype kDayCharacters = 11; // the blank included
    static constexpr size_t kMomentCharacters = 19;

    QString format_;
    qint64 day_ = 0;
    QByteArray dayText_;
};

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
        for (const TExportColumn& column : columns_)
            moments_.emplace_back(column.format);
        if (!recode_)
            lines_.Add("\xEF\xBB\xBF"); // tells spreadsheets what it is
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
            char* to = lines_.Room(kNumberCharacters);
            lines_.Fill(PutNumber(to, to + kNumberCharacters, cell.number));
            return;
        }
        case TExportKind::Moment:
            Separate(column);
            moments_[column].AddTo(lines_, cell.moment);
            return;
        }
    }

    void AddText(size_t column, QByteArrayView text)
    {
        Separate(column);
        const bool formula = !text.isEmpty() && kFormulaBegins.contains(text.front());
        const bool quoted =
            std::ranges::any_of(text, [](char c) { return kNeedsQuotes[static_cast<unsigned char>(c)]; });
        if (!quoted) {
            if (formula)
                lines_.Add('\'');
            lines_.Add(text);
            return;
        }
        char* to = lines_.Room(2 * static_cast<size_t>(text.size()) + 3); // two quotes and an apostrophe
        *to++ = '"';
        if (formula)
            *to++ = '\'';
        for (const char character : text) {
            if (character == '"')
                *to++ = '"';
            *to++ = character;
        }
        *to++ = '"';
        lines_.Fill(to);
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
        lines_.Add(text.toLatin1());
    }

    void Separate(size_t column)
    {
        if (column > 0)
            lines_.Add(',');
    }

    void EndLine()
    {
        lines_.Add("\r\n");
        if (lines_.Bytes().size() >= kBufferBytes)
            Flush();
    }

    void Flush()
    {
        const QByteArray recoded =
            recode_ ? QByteArray(encoder_(QString::fromUtf8(lines_.Bytes()))) : QByteArray();
        const QByteArrayView bytes = recode_ ? QByteArrayView(recoded) : lines_.Bytes();
        if (file_.write(bytes.data(), bytes.size()) != bytes.size())
            part_.RaiseUnwritable(file_.errorString());
        lines_.Clear();
    }

    TExportRows& rows_;
    const std::vector<TExportColumn>& columns_;
    TPartFile part_;
    QFile file_;
    const bool recode_;
    QStringEncoder encoder_;
    LineBuffer lines_;
    std::vector<MomentText> moments_; // by column
};

} // namespace

bool WriteCsv(TExportRows& rows, const QString& path, TCsvEncoding encoding, const TExportProgress& progress)
{
    return CsvFile(rows, path, encoding).Write(progress);
}
