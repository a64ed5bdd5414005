#pragma once

#include <cstdio>
#include <cstdlib>

namespace fuzz {

// Ends the run where `holds` is false; the fuzzer then keeps the input.
inline void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "FINDING: %s\n", what);
    std::abort();
}

} // namespace fuzz
