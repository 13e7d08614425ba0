// One pixel's gradient.
#ifndef VISORA_CPU_GRADIENT_H
#define VISORA_CPU_GRADIENT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace visora
{

/** Differences between the neighbours of a pixel: of its own row or column alone, or smoothed across them. */
enum class GradientKind
{
    Central,  // 0, 1, 0
    Sobel,    // 1, 2, 1
    Scharr    // 3, 10, 3
};

/** A kind as an argument, to choose a template by. */
template <GradientKind kind>
using KindTag = std::integral_constant<GradientKind, kind>;
constexpr KindTag<GradientKind::Central> kCentral;
constexpr KindTag<GradientKind::Sobel> kSobel;
constexpr KindTag<GradientKind::Scharr> kScharr;

template <GradientKind kind>
constexpr int16_t kSideWeight = kind == GradientKind::Central ? 0
                                : kind == GradientKind::Sobel ? 1
                                                              : 3;
template <GradientKind kind>
constexpr int16_t kCentreWeight = kind == GradientKind::Central ? 1
                                  : kind == GradientKind::Sobel ? 2
                                                                : 10;

/** What brings a gradient to the slope per pixel or, for Sobel floats, leaves it as it is. A power of two, so exact. */
template <GradientKind kind>
constexpr float kFloatScale = kind == GradientKind::Central ? 0.5f
                              : kind == GradientKind::Sobel ? 1.0f
                                                            : 0.03125f;
/** What makes a gradient fit s8. */
template <GradientKind kind>
constexpr int kByteShift = kind == GradientKind::Central ? 1 : 3;

/** The rows about one row of an image, the nearest one standing for a row outside it. */
struct GradientRows
{
    GradientRows(const uint8_t* src, uint32_t columns, uint32_t height, size_t stride, uint32_t y)
        : above(src + (y - std::min(y, 1u)) * stride),
          centre(src + y * stride),
          below(src + std::min(y + 1, height - 1) * stride),
          width(columns)
    {
    }

    GradientRows(const uint8_t* upper, const uint8_t* own, const uint8_t* lower, uint32_t columns)
        : above(upper), centre(own), below(lower), width(columns)
    {
    }

    uint32_t left(uint32_t x) const { return x - std::min(x, 1u); }
    uint32_t right(uint32_t x) const { return std::min(x + 1, width - 1); }

    /** Right minus left column. */
    template <GradientKind kind>
    int32_t dx(uint32_t x) const
    {
        const uint32_t l = left(x);
        const uint32_t r = right(x);
        return kSideWeight<kind> * (above[r] - above[l] + below[r] - below[l]) +
               kCentreWeight<kind> * (centre[r] - centre[l]);
    }

    /** Lower minus upper row. */
    template <GradientKind kind>
    int32_t dy(uint32_t x) const
    {
        const uint32_t l = left(x);
        const uint32_t r = right(x);
        return kSideWeight<kind> * (below[l] - above[l] + below[r] - above[r]) +
               kCentreWeight<kind> * (below[x] - above[x]);
    }

    const uint8_t* above;
    const uint8_t* centre;
    const uint8_t* below;
    uint32_t width;
};

/** A gradient as an element of the result. */
template <GradientKind kind, class T>
T gradientElement(int32_t gradient)
{
    if constexpr (std::is_same_v<T, float>)
    {
        return static_cast<float>(gradient) * kFloatScale<kind>;
    }
    else
    {
        return static_cast<T>(sizeof(T) == 1 ? gradient >> kByteShift<kind> : gradient);
    }
}

/** Gradients as two planes. */
template <class T>
struct GradientPlanes
{
    using Element = T;

    GradientPlanes row(size_t y, uint32_t stride) const
    {
        const size_t start = y * (stride / sizeof(T));
        return {dx + start, dy + start};
    }

    void put(size_t x, T across, T down) const
    {
        dx[x] = across;
        dy[x] = down;
    }

    T* dx;
    T* dy;
};

/** Gradients as one plane of pairs. */
template <class T>
struct GradientPairs
{
    using Element = T;

    GradientPairs row(size_t y, uint32_t stride) const { return {pairs + y * (stride / sizeof(T))}; }

    void put(size_t x, T across, T down) const
    {
        pairs[2 * x] = across;
        pairs[2 * x + 1] = down;
    }

    T* pairs;
};

/** Puts pixel x of a row of gradients. */
template <GradientKind kind, class Out>
void putGradient(const GradientRows& rows, uint32_t x, const Out& out)
{
    using T = typename Out::Element;
    out.put(x, gradientElement<kind, T>(rows.dx<kind>(x)), gradientElement<kind, T>(rows.dy<kind>(x)));
}

/** Gradients of a whole image. */
template <GradientKind kind, class Out>
void gradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, const Out& out,
               uint32_t gradStride)
{
    for (uint32_t y = 0; y < height; ++y)
    {
        const GradientRows rows(src, width, height, srcStride, y);
        const Out outRow = out.row(y, gradStride);
        for (uint32_t x = 0; x < width; ++x)
        {
            putGradient<kind>(rows, x, outRow);
        }
    }
}

}  // namespace visora

#endif
