// Conversions from luma and chroma to RGB, vector variants.
#include "visora/variants/color.h"

// AVX-512 permutes the bytes of pixels.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/color/visoraColorV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/color/visoraColor-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- The planar and pseudo-planar family ----

template <class Format, class Layout>
bool convertSampling(ChromaSampling sampling, const ColorImage& image, const Layout& chroma)
{
    switch (sampling)
    {
        case ChromaSampling::k444:
            return convertImage<FullRange, Format, ChromaSampling::k444>(image, chroma);
        case ChromaSampling::k422:
            return convertImage<FullRange, Format, ChromaSampling::k422>(image, chroma);
        default:
        {
            // Rows go in pairs; an odd height gets one more.
            ColorImage even = image;
            even.height += image.height % 2;
            return convertImage<FullRange, Format, ChromaSampling::k420>(even, chroma);
        }
    }
}

template <class Layout>
bool convertFamily(ChromaSampling sampling, PixelFormat format, const ColorImage& image, const Layout& chroma)
{
    switch (format)
    {
        case PixelFormat::RGB565:
            return convertSampling<RGB565>(sampling, image, chroma);
        case PixelFormat::RGB888:
            return convertSampling<RGB888>(sampling, image, chroma);
        default:
            return convertSampling<RGBA8888>(sampling, image, chroma);
    }
}

bool fromPlanes(ChromaSampling sampling, PixelFormat format, const ColorImage& image, const uint8_t* cb,
                const uint8_t* cr, size_t cbStride, size_t crStride)
{
    return convertFamily(sampling, format, image, Planes{cb, cr, cbStride, crStride});
}

bool fromPairs(ChromaSampling sampling, PixelFormat format, const ColorImage& image, const uint8_t* pairs,
               size_t stride)
{
    return convertFamily(sampling, format, image, Pairs<true>{pairs, stride});
}

// ---- Whole buffers ----

bool video420ToRgb565(const ColorImage& image, const uint8_t* pairs, size_t stride)
{
    return convertImage<Video8Bit, RGB565, ChromaSampling::k420>(image, Pairs<true>{pairs, stride});
}

bool video420ToReversedRgb565(const ColorImage& image, const uint8_t* pairs, size_t stride)
{
    return convertImage<Video8Bit, ReversedRGB565, ChromaSampling::k420>(image, Pairs<true>{pairs, stride});
}

bool video420ToRgba8888(const ColorImage& image, const uint8_t* pairs, size_t stride)
{
    return convertImage<Video10Bit, RGBA8888, ChromaSampling::k420>(image, Pairs<false>{pairs, stride});
}

// ---- Coding units ----

// A stretch of a row of units, sorted into rows of pixels on the stack and converted from there.
template <size_t unitWidth, size_t unitHeight>
class UnitStretch
{
  public:
    static constexpr size_t kUnitBytes = unitWidth * unitHeight + 128;
    static constexpr size_t kMaxWidth = 512;

    HWY_INLINE void load(const uint8_t* unit, size_t units)
    {
        const hn::CappedTag<uint64_t, 4> d64;
        const size_t together = hn::Lanes(d64);
        size_t u = 0;
        for (; u + together <= units; u += together, unit += together * kUnitBytes)
        {
            loadUnits(d64, unit, u);
        }
        for (; u < units; ++u, unit += kUnitBytes)
        {
            loadUnits(hn::CappedTag<uint64_t, 1>(), unit, u);
        }
    }

    template <bool kStreams, class D>
    HWY_INLINE void convert(D d, size_t width, size_t rows, uint8_t* dst, size_t dstStride) const
    {
        constexpr size_t kRowsPerChroma = unitHeight / 8;
        size_t y = 0;
        for (; y + kRowsPerChroma <= rows; y += kRowsPerChroma)
        {
            convertRowsFrom<kRowsPerChroma, kStreams>(d, y, width, dst + y * dstStride, dstStride);
        }
        if (y < rows)
        {
            convertRowsFrom<1, kStreams>(d, y, width, dst + y * dstStride, dstStride);
        }
    }

  private:
    // The padding keeps the rows in different sets of the cache.
    static constexpr size_t kStride = kMaxWidth + 64;
    using Row = uint8_t[kStride];

    template <size_t rows, bool kStreams, class D>
    HWY_INLINE void convertRowsFrom(D d, size_t y, size_t width, uint8_t* dst, size_t dstStride) const
    {
        const size_t chromaRow = y * 8 / unitHeight;
        convertRows<CodingUnit, RGB888, unitWidth == 16, rows, kStreams>(d, luma_[y], kStride,
                                                                         Planes{cb_[chromaRow], cr_[chromaRow], 0, 0},
                                                                         width, dst, static_cast<ptrdiff_t>(dstStride));
    }

    // As many units as there are lanes, the first of them at `unit`.
    template <class D64>
    HWY_INLINE void loadUnits(D64 d64, const uint8_t* unit, size_t u)
    {
        constexpr size_t kBlocksAcross = unitWidth / 8;
        constexpr size_t kLanes = hn::MaxLanes(D64());
        if constexpr (HWY_ARCH_X86)
        {
            // The next stretch comes while this one is converted.
            constexpr size_t kAhead = kMaxWidth / 2 / unitWidth * kUnitBytes;
            for (size_t line = 0; line < kLanes * kUnitBytes; line += 64)
            {
                hwy::Prefetch(unit + kAhead + line);
            }
        }
        for (size_t top = 0; top < unitHeight; top += 8)
        {
            const uint8_t* blocks = unit + top * unitWidth;
            for (size_t column = 0; column < kBlocksAcross * kLanes; column += kLanes)
            {
                loadBlocks(
                    d64,
                    [=](size_t lane)
                    {
                        const size_t block = column + lane;
                        return blocks + block / kBlocksAcross * kUnitBytes + block % kBlocksAcross * 64;
                    },
                    luma_ + top, u * unitWidth + column * 8);
            }
        }
        const uint8_t* chroma = unit + unitWidth * unitHeight;
        loadBlocks(
            d64, [=](size_t lane) { return chroma + lane * kUnitBytes; }, cb_, u * 8);
        loadBlocks(
            d64, [=](size_t lane) { return chroma + lane * kUnitBytes + 64; }, cr_, u * 8);
    }

    // Blocks of 8x8 samples that lie side by side in the image: a transposition of their rows, 8 bytes each.
    template <class D64, class BlockAt>
    static HWY_INLINE void loadBlocks(D64 d64, BlockAt blockAt, Row* rows, size_t x)
    {
        constexpr size_t kLanes = hn::MaxLanes(D64());
        const hn::Repartition<uint8_t, D64> d;
        const auto load = [&](size_t lane, size_t y) HWY_ATTR
        { return hn::BitCast(d64, hn::LoadU(d, blockAt(lane) + y * 8)); };
        const auto store = [&](auto v, size_t y) HWY_ATTR { hn::StoreU(hn::BitCast(d, v), d, &rows[y][x]); };
        for (size_t y = 0; y < 8; y += kLanes)
        {
            if constexpr (kLanes == 1)
            {
                store(load(0, y), y);
            }
            else
            {
                const auto even = hn::InterleaveLower(d64, load(0, y), load(1, y));
                const auto odd = hn::InterleaveUpper(d64, load(0, y), load(1, y));
                if constexpr (kLanes == 2)
                {
                    store(even, y);
                    store(odd, y + 1);
                }
                else
                {
                    const auto even2 = hn::InterleaveLower(d64, load(2, y), load(3, y));
                    const auto odd2 = hn::InterleaveUpper(d64, load(2, y), load(3, y));
                    store(hn::ConcatLowerLower(d64, even2, even), y);
                    store(hn::ConcatLowerLower(d64, odd2, odd), y + 1);
                    store(hn::ConcatUpperUpper(d64, even2, even), y + 2);
                    store(hn::ConcatUpperUpper(d64, odd2, odd), y + 3);
                }
            }
        }
    }

    alignas(64) Row luma_[unitHeight];
    alignas(64) Row cb_[8];
    alignas(64) Row cr_[8];
};

template <bool kStreams, size_t unitWidth, size_t unitHeight, class D>
HWY_INLINE void convertStretches(D d, const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    using Stretch = UnitStretch<unitWidth, unitHeight>;
    Stretch stretch;
    const size_t dstStride = width * RGB888::kBytes;
    for (size_t y = 0; y < height; y += unitHeight)
    {
        const uint8_t* units = src + y / unitHeight * (width / unitWidth) * Stretch::kUnitBytes;
        size_t columns = 0;
        for (size_t x = 0; x < width; x += columns)
        {
            // Half a stretch at a time until the rest fits in a whole one: no stretch is narrower than a vector.
            columns = width - x <= Stretch::kMaxWidth ? width - x : Stretch::kMaxWidth / 2;
            stretch.load(units + x / unitWidth * Stretch::kUnitBytes, (columns + unitWidth - 1) / unitWidth);
            stretch.template convert<kStreams>(d, columns, HWY_MIN(unitHeight, height - y),
                                               dst + y * dstStride + x * RGB888::kBytes, dstStride);
        }
    }
}

template <size_t unitWidth, size_t unitHeight>
bool convertTiles(const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    return withPixelVector<RGB888, unitWidth == 16>(
        width,
        [=](auto d) HWY_ATTR
        {
            if constexpr (HWY_ARCH_X86)
            {
                if (isStreamedImage<RGB888>(dst, width, height, static_cast<ptrdiff_t>(width * RGB888::kBytes)))
                {
                    convertStretches<true, unitWidth, unitHeight>(d, src, width, height, dst);
                    return hwy::FlushStream();
                }
            }
            convertStretches<false, unitWidth, unitHeight>(d, src, width, height, dst);
        });
}

bool tilesH1V1(const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    return convertTiles<8, 8>(src, width, height, dst);
}

bool tilesH2V1(const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    return convertTiles<16, 8>(src, width, height, dst);
}

bool tilesH1V2(const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    return convertTiles<8, 16>(src, width, height, dst);
}

bool tilesH2V2(const uint8_t* src, size_t width, size_t height, uint8_t* dst)
{
    return convertTiles<16, 16>(src, width, height, dst);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(fromPlanes);
HWY_EXPORT(fromPairs);
HWY_EXPORT(video420ToRgb565);
HWY_EXPORT(video420ToReversedRgb565);
HWY_EXPORT(video420ToRgba8888);
HWY_EXPORT(tilesH1V1);
HWY_EXPORT(tilesH2V1);
HWY_EXPORT(tilesH1V2);
HWY_EXPORT(tilesH2V2);
}  // namespace visora

using namespace visora;

#define FULL_RANGE_MEMBERS(sampling, format)                                                                        \
    vsrStatus vsrColorYCbCr##sampling##PlanarTo##format##u8V(                                                       \
        const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth, uint32_t srcHeight,     \
        uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dst, uint32_t dstStride)          \
    {                                                                                                               \
        const ColorImage image = {srcY, srcYStride, srcWidth, srcHeight, dst, ptrdiff_t{dstStride}};                \
        if (HWY_DYNAMIC_DISPATCH(fromPlanes)(ChromaSampling::k##sampling, PixelFormat::format, image, srcCb, srcCr, \
                                             srcCbStride, srcCrStride))                                             \
        {                                                                                                           \
            return VISORA_SUCCESS;                                                                                  \
        }                                                                                                           \
        return vsrColorYCbCr##sampling##PlanarTo##format##u8C(srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride,  \
                                                              srcCbStride, srcCrStride, dst, dstStride);            \
    }                                                                                                               \
    vsrStatus vsrColorYCbCr##sampling##PseudoPlanarTo##format##u8V(                                                 \
        const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,       \
        uint32_t srcCStride, uint8_t* dst, uint32_t dstStride)                                                      \
    {                                                                                                               \
        const ColorImage image = {srcY, srcYStride, srcWidth, srcHeight, dst, ptrdiff_t{dstStride}};                \
        if (HWY_DYNAMIC_DISPATCH(fromPairs)(ChromaSampling::k##sampling, PixelFormat::format, image, srcC,          \
                                            srcCStride))                                                            \
        {                                                                                                           \
            return VISORA_SUCCESS;                                                                                  \
        }                                                                                                           \
        return vsrColorYCbCr##sampling##PseudoPlanarTo##format##u8C(srcY, srcC, srcWidth, srcHeight, srcYStride,    \
                                                                    srcCStride, dst, dstStride);                    \
    }
FULL_RANGE_MEMBERS(444, RGB565)
FULL_RANGE_MEMBERS(444, RGB888)
FULL_RANGE_MEMBERS(444, RGBA8888)
FULL_RANGE_MEMBERS(422, RGB565)
FULL_RANGE_MEMBERS(422, RGB888)
FULL_RANGE_MEMBERS(422, RGBA8888)
FULL_RANGE_MEMBERS(420, RGB565)
FULL_RANGE_MEMBERS(420, RGB888)
FULL_RANGE_MEMBERS(420, RGBA8888)

vsrStatus vsrColorYUV420toRGB565u8V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    const ColorImage image = {src, width, width, height, reinterpret_cast<uint8_t*>(dst), ptrdiff_t{width} * 2};
    if (HWY_DYNAMIC_DISPATCH(video420ToRgb565)(image, src + size_t{width} * height, width))
    {
        return VISORA_SUCCESS;
    }
    return vsrColorYUV420toRGB565u8C(src, width, height, dst);
}

vsrStatus vsrColorYUV420toRGB565u8Rotate180V(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    if (height == 0)
    {
        return VISORA_SUCCESS;
    }
    const ptrdiff_t rowBytes = ptrdiff_t{width} * 2;
    uint8_t* lastRow = reinterpret_cast<uint8_t*>(dst) + (ptrdiff_t{height} - 1) * rowBytes;
    const ColorImage image = {src, width, width, height, lastRow, -rowBytes};
    if (HWY_DYNAMIC_DISPATCH(video420ToReversedRgb565)(image, src + size_t{width} * height, width))
    {
        return VISORA_SUCCESS;
    }
    return vsrColorYUV420toRGB565u8Rotate180C(src, width, height, dst);
}

vsrStatus vsrColorYCrCb420PseudoPlanarToRGB8888u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                   uint32_t srcYStride, uint32_t srcCStride, uint32_t* dst,
                                                   uint32_t dstStride)
{
    const ColorImage image = {
        src, srcYStride, srcWidth, srcHeight, reinterpret_cast<uint8_t*>(dst), ptrdiff_t{dstStride & ~uint32_t{3}}};
    if (HWY_DYNAMIC_DISPATCH(video420ToRgba8888)(image, src + size_t{srcYStride} * srcHeight, srcCStride))
    {
        return VISORA_SUCCESS;
    }
    return vsrColorYCrCb420PseudoPlanarToRGB8888u8C(src, srcWidth, srcHeight, srcYStride, srcCStride, dst, dstStride);
}

#define TILES_MEMBER(horizontal, vertical, source)                                                                     \
    vsrStatus vsrColorYCrCb##horizontal##vertical##toRGB888u8V(const uint8_t* source, uint32_t width, uint32_t height, \
                                                               uint8_t* dst)                                           \
    {                                                                                                                  \
        if (HWY_DYNAMIC_DISPATCH(tiles##horizontal##vertical)(source, width, height, dst))                             \
        {                                                                                                              \
            return VISORA_SUCCESS;                                                                                     \
        }                                                                                                              \
        return vsrColorYCrCb##horizontal##vertical##toRGB888u8C(source, width, height, dst);                           \
    }
TILES_MEMBER(H1, V1, src)
TILES_MEMBER(H2, V1, ysrc)
TILES_MEMBER(H1, V2, ysrc)
TILES_MEMBER(H2, V2, y_src)

#endif
