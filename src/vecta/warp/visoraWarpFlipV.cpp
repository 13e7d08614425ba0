// Mirrored images, vector variants.
#include <cstring>
#include <utility>

#include "cpu/visoraScratch.h"
#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpFlipV.cpp"
#include "hwy/cache_control.h"
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

#if HWY_TARGET <= HWY_AVX3
// 64 of these pixels as they are, in groups of four pixels or three times four bytes: the groups go by permutations,
// and within them shuffles reverse. Taking the channels apart would cost more.
template <>
struct Triple<hn::FixedTag<uint8_t, 64>>
{
    using D = hn::FixedTag<uint8_t, 64>;
    static constexpr size_t kChannels = 3;
    using T = uint8_t;
    HWY_INLINE static Triple load(const T* from)
    {
        return {_mm512_loadu_si512(from), _mm512_loadu_si512(from + 64), _mm512_loadu_si512(from + 128)};
    }
    HWY_INLINE void storeReversed(T* to) const
    {
        // Four groups each, the last ones first. Fours of bytes from 16 on are the second vector's.
        const __m512i v0 = inGroups(
            _mm512_permutexvar_epi32(_mm512_setr_epi32(13, 14, 15, 0, 10, 11, 12, 0, 7, 8, 9, 0, 4, 5, 6, 0), c));
        const __m512i v1 = inGroups(_mm512_permutex2var_epi32(
            b, _mm512_setr_epi32(17, 18, 19, 0, 14, 15, 16, 0, 11, 12, 13, 0, 8, 9, 10, 0), c));
        const __m512i v2 = inGroups(_mm512_permutex2var_epi32(
            a, _mm512_setr_epi32(21, 22, 23, 0, 18, 19, 20, 0, 15, 16, 17, 0, 12, 13, 14, 0), b));
        const __m512i v3 =
            inGroups(_mm512_permutexvar_epi32(_mm512_setr_epi32(9, 10, 11, 0, 6, 7, 8, 0, 3, 4, 5, 0, 0, 1, 2, 0), a));
        _mm512_storeu_si512(to, _mm512_permutex2var_epi32(
                                    v0, _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20), v1));
        _mm512_storeu_si512(to + 64,
                            _mm512_permutex2var_epi32(
                                v1, _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25), v2));
        _mm512_storeu_si512(
            to + 128, _mm512_permutex2var_epi32(
                          v2, _mm512_setr_epi32(10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30), v3));
    }
    static HWY_INLINE __m512i inGroups(__m512i groups)
    {
        alignas(16) static constexpr uint8_t kBackwards[16] = {9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2};
        return _mm512_shuffle_epi8(groups, hn::LoadDup128(D(), kBackwards).raw);
    }
    __m512i a, b, c;
};
#endif

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
    constexpr size_t kChannels = Pixels<hn::ScalableTag<T>>::kChannels;
    using Wide = Pixels<hn::ScalableTag<T>>;
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
        // Both ends of rows are more places than the processor foresees: large images have their rows mirrored where
        // they are near, and the next ones fetched meanwhile. Rows of opposite ends of the image are followed well.
        const size_t rowBytes = rowElements * sizeof(T);
        if (src != dst && isStreamed(rowBytes * height, kStreamedWhole))
        {
            const Scratch mirrored(rowBytes);
            if (mirrored.data() != nullptr)
            {
                for (size_t y = 0; y < height; ++y)
                {
                    mirrorRow<Pixels, T>(from(y), mirrored.as<T>(), width);
                    streamBytes(dst + y * dstStride, mirrored.data(), rowBytes,
                                src + HWY_MIN(y + 1, height - 1) * srcStride);
                }
                return hwy::FlushStream();
            }
        }
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
