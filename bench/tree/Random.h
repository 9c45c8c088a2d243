#pragma once

#include <cstdint>
#include <random>

namespace bench {

// The same numbers everywhere: the standard fixes the engine, but none of its distributions.
class Random {
public:
    // A number below `bound`, which is small beside 2^64.
    std::uint64_t Below(std::uint64_t bound) { return m_engine() % bound; }

private:
    std::mt19937_64 m_engine{1};
};

}  // namespace bench
