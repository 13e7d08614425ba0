// Channels of interleaved and planar images, chroma planes, vector variants.
#include "cpu/color/visoraColorChannels.h"
#include "cpu/color/visoraColorKey.h"
#include "cpu/color/visoraColorLayouts.h"
#include "vecta/visoraExport.h"
#include "visora/variants/color.h"

// AVX-512 permutes the bytes of pixels.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorChannelV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorFormats-inl.h"
#include "vecta/color/visoraColorStream-inl.h"
#include "vecta/visoraDrivers-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Interleaving ----

/** Calls step(d, whether to write past the caches, rows at x ..., where their pixels go) along the rows of planes that
 * are combined. */
template <size_t kMaxVectorBytes, class Step, class... Sources>
HWY_INLINE bool combine(Step step, uint32_t width, uint32_t height, uint8_t* dst, uint32_t dstStride,
                        Sources... sources)
{
    constexpr size_t kChannels = sizeof...(Sources);
    // Rows that follow each other without a gap are one.
    const bool areOne = dstStride == kChannels * width && ((sources.stride == width) && ...);
    const size_t columns = areOne ? size_t{width} * height : width;
    const size_t rows = areOne ? 1 : height;
    return withFittingVector<uint8_t, kMaxVectorBytes>(
        columns,
        [=](auto d) HWY_ATTR
        {
            const auto combineAll = [=](auto streams) HWY_ATTR
            {
                constexpr bool kStreams = decltype(streams)::value;
                for (size_t y = 0; y < rows; ++y)
                {
                    uint8_t* const out = dst + y * dstStride;
                    const auto at = [=](size_t x, auto isWhole) HWY_ATTR
                    { step(d, isWhole, hn::LoadU(d, sources.row(y) + x)..., out + kChannels * x); };
                    coverFrom<kStreams>(kStreams ? columnsToAligned<kChannels>(out, hn::Lanes(d)) : 0, columns,
                                        hn::Lanes(d), at);
                }
            };
            if constexpr (HWY_ARCH_X86)
            {
                if (reachesAligned<kChannels>(dst, dstStride, rows) &&
                    streamsColumns(columns, 2 * kChannels * columns * rows))
                {
                    combineAll(std::true_type());
                    return hwy::FlushStream();
                }
            }
            combineAll(std::false_type());
        });
}

struct Source
{
    const uint8_t* first;
    size_t stride;

    const uint8_t* row(size_t y) const { return first + y * stride; }
};

bool combine2(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
              uint32_t src2Stride, uint8_t* dst, uint32_t dstStride)
{
    [[maybe_unused]] constexpr Order kOrder = Order::ForTwoWords;
    return combine<64>([](auto d, auto isWhole, auto a, auto b, uint8_t* out) HWY_ATTR
                       { storePairs<isWhole>(d, arrange<kOrder>(d, a), arrange<kOrder>(d, b), out); },
                       width, height, dst, dstStride, Source{src1, src1Stride}, Source{src2, src2Stride});
}

bool combine3(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
              uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride, uint8_t* dst, uint32_t dstStride)
{
    return combine<RGB888::kMaxVectorBytes>([](auto d, auto isWhole, auto a, auto b, auto c, uint8_t* out) HWY_ATTR
                                            { storeTriples<isWhole>(d, a, b, c, out); },
                                            width, height, dst, dstStride, Source{src1, src1Stride},
                                            Source{src2, src2Stride}, Source{src3, src3Stride});
}

bool combine4(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
              uint32_t src2Stride, const uint8_t* src3, uint32_t src3Stride, const uint8_t* src4, uint32_t src4Stride,
              uint8_t* dst, uint32_t dstStride)
{
    [[maybe_unused]] constexpr Order kOrder = Order::ForFourWords;
    return combine<64>(
        [](auto d, auto isWhole, auto a, auto b, auto c, auto e, uint8_t* out) HWY_ATTR
        {
            storeQuads<isWhole>(d, arrange<kOrder>(d, a), arrange<kOrder>(d, b), arrange<kOrder>(d, c),
                                arrange<kOrder>(d, e), out);
        },
        width, height, dst, dstStride, Source{src1, src1Stride}, Source{src2, src2Stride}, Source{src3, src3Stride},
        Source{src4, src4Stride});
}

// ---- One channel ----

// The first byte of every two, three or four, or a field of every word: vectors of samples in an order.
template <size_t step>
struct Pick;

template <>
struct Pick<2>
{
    static constexpr size_t kBytes = 2;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr Order kOrder = Order::ForTwoWords;
    template <class D>
    static HWY_INLINE hn::Vec<D> load(D d, const uint8_t* src)
    {
        hn::Vec<D> first, second;
        loadPairs(d, src, first, second);
        return first;
    }
};

template <>
struct Pick<3>
{
    static constexpr size_t kBytes = 3;
    static constexpr size_t kMaxVectorBytes = RGB888::kMaxVectorBytes;
    static constexpr Order kOrder = RGB888::kOrder;
    template <class D>
    static HWY_INLINE hn::Vec<D> load(D d, const uint8_t* src)
    {
        return RGB888::load(d, src).r;
    }
};

template <>
struct Pick<4>
{
    static constexpr size_t kBytes = 4;
    static constexpr size_t kMaxVectorBytes = RGBA8888::kMaxVectorBytes;
    static constexpr Order kOrder = RGBA8888::kOrder;
    template <class D>
    static HWY_INLINE hn::Vec<D> load(D d, const uint8_t* src)
    {
        return RGBA8888::load(d, src).r;
    }
};

template <size_t position>
struct Field
{
    static constexpr size_t kBytes = 2;
    static constexpr size_t kMaxVectorBytes = RGB565::kMaxVectorBytes;
    static constexpr Order kOrder = RGB565::kOrder;
    template <class D>
    static HWY_INLINE hn::Vec<D> load(D d, const uint8_t* src)
    {
        const auto pixels = RGB565::load(d, src);
        return position == 0 ? pixels.r : position == 1 ? pixels.g : pixels.b;
    }
};

/** All samples but the last of each row, which reads to the row's end at most wherever in its pixel the channel is. */
template <class Samples>
HWY_INLINE bool pickPlane(const SamplePlane& plane)
{
    return withFittingVector<uint8_t, Samples::kMaxVectorBytes>(
        plane.width - 1,
        [&](auto d) HWY_ATTR
        {
            for (size_t y = 0; y < plane.height; ++y)
            {
                const uint8_t* src = plane.src + y * plane.srcStride;
                uint8_t* dst = plane.dst + y * plane.dstStride;
                coverRange(0, plane.width - 1, hn::Lanes(d),
                           [=](size_t x) HWY_ATTR
                           {
                               const auto samples = Samples::load(d, src + x * Samples::kBytes);
                               hn::StoreU(rearrange<Samples::kOrder, Order::Natural>(d, samples), d, dst + x);
                           });
            }
        });
}

bool pick(const ChannelPlace& place, const SamplePlane& plane)
{
    if (place.isField)
    {
        return place.position == 0   ? pickPlane<Field<0>>(plane)
               : place.position == 1 ? pickPlane<Field<1>>(plane)
                                     : pickPlane<Field<2>>(plane);
    }
    SamplePlane shifted = plane;
    shifted.src += place.position;
    return place.step == 2   ? pickPlane<Pick<2>>(shifted)
           : place.step == 3 ? pickPlane<Pick<3>>(shifted)
                             : pickPlane<Pick<4>>(shifted);
}

// ---- Chroma planes ----

vsrStatus swapPairs(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    return mapPixels<2>(
        [](auto d, auto v) HWY_ATTR
        {
            alignas(16) static constexpr uint8_t kSwapped[16] = {1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14};
            return hn::TableLookupBytes(v, hn::LoadDup128(d, kSwapped));
        },
        src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// Squared distances of pairs of differences.
template <class D, class V>
HWY_INLINE auto squaredDistances(D d, V cb, V cr)
{
    const hn::Repartition<int32_t, D> s32;
    using V32 = hn::Vec<decltype(s32)>;
    const auto b = widen(d, cb), r = widen(d, cr);
#if HWY_ARCH_ARM
    const auto low = [](int16x8_t x, int16x8_t y) HWY_ATTR
    {
        const int16x4_t p = vget_low_s16(x), q = vget_low_s16(y);
        return V32(vmlal_s16(vmull_s16(p, p), q, q));
    };
    const auto high = [](int16x8_t x, int16x8_t y) HWY_ATTR { return V32(vmlal_high_s16(vmull_high_s16(x, x), y, y)); };
    return Quarters<V32>{low(b.lower.raw, r.lower.raw), high(b.lower.raw, r.lower.raw), low(b.upper.raw, r.upper.raw),
                         high(b.upper.raw, r.upper.raw)};
#else
    const Signed16<D> s16;
    const auto squares = [=](auto pairs) HWY_ATTR
    {
        V32 none = hn::Zero(s32);
        return hn::ReorderWidenMulAccumulate(s32, pairs, pairs, hn::Zero(s32), none);
    };
    return Quarters<V32>{
        squares(hn::InterleaveLower(s16, b.lower, r.lower)), squares(hn::InterleaveUpper(s16, b.lower, r.lower)),
        squares(hn::InterleaveLower(s16, b.upper, r.upper)), squares(hn::InterleaveUpper(s16, b.upper, r.upper))};
#endif
}

bool chromaKey(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t keyCb,
               uint8_t keyCr, uint32_t innerDistance, uint32_t outerDistance, uint8_t* dst, uint32_t dstStride)
{
    // No pair is farther from another than 361, whose square is below 2^31.
    const auto squareOf = [](uint32_t distance)
    { return static_cast<int32_t>(HWY_MIN(distance, 361u) * HWY_MIN(distance, 361u)); };
    const int32_t inner = squareOf(innerDistance), outer = squareOf(outerDistance);
    const float slope =
        innerDistance == outerDistance ? 0.0f : 255.0f / static_cast<float>(outerDistance - innerDistance);
    return withFittingVector<uint8_t>(
        srcWidth,
        [=](auto d) HWY_ATTR
        {
            using V = hn::Vec<decltype(d)>;
            const hn::Repartition<int32_t, decltype(d)> s32;
            const hn::Repartition<float, decltype(d)> f32;
            const auto maskOf = [=](auto squared) HWY_ATTR
            {
                const auto isOutside = hn::Gt(squared, hn::Set(s32, inner));
                const auto isNear = hn::Lt(squared, hn::Set(s32, outer));
                auto mask = hn::Zero(s32);
                if (!hn::AllFalse(s32, isNear))
                {
                    const auto left =
                        hn::Sub(hn::Set(f32, static_cast<float>(outerDistance)), hn::Sqrt(hn::ConvertTo(f32, squared)));
                    const auto ramp = hn::Add(hn::Mul(left, hn::Set(f32, slope)), hn::Set(f32, 0.5f));
                    mask = hn::IfThenElseZero(isNear, hn::ConvertTo(s32, ramp));
                }
                return hn::IfThenElse(isOutside, mask, hn::Set(s32, 255));
            };
            const V keyB = hn::Set(d, keyCb), keyR = hn::Set(d, keyCr);
            const auto distance = [](V a, V b) HWY_ATTR { return hn::Sub(hn::Max(a, b), hn::Min(a, b)); };
            for (size_t y = 0; y < srcHeight; ++y)
            {
                const uint8_t* from = src + y * srcStride;
                uint8_t* to = dst + y * dstStride;
                coverRange(0, srcWidth, hn::Lanes(d),
                           [=](size_t x) HWY_ATTR
                           {
                               V cb, cr;
                               loadPairs(d, from + 2 * x, cb, cr);
                               const auto squared = squaredDistances(d, distance(cb, keyB), distance(cr, keyR));
                               const V mask =
                                   narrowQuarters(d, decltype(squared){maskOf(squared.v0), maskOf(squared.v1),
                                                                       maskOf(squared.v2), maskOf(squared.v3)});
                               hn::StoreU(rearrange<Order::ForTwoWords, Order::Natural>(d, mask), d, to + x);
                           });
            }
        });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrChannelCombine2u8, combine2);
VSR_VECTOR(vsrChannelCombine3u8, combine3);
VSR_VECTOR(vsrChannelCombine4u8, combine4);
VSR_VECTOR(vsrChromaSwapu8, swapPairs);
VSR_VECTOR(vsrChromaKeyu8, chromaKey);

namespace visora
{
HWY_EXPORT(pick);
}  // namespace visora

vsrStatus vsrChannelExtractu8V(const uint8_t* src1, const uint8_t* src2, const uint8_t* src3, uint32_t srcWidth,
                               uint32_t srcHeight, uint32_t src1Stride, uint32_t src2Stride, uint32_t src3Stride,
                               vsrPixelFormat format, vsrChannelType channel, uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    ChannelPlace place;
    if (!findChannel(format, channel, place))
    {
        return VISORA_EBADPARAM;
    }
    const uint8_t* src = place.plane == 0 ? src1 : place.plane == 1 ? src2 : src3;
    const uint32_t srcStride = place.plane == 0 ? src1Stride : place.plane == 1 ? src2Stride : src3Stride;
    const size_t columns = place.columns(srcWidth), rows = place.rows(srcHeight);
    if (place.step == 1)
    {
        copyPlane(src, srcStride, columns, rows, dst, dstStride);
        return VISORA_SUCCESS;
    }
    if (!HWY_DYNAMIC_DISPATCH(pick)(place, {src, srcStride, columns, rows, dst, dstStride}))
    {
        return vsrChannelExtractu8C(src1, src2, src3, srcWidth, srcHeight, src1Stride, src2Stride, src3Stride, format,
                                    channel, dst, dstStride);
    }
    for (size_t y = 0; y < rows; ++y)
    {
        const size_t last = columns - 1;
        dst[y * dstStride + last] = sampleAt(place, src + y * srcStride + last * place.step);
    }
    return VISORA_SUCCESS;
}

#endif
