#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/arithmetic.h"

namespace visora::test
{

namespace
{

// Results may lie anywhere.
template <class T>
uint32_t strideOf(Arguments& a)
{
    a.entry().inPlace = EntryRule::InPlace::NotLookedAt;
    return a.srcStride(static_cast<uint32_t>(a.shape().width * sizeof(T)), sizeof(T));
}

// Results are one number each.
template <auto kernel, class T, class... Results>
void toNumbers(Arguments& a)
{
    const T* src = image<T>(a, a.shape().width, a.shape().height, strideOf<T>(a));
    a.call(kernel, src, a.shape().width, a.shape().height, strideOf<T>(a), a.output<Results>(1, 1, 8)...);
}

template <auto kernel, class... Results>
Prepare toNumbersMasked(bool isMasked = false)
{
    return [isMasked](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const uint32_t stride = strideOf<uint8_t>(a);
        a.entry().unchecked = {4};
        const uint8_t* src = a.input<uint8_t>(width, height, stride);
        const bool isAbsent = a.shape().typical ? !isMasked : a.random().oneIn(3);
        const uint8_t* mask = isAbsent ? nullptr : a.input<uint8_t>(width, height, stride);
        a.call(kernel, src, width, height, stride, mask, stride, a.output<Results>(1, 1, 8)...);
    };
}

template <auto kernel, class T>
void toExtremesAndPlaces(Arguments& a)
{
    const T* src = image<T>(a, a.shape().width, a.shape().height, strideOf<T>(a));
    T* low = a.output<T>(1, 1, 8);
    T* high = a.output<T>(1, 1, 8);
    uint32_t* lowXY = a.output<uint32_t>(2, 1, 8);
    a.call(kernel, src, a.shape().width, a.shape().height, strideOf<T>(a), low, high, lowXY,
           a.output<uint32_t>(2, 1, 8));
}

template <auto kernel, bool isOfColumns>
void project(Arguments& a)
{
    // Enough rows now and then for more than 16 bits.
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().typical || !a.random().oneIn(4) ? a.shape().height : a.random().between(250, 800);
    a.entry().inPlace = EntryRule::InPlace::NotLookedAt;
    const uint32_t results = isOfColumns ? width : height;
    a.call(kernel, a.input<uint8_t>(width, height, a.srcStride(width)), width, height, a.srcStride(width),
           a.choose(0, 2, VISORA_REDUCE_SUM), a.output<uint32_t>(results, 1, results * 4));
}

void prepareBitCount32(Arguments& a)
{
    a.entry().inPlace = EntryRule::InPlace::NotLookedAt;
    const uint32_t length = a.shape().width * a.shape().height;
    a.call(vsrBitCountu32C, a.input<uint32_t>(length, 1, length * 4), length, a.output<uint32_t>(1, 1, 4));
}

void prepareAbsoluteDiff(Arguments& a)
{
    const uint32_t stride = strideOf<uint8_t>(a);
    const uint8_t* src1 = a.input<uint8_t>(a.shape().width, a.shape().height, stride);
    const uint8_t* src2 = a.input<uint8_t>(a.shape().width, a.shape().height, stride);
    a.call(vsrSumOfAbsoluteDiffu8C, src1, a.shape().width, a.shape().height, stride, src2, stride,
           a.output<uint64_t>(1, 1, 8));
}

// Vectors as long as the image is wide, and a longer one now and then.
template <auto kernel, class T, class D>
void toDistances(Arguments& a)
{
    a.entry().inPlace = EntryRule::InPlace::NotLookedAt;
    a.entry().units = EntryRule::Units::Own;  // too few bytes for a DSP
    const uint32_t length = a.shape().typical || !a.random().oneIn(8) ? a.shape().width : a.random().between(1, 33025);
    const uint32_t vectors = a.shape().typical ? a.shape().height : a.random().between(0, 9);
    const uint32_t stride = a.srcStride(static_cast<uint32_t>(length * sizeof(T)), sizeof(T));
    const T* query = image<T>(a, length, 1, stride);
    const T* set = vectors == 0 ? query : image<T>(a, length, vectors, stride);
    a.call(kernel, query, length, set, vectors, stride, a.output<D>(vectors, 1, vectors * sizeof(D)));
}

void prepareMatch(Arguments& a)
{
    a.entry().units = EntryRule::Units::Own;  // too few bytes for a DSP
    // A search of 64 by 64 places in benchmarks.
    const uint32_t width = a.shape().typical ? 79 : a.shape().width;
    const uint32_t height = a.shape().typical ? 79 : std::min(a.shape().height, 40U);
    const uint32_t M = a.choose(1, std::min(width, 40U), 16);
    const uint32_t N = a.choose(1, std::min(height, 20U), 16);
    const uint32_t dstStride = a.dstStride((width - M + 1) * 4, 4);
    const uint8_t* src = a.input<uint8_t>(width, height, a.srcStride(width));
    const uint8_t* patch = a.input<uint8_t>(M, N, a.srcStride(M));
    uint32_t* dst = a.output<uint32_t>(width - M + 1, height - N + 1, dstStride);
    a.call(vsrSumOfAbsoluteDiffMxNu8C, src, width, height, a.srcStride(width), patch, M, N, a.srcStride(M), dst,
           dstStride, a.output<uint32_t>(2, 1, 8));
}

template <auto kernel, uint32_t side>
void prepareBlocks(Arguments& a)
{
    // Strides are taken as they are; a DSP gets side * stride bytes.
    const uint32_t stride = side == 8 && a.random().oneIn(8) ? 0 : a.srcStride(side);
    const uint8_t* src1 = a.input<uint8_t>(side, side, stride);
    const uint8_t* src2 = a.input<uint8_t>(side, side, stride);
    a.call(kernel, src1, stride, src2, stride, a.output<uint32_t>(1, 1, 4));
}

void prepareBlocksAtOffsets(Arguments& a)
{
    const uint32_t count = a.shape().typical ? 64 : a.random().between(0, 20);
    const uint32_t stride = a.srcStride(64);
    const uint8_t* window = a.input<uint8_t>(64, 64, stride);
    std::vector<int32_t> offsets(count);
    for (int32_t& offset : offsets)
    {
        // From the middle of the window.
        offset = (static_cast<int32_t>(a.random().between(0, 48)) - 24) * static_cast<int32_t>(stride) +
                 static_cast<int32_t>(a.random().between(0, 48)) - 24;
    }
    a.call(vsrSumOfAbsoluteDiffs16x16u8C, a.input<uint8_t>(16, 16, a.srcStride(16)), a.srcStride(16),
           window + 24 * stride + 24, stride, a.given(offsets), count, a.output<uint32_t>(count, 1, count * 4));
}

const Register reductions({
    {VISORA_OPERATION(vsrSumu8), toNumbersMasked<vsrSumu8C, uint64_t>()},
    {VISORA_OPERATION(vsrSumu8), toNumbersMasked<vsrSumu8C, uint64_t>(true), "masked"},
    {VISORA_OPERATION(vsrSums16), toNumbers<vsrSums16C, int16_t, int64_t>},
    {VISORA_OPERATION(vsrSumf32), toNumbers<vsrSumf32C, float, float>},
    {VISORA_OPERATION(vsrSumOfSquaresu8), toNumbers<vsrSumOfSquaresu8C, uint8_t, uint64_t>},
    {VISORA_OPERATION(vsrSumOfSquaress16), toNumbers<vsrSumOfSquaress16C, int16_t, uint64_t>},
    {VISORA_OPERATION(vsrAverageu8), toNumbersMasked<vsrAverageu8C, float>()},
    {VISORA_OPERATION(vsrAverages32), toNumbers<vsrAverages32C, int32_t, float>},
    {VISORA_OPERATION(vsrCountNonZerou8), toNumbers<vsrCountNonZerou8C, uint8_t, uint32_t>},
    {VISORA_OPERATION(vsrBitCountu8),
     packable(VISORA_PACKED(vsrBitCountu8, ""), toNumbers<vsrBitCountu8C, uint8_t, uint32_t>)},
    {VISORA_OPERATION(vsrBitCountu32), prepareBitCount32},
    {VISORA_OPERATION(vsrMinMaxu8), toNumbersMasked<vsrMinMaxu8C, uint8_t, uint8_t>()},
    {VISORA_OPERATION(vsrMinMaxs16), toNumbers<vsrMinMaxs16C, int16_t, int16_t, int16_t>},
    {VISORA_OPERATION(vsrMinMaxs32), toNumbers<vsrMinMaxs32C, int32_t, int32_t, int32_t>},
    {VISORA_OPERATION(vsrMinMaxf32), toNumbers<vsrMinMaxf32C, float, float, float>},
    {VISORA_OPERATION(vsrMinMaxLocu8),
     packable(VISORA_PACKED(vsrMinMaxLocu8, ""), toExtremesAndPlaces<vsrMinMaxLocu8C, uint8_t>)},
    {VISORA_OPERATION(vsrMinMaxLocs16), toExtremesAndPlaces<vsrMinMaxLocs16C, int16_t>},
    {VISORA_OPERATION(vsrMinMaxLocf32), toExtremesAndPlaces<vsrMinMaxLocf32C, float>},
    {VISORA_OPERATION(vsrReduceColumnsu8), project<vsrReduceColumnsu8C, true>},
    {VISORA_OPERATION(vsrReduceRowsu8), project<vsrReduceRowsu8C, false>},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiffu8), prepareAbsoluteDiff},
    {VISORA_OPERATION(vsrSumOfSquaredDiffu8), toDistances<vsrSumOfSquaredDiffu8C, uint8_t, uint32_t>},
    {VISORA_OPERATION(vsrSumOfSquaredDiffs8), toDistances<vsrSumOfSquaredDiffs8C, int8_t, int32_t>},
    {VISORA_OPERATION(vsrSumOfSquaredDifff32), toDistances<vsrSumOfSquaredDifff32C, float, float>},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiffMxNu8), prepareMatch, "", 64 * 64},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiff16x16u8), prepareBlocks<vsrSumOfAbsoluteDiff16x16u8C, 16>, "", 256},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiff8x8u8), prepareBlocks<vsrSumOfAbsoluteDiff8x8u8C, 8>, "", 64},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiffs16x16u8), prepareBlocksAtOffsets, "", 64 * 256},
});

}  // namespace

}  // namespace visora::test
