// Conversions from one RGB format to another, vector variants.
#include <algorithm>
#include <type_traits>

#include "common/visoraColorConversions.h"
#include "visora/variants/color.h"

// With its byte permutations AVX-512 takes the fields of pixels apart in three steps.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorRgbV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColorStream-inl.h"
#include "vecta/color/visoraColorTriples-inl.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraVariant-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class Source, class Destination>
constexpr size_t kRepackBytes = HWY_MIN(Source::kMaxLoadBytes, Destination::kMaxVectorBytes);

template <class Source, class Destination, class D>
HWY_INLINE auto loadFor(D d, const uint8_t* src)
{
    return rearrangePixels<Source::kOrder, Destination::kOrder>(d, Source::load(d, src));
}

#if !HWY_ARCH_ARM

// Pixels of four bytes and of three: a shuffle within blocks of 128 bits, which hold four pixels, and another one of
// groups of four bytes, which brings blocks of 12 bytes together or apart.

template <bool kExchanges, class D>
HWY_INLINE hn::Vec<D> withoutAlpha(D d, const uint8_t* pixels)
{
    alignas(16) static constexpr uint8_t kSameOrder[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
    alignas(16) static constexpr uint8_t kExchanged[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12};
    return hn::TableLookupBytes(hn::LoadU(d, pixels), hn::LoadDup128(d, kExchanges ? kExchanged : kSameOrder));
}

#if HWY_TARGET <= HWY_AVX3
/** Four vectors of pixels of four bytes to three of three. */
template <bool kExchanges, bool kStreams>
HWY_INLINE void dropAlphaOfFour(const uint8_t* src, uint8_t* dst)
{
    const hn::FixedTag<uint8_t, 64> d;
    const auto take = [=](size_t i) HWY_ATTR { return withoutAlpha<kExchanges>(d, src + 64 * i).raw; };
    const auto put = [=](size_t i, __m512i v) HWY_ATTR
    { storeOrStream<kStreams>(hn::Vec<decltype(d)>{v}, d, dst + 64 * i); };
    const __m512i v0 = take(0), v1 = take(1), v2 = take(2), v3 = take(3);
    // Fours of bytes from 16 on are the second vector's; the last of each four is of no pixel.
    put(0,
        _mm512_permutex2var_epi32(v0, _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20), v1));
    put(1, _mm512_permutex2var_epi32(v1, _mm512_setr_epi32(5, 6, 8, 9, 10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25),
                                     v2));
    put(2, _mm512_permutex2var_epi32(
               v2, _mm512_setr_epi32(10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28, 29, 30), v3));
}
#endif

#if HWY_TARGET <= HWY_AVX3_DL
/** Where the bytes of a vector, the one with this number of the three of 64 pixels, come from. */
struct FieldPlaces
{
    constexpr FieldPlaces(bool exchanges, size_t number) : begin(number * 16)
    {
        for (size_t i = 0; i < 64; ++i)
        {
            // Eight bytes are of up to four pixels, whose words they share.
            const size_t first = (64 * number + i / 8 * 8) / 3;
            const size_t word = (64 * number + i) / 3 - first;
            const size_t channel = exchanges ? 2 - (64 * number + i) % 3 : (64 * number + i) % 3;
            words[i / 2] = static_cast<uint16_t>(std::min<size_t>(first + i / 2 % 4 - begin, 31));
            high[i] = static_cast<uint8_t>((16 * word + (channel == 0 ? 61 : channel == 1 ? 3 : 8)) % 64);
            low[i] = static_cast<uint8_t>((16 * word + (channel == 0 ? 2 : channel == 1 ? 9 : 13)) % 64);
            mask[i] = channel == 1 ? 0xFC : 0xF8;
        }
    }

    size_t begin;  // the first pixel that is loaded
    alignas(64) uint16_t words[32]{};
    // The bits of the field as the byte's high ones, and its own high ones as the low ones.
    alignas(64) uint8_t high[64]{}, low[64]{}, mask[64]{};
};

/** 64 pixels of RGB565 to three bytes each. */
template <bool kExchanges, bool kStreams>
HWY_INLINE void spreadFields(const uint8_t* src, uint8_t* dst)
{
    const hn::FixedTag<uint8_t, 64> d;
    static constexpr FieldPlaces kPlaces[] = {{kExchanges, 0}, {kExchanges, 1}, {kExchanges, 2}};
    for (size_t i = 0; i < 3; ++i)
    {
        const auto& places = kPlaces[i];
        const __m512i pixels =
            _mm512_permutexvar_epi16(_mm512_load_si512(places.words), _mm512_loadu_si512(src + 2 * places.begin));
        const __m512i high = _mm512_multishift_epi64_epi8(_mm512_load_si512(places.high), pixels);
        const __m512i low = _mm512_multishift_epi64_epi8(_mm512_load_si512(places.low), pixels);
        const __m512i bytes = _mm512_ternarylogic_epi64(_mm512_load_si512(places.mask), high, low, 0xCA);
        storeOrStream<kStreams>(hn::Vec<decltype(d)>{bytes}, d, dst + 64 * i);
    }
}

/** 64 pixels of three bytes to words of fields, the first byte or, exchanged, the last one at the lowest bits. */
template <bool kExchanges, bool kStreams>
HWY_INLINE void joinFields(const uint8_t* src, uint8_t* dst)
{
    struct Places
    {
        constexpr explicit Places(size_t begin)
        {
            for (size_t i = 0; i < 32; ++i)
            {
                outer[2 * i] = static_cast<uint8_t>(begin + 3 * i + (kExchanges ? 2 : 0));
                outer[2 * i + 1] = static_cast<uint8_t>(begin + 3 * i + (kExchanges ? 0 : 2));
                inner[2 * i] = inner[2 * i + 1] = static_cast<uint8_t>(begin + 3 * i + 1);
            }
        }
        alignas(64) uint8_t outer[64]{}, inner[64]{};
    };
    static constexpr Places kPlaces[] = {Places(0), Places(32)};
    const hn::FixedTag<uint8_t, 64> d;
    for (size_t i = 0; i < 2; ++i)
    {
        const __m512i first = _mm512_loadu_si512(src + 64 * i);
        const __m512i second = _mm512_loadu_si512(src + 64 * i + 64);
        const __m512i outer = _mm512_permutex2var_epi8(first, _mm512_load_si512(kPlaces[i].outer), second);
        const __m512i inner = _mm512_permutex2var_epi8(first, _mm512_load_si512(kPlaces[i].inner), second);
        const __m512i ends =
            _mm512_ternarylogic_epi64(_mm512_set1_epi16(0x001F), _mm512_srli_epi16(outer, 3), outer, 0xCA);
        const __m512i words =
            _mm512_ternarylogic_epi64(_mm512_set1_epi16(0x07E0), _mm512_slli_epi16(inner, 3), ends, 0xCA);
        storeOrStream<kStreams>(hn::Vec<decltype(d)>{words}, d, dst + 64 * i);
    }
}
#elif HWY_TARGET <= HWY_AVX3
/** 64 pixels of RGB565 to three bytes each. */
template <bool kExchanges, bool kStreams>
HWY_INLINE void spreadFields(const uint8_t* src, uint8_t* dst)
{
    const hn::FixedTag<uint8_t, 64> d;
    const hn::FixedTag<uint16_t, 32> u16;
    using V16 = hn::Vec<decltype(u16)>;
    alignas(16) static constexpr uint8_t kSameOrder[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
    alignas(16) static constexpr uint8_t kExchanged[16] = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12};
    const auto order = hn::LoadDup128(d, kExchanges ? kExchanged : kSameOrder);
    // Blocks of four pixels in 12 bytes: those at even places among all, and those at odd ones.
    const auto spread = [=](size_t half, __m512i& even, __m512i& odd) HWY_ATTR
    {
        const V16 words = hn::BitCast(u16, hn::LoadU(d, src + 64 * half));
        const auto masked = [=](V16 v, uint16_t mask) HWY_ATTR { return hn::And(v, hn::Set(u16, mask)); };
        const V16 red = hn::Or(masked(hn::ShiftLeft<3>(words), 0x00F8), masked(hn::ShiftRight<2>(words), 0x0007));
        const V16 green = hn::Or(masked(hn::ShiftLeft<5>(words), 0xFC00), masked(hn::ShiftRight<1>(words), 0x0300));
        const V16 blue = hn::Or(masked(hn::ShiftRight<8>(words), 0x00F8), hn::ShiftRight<13>(words));
        const V16 redGreen = hn::Or(red, green);
        even = hn::TableLookupBytes(hn::BitCast(d, hn::InterleaveLower(u16, redGreen, blue)), order).raw;
        odd = hn::TableLookupBytes(hn::BitCast(d, hn::InterleaveUpper(u16, redGreen, blue)), order).raw;
    };
    __m512i even0, odd0, even1, odd1;
    spread(0, even0, odd0);
    spread(1, even1, odd1);
    const auto put = [=](size_t i, __m512i v) HWY_ATTR
    { storeOrStream<kStreams>(hn::Vec<decltype(d)>{v}, d, dst + 64 * i); };
    // Fours of bytes from 16 on are those of odd blocks.
    put(0, _mm512_permutex2var_epi32(even0, _mm512_setr_epi32(0, 1, 2, 16, 17, 18, 4, 5, 6, 20, 21, 22, 8, 9, 10, 24),
                                     odd0));
    put(1, _mm512_mask_blend_epi32(
               0xFF00,
               _mm512_permutex2var_epi32(
                   even0, _mm512_setr_epi32(25, 26, 12, 13, 14, 28, 29, 30, 0, 0, 0, 0, 0, 0, 0, 0), odd0),
               _mm512_permutex2var_epi32(even1, _mm512_setr_epi32(0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 16, 17, 18, 4, 5),
                                         odd1)));
    put(2, _mm512_permutex2var_epi32(
               even1, _mm512_setr_epi32(6, 20, 21, 22, 8, 9, 10, 24, 25, 26, 12, 13, 14, 28, 29, 30), odd1));
}
#endif

/** Four bytes a pixel to three. Every store but for its last quarter stays: the next one begins there. So the row's
 * last pixels are left. @return how many pixels are done */
template <bool kExchanges, bool kStreams>
HWY_INLINE size_t dropAlpha(const uint8_t* src, size_t width, uint8_t* dst)
{
    const hn::CappedTag<uint8_t, 32> d;
    const size_t n = hn::Lanes(d);
    size_t x = 0;
#if HWY_TARGET <= HWY_AVX3
    for (; x + 64 <= width; x += 64)
    {
        dropAlphaOfFour<kExchanges, kStreams>(src + 4 * x, dst + 3 * x);
    }
#endif
    for (; 3 * x + n <= 3 * width && x + n / 4 <= width; x += n / 4)
    {
        auto pixels = withoutAlpha<kExchanges>(d, src + 4 * x);
        if constexpr (kBlocks<decltype(d)> == 2)
        {
            const hn::Repartition<int32_t, decltype(d)> s32;
            alignas(32) static constexpr int32_t kTogether[8] = {0, 1, 2, 4, 5, 6, 6, 6};
            pixels =
                hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(s32, pixels), hn::SetTableIndices(s32, kTogether)));
        }
        hn::StoreU(pixels, d, dst + 3 * x);
    }
    return x;
}

/** Three bytes a pixel to four. Every load but for its last quarter counts, so the row's last pixels are left. @return
 * how many pixels are done */
template <bool kExchanges, bool kStreams>
HWY_INLINE size_t addAlpha(const uint8_t* src, size_t width, uint8_t* dst)
{
    const hn::ScalableTag<uint8_t> d;
    const hn::Repartition<int32_t, decltype(d)> s32;
    alignas(16) static constexpr uint8_t kSameOrder[16] = {0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11};
    alignas(16) static constexpr uint8_t kExchanged[16] = {2, 1, 0, 0, 5, 4, 3, 3, 8, 7, 6, 6, 11, 10, 9, 9};
    alignas(64) static constexpr int32_t kApart[16] = {0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11};
    const auto order = hn::LoadDup128(d, kExchanges ? kExchanged : kSameOrder);
    const auto opaque = hn::BitCast(d, hn::Set(s32, static_cast<int32_t>(0xFF000000)));
    const size_t n = hn::Lanes(d);
    size_t x = 0;
    for (; 3 * x + n <= 3 * width; x += n / 4)
    {
        auto pixels = hn::LoadU(d, src + 3 * x);
        if constexpr (kBlocks < decltype(d) >> 1)
        {
            pixels = hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(s32, pixels), hn::SetTableIndices(s32, kApart)));
        }
        storeOrStream<kStreams>(hn::Or(hn::TableLookupBytes(pixels, order), opaque), d, dst + 4 * x);
    }
    return x;
}

#endif

/** A row; past the caches where kStreams, and `dst` is then aligned to a line. */
template <class Source, class Destination, bool kStreams = false>
HWY_INLINE bool repackRow(const uint8_t* src, size_t width, uint8_t* dst)
{
    return withFittingVector<uint8_t, kRepackBytes<Source, Destination>>(
        width,
        [=](auto d) HWY_ATTR
        {
            const size_t n = hn::Lanes(d);
            size_t begin = 0;
#if !HWY_ARCH_ARM
            if constexpr (Source::kBytes + Destination::kBytes == 7)
            {
                constexpr bool kExchanges =
                    std::is_same_v<Destination, BGR888> || std::is_same_v<Destination, BGRA8888>;
                const size_t done = Source::kBytes == 4 ? dropAlpha<kExchanges, kStreams>(src, width, dst)
                                                        : addAlpha<kExchanges, kStreams>(src, width, dst);
                begin = HWY_MIN(done, width - n);
            }
#if HWY_TARGET <= HWY_AVX3_DL
            if constexpr (std::is_same_v<Source, RGB888> &&
                          (std::is_same_v<Destination, RGB565> || std::is_same_v<Destination, BGR565>))
            {
                size_t done = 0;
                for (; done + 64 <= width; done += 64)
                {
                    joinFields<std::is_same_v<Destination, BGR565>, kStreams>(src + 3 * done, dst + 2 * done);
                }
                begin = HWY_MIN(done, width - n);
            }
#endif
#if HWY_TARGET <= HWY_AVX3
            if constexpr (Source::kBytes == 2 && Destination::kBytes == 3)
            {
                size_t done = 0;
                for (; done + 64 <= width; done += 64)
                {
                    spreadFields<std::is_same_v<Destination, BGR888>, kStreams>(src + 2 * done, dst + 3 * done);
                }
                begin = HWY_MIN(done, width - n);
            }
#endif
#endif
            const auto repackAt = [=](size_t x, auto isWhole) HWY_ATTR
            {
                Destination::template store<isWhole>(d, loadFor<Source, Destination>(d, src + x * Source::kBytes),
                                                     dst + Destination::place(x, n, width) * Destination::kBytes);
            };
            if constexpr (kStreams)
            {
                if (begin == 0)
                {
                    return coverFrom<true>(0, width, n, repackAt);
                }
            }
            coverRange(begin, width, n, [=](size_t x) HWY_ATTR { repackAt(x, std::false_type()); });
        });
}

template <class Source, class Destination, class Reference>
HWY_INLINE vsrStatus repack(Source, Destination, Reference reference, const uint8_t* src, uint32_t width,
                            uint32_t height, uint32_t srcStride, uint8_t* dst, uint32_t dstStride)
{
    // Rows that follow each other without a gap are one.
    const bool areOne = srcStride == size_t{width} * Source::kBytes && dstStride == size_t{width} * Destination::kBytes;
    const size_t columns = areOne ? size_t{width} * height : width;
    const size_t rows = areOne ? 1 : height;
    const bool streams = HWY_ARCH_X86 && reachesAligned<Destination::kBytes>(dst, dstStride, rows) &&
                         streamsColumns(columns, columns * rows * (Source::kBytes + Destination::kBytes));
    for (size_t y = 0; y < rows; ++y)
    {
        const uint8_t* from = src + y * srcStride;
        uint8_t* to = dst + y * dstStride;
        if constexpr (HWY_ARCH_X86)
        {
            if (streams)
            {
                constexpr size_t kLine = 64;
                const size_t begin = columnsToAligned<Destination::kBytes>(to, kLine);
                repackRow<Source, Destination>(from, kLine, to);
                repackRow<Source, Destination, true>(from + begin * Source::kBytes, columns - begin,
                                                     to + begin * Destination::kBytes);
                continue;
            }
        }
        if (!repackRow<Source, Destination>(from, columns, to))
        {
            return reference(src, width, height, srcStride, dst, dstStride);
        }
    }
    if (streams)
    {
        hwy::FlushStream();
    }
    return VISORA_SUCCESS;
}

// ---- Red and blue exchanged within a format, also in place ----

vsrStatus RGB565ToBGR565(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstStride)
{
    return mapPixels<2>(
        [](auto d, auto v) HWY_ATTR
        {
            const Unsigned16<decltype(d)> u16;
            const auto words = hn::BitCast(u16, v);
#if HWY_ARCH_ARM
            const uint16x8_t outer = vsriq_n_u16(vshlq_n_u16(words.raw, 11), words.raw, 11);
            return hn::BitCast(d, decltype(words)(vbslq_u16(vdupq_n_u16(0x07E0), words.raw, outer)));
#else
            const auto outer = hn::Or(hn::ShiftLeft<11>(words), hn::ShiftRight<11>(words));
            return hn::BitCast(d, hn::Or(outer, hn::And(words, hn::Set(u16, uint16_t{0x07E0}))));
#endif
        },
        src, width, height, srcStride, dst, dstStride);
}

bool RGB888ToBGR888(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride)
{
    const auto exchange = [](auto /*d*/, const auto& pixels) HWY_ATTR {
        return std::remove_cvref_t<decltype(pixels)>{pixels.b, pixels.g, pixels.r};
    };
    return convertTriples<true>(exchange, src, width, height, srcStride, dst, dstStride);
}

vsrStatus RGBA8888ToBGRA8888(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                             uint32_t dstStride)
{
    return mapPixels<4>(
        [](auto d, auto v) HWY_ATTR
        {
            alignas(16) static constexpr uint8_t kOrder[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
            return hn::TableLookupBytes(v, hn::LoadDup128(d, kOrder));
        },
        src, width, height, srcStride, dst, dstStride);
}

#define REPACK(source, destination)                                                     \
    VSR_VARIANT(vsrColor##source##To##destination##u8, repack, source(), destination(), \
                vsrColor##source##To##destination##u8C);
VSR_COLOR_REPACKS(REPACK)

bool RGB888ToRGB565Rotate180(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                             uint32_t dstStride)
{
    for (size_t y = 0; y < height; ++y)
    {
        if (!repackRow<RGB888, ReversedRGB565>(src + y * srcStride, width, dst + (height - 1 - y) * dstStride))
        {
            return false;
        }
    }
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrColorRGB565ToBGR565u8, RGB565ToBGR565);
VSR_VECTOR(vsrColorRGB888ToBGR888u8, RGB888ToBGR888);
VSR_VECTOR(vsrColorRGBA8888ToBGRA8888u8, RGBA8888ToBGRA8888);
VSR_VECTOR(vsrColorRGB888ToRGB565Rotate180u8, RGB888ToRGB565Rotate180);

void rgb565_to_rgb888V(const uint8_t* src, uint32_t length, uint8_t* dst)
{
    vsrColorRGB565ToRGB888u8V(src, length, 1, 0, dst, 0);
}

#endif
