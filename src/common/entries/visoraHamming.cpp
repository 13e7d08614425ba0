// Entry points of the Hamming distances.
#include "common/visoraEntry.h"
#include "common/visoraIndices.h"
#include "visora/variants/corner.h"

using visora::Array;
using visora::OptionalArray;
using visora::Result;
using visora::ResultList;
using visora::ResultSet;
using visora::Set;

namespace
{

// Eight times as many bits as bytes have to fit 32 bits.
constexpr uint32_t kLongest = 0x1FFFFFFF;

constexpr auto pairOfStrings = [](auto open, const uint8_t* src1, const uint8_t* src2, uint32_t* distance)
{ return open(Array(src1), Array(src2), Result(distance)).run(src1, src2, distance); };

}  // namespace

VSR_ENTRY(vsrHammingBits256u8, vsrHammingBits256u8, pairOfStrings);
VSR_ENTRY(vsrHammingBits512u8, vsrHammingBits512u8, pairOfStrings);

vsrStatus vsrHammingBytesu8(const uint8_t* src1, const uint8_t* src2, uint32_t length, uint32_t* distance)
{
    return VSR_CALL(vsrHammingBytesu8, Array(src1, length), Array(src2, length), Result(distance))
        .require(length <= kLongest)
        .run(src1, src2, length, distance);
}

vsrStatus vsrHammingOneToManyu8(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors,
                                uint32_t setStride, const uint32_t* indices, uint32_t numIndices, uint32_t* distances)
{
    const Set vectors(set, length, setStride);
    return VSR_CALL(vsrHammingOneToManyu8, Array(query, length), vectors, OptionalArray(indices), ResultList(distances))
        .require(length <= kLongest && (indices || numIndices == 0) &&
                 visora::areBelow(indices, numIndices, numVectors))
        .run(query, length, set, numVectors, vectors.stride(), indices, numIndices, distances);
}

vsrStatus vsrHammingMatrixu8(const uint8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride,
                             const uint8_t* src2, uint32_t numVectors2, uint32_t src2Stride, uint32_t* dst,
                             uint32_t dstStride)
{
    const Set first(src1, length, src1Stride);
    const Set second(src2, length, src2Stride);
    const ResultSet out(dst, numVectors2, dstStride);
    return VSR_CALL(vsrHammingMatrixu8, first, second, out)
        .require(length <= kLongest)
        .run(src1, length, numVectors1, first.stride(), src2, numVectors2, second.stride(), dst, out.stride());
}

vsrStatus vsrHammingNearestu8(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                              const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t mutual,
                              uint32_t* indices, uint32_t* distances)
{
    const Set first(queries, length, queryStride);
    const Set second(set, length, setStride);
    return VSR_CALL(vsrHammingNearestu8, first, second, ResultList(indices), ResultList(distances))
        .require(length <= kLongest)
        .run(queries, length, numQueries, first.stride(), set, numVectors, second.stride(), mutual, indices, distances);
}

vsrStatus vsrHammingNearest2u8(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                               const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices,
                               uint32_t* distances)
{
    const Set first(queries, length, queryStride);
    const Set second(set, length, setStride);
    return VSR_CALL(vsrHammingNearest2u8, first, second, ResultList(indices), ResultList(distances))
        .require(length <= kLongest)
        .run(queries, length, numQueries, first.stride(), set, numVectors, second.stride(), indices, distances);
}

vsrStatus vsrHammingWithinu8(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                             const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t maxDistance,
                             uint32_t* indices, uint32_t capacity, uint32_t* counts)
{
    const Set first(queries, length, queryStride);
    const Set second(set, length, setStride);
    return VSR_CALL(vsrHammingWithinu8, first, second, ResultList(indices), ResultList(counts))
        .require(length <= kLongest && capacity != 0)
        .run(queries, length, numQueries, first.stride(), set, numVectors, second.stride(), maxDistance, indices,
             capacity, counts);
}
