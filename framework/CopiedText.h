#pragma once

#include <array>
#include <cstring>

// Texts copied sixteen characters at a time, and looked at on the way.

using TSixteen = signed char __attribute__((vector_size(16)));

// The first so many of sixteen.
inline TSixteen FirstOf(size_t count)
{
    static constexpr auto kMasks = [] {
        std::array<signed char, 32> masks{};
        for (size_t i = 0; i < 16; ++i)
            masks[i] = -1;
        return masks;
    }();
    TSixteen mask;
    std::memcpy(&mask, kMasks.data() + 16 - count, sizeof mask);
    return mask;
}

// Copies the text to where 15 characters more have room than it has itself. Gives its end there; nullptr
// where `special`, which marks characters of sixteen, marks one of the text. Up to `readable` memory may be
// read.
template <typename Special>
char* CopyPlain(
    char* to, const char* from, size_t size, const char* readable, const Special& special) noexcept
{
    TSixteen piece;
    if (size <= sizeof piece) {
        char last[sizeof piece] = {};
        if (static_cast<size_t>(readable - from) < sizeof piece)
            from = static_cast<const char*>(std::memcpy(last, from, size));
        std::memcpy(&piece, from, sizeof piece);
        std::memcpy(to, &piece, sizeof piece);
        piece = special(piece) & FirstOf(size);
    } else {
        TSixteen found{};
        for (size_t at = 0;; at += sizeof piece) {
            at = at + sizeof piece > size ? size - sizeof piece : at;
            std::memcpy(&piece, from + at, sizeof piece);
            std::memcpy(to + at, &piece, sizeof piece);
            found |= special(piece);
            if (at + sizeof piece == size)
                break;
        }
        piece = found;
    }
    std::array<long long, 2> halves;
    static_assert(sizeof halves == sizeof piece);
    std::memcpy(&halves, &piece, sizeof halves);
    return (halves[0] | halves[1]) == 0 ? to + size : nullptr;
}
