// Conversions between YCbCr layouts: what the references do, and vector variants with what vectors do not cover.
#ifndef VISORA_CPU_COLOR_LAYOUTS_H
#define VISORA_CPU_COLOR_LAYOUTS_H

#include <algorithm>
#include <cstring>

#include "cpu/color/visoraColorFormats.h"
#include "visora/types.h"

namespace visora
{

/** std::memcpy. C libraries for x86-64 leave blocks of some kilobytes to the processor's own copy, which writes lines
 * without reading them, but take larger ones than its second cache through registers: by pieces they never do. */
inline void copyBytes(uint8_t* dst, const uint8_t* src, size_t bytes)
{
#ifdef __x86_64__
    constexpr size_t kPiece = size_t{256} << 10;
    for (; bytes > kPiece; bytes -= kPiece, src += kPiece, dst += kPiece)
    {
        std::memcpy(dst, src, kPiece);
    }
#endif
    std::memcpy(dst, src, bytes);
}

/** Copies a plane, at once where its rows lie without gaps; a plane in place stays as it is. */
inline void copyPlane(const uint8_t* src, size_t srcStride, size_t rowBytes, size_t rows, uint8_t* dst,
                      size_t dstStride)
{
    if (src == dst)
    {
        return;
    }
    if (srcStride == rowBytes && dstStride == rowBytes)
    {
        rowBytes *= rows;
        rows = 1;
    }
    for (; rows != 0; --rows, src += srcStride, dst += dstStride)
    {
        copyBytes(dst, src, rowBytes);
    }
}

/**
 * One chroma sample per destination position: the mean of the source samples that lie on it, of which there are up to
 * two in each direction, or the one that covers it. Where the image cuts a block off, its last column or row counts
 * twice.
 */
template <Sampling from, Sampling to>
void resampleChroma(const ChromaSamples<const uint8_t>& src, ImageSize size, const ChromaSamples<uint8_t>& dst)
{
    // By how much the destination is coarser or finer.
    constexpr uint32_t kCoarserX = to.x > from.x, kCoarserY = to.y > from.y;
    constexpr uint32_t kFinerX = from.x > to.x, kFinerY = from.y > to.y;
    const uint32_t lastColumn = from.columns(size.width) - 1;
    const uint32_t lastRow = from.rows(size.height) - 1;
    for (uint32_t j = 0; j < to.rows(size.height); ++j)
    {
        const uint32_t first = j << kCoarserY >> kFinerY;
        const ChromaSamples<const uint8_t> top = src.row(first);
        const ChromaSamples<const uint8_t> bottom = src.row(std::min(first + kCoarserY, lastRow));
        const ChromaSamples<uint8_t> out = dst.row(j);
        for (uint32_t i = 0; i < to.columns(size.width); ++i)
        {
            const uint32_t column = i << kCoarserX >> kFinerX;
            const size_t left = size_t{column} * src.step;
            const size_t right = size_t{std::min(column + kCoarserX, lastColumn)} * src.step;
            // Samples that are there twice change nothing.
            const auto mean = [=](const uint8_t* a, const uint8_t* b)
            { return static_cast<uint8_t>((a[left] + a[right] + b[left] + b[right] + 2) >> 2); };
            out.cb[i * dst.step] = mean(top.cb, bottom.cb);
            out.cr[i * dst.step] = mean(top.cr, bottom.cr);
        }
    }
}

}  // namespace visora

#endif
