#pragma once

#include <QString>

#include <string>
#include <string_view>
#include <vector>

namespace dialect {

// A pattern of like: % stands for any text, _ for any one character; case matters.
class LikePattern {
public:
    explicit LikePattern(const QString& pattern, QChar escape = {});
    bool Matches(std::string_view utf8) const;

private:
    // A stretch between two %: bytes, with kAny for one character of any kind.
    struct Piece {
        std::string bytes;
        bool hasAny = false;
    };
    static constexpr char kAny = '\xFF';

    static bool MatchesAt(const Piece& piece, std::string_view text, size_t at, size_t& end);
    static bool Find(const Piece& piece, std::string_view text, size_t from, size_t& end);

    std::vector<Piece> pieces_; // one more than there are %
};

} // namespace dialect
