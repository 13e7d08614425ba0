// Codebook background, vector variants: sixteen pixels at once, whose bounds lie in planes.
#include "cpu/background/visoraBackground.h"
#include "visora/variants/background.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/background/visoraBackgroundV.cpp"
#include <algorithm>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Bytes = hn::FixedTag<uint8_t, 16>;
using Halves = hn::FixedTag<int16_t, 8>;
using Times = hn::FixedTag<uint32_t, 4>;
using ByteVector = hn::Vec<Bytes>;
constexpr size_t kPixels = 16;

struct Three
{
    ByteVector v[kChannels];
};

HWY_INLINE Three threeOf(const uint8_t* levels)
{
    const Bytes d;
    return {{hn::Set(d, levels[0]), hn::Set(d, levels[1]), hn::Set(d, levels[2])}};
}

template <class V>
HWY_INLINE V weighted(V r, V g, V b, int16_t red, int16_t green, int16_t blue)
{
    const Halves d;
    return hn::Add(hn::Add(hn::Mul(r, hn::Set(d, red)), hn::Mul(g, hn::Set(d, green))), hn::Mul(b, hn::Set(d, blue)));
}

// Luma and chroma of sixteen pixels.
HWY_INLINE Three levelsOfPixels(const uint8_t* rgb)
{
    const Bytes d;
    const Halves d16;
    const hn::Half<Bytes> half;
    ByteVector r, g, b;
    hn::LoadInterleaved3(d, rgb, r, g, b);
    const auto convert = [&](auto red, auto green, auto blue) HWY_ATTR
    {
        struct Parts
        {
            hn::Vec<Halves> y, cb, cr;
        };
        const auto r16 = hn::PromoteTo(d16, red);
        const auto g16 = hn::PromoteTo(d16, green);
        const auto b16 = hn::PromoteTo(d16, blue);
        const auto rounding = hn::Set(d16, int16_t{128});
        const hn::RebindToUnsigned<Halves> dU;
        // Luma needs 16 bits without a sign. Chroma of pure blue or red would be 256: the saturating sum makes it 255.
        const auto luma = hn::Add(weighted(r16, g16, b16, 77, 150, 29), rounding);
        const auto chroma = [&](auto sum) HWY_ATTR
        { return hn::Add(hn::ShiftRight<8>(hn::SaturatedAdd(sum, rounding)), rounding); };
        return Parts{hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(dU, luma))),
                     chroma(weighted(r16, g16, b16, -43, -85, 128)), chroma(weighted(r16, g16, b16, 128, -107, -21))};
    };
    const auto low = convert(hn::LowerHalf(half, r), hn::LowerHalf(half, g), hn::LowerHalf(half, b));
    const auto high = convert(hn::UpperHalf(half, r), hn::UpperHalf(half, g), hn::UpperHalf(half, b));
    return {{narrowInOrder(d, low.y, high.y), narrowInOrder(d, low.cb, high.cb), narrowInOrder(d, low.cr, high.cr)}};
}

// All ones where low - below <= q <= high + above, cut to bytes.
template <class Byte>
HWY_INLINE ByteVector held(const Byte* low, const Byte* high, ByteVector q, ByteVector below, ByteVector above)
{
    const Bytes d;
    const auto least = hn::SaturatedSub(hn::LoadU(d, low), below);
    const auto most = hn::SaturatedAdd(hn::LoadU(d, high), above);
    return hn::And(hn::VecFromMask(d, hn::Eq(hn::Max(q, least), q)), hn::VecFromMask(d, hn::Eq(hn::Min(q, most), q)));
}

template <class Book>
HWY_INLINE ByteVector heldByWord(const Book& model, size_t word, size_t pixel, const Three& q, Bound low, Bound high,
                                 const Three& below, const Three& above)
{
    const auto channel = [&](size_t c) HWY_ATTR {
        return held(model.plane(word, c, low) + pixel, model.plane(word, c, high) + pixel, q.v[c], below.v[c],
                    above.v[c]);
    };
    return hn::And(hn::And(channel(0), channel(1)), channel(2));
}

// How many codewords sixteen pixels have, and the most of them.
template <class Book>
HWY_INLINE ByteVector wordCounts(const Book& model, size_t pixel, size_t& most)
{
    const Bytes d;
    const auto counts = hn::Min(hn::LoadU(d, model.counts + pixel), hn::Set(d, static_cast<uint8_t>(model.maxWords)));
    HWY_ALIGN uint8_t all[kPixels];
    hn::Store(counts, d, all);
    most = *std::max_element(all, all + kPixels);
    return counts;
}

HWY_INLINE ByteVector hasWord(ByteVector counts, size_t word)
{
    const Bytes d;
    const auto without = hn::Eq(hn::SaturatedSub(counts, hn::Set(d, static_cast<uint8_t>(word))), hn::Zero(d));
    return hn::Not(hn::VecFromMask(d, without));
}

HWY_INLINE bool isNone(ByteVector v)
{
    const Bytes d;
    return hn::AllTrue(d, hn::Eq(v, hn::Zero(d)));
}

// Notes the time where `which` is all ones.
HWY_INLINE void noteTime(uint32_t* seen, ByteVector which, uint32_t time)
{
    const Times d;
    HWY_ALIGN uint8_t lanes[kPixels];
    hn::Store(which, Bytes(), lanes);
    const hn::FixedTag<uint8_t, 4> d8;
    for (size_t i = 0; i < kPixels; i += 4)
    {
        const auto untouched = hn::Eq(hn::PromoteTo(d, hn::LoadU(d8, lanes + i)), hn::Zero(d));
        hn::StoreU(hn::IfThenElse(untouched, hn::LoadU(d, seen + i), hn::Set(d, time)), d, seen + i);
    }
}

// What a codeword that holds its pixel learns.
HWY_INLINE void widen(const Model& model, size_t word, size_t pixel, const Three& q, const Three& reach,
                      ByteVector which, uint32_t time)
{
    const Bytes d;
    const auto one = hn::And(which, hn::Set(d, uint8_t{1}));
    for (size_t c = 0; c < kChannels; ++c)
    {
        const auto bound = [&](Bound kind) HWY_ATTR { return model.plane(word, c, kind) + pixel; };
        const auto choose = [&](auto changed, auto before) HWY_ATTR
        { return hn::Or(hn::And(which, changed), hn::AndNot(which, before)); };
        const auto lowest = hn::LoadU(d, bound(kLowest));
        const auto highest = hn::LoadU(d, bound(kHighest));
        const auto lower = hn::LoadU(d, bound(kLower));
        const auto upper = hn::LoadU(d, bound(kUpper));
        // By 1 or nothing, as far as there is room.
        const auto growth = hn::Min(hn::SaturatedSub(hn::SaturatedAdd(q.v[c], reach.v[c]), upper), one);
        const auto fall = hn::Min(hn::SaturatedSub(lower, hn::SaturatedSub(q.v[c], reach.v[c])), one);
        hn::StoreU(choose(hn::Min(lowest, q.v[c]), lowest), d, bound(kLowest));
        hn::StoreU(choose(hn::Max(highest, q.v[c]), highest), d, bound(kHighest));
        hn::StoreU(hn::Add(upper, growth), d, bound(kUpper));
        hn::StoreU(hn::Sub(lower, fall), d, bound(kLower));
    }
    noteTime(model.lastSeen + word * model.pixels + pixel, which, time);
}

vsrStatus learn(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* reach,
                uint32_t time, uint32_t maxWords, uint8_t* counts, uint8_t* bounds, uint32_t* lastSeen)
{
    const Bytes d;
    const Model model{size_t{srcWidth} * srcHeight, maxWords, counts, bounds, lastSeen};
    const Levels reaches{reach[0], reach[1], reach[2]};
    const Three reachVectors = threeOf(reach);
    const Three none{{hn::Zero(d), hn::Zero(d), hn::Zero(d)}};
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        const size_t first = y * srcWidth;
        size_t x = 0;
        for (; x + kPixels <= srcWidth; x += kPixels)
        {
            const Three q = levelsOfPixels(row + 3 * x);
            size_t most;
            const auto words = wordCounts(model, first + x, most);
            auto open = hn::Not(hn::Zero(d));
            for (size_t j = 0; j < most && !isNone(open); ++j)
            {
                const auto match = hn::And(hn::And(open, hasWord(words, j)),
                                           heldByWord(model, j, first + x, q, kLower, kUpper, none, none));
                if (!isNone(match))
                {
                    widen(model, j, first + x, q, reachVectors, match, time);
                    open = hn::AndNot(match, open);
                }
            }
            if (!isNone(open))
            {
                HWY_ALIGN uint8_t unmatched[kPixels];
                hn::Store(open, d, unmatched);
                for (size_t i = 0; i < kPixels; ++i)
                {
                    if (unmatched[i] != 0)
                    {
                        addWord(model, first + x + i, levelsOf(row + 3 * (x + i)), reaches, time);
                    }
                }
            }
        }
        for (; x < srcWidth; ++x)
        {
            learnPixel(model, first + x, levelsOf(row + 3 * x), reaches, time);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus classify(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t maxWords,
                   const uint8_t* counts, const uint8_t* bounds, const uint8_t* below, const uint8_t* above,
                   uint8_t* dst, uint32_t dstStride)
{
    const Bytes d;
    const ConstModel model{size_t{srcWidth} * srcHeight, maxWords, counts, bounds, nullptr};
    const Three belowVectors = threeOf(below);
    const Three aboveVectors = threeOf(above);
    const Levels belows{below[0], below[1], below[2]};
    const Levels aboves{above[0], above[1], above[2]};
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = src + y * srcStride;
        uint8_t* out = dst + y * dstStride;
        const size_t first = y * srcWidth;
        if (srcWidth < kPixels)
        {
            for (size_t x = 0; x < srcWidth; ++x)
            {
                out[x] = classifyPixel(model, first + x, levelsOf(row + 3 * x), belows, aboves);
            }
            continue;
        }
        coverRange(0, srcWidth, kPixels,
                   [&](size_t x) HWY_ATTR
                   {
                       const Three q = levelsOfPixels(row + 3 * x);
                       size_t most;
                       const auto words = wordCounts(model, first + x, most);
                       auto open = hn::Not(hn::Zero(d));
                       for (size_t j = 0; j < most && !isNone(open); ++j)
                       {
                           const auto match = hn::And(
                               hasWord(words, j),
                               heldByWord(model, j, first + x, q, kLowest, kHighest, belowVectors, aboveVectors));
                           open = hn::AndNot(match, open);
                       }
                       hn::StoreU(open, d, out + x);
                   });
    }
    return VISORA_SUCCESS;
}

vsrStatus prune(uint32_t width, uint32_t height, uint32_t time, uint32_t maxAge, uint32_t maxWords, uint8_t* counts,
                uint8_t* bounds, uint32_t* lastSeen)
{
    const Bytes d;
    const Times d32;
    const hn::FixedTag<uint8_t, 4> d8;
    const Model model{size_t{width} * height, maxWords, counts, bounds, lastSeen};
    size_t pixel = 0;
    for (; pixel + kPixels <= model.pixels; pixel += kPixels)
    {
        size_t most;
        const auto words = wordCounts(model, pixel, most);
        HWY_ALIGN uint8_t each[kPixels];
        hn::Store(words, d, each);
        auto old = hn::Zero(d32);
        for (size_t j = 0; j < most; ++j)
        {
            for (size_t i = 0; i < kPixels; i += 4)
            {
                const auto age = hn::Sub(hn::Set(d32, time), hn::LoadU(d32, lastSeen + j * model.pixels + pixel + i));
                const auto beyond = hn::VecFromMask(d32, hn::Gt(age, hn::Set(d32, maxAge)));
                const auto used = hn::VecFromMask(
                    d32, hn::Gt(hn::PromoteTo(d32, hn::LoadU(d8, each + i)), hn::Set(d32, static_cast<uint32_t>(j))));
                old = hn::Or(old, hn::And(beyond, used));
            }
        }
        // A count beyond maxWords is cut even where nothing is old.
        const auto cut = hn::Eq(words, hn::LoadU(d, counts + pixel));
        if (!hn::AllTrue(d, cut) || !hn::AllTrue(d32, hn::Eq(old, hn::Zero(d32))))
        {
            for (size_t i = 0; i < kPixels; ++i)
            {
                prunePixel(model, pixel + i, time, maxAge);
            }
        }
    }
    for (; pixel < model.pixels; ++pixel)
    {
        prunePixel(model, pixel, time, maxAge);
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrBGCodeLearnu8, learn);
VSR_VECTOR(vsrBGCodeClassifyu8, classify);
VSR_VECTOR(vsrBGCodePruneu8, prune);

#endif
