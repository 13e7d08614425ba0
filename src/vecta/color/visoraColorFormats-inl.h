// Pixel formats: vectors of pixels from memory to channels and back. Included once per instruction set.
#if defined(VISORA_VECTA_COLOR_FORMATS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_FORMATS_INL_H
#undef VISORA_VECTA_COLOR_FORMATS_INL_H
#else
#define VISORA_VECTA_COLOR_FORMATS_INL_H
#endif

#include "vecta/color/visoraColorLanes-inl.h"
#include "vecta/visoraStream-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// A format loads and stores vectors of channels in the same order, kOrder: the one that interleaving within blocks
// turns into the order of memory.

// ---- Interleaved bytes, two, three and four ----

/** Two vectors byte by byte, from Order::ForTwoWords; past the caches where kStreams, to aligned places. */
template <bool kStreams = false, class D, class V>
HWY_INLINE void storePairs(D d, V first, V second, uint8_t* dst)
{
#if HWY_ARCH_ARM
    static_assert(!kStreams);
    vst2q_u8(dst, (uint8x16x2_t{{first.raw, second.raw}}));
    (void)d;
#else
    storeOrStream<kStreams>(hn::InterleaveLower(d, first, second), d, dst);
    storeOrStream<kStreams>(hn::InterleaveUpper(d, first, second), d, dst + hn::Lanes(d));
#endif
}

/** The reverse. */
template <class D>
HWY_INLINE void loadPairs(D d, const uint8_t* src, hn::Vec<D>& first, hn::Vec<D>& second)
{
#if HWY_ARCH_ARM
    const uint8x16x2_t both = vld2q_u8(src);
    first = hn::Vec<D>(both.val[0]);
    second = hn::Vec<D>(both.val[1]);
    (void)d;
#else
    const Signed16<D> s16;
    const auto low = hn::BitCast(s16, hn::LoadU(d, src));
    const auto high = hn::BitCast(s16, hn::LoadU(d, src + hn::Lanes(d)));
    const auto byte = hn::Set(s16, int16_t{255});
    const Unsigned16<D> u16;
    const auto shifted = [&](auto v) HWY_ATTR { return hn::BitCast(s16, hn::ShiftRight<8>(hn::BitCast(u16, v))); };
    first = narrow(d, hn::And(low, byte), hn::And(high, byte));
    second = narrow(d, shifted(low), shifted(high));
#endif
}

#if !HWY_ARCH_ARM

// Three channels: byte p of vector i of a block's 48 holds channel (16 i + p) % 3. Channel c of pixel k is byte 3 k +
// c, which modulo 16 is another one for each k. So all of a channel's bytes have places of their own, those of the
// three vectors can be laid over each other, and one shuffle sorts them. 11 is the inverse of 3 modulo 16.
template <class V>
struct Thirds
{
    V first, second, third;
};

/** Chooses by the place modulo 3. */
template <class D, class V>
class ByThirds
{
  public:
    explicit HWY_INLINE ByThirds(D d)
    {
        alignas(16) static constexpr uint8_t kThirds[16] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0};
        const V thirds = hn::LoadDup128(d, kThirds);
        first_ = hn::Eq(thirds, hn::Zero(d));
        second_ = hn::Eq(thirds, hn::Set(d, uint8_t{1}));
    }

    HWY_INLINE V choose(V first, V second, V third) const
    {
        return hn::IfThenElse(first_, first, hn::IfThenElse(second_, second, third));
    }

  private:
    hn::MFromD<D> first_;
    hn::MFromD<D> second_;
};

// Block k of vector i is the (3 k + i)-th in memory.
template <bool kStreams, class D, class V>
HWY_INLINE void storeBlocks(D d, V v0, V v1, V v2, uint8_t* dst)
{
    const auto put = [=](size_t i, V v) HWY_ATTR { storeOrStream<kStreams>(v, d, dst + i * hn::Lanes(d)); };
    if constexpr (kBlocks<D> == 1)
    {
        put(0, v0);
        put(1, v1);
        put(2, v2);
    }
    else if constexpr (kBlocks<D> == 2)
    {
        put(0, hn::ConcatLowerLower(d, v1, v0));
        put(1, hn::ConcatUpperLower(d, v0, v2));
        put(2, hn::ConcatUpperUpper(d, v2, v1));
    }
#if HWY_TARGET <= HWY_AVX3
    else
    {
        // Three of the blocks come from two vectors, and the missing one from the third.
        const auto blocks = [](int a, int b, int c, int e) HWY_ATTR
        { return _mm512_setr_epi64(2 * a, 2 * a + 1, 2 * b, 2 * b + 1, 2 * c, 2 * c + 1, 2 * e, 2 * e + 1); };
        const __m512i first = _mm512_permutex2var_epi64(v0.raw, blocks(0, 4, 0, 1), v1.raw);
        const __m512i second = _mm512_permutex2var_epi64(v1.raw, blocks(1, 5, 1, 2), v2.raw);
        const __m512i third = _mm512_permutex2var_epi64(v2.raw, blocks(2, 7, 2, 3), v0.raw);
        put(0, V{_mm512_mask_shuffle_i64x2(first, 0x30, v2.raw, v2.raw, 0x00)});
        put(1, V{_mm512_mask_shuffle_i64x2(second, 0x30, v0.raw, v0.raw, 0x20)});
        put(2, V{_mm512_mask_shuffle_i64x2(third, 0x30, v1.raw, v1.raw, 0x30)});
    }
#endif
}

template <class D>
HWY_INLINE hn::Vec<D> loadBlock(D d, const uint8_t* src)
{
    if constexpr (kBlocks<D> == 1)
    {
        return hn::LoadU(d, src);
    }
    else if constexpr (kBlocks<D> == 2)
    {
        const hn::Half<D> half;
        return hn::Combine(d, hn::LoadU(half, src + 48), hn::LoadU(half, src));
    }
#if HWY_TARGET <= HWY_AVX3
    else
    {
        const hn::CappedTag<uint8_t, 16> block;
        __m512i v = _mm512_castsi128_si512(hn::LoadU(block, src).raw);
        v = _mm512_inserti32x4(v, hn::LoadU(block, src + 48).raw, 1);
        v = _mm512_inserti32x4(v, hn::LoadU(block, src + 96).raw, 2);
        return hn::Vec<D>{_mm512_inserti32x4(v, hn::LoadU(block, src + 144).raw, 3)};
    }
#endif
}

#endif

#if HWY_TARGET <= HWY_AVX3_DL
/** Bytes of three vectors: of the first two by 7 bits of a place, or, where the mask says so, of the third one. */
struct TriplePlaces
{
    /** Byte `channel` of every three. */
    static constexpr TriplePlaces apart(size_t channel)
    {
        TriplePlaces result;
        for (size_t i = 0; i < 64; ++i)
        {
            result.set(i, 3 * i + channel, 3 * i + channel >= 128);
        }
        return result;
    }

    /** Vector `number` of three in which the bytes of all take turns. */
    static constexpr TriplePlaces together(size_t number)
    {
        TriplePlaces result;
        for (size_t i = 0; i < 64; ++i)
        {
            const size_t byte = 64 * number + i;
            result.set(i, byte / 3 + (byte % 3 == 1 ? 64 : 0), byte % 3 == 2);
        }
        return result;
    }

    template <class V>
    HWY_INLINE V pick(V first, V second, V third) const
    {
        const __m512i at = _mm512_load_si512(places);
        return V{
            _mm512_mask_permutexvar_epi8(_mm512_permutex2var_epi8(first.raw, at, second.raw), isThird, at, third.raw)};
    }

  private:
    constexpr void set(size_t i, size_t place, bool third)
    {
        places[i] = static_cast<uint8_t>(place);
        isThird |= uint64_t{third} << i;
    }

    alignas(64) uint8_t places[64]{};
    uint64_t isThird = 0;
};
#endif

/** Three vectors byte by byte, from the order of memory. */
template <bool kStreams = false, class D, class V>
HWY_INLINE void storeTriples(D d, V r, V g, V b, uint8_t* dst)
{
#if HWY_ARCH_ARM
    static_assert(!kStreams);
    hn::StoreInterleaved3(r, g, b, d, dst);
#else
#if HWY_TARGET <= HWY_AVX3_DL
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        static constexpr TriplePlaces kTogether[] = {TriplePlaces::together(0), TriplePlaces::together(1),
                                                     TriplePlaces::together(2)};
        storeOrStream<kStreams>(kTogether[0].pick(r, g, b), d, dst);
        storeOrStream<kStreams>(kTogether[1].pick(r, g, b), d, dst + 64);
        storeOrStream<kStreams>(kTogether[2].pick(r, g, b), d, dst + 128);
        return;
    }
    else
#endif
    {
        alignas(16) static constexpr uint8_t kFirst[16] = {0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5};
        alignas(16) static constexpr uint8_t kSecond[16] = {5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10};
        alignas(16) static constexpr uint8_t kThird[16] = {10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15};
        r = hn::TableLookupBytes(r, hn::LoadDup128(d, kFirst));
        g = hn::TableLookupBytes(g, hn::LoadDup128(d, kSecond));
        b = hn::TableLookupBytes(b, hn::LoadDup128(d, kThird));
        const ByThirds<D, V> thirds(d);
        storeBlocks<kStreams>(d, thirds.choose(r, g, b), thirds.choose(g, b, r), thirds.choose(b, r, g), dst);
    }
#endif
}

/** The reverse. */
template <class D>
HWY_INLINE void loadTriples(D d, const uint8_t* src, hn::Vec<D>& r, hn::Vec<D>& g, hn::Vec<D>& b)
{
#if HWY_ARCH_ARM
    hn::LoadInterleaved3(d, src, r, g, b);
#else
#if HWY_TARGET <= HWY_AVX3_DL
    if constexpr (hn::MaxLanes(D()) == 64)
    {
        static constexpr TriplePlaces kApart[] = {TriplePlaces::apart(0), TriplePlaces::apart(1),
                                                  TriplePlaces::apart(2)};
        const auto v0 = hn::LoadU(d, src), v1 = hn::LoadU(d, src + 64), v2 = hn::LoadU(d, src + 128);
        r = kApart[0].pick(v0, v1, v2);
        g = kApart[1].pick(v0, v1, v2);
        b = kApart[2].pick(v0, v1, v2);
        return;
    }
    else
#endif
    {
        using V = hn::Vec<D>;
        alignas(16) static constexpr uint8_t kFirst[16] = {0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14, 1, 4, 7, 10, 13};
        alignas(16) static constexpr uint8_t kSecond[16] = {1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15, 2, 5, 8, 11, 14};
        alignas(16) static constexpr uint8_t kThird[16] = {2, 5, 8, 11, 14, 1, 4, 7, 10, 13, 0, 3, 6, 9, 12, 15};
        const V v0 = loadBlock(d, src), v1 = loadBlock(d, src + 16), v2 = loadBlock(d, src + 32);
        const ByThirds<D, V> thirds(d);
        r = hn::TableLookupBytes(thirds.choose(v0, v2, v1), hn::LoadDup128(d, kFirst));
        g = hn::TableLookupBytes(thirds.choose(v1, v0, v2), hn::LoadDup128(d, kSecond));
        b = hn::TableLookupBytes(thirds.choose(v2, v1, v0), hn::LoadDup128(d, kThird));
    }
#endif
}

/** Four vectors byte by byte, from Order::ForFourWords; past the caches where kStreams, to aligned places. */
template <bool kStreams = false, class D, class V>
HWY_INLINE void storeQuads(D d, V r, V g, V b, V a, uint8_t* dst)
{
#if HWY_ARCH_ARM
    static_assert(!kStreams);
    hn::StoreInterleaved4(r, g, b, a, d, dst);
#else
    const Unsigned16<D> u16;
    const auto rgLower = hn::BitCast(u16, hn::InterleaveLower(d, r, g));
    const auto rgUpper = hn::BitCast(u16, hn::InterleaveUpper(d, r, g));
    const auto baLower = hn::BitCast(u16, hn::InterleaveLower(d, b, a));
    const auto baUpper = hn::BitCast(u16, hn::InterleaveUpper(d, b, a));
    const size_t n = hn::Lanes(d);
    const auto put = [=](size_t i, auto words) HWY_ATTR
    { storeOrStream<kStreams>(hn::BitCast(d, words), d, dst + i * n); };
    put(0, hn::InterleaveLower(u16, rgLower, baLower));
    put(1, hn::InterleaveUpper(u16, rgLower, baLower));
    put(2, hn::InterleaveLower(u16, rgUpper, baUpper));
    put(3, hn::InterleaveUpper(u16, rgUpper, baUpper));
#endif
}

/** The reverse. */
template <class D>
HWY_INLINE void loadQuads(D d, const uint8_t* src, hn::Vec<D>& r, hn::Vec<D>& g, hn::Vec<D>& b, hn::Vec<D>& a)
{
#if HWY_ARCH_ARM
    hn::LoadInterleaved4(d, src, r, g, b, a);
#else
    // Each channel's four bytes of a block together, then a transposition of these fours.
    alignas(16) static constexpr uint8_t kSort[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    const hn::Repartition<uint32_t, D> u32;
    const hn::Repartition<uint64_t, D> u64;
    const auto sort = hn::LoadDup128(d, kSort);
    const size_t n = hn::Lanes(d);
    const auto load = [&](size_t i) HWY_ATTR
    { return hn::BitCast(u32, hn::TableLookupBytes(hn::LoadU(d, src + i * n), sort)); };
    const auto v0 = load(0), v1 = load(1), v2 = load(2), v3 = load(3);
    const auto rg0 = hn::BitCast(u64, hn::InterleaveLower(u32, v0, v1));
    const auto rg1 = hn::BitCast(u64, hn::InterleaveLower(u32, v2, v3));
    const auto ba0 = hn::BitCast(u64, hn::InterleaveUpper(u32, v0, v1));
    const auto ba1 = hn::BitCast(u64, hn::InterleaveUpper(u32, v2, v3));
    r = hn::BitCast(d, hn::InterleaveLower(u64, rg0, rg1));
    g = hn::BitCast(d, hn::InterleaveUpper(u64, rg0, rg1));
    b = hn::BitCast(d, hn::InterleaveLower(u64, ba0, ba1));
    a = hn::BitCast(d, hn::InterleaveUpper(u64, ba0, ba1));
#endif
}

// ---- Formats ----

class RGB565
{
  public:
    static constexpr size_t kBytes = 2;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr size_t kMaxLoadBytes = 64;
    static constexpr Order kOrder = Order::ForTwoWords;

    /** Where in its row a vector of `count` pixels from x on goes. */
    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <bool kStreams = false, class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const Bytes<V> bytes = pack(d, pixels);
        storePairs<kStreams>(d, bytes.low, bytes.high, dst);
    }

    template <class D>
    static HWY_INLINE Rgb<hn::Vec<D>> load(D d, const uint8_t* src)
    {
        using V = hn::Vec<D>;
        V low, high;
        loadPairs(d, src, low, high);
#if HWY_ARCH_ARM
        const uint8x16_t r = vshlq_n_u8(low.raw, 3);
        const uint8x16_t g = vsriq_n_u8(vshlq_n_u8(high.raw, 5), low.raw, 3);
        return {V(vsriq_n_u8(r, r, 5)), V(vsriq_n_u8(g, g, 6)), V(vsriq_n_u8(high.raw, high.raw, 5))};
#else
        // Shifts of whole words; what comes in from the neighbouring byte is masked away.
        const Unsigned16<D> u16;
        const auto lowWords = hn::BitCast(u16, low);
        const auto highWords = hn::BitCast(u16, high);
        const auto masked = [&](auto words, uint8_t mask) HWY_ATTR
        { return hn::And(hn::BitCast(d, words), hn::Set(d, mask)); };
        return {hn::Or(masked(hn::ShiftLeft<3>(lowWords), 0xF8), masked(hn::ShiftRight<2>(lowWords), 0x07)),
                hn::Or(hn::Or(masked(hn::ShiftLeft<5>(highWords), 0xE0), masked(hn::ShiftRight<3>(lowWords), 0x1C)),
                       masked(hn::ShiftRight<1>(highWords), 0x03)),
                hn::Or(masked(highWords, 0xF8), masked(hn::ShiftRight<5>(highWords), 0x07))};
#endif
    }

  protected:
    template <class V>
    struct Bytes
    {
        V low;
        V high;
    };

    template <class D, class V>
    static HWY_INLINE Bytes<V> pack(D d, const Rgb<V>& pixels)
    {
#if HWY_ARCH_ARM
        (void)d;
        return {V(vsriq_n_u8(vshlq_n_u8(pixels.g.raw, 3), pixels.r.raw, 3)),
                V(vsriq_n_u8(pixels.b.raw, pixels.g.raw, 5))};
#else
        const Unsigned16<D> u16;
        const V greenLow = hn::BitCast(d, hn::ShiftLeft<3>(hn::BitCast(u16, pixels.g)));
        const V greenHigh = hn::BitCast(d, hn::ShiftRight<5>(hn::BitCast(u16, pixels.g)));
        const V red = hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(u16, pixels.r)));
        return {hn::Or(hn::And(greenLow, hn::Set(d, uint8_t{0xE0})), hn::And(red, hn::Set(d, uint8_t{0x1F}))),
                hn::Or(hn::And(pixels.b, hn::Set(d, uint8_t{0xF8})), hn::And(greenHigh, hn::Set(d, uint8_t{0x07})))};
#endif
    }
};

/** RGB565 with every row written backwards. */
class ReversedRGB565 : RGB565
{
  public:
    using RGB565::kBytes;
    using RGB565::kMaxVectorBytes;
    using RGB565::kOrder;

    static constexpr size_t place(size_t x, size_t count, size_t width) { return width - x - count; }

    template <bool kStreams = false, class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        static_assert(!kStreams);
        const Bytes<V> bytes = pack(d, pixels);
#if HWY_ARCH_ARM
        alignas(16) static constexpr uint8_t kBackwards[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
        const V backwards = hn::Load(d, kBackwards);
        storePairs(d, hn::TableLookupBytes(bytes.low, backwards), hn::TableLookupBytes(bytes.high, backwards), dst);
#else
        hn::StoreU(reverse(d, hn::InterleaveUpper(d, bytes.low, bytes.high)), d, dst);
        hn::StoreU(reverse(d, hn::InterleaveLower(d, bytes.low, bytes.high)), d, dst + hn::Lanes(d));
#endif
    }

  private:
    template <class D, class V>
    static HWY_INLINE V reverse(D d, V words)
    {
        const Unsigned16<D> u16;
        return hn::BitCast(d, hn::Reverse(u16, hn::BitCast(u16, words)));
    }
};

struct RGB888
{
    static constexpr size_t kBytes = 3;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr size_t kMaxLoadBytes = 64;
    static constexpr Order kOrder = Order::Natural;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <bool kStreams = false, class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        storeTriples<kStreams>(d, pixels.r, pixels.g, pixels.b, dst);
    }

    template <class D>
    static HWY_INLINE Rgb<hn::Vec<D>> load(D d, const uint8_t* src)
    {
        Rgb<hn::Vec<D>> pixels;
        loadTriples(d, src, pixels.r, pixels.g, pixels.b);
        return pixels;
    }
};

struct RGBA8888
{
    static constexpr size_t kBytes = 4;
    static constexpr size_t kMaxVectorBytes = 64;
    static constexpr size_t kMaxLoadBytes = 64;
    static constexpr Order kOrder = Order::ForFourWords;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <bool kStreams = false, class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        V opaque = hn::Set(d, uint8_t{255});
#if !HWY_ARCH_ARM
        // Where the compiler sees the constant, it takes the interleaving apart into three times as many instructions.
        asm("" : "+x"(opaque.raw));
#endif
        storeQuads<kStreams>(d, pixels.r, pixels.g, pixels.b, opaque, dst);
    }

    template <class D>
    static HWY_INLINE Rgb<hn::Vec<D>> load(D d, const uint8_t* src)
    {
        Rgb<hn::Vec<D>> pixels;
        hn::Vec<D> alpha;
        loadQuads(d, src, pixels.r, pixels.g, pixels.b, alpha);
        return pixels;
    }
};

/** A format with red and blue exchanged. */
template <class Format>
struct BlueFirst : Format
{
    template <bool kStreams = false, class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        Format::template store<kStreams>(d, Rgb<V>{pixels.b, pixels.g, pixels.r}, dst);
    }

    template <class D>
    static HWY_INLINE Rgb<hn::Vec<D>> load(D d, const uint8_t* src)
    {
        const Rgb<hn::Vec<D>> pixels = Format::load(d, src);
        return {pixels.b, pixels.g, pixels.r};
    }
};
using BGR565 = BlueFirst<RGB565>;
using BGR888 = BlueFirst<RGB888>;
using BGRA8888 = BlueFirst<RGBA8888>;

/** The channels of pixels from one order to another. */
template <Order from, Order to, class D, class V>
HWY_INLINE Rgb<V> rearrangePixels(D d, const Rgb<V>& pixels)
{
    return {rearrange<from, to>(d, pixels.r), rearrange<from, to>(d, pixels.g), rearrange<from, to>(d, pixels.b)};
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
