// Mutations that keep tokens whole: most texts with a byte changed are no SQL, and say nothing about what
// comes after the lexer.

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed);
extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* data, size_t size, const uint8_t* other,
    size_t otherSize, uint8_t* out, size_t maxSize, unsigned seed);

namespace {

using Random = std::minstd_rand;
using Tokens = std::vector<std::string>;

bool IsWord(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte >= 0x80 || std::isalnum(byte) != 0 || character == '_' || character == '.';
}

Tokens Split(std::string_view text)
{
    Tokens tokens;
    for (size_t at = 0; at < text.size();) {
        size_t end = at + 1;
        if (text[at] == '\'' || text[at] == '"') {
            const size_t close = text.find(text[at], end);
            end = close == text.npos ? text.size() : close + 1;
        } else if (IsWord(text[at]) || text[at] == ' ') {
            const bool blank = text[at] == ' ';
            while (end < text.size() && (blank ? text[end] == ' ' : IsWord(text[end])))
                ++end;
        }
        tokens.emplace_back(text.substr(at, end - at));
        at = end;
    }
    return tokens;
}

size_t Below(Random& random, size_t limit)
{
    return limit == 0 ? 0 : random() % limit;
}

// A few tokens from somewhere, or with luck a whole bracket.
Tokens Piece(const Tokens& tokens, Random& random)
{
    if (tokens.empty())
        return {};
    const size_t begin = Below(random, tokens.size());
    size_t end = begin + 1 + Below(random, 8);
    if (tokens[begin] == "(") {
        int depth = 0;
        for (end = begin; end < tokens.size(); ++end) {
            depth += tokens[end] == "(" ? 1 : tokens[end] == ")" ? -1 : 0;
            if (depth == 0)
                break;
        }
        ++end;
    }
    const auto from = tokens.begin() + static_cast<std::ptrdiff_t>(begin);
    return {from, tokens.begin() + static_cast<std::ptrdiff_t>(std::min(end, tokens.size()))};
}

void Insert(Tokens& tokens, size_t at, const Tokens& piece)
{
    tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(at), piece.begin(), piece.end());
}

size_t Put(const Tokens& tokens, uint8_t* out, size_t maxSize)
{
    size_t size = 0;
    for (const std::string& token : tokens) {
        if (size + token.size() > maxSize)
            break;
        std::ranges::copy(token, out + size);
        size += token.size();
    }
    return size;
}

std::string MutatedToken(const std::string& token)
{
    constexpr size_t kMost = 64;
    std::string changed = token.substr(0, kMost);
    const size_t size = changed.size();
    changed.resize(kMost);
    changed.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(changed.data()), size, kMost));
    return changed;
}

} // namespace

size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned seed)
{
    Random random(seed + 1);
    Tokens tokens = Split({reinterpret_cast<const char*>(data), size});
    const size_t action = Below(random, 10);
    if (tokens.empty() || action == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const size_t at = Below(random, tokens.size());
    const auto place = tokens.begin() + static_cast<std::ptrdiff_t>(at);
    switch (action) {
    case 1:
    case 2:
        tokens[at] = MutatedToken(tokens[at]);
        break;
    case 3:
        Insert(tokens, at, {" ", MutatedToken({}), " "});
        break;
    case 4:
        tokens.erase(place,
            place + static_cast<std::ptrdiff_t>(1 + Below(random, std::min<size_t>(6, tokens.size() - at))));
        break;
    case 5:
    case 6:
        tokens[at] = tokens[Below(random, tokens.size())];
        break;
    case 7:
        std::swap(tokens[at], tokens[Below(random, tokens.size())]);
        break;
    case 8: {
        Tokens piece = Piece(tokens, random);
        piece.insert(piece.begin(), "(");
        piece.emplace_back(")");
        Insert(tokens, at, piece);
        break;
    }
    default:
        Insert(tokens, at, Piece(tokens, random));
    }
    return Put(tokens, data, maxSize);
}

size_t LLVMFuzzerCustomCrossOver(const uint8_t* data, size_t size, const uint8_t* other, size_t otherSize,
    uint8_t* out, size_t maxSize, unsigned seed)
{
    Random random(seed + 1);
    Tokens tokens = Split({reinterpret_cast<const char*>(data), size});
    const Tokens piece = Piece(Split({reinterpret_cast<const char*>(other), otherSize}), random);
    const size_t at = Below(random, tokens.size() + 1);
    if (at < tokens.size() && Below(random, 2) == 0)
        tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(at));
    Insert(tokens, at, piece);
    return Put(tokens, out, maxSize);
}
