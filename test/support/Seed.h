/// Random numbers that a failed run can be repeated with.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>

/// What this program's random numbers begin with: GX_SEED of the environment, or else a new number. Printed
/// once.
inline unsigned seed()
{
    static const unsigned value = [] {
        const char* const chosen = std::getenv("GX_SEED");
        const unsigned made =
            chosen ? static_cast<unsigned>(std::strtoul(chosen, nullptr, 10)) : std::random_device{}();
        std::printf("seed: GX_SEED=%u\n", made);
        return made;
    }();
    return value;
}
