// Sums over the products of vectors, or over other functions of two elements, several vectors at once. Included once
// per instruction set.
#if defined(VISORA_VECTA_DOT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DOT_INL_H
#undef VISORA_VECTA_DOT_INL_H
#else
#define VISORA_VECTA_DOT_INL_H
#endif

#include <algorithm>
#include <type_traits>

#include "cpu/visoraPlane.h"
#include "hwy/cache_control.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraDotSums-inl.h"

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

// ---- Several vectors at once ----

/** Sets that no cache has are asked for so many bytes ahead. */
constexpr size_t kAhead = size_t{8} << 10;
constexpr size_t kFarBytes = size_t{1} << 20;

/**
 * Sums of kQueries queries with kVectors vectors of a set, four or, with one query, sixteen. With kSquares the last
 * query is not read: each vector of the set stands in for it.
 */
template <class Sum, size_t kQueries, size_t kVectors, bool kSquares, bool kFar>
HWY_INLINE void sumsWithSome(const typename Sum::Query* queries, const typename Sum::T* const* vectors, size_t length,
                             Dot<typename Sum::T> (*out)[kVectors])
{
    typename Sum::Sums sums[kQueries][kVectors];
    for (size_t i = 0; i < kQueries; ++i)
    {
        for (size_t k = 0; k < kVectors; ++k)
        {
            sums[i][k] = Sum::zero();
        }
    }
    const auto step = [&](auto load, auto loadOfSet) HWY_ATTR __attribute__((always_inline))
    {
        typename Sum::Operand q[kQueries];
        for (size_t i = 0; i < kQueries - kSquares; ++i)
        {
            q[i] = load(queries[i].data);
        }
        const auto addVector = [&](size_t k) HWY_ATTR __attribute__((always_inline))
        {
            const typename Sum::Operand v = loadOfSet(vectors[k]);
            for (size_t i = 0; i < kQueries; ++i)
            {
                Sum::add(sums[i][k], kSquares && i + 1 == kQueries ? v : q[i], v);
            }
        };
#if HWY_ARCH_ARM
        // Compilers would unroll it too late to keep the sums in registers.
        addVector(0);
        addVector(1);
        addVector(2);
        addVector(3);
#else
        for (size_t k = 0; k < kVectors; ++k)
        {
            addVector(k);
        }
#endif
    };
    size_t x = 0;
    for (; x + Sum::kStep <= length; x += Sum::kStep)
    {
        step([x](const auto* from) HWY_ATTR { return Sum::load(from + x); },
             [x](const auto* from) HWY_ATTR
             {
                 if constexpr (kFar)
                 {
                     hwy::Prefetch(reinterpret_cast<const uint8_t*>(from + x) + kAhead);
                 }
                 return Sum::loadOfSet(from + x);
             });
    }
    if (x < length)
    {
        step([&](const auto* vector) HWY_ATTR { return Sum::rest(vector, x, length); },
             [&](const auto* vector) HWY_ATTR { return Sum::restOfSet(vector, x, length); });
    }
#if HWY_TARGET <= HWY_AVX3
    if constexpr (Sum::kFillsLines && kQueries * kVectors == 16)
    {
        return Sum::template sixteen<kQueries>(
            queries, [&](size_t i) HWY_ATTR { return sums[i / kVectors][i % kVectors]; }, out[0]);
    }
    else
#endif
    {
        for (size_t i = 0; i < kQueries; ++i)
        {
            Sum::totals(sums[i][0], sums[i][1], sums[i][2], sums[i][3], queries[kSquares ? 0 : i], length, out[i]);
        }
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

/** The vectors of a set, by their places. */
template <class T>
struct Rows
{
    const T* set;
    size_t stride;

    HWY_INLINE const T* operator()(size_t i) const { return planeRow(set, stride, i); }
};

/** at(i) and those behind it; behind the last vector it stands in for those that are not there. */
template <class At, class T, size_t kVectors>
HWY_INLINE void vectorsFrom(At at, size_t i, size_t end, const T* (&vectors)[kVectors])
{
    if constexpr (std::is_same_v<At, Rows<T>>)
    {
        if (end - i >= kVectors)
        {
            // One after the other: compilers would multiply in vectors.
            vectors[0] = at(i);
            for (size_t k = 1; k < kVectors; ++k)
            {
                vectors[k] = planeRow(vectors[k - 1], at.stride, 1);
            }
            return;
        }
    }
    for (size_t k = 0; k < kVectors; ++k)
    {
        vectors[k] = at(std::min(i + k, end - 1));
    }
}

/**
 * Sums of kQueries queries with the vectors at(first) .. at(end - 1): put(query, i, values, count) gets those with
 * vectors i .. i + count - 1. With kSquares the last of the queries is the vector itself.
 */
template <class Sum, size_t kQueries, bool kSquares = false, bool kFar = false, class At, class Put>
HWY_INLINE void sumsWithMany(const typename Sum::Query* queries, size_t length, size_t first, size_t end, At at,
                             Put put)
{
    constexpr size_t kVectors = Sum::kFillsLines && kQueries == 1 ? 16 : 4;
    for (size_t i = first; i < end; i += kVectors)
    {
        const typename Sum::T* vectors[kVectors];
        vectorsFrom(at, i, end, vectors);
        Dot<typename Sum::T> values[kQueries][kVectors];
        sumsWithSome<Sum, kQueries, kVectors, kSquares, kFar>(queries, vectors, length, values);
        for (size_t q = 0; q < kQueries; ++q)
        {
            // Of a number that is known a copy is no call.
            if (end - i >= kVectors)
            {
                put(q, i, values[q], kVectors);
            }
            else
            {
                put(q, i, values[q], end - i);
            }
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
    const Rows<typename Sum::T> at = {set, setStride};
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
