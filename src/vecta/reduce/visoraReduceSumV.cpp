// Sums, means and counts of an image, vector variants.
#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/reduce/visoraReduceSumV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/reduce/visoraReduce-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using D8 = hn::ScalableTag<uint8_t>;
using DS16 = hn::ScalableTag<int16_t>;
using DS32 = hn::ScalableTag<int32_t>;
using DU32 = hn::ScalableTag<uint32_t>;
using DS64 = hn::ScalableTag<int64_t>;
using DU64 = hn::ScalableTag<uint64_t>;

// A sum of numbers up to kLargest that a formula makes of bytes; they are added as bytes for a while.
template <class Formula, size_t kLargest>
struct SmallSum
{
    static constexpr size_t kLanes = hn::MaxLanes(D8());
    static constexpr size_t kSteps = 255 / kLargest;

    HWY_INLINE SmallSum() : small(hn::Zero(D8())), sums(hn::Zero(DU64())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const uint8_t* src)
    {
        ((small = hn::Add(small, Formula()(D8(), hn::LoadU(D8(), src + i * kLanes)))), ...);
    }

    HWY_INLINE void flush()
    {
        sums = hn::Add(sums, hn::SumsOf8(small));
        small = hn::Zero(D8());
    }

    HWY_INLINE uint64_t total() const { return sumOf64(DU64(), sums); }

    hn::Vec<D8> small;
    hn::Vec<DU64> sums;
};

struct IsSet
{
    template <class D, class V>
    HWY_INLINE V operator()(D d, V v) const
    {
        return hn::Min(v, hn::Set(d, uint8_t{1}));
    }
};
using NonZeroCount = SmallSum<IsSet, 1>;

struct Bits
{
    template <class D, class V>
    HWY_INLINE V operator()(D /*d*/, V v) const
    {
        return hn::PopulationCount(v);
    }
};
using BitCount = SmallSum<Bits, 8>;

struct SquaresU8
{
    static constexpr size_t kLanes = hn::MaxLanes(D8());
    static constexpr size_t kSteps = kSquareSteps;

    HWY_INLINE SquaresU8() : sums(hn::Zero(DU32())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const uint8_t* src)
    {
        ((sums = addSquares(hn::LoadU(D8(), src + i * kLanes), sums)), ...);
    }

    HWY_INLINE void flush()
    {
        all += static_cast<uint64_t>(sumOf32(DU32(), sums));
        sums = hn::Zero(DU32());
    }

    HWY_INLINE uint64_t total() const { return all; }

    hn::Vec<DU32> sums;
    uint64_t all = 0;
};

struct SumS16
{
    static constexpr size_t kLanes = hn::MaxLanes(DS16());
    static constexpr size_t kSteps = 32764;  // twice 2^15 each

    HWY_INLINE SumS16() : sums(hn::Zero(DS32())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const int16_t* src)
    {
        ((sums = addPairs(hn::LoadU(DS16(), src + i * kLanes))), ...);
    }

    HWY_INLINE void flush()
    {
        all += sumOf32(DS32(), sums);
        sums = hn::Zero(DS32());
    }

    HWY_INLINE int64_t total() const { return all; }

    HWY_INLINE hn::Vec<DS32> addPairs(hn::Vec<DS16> v) const
    {
#if HWY_ARCH_ARM_A64
        return hn::Vec<DS32>(vpadalq_s16(sums.raw, v.raw));
#else
        auto none = hn::Zero(DS32());
        return hn::ReorderWidenMulAccumulate(DS32(), v, hn::Set(DS16(), int16_t{1}), sums, none);
#endif
    }

    hn::Vec<DS32> sums;
    int64_t all = 0;
};

struct SquaresS16
{
    static constexpr size_t kLanes = hn::MaxLanes(DS16());
    static constexpr size_t kSteps = SIZE_MAX;

    HWY_INLINE SquaresS16() : sums(hn::Zero(DU64())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const int16_t* src)
    {
        ((sums = addPairs(hn::LoadU(DS16(), src + i * kLanes))), ...);
    }

    HWY_INLINE void flush() {}
    HWY_INLINE uint64_t total() const { return sumOf64(DU64(), sums); }

    HWY_INLINE hn::Vec<DU64> addPairs(hn::Vec<DS16> v) const
    {
#if HWY_ARCH_ARM_A64
        const uint32x4_t low = vreinterpretq_u32_s32(vmull_s16(vget_low_s16(v.raw), vget_low_s16(v.raw)));
        const uint32x4_t high = vreinterpretq_u32_s32(vmull_high_s16(v.raw, v.raw));
        return hn::Vec<DU64>(vpadalq_u32(vpadalq_u32(sums.raw, low), high));
#else
        // Two squares of -32768 make 2^31: a number without a sign.
        auto none = hn::Zero(DS32());
        const auto pairs = hn::BitCast(DU64(), hn::ReorderWidenMulAccumulate(DS32(), v, v, hn::Zero(DS32()), none));
        return hn::Add(hn::Add(sums, hn::And(pairs, hn::Set(DU64(), 0xFFFFFFFFU))), hn::ShiftRight<32>(pairs));
#endif
    }

    hn::Vec<DU64> sums;
};

struct SumS32
{
    static constexpr size_t kLanes = hn::MaxLanes(DS32());
    static constexpr size_t kSteps = SIZE_MAX;

    HWY_INLINE SumS32() : sums(hn::Zero(DS64())) {}

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const int32_t* src)
    {
        (addVector(src + i * kLanes), ...);
    }

    HWY_INLINE void flush() {}
    HWY_INLINE int64_t total() const { return static_cast<int64_t>(sumOf64(DS64(), sums)); }

    HWY_INLINE void addVector(const int32_t* src)
    {
#if HWY_ARCH_ARM_A64
        sums = hn::Vec<DS64>(vpadalq_s32(sums.raw, vld1q_s32(src)));
#else
        const hn::Rebind<int32_t, DS64> half;
        sums = hn::Add(sums, hn::PromoteTo(DS64(), hn::LoadU(half, src)));
        sums = hn::Add(sums, hn::PromoteTo(DS64(), hn::LoadU(half, src + hn::MaxLanes(half))));
#endif
    }

    hn::Vec<DS64> sums;
};

// The 16 partial sums, in double precision.
struct SumF32
{
    using D = hn::ScalableTag<double>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kVectors = 16 / kVector;
    static constexpr size_t kLanes = 16;
    static constexpr size_t kSteps = SIZE_MAX;

    HWY_INLINE SumF32() { std::fill_n(parts, kVectors, hn::Zero(D())); }

    template <size_t... i>
    HWY_INLINE void add(std::index_sequence<i...> /*steps*/, const float* src)
    {
        (addColumns(src + i * kLanes, std::make_index_sequence<kVectors>()), ...);
    }

    template <size_t... k>
    HWY_INLINE void addColumns(const float* src, std::index_sequence<k...> /*vectors*/)
    {
        const hn::Rebind<float, D> half;
        ((parts[k] = hn::Add(parts[k], hn::PromoteTo(D(), hn::LoadU(half, src + k * kVector)))), ...);
    }

    HWY_INLINE void flush() {}

    HWY_INLINE double total() const
    {
        Sum16<double> sums;
        for (size_t k = 0; k < kVectors; ++k)
        {
            hn::StoreU(parts[k], D(), sums.parts + k * kVector);
        }
        return sums.total();
    }

    hn::Vec<D> parts[kVectors];
};

// The sum of an image; without a mask when that is null.
template <class Sum, class T>
HWY_INLINE auto sumImage(const T* src, uint32_t width, uint32_t height, uint32_t stride)
{
    Sum sum;
    sumRows(width, height, sum, source(src, stride));
    return sum.total();
}

HWY_INLINE uint64_t sumPixels(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* mask,
                              uint32_t maskStride)
{
    if (mask == nullptr)
    {
        return sumImage<PixelSum>(src, width, height, stride);
    }
    PixelSum sum;
    sumRows(width, height, sum, source(src, stride), source(mask, maskStride));
    return sum.total();
}

// *result = the sum.
template <class Sum>
constexpr auto sumInto =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto* result) HWY_ATTR -> vsrStatus {
    *result = static_cast<std::remove_pointer_t<decltype(result)>>(sumImage<Sum>(src, width, height, stride));
    return VISORA_SUCCESS;
};

}  // namespace

VSR_KERNEL(vsrSums16, sumS16, sumInto<SumS16>);
VSR_KERNEL(vsrSumOfSquaresu8, sumOfSquaresU8, sumInto<SquaresU8>);
VSR_KERNEL(vsrSumOfSquaress16, sumOfSquaresS16, sumInto<SquaresS16>);
VSR_KERNEL(vsrCountNonZerou8, countNonZero, sumInto<NonZeroCount>);
VSR_KERNEL(vsrBitCountu8, bitCountU8, sumInto<BitCount>);

vsrStatus bitCountU32(const uint32_t* src, uint32_t length, uint32_t* bitCount)
{
    BitCount bits;
    sumRows(size_t{length} * sizeof(*src), 1, bits, source(reinterpret_cast<const uint8_t*>(src), 0));
    *bitCount = static_cast<uint32_t>(bits.total());
    return VISORA_SUCCESS;
}

vsrStatus sumU8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* mask,
                uint32_t maskStride, uint64_t* sum)
{
    *sum = sumPixels(src, srcWidth, srcHeight, srcStride, mask, maskStride);
    return VISORA_SUCCESS;
}

vsrStatus sumF32(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* sum)
{
    SumF32 parts;
    // Each row begins with the first partial sum.
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        sumRows(srcWidth, 1, parts, source(imageRow(src, srcStride, y), 0));
    }
    *sum = visora::oneNan(static_cast<float>(parts.total()));
    return VISORA_SUCCESS;
}

vsrStatus averageU8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* mask,
                    uint32_t maskStride, float* average)
{
    const uint64_t count = mask == nullptr ? uint64_t{srcWidth} * srcHeight
                                           : sumImage<NonZeroCount>(mask, srcWidth, srcHeight, maskStride);
    *average = mean(static_cast<double>(sumPixels(src, srcWidth, srcHeight, srcStride, mask, maskStride)), count);
    return VISORA_SUCCESS;
}

vsrStatus averageS32(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* average)
{
    const int64_t sum = sumImage<SumS32>(src, srcWidth, srcHeight, srcStride);
    *average = mean(static_cast<double>(sum), uint64_t{srcWidth} * srcHeight);
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrSumu8, sumU8);
VSR_VECTOR(vsrSums16, sumS16);
VSR_VECTOR(vsrSumf32, sumF32);
VSR_VECTOR(vsrSumOfSquaresu8, sumOfSquaresU8);
VSR_VECTOR(vsrSumOfSquaress16, sumOfSquaresS16);
VSR_VECTOR(vsrCountNonZerou8, countNonZero);
VSR_VECTOR(vsrBitCountu8, bitCountU8);
VSR_VECTOR(vsrBitCountu32, bitCountU32);
VSR_VECTOR(vsrAverageu8, averageU8);
VSR_VECTOR(vsrAverages32, averageS32);

#endif
