// Sums over the products of vectors, or over other functions of two elements, several vectors at once. Included once
// per instruction set.
//
// What is summed is a class: its Sums are the running sums of two vectors, its operands steps of kStep elements.
#if defined(VISORA_VECTA_DOT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DOT_INL_H
#undef VISORA_VECTA_DOT_INL_H
#else
#define VISORA_VECTA_DOT_INL_H
#endif

#include <algorithm>
#include <cstring>

#include "cpu/dot/visoraDot.h"
#include "cpu/visoraPlane.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraTotals-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** The machine has registers for the sums of four vectors with four. */
#if HWY_TARGET <= HWY_AVX3 || HWY_ARCH_ARM
constexpr size_t kQueriesAbreast = 4;
#else
constexpr size_t kQueriesAbreast = 2;
#endif

// ---- Steps at the end of vectors ----

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

// ---- Bytes ----

/** Products of bytes, exact modulo 2^32. */
template <class D>
struct ByteProducts
{
    using T = hn::TFromD<D>;
    using D32 = hn::Repartition<uint32_t, D>;
    using Sums = hn::Vec<D32>;
    static constexpr size_t kStep = hn::MaxLanes(D());

#if VISORA_ADDS_FOUR_PRODUCTS
    using Operand = hn::Vec<D>;
    // One factor is signed, the other is not: 128 is taken from the set's elements, or added to them, and the
    // query's sum makes up for it.
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

    static HWY_INLINE Operand load(const T* from)
    {
        return hn::LoadU(D(), from);
    }
    static HWY_INLINE Operand loadOfSet(const T* from)
    {
        return flipped(hn::LoadU(D(), from));
    }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return loadRest(D(), vector, seen, length);
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return flipped(loadEnd(D(), vector, length));
    }
    static HWY_INLINE void add(Sums& sums, Operand q, Operand v)
    {
        const auto whole = std::is_signed_v<T> ? v : q;
        const auto sign = std::is_signed_v<T> ? q : v;
        sums = addFourProducts(sums, whole, sign);
    }
#else
    struct Query
    {
        const T* data;
        static constexpr uint32_t correction = 0;
    };
    static HWY_INLINE Query query(const T* vector, size_t /*length*/)
    {
        return {vector};
    }
#if HWY_ARCH_ARM
    using Operand = hn::Vec<D>;
    static HWY_INLINE Operand load(const T* from)
    {
        return hn::LoadU(D(), from);
    }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return loadRest(D(), vector, seen, length);
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return loadEnd(D(), vector, length);
    }
    static HWY_INLINE void add(Sums& sums, Operand q, Operand v)
    {
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
    }
#else
    using D16 = hn::Repartition<int16_t, D>;
    using Narrow = hn::Half<D>;
    struct Operand
    {
        hn::Vec<D16> low, high;
    };
    static HWY_INLINE Operand widened(hn::Vec<D> v)
    {
        return {hn::PromoteTo(D16(), hn::LowerHalf(Narrow(), v)), hn::PromoteTo(D16(), hn::UpperHalf(Narrow(), v))};
    }
    static HWY_INLINE Operand load(const T* from)
    {
        return {hn::PromoteTo(D16(), hn::LoadU(Narrow(), from)),
                hn::PromoteTo(D16(), hn::LoadU(Narrow(), from + kStep / 2))};
    }
    static HWY_INLINE Operand rest(const T* vector, size_t seen, size_t length)
    {
        return widened(loadRest(D(), vector, seen, length));
    }
    static HWY_INLINE Operand restOfSet(const T* vector, size_t /*seen*/, size_t length)
    {
        return widened(loadEnd(D(), vector, length));
    }
    static HWY_INLINE void add(Sums& sums, const Operand& q, const Operand& v)
    {
        const hn::RebindToSigned<D32> d;
        const auto pairs = hn::Add(sumsOfPairProducts(d, q.low, v.low), sumsOfPairProducts(d, q.high, v.high));
        sums = hn::Add(sums, hn::BitCast(D32(), pairs));
    }
#endif
    static HWY_INLINE Operand loadOfSet(const T* from)
    {
        return load(from);
    }
#endif

    static HWY_INLINE Sums zero()
    {
        return hn::Zero(D32());
    }

    static HWY_INLINE void totals(Sums a, Sums b, Sums c, Sums e, const Query& query, size_t /*length*/, Dot<T>* out)
    {
        const Four<uint32_t> four;
        const D32 d;
        const auto all = fourTotals(four, sumOfBlocks(d, a), sumOfBlocks(d, b), sumOfBlocks(d, c), sumOfBlocks(d, e));
        const auto corrected = hn::Add(all, hn::Set(four, query.correction));
        hn::StoreU(hn::BitCast(Four<Dot<T>>(), corrected), Four<Dot<T>>(), out);
    }

  private:
    static HWY_INLINE hn::Vec<D> flipped(hn::Vec<D> v)
    {
        return hn::Xor(v, hn::Set(D(), static_cast<T>(0x80)));
    }
};

// ---- Numbers of 16 bits ----

/** Products of 16-bit numbers, exact in 64 bits. */
template <class D>
struct ShortProducts
{
    using T = hn::TFromD<D>;
    using D64 = hn::Repartition<uint64_t, D>;
    using Sums = hn::Vec<D64>;
    using Operand = hn::Vec<D>;
    static constexpr size_t kStep = hn::MaxLanes(D());

    struct Query
    {
        const T* data;
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

// ---- Several vectors at once ----

/**
 * Sums of kQueries queries with four vectors of a set. With kSquares the last query is not read: each vector of the set
 * stands in for it.
 */
template <class Sum, size_t kQueries, bool kSquares = false>
HWY_INLINE void sumsWithFour(const typename Sum::Query* queries, const typename Sum::T* const* vectors, size_t length,
                             Dot<typename Sum::T> (*out)[4])
{
    typename Sum::Sums sums[kQueries][4];
    for (size_t i = 0; i < kQueries; ++i)
    {
        for (size_t k = 0; k < 4; ++k)
        {
            sums[i][k] = Sum::zero();
        }
    }
    const auto step = [&](auto load, auto loadOfSet) HWY_ATTR
    {
        typename Sum::Operand q[kQueries];
        for (size_t i = 0; i < kQueries - kSquares; ++i)
        {
            q[i] = load(queries[i].data);
        }
        for (size_t k = 0; k < 4; ++k)
        {
            const typename Sum::Operand v = loadOfSet(vectors[k]);
            for (size_t i = 0; i < kQueries; ++i)
            {
                Sum::add(sums[i][k], kSquares && i + 1 == kQueries ? v : q[i], v);
            }
        }
    };
    size_t x = 0;
    for (; x + Sum::kStep <= length; x += Sum::kStep)
    {
        step([x](const auto* from) HWY_ATTR { return Sum::load(from + x); },
             [x](const auto* from) HWY_ATTR { return Sum::loadOfSet(from + x); });
    }
    if (x < length)
    {
        step([&](const auto* vector) HWY_ATTR { return Sum::rest(vector, x, length); },
             [&](const auto* vector) HWY_ATTR { return Sum::restOfSet(vector, x, length); });
    }
    for (size_t i = 0; i < kQueries; ++i)
    {
        Sum::totals(sums[i][0], sums[i][1], sums[i][2], sums[i][3], queries[kSquares ? 0 : i], length, out[i]);
    }
}

/** The sum of one vector with another. */
template <class Sum>
HWY_INLINE Dot<typename Sum::T> sumWithOne(const typename Sum::T* a, const typename Sum::T* b, size_t length)
{
    const typename Sum::Query query = Sum::query(a, length);
    typename Sum::Sums sums = Sum::zero();
    size_t x = 0;
    for (; x + Sum::kStep <= length; x += Sum::kStep)
    {
        Sum::add(sums, Sum::load(a + x), Sum::loadOfSet(b + x));
    }
    if (x < length)
    {
        Sum::add(sums, Sum::rest(a, x, length), Sum::restOfSet(b, x, length));
    }
    Dot<typename Sum::T> all[4];
    Sum::totals(sums, Sum::zero(), Sum::zero(), Sum::zero(), query, length, all);
    return all[0];
}

/**
 * Sums of kQueries queries with the vectors at(first) .. at(end - 1): put(query, i, values, count) gets those with
 * vectors i .. i + count - 1. With kSquares the last of the queries is the vector itself.
 */
template <class Sum, size_t kQueries, bool kSquares = false, class At, class Put>
HWY_INLINE void sumsWithMany(const typename Sum::Query* queries, size_t length, size_t first, size_t end, At at,
                             Put put)
{
    for (size_t i = first; i < end; i += 4)
    {
        // Behind the last vector it stands in for those that are not there.
        const typename Sum::T* vectors[4];
        for (size_t k = 0; k < 4; ++k)
        {
            vectors[k] = at(std::min(i + k, end - 1));
        }
        Dot<typename Sum::T> values[kQueries][4];
        sumsWithFour<Sum, kQueries, kSquares>(queries, vectors, length, values);
        for (size_t q = 0; q < kQueries; ++q)
        {
            put(q, i, values[q], std::min<size_t>(4, end - i));
        }
    }
}

/** Sums of all queries with all vectors of a set, whose vectors come in rising order for each query. */
template <class Sum, class Put>
HWY_INLINE void sumsOfSets(const typename Sum::T* queries, size_t length, size_t numQueries, size_t queryStride,
                           const typename Sum::T* set, size_t numVectors, size_t setStride, Put put)
{
    // So much of a set stays near while the queries pass.
    constexpr size_t kNear = 1 << 17;
    const size_t abreast = std::max<size_t>(4, kNear / (length * sizeof(typename Sum::T)) / 4 * 4);
    const auto at = [=](size_t i) { return planeRow(set, setStride, i); };
    for (size_t first = 0; first < numVectors; first += abreast)
    {
        const size_t end = std::min(numVectors, first + abreast);
        const auto run = [&]<size_t count>(std::integral_constant<size_t, count> /*queries*/, size_t q) HWY_ATTR
        {
            typename Sum::Query some[count];
            for (size_t i = 0; i < count; ++i)
            {
                some[i] = Sum::query(planeRow(queries, queryStride, q + i), length);
            }
            sumsWithMany<Sum, count>(some, length, first, end, at,
                                     [&](size_t i, size_t place, const auto* values, size_t valueCount) HWY_ATTR
                                     { put(q + i, place, values, valueCount); });
        };
        size_t q = 0;
        // Floats in four vectors leave no room for more queries.
        constexpr size_t kAbreast = sizeof(typename Sum::Sums) > sizeof(hn::Vec<FloatLanes>) ? 1 : kQueriesAbreast;
        for (; q + kAbreast <= numQueries; q += kAbreast)
        {
            run(std::integral_constant<size_t, kAbreast>(), q);
        }
        for (; q < numQueries; ++q)
        {
            run(std::integral_constant<size_t, 1>(), q);
        }
    }
}

/** Runs body(sums of products of T), by vectors that `length` elements fill if there are such. */
template <class T, class Body>
HWY_INLINE void withProducts([[maybe_unused]] size_t length, Body body)
{
    if constexpr (std::is_same_v<T, float>)
    {
        body(FloatSums<Product>());
    }
    else
    {
        const auto run = [&](auto d) HWY_ATTR
        {
            using D = decltype(d);
            body(std::conditional_t<sizeof(T) == 1, ByteProducts<D>, ShortProducts<D>>());
        };
        const hn::ScalableTag<T> wide;
        if (length >= hn::MaxLanes(wide))
        {
            run(wide);
        }
        else
        {
            run(hn::FixedTag<T, 16 / sizeof(T)>());
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
