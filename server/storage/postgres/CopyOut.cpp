#include "server/storage/postgres/CopyOut.h"

#include "server/refusal/UserTexts.h"

#include <QtEndian>

#include <charconv>
#include <cmath>

namespace storage::postgres {
namespace {

// Rows with texts of unusual length are not gathered.
constexpr size_t kManyBytes = 256 << 10;

constexpr std::string_view kSignature("PGCOPY\n\377\r\n\0", 11);

// As a literal that means the same whether backslashes escape or not.
std::string QuotedText(const QString& text)
{
    std::string quoted = "E'";
    for (const char c : text.toUtf8()) {
        if (c == '\'' || c == '\\')
            quoted += c;
        quoted += c;
    }
    return quoted + '\'';
}

std::optional<std::string> LiteralOf(const wire::Value& given, wire::ColumnType type)
{
    // Beyond them dates have no text that both sides read alike.
    static const wire::DateTime kFirst = wire::DateTime::FromParts(1, 1, 1);
    static const wire::DateTime kLast = wire::DateTime::FromParts(9999, 12, 31, 23, 59, 59);
    const wire::Value value = wire::Convert(given, type);
    std::string text = "null";
    if (const auto* string = std::get_if<QString>(&value)) {
        if (!string->isEmpty())
            text = QuotedText(*string);
    } else if (const auto* integer = std::get_if<qint64>(&value)) {
        text = '\'' + std::to_string(*integer) + '\'';
    } else if (const auto* number = std::get_if<double>(&value)) {
        if (!std::isfinite(*number))
            return std::nullopt;
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, *number).ptr;
        text = '\'' + std::string(digits, end) + '\'';
    } else if (const auto* date = std::get_if<wire::DateTime>(&value)) {
        if (*date < kFirst || kLast < *date)
            return std::nullopt;
        text = '\'' + date->ToText().toStdString() + '\'';
    }
    switch (type) {
    case wire::ColumnType::Text:
        return '(' + text + "::text)";
    case wire::ColumnType::Integer:
        return '(' + text + "::bigint)";
    case wire::ColumnType::Number:
        return '(' + text + "::double precision)";
    case wire::ColumnType::DateTime:
        return '(' + text + "::timestamp)";
    }
    return std::nullopt;
}

template <typename T> inline T Take(std::string_view& bytes)
{
    if (bytes.size() < sizeof(T))
        throw wire::Error(wire::ErrorKind::Storage, server::texts::DatabaseError());
    const T value = qFromBigEndian<T>(bytes.data());
    bytes.remove_prefix(sizeof(T));
    return value;
}

inline std::string_view TakeBytes(std::string_view& bytes, size_t size)
{
    if (bytes.size() < size)
        throw wire::Error(wire::ErrorKind::Storage, server::texts::DatabaseError());
    const std::string_view taken = bytes.substr(0, size);
    bytes.remove_prefix(size);
    return taken;
}

} // namespace

std::optional<std::string> CopyText(const dialect::Translated& select, wire::DateTime now)
{
    const std::string& sql = select.translation->sql;
    std::string text = "copy (";
    text.reserve(2 * sql.size());
    char quote = '\0';
    size_t from = 0; // what stands before it has been taken
    for (size_t at = 0; at < sql.size();) {
        const char c = sql[at];
        size_t end = at + 1;
        while (quote == '\0' && c == '$' && end < sql.size() && sql[end] >= '0' && sql[end] <= '9')
            ++end;
        if (end == at + 1) {
            // A quote that is doubled ends and begins again.
            if (c == quote)
                quote = '\0';
            else if (quote == '\0' && (c == '\'' || c == '"'))
                quote = c;
        } else {
            const size_t number = std::stoul(sql.substr(at + 1, end - at - 1));
            const dialect::Parameter& parameter = select.translation->parameters.at(number - 1);
            const bool isNow = parameter.source == dialect::Parameter::Source::Now;
            const auto literal =
                LiteralOf(isNow ? wire::Value(now) : select.literals[static_cast<size_t>(parameter.literal)],
                    parameter.type);
            if (!literal)
                return std::nullopt;
            text.append(sql, from, at - from).append(*literal);
            from = end;
        }
        at = end;
    }
    return text.append(sql, from) + ") to stdout (format binary)";
}

CopyReader::CopyReader(Link& link, const std::string& copyText, const CellReaders& readers)
    : link_(link)
    , readers_(readers)
{
    link_.StartCopy(copyText);
}

CopyReader::~CopyReader()
{
    link_.EndCopy();
}

bool CopyReader::Fill(CellBlocks& blocks)
{
    link_.CheckStop();
    for (;;) {
        const bool more = GatherRows(wire::CellBlock::kRows - blocks.front().RowCount());
        ReadRows(blocks);
        if (!more)
            return false;
        if (AreFull(blocks))
            return true;
    }
}

// False at the end.
bool CopyReader::GatherRows(qsizetype most)
{
    bytes_.clear();
    const size_t wanted = std::min(ends_.size(), static_cast<size_t>(most));
    for (rows_ = 0; rows_ < wanted && bytes_.size() < kManyBytes;) {
        std::string_view bytes = link_.NextCopied();
        if (bytes.empty())
            return false;
        if (!headerRead_) {
            headerRead_ = true;
            if (TakeBytes(bytes, kSignature.size()) != kSignature)
                throw wire::Error(wire::ErrorKind::Storage, server::texts::DatabaseError());
            Take<qint32>(bytes); // flags
            TakeBytes(bytes, Take<quint32>(bytes)); // what a newer version may have added
        }
        if (bytes.empty())
            continue; // the header alone
        const qint16 fields = Take<qint16>(bytes);
        if (fields < 0)
            continue; // the trailer
        if (fields != readers_.Count())
            throw wire::Error(wire::ErrorKind::Storage, server::texts::DatabaseError());
        bytes_ += bytes;
        ends_[rows_++] = bytes_.size();
    }
    return true;
}

void CopyReader::ReadRows(CellBlocks& blocks)
{
    std::array<std::string_view, CellReaders::kRowsAtOnce> rows; // what is left of each
    std::array<std::string_view, CellReaders::kRowsAtOnce> cells;
    size_t begin = 0;
    for (size_t row = 0; row < rows_; ++row) {
        rows[row] = std::string_view(bytes_).substr(begin, ends_[row] - begin);
        begin = ends_[row];
    }
    for (int column = 0; column < readers_.Count(); ++column) {
        for (size_t row = 0; row < rows_; ++row) {
            const qint32 length = Take<qint32>(rows[row]);
            cells[row] = length > 0 ? TakeBytes(rows[row], static_cast<size_t>(length)) : std::string_view();
        }
        readers_.ReadCells(column, CellReaders::Cells(cells).first(rows_), blocks);
    }
}

} // namespace storage::postgres
