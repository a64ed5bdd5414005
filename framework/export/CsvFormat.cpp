#include "framework/export/CsvFormat.h"

#include "wire/ColumnData.h"

#include <QStringEncoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <deque>

namespace {

constexpr size_t kShortCell = 32; // the most characters of a number or moment
constexpr size_t kPiece = sizeof(wire::Sixteen);
constexpr char kNothing[kPiece] = {};

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

// Where it goes there is room for two quotes and an apostrophe, and for each character twice.
char* PutSpecial(char* to, QByteArrayView text)
{
    const bool quoted = std::ranges::any_of(text, [](char c) { return NeedsQuotes(c) != 0; });
    if (quoted)
        *to++ = '"';
    if (IsFormula(text.front()))
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

size_t RoomOfSpecial(size_t size)
{
    return 2 * size + 3;
}

// Each column of a block is gone through by itself, so that what it holds is read from one end to the other;
// then the lines are put together of cells that are in the cache.
class CsvLines final : public TLineMaker {
public:
    CsvLines(const std::vector<TExportColumn>& columns, bool recode)
        : columns_(columns)
        , recode_(recode)
        , shortColumns_(static_cast<size_t>(std::ranges::count_if(columns, [](const TExportColumn& column) {
            return column.stored && column.stored->Type() != wire::ColumnType::Text;
        })))
    {
    }

    void MakeLines(TRowBlock& block) override
    {
        places_ = block.places;
        cells_.resize(places_.size() * columns_.size());
        shortTexts_.resize(places_.size() * shortColumns_ * kShortCell);
        nextShort_ = shortTexts_.data();
        lastOfPools_.clear();
        SetMade(block);
        for (size_t i = 0; i < columns_.size(); ++i) {
            if (columns_[i].stored)
                SetStored(i, columns_[i].stored->Raw());
        }
        block.lines.Clear();
        PutLines(block.lines);
        if (recode_)
            TCsvFormat::Recode(block.lines);
    }

private:
    struct Cell {
        const char* text; // sixteen characters may be read, however short it is
        quint32 size;
        bool special; // needs quotes or an apostrophe
    };

    // What does not stand in a stored column.
    void SetMade(const TRowBlock& block)
    {
        size_t begin = 0;
        auto end = block.madeEnds.cbegin();
        Cell* cell = cells_.data();
        for (size_t row = 0; row < places_.size() && end != block.madeEnds.cend(); ++row) {
            for (const TExportColumn& column : columns_) {
                if (places_[row] < 0 || !column.stored) {
                    *cell = {block.made.Begin() + begin, static_cast<quint32>(*end - begin), false};
                    begin = *end++;
                }
                ++cell;
            }
        }
    }

    void SetStored(size_t column, const wire::Column::Data& stored)
    {
        switch (stored.type) {
        case wire::ColumnType::Text:
            return SetTexts(column, stored);
        case wire::ColumnType::Number:
            return SetShort(
                column, stored, [&](char* to, qint64 place) { return PutNumber(to, stored.numbers[place]); });
        case wire::ColumnType::Integer:
            return SetShort(column, stored,
                [&](char* to, qint64 place) { return PutInteger(to, stored.ints.At(place)); });
        case wire::ColumnType::DateTime:
            return SetShort(column, stored,
                [&](char* to, qint64 place) { return moments_.Put(to, stored.ints.At(place)); });
        }
    }

    void SetTexts(size_t column, const wire::Column::Data& stored)
    {
        const wire::TextPool& pool = stored.pool;
        // Behind the pool's last characters nothing may be read, so they stand once more with room behind.
        const qsizetype lastSize = std::min<qsizetype>(pool.bytes.Size(), kPiece);
        const char* const last = pool.bytes.Begin() + pool.bytes.Size() - lastSize;
        auto& lastOfPool = lastOfPools_.emplace_back();
        std::copy_n(last, lastSize, lastOfPool.begin());

        Cell* cell = cells_.data() + column;
        for (const qint64 place : places_) {
            Cell& to = *cell;
            cell += columns_.size();
            if (place < 0)
                continue;
            const qint64 entry = stored.plain ? place : stored.ints.At(place) - 1;
            const QByteArrayView stands = entry < 0 ? QByteArrayView() : pool.At(entry);
            const auto size = static_cast<size_t>(stands.size());
            if (size == 0) {
                to = {kNothing, 0, false};
                continue;
            }
            const char* const text =
                stands.data() < last ? stands.data() : lastOfPool.data() + (stands.data() - last);
            to = {text, static_cast<quint32>(size),
                IsFormula(*text) || wire::HoldsSpecial(text, size, [](wire::Sixteen piece) {
                    return NeedsQuotes(piece);
                })};
        }
    }

    template <typename Put> void SetShort(size_t column, const wire::Column::Data& stored, const Put& put)
    {
        Cell* cell = cells_.data() + column;
        for (const qint64 place : places_) {
            Cell& to = *cell;
            cell += columns_.size();
            if (place < 0)
                continue;
            if (stored.nulls.IsNull(place)) {
                to = {kNothing, 0, false};
                continue;
            }
            to = {nextShort_, static_cast<quint32>(put(nextShort_, place) - nextShort_), false};
            nextShort_ += kShortCell;
        }
    }

    void PutLines(wire::TextBuffer& lines) const
    {
        char* to = lines.End();
        for (auto cell = cells_.cbegin(); cell != cells_.cend();) {
            for (size_t i = 0; i < columns_.size(); ++i, ++cell) {
                to = lines.Room(to, (cell->special ? RoomOfSpecial(cell->size) : cell->size) + 2);
                to = cell->special ? PutSpecial(to, {cell->text, qsizetype(cell->size)})
                                   : wire::CopyText(to, cell->text, cell->size);
                *to++ = ',';
            }
            to[-1] = '\r';
            *to++ = '\n';
        }
        lines.SetEnd(to);
    }

    const std::vector<TExportColumn>& columns_;
    const bool recode_;
    const size_t shortColumns_; // of numbers and moments
    std::span<const qint64> places_; // of the block's rows
    std::vector<Cell> cells_; // row by row
    std::vector<char> shortTexts_;
    char* nextShort_ = nullptr;
    std::deque<std::array<char, 2 * kPiece>> lastOfPools_;
    wire::MomentTexts moments_;
};

} // namespace

TCsvFormat::TCsvFormat(const std::vector<TExportColumn>& columns, bool recode)
    : columns_(columns)
    , recode_(recode)
{
}

void TCsvFormat::AddCell(wire::TextBuffer& to, size_t column, const TExportCell& cell)
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

std::unique_ptr<TLineMaker> TCsvFormat::NewMaker() const
{
    return std::make_unique<CsvLines>(columns_, recode_);
}

void TCsvFormat::AddText(wire::TextBuffer& to, QByteArrayView text)
{
    if (!text.isEmpty())
        to.SetEnd(PutSpecial(to.Room(to.End(), RoomOfSpecial(static_cast<size_t>(text.size()))), text));
}

void TCsvFormat::Recode(wire::TextBuffer& lines)
{
    QStringEncoder encoder("GBK");
    const QByteArray recoded = encoder(QString::fromUtf8(lines.Bytes()));
    lines.Clear();
    lines.Add(recoded);
}
