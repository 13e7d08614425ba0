// Dot products, vector variants: four vectors of a set at once, for sets with sets several queries as well.
#include "cpu/dot/visoraDot.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/corner.h"

// The newest processors multiply bytes and add four products, and count the bits of words, at once.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/dot/visoraDotV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraDot-inl.h"
#include "vecta/visoraVariant-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class T>
vsrStatus twoVectors(const T* src1, const T* src2, uint32_t length, Dot<T>* result)
{
    withProducts<T>(length, [&](auto sum) HWY_ATTR { *result = sumWithOne<decltype(sum)>(src1, src2, length); });
    return VISORA_SUCCESS;
}

template <class T, bool kFar = false, class At>
HWY_INLINE vsrStatus withMany(const T* query, size_t length, size_t count, At at, Dot<T>* dst)
{
    withProducts<T>(length,
                    [&](auto sum) HWY_ATTR
                    {
                        using Sum = decltype(sum);
                        const typename Sum::Query one = Sum::query(query, length);
                        sumsWithMany<Sum, 1, false, kFar>(
                            &one, length, 0, count, at,
                            [&](size_t, size_t i, const Dot<T>* values, size_t valueCount) HWY_ATTR
                            { std::memcpy(dst + i, values, valueCount * sizeof(*values)); });
                    });
    return VISORA_SUCCESS;
}

template <class T>
vsrStatus oneToMany(const T* query, uint32_t length, const T* set, uint32_t numVectors, uint32_t setStride, Dot<T>* dst)
{
    const Rows<T> at = {set, setStride};
#if HWY_TARGET <= HWY_AVX3
    if (size_t{setStride} * numVectors >= kFarBytes)
    {
        return withMany<T, true>(query, length, numVectors, at, dst);
    }
#endif
    return withMany(query, length, numVectors, at, dst);
}

template <class T>
vsrStatus indexed(const T* query, uint32_t length, const T* set, uint32_t /*numVectors*/, uint32_t setStride,
                  const uint32_t* indices, uint32_t numIndices, Dot<T>* dst)
{
    return withMany(
        query, length, numIndices, [=](size_t i) { return planeRow(set, setStride, indices[i]); }, dst);
}

template <class T>
vsrStatus matrix(const T* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride, const T* src2,
                 uint32_t numVectors2, uint32_t src2Stride, Dot<T>* dst, uint32_t dstStride)
{
    withProducts<T>(length,
                    [&](auto sum) HWY_ATTR
                    {
                        sumsOfSets<decltype(sum)>(
                            src1, length, numVectors1, src1Stride, src2, numVectors2, src2Stride,
                            [&](size_t q, size_t i, const Dot<T>* values, size_t count) HWY_ATTR
                            { std::memcpy(planeRow(dst, dstStride, q) + i, values, count * sizeof(*values)); });
                    });
    return VISORA_SUCCESS;
}

template <class T>
vsrStatus nearest(const T* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride, const T* set,
                  uint32_t numVectors, uint32_t setStride, uint32_t* indices, Dot<T>* values)
{
    for (size_t q = 0; q < numQueries; ++q)
    {
        GreatestProduct<T>{indices[q], values[q]}.clear();
    }
    withProducts<T>(length,
                    [&](auto sum) HWY_ATTR
                    {
                        sumsOfSets<decltype(sum)>(queries, length, numQueries, queryStride, set, numVectors, setStride,
                                                  [&](size_t q, size_t i, const Dot<T>* products, size_t count) HWY_ATTR
                                                  {
                                                      const GreatestProduct<T> greatest = {indices[q], values[q]};
                                                      for (size_t k = 0; k < count; ++k)
                                                      {
                                                          greatest.add(static_cast<uint32_t>(i + k), products[k]);
                                                      }
                                                  });
                    });
    return VISORA_SUCCESS;
}

template <class T>
vsrStatus cosines(const T* query, uint32_t length, const T* set, uint32_t numVectors, uint32_t setStride,
                  const float* inverseLengths, float* dst)
{
    withProducts<T>(length,
                    [&](auto sum) HWY_ATTR
                    {
                        using Sum = decltype(sum);
                        const float inverse =
                            inverseLength(static_cast<uint32_t>(sumWithOne<Sum>(query, query, length)));
                        const typename Sum::Query one = Sum::query(query, length);
                        sumsWithMany<Sum, 1>(&one, length, 0, numVectors, Rows<T>{set, setStride},
                                             [&](size_t, size_t i, const Dot<T>* products, size_t count) HWY_ATTR
                                             {
                                                 for (size_t k = 0; k < count; ++k)
                                                 {
                                                     dst[i + k] = cosineOf(products[k], inverse, inverseLengths[i + k]);
                                                 }
                                             });
                    });
    return VISORA_SUCCESS;
}

vsrStatus floatCosines(const float* query, uint32_t length, const float* set, uint32_t numVectors, uint32_t setStride,
                       float* dst)
{
    using Sum = FloatSums<Product>;
    const float squares = sumWithOne<Sum>(query, query, length);
    const Sum::Query one = Sum::query(query, length);
    // Products come before the squares of the same vectors.
    float products[4];
    sumsWithMany<Sum, 2, true>(&one, length, 0, numVectors, Rows<float>{set, setStride},
                               [&](size_t q, size_t i, const float* values, size_t count) HWY_ATTR
                               {
                                   for (size_t k = 0; k < count; ++k)
                                   {
                                       if (q == 0)
                                       {
                                           products[k] = values[k];
                                       }
                                       else
                                       {
                                           dst[i + k] = cosineOf(products[k], squares, values[k]);
                                       }
                                   }
                               });
    return VISORA_SUCCESS;
}

template <uint32_t side>
HWY_INLINE vsrStatus patches(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* patch,
                             const uint32_t* xy, uint32_t count, uint32_t* dst)
{
    const hn::CappedTag<int16_t, side> d;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const hn::RepartitionToWide<decltype(d)> d32;
    constexpr size_t kLanes = hn::MaxLanes(decltype(d)());
    alignas(64) int16_t wide[side * side];
    for (size_t i = 0; i < side * side; i += kLanes)
    {
        hn::Store(hn::PromoteTo(d, hn::LoadU(d8, patch + i)), d, wide + i);
    }
    for (size_t k = 0; k < count; ++k)
    {
        const uint8_t* window = windowAt<side>(src, width, height, stride, xy[2 * k], xy[2 * k + 1]);
        if (!window)
        {
            dst[k] = 0;
            continue;
        }
        auto sums = hn::Zero(d32);
        for (size_t y = 0; y < side; ++y)
        {
            for (size_t x = 0; x < side; x += kLanes)
            {
                const auto pixels = hn::PromoteTo(d, hn::LoadU(d8, window + y * stride + x));
                sums = hn::Add(sums, sumsOfPairProducts(d32, pixels, hn::Load(d, wide + y * side + x)));
            }
        }
        dst[k] = static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(d32, sums)));
    }
    return VISORA_SUCCESS;
}

#define DOT_VARIANT(name, kernel, ...) \
    VSR_VARIANT(vsrDot##name, [](auto... all) HWY_ATTR { return kernel __VA_ARGS__(all...); })

DOT_VARIANT(Productu8, twoVectors);
DOT_VARIANT(Products8, twoVectors);
DOT_VARIANT(Productu16, twoVectors);
DOT_VARIANT(Products16, twoVectors);
DOT_VARIANT(Productf32, twoVectors);
DOT_VARIANT(OneToManyu8, oneToMany);
DOT_VARIANT(OneToManys8, oneToMany);
DOT_VARIANT(OneToManys16, oneToMany);
DOT_VARIANT(OneToManyf32, oneToMany);
DOT_VARIANT(Indexedu8, indexed);
DOT_VARIANT(Indexeds8, indexed);
DOT_VARIANT(Indexedf32, indexed);
DOT_VARIANT(Matrixu8, matrix);
DOT_VARIANT(Matrixs8, matrix);
DOT_VARIANT(Matrixf32, matrix);
DOT_VARIANT(Nearestu8, nearest);
DOT_VARIANT(Nearests8, nearest);
DOT_VARIANT(Nearestf32, nearest);
DOT_VARIANT(Normedu8, cosines);
DOT_VARIANT(Normeds8, cosines);
DOT_VARIANT(Normedf32, floatCosines);
DOT_VARIANT(Patch8x8u8, patches, <8>);
DOT_VARIANT(Patch16x16u8, patches, <16>);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
