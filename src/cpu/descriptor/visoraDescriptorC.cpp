// Descriptors of gradients and patches, reference.
#include <cstring>

#include "cpu/descriptor/visoraDescriptor.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

// The samples of a grid of the given step with its middle at `middle`, by column and row.
struct Grid
{
    Grid(const Sampled& sampled, const vsrKeypoint& keypoint, float gridMiddle, float gridStep)
        : image(sampled), place(keypoint), turn(turnBy(keypoint.angle)), middle(gridMiddle), step(gridStep)
    {
    }

    float operator()(int i, int j) const
    {
        const float u = (static_cast<float>(i) - middle) * step;
        const float v = (static_cast<float>(j) - middle) * step;
        return image.at(place.x + (turn.c * u - turn.s * v), place.y + (turn.s * u + turn.c * v));
    }

    const Sampled& image;
    const vsrKeypoint& place;
    Turn turn;
    float middle;
    float step;
};

template <class T, size_t n>
float sumOfSquares(const std::array<T, n>& values)
{
    PartialSums<float> sums;
    for (size_t i = 0; i < n; ++i)
    {
        sums.add(i, values[i] * values[i]);
    }
    return sums.total();
}

void describeGradients(const Grid& samples, uint8_t* descriptor)
{
    std::array<float, kGradientBins> h = {};
    for (int j = 0; j < 16; ++j)
    {
        for (int i = 0; i < 16; ++i)
        {
            const float dx = samples(i + 1, j) - samples(i - 1, j);
            const float dy = samples(i, j + 1) - samples(i, j - 1);
            const float g = std::sqrt(dx * dx + dy * dy);
            const float o = directionOf(dx, dy);
            const float whole = std::floor(o);
            const float hi = g * (o - whole);
            const float lo = g - hi;
            const auto o0 = static_cast<size_t>(whole);
            for (size_t ky = 0; ky < kGradientPlaces; ++ky)
            {
                for (size_t kx = 0; kx < kGradientPlaces; ++kx)
                {
                    const float wy = kPlaceWeights[static_cast<size_t>(j)][ky];
                    const float wx = kPlaceWeights[static_cast<size_t>(i)][kx];
                    if (wx > 0 && wy > 0)
                    {
                        const float w = wy * wx;
                        float* bins = h.data() + (ky * kGradientPlaces + kx) * kGradientDirections;
                        bins[o0] += lo * w;
                        bins[(o0 + 1) % kGradientDirections] += hi * w;
                    }
                }
            }
        }
    }
    const float n = sumOfSquares(h);
    if (n == 0)
    {
        return;
    }
    const float k1 = 1 / std::sqrt(n);
    for (float& bin : h)
    {
        bin = std::min(bin * k1, 0.2f);
    }
    const float k2 = 512 / std::sqrt(sumOfSquares(h));
    for (size_t i = 0; i < kGradientBins; ++i)
    {
        descriptor[i] = static_cast<uint8_t>(std::min(255.0f, roundedUp(h[i] * k2)));
    }
}

void describePatch(const Grid& samples, int8_t* descriptor)
{
    std::array<float, kPatchSamples> s = {};
    PartialSums<float> sum;
    for (size_t e = 0; e < kPatchSamples; ++e)
    {
        s[e] = samples(static_cast<int>(e % kPatchSide), static_cast<int>(e / kPatchSide));
        sum.add(e, s[e]);
    }
    const float mean = sum.total() * 0.015625f;
    for (float& sample : s)
    {
        sample = sample - mean;
    }
    const float n = sumOfSquares(s);
    if (n == 0)
    {
        return;
    }
    const float k = 127 / std::sqrt(n);
    for (size_t e = 0; e < kPatchSamples; ++e)
    {
        descriptor[e] = static_cast<int8_t>(roundedUp(s[e] * k));
    }
}

template <class T, class Describe>
vsrStatus describeAll(const Sampled& image, const vsrKeypoint* keypoints, uint32_t count, T* dst, uint32_t dstStride,
                      size_t length, float middle, float stepPerScale, Describe describe)
{
    for (size_t i = 0; i < count; ++i)
    {
        T* descriptor = planeRow(dst, dstStride, i);
        std::memset(descriptor, 0, length);
        if (isUsable(keypoints[i]))
        {
            describe(Grid(image, keypoints[i], middle, keypoints[i].scale * stepPerScale), descriptor);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

vsrStatus vsrDescriptorGradient128u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      const vsrKeypoint* keypoints, uint32_t nKeypoints, uint8_t* dst,
                                      uint32_t dstStride)
{
    return visora::describeAll(visora::Sampled{src, srcWidth, srcHeight, srcStride}, keypoints, nKeypoints, dst,
                               dstStride, visora::kGradientBins, 7.5f, 0.75f, visora::describeGradients);
}

vsrStatus vsrDescriptorPatch64u8s8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const vsrKeypoint* keypoints, uint32_t nKeypoints, int8_t* dst, uint32_t dstStride)
{
    return visora::describeAll(visora::Sampled{src, srcWidth, srcHeight, srcStride}, keypoints, nKeypoints, dst,
                               dstStride, visora::kPatchSamples, 3.5f, 1.5f, visora::describePatch);
}
