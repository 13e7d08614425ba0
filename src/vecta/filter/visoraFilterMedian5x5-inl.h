// The 5x5 median from sorted columns, for any pixel type. Included once per instruction set.
#if defined(VISORA_VECTA_MEDIAN5X5_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_MEDIAN5X5_INL_H
#undef VISORA_VECTA_MEDIAN5X5_INL_H
#else
#define VISORA_VECTA_MEDIAN5X5_INL_H
#endif

#include "hwy/highway.h"
#include "vecta/filter/visoraFilterMedian-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class V>
HWY_INLINE void order(V& low, V& high)
{
    const V smaller = hn::Min(low, high);
    high = hn::Max(low, high);
    low = smaller;
}

// Takes the smallest and the largest of `count` values away until one is left, the median, with one new value coming in
// each time: `count` is 2 more than half of all values then, so that what is taken away cannot be the median.
template <size_t count, class V>
HWY_INLINE V medianByElimination(V* values, const V* incoming)
{
    if constexpr (count == 3)
    {
        return medianOf3(values[0], values[1], values[2]);
    }
    else
    {
        // Smaller ones to the front half, larger ones to the back half, then the extremes to the ends.
        for (size_t i = 0; i < count / 2; ++i)
        {
            order(values[i], values[count - 1 - i]);
        }
        for (size_t i = 1; i < (count + 1) / 2; ++i)
        {
            order(values[0], values[i]);
        }
        for (size_t i = count / 2; i < count - 1; ++i)
        {
            order(values[i], values[count - 1]);
        }
        values[0] = *incoming;
        return medianByElimination<count - 1>(values, incoming + 1);
    }
}

// The median of 25 values in five sorted columns, of which row[k] holds the values of rank k. Were each row sorted too,
// the value in row p and column q (from 1) would have p * q - 1 values not above it and (6 - p) * (6 - q) - 1 not below
// it. Where either is 13 or more it is not the median; that leaves 13 values, 6 of the others being below and 6 above.
// They are the 2 largest of the first row, the 3 largest of the second, the 3 in the middle of the third, the 3
// smallest of the fourth and the 2 smallest of the fifth.
template <class V>
HWY_INLINE V medianOfFiveColumns(V (&row)[5][5])
{
    V rest[13];
    const auto largestTwo = [](V(&v)[5], V* out) HWY_ATTR
    {
        order(v[0], v[1]);
        order(v[2], v[3]);
        order(v[1], v[3]);
        const V second = hn::Max(v[1], hn::Max(v[0], v[2]));
        out[0] = hn::Max(v[3], v[4]);
        out[1] = hn::Max(second, hn::Min(v[3], v[4]));
    };
    const auto smallestTwo = [](V(&v)[5], V* out) HWY_ATTR
    {
        order(v[0], v[1]);
        order(v[2], v[3]);
        order(v[0], v[2]);
        const V second = hn::Min(v[2], hn::Min(v[1], v[3]));
        out[0] = hn::Min(v[0], v[4]);
        out[1] = hn::Min(second, hn::Max(v[0], v[4]));
    };
    // The smallest, and then the smallest of the others, are taken away.
    const auto largestThree = [](V(&v)[5], V* out) HWY_ATTR
    {
        order(v[0], v[1]);
        order(v[2], v[3]);
        order(v[0], v[2]);
        v[4] = hn::Max(v[0], v[4]);
        order(v[2], v[4]);
        order(v[1], v[3]);
        out[0] = hn::Max(v[1], v[2]);
        out[1] = v[3];
        out[2] = v[4];
    };
    const auto smallestThree = [](V(&v)[5], V* out) HWY_ATTR
    {
        order(v[0], v[1]);
        order(v[2], v[3]);
        order(v[1], v[3]);
        v[4] = hn::Min(v[3], v[4]);
        order(v[4], v[1]);
        order(v[0], v[2]);
        out[0] = hn::Min(v[1], v[2]);
        out[1] = v[0];
        out[2] = v[4];
    };
    const auto middleThree = [](V(&v)[5], V* out) HWY_ATTR
    {
        order(v[0], v[1]);
        order(v[2], v[3]);
        order(v[0], v[2]);
        order(v[1], v[3]);
        out[0] = v[1];
        out[1] = v[2];
        out[2] = hn::Min(hn::Max(v[0], v[4]), v[3]);
    };
    largestTwo(row[0], rest);
    largestThree(row[1], rest + 2);
    middleThree(row[2], rest + 5);
    smallestThree(row[3], rest + 8);
    smallestTwo(row[4], rest + 11);
    return medianByElimination<8>(rest, rest + 8);
}

template <class V>
HWY_INLINE void sortFive(V (&v)[5])
{
    order(v[0], v[1]);
    order(v[3], v[4]);
    order(v[2], v[4]);
    order(v[2], v[3]);
    order(v[1], v[4]);
    order(v[0], v[3]);
    order(v[0], v[2]);
    order(v[1], v[3]);
    order(v[1], v[2]);
}

// The medians at column x of five rows of sorted columns.
template <class D, class T>
HWY_INLINE hn::Vec<D> medianFromSorted(D d, const T* const* sorted, size_t x)
{
    hn::Vec<D> row[5][5];
    for (size_t rank = 0; rank < 5; ++rank)
    {
        for (size_t column = 0; column < 5; ++column)
        {
            row[rank][column] = hn::LoadU(d, sorted[rank] + x + column - 2);
        }
    }
    return medianOfFiveColumns(row);
}

// Sorts the columns at x of the five rows rowAt(0) .. rowAt(4).
template <class D, class RowAt, class T>
HWY_INLINE void sortColumnsOfFive(D d, RowAt rowAt, size_t x, T* const* sorted)
{
    hn::Vec<D> v[5];
    for (size_t row = 0; row < 5; ++row)
    {
        v[row] = hn::LoadU(d, rowAt(row) + x);
    }
    sortFive(v);
    for (size_t row = 0; row < 5; ++row)
    {
        hn::StoreU(v[row], d, sorted[row] + x);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
