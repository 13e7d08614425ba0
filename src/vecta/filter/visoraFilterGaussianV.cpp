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

// ---- Pixels to planes and back ----

// Elements at even and at odd places, widened.
template <class DWide, class V>
HWY_INLINE void split(DWide d, V v, hn::Vec<DWide>& even, hn::Vec<DWide>& odd)
{
    using Wide = hn::TFromD<DWide>;
    constexpr int kBits = sizeof(Wide) * 4;
    const auto both = hn::BitCast(d, v);
    if constexpr (std::is_signed_v<Wide>)
    {
        even = hn::ShiftRight<kBits>(hn::ShiftLeft<kBits>(both));
    }
    else
    {
        even = hn::And(both, hn::Set(d, static_cast<Wide>((Wide{1} << kBits) - 1)));
    }
    odd = hn::ShiftRight<kBits>(both);
}

// The low parts of the planes' lanes as pixels in their order.
template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 1>& planes)
{
    (void)dSum;
    return hn::BitCast(d, planes[0]);
}

template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 2>& planes)
{
    using Sum = hn::TFromD<DSum>;
    constexpr int kBits = sizeof(Sum) * 4;
    const auto low = hn::And(planes[0], hn::Set(dSum, static_cast<Sum>((Sum{1} << kBits) - 1)));
    return hn::BitCast(d, hn::Or(low, hn::ShiftLeft<kBits>(planes[1])));
}

// Here sums are known to be no wider than pixels.
template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 4>& planes)
{
    (void)dSum;
    return hn::BitCast(d, hn::Or(hn::Or(planes[0], hn::ShiftLeft<8>(planes[1])),
                                 hn::Or(hn::ShiftLeft<16>(planes[2]), hn::ShiftLeft<24>(planes[3]))));
}

// ---- Columns ----

// Adding neighbours `stages` times over weights by row `stages` of Pascal's triangle. Here the neighbours are rows,
// which come one after the other.
template <class V, size_t stages>
struct RowCascade
{
    V last[stages];

    template <class D>
    HWY_INLINE void clear(D d)
    {
        for (V& v : last)
        {
            v = hn::Zero(d);
        }
    }

    HWY_INLINE V push(V v)
    {
        for (V& before : last)
        {
            const V sum = hn::Add(before, v);
            before = v;
            v = sum;
        }
        return v;
    }
};

// Weighted sums of the last 2 * radius + 1 rows.
template <uint32_t radius, class D, class DSum, size_t planes = sizeof(hn::TFromD<DSum>) / sizeof(hn::TFromD<D>)>
class ColumnSums
{
  public:
    HWY_INLINE explicit ColumnSums(DSum dSum)
    {
        for (auto& cascade : cascades_)
        {
            cascade.clear(dSum);
        }
    }

    HWY_INLINE void push(DSum dSum, hn::Vec<D> row, std::array<hn::Vec<DSum>, planes>& sums)
    {
        if constexpr (planes == 1)
        {
            sums[0] = row;
        }
        else
        {
            split(dSum, row, sums[0], sums[1]);
        }
        for (size_t i = 0; i < planes; ++i)
        {
            sums[i] = cascades_[i].push(sums[i]);
        }
    }

  private:
    RowCascade<hn::Vec<DSum>, size_t{2} * radius> cascades_[planes];
};

// Bytes with sums of 32 bits: eight of the stages fit 16 bits.
template <uint32_t radius, class D, class DSum>
class ColumnSums<radius, D, DSum, 4>
{
  public:
    HWY_INLINE explicit ColumnSums(DSum dSum)
    {
        const DHalf dHalf;
        for (auto& cascade : halfCascades_)
        {
            cascade.clear(dHalf);
        }
        for (auto& cascade : cascades_)
        {
            cascade.clear(dSum);
        }
    }

    HWY_INLINE void push(DSum dSum, hn::Vec<D> row, std::array<hn::Vec<DSum>, 4>& sums)
    {
        const DHalf dHalf;
        hn::Vec<DHalf> even;
        hn::Vec<DHalf> odd;
        split(dHalf, row, even, odd);
        split(dSum, halfCascades_[0].push(even), sums[0], sums[2]);
        split(dSum, halfCascades_[1].push(odd), sums[1], sums[3]);
        for (size_t i = 0; i < 4; ++i)
        {
            sums[i] = cascades_[i].push(sums[i]);
        }
    }

  private:
    using DHalf = hn::Repartition<uint16_t, D>;
    RowCascade<hn::Vec<DHalf>, 8> halfCascades_[2];
    RowCascade<hn::Vec<DSum>, size_t{2} * radius - 8> cascades_[4];
};

// ---- Rows ----

// Weighted sums along a row: of columns[i] .. columns[i + 2 * radius] for each i.
template <uint32_t radius, class DSum, size_t count>
HWY_INLINE void rowSums(DSum dSum, std::array<hn::Vec<DSum>, count + 2 * radius>& columns,
                        std::array<hn::Vec<DSum>, count>& sums)
{
    if constexpr (radius <= (HWY_ARCH_ARM ? 1 : 2))
    {
        for (size_t left = count + 2 * radius - 1; left >= count; --left)
        {
            for (size_t i = 0; i < left; ++i)
            {
                columns[i] = hn::Add(columns[i], columns[i + 1]);
            }
        }
        std::copy_n(columns.begin(), count, sums.begin());
    }
    else
    {
        // Fewer operations than adding neighbours ten times over.
        constexpr auto kWeights = binomialWeights<radius>();
        for (size_t i = 0; i < count; ++i)
        {
            sums[i] = hn::Add(columns[i], columns[i + 2 * radius]);
            for (uint32_t tap = 1; tap < radius; ++tap)
            {
                sums[i] = hn::Add(sums[i], hn::Mul(hn::Add(columns[i + tap], columns[i + 2 * radius - tap]),
                                                   hn::Set(dSum, static_cast<hn::TFromD<DSum>>(kWeights[tap]))));
            }
            sums[i] = hn::Add(
                sums[i], hn::Mul(columns[i + radius], hn::Set(dSum, static_cast<hn::TFromD<DSum>>(kWeights[radius]))));
        }
    }
}

// Quotient by weight * 2^shift, truncated toward zero. 16-bit sums are those of bytes, so the shifted ones do not
// exceed 255 * weight, and weight <= 16: the error of the rounded-up reciprocal, below weight / 2^16 for each unit,
// stays below 1 / weight.
template <int shift, class DSum, class V>
HWY_INLINE V quotient(DSum dSum, V sums, uint32_t weight)
{
    using Sum = hn::TFromD<DSum>;
    if constexpr (sizeof(Sum) == 2)
    {
        return hn::MulHigh(hn::ShiftRight<shift>(sums), hn::Set(dSum, static_cast<Sum>(65536 / weight + 1)));
    }
    else
    {
        // Of numbers of 32 bits, double precision rounds no quotient up to a whole number that it does not reach.
        const hn::Repartition<int32_t, DSum> dInt;
        const hn::Half<decltype(dInt)> dHalf;
        const hn::Rebind<double, decltype(dHalf)> dDouble;
        const auto divisor = hn::Set(dDouble, static_cast<double>(weight << shift));
        const auto divide = [&](auto half) HWY_ATTR
        { return hn::DemoteTo(dHalf, hn::Div(hn::PromoteTo(dDouble, half), divisor)); };
        const auto all = hn::BitCast(dInt, sums);
        return hn::BitCast(dSum,
                           hn::Combine(dInt, divide(hn::UpperHalf(dHalf, all)), divide(hn::LowerHalf(dHalf, all))));
    }
}

// ---- Edges ----

// The pixels of rows at one edge of the image, in vectors.
template <uint32_t radius>
class EdgePixels
{
  public:
    // `first` is the first of them.
    EdgePixels(const GaussianBorder& border, uint32_t first, uint32_t width)
        : border_(border), first_(first), width_(width)
    {
        for (uint32_t i = 0; i < radius; ++i)
        {
            weights_[i] = static_cast<int32_t>(binomialWeightAt<radius>(border.outside, first + i, width));
        }
    }

    // Those of one row to out[0 ..]; sumAt(x) gives the sums of its columns.
    template <class SumAt>
    HWY_INLINE void write(uint32_t rowWeight, SumAt sumAt, uint8_t* out) const
    {
        const hn::CappedTag<int32_t, 8> d;
        const hn::Half<decltype(d)> dHalf;
        const hn::Rebind<double, decltype(dHalf)> dDouble;
        const hn::Rebind<uint8_t, decltype(d)> dBytes;
        constexpr auto kWeights = binomialWeights<radius>();
        constexpr size_t kLanes = hn::MaxLanes(hn::CappedTag<int32_t, 8>());
        // The columns of all windows.
        int32_t sums[3 * radius + kLanes] = {};
        for (uint32_t i = 0; i < 3 * radius; ++i)
        {
            const int64_t x = int64_t{first_} + i - radius;
            const int64_t nearest = std::clamp<int64_t>(x, 0, int64_t{width_} - 1);
            if (x == nearest || border_.outside == Outside::Nearest)
            {
                sums[i] = static_cast<int32_t>(sumAt(static_cast<uint32_t>(nearest)));
            }
            else if (border_.outside == Outside::Constant)
            {
                sums[i] = static_cast<int32_t>(border_.constant * kBinomialTotal<radius>);
            }
        }
        coverRange(0, radius, kLanes < radius ? kLanes : radius,
                   [&](size_t x) HWY_ATTR
                   {
                       auto total =
                           hn::Mul(hn::LoadU(d, sums + x + radius), hn::Set(d, static_cast<int32_t>(kWeights[radius])));
                       for (size_t tap = 0; tap < radius; ++tap)
                       {
                           const auto pair =
                               hn::Add(hn::LoadU(d, sums + x + tap), hn::LoadU(d, sums + x + 2 * radius - tap));
                           total = hn::Add(total, hn::Mul(pair, hn::Set(d, static_cast<int32_t>(kWeights[tap]))));
                       }
                       // Of numbers of 32 bits, double precision rounds no quotient up to a whole number that it does
                       // not reach.
                       const auto factor = hn::Set(dDouble, static_cast<double>(rowWeight));
                       const auto divide = [&](auto half, size_t from) HWY_ATTR
                       {
                           const auto weight = hn::PromoteTo(dDouble, hn::LoadU(dHalf, weights_ + x + from));
                           return hn::DemoteTo(dHalf, hn::Div(hn::PromoteTo(dDouble, half), hn::Mul(weight, factor)));
                       };
                       const auto quotients = hn::Combine(d, divide(hn::UpperHalf(dHalf, total), kLanes / 2),
                                                          divide(hn::LowerHalf(dHalf, total), 0));
                       uint8_t pixels[kLanes];
                       hn::StoreU(hn::DemoteTo(dBytes, quotients), dBytes, pixels);
                       std::copy_n(pixels, std::min<size_t>(kLanes, radius), out + x);
                   });
    }

  private:
    const GaussianBorder& border_;
    const uint32_t first_;
    const uint32_t width_;
    // Lanes without a pixel are divided by something, too.
    int32_t weights_[radius + 8] = {};
};

// Few pixels are sooner done one by one.
template <uint32_t radius>
constexpr bool kEdgesInVectors = radius > 2;

struct NoEdgePixels
{
    NoEdgePixels(const GaussianBorder& /*border*/, uint32_t /*first*/, uint32_t /*width*/) {}
};

template <uint32_t radius>
using Edge = std::conditional_t<kEdgesInVectors<radius>, EdgePixels<radius>, NoEdgePixels>;

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
