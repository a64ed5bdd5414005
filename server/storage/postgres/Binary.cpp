#include "server/storage/postgres/Binary.h"

#include "server/refusal/UserTexts.h"
#include "wire/Utf8.h"

#include <QtEndian>

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace storage::postgres {
namespace {

namespace texts = server::texts;

// As pg_type numbers them, for good.
constexpr Oid kBoolean = 16;
constexpr Oid kName = 19;
constexpr Oid kInt8 = 20;
constexpr Oid kInt2 = 21;
constexpr Oid kInt4 = 23;
constexpr Oid kText = 25;
constexpr Oid kFloat4 = 700;
constexpr Oid kFloat8 = 701;
constexpr Oid kUnknown = 705;
constexpr Oid kBlankPadded = 1042;
constexpr Oid kVarchar = 1043;
constexpr Oid kDate = 1082;
constexpr Oid kTimestamp = 1114;
constexpr Oid kNumeric = 1700;

constexpr qint64 kMicroseconds = 1'000'000;
constexpr qint64 kDaySeconds = 86'400;
constexpr qint64 kEpoch = 946'684'800; // 2000-01-01, from which PostgreSQL counts

// What a date of clients can be; "infinity" ends here too.
const qint64 kFirstSecond = wire::DateTime::FromParts(1, 1, 1).seconds;
const qint64 kLastSecond = wire::DateTime::FromParts(9999, 12, 31, 23, 59, 59).seconds;

template <typename T> T ReadBigEndian(const char* bytes)
{
    return qFromBigEndian<T>(bytes);
}

// Raises where the cell is not of the type's size.
template <typename T> T ReadAs(std::string_view cell)
{
    if (cell.size() != sizeof(T))
        throw wire::Error(wire::ErrorKind::Storage, texts::DatabaseError());
    return qFromBigEndian<T>(cell.data());
}

std::string_view CellOf(const PGresult* result, int row, int column)
{
    const int length = PQgetlength(result, row, column);
    if (length == 0)
        return {};
    return {PQgetvalue(result, row, column), static_cast<size_t>(length)};
}

// Rounded: only what is computed has parts of a second.
qint64 SecondsOf(qint64 microseconds)
{
    if (microseconds == std::numeric_limits<qint64>::max())
        return kLastSecond;
    if (microseconds == std::numeric_limits<qint64>::min())
        return kFirstSecond;
    const qint64 half = kMicroseconds / 2;
    const qint64 shifted = microseconds + half;
    const qint64 seconds = shifted / kMicroseconds - (shifted % kMicroseconds < 0 ? 1 : 0);
    return std::clamp(seconds + kEpoch, kFirstSecond, kLastSecond);
}

// Digits to the base 10,000, by way of their decimal text, so that it is rounded once.
double NumericOf(std::string_view cell)
{
    constexpr size_t kHead = 8;
    constexpr auto kNegative = 0x4000;
    constexpr auto kSpecial = 0xC000; // and above: not a number, infinities
    if (cell.size() < kHead)
        return std::numeric_limits<double>::quiet_NaN();
    const char* const bytes = cell.data();
    const int digits = ReadBigEndian<qint16>(bytes);
    const int weight = ReadBigEndian<qint16>(bytes + 2);
    const int sign = ReadBigEndian<quint16>(bytes + 4);
    if (sign >= kSpecial || cell.size() < kHead + 2 * static_cast<size_t>(digits))
        return std::numeric_limits<double>::quiet_NaN();
    if (digits == 0)
        return 0;
    std::string text = sign == kNegative ? "-" : "";
    for (int i = 0; i < digits; ++i) {
        char four[8];
        std::snprintf(four, sizeof four, "%04d", ReadBigEndian<qint16>(bytes + 8 + 2 * i));
        text += four;
    }
    text += 'e' + std::to_string(4 * (weight - digits + 1));
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

} // namespace

Oid TypeOf(wire::ColumnType type)
{
    switch (type) {
    case wire::ColumnType::Text:
        return kText;
    case wire::ColumnType::Integer:
        return kInt8;
    case wire::ColumnType::Number:
        return kFloat8;
    case wire::ColumnType::DateTime:
        return kTimestamp;
    }
    return kText;
}

void Parameters::Clear() noexcept
{
    bytes_.clear();
    ends_.clear();
    nulls_.clear();
}

void Parameters::Add(const wire::Value& value, wire::ColumnType type)
{
    const auto own = static_cast<size_t>(type); // the alternatives stand in the order of the types
    if (value.index() == own || wire::IsNull(value))
        Add(value);
    else
        Add(wire::Convert(value, type));
}

void Parameters::Add(const wire::Value& value)
{
    switch (value.index()) {
    case 1:
        AddText(std::get<QString>(value));
        break;
    case 2:
        AddInteger(std::get<qint64>(value));
        break;
    case 3:
        AddNumber(std::get<double>(value));
        break;
    case 4:
        AddDateTime(std::get<wire::DateTime>(value));
        break;
    default:
        AddNull();
    }
}

void Parameters::AddNull()
{
    End(true);
}

void Parameters::AddInteger(qint64 value)
{
    AddBigEndian(value);
}

void Parameters::AddNumber(double value)
{
    quint64 bits;
    std::memcpy(&bits, &value, sizeof bits);
    AddBigEndian(bits);
}

void Parameters::AddDateTime(wire::DateTime value)
{
    if (value.seconds < kFirstSecond || value.seconds > kLastSecond)
        throw wire::Error(wire::ErrorKind::Data, texts::DateOutOfRange());
    AddBigEndian((value.seconds - kEpoch) * kMicroseconds);
}

void Parameters::AddText(const QString& text)
{
    if (text.isEmpty()) {
        AddNull();
        return;
    }
    const size_t begin = bytes_.size();
    wire::AppendUtf8(bytes_, text);
    if (bytes_.find('\0', begin) != std::string::npos)
        throw wire::Error(wire::ErrorKind::Data, texts::NulInText());
    End();
}

void Parameters::AddUtf8(std::string_view text)
{
    bytes_ += text;
    End(text.empty());
}

Parameters::Arrays Parameters::ForSending() const
{
    const size_t count = ends_.size();
    values_.resize(count);
    lengths_.resize(count);
    formats_.resize(count, 1);
    size_t begin = 0;
    for (size_t i = 0; i < count; ++i) {
        values_[i] = nulls_[i] ? nullptr : bytes_.data() + begin;
        lengths_[i] = static_cast<int>(ends_[i] - begin);
        begin = ends_[i];
    }
    return {values_.data(), lengths_.data(), formats_.data()};
}

void Parameters::AppendCopyRow(std::string& buffer) const
{
    const auto append = [&buffer](auto value) {
        const auto big = qToBigEndian(value);
        buffer.append(reinterpret_cast<const char*>(&big), sizeof big);
    };
    append(static_cast<qint16>(Count()));
    size_t begin = 0;
    for (size_t i = 0; i < ends_.size(); ++i) {
        append(static_cast<qint32>(nulls_[i] ? -1 : static_cast<qint32>(ends_[i] - begin)));
        buffer.append(bytes_, begin, ends_[i] - begin);
        begin = ends_[i];
    }
}

template <typename T> void Parameters::AddBigEndian(T value)
{
    const T big = qToBigEndian(value);
    bytes_.append(reinterpret_cast<const char*>(&big), sizeof big);
    End();
}

void Parameters::End(bool null)
{
    ends_.push_back(bytes_.size());
    nulls_.push_back(null);
}

CellReaders::CellReaders(const PGresult* result, const std::vector<wire::ColumnType>& wanted)
{
    if (PQnfields(result) != static_cast<int>(wanted.size()))
        throw wire::Error(wire::ErrorKind::Storage, texts::UnknownType(QString::number(PQnfields(result))));
    readers_.reserve(wanted.size());
    for (size_t i = 0; i < wanted.size(); ++i) {
        const Oid type = PQftype(result, static_cast<int>(i));
        Reader reader{wanted[i], Form::Text};
        bool fits = FormOf(type, reader.form);
        const bool isText = reader.form == Form::Text;
        const bool isTime = reader.form == Form::Timestamp || reader.form == Form::Date;
        fits = fits && isText == (wanted[i] == wire::ColumnType::Text)
            && isTime == (wanted[i] == wire::ColumnType::DateTime);
        // A null without a type comes as text, whatever it stands for.
        if (!fits && !(isText && (type == kUnknown || type == kText)))
            throw wire::Error(wire::ErrorKind::Storage,
                texts::UnknownType(
                    u"%1: %2"_s.arg(QString::fromUtf8(PQfname(result, static_cast<int>(i)))).arg(type)));
        readers_.push_back(reader);
    }
}

void CellReaders::ReadRows(const PGresult* result, int first, int count, CellBlocks& blocks) const
{
    std::array<std::string_view, kRowsAtOnce> cells;
    for (int column = 0; column < Count(); ++column) {
        for (int i = 0; i < count; ++i)
            cells[static_cast<size_t>(i)] = CellOf(result, first + i, column);
        ReadCells(column, Cells(cells).first(static_cast<size_t>(count)), blocks);
    }
}

void CellReaders::ReadCells(int column, Cells cells, CellBlocks& blocks) const
{
    const Reader reader = readers_[static_cast<size_t>(column)];
    wire::CellBlock& block = blocks[static_cast<size_t>(column)];
    const Form form = reader.form;
    if (reader.wanted == wire::ColumnType::Text)
        block.AddTexts(cells);
    else if (reader.wanted == wire::ColumnType::Number && form == Form::Float8)
        block.AddNumbers(cells, ReadAs<double>);
    else if (reader.wanted == wire::ColumnType::Number)
        block.AddNumbers(cells, [form](std::string_view cell) { return NumberOf(form, cell); });
    else if (form == Form::Int8)
        block.AddIntegers(cells, ReadAs<qint64>);
    else if (form == Form::Timestamp)
        block.AddIntegers(cells, [](std::string_view cell) { return SecondsOf(ReadAs<qint64>(cell)); });
    else
        block.AddIntegers(cells, [form](std::string_view cell) { return IntegerOf(form, cell); });
}

wire::Value CellReaders::ReadValue(const PGresult* result, int row, int column) const
{
    const std::string_view cell = CellOf(result, row, column);
    if (cell.empty())
        return {};
    const Reader reader = readers_[static_cast<size_t>(column)];
    switch (reader.wanted) {
    case wire::ColumnType::Text:
        return QString::fromUtf8(cell.data(), static_cast<qsizetype>(cell.size()));
    case wire::ColumnType::Number:
        return NumberOf(reader.form, cell);
    case wire::ColumnType::Integer:
        return IntegerOf(reader.form, cell);
    case wire::ColumnType::DateTime:
        return wire::DateTime{IntegerOf(reader.form, cell)};
    }
    return {};
}

bool CellReaders::FormOf(Oid type, Form& form)
{
    switch (type) {
    case kText:
    case kVarchar:
    case kBlankPadded:
    case kName:
    case kUnknown:
        form = Form::Text;
        return true;
    case kBoolean:
        form = Form::Boolean;
        return true;
    case kInt2:
        form = Form::Int2;
        return true;
    case kInt4:
        form = Form::Int4;
        return true;
    case kInt8:
        form = Form::Int8;
        return true;
    case kFloat4:
        form = Form::Float4;
        return true;
    case kFloat8:
        form = Form::Float8;
        return true;
    case kNumeric:
        form = Form::Numeric;
        return true;
    case kTimestamp:
        form = Form::Timestamp;
        return true;
    case kDate:
        form = Form::Date;
        return true;
    default:
        return false;
    }
}

qint64 CellReaders::IntegerOf(Form form, std::string_view cell)
{
    switch (form) {
    case Form::Int8:
        return ReadAs<qint64>(cell);
    case Form::Timestamp:
        return SecondsOf(ReadAs<qint64>(cell));
    case Form::Int4:
        return ReadAs<qint32>(cell);
    case Form::Int2:
        return ReadAs<qint16>(cell);
    case Form::Boolean:
        return ReadAs<qint8>(cell) != 0 ? 1 : 0;
    case Form::Date:
        return std::clamp(ReadAs<qint32>(cell) * kDaySeconds + kEpoch, kFirstSecond, kLastSecond);
    default:
        return std::llround(NumberOf(form, cell));
    }
}

double CellReaders::NumberOf(Form form, std::string_view cell)
{
    switch (form) {
    case Form::Float8:
        return ReadAs<double>(cell);
    case Form::Float4:
        return ReadAs<float>(cell);
    case Form::Numeric:
        return NumericOf(cell);
    case Form::Text: {
        double value = 0;
        std::from_chars(cell.data(), cell.data() + cell.size(), value);
        return value;
    }
    default:
        return static_cast<double>(IntegerOf(form, cell));
    }
}

} // namespace storage::postgres
