// Optical flow, vector variants. A vector holds neighbouring columns of a window and walks down its rows, so that a
// lane sums a column; the columns are summed at the end, in the reference's order.
#include <cstring>

#include "cpu/track/visoraTrack.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/track/visoraTrackV.cpp"
#include "hwy/foreach_target.h"
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

HWY_INLINE Vector loadPixels(const uint8_t* pixels)
{
    const Floats d;
    const hn::Rebind<int32_t, Floats> d32;
    const hn::Rebind<uint8_t, Floats> d8;
    return hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(d8, pixels)));
}

HWY_INLINE Vector loadPixels(const float* pixels)
{
    return hn::LoadU(Floats(), pixels);
}

#if HWY_ARCH_ARM
constexpr size_t kGroup = 2;  // vectors of columns that are worked on at once
#else
constexpr size_t kGroup = 1;
#endif
struct Group
{
    Vector v[kGroup];
};

HWY_INLINE Group loadGroup(const float* pixels)
{
    Group g;
    for (size_t i = 0; i < kGroup; ++i)
        g.v[i] = loadPixels(pixels + i * hn::Lanes(Floats()));
    return g;
}

HWY_INLINE Group loadGroup(const uint8_t* pixels)
{
#if HWY_ARCH_ARM
    const uint16x8_t wide = vmovl_u8(vld1_u8(pixels));
    return {{Vector(vcvtq_f32_u32(vmovl_u16(vget_low_u16(wide)))), Vector(vcvtq_f32_u32(vmovl_high_u16(wide)))}};
#else
    return {{loadPixels(pixels)}};
#endif
}

HWY_INLINE Group operator*(Vector a, const Group& b)
{
    Group g;
    for (size_t i = 0; i < kGroup; ++i)
        g.v[i] = hn::Mul(a, b.v[i]);
    return g;
}

HWY_INLINE Group operator*(const Group& a, const Group& b)
{
    Group g;
    for (size_t i = 0; i < kGroup; ++i)
        g.v[i] = hn::Mul(a.v[i], b.v[i]);
    return g;
}

HWY_INLINE Group operator+(const Group& a, const Group& b)
{
    Group g;
    for (size_t i = 0; i < kGroup; ++i)
        g.v[i] = hn::Add(a.v[i], b.v[i]);
    return g;
}

HWY_INLINE Group operator-(const Group& a, const Group& b)
{
    Group g;
    for (size_t i = 0; i < kGroup; ++i)
        g.v[i] = hn::Sub(a.v[i], b.v[i]);
    return g;
}

HWY_INLINE void storeGroup(const Group& g, float* to)
{
    for (size_t i = 0; i < kGroup; ++i)
        hn::StoreU(g.v[i], Floats(), to + i * hn::Lanes(Floats()));
}

HWY_INLINE size_t groupLanes()
{
    return kGroup * hn::Lanes(Floats());
}

// The four partial sums of a window's columns.
class ColumnFold
{
  public:
    HWY_INLINE ColumnFold() : sums_(hn::Zero(Quarter())) {}

    // Adds a vector of columns, of which the first `count` belong to the window.
    template <class V>
    HWY_INLINE void add(V columns, size_t count)
    {
        const hn::DFromV<V> d;
        if (count < hn::Lanes(d))
        {
            columns = hn::IfThenElseZero(hn::FirstN(d, count), columns);
        }
        if constexpr (hn::MaxLanes(hn::DFromV<V>()) == 8)
        {
            sums_ = hn::Add(sums_, hn::LowerHalf(columns));
            sums_ = hn::Add(sums_, hn::UpperHalf(Quarter(), columns));
        }
        else
        {
            sums_ = hn::Add(sums_, columns);
        }
    }

    HWY_INLINE float total() const
    {
        float partial[4];
        hn::StoreU(sums_, Quarter(), partial);
        return (partial[0] + partial[1]) + (partial[2] + partial[3]);
    }

  private:
    hn::Vec<Quarter> sums_;
};

struct Weights
{
    Vector topLeft;
    Vector topRight;
    Vector bottomLeft;
    Vector bottomRight;

    HWY_INLINE explicit Weights(const BilinearWeights& w)
        : topLeft(hn::Set(Floats(), w.topLeft)),
          topRight(hn::Set(Floats(), w.topRight)),
          bottomLeft(hn::Set(Floats(), w.bottomLeft)),
          bottomRight(hn::Set(Floats(), w.bottomRight))
    {
    }
};

// The samples of one vector of columns, from the top down; every pixel is loaded once.
template <class Pixel>
class SampleColumns
{
  public:
    HWY_INLINE SampleColumns(const Pixel* pixels, size_t stride, const Weights& weights)
        : next_(pixels + stride),
          stride_(stride),
          weights_(weights),
          left_(loadGroup(pixels)),
          right_(loadGroup(pixels + 1))
    {
    }

    HWY_INLINE Group nextRow()
    {
        const Group bottomLeft = loadGroup(next_);
        const Group bottomRight = loadGroup(next_ + 1);
        const Group top = weights_.topLeft * left_ + weights_.topRight * right_;
        const Group sample = (top + weights_.bottomLeft * bottomLeft) + weights_.bottomRight * bottomRight;
        left_ = bottomLeft;
        right_ = bottomRight;
        next_ += stride_;
        return sample;
    }

  private:
    const Pixel* next_;
    size_t stride_;
    const Weights weights_;
    Group left_;
    Group right_;
};

// Derivatives of the patch's rows at one vector of columns, from the top down. `patch` is the top row, a column left of
// the first derivative's.
class DerivativeColumns
{
  public:
    HWY_INLINE DerivativeColumns(const float* patch, size_t pitch) : next_(patch), pitch_(pitch)
    {
        above_ = nextRow();
        centre_ = nextRow();
    }

    HWY_INLINE void next(Vector& ix, Vector& iy)
    {
        const Row below = nextRow();
        ix = smooth(above_.across, centre_.across, below.across);
        iy = smooth(hn::Sub(below.left, above_.left), hn::Sub(below.middle, above_.middle),
                    hn::Sub(below.right, above_.right));
        above_ = centre_;
        centre_ = below;
    }

  private:
    struct Row
    {
        Vector left;
        Vector middle;
        Vector right;
        Vector across;
    };

    HWY_INLINE Row nextRow()
    {
        const Floats d;
        const float* row = next_;
        next_ += pitch_;
        const Vector left = hn::LoadU(d, row);
        const Vector right = hn::LoadU(d, row + 2);
        return {left, hn::LoadU(d, row + 1), right, hn::Sub(right, left)};
    }

    static HWY_INLINE Vector smooth(Vector before, Vector here, Vector after)
    {
        const Floats d;
        return hn::Add(hn::Mul(hn::Set(d, kScharrSide), hn::Add(before, after)),
                       hn::Mul(hn::Set(d, kScharrCentre), here));
    }

    const float* next_;
    size_t pitch_;
    Row above_;
    Row centre_;
};

// The work on windows in areas whose rows have room for whole vectors.
template <class Pixel>
class VectorWork
{
  public:
    // The areas of a window: the template's patch, its derivatives, a copy of what pixels surround a window at an edge.
    struct Layout
    {
        size_t pitch;
        size_t patch;
        size_t derivative;
        size_t border;
        size_t borderPitch;

        explicit Layout(const TrackArguments<Pixel>& t)
        {
            const size_t lanes = hn::Lanes(Floats());
            const size_t height = 2 * static_cast<size_t>(t.halfHeight) + 1;
            // Derivatives of a last, partly empty vector reach two columns further.
            pitch = hwy::RoundUpTo(2 * static_cast<size_t>(t.halfWidth) + 1, groupLanes()) + groupLanes();
            borderPitch = pitch + groupLanes();
            (void)lanes;
            patch = pitch * (height + 2);
            derivative = pitch * height;
            border = borderPitch * (height + 3);
        }

        size_t bytes() const { return (patch + 2 * derivative) * sizeof(float) + border * sizeof(Pixel); }
    };

    VectorWork(const Layout& layout, float* memory) : layout_(layout)
    {
        patch_ = memory;
        ix_ = patch_ + layout.patch;
        iy_ = ix_ + layout.derivative;
        border_ = reinterpret_cast<Pixel*>(iy_ + layout.derivative);
        // What fills up the last vector of a row has no effect, but it must not be slow to calculate with.
        std::memset(memory, 0, layout.bytes());
    }

    void takeTemplate(const TrackImage<Pixel>& image, const Window& window, float x, float y)
    {
        const size_t lanes = hn::Lanes(Floats());
        const size_t pitch = layout_.pitch;
        const auto width = static_cast<size_t>(window.x.length());
        const auto height = static_cast<size_t>(window.y.length());
        const SubPixel left(x, window.x.length() + 2);
        const SubPixel top(y, window.y.length() + 2);
        const Source source = locate(image, left.origin, top.origin, width + 2, height + 2);
        const Weights weights{BilinearWeights(left, top)};
        for (size_t column = 0; column < width + 2; column += groupLanes())
        {
            SampleColumns<Pixel> samples(source.pixels + column, source.stride, weights);
            float* to = patch_ + column;
            for (size_t row = 0; row < height + 2; ++row, to += pitch)
            {
                storeGroup(samples.nextRow(), to);
            }
        }
        for (size_t column = 0; column < width; column += lanes)
        {
            DerivativeColumns derivatives(patch_ + column, pitch);
            float* const toX = ix_ + column;
            float* const toY = iy_ + column;
            for (size_t row = 0; row < height; ++row)
            {
                Vector ix;
                Vector iy;
                derivatives.next(ix, iy);
                hn::StoreU(ix, Floats(), toX + row * pitch);
                hn::StoreU(iy, Floats(), toY + row * pitch);
            }
        }
    }

    GradientSums gradients(const Window& window, const Window& common) const
    {
        const Floats d;
        const size_t start = startOf(window, common);
        const auto width = static_cast<size_t>(common.x.length());
        const auto height = static_cast<size_t>(common.y.length());
        ColumnFold xx;
        ColumnFold xy;
        ColumnFold yy;
        for (size_t column = 0; column < width; column += hn::Lanes(d))
        {
            Vector sumXX = hn::Zero(d);
            Vector sumXY = hn::Zero(d);
            Vector sumYY = hn::Zero(d);
            for (size_t row = 0; row < height; ++row)
            {
                const Vector ix = hn::LoadU(d, ix_ + start + row * layout_.pitch + column);
                const Vector iy = hn::LoadU(d, iy_ + start + row * layout_.pitch + column);
                sumXX = hn::Add(sumXX, hn::Mul(ix, ix));
                sumXY = hn::Add(sumXY, hn::Mul(ix, iy));
                sumYY = hn::Add(sumYY, hn::Mul(iy, iy));
            }
            xx.add(sumXX, width - column);
            xy.add(sumXY, width - column);
            yy.add(sumYY, width - column);
        }
        return {xx.total(), xy.total(), yy.total()};
    }

    MismatchSums mismatch(const Window& window, const Window& common, const TrackImage<Pixel>& image, float x,
                          float y) const
    {
        const Floats d;
        const size_t start = startOf(window, common);
        const size_t pitch = layout_.pitch;
        const auto width = static_cast<size_t>(common.x.length());
        const auto height = static_cast<size_t>(common.y.length());
        const SubPixel left(x, common.x.length());
        const SubPixel top(y, common.y.length());
        const Source source = locate(image, left.origin, top.origin, width, height);
        const Weights weights{BilinearWeights(left, top)};
        ColumnFold bx;
        ColumnFold by;
        for (size_t column = 0; column < width; column += groupLanes())
        {
            SampleColumns<Pixel> samples(source.pixels + column, source.stride, weights);
            // The patch has a margin of one pixel.
            const float* patch = patch_ + start + pitch + 1 + column;
            const float* ix = ix_ + start + column;
            const float* iy = iy_ + start + column;
            Group sumX;
            for (Vector& v : sumX.v)
                v = hn::Zero(d);
            Group sumY = sumX;
            for (size_t row = 0; row < height; ++row, patch += pitch, ix += pitch, iy += pitch)
            {
                const Group difference = loadGroup(patch) - samples.nextRow();
                sumX = sumX + difference * loadGroup(ix);
                sumY = sumY + difference * loadGroup(iy);
            }
            for (size_t i = 0; i < kGroup && column + i * hn::Lanes(d) < width; ++i)
            {
                bx.add(sumX.v[i], width - column - i * hn::Lanes(d));
                by.add(sumY.v[i], width - column - i * hn::Lanes(d));
            }
        }
        return {bx.total(), by.total()};
    }

  private:
    struct Source
    {
        const Pixel* pixels;
        size_t stride;
    };

    size_t startOf(const Window& window, const Window& common) const
    {
        return static_cast<size_t>(common.y.begin - window.y.begin) * layout_.pitch +
               static_cast<size_t>(common.x.begin - window.x.begin);
    }

    // The pixels for samples of `width` x `height` from (x, y) on, with whole vectors in every row: in the image, or
    // near its edges in a copy in which the outermost pixels go on.
    Source locate(const TrackImage<Pixel>& image, int64_t x, int64_t y, size_t width, size_t height) const
    {
        const size_t read = hwy::RoundUpTo(width, groupLanes()) + 1;
        if (x >= 0 && y >= 0 && x + static_cast<int64_t>(read) <= image.width &&
            y + static_cast<int64_t>(height) + 1 <= image.height)
        {
            return {image.pixels + static_cast<size_t>(y) * image.stride + static_cast<size_t>(x), image.stride};
        }
        // Columns before `first` lie left of the image, those from `end` on right of it.
        const auto columns = static_cast<int64_t>(width) + 1;
        const auto first = static_cast<size_t>(std::clamp(-x, int64_t{0}, columns));
        const auto end = static_cast<size_t>(std::clamp(image.width - x, int64_t{0}, columns));
        for (size_t row = 0; row <= height; ++row)
        {
            const int64_t inside = std::clamp(y + static_cast<int64_t>(row), int64_t{0}, int64_t{image.height} - 1);
            const Pixel* from = image.pixels + static_cast<size_t>(inside) * image.stride;
            Pixel* to = border_ + row * layout_.borderPitch;
            std::fill(to, to + first, from[0]);
            if (first < end)
            {
                std::copy_n(from + x + static_cast<int64_t>(first), end - first, to + first);
            }
            std::fill(to + end, to + columns, from[image.width - 1]);
        }
        return {border_, layout_.borderPitch};
    }

    Layout layout_;
    float* patch_;
    float* ix_;
    float* iy_;
    Pixel* border_;
};

template <class Pixel>
void track(const TrackArguments<Pixel>& t)
{
    // Windows of no imaginable memory would overflow the areas' sizes.
    constexpr size_t kMostBytes = std::numeric_limits<size_t>::max() / 64;
    if (refusesToTrack(t) ||
        trackScratchBytes(2 * int64_t{t.halfWidth} + 1, 2 * int64_t{t.halfHeight} + 1, t.nLevels) > kMostBytes)
    {
        return;
    }
    const typename VectorWork<Pixel>::Layout layout(t);
    constexpr size_t kAlignment = 64;
    const size_t table = hwy::RoundUpTo(static_cast<size_t>(t.nLevels) * 20, kAlignment);
    const Scratch scratch(table + layout.bytes(), kAlignment);
    if (!scratch.data())
    {
        return;
    }
    const LevelTable<Pixel> levels(t, scratch.data());
    VectorWork<Pixel> work(layout, reinterpret_cast<float*>(scratch.data() + table));
    trackFeatures(work, t, levels);
}

void trackBytes(const TrackArguments<uint8_t>& t)
{
    track(t);
}

void trackFloats(const TrackArguments<float>& t)
{
    track(t);
}

// False when a row has no room for a vector.
bool differentiate(const float* patch, float* ix, float* iy, size_t patchWidth, size_t patchHeight)
{
    const size_t lanes = hn::Lanes(Floats());
    if (patchWidth < lanes + 2)
    {
        return false;
    }
    const size_t width = patchWidth - 2;
    coverRange(0, width, lanes,
               [&](size_t column) HWY_ATTR
               {
                   DerivativeColumns derivatives(patch + column, patchWidth);
                   for (size_t row = 0; row + 2 < patchHeight; ++row)
                   {
                       Vector dx;
                       Vector dy;
                       derivatives.next(dx, dy);
                       hn::StoreU(dx, Floats(), ix + row * width + column);
                       hn::StoreU(dy, Floats(), iy + row * width + column);
                   }
               });
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(trackBytes);
HWY_EXPORT(trackFloats);
HWY_EXPORT(differentiate);
}  // namespace visora

using namespace visora;

void calcIxIy_32fV(const float* patch, float* Ix, float* Iy, uint32_t patchWidth, uint32_t patchHeight)
{
    if (patchHeight < 3 || !HWY_DYNAMIC_DISPATCH(differentiate)(patch, Ix, Iy, patchWidth, patchHeight))
    {
        calcIxIy_32fC(patch, Ix, Iy, patchWidth, patchHeight);
    }
}

vsrStatus vsrTrackLKOpticalFlowu8V(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                   const vsrPyramidLevel* src1Pyr, const vsrPyramidLevel* src2Pyr,
                                   const float* featureXY, float* featureXY_out, int32_t* featureStatus,
                                   int32_t nFeatures, int32_t windowWidth, int32_t windowHeight, int32_t maxIterations,
                                   int32_t nPyramidLevels)
{
    withStrides(src1Pyr, src2Pyr, nPyramidLevels,
                [&](const vsrPyramidLevel_v2* first, const vsrPyramidLevel_v2* second)
                {
                    vsrTrackLKOpticalFlowu8_v2V(src1, src2, width, height, width, first, second, featureXY,
                                                featureXY_out, featureStatus, nFeatures, windowWidth, windowHeight,
                                                maxIterations, nPyramidLevels);
                });
    return VISORA_SUCCESS;
}

vsrStatus vsrTrackLKOpticalFlowu8_v2V(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                                      uint32_t stride, const vsrPyramidLevel_v2* src1Pyr,
                                      const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                      int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                      int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels)
{
    return vsrTrackLKOpticalFlowu8_v3V(src1, src2, width, height, stride, src1Pyr, src2Pyr, featureXY, featureXY_out,
                                       featureStatus, nFeatures, windowWidth, windowHeight, maxIterations,
                                       nPyramidLevels, VISORA_TRACK_UNTIL_ITERATIONS, 0, 0);
}

vsrStatus vsrTrackLKOpticalFlowu8_v3V(const uint8_t* src1, const uint8_t* src2, uint32_t /*width*/, uint32_t /*height*/,
                                      uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                      const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                      int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                      int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels,
                                      int32_t criteriaType, float epsilon, int32_t useInitialEstimate)
{
    if (!useInitialEstimate)
    {
        startAtFeatures(featureXY, featureXY_out, nFeatures);
    }
    HWY_DYNAMIC_DISPATCH(trackBytes)
    ({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
      windowHeight >> 1, maxIterations, nPyramidLevels, criteriaType, epsilon});
    return VISORA_SUCCESS;
}

vsrStatus vsrTrackLKOpticalFlowf32V(const float* src1, const float* src2, uint32_t /*width*/, uint32_t /*height*/,
                                    uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                    const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                    int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                    int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels)
{
    startAtFeatures(featureXY, featureXY_out, nFeatures);
    HWY_DYNAMIC_DISPATCH(trackFloats)
    ({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
      windowHeight >> 1, maxIterations, nPyramidLevels, VISORA_TRACK_UNTIL_ITERATIONS, 0});
    return VISORA_SUCCESS;
}

#endif
