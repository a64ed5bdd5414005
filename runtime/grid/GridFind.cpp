#include "runtime/grid/GridFind.h"

#include "runtime/grid/DBGridPrivate.h"

#include <QElapsedTimer>

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kSlice = 12; // milliseconds of one go
constexpr int kRowsAtOnce = 64; // between two looks at the clock
constexpr int kNotLookedUp = -2;

char Folded(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
}

bool IsBlank(QChar c)
{
    return c.isSpace() || c == QChar(0x200b) || c == QChar(0xfeff);
}

QStringView NumberOf(QStringView line)
{
    if (const qsizetype end = line.indexOf(u'\t'); end >= 0)
        line = line.first(end);
    while (!line.isEmpty() && IsBlank(line.front()))
        line = line.sliced(1);
    while (!line.isEmpty() && IsBlank(line.back()))
        line.chop(1);
    return line;
}

// Equal for equal values of a type.
qint64 KeyOf(double amount)
{
    return std::bit_cast<qint64>(amount + 0.0); // no zero is negative
}

qint64 KeyOf(const wire::Value& value)
{
    if (const auto* amount = std::get_if<double>(&value))
        return KeyOf(*amount);
    const auto* moment = std::get_if<wire::DateTime>(&value);
    return moment ? moment->seconds : std::get<qint64>(value);
}

QByteArrayView Comparable(QByteArrayView text, QByteArray& folded)
{
    text = text.trimmed();
    if (std::none_of(text.begin(), text.end(), [](char c) { return Folded(c) != c; }))
        return text;
    folded.resize(text.size());
    std::transform(text.begin(), text.end(), folded.begin(), Folded);
    return folded;
}

} // namespace

// --- Texts ---

void TShownTexts::Read(const TDBGridEh& grid, const QString& field)
{
    grid_ = &grid;
    sources_.clear();
    if (!grid.DataSet())
        return;
    const TClientDataSetEx& rows = *grid.DataSet();
    for (int i = 0; i < grid.ColumnCount(); ++i) {
        const TColumnEh& shown = grid.Column(i);
        const int index = rows.FieldIndex(shown.fieldName);
        if (!shown.visible || index < 0 || shown.style == TColumnStyle::CheckBox
            || (!field.isEmpty() && shown.fieldName.compare(field, Qt::CaseInsensitive) != 0))
            continue;
        const bool text = rows.FieldInfo(index).type == wire::ColumnType::Text;
        const bool stored = shown.style == TColumnStyle::Text
            || (text ? shown.style == TColumnStyle::PickList : shown.style == TColumnStyle::DateTime);
        sources_.push_back(
            {i, index, stored && shown.nullText.isEmpty() && (text || shown.displayFormat.isEmpty())});
    }
    std::stable_partition(sources_.begin(), sources_.end(),
        [&](const Source& source) { return source.column == grid.SelectedIndex(); });
}

QByteArrayView TShownTexts::Text(int viewRow, const Source& source) const
{
    const qint64 stored = StoredRow(viewRow, source);
    if (stored >= 0 && Column(source).Type() == wire::ColumnType::Text)
        return Column(source).TextAt(stored);
    return text_ = grid_->CellText(viewRow, source.column).toUtf8();
}

qint64 TShownTexts::StoredRow(int viewRow, const Source& source) const
{
    return source.plain ? grid_->DataSet()->StoredRow(viewRow, source.field) : -1;
}

const wire::Column& TShownTexts::Column(const Source& source) const
{
    return grid_->DataSet()->StoredColumn(source.field);
}

// --- Numbers ---

TNumberSet::TNumberSet(const QString& text)
{
    constexpr qsizetype kMostText = qsizetype(kMost) * 4 * kLongest;
    if (text.size() > kMostText)
        complaint_ = u"粘贴的内容太多了（%1个字符），没有查找。"_s.arg(text.size());
    else
        text_ = text;
}

TNumberSet TNumberSet::Pasted(const QString& text)
{
    TNumberSet set(text);
    set.Read(std::numeric_limits<qint64>::max());
    return set;
}

bool TNumberSet::Read(qint64 milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    const auto breaksLine = [](QChar c) { return c == u'\n' || c == u'\r'; };
    for (int lines = 1; at_ < text_.size(); ++lines) {
        const QStringView rest = QStringView(text_).sliced(at_);
        const auto length = std::find_if(rest.begin(), rest.end(), breaksLine) - rest.begin();
        Take(rest.first(length));
        at_ += length + 1;
        if (lines % kRowsAtOnce == 0 && clock.elapsed() >= milliseconds)
            return false;
    }
    if (complaint_.isEmpty())
        Finish();
    return true;
}

void TNumberSet::Take(QStringView line)
{
    const QStringView number = NumberOf(line);
    if (number.isEmpty())
        return;
    if (number.size() > kLongest) {
        ++tooLong_;
        return;
    }
    QByteArray compared = number.toUtf8();
    std::ranges::transform(compared, compared.begin(), Folded);
    int& place = places_[compared];
    if (places_.size() == numbers_.size()) { // it was there
        ++doubles_;
        return;
    }
    place = Count();
    numbers_ += number.toString();
}

void TNumberSet::Finish()
{
    text_.clear();
    if (Count() > kMost)
        complaint_ = u"一次最多找%1个，您粘贴了%2个。"_s.arg(kMost).arg(Count());
    else if (tooLong_ > 0)
        complaint_ = u"有%1行超过%2个字，不是单号，没有查找。"_s.arg(tooLong_).arg(kLongest);
    else if (numbers_.isEmpty())
        complaint_ = u"没有粘贴任何单号。"_s;
    if (!complaint_.isEmpty()) {
        numbers_.clear();
        places_.clear();
    }
}

int TNumberSet::IndexOf(QByteArrayView cell) const
{
    if (cell.isEmpty())
        return -1;
    const QByteArrayView compared = Comparable(cell, folded_);
    return places_.value(QByteArray::fromRawData(compared.data(), compared.size()), -1);
}

// --- The search ---

TGridFind::TGridFind(TDBGridEh& grid)
    : grid_(grid)
{
    connect(&soon_, &QTimer::timeout, this, &TGridFind::Work);
    connect(&grid, &TDBGridEh::ColumnsChanged, this, &TGridFind::Begin);
}

void TGridFind::FindText(const QString& text, const QString& field)
{
    numbers_ = nullptr;
    text_ = text;
    field_ = field;
    bytes_ = text.toUtf8();
    letters_ = Letters::None;
    for (const QChar c : text) {
        if (c.toLower() != c.toUpper())
            letters_ = c.unicode() < 0x80 && letters_ != Letters::Other ? Letters::Latin : Letters::Other;
    }
    std::ranges::transform(bytes_, bytes_.begin(), Folded);
    Begin();
}

void TGridFind::FindNumbers(const TNumberSet* numbers, const QString& field)
{
    text_.clear();
    numbers_ = numbers;
    field_ = field;
    Begin();
}

void TGridFind::Begin()
{
    soon_.stop();
    counts_.clear();
    hits_ = 0;
    grid_.viewport()->update();
    Follow();
    if (followed_ && followed_->Active() && (numbers_ || !text_.isEmpty())) {
        texts_.Read(grid_, field_);
        counts_.reserve(size_t(followed_->RecordCount()));
        soon_.start(0);
    }
    Q_EMIT Progressed();
}

void TGridFind::Follow()
{
    TClientDataSetEx* rows = grid_.DataSet();
    if (followed_ == rows)
        return;
    if (followed_)
        disconnect(followed_, nullptr, this, nullptr);
    followed_ = rows;
    if (!rows)
        return;
    connect(rows, &TClientDataSetEx::DataReset, this, &TGridFind::Begin);
    connect(rows, &TClientDataSetEx::RowInserted, this, &TGridFind::Begin);
    connect(rows, &TClientDataSetEx::RowRemoved, this, &TGridFind::Begin);
    connect(rows, &TClientDataSetEx::RowChanged, this, &TGridFind::Recount);
    connect(rows, &TClientDataSetEx::FieldChanged, this, [this] { Recount(grid_.d_->CurrentRow()); });
    connect(rows, &TClientDataSetEx::CursorMoved, this, &TGridFind::Progressed);
}

bool TGridFind::Matches(int viewRow, const TShownTexts::Source& source) const
{
    if (numbers_)
        return numbers_->IndexOf(texts_.Text(viewRow, source)) >= 0;
    if (letters_ == Letters::Other)
        return grid_.CellText(viewRow, source.column).contains(text_, Qt::CaseInsensitive);
    const QByteArrayView cell = texts_.Text(viewRow, source);
    if (letters_ == Letters::None)
        return cell.contains(bytes_);
    return std::search(cell.begin(), cell.end(), bytes_.begin(), bytes_.end(), [](char a, char b) {
        return Folded(a) == b;
    }) != cell.end();
}

int TGridFind::HitsIn(int viewRow) const
{
    return int(std::ranges::count_if(
        texts_.Sources(), [&](const TShownTexts::Source& source) { return Matches(viewRow, source); }));
}

void TGridFind::Work()
{
    const int rows = followed_ && followed_->Active() ? followed_->RecordCount() : 0;
    QElapsedTimer clock;
    clock.start();
    while (int(counts_.size()) < rows && clock.elapsed() < kSlice) {
        const int end = std::min(rows, int(counts_.size()) + kRowsAtOnce);
        for (int row = int(counts_.size()); row < end; ++row) {
            counts_.push_back(quint16(HitsIn(row)));
            hits_ += counts_.back();
        }
    }
    if (int(counts_.size()) >= rows)
        soon_.stop();
    Q_EMIT Progressed();
}

void TGridFind::Recount(int viewRow)
{
    if (viewRow < 0 || viewRow >= int(counts_.size()))
        return;
    quint16& count = counts_[size_t(viewRow)];
    hits_ -= count;
    count = quint16(HitsIn(viewRow));
    hits_ += count;
    Q_EMIT Progressed();
}

int TGridFind::Place() const
{
    const int row = grid_.d_->CurrentRow();
    if (row < 0 || row >= int(counts_.size()) || counts_[size_t(row)] == 0)
        return 0;
    int place = std::accumulate(counts_.begin(), counts_.begin() + row, 0);
    bool isHit = false;
    for (const TShownTexts::Source& source : texts_.Sources()) {
        if (source.column > grid_.SelectedIndex() || !Matches(row, source))
            continue;
        ++place;
        isHit = isHit || source.column == grid_.SelectedIndex();
    }
    return isHit ? place : 0;
}

bool TGridFind::Step(bool backwards)
{
    const int count = int(counts_.size());
    if (hits_ == 0 || count == 0)
        return false;
    const int step = backwards ? -1 : 1;
    const int from = std::clamp(grid_.d_->CurrentRow(), 0, count - 1);
    const auto hitBeside = [&](int row, int column) {
        int best = -1;
        for (const TShownTexts::Source& source : texts_.Sources()) {
            const bool beyond = backwards ? source.column < column : source.column > column;
            const bool nearer = best < 0 || (backwards ? source.column > best : source.column < best);
            if (beyond && nearer && Matches(row, source))
                best = source.column;
        }
        return best;
    };
    const int outside = backwards ? grid_.ColumnCount() : -1;
    for (int distance = 0; distance <= count; ++distance) {
        const int row = ((from + distance * step) % count + count) % count;
        if (counts_[size_t(row)] == 0)
            continue;
        const int column = hitBeside(row, distance == 0 ? grid_.SelectedIndex() : outside);
        if (column >= 0)
            return grid_.d_->GoToHit(row, column);
    }
    return false;
}

std::pair<qsizetype, qsizetype> TGridFind::HitIn(int column, const QString& shown) const
{
    const auto& sources = texts_.Sources();
    constexpr std::pair<qsizetype, qsizetype> kNone{-1, 0};
    if ((!numbers_ && text_.isEmpty())
        || std::ranges::find(sources, column, &TShownTexts::Source::column) == sources.end())
        return kNone;
    if (numbers_)
        return numbers_->IndexOf(shown.toUtf8()) < 0 ? kNone : std::pair(qsizetype(0), shown.size());
    const qsizetype at = shown.indexOf(text_, 0, Qt::CaseInsensitive);
    return at < 0 ? kNone : std::pair(at, text_.size());
}

// --- The column of a set of numbers ---

TNumberSearch::TNumberSearch(TDBGridEh& grid, const TNumberSet& numbers)
    : QObject(&grid)
    , grid_(grid)
    , numbers_(numbers)
{
    connect(&soon_, &QTimer::timeout, this, &TNumberSearch::Work);
    for (const auto change : {&TClientDataSetEx::RowInserted, &TClientDataSetEx::RowRemoved})
        connect(grid.DataSet(), change, this, &TNumberSearch::Begin);
    connect(grid.DataSet(), &TClientDataSetEx::DataReset, this, &TNumberSearch::Begin);
    Begin();
}

void TNumberSearch::Begin()
{
    texts_.Read(grid_, {});
    tally_ = best_ = {{}, std::vector<bool>(size_t(numbers_.Count()), false), 0};
    column_ = 0;
    BeginColumn();
    soon_.start(0);
}

void TNumberSearch::ReadValue(int place)
{
    const QString& number = numbers_.Number(place);
    if (!number[0].isDigit() && number[0] != u'-')
        return;
    const auto keep = [&](wire::ColumnType type, const wire::Value& value) {
        if (wire::ToText(value).compare(number, Qt::CaseInsensitive) == 0)
            values_[size_t(type)].insert(KeyOf(value), place);
    };
    bool read = false;
    if (const qint64 whole = number.toLongLong(&read); read)
        keep(wire::ColumnType::Integer, whole);
    if (const double amount = number.toDouble(&read); read)
        keep(wire::ColumnType::Number, amount);
    if (const auto moment = wire::DateTime::Parse(number))
        keep(wire::ColumnType::DateTime, *moment);
}

void TNumberSearch::BeginColumn()
{
    row_ = 0;
    entries_.clear();
    if (column_ >= texts_.Sources().size() || !texts_.Sources()[column_].plain
        || grid_.DataSet()->RecordCount() == 0)
        return;
    const wire::Column& column = texts_.Column(texts_.Sources()[column_]);
    if (column.Type() == wire::ColumnType::Text && column.IsDictionary())
        entries_.assign(size_t(column.EntryCount()), kNotLookedUp);
}

// The place of the cell among the numbers, -1 where it is none.
int TNumberSearch::NumberIn(int viewRow, const TShownTexts::Source& source)
{
    const qint64 row = texts_.StoredRow(viewRow, source);
    if (row < 0)
        return numbers_.IndexOf(texts_.Text(viewRow, source));
    const wire::Column& column = texts_.Column(source);
    if (column.Type() != wire::ColumnType::Text) {
        const QHash<qint64, int>& values = values_[size_t(column.Type())];
        if (values.isEmpty() || column.IsNull(row))
            return -1;
        return values.value(
            column.Type() == wire::ColumnType::Number ? KeyOf(column.NumberAt(row)) : column.IntegerAt(row),
            -1);
    }
    if (entries_.empty())
        return numbers_.IndexOf(column.TextAt(row));
    const qint64 entry = column.EntryAt(row);
    if (entry < 0)
        return -1;
    int& number = entries_[size_t(entry)];
    if (number == kNotLookedUp)
        number = numbers_.IndexOf(column.Entry(entry));
    return number;
}

void TNumberSearch::Work()
{
    if (column_ >= texts_.Sources().size()) {
        Finish(); // a go of its own: the rows move
        return;
    }
    const TClientDataSetEx* rows = grid_.DataSet();
    QElapsedTimer clock;
    clock.start();
    while (valuesRead_ < numbers_.Count()) {
        ReadValue(valuesRead_++);
        if (valuesRead_ % kRowsAtOnce == 0 && clock.elapsed() >= kSlice)
            return;
    }
    while (column_ < texts_.Sources().size() && clock.elapsed() < kSlice) {
        const TShownTexts::Source& source = texts_.Sources()[column_];
        const int count = rows->RecordCount();
        const int end = std::min(count, row_ + kRowsAtOnce);
        for (; row_ < end; ++row_) {
            const int number = NumberIn(row_, source);
            if (number < 0)
                continue;
            tally_.matches.push_back({number, rows->ViewBookmark(row_)});
            tally_.found += tally_.seen[size_t(number)] ? 0 : 1;
            tally_.seen[size_t(number)] = true;
        }
        if (row_ >= count)
            EndColumn();
    }
}

void TNumberSearch::EndColumn()
{
    if (tally_.found > best_.found) {
        std::swap(tally_, best_);
        Field = grid_.Column(texts_.Sources()[column_].column).fieldName;
    }
    tally_.matches.clear();
    tally_.seen.assign(size_t(numbers_.Count()), false);
    tally_.found = 0;
    ++column_;
    if (best_.found == numbers_.Count()) // no other can have more
        column_ = texts_.Sources().size();
    BeginColumn();
}

void TNumberSearch::Finish()
{
    soon_.stop();
    disconnect(grid_.DataSet(), nullptr, this, nullptr); // gathering the rows is no reason to begin anew
    // By number; several rows of one as they stood.
    std::vector<size_t> places(size_t(numbers_.Count()) + 1, 0);
    for (const Match& match : best_.matches)
        ++places[size_t(match.number) + 1];
    std::partial_sum(places.begin(), places.end(), places.begin());
    Rows.resize(best_.matches.size());
    for (const Match& match : best_.matches)
        Rows[places[size_t(match.number)]++] = match.row;
    for (int i = 0; i < numbers_.Count(); ++i) {
        if (!best_.seen[size_t(i)])
            Missing += numbers_.Number(i);
    }
    Q_EMIT Done();
}
