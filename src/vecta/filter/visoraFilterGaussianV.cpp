// Binomial Gaussian filters, vector variants.
//
// The image is worked through in tiles whose sums stay in the first-level cache: first the weighted sums of the columns
// of some rows, then the weighted sums of these along each row. A sum is kPlanes times as wide as a pixel; so that no
// lane has to move, sums are kept in as many planes, those of column x in plane x % kPlanes.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterGaussianV.cpp"
#include <algorithm>
#include <array>
#include <type_traits>

#include "cpu/filter/visoraFilterGaussian.h"
#include "hwy/cache_control.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterGaussian-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kTileRows = 8;
// The sums of a tile leave half of the first-level cache to what they are made of.
template <class Sum>
constexpr size_t kTileColumns = 2048 / sizeof(Sum);

// ---- Tiles ----

template <uint32_t radius, class T, class Sum>
struct TileSums
{
    static constexpr size_t kPixelBytes = sizeof(T);
    static constexpr size_t kPlanes = sizeof(Sum) / kPixelBytes;
    static constexpr size_t kPlaneElements = (kTileColumns<Sum> + 2 * radius) / kPlanes + 64 / sizeof(Sum);
    using Row = std::array<std::array<Sum, kPlaneElements>, kPlanes>;

    alignas(64) std::array<Row, kTileRows> rows;
};

template <uint32_t radius, class T, class Sum>
struct Tile
{
    const GaussianImage<T>& image;
    const GaussianBorder& border;
    size_t firstRow;
    size_t rows;
    size_t firstColumn;  // of the sums; that of the pixels lies `radius` to the right of it
    size_t columns;      // of pixels
    TileSums<radius, T, Sum>& sums;
};

// Tiles are too narrow for the processor to see which rows come next: asks for row i of those that the tile below adds
// and of those that it writes. Small images stay in a cache.
template <uint32_t radius, class T, class Sum>
HWY_INLINE void prefetchBelow(const Tile<radius, T, Sum>& tile, size_t i)
{
    const GaussianImage<T>& image = tile.image;
    const size_t y = tile.firstRow + kTileRows + i;
    if (image.width * sizeof(T) < 3072 || y + radius >= image.height)
    {
        return;
    }
    const T* const src = image.src + (y + radius) * image.srcStep + tile.firstColumn;
    const T* const dst = image.dst + y * image.dstStep + tile.firstColumn;
    for (size_t x = 0; x < tile.columns; x += 64 / sizeof(T))
    {
        hwy::Prefetch(src + x);
        hwy::Prefetch(dst + x);
    }
}

template <uint32_t radius, class D, class T, class Sum>
HWY_INLINE void sumColumns(D d, const Tile<radius, T, Sum>& tile)
{
    const hn::Repartition<Sum, D> dSum;
    constexpr size_t kPlanes = TileSums<radius, T, Sum>::kPlanes;
    const GaussianImage<T>& image = tile.image;

    // Source rows from `radius` above the tile to as many below it; none where an outside row is constant.
    std::array<const T*, kTileRows + 2 * radius> sources;
    const size_t sourceRows = tile.rows + 2 * radius;
    for (size_t i = 0; i < sourceRows; ++i)
    {
        const int64_t y = static_cast<int64_t>(tile.firstRow + i) - radius;
        const int64_t nearest = std::clamp<int64_t>(y, 0, int64_t{image.height} - 1);
        const bool none = y != nearest && tile.border.outside != Outside::Nearest;
        sources[i] = none ? nullptr : image.src + static_cast<size_t>(nearest) * image.srcStep + tile.firstColumn;
    }
    const auto outside = hn::Set(d, static_cast<T>(tile.border.constant));
    auto* const sumRows = &tile.sums.rows[0];

    coverRange(0, tile.columns + 2 * radius, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   ColumnSums<radius, D, decltype(dSum)> window(dSum);
                   std::array<hn::Vec<decltype(dSum)>, kPlanes> sums;
                   const auto push = [&](size_t i) HWY_ATTR
                   { window.push(dSum, sources[i] ? hn::LoadU(d, sources[i] + x) : outside, sums); };
                   for (size_t i = 0; i < 2 * radius; ++i)
                   {
                       push(i);
                   }
                   for (size_t i = 2 * radius; i < sourceRows; ++i)
                   {
                       push(i);
                       for (size_t j = 0; j < kPlanes; ++j)
                       {
                           hn::StoreU(sums[j], dSum, &sumRows[i - 2 * radius][(x + j) % kPlanes][(x + j) / kPlanes]);
                       }
                   }
               });
}

template <uint32_t radius, class D, class T, class Sum>
HWY_INLINE void combineColumns(D d, const Tile<radius, T, Sum>& tile, const Edge<radius>& leftEdge,
                               const Edge<radius>& rightEdge)
{
    const hn::Repartition<Sum, D> dSum;
    using V = hn::Vec<decltype(dSum)>;
    constexpr size_t kPlanes = TileSums<radius, T, Sum>::kPlanes;
    const GaussianImage<T>& image = tile.image;
    for (size_t i = 0; i < tile.rows; ++i)
    {
        prefetchBelow(tile, i);
        const auto& planes = tile.sums.rows[i];
        const auto y = static_cast<uint32_t>(tile.firstRow + i);
        T* out = image.dst + y * image.dstStep;
        const auto interior = [&](auto normalise) HWY_ATTR
        {
            // Copies, because what is stored through `to` might be what the tile tells.
            const size_t steps = tile.columns / kPlanes;
            const Sum* from[kPlanes];
            for (size_t j = 0; j < kPlanes; ++j)
            {
                from[j] = planes[j].data();
            }
            T* to = out + tile.firstColumn + radius;
            for (size_t x = 0; x < steps; x += hn::Lanes(dSum), to += hn::Lanes(d))
            {
                std::array<V, kPlanes + 2 * radius> columns;
                for (size_t j = 0; j < columns.size(); ++j)
                {
                    columns[j] = hn::LoadU(dSum, from[j % kPlanes] + x + j / kPlanes);
                }
                std::array<V, kPlanes> sums;
                rowSums<radius, decltype(dSum), kPlanes>(dSum, columns, sums);
#if HWY_ARCH_ARM
                if constexpr (kPlanes == 2 && decltype(normalise)::value)
                {
                    // The bits wanted to the top of each lane; then the upper halves of both planes side by side.
                    constexpr int kUp = int{sizeof(T)} * 8 - int{4 * radius};
                    const auto even = hn::BitCast(d, hn::ShiftLeft<kUp>(sums[0]));
                    const auto odd = hn::BitCast(d, hn::ShiftLeft<kUp>(sums[1]));
                    if constexpr (sizeof(T) == 1)
                        hn::StoreU(hn::Vec<D>(vtrn2q_u8(even.raw, odd.raw)), d, to);
                    else
                        hn::StoreU(hn::Vec<D>(vtrn2q_s16(even.raw, odd.raw)), d, to);
                    continue;
                }
#endif
                for (V& sum : sums)
                {
                    sum = normalise(sum);
                }
                hn::StoreU(join(d, dSum, sums), d, to);
            }
        };
        const uint32_t rowWeight = binomialWeightAt<radius>(tile.border.outside, y, image.height);
        if (rowWeight == kBinomialTotal<radius>)
        {
            struct Shift : std::true_type
            {
                HWY_INLINE V operator()(V sum) const { return hn::ShiftRight<4 * radius>(sum); }
            };
            interior(Shift());
        }
        else
        {
            struct Quotient : std::false_type
            {
                uint32_t weight;
                explicit Quotient(uint32_t w) : weight(w) {}
                HWY_INLINE V operator()(V sum) const { return quotient<2 * radius>(decltype(dSum)(), sum, weight); }
            };
            interior(Quotient(rowWeight));
        }

        const auto sumAt = [&](uint32_t column)
        {
            const size_t c = column - tile.firstColumn;
            return static_cast<uint32_t>(planes[c % kPlanes][c / kPlanes]);
        };
        const bool atRightEdge = tile.firstColumn + tile.columns + 2 * radius == image.width;
        if constexpr (kEdgesInVectors<radius>)
        {
            if (tile.border.written && tile.firstColumn == 0)
            {
                leftEdge.write(rowWeight, sumAt, out);
            }
            if (tile.border.written && atRightEdge)
            {
                rightEdge.write(rowWeight, sumAt, out + image.width - radius);
            }
        }
        else
        {
            const auto edge = [&](uint32_t x)
            {
                const WeightedSum total = binomialSum<radius>(
                    tile.border.outside, tile.border.constant * kBinomialTotal<radius>, x, image.width, sumAt);
                out[x] = normalised<T>(total.sum, total.weight * rowWeight);
            };
            for (uint32_t x = 0; tile.border.written && tile.firstColumn == 0 && x < radius; ++x)
            {
                edge(x);
            }
            for (uint32_t x = image.width - radius; tile.border.written && atRightEdge && x < image.width; ++x)
            {
                edge(x);
            }
        }
    }
}

// Tiles are whole vectors wide; the last one reaches back over pixels of the one before it. The image has to be at
// least one vector wider than the frame.
template <uint32_t radius, class Sum, class D, class T>
HWY_INLINE void filterTiles(D d, const GaussianImage<T>& image, const GaussianBorder& border)
{
    const size_t lanes = hn::Lanes(d);
    const size_t inner = image.width - size_t{2} * radius;
    const size_t frame = border.written ? 0 : radius;
    const Edge<radius> leftEdge(border, 0, image.width);
    const Edge<radius> rightEdge(border, image.width - radius, image.width);
    TileSums<radius, T, Sum> sums;
    for (size_t y = frame; y + frame < image.height; y += kTileRows)
    {
        const size_t rows = std::min(kTileRows, image.height - frame - y);
        for (size_t done = 0; done < inner;)
        {
            const size_t rest = (inner - done + lanes - 1) / lanes * lanes;
            const size_t columns = std::min({kTileColumns<Sum>, rest, inner / lanes * lanes});
            const size_t x = std::min(done, inner - columns);
            const Tile<radius, T, Sum> tile = {image, border, y, rows, x, columns, sums};
            sumColumns<radius>(d, tile);
            combineColumns<radius>(d, tile, leftEdge, rightEdge);
            done = x + columns;
        }
    }
}

template <uint32_t radius, class Sum, class T>
HWY_INLINE bool filter(const GaussianImage<T>& image, const GaussianBorder& border)
{
    const size_t inner = image.width < 2 * radius ? 0 : image.width - size_t{2} * radius;
    return withFittingVector<T>(inner, [&](auto d) HWY_ATTR { filterTiles<radius, Sum>(d, image, border); });
}

bool gaussian3x3u8(const GaussianImage<uint8_t>& image, const GaussianBorder& border)
{
    return filter<1, uint16_t>(image, border);
}

bool gaussian5x5u8(const GaussianImage<uint8_t>& image, const GaussianBorder& border)
{
    return filter<2, uint16_t>(image, border);
}

bool gaussian5x5s16(const GaussianImage<int16_t>& image, const GaussianBorder& border)
{
    return filter<2, int32_t>(image, border);
}

bool gaussian5x5s32(const GaussianImage<int32_t>& image, const GaussianBorder& border)
{
    return filter<2, int32_t>(image, border);
}

bool gaussian11x11u8(const GaussianImage<uint8_t>& image, const GaussianBorder& border)
{
    return filter<5, uint32_t>(image, border);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(gaussian3x3u8);
HWY_EXPORT(gaussian5x5u8);
HWY_EXPORT(gaussian5x5s16);
HWY_EXPORT(gaussian5x5s32);
HWY_EXPORT(gaussian11x11u8);
}  // namespace visora

using namespace visora;

vsrStatus vsrFilterGaussian3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    gaussian3x3StepColumns(srcWidth);
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian3x3u8)(image, normalisedBorder(blurBorder)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian3x3u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian3x3u8_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     uint8_t* dst, uint32_t dstStride, vsrBorderType borderType, uint8_t borderValue)
{
    gaussian3x3StepColumns(srcWidth);
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian3x3u8)(image, typedBorder(borderType, borderValue)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian3x3u8_v3C(src, srcWidth, srcHeight, srcStride, dst, dstStride, borderType, borderValue);
}

vsrStatus vsrFilterGaussian5x5u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian5x5u8)(image, normalisedBorder(blurBorder)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian5x5u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s16V(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int16_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian5x5s16)(image, normalisedBorder(blurBorder)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian5x5s16C(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian5x5s32V(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   int32_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian5x5s32)(image, normalisedBorder(blurBorder)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian5x5s32C(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

vsrStatus vsrFilterGaussian11x11u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint8_t* dst, uint32_t dstStride, int32_t blurBorder)
{
    const GaussianImage image(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    if (HWY_DYNAMIC_DISPATCH(gaussian11x11u8)(image, normalisedBorder(blurBorder)))
    {
        return VISORA_SUCCESS;
    }
    return vsrFilterGaussian11x11u8C(src, srcWidth, srcHeight, srcStride, dst, dstStride, blurBorder);
}

#endif
