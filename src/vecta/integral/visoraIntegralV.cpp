// Integral images of integers, vector variants: running sums within a register, then the sum of what is to the left and
// the row above.
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/integral/visoraIntegralV.cpp"
#include <algorithm>
#include <optional>
#include <utility>

#include "cpu/integral/visoraIntegral.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraStream-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Pixels16 = hn::FixedTag<uint16_t, 8>;
using Words = hn::FixedTag<uint32_t, 4>;
using Sums64 = hn::CappedTag<uint64_t, 4>;

// Running sums of eight values whose sum fits 16 bits.
template <class V>
HWY_INLINE V runningSums8(V v)
{
    const Pixels16 d;
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
    return hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
}

// Running sums of four values.
template <class V>
HWY_INLINE V runningSums4(V v)
{
    const Words d;
    v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
    return hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
}

// What is left of a vector of pixels in all lanes, and how it grows: steps of pixels to their running sums. A step
// adds above(place in the step) to its vectors of sums and hands them to store(sums, place).
#if HWY_TARGET <= HWY_AVX3
class Left
{
  public:
    static constexpr size_t kStep = 64;
    using Bytes = hn::FixedTag<uint8_t, 64>;
    using Sums = hn::FixedTag<uint32_t, 16>;

    HWY_INLINE Left() : left_(_mm512_setzero_si512()) {}

    HWY_INLINE void set(uint32_t sum) { left_ = _mm512_set1_epi32(static_cast<int32_t>(sum)); }

    // bytesFrom(i) gives bytes from i on. Pixels are summed in pairs within sixteen of them; the second ones, taken off
    // the running sums of these, leave the sums up to the first. What puts each sixteen in order widens them, too.
    template <class BytesFrom, class Above, class Store>
    HWY_INLINE void step(BytesFrom bytesFrom, Above above, Store store)
    {
        const __m512i pixels = bytesFrom(0).raw;
        __m512i second = _mm512_maddubs_epi16(pixels, _mm512_set1_epi8(1));
        second = _mm512_add_epi16(second, _mm512_bslli_epi128(second, 2));
        second = _mm512_add_epi16(second, _mm512_bslli_epi128(second, 4));
        second = _mm512_add_epi16(second, _mm512_bslli_epi128(second, 8));
        const __m512i first = _mm512_sub_epi16(second, _mm512_srli_epi16(pixels, 8));
        constexpr __mmask32 kLowerHalves = 0x55555555;
        const __m512i inTurn = _mm512_set_epi32(39, 7, 38, 6, 37, 5, 36, 4, 35, 3, 34, 2, 33, 1, 32, 0);
        for (int sixteen = 0; sixteen < 4; ++sixteen)
        {
            const __m512i places = _mm512_add_epi32(inTurn, _mm512_set1_epi32(8 * sixteen));
            const __m512i within = _mm512_maskz_permutex2var_epi16(kLowerHalves, first, places, second);
            const auto place = static_cast<size_t>(16 * sixteen);
            store(hn::Add(hn::Vec<Sums>{_mm512_add_epi32(left_, within)}, above(place)), place);
            const __m512i last = _mm512_set1_epi32(8 * sixteen + 7);
            left_ = _mm512_add_epi32(left_, _mm512_maskz_permutexvar_epi16(kLowerHalves, last, second));
        }
    }

  private:
    __m512i left_;
};
#elif HWY_ARCH_ARM_A64
class Left
{
  public:
    static constexpr size_t kStep = 16;
    using Bytes = hn::FixedTag<uint8_t, 16>;
    using Sums = hn::FixedTag<uint32_t, 4>;

    HWY_INLINE Left() : left_(vdupq_n_u32(0)) {}

    HWY_INLINE void set(uint32_t sum) { left_ = vdupq_n_u32(sum); }

    // As above, of sixteen pixels.
    template <class BytesFrom, class Above, class Store>
    HWY_INLINE void step(BytesFrom bytesFrom, Above above, Store store)
    {
        const uint8x16_t pixels = bytesFrom(0).raw;
        const uint16x8_t second = runningSums8(hn::Vec<Pixels16>(vpaddlq_u8(pixels))).raw;
        const uint16x8_t first = vsubq_u16(second, vshrq_n_u16(vreinterpretq_u16_u8(pixels), 8));
        const uint16x8_t low = vzip1q_u16(first, second);
        const uint16x8_t high = vzip2q_u16(first, second);
        // All loads before all stores, so that two of them are one instruction.
        const auto start = [&](size_t i) HWY_ATTR { return vaddq_u32(left_, above(i).raw); };
        const uint32x4_t start0 = start(0), start4 = start(4), start8 = start(8), start12 = start(12);
        store(hn::Vec<Sums>(vaddw_u16(start0, vget_low_u16(low))), 0);
        store(hn::Vec<Sums>(vaddw_high_u16(start4, low)), 4);
        store(hn::Vec<Sums>(vaddw_u16(start8, vget_low_u16(high))), 8);
        store(hn::Vec<Sums>(vaddw_high_u16(start12, high)), 12);
        left_ = vaddw_u16(left_, vdup_laneq_u16(second, 7));
    }

  private:
    uint32x4_t left_;
};
#else
class Left
{
  public:
    static constexpr size_t kStep = 8;
    using Bytes = hn::FixedTag<uint8_t, 8>;
    using Sums = hn::CappedTag<uint32_t, 8>;

    HWY_INLINE Left() : left_(hn::Zero(Sums())) {}

    HWY_INLINE void set(uint32_t sum) { left_ = hn::Set(Sums(), sum); }

    template <class BytesFrom, class Above, class Store>
    HWY_INLINE void step(BytesFrom bytesFrom, Above above, Store store)
    {
        const Sums d;
        const auto sums = runningSums8(hn::PromoteTo(Pixels16(), bytesFrom(0)));
#if HWY_TARGET == HWY_AVX2
        store(hn::Add(hn::Add(left_, hn::PromoteTo(d, sums)), above(0)), 0);
        left_ = hn::Add(left_, hn::Vec<Sums>{_mm256_broadcastd_epi32(_mm_srli_si128(sums.raw, 14))});
#else
        const hn::Half<Pixels16> half;
        store(hn::Add(hn::Add(left_, hn::PromoteTo(d, hn::LowerHalf(half, sums))), above(0)), 0);
        const auto upper = hn::PromoteTo(d, hn::UpperHalf(half, sums));
        store(hn::Add(hn::Add(left_, upper), above(4)), 4);
        left_ = hn::Add(left_, hn::Broadcast<3>(upper));
#endif
    }

  private:
    hn::Vec<Sums> left_;
};
#endif
constexpr size_t kStep = Left::kStep;

// A row of an integral image: its elements are running sums and the elements above, when there are any.
template <bool kAbove>
class SumRow
{
  public:
    // The rows' first elements, which are 0, lie before the pointers.
    HWY_INLINE SumRow(const uint32_t* above, uint32_t* row) : above_(above), row_(row) {}

    // Goes on at column x, up to which the row is finished.
    HWY_INLINE void startAt(size_t x)
    {
        const auto last = static_cast<ptrdiff_t>(x) - 1;
        left_.set(row_[last] - (kAbove ? above_[last] : 0));
    }

    // bytesFrom(x) gives the bytes from column x on.
    template <class BytesFrom>
    HWY_INLINE void put(size_t x, BytesFrom bytesFrom)
    {
        const typename Left::Sums d;
        left_.step([&](size_t i) HWY_ATTR { return bytesFrom(x + i); },
                   [&](size_t i) HWY_ATTR
                   {
                       if constexpr (kAbove)
                       {
                           return hn::LoadU(d, above_ + x + i);
                       }
                       else
                       {
                           return hn::Zero(d);
                       }
                   },
                   [&](auto sums, size_t i) HWY_ATTR { hn::StoreU(sums, d, row_ + x + i); });
    }

    // A single element, `sum` being that of the row so far.
    HWY_INLINE void putOne(size_t x, uint32_t sum) const { row_[x] = sum + (kAbove ? above_[x] : 0); }

  private:
    const uint32_t* above_;
    uint32_t* row_;
    Left left_;
};

// Covers a row that has room for a step: start(x) and put(x) at its start, from where `row` begins a vector, as stores
// across cache lines are slow, and at its end.
template <class Start, class Put>
HWY_INLINE void coverSums(size_t width, const uint32_t* row, Start start, Put put)
{
    put(0);
    size_t x = kStep - reinterpret_cast<uintptr_t>(row) / sizeof(uint32_t) % hn::MaxLanes(Left::Sums());
    if (x + kStep <= width)
    {
        start(x);
        for (; x + 2 * kStep <= width; x += 2 * kStep)
        {
            put(x);
            put(x + kStep);
        }
        if (x + kStep <= width)
        {
            put(x);
            x += kStep;
        }
    }
    else
    {
        x = kStep;
    }
    if (x < width)
    {
        start(width - kStep);
        put(width - kStep);
    }
}

HWY_INLINE hn::Vec<Left::Bytes> bytesAt(const uint8_t* pixels)
{
    return hn::LoadU(Left::Bytes(), pixels);
}

template <bool kAbove>
HWY_INLINE void integrateRow(const uint8_t* pixels, size_t width, const uint32_t* above, uint32_t* row)
{
    row[-1] = 0;
    SumRow<kAbove> sums(above, row);
    if (width >= kStep)
    {
        return coverSums(
            width, row, [&](size_t x) HWY_ATTR { sums.startAt(x); },
            [&](size_t x) HWY_ATTR { sums.put(x, [=](size_t at) HWY_ATTR { return bytesAt(pixels + at); }); });
    }
    uint32_t sum = 0;
    for (size_t x = 0; x < width; ++x)
    {
        sums.putOne(x, sum += pixels[x]);
    }
}

/**
 * An integral image's rows, one after the other, the first of them 0. Those of a large one are made where they stay
 * near, two in turn, and go past the caches when they are done: the one above is wanted once more, all others are not.
 */
class SumRows
{
  public:
    HWY_INLINE SumRows(uint32_t* dst, size_t stride, size_t width, size_t height)
        : dst_(dst), stride_(stride), count_(width + 1), above_(dst), row_(planeRow(dst, stride, 1))
    {
        std::fill_n(dst, count_, 0u);
        if (!isStreamed(stride * height, kStreamedThrough))
        {
            return;
        }
        // Whole cache lines.
        const size_t room = (count_ + 15) / 16 * 16;
        near_.emplace(2 * room * sizeof(uint32_t));
        if (isFar())
        {
            above_ = near_->as<uint32_t>();
            row_ = above_ + room;
            std::fill_n(above_, count_, 0u);
        }
    }

    HWY_INLINE bool isFar() const { return near_ && near_->data() != nullptr; }

    // Behind their first elements.
    HWY_INLINE const uint32_t* above() const { return above_ + 1; }
    HWY_INLINE uint32_t* row() const { return row_ + 1; }

    /** The row is done; the next one is wanted. */
    HWY_INLINE void next()
    {
        dst_ = planeRow(dst_, stride_, 1);
        if (isFar())
        {
            streamBytes(reinterpret_cast<uint8_t*>(dst_), reinterpret_cast<const uint8_t*>(row_),
                        count_ * sizeof(uint32_t));
            return std::swap(above_, row_);
        }
        above_ = row_;
        row_ = planeRow(row_, stride_, 1);
    }

    /** All rows are done. */
    HWY_INLINE void end() const
    {
        if (isFar())
        {
            hwy::FlushStream();
        }
    }

  private:
    uint32_t* dst_;
    size_t stride_;
    size_t count_;
    std::optional<Scratch> near_;
    uint32_t* above_;
    uint32_t* row_;
};

vsrStatus integrateu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                      uint32_t dstStride)
{
    SumRows rows(dst, dstStride, srcWidth, srcHeight);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        integrateRow<true>(src + y * srcStride, srcWidth, rows.above(), rows.row());
        rows.next();
    }
    rows.end();
    return VISORA_SUCCESS;
}

vsrStatus integrateRows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                        uint32_t dstStride)
{
    for (size_t y = 0; y < srcHeight; ++y)
    {
        integrateRow<false>(src + y * srcStride, srcWidth, nullptr, planeRow(dst, dstStride, y) + 1);
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateMasked(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const uint8_t* mask, uint32_t maskStride, uint32_t* sums, uint32_t sumsStride,
                          uint32_t* counts, uint32_t countsStride)
{
    const Left::Bytes d;
    const size_t width = srcWidth;
    std::fill_n(sums, width + 1, 0u);
    std::fill_n(counts, width + 1, 0u);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* pixels = src + y * srcStride;
        const uint8_t* counted = mask + y * maskStride;
        uint32_t* sumsRow = planeRow(sums, sumsStride, y + 1) + 1;
        uint32_t* countsRow = planeRow(counts, countsStride, y + 1) + 1;
        sumsRow[-1] = countsRow[-1] = 0;
        SumRow<true> sum(planeRow(sums, sumsStride, y) + 1, sumsRow);
        SumRow<true> count(planeRow(counts, countsStride, y) + 1, countsRow);
        if (width >= kStep)
        {
            coverSums(
                width, sumsRow,
                [&](size_t x) HWY_ATTR
                {
                    sum.startAt(x);
                    count.startAt(x);
                },
                [&](size_t x) HWY_ATTR
                {
                    const auto out = [=](size_t at) HWY_ATTR
                    { return hn::VecFromMask(d, hn::Eq(bytesAt(counted + at), hn::Zero(d))); };
                    sum.put(x, [=](size_t at) HWY_ATTR { return hn::AndNot(out(at), bytesAt(pixels + at)); });
                    count.put(x, [=](size_t at) HWY_ATTR { return hn::AndNot(out(at), hn::Set(d, uint8_t{1})); });
                });
            continue;
        }
        uint32_t pixelsBefore = 0;
        uint32_t countBefore = 0;
        for (size_t x = 0; x < width; ++x)
        {
            sum.putOne(x, pixelsBefore += counted[x] != 0 ? pixels[x] : 0);
            count.putOne(x, countBefore += counted[x] != 0 ? 1 : 0);
        }
    }
    return VISORA_SUCCESS;
}

// Four values of 32 bits, widened to 64 as they are summed.
class Left64
{
  public:
    HWY_INLINE Left64() : left_(hn::Zero(Sums64())) {}

    template <class V>
    HWY_INLINE void put(V values, const uint64_t* above, uint64_t* out)
    {
        const Sums64 d;
        const auto sums = runningSums4(values);
        const auto store = [&](auto within, size_t at) HWY_ATTR
        { hn::StoreU(hn::Add(hn::Add(left_, within), hn::LoadU(d, above + at)), d, out + at); };
        if constexpr (hn::MaxLanes(Sums64()) == 4)
        {
            store(hn::PromoteTo(d, sums), 0);
            left_ = hn::Add(left_, hn::PromoteTo(d, hn::Broadcast<3>(sums)));
        }
        else
        {
            const hn::Half<Words> half;
            store(hn::PromoteTo(d, hn::LowerHalf(half, sums)), 0);
            store(hn::PromoteTo(d, hn::UpperHalf(half, sums)), 2);
            left_ = hn::Add(left_, hn::PromoteTo(d, hn::LowerHalf(half, hn::Broadcast<3>(sums))));
        }
    }

    HWY_INLINE uint64_t value() const { return hn::GetLane(left_); }

  private:
    hn::Vec<Sums64> left_;
};

// values(x) gives four values of 32 bits, value(x) one.
template <class Row, class Values, class Value>
HWY_INLINE vsrStatus integrate64(uint32_t srcWidth, uint32_t srcHeight, uint64_t* dst, uint32_t dstStride, Row rowAt,
                                 Values values, Value value)
{
    const size_t width = srcWidth;
    std::fill_n(dst, width + 1, uint64_t{0});
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const auto* pixels = rowAt(y);
        const uint64_t* above = planeRow(dst, dstStride, y) + 1;
        uint64_t* row = planeRow(dst, dstStride, y + 1) + 1;
        row[-1] = 0;
        Left64 left;
        size_t x = 0;
        for (; x + 4 <= width; x += 4)
        {
            left.put(values(pixels + x), above + x, row + x);
        }
        for (uint64_t sum = left.value(); x < width; ++x)
        {
            sum += value(pixels[x]);
            row[x] = above[x] + sum;
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateSquares(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                           uint32_t dstStride)
{
    return integrate64(
        srcWidth, srcHeight, dst, dstStride, [=](size_t y) { return src + y * srcStride; },
        [](const uint8_t* p) HWY_ATTR
        {
            const auto v = hn::PromoteTo(Words(), hn::LoadU(hn::FixedTag<uint8_t, 4>(), p));
            return hn::Mul(v, v);
        },
        [](uint32_t p) { return p * p; });
}

vsrStatus integrateu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t* dst,
                       uint32_t dstStride)
{
    return integrate64(
        srcWidth, srcHeight, dst, dstStride, [=](size_t y) { return planeRow(src, srcStride, y); },
        [](const uint16_t* p) HWY_ATTR { return hn::PromoteTo(Words(), hn::LoadU(hn::FixedTag<uint16_t, 4>(), p)); },
        [](uint16_t p) { return p; });
}

vsrStatus integrates16(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t* dst,
                       uint32_t dstStride)
{
    const hn::FixedTag<int32_t, 4> d;
    const size_t width = srcWidth;
    auto* sums = reinterpret_cast<uint32_t*>(dst);
    std::fill_n(sums, width + 1, 0u);
    for (size_t y = 0; y < srcHeight; ++y)
    {
        const int16_t* pixels = planeRow(src, srcStride, y);
        const uint32_t* above = planeRow(sums, dstStride, y) + 1;
        uint32_t* row = planeRow(sums, dstStride, y + 1) + 1;
        row[-1] = 0;
        auto left = hn::Zero(Words());
        size_t x = 0;
        for (; x + 4 <= width; x += 4)
        {
            const auto within =
                runningSums4(hn::BitCast(Words(), hn::PromoteTo(d, hn::LoadU(hn::FixedTag<int16_t, 4>(), pixels + x))));
            hn::StoreU(hn::Add(hn::Add(left, within), hn::LoadU(Words(), above + x)), Words(), row + x);
            left = hn::Add(left, hn::Broadcast<3>(within));
        }
        for (uint32_t sum = hn::GetLane(left); x < width; ++x)
        {
            row[x] = above[x] + (sum += static_cast<uint32_t>(pixels[x]));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus integrateTilted(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                          uint32_t dstStride)
{
    const size_t width = srcWidth;
    std::fill_n(dst, width + 1, 0u);
    for (size_t y = 1; y <= srcHeight; ++y)
    {
        const TiltedRows rows(src, srcStride, dst, dstStride, y, width);
        uint32_t* row = planeRow(dst, dstStride, y);
        size_t done = 0;
        if (y > 1)
        {
            withFittingVector<uint32_t>(
                width - 1,
                [&](auto d) HWY_ATTR
                {
                    const hn::Rebind<uint8_t, decltype(d)> d8;
                    coverRange(1, width, hn::Lanes(d),
                               [&](size_t x) HWY_ATTR
                               {
                                   const auto pixels = [&](const uint8_t* p) HWY_ATTR
                                   { return hn::PromoteTo(d, hn::LoadU(d8, p + x - 1)); };
                                   const auto own = hn::Add(pixels(rows.pixels), pixels(rows.pixelsAbove));
                                   const auto sides =
                                       hn::Add(hn::LoadU(d, rows.up + x - 1), hn::LoadU(d, rows.up + x + 1));
                                   const auto overlap = hn::LoadU(d, rows.up2 + x);
                                   hn::StoreU(hn::Add(hn::Sub(sides, overlap), own), d, row + x);
                               });
                    row[0] = rows.element(0);
                    row[width] = rows.element(width);
                    done = width + 1;
                });
        }
        for (; done <= width; ++done)
        {
            row[done] = rows.element(done);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrIntegrateImageu8, integrateu8);
VSR_VECTOR(vsrIntegrateRowsu8, integrateRows);
VSR_VECTOR(vsrIntegrateImageMaskedu8, integrateMasked);
VSR_VECTOR(vsrIntegrateImageSquaredu8, integrateSquares);
VSR_VECTOR(vsrIntegrateImageu16, integrateu16);
VSR_VECTOR(vsrIntegrateImages16, integrates16);
VSR_VECTOR(vsrIntegrateTiltedu8, integrateTilted);

#endif
