// Conversions between YCbCr layouts, vector variants.
#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorLayouts.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorLayoutV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorStream-inl.h"
#include "vecta/color/visoraColorWeights-inl.h"
#include "vecta/visoraDrivers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// What becomes of the samples of a row.
enum class Along
{
    Same,
    Mean,   // of two
    Repeat  // each twice
};

/** Where a row of chroma samples comes from: the mean of two rows, which may be one. */
template <bool kTwoRows>
struct Rows
{
    const uint8_t* top;
    const uint8_t* bottom;

    template <class D>
    HWY_INLINE hn::Vec<D> load(D d, size_t x) const
    {
        const auto v = hn::LoadU(d, top + x);
        if constexpr (kTwoRows)
        {
            return hn::AverageRound(v, hn::LoadU(d, bottom + x));
        }
        else
        {
            return v;
        }
    }

    HWY_INLINE void advance(size_t count)
    {
        top += count;
        keepApart(top);
        if (kTwoRows)
        {
            bottom += count;
            keepApart(bottom);
        }
    }

    /** Means of the neighbours of what map(v) makes of two vectors, rounded once, in Order::ForTwoWords. */
    template <class D, class Map>
    HWY_INLINE hn::Vec<D> meanBytes(D d, size_t x, Map map) const
    {
#if HWY_ARCH_ARM
        // The shift narrows.
        const uint16x8_t low = sums(d, x, map), high = sums(d, x + hn::Lanes(d), map);
        constexpr int kBits = kTwoRows ? 2 : 1;
        return hn::Vec<D>(vrshrn_high_n_u16(vrshrn_n_u16(low, kBits), high, kBits));
#else
        const Signed16<D> s16;
        return narrow(d, hn::BitCast(s16, means(d, x, map)), hn::BitCast(s16, means(d, x + hn::Lanes(d), map)));
#endif
    }

  private:
#if HWY_ARCH_ARM
    template <class D, class Map>
    HWY_INLINE uint16x8_t sums(D d, size_t x, Map map) const
    {
        const uint16x8_t sum = vpaddlq_u8(map(hn::LoadU(d, top + x)).raw);
        return kTwoRows ? vpadalq_u8(sum, map(hn::LoadU(d, bottom + x)).raw) : sum;
    }
#else
    template <class D, class Map>
    HWY_INLINE auto means(D d, size_t x, Map map) const
    {
        if constexpr (kTwoRows)
        {
            return blockMean(d, map(hn::LoadU(d, top + x)), map(hn::LoadU(d, bottom + x)));
        }
        else
        {
            return pairMean(d, map(hn::LoadU(d, top + x)));
        }
    }
#endif
};

/** Whole samples: `units` of them, or of pairs of them where two become one. */
template <Along along, bool kToPairs, bool kTwoRows>
HWY_INLINE bool convertPlanes(Rows<kTwoRows> cb, Rows<kTwoRows> cr, size_t units, uint8_t* dstCb, uint8_t* dstCr)
{
    return withFittingVector<uint8_t>(
        units,
        [=](auto d) HWY_ATTR
        {
            const size_t n = hn::Lanes(d);
            const auto mean = [=](const Rows<kTwoRows>& rows, size_t x) HWY_ATTR
            {
                const auto same = [](auto v) HWY_ATTR { return v; };
                return rows.meanBytes(d, 2 * x, same);
            };
            constexpr Order kOrder = along == Along::Mean ? Order::ForTwoWords : Order::Natural;
            coverByTwo(0, units, n,
                       [=](size_t x) HWY_ATTR
                       {
                           hn::Vec<decltype(d)> b, r;
                           if constexpr (along == Along::Mean)
                           {
                               b = mean(cb, x);
                               r = mean(cr, x);
                           }
                           else
                           {
                               b = cb.load(d, x);
                               r = cr.load(d, x);
                           }
                           if constexpr (along == Along::Repeat && kToPairs)
                           {
                               const auto b4 = arrange<Order::ForFourWords>(d, b);
                               const auto r4 = arrange<Order::ForFourWords>(d, r);
                               storeQuads(d, b4, r4, b4, r4, dstCb + 4 * x);
                           }
                           else if constexpr (along == Along::Repeat)
                           {
                               const auto b2 = arrange<Order::ForTwoWords>(d, b);
                               const auto r2 = arrange<Order::ForTwoWords>(d, r);
                               storePairs(d, b2, b2, dstCb + 2 * x);
                               storePairs(d, r2, r2, dstCr + 2 * x);
                           }
                           else if constexpr (kToPairs)
                           {
                               storePairs(d, rearrange<kOrder, Order::ForTwoWords>(d, b),
                                          rearrange<kOrder, Order::ForTwoWords>(d, r), dstCb + 2 * x);
                           }
                           else
                           {
                               hn::StoreU(rearrange<kOrder, Order::Natural>(d, b), d, dstCb + x);
                               hn::StoreU(rearrange<kOrder, Order::Natural>(d, r), d, dstCr + x);
                           }
                       });
        });
}

/** Each pair of a vector twice, or each of its bytes in a vector of its own. */
template <bool kToPairs, class D, class V>
HWY_INLINE void storeRepeated(D d, V pairs, uint8_t* dstCb, uint8_t* dstCr)
{
#if HWY_ARCH_ARM
    (void)d;
    if constexpr (kToPairs)
    {
        const uint16x8_t words = vreinterpretq_u16_u8(pairs.raw);
        vst2q_u16(reinterpret_cast<uint16_t*>(dstCb), (uint16x8x2_t{{words, words}}));
        (void)dstCr;
    }
    else
    {
        vst1q_u8(dstCb, vtrn1q_u8(pairs.raw, pairs.raw));
        vst1q_u8(dstCr, vtrn2q_u8(pairs.raw, pairs.raw));
    }
#else
    const Unsigned16<D> u16;
    if constexpr (kToPairs)
    {
        const auto words = hn::BitCast(u16, arrange<Order::ForTwoWords>(d, pairs));
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(u16, words, words)), d, dstCb);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(u16, words, words)), d, dstCb + hn::Lanes(d));
        (void)dstCr;
    }
    else
    {
        const auto words = hn::BitCast(u16, pairs);
        const auto low = hn::And(words, hn::Set(u16, uint16_t{255}));
        const auto high = hn::AndNot(hn::Set(u16, uint16_t{255}), words);
        hn::StoreU(hn::BitCast(d, hn::Or(low, hn::ShiftLeft<8>(low))), d, dstCb);
        hn::StoreU(hn::BitCast(d, hn::Or(high, hn::ShiftRight<8>(high))), d, dstCr);
    }
#endif
}

#if HWY_ARCH_ARM
/** Calls two() for two vectors of 16 units and one() for one, which move their pointers on. The last vector overlaps
 * the one before it: back(count) moves the pointers back. */
template <class Two, class One, class Back>
HWY_INLINE bool coverMoving(size_t units, Two two, One one, Back back)
{
    constexpr size_t n = 16;
    if (units < n)
    {
        return false;
    }
    size_t left = units;
    for (; left >= 2 * n; left -= 2 * n)
    {
        two();
    }
    if (left >= n)
    {
        one();
        left -= n;
    }
    if (left != 0)
    {
        back(n - left);
        one();
    }
    return true;
}

/** Pairs to two planes of samples as they are: loads take them apart. */
template <bool kTwoRows>
HWY_INLINE bool splitPairs(Rows<kTwoRows> src, size_t units, uint8_t* cb, uint8_t* cr)
{
    // These loads move their pointer for nothing, and take no offset.
    const auto takeFrom = [](const uint8_t*& from) HWY_ATTR
    {
        const uint8x16x2_t both = vld2q_u8(from);
        from += 32;
        keepApart(from);
        return both;
    };
    const auto take = [&]() HWY_ATTR
    {
        uint8x16x2_t both = takeFrom(src.top);
        if constexpr (kTwoRows)
        {
            const uint8x16x2_t below = takeFrom(src.bottom);
            both.val[0] = vrhaddq_u8(both.val[0], below.val[0]);
            both.val[1] = vrhaddq_u8(both.val[1], below.val[1]);
        }
        return both;
    };
    const auto move = [&](size_t count) HWY_ATTR
    {
        cb += count;
        cr += count;
        keepApart(cb);
        keepApart(cr);
    };
    return coverMoving(
        units,
        [&]() HWY_ATTR
        {
            const uint8x16x2_t first = take();
            const uint8x16x2_t second = take();
            vst1q_u8(cb, first.val[0]);
            vst1q_u8(cb + 16, second.val[0]);
            vst1q_u8(cr, first.val[1]);
            vst1q_u8(cr + 16, second.val[1]);
            move(32);
        },
        [&]() HWY_ATTR
        {
            const uint8x16x2_t both = take();
            vst1q_u8(cb, both.val[0]);
            vst1q_u8(cr, both.val[1]);
            move(16);
        },
        [&](size_t count) HWY_ATTR
        {
            src.top -= 2 * count;
            src.bottom -= 2 * count;
            move(0 - count);
        });
}

/** The reverse. */
template <bool kTwoRows>
HWY_INLINE bool joinPlanes(Rows<kTwoRows> cb, Rows<kTwoRows> cr, size_t units, uint8_t* pairs)
{
    const hn::FixedTag<uint8_t, 16> d;
    const auto put = [&](hn::Vec<decltype(d)> b, hn::Vec<decltype(d)> r) HWY_ATTR
    {
        storePairs(d, b, r, pairs);
        pairs += 32;
        keepApart(pairs);
    };
    const auto move = [&](size_t count) HWY_ATTR
    {
        cb.advance(count);
        cr.advance(count);
    };
    return coverMoving(
        units,
        [&]() HWY_ATTR
        {
            const auto b0 = cb.load(d, 0), b1 = cb.load(d, 16);
            const auto r0 = cr.load(d, 0), r1 = cr.load(d, 16);
            put(b0, r0);
            put(b1, r1);
            move(32);
        },
        [&]() HWY_ATTR
        {
            put(cb.load(d, 0), cr.load(d, 0));
            move(16);
        },
        [&](size_t count) HWY_ATTR
        {
            move(0 - count);
            pairs -= 2 * count;
        });
}
#endif

/** The same from pairs. */
template <Along along, bool kToPairs, bool kTwoRows>
HWY_INLINE bool convertPairs(Rows<kTwoRows> src, size_t units, uint8_t* dstCb, uint8_t* dstCr)
{
    // In bytes of pairs: of the source where samples are repeated, of the destination elsewhere.
    return withFittingVector<uint8_t>(
        2 * units,
        [=](auto d) HWY_ATTR
        {
            const size_t n = hn::Lanes(d);
            coverByTwo(0, 2 * units, n,
                       [=](size_t x) HWY_ATTR
                       {
                           if constexpr (along == Along::Repeat)
                           {
                               storeRepeated<kToPairs>(d, src.load(d, x), dstCb + (kToPairs ? 2 : 1) * x, dstCr + x);
                               return;
                           }
                           hn::Vec<decltype(d)> pairs;
                           if constexpr (along == Along::Mean)
                           {
                               // Neighbours of one kind side by side.
                               alignas(16) static constexpr uint8_t kSort[16] = {0, 2,  1, 3,  4,  6,  5,  7,
                                                                                 8, 10, 9, 11, 12, 14, 13, 15};
                               const auto sort = hn::LoadDup128(d, kSort);
                               const auto sorted = [=](auto v) HWY_ATTR { return hn::TableLookupBytes(v, sort); };
                               pairs =
                                   rearrange<Order::ForTwoWords, Order::Natural>(d, src.meanBytes(d, 2 * x, sorted));
                           }
                           else
                           {
                               pairs = src.load(d, x);
                           }
                           if constexpr (kToPairs)
                           {
                               hn::StoreU(pairs, d, dstCb + x);
                           }
                           else
                           {
                               storeSplit(d, pairs, dstCb + x / 2, dstCr + x / 2);
                           }
                       });
        });
}

template <Along along, bool kTwoRows>
HWY_INLINE bool convertRow(const ChromaSamples<const uint8_t>& top, const ChromaSamples<const uint8_t>& bottom,
                           size_t units, const ChromaSamples<uint8_t>& dst)
{
    using From = Rows<kTwoRows>;
    const bool isToPairs = dst.step == 2;
    if (top.step == 1)
    {
        const From cb = {top.cb, bottom.cb}, cr = {top.cr, bottom.cr};
#if HWY_ARCH_ARM
        if constexpr (along == Along::Same)
        {
            if (isToPairs)
            {
                return joinPlanes(cb, cr, units, dst.cb);
            }
        }
#endif
        return isToPairs ? convertPlanes<along, true, kTwoRows>(cb, cr, units, dst.cb, dst.cr)
                         : convertPlanes<along, false, kTwoRows>(cb, cr, units, dst.cb, dst.cr);
    }
    const From pairs = {top.cb, bottom.cb};
    if (isToPairs)
    {
        return convertPairs<along, true, kTwoRows>(pairs, units, dst.cb, dst.cr);
    }
#if HWY_ARCH_ARM
    if constexpr (along == Along::Same)
    {
        return splitPairs(pairs, units, dst.cb, dst.cr);
    }
#endif
    return convertPairs<along, false, kTwoRows>(pairs, units, dst.cb, dst.cr);
}

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
