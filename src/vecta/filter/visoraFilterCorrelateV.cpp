// Correlations and convolutions of integers with kernels of the caller, vector variants. Pixels are multiplied as s16;
// rows are copied first, continued far enough that windows may be read with a column more than they have.
#include <algorithm>

#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterCorrelateV.cpp"
#include "common/visoraConvolution.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterProducts-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraVariant-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Kernels and shifts ----

// `count` taps in pairs; an odd last one with a 0 behind it.
template <class Tap>
HWY_INLINE void pairTaps(size_t count, Tap tap, int32_t* pairs)
{
    for (size_t i = 0; i < count; i += 2)
    {
        *pairs++ = tapPair(tap(i), static_cast<int16_t>(i + 1 < count ? tap(i + 1) : int16_t{0}));
    }
}

constexpr size_t pairsOf(size_t taps)
{
    return (taps + 1) / 2;
}

constexpr int32_t roundingOf(uint32_t shift)
{
    return shift == 0 ? 0 : static_cast<int32_t>(1u << (shift - 1));
}

template <class D32>
HWY_INLINE WideSums<hn::Vec<D32>> shiftedSums(D32 /*d*/, WideSums<hn::Vec<D32>> sums, int shift)
{
    return {hn::ShiftRightSame(sums.first, shift), hn::ShiftRightSame(sums.second, shift)};
}

// ---- Whole windows ----

// Which windows of an image are correlated: output (0, 0) has the window whose last column and row are these.
struct Windows
{
    size_t columns;
    size_t rows;
    size_t lastColumn;
    size_t lastRow;
    size_t outWidth;
    size_t outHeight;
};

// store(d16, y, x, v) takes the sums of vectors of windows, begun with `start`, shifted and limited to s16. Outside the
// image is 0. `outWidth` is at least a vector of s16.
// tap(row, column) gives the taps from the top left one on.
template <class T, class Tap, class Store>
HWY_INLINE vsrStatus correlate(const WindowSource<T>& source, const Windows& windows, Tap tap, int32_t start,
                               uint32_t shift, Store store)
{
    const size_t pairsPerRow = pairsOf(windows.columns);
    const size_t reach = windows.columns - 1;
    PaddedRows<T, int16_t> padded(source, {reach, reach, windows.rows - 1, 0});
    const Scratch scratch(windows.rows * pairsPerRow * sizeof(int32_t));
    if (!padded.ready() || !scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const pairs = reinterpret_cast<int32_t*>(scratch.data());
    for (size_t j = 0; j < windows.rows; ++j)
    {
        pairTaps(
            windows.columns, [&](size_t i) { return tap(j, i); }, pairs + j * pairsPerRow);
    }
    withFittingVector<int16_t>(
        windows.outWidth,
        [&](auto d16) HWY_ATTR
        {
            const hn::Repartition<int32_t, decltype(d16)> d32;
            const size_t lanes = hn::Lanes(d16);
            const auto first = hn::Set(d32, start);
            const auto finish = [&](size_t y, size_t x, const WideSums<hn::Vec<decltype(d32)>>& sums) HWY_ATTR
            {
                const auto result = shiftedSums(d32, sums, static_cast<int>(shift));
                store(d16, y, x, limitedAlong(d16, d32, result));
            };
            for (size_t y = 0; y < windows.outHeight; ++y)
            {
                const int16_t* const* rows = padded.around(y + windows.lastRow);
                const auto column = static_cast<ptrdiff_t>(windows.lastColumn) - static_cast<ptrdiff_t>(reach);
                const auto one = [&](size_t x) HWY_ATTR
                {
                    WideSums<hn::Vec<decltype(d32)>> sums = {first, first};
                    for (size_t j = 0; j < windows.rows; ++j)
                    {
                        const int16_t* at = rows[j] + (column + static_cast<ptrdiff_t>(x));
                        for (size_t i = 0; i < pairsPerRow; ++i)
                        {
                            addAlong(d32, at + 2 * i, pairs[j * pairsPerRow + i], sums);
                        }
                    }
                    finish(y, x, sums);
                };
                size_t x = 0;
                for (; x + 2 * lanes <= windows.outWidth; x += 2 * lanes)
                {
                    WideSums<hn::Vec<decltype(d32)>> left = {first, first};
                    WideSums<hn::Vec<decltype(d32)>> right = left;
                    for (size_t j = 0; j < windows.rows; ++j)
                    {
                        const int16_t* at = rows[j] + (column + static_cast<ptrdiff_t>(x));
                        for (size_t i = 0; i < pairsPerRow; ++i)
                        {
                            const int32_t taps = pairs[j * pairsPerRow + i];
                            addAlong(d32, at + 2 * i, taps, left);
                            addAlong(d32, at + 2 * i + lanes, taps, right);
                        }
                    }
                    finish(y, x, left);
                    finish(y, x + lanes, right);
                }
                if (x < windows.outWidth)
                {
                    coverRange(std::min(x, windows.outWidth - lanes), windows.outWidth, lanes, one);
                }
            }
        });
    return VISORA_SUCCESS;
}

// The windows of n x n that lie inside an image.
template <class T>
HWY_INLINE Windows insideWindows(const WindowSource<T>& source, size_t n)
{
    return {n, n, n - 1, n - 1, source.width - n + 1, source.height - n + 1};
}

// Outputs too few for a vector of s16 are the reference's affair.
constexpr size_t kLeastOutputs = 8;

// Nine taps: so few that the rows are read as they are, two taps of a pixel at once.
bool correlation3x3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const int8_t* kernel,
                    uint32_t shift, uint8_t* dst, uint32_t dstStride)
{
    const size_t outWidth = srcWidth < 2 ? 0 : srcWidth - 2;
    return withFittingVector<int16_t>(
        outWidth,
        [=](auto d16) HWY_ATTR
        {
            const hn::Rebind<uint8_t, decltype(d16)> d8;
            const hn::Repartition<int32_t, decltype(d16)> d32;
            const auto zero = hn::Zero(d32);
            const int32_t down[3] = {tapPair(kernel[0], kernel[3]), tapPair(kernel[1], kernel[4]),
                                     tapPair(kernel[2], kernel[5])};
            const int32_t along = tapPair(kernel[6], kernel[7]);
            for (size_t y = 1; y + 1 < srcHeight; ++y)
            {
                const uint8_t* const above = src + (y - 1) * srcStride;
                const uint8_t* const row = above + srcStride;
                const uint8_t* const below = row + srcStride;
                uint8_t* const out = dst + y * dstStride + 1;
                coverByTwo(0, outWidth, hn::Lanes(d16),
                           [=](size_t x) HWY_ATTR
                           {
                               const auto at = [=](const uint8_t* pixels) HWY_ATTR
                               { return hn::PromoteTo(d16, hn::LoadU(d8, pixels + x)); };
                               WideSums<hn::Vec<decltype(d32)>> sums = {zero, zero};
                               for (size_t i = 0; i < 3; ++i)
                               {
                                   addDown(d32, at(above + i), at(row + i), down[i], sums);
                               }
                               addDown(d32, at(below), at(below + 1), along, sums);
                               addOne(d32, at(below + 2), kernel[8], sums);
                               const auto shifted = shiftedSums(d32, sums, static_cast<int>(shift));
                               hn::StoreU(hn::DemoteTo(d8, limitedDown(d16, d32, shifted)), d8, out + x);
                           });
            }
        });
}

vsrStatus convolutionNxN(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         const int16_t* kernel, uint32_t N, uint32_t shift, int16_t* dst, uint32_t dstStride)
{
    if (srcWidth < kLeastOutputs + N - 1 || srcHeight < N)
    {
        return vsrFilterConvNxNu8s16C(src, srcWidth, srcHeight, srcStride, kernel, N, shift, dst, dstStride);
    }
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround<uint8_t>(VISORA_BORDER_CONSTANT));
    int16_t* const out = dst + N / 2 * (dstStride / sizeof(int16_t)) + N / 2;
    const size_t last = size_t{N} * N - 1;
    return correlate(
        source, insideWindows(source, N), [=](size_t j, size_t i) { return kernel[last - N * j - i]; },
        roundingOf(shift), shift,
        [=](auto d16, size_t y, size_t x, auto v) HWY_ATTR
        { hn::StoreU(v, d16, out + y * (dstStride / sizeof(int16_t)) + x); });
}

vsrStatus convolution(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const int16_t* kernel, uint32_t kernelWidth, uint32_t kernelHeight, uint32_t shift,
                      vsrConvolutionSize size, int16_t* dst, uint32_t dstStride)
{
    const ConvolutionOutput output(srcWidth, srcHeight, kernelWidth, kernelHeight, size);
    if (output.width < kLeastOutputs)
    {
        return vsrConvolves16C(src, srcWidth, srcHeight, srcStride, kernel, kernelWidth, kernelHeight, shift, size, dst,
                               dstStride);
    }
    const WindowSource source(src, srcWidth, srcHeight, srcStride, Surround<int16_t>(VISORA_BORDER_CONSTANT));
    const Windows windows = {kernelWidth,     kernelHeight, output.firstColumn,
                             output.firstRow, output.width, output.height};
    const size_t last = size_t{kernelWidth} * kernelHeight - 1;
    return correlate(
        source, windows, [=](size_t j, size_t i) { return kernel[last - kernelWidth * j - i]; }, roundingOf(shift),
        shift,
        [=](auto d16, size_t y, size_t x, auto v) HWY_ATTR
        { hn::StoreU(v, d16, dst + y * (dstStride / sizeof(int16_t)) + x); });
}

// ---- Rows, then columns ----

// The results of the last N rows stay in a ring.
template <class RowTap, class ColumnTap>
HWY_INLINE vsrStatus separable(const WindowSource<int16_t>& source, RowTap rowTap, size_t M, uint32_t rowShift,
                               ColumnTap columnTap, size_t N, uint32_t columnShift, int16_t* dst, size_t dstStep)
{
    const size_t inner = source.width - M + 1;
    const size_t step = (inner + 63) / 64 * 64;
    PaddedRows<int16_t> padded(source, {0, 0, 0, 0});
    const Scratch scratch(N * step * sizeof(int16_t) + (pairsOf(M) + pairsOf(N)) * sizeof(int32_t));
    if (!padded.ready() || !scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const ring = reinterpret_cast<int16_t*>(scratch.data());
    auto* const rowPairs = reinterpret_cast<int32_t*>(ring + N * step);
    int32_t* const columnPairs = rowPairs + pairsOf(M);
    pairTaps(M, rowTap, rowPairs);
    pairTaps(N, columnTap, columnPairs);
    withFittingVector<int16_t>(inner,
                               [&](auto d16) HWY_ATTR
                               {
                                   const hn::Repartition<int32_t, decltype(d16)> d32;
                                   const auto rowStart = hn::Set(d32, roundingOf(rowShift));
                                   const auto columnStart = hn::Set(d32, roundingOf(columnShift));
                                   for (size_t y = 0; y < source.height; ++y)
                                   {
                                       const int16_t* row = padded.around(y)[0];
                                       int16_t* result = ring + y % N * step;
                                       coverRange(0, inner, hn::Lanes(d16),
                                                  [&](size_t x) HWY_ATTR
                                                  {
                                                      WideSums<hn::Vec<decltype(d32)>> sums = {rowStart, rowStart};
                                                      for (size_t i = 0; i < pairsOf(M); ++i)
                                                      {
                                                          addAlong(d32, row + x + 2 * i, rowPairs[i], sums);
                                                      }
                                                      sums = shiftedSums(d32, sums, static_cast<int>(rowShift));
                                                      hn::StoreU(limitedAlong(d16, d32, sums), d16, result + x);
                                                  });
                                       if (y + 1 < N)
                                       {
                                           continue;
                                       }
                                       const size_t top = y + 1 - N;
                                       int16_t* out = dst + (top + N / 2) * dstStep + M / 2;
                                       coverRange(
                                           0, inner, hn::Lanes(d16),
                                           [&](size_t x) HWY_ATTR
                                           {
                                               const auto at = [&](size_t j) HWY_ATTR
                                               { return hn::LoadU(d16, ring + (top + j) % N * step + x); };
                                               WideSums<hn::Vec<decltype(d32)>> sums = {columnStart, columnStart};
                                               for (size_t j = 0; j < N; j += 2)
                                               {
                                                   addDown(d32, at(j), at(j + 1), columnPairs[j / 2], sums);
                                               }
                                               sums = shiftedSums(d32, sums, static_cast<int>(columnShift));
                                               hn::StoreU(limitedDown(d16, d32, sums), d16, out + x);
                                           });
                                   }
                               });
    return VISORA_SUCCESS;
}

vsrStatus convolutionSeparable(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               const int16_t* rowKernel, uint32_t M, uint32_t rowShift, const int16_t* columnKernel,
                               uint32_t N, uint32_t columnShift, int16_t* dst, uint32_t dstStride)
{
    if (srcWidth < kLeastOutputs + M - 1 || srcHeight < N)
    {
        return vsrFilterConvSepMxNs16C(src, srcWidth, srcHeight, srcStride, rowKernel, M, rowShift, columnKernel, N,
                                       columnShift, dst, dstStride);
    }
    return separable(
        WindowSource<int16_t>(src, srcWidth, srcHeight, srcStride), [=](size_t i) { return rowKernel[M - 1 - i]; }, M,
        rowShift, [=](size_t j) { return columnKernel[N - 1 - j]; }, N, columnShift, dst, dstStride / sizeof(int16_t));
}

// N taps for both directions. All sizes share the code of the general convolution: a kernel turned is one as well.
template <uint32_t N>
HWY_INLINE vsrStatus correlationOf(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const int16_t* kernel, int16_t* dst, uint32_t dstStride)
{
    std::array<int16_t, N> turned;
    std::reverse_copy(kernel, kernel + N, turned.begin());
    return convolutionSeparable(src, srcWidth, srcHeight, srcStride, turned.data(), N, 15, turned.data(), N, 15, dst,
                                dstStride);
}

VSR_VARIANT(vsrFilterCorrSep9x9s16, correlationOf<9>);
VSR_VARIANT(vsrFilterCorrSep11x11s16, correlationOf<11>);
VSR_VARIANT(vsrFilterCorrSep13x13s16, correlationOf<13>);
VSR_VARIANT(vsrFilterCorrSep15x15s16, correlationOf<15>);
VSR_VARIANT(vsrFilterCorrSep17x17s16, correlationOf<17>);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrFilterCorr3x3s8, correlation3x3);
VSR_VECTOR(vsrFilterConvNxNu8s16, convolutionNxN);
VSR_VECTOR(vsrConvolves16, convolution);
VSR_VECTOR(vsrFilterConvSepMxNs16, convolutionSeparable);

#endif
