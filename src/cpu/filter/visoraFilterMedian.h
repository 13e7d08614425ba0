// The 3x3 median of single pixels.
#ifndef VISORA_CPU_MEDIAN_H
#define VISORA_CPU_MEDIAN_H

#include <cstdint>

namespace visora
{

// Pixels are carried as ints: byte-sized copies in between would keep the compiler from plain minimum and maximum
// instructions.
inline int larger(int a, int b)
{
    return a > b ? a : b;
}

inline int smaller(int a, int b)
{
    return a < b ? a : b;
}

inline int medianOf3(int a, int b, int c)
{
    return larger(smaller(a, b), smaller(larger(a, b), c));
}

/** A column of three pixels in descending order. */
struct SortedColumn
{
    int high;
    int middle;
    int low;
};

inline SortedColumn sortColumn(int top, int middle, int bottom)
{
    const int pairHigh = larger(top, middle);
    const int pairLow = smaller(top, middle);
    const int rest = smaller(pairHigh, bottom);
    return {larger(pairHigh, bottom), larger(pairLow, rest), smaller(pairLow, rest)};
}

/** The median of nine is the median of the smallest high, the median middle and the largest low of three columns. */
inline uint8_t medianOfColumns(SortedColumn a, SortedColumn b, SortedColumn c)
{
    const int high = smaller(smaller(a.high, b.high), c.high);
    const int low = larger(larger(a.low, b.low), c.low);
    return static_cast<uint8_t>(medianOf3(high, medianOf3(a.middle, b.middle, c.middle), low));
}

}  // namespace visora

#endif
