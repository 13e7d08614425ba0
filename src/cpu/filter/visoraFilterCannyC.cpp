// Canny edges, reference variants.
#include <cstdlib>

#include "cpu/filter/visoraFilterCanny.h"
#include "cpu/filter/visoraFilterSobel.h"
#include "visora/variants/filter.h"

namespace
{

// Gradients and strengths of an image; nothing has a strength outside.
class Strengths
{
  public:
    Strengths(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, vsrCannyNorm norm)
        : image_(src, width, height, stride, VISORA_BORDER_REPLICATE, 0), width_(width), height_(height), norm_(norm)
    {
    }

    visora::Gradient gradient(int64_t x, int64_t y) const { return visora::gradientOf3x3(image_, x, y, 1, 2); }

    int at(int64_t x, int64_t y) const
    {
        if (x < 0 || y < 0 || x >= width_ || y >= height_)
        {
            return 0;
        }
        const auto [dx, dy] = gradient(x, y);
        return norm_ == VISORA_CANNY_L2 ? dx * dx + dy * dy : std::abs(dx) + std::abs(dy);
    }

    // Whether the strength is a maximum across the edge.
    bool isMaximum(int64_t x, int64_t y) const
    {
        const auto [dx, dy] = gradient(x, y);
        const int a = std::abs(dx);
        const int b = std::abs(dy);
        const int t = (a * 13573) >> 15;
        const int strength = at(x, y);
        if (a > 0 && b <= t)
        {
            return strength > at(x - 1, y) && strength >= at(x + 1, y);
        }
        if (b > 2 * a + t)
        {
            return strength > at(x, y - 1) && strength >= at(x, y + 1);
        }
        const int d = (dx < 0) != (dy < 0) ? -1 : 1;
        return strength > at(x - d, y - 1) && strength > at(x + d, y + 1);
    }

  private:
    visora::BorderedImage image_;
    int64_t width_;
    int64_t height_;
    vsrCannyNorm norm_;
};

vsrStatus edges(const Strengths& strengths, uint32_t width, uint32_t height, int low, int high, uint8_t* dst,
                uint32_t dstStride)
{
    visora::CannyMap map(width, height);
    if (!map.isReady())
    {
        return VISORA_ENOMEM;
    }
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            const int strength = strengths.at(x, y);
            if (strength > low && strengths.isMaximum(x, y))
            {
                map.row(y)[x] = strength > high ? visora::kStrong : visora::kCandidate;
            }
        }
    }
    map.join();
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            dst[size_t{y} * dstStride + x] = map.row(y)[x] >= visora::kStrong ? 255 : 0;
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrFilterCanny3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t lowThreshold, uint32_t highThreshold, uint8_t* dst, uint32_t dstStride)
{
    return edges(Strengths(src, srcWidth, srcHeight, srcStride, VISORA_CANNY_L1), srcWidth, srcHeight,
                 static_cast<int>(lowThreshold), static_cast<int>(highThreshold), dst, dstStride);
}

vsrStatus vsrFilterCanny3x3u8_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t lowThreshold, uint32_t highThreshold, vsrCannyNorm norm, uint8_t* dst,
                                  uint32_t dstStride, int16_t* dx, int16_t* dy, uint32_t gradStride)
{
    const bool squared = norm == VISORA_CANNY_L2;
    const Strengths strengths(src, srcWidth, srcHeight, srcStride, norm);
    const vsrStatus status =
        edges(strengths, srcWidth, srcHeight, static_cast<int>(squared ? lowThreshold * lowThreshold : lowThreshold),
              static_cast<int>(squared ? highThreshold * highThreshold : highThreshold), dst, dstStride);
    for (uint32_t y = 0; status == VISORA_SUCCESS && y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            const visora::Gradient gradient = strengths.gradient(x, y);
            dx[y * (gradStride / sizeof(int16_t)) + x] = static_cast<int16_t>(gradient.dx);
            dy[y * (gradStride / sizeof(int16_t)) + x] = static_cast<int16_t>(gradient.dy);
        }
    }
    return status;
}
