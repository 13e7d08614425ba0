// Fills, masked copies and bit masks, vector variants.
#include <array>
#include <bit>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementFillV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using D8 = hn::ScalableTag<uint8_t>;
using Once = std::index_sequence<0>;

// ---- Fills ----

// Writes a pattern of three vectors, which hold whole pixels of 1, 2, 3 and 4 channels.
template <class T>
struct PatternStep
{
    using D = hn::ScalableTag<T>;
    static constexpr size_t kVector = hn::MaxLanes(D());
    static constexpr size_t kLanes = 3 * kVector;
    static constexpr size_t kUnroll = 2;

    const T* pattern;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, T* dst) const
    {
        const D d;
        const auto first = hn::Load(d, pattern);
        const auto second = hn::Load(d, pattern + kVector);
        const auto third = hn::Load(d, pattern + 2 * kVector);
        ((hn::StoreU(first, d, dst + i * kLanes), hn::StoreU(second, d, dst + i * kLanes + kVector),
          hn::StoreU(third, d, dst + i * kLanes + 2 * kVector)),
         ...);
    }
};

template <class T>
HWY_INLINE vsrStatus fill(size_t channels, T* dst, size_t width, size_t height, uint32_t stride, const T* values)
{
    using Step = PatternStep<T>;
    alignas(64) T pattern[Step::kLanes];
    for (size_t i = 0; i < Step::kLanes; ++i)
    {
        pattern[i] = values[i % channels];
    }
    return mapPlanes(width * channels, height, Step{pattern}, destination(dst, stride));
}

// ---- Where a mask is not 0 ----

template <class T>
struct MaskedFillStep
{
    using D = hn::ScalableTag<T>;
    static constexpr size_t kLanes = hn::MaxLanes(D());
    static constexpr size_t kUnroll = 2;

    T value;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, T* dst, const uint8_t* mask) const
    {
        const D d;
        const hn::Vec<D> results[] = {blended(dst + i * kLanes, mask + i * kLanes)...};
        (hn::StoreU(results[i], d, dst + i * kLanes), ...);
    }

  private:
    HWY_INLINE hn::Vec<D> blended(const T* old, const uint8_t* mask) const
    {
        const D d;
        const auto bytes = hn::LoadU(hn::Rebind<uint8_t, D>(), mask);
        if constexpr (sizeof(T) == 1)
        {
            return hn::IfThenElse(hn::Eq(bytes, hn::Zero(d)), hn::LoadU(d, old), hn::Set(d, value));
        }
        else
        {
            return hn::IfThenElse(hn::Eq(hn::PromoteTo(d, bytes), hn::Zero(d)), hn::LoadU(d, old), hn::Set(d, value));
        }
    }
};

// Blocks of 16 pixels of several channels: each byte of the mask is spread to the channels of its pixel.
template <size_t kChannels>
struct SpreadMask
{
    using D = hn::FixedTag<uint8_t, 16>;
    static constexpr size_t kLanes = 16;
    static constexpr size_t kUnroll = 1;

    static HWY_INLINE hn::Vec<D> blended(const uint8_t* old, const uint8_t* src, const uint8_t* mask, size_t k)
    {
        alignas(16) static constexpr auto kPixels = []
        {
            std::array<uint8_t, 16 * kChannels> pixels{};
            for (size_t i = 0; i < pixels.size(); ++i)
            {
                pixels[i] = static_cast<uint8_t>(i / kChannels);
            }
            return pixels;
        }();
        const D d;
        const auto spread = hn::TableLookupBytes(hn::LoadU(d, mask), hn::Load(d, kPixels.data() + 16 * k));
        return hn::IfThenElse(hn::Eq(spread, hn::Zero(d)), hn::LoadU(d, old + 16 * k), hn::LoadU(d, src + 16 * k));
    }

    static HWY_INLINE void run(uint8_t* dst, const uint8_t* src, const uint8_t* mask)
    {
        [&]<size_t... k>(std::index_sequence<k...>) HWY_ATTR
        {
            const hn::Vec<D> results[] = {blended(dst, src, mask, k)...};
            (hn::StoreU(results[k], D(), dst + 16 * k), ...);
        }
        (std::make_index_sequence<kChannels>());
    }
};

template <size_t kChannels>
struct MaskedCopyStep : SpreadMask<kChannels>
{
    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const uint8_t* src, const uint8_t* mask) const
    {
        this->run(dst, src, mask);
    }
};

template <>
struct MaskedCopyStep<1>
{
    static constexpr size_t kLanes = hn::MaxLanes(D8());
    static constexpr size_t kUnroll = 2;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, uint8_t* dst, const uint8_t* src,
                               const uint8_t* mask) const
    {
        const D8 d;
        const hn::Vec<D8> results[] = {hn::IfThenElse(hn::Eq(hn::LoadU(d, mask + i * kLanes), hn::Zero(d)),
                                                      hn::LoadU(d, dst + i * kLanes),
                                                      hn::LoadU(d, src + i * kLanes))...};
        (hn::StoreU(results[i], d, dst + i * kLanes), ...);
    }
};

template <size_t kChannels>
struct MaskedPixelsStep : SpreadMask<kChannels>
{
    uint8_t pattern[16 * kChannels];

    explicit MaskedPixelsStep(const uint8_t* values)
    {
        for (size_t i = 0; i < 16 * kChannels; ++i)
        {
            pattern[i] = values[i % kChannels];
        }
    }

    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const uint8_t* mask) const
    {
        this->run(dst, pattern, mask);
    }
};

template <size_t kChannels>
HWY_INLINE vsrStatus maskedCopy(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint8_t* mask, uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, MaskedCopyStep<kChannels>(), updated<kChannels>(dst, dstStride),
                     source<kChannels>(src, srcStride), source(mask, maskStride));
}

// ---- Shapes of operations ----

template <class T>
HWY_INLINE vsrStatus setElements(T* dst, uint32_t width, uint32_t height, uint32_t stride, T value, const uint8_t* mask,
                                 uint32_t maskStride)
{
    return mask == nullptr
               ? fill(1, dst, width, height, stride, &value)
               : mapPlanes(width, height, MaskedFillStep<T>{value}, updated(dst, stride), source(mask, maskStride));
}

template <size_t kChannels>
HWY_INLINE vsrStatus setPixels(uint8_t* dst, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* values,
                               const uint8_t* mask, uint32_t maskStride)
{
    return mask == nullptr ? fill(kChannels, dst, width, height, stride, values)
                           : mapPlanes(width, height, MaskedPixelsStep<kChannels>(values),
                                       updated<kChannels>(dst, stride), source(mask, maskStride));
}

}  // namespace

VSR_KERNEL(vsrSetElementsu8, setU8, setElements);
VSR_KERNEL(vsrSetElementsu16, setU16, setElements);
VSR_KERNEL(vsrSetElementss16, setS16, setElements);
VSR_KERNEL(vsrSetElementss32, setS32, setElements);
VSR_KERNEL(vsrSetElementsc2u8, setC2, setPixels<2>);
VSR_KERNEL(vsrSetElementsc3u8, setC3, setPixels<3>);
VSR_KERNEL(vsrSetElementsc4u8, setC4, setPixels<4>);

// The bits of a float stay as they are.
vsrStatus setF32(float* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, float value,
                 const uint8_t* mask, uint32_t maskStride)
{
    return setElements(reinterpret_cast<int32_t*>(dst), dstWidth, dstHeight, dstStride, std::bit_cast<int32_t>(value),
                       mask, maskStride);
}

vsrStatus copyMasked(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t channels,
                     const uint8_t* mask, uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    const auto copy = channels == 1   ? &maskedCopy<1>
                      : channels == 2 ? &maskedCopy<2>
                      : channels == 3 ? &maskedCopy<3>
                                      : &maskedCopy<4>;
    return copy(src, srcWidth, srcHeight, srcStride, mask, maskStride, dst, dstStride);
}

// ---- Bit masks ----

// The bits of the bytes from `src` on, first byte first: 1 where a byte is not 0.
template <class D>
HWY_INLINE void packBits(D d, const uint8_t* src, uint8_t* dst)
{
#if HWY_ARCH_ARM_A64
    // Each byte keeps its own bit; three times the sum of neighbours gathers eight of them.
    static constexpr uint8_t kBits[16] = {128, 64, 32, 16, 8, 4, 2, 1, 128, 64, 32, 16, 8, 4, 2, 1};
    const uint8x16_t v = vld1q_u8(src);
    uint8x16_t bits = vandq_u8(vtstq_u8(v, v), vld1q_u8(kBits));
    bits = vpaddq_u8(bits, bits);
    bits = vpaddq_u8(bits, bits);
    bits = vpaddq_u8(bits, bits);
    (void)d;
    std::memcpy(dst, &bits, 2);
#else
    alignas(16) static constexpr uint8_t kReversed[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
    const auto reversed = hn::TableLookupBytes(hn::LoadU(d, src), hn::LoadDup128(d, kReversed));
    hn::StoreMaskBits(d, hn::Ne(reversed, hn::Zero(d)), dst);
#endif
}

vsrStatus packMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                   uint32_t dstStride)
{
    const D8 d;
    constexpr size_t lanes = hn::MaxLanes(D8());
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* const from = imageRow(src, srcStride, y);
        uint8_t* const to = imageRow(dst, dstStride, y);
        size_t x = 0;
        for (; x + lanes <= srcWidth; x += lanes)
        {
            packBits(d, from + x, to + x / 8);
        }
        if (x < srcWidth)
        {
            uint8_t rest[lanes] = {};
            uint8_t bits[lanes / 8];
            std::memcpy(rest, from + x, srcWidth - x);
            packBits(d, rest, bits);
            std::memcpy(to + x / 8, bits, (srcWidth - x + 7) / 8);
        }
    }
    return VISORA_SUCCESS;
}

// 16 pixels from two bytes of bits.
HWY_INLINE void unpackBits(const uint8_t* src, uint8_t* dst)
{
    alignas(16) static constexpr uint8_t kBytes[16] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1};
    alignas(16) static constexpr uint8_t kBits[16] = {128, 64, 32, 16, 8, 4, 2, 1, 128, 64, 32, 16, 8, 4, 2, 1};
    const hn::FixedTag<uint8_t, 16> d;
    const hn::FixedTag<uint16_t, 8> d16;
    uint16_t both;
    std::memcpy(&both, src, 2);
    const auto spread = hn::TableLookupBytes(hn::BitCast(d, hn::Set(d16, both)), hn::Load(d, kBytes));
    hn::StoreU(hn::VecFromMask(d, hn::TestBit(spread, hn::Load(d, kBits))), d, dst);
}

vsrStatus unpackMask(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* const from = imageRow(src, srcStride, y);
        uint8_t* const to = imageRow(dst, dstStride, y);
        size_t x = 0;
        for (; x + 16 <= srcWidth; x += 16)
        {
            unpackBits(from + x / 8, to + x);
        }
        if (x < srcWidth)
        {
            uint8_t bits[2] = {};
            uint8_t rest[16];
            std::memcpy(bits, from + x / 8, (srcWidth - x + 7) / 8);
            unpackBits(bits, rest);
            std::memcpy(to + x, rest, srcWidth - x);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrSetElementsu8, setU8);
VSR_VECTOR(vsrSetElementsu16, setU16);
VSR_VECTOR(vsrSetElementss16, setS16);
VSR_VECTOR(vsrSetElementss32, setS32);
VSR_VECTOR(vsrSetElementsf32, setF32);
VSR_VECTOR(vsrSetElementsc2u8, setC2);
VSR_VECTOR(vsrSetElementsc3u8, setC3);
VSR_VECTOR(vsrSetElementsc4u8, setC4);
VSR_VECTOR(vsrCopyMaskedu8, copyMasked);
VSR_VECTOR(vsrBitMaskPacku8, packMask);
VSR_VECTOR(vsrBitMaskUnpacku8, unpackMask);

#endif
