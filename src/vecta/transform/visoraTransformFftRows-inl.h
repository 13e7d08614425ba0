// Rows of floats to lanes and back, for Fourier transforms. Included once per instruction set.
#if defined(VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#undef VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#else
#define VISORA_VECTA_TRANSFORM_FFT_ROWS_INL_H
#endif

#include <algorithm>

#include "cpu/visoraPlane.h"
#include "hwy/highway.h"
#include "vecta/transform/visoraTransformFft-inl.h"
#include "vecta/visoraTurn-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

HWY_INLINE hn::Vec<Quad> fourFloats(const float* from)
{
    return hn::LoadU(Quad(), from);
}

HWY_INLINE hn::Vec<Quad> fourFloats(const uint8_t* from)
{
    return hn::ConvertTo(Quad(),
                         hn::PromoteTo(hn::FixedTag<int32_t, 4>(), hn::LoadU(hn::FixedTag<uint8_t, 4>(), from)));
}

// As many floats as there are lanes.
HWY_INLINE Line lineOfFloats(const float* from)
{
    return hn::LoadU(Lines(), from);
}

HWY_INLINE Line lineOfFloats(const uint8_t* from)
{
    const hn::Rebind<int32_t, Lines> d32;
    return hn::ConvertTo(Lines(), hn::PromoteTo(d32, hn::LoadU(hn::Rebind<uint8_t, Lines>(), from)));
}

/** Calls put(x, four columns) for the columns of rows y, y + 1, ..., from x on; beyond the last row it is repeated. */
template <class T, class Put>
HWY_INLINE void forColumns(const T* src, size_t stride, size_t y, uint32_t height, size_t floats, Put put)
{
    const Lines d;
    const auto rowAt = [&](size_t row) { return planeRow(src, stride, std::min<size_t>(y + row, height - 1)); };
    if constexpr (kByCacheLine)
    {
        if (floats >= kLanes)
        {
            for (size_t x = 0; x < floats; x += kLanes)
            {
                const auto every4th = [&](size_t row) HWY_ATTR
                {
                    return turnedQuads(
                        d, Block<Lines>{lineOfFloats(rowAt(row) + x), lineOfFloats(rowAt(row + 4) + x),
                                        lineOfFloats(rowAt(row + 8) + x), lineOfFloats(rowAt(row + 12) + x)});
                };
                const Block<Lines> r0 = every4th(0);
                const Block<Lines> r1 = every4th(1);
                const Block<Lines> r2 = every4th(2);
                const Block<Lines> r3 = every4th(3);
                put(x, turned(d, Block<Lines>{r0.v0, r1.v0, r2.v0, r3.v0}));
                put(x + 4, turned(d, Block<Lines>{r0.v1, r1.v1, r2.v1, r3.v1}));
                put(x + 8, turned(d, Block<Lines>{r0.v2, r1.v2, r2.v2, r3.v2}));
                put(x + 12, turned(d, Block<Lines>{r0.v3, r1.v3, r2.v3, r3.v3}));
            }
            return;
        }
    }
    for (size_t x = 0; x < floats; x += 4)
    {
        put(x, loadColumns(d, [&](size_t row) HWY_ATTR { return fourFloats(rowAt(row) + x); }));
    }
}

/** Stores columns begin .. end - 1 of rows; columns(x) gives four columns from x on. */
template <class Columns>
HWY_INLINE void storeRows(float* dst, size_t pitch, size_t rows, size_t begin, size_t end, Columns columns)
{
    const Lines d;
    if constexpr (kByCacheLine)
    {
        if (end - begin >= kLanes)
        {
            for (size_t x = begin; x < end; x += kLanes)
            {
                const Block<Lines> c0 = turned(d, columns(x));
                const Block<Lines> c1 = turned(d, columns(x + 4));
                const Block<Lines> c2 = turned(d, columns(x + 8));
                const Block<Lines> c3 = turned(d, columns(x + 12));
                const auto store = [&](size_t row, Line line) HWY_ATTR
                {
                    if (row < rows)
                    {
                        hn::StoreU(line, d, dst + row * pitch + x);
                    }
                };
                const auto every4th = [&](size_t row, const Block<Lines>& quads) HWY_ATTR
                {
                    const Block<Lines> lines = turnedQuads(d, quads);
                    store(row, lines.v0);
                    store(row + 4, lines.v1);
                    store(row + 8, lines.v2);
                    store(row + 12, lines.v3);
                };
                every4th(0, {c0.v0, c1.v0, c2.v0, c3.v0});
                every4th(1, {c0.v1, c1.v1, c2.v1, c3.v1});
                every4th(2, {c0.v2, c1.v2, c2.v2, c3.v2});
                every4th(3, {c0.v3, c1.v3, c2.v3, c3.v3});
            }
            return;
        }
    }
    for (size_t x = begin; x < end; x += 4)
    {
        storeColumns(d, columns(x),
                     [&](size_t row, auto four) HWY_ATTR
                     {
                         if (row < rows)
                         {
                             hn::StoreU(four, Quad(), dst + row * pitch + x);
                         }
                     });
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
