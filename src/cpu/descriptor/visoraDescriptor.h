// Samples of the turned square about a keypoint, and what descriptors are made of.
#ifndef VISORA_CPU_DESCRIPTOR_H
#define VISORA_CPU_DESCRIPTOR_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/descriptor/visoraTurn.h"
#include "cpu/visoraPlane.h"
#include "visora/descriptor.h"

namespace visora
{

/** Whether a keypoint is at a place and has a size. */
inline bool isUsable(const vsrKeypoint& k)
{
    return std::isfinite(k.x) && std::isfinite(k.y) && k.scale > 0 && k.scale <= 65536;
}

/** An image between its pixels. */
struct Sampled
{
    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    size_t stride;

    float at(float x, float y) const
    {
        const auto right = static_cast<float>(width - 1);
        const auto bottom = static_cast<float>(height - 1);
        x = x > 0 ? x : 0;
        x = x < right ? x : right;
        y = y > 0 ? y : 0;
        y = y < bottom ? y : bottom;
        const float wholeX = std::floor(x);
        const float wholeY = std::floor(y);
        const float fx = x - wholeX;
        const float fy = y - wholeY;
        const auto x0 = static_cast<uint32_t>(wholeX);
        const auto y0 = static_cast<uint32_t>(wholeY);
        const uint32_t x1 = std::min(x0 + 1, width - 1);
        const uint8_t* top = planeRow(src, stride, y0);
        const uint8_t* bottomRow = planeRow(src, stride, std::min(y0 + 1, height - 1));
        const auto mix = [fx](uint8_t p, uint8_t q)
        { return static_cast<float>(p) + fx * (static_cast<float>(q) - static_cast<float>(p)); };
        const float t = mix(top[x0], top[x1]);
        const float b = mix(bottomRow[x0], bottomRow[x1]);
        return t + fy * (b - t);
    }
};

/** Polynomial of the direction in eighths of a turn by the ratio of the smaller to the larger difference. */
constexpr float kDirectionTerms[6] = {0x1.45f120p+0f,  -0x1.b1ac38p-2f, 0x1.f8acc0p-3f,
                                      -0x1.2f97cep-3f, 0x1.1290d4p-4f,  -0x1.e8f086p-7f};

/** The direction of a gradient in eighths of a turn, 0 to less than 8. */
inline float directionOf(float dx, float dy)
{
    const float ax = std::fabs(dx);
    const float ay = std::fabs(dy);
    const float big = std::max(ax, ay);
    const float small = std::min(ax, ay);
    if (big == 0)
    {
        return 0;
    }
    const float t = small / big;
    const float z = t * t;
    const auto& k = kDirectionTerms;
    float p = t * (k[0] + z * (k[1] + z * (k[2] + z * (k[3] + z * (k[4] + z * k[5])))));
    if (ay > ax)
    {
        p = 2 - p;
    }
    if (dx < 0)
    {
        p = 4 - p;
    }
    if (dy < 0)
    {
        p = 8 - p;
    }
    return p == 8 ? 0 : p;
}

// ---- Histograms of gradients: 4 x 4 places of 8 directions from 16 x 16 samples ----

constexpr size_t kGradientSide = 16;
constexpr size_t kGradientPlaces = 4;
constexpr size_t kGradientDirections = 8;
constexpr size_t kGradientBins = kGradientPlaces * kGradientPlaces * kGradientDirections;

/** What a sample in column or row i adds to each of the places along that axis. */
constexpr std::array<std::array<float, kGradientPlaces>, kGradientSide> makePlaceWeights()
{
    constexpr float kGaussian[8] = {0.998048782f, 0.982575476f, 0.952344775f, 0.908733785f,
                                    0.853676379f, 0.789521575f, 0.71886754f,  0.644388735f};
    std::array<std::array<float, kGradientPlaces>, kGradientSide> weights = {};
    for (size_t i = 0; i < kGradientSide; ++i)
    {
        for (size_t k = 0; k < kGradientPlaces; ++k)
        {
            const float distance = (static_cast<float>(i) - 1.5f) / 4 - static_cast<float>(k);
            const float share = 1 - (distance < 0 ? -distance : distance);
            weights[i][k] = share > 0 ? kGaussian[i < 8 ? 7 - i : i - 8] * share : 0;
        }
    }
    return weights;
}

inline constexpr auto kPlaceWeights = makePlaceWeights();

/** The first of the one or two places that a column or row has a share in. */
constexpr size_t firstPlace(size_t i)
{
    return kPlaceWeights[i][0] > 0 ? 0 : kPlaceWeights[i][1] > 0 ? 1 : kPlaceWeights[i][2] > 0 ? 2 : 3;
}

/** An element rounded half up. */
inline float roundedUp(float v)
{
    return std::floor(v + 0.5f);
}

constexpr size_t kPatchSide = 8;
constexpr size_t kPatchSamples = kPatchSide * kPatchSide;

}  // namespace visora

#endif
