// How to call the trackers.
#include "visora/variants/track.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

#include "support/operations.h"

namespace visora::test
{

namespace
{

struct Images
{
    std::vector<vsrPyramidLevel_v2> first;
    std::vector<vsrPyramidLevel_v2> second;
};

// Levels that have nothing to do with one another, which a tracker cannot know.
template <class Pixel>
Images unrelatedImages(Arguments& a, uint32_t levels)
{
    Images images;
    for (uint32_t level = 0; level < std::max(levels, 1u); ++level)
    {
        const uint32_t width = std::max(a.shape().width >> level, 1u);
        const uint32_t height = std::max(a.shape().height >> level, 1u);
        const uint32_t stride = a.srcStride(static_cast<uint32_t>(width * sizeof(Pixel)), sizeof(Pixel));
        for (auto* pyramid : {&images.first, &images.second})
        {
            pyramid->push_back({const_cast<Pixel*>(a.input<Pixel>(width, height, stride)), width, height, stride});
        }
    }
    return images;
}

// In the image, at its edges, outside, now and then where no image is.
float anyCoordinate(Arguments& a, uint32_t side)
{
    constexpr std::array kFar = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), -3e9f,
                                 1e30f};
    if (a.random().oneIn(20))
    {
        return kFar[a.random().between(0, kFar.size() - 1)];
    }
    const auto whole = static_cast<float>(a.random().between(0, side + 8)) - 4;
    return whole + (a.random().oneIn(3) ? 0 : static_cast<float>(a.random().between(0, 999)) / 1000);
}

std::vector<float> anyPoints(Arguments& a)
{
    std::vector<float> points;
    points.reserve(1);  // there is a list, if an empty one
    for (uint32_t count = a.random().between(0, 6); count > 0; --count)
    {
        points.push_back(anyCoordinate(a, a.shape().width));
        points.push_back(anyCoordinate(a, a.shape().height));
    }
    return points;
}

std::vector<vsrPyramidLevel> packedRecords(const std::vector<vsrPyramidLevel_v2>& records)
{
    std::vector<vsrPyramidLevel> packed;
    packed.reserve(records.size());
    for (const vsrPyramidLevel_v2& record : records)
    {
        packed.push_back({record.ptr, record.width, record.height});
    }
    return packed;
}

template <auto kernel, class Pixel>
void track(Arguments& a)
{
    constexpr bool plain = std::is_same_v<decltype(kernel), decltype(&vsrTrackLKOpticalFlowu8C)>;
    // What tracking costs depends on what the images show; the benchmarks have frames for that.
    if (a.shape().typical || (plain && a.shape().srcPadding != 0))
    {
        return;
    }
    const uint32_t levels = a.random().between(0, 4);
    const auto windowSide = [&] { return static_cast<int32_t>(a.random().between(1, 12) * 2 + 1); };
    const int32_t windowWidth = windowSide();
    const int32_t windowHeight = windowSide();
    const auto iterations = static_cast<int32_t>(a.random().between(0, 12));
    const Images& images = a.keep(unrelatedImages<Pixel>(a, levels));
    const std::vector<float>& points = a.keep(anyPoints(a));
    auto* out = a.output<float>(points.size(), 1, points.size() * sizeof(float));
    auto* status = a.output<int32_t>(points.size() / 2, 1, points.size() / 2 * sizeof(int32_t));

    const vsrPyramidLevel_v2& base = images.first[0];
    const auto* src1 = static_cast<const Pixel*>(base.ptr);
    const auto* src2 = static_cast<const Pixel*>(images.second[0].ptr);
    const auto call = [&](const auto& first, const auto& second, const auto... extra)
    {
        const auto withStride = [&](auto... stride)
        {
            a.call(kernel, src1, src2, base.width, base.height, stride..., first.data(), second.data(), points.data(),
                   out, status, static_cast<int32_t>(points.size() / 2), windowWidth, windowHeight, iterations,
                   static_cast<int32_t>(levels), extra...);
        };
        if constexpr (plain)
        {
            withStride();
        }
        else
        {
            withStride(base.stride);
        }
    };
    if constexpr (plain)
    {
        call(a.keep(packedRecords(images.first)), a.keep(packedRecords(images.second)));
    }
    else if constexpr (std::is_same_v<decltype(kernel), decltype(&vsrTrackLKOpticalFlowu8_v3C)>)
    {
        const auto criteria = static_cast<int32_t>(a.random().between(0, 3));
        const float epsilon = static_cast<float>(a.random().between(0, 20)) * 1e-4f;
        call(images.first, images.second, criteria, epsilon, static_cast<int32_t>(a.random().between(0, 1)));
    }
    else
    {
        call(images.first, images.second);
    }
}

// Only pointers and the window's sides are checked.
#define TRACKER(operation, Pixel, falls)                                                                              \
    {                                                                                                                 \
        VISORA_OPERATION(operation),                                                                                  \
            ruled(                                                                                                    \
                {.condition = "src1 && src2 && src1Pyr && src2Pyr && featureXY && featureXY_out && featureStatus && " \
                              "(windowWidth & 0x1) && (windowHeight & 0x1)",                                          \
                 .fallsBack = falls,                                                                                  \
                 .inPlace = EntryRule::InPlace::NotLookedAt,                                                          \
                 .unchecked = {2, 3, 4},                                                                              \
                 .units = EntryRule::Units::Dsp},                                                                     \
                track<operation##C, Pixel>)                                                                           \
    }

const Register trackers({
    TRACKER(vsrTrackLKOpticalFlowu8, uint8_t, false),
    TRACKER(vsrTrackLKOpticalFlowu8_v2, uint8_t, false),
    TRACKER(vsrTrackLKOpticalFlowu8_v3, uint8_t, true),
    TRACKER(vsrTrackLKOpticalFlowf32, float, false),
});

}  // namespace

}  // namespace visora::test
