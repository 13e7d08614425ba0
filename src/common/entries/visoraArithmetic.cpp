// Entry points of the operations on single elements and of the reductions.
#include <algorithm>
#include <tuple>

#include "common/visoraEntry.h"
#include "visora/variants/arithmetic.h"

using visora::Array;
using visora::Bits;
using visora::In;
using visora::kInPlace;
using visora::Mask;
using visora::Numbers;
using visora::Out;
using visora::Result;

namespace
{

// ---- Arguments: what each is follows from its type and from what stands behind it ----

struct Size
{
    uint32_t width, height, channels;
};

enum class Masked : bool
{
    No,
    Yes  // the last source is a mask, which may be missing
};

// Calls body(the buffers, the parameters, the arguments with packed strides in place of 0 ...).
template <Masked masked, class Body>
auto describe(const Size& /*size*/, const Body& body)
{
    return body(std::tuple(), std::tuple());
}

// A parameter.
template <Masked masked, class Body, class T, class... Rest>
auto describe(const Size& size, const Body& body, T parameter, Rest... rest)
{
    const auto with = [&](auto buffers, auto parameters, auto... arguments)
    { return body(buffers, std::tuple_cat(std::tuple(parameter), parameters), parameter, arguments...); };
    return describe<masked>(size, with, rest...);
}

// Numbers, read or written.
template <Masked masked, class Body, class T, class... Rest>
auto describe(const Size& size, const Body& body, T* numbers, Rest... rest)
{
    const auto with = [&](auto buffers, auto parameters, auto... arguments)
    { return body(std::tuple_cat(std::tuple(Numbers(numbers)), buffers), parameters, numbers, arguments...); };
    return describe<masked>(size, with, rest...);
}

// An image.
template <Masked masked, class Body, class T, class... Rest>
auto describe(const Size& size, const Body& body, T* data, uint32_t stride, Rest... rest)
{
    constexpr bool isLastSource = !(std::is_const_v<std::remove_pointer_t<Rest>> || ...);
    const auto image = [&]
    {
        if constexpr (!std::is_const_v<T>)
        {
            return Out(data, size.width, size.height, stride, kInPlace, size.channels);
        }
        else if constexpr (masked == Masked::Yes && isLastSource)
        {
            return Mask(data, size.width, size.height, stride);
        }
        else
        {
            return In(data, size.width, size.height, stride, size.channels);
        }
    }();
    const auto with = [&](auto buffers, auto parameters, auto... arguments)
    { return body(std::tuple_cat(std::tuple(image), buffers), parameters, data, image.stride(), arguments...); };
    return describe<masked>(size, with, rest...);
}

// ---- Shapes ----

template <Masked masked, class Condition>
constexpr auto callOf(Condition condition)
{
    return [condition](auto open, uint32_t channels, auto* first, uint32_t width, uint32_t height, auto... rest)
    {
        const auto run = [&](auto buffers, auto parameters, auto* data, uint32_t stride, auto... others)
        {
            return std::apply(open, buffers)
                .require(std::apply(condition, parameters))
                .run(data, width, height, stride, others...);
        };
        // What a fill reads is a mask.
        constexpr bool isFill = !std::is_const_v<std::remove_pointer_t<decltype(first)>>;
        constexpr Masked last = isFill ? Masked::Yes : masked;
        return describe<last>(Size{width, height, channels}, run, first, rest...);
    };
}

// Elements, under a condition on the parameters.
template <Masked masked = Masked::No, class Condition>
constexpr auto elementsIf(Condition condition)
{
    return [condition](auto open, auto... arguments) { return callOf<masked>(condition)(open, 1U, arguments...); };
}

constexpr auto always = [](auto... /*parameters*/) { return true; };
constexpr auto elements = elementsIf(always);
constexpr auto maskedElements = elementsIf<Masked::Yes>(always);

// Entry points without strides.
constexpr auto packedElements = [](auto open, const auto* src, uint32_t width, uint32_t height, auto*... results)
{ return elements(open, src, width, height, 0U, results...); };
constexpr auto packedPair = [](auto open, const auto* src1, uint32_t width, uint32_t height, const auto* src2,
                               auto* dst) { return elements(open, src1, width, height, 0U, src2, 0U, dst, 0U); };

// Pixels of several channels.
constexpr auto perChannel =
    [](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t channels, auto... rest)
{
    const auto isKnown = [](uint32_t count) { return count <= 4; };
    return callOf<Masked::No>(isKnown)(open, channels, src, width, height, srcStride, channels, rest...);
};

template <uint32_t channels>
constexpr auto fillPixels = [](auto open, auto... arguments)
{ return callOf<Masked::No>(always)(open, channels, arguments...); };

constexpr auto copyMasked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint32_t channels, const uint8_t* mask, auto... rest)
{
    const auto isKnown = [=](uint32_t count) { return mask && count <= 4; };
    return callOf<Masked::Yes>(isKnown)(open, channels, src, width, height, srcStride, channels, mask, rest...);
};

constexpr auto copyMaskedPacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t channels,
                                     const uint8_t* mask, uint8_t* dst)
{ return copyMasked(open, src, width, height, 0U, channels, mask, 0U, dst, 0U); };

constexpr auto inOrder = [](auto low, auto high) { return low <= high; };
constexpr auto isPolicy = [](vsrOverflowPolicy policy) { return policy <= VISORA_OVERFLOW_SATURATE; };
constexpr auto isReduction = [](vsrReduction reduction) { return reduction <= VISORA_REDUCE_MAX; };

constexpr auto tableLookup = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride);
    const Out out(dst, width, height, dstStride, kInPlace);
    return open(in, Array(table, 256), out).run(src, width, height, in.stride(), table, dst, out.stride());
};

constexpr auto packMask = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride);
    const Out out(dst, width / 8 + (width % 8 != 0), height, dstStride);
    return open(in, out).run(src, width, height, in.stride(), dst, out.stride());
};

constexpr auto unpackMask = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    const Bits in(src, width, height, srcStride);
    const Out out(dst, width, height, dstStride);
    return open(in, out).run(src, width, height, in.stride(), dst, out.stride());
};

constexpr auto frame = [](auto open, uint8_t* dst, uint32_t width, uint32_t height, uint32_t dstStride, uint32_t border,
                          vsrBorderType type, uint8_t value)
{
    const auto isFrame = [=](auto... /*parameters*/)
    { return 2 * uint64_t{border} < std::min(width, height) && type <= VISORA_BORDER_MIRROR; };
    return elementsIf(isFrame)(open, dst, width, height, dstStride, border, type, value);
};

// An array, which may be longer than a row of an image.
constexpr auto words = [](auto open, const uint32_t* src, uint32_t length, uint32_t* result)
{
    const uint64_t bytes = uint64_t{length} * sizeof(*src);
    return open(Numbers(src), Numbers(result))
        .keepDspIf(bytes >= visora::kMinDspPixels && visora::multiplesOf<8>(length) && visora::aligned<8>(src))
        .keepGpuIf(visora::aligned<16>(src))
        .require(length != 0)
        .run(src, length, result);
};

// An exact sum of squares ends at this length.
template <uint32_t longest>
constexpr auto distances = [](auto open, const auto* query, uint32_t length, const auto* set, uint32_t numVectors,
                              uint32_t setStride, auto* dst)
{
    // A set without vectors is fine, but no work for a DSP.
    const In vectors(set, length, std::max(numVectors, 1U), setStride);
    const In one(query, length, 1, 0);
    return open(vectors, one, Numbers(dst))
        .keepDspIf(numVectors != 0)
        .require(length <= longest)
        .run(query, length, set, numVectors, vectors.stride(), dst);
};

constexpr auto blockMatching = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                  const uint8_t* patch, uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst,
                                  uint32_t dstStride, uint32_t* bestXY)
{
    const bool fits = M <= width && N <= height && uint64_t{M} * N <= 1U << 24;
    const In in(src, width, height, srcStride);
    const In block(patch, M, N, patchStride);
    const Out out(dst, fits ? width - M + 1 : 1, fits ? height - N + 1 : 1, dstStride);
    return open(in, block, out, Result(bestXY, 2))
        .require(fits)
        .run(src, width, height, in.stride(), patch, M, N, block.stride(), dst, out.stride(), bestXY);
};

// ---- The shape of each operation: elements, unless told otherwise ----

template <auto reference>
constexpr auto shapeOf = elements;
#define SHAPE(operation, ...) \
    template <>               \
    constexpr auto shapeOf<operation##C> = __VA_ARGS__

SHAPE(vsrAbsDiffScalaru8, perChannel);
SHAPE(vsrAbsDiffScalarf32, perChannel);
SHAPE(vsrSubtractu8, perChannel);
SHAPE(vsrSubtracts16, perChannel);
SHAPE(vsrAdds16, elementsIf(isPolicy));
SHAPE(vsrConverts16u8,
      elementsIf([](uint32_t shift, vsrOverflowPolicy policy) { return shift <= 15 && isPolicy(policy); }));
SHAPE(vsrBitShifts16, elementsIf([](int32_t shift) { return shift >= -15 && shift <= 15; }));
SHAPE(vsrElementMuls16, elementsIf([](uint32_t shift) { return shift <= 30; }));
SHAPE(vsrClamps16, elementsIf(inOrder));
SHAPE(vsrClampf32, elementsIf(inOrder));
SHAPE(vsrNormalizeRangeu8, elementsIf([](uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high)
                                      { return lowPermille <= highPermille && highPermille <= 1000 && low <= high; }));
SHAPE(vsrTableLookupu8, tableLookup);
SHAPE(vsrBitwiseAndu8, maskedElements);
SHAPE(vsrBitwiseOru8, maskedElements);
SHAPE(vsrBitwiseXoru8, maskedElements);
SHAPE(vsrAccumulateWeightedu8f32, elementsIf<Masked::Yes>([](float alpha) { return alpha >= 0 && alpha <= 1; }));
SHAPE(vsrCopyMaskedu8, copyMasked);
SHAPE(vsrSetElementsc2u8, fillPixels<2>);
SHAPE(vsrSetElementsc3u8, fillPixels<3>);
SHAPE(vsrSetElementsc4u8, fillPixels<4>);
SHAPE(vsrSetBorderu8, frame);
SHAPE(vsrBitMaskPacku8, packMask);
SHAPE(vsrBitMaskUnpacku8, unpackMask);
SHAPE(vsrSumu8, maskedElements);
SHAPE(vsrAverageu8, maskedElements);
SHAPE(vsrMinMaxu8, maskedElements);
SHAPE(vsrBitCountu32, words);
SHAPE(vsrReduceColumnsu8, elementsIf(isReduction));
SHAPE(vsrReduceRowsu8, elementsIf(isReduction));
SHAPE(vsrSumOfSquaredDiffu8, distances<66051>);
SHAPE(vsrSumOfSquaredDiffs8, distances<33025>);
SHAPE(vsrSumOfSquaredDifff32, distances<UINT32_MAX>);
SHAPE(vsrSumOfAbsoluteDiffMxNu8, blockMatching);

}  // namespace

VSR_ENTRY(vsrAbsDiffu8, vsrAbsDiffu8, packedPair);
VSR_ENTRY(vsrAbsDiffs16, vsrAbsDiffs16, packedPair);
VSR_ENTRY(vsrAbsDifff32, vsrAbsDifff32, packedPair);
VSR_ENTRY(vsrCopyMaskedu8, vsrCopyMaskedu8, copyMaskedPacked);
VSR_ENTRY(vsrBitCountu8, vsrBitCountu8, packedElements);
VSR_ENTRY(vsrMinMaxLocu8, vsrMinMaxLocu8, packedElements);

#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) VSR_ENTRY(entry, operation, shapeOf<operation##C>);
#define VSR_INTERNAL_AS(...)
#include "visora/operations/arithmetic.def"
