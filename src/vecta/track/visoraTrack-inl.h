// The work on the windows of the optical flow by vectors. Included once per instruction set.
//
// A vector holds neighbouring columns of a window and walks down its rows, so that a lane sums a column; the columns
// are summed at the end, in the reference's order.
#if defined(VISORA_VECTA_TRACK_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_TRACK_INL_H
#undef VISORA_VECTA_TRACK_INL_H
#else
#define VISORA_VECTA_TRACK_INL_H
#endif

#include <cstring>
#include <type_traits>

#include "cpu/track/visoraTrack.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Windows are about 21 columns wide: longer vectors would only carry more empty lanes.
using Floats = hn::CappedTag<float, 8>;
using Quarter = hn::FixedTag<float, 4>;
using Vector = hn::Vec<Floats>;

// Vectors of columns that walk down together, as many as the registers hold.
constexpr size_t kMostTogether = HWY_ARCH_ARM ? 4 : 2;

template <size_t n>
using Together = std::integral_constant<size_t, n>;

// Covers `width` columns: body(d, column, together) does `together` vectors of tag d from a column on. The last one may
// reach beyond the width, by less than a vector.
template <class Body>
HWY_INLINE void coverColumns(size_t width, Body body)
{
    const Floats d;
    const size_t lanes = hn::Lanes(d);
    for (size_t column = 0; column < width;)
    {
        const size_t left = width - column;
        const size_t vectors = (left + lanes - 1) / lanes;
        if (vectors >= kMostTogether && !(hn::MaxLanes(Floats()) == 8 && left <= 12))
        {
            body(d, column, Together<kMostTogether>());
            column += kMostTogether * lanes;
        }
        else if (hn::MaxLanes(Floats()) == 8 && left <= 4)
        {
            return body(Quarter(), column, Together<1>());
        }
        else if (kMostTogether > 3 && vectors == 3)
        {
            return body(d, column, Together<3>());
        }
        else if (kMostTogether > 2 && vectors == 2)
        {
            return body(d, column, Together<2>());
        }
        else
        {
            body(d, column, Together<1>());
            column += lanes;
        }
    }
}

// Adds columns to the four partial sums of a window's columns.
HWY_INLINE hn::Vec<Quarter> fold(hn::Vec<Quarter> sums, hn::Vec<Quarter> columns)
{
    return hn::Add(sums, columns);
}

#if HWY_MAX_BYTES > 16
HWY_INLINE hn::Vec<Quarter> fold(hn::Vec<Quarter> sums, Vector columns)
{
    return hn::Add(hn::Add(sums, hn::LowerHalf(Quarter(), columns)), hn::UpperHalf(Quarter(), columns));
}
#endif

HWY_INLINE float totalOf(hn::Vec<Quarter> sums)
{
    float partial[4];
    hn::StoreU(sums, Quarter(), partial);
    return (partial[0] + partial[1]) + (partial[2] + partial[3]);
}

// Neighbouring vectors of pixels of a row, and those a column to the right of them.
template <class D, size_t n>
struct PixelRow
{
    hn::Vec<D> left[n];
    hn::Vec<D> right[n];

    HWY_INLINE explicit PixelRow(const float* pixels)
    {
        const D d;
        for (size_t i = 0; i < n; ++i)
        {
            left[i] = hn::LoadU(d, pixels + i * hn::Lanes(d));
            right[i] = hn::LoadU(d, pixels + i * hn::Lanes(d) + 1);
        }
    }
};

// Samples of neighbouring vectors of columns: body(samples) for each row from the top down. Every pixel is loaded once.
template <class D, size_t n, class Body>
HWY_INLINE void sampleRows(D d, Together<n> /*together*/, const float* pixels, size_t stride,
                           const BilinearWeights& weights, size_t height, Body body)
{
    const auto topLeft = hn::Set(d, weights.topLeft);
    const auto topRight = hn::Set(d, weights.topRight);
    const auto bottomLeft = hn::Set(d, weights.bottomLeft);
    const auto bottomRight = hn::Set(d, weights.bottomRight);
    const auto sample = [&](const PixelRow<D, n>& top, const PixelRow<D, n>& bottom) HWY_ATTR
    {
        hn::Vec<D> samples[n];
        for (size_t i = 0; i < n; ++i)
        {
            const auto two = hn::Add(hn::Mul(topLeft, top.left[i]), hn::Mul(topRight, top.right[i]));
            const auto three = hn::Add(two, hn::Mul(bottomLeft, bottom.left[i]));
            samples[i] = hn::Add(three, hn::Mul(bottomRight, bottom.right[i]));
        }
        body(samples);
    };
    PixelRow<D, n> top(pixels);
    // Two rows a step, so that no vector has to move from one variable to another.
    for (; height >= 2; height -= 2)
    {
        pixels += stride;
        const PixelRow<D, n> middle(pixels);
        sample(top, middle);
        pixels += stride;
        top = PixelRow<D, n>(pixels);
        sample(middle, top);
    }
    if (height != 0)
    {
        sample(top, PixelRow<D, n>(pixels + stride));
    }
}

// What the derivatives at one vector of columns need of a row of the patch.
struct DerivativeRow
{
    Vector left;
    Vector middle;
    Vector right;
    Vector across;

    HWY_INLINE explicit DerivativeRow(const float* row)
    {
        const Floats d;
        left = hn::LoadU(d, row);
        middle = hn::LoadU(d, row + 1);
        right = hn::LoadU(d, row + 2);
        across = hn::Sub(right, left);
    }
};

// The patch's derivatives at one vector of columns: body(ix, iy) for each of `height` rows from the top down. `patch`
// is the row above, a column left of the first derivative's.
template <class Body>
HWY_INLINE void differentiateRows(const float* patch, size_t pitch, size_t height, Body body)
{
    const Floats d;
    const auto side = hn::Set(d, kScharrSide);
    const auto centre = hn::Set(d, kScharrCentre);
    const auto smooth = [=](Vector before, Vector here, Vector after) HWY_ATTR
    { return hn::Add(hn::Mul(side, hn::Add(before, after)), hn::Mul(centre, here)); };
    const auto differentiate = [&](const DerivativeRow& above, const DerivativeRow& here, const DerivativeRow& below)
                                   HWY_ATTR
    {
        body(smooth(above.across, here.across, below.across),
             smooth(hn::Sub(below.left, above.left), hn::Sub(below.middle, above.middle),
                    hn::Sub(below.right, above.right)));
    };
    const auto nextRow = [&]() HWY_ATTR
    {
        const DerivativeRow row(patch);
        patch += pitch;
        return row;
    };
    DerivativeRow first = nextRow();
    DerivativeRow second = nextRow();
    // Three rows a step, after which each variable holds what it began with.
    for (; height >= 3; height -= 3)
    {
        const DerivativeRow third = nextRow();
        differentiate(first, second, third);
        first = nextRow();
        differentiate(second, third, first);
        second = nextRow();
        differentiate(third, first, second);
    }
    if (height != 0)
    {
        const DerivativeRow third = nextRow();
        differentiate(first, second, third);
        if (height == 2)
        {
            differentiate(second, third, nextRow());
        }
    }
}

// Pixels of rows as floats, at least `kLeastToCopy` of each row.
constexpr size_t kLeastToCopy = 8;

HWY_INLINE void copyRows(const float* from, size_t fromStride, size_t width, size_t height, float* to, size_t toStride)
{
    for (; height != 0; --height, from += fromStride, to += toStride)
    {
        std::copy_n(from, width, to);
    }
}

template <class D = Floats>
HWY_INLINE void copyRows(const uint8_t* from, size_t fromStride, size_t width, size_t height, float* to,
                         size_t toStride)
{
    const D d;
    const hn::Rebind<int32_t, D> d32;
    const hn::FixedTag<uint8_t, kLeastToCopy> d8;
    const hn::FixedTag<uint16_t, kLeastToCopy> d16;
    coverRange(0, width, kLeastToCopy,
               [=](size_t x) HWY_ATTR
               {
                   const uint8_t* pixels = from + x;
                   float* floats = to + x;
                   for (size_t row = height; row != 0; --row, pixels += fromStride, floats += toStride)
                   {
                       const auto bytes = hn::LoadU(d8, pixels);
                       if constexpr (hn::MaxLanes(D()) == kLeastToCopy)
                       {
                           hn::StoreU(hn::ConvertTo(d, hn::PromoteTo(d32, bytes)), d, floats);
                       }
                       else
                       {
                           const hn::Half<decltype(d16)> half;
                           const auto wide = hn::PromoteTo(d16, bytes);
                           const auto low = hn::PromoteTo(d32, hn::LowerHalf(half, wide));
                           const auto high = hn::PromoteTo(d32, hn::UpperHalf(half, wide));
                           hn::StoreU(hn::ConvertTo(d, low), d, floats);
                           hn::StoreU(hn::ConvertTo(d, high), d, floats + kLeastToCopy / 2);
                       }
                   }
               });
}

// The work on windows in areas whose rows have room for whole vectors.
template <class Pixel>
class VectorWork
{
  public:
    // The areas of a window: the template's patch, its derivatives, and the pixels that are sampled as floats.
    struct Layout
    {
        size_t pitch;
        size_t patch;
        size_t derivative;
        size_t pixelPitch;
        size_t pixels;

        explicit Layout(const TrackArguments<Pixel>& t)
        {
            const size_t lanes = hn::Lanes(Floats());
            const size_t height = 2 * static_cast<size_t>(t.halfHeight) + 1;
            // Derivatives of a last, partly empty vector reach two columns further.
            pitch = hwy::RoundUpTo(2 * static_cast<size_t>(t.halfWidth) + 1, lanes) + lanes;
            pixelPitch = hwy::RoundUpTo(pitch + 1 + 2 * kMargin, lanes);
            patch = pitch * (height + 2);
            derivative = pitch * height;
            pixels = pixelPitch * (height + 3 + 2 * kMargin);
        }

        size_t bytes() const { return (patch + 2 * derivative + pixels) * sizeof(float); }
    };

    VectorWork(const Layout& layout, float* memory) : layout_(layout)
    {
        patch_ = memory;
        ix_ = patch_ + layout.patch;
        iy_ = ix_ + layout.derivative;
        pixels_ = iy_ + layout.derivative;
        // What fills up the last vector of a row has no effect, but it must not be slow to calculate with.
        std::memset(memory, 0, layout.bytes());
    }

    void takeTemplate(const TrackImage<Pixel>& image, const Window& window, float x, float y)
    {
        const size_t pitch = layout_.pitch;
        const auto width = static_cast<size_t>(window.x.length());
        const auto height = static_cast<size_t>(window.y.length());
        const SubPixel left(x, window.x.length() + 2);
        const SubPixel top(y, window.y.length() + 2);
        inside_ = {};
        const Source source = locate(image, left.origin, top.origin, width + 2, height + 2, 0);
        const BilinearWeights weights(left, top);
        coverColumns(width + 2,
                     [&](auto d, size_t column, auto together) HWY_ATTR
                     {
                         float* to = patch_ + column;
                         sampleRows(d, together, source.pixels + column, source.stride, weights, height + 2,
                                    [&](const auto& samples) HWY_ATTR
                                    {
                                        for (size_t i = 0; i < together; ++i)
                                        {
                                            hn::StoreU(samples[i], d, to + i * hn::Lanes(d));
                                        }
                                        to += pitch;
                                    });
                     });
        ProductSums totals;
        for (size_t column = 0; column < width; column += hn::Lanes(Floats()))
        {
            float* toX = ix_ + column;
            float* toY = iy_ + column;
            Products sums;
            differentiateRows(patch_ + column, pitch, height,
                              [&](Vector ix, Vector iy) HWY_ATTR
                              {
                                  hn::StoreU(ix, Floats(), toX);
                                  hn::StoreU(iy, Floats(), toY);
                                  toX += pitch;
                                  toY += pitch;
                                  sums.add(ix, iy);
                              });
            totals.add(sums, width - column);
        }
        gradients_ = totals.total();
    }

    GradientSums gradients(const Window& window, const Window& common) const
    {
        if (common == window)
        {
            return gradients_;
        }
        const Floats d;
        const size_t start = startOf(window, common);
        const auto width = static_cast<size_t>(common.x.length());
        const auto height = static_cast<size_t>(common.y.length());
        ProductSums totals;
        for (size_t column = 0; column < width; column += hn::Lanes(d))
        {
            Products sums;
            for (size_t row = 0; row < height; ++row)
            {
                sums.add(hn::LoadU(d, ix_ + start + row * layout_.pitch + column),
                         hn::LoadU(d, iy_ + start + row * layout_.pitch + column));
            }
            totals.add(sums, width - column);
        }
        return totals.total();
    }

    MismatchSums mismatch(const Window& window, const Window& common, const TrackImage<Pixel>& image, float x, float y)
    {
        const size_t start = startOf(window, common);
        const size_t pitch = layout_.pitch;
        const auto width = static_cast<size_t>(common.x.length());
        const auto height = static_cast<size_t>(common.y.length());
        const SubPixel left(x, common.x.length());
        const SubPixel top(y, common.y.length());
        const Source source = locate(image, left.origin, top.origin, width, height, kMargin);
        const BilinearWeights weights(left, top);
        auto totalX = hn::Zero(Quarter());
        auto totalY = hn::Zero(Quarter());
        coverColumns(width,
                     [&](auto d, size_t column, auto together) HWY_ATTR
                     {
                         constexpr size_t n = decltype(together)::value;
                         using V = hn::Vec<decltype(d)>;
                         // The patch has a margin of one pixel.
                         const float* patch = patch_ + start + pitch + 1 + column;
                         const float* ix = ix_ + start + column;
                         const float* iy = iy_ + start + column;
                         V sumX[n];
                         V sumY[n];
                         for (size_t i = 0; i < n; ++i)
                         {
                             sumX[i] = hn::Zero(d);
                             sumY[i] = hn::Zero(d);
                         }
                         sampleRows(d, together, source.pixels + column, source.stride, weights, height,
                                    [&](const auto& samples) HWY_ATTR
                                    {
                                        for (size_t i = 0; i < n; ++i)
                                        {
                                            const size_t at = i * hn::Lanes(d);
                                            const V difference = hn::Sub(hn::LoadU(d, patch + at), samples[i]);
                                            sumX[i] = hn::Add(sumX[i], hn::Mul(difference, hn::LoadU(d, ix + at)));
                                            sumY[i] = hn::Add(sumY[i], hn::Mul(difference, hn::LoadU(d, iy + at)));
                                        }
                                        patch += pitch;
                                        ix += pitch;
                                        iy += pitch;
                                    });
                         // Only the last vector may reach beyond the window.
                         const auto inside = hn::FirstN(d, width - column - (n - 1) * hn::Lanes(d));
                         sumX[n - 1] = hn::IfThenElseZero(inside, sumX[n - 1]);
                         sumY[n - 1] = hn::IfThenElseZero(inside, sumY[n - 1]);
                         auto x = totalX;
                         auto y = totalY;
                         for (size_t i = 0; i < n; ++i)
                         {
                             x = fold(x, sumX[i]);
                             y = fold(y, sumY[i]);
                         }
                         totalX = x;
                         totalY = y;
                     });
        return {totalOf(totalX), totalOf(totalY)};
    }

  private:
    // By so much pixels that are copied reach beyond those that are sampled: most steps but the first are short, and
    // find their pixels copied.
    static constexpr size_t kMargin = 1;

    struct Source
    {
        const float* pixels;
        size_t stride;
    };

    // Sums of products of the derivatives, column by column.
    struct Products
    {
        Vector xx;
        Vector xy;
        Vector yy;

        HWY_INLINE Products() : xx(hn::Zero(Floats())), xy(xx), yy(xx) {}

        HWY_INLINE void add(Vector ix, Vector iy)
        {
            xx = hn::Add(xx, hn::Mul(ix, ix));
            xy = hn::Add(xy, hn::Mul(ix, iy));
            yy = hn::Add(yy, hn::Mul(iy, iy));
        }
    };

    struct ProductSums
    {
        hn::Vec<Quarter> xx;
        hn::Vec<Quarter> xy;
        hn::Vec<Quarter> yy;

        HWY_INLINE ProductSums() : xx(hn::Zero(Quarter())), xy(xx), yy(xx) {}

        // Adds a vector of columns, of which the first `count` belong to the window.
        HWY_INLINE void add(const Products& columns, size_t count)
        {
            const auto inside = hn::FirstN(Floats(), count);
            xx = fold(xx, hn::IfThenElseZero(inside, columns.xx));
            xy = fold(xy, hn::IfThenElseZero(inside, columns.xy));
            yy = fold(yy, hn::IfThenElseZero(inside, columns.yy));
        }

        HWY_INLINE GradientSums total() const { return {totalOf(xx), totalOf(xy), totalOf(yy)}; }
    };

    // What part of an image is copied.
    struct Copied
    {
        const Pixel* image = nullptr;
        int64_t x = 0;
        int64_t y = 0;
        int64_t width = 0;
        int64_t height = 0;

        bool holds(const Copied& part) const
        {
            return image == part.image && x <= part.x && y <= part.y && part.x + part.width <= x + width &&
                   part.y + part.height <= y + height;
        }
    };

    size_t startOf(const Window& window, const Window& common) const
    {
        return static_cast<size_t>(common.y.begin - window.y.begin) * layout_.pitch +
               static_cast<size_t>(common.x.begin - window.x.begin);
    }

    // The pixels for samples of `width` x `height` from (x, y) on, with whole vectors in every row: in the image, or in
    // a copy as floats in which the outermost pixels go on beyond the edges.
    Source locate(const TrackImage<Pixel>& image, int64_t x, int64_t y, size_t width, size_t height, size_t margin)
    {
        const Copied wanted = {image.pixels, x, y, static_cast<int64_t>(width) + 1, static_cast<int64_t>(height) + 1};
        if constexpr (std::is_same_v<Pixel, float>)
        {
            const auto read = static_cast<int64_t>(hwy::RoundUpTo(width, hn::Lanes(Floats())) + 1);
            if (x >= 0 && y >= 0 && x + read <= image.width && y + wanted.height <= image.height)
            {
                return {image.pixels + static_cast<size_t>(y) * image.stride + static_cast<size_t>(x), image.stride};
            }
        }
        if (!inside_.holds(wanted))
        {
            const auto around = static_cast<int64_t>(margin);
            inside_ = {image.pixels, x - around, y - around, wanted.width + 2 * around, wanted.height + 2 * around};
            copy(image, inside_);
        }
        return {pixels_ + static_cast<size_t>(y - inside_.y) * layout_.pixelPitch + static_cast<size_t>(x - inside_.x),
                layout_.pixelPitch};
    }

    void copy(const TrackImage<Pixel>& image, const Copied& part)
    {
        const auto columns = static_cast<size_t>(part.width);
        if (part.x >= 0 && part.y >= 0 && part.x + part.width <= image.width && part.y + part.height <= image.height &&
            columns >= kLeastToCopy)
        {
            const Pixel* from = image.pixels + static_cast<size_t>(part.y) * image.stride + static_cast<size_t>(part.x);
            copyRows(from, image.stride, columns, static_cast<size_t>(part.height), pixels_, layout_.pixelPitch);
            return;
        }
        // Columns before `first` lie left of the image, those from `end` on right of it.
        const auto first = static_cast<size_t>(std::clamp(-part.x, int64_t{0}, part.width));
        const auto end = static_cast<size_t>(std::clamp(image.width - part.x, int64_t{0}, part.width));
        float* to = pixels_;
        for (int64_t row = part.y; row < part.y + part.height; ++row, to += layout_.pixelPitch)
        {
            const int64_t inside = std::clamp(row, int64_t{0}, int64_t{image.height} - 1);
            const Pixel* from = image.pixels + static_cast<size_t>(inside) * image.stride;
            std::fill(to, to + first, static_cast<float>(from[0]));
            if (first < end)
            {
                std::copy_n(from + part.x + static_cast<int64_t>(first), end - first, to + first);
            }
            std::fill(to + end, to + columns, static_cast<float>(from[image.width - 1]));
        }
    }

    Layout layout_;
    float* patch_;
    float* ix_;
    float* iy_;
    float* pixels_;
    GradientSums gradients_ = {};
    Copied inside_;
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
