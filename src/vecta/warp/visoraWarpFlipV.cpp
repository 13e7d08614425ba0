// Mirrored images, vector variants.
#include <cstring>
#include <utility>

#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpFlipV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// A vector of pixels of one element, and its pixels in reverse.
template <class D>
struct Single
{
    static constexpr size_t kChannels = 1;
    using T = hn::TFromD<D>;
    HWY_INLINE static Single load(const T* from) { return {hn::LoadU(D(), from)}; }
    HWY_INLINE void storeReversed(T* to) const { hn::StoreU(reversed(D(), pixels), D(), to); }
    hn::Vec<D> pixels;
};

// Three vectors, of pixels of three bytes.
template <class D>
struct Triple
{
    static constexpr size_t kChannels = 3;
    using T = uint8_t;
    HWY_INLINE static Triple load(const T* from)
    {
        Triple t;
        hn::LoadInterleaved3(D(), from, t.a, t.b, t.c);
        return t;
    }
    HWY_INLINE void storeReversed(T* to) const
    {
        hn::StoreInterleaved3(reversed(D(), a), reversed(D(), b), reversed(D(), c), D(), to);
    }
    hn::Vec<D> a, b, c;
};

// Two rows, or the two halves of one row: `low` from its first pixel on, `high` from behind its last one backwards.
template <class T>
struct Ends
{
    T* low;
    T* highEnd;
};

// Pixels done until less than `vectors` of them are left. Each step reads both ends before it writes either, so the
// destination may be the source.
template <class Pixels, class D, class T, size_t... i>
HWY_INLINE size_t exchangeVectors(D d, std::index_sequence<i...> /*steps*/, const Ends<const T>& src,
                                  const Ends<T>& dst, size_t done, size_t count)
{
    constexpr size_t vectors = sizeof...(i);
    const size_t lanes = hn::Lanes(d);
    const size_t elements = lanes * Pixels::kChannels;
    const size_t stop = done + (count - done) / (vectors * lanes) * (vectors * lanes);
    const T* low = src.low + done * Pixels::kChannels;
    const T* high = src.highEnd - (done + lanes) * Pixels::kChannels;
    T* toLow = dst.low + done * Pixels::kChannels;
    T* toHigh = dst.highEnd - (done + lanes) * Pixels::kChannels;
    for (; done != stop; done += vectors * lanes)
    {
        const Pixels lows[] = {Pixels::load(low + i * elements)...};
        const Pixels highs[] = {Pixels::load(high - i * elements)...};
        (highs[i].storeReversed(toLow + i * elements), ...);
        (lows[i].storeReversed(toHigh - i * elements), ...);
        low += vectors * elements;
        high -= vectors * elements;
        toLow += vectors * elements;
        toHigh -= vectors * elements;
    }
    return done;
}

// The first `count` pixels of one end become the last ones of the other in reverse, and the other way round.
template <template <class> class Pixels, class T>
HWY_INLINE void exchange(const Ends<const T>& src, const Ends<T>& dst, size_t count)
{
    const hn::ScalableTag<T> wide;
    const hn::CappedTag<T, 16 / sizeof(T)> narrow;
    constexpr size_t kChannels = Pixels<decltype(wide)>::kChannels;
    using Wide = Pixels<decltype(wide)>;
    // Short vectors leave more to gain from larger steps.
    constexpr size_t kVectors = HWY_ARCH_ARM && kChannels == 1 ? 4 : 2;
    size_t done = exchangeVectors<Wide>(wide, std::make_index_sequence<kVectors>(), src, dst, 0, count);
    done = exchangeVectors<Wide>(wide, std::index_sequence<0>(), src, dst, done, count);
    done = exchangeVectors<Pixels<decltype(narrow)>>(narrow, std::index_sequence<0>(), src, dst, done, count);
    // By bytes: the pixels of an interleaved image need not be aligned to their size.
    constexpr size_t kPixel = kChannels * sizeof(T);
    for (; done < count; ++done)
    {
        uint8_t kept[2][kPixel];
        std::memcpy(kept[0], src.low + done * kChannels, kPixel);
        std::memcpy(kept[1], src.highEnd - (done + 1) * kChannels, kPixel);
        std::memcpy(dst.low + done * kChannels, kept[1], kPixel);
        std::memcpy(dst.highEnd - (done + 1) * kChannels, kept[0], kPixel);
    }
}

template <template <class> class Pixels, class T>
HWY_INLINE void mirrorRow(const T* src, T* dst, size_t width)
{
    constexpr size_t kChannels = Pixels<hn::ScalableTag<T>>::kChannels;
    const size_t rowElements = width * kChannels;
    exchange<Pixels, T>({src, src + rowElements}, {dst, dst + rowElements}, width / 2);
    if (width % 2 != 0)
    {
        std::memmove(dst + width / 2 * kChannels, src + width / 2 * kChannels, kChannels * sizeof(T));
    }
}

HWY_INLINE void swapRows(uint8_t* a, uint8_t* b, size_t bytes)
{
    uint8_t kept[1024];
    for (size_t done = 0; done < bytes; done += sizeof(kept))
    {
        const size_t part = HWY_MIN(bytes - done, sizeof(kept));
        std::memcpy(kept, a + done, part);
        std::memcpy(a + done, b + done, part);
        std::memcpy(b + done, kept, part);
    }
}

template <template <class> class Pixels, class T>
HWY_INLINE void flipPixels(const uint8_t* src, size_t width, size_t height, size_t srcStride,
                           vsrFlipDirection direction, uint8_t* dst, size_t dstStride)
{
    const size_t rowElements = width * Pixels<hn::ScalableTag<T>>::kChannels;
    const auto from = [&](size_t y) { return reinterpret_cast<const T*>(src + y * srcStride); };
    const auto to = [&](size_t y) { return reinterpret_cast<T*>(dst + y * dstStride); };
    if (direction == VISORA_FLIP_HORIZONTAL)
    {
        for (size_t y = 0; y < height; ++y)
        {
            mirrorRow<Pixels, T>(from(y), to(y), width);
        }
        return;
    }
    for (size_t y = 0; y < height / 2; ++y)
    {
        const size_t opposite = height - 1 - y;
        exchange<Pixels, T>({from(y), from(opposite) + rowElements}, {to(y), to(opposite) + rowElements}, width);
    }
    if (height % 2 != 0)
    {
        mirrorRow<Pixels, T>(from(height / 2), to(height / 2), width);
    }
}

HWY_INLINE void flipRows(const uint8_t* src, size_t rowBytes, size_t height, size_t srcStride, uint8_t* dst,
                         size_t dstStride)
{
    for (size_t y = 0; src != dst && y < height; ++y)
    {
        std::memcpy(dst + (height - 1 - y) * dstStride, src + y * srcStride, rowBytes);
    }
    for (size_t y = 0; src == dst && y < height / 2; ++y)
    {
        swapRows(dst + y * dstStride, dst + (height - 1 - y) * dstStride, rowBytes);
    }
}

vsrStatus flip(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t channels,
               vsrFlipDirection direction, uint8_t* dst, uint32_t dstStride)
{
    if (direction == VISORA_FLIP_VERTICAL)
    {
        flipRows(src, size_t{srcWidth} * channels, srcHeight, srcStride, dst, dstStride);
        return VISORA_SUCCESS;
    }
    switch (channels)
    {
        case 1:
            flipPixels<Single, uint8_t>(src, srcWidth, srcHeight, srcStride, direction, dst, dstStride);
            break;
        case 2:
            flipPixels<Single, uint16_t>(src, srcWidth, srcHeight, srcStride, direction, dst, dstStride);
            break;
        case 3:
            flipPixels<Triple, uint8_t>(src, srcWidth, srcHeight, srcStride, direction, dst, dstStride);
            break;
        default:
            flipPixels<Single, uint32_t>(src, srcWidth, srcHeight, srcStride, direction, dst, dstStride);
            break;
    }
    return VISORA_SUCCESS;
}

vsrStatus flipWords(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                    vsrFlipDirection direction, uint16_t* dst, uint32_t dstStride)
{
    return flip(reinterpret_cast<const uint8_t*>(src), srcWidth, srcHeight, srcStride / 2 * 2, 2, direction,
                reinterpret_cast<uint8_t*>(dst), dstStride / 2 * 2);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFlipu8, flip);
VSR_VECTOR(vsrFlipu16, flipWords);

#endif
