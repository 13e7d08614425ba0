// Inpainting, reference variant.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "cpu/shape/visoraShapeDistance.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/shape.h"

using visora::imageRow;
using visora::PackedPoint;

namespace
{

constexpr uint32_t kMostChannels = 3;

// A masked pixel; those nearest to unmasked ones are filled first.
template <class Squared>
struct Hole
{
    Squared distance;
    PackedPoint point;
};

// The squared distances of all pixels from the nearest unmasked one, and their roots.
template <class Squared>
struct Front
{
    float time(int64_t x, int64_t y) const
    {
        return times[static_cast<size_t>(std::clamp<int64_t>(y, 0, height - 1) * width +
                                         std::clamp<int64_t>(x, 0, width - 1))];
    }

    int64_t width;
    int64_t height;
    Squared* squared;
    float* times;
};

template <class Squared>
void fillPixel(const Front<Squared>& front, PackedPoint p, int64_t radius, uint32_t channels, uint8_t* dst,
               uint32_t dstStride)
{
    const int64_t x = visora::xOf(p);
    const int64_t y = visora::yOf(p);
    const Squared reached = front.squared[y * front.width + x];
    const float time = front.time(x, y);
    const float gx = (front.time(x + 1, y) - front.time(x - 1, y)) * 0.5f;
    const float gy = (front.time(x, y + 1) - front.time(x, y - 1)) * 0.5f;
    std::array<visora::PartialSums<float>, kMostChannels> values;
    visora::PartialSums<float> weights;
    for (int64_t dy = -radius; dy <= radius; ++dy)
    {
        for (int64_t dx = -radius; dx <= radius; ++dx)
        {
            const int64_t qx = x + dx;
            const int64_t qy = y + dy;
            const int64_t squared = dx * dx + dy * dy;
            if (squared == 0 || squared > radius * radius || qx < 0 || qx >= front.width || qy < 0 ||
                qy >= front.height || front.squared[qy * front.width + qx] >= reached)
            {
                continue;
            }
            const auto rr = static_cast<float>(squared);
            const float r = std::sqrt(rr);
            const float along = std::fabs(static_cast<float>(dx) / r * gx + static_cast<float>(dy) / r * gy);
            const float weight = (along < 1e-6f ? 1e-6f : along) * (1.0f / rr) *
                                 (1.0f / (1.0f + (time - front.times[qy * front.width + qx])));
            const auto partial = static_cast<size_t>(dx + radius);
            weights.add(partial, weight);
            const uint8_t* pixel = imageRow(dst, dstStride, static_cast<uint32_t>(qy)) + qx * channels;
            for (uint32_t c = 0; c < channels; ++c)
            {
                values[c].add(partial, weight * static_cast<float>(pixel[c]));
            }
        }
    }
    const float total = weights.total();
    uint8_t* to = imageRow(dst, dstStride, static_cast<uint32_t>(y)) + x * channels;
    for (uint32_t c = 0; c < channels; ++c)
    {
        to[c] = static_cast<uint8_t>(std::floor(values[c].total() / total + 0.5f));
    }
}

// What is copied once nothing can fail any more.
struct Copy
{
    void run() const
    {
        for (uint32_t y = 0; y < height && src != dst; ++y)
        {
            std::memcpy(imageRow(dst, dstStride, y), imageRow(src, srcStride, y), rowBytes);
        }
    }

    const uint8_t* src;
    size_t rowBytes;
    uint32_t height;
    uint32_t srcStride;
    uint8_t* dst;
    uint32_t dstStride;
};

template <class Squared>
vsrStatus inpaint(uint32_t width, uint32_t height, uint32_t channels, const uint8_t* mask, uint32_t maskStride,
                  uint32_t radius, uint8_t* dst, uint32_t dstStride, size_t masked, const Copy& copy)
{
    const size_t pixels = size_t{width} * height;
    const visora::Scratch scratch(visora::partBytes<uint16_t>(pixels) + visora::partBytes<uint16_t>(width) +
                                  visora::Envelope::bytes(width) + visora::partBytes<Squared>(pixels) +
                                  visora::partBytes<float>(pixels) + visora::partBytes<Hole<Squared>>(masked));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    auto* const all = parts.take<uint16_t>(pixels);
    auto* const none = parts.take<uint16_t>(width);
    visora::Envelope envelope(parts, width);
    const Front<Squared> front{width, height, parts.take<Squared>(pixels), parts.take<float>(pixels)};
    auto* const holes = parts.take<Hole<Squared>>(masked);
    size_t count = 0;
    visora::columnDistances(mask, width, height, maskStride, all, none, visora::distancesDown, visora::distancesUp,
                            [&](uint32_t y, const uint16_t* distances)
                            {
                                const size_t row = size_t{y} * width;
                                envelope.row(
                                    distances, width,
                                    [&](uint32_t x, int64_t squared)
                                    {
                                        front.squared[row + x] = static_cast<Squared>(squared);
                                        front.times[row + x] = std::sqrt(static_cast<float>(squared));
                                        if (squared > 0)
                                        {
                                            holes[count++] = {static_cast<Squared>(squared), visora::packPoint(x, y)};
                                        }
                                    });
                            });
    copy.run();
    if (masked < pixels)
    {
        std::sort(holes, holes + count,
                  [](const Hole<Squared>& a, const Hole<Squared>& b) { return a.distance < b.distance; });
        for (size_t i = 0; i < count; ++i)
        {
            fillPixel(front, holes[i].point, radius, channels, dst, dstStride);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrInpaintu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint32_t radius, uint8_t* dst,
                        uint32_t dstStride)
{
    size_t masked = 0;
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        const uint8_t* row = imageRow(mask, maskStride, y);
        masked += srcWidth - static_cast<size_t>(std::count(row, row + srcWidth, 0));
    }
    const Copy rows{src, size_t{srcWidth} * channels, srcHeight, srcStride, dst, dstStride};
    // The square of the largest images' diagonal needs more than 32 bits.
    const uint64_t diagonal = uint64_t{srcWidth} * srcWidth + uint64_t{srcHeight} * srcHeight;
    const auto run = diagonal <= UINT32_MAX ? inpaint<uint32_t> : inpaint<uint64_t>;
    return run(srcWidth, srcHeight, channels, mask, maskStride, radius, dst, dstStride, masked, rows);
}
