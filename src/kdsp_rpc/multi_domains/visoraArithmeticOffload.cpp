// DSP routines of the arithmetic operations.
#include "common/visoraArguments.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr uint32_t maskLength(const uint8_t* mask, uint32_t stride, uint32_t width, uint32_t height)
{
    return mask ? imageLength(mask, stride, width, height) : 0;
}

constexpr uint32_t bitsLength(const uint8_t* bits, uint32_t stride, uint32_t width, uint32_t height)
{
    return imageLength(bits, stride, width / 8 + (width % 8 != 0), height);
}

// ---- One image to another, parameters in between ----

constexpr auto withParameters = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... rest)
{
    return destinationFirst(
        [&](auto* dst, uint32_t dstStride, auto...) {
            return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height)};
        },
        rest...);
};

constexpr auto byTable = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            const uint8_t* /*table*/, uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), uint32_t{256},
                      imageLength(dst, dstStride, width, height)};
};

constexpr auto perChannel = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t channels,
                               const auto* /*values*/, auto* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width * channels, height), channels,
                      imageLength(dst, dstStride, width * channels, height)};
};

constexpr auto accumulated = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                const uint8_t* mask, uint32_t maskStride, float /*alpha*/, float* dst,
                                uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), maskLength(mask, maskStride, width, height),
                      imageLength(dst, dstStride, width, height)};
};

constexpr auto toBits = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, width, height), bitsLength(dst, dstStride, width, height)};
};

constexpr auto fromBits = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                             uint32_t dstStride) {
    return std::array{bitsLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height)};
};

// ---- Two images ----

constexpr auto twoWithParameters = [](const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                      const auto* src2, uint32_t src2Stride, auto... rest)
{
    return destinationFirst([&](auto* dst, uint32_t dstStride, auto...)
                            { return twoToOne(src1, width, height, src1Stride, src2, src2Stride, dst, dstStride); },
                            rest...);
};

constexpr auto twoMasked = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                              const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                              uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      maskLength(mask, maskStride, width, height), imageLength(dst, dstStride, width, height)};
};

constexpr auto twoToTwo = [](const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const auto* src2,
                             uint32_t src2Stride, auto* dst1, uint32_t dst1Stride, auto* dst2, uint32_t dst2Stride)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      imageLength(dst1, dst1Stride, width, height), imageLength(dst2, dst2Stride, width, height)};
};

// ---- Fills ----

constexpr auto filled = [](auto* dst, uint32_t width, uint32_t height, uint32_t stride, auto /*value*/,
                           const uint8_t* mask, uint32_t maskStride) {
    return std::array{imageLength(dst, stride, width, height), maskLength(mask, maskStride, width, height)};
};

template <uint32_t channels>
constexpr auto filledPixels = [](uint8_t* dst, uint32_t width, uint32_t height, uint32_t stride,
                                 const uint8_t* /*values*/, const uint8_t* mask, uint32_t maskStride)
{
    return std::array{imageLength(dst, stride, width * channels, height), channels,
                      maskLength(mask, maskStride, width, height)};
};

constexpr auto framed = [](uint8_t* dst, uint32_t width, uint32_t height, uint32_t stride, auto...)
{ return std::array{imageLength(dst, stride, width, height)}; };

// ---- Numbers from images ----

constexpr auto oneFor(const auto* /*result*/)
{
    return uint32_t{1};
}

constexpr auto toNumbers = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto*... results) {
    return std::array{imageLength(src, stride, width, height), oneFor(results)...};
};

constexpr auto toNumbersMasked = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride,
                                    const uint8_t* mask, uint32_t maskStride, auto*... results)
{
    return std::array{imageLength(src, stride, width, height), maskLength(mask, maskStride, width, height),
                      oneFor(results)...};
};

constexpr auto toExtremesAndPlaces = [](const auto* src, uint32_t width, uint32_t height, uint32_t stride, auto*...) {
    return std::array<uint32_t, 5>{imageLength(src, stride, width, height), 1, 1, 2, 2};
};

constexpr auto toColumns = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, auto...) {
    return std::array{imageLength(src, stride, width, height), width};
};

constexpr auto toRows = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, auto...) {
    return std::array{imageLength(src, stride, width, height), height};
};

constexpr auto fromArray = [](const uint32_t* /*src*/, uint32_t length, uint32_t* /*result*/) {
    return std::array{length, uint32_t{1}};
};

constexpr auto twoToNumber = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                const uint8_t* src2, uint32_t src2Stride, auto* /*result*/)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      uint32_t{1}};
};

constexpr auto toDistances = [](const auto* /*query*/, uint32_t length, const auto* set, uint32_t numVectors,
                                uint32_t setStride, auto* /*dst*/) {
    return std::array{length, imageLength(set, setStride, length, numVectors), numVectors};
};

constexpr auto matchedBlocks = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                  const uint8_t* patch, uint32_t M, uint32_t N, uint32_t patchStride, uint32_t* dst,
                                  uint32_t dstStride, uint32_t* /*bestXY*/)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(patch, patchStride, M, N),
                      imageLength(dst, dstStride, width - M + 1, height - N + 1), uint32_t{2}};
};

constexpr auto twoBlocks = [](const uint8_t* /*src1*/, uint32_t src1Stride, const uint8_t* /*src2*/,
                              uint32_t src2Stride, uint32_t* /*sum*/) {
    return std::array{16 * src1Stride, 16 * src2Stride, uint32_t{1}};
};

constexpr auto twoArrays = [](const uint8_t* /*src*/, uint32_t length, uint8_t* /*dst*/) {
    return std::array{length, length};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/arithmetic.def"
