// Refinement of corners between pixels, vector variant: lanes are columns of the window.
#include "cpu/corner/visoraCornerRefine.h"
#include "cpu/visoraPlane.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/corner/visoraCornerRefineV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraDot-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Columns of the largest window, one more on each side, another one to mix with, whole vectors.
constexpr size_t kRoom = 288;

struct WindowColumns
{
    alignas(64) float weights[kRoom] = {};
    alignas(64) float places[kRoom] = {};
};

class RefineWindow
{
    using Parts = FloatSums<Product>;

  public:
    HWY_INLINE RefineWindow(const uint8_t* src, uint32_t width, uint32_t height, size_t stride, uint32_t windowWidth,
                            uint32_t windowHeight)
        : src_(src),
          width_(static_cast<int32_t>(width)),
          height_(static_cast<int32_t>(height)),
          stride_(stride),
          columns_(windowWidth),
          reachX_(static_cast<int32_t>((windowWidth - 1) / 2)),
          reachY_(static_cast<int32_t>((windowHeight - 1) / 2))
    {
        for (int32_t i = -reachX_; i <= reachX_; ++i)
        {
            window_.weights[i + reachX_] = refineWeight(i, reachX_);
            window_.places[i + reachX_] = static_cast<float>(i);
        }
    }

    HWY_INLINE RefineSums sumsAt(float centreX, float centreY)
    {
        const FloatLanes d;
        const float wholeX = std::floor(centreX);
        const float wholeY = std::floor(centreY);
        const auto fx = hn::Set(d, centreX - wholeX);
        const auto fy = hn::Set(d, centreY - wholeY);
        const auto x = static_cast<int32_t>(wholeX);
        const auto y = static_cast<int32_t>(wholeY);
        auto a = Parts::zero();
        auto b = Parts::zero();
        auto c = Parts::zero();
        auto u = Parts::zero();
        auto v = Parts::zero();
        // Rows of pixels mixed along x, and those mixed along y of the last three.
        mixAlong(x, y - reachY_ - 1, fx, mixed_[0]);
        for (int32_t j = -reachY_ - 1; j <= reachY_ + 1; ++j)
        {
            const auto line = static_cast<uint32_t>(j + reachY_ + 1);
            const float* top = mixed_[line % 2];
            float* bottom = mixed_[(line + 1) % 2];
            mixAlong(x, y + j + 1, fx, bottom);
            float* row = samples_[line % 3];
            for (size_t i = 0; i < columns_ + 2; i += kLanes)
            {
                const auto above = hn::Load(d, top + i);
                hn::Store(hn::Add(above, hn::Mul(fy, hn::Sub(hn::Load(d, bottom + i), above))), d, row + i);
            }
            if (line >= 2)
            {
                addRow(j - 1, samples_[(line + 1) % 3], samples_[(line + 2) % 3], row, a, b, c, u, v);
            }
        }
        const Four<float> four;
        alignas(16) float totals[4];
        hn::Store(fourTotals(four, Parts::fold(a), Parts::fold(b), Parts::fold(c), Parts::fold(u)), four, totals);
        const auto last = Parts::fold(v);
        return {totals[0], totals[1], totals[2], totals[3], hn::GetLane(fourTotals(four, last, last, last, last))};
    }

  private:
    static constexpr size_t kLanes = hn::MaxLanes(FloatLanes());

    /** Columns x - reach - 1 .. x + reach + 1 of a row, each mixed with the next. */
    HWY_INLINE void mixAlong(int32_t x, int32_t y, hn::Vec<FloatLanes> fx, float* out)
    {
        const FloatLanes d;
        const hn::RebindToSigned<FloatLanes> d32;
        const hn::Rebind<uint8_t, FloatLanes> d8;
        const uint8_t* row = planeRow(src_, stride_, static_cast<size_t>(std::clamp(y, 0, height_ - 1)));
        const int32_t first = x - reachX_ - 1;
        const size_t count = columns_ + 3;
        size_t i = 0;
        if (first >= 0 && first + static_cast<int32_t>(count) <= width_)
        {
            for (; i + kLanes <= count; i += kLanes)
            {
                const auto pixels = hn::LoadU(d8, row + first + static_cast<ptrdiff_t>(i));
                hn::Store(hn::ConvertTo(d, hn::PromoteTo(d32, pixels)), d, pixels_ + i);
            }
        }
        for (; i < count; ++i)
        {
            pixels_[i] = row[std::clamp(first + static_cast<int32_t>(i), 0, width_ - 1)];
        }
        for (i = 0; i < columns_ + 2; i += kLanes)
        {
            const auto here = hn::Load(d, pixels_ + i);
            hn::Store(hn::Add(here, hn::Mul(fx, hn::Sub(hn::LoadU(d, pixels_ + i + 1), here))), d, out + i);
        }
    }

    /** The sums of row j of the window, with the rows of samples about it. Columns behind the window have no weight. */
    HWY_INLINE void addRow(int32_t j, const float* above, const float* here, const float* below, Parts::Sums& a,
                           Parts::Sums& b, Parts::Sums& c, Parts::Sums& u, Parts::Sums& v) const
    {
        const FloatLanes d;
        const auto rowWeight = hn::Set(d, refineWeight(j, reachY_));
        const auto down = hn::Set(d, static_cast<float>(j));
        for (size_t i = 0; i < columns_; i += 16)
        {
            for (size_t part = 0; part < kFloatVectors; ++part)
            {
                const size_t column = i + part * kLanes;
                const auto across = hn::Load(d, window_.places + column);
                const auto w = hn::Mul(hn::Load(d, window_.weights + column), rowWeight);
                const auto gx = hn::Sub(hn::LoadU(d, here + column + 2), hn::Load(d, here + column));
                const auto gy = hn::Sub(hn::LoadU(d, below + column + 1), hn::LoadU(d, above + column + 1));
                const auto xx = hn::Mul(hn::Mul(gx, gx), w);
                const auto xy = hn::Mul(hn::Mul(gx, gy), w);
                const auto yy = hn::Mul(hn::Mul(gy, gy), w);
                const auto add = [&](Parts::Sums& sums, auto what) HWY_ATTR
                { sums.parts[part] = hn::Add(sums.parts[part], what); };
                add(a, xx);
                add(b, xy);
                add(c, yy);
                add(u, hn::Add(hn::Mul(xx, across), hn::Mul(xy, down)));
                add(v, hn::Add(hn::Mul(xy, across), hn::Mul(yy, down)));
            }
        }
    }

    const uint8_t* src_;
    int32_t width_;
    int32_t height_;
    size_t stride_;
    size_t columns_;
    int32_t reachX_;
    int32_t reachY_;
    WindowColumns window_;
    alignas(64) float pixels_[kRoom] = {};
    alignas(64) float mixed_[2][kRoom] = {};
    alignas(64) float samples_[3][kRoom] = {};
};

vsrStatus refine(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const float* xy,
                 uint32_t nCorners, uint32_t windowWidth, uint32_t windowHeight, uint32_t maxIterations, float epsilon,
                 float* refinedXY)
{
    RefineWindow window(src, srcWidth, srcHeight, srcStride, windowWidth, windowHeight);
    refineCorners(srcWidth, srcHeight, xy, nCorners, windowWidth, windowHeight, maxIterations, epsilon, refinedXY,
                  [&](float x, float y) HWY_ATTR { return window.sumsAt(x, y); });
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrCornerRefineSubPixu8, refine);
#endif
