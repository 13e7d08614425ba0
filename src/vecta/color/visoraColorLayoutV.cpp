// Conversions between YCbCr layouts, vector variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorLayouts.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorLayoutV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorLayout-inl.h"
#include "vecta/color/visoraColorStream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

#if !HWY_ARCH_ARM
/** Samples between planes and pairs, as they are, past the caches. @return false where vectors are never aligned in all
 * destinations */
HWY_INLINE bool streamSamples(const ChromaSamples<const uint8_t>& src, size_t units, const ChromaSamples<uint8_t>& dst)
{
    const hn::ScalableTag<uint8_t> d;
    const size_t n = hn::Lanes(d);
    uint8_t *const cb = dst.cb, *const cr = dst.cr;
    const bool reaches = dst.step == 2 ? reachesAligned<2>(cb, 0, 1) : (cr - cb) % 64 == 0;
    if (src.step == dst.step || !reaches)
    {
        return false;
    }
    if (dst.step == 2)
    {
        const auto join = [=](size_t x, auto isWhole) HWY_ATTR
        {
            storePairs<isWhole>(d, arrange<Order::ForTwoWords>(d, hn::LoadU(d, src.cb + x)),
                                arrange<Order::ForTwoWords>(d, hn::LoadU(d, src.cr + x)), cb + 2 * x);
        };
        coverFrom<true>(columnsToAligned<2>(cb, n), units, n, join);
        return true;
    }
    const auto split = [=](size_t x, auto isWhole) HWY_ATTR
    {
        hn::Vec<decltype(d)> b, r;
        loadPairs(d, src.cb + 2 * x, b, r);
        storeOrStream<isWhole>(rearrange<Order::ForTwoWords, Order::Natural>(d, b), d, cb + x);
        storeOrStream<isWhole>(rearrange<Order::ForTwoWords, Order::Natural>(d, r), d, cr + x);
    };
    coverFrom<true>(columnsToAligned<1>(cb, n), units, n, split);
    return true;
}
#endif

/** As convertRow, past the caches where `streams` says so. */
template <Along along, bool kTwoRows>
HWY_INLINE bool makeRow(bool streams, const ChromaSamples<const uint8_t>& top,
                        const ChromaSamples<const uint8_t>& bottom, size_t units, const ChromaSamples<uint8_t>& dst)
{
    if (!(HWY_ARCH_X86 && streams))
    {
        return convertRow<along, kTwoRows>(top, bottom, units, dst);
    }
#if !HWY_ARCH_ARM
    if constexpr (along == Along::Same && !kTwoRows)
    {
        if (streamSamples(top, units, dst))
        {
            return true;
        }
    }
#endif
    constexpr size_t kRead = along == Along::Mean ? 2 : 1;
    const size_t written = (along == Along::Repeat ? 4 : 2) * dst.step;
    const bool isPlanar = dst.step == 1;
    const auto convert = [=](size_t x, size_t columns, uint8_t* cb, uint8_t* cr) HWY_ATTR
    {
        const ChromaSamples<const uint8_t> first = top.column(kRead * x);
        const ChromaSamples<const uint8_t> second = bottom.column(kRead * x);
        if constexpr (kTwoRows)
        {
            const size_t bytes = kRead * columns * top.step;
            for (const uint8_t* plane : {first.cb, second.cb, first.cr, second.cr})
            {
                fetchLines(plane, bytes);
            }
        }
        convertRow<along, kTwoRows>(first, second, columns, {cb, cr, dst.step, 0, 0});
    };
    streamColumns(units, convert, Columns{dst.cb, written},
                  Columns{isPlanar ? dst.cr : dst.cb, isPlanar ? written : 0});
    return true;
}

/** Chroma but for a last column that stands alone. @return false when it is too narrow */
HWY_NOINLINE bool resample(Sampling from, Sampling to, const ChromaSamples<const uint8_t>& src, ImageSize size,
                           const ChromaSamples<uint8_t>& dst, bool streams)
{
    const auto follow = [=](const auto& rows, Sampling sampling)
    { return rows.cbStride == sampling.columns(size.width) * rows.step && rows.crStride == rows.cbStride; };
    // Rows that follow each other without a gap are one.
    const bool areOne =
        from.y == to.y && (from.x == to.x || size.width % 2 == 0) && follow(src, from) && follow(dst, to);
    const size_t units =
        (from.x == to.x ? to.columns(size.width) : size.width / 2) * (areOne ? to.rows(size.height) : 1);
    const size_t srcRows = from.rows(size.height), dstRows = areOne ? 1 : to.rows(size.height);
    for (size_t j = 0; j < dstRows; ++j)
    {
        const size_t first = from.y < to.y ? 2 * j : from.y > to.y ? j / 2 : j;
        const size_t second = from.y < to.y && first + 1 < srcRows ? first + 1 : first;
        const ChromaSamples<const uint8_t> top = src.row(first), bottom = src.row(second);
        const ChromaSamples<uint8_t> out = dst.row(j);
        bool fits = false;
        if (from.x > to.x)
        {
            fits = makeRow<Along::Repeat, false>(streams, top, top, units, out);
        }
        else if (from.x < to.x)
        {
            fits = first == second ? makeRow<Along::Mean, false>(streams, top, top, units, out)
                                   : makeRow<Along::Mean, true>(streams, top, bottom, units, out);
        }
        else
        {
            fits = first == second ? makeRow<Along::Same, false>(streams, top, top, units, out)
                                   : makeRow<Along::Same, true>(streams, top, bottom, units, out);
        }
        if (!fits)
        {
            return false;
        }
    }
    return true;
}

/** Luma as it is, and chroma by resample(). */
bool changeLayout(Sampling from, Sampling to, const YCbCrImage<const uint8_t>& src, ImageSize size,
                  const YCbCrImage<uint8_t>& dst)
{
    const auto bytes = [=](Sampling sampling)
    { return size_t{size.width} * size.height + 2 * sampling.columns(size.width) * sampling.rows(size.height); };
    const bool streams = streamsColumns(size.width, bytes(from) + bytes(to));
    if (streams && src.luma != dst.luma)
    {
        for (size_t y = 0; y < size.height; ++y)
        {
            streamBytes(dst.lumaRow(y), src.lumaRow(y), size.width);
        }
    }
    else
    {
        copyPlane(src.luma, src.lumaStride, size.width, size.height, dst.luma, dst.lumaStride);
    }
    const bool fits = resample(from, to, src.chroma, size, dst.chroma, streams);
    if (streams)
    {
        hwy::FlushStream();
    }
    return fits;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(changeLayout);

namespace
{

template <Sampling from, Sampling to>
constexpr auto toLayout =
    [](const YCbCrImage<const uint8_t>& src, ImageSize size, const YCbCrImage<uint8_t>& dst) -> vsrStatus {
    if (!HWY_DYNAMIC_DISPATCH(changeLayout)(from, to, src, size, dst))
    {
        resampleChroma<from, to>(src.chroma, size, dst.chroma);
    }
    else if (from.x != to.x && size.width % 2 != 0)
    {
        const uint32_t last = size.width - 1;
        resampleChroma<from, to>(src.chroma.column(last >> from.x), {1, size.height}, dst.chroma.column(last >> to.x));
    }
    return VISORA_SUCCESS;
};

}  // namespace
}  // namespace visora

#define LAYOUT(from, source, to, destination)                                        \
    VSR_DEFINE(vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8V,           \
               decltype(vsrColorYCbCr##from##source##ToYCbCr##to##destination##u8C), \
               { return visora::withLayouts(visora::toLayout<visora::k##from, visora::k##to>, arguments...); });
VSR_COLOR_LAYOUTS(LAYOUT)

#endif
