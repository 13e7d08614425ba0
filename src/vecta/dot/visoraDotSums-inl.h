// What is summed over two vectors: products of bytes, of 16-bit numbers and of floats, squared differences. Included
// once per instruction set.
//
// What is summed is a class: its Sums are the running sums of two vectors, its operands steps of kStep elements.
#if defined(VISORA_VECTA_DOT_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DOT_SUMS_INL_H
#undef VISORA_VECTA_DOT_SUMS_INL_H
#else
#define VISORA_VECTA_DOT_SUMS_INL_H
#endif

#include <cstring>
#include <type_traits>

#include "cpu/dot/visoraDot.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraTotals-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Steps ----

/** The `count` elements from `from` on, fewer than a step, filled up with zeros. */
template <class D>
HWY_INLINE hn::Vec<D> loadPadded(D d, const hn::TFromD<D>* from, size_t count)
{
    HWY_ALIGN hn::TFromD<D> padded[hn::MaxLanes(D())] = {};
    std::memcpy(padded, from, count * sizeof(*from));
    return hn::Load(d, padded);
}

/** The end of a vector whose first `seen` elements have been summed: those are 0. */
template <class D>
HWY_INLINE hn::Vec<D> loadRest(D d, const hn::TFromD<D>* vector, size_t seen, size_t length)
{
    const size_t lanes = hn::Lanes(d);
    if (length < lanes)
    {
        return loadPadded(d, vector, length);
    }
    return hn::IfThenZeroElse(hn::FirstN(d, seen + lanes - length), hn::LoadU(d, vector + length - lanes));
}

/** The same elements, with anything in place of those that have been summed. */
template <class D>
HWY_INLINE hn::Vec<D> loadEnd(D d, const hn::TFromD<D>* vector, size_t length)
{
    const size_t lanes = hn::Lanes(d);
    return length < lanes ? loadPadded(d, vector, length) : hn::LoadU(d, vector + length - lanes);
}

/** Steps as they lie in memory. */
template <class D>
struct WholeSteps
{
    using T = hn::TFromD<D>;
    using Operand = hn::Vec<D>;
    static constexpr size_t kStep = hn::MaxLanes(D());
    static constexpr bool kFillsLines = false;

    struct Query
    {
        const T* data;
        static constexpr uint32_t correction = 0;
    };
    static HWY_INLINE Query query(const T* vector, size_t /*length*/) { return {vector}; }
    static HWY_INLINE Operand load(const T* from) { return hn::LoadU(D(), from); }
    static HWY_INLINE Operand loadOfSet(const T* from) { return load(from); }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return loadRest(D(), vector, seen, length);
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return loadEnd(D(), vector, length);
    }
};

// ---- Bytes ----

#if VISORA_ADDS_FOUR_PRODUCTS
/** Steps of which one factor is signed, the other is not. */
template <class D>
struct ByteSteps
{
    using T = hn::TFromD<D>;
    using Operand = hn::Vec<D>;
    static constexpr size_t kStep = hn::MaxLanes(D());

    // 128 is taken from the set's elements, or added to them, and the query's sum makes up for it.
    struct Query
    {
        const T* data;
        uint32_t correction;
    };

    static HWY_INLINE Query query(const T* vector, size_t length)
    {
        const D d;
        const hn::Repartition<uint8_t, D> d8;
        const hn::Repartition<uint64_t, D> d64;
        auto sums = hn::Zero(d64);
        const auto add = [&](Operand v) HWY_ATTR
        {
            auto bytes = hn::BitCast(d8, v);
            if constexpr (std::is_signed_v<T>)
            {
                bytes = hn::Xor(bytes, hn::Set(d8, uint8_t{0x80}));
            }
            sums = hn::Add(sums, hn::SumsOf8(bytes));
        };
        size_t x = 0;
        for (; x + kStep <= length; x += kStep)
        {
            add(hn::LoadU(d, vector + x));
        }
        size_t added = x;
        if (x < length)
        {
            add(loadRest(d, vector, x, length));
            added += kStep;
        }
        const auto sum = static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(d64, sums)));
        if constexpr (std::is_signed_v<T>)
        {
            return {vector, 0u - 128u * (sum - 128u * static_cast<uint32_t>(added))};
        }
        return {vector, 128u * sum};
    }

    static HWY_INLINE Operand load(const T* from) { return hn::LoadU(D(), from); }
    static HWY_INLINE Operand loadOfSet(const T* from) { return flipped(hn::LoadU(D(), from)); }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return loadRest(D(), vector, seen, length);
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return flipped(loadEnd(D(), vector, length));
    }

  private:
    static HWY_INLINE Operand flipped(Operand v) { return hn::Xor(v, hn::Set(D(), static_cast<T>(0x80))); }
};
#elif HWY_ARCH_ARM
template <class D>
using ByteSteps = WholeSteps<D>;
#else
/** Steps widened to 16 bits. */
template <class D>
struct ByteSteps : WholeSteps<D>
{
    using T = hn::TFromD<D>;
    using D16 = hn::Repartition<int16_t, D>;
    using Narrow = hn::Half<D>;
    struct Operand
    {
        hn::Vec<D16> low, high;
    };
    static HWY_INLINE Operand load(const T* from)
    {
        return {hn::PromoteTo(D16(), hn::LoadU(Narrow(), from)),
                hn::PromoteTo(D16(), hn::LoadU(Narrow(), from + WholeSteps<D>::kStep / 2))};
    }
    static HWY_INLINE Operand loadOfSet(const T* from) { return load(from); }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return widened(loadRest(D(), vector, seen, length));
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return widened(loadEnd(D(), vector, length));
    }

  private:
    static HWY_INLINE Operand widened(hn::Vec<D> v)
    {
        return {hn::PromoteTo(D16(), hn::LowerHalf(Narrow(), v)), hn::PromoteTo(D16(), hn::UpperHalf(Narrow(), v))};
    }
};
#endif

/** Products of bytes, exact modulo 2^32. */
template <class D>
struct ByteProducts : ByteSteps<D>
{
    using T = hn::TFromD<D>;
    using D32 = hn::Repartition<uint32_t, D>;
    using Sums = hn::Vec<D32>;
    using Operand = typename ByteSteps<D>::Operand;
    using Query = typename ByteSteps<D>::Query;
    static constexpr bool kFillsLines = hn::MaxLanes(D()) == 64;

    static HWY_INLINE Sums zero() { return hn::Zero(D32()); }

    static HWY_INLINE void add(Sums& sums, const Operand& q, const Operand& v)
    {
#if VISORA_ADDS_FOUR_PRODUCTS
        const auto whole = std::is_signed_v<T> ? v : q;
        const auto sign = std::is_signed_v<T> ? q : v;
        sums = addFourProducts(sums, whole, sign);
#elif HWY_ARCH_ARM
        if constexpr (std::is_signed_v<T>)
        {
            const int32x4_t low =
                vpadalq_s16(vreinterpretq_s32_u32(sums.raw), vmull_s8(vget_low_s8(q.raw), vget_low_s8(v.raw)));
            sums = Sums(vreinterpretq_u32_s32(vpadalq_s16(low, vmull_high_s8(q.raw, v.raw))));
        }
        else
        {
            const uint32x4_t low = vpadalq_u16(sums.raw, vmull_u8(vget_low_u8(q.raw), vget_low_u8(v.raw)));
            sums = Sums(vpadalq_u16(low, vmull_high_u8(q.raw, v.raw)));
        }
#else
        const hn::RebindToSigned<D32> d;
        const auto pairs = hn::Add(sumsOfPairProducts(d, q.low, v.low), sumsOfPairProducts(d, q.high, v.high));
        sums = hn::Add(sums, hn::BitCast(D32(), pairs));
#endif
    }

    static HWY_INLINE void totals(Sums a, Sums b, Sums c, Sums e, const Query& query, size_t /*length*/, Dot<T>* out)
    {
        const Four<uint32_t> four;
        const D32 d;
        const auto all = fourTotals(four, sumOfBlocks(d, a), sumOfBlocks(d, b), sumOfBlocks(d, c), sumOfBlocks(d, e));
        const auto corrected = hn::Add(all, hn::Set(four, query.correction));
        hn::StoreU(hn::BitCast(Four<Dot<T>>(), corrected), Four<Dot<T>>(), out);
    }

#if HWY_TARGET <= HWY_AVX3
    /** The totals of sixteen sums, which are those of as many queries in turn. */
    template <size_t kQueries, class Get>
    static HWY_INLINE void sixteen(const Query* queries, Get get, Dot<T>* out)
    {
        const D32 d;
        const Four<uint32_t> four;
        const auto corrections = [&](size_t q) HWY_ATTR { return hn::Set(four, queries[q * kQueries / 4].correction); };
        const hn::Half<D32> half;
        const auto all = hn::Combine(d, hn::Combine(half, corrections(3), corrections(2)),
                                     hn::Combine(half, corrections(1), corrections(0)));
        const hn::RebindToSigned<D32> dSigned;
        const auto totals = hn::Add(sixteenTotals(d, get), all);
        if constexpr (std::is_signed_v<T>)
        {
            hn::StoreU(hn::BitCast(dSigned, totals), dSigned, out);
        }
        else
        {
            hn::StoreU(totals, d, out);
        }
    }
#endif
};

// ---- Numbers of 16 bits ----

/** Products of 16-bit numbers, exact in 64 bits. */
template <class D>
struct ShortProducts : WholeSteps<D>
{
    using T = hn::TFromD<D>;
    using D64 = hn::Repartition<uint64_t, D>;
    using Sums = hn::Vec<D64>;
    using Operand = hn::Vec<D>;
    using Query = typename WholeSteps<D>::Query;
    using WholeSteps<D>::kStep;

    static HWY_INLINE Sums zero() { return hn::Zero(D64()); }

    static HWY_INLINE void add(Sums& sums, Operand q, Operand v)
    {
#if HWY_ARCH_ARM
        if constexpr (std::is_signed_v<T>)
        {
            const int64x2_t low =
                vpadalq_s32(vreinterpretq_s64_u64(sums.raw), vmull_s16(vget_low_s16(q.raw), vget_low_s16(v.raw)));
            sums = Sums(vreinterpretq_u64_s64(vpadalq_s32(low, vmull_high_s16(q.raw, v.raw))));
        }
        else
        {
            const uint64x2_t low = vpadalq_u32(sums.raw, vmull_u16(vget_low_u16(q.raw), vget_low_u16(v.raw)));
            sums = Sums(vpadalq_u32(low, vmull_high_u16(q.raw, v.raw)));
        }
#else
        const hn::Repartition<uint32_t, D> d32;
        if constexpr (std::is_signed_v<T>)
        {
            // From the least sum of two products to the greatest is less than 2^32.
            const auto pairs = sumsOfPairProducts(hn::Repartition<int32_t, D>(), q, v);
            addWords(sums, hn::Add(hn::BitCast(d32, pairs), hn::Set(d32, kLeast)));
        }
        else
        {
            const auto low = hn::Mul(q, v);
            const auto high = hn::MulHigh(q, v);
            addWords(sums, hn::BitCast(d32, hn::InterleaveLower(D(), low, high)));
            addWords(sums, hn::BitCast(d32, hn::InterleaveUpper(D(), low, high)));
        }
#endif
    }

    static HWY_INLINE void totals(Sums a, Sums b, Sums c, Sums e, const Query& /*query*/, size_t length, Dot<T>* out)
    {
        uint64_t excess = 0;
        if constexpr (!HWY_ARCH_ARM && std::is_signed_v<T>)
        {
            excess = uint64_t{kLeast} * ((length + kStep - 1) / kStep * (kStep / 2));
        }
        const auto total = [&](Sums sums) HWY_ATTR
        { return static_cast<Dot<T>>(hn::GetLane(hn::SumOfLanes(D64(), sums)) - excess); };
        out[0] = total(a);
        out[1] = total(b);
        out[2] = total(c);
        out[3] = total(e);
    }

  private:
    static constexpr uint32_t kLeast = 2u * 32768 * 32767;

    template <class V>
    static HWY_INLINE void addWords(Sums& sums, V words)
    {
        const auto pairs = hn::BitCast(D64(), words);
        const auto odd = hn::ShiftRight<32>(pairs);
        sums = hn::Add(sums, hn::Add(hn::And(pairs, hn::Set(D64(), 0xffffffffu)), odd));
    }
};

// ---- Floats ----

/** The sixteen parts of a sum. */
using FloatLanes = hn::CappedTag<float, 16>;
constexpr size_t kFloatVectors = 16 / hn::MaxLanes(FloatLanes());

struct Product
{
    template <class V>
    static HWY_INLINE V of(V q, V v)
    {
        return hn::Mul(q, v);
    }
};

struct SquaredDifference
{
    template <class V>
    static HWY_INLINE V of(V q, V v)
    {
        const V difference = hn::Sub(q, v);
        return hn::Mul(difference, difference);
    }
};

/** Sums in sixteen parts; elements of 0 with 0 add nothing. */
template <class Formula>
struct FloatSums
{
    using T = float;
    using V = hn::Vec<FloatLanes>;
    struct Operand
    {
        // Written out, as it has to be compiled for the instruction set.
        HWY_INLINE Operand() {}

        V parts[kFloatVectors];
    };
    using Sums = Operand;
    static constexpr size_t kStep = 16;
    static constexpr bool kFillsLines = kFloatVectors == 1;

    struct Query
    {
        const float* data;
    };
    static HWY_INLINE Query query(const float* vector, size_t /*length*/) { return {vector}; }

    static HWY_INLINE Operand load(const float* from)
    {
        const FloatLanes d;
        Operand all;
        for (size_t i = 0; i < kFloatVectors; ++i)
        {
            all.parts[i] = hn::LoadU(d, from + i * hn::MaxLanes(FloatLanes()));
        }
        return all;
    }
    static HWY_INLINE Operand loadOfSet(const float* from) { return load(from); }
    static HWY_INLINE Operand rest(const float* vector, size_t seen, size_t length)
    {
#if HWY_TARGET <= HWY_AVX3
        const FloatLanes d;
        Operand all;
        all.parts[0] = hn::MaskedLoad(hn::FirstN(d, length - seen), d, vector + seen);
        return all;
#else
        HWY_ALIGN float padded[kStep] = {};
        std::memcpy(padded, vector + seen, (length - seen) * sizeof(float));
        return load(padded);
#endif
    }
    static HWY_INLINE Operand restOfSet(const float* vector, size_t seen, size_t length)
    {
        return rest(vector, seen, length);
    }
    static HWY_INLINE Sums zero()
    {
        Sums sums;
        for (size_t i = 0; i < kFloatVectors; ++i)
        {
            sums.parts[i] = hn::Zero(FloatLanes());
        }
        return sums;
    }
    static HWY_INLINE void add(Sums& sums, const Operand& q, const Operand& v)
    {
        for (size_t i = 0; i < kFloatVectors; ++i)
        {
            sums.parts[i] = hn::Add(sums.parts[i], Formula::of(q.parts[i], v.parts[i]));
        }
    }

    static HWY_INLINE void totals(const Sums& a, const Sums& b, const Sums& c, const Sums& e, const Query& /*query*/,
                                  size_t /*length*/, float* out)
    {
        const Four<float> d;
        hn::StoreU(withOneNan(d, fourTotals(d, fold(a), fold(b), fold(c), fold(e))), d, out);
    }

#if HWY_TARGET <= HWY_AVX3
    template <size_t kQueries, class Get>
    static HWY_INLINE void sixteen(const Query* /*queries*/, Get get, float* out)
    {
        const FloatLanes d;
        const auto totals = sixteenTotals(d, [&](size_t i) HWY_ATTR { return get(i).parts[0]; });
        hn::StoreU(withOneNan(d, totals), d, out);
    }
#endif

    /** Part i plus part i + 8, then plus part i + 4. */
    static HWY_INLINE hn::Vec<Four<float>> fold(const Sums& sums)
    {
        const FloatLanes d;
        if constexpr (kFloatVectors == 4)
        {
            return hn::Add(hn::Add(sums.parts[0], sums.parts[2]), hn::Add(sums.parts[1], sums.parts[3]));
        }
        else if constexpr (kFloatVectors == 2)
        {
            return sumOfBlocks(d, hn::Add(sums.parts[0], sums.parts[1]));
        }
        else
        {
            return sumOfBlocks(d, sums.parts[0]);
        }
    }
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
