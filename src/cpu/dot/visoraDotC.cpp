// Dot products, reference.
#include "cpu/dot/visoraDot.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

constexpr auto twoVectors = []<class T>(const T* src1, const T* src2, uint32_t length, Dot<T>* result)
{
    *result = dotProduct(src1, src2, length);
    return VISORA_SUCCESS;
};

constexpr auto oneToMany =
    []<class T>(const T* query, uint32_t length, const T* set, uint32_t numVectors, uint32_t setStride, Dot<T>* dst)
{
    for (size_t i = 0; i < numVectors; ++i)
    {
        dst[i] = dotProduct(query, planeRow(set, setStride, i), length);
    }
    return VISORA_SUCCESS;
};

constexpr auto indexed = []<class T>(const T* query, uint32_t length, const T* set, uint32_t /*numVectors*/,
                                     uint32_t setStride, const uint32_t* indices, uint32_t numIndices, Dot<T>* dst)
{
    for (size_t i = 0; i < numIndices; ++i)
    {
        dst[i] = dotProduct(query, planeRow(set, setStride, indices[i]), length);
    }
    return VISORA_SUCCESS;
};

constexpr auto matrix = []<class T>(const T* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                                    const T* src2, uint32_t numVectors2, uint32_t src2Stride, Dot<T>* dst,
                                    uint32_t dstStride)
{
    for (size_t i = 0; i < numVectors1; ++i)
    {
        for (size_t j = 0; j < numVectors2; ++j)
        {
            planeRow(dst, dstStride, i)[j] =
                dotProduct(planeRow(src1, src1Stride, i), planeRow(src2, src2Stride, j), length);
        }
    }
    return VISORA_SUCCESS;
};

constexpr auto nearest = []<class T>(const T* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                                     const T* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                                     Dot<T>* values)
{
    for (size_t q = 0; q < numQueries; ++q)
    {
        const GreatestProduct<T> greatest = {indices[q], values[q]};
        greatest.clear();
        for (uint32_t i = 0; i < numVectors; ++i)
        {
            greatest.add(i, dotProduct(planeRow(queries, queryStride, q), planeRow(set, setStride, i), length));
        }
    }
    return VISORA_SUCCESS;
};

constexpr auto cosines = []<class T>(const T* query, uint32_t length, const T* set, uint32_t numVectors,
                                     uint32_t setStride, const float* inverseLengths, float* dst)
{
    const float inverse = inverseLength(static_cast<uint32_t>(dotProduct(query, query, length)));
    for (size_t i = 0; i < numVectors; ++i)
    {
        dst[i] = cosineOf(dotProduct(query, planeRow(set, setStride, i), length), inverse, inverseLengths[i]);
    }
    return VISORA_SUCCESS;
};

template <uint32_t side>
constexpr auto patches = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* patch,
                            const uint32_t* xy, uint32_t count, uint32_t* dst)
{
    for (size_t k = 0; k < count; ++k)
    {
        dst[k] = 0;
        if (const uint8_t* window = windowAt<side>(src, width, height, stride, xy[2 * k], xy[2 * k + 1]))
        {
            for (size_t y = 0; y < side; ++y)
            {
                dst[k] += dotProduct(patch + y * side, window + y * stride, side);
            }
        }
    }
    return VISORA_SUCCESS;
};

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrDotProductu8, twoVectors);
VSR_REFERENCE(vsrDotProducts8, twoVectors);
VSR_REFERENCE(vsrDotProductu16, twoVectors);
VSR_REFERENCE(vsrDotProducts16, twoVectors);
VSR_REFERENCE(vsrDotProductf32, twoVectors);
VSR_REFERENCE(vsrDotOneToManyu8, oneToMany);
VSR_REFERENCE(vsrDotOneToManys8, oneToMany);
VSR_REFERENCE(vsrDotOneToManys16, oneToMany);
VSR_REFERENCE(vsrDotOneToManyf32, oneToMany);
VSR_REFERENCE(vsrDotIndexedu8, indexed);
VSR_REFERENCE(vsrDotIndexeds8, indexed);
VSR_REFERENCE(vsrDotIndexedf32, indexed);
VSR_REFERENCE(vsrDotMatrixu8, matrix);
VSR_REFERENCE(vsrDotMatrixs8, matrix);
VSR_REFERENCE(vsrDotMatrixf32, matrix);
VSR_REFERENCE(vsrDotNearestu8, nearest);
VSR_REFERENCE(vsrDotNearests8, nearest);
VSR_REFERENCE(vsrDotNearestf32, nearest);
VSR_REFERENCE(vsrDotNormedu8, cosines);
VSR_REFERENCE(vsrDotNormeds8, cosines);
VSR_REFERENCE(vsrDotPatch8x8u8, patches<8>);
VSR_REFERENCE(vsrDotPatch16x16u8, patches<16>);

vsrStatus vsrDotNormedf32C(const float* query, uint32_t length, const float* set, uint32_t numVectors,
                           uint32_t setStride, float* dst)
{
    const float squares = visora::dotProduct(query, query, length);
    for (size_t i = 0; i < numVectors; ++i)
    {
        const float* vector = visora::planeRow(set, setStride, i);
        dst[i] = visora::cosineOf(visora::dotProduct(query, vector, length), squares,
                                  visora::dotProduct(vector, vector, length));
    }
    return VISORA_SUCCESS;
}
