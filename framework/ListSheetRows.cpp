#include "framework/ListSheetRows.h"

#include "wire/ColumnData.h"
#include "wire/Error.h"

#include <algorithm>
#include <charconv>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kDigits = 16; // of a number, as spreadsheets write them
constexpr double kMostCents = 1e13; // with two decimals, no more digits than a double holds in any case
constexpr size_t kShortCell = 160; // the most characters of a cell besides its text
constexpr size_t kLongestEscape = 7; // _x000D_
constexpr qsizetype kLongestText = 32'767; // characters
constexpr QByteArrayView kValueEnd = "</v></c>";
constexpr QByteArrayView kTextEnd = "</t></is></c>";

// By character, one or sixteen: it is not written as it is.
template <typename Character> auto NeedsEscape(Character character)
{
    return (character == '&') | (character == '<') | (character == '>')
        | ((character < ' ') & (character >= 0) & (character != '\t') & (character != '\n'));
}

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\n';
}

char* Put(char* to, QByteArrayView text)
{
    return std::copy(text.begin(), text.end(), to);
}

char* PutNumber(char* to, double number)
{
    const double magnitude = std::fabs(number);
    if (magnitude < kMostCents) {
        *to = '-';
        if (char* const end = wire::PutCents(std::signbit(number) ? to + 1 : to, magnitude))
            return end;
    }
    char* const end = std::to_chars(to, to + kShortCell / 2, number, std::chars_format::general, kDigits).ptr;
    std::transform(to, end, to, [](char c) { return c >= 'a' && c <= 'z' ? char(c - ('a' - 'A')) : c; });
    return end;
}

// A moment as days, in the same digits: between 1989 and 2079 these are five before the point and eleven
// behind, and what is behind it a multiple of 2^-37.
char* PutSerial(char* to, qint64 seconds)
{
    const double serial = wire::DateTime{seconds}.ToSerial();
    if (!(serial >= 32'768 && serial < 65'536))
        return PutNumber(to, serial);
    auto day = static_cast<qint64>(serial);
    constexpr quint64 kFiveToEleven = 48'828'125; // 10^11 is that and 2^11
    constexpr unsigned kBits = 37 - 11;
    const auto parts = static_cast<quint64>((serial - double(day)) * double(1LL << 37));
    const quint64 product = parts * kFiveToEleven;
    quint64 decimals = product >> kBits;
    const quint64 rest = product & ((1ULL << kBits) - 1);
    constexpr quint64 kHalf = 1ULL << (kBits - 1);
    decimals += rest > kHalf || (rest == kHalf && decimals % 2 == 1) ? 1 : 0;
    constexpr quint64 kOne = 100'000'000'000;
    if (decimals >= kOne) {
        decimals -= kOne;
        ++day;
    }
    to = wire::PutInteger(to, day);
    if (decimals == 0)
        return to;
    *to = '.';
    char* end = to + 12;
    *--end = static_cast<char>('0' + decimals % 10);
    decimals /= 10;
    for (int i = 0; i < 5; ++i, decimals /= 100)
        wire::PutTwoDigits(end -= 2, static_cast<unsigned>(decimals % 100));
    end = to + 12;
    while (end[-1] == '0')
        --end;
    return end;
}

char* PutEscaped(char* to, QByteArrayView text)
{
    for (const char character : text) {
        switch (character) {
        case '&':
            to = Put(to, "&amp;");
            break;
        case '<':
            to = Put(to, "&lt;");
            break;
        case '>':
            to = Put(to, "&gt;");
            break;
        default:
            if (!NeedsEscape(character)) {
                *to++ = character;
            } else {
                to = Put(to, "_x00");
                *to++ = character < 0x10 ? '0' : '1';
                *to++ = "0123456789ABCDEF"[character & 0xF];
                *to++ = '_';
            }
        }
    }
    return to;
}

qsizetype Characters(QByteArrayView utf8)
{
    return std::ranges::count_if(utf8, [](char c) { return (c & 0xC0) != 0x80; });
}

std::string ColumnName(size_t column)
{
    std::string name;
    for (size_t rest = column + 1; rest > 0; rest = (rest - 1) / 26)
        name.insert(name.begin(), static_cast<char>('A' + (rest - 1) % 26));
    return name;
}

} // namespace

// The number of a row as it stands in each of its cells.
struct TSheetFormat::TRowNumber {
    explicit TRowNumber(int number) { size = wire::PutInteger(digits, number) - digits; }
    QByteArrayView Text() const { return {digits, size}; }

    char digits[wire::kLongestInteger] = {};
    std::ptrdiff_t size;
};

TSheetFormat::TSheetFormat(const std::vector<TExportColumn>& columns, const std::vector<int>& styles)
{
    for (size_t i = 0; i < columns.size(); ++i) {
        const std::string style = styles[i] > 0 ? "\" s=\"" + std::to_string(styles[i]) + '"' : "\"";
        columns_.push_back({columns[i].kind, columns[i].stored, "<c r=\"" + ColumnName(i), style + "><v>",
            style + " t=\"inlineStr\"><is><t>", style + " t=\"inlineStr\"><is><t xml:space=\"preserve\">"});
    }
}

// There is room for a short cell at `to`.
char* TSheetFormat::PutText(wire::TextBuffer& lines, char* to, const TColumn& column,
    const TRowNumber& number, QByteArrayView text, const char* readable)
{
    if (text.contains('\0'))
        text = text.first(text.indexOf('\0'));
    if (text.isEmpty())
        return to;
    if (text.size() > kLongestText && Characters(text) > kLongestText)
        throw wire::Error(
            wire::ErrorKind::Data, u"单元格的文本超过%1个字，工作表放不下。"_s.arg(kLongestText));
    to = Put(to, column.begin);
    to = Put(to, number.Text());
    to = Put(to, IsBlank(text.front()) || IsBlank(text.back()) ? column.spacedText : column.text);
    const auto size = static_cast<size_t>(text.size());
    to = lines.Room(to, size + kShortCell);
    char* end = wire::CopyPlain(
        to, text.data(), size, readable, [](wire::Sixteen piece) { return NeedsEscape(piece); });
    if (!end) {
        to = lines.Room(to, kLongestEscape * size + kShortCell);
        end = PutEscaped(to, text);
    }
    return Put(end, kTextEnd);
}

char* TSheetFormat::PutStored(
    wire::TextBuffer& lines, char* to, const TColumn& column, const TRowNumber& number, qint64 row)
{
    const wire::Column::Data& stored = column.stored->Raw();
    if (stored.type == wire::ColumnType::Text) {
        const qint64 entry = stored.plain ? row : stored.ints.At(row) - 1;
        return entry < 0 ? to
                         : PutText(lines, to, column, number, stored.pool.At(entry),
                             stored.pool.bytes.Begin() + stored.pool.bytes.Size());
    }
    if (stored.nulls.IsNull(row))
        return to;
    to = Put(to, column.begin);
    to = Put(to, number.Text());
    to = Put(to, column.value);
    to = stored.type == wire::ColumnType::Number   ? PutNumber(to, stored.numbers[row])
        : stored.type == wire::ColumnType::Integer ? PutNumber(to, double(stored.ints.At(row)))
                                                   : PutSerial(to, stored.ints.At(row));
    return Put(to, kValueEnd);
}

void TSheetFormat::AddCell(wire::TextBuffer& lines, int row, size_t index, const TExportCell& cell)
{
    if (cell.empty)
        return;
    const TColumn& column = columns_[index];
    const TRowNumber number(row + offset_);
    char* to = lines.Room(lines.End(), kShortCell);
    if (column.kind == TExportKind::Text) {
        lines.SetEnd(PutText(lines, to, column, number, cell.text, cell.text.data() + cell.text.size()));
        return;
    }
    to = Put(to, column.begin);
    to = Put(to, number.Text());
    to = Put(to, column.value);
    to = column.kind == TExportKind::Number ? PutNumber(to, cell.number) : PutSerial(to, cell.moment.seconds);
    lines.SetEnd(Put(to, kValueEnd));
}

void TSheetFormat::AddRows(TRowBlock& block) const
{
    wire::TextBuffer& lines = block.lines;
    lines.Clear();
    const char* made = block.made.Bytes().data();
    const char* const madeBegin = made;
    auto madeEnd = block.madeEnds.cbegin();
    int row = block.first;
    for (const qint64 place : block.places) {
        const TRowNumber number(offset_ + row++);
        char* to = lines.Room(lines.End(), kShortCell);
        to = Put(to, "<row r=\"");
        to = Put(to, number.Text());
        to = Put(to, "\">");
        const auto begin = to - lines.Begin();
        for (const TColumn& column : columns_) {
            to = lines.Room(to, kShortCell);
            if (place >= 0 && column.stored) {
                to = PutStored(lines, to, column, number, place);
                continue;
            }
            const char* const end = madeBegin + *madeEnd++;
            to = std::copy(made, end, lines.Room(to, static_cast<size_t>(end - made)));
            made = end;
        }
        if (to - lines.Begin() == begin)
            continue; // no cell, no row
        to = lines.Room(to, kShortCell);
        lines.SetEnd(Put(to, "</row>"));
    }
}
