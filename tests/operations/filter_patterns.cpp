// Edges and local patterns of u8 images.
#include "support/operations.h"
#include "visora/variants/filter.h"

namespace visora::test
{

namespace
{

template <auto kernel, class T, class... Parameters>
void pattern(Arguments& a, Parameters... parameters)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t dstStride = a.dstStride(static_cast<uint32_t>(width * sizeof(T)), sizeof(T));
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    auto* dst = a.output<T>(width, height, dstStride);
    a.call(kernel, src, width, height, srcStride, parameters..., dst, dstStride);
}

void census3x3(Arguments& a)
{
    pattern<vsrCensus3x3u8C, uint8_t>(a);
}

void census9x7(Arguments& a)
{
    pattern<vsrCensus9x7u8C, uint64_t>(a);
}

Prepare binaryPatterns(vsrLbpMode mode)
{
    return [=](Arguments& a) { pattern<vsrLBPu8C, uint8_t>(a, mode); };
}

// Two thresholds in order.
std::pair<uint32_t, uint32_t> cannyThresholds(Arguments& a)
{
    const uint32_t low = a.choose(0, 255, 50);
    return {low, std::max(low, a.choose(0, 255, 150))};
}

void canny(Arguments& a)
{
    const auto [low, high] = cannyThresholds(a);
    pattern<vsrFilterCanny3x3u8C, uint8_t>(a, low, high);
}

Prepare cannyWithGradients(vsrCannyNorm norm)
{
    return [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const uint32_t srcStride = a.srcStride(width);
        const uint32_t dstStride = a.dstStride(width);
        const uint32_t gradStride = a.dstStride(width * 2, 2);
        const auto [low, high] = cannyThresholds(a);
        const auto* src = a.input<uint8_t>(width, height, srcStride);
        auto* dst = a.output<uint8_t>(width, height, dstStride);
        auto* dx = a.output<int16_t>(width, height, gradStride);
        auto* dy = a.output<int16_t>(width, height, gradStride);
        a.call(vsrFilterCanny3x3u8_v3C, src, width, height, srcStride, low, high, norm, dst, dstStride, dx, dy,
               gradStride);
    };
}

const Register patterns({
    {VISORA_OPERATION(vsrCensus3x3u8), census3x3},
    {VISORA_OPERATION(vsrCensus9x7u8), census9x7},
    {VISORA_OPERATION(vsrLBPu8), binaryPatterns(VISORA_LBP_UNIFORM)},
    {VISORA_OPERATION(vsrLBPu8), binaryPatterns(VISORA_LBP_PLAIN), "plain"},
    {VISORA_OPERATION(vsrFilterCanny3x3u8),
     ruled(
         {.condition = "src && dst && src != dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= "
                       "srcWidth)",
          .inPlace = EntryRule::InPlace::NotLookedAt,
          .packed = {VISORA_PACKED(vsrFilterCanny3x3u8, "src && dst && src != dst && width && height")}},
         canny)},
    {VISORA_OPERATION(vsrFilterCanny3x3u8_v3), cannyWithGradients(VISORA_CANNY_L1)},
    {VISORA_OPERATION(vsrFilterCanny3x3u8_v3), cannyWithGradients(VISORA_CANNY_L2), "L2"},
});

}  // namespace

}  // namespace visora::test
