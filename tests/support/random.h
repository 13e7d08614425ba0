// Random numbers that are the same on every machine.
#ifndef VISORA_TESTS_SUPPORT_RANDOM_H
#define VISORA_TESTS_SUPPORT_RANDOM_H

#include <cstdint>

namespace visora::test
{

/** The splitmix64 generator: small, fast, and every seed is a good one. */
class Random
{
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t next()
    {
        uint64_t z = (state_ += 0x9e3779b97f4a7c15u);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
        return z ^ (z >> 31);
    }

    /** A number from low to high, both included. */
    uint32_t between(uint32_t low, uint32_t high)
    {
        return low + static_cast<uint32_t>(next() % (uint64_t{high} - low + 1));
    }

    /** True once in `n` times on average. */
    bool oneIn(uint32_t n) { return next() % n == 0; }

  private:
    uint64_t state_;
};

}  // namespace visora::test

#endif
