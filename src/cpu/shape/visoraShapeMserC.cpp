// Maximally stable regions, reference variants.
#include <bit>
#include <new>

#include "cpu/shape/visoraShapeMserChoice.h"
#include "cpu/visoraDegrees.h"
#include "cpu/visoraDrivers.h"
#include "platform/android/visoraHeap.h"
#include "visora/variants/shape.h"

namespace
{

using visora::MserChoice;
using visora::MserList;
using visora::MserTree;
using visora::partBytes;

// The work memory behind a handle.
class MserWork
{
  public:
    static size_t pixelsOf(uint32_t width, uint32_t height) { return (size_t{width} + 2) * (size_t{height} + 2); }

    // A colour image of n pixels has up to 2 n - 1 distinct regions, a grey one no more than pixels.
    static size_t bytes(uint32_t maxWidth, uint32_t maxHeight)
    {
        const size_t pixels = pixelsOf(maxWidth, maxHeight);
        const size_t nodes = 2 * pixels;
        return partBytes<vsrMser>(1) + kAlignment + 6 * partBytes<uint32_t>(nodes) + partBytes<uint32_t>(2 * nodes) +
               2 * partBytes<uint8_t>(nodes) + 3 * partBytes<uint32_t>(pixels) + partBytes<uint32_t>(2 * pixels) +
               partBytes<uint16_t>(pixels);
    }

    MserWork(vsrMser* mser, uint32_t width, uint32_t height) : parameters_(*mser)
    {
        const size_t pixels = pixelsOf(mser->parameters[0], mser->parameters[1]);
        const size_t nodes = 2 * pixels;
        const uintptr_t behind = reinterpret_cast<uintptr_t>(mser) + partBytes<vsrMser>(1) + kAlignment - 1;
        next_ = reinterpret_cast<uint8_t*>(behind / kAlignment * kAlignment);
        tree_ = {width,
                 height,
                 size_t{width} + 2,
                 take<uint32_t>(nodes),
                 take<uint32_t>(nodes),
                 take<uint32_t>(nodes),
                 take<uint8_t>(nodes),
                 take<uint32_t>(pixels)};
        room_.grown = take<uint32_t>(nodes);
        room_.starts = take<uint32_t>(nodes);
        room_.cursors = take<uint32_t>(nodes);
        room_.nodes = take<uint32_t>(2 * nodes);
        room_.states = take<uint8_t>(nodes);
        sets_ = take<uint32_t>(pixels);
        tops_ = take<uint32_t>(pixels);
        edges_ = take<uint32_t>(2 * pixels);
        states_ = take<uint16_t>(pixels);
        // Nobody needs the edges any more when regions are chosen.
        room_.points = edges_;
    }

    void listGrey(const uint8_t* src, uint32_t srcStride, bool isBright, MserList& to)
    {
        visora::MserFlood(tree_, states_, sets_).run(src, srcStride, isBright ? 255 : 0);
        MserChoice(tree_, parameters_, room_).list(to, isBright);
    }

    void listColour(const uint8_t* src, uint32_t srcStride, MserList& to)
    {
        visora::MserJoin(tree_, sets_, tops_, edges_).run(src, srcStride);
        MserChoice(tree_, parameters_, room_).list(to, false);
    }

  private:
    static constexpr uintptr_t kAlignment = 64;

    template <class T>
    T* take(size_t count)
    {
        T* part = reinterpret_cast<T*>(next_);
        next_ += partBytes<T>(count);
        return part;
    }

    visora::MserParameters parameters_;
    uint8_t* next_;
    MserTree tree_{};
    visora::MserRoom room_{};
    uint32_t* sets_;  // or the shore
    uint32_t* tops_;
    uint32_t* edges_;
    uint16_t* states_;
};

}  // namespace

vsrStatus vsrMserCreateC(uint32_t maxWidth, uint32_t maxHeight, uint32_t delta, uint32_t minArea, uint32_t maxArea,
                         float maxVariation, float minDiversity, vsrMser** mser)
{
    void* const memory = visora::heapAllocate(MserWork::bytes(maxWidth, maxHeight));
    *mser = nullptr;
    if (!memory)
    {
        return VISORA_ENOMEM;
    }
    *mser = new (memory) vsrMser{{maxWidth, maxHeight, delta, minArea, maxArea, std::bit_cast<uint32_t>(maxVariation),
                                  std::bit_cast<uint32_t>(minDiversity), 0}};
    return VISORA_SUCCESS;
}

vsrStatus vsrMserDetectDarku8C(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, vsrMserRegion* regions, uint32_t maxRegions, uint32_t* numRegions,
                               uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels)
{
    MserList list{regions, nullptr, nullptr, maxRegions, pixels, maxPixels};
    MserWork(mser, srcWidth, srcHeight).listGrey(src, srcStride, false, list);
    *numRegions = list.numRegions;
    *numPixels = list.numPixels;
    return VISORA_SUCCESS;
}

vsrStatus vsrMserDetectRGB888u8C(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, vsrMserRegion* regions, uint32_t maxRegions, uint32_t* numRegions,
                                 uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels)
{
    MserList list{regions, nullptr, nullptr, maxRegions, pixels, maxPixels};
    MserWork(mser, srcWidth, srcHeight).listColour(src, srcStride, list);
    *numRegions = list.numRegions;
    *numPixels = list.numPixels;
    return VISORA_SUCCESS;
}

vsrStatus vsrMserDetectu8C(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           vsrMserRegion* regions, uint8_t* bright, uint32_t maxRegions, uint32_t* numRegions,
                           uint32_t* pixels, uint32_t maxPixels, uint32_t* numPixels)
{
    MserList list{regions, nullptr, bright, maxRegions, pixels, maxPixels};
    MserWork(mser, srcWidth, srcHeight).listGrey(src, srcStride, false, list);
    if (!list.isCut)
    {
        MserWork(mser, srcWidth, srcHeight).listGrey(src, srcStride, true, list);
    }
    *numRegions = list.numRegions;
    *numPixels = list.numPixels;
    return VISORA_SUCCESS;
}

vsrStatus vsrMserSplitu8C(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          vsrMserRegion* darkRegions, uint32_t maxDarkRegions, uint32_t* numDarkRegions,
                          uint32_t* darkPixels, uint32_t maxDarkPixels, uint32_t* numDarkPixels,
                          vsrMserRegion* brightRegions, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                          uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels)
{
    return vsrMserSplitExtu8STC(mser, src, srcWidth, srcHeight, srcStride, darkRegions, nullptr, maxDarkRegions,
                                numDarkRegions, darkPixels, maxDarkPixels, numDarkPixels, brightRegions, nullptr,
                                maxBrightRegions, numBrightRegions, brightPixels, maxBrightPixels, numBrightPixels);
}

// A polarity without lists is left out, and so are traits without a list.
vsrStatus vsrMserSplitExtu8STC(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, vsrMserRegion* darkRegions, vsrMserTrait* darkTraits,
                               uint32_t maxDarkRegions, uint32_t* numDarkRegions, uint32_t* darkPixels,
                               uint32_t maxDarkPixels, uint32_t* numDarkPixels, vsrMserRegion* brightRegions,
                               vsrMserTrait* brightTraits, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                               uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels)
{
    if (darkRegions)
    {
        MserList dark{darkRegions, darkTraits, nullptr, maxDarkRegions, darkPixels, maxDarkPixels};
        MserWork(mser, srcWidth, srcHeight).listGrey(src, srcStride, false, dark);
        *numDarkRegions = dark.numRegions;
        *numDarkPixels = dark.numPixels;
    }
    if (brightRegions)
    {
        MserList bright{brightRegions, brightTraits, nullptr, maxBrightRegions, brightPixels, maxBrightPixels};
        MserWork(mser, srcWidth, srcHeight).listGrey(src, srcStride, true, bright);
        *numBrightRegions = bright.numRegions;
        *numBrightPixels = bright.numPixels;
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrMserSplitExtu8C(vsrMser* mser, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, vsrMserRegion* darkRegions, vsrMserTrait* darkTraits,
                             uint32_t maxDarkRegions, uint32_t* numDarkRegions, uint32_t* darkPixels,
                             uint32_t maxDarkPixels, uint32_t* numDarkPixels, vsrMserRegion* brightRegions,
                             vsrMserTrait* brightTraits, uint32_t maxBrightRegions, uint32_t* numBrightRegions,
                             uint32_t* brightPixels, uint32_t maxBrightPixels, uint32_t* numBrightPixels)
{
    return vsrMserSplitExtu8STC(mser, src, srcWidth, srcHeight, srcStride, darkRegions, darkTraits, maxDarkRegions,
                                numDarkRegions, darkPixels, maxDarkPixels, numDarkPixels, brightRegions, brightTraits,
                                maxBrightRegions, numBrightRegions, brightPixels, maxBrightPixels, numBrightPixels);
}

// ---- What is made of regions ----

namespace
{

// Holds the squares of any coordinates.
__extension__ using Wide = __int128;

vsrEllipse ellipseOf(const uint32_t* xy, uint32_t count)
{
    int64_t sx = 0;
    int64_t sy = 0;
    Wide sxx = 0;
    Wide sxy = 0;
    Wide syy = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const int64_t dx = int64_t{xy[2 * i]} - xy[0];
        const int64_t dy = int64_t{xy[2 * i + 1]} - xy[1];
        sx += dx;
        sy += dy;
        sxx += Wide{dx} * dx;
        sxy += Wide{dx} * dy;
        syy += Wide{dy} * dy;
    }
    const double n = count;
    const double mx = static_cast<double>(sx) / n;
    const double my = static_cast<double>(sy) / n;
    const double a = static_cast<double>(sxx) / n - mx * mx;
    const double b = static_cast<double>(sxy) / n - mx * my;
    const double c = static_cast<double>(syy) / n - my * my;
    const double d = a - c;
    const double h = std::sqrt(d * d + 4.0 * (b * b));
    const auto radius = [](double v) { return static_cast<float>(v > 0 ? 2.0 * std::sqrt(v) : 0); };
    double angle = h == 0 ? 0 : 0.5 * visora::angleOf(2.0 * b, d);
    angle = angle < 0 ? angle + 180 : angle;
    const auto rounded = static_cast<float>(angle);
    return {static_cast<float>(xy[0] + mx), static_cast<float>(xy[1] + my), radius(0.5 * ((a + c) + h)),
            radius(0.5 * ((a + c) - h)), rounded < 180 ? rounded : 0};
}

}  // namespace

vsrStatus vsrMserEllipsesf32C(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels,
                              uint32_t /*numPixels*/, vsrEllipse* ellipses)
{
    for (uint32_t i = 0; i < numRegions; ++i)
    {
        const vsrMserRegion& region = regions[i];
        ellipses[i] =
            region.numPixels == 0 ? vsrEllipse{} : ellipseOf(pixels + 2 * size_t{region.firstPixel}, region.numPixels);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrMserMasku8C(const vsrMserRegion* regions, uint32_t numRegions, const uint32_t* pixels,
                         uint32_t /*numPixels*/, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                         uint32_t dstStride)
{
    const visora::Scratch scratch(partBytes<uint32_t>(size_t{numRegions} + 1));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const order = scratch.as<uint32_t>();
    for (uint32_t i = 0; i < numRegions; ++i)
    {
        order[i] = i;
    }
    std::sort(
        order, order + numRegions,
        [regions](uint32_t a, uint32_t b)
        { return regions[a].numPixels != regions[b].numPixels ? regions[a].numPixels > regions[b].numPixels : a < b; });
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        std::memset(visora::imageRow(dst, dstStride, y), 0, dstWidth);
    }
    for (uint32_t i = 0; i < numRegions; ++i)
    {
        const vsrMserRegion& region = regions[order[i]];
        const uint32_t* xy = pixels + 2 * size_t{region.firstPixel};
        for (uint32_t p = 0; p < region.numPixels; ++p, xy += 2)
        {
            if (xy[0] < dstWidth && xy[1] < dstHeight)
            {
                visora::imageRow(dst, dstStride, xy[1])[xy[0]] = static_cast<uint8_t>(1 + order[i] % 255);
            }
        }
    }
    return VISORA_SUCCESS;
}
