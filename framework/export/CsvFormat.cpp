#include "framework/export/CsvFormat.h"

#include "wire/ColumnData.h"

#include <QStringEncoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

constexpr size_t kShortCell = 32; // the most characters of a number or moment
constexpr size_t kPiece = 32; // may be read of a cell's text, however short it is
constexpr char kNothing[kPiece] = {};
constexpr qsizetype kMostKnown = 8'192; // texts of a column, looked at once instead of in each cell

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

struct Cell {
    const char* text; // a piece may be read
    quint32 size;
    bool special; // needs quotes or an apostrophe
};

// Characters that it may take.
size_t MostOf(const Cell& cell)
{
    return cell.special ? 2 * size_t(cell.size) + 3 : cell.size;
}

// Most are no longer than a piece.
char* CopyCell(char* to, const Cell& cell)
{
    if (cell.size > kPiece) [[unlikely]]
        return wire::CopyText(to, cell.text, cell.size);
    char piece[kPiece];
    std::memcpy(piece, cell.text, kPiece);
    std::memcpy(to, piece, kPiece);
    return to + cell.size;
}

} // namespace

// The texts of a column as cells, while the column stays as it is.
class TCsvTexts {
public:
    explicit TCsvTexts(const wire::Column::Data& stored)
        : pool_(stored.pool)
        , bytes_(pool_.bytes.Begin())
        , size_(pool_.bytes.Size())
        , count_(pool_.Count())
    {
        // Behind the pool's last characters nothing may be read, so they stand once more with room behind.
        const qsizetype lastSize = std::min<qsizetype>(pool_.bytes.Size(), kPiece);
        last_ = pool_.bytes.Begin() + pool_.bytes.Size() - lastSize;
        std::copy_n(last_, lastSize, copyOfLast_.begin());

        if (stored.plain || pool_.Count() > kMostKnown)
            return;
        known_.reserve(static_cast<size_t>(pool_.Count()) + 1);
        for (qsizetype i = -1; i < pool_.Count(); ++i)
            known_.push_back(LookAt(i));
    }
    TCsvTexts(const TCsvTexts&) = delete;
    TCsvTexts& operator=(const TCsvTexts&) = delete;

    bool AreOf(const wire::Column::Data& stored) const
    {
        return &stored.pool == &pool_ && pool_.bytes.Begin() == bytes_ && pool_.bytes.Size() == size_
            && pool_.Count() == count_;
    }
    bool AllKnown() const { return !known_.empty(); }
    // The first is empty; only where all are known.
    const Cell& Known(qint64 entryPlusOne) const { return known_[static_cast<size_t>(entryPlusOne)]; }

    // Whether none of the entries, which follow one another, needs quotes, as far as that is cheaply said.
    bool NoneNeedsQuotes(qint64 first, qint64 last) const
    {
        const char* const begin = pool_.At(first).data();
        const auto size = static_cast<size_t>(pool_.At(last).end() - begin);
        return size >= sizeof(wire::Sixteen) && !HoldsQuotable(begin, size);
    }

    // -1 is empty.
    Cell LookAt(qint64 entry, bool noneNeedsQuotes = false) const
    {
        const QByteArrayView stands = entry < 0 ? QByteArrayView() : pool_.At(entry);
        const auto size = static_cast<size_t>(stands.size());
        if (size == 0)
            return {kNothing, 0, false};
        const char* const text =
            stands.data() < last_ ? stands.data() : copyOfLast_.data() + (stands.data() - last_);
        return {text, static_cast<quint32>(size),
            IsFormula(*text) || (!noneNeedsQuotes && HoldsQuotable(text, size))};
    }

private:
    static bool HoldsQuotable(const char* text, size_t size)
    {
        return wire::HoldsSpecial(text, size, [](wire::Sixteen piece) { return NeedsQuotes(piece); });
    }

    const wire::TextPool& pool_;
    const char* const bytes_;
    const qsizetype size_;
    const qsizetype count_;
    const char* last_;
    std::array<char, 2 * kPiece> copyOfLast_{};
    std::vector<Cell> known_;
};

namespace {

using TextsOfColumns = std::vector<std::unique_ptr<const TCsvTexts>>;

bool FollowOneAnother(std::span<const qint64> places)
{
    const auto gap = std::ranges::adjacent_find(places, [](qint64 a, qint64 b) { return b != a + 1; });
    return places.front() >= 0 && gap == places.end();
}

// Each column of a block is gone through by itself, so that what it holds is read from one end to the other;
// then the lines are put together of cells that are in the cache.
class CsvLines final : public TLineMaker {
public:
    CsvLines(const std::vector<TExportColumn>& columns, const TextsOfColumns& texts, bool recode)
        : columns_(columns)
        , texts_(texts)
        , recode_(recode)
        , shortColumns_(static_cast<size_t>(std::ranges::count_if(columns, [](const TExportColumn& column) {
            return column.stored && column.stored->Type() != wire::ColumnType::Text;
        })))
    {
    }

    void MakeLines(TRowBlock& block) override
    {
        places_ = block.places;
        consecutive_ = FollowOneAnother(places_);
        cells_.resize(places_.size() * columns_.size());
        shortTexts_.resize(places_.size() * shortColumns_ * kShortCell);
        nextShort_ = shortTexts_.data();
        if (!block.madeEnds.empty())
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
    // What does not stand in a stored column.
    void SetMade(const TRowBlock& block)
    {
        size_t begin = 0;
        auto end = block.madeEnds.cbegin();
        Cell* cell = cells_.data();
        for (const qint64 place : places_) {
            for (const TExportColumn& column : columns_) {
                if (place < 0 || !column.stored) {
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

    // `cellAt(place)` for each row that stands in the stored column.
    template <typename CellAt> void SetEach(size_t column, const CellAt& cellAt)
    {
        Cell* cell = cells_.data() + column;
        for (const qint64 place : places_) {
            if (place >= 0)
                *cell = cellAt(place);
            cell += columns_.size();
        }
    }

    void SetTexts(size_t column, const wire::Column::Data& stored)
    {
        const TCsvTexts& texts = *texts_[column];
        const wire::NarrowInts& entries = stored.ints; // plus one
        if (stored.plain) {
            const bool none = consecutive_ && texts.NoneNeedsQuotes(places_.front(), places_.back());
            SetEach(column, [&](qint64 place) { return texts.LookAt(place, none); });
        } else if (texts.AllKnown()) {
            entries.WithReader([&](auto entryPlusOne) {
                SetEach(column, [&](qint64 place) { return texts.Known(entryPlusOne(place)); });
            });
        } else {
            SetEach(column, [&](qint64 place) { return texts.LookAt(entries.At(place) - 1); });
        }
    }

    template <typename Put> void SetShort(size_t column, const wire::Column::Data& stored, const Put& put)
    {
        SetEach(column, [&](qint64 place) -> Cell {
            if (stored.nulls.IsNull(place))
                return {kNothing, 0, false};
            char* const text = std::exchange(nextShort_, nextShort_ + kShortCell);
            return {text, static_cast<quint32>(put(text, place) - text), false};
        });
    }

    void PutLines(wire::TextBuffer& lines) const
    {
        char* to = lines.End();
        for (auto cell = cells_.cbegin(); cell != cells_.cend();) {
            const auto end = cell + std::ssize(columns_);
            size_t room = 0;
            for (auto each = cell; each != end; ++each)
                room += MostOf(*each) + 2;
            to = lines.Room(to, room);
            for (; cell != end; ++cell) {
                to =
                    cell->special ? PutSpecial(to, {cell->text, qsizetype(cell->size)}) : CopyCell(to, *cell);
                *to++ = ',';
            }
            to[-1] = '\r';
            *to++ = '\n';
        }
        lines.SetEnd(to);
    }

    const std::vector<TExportColumn>& columns_;
    const TextsOfColumns& texts_;
    const bool recode_;
    const size_t shortColumns_; // of numbers and moments
    std::span<const qint64> places_; // of the block's rows
    bool consecutive_ = false;
    std::vector<Cell> cells_; // row by row
    std::vector<char> shortTexts_;
    char* nextShort_ = nullptr;
    wire::MomentTexts moments_;
};

} // namespace

TCsvFormat::TCsvFormat(const std::vector<TExportColumn>& columns, bool recode)
    : columns_(columns)
    , recode_(recode)
{
    texts_.resize(columns.size());
}

TCsvFormat::~TCsvFormat() = default;

void TCsvFormat::BeginRound()
{
    for (size_t i = 0; i < columns_.size(); ++i) {
        const wire::Column* const stored = columns_[i].stored;
        if (stored && stored->Type() == wire::ColumnType::Text
            && !(texts_[i] && texts_[i]->AreOf(stored->Raw())))
            texts_[i] = std::make_unique<const TCsvTexts>(stored->Raw());
    }
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
    return std::make_unique<CsvLines>(columns_, texts_, recode_);
}

void TCsvFormat::AddText(wire::TextBuffer& to, QByteArrayView text)
{
    if (!text.isEmpty())
        to.SetEnd(PutSpecial(to.Room(to.End(), 2 * static_cast<size_t>(text.size()) + 3), text));
}

void TCsvFormat::Recode(wire::TextBuffer& lines)
{
    QStringEncoder encoder("GBK");
    const QByteArray recoded = encoder(QString::fromUtf8(lines.Bytes()));
    lines.Clear();
    lines.Add(recoded);
}
