#include "server/provider/AuditFields.h"

#include "wire/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace server {
namespace {

// Escapes what stands from `begin` on, as JSON wants it; there is rarely anything to do.
void EscapeFrom(std::string& text, size_t begin)
{
    constexpr std::string_view kHex = "0123456789abcdef";
    const auto special = [](char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; };
    if (std::none_of(text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(), special))
        return;
    const std::string plain = text.substr(begin);
    text.resize(begin);
    for (const char c : plain) {
        if (static_cast<unsigned char>(c) < 0x20) {
            text += "\\u00";
            text += kHex[static_cast<unsigned char>(c) >> 4];
            text += kHex[c & 15];
            continue;
        }
        if (special(c))
            text += '\\';
        text += c;
    }
}

void AppendText(std::string& text, QStringView value)
{
    text += '"';
    const size_t begin = text.size();
    wire::AppendUtf8(text, value);
    EscapeFrom(text, begin);
    text += '"';
}

template <typename T> void AppendNumber(std::string& text, T number)
{
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text.append(digits, end);
}

void AppendValue(std::string& text, const wire::Value& value)
{
    if (const auto* integer = std::get_if<qint64>(&value))
        AppendNumber(text, *integer);
    else if (const auto* number = std::get_if<double>(&value); number && std::isfinite(*number))
        AppendNumber(text, *number);
    else if (wire::IsNull(value))
        text += "null";
    else if (const auto* string = std::get_if<QString>(&value))
        AppendText(text, *string);
    else
        AppendText(text, wire::ToText(value));
}

} // namespace

void AuditFields::Add(std::string_view column, const wire::Value& original, const wire::Value& current)
{
    AddField(column);
    text_ += '[';
    AppendValue(text_, original);
    text_ += ',';
    AppendValue(text_, current);
    text_ += ']';
}

void AuditFields::AddField(std::string_view field)
{
    text_ += text_.empty() ? '{' : ',';
    text_ += field;
}

std::string AuditFields::Field(QStringView name, const wire::Value& value)
{
    std::string field = Name(name);
    AppendValue(field, value);
    return field;
}

std::string AuditFields::Name(QStringView name)
{
    std::string begin;
    AppendText(begin, name);
    begin += ':';
    return begin;
}

std::string_view AuditFields::Finish()
{
    text_ += text_.empty() ? "{}" : "}";
    return text_;
}

} // namespace server
