#pragma once

// A property a fuzz target checks: when it does not hold, the input is a finding, so the
// target stops with the message and libFuzzer keeps the input as a crash artifact.

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                    \
    do {                                                                                         \
        if (!(condition)) {                                                                      \
            std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            std::abort();                                                                        \
        }                                                                                        \
    } while (false)
