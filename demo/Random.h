#pragma once

#include <QtGlobal>

#include <span>

namespace demo {

// SplitMix64: the standard library's distributions differ between compilers, these numbers do not. For the
// same reason no expression draws twice where the order of evaluation is open.
class Random {
public:
    explicit Random(quint64 seed) noexcept
        : state_(seed)
    {
    }

    quint64 Next() noexcept
    {
        state_ += 0x9E3779B97F4A7C15ULL;
        quint64 mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9ULL;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBULL;
        return mixed ^ (mixed >> 31);
    }
    // From 0 to count - 1; count > 0.
    qint64 Below(qint64 count) noexcept
    {
        return static_cast<qint64>(((Next() >> 32) * static_cast<quint64>(count)) >> 32);
    }
    // Both ends included.
    qint64 Between(qint64 least, qint64 most) noexcept { return least + Below(most - least + 1); }
    bool Chance(int perMille) noexcept { return Below(1000) < perMille; }
    template <typename Container> const auto& Pick(const Container& container) noexcept
    {
        return container[static_cast<std::size_t>(Below(static_cast<qint64>(std::size(container))))];
    }

private:
    quint64 state_;
};

} // namespace demo
