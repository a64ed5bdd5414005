#pragma once

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace fuzz {

// Ends the run where `holds` is false; the fuzzer then keeps the input.
inline void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "FINDING: %s\n", what);
    std::abort();
}

// From here to its end the processor works no longer than the budget.
class Budget {
public:
    Budget(double seconds, const char* what)
        : seconds_(seconds)
        , what_(what)
    {
    }
    ~Budget() { Require(double(std::clock() - start_) < seconds_ * CLOCKS_PER_SEC, what_); }
    Budget(const Budget&) = delete;
    Budget& operator=(const Budget&) = delete;

private:
    double seconds_;
    const char* what_;
    std::clock_t start_ = std::clock();
};

} // namespace fuzz
