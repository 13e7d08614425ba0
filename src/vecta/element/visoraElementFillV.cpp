// Fills, masked copies and bit masks, vector variants.
#include <array>
#include <bit>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementFillV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/element/visoraElement-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using D8 = hn::ScalableTag<uint8_t>;
constexpr size_t kBytes = hn::MaxLanes(D8());

// ---- Fills ----

template <class T>
HWY_INLINE vsrStatus fill(size_t channels, T* dst, size_t width, size_t height, uint32_t stride, const T* values)
{
    return mapChannels([](auto /*d*/, auto v) HWY_ATTR { return v; }, width, height, channels, values, dst, stride);
}

// As integers: the bits of a float stay as they are.
template <class T>
HWY_INLINE vsrStatus setElements(T* dst, uint32_t width, uint32_t height, uint32_t stride, T value, const uint8_t* mask,
                                 uint32_t maskStride)
{
    using Bits = hwy::UnsignedFromSize<sizeof(T)>;
    auto* const out = reinterpret_cast<Bits*>(dst);
    const auto bits = std::bit_cast<Bits>(value);
    return mask == nullptr ? fill(1, out, width, height, stride, &bits)
                           : mapMasked([=](auto d) HWY_ATTR { return hn::Set(d, bits); }, width, height, out, stride,
                                       mask, maskStride);
}

// ---- Pixels of several channels where a mask is not 0 ----

// Blocks of 16 pixels: each byte of the mask is spread to the channels of its pixel. Without an image the pattern, a
// block of pixels, is the source.
template <size_t kChannels>
struct PixelStep
{
    using D = hn::FixedTag<uint8_t, 16>;
    static constexpr size_t kLanes = 16;
    static constexpr size_t kUnroll = 1;
    using Once = std::index_sequence<0>;

    uint8_t pattern[16 * kChannels];

    HWY_INLINE void operator()(Once once, uint8_t* dst, const uint8_t* mask) const
    {
        (*this)(once, dst, mask, pattern);
    }

    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const uint8_t* mask, const uint8_t* src) const
    {
        [&]<size_t... k>(std::index_sequence<k...>) HWY_ATTR
        {
            const hn::Vec<D> results[] = {blended(dst, src, mask, k)...};
            (hn::StoreU(results[k], D(), dst + 16 * k), ...);
        }
        (std::make_index_sequence<kChannels>());
    }

  private:
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
};

template <size_t kChannels>
constexpr auto setPixels = [](uint8_t* dst, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* values,
                              const uint8_t* mask, uint32_t maskStride) HWY_ATTR -> vsrStatus {
    if (mask == nullptr)
    {
        return fill(kChannels, dst, width, height, stride, values);
    }
    PixelStep<kChannels> step;
    for (size_t i = 0; i < 16 * kChannels; ++i)
    {
        step.pattern[i] = values[i % kChannels];
    }
    return mapPlanes(width, height, step, updated<kChannels>(dst, stride), source(mask, maskStride));
};

template <size_t kChannels>
HWY_INLINE vsrStatus copyPixels(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint8_t* mask, uint32_t maskStride, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, PixelStep<kChannels>(), updated<kChannels>(dst, dstStride),
                     source(mask, maskStride), source<kChannels>(src, srcStride));
}

HWY_INLINE vsrStatus copyMasked(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint8_t* dst,
                                uint32_t dstStride)
{
    if (channels == 1)
    {
        return mapMasked([](auto /*d*/, auto v) HWY_ATTR { return v; }, width, height, dst, dstStride, mask, maskStride,
                         source(src, srcStride));
    }
    const auto copy = channels == 2 ? &copyPixels<2> : channels == 3 ? &copyPixels<3> : &copyPixels<4>;
    return copy(src, width, height, srcStride, mask, maskStride, dst, dstStride);
}

// ---- Bit masks: a column is a byte of eight bits; what is left of a row is the reference's ----

// The bits of bytes, first byte first: 1 where a byte is not 0.
struct PackStep
{
    static constexpr size_t kRead = 8;
    static constexpr size_t kWritten = 1;
    static constexpr size_t kLanes = kBytes / 8;
    static constexpr size_t kUnroll = 1;

    HWY_INLINE void operator()(std::index_sequence<0> /*step*/, uint8_t* dst, const uint8_t* src) const
    {
        const D8 d;
#if HWY_ARCH_ARM_A64
        // Each byte keeps its own bit; three times the sum of neighbours gathers eight of them.
        static constexpr uint8_t kBits[16] = {128, 64, 32, 16, 8, 4, 2, 1, 128, 64, 32, 16, 8, 4, 2, 1};
        const auto v = hn::LoadU(d, src);
        uint8x16_t bits = vandq_u8(vtstq_u8(v.raw, v.raw), vld1q_u8(kBits));
        bits = vpaddq_u8(bits, bits);
        bits = vpaddq_u8(bits, bits);
        bits = vpaddq_u8(bits, bits);
        std::memcpy(dst, &bits, 2);
#else
        alignas(16) static constexpr uint8_t kReversed[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
        const auto reversed = hn::TableLookupBytes(hn::LoadU(d, src), hn::LoadDup128(d, kReversed));
        hn::StoreMaskBits(d, hn::Ne(reversed, hn::Zero(d)), dst);
#endif
    }
};

struct UnpackStep
{
    static constexpr size_t kRead = 1;
    static constexpr size_t kWritten = 8;
    static constexpr size_t kLanes = kBytes / 8;
    static constexpr size_t kUnroll = 4;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, uint8_t* dst, const uint8_t* src) const
    {
        const hn::Vec<D8> results[] = {bytesOf(src + i * kLanes)...};
        (hn::StoreU(results[i], D8(), dst + i * kBytes), ...);
    }

  private:
    static HWY_INLINE hn::Vec<D8> bytesOf(const uint8_t* bits)
    {
        alignas(64) static constexpr auto kPlaces = []
        {
            std::array<uint8_t, 64> places{};
            for (size_t i = 0; i < places.size(); ++i)
            {
                places[i] = static_cast<uint8_t>(i / 8);
            }
            return places;
        }();
        const D8 d;
        uint64_t all = 0;
        std::memcpy(&all, bits, kLanes);
        const auto spread = hn::TableLookupBytes(hn::BitCast(d, hn::Set(hn::ScalableTag<uint64_t>(), all)),
                                                 hn::Load(d, kPlaces.data()));
        const auto bit = hn::BitCast(d, hn::Set(hn::ScalableTag<uint64_t>(), 0x0102040810204080U));
        return hn::VecFromMask(d, hn::TestBit(spread, bit));
    }
};

template <class Step, class Reference>
HWY_INLINE vsrStatus byEights(Step step, Reference rest, const uint8_t* src, uint32_t width, uint32_t height,
                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    const uint32_t columns = width / 8;
    mapPlanes(columns, height, step, destination<Step::kWritten>(dst, dstStride), source<Step::kRead>(src, srcStride));
    return width % 8 == 0 ? vsrStatus{VISORA_SUCCESS}
                          : rest(src + Step::kRead * columns, width % 8, height, srcStride,
                                 dst + Step::kWritten * columns, dstStride);
}

}  // namespace

VSR_VARIANT(vsrSetElementsu8, setElements);
VSR_VARIANT(vsrSetElementsu16, setElements);
VSR_VARIANT(vsrSetElementss16, setElements);
VSR_VARIANT(vsrSetElementss32, setElements);
VSR_VARIANT(vsrSetElementsf32, setElements);
VSR_VARIANT(vsrSetElementsc2u8, setPixels<2>);
VSR_VARIANT(vsrSetElementsc3u8, setPixels<3>);
VSR_VARIANT(vsrSetElementsc4u8, setPixels<4>);
VSR_VARIANT(vsrCopyMaskedu8, copyMasked);
VSR_VARIANT(vsrBitMaskPacku8, byEights, PackStep(), vsrBitMaskPacku8C);
VSR_VARIANT(vsrBitMaskUnpacku8, byEights, UnpackStep(), vsrBitMaskUnpacku8C);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
