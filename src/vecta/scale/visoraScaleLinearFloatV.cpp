// Bilinear resizing of f32 images, vector variant.
#include <algorithm>
#include <cstring>
#include <utility>

#include "cpu/scale/visoraScaleResize.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/scale.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/scale/visoraScaleLinearFloatV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Source rows stretched to the destination's width, the last two of them kept. The two pixels of an output are copied
// as one; where both are the last of the row, at the end of it, they are put there apart.
class StretchedFloats
{
  public:
    static size_t scratchBytes(size_t dstWidth) { return 6 * roundUp(dstWidth * sizeof(float)); }

    StretchedFloats(uint32_t srcWidth, uint32_t dstWidth, uint8_t* scratch)
        : width_(dstWidth), paired_(dstWidth), lastPixel_(srcWidth - 1)
    {
        const size_t rowBytes = roundUp(dstWidth * sizeof(float));
        const auto take = [&](size_t rows) { return std::exchange(scratch, scratch + rows * rowBytes); };
        lower_ = reinterpret_cast<uint32_t*>(take(1));
        weights_ = reinterpret_cast<float*>(take(1));
        pairs_ = reinterpret_cast<float*>(take(2));
        rows_[0].pixels = reinterpret_cast<float*>(take(1));
        rows_[1].pixels = reinterpret_cast<float*>(take(1));
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const LinearFloatTaps taps(x, srcWidth, dstWidth);
            lower_[x] = static_cast<uint32_t>(taps.lower * sizeof(float));
            weights_[x] = taps.weight;
            if (taps.lower == lastPixel_)
            {
                paired_ = std::min<size_t>(paired_, x);
            }
        }
    }

    // Source row `number` becomes the row of that slot.
    template <class D>
    HWY_INLINE void provide(D d, size_t slot, uint32_t number, const float* pixels)
    {
        if (slot == 0 && rows_[1].number == number)
        {
            std::swap(rows_[0], rows_[1]);
        }
        Row& row = rows_[slot];
        if (row.number == number)
        {
            return;
        }
        row.number = number;
        const uint32_t* lower = lower_;
        float* pairs = pairs_;
        const auto* bytes = reinterpret_cast<const uint8_t*>(pixels);
        size_t begin = 0;
        for (; begin + 4 <= paired_; begin += 4)
        {
            for (size_t x = begin; x < begin + 4; ++x)
            {
                std::memcpy(pairs + 2 * x, bytes + lower[x], 2 * sizeof(float));
            }
        }
        for (size_t x = begin; x < paired_; ++x)
        {
            std::memcpy(pairs + 2 * x, bytes + lower[x], 2 * sizeof(float));
        }
        std::fill(pairs_ + 2 * paired_, pairs_ + 2 * width_, pixels[lastPixel_]);
        coverByTwo(0, width_, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       hn::Vec<D> p, q;
                       hn::LoadInterleaved2(d, pairs + 2 * x, p, q);
                       hn::StoreU(lerpLanes(d, p, q, hn::LoadU(d, weights_ + x)), d, row.pixels + x);
                   });
    }

    template <class D>
    HWY_INLINE void blend(D d, float weight, float* out) const
    {
        const float* upper = rows_[0].pixels;
        const float* lower = rows_[1].pixels;
        if (weight == 0)
        {
            return coverByTwo(0, width_, hn::Lanes(d),
                              [&](size_t x) HWY_ATTR
                              { hn::StoreU(withOneNan(d, hn::LoadU(d, upper + x)), d, out + x); });
        }
        const auto share = hn::Set(d, weight);
        coverByTwo(0, width_, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto p = hn::LoadU(d, upper + x);
                       const auto mixed = hn::Add(p, hn::Mul(share, hn::Sub(hn::LoadU(d, lower + x), p)));
                       hn::StoreU(resultWithOneNan(d, mixed), d, out + x);
                   });
    }

  private:
    struct Row
    {
        float* pixels = nullptr;
        uint32_t number = UINT32_MAX;
    };

    static size_t roundUp(size_t bytes) { return (bytes + 63) / 64 * 64; }

    size_t width_;
    size_t paired_;  // outputs before the last pixel
    uint32_t lastPixel_;
    uint32_t* lower_;  // in bytes, of which a row has less than 2^32
    float* weights_;
    float* pairs_;
    Row rows_[2];
};

bool resizeFloats(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                  uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const Scratch scratch(StretchedFloats::scratchBytes(dstWidth));
    const auto resizeRows = [&](auto d) HWY_ATTR
    {
        StretchedFloats rows(srcWidth, dstWidth, scratch.data());
        for (uint32_t y = 0; y < dstHeight; ++y)
        {
            const LinearFloatTaps taps(y, srcHeight, dstHeight);
            rows.provide(d, 0, taps.lower, src + taps.lower * size_t{srcStride / sizeof(float)});
            rows.provide(d, 1, taps.upper, src + taps.upper * size_t{srcStride / sizeof(float)});
            rows.blend(d, taps.weight, dst + y * size_t{dstStride / sizeof(float)});
        }
    };
    return scratch.data() && withFittingVector<float>(dstWidth, resizeRows);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrScaleBilinearf32, resizeFloats);

#endif
