// DSP routines of the operations that measure images.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto twoGradients =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dx, auto* dy, uint32_t gradStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(dx, gradStride, width, height),
                      imageLength(dy, gradStride, width, height)};
};

/** A plane of pairs, whose stride need not be a multiple of a pair. */
constexpr auto pairedGradients =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* gradients, uint32_t gradStride)
{
    return std::array{imageLength(src, srcStride, width, height),
                      imageLength(gradients, gradStride, 2 * width, height)};
};

constexpr auto integral = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst,
                             uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width + 1, height + 1)};
};

constexpr auto runningRows = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t* dst,
                                uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width + 1, height)};
};

constexpr auto maskedIntegral = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                   const uint8_t* mask, uint32_t maskStride, uint32_t* sums, uint32_t sumsStride,
                                   uint32_t* counts, uint32_t countsStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(mask, maskStride, width, height),
                      imageLength(sums, sumsStride, width + 1, height + 1),
                      imageLength(counts, countsStride, width + 1, height + 1)};
};

constexpr auto patches = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            const uint32_t* /*xy*/, uint32_t count, uint32_t /*patchWidth*/, uint32_t /*patchHeight*/,
                            uint32_t* /*sums*/, uint64_t* /*squares*/) {
    return std::array{imageLength(src, srcStride, width, height), 2 * count, count, count};
};

constexpr auto rectangleSums = [](const uint32_t* integralImage, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t /*originX*/, uint32_t /*originY*/,
                                  const vsrWeightedRectangle* /*rectangles*/, uint32_t rectanglesPerSum, uint32_t count,
                                  int32_t* /*sums*/) {
    return std::array{imageLength(integralImage, stride, width + 1, height + 1), count * rectanglesPerSum, count};
};

/** One image to `elements` numbers. */
template <uint32_t... elements>
constexpr auto toNumbers = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto...) {
    return std::array{imageLength(src, srcStride, width, height), elements...};
};

constexpr auto maskedHistogram = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                    const uint8_t* mask, uint32_t maskStride, uint32_t /*lower*/, uint32_t /*upper*/,
                                    uint32_t bins, uint32_t* /*histogram*/)
{
    return std::array{imageLength(src, srcStride, width, height),
                      mask != nullptr ? imageLength(mask, maskStride, width, height) : 0u, bins};
};

constexpr auto jointHistogram = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                   const uint8_t* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                   uint32_t bins1, uint32_t bins2, uint32_t* /*histogram*/)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      mask != nullptr ? imageLength(mask, maskStride, width, height) : 0u, bins1 * bins2};
};

constexpr auto tiled8 = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t /*tilesX*/,
                           uint32_t /*tilesY*/, float /*clipLimit*/, uint8_t* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

constexpr auto tiled16 = [](const uint16_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            uint32_t /*tilesX*/, uint32_t /*tilesY*/, float /*clipLimit*/, uint32_t /*bins*/,
                            uint16_t* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

constexpr auto cells = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t gridX,
                          uint32_t gridY, float* /*measures*/) {
    return std::array{imageLength(src, srcStride, width, height), gridX * gridY};
};

constexpr auto likeness = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                             const uint8_t* src2, uint32_t src2Stride, const float* similarity, const float* psnr)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      similarity != nullptr ? 1u : 0u, psnr != nullptr ? 1u : 0u};
};

/** Complex rows are pairs of floats. */
constexpr auto spectrum8 = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, float* dst,
                              uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, 2 * width, height)};
};

constexpr auto spectrum = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t flags,
                             float* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, (flags & VISORA_FFT_COMPLEX) != 0 ? 2 * width : width, height),
                      imageLength(dst, dstStride, 2 * width, height)};
};

constexpr auto fromSpectrum = [](const float* src, uint32_t width, uint32_t height, uint32_t srcStride, float* dst,
                                 uint32_t dstStride) {
    return std::array{imageLength(src, srcStride, 2 * width, height), imageLength(dst, dstStride, width, height)};
};

constexpr auto blend = [](const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                          const uint8_t* src2, uint32_t src2Stride, uint32_t /*alpha*/, const uint8_t* alphas,
                          uint32_t alphasStride, uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      alphas != nullptr ? imageLength(alphas, alphasStride, width, height) : 0u,
                      imageLength(dst, dstStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/statistics.def"
