// Morphology with square windows, reference variants.
#include <algorithm>

#include "cpu/visoraScratch.h"
#include "visora/morphology.h"
#include "visora/variants/filter.h"

namespace
{

constexpr auto kLargest = [](uint8_t a, uint8_t b) { return std::max(a, b); };
constexpr auto kSmallest = [](uint8_t a, uint8_t b) { return std::min(a, b); };

struct Rows
{
    const uint8_t* src;
    size_t width;
    size_t height;
    size_t srcStride;
};

// Extremes over the part of each window that lies inside the image, first along the rows, then down the columns.
template <class Extreme>
vsrStatus extremes(const Rows& image, size_t N, uint8_t* dst, size_t dstStride, Extreme extreme)
{
    const auto begin = [=](size_t at) { return at - std::min(at, N / 2); };
    const auto end = [=](size_t at, size_t size) { return std::min(at + N / 2 + 1, size); };
    const visora::Scratch alongRows(image.width * image.height);
    if (!alongRows.data())
    {
        return VISORA_ENOMEM;
    }
    for (size_t y = 0; y < image.height; ++y)
    {
        const uint8_t* row = image.src + y * image.srcStride;
        for (size_t x = 0; x < image.width; ++x)
        {
            uint8_t result = row[x];
            for (size_t i = begin(x); i < end(x, image.width); ++i)
            {
                result = extreme(result, row[i]);
            }
            alongRows.data()[y * image.width + x] = result;
        }
    }
    for (size_t y = 0; y < image.height; ++y)
    {
        for (size_t x = 0; x < image.width; ++x)
        {
            uint8_t result = alongRows.data()[y * image.width + x];
            for (size_t j = begin(y); j < end(y, image.height); ++j)
            {
                result = extreme(result, alongRows.data()[j * image.width + x]);
            }
            dst[y * dstStride + x] = result;
        }
    }
    return VISORA_SUCCESS;
}

template <class First, class Second>
vsrStatus twoExtremes(const Rows& image, size_t N, uint8_t* dst, size_t dstStride, First first, Second second)
{
    const visora::Scratch between(image.width * image.height);
    if (!between.data() || extremes(image, N, between.data(), image.width, first) != VISORA_SUCCESS)
    {
        return VISORA_ENOMEM;
    }
    return extremes({between.data(), image.width, image.height, image.width}, N, dst, dstStride, second);
}

}  // namespace

vsrStatus vsrFilterDilateNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t N, uint8_t* dst, uint32_t dstStride)
{
    return extremes({src, srcWidth, srcHeight, srcStride}, N, dst, dstStride, kLargest);
}

vsrStatus vsrFilterErodeNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t N, uint8_t* dst, uint32_t dstStride)
{
    return extremes({src, srcWidth, srcHeight, srcStride}, N, dst, dstStride, kSmallest);
}

vsrStatus vsrFilterDilate3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint8_t* dst, uint32_t dstStride)
{
    return vsrFilterDilateNxNu8C(src, srcWidth, srcHeight, srcStride, 3, dst, dstStride);
}

vsrStatus vsrFilterErode3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride)
{
    return vsrFilterErodeNxNu8C(src, srcWidth, srcHeight, srcStride, 3, dst, dstStride);
}

vsrStatus vsrFilterOpenNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                              uint8_t* dst, uint32_t dstStride)
{
    return twoExtremes({src, srcWidth, srcHeight, srcStride}, N, dst, dstStride, kSmallest, kLargest);
}

vsrStatus vsrFilterCloseNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t N, uint8_t* dst, uint32_t dstStride)
{
    return twoExtremes({src, srcWidth, srcHeight, srcStride}, N, dst, dstStride, kLargest, kSmallest);
}

vsrStatus vsrFilterTopHatNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t N, vsrTopHatMode mode, uint8_t* dst, uint32_t dstStride)
{
    const bool white = mode == VISORA_TOP_HAT_WHITE;
    const vsrStatus status =
        (white ? vsrFilterOpenNxNu8C : vsrFilterCloseNxNu8C)(src, srcWidth, srcHeight, srcStride, N, dst, dstStride);
    for (size_t y = 0; status == VISORA_SUCCESS && y < srcHeight; ++y)
    {
        for (size_t x = 0; x < srcWidth; ++x)
        {
            const int difference = src[y * srcStride + x] - dst[y * dstStride + x];
            dst[y * dstStride + x] = static_cast<uint8_t>(white ? difference : -difference);
        }
    }
    return status;
}
