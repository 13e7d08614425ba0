// One level of the Haar wavelet, by rows.
#ifndef VISORA_CPU_HAAR_H
#define VISORA_CPU_HAAR_H

#include <cstddef>
#include <cstdint>

#include "cpu/visoraPlane.h"

namespace visora
{

/** What a pair of samples becomes, modulo 2^16. */
struct HaarPair
{
    static HaarPair of(int16_t even, int16_t odd)
    {
        const auto high = static_cast<int16_t>(odd - even);
        return {static_cast<int16_t>(even + (high >> 1)), high};
    }

    int16_t even() const { return static_cast<int16_t>(low - (high >> 1)); }
    int16_t odd() const { return static_cast<int16_t>(high + even()); }

    int16_t low;
    int16_t high;
};

/** A row of each band; those of high frequency along y are null where rows have no partner. */
template <class T>
struct HaarRows
{
    T* ll;
    T* hl;
    T* lh;
    T* hh;
};

/** The bands of an image. */
template <class T>
struct HaarBands
{
    HaarRows<T> rows(size_t y, bool hasPartner) const
    {
        return {planeRow(ll, stride, y), planeRow(hl, stride, y), hasPartner ? planeRow(lh, stride, y) : nullptr,
                hasPartner ? planeRow(hh, stride, y) : nullptr};
    }

    T* ll;
    T* hl;
    T* lh;
    T* hh;
    size_t stride;
};

/** Columns 2 x and 2 x + 1 of a row and of the next one, which is null when there is none. */
inline void haarForward(const int16_t* row, const int16_t* next, size_t width, size_t x, const HaarRows<int16_t>& out)
{
    const bool hasPartner = 2 * x + 1 < width;
    const auto across = [&](const int16_t* from) {
        return hasPartner ? HaarPair::of(from[2 * x], from[2 * x + 1]) : HaarPair{from[2 * x], 0};
    };
    const HaarPair first = across(row);
    const HaarPair second = next ? across(next) : HaarPair{};
    const HaarPair low = next ? HaarPair::of(first.low, second.low) : HaarPair{first.low, 0};
    const HaarPair high = next ? HaarPair::of(first.high, second.high) : HaarPair{first.high, 0};
    out.ll[x] = low.low;
    if (next)
    {
        out.lh[x] = low.high;
    }
    if (hasPartner)
    {
        out.hl[x] = high.low;
        if (next)
        {
            out.hh[x] = high.high;
        }
    }
}

/** From the bands to the same columns. */
inline void haarInverse(const HaarRows<const int16_t>& in, size_t width, size_t x, int16_t* row, int16_t* next)
{
    const bool hasPartner = 2 * x + 1 < width;
    const HaarPair low = {in.ll[x], next ? in.lh[x] : int16_t{0}};
    const HaarPair high = {hasPartner ? in.hl[x] : int16_t{0}, hasPartner && next ? in.hh[x] : int16_t{0}};
    const auto across = [&](int16_t lowSample, int16_t highSample, int16_t* to)
    {
        const HaarPair pair = {lowSample, highSample};
        // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): of the two rows only the second may be missing
        to[2 * x] = hasPartner ? pair.even() : lowSample;
        if (hasPartner)
        {
            to[2 * x + 1] = pair.odd();
        }
    };
    across(next ? low.even() : low.low, next ? high.even() : high.low, row);
    if (next)
    {
        across(low.odd(), high.odd(), next);
    }
}

}  // namespace visora

#endif
