#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program with a message unless the rule holds.
inline void require(bool holds, const char* rule)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", rule);
    std::exit(1);
}
