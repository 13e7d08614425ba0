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

// Where one instruction takes elements of two vectors, wherever they are.
#undef VISORA_FLOAT_BLOCKS
#define VISORA_FLOAT_BLOCKS (HWY_TARGET <= HWY_AVX3 || HWY_ARCH_ARM)

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
    static size_t scratchBytes(size_t dstWidth) { return (6 + kPlanRows) * roundUp(dstWidth * sizeof(float)); }

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
#if VISORA_FLOAT_BLOCKS
        blockStarts_ = reinterpret_cast<uint32_t*>(take(1));
        lowerPlaces_ = reinterpret_cast<uint32_t*>(take(1));
        upperPlaces_ = reinterpret_cast<uint32_t*>(take(1));
        hasBlocks_ = planBlocks(srcWidth);
#endif
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
#if VISORA_FLOAT_BLOCKS
        if (hasBlocks_)
        {
            return stretchBlocks(pixels, row.pixels);
        }
#endif
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

#if VISORA_FLOAT_BLOCKS
    // A vector of outputs comes out of two permutations of the two vectors of pixels that theirs lie among.
    static constexpr size_t kPlanRows = 3;
    static constexpr size_t kBlock = HWY_ARCH_ARM ? 4 : 16;

    size_t blocks() const
    {
        return (width_ + kBlock - 1) / kBlock;
    }
    // The last block overlaps the one before it.
    size_t firstOutput(size_t block) const
    {
        return std::min(block * kBlock, width_ - kBlock);
    }

    // @return false when the pixels of a block lie too far apart
    bool planBlocks(uint32_t srcWidth)
    {
        constexpr uint32_t kPixels = 2 * kBlock;
        if (width_ < kBlock || srcWidth < kPixels)
        {
            return false;
        }
        for (size_t block = 0; block < blocks(); ++block)
        {
            const auto columnAt = [&](size_t i)
            { return lower_[firstOutput(block) + i] / static_cast<uint32_t>(sizeof(float)); };
            const uint32_t start = std::min(columnAt(0), srcWidth - kPixels);
            blockStarts_[block] = start;
            for (size_t i = 0; i < kBlock; ++i)
            {
                const uint32_t upper = std::min(columnAt(i) + 1, lastPixel_);
                if (upper - start >= kPixels)
                {
                    return false;
                }
                lowerPlaces_[block * kBlock + i] = placeOf(columnAt(i) - start);
                upperPlaces_[block * kBlock + i] = placeOf(upper - start);
            }
        }
        return true;
    }

#if HWY_ARCH_ARM
    // Tables are looked up by bytes.
    static constexpr uint32_t placeOf(uint32_t pixel)
    {
        return pixel * 0x04040404 + 0x03020100;
    }

    void stretchBlocks(const float* pixels, float* out) const
    {
        const hn::FixedTag<float, kBlock> d;
        using V = hn::Vec<decltype(d)>;
        const uint32_t* starts = blockStarts_;
        const uint32_t* lower = lowerPlaces_;
        const uint32_t* upper = upperPlaces_;
        const float* weights = weights_;
        const auto stretch = [&](size_t x) HWY_ATTR
        {
            const auto* from = reinterpret_cast<const uint8_t*>(pixels + *starts++);
            const uint8x16x2_t both = {{vld1q_u8(from), vld1q_u8(from + 16)}};
            const auto take = [&](const uint32_t*& places) HWY_ATTR
            {
                const uint8x16_t at = vreinterpretq_u8_u32(vld1q_u32(places));
                places += kBlock;
                return V(vreinterpretq_f32_u8(vqtbl2q_u8(both, at)));
            };
            const V p = take(lower), q = take(upper);
            hn::StoreU(lerpLanes(d, p, q, hn::LoadU(d, weights + x)), d, out + x);
        };
        const size_t last = width_ - kBlock;
        for (size_t x = 0; x < last; x += kBlock)
        {
            stretch(x);
        }
        stretch(last);
    }
#else
    static constexpr uint32_t placeOf(uint32_t pixel)
    {
        return pixel;
    }

    void stretchBlocks(const float* pixels, float* out) const
    {
        const hn::FixedTag<float, kBlock> d;
        for (size_t block = 0; block < blocks(); ++block)
        {
            const float* from = pixels + blockStarts_[block];
            const __m512 first = _mm512_loadu_ps(from);
            const __m512 second = _mm512_loadu_ps(from + kBlock);
            const auto take = [&](const uint32_t* places) HWY_ATTR
            {
                const __m512i at = _mm512_loadu_si512(places + block * kBlock);
                return hn::Vec<decltype(d)>{_mm512_permutex2var_ps(first, at, second)};
            };
            const size_t x = firstOutput(block);
            hn::StoreU(lerpLanes(d, take(lowerPlaces_), take(upperPlaces_), hn::LoadU(d, weights_ + x)), d, out + x);
        }
    }
#endif

    bool hasBlocks_ = false;
    uint32_t* blockStarts_;
    uint32_t* lowerPlaces_;
    uint32_t* upperPlaces_;
#else
    static constexpr size_t kPlanRows = 0;
#endif

    static size_t roundUp(size_t bytes)
    {
        return (bytes + 63) / 64 * 64;
    }

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
