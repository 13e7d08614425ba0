// Sums of the products of a template with the windows of an image, four rows of positions at a time, lanes being
// positions, and sums of the windows, which run down the columns and along the rows. Included once per instruction set.
#if defined(VISORA_VECTA_MATCH_PRODUCTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_MATCH_PRODUCTS_INL_H
#undef VISORA_VECTA_MATCH_PRODUCTS_INL_H
#else
#define VISORA_VECTA_MATCH_PRODUCTS_INL_H
#endif

#include <algorithm>
#include <cstring>

#include "cpu/visoraPlane.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Sums32 = hn::ScalableTag<uint32_t>;
constexpr size_t kSumLanes = hn::MaxLanes(Sums32());

// A word of the template is so many pixels side by side, which one instruction multiplies with those of an image: a
// vector of the image's words has the sums of every kGroup'th position.
#if VISORA_ADDS_FOUR_PRODUCTS
using Pixel = uint8_t;
constexpr size_t kGroup = 4;
// The template's factors are signed: 128 times the window's sum is missing.
constexpr uint32_t kTaken = 128;
#elif HWY_ARCH_ARM
using Pixel = int16_t;
constexpr size_t kGroup = 1;
constexpr uint32_t kTaken = 0;
#else
using Pixel = int16_t;
constexpr size_t kGroup = 2;
constexpr uint32_t kTaken = 0;
#endif

// Rows of positions that share the image's vectors, and positions that are done at a time.
constexpr size_t kRowsAbreast = 4;
#if HWY_ARCH_ARM
constexpr size_t kAbreast = 2 * kSumLanes;
constexpr size_t kVectors = 2;
#else
constexpr size_t kAbreast = kGroup * kSumLanes;
constexpr size_t kVectors = kGroup;
#endif

/** Finds the sums of the products of a template with the windows of an image. */
class TemplateProducts
{
  public:
    static size_t paddedWidth(size_t width) { return (width + kAbreast + 2 * kGroup + 63) / 64 * 64; }
    static size_t wordsPerRow(size_t width) { return (width + kGroup - 1) / kGroup; }
    static size_t imageBytes(size_t width, size_t height)
    {
        return paddedWidth(width) * (height + kRowsAbreast) * sizeof(Pixel);
    }
    static size_t templateBytes(size_t width, size_t height)
    {
        return (wordsPerRow(width) * (height + 2 * kRowsAbreast) * sizeof(uint32_t) + 63) / 64 * 64;
    }

    HWY_INLINE TemplateProducts(uint8_t* imageMemory, uint8_t* templateMemory, const uint8_t* src, size_t width,
                                size_t height, size_t stride, const uint8_t* templ, size_t templateWidth,
                                size_t templateHeight, size_t templateStride)
        : image_(reinterpret_cast<Pixel*>(imageMemory)),
          stride_(paddedWidth(width)),
          words_(reinterpret_cast<uint32_t*>(templateMemory)),
          rowWords_(wordsPerRow(templateWidth)),
          templateHeight_(templateHeight)
    {
        for (size_t y = 0; y < height + kRowsAbreast; ++y)
        {
            Pixel* to = image_ + y * stride_;
            const uint8_t* from = planeRow(src, stride, y < height ? y : 0);
            const size_t filled = y < height ? width : 0;
            for (size_t x = 0; x < filled; ++x)
            {
                to[x] = from[x];
            }
            std::fill(to + filled, to + stride_, Pixel{0});
        }
        std::memset(words_, 0, templateBytes(templateWidth, templateHeight));
        for (size_t y = 0; y < templateHeight; ++y)
        {
            uint32_t* to = words_ + (y + kRowsAbreast - 1) * rowWords_;
            for (size_t x = 0; x < templateWidth; ++x)
            {
                constexpr uint32_t kBits = 32 / kGroup;
                constexpr uint32_t kMask = kBits == 32 ? UINT32_MAX : (1u << (kBits % 32)) - 1;
                const uint32_t factor = uint32_t{planeRow(templ, templateStride, y)[x]} - kTaken;
                to[x / kGroup] |= (factor & kMask) << (x % kGroup * kBits);
            }
        }
    }

    /** The sums of positions (x .. x + kAbreast - 1, y .. y + kRowsAbreast - 1), a row every `stride` elements. */
    HWY_INLINE void find(size_t x, size_t y, uint32_t* sums, size_t stride) const
    {
        const Sums32 d;
        hn::Vec<Sums32> all[kRowsAbreast][kVectors];
        for (auto& row : all)
        {
            for (auto& sum : row)
            {
                sum = hn::Zero(d);
            }
        }
        const Pixel* row = image_ + y * stride_ + x;
        // Row 0 of the first row of positions; that of the next ones is a row further up.
        const uint32_t* words = words_ + (kRowsAbreast - 1) * rowWords_;
        const size_t rowWords = rowWords_;
        for (size_t line = 0; line < templateHeight_ + kRowsAbreast - 1; ++line, row += stride_, words += rowWords)
        {
            for (size_t j = 0; j < rowWords; ++j)
            {
                add(row + j * kGroup, words + j, rowWords, all);
            }
        }
        for (size_t i = 0; i < kRowsAbreast; ++i)
        {
            store(all[i], sums + i * stride);
        }
    }

  private:
    static HWY_INLINE void add(const Pixel* pixels, const uint32_t* words, size_t rowWords,
                               hn::Vec<Sums32> (&all)[kRowsAbreast][kVectors])
    {
        const Sums32 d;
#if HWY_ARCH_ARM
        const hn::ScalableTag<int16_t> d16;
        const hn::RebindToSigned<Sums32> dSigned;
        const auto v = hn::LoadU(d16, pixels);
        for (size_t i = 0; i < kRowsAbreast; ++i)
        {
            const auto factor = hn::Set(d16, static_cast<int16_t>(*(words - i * rowWords)));
            auto low = hn::BitCast(dSigned, all[i][0]);
            auto high = hn::BitCast(dSigned, all[i][1]);
            low = hn::ReorderWidenMulAccumulate(dSigned, v, factor, low, high);
            all[i][0] = hn::BitCast(d, low);
            all[i][1] = hn::BitCast(d, high);
        }
#else
        const hn::Repartition<Pixel, Sums32> dPixel;
        hn::Vec<decltype(dPixel)> v[kVectors];
        for (size_t k = 0; k < kVectors; ++k)
        {
            v[k] = hn::LoadU(dPixel, pixels + k);
        }
        for (size_t i = 0; i < kRowsAbreast; ++i)
        {
            const auto word = hn::Set(d, *(words - i * rowWords));
            for (size_t k = 0; k < kVectors; ++k)
            {
#if VISORA_ADDS_FOUR_PRODUCTS
                all[i][k] = addFourProducts(all[i][k], v[k], hn::BitCast(dPixel, word));
#else
                const hn::RebindToSigned<Sums32> dSigned;
                all[i][k] =
                    hn::Add(all[i][k], hn::BitCast(d, sumsOfPairProducts(dSigned, v[k], hn::BitCast(dPixel, word))));
#endif
            }
        }
#endif
    }

    static HWY_INLINE void store(const hn::Vec<Sums32> (&sums)[kVectors], uint32_t* to)
    {
        const Sums32 d;
#if HWY_ARCH_ARM
        hn::StoreU(sums[0], d, to);
        hn::StoreU(sums[1], d, to + kSumLanes);
#else
        if constexpr (kGroup == 4)
        {
            hn::StoreInterleaved4(sums[0], sums[1], sums[2], sums[3], d, to);
        }
        else
        {
            hn::StoreInterleaved2(sums[0], sums[1], d, to);
        }
#endif
    }

    Pixel* image_;
    size_t stride_;
    uint32_t* words_;
    size_t rowWords_;
    size_t templateHeight_;
};

/** Sums of the pixels of windows, and of their squares, row of positions by row. */
template <class T>
class WindowSums
{
  public:
    static size_t elements(size_t width) { return 4 * (width + 16); }

    HWY_INLINE WindowSums(T* memory, const uint8_t* src, size_t width, size_t stride, size_t windowWidth,
                          size_t windowHeight)
        : columns_(memory),
          columnSquares_(memory + width + 16),
          sums_(memory + 2 * (width + 16)),
          squares_(memory + 3 * (width + 16)),
          src_(src),
          width_(width),
          stride_(stride),
          windowWidth_(windowWidth),
          windowHeight_(windowHeight)
    {
        std::fill_n(columns_, 2 * (width + 16), T{0});
        for (size_t y = 0; y + 1 < windowHeight; ++y)
        {
            change<1>(y);
        }
    }

    /** The sums of row y of positions; rows come one after the other from 0 on. */
    HWY_INLINE void next(size_t y)
    {
        if (y > 0)
        {
            change<-1>(y - 1);
        }
        change<1>(y + windowHeight_ - 1);
        T sum = 0;
        T squares = 0;
        for (size_t x = 0; x + 1 < windowWidth_; ++x)
        {
            sum += columns_[x];
            squares += columnSquares_[x];
        }
        for (size_t x = 0; x + windowWidth_ <= width_; ++x)
        {
            sum += columns_[x + windowWidth_ - 1];
            squares += columnSquares_[x + windowWidth_ - 1];
            sums_[x] = sum;
            squares_[x] = squares;
            sum -= columns_[x];
            squares -= columnSquares_[x];
        }
    }

    const T* sums() const { return sums_; }
    const T* squares() const { return squares_; }

  private:
    // Adds a row to the columns, or takes it off.
    template <int sign>
    HWY_INLINE void change(size_t y)
    {
        const uint8_t* HWY_RESTRICT row = planeRow(src_, stride_, y);
        T* HWY_RESTRICT columns = columns_;
        T* HWY_RESTRICT squares = columnSquares_;
        for (size_t x = 0; x < width_; ++x)
        {
            const T pixel = row[x];
            columns[x] += sign > 0 ? pixel : T{0} - pixel;
            squares[x] += sign > 0 ? pixel * pixel : T{0} - pixel * pixel;
        }
    }

    T* columns_;
    T* columnSquares_;
    T* sums_;
    T* squares_;
    const uint8_t* src_;
    size_t width_;
    size_t stride_;
    size_t windowWidth_;
    size_t windowHeight_;
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
