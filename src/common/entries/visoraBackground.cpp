// Entry points of the codebook background.
#include "common/visoraEntry.h"
#include "visora/variants/background.h"

using visora::Array;
using visora::In;
using visora::Out;
using visora::Result;

namespace
{

constexpr uint32_t kMostWords = 255;

// The elements of a model's buffers.
struct ModelSize
{
    ModelSize(uint32_t width, uint32_t height, uint32_t maxWords)
        : counts(uint64_t{width} * height), bounds(12 * maxWords * counts), lastSeen(maxWords * counts)
    {
    }

    uint64_t counts;
    uint64_t bounds;
    uint64_t lastSeen;
};

}  // namespace

vsrStatus vsrBGCodeLearnu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint8_t* reach, uint32_t time, uint32_t maxWords, uint8_t* counts, uint8_t* bounds,
                           uint32_t* lastSeen)
{
    const In in(src, srcWidth, srcHeight, srcStride, 3);
    const Array reaches(reach, 3);
    const ModelSize size(srcWidth, srcHeight, maxWords);
    const Result countBuffer(counts, size.counts);
    const Result boundBuffer(bounds, size.bounds);
    const Result timeBuffer(lastSeen, size.lastSeen);
    return VSR_CALL(vsrBGCodeLearnu8, in, reaches, countBuffer, boundBuffer, timeBuffer)
        .require(maxWords <= kMostWords)
        .run(src, srcWidth, srcHeight, in.stride(), reach, time, maxWords, counts, bounds, lastSeen);
}

vsrStatus vsrBGCodeClassifyu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t maxWords, const uint8_t* counts, const uint8_t* bounds, const uint8_t* below,
                              const uint8_t* above, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride, 3);
    const ModelSize size(srcWidth, srcHeight, maxWords);
    const Array countBuffer(counts, size.counts);
    const Array boundBuffer(bounds, size.bounds);
    const Array belows(below, 3);
    const Array aboves(above, 3);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrBGCodeClassifyu8, in, countBuffer, boundBuffer, belows, aboves, out)
        .require(maxWords <= kMostWords)
        .run(src, srcWidth, srcHeight, in.stride(), maxWords, counts, bounds, below, above, dst, out.stride());
}

vsrStatus vsrBGCodePruneu8(uint32_t width, uint32_t height, uint32_t time, uint32_t maxAge, uint32_t maxWords,
                           uint8_t* counts, uint8_t* bounds, uint32_t* lastSeen)
{
    const ModelSize size(width, height, maxWords);
    const Result countBuffer(counts, size.counts);
    const Result boundBuffer(bounds, size.bounds);
    const Result timeBuffer(lastSeen, size.lastSeen);
    return VSR_CALL(vsrBGCodePruneu8, countBuffer, boundBuffer, timeBuffer)
        .require(maxWords <= kMostWords)
        .run(width, height, time, maxAge, maxWords, counts, bounds, lastSeen);
}
