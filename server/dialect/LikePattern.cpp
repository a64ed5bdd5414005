#include "server/dialect/LikePattern.h"

namespace dialect {
namespace {

size_t NextCharacter(std::string_view text, size_t at)
{
    ++at;
    while (at < text.size() && (text[at] & 0xC0) == 0x80)
        ++at;
    return at;
}

} // namespace

LikePattern::LikePattern(const QString& pattern, QChar escape)
    : pieces_(1)
{
    QString plain;
    const auto flush = [&] {
        pieces_.back().bytes += plain.toStdString();
        plain.clear();
    };
    for (qsizetype at = 0; at < pattern.size(); ++at) {
        QChar character = pattern[at];
        if (!escape.isNull() && character == escape && at + 1 < pattern.size()) {
            plain += pattern[++at];
        } else if (character == u'%') {
            flush();
            pieces_.emplace_back();
        } else if (character == u'_') {
            flush();
            pieces_.back().bytes += kAny;
            pieces_.back().hasAny = true;
        } else {
            plain += character;
        }
    }
    flush();
}

bool LikePattern::MatchesAt(const Piece& piece, std::string_view text, size_t at, size_t& end)
{
    for (const char byte : piece.bytes) {
        if (at >= text.size())
            return false;
        if (byte == kAny)
            at = NextCharacter(text, at);
        else if (text[at] != byte)
            return false;
        else
            ++at;
    }
    end = at;
    return true;
}

// The first place from `from` on; `end` is the byte after it.
bool LikePattern::Find(const Piece& piece, std::string_view text, size_t from, size_t& end)
{
    if (!piece.hasAny) {
        const size_t found = text.find(piece.bytes, from);
        end = found + piece.bytes.size();
        return found != std::string_view::npos;
    }
    for (size_t at = from; at < text.size(); at = NextCharacter(text, at)) {
        if (MatchesAt(piece, text, at, end))
            return true;
    }
    return false;
}

bool LikePattern::Matches(std::string_view text) const
{
    size_t at = 0;
    if (!MatchesAt(pieces_.front(), text, 0, at))
        return false;
    if (pieces_.size() == 1)
        return at == text.size();
    for (size_t i = 1; i + 1 < pieces_.size(); ++i) {
        if (!Find(pieces_[i], text, at, at))
            return false;
    }
    const Piece& last = pieces_.back();
    if (!last.hasAny)
        return text.size() - at >= last.bytes.size() && text.ends_with(last.bytes);
    for (; at < text.size(); at = NextCharacter(text, at)) {
        size_t end = 0;
        if (MatchesAt(last, text, at, end) && end == text.size())
            return true;
    }
    return false;
}

} // namespace dialect
