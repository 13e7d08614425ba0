// Smoothing filters that keep edges.
#include <cfloat>
#include <cmath>

#include "support/operations.h"
#include "visora/variants/filter.h"

namespace visora::test
{

namespace
{

struct Sigmas
{
    float space;
    float range;
};

// Narrow and wide ones: how weights are looked up depends on where they become 0.
Sigmas sigmas(Arguments& a, float typicalSpace, float typicalRange)
{
    if (a.shape().typical)
    {
        return {typicalSpace, typicalRange};
    }
    constexpr float kRanges[] = {0.1f, 5, 17, 18.5f, 25, 36, 37, 60, 300};
    return {static_cast<float>(a.random().between(1, 100)) / 10, kRanges[a.choose(0, 8, 4)]};
}

template <auto kernel, bool isBordered = false>
void bilateral(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const auto [srcStride, dstStride] = std::pair(a.srcStride(width), a.dstStride(width));
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    auto* dst = a.output<uint8_t>(width, height, dstStride);
    const auto [space, range] = sigmas(a, 3, 30);
    if constexpr (isBordered)
    {
        a.call(kernel, src, width, height, srcStride, space, range, dst, dstStride, vsrBorderType{a.choose(0, 2, 2)},
               static_cast<uint8_t>(a.choose(0, 255, 0)));
    }
    else
    {
        a.call(kernel, src, width, height, srcStride, space, range, dst, dstStride);
    }
}

// What a filter with a guide works on.
struct Guided
{
    explicit Guided(Arguments& a)
        : width(a.shape().width), height(a.shape().height), stride(a.srcStride(width)), dstStride(a.dstStride(width))
    {
        src = a.input<uint8_t>(width, height, stride);
        guide = a.input<uint8_t>(width, height, stride);
        dst = a.output<uint8_t>(width, height, dstStride);
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    uint32_t dstStride;
    const uint8_t* src;
    const uint8_t* guide;
    uint8_t* dst;
};

std::function<void(Arguments&)> joint(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Guided i(a);
        const auto [space, range] = sigmas(a, 3, 30);
        // The reference looks at all of a window for each pixel.
        const uint32_t reach = i.width * i.height > 4096 ? 6 : largest / 2;
        a.call(vsrBilateralFilterJointu8C, i.src, i.width, i.height, i.stride, i.guide, i.stride,
               a.choose(0, reach, typical / 2) * 2 + 1, space, range, i.dst, i.dstStride);
    };
}

// A depth map: near and far, with missing pixels of all kinds; some maps have the largest numbers, too.
void bilateralFloat(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t srcStride = a.srcStride(width * 4, 4);
    const uint32_t dstStride = a.dstStride(width * 4, 4);
    const bool hasLargest = !a.shape().typical && a.random().oneIn(4);
    const auto* src = a.made<float>(width, height, srcStride,
                                    [&]
                                    {
                                        constexpr float kMissing[] = {0, -0.0f, INFINITY, -INFINITY, NAN};
                                        if (hasLargest && a.random().oneIn(16))
                                        {
                                            return a.random().oneIn(2) ? FLT_MAX : -FLT_MAX;
                                        }
                                        return a.random().oneIn(8)
                                                   ? kMissing[a.random().between(0, 4)]
                                                   : static_cast<float>(a.random().between(900, 1100)) / 100 - 8;
                                    });
    auto* dst = a.output<float>(width, height, dstStride);
    constexpr float kRanges[] = {0.1f, 0.5f, 2, 1e-30f, 3e38f};
    a.call(vsrBilateralFilterNxNf32C, src, width, height, srcStride, a.choose(0, 5, 2) * 2 + 1, sigmas(a, 2, 0).space,
           kRanges[a.choose(0, 4, 1)], dst, dstStride);
}

std::function<void(Arguments&)> guided(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const Guided i(a);
        constexpr float kEps[] = {0.01f, 1, 100, 400, 1e6f};
        a.call(vsrGuidedFilteru8C, i.src, i.width, i.height, i.stride, i.guide, i.stride, a.choose(1, largest, typical),
               kEps[a.choose(0, 4, 2)], i.dst, i.dstStride);
    };
}

// Strengths whose distances fit 16 bits, and others; 1.2805 leaves the last entry of the table a weight.
void denoise(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const auto [srcStride, dstStride] = std::pair(a.srcStride(width), a.dstStride(width));
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    auto* dst = a.output<uint8_t>(width, height, dstStride);
    constexpr float kStrengths[] = {0.5f, 1.2805f, 3, 10, 14.48f, 20.49f, 90, 255};
    a.call(vsrDenoiseNonLocalu8C, src, width, height, srcStride, a.choose(0, 4, 10) * 2 + 1,
           kStrengths[a.choose(0, 7, 3)], dst, dstStride);
}

#define PACKED_BILATERAL(operation) \
    VISORA_OPERATION(operation), ruled({.packed = {VISORA_PACKED(operation, "")}}, bilateral<operation##C>)

const Register edgeSmoothing({
    {PACKED_BILATERAL(vsrBilateralFilter5x5u8)},
    {PACKED_BILATERAL(vsrBilateralFilter7x7u8)},
    {VISORA_OPERATION(vsrBilateralFilter9x9u8), bilateral<vsrBilateralFilter9x9u8C, true>},
    {VISORA_OPERATION(vsrBilateralFilterJointu8), joint(15, 9)},
    {VISORA_OPERATION(vsrBilateralFilterJointu8), joint(41, 21), "21"},
    {VISORA_OPERATION(vsrBilateralFilterNxNf32), bilateralFloat},
    {VISORA_OPERATION(vsrGuidedFilteru8), guided(20, 2)},
    {VISORA_OPERATION(vsrGuidedFilteru8), guided(127, 25), "51"},
    {VISORA_OPERATION(vsrDenoiseNonLocalu8), denoise},
});

}  // namespace

}  // namespace visora::test
