// Non-local means, vector variant: neighbour by neighbour over a tile of the image, so that patches share the sums of
// squared differences of their rows.
#include "visora/variants/filter.h"

// With its byte permutations AVX-512 looks weights up in two steps.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterNonLocalV.cpp"
#include <algorithm>

#include "cpu/filter/visoraFilterNonLocal.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWeights-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_NON_LOCAL_ONCE
#define VISORA_VECTA_NON_LOCAL_ONCE

namespace visora
{

/** What a tile of the image is worked out in. */
class NonLocalTile
{
  public:
    static constexpr size_t kRows = 16;
    static constexpr size_t kColumns = 512;
    static constexpr size_t kPatch = 2;  // radius
    static constexpr size_t kSquareRows = kRows + 2 * kPatch;
    static constexpr size_t kPad = 128;  // elements behind a row, for whole vectors and the patches' columns

    NonLocalTile(size_t width, size_t radius)
        : columns(std::min(width, kColumns)),
          reach(radius + kPatch),
          pixelStep(columns + 2 * reach + kPad),
          step(columns + kPad),
          scratch_((kRows + 2 * reach) * pixelStep + kSquareRows * step * sizeof(uint16_t) + step * sizeof(uint32_t) +
                   2 * kRows * step * sizeof(int32_t) + 4 * 64)
    {
        if (scratch_.data())
        {
            // In falling order of alignment.
            num = scratch_.as<int32_t>();
            den = num + kRows * step;
            sums = reinterpret_cast<uint32_t*>(den + kRows * step);
            squares = reinterpret_cast<uint16_t*>(sums + step);
            pixels = reinterpret_cast<uint8_t*>(squares + kSquareRows * step);
            std::fill_n(pixels, (kRows + 2 * reach) * pixelStep, uint8_t{0});
        }
    }

    bool ready() const { return scratch_.data() != nullptr; }

    /** Takes the pixels of the tile at (left, top) and around it. */
    void take(const WindowSource<uint8_t>& source, size_t left, size_t top, size_t rows)
    {
        for (size_t j = 0; j < rows + 2 * reach; ++j)
        {
            const uint8_t* from = source.nearestRow(static_cast<ptrdiff_t>(top + j) - static_cast<ptrdiff_t>(reach));
            uint8_t* to = pixels + j * pixelStep;
            const size_t before = reach - std::min(left, reach);
            const size_t end = std::min(left + columns + reach, source.width);
            const size_t count = end + reach - left - before;
            std::fill_n(to, before, from[0]);
            std::copy_n(from + left + before - reach, count, to + before);
            std::fill_n(to + before + count, columns + 2 * reach - before - count, from[source.width - 1]);
        }
        std::fill_n(num, 2 * kRows * step, 0);
    }

    /** Pixel (x, y) of the tile, or beside it. */
    const uint8_t* at(ptrdiff_t x, ptrdiff_t y) const
    {
        const auto shift = static_cast<ptrdiff_t>(reach);
        return pixels + (y + shift) * static_cast<ptrdiff_t>(pixelStep) + x + shift;
    }

    const size_t columns;
    const size_t reach;
    const size_t pixelStep;
    const size_t step;
    int32_t* num = nullptr;       // weights times pixels - 128, the columns of a vector in the order of Columns
    int32_t* den = nullptr;       // weights
    uint32_t* sums = nullptr;     // of a row's columns, u16 or u32
    uint16_t* squares = nullptr;  // squared differences, from two rows above and two columns left of the tile on
    uint8_t* pixels = nullptr;

  private:
    const Scratch scratch_;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

template <class D16>
HWY_INLINE void squareRow(D16 d16, const uint8_t* a, const uint8_t* b, size_t count, uint16_t* squares)
{
    const hn::Rebind<uint8_t, D16> d8;
    coverRange(0, count, hn::Lanes(d16),
               [&](size_t x) HWY_ATTR
               {
                   const auto difference =
                       hn::Sub(hn::PromoteTo(d16, hn::LoadU(d8, a + x)), hn::PromoteTo(d16, hn::LoadU(d8, b + x)));
                   hn::StoreU(hn::Mul(difference, difference), d16, squares + x);
               });
}

// Sums of squared differences where 16 bits are enough: larger ones have weight 0 like the largest.
struct SaturatedSums
{
    using T = uint16_t;

    template <class D, class V>
    static HWY_INLINE V add(D /*d*/, V a, V b)
    {
        return hn::SaturatedAdd(a, b);
    }
};

struct WideSumsOfSquares
{
    using T = uint32_t;

    template <class D, class V>
    static HWY_INLINE V add(D /*d*/, V a, V b)
    {
        return hn::Add(a, b);
    }
};

template <class D>
HWY_INLINE hn::Vec<D> loadSquares(D d, const uint16_t* squares)
{
    if constexpr (sizeof(hn::TFromD<D>) == 2)
    {
        return hn::LoadU(d, squares);
    }
    else
    {
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<uint16_t, D>(), squares));
    }
}

// Sums of five rows.
template <class Kind, class D>
HWY_INLINE void sumColumns(D d, const uint16_t* squares, size_t step, size_t count, typename Kind::T* sums)
{
    coverRange(0, count, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   auto sum = loadSquares(d, squares + x);
                   for (size_t j = 1; j < 5; ++j)
                   {
                       sum = Kind::add(d, sum, loadSquares(d, squares + j * step + x));
                   }
                   hn::StoreU(sum, d, sums + x);
               });
}

// Sums of five columns from `sums` on, shifted and limited to 256, in order.
template <class Kind, class D16>
HWY_INLINE hn::Vec<D16> shiftedDistances(D16 d16, const typename Kind::T* sums, int shift)
{
    const hn::Repartition<typename Kind::T, D16> d;
    const auto distances = [&](size_t x) HWY_ATTR
    {
        auto sum = hn::LoadU(d, sums + x);
        for (size_t i = 1; i < 5; ++i)
        {
            sum = Kind::add(d, sum, hn::LoadU(d, sums + x + i));
        }
        return hn::Min(hn::ShiftRightSame(sum, shift), hn::Set(d, typename Kind::T{256}));
    };
    if constexpr (sizeof(typename Kind::T) == 2)
    {
        return distances(0);
    }
    else
    {
        return narrowInOrder(d16, distances(0), distances(hn::Lanes(d)));
    }
}

// Adds weights, and weights times pixel - 128.
template <class D8, class V8>
HWY_INLINE void addWeighted(D8 /*d8*/, V8 weights, V8 pixels, int32_t* num, int32_t* den)
{
    const hn::Repartition<int16_t, D8> d16;
    const hn::Repartition<int32_t, D8> d32;
    const auto w = columnsOf(d16, weights);
    const auto q = columnsOf(d16, pixels);
    const auto middle = hn::Set(d16, int16_t{128});
    const auto add = [&](auto v, int32_t* sum) HWY_ATTR { hn::StoreU(hn::Add(hn::LoadU(d32, sum), v), d32, sum); };
    const auto addHalf = [&](auto weight, auto pixel, size_t place) HWY_ATTR
    {
        const size_t other = place + hn::Lanes(d32);
        const auto value = hn::Sub(pixel, middle);
#if HWY_ARCH_X86
        const auto zero = hn::Zero(d16);
        const auto low = hn::InterleaveLower(d16, weight, zero);
        const auto high = hn::InterleaveUpper(d16, weight, zero);
        add(sumsOfPairProducts(d32, low, hn::InterleaveLower(d16, value, value)), num + place);
        add(sumsOfPairProducts(d32, high, hn::InterleaveUpper(d16, value, value)), num + other);
        add(hn::BitCast(d32, low), den + place);
        add(hn::BitCast(d32, high), den + other);
#else
        const hn::Half<decltype(d16)> half;
        const auto product = hn::Mul(weight, value);
        add(hn::PromoteTo(d32, hn::LowerHalf(half, product)), num + place);
        add(hn::PromoteTo(d32, hn::UpperHalf(half, product)), num + other);
        add(hn::PromoteTo(d32, hn::LowerHalf(half, weight)), den + place);
        add(hn::PromoteTo(d32, hn::UpperHalf(half, weight)), den + other);
#endif
    };
    addHalf(w.first, q.first, 0);
    addHalf(w.second, q.second, 2 * hn::Lanes(d32));
}

// Adds the neighbours (dx, dy) of all pixels of the tile.
template <class Kind, class D8, class Table>
HWY_INLINE void addNeighbours(D8 d8, const NonLocalTile& tile, size_t rows, ptrdiff_t dx, ptrdiff_t dy,
                              const Table& weightOf, int shift, bool lastCounts)
{
    using Tile = NonLocalTile;
    const hn::Repartition<uint16_t, D8> d16;
    const hn::Repartition<typename Kind::T, D8> dSum;
    const size_t lanes = hn::Lanes(d8);
    const size_t columns = (tile.columns + lanes - 1) / lanes * lanes;
    const size_t squareColumns = columns + 2 * Tile::kPatch;
    auto* sums = reinterpret_cast<typename Kind::T*>(tile.sums);
    constexpr auto kPatch = static_cast<ptrdiff_t>(Tile::kPatch);
    const auto squaresOf = [&](size_t y) HWY_ATTR
    {
        const auto row = static_cast<ptrdiff_t>(y) - kPatch;
        squareRow(d16, tile.at(-kPatch, row), tile.at(dx - kPatch, row + dy), squareColumns,
                  tile.squares + y * tile.step);
    };
    for (size_t y = 0; y < 2 * Tile::kPatch; ++y)
    {
        squaresOf(y);
    }
    for (size_t y = 0; y < rows; ++y)
    {
        squaresOf(y + 2 * Tile::kPatch);
        sumColumns<Kind>(dSum, tile.squares + y * tile.step, tile.step, squareColumns, sums);
        const uint8_t* pixels = tile.at(dx, static_cast<ptrdiff_t>(y) + dy);
        for (size_t x = 0; x < columns; x += lanes)
        {
            const auto low = shiftedDistances<Kind>(d16, sums + x, shift);
            const auto high = shiftedDistances<Kind>(d16, sums + x + lanes / 2, shift);
            const auto largest = hn::Set(d16, uint16_t{255});
            auto weights = weightOf(d8, narrowInOrder(d8, hn::Min(low, largest), hn::Min(high, largest)));
            if (lastCounts)
            {
                // The table's last entry is 1, which those beyond it do not get.
                weights = hn::SaturatedSub(weights, narrowInOrder(d8, hn::ShiftRight<8>(low), hn::ShiftRight<8>(high)));
            }
            addWeighted(d8, weights, hn::LoadU(d8, pixels + x), tile.num + y * tile.step + x,
                        tile.den + y * tile.step + x);
        }
    }
}

template <class D8>
HWY_INLINE void storeMeans(D8 d8, const NonLocalTile& tile, size_t y, uint8_t* out)
{
    const hn::Repartition<int16_t, D8> d16;
    const hn::Repartition<int32_t, D8> d32;
    const size_t lanes = hn::Lanes(d8);
    for (size_t x = 0; x < tile.columns; x += lanes)
    {
        const auto load = [&](const int32_t* from, size_t half) HWY_ATTR
        {
            const int32_t* place = from + y * tile.step + x + half * lanes / 2;
            return WideSums<hn::Vec<decltype(d32)>>{hn::LoadU(d32, place), hn::LoadU(d32, place + lanes / 4)};
        };
        MeanSums sums(d32, 0);
        for (size_t half = 0; half < 2; ++half)
        {
            sums.num[half] = load(tile.num, half);
            sums.den[half] = load(tile.den, half);
        }
        auto means = meansOf(d16, d32, sums);
        const auto middle = hn::Set(d16, int16_t{128});
        means.first = hn::Add(means.first, middle);
        means.second = hn::Add(means.second, middle);
        alignas(64) uint8_t bytes[64];
        hn::Store(bytesOf(d16, means), d8, bytes);
        std::copy_n(bytes, std::min(lanes, tile.columns - x), out + x);
    }
}

template <class Kind>
HWY_INLINE vsrStatus denoise(const WindowSource<uint8_t>& source, const NonLocalWeights& weights, size_t radius,
                             uint8_t* dst, size_t dstStride)
{
    const hn::CappedTag<uint8_t, 64> d8;
    // Tiles of about the same width.
    const size_t tiles = (source.width + NonLocalTile::kColumns - 1) / NonLocalTile::kColumns;
    NonLocalTile tile((source.width + tiles - 1) / tiles, radius);
    if (!tile.ready())
    {
        return VISORA_ENOMEM;
    }
    const WeightTable<256> table(weights.table);
    const bool lastCounts = weights.table.back() != 0;
    const auto reach = static_cast<ptrdiff_t>(radius);
    for (size_t top = 0; top < source.height; top += NonLocalTile::kRows)
    {
        const size_t rows = std::min(NonLocalTile::kRows, source.height - top);
        coverRange(0, source.width, tile.columns,
                   [&](size_t left) HWY_ATTR
                   {
                       tile.take(source, left, top, rows);
                       for (ptrdiff_t dy = -reach; dy <= reach; ++dy)
                       {
                           for (ptrdiff_t dx = -reach; dx <= reach; ++dx)
                           {
                               addNeighbours<Kind>(d8, tile, rows, dx, dy, table, static_cast<int>(weights.shift),
                                                   lastCounts);
                           }
                       }
                       for (size_t y = 0; y < rows; ++y)
                       {
                           storeMeans(d8, tile, y, dst + (top + y) * dstStride + left);
                       }
                   });
    }
    return VISORA_SUCCESS;
}

vsrStatus denoiseNonLocal(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                          float strength, uint8_t* dst, uint32_t dstStride)
{
    const WindowSource<uint8_t> source(src, srcWidth, srcHeight, srcStride);
    const NonLocalWeights weights(strength);
    // 65535 has weight 0 as long as 255 is not the largest distance that it is shifted to.
    return weights.shift <= 7 ? denoise<SaturatedSums>(source, weights, N / 2, dst, dstStride)
                              : denoise<WideSumsOfSquares>(source, weights, N / 2, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDenoiseNonLocalu8, denoiseNonLocal);

#endif
