#pragma once

#include "wire/Error.h"

#include <gtest/gtest.h>

// What the call raises; fails the test where it raises nothing.
template <typename F> wire::Error ErrorOf(F&& call)
{
    try {
        call();
    } catch (const wire::Error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was raised";
    return {wire::ErrorKind::Usage, {}};
}
template <typename F> wire::ErrorKind KindOf(F&& call)
{
    return ErrorOf(call).Kind();
}
