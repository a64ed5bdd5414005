// Mutations that keep a change log a change log: rows, cells and values are changed as such, then encoded.

#include "fuzz/ChangeRequest.h"
#include "fuzz/WritableTables.h"

#include <limits>
#include <random>

using namespace Qt::Literals::StringLiterals;
using wire::Value;

extern "C" size_t LLVMFuzzerMutate(quint8* data, size_t size, size_t maxSize);
extern "C" size_t LLVMFuzzerCustomMutator(quint8* data, size_t size, size_t maxSize, unsigned seed);

namespace {

class Mutator {
public:
    explicit Mutator(unsigned seed)
        : random_(seed + 1)
    {
    }

    size_t Below(size_t limit) { return limit == 0 ? 0 : random_() % limit; }

    void Mutate(wire::Request& request)
    {
        wire::ChangeLog& log = request.changes;
        switch (Below(12)) {
        case 0:
            request.maxErrors = static_cast<int>(Below(4)) - 1;
            break;
        case 1:
            log.commandText = fuzz::CommandTexts()[Below(fuzz::CommandTexts().size())];
            break;
        case 2:
            MutateColumns(log);
            break;
        case 3:
            log.rows.push_back(NewRow(log));
            break;
        case 4:
            if (!log.rows.empty())
                log.rows.insert(log.rows.begin() + Any(log.rows), log.rows[Below(log.rows.size())]);
            break;
        case 5:
            if (!log.rows.empty())
                log.rows.erase(log.rows.begin() + Any(log.rows));
            break;
        case 6:
            if (!log.rows.empty())
                std::swap(log.rows[Below(log.rows.size())], log.rows[Below(log.rows.size())]);
            break;
        default:
            if (!log.rows.empty())
                MutateRow(log, log.rows[Below(log.rows.size())]);
        }
    }

private:
    template <typename T> std::ptrdiff_t Any(const std::vector<T>& list)
    {
        return static_cast<std::ptrdiff_t>(Below(list.size()));
    }

    void MutateColumns(wire::ChangeLog& log)
    {
        const company::Table& table = AnyTable();
        const company::Column& column = table.columns[Below(table.columns.size())];
        const wire::ColumnInfo info{
            column.name, column.type, column.width, Below(4) == 0, Below(2) == 0, Below(4) != 0};
        if (log.columns.empty() || Below(2) == 0)
            log.columns.push_back(info);
        else
            log.columns[Below(log.columns.size())] = info;
    }

    void MutateRow(const wire::ChangeLog& log, wire::RowChange& row)
    {
        switch (Below(6)) {
        case 0:
            row.kind = static_cast<wire::ChangeKind>(1 + Below(3));
            break;
        case 1:
            if (!log.columns.empty())
                row.cells.push_back({Column(log), AnyValue(), AnyValue()});
            break;
        case 2:
            if (!row.cells.empty())
                row.cells.erase(row.cells.begin() + Any(row.cells));
            break;
        case 3:
            row = NewRow(log);
            break;
        default:
            if (row.cells.empty())
                return;
            wire::CellChange& cell = row.cells[Below(row.cells.size())];
            (Below(2) == 0 ? cell.original : cell.current) = AnyValue();
        }
    }

    // One that could be accepted: the key and guards as they stand in the database, one value changed.
    wire::RowChange NewRow(const wire::ChangeLog& log)
    {
        wire::RowChange row;
        row.kind = static_cast<wire::ChangeKind>(1 + Below(3));
        row.rowId = static_cast<quint32>(Below(1000));
        const fuzz::TableState& state = fuzz::Pristine()[Below(fuzz::Pristine().size())];
        const std::vector<Value>& stored = state.rows[Below(state.rows.size())];
        const size_t edited = Below(log.columns.size());
        for (size_t i = 0; i < log.columns.size(); ++i) {
            const size_t at = state.IndexOf(log.columns[i].name);
            const Value value = at < stored.size() ? stored[at] : Value{};
            const auto column = static_cast<quint16>(i);
            if (row.kind == wire::ChangeKind::Insert)
                row.cells.push_back({column, {}, i == edited ? AnyValue() : value});
            else if (i == edited && row.kind == wire::ChangeKind::Update)
                row.cells.push_back({column, value, AnyValue()});
            else if (log.columns[i].key || log.columns[i].guard)
                row.cells.push_back({column, value, value});
        }
        return row;
    }

    const company::Table& AnyTable() { return *fuzz::Pristine()[Below(fuzz::Pristine().size())].table; }
    quint16 Column(const wire::ChangeLog& log) { return static_cast<quint16>(Below(log.columns.size())); }

    Value AnyValue()
    {
        using Integers = std::numeric_limits<qint64>;
        switch (Below(8)) {
        case 0:
            return {};
        case 1:
            return wire::TextValue(QString(qsizetype(Below(260)), QChar(u'一' + ushort(Below(40)))));
        case 2: {
            const char16_t* const texts[] = {u"L001", u"L009", u"合肥一部", u";合肥一部;", u"1", u"-1.5",
                u"1e9", u"2024-03-05 08:00:00", u"nan", u"'\"\\", u" ", u"\U0001F600"};
            return QString::fromUtf16(texts[Below(std::size(texts))]);
        }
        case 3: {
            const qint64 integers[] = {0, 1, -1, 3, 10, Integers::max(), Integers::min(), 1LL << 53};
            return integers[Below(std::size(integers))];
        }
        case 4: {
            const double numbers[] = {0.5, -0.0, 1e300, 9.3e18, -1, std::numeric_limits<double>::infinity(),
                std::numeric_limits<double>::quiet_NaN(), 4.9e-324};
            return numbers[Below(std::size(numbers))];
        }
        case 5: {
            const qint64 seconds[] = {
                0, -1, 1'709'600'000, Integers::max(), Integers::min(), 253'402'300'800};
            return wire::DateTime{seconds[Below(std::size(seconds))]};
        }
        default: {
            const fuzz::TableState& state = fuzz::Pristine()[Below(fuzz::Pristine().size())];
            const std::vector<Value>& row = state.rows[Below(state.rows.size())];
            return row[Below(row.size())];
        }
        }
    }

    std::minstd_rand random_;
};

} // namespace

size_t LLVMFuzzerCustomMutator(quint8* data, size_t size, size_t maxSize, unsigned seed)
{
    Mutator mutator(seed);
    fuzz::ChangeInput input;
    if (mutator.Below(8) == 0 || !input.Read(data, size))
        return LLVMFuzzerMutate(data, size, maxSize);
    for (size_t times = 1 + mutator.Below(3); times > 0; --times)
        mutator.Mutate(input.request);
    if (mutator.Below(16) == 0)
        input.account = static_cast<quint8>(mutator.Below(2));
    const QByteArray bytes = input.Bytes();
    if (static_cast<size_t>(bytes.size()) > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::ranges::copy(bytes, data);
    return static_cast<size_t>(bytes.size());
}
