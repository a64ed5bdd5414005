#pragma once

#include <QString>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace dialect {

// A pattern of like: % stands for any text, _ for any one character; case matters. Matching takes time that
// grows with the text, whatever the pattern repeats.
class LikePattern {
public:
    // Raises wire::Error (Data) for a pattern of more characters than a literal may have.
    explicit LikePattern(const QString& pattern, QChar escape = {});
    bool Matches(std::string_view utf8) const;
    // What a byte of a text may cost, in bytes of a text that is only read.
    size_t StepsAByte() const noexcept { return stepsAByte_; }

private:
    // A stretch between two %.
    struct Piece {
        std::string bytes; // with kAny for one character of any kind
        size_t characters = 0;
        bool hasAny = false;
        // Long, without kAny: how much of its beginning stands at the end of its first n bytes.
        std::vector<size_t> borders;
        // With kAny: at which places of the piece a character may stand, one bit each; kOther: any other one.
        std::map<std::string, std::vector<quint64>, std::less<>> places;
    };
    static constexpr char kAny = '\xFF';
    static constexpr std::string_view kOther = "";

    static void Prepare(Piece& piece);
    static bool MatchesAt(const Piece& piece, std::string_view text, size_t at, size_t& end);
    static bool Find(const Piece& piece, std::string_view text, size_t from, size_t& end);
    static bool FindLong(const Piece& piece, std::string_view text, size_t from, size_t& end);
    static bool FindWithAny(const Piece& piece, std::string_view text, size_t from, size_t& end);

    std::vector<Piece> pieces_; // one more than there are %
    size_t stepsAByte_ = 0;
};

} // namespace dialect
