// Correlation of patches and templates, vector variants.
#include "cpu/dot/visoraDot.h"
#include "cpu/match/visoraMatch.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/match/visoraMatchV.cpp"
#include <cstring>
#include <optional>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraTotals-inl.h"
#include "vecta/match/visoraMatchProducts-inl.h"
#include "vecta/match/visoraMatchTransform-inl.h"
#include "vecta/visoraVariant-inl.h"
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

VSR_VARIANT(vsrNCCPatchScore8x8u8, [](auto... all) HWY_ATTR { return scoresAt<8>(all...); });
VSR_VARIANT(vsrNCCPatchScore16x16u8, [](auto... all) HWY_ATTR { return scoresAt<16>(all...); });

// ---- Templates ----

// The most pixels of a template whose sums fit 32 bits.
constexpr uint64_t kMostPixels = 66051;

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
HWY_INLINE void compareRow(const uint32_t* sums, const uint32_t* squares, const uint32_t* products, size_t count,
                           const PatchSums& templ, float* out)
{
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

HWY_INLINE void compareRow(vsrMatchMethod method, const uint32_t* sums, const uint32_t* squares,
                           const uint32_t* products, size_t count, const PatchSums& templ, float* out)
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
                          (kRowsAbreast * productStride + WindowSums<uint32_t>::elements(width) + 16) *
                              sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* products = reinterpret_cast<uint32_t*>(scratch.data() + imageBytes + templateBytes);
    const PatchSums templateSums = sumsOf(templ, templateStride, templateWidth, templateHeight);
    const TemplateProducts all(scratch.data(), scratch.data() + imageBytes, src, width, height, stride, templ,
                               templateWidth, templateHeight, templateStride);
    WindowSums<uint32_t> windows(products + kRowsAbreast * productStride, src, width, stride, templateWidth,
                                 templateHeight);
    for (size_t y = 0; y < rows; y += kRowsAbreast)
    {
        for (size_t x = 0; x < columns; x += kAbreast)
        {
            all.find(x, y, products + x, productStride);
        }
        for (size_t i = 0; i < kRowsAbreast && y + i < rows; ++i)
        {
            windows.next(y + i);
            uint32_t* const row = products + i * productStride;
            for (size_t x = 0; kTaken != 0 && x < columns; ++x)
            {
                row[x] += kTaken * windows.sums()[x];
            }
            finish(y + i, [&](float* out) HWY_ATTR
                   { compareRow(method, windows.sums(), windows.squares(), row, columns, templateSums, out); });
        }
    }
    return VISORA_SUCCESS;
}

/** By transforms of tiles of the image; Sum holds a window's sum of squares. */
template <class Sum>
HWY_INLINE vsrStatus matchByTransforms(const uint8_t* src, size_t width, size_t height, size_t stride,
                                       const uint8_t* templ, size_t templateWidth, size_t templateHeight,
                                       size_t templateStride, vsrMatchMethod method, float* dst, size_t dstStride,
                                       const TransformedProducts::Tiling& tilingX,
                                       const TransformedProducts::Tiling& tilingY)
{
    const size_t columns = tilingX.positions;
    const size_t stripRows = tilingY.valid();
    TransformedProducts transforms(tilingX, tilingY);
    const size_t windowElements = WindowSums<Sum>::elements(width);
    const Scratch scratch(columns * stripRows * sizeof(uint64_t) + (windowElements + columns + 16) * sizeof(Sum));
    auto* const products = scratch.as<uint64_t>();
    if (!transforms || !products)
    {
        return VISORA_ENOMEM;
    }
    auto* const windowMemory = reinterpret_cast<Sum*>(products + columns * stripRows);
    WindowSums<Sum> windows(windowMemory, src, width, stride, templateWidth, templateHeight);
    const PatchSums templateSums = sumsOf(templ, templateStride, templateWidth, templateHeight);
    for (size_t y = 0; y < tilingY.positions; ++y)
    {
        if (y % stripRows == 0)
        {
            transforms.find(y / stripRows, src, width, height, stride, templ, templateWidth, templateHeight,
                            templateStride, products);
        }
        windows.next(y);
        float* const out = planeRow(dst, dstStride, y);
        const uint64_t* const row = products + y % stripRows * columns;
        if constexpr (sizeof(Sum) == sizeof(uint32_t))
        {
            uint32_t* const narrow = windowMemory + windowElements;
            std::transform(row, row + columns, narrow, [](uint64_t sum) { return static_cast<uint32_t>(sum); });
            compareRow(method, windows.sums(), windows.squares(), narrow, columns, templateSums, out);
        }
        else
        {
            for (size_t x = 0; x < columns; ++x)
            {
                out[x] = compareWindow(method, {templateSums.pixels, windows.sums()[x], windows.squares()[x]},
                                       templateSums, row[x]);
            }
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus matchTemplate(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight, uint32_t templateStride,
                        vsrMatchMethod method, float* dst, uint32_t dstStride)
{
    // How many products take the time of one element's share in a transform.
#if VISORA_ADDS_FOUR_PRODUCTS
    constexpr double kProducts = 60;
#elif HWY_ARCH_ARM
    constexpr double kProducts = 5;
#else
    constexpr double kProducts = 12;
#endif
    const uint64_t pixels = uint64_t{templateWidth} * templateHeight;
    const TransformedProducts::Tiling x(srcWidth, templateWidth, 2);
    const TransformedProducts::Tiling y(srcHeight, templateHeight, 1);
    if (pixels > kMostPixels)
    {
        return matchByTransforms<uint64_t>(src, srcWidth, srcHeight, srcStride, templ, templateWidth, templateHeight,
                                           templateStride, method, dst, dstStride, x, y);
    }
    if (static_cast<double>(pixels) > kProducts * TransformedProducts::workPerPosition(x, y))
    {
        return matchByTransforms<uint32_t>(src, srcWidth, srcHeight, srcStride, templ, templateWidth, templateHeight,
                                           templateStride, method, dst, dstStride, x, y);
    }
    return matchRows(src, srcWidth, srcHeight, srcStride, templ, templateWidth, templateHeight, templateStride, method,
                     [&](size_t row, auto compare) HWY_ATTR { compare(planeRow(dst, dstStride, row)); });
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
VSR_VECTOR(vsrNCCPatchSearch8x8u8, search8x8);
VSR_VECTOR(vsrNCCPatchSearchNxNu8, searchNxN);
VSR_VECTOR(vsrMatchTemplateu8, matchTemplate);
#endif
