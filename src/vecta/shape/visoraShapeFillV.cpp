// Filling, and foreground by running means, vector variants.
#include <bit>
#include <utility>

#include "cpu/shape/visoraShape.h"
#include "cpu/shape/visoraShapeForeground.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeFillV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/shape/visoraShapeRows-inl.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Filling: 64 pixels of a row are a word of bits, and a word is worked through when its neighbours reach it ----

constexpr uint64_t kFirstBit = 1;
constexpr uint64_t kLastBit = uint64_t{1} << 63;

/** What a word's pixels reach: pixels of it, and whether the last one of the word before and the first one behind. */
struct Reach
{
    uint64_t before;
    uint64_t here;
    uint64_t after;
};

/** All that is reached from some pixels by steps to the east and to the west, where pixels allow those. */
HWY_INLINE uint64_t spread(uint64_t from, uint64_t toEast, uint64_t toWest)
{
    // A carry runs through the pixels that pass it on, and one more.
    const uint64_t east = (((from & toEast) + toEast) ^ toEast) | from;
    uint64_t west = from;
    for (int step = 1; step < 64 && (west & toWest) != 0; step *= 2)
    {
        west |= (west & toWest) >> step;
        toWest &= toWest << step;
    }
    return east | west;
}

/** The words of a picture. */
struct Words
{
    HWY_INLINE Words(uint32_t pictureWidth, uint32_t pictureHeight)
        : width(pictureWidth), height(pictureHeight), aRow((size_t{pictureWidth} + 63) / 64)
    {
    }

    HWY_INLINE size_t count() const { return aRow * height; }
    HWY_INLINE uint64_t inside(size_t w) const
    {
        return w + 1 < aRow || width % 64 == 0 ? ~uint64_t{0} : (uint64_t{1} << width % 64) - 1;
    }

    size_t width;
    size_t height;
    size_t aRow;
};

/** Grey levels that belong to a region. */
struct Levels
{
    HWY_INLINE Levels(uint32_t base, uint32_t lower, uint32_t upper)
        : low(static_cast<uint8_t>(base - std::min(base, lower))),
          high(static_cast<uint8_t>(base + std::min(255 - base, upper)))
    {
    }

    uint8_t low;
    uint8_t high;
};

/** Steps between pixels of a range of grey levels. */
class LevelSteps
{
  public:
    static size_t bytes(const Words& words) { return partBytes<uint64_t>(words.count()); }

    HWY_INLINE LevelSteps(const Words& words, Parts& parts, const uint8_t* src, size_t stride, const Levels& levels,
                          bool isDiagonal)
        : words_(words), members_(parts.take<uint64_t>(words.count())), isDiagonal_(isDiagonal)
    {
        const MaskBytes d;
        const auto low = hn::Set(d, levels.low);
        const auto high = hn::Set(d, levels.high);
        const auto bits = [=](const uint8_t* pixels) HWY_ATTR
        {
            return bitsOf(
                [=](auto /*d*/, size_t i) HWY_ATTR
                {
                    const auto v = hn::LoadU(d, pixels + i);
                    return hn::Eq(hn::Min(hn::Max(v, low), high), v);
                });
        };
        for (size_t y = 0; y < words.height; ++y)
        {
            uint64_t* const to = members_ + y * words.aRow;
            forWords(src + y * stride, words.width,
                     [=](size_t x, const uint8_t* pixels) HWY_ATTR { to[x / 64] = bits(pixels); });
            to[words.aRow - 1] &= words.inside(words.aRow - 1);
        }
    }

    HWY_INLINE uint64_t open(size_t i, size_t /*w*/) const { return members_[i]; }

    HWY_INLINE Reach alongRow(size_t y, size_t w, uint64_t from) const
    {
        const uint64_t m = members_[y * words_.aRow + w];
        const uint64_t all = spread(from, m & m >> 1, m & m << 1);
        return {all & kFirstBit, all, all & kLastBit};
    }

    HWY_INLINE Reach toRow(size_t /*y*/, size_t /*w*/, int /*step*/, uint64_t from) const
    {
        return isDiagonal_ ? Reach{from & kFirstBit, from | from << 1 | from >> 1, from & kLastBit} : Reach{0, from, 0};
    }

  private:
    Words words_;
    uint64_t* members_;
    bool isDiagonal_;
};

/** Steps between pixels whose grey levels differ by little, on a copy with room around its rows. */
class FloatingSteps
{
  public:
    static size_t bytes(const Words& words) { return partBytes<uint8_t>(strideOf(words) * words.height); }

    HWY_INLINE FloatingSteps(const Words& words, Parts& parts, const uint8_t* src, size_t stride, uint32_t lower,
                             uint32_t upper, bool isDiagonal)
        : words_(words),
          pixels_(parts.take<uint8_t>(strideOf(words) * words.height) + kMaskPixels),
          lower_(static_cast<uint8_t>(std::min(lower, 255u))),
          upper_(static_cast<uint8_t>(std::min(upper, 255u))),
          isDiagonal_(isDiagonal)
    {
        for (size_t y = 0; y < words.height; ++y)
        {
            std::memcpy(pixels_ + y * strideOf(words), src + y * stride, words.width);
        }
    }

    HWY_INLINE uint64_t open(size_t /*i*/, size_t w) const { return words_.inside(w); }

    HWY_INLINE Reach alongRow(size_t y, size_t w, uint64_t from) const
    {
        const uint64_t toEast = allowed(y, w, 0, 1);
        const uint64_t toWest = allowed(y, w, 0, -1);
        const uint64_t all = spread(from, toEast, toWest);
        return {all & toWest & kFirstBit, all, all & toEast & kLastBit};
    }

    HWY_INLINE Reach toRow(size_t y, size_t w, int step, uint64_t from) const
    {
        Reach reach = {0, from & allowed(y, w, step, 0), 0};
        if (isDiagonal_)
        {
            const uint64_t east = from & allowed(y, w, step, 1);
            const uint64_t west = from & allowed(y, w, step, -1);
            reach = {west & kFirstBit, reach.here | east << 1 | west >> 1, east & kLastBit};
        }
        return reach;
    }

  private:
    static size_t strideOf(const Words& words) { return (words.aRow + 2) * kMaskPixels; }

    // The pixels of a word from which a step leads.
    HWY_INLINE uint64_t allowed(size_t y, size_t w, int stepY, int stepX) const
    {
        const auto stride = static_cast<ptrdiff_t>(strideOf(words_));
        const uint8_t* const from = pixels_ + static_cast<ptrdiff_t>(y) * stride + w * kMaskPixels;
        const uint8_t* const to = from + stepY * stride + stepX;
        return bitsOf(
            [&](auto d, size_t i) HWY_ATTR
            {
                const auto base = hn::LoadU(d, from + i);
                const auto v = hn::LoadU(d, to + i);
                const auto low = hn::SaturatedSub(base, hn::Set(d, lower_));
                const auto high = hn::SaturatedAdd(base, hn::Set(d, upper_));
                return hn::Eq(hn::Min(hn::Max(v, low), high), v);
            });
    }

    Words words_;
    uint8_t* pixels_;
    uint8_t lower_;
    uint8_t upper_;
    bool isDiagonal_;
};

/** The bits of the pixels that steps lead to. */
template <class Steps>
class WordFlood
{
  public:
    static size_t bytes(const Words& words)
    {
        return 2 * partBytes<uint64_t>(words.count()) + partBytes<uint32_t>(words.count());
    }

    HWY_INLINE WordFlood(const Words& words, Parts& parts, const Steps& steps)
        : words_(words),
          steps_(steps),
          reached_(parts.take<uint64_t>(words.count())),
          coming_(parts.take<uint64_t>(words.count())),
          stack_(parts.take<uint32_t>(words.count()))
    {
        std::fill_n(reached_, words.count(), uint64_t{0});
        std::fill_n(coming_, words.count(), uint64_t{0});
    }

    HWY_INLINE void run(uint32_t seedX, uint32_t seedY)
    {
        come(seedY, seedX / 64, uint64_t{1} << seedX % 64);
        while (size_ != 0)
        {
            const uint32_t place = stack_[--size_];
            const size_t y = place / kMostWords;
            const size_t w = place % kMostWords;
            const size_t i = y * words_.aRow + w;
            const Reach along = steps_.alongRow(y, w, coming_[i]);
            coming_[i] = 0;
            const uint64_t added = along.here & steps_.open(i, w) & ~reached_[i];
            reached_[i] |= added;
            comeBeside(y, w, along);
            if (y > 0)
            {
                comeAll(y - 1, w, steps_.toRow(y, w, -1, added));
            }
            if (y + 1 < words_.height)
            {
                comeAll(y + 1, w, steps_.toRow(y, w, 1, added));
            }
        }
    }

    /** Gives the pixels reached their value and tells what they are. */
    HWY_INLINE void paint(uint8_t* dst, size_t stride, uint8_t value, uint32_t* area, uint32_t* box) const
    {
        uint32_t left = UINT32_MAX, top = UINT32_MAX, right = 0, bottom = 0;
        *area = 0;
        for (size_t y = 0; y < words_.height; ++y)
        {
            for (size_t w = 0; w < words_.aRow; ++w)
            {
                const uint64_t bits = reached_[y * words_.aRow + w];
                if (bits == 0)
                {
                    continue;
                }
                const auto x = static_cast<uint32_t>(w * 64);
                *area += static_cast<uint32_t>(std::popcount(bits));
                left = std::min(left, x + static_cast<uint32_t>(std::countr_zero(bits)));
                right = std::max(right, x + 64 - static_cast<uint32_t>(std::countl_zero(bits)));
                top = std::min(top, static_cast<uint32_t>(y));
                bottom = static_cast<uint32_t>(y + 1);
                paintWord(dst + y * stride + x, std::min<size_t>(words_.width - x, 64), bits, value);
            }
        }
        const uint32_t sides[4] = {left, top, right - left, bottom - top};
        std::copy_n(sides, 4, box);
    }

  private:
    static constexpr uint32_t kMostWords = 1024;  // of a row

    // Pixels that are to be reached. A word is on the stack while there are any.
    HWY_INLINE void come(size_t y, size_t w, uint64_t bits)
    {
        const size_t i = y * words_.aRow + w;
        bits &= steps_.open(i, w) & ~reached_[i];
        if (bits == 0)
        {
            return;
        }
        if (coming_[i] == 0)
        {
            stack_[size_++] = static_cast<uint32_t>(y * kMostWords + w);
        }
        coming_[i] |= bits;
    }

    HWY_INLINE void comeBeside(size_t y, size_t w, const Reach& reach)
    {
        if (reach.before != 0 && w > 0)
        {
            come(y, w - 1, kLastBit);
        }
        if (reach.after != 0 && w + 1 < words_.aRow)
        {
            come(y, w + 1, kFirstBit);
        }
    }

    HWY_INLINE void comeAll(size_t y, size_t w, const Reach& reach)
    {
        come(y, w, reach.here);
        comeBeside(y, w, reach);
    }

    static HWY_INLINE void paintWord(uint8_t* to, size_t count, uint64_t bits, uint8_t value)
    {
        if (count < kMaskPixels)
        {
            for (; bits != 0; bits &= bits - 1)
            {
                to[std::countr_zero(bits)] = value;
            }
            return;
        }
        const MaskBytes d;
        for (size_t i = 0; i < kMaskPixels; i += hn::MaxLanes(MaskBytes()))
        {
            uint8_t bytes[8];
            const uint64_t part = bits >> i;
            std::memcpy(bytes, &part, sizeof(bytes));
            hn::BlendedStore(hn::Set(d, value), hn::LoadMaskBits(d, bytes), d, to + i);
        }
    }

    Words words_;
    Steps steps_;
    uint64_t* reached_;
    uint64_t* coming_;
    uint32_t* stack_;
    size_t size_ = 0;
};

vsrStatus fill(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t seedX, uint32_t seedY,
               uint8_t value, uint32_t lower, uint32_t upper, uint32_t connectivity, uint32_t floating, uint32_t* area,
               uint32_t* box)
{
    const Words words(dstWidth, dstHeight);
    const auto flood = [&](auto makeSteps) HWY_ATTR
    {
        using Steps = decltype(makeSteps(std::declval<Parts&>()));
        const Scratch scratch(Steps::bytes(words) + WordFlood<Steps>::bytes(words));
        if (!scratch.data())
        {
            return VISORA_ENOMEM;
        }
        Parts parts(scratch);
        const Steps steps = makeSteps(parts);
        WordFlood<Steps> reached(words, parts, steps);
        reached.run(seedX, seedY);
        reached.paint(dst, dstStride, value, area, box);
        return VISORA_SUCCESS;
    };
    const bool isDiagonal = connectivity == 8;
    if (floating != 0)
    {
        return flood([&](Parts& parts) HWY_ATTR
                     { return FloatingSteps(words, parts, dst, dstStride, lower, upper, isDiagonal); });
    }
    const Levels levels(imageRow(dst, dstStride, seedY)[seedX], lower, upper);
    return flood([&](Parts& parts) HWY_ATTR { return LevelSteps(words, parts, dst, dstStride, levels, isDiagonal); });
}

// ---- Foreground ----

struct ForegroundStep
{
    using Lanes = hn::ScalableTag<int32_t>;
    static constexpr size_t kLanes = hn::MaxLanes(Lanes());
    static constexpr size_t kUnroll = 1;

    HWY_INLINE void operator()(std::index_sequence<0> /*steps*/, const uint8_t* src, uint16_t* mean,
                               uint16_t* deviation, uint8_t* dst) const
    {
        const Lanes d;
        const hn::RebindToUnsigned<Lanes> dU;
        const hn::Rebind<uint16_t, Lanes> d16;
        const hn::Rebind<uint8_t, Lanes> d8;
        const auto promoted = [&](const uint16_t* from) HWY_ATTR
        { return hn::BitCast(d, hn::PromoteTo(dU, hn::LoadU(d16, from))); };
        const auto half = hn::Set(d, 1 << (rateShift - 1));
        const auto shift = static_cast<int>(rateShift);
        const auto m = promoted(mean);
        const auto s = promoted(deviation);
        const auto difference = hn::Sub(hn::ShiftLeft<8>(hn::PromoteTo(d, hn::LoadU(d8, src))), m);
        const auto distance = hn::Abs(difference);
        const auto limit = hn::Mul(hn::Set(dU, factor), hn::Max(hn::BitCast(dU, s), hn::Set(dU, minDeviation)));
        const auto isBack =
            hn::RebindMask(d, hn::Eq(hn::Max(hn::BitCast(dU, hn::ShiftLeft<4>(distance)), limit), limit));
        const auto learn = [&](auto old, auto toward) HWY_ATTR
        {
            const auto step = hn::ShiftRightSame(hn::Add(toward, half), shift);
            return hn::DemoteTo(d16, hn::Add(old, hn::IfThenElseZero(isBack, step)));
        };
        hn::StoreU(learn(m, difference), d16, mean);
        hn::StoreU(learn(s, hn::Sub(distance, s)), d16, deviation);
        hn::StoreU(hn::DemoteTo(d8, hn::IfThenZeroElse(isBack, hn::Set(d, 255))), d8, dst);
    }

    uint32_t factor;
    uint32_t rateShift;
    uint32_t minDeviation;
};

vsrStatus foreground(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t factor,
                     uint32_t rateShift, uint32_t minDeviation, uint16_t* mean, uint32_t meanStride,
                     uint16_t* deviation, uint32_t deviationStride, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(srcWidth, srcHeight, ForegroundStep{factor, rateShift, minDeviation}, source(src, srcStride),
                     updated(mean, meanStride), updated(deviation, deviationStride), destination(dst, dstStride));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFloodFillu8, fill);
VSR_VECTOR(vsrFindForegroundu8, foreground);

#endif
