// The edge of an image, for the kernels that write border pixels.
#ifndef VISORA_CPU_BORDER_H
#define VISORA_CPU_BORDER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "visora/types.h"

namespace visora
{

/** An image that continues beyond its edges: by the border value, or by the nearest pixel for any other type. */
template <class T>
class BorderedImageOf
{
  public:
    BorderedImageOf(const T* src, uint32_t width, uint32_t height, uint32_t stride, vsrBorderType type, T value)
        : src_(src), width_(width), height_(height), step_(stride / sizeof(T)), type_(type), value_(value)
    {
    }

    T at(int64_t x, int64_t y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < width_ && y < height_;
        if (!inside && type_ == VISORA_BORDER_CONSTANT)
        {
            return value_;
        }
        return src_[std::clamp<int64_t>(y, 0, height_ - 1) * step_ + std::clamp<int64_t>(x, 0, width_ - 1)];
    }

  private:
    const T* src_;
    int64_t width_;
    int64_t height_;
    int64_t step_;
    vsrBorderType type_;
    T value_;
};

using BorderedImage = BorderedImageOf<uint8_t>;

/** Calls visit(x, y) for every pixel less than `frame` pixels away from an edge, once each, row by row. */
template <class Visit>
void forEachBorderPixel(uint32_t width, uint32_t height, uint32_t frame, Visit visit)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const bool wholeRow = y < frame || y + uint64_t{frame} >= height || width <= uint64_t{frame} * 2;
        const uint32_t leftEnd = wholeRow ? width : frame;
        for (uint32_t x = 0; x < leftEnd; ++x)
        {
            visit(x, y);
        }
        for (uint32_t x = wholeRow ? width : width - frame; x < width; ++x)
        {
            visit(x, y);
        }
    }
}

}  // namespace visora

#endif
