#include "server/dialect/LikePattern.h"

#include "server/dialect/Limits.h"
#include "server/dialect/Refusals.h"

namespace dialect {
namespace {

// Up to here it costs less to compare anew at every place.
constexpr size_t kShortPiece = 16;
constexpr size_t kBits = 64;

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
    if (pattern.size() > kLongestLiteral)
        throw wire::Error(wire::ErrorKind::Data, texts::LiteralTooLong(kLongestLiteral));
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
    for (Piece& piece : pieces_) {
        Prepare(piece);
        stepsAByte_ = std::max(stepsAByte_, piece.hasAny ? piece.places.begin()->second.size() : 0);
    }
}

void LikePattern::Prepare(Piece& piece)
{
    const std::string_view bytes = piece.bytes;
    for (size_t at = 0; at < bytes.size(); at = NextCharacter(bytes, at))
        ++piece.characters;
    if (piece.hasAny) {
        const size_t words = (piece.characters + kBits - 1) / kBits;
        std::vector<quint64> any(words);
        size_t place = 0;
        for (size_t at = 0; at < bytes.size(); at = NextCharacter(bytes, at), ++place) {
            if (bytes[at] == kAny)
                any[place / kBits] |= quint64(1) << place % kBits;
        }
        piece.places.emplace(kOther, any);
        place = 0;
        for (size_t at = 0; at < bytes.size(); ++place) {
            const size_t next = NextCharacter(bytes, at);
            if (bytes[at] != kAny) {
                const auto places =
                    piece.places.try_emplace(std::string(bytes.substr(at, next - at)), any).first;
                places->second[place / kBits] |= quint64(1) << place % kBits;
            }
            at = next;
        }
    } else if (bytes.size() > kShortPiece) {
        piece.borders.assign(bytes.size() + 1, 0);
        for (size_t i = 1, border = 0; i < bytes.size(); ++i) {
            while (border > 0 && bytes[i] != bytes[border])
                border = piece.borders[border];
            border += bytes[i] == bytes[border] ? 1 : 0;
            piece.borders[i + 1] = border;
        }
    }
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
    if (piece.hasAny)
        return FindWithAny(piece, text, from, end);
    if (!piece.borders.empty())
        return FindLong(piece, text, from, end);
    const size_t found = text.find(piece.bytes, from);
    end = found + piece.bytes.size();
    return found != std::string_view::npos;
}

// By the borders of what has matched so far: no byte of the text is looked at again.
bool LikePattern::FindLong(const Piece& piece, std::string_view text, size_t from, size_t& end)
{
    size_t matched = 0;
    for (size_t at = from; at < text.size(); ++at) {
        while (matched > 0 && text[at] != piece.bytes[matched])
            matched = piece.borders[matched];
        matched += text[at] == piece.bytes[matched] ? 1 : 0;
        if (matched == piece.bytes.size()) {
            end = at + 1;
            return true;
        }
    }
    return false;
}

// Bit n is set while the last n + 1 characters match the piece's beginning: all places are tried at once.
bool LikePattern::FindWithAny(const Piece& piece, std::string_view text, size_t from, size_t& end)
{
    const std::vector<quint64>& other = piece.places.find(kOther)->second;
    std::vector<quint64> state(other.size());
    const size_t last = piece.characters - 1;
    for (size_t at = from; at < text.size();) {
        const size_t next = NextCharacter(text, at);
        const auto found = piece.places.find(text.substr(at, next - at));
        const std::vector<quint64>& places = found == piece.places.end() ? other : found->second;
        quint64 carry = 1;
        for (size_t word = 0; word < state.size(); ++word) {
            const quint64 shifted = state[word] << 1 | carry;
            carry = state[word] >> (kBits - 1);
            state[word] = shifted & places[word];
        }
        if (state[last / kBits] >> last % kBits & 1) {
            end = next;
            return true;
        }
        at = next;
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
    // As many characters from the end as the piece has.
    size_t start = text.size();
    for (size_t character = 0; character < last.characters; ++character) {
        if (start <= at)
            return false;
        --start;
        while (start > at && (text[start] & 0xC0) == 0x80)
            --start;
    }
    size_t end = 0;
    return MatchesAt(last, text, start, end) && end == text.size();
}

} // namespace dialect
