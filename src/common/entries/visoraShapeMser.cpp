// Entry points of stable regions.
#include "common/entries/visoraShapeEntries.h"
#include "platform/android/visoraHeap.h"
#include "visora/variants/shape.h"

using visora::Array;
using visora::atLeastOne;
using visora::hasShapeSides;
using visora::In;
using visora::Out;
using visora::Result;
using visora::resultList;

namespace
{

constexpr uint64_t kMostMserPixels = 1u << 28;

bool fits(const vsrMser* mser, uint32_t width, uint32_t height)
{
    return mser && width <= mser->parameters[0] && height <= mser->parameters[1];
}

// Whether all regions, whose pointer may be bad, lie in a list of so many pixels.
bool holdsRegions(const vsrMserRegion* regions, uint32_t numRegions, uint32_t numPixels)
{
    return !regions || std::all_of(regions, regions + numRegions,
                                   [=](const vsrMserRegion& region)
                                   { return uint64_t{region.firstPixel} + region.numPixels <= numPixels; });
}

template <uint32_t channels>
constexpr auto detect = [](auto open, vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                           uint32_t srcStride, vsrMserRegion* regions, uint32_t maxRegions, uint32_t* numRegions,
                           uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels)
{
    const Array handle(mser);
    const In in(src, srcWidth, srcHeight, srcStride, channels);
    const Result regionList = resultList(regions, maxRegions);
    const Result regionCount(numRegions);
    const Result pixelList = resultList(pixels, 2 * uint64_t{maxPixels});
    const Result pixelCount(numPixels);
    return open(handle, in, regionList, regionCount, pixelList, pixelCount)
        .require(fits(mser, srcWidth, srcHeight))
        .run(mser, src, srcWidth, srcHeight, in.stride(), regions, maxRegions, numRegions, pixels, maxPixels,
             numPixels);
};

}  // namespace

vsrStatus vsrMserCreate(uint32_t maxWidth, uint32_t maxHeight, uint32_t delta, uint32_t minArea, uint32_t maxArea,
                        float maxVariation, float minDiversity, vsrMser** mser)
{
    // A pointer is written.
    const Result handle(reinterpret_cast<uintptr_t*>(mser));
    return VSR_CALL(vsrMserCreate, handle)
        .require(maxWidth != 0 && maxHeight != 0 && hasShapeSides(maxWidth, maxHeight) &&
                 uint64_t{maxWidth} * maxHeight <= kMostMserPixels && delta >= 1 && delta <= 255 && minArea >= 1 &&
                 minArea <= maxArea && std::isfinite(maxVariation) && maxVariation >= 0 && minDiversity >= 0 &&
                 minDiversity <= 1)
        .run(maxWidth, maxHeight, delta, minArea, maxArea, maxVariation, minDiversity, mser);
}

vsrStatus vsrMserRelease(vsrMser* mser)
{
    visora::heapFree(mser);
    return mser ? VISORA_SUCCESS : VISORA_EBADPARAM;
}

VSR_ENTRY(vsrMserDetectDarku8, vsrMserDetectDarku8, detect<1>);
VSR_ENTRY(vsrMserDetectRGB888u8, vsrMserDetectRGB888u8, detect<3>);

vsrStatus vsrMserDetectu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          vsrMserRegion* regions, uint8_t* bright, uint32_t maxRegions, uint32_t* numRegions,
                          uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels)
{
    const Array handle(mser);
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result regionList = resultList(regions, maxRegions);
    const Result brightList = resultList(bright, maxRegions);
    const Result regionCount(numRegions);
    const Result pixelList = resultList(pixels, 2 * uint64_t{maxPixels});
    const Result pixelCount(numPixels);
    return VSR_CALL(vsrMserDetectu8, handle, in, regionList, brightList, regionCount, pixelList, pixelCount)
        .require(fits(mser, srcWidth, srcHeight))
        .run(mser, src, srcWidth, srcHeight, in.stride(), regions, bright, maxRegions, numRegions, pixels, maxPixels,
             numPixels);
}

vsrStatus vsrMserSplitu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         vsrMserRegion* darkRegions, uint32_t maxDarkRegions, uint32_t* numDarkRegions,
                         uint32_t* darkPixels, uint32_t maxDarkPixels, uint32_t* numDarkPixels,
                         vsrMserRegion* brightRegions, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                         uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels)
{
    const Array handle(mser);
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result darkList = resultList(darkRegions, maxDarkRegions);
    const Result darkCount(numDarkRegions);
    const Result darkPixelList = resultList(darkPixels, 2 * uint64_t{maxDarkPixels});
    const Result darkPixelCount(numDarkPixels);
    const Result brightList = resultList(brightRegions, maxBrightRegions);
    const Result brightCount(numBrightRegions);
    const Result brightPixelList = resultList(brightPixels, 2 * uint64_t{maxBrightPixels});
    const Result brightPixelCount(numBrightPixels);
    return VSR_CALL(vsrMserSplitu8, handle, in, darkList, darkCount, darkPixelList, darkPixelCount, brightList,
                    brightCount, brightPixelList, brightPixelCount)
        .require(fits(mser, srcWidth, srcHeight))
        .run(mser, src, srcWidth, srcHeight, in.stride(), darkRegions, maxDarkRegions, numDarkRegions, darkPixels,
             maxDarkPixels, numDarkPixels, brightRegions, maxBrightRegions, numBrightRegions, brightPixels,
             maxBrightPixels, numBrightPixels);
}

vsrStatus vsrMserSplitExtu8(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t srcStride, vsrMserRegion* darkRegions, vsrMserTrait* darkTraits,
                            uint32_t maxDarkRegions, uint32_t* numDarkRegions, uint32_t* darkPixels,
                            uint32_t maxDarkPixels, uint32_t* numDarkPixels, vsrMserRegion* brightRegions,
                            vsrMserTrait* brightTraits, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                            uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels)
{
    const Array handle(mser);
    const In in(src, srcWidth, srcHeight, srcStride);
    const Result darkList = resultList(darkRegions, maxDarkRegions);
    const Result darkTraitList = resultList(darkTraits, maxDarkRegions);
    const Result darkCount(numDarkRegions);
    const Result darkPixelList = resultList(darkPixels, 2 * uint64_t{maxDarkPixels});
    const Result darkPixelCount(numDarkPixels);
    const Result brightList = resultList(brightRegions, maxBrightRegions);
    const Result brightTraitList = resultList(brightTraits, maxBrightRegions);
    const Result brightCount(numBrightRegions);
    const Result brightPixelList = resultList(brightPixels, 2 * uint64_t{maxBrightPixels});
    const Result brightPixelCount(numBrightPixels);
    return VSR_CALL(vsrMserSplitExtu8, handle, in, darkList, darkTraitList, darkCount, darkPixelList, darkPixelCount,
                    brightList, brightTraitList, brightCount, brightPixelList, brightPixelCount)
        .require(fits(mser, srcWidth, srcHeight))
        .run(mser, src, srcWidth, srcHeight, in.stride(), darkRegions, darkTraits, maxDarkRegions, numDarkRegions,
             darkPixels, maxDarkPixels, numDarkPixels, brightRegions, brightTraits, maxBrightRegions, numBrightRegions,
             brightPixels, maxBrightPixels, numBrightPixels);
}

vsrStatus vsrMserEllipsesf32(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels,
                             uint32_t numPixels, vsrEllipse* ellipses)
{
    const Array regionList(regions, atLeastOne(numRegions));
    const Array pixelList(pixels, atLeastOne(2 * uint64_t{numPixels}));
    const Result list = resultList(ellipses, numRegions);
    return VSR_CALL(vsrMserEllipsesf32, regionList, pixelList, list)
        .require(holdsRegions(regions, numRegions, numPixels))
        .run(regions, numRegions, pixels, numPixels, ellipses);
}

vsrStatus vsrMserMasku8(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels, uint32_t numPixels,
                        uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const Array regionList(regions, atLeastOne(numRegions));
    const Array pixelList(pixels, atLeastOne(2 * uint64_t{numPixels}));
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrMserMasku8, regionList, pixelList, out)
        .require(hasShapeSides(dstWidth, dstHeight) && holdsRegions(regions, numRegions, numPixels))
        .run(regions, numRegions, pixels, numPixels, dst, dstWidth, dstHeight, out.stride());
}
