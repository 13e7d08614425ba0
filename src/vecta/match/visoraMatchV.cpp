// Correlation of patches and templates, vector variants. Templates go over the image four rows of positions at a time,
// lanes being positions; sums over windows run down the columns and along the rows.
#include "cpu/dot/visoraDot.h"
#include "cpu/match/visoraMatch.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/match/visoraMatchV.cpp"
#include <cstring>
#include <optional>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraTotals-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Patches at points ----

template <uint32_t side>
HWY_INLINE vsrStatus scoresAt(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                              const uint8_t* patch, const uint32_t* xy, uint32_t count, float* scores)
{
    const hn::CappedTag<int16_t, side> d;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const hn::RepartitionToWide<decltype(d)> d32;
    constexpr size_t kLanes = hn::MaxLanes(decltype(d)());
    const PatchSums patchSums = sumsOf(patch, side, side, side);
    alignas(64) int16_t wide[side * side];
    for (size_t i = 0; i < side * side; i += kLanes)
    {
        hn::Store(hn::PromoteTo(d, hn::LoadU(d8, patch + i)), d, wide + i);
    }
    const auto total = [&](auto v) HWY_ATTR
    { return static_cast<uint64_t>(static_cast<uint32_t>(hn::GetLane(hn::SumOfLanes(d32, v)))); };
    for (size_t k = 0; k < count; ++k)
    {
        const uint8_t* window = windowAt<side>(src, width, height, stride, xy[2 * k], xy[2 * k + 1]);
        if (!window)
        {
            scores[k] = -1;
            continue;
        }
        auto sums = hn::Zero(d);
        auto squares = hn::Zero(d32);
        auto products = hn::Zero(d32);
        for (size_t y = 0; y < side; ++y)
        {
            for (size_t x = 0; x < side; x += kLanes)
            {
                const auto pixels = hn::PromoteTo(d, hn::LoadU(d8, window + y * stride + x));
                sums = hn::Add(sums, pixels);
                squares = hn::Add(squares, sumsOfPairProducts(d32, pixels, pixels));
                products = hn::Add(products, sumsOfPairProducts(d32, pixels, hn::Load(d, wide + y * side + x)));
            }
        }
        const auto sum = sumsOfPairProducts(d32, sums, hn::Set(d, int16_t{1}));
        scores[k] = compareWindow(VISORA_MATCH_NORMED_COEFFICIENT, {side * side, total(sum), total(squares)}, patchSums,
                                  total(products));
    }
    return VISORA_SUCCESS;
}

VSR_KERNEL(vsrNCCPatchScore8x8u8, score8x8, [](auto... all) HWY_ATTR { return scoresAt<8>(all...); });
VSR_KERNEL(vsrNCCPatchScore16x16u8, score16x16, [](auto... all) HWY_ATTR { return scoresAt<16>(all...); });

// ---- Templates ----

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

// The most pixels of a template whose sums fit 32 bits.
constexpr uint64_t kMostPixels = 66051;

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
class WindowSums
{
  public:
    static size_t words(size_t width) { return 4 * (width + 16); }

    HWY_INLINE WindowSums(uint32_t* memory, const uint8_t* src, size_t width, size_t stride, size_t windowWidth,
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
        std::fill_n(columns_, 2 * (width + 16), 0u);
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
        uint32_t sum = 0;
        uint32_t squares = 0;
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

    const uint32_t* sums() const { return sums_; }
    const uint32_t* squares() const { return squares_; }

  private:
    // Adds a row to the columns, or takes it off.
    template <int sign>
    HWY_INLINE void change(size_t y)
    {
        const uint8_t* HWY_RESTRICT row = planeRow(src_, stride_, y);
        uint32_t* HWY_RESTRICT columns = columns_;
        uint32_t* HWY_RESTRICT squares = columnSquares_;
        for (size_t x = 0; x < width_; ++x)
        {
            const uint32_t pixel = row[x];
            columns[x] += sign > 0 ? pixel : 0u - pixel;
            squares[x] += sign > 0 ? pixel * pixel : 0u - pixel * pixel;
        }
    }

    uint32_t* columns_;
    uint32_t* columnSquares_;
    uint32_t* sums_;
    uint32_t* squares_;
    const uint8_t* src_;
    size_t width_;
    size_t stride_;
    size_t windowWidth_;
    size_t windowHeight_;
};

using Doubles = hn::ScalableTag<double>;

/** Numbers of 32 bits, exactly. */
HWY_INLINE hn::Vec<Doubles> doublesOf(const uint32_t* from)
{
    const Doubles d;
    const hn::Rebind<uint32_t, Doubles> d32;
    const hn::RebindToSigned<decltype(d32)> dSigned;
    const auto flipped = hn::BitCast(dSigned, hn::Xor(hn::LoadU(d32, from), hn::Set(d32, 0x80000000u)));
    return hn::Add(hn::PromoteTo(d, flipped), hn::Set(d, 2147483648.0));
}

/** compareWindow for a vector of windows; whole numbers stay below 2^53. */
template <vsrMatchMethod method>
HWY_INLINE void compareWindows(const uint32_t* sums, const uint32_t* squares, const uint32_t* products,
                               const PatchSums& templ, float* out)
{
    const Doubles d;
    const hn::Rebind<float, Doubles> df;
    const auto rounded = [&](auto v) HWY_ATTR { return hn::DemoteTo(df, v); };
    const auto p = doublesOf(products);
    const auto set = [&](uint64_t value) HWY_ATTR { return hn::Set(d, static_cast<double>(value)); };
    auto result = rounded(p);
    if constexpr (method == VISORA_MATCH_SQUARED_DIFFERENCE)
    {
        result = rounded(hn::Sub(hn::Add(doublesOf(squares), set(templ.squares)), hn::Add(p, p)));
    }
    else if constexpr (method == VISORA_MATCH_NORMED_CORRELATION)
    {
        const auto squared = rounded(doublesOf(squares));
        const auto length = hn::Sqrt(hn::Mul(squared, hn::Set(df, static_cast<float>(templ.squares))));
        const auto ratio = hn::Min(hn::Div(result, length), hn::Set(df, 1.0f));
        result = hn::IfThenZeroElse(hn::Eq(length, hn::Zero(df)), ratio);
    }
    else if constexpr (method == VISORA_MATCH_NORMED_COEFFICIENT)
    {
        const auto n = set(templ.pixels);
        const auto s = doublesOf(sums);
        const auto c = rounded(hn::Sub(hn::Mul(n, p), hn::Mul(s, set(templ.sum))));
        const auto a = rounded(hn::Sub(hn::Mul(n, doublesOf(squares)), hn::Mul(s, s)));
        const uint64_t b = templ.pixels * templ.squares - templ.sum * templ.sum;
        const auto scale = hn::Sqrt(hn::Mul(a, hn::Set(df, static_cast<float>(b))));
        const auto ratio = hn::Div(c, scale);
        const auto score = hn::Max(hn::Min(ratio, hn::Set(df, 1.0f)), hn::Set(df, -1.0f));
        result = hn::IfThenZeroElse(hn::Eq(scale, hn::Zero(df)), score);
    }
    hn::StoreU(result, df, out);
}

template <vsrMatchMethod method>
HWY_INLINE void compareRow(const uint32_t* sums, const uint32_t* squares, uint32_t* products, size_t count,
                           const PatchSums& templ, float* out)
{
    if constexpr (kTaken != 0)
    {
        for (size_t x = 0; x < count; ++x)
        {
            products[x] += kTaken * sums[x];
        }
    }
    const size_t lanes = hn::Lanes(Doubles());
    for (size_t x = 0; x < count; x += lanes)
    {
        float some[16];
        const bool isWhole = x + lanes <= count;
        compareWindows<method>(sums + x, squares + x, products + x, templ, isWhole ? out + x : some);
        if (!isWhole)
        {
            std::memcpy(out + x, some, (count - x) * sizeof(float));
        }
    }
}

HWY_INLINE void compareRow(vsrMatchMethod method, const uint32_t* sums, const uint32_t* squares, uint32_t* products,
                           size_t count, const PatchSums& templ, float* out)
{
    switch (method)
    {
        case VISORA_MATCH_SQUARED_DIFFERENCE:
            return compareRow<VISORA_MATCH_SQUARED_DIFFERENCE>(sums, squares, products, count, templ, out);
        case VISORA_MATCH_CORRELATION:
            return compareRow<VISORA_MATCH_CORRELATION>(sums, squares, products, count, templ, out);
        case VISORA_MATCH_NORMED_CORRELATION:
            return compareRow<VISORA_MATCH_NORMED_CORRELATION>(sums, squares, products, count, templ, out);
        default:
            return compareRow<VISORA_MATCH_NORMED_COEFFICIENT>(sums, squares, products, count, templ, out);
    }
}

/** Gives finish(y, out, compare) each row of positions; compare(to) writes its comparisons. */
template <class Row>
HWY_INLINE vsrStatus matchRows(const uint8_t* src, size_t width, size_t height, size_t stride, const uint8_t* templ,
                               size_t templateWidth, size_t templateHeight, size_t templateStride,
                               vsrMatchMethod method, Row finish)
{
    const size_t columns = width - templateWidth + 1;
    const size_t rows = height - templateHeight + 1;
    const size_t productStride = (columns + kAbreast + 15) / 16 * 16;
    const size_t imageBytes = TemplateProducts::imageBytes(width, height);
    const size_t templateBytes = TemplateProducts::templateBytes(templateWidth, templateHeight);
    const Scratch scratch(imageBytes + templateBytes +
                          (kRowsAbreast * productStride + WindowSums::words(width) + 16) * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* products = reinterpret_cast<uint32_t*>(scratch.data() + imageBytes + templateBytes);
    const PatchSums templateSums = sumsOf(templ, templateStride, templateWidth, templateHeight);
    const TemplateProducts all(scratch.data(), scratch.data() + imageBytes, src, width, height, stride, templ,
                               templateWidth, templateHeight, templateStride);
    WindowSums windows(products + kRowsAbreast * productStride, src, width, stride, templateWidth, templateHeight);
    for (size_t y = 0; y < rows; y += kRowsAbreast)
    {
        for (size_t x = 0; x < columns; x += kAbreast)
        {
            all.find(x, y, products + x, productStride);
        }
        for (size_t i = 0; i < kRowsAbreast && y + i < rows; ++i)
        {
            windows.next(y + i);
            finish(y + i,
                   [&](float* out) HWY_ATTR {
                       compareRow(method, windows.sums(), windows.squares(), products + i * productStride, columns,
                                  templateSums, out);
                   });
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus matchTemplate(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight, uint32_t templateStride,
                        vsrMatchMethod method, float* dst, uint32_t dstStride)
{
    if (uint64_t{templateWidth} * templateHeight > kMostPixels)
    {
        return vsrMatchTemplateu8C(src, srcWidth, srcHeight, srcStride, templ, templateWidth, templateHeight,
                                   templateStride, method, dst, dstStride);
    }
    return matchRows(src, srcWidth, srcHeight, srcStride, templ, templateWidth, templateHeight, templateStride, method,
                     [&](size_t y, auto compare) HWY_ATTR { compare(planeRow(dst, dstStride, y)); });
}

// ---- Searches ----

HWY_INLINE vsrStatus search(const PatchSearch& search, const SearchArea& area, const BestPosition& best)
{
    if (area.isEmpty())
    {
        best.clear();
        return VISORA_SUCCESS;
    }
    const auto columns = static_cast<size_t>(area.right() - area.left() + 1);
    const auto rows = static_cast<size_t>(area.bottom() - area.top() + 1);
    const Scratch scores(columns * sizeof(float));
    if (!scores.data())
    {
        return VISORA_ENOMEM;
    }
    bool isFirst = true;
    return matchRows(search.windowAt(area.left(), area.top()), columns + search.size - 1, rows + search.size - 1,
                     search.stride, search.patch, search.size, search.size, search.patchStride,
                     VISORA_MATCH_NORMED_COEFFICIENT,
                     [&](size_t row, auto compare) HWY_ATTR
                     {
                         // Nothing is written before memory has been had.
                         if (isFirst)
                         {
                             best.clear();
                             isFirst = false;
                         }
                         const auto* all = scores.as<float>();
                         compare(scores.as<float>());
                         const int64_t y = area.top() + static_cast<int64_t>(row);
                         const auto [first, last] = area.row(y);
                         for (int64_t x = first; x <= last; ++x)
                         {
                             best.add(x, y, all[x - area.left()]);
                         }
                     });
}

vsrStatus search8x8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* patch,
                    int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY, uint32_t* bestXY, float* score,
                    float* offset)
{
    const PatchSearch patches = {src, srcWidth, srcHeight, srcStride, patch, 8, 8};
    const BestPosition best = {bestXY, score};
    const vsrStatus status =
        search(patches, SearchArea(patches, VISORA_SEARCH_RECTANGLE, x, y, radiusX, radiusY), best);
    if (status == VISORA_SUCCESS && offset)
    {
        findOffset(patches, sumsOf(patch, 8, 8, 8), best, offset);
    }
    return status;
}

vsrStatus searchNxN(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* patch,
                    uint32_t patchSize, uint32_t patchStride, vsrSearchShape shape, int32_t x, int32_t y,
                    uint32_t radiusX, uint32_t radiusY, uint32_t* bestXY, float* score)
{
    const PatchSearch patches = {src, srcWidth, srcHeight, srcStride, patch, patchSize, patchStride};
    return search(patches, SearchArea(patches, shape, x, y, radiusX, radiusY), {bestXY, score});
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrNCCPatchScore8x8u8, score8x8);
VSR_VECTOR(vsrNCCPatchScore16x16u8, score16x16);
VSR_VECTOR(vsrNCCPatchSearch8x8u8, search8x8);
VSR_VECTOR(vsrNCCPatchSearchNxNu8, searchNxN);
VSR_VECTOR(vsrMatchTemplateu8, matchTemplate);
#endif
