// Entry points of the dot products.
#include "common/visoraEntry.h"
#include "common/visoraIndices.h"
#include "visora/variants/corner.h"

using visora::Array;
using visora::In;
using visora::List;
using visora::Result;
using visora::ResultList;
using visora::ResultSet;
using visora::Set;

namespace
{

constexpr auto twoVectors = [](auto open, const auto* src1, const auto* src2, uint32_t length, auto* result)
{ return open(Array(src1, length), Array(src2, length), Result(result)).run(src1, src2, length, result); };

constexpr auto oneToMany = [](auto open, const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                              uint32_t setStride, auto* dst)
{
    const Set vectors(set, length, setStride);
    return open(Array(query, length), vectors, ResultList(dst))
        .run(query, length, set, numVectors, vectors.stride(), dst);
};

constexpr auto indexed = [](auto open, const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                            uint32_t setStride, const uint32_t* indices, uint32_t numIndices, auto* dst)
{
    const Set vectors(set, length, setStride);
    return open(Array(query, length), vectors, List(indices), ResultList(dst))
        .require(visora::areBelow(indices, numIndices, numVectors))
        .run(query, length, set, numVectors, vectors.stride(), indices, numIndices, dst);
};

constexpr auto matrix = [](auto open, const auto* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                           const auto* src2, uint32_t numVectors2, uint32_t src2Stride, auto* dst, uint32_t dstStride)
{
    const Set first(src1, length, src1Stride);
    const Set second(src2, length, src2Stride);
    const ResultSet out(dst, numVectors2, dstStride);
    return open(first, second, out)
        .run(src1, length, numVectors1, first.stride(), src2, numVectors2, second.stride(), dst, out.stride());
};

constexpr auto nearest = [](auto open, const auto* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                            const auto* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices, auto* values)
{
    const Set first(queries, length, queryStride);
    const Set second(set, length, setStride);
    return open(first, second, ResultList(indices), ResultList(values))
        .run(queries, length, numQueries, first.stride(), set, numVectors, second.stride(), indices, values);
};

constexpr auto cosines = [](auto open, const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                            uint32_t setStride, const float* inverseLengths, float* dst)
{
    const Set vectors(set, length, setStride);
    return open(Array(query, length), vectors, List(inverseLengths), ResultList(dst))
        .run(query, length, set, numVectors, vectors.stride(), inverseLengths, dst);
};

template <uint32_t side>
constexpr auto patches = [](auto open, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* patch, const uint32_t* xy, uint32_t nPoints, uint32_t* dst)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    return open(in, Array(patch, side * side), List(xy), ResultList(dst))
        .run(src, srcWidth, srcHeight, in.stride(), patch, xy, nPoints, dst);
};

}  // namespace

VSR_ENTRY(vsrDotProductu8, vsrDotProductu8, twoVectors);
VSR_ENTRY(vsrDotProducts8, vsrDotProducts8, twoVectors);
VSR_ENTRY(vsrDotProductu16, vsrDotProductu16, twoVectors);
VSR_ENTRY(vsrDotProducts16, vsrDotProducts16, twoVectors);
VSR_ENTRY(vsrDotProductf32, vsrDotProductf32, twoVectors);
VSR_ENTRY(vsrDotOneToManyu8, vsrDotOneToManyu8, oneToMany);
VSR_ENTRY(vsrDotOneToManys8, vsrDotOneToManys8, oneToMany);
VSR_ENTRY(vsrDotOneToManys16, vsrDotOneToManys16, oneToMany);
VSR_ENTRY(vsrDotOneToManyf32, vsrDotOneToManyf32, oneToMany);
VSR_ENTRY(vsrDotIndexedu8, vsrDotIndexedu8, indexed);
VSR_ENTRY(vsrDotIndexeds8, vsrDotIndexeds8, indexed);
VSR_ENTRY(vsrDotIndexedf32, vsrDotIndexedf32, indexed);
VSR_ENTRY(vsrDotMatrixu8, vsrDotMatrixu8, matrix);
VSR_ENTRY(vsrDotMatrixs8, vsrDotMatrixs8, matrix);
VSR_ENTRY(vsrDotMatrixf32, vsrDotMatrixf32, matrix);
VSR_ENTRY(vsrDotNearestu8, vsrDotNearestu8, nearest);
VSR_ENTRY(vsrDotNearests8, vsrDotNearests8, nearest);
VSR_ENTRY(vsrDotNearestf32, vsrDotNearestf32, nearest);
VSR_ENTRY(vsrDotNormedf32, vsrDotNormedf32, oneToMany);
VSR_ENTRY(vsrDotNormedu8, vsrDotNormedu8, cosines);
VSR_ENTRY(vsrDotNormeds8, vsrDotNormeds8, cosines);
VSR_ENTRY(vsrDotPatch8x8u8, vsrDotPatch8x8u8, patches<8>);
VSR_ENTRY(vsrDotPatch16x16u8, vsrDotPatch16x16u8, patches<16>);
