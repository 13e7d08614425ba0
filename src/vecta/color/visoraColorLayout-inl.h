// Chroma samples from one YCbCr layout to another, a row of them. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_LAYOUT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_LAYOUT_INL_H
#undef VISORA_VECTA_COLOR_LAYOUT_INL_H
#else
#define VISORA_VECTA_COLOR_LAYOUT_INL_H
#endif

#include "cpu/color/visoraColorLayouts.h"
#include "vecta/color/visoraColorFormats-inl.h"
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

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
