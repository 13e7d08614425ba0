// The table that stretches the range of an image, from the counts of its values.
#ifndef VISORA_CPU_ELEMENT_NORMALIZE_H
#define VISORA_CPU_ELEMENT_NORMALIZE_H

#include <cstdint>

namespace visora
{

/** The value of the pixel with this number when all are in ascending order. */
inline uint32_t valueAt(const uint64_t (&counts)[256], uint64_t number)
{
    uint32_t value = 0;
    for (uint64_t below = counts[0]; below <= number; below += counts[value])
    {
        ++value;
    }
    return value;
}

inline void normalizingTable(uint32_t lo, uint32_t hi, uint8_t low, uint8_t high, uint8_t (&table)[256])
{
    for (uint32_t x = 0; x < 256; ++x)
    {
        const uint32_t range = x > lo && x < hi ? hi - lo : 1;
        table[x] = x <= lo   ? low
                   : x >= hi ? high
                             : static_cast<uint8_t>(low + (2 * (x - lo) * (high - low) + range) / (2 * range));
    }
}

/** As above, between the values at these thousandths of the pixels. */
inline void normalizingTable(const uint64_t (&counts)[256], uint32_t lowPermille, uint32_t highPermille, uint8_t low,
                             uint8_t high, uint8_t (&table)[256])
{
    uint64_t pixels = 0;
    for (const uint64_t count : counts)
    {
        pixels += count;
    }
    normalizingTable(valueAt(counts, (pixels - 1) * lowPermille / 1000),
                     valueAt(counts, (pixels - 1) * highPermille / 1000), low, high, table);
}

}  // namespace visora

#endif
