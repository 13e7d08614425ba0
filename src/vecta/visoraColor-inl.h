// Building blocks of the conversions from luma and chroma to RGB: chroma layouts, pixel rules, packers. Included once
// per instruction set.
//
// Chroma work is done in 16-bit lanes that hold 256 * (C - 128). The high half of such a lane's product with a factor f
// is f * C' / 256, rounded down, which is exact to the bit where a rule needs no more fraction.
#if defined(VISORA_VECTA_COLOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_COLOR_INL_H
#undef VISORA_VECTA_COLOR_INL_H
#else
#define VISORA_VECTA_COLOR_INL_H
#endif

#include <cstring>

#include "vecta/visoraColor.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class D>
using Signed16 = hn::Repartition<int16_t, D>;
template <class D>
using Unsigned16 = hn::Repartition<uint16_t, D>;

// ---- Order of pixels ----
//
// Vectors longer than 128 bits interleave only within blocks of 128 bits. A packer that interleaves n vectors of bytes
// leaves block k of its i-th result with pixels of block k only. So that the results come out in the order of memory,
// groups of pixels are exchanged beforehand, when luma and chroma are loaded.

template <class D>
constexpr size_t kBlocks = hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) / 16;

enum class Order
{
    Natural,      // as in memory
    ForTwoWords,  // for packers that double the bytes of a pixel: block k has groups of 8 pixels k and k + blocks
    ForFourWords  // that quadruple them: groups of 4 pixels k, k + blocks, k + 2 * blocks and k + 3 * blocks
};

/** Which group of 4 pixels comes to a place. */
constexpr int32_t groupAt(Order order, size_t blocks, size_t place)
{
    const size_t block = place / 4;
    const size_t inBlock = place % 4;
    return static_cast<int32_t>(order == Order::ForTwoWords ? (block + inBlock / 2 * blocks) * 2 + inBlock % 2
                                                            : block + inBlock * blocks);
}

template <Order order, size_t blocks>
struct GroupOrder
{
    constexpr GroupOrder()
    {
        for (size_t place = 0; place < 4 * blocks; ++place)
        {
            groups[place] = groupAt(order, blocks, place);
        }
    }
    int32_t groups[4 * blocks] = {};
};

/** Brings the bytes of pixels, or the 16-bit lanes of pairs of pixels, into an order. */
template <Order order, class D, class V>
HWY_INLINE V arrange(D d, V v)
{
    if constexpr (kBlocks<D> == 1 || order == Order::Natural)
    {
        return v;
    }
    else
    {
        alignas(64) static constexpr GroupOrder<order, kBlocks<D>> kOrder;
        const hn::Repartition<int32_t, D> s32;
        return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(s32, v), hn::SetTableIndices(s32, kOrder.groups)));
    }
}

// ---- Bytes and 16-bit lanes ----

/** What belongs to the lower and to the upper eight pixels of each block. */
template <class T>
struct Halves
{
    T lower;
    T upper;
};

template <class D, class V>
HWY_INLINE Halves<hn::Vec<Signed16<D>>> widen(D d, V bytes)
{
    const Signed16<D> s16;
    return {hn::BitCast(s16, hn::InterleaveLower(d, bytes, hn::Zero(d))),
            hn::BitCast(s16, hn::InterleaveUpper(d, bytes, hn::Zero(d)))};
}

/** The reverse, clamping to 0 .. 255. */
template <class D, class V16>
HWY_INLINE hn::Vec<D> narrow([[maybe_unused]] D d, V16 lower, V16 upper)
{
#if HWY_ARCH_X86
    // The instruction works within blocks, which is what is wanted here and what portable narrowing would undo.
    if constexpr (kBlocks<D> == 1)
    {
        return hn::Vec<D>{_mm_packus_epi16(lower.raw, upper.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (kBlocks<D> == 2)
    {
        return hn::Vec<D>{_mm256_packus_epi16(lower.raw, upper.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return hn::Vec<D>{_mm512_packus_epi16(lower.raw, upper.raw)};
    }
#endif
#else
    const hn::Half<D> half;
    return hn::Combine(d, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
#endif
}

// ---- Chroma ----

/** Chroma samples as 256 * (C - 128). */
template <class V>
struct Chroma
{
    V cb;
    V cr;
};
template <class D>
using ChromaOf = Chroma<hn::Vec<Signed16<D>>>;

template <class V>
struct Rgb
{
    V r;
    V g;
    V b;
};

/** Samples in the high bytes of 16-bit lanes whose low bytes are 0. */
template <class D16, class V>
HWY_INLINE V centred(D16 s16, V samples)
{
    return hn::Xor(samples, hn::Set(s16, int16_t{-32768}));
}

/** Cb and Cr in planes of their own. */
struct Planes
{
    const uint8_t* cb;
    const uint8_t* cr;
    size_t cbStride;
    size_t crStride;

    Planes row(size_t y) const { return {cb + y * cbStride, cr + y * crStride, cbStride, crStride}; }

    /** The samples from `first` on, one for every pixel of a vector. */
    template <Order order, class D>
    HWY_INLINE Halves<ChromaOf<D>> forPixels(D d, size_t first) const
    {
        const Halves<hn::Vec<Signed16<D>>> b = halves<order>(d, cb + first);
        const Halves<hn::Vec<Signed16<D>>> r = halves<order>(d, cr + first);
        return {{b.lower, r.lower}, {b.upper, r.upper}};
    }

    /** The samples from `first` on, one for every two pixels of a vector. */
    template <Order order, class D>
    HWY_INLINE ChromaOf<D> forPairs(D /*d*/, size_t first) const
    {
        return {widened<order, D>(cb + first), widened<order, D>(cr + first)};
    }

    /** One sample for all pixels. */
    template <class D>
    HWY_INLINE ChromaOf<D> forAll(D /*d*/, size_t sample) const
    {
        const Signed16<D> s16;
        return {hn::Set(s16, static_cast<int16_t>((cb[sample] - 128) * 256)),
                hn::Set(s16, static_cast<int16_t>((cr[sample] - 128) * 256))};
    }

  private:
    template <Order order, class D>
    static HWY_INLINE Halves<hn::Vec<Signed16<D>>> halves(D d, const uint8_t* samples)
    {
        const Signed16<D> s16;
        const auto bytes = hn::Xor(arrange<order>(d, hn::LoadU(d, samples)), hn::Set(d, uint8_t{128}));
        return {hn::BitCast(s16, hn::InterleaveLower(d, hn::Zero(d), bytes)),
                hn::BitCast(s16, hn::InterleaveUpper(d, hn::Zero(d), bytes))};
    }

    template <Order order, class D>
    static HWY_INLINE hn::Vec<Signed16<D>> widened(const uint8_t* samples)
    {
        const Signed16<D> s16;
        const hn::Rebind<uint8_t, Signed16<D>> bytes;
        const auto wide = hn::PromoteTo(s16, hn::LoadU(bytes, samples));
        return arrange<order>(s16, centred(s16, hn::ShiftLeft<8>(wide)));
    }
};

/** Cb and Cr side by side. */
template <bool kCbFirst>
struct Pairs
{
    const uint8_t* pairs;
    size_t stride;

    Pairs row(size_t y) const { return {pairs + y * stride, stride}; }

    template <Order order, class D>
    HWY_INLINE Halves<ChromaOf<D>> forPixels(D d, size_t first) const
    {
        const auto v0 = hn::LoadU(d, pairs + 2 * first);
        const auto v1 = hn::LoadU(d, pairs + 2 * first + hn::Lanes(d));
        if constexpr (kBlocks<D> == 1 || order == Order::ForTwoWords)
        {
            return {split(d, v0), split(d, v1)};
        }
        else if constexpr (order == Order::ForFourWords)
        {
            // A group of 4 pixels has 8 bytes here.
            return {split(d, arrange<Order::ForTwoWords>(d, v0)), split(d, arrange<Order::ForTwoWords>(d, v1))};
        }
        else
        {
            return {split(d, evenBlocks(d, v0, v1)), split(d, oddBlocks(d, v0, v1))};
        }
    }

    template <Order order, class D>
    HWY_INLINE ChromaOf<D> forPairs(D d, size_t first) const
    {
        return split(d, arrange<order>(d, hn::LoadU(d, pairs + 2 * first)));
    }

    template <class D>
    HWY_INLINE ChromaOf<D> forAll(D d, size_t sample) const
    {
        const Unsigned16<D> u16;
        const auto pair = static_cast<uint16_t>(pairs[2 * sample] | pairs[2 * sample + 1] << 8);
        return split(d, hn::BitCast(d, hn::Set(u16, pair)));
    }

  private:
    // Every second block of two vectors.
    template <class D, class V>
    static HWY_INLINE V evenBlocks(D d, V v0, V v1)
    {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
        if constexpr (kBlocks<D> == 4)
        {
            return V{_mm512_shuffle_i64x2(v0.raw, v1.raw, _MM_SHUFFLE(2, 0, 2, 0))};
        }
#endif
        return hn::ConcatLowerLower(d, v1, v0);
    }

    template <class D, class V>
    static HWY_INLINE V oddBlocks(D d, V v0, V v1)
    {
#if HWY_TARGET <= HWY_AVX3 && HWY_ARCH_X86
        if constexpr (kBlocks<D> == 4)
        {
            return V{_mm512_shuffle_i64x2(v0.raw, v1.raw, _MM_SHUFFLE(3, 1, 3, 1))};
        }
#endif
        return hn::ConcatUpperUpper(d, v1, v0);
    }

    template <class D, class V>
    static HWY_INLINE ChromaOf<D> split(D /*d*/, V bytes)
    {
        const Signed16<D> s16;
        const auto both = hn::Xor(hn::BitCast(s16, bytes), hn::Set(s16, static_cast<int16_t>(0x8080)));
        const auto first = hn::ShiftLeft<8>(both);
        const auto second = hn::And(both, hn::Set(s16, static_cast<int16_t>(0xFF00)));
        if constexpr (kCbFirst)
        {
            return {first, second};
        }
        else
        {
            return {second, first};
        }
    }
};

/** numerator * C' / 256, rounded down. */
template <int numerator, class D16, class V>
HWY_INLINE V times(D16 s16, V chroma)
{
    static_assert(-32768 <= numerator && numerator <= 32767);
    return hn::MulHigh(chroma, hn::Set(s16, static_cast<int16_t>(numerator)));
}

/** (sum + constant) >> shift. */
template <int constant, int shift, class D16, class V>
HWY_INLINE V shifted(D16 s16, V sum)
{
    return hn::ShiftRight<shift>(hn::Add(sum, hn::Set(s16, static_cast<int16_t>(constant))));
}

// ---- Pixel rules ----

/** Rules in which luma has the weight 1: a channel is Y plus an offset within +-255 that depends on chroma only. */
template <class Offsets>
struct OffsetRule
{
    // With chroma shared by two pixels: the offset's positive part is added and its negative part taken away, byte by
    // byte with saturation, which clamps.
    template <class V>
    struct Parts
    {
        V plus;
        V minus;
    };

    template <class D>
    static HWY_INLINE Rgb<Parts<hn::Vec<D>>> terms(D d, const ChromaOf<D>& c)
    {
        const Rgb<hn::Vec<Signed16<D>>> offsets = Offsets::of(Signed16<D>(), c);
        return {parts(d, offsets.r), parts(d, offsets.g), parts(d, offsets.b)};
    }

    template <class D, class V>
    static HWY_INLINE Rgb<V> pixels(D /*d*/, const Rgb<Parts<V>>& terms, V luma)
    {
        return {apply(terms.r, luma), apply(terms.g, luma), apply(terms.b, luma)};
    }

    // With chroma of its own for every pixel.
    template <class D>
    static HWY_INLINE Halves<Rgb<hn::Vec<Signed16<D>>>> terms(D /*d*/, const Halves<ChromaOf<D>>& c)
    {
        const Signed16<D> s16;
        return {Offsets::of(s16, c.lower), Offsets::of(s16, c.upper)};
    }

    template <class D, class V, class V16>
    static HWY_INLINE Rgb<V> pixels(D d, const Halves<Rgb<V16>>& terms, V luma)
    {
        const Halves<V16> y = widen(d, luma);
        const Rgb<V16>& lower = terms.lower;
        const Rgb<V16>& upper = terms.upper;
        return {narrow(d, hn::Add(y.lower, lower.r), hn::Add(y.upper, upper.r)),
                narrow(d, hn::Add(y.lower, lower.g), hn::Add(y.upper, upper.g)),
                narrow(d, hn::Add(y.lower, lower.b), hn::Add(y.upper, upper.b))};
    }

  private:
    template <class D, class V16>
    static HWY_INLINE Parts<hn::Vec<D>> parts(D d, V16 offset)
    {
        const Signed16<D> s16;
        const V16 toBothBytes = hn::Set(s16, int16_t{0x0101});
        const V16 plus = hn::Max(offset, hn::Zero(s16));
        const V16 minus = hn::Sub(plus, offset);
        return {hn::BitCast(d, hn::Mul(plus, toBothBytes)), hn::BitCast(d, hn::Mul(minus, toBothBytes))};
    }

    template <class V>
    static HWY_INLINE V apply(const Parts<V>& parts, V luma)
    {
        return hn::SaturatedSub(hn::SaturatedAdd(luma, parts.plus), parts.minus);
    }
};

struct FullRangeOffsets
{
    template <class D16, class V>
    static HWY_INLINE Rgb<V> of(D16 s16, const Chroma<V>& c)
    {
        // (359 Cr' + 128) >> 8 and (454 Cb' + 128) >> 8 are rounding products; -88 Cb' - 183 Cr' is halved first to
        // fit.
        return {hn::MulFixedPoint15(hn::ShiftRight<1>(c.cr), hn::Set(s16, int16_t{359})),
                shifted<64, 7>(s16, hn::Add(times<-88 * 128>(s16, c.cb), times<-183 * 128>(s16, c.cr))),
                hn::MulFixedPoint15(c.cb, hn::Set(s16, int16_t{454 / 2}))};
    }
};

struct CodingUnitOffsets
{
    template <class D16, class V>
    static HWY_INLINE Rgb<V> of(D16 s16, const Chroma<V>& c)
    {
        // 2 C - 255 = 2 C' + 1
        const V one = hn::Set(s16, int16_t{1});
        const V cb2 = hn::Add(hn::ShiftRight<7>(c.cb), one);
        const V cr2 = hn::Add(hn::ShiftRight<7>(c.cr), one);
        // -5638 Cb2 - 11700 Cr2 + 16384 as 256 * high + low: -5638 = -22 * 256 - 6, -11700 = -46 * 256 + 76.
        const V high = hn::Add(hn::Mul(cb2, hn::Set(s16, int16_t{-22})), hn::Mul(cr2, hn::Set(s16, int16_t{-46})));
        const V low = hn::Add(hn::Mul(cb2, hn::Set(s16, int16_t{-6})), hn::Mul(cr2, hn::Set(s16, int16_t{76})));
        return {hn::MulFixedPoint15(cr2, hn::Set(s16, int16_t{22970})),
                shifted<64, 7>(s16, hn::Add(high, hn::ShiftRight<8>(low))),
                hn::MulFixedPoint15(cb2, hn::Set(s16, int16_t{29032}))};
    }
};

/**
 * Video range. Both precisions have the same weights to 1/128: with luma 149/128, Cr in red 204/128, in green 104/128,
 * Cb in green 50/128, in blue 2 + 2/128, and a rest that differs. So a channel is (149 Y + chroma) >> 7, where chroma
 * is in units of 1/128, rounded down. The 16-bit sum saturates only where the channel is clamped anyway.
 */
template <class Precision>
struct VideoRule
{
    template <class V>
    struct Terms
    {
        V red;
        V green;
        V blue;
        V blueWhole;  // what of blue is whole: with it the sum would leave 16 bits
    };

    template <class D>
    static HWY_INLINE Halves<Terms<hn::Vec<Signed16<D>>>> terms(D /*d*/, const ChromaOf<D>& c)
    {
        const Signed16<D> s16;
        // 204 Cr' and a rest are 256 Cr' less what is missing.
        const auto red = hn::Add(c.cr, times<Precision::kCrInRed - 65536>(s16, c.cr));
        const auto green = hn::Add(times<-50 * 256>(s16, c.cb), times<Precision::kCrInGreen>(s16, c.cr));
        const auto blue = times<Precision::kCbInBlue>(s16, c.cb);
        const auto lumaBias = hn::Set(s16, int16_t{kLumaBias + Precision::kConstant});
        // Blue is shifted as an unsigned number; whole units keep it positive.
        const auto blueBias = hn::Set(s16, int16_t{kLumaBias + Precision::kConstant + 128 * kBlueBias});
        const auto blueWhole = hn::Sub(hn::ShiftRight<7>(c.cb), hn::Set(s16, int16_t{kBlueBias}));
        const Terms<hn::Vec<Signed16<D>>> one = {hn::Add(red, lumaBias), hn::Add(green, lumaBias),
                                                 hn::Add(blue, blueBias), blueWhole};
        return {twice(one, [=](auto v) HWY_ATTR { return hn::InterleaveLower(s16, v, v); }),
                twice(one, [=](auto v) HWY_ATTR { return hn::InterleaveUpper(s16, v, v); })};
    }

    template <class D, class V, class V16>
    static HWY_INLINE Rgb<V> pixels(D d, const Halves<Terms<V16>>& terms, V luma)
    {
        const Signed16<D> s16;
        const Halves<V16> y = widen(d, Precision::fromBlack(d, luma));
        const Rgb<V16> lower = channels(s16, terms.lower, y.lower);
        const Rgb<V16> upper = channels(s16, terms.upper, y.upper);
        return {narrow(d, lower.r, upper.r), narrow(d, lower.g, upper.g), narrow(d, lower.b, upper.b)};
    }

  private:
    // Taken from luma and added to chroma, so that both fit 16 bits with a sign.
    static constexpr int kLumaBias = 6144;
    static constexpr int kBlueBias = 22;

    template <class V, class Function>
    static HWY_INLINE Terms<V> twice(const Terms<V>& terms, Function interleave)
    {
        return {interleave(terms.red), interleave(terms.green), interleave(terms.blue), interleave(terms.blueWhole)};
    }

    template <class D16, class V>
    static HWY_INLINE Rgb<V> channels(D16 s16, const Terms<V>& terms, V y)
    {
        const hn::RebindToUnsigned<D16> u16;
        const V luma = hn::Sub(hn::Mul(y, hn::Set(s16, int16_t{149})), hn::Set(s16, int16_t{kLumaBias}));
        const V blue = hn::BitCast(s16, hn::ShiftRight<7>(hn::BitCast(u16, hn::Add(luma, terms.blue))));
        return {hn::ShiftRight<7>(hn::SaturatedAdd(luma, terms.red)),
                hn::ShiftRight<7>(hn::SaturatedAdd(luma, terms.green)), hn::Add(blue, terms.blueWhole)};
    }
};

// 298 (Y - 16), 409, -208, 517 in 1/256.
struct EightBits
{
    static constexpr int kConstant = -149 * 16;
    static constexpr int kCrInRed = 409 * 128;
    static constexpr int kCrInGreen = -208 * 128;
    static constexpr int kCbInBlue = (517 - 512) * 128;

    template <class D, class V>
    static HWY_INLINE V fromBlack(D /*d*/, V luma)
    {
        return luma;
    }
};

// 1192 (max(Y, 16) - 16), 1634, -833, 2066 in 1/1024.
struct TenBits
{
    static constexpr int kConstant = 0;
    static constexpr int kCrInRed = 1634 * 32;
    static constexpr int kCrInGreen = -833 * 32;
    static constexpr int kCbInBlue = (2066 - 2048) * 32;

    template <class D, class V>
    static HWY_INLINE V fromBlack(D d, V luma)
    {
        return hn::SaturatedSub(luma, hn::Set(d, uint8_t{16}));
    }
};

using FullRange = OffsetRule<FullRangeOffsets>;
using CodingUnit = OffsetRule<CodingUnitOffsets>;
using Video8Bit = VideoRule<EightBits>;
using Video10Bit = VideoRule<TenBits>;

// ---- Packers ----

class RGB565
{
  public:
    static constexpr size_t kBytes = 2;
    static constexpr Order kOrder = Order::ForTwoWords;

    /** Where in its row a vector of `count` pixels from x on goes. */
    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const Bytes<V> bytes = pack(d, pixels);
        hn::StoreU(hn::InterleaveLower(d, bytes.low, bytes.high), d, dst);
        hn::StoreU(hn::InterleaveUpper(d, bytes.low, bytes.high), d, dst + hn::Lanes(d));
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
        // Shifts of whole words; what crosses into the neighbouring byte is masked away.
        const Unsigned16<D> u16;
        const V greenLow = hn::BitCast(d, hn::ShiftLeft<3>(hn::BitCast(u16, pixels.g)));
        const V greenHigh = hn::BitCast(d, hn::ShiftRight<5>(hn::BitCast(u16, pixels.g)));
        const V red = hn::BitCast(d, hn::ShiftRight<3>(hn::BitCast(u16, pixels.r)));
        return {hn::Or(hn::And(greenLow, hn::Set(d, uint8_t{0xE0})), hn::And(red, hn::Set(d, uint8_t{0x1F}))),
                hn::Or(hn::And(pixels.b, hn::Set(d, uint8_t{0xF8})), hn::And(greenHigh, hn::Set(d, uint8_t{0x07})))};
    }
};

/** RGB565 with every row written backwards. */
class ReversedRGB565 : RGB565
{
  public:
    using RGB565::kBytes;
    using RGB565::kOrder;

    static constexpr size_t place(size_t x, size_t count, size_t width) { return width - x - count; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const Bytes<V> bytes = pack(d, pixels);
        hn::StoreU(reverse(d, hn::InterleaveUpper(d, bytes.low, bytes.high)), d, dst);
        hn::StoreU(reverse(d, hn::InterleaveLower(d, bytes.low, bytes.high)), d, dst + hn::Lanes(d));
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
    static constexpr Order kOrder = Order::Natural;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
#if HWY_ARCH_ARM
        hn::StoreInterleaved3(pixels.r, pixels.g, pixels.b, d, dst);
#else
        // Channel c of pixel k goes to byte 3 k + c of a block's 48. Modulo 16 that is another byte for each k, so one
        // shuffle of each channel serves all three vectors, and what is left is to choose the channel byte by byte:
        // byte p of vector i holds channel (16 i + p) % 3. 11 is the inverse of 3 modulo 16.
        alignas(16) static constexpr uint8_t kRed[16] = {0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10, 5};
        alignas(16) static constexpr uint8_t kGreen[16] = {5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15, 10};
        alignas(16) static constexpr uint8_t kBlue[16] = {10, 5, 0, 11, 6, 1, 12, 7, 2, 13, 8, 3, 14, 9, 4, 15};
        alignas(16) static constexpr uint8_t kThirds[16] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0};
        const V r = hn::TableLookupBytes(pixels.r, hn::LoadDup128(d, kRed));
        const V g = hn::TableLookupBytes(pixels.g, hn::LoadDup128(d, kGreen));
        const V b = hn::TableLookupBytes(pixels.b, hn::LoadDup128(d, kBlue));
        const V thirds = hn::LoadDup128(d, kThirds);
        const auto first = hn::Eq(thirds, hn::Zero(d));
        const auto second = hn::Eq(thirds, hn::Set(d, uint8_t{1}));
        const V v0 = hn::IfThenElse(first, r, hn::IfThenElse(second, g, b));
        const V v1 = hn::IfThenElse(first, g, hn::IfThenElse(second, b, r));
        const V v2 = hn::IfThenElse(first, b, hn::IfThenElse(second, r, g));
        storeBlocks(d, v0, v1, v2, dst);
#endif
    }

  private:
#if !HWY_ARCH_ARM
    // Block k of vector i is the (3 k + i)-th in memory.
    template <class D, class V>
    static HWY_INLINE void storeBlocks(D d, V v0, V v1, V v2, uint8_t* dst)
    {
        const size_t n = hn::Lanes(d);
        if constexpr (kBlocks<D> == 1)
        {
            hn::StoreU(v0, d, dst);
            hn::StoreU(v1, d, dst + n);
            hn::StoreU(v2, d, dst + 2 * n);
        }
        else if constexpr (kBlocks<D> == 2)
        {
            hn::StoreU(hn::ConcatLowerLower(d, v1, v0), d, dst);
            hn::StoreU(hn::ConcatUpperLower(d, v0, v2), d, dst + n);
            hn::StoreU(hn::ConcatUpperUpper(d, v2, v1), d, dst + 2 * n);
        }
        else
        {
            const hn::Half<D> half;
            storeBlocks(half, hn::LowerHalf(half, v0), hn::LowerHalf(half, v1), hn::LowerHalf(half, v2), dst);
            storeBlocks(half, hn::UpperHalf(half, v0), hn::UpperHalf(half, v1), hn::UpperHalf(half, v2),
                        dst + 3 * n / 2);
        }
    }
#endif
};

struct RGBA8888
{
    static constexpr size_t kBytes = 4;
    static constexpr Order kOrder = Order::ForFourWords;

    static constexpr size_t place(size_t x, size_t /*count*/, size_t /*width*/) { return x; }

    template <class D, class V>
    static HWY_INLINE void store(D d, const Rgb<V>& pixels, uint8_t* dst)
    {
        const V opaque = hn::Set(d, uint8_t{255});
#if HWY_ARCH_ARM
        hn::StoreInterleaved4(pixels.r, pixels.g, pixels.b, opaque, d, dst);
#else
        const Unsigned16<D> u16;
        const auto rgLower = hn::BitCast(u16, hn::InterleaveLower(d, pixels.r, pixels.g));
        const auto rgUpper = hn::BitCast(u16, hn::InterleaveUpper(d, pixels.r, pixels.g));
        const auto baLower = hn::BitCast(u16, hn::InterleaveLower(d, pixels.b, opaque));
        const auto baUpper = hn::BitCast(u16, hn::InterleaveUpper(d, pixels.b, opaque));
        const size_t n = hn::Lanes(d);
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(u16, rgLower, baLower)), d, dst);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(u16, rgLower, baLower)), d, dst + n);
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(u16, rgUpper, baUpper)), d, dst + 2 * n);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(u16, rgUpper, baUpper)), d, dst + 3 * n);
#endif
    }
};

// ---- Rows ----

/** One chroma row and the kRows luma rows that share it. With halved chroma the width must be at least 2. */
template <class Rule, class Format, bool kHalved, size_t kRows, class D, class Layout>
HWY_INLINE void convertRows(D d, const uint8_t* luma, size_t lumaStride, const Layout& chroma, size_t width,
                            uint8_t* dst, ptrdiff_t dstStride)
{
    const size_t n = hn::Lanes(d);
    const auto convert = [&](size_t x, const auto& terms) HWY_ATTR
    {
        for (size_t row = 0; row < kRows; ++row)
        {
            const auto y = arrange<Format::kOrder>(d, hn::LoadU(d, luma + row * lumaStride + x));
            Format::store(d, Rule::pixels(d, terms, y),
                          dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(x, n, width) * Format::kBytes);
        }
    };
    if constexpr (!kHalved)
    {
        coverRange(0, width, n,
                   [&](size_t x) HWY_ATTR
                   { convert(x, Rule::terms(d, chroma.template forPixels<Format::kOrder>(d, x))); });
    }
    else
    {
        // Vectors begin at even pixels, where chroma samples begin.
        coverRange(0, width & ~size_t{1}, n,
                   [&](size_t x) HWY_ATTR
                   { convert(x, Rule::terms(d, chroma.template forPairs<Format::kOrder>(d, x / 2))); });
        if (width % 2 != 0)
        {
            // The pixel without a partner: a vector of copies of it, of which one is kept.
            const hn::CappedTag<uint8_t, 16> block;
            const auto terms = Rule::terms(block, chroma.forAll(block, width / 2));
            for (size_t row = 0; row < kRows; ++row)
            {
                uint8_t copies[16 * Format::kBytes];
                const auto y = hn::Set(block, luma[row * lumaStride + width - 1]);
                Format::store(block, Rule::pixels(block, terms, y), copies);
                std::memcpy(
                    dst + static_cast<ptrdiff_t>(row) * dstStride + Format::place(width - 1, 1, width) * Format::kBytes,
                    copies, Format::kBytes);
            }
        }
    }
}

/** Runs body(tag) with the widest vector that `width` pixels fill. @return false when the reference should do the work
 */
template <bool kHalved, class Body>
HWY_INLINE bool withPixelVector(size_t width, Body body)
{
    return withFittingVector<uint8_t>(kHalved ? width & ~size_t{1} : width, body);
}

/** A whole image. @return false when it is too narrow */
template <class Rule, class Format, ChromaSampling sampling, class Layout>
HWY_INLINE bool convertImage(const ColorImage& image, const Layout& chroma)
{
    constexpr bool kHalved = sampling != ChromaSampling::k444;
    constexpr size_t kRows = sampling == ChromaSampling::k420 ? 2 : 1;
    return withPixelVector<kHalved>(
        image.width,
        [&](auto d) HWY_ATTR
        {
            const uint8_t* luma = image.luma;
            uint8_t* dst = image.dst;
            size_t y = 0;
            for (; y + kRows <= image.height; y += kRows)
            {
                convertRows<Rule, Format, kHalved, kRows>(d, luma, image.lumaStride, chroma.row(y / kRows), image.width,
                                                          dst, image.dstStride);
                luma += kRows * image.lumaStride;
                dst += static_cast<ptrdiff_t>(kRows) * image.dstStride;
            }
            if (y < image.height)
            {
                convertRows<Rule, Format, kHalved, 1>(d, luma, image.lumaStride, chroma.row(y / kRows), image.width,
                                                      dst, image.dstStride);
            }
        });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
