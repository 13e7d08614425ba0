// Clusters, vector variants. The distances of bytes come of their products: |x - c|^2 = |x|^2 + |c|^2 - 2 x c.
#include "cpu/cluster/visoraCluster.h"
#include "cpu/visoraScratch.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

// The newest processors multiply bytes and add four products, and count the bits of words, at once.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/cluster/visoraClusterV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraDot-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus assignFloats(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride, const float* centres,
                       uint32_t numCentres, uint32_t centreStride, uint16_t* indices, float* distances)
{
    sumsOfSets<FloatSums<SquaredDifference>>(
        src, length, numVectors, srcStride, centres, numCentres, centreStride,
        [&](size_t i, size_t k, const float* found, size_t count) HWY_ATTR
        {
            const NearestCentre<uint16_t, float> nearest = {indices[i], distances[i]};
            for (size_t n = 0; n < count; ++n)
            {
                nearest.add(k + n, found[n]);
            }
        });
    return VISORA_SUCCESS;
}

vsrStatus assignBytes(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                      const uint8_t* centres, uint32_t numCentres, uint32_t centreStride, uint16_t* indices,
                      uint32_t* distances)
{
    const Scratch scratch(numCentres * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* squares = scratch.as<uint32_t>();
    withProducts<uint8_t>(
        length,
        [&](auto sum) HWY_ATTR
        {
            using Sum = decltype(sum);
            const auto squareOf = [&](const uint8_t* v) HWY_ATTR { return sumWithOne<Sum>(v, v, length); };
            for (size_t k = 0; k < numCentres; ++k)
            {
                squares[k] = squareOf(planeRow(centres, centreStride, k));
            }
            constexpr size_t kAtOnce = 256;
            uint32_t own[kAtOnce];
            for (size_t first = 0; first < numVectors; first += kAtOnce)
            {
                const size_t some = std::min(kAtOnce, numVectors - first);
                for (size_t i = 0; i < some; ++i)
                {
                    own[i] = squareOf(planeRow(src, srcStride, first + i));
                }
                sumsOfSets<Sum>(
                    planeRow(src, srcStride, first), length, some, srcStride, centres, numCentres, centreStride,
                    [&](size_t i, size_t k, const uint32_t* products, size_t count) HWY_ATTR
                    {
                        const NearestCentre<uint16_t, uint32_t> nearest = {indices[first + i], distances[first + i]};
                        for (size_t n = 0; n < count; ++n)
                        {
                            nearest.add(k + n, own[i] + squares[k + n] - 2 * products[n]);
                        }
                    });
            }
        });
    return VISORA_SUCCESS;
}

/** Adds a vector to wider sums; called by code of no instruction set. */
struct AddElements
{
    template <class T, class Sum>
    void operator()(const T* HWY_RESTRICT from, Sum* HWY_RESTRICT to, size_t length) const
    {
        const hn::ScalableTag<Sum> d;
        const hn::Rebind<T, decltype(d)> dFrom;
        const size_t lanes = hn::Lanes(d);
        size_t e = 0;
        for (; e + lanes <= length; e += lanes)
        {
            hn::StoreU(hn::Add(hn::LoadU(d, to + e), hn::PromoteTo(d, hn::LoadU(dFrom, from + e))), d, to + e);
        }
        for (; e < length; ++e)
        {
            to[e] += static_cast<Sum>(from[e]);
        }
    }
};

vsrStatus updateFloats(const float* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                       const uint16_t* indices, float* centres, uint32_t numCentres, uint32_t centreStride,
                       float* maxShift)
{
    return updateCentres(AddElements(), src, length, numVectors, srcStride, indices, centres, numCentres, centreStride,
                         maxShift);
}

vsrStatus updateBytes(const uint8_t* src, uint32_t length, uint32_t numVectors, uint32_t srcStride,
                      const uint16_t* indices, uint8_t* centres, uint32_t numCentres, uint32_t centreStride,
                      uint32_t* counts)
{
    // So many bytes fit a sum of 32 bits.
    constexpr uint32_t kMost = UINT32_MAX / 255;
    if (numVectors > kMost)
    {
        return vsrClusterUpdateu8C(src, length, numVectors, srcStride, indices, centres, numCentres, centreStride,
                                   counts);
    }
    return updateCentres<uint32_t>(AddElements(), src, length, numVectors, srcStride, indices, centres, numCentres,
                                   centreStride, counts);
}

vsrStatus codeHistogram(const uint16_t* codes, uint32_t numCodes, uint32_t numBins, vsrHistogramNorm norm,
                        float* histogram)
{
    // Equal codes in a row wait for each other in one table.
    constexpr size_t kTables = 4;
    const Scratch scratch(kTables * size_t{numBins} * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* counts = scratch.as<uint32_t>();
    std::fill_n(counts, kTables * size_t{numBins}, 0u);
    size_t i = 0;
    for (; i + kTables <= numCodes; i += kTables)
    {
        for (size_t k = 0; k < kTables; ++k)
        {
            ++counts[k * size_t{numBins} + codes[i + k]];
        }
    }
    for (; i < numCodes; ++i)
    {
        ++counts[codes[i]];
    }
    for (i = 0; i < numBins; ++i)
    {
        counts[i] += counts[numBins + i] + counts[2 * size_t{numBins} + i] + counts[3 * size_t{numBins} + i];
    }
    const float scale = histogramScale(norm, counts, numCodes, numBins);
    for (i = 0; i < numBins; ++i)
    {
        histogram[i] = numCodes != 0 ? static_cast<float>(counts[i]) / scale : 0;
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrClusterAssignf32, assignFloats);
VSR_VECTOR(vsrClusterAssignu8, assignBytes);
VSR_VECTOR(vsrClusterUpdatef32, updateFloats);
VSR_VECTOR(vsrClusterUpdateu8, updateBytes);
VSR_VECTOR(vsrCodeHistogramu16, codeHistogram);
#endif
