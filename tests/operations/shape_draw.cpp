// How to call stable regions, what finds lines, circles, checkerboards and blobs, and drawing.
#include <memory>

#include "operations/shape.h"

namespace visora::test
{
namespace
{

// ---- Stable regions: any image but the handle's own sizes ----

vsrMser* handleFor(Arguments& a)
{
    vsrMser* mser = nullptr;
    const uint32_t minArea = a.choose(1, 12, 30);
    const auto share = [&] { return 0.1f * static_cast<float>(a.random().between(0, 9)); };
    vsrMserCreate(a.shape().width + 3, a.shape().height + 3, a.choose(1, 12, 5), minArea,
                  minArea + a.choose(3000, 4000, 14000), a.shape().typical ? 0.25f : 4 * share(),
                  a.shape().typical ? 0.2f : share(), &mser);
    return a.keep(std::shared_ptr<vsrMser>(mser, vsrMserRelease)).get();
}

struct MserLists
{
    explicit MserLists(Arguments& a)
        : maxRegions(shapeCapacity(a, a.shape().typical ? 20000 : 997)),
          maxPixels(shapeCapacity(a, a.shape().typical ? 64 * a.shape().width * a.shape().height : 19997)),
          regions(shapeNumbers<vsrMserRegion>(a, maxRegions)),
          numRegions(shapeNumbers<uint32_t>(a, 1)),
          pixels(shapeNumbers<uint32_t>(a, 2 * size_t{maxPixels})),
          numPixels(shapeNumbers<uint32_t>(a, 1))
    {
    }

    uint32_t maxRegions;
    uint32_t maxPixels;
    vsrMserRegion* regions;
    uint32_t* numRegions;
    uint32_t* pixels;
    uint32_t* numPixels;
};

void prepareDark(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const MserLists to(a);
    a.call(vsrMserDetectDarku8C, handleFor(a), src.data, src.width, src.height, src.stride, to.regions, to.maxRegions,
           to.numRegions, to.pixels, to.maxPixels, to.numPixels);
}

void prepareColour(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t stride = a.srcStride(3 * width);
    const auto* src = a.made<uint8_t>(3 * size_t{width}, a.shape().height, stride,
                                      [&] { return static_cast<uint8_t>(a.random().between(0, 3) * 20); });
    const MserLists to(a);
    a.call(vsrMserDetectRGB888u8C, handleFor(a), src, width, a.shape().height, stride, to.regions, to.maxRegions,
           to.numRegions, to.pixels, to.maxPixels, to.numPixels);
}

void prepareBoth(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const MserLists to(a);
    a.call(vsrMserDetectu8C, handleFor(a), src.data, src.width, src.height, src.stride, to.regions,
           shapeNumbers<uint8_t>(a, to.maxRegions), to.maxRegions, to.numRegions, to.pixels, to.maxPixels,
           to.numPixels);
}

void prepareSplit(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const MserLists dark(a);
    const MserLists bright(a);
    a.call(vsrMserSplitu8C, handleFor(a), src.data, src.width, src.height, src.stride, dark.regions, dark.maxRegions,
           dark.numRegions, dark.pixels, dark.maxPixels, dark.numPixels, bright.regions, bright.maxRegions,
           bright.numRegions, bright.pixels, bright.maxPixels, bright.numPixels);
}

template <auto kernel>
void prepareTraits(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const MserLists dark(a);
    const MserLists bright(a);
    a.call(kernel, handleFor(a), src.data, src.width, src.height, src.stride, dark.regions,
           shapeNumbers<vsrMserTrait>(a, dark.maxRegions), dark.maxRegions, dark.numRegions, dark.pixels,
           dark.maxPixels, dark.numPixels, bright.regions, shapeNumbers<vsrMserTrait>(a, bright.maxRegions),
           bright.maxRegions, bright.numRegions, bright.pixels, bright.maxPixels, bright.numPixels);
}

struct ListedRegions
{
    explicit ListedRegions(Arguments& a) : count(a.choose(13, 40, 1000)), numPixels(a.choose(300, 600, 100000))
    {
        std::vector<vsrMserRegion> regions(count);
        for (vsrMserRegion& region : regions)
        {
            region.firstPixel = a.random().between(0, numPixels);
            region.numPixels = a.random().between(0, std::min(numPixels - region.firstPixel, 2000u));
        }
        std::vector<uint32_t> xy(2 * size_t{numPixels});
        for (uint32_t& v : xy)
        {
            v = a.random().between(0, 2 * a.shape().width);
        }
        list = a.given(regions);
        pixels = a.given(xy);
    }

    uint32_t count;
    uint32_t numPixels;
    const vsrMserRegion* list;
    const uint32_t* pixels;
};

void prepareEllipses(Arguments& a)
{
    const ListedRegions regions(a);
    a.call(vsrMserEllipsesf32C, regions.list, regions.count, regions.pixels, regions.numPixels,
           shapeNumbers<vsrEllipse>(a, regions.count));
}

void prepareRegionMask(Arguments& a)
{
    const ListedRegions regions(a);
    const uint32_t stride = a.dstStride(a.shape().width);
    a.call(vsrMserMasku8C, regions.list, regions.count, regions.pixels, regions.numPixels,
           a.output<uint8_t>(a.shape().width, a.shape().height, stride), a.shape().width, a.shape().height, stride);
}

const Register stableRegions({
    {REFERENCE_ALONE(vsrMserDetectDarku8), ownShapeUnits(prepareDark, {6, 9})},
    {REFERENCE_ALONE(vsrMserDetectRGB888u8), ownShapeUnits(prepareColour, {6, 9})},
    {REFERENCE_ALONE(vsrMserDetectu8), ownShapeUnits(prepareBoth, {7, 10})},
    {REFERENCE_ALONE(vsrMserSplitu8), ownShapeUnits(prepareSplit, {6, 9, 12, 15})},
    {REFERENCE_ALONE(vsrMserSplitExtu8), ownShapeUnits(prepareTraits<vsrMserSplitExtu8C>, {7, 10, 14, 17})},
    {REFERENCE_ALONE(vsrMserSplitExtu8ST), prepareTraits<vsrMserSplitExtu8STC>},
    {REFERENCE_ALONE(vsrMserEllipsesf32), ownShapeUnits(prepareEllipses, {1, 3})},
    {REFERENCE_ALONE(vsrMserMasku8), ownShapeUnits(prepareRegionMask, {1, 3})},
});

// ---- Lines ----

// Outlines in benchmarks, a mask of any kind in tests.
ShapePicture<> edgesFor(Arguments& a)
{
    const uint32_t width = a.shape().width;
    uint32_t i = 0;
    return !a.shape().typical ? shapeMask(a)
                              : ShapePicture<>(a,
                                               [&]
                                               {
                                                   const uint8_t pixel = outlineAt(i % width, i / width, kTypicalCell);
                                                   ++i;
                                                   return pixel;
                                               });
}

void prepareLines(Arguments& a)
{
    const ShapePicture src = edgesFor(a);
    const uint32_t capacity = shapeCapacity(a, 997);
    const float rhoStep = a.shape().typical ? 1 : 0.5f * static_cast<float>(a.random().between(1, 9));
    const float thetaStep = a.shape().typical ? 1 : 0.7f * static_cast<float>(a.random().between(2, 40));
    auto* lines = shapeNumbers<float>(a, 2 * size_t{capacity});
    auto* votes = shapeNumbers<uint32_t>(a, capacity);
    a.call(vsrHoughLinesu8C, src.data, src.width, src.height, src.stride, rhoStep, thetaStep, a.choose(0, 9, 100),
           lines, votes, capacity, shapeNumbers<uint32_t>(a, 1));
}

void prepareSegments(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const uint32_t capacity = shapeCapacity(a, 9997);
    auto* segments = shapeNumbers<float>(a, 5 * size_t{capacity});
    a.call(vsrFindLineSegmentsu8C, src.data, src.width, src.height, src.stride, a.choose(0, 12, 10), 22.5f, 10.0f, 0.6f,
           segments, capacity, shapeNumbers<uint32_t>(a, 1));
}

void prepareCircles(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t capacity = shapeCapacity(a, 997);
    const uint32_t minRadius = a.choose(1, 12, 8);
    auto* circles = shapeNumbers<float>(a, 3 * size_t{capacity});
    auto* votes = shapeNumbers<uint32_t>(a, capacity);
    a.call(vsrHoughCirclesu8C, src.data, src.width, src.height, src.stride, a.choose(0, 4, 1), 100u,
           a.choose(0, 12, 30), minRadius, minRadius + a.choose(0, 9, 22), static_cast<float>(a.choose(0, 9, 20)),
           circles, votes, capacity, shapeNumbers<uint32_t>(a, 1));
}

// A board that fills the picture, a little sheared, with noise.
void prepareBoard(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t square = a.choose(11, 24, 60);
    const auto columns =
        static_cast<uint32_t>(std::clamp((static_cast<int>(width) - 12) / static_cast<int>(square), 2, 9));
    const auto rows =
        static_cast<uint32_t>(std::clamp((static_cast<int>(a.shape().height) - 12) / static_cast<int>(square), 2, 9));
    uint32_t i = 0;
    const ShapePicture<> src(a,
                             [&]
                             {
                                 const uint32_t x = i % width + i / width / 9;
                                 const uint32_t y = i / width + i % width / 11;
                                 ++i;
                                 const bool isLight = (x / square + y / square) % 2 == 0 &&
                                                      x < square * (columns + 1) && y < square * (rows + 1);
                                 return static_cast<uint8_t>((isLight ? 200 : 50) + a.random().between(0, 4));
                             });
    a.call(vsrCheckerboardCornersu8C, src.data, src.width, src.height, src.stride, columns, rows,
           shapeNumbers<float>(a, 2 * size_t{columns} * rows), shapeNumbers<uint32_t>(a, 1));
}

void prepareBlobs(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const uint32_t capacity = shapeCapacity(a, 997);
    const std::vector<vsrBlobParameters> parameters = {
        {10, 230, a.choose(9, 100, 20), a.choose(0, 1, 0), 5, 5000, 0.3f, 0.5f, 10, 2}};
    a.call(vsrFindBlobsu8C, src.data, src.width, src.height, src.stride, a.given(parameters),
           shapeNumbers<vsrBlob>(a, capacity), capacity, shapeNumbers<uint32_t>(a, 1));
}

const Register lines({
    {VISORA_OPERATION(vsrHoughLinesu8), ownShapeUnits(prepareLines, {9})},
    {VISORA_OPERATION(vsrHoughCirclesu8), ownShapeUnits(prepareCircles, {8, 12})},
    {REFERENCE_ALONE(vsrFindLineSegmentsu8), ownShapeUnits(prepareSegments, {9})},
    {VISORA_OPERATION(vsrFindBlobsu8), ownShapeUnits(prepareBlobs, {6})},
    {REFERENCE_ALONE(vsrCheckerboardCornersu8), ownShapeUnits(prepareBoard)},
});

// ---- Drawing ----

struct DrawnImage
{
    explicit DrawnImage(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          channels(a.choose(1, 4, 3)),
          stride(a.dstStride(channels * width)),
          data(a.output<uint8_t>(size_t{channels} * width, height, stride)),
          color(a.input<uint8_t>(channels, 1, channels))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t channels;
    uint32_t stride;
    uint8_t* data;
    const uint8_t* color;
};

std::vector<int32_t> someCoordinates(Arguments& a, size_t count)
{
    std::vector<int32_t> xy(count);
    const auto reach = static_cast<int32_t>(2 * a.shape().width);
    for (int32_t& v : xy)
    {
        v = static_cast<int32_t>(a.random().between(0, static_cast<uint32_t>(2 * reach))) - reach;
    }
    return xy;
}

template <uint32_t thickness, uint32_t antialias>
void prepareLine(Arguments& a)
{
    const DrawnImage to(a);
    const std::vector<int32_t> xy = a.shape().typical ? std::vector<int32_t>{3, 5, static_cast<int32_t>(to.width) - 9,
                                                                             static_cast<int32_t>(to.height) - 7}
                                                      : someCoordinates(a, 4);
    a.call(vsrDrawLineu8C, to.data, to.width, to.height, to.stride, to.channels, xy[0], xy[1], xy[2], xy[3], to.color,
           thickness, antialias);
}

struct DrawnChains
{
    explicit DrawnChains(Arguments& a)
    {
        const std::vector<uint32_t> list =
            a.shape().typical ? std::vector<uint32_t>{60} : std::vector<uint32_t>{3, 0, 1, 7};
        xy = a.given(a.shape().typical ? typicalStar(a.shape().width, a.shape().height) : someCoordinates(a, 22));
        lengths = a.given(list);
        count = static_cast<uint32_t>(list.size());
    }

    const int32_t* xy;
    const uint32_t* lengths;
    uint32_t count;
};

void preparePolyline(Arguments& a)
{
    const DrawnImage to(a);
    const DrawnChains chains(a);
    a.call(vsrDrawPolylineu8C, to.data, to.width, to.height, to.stride, to.channels, chains.xy, chains.lengths,
           chains.count, 1u, to.color, a.choose(1, 3, 1), 0u);
}

void prepareFilled(Arguments& a)
{
    const DrawnImage to(a);
    const DrawnChains chains(a);
    a.call(vsrFillPolygonu8C, to.data, to.width, to.height, to.stride, to.channels, chains.xy, chains.lengths,
           chains.count, to.color);
}

void prepareEllipse(Arguments& a)
{
    const DrawnImage to(a);
    const auto half = static_cast<float>(to.width) / 2;
    const std::vector<vsrEllipse> ellipse = {{half, half, half, half / 3, 30}};
    a.call(vsrDrawEllipseu8C, to.data, to.width, to.height, to.stride, to.channels, a.given(ellipse), 10.0f,
           a.random().oneIn(2) ? 600.0f : 222.0f, to.color, a.choose(0, 3, 1));
}

const Register drawings({
    {VISORA_OPERATION(vsrDrawLineu8), ownShapeUnits(prepareLine<1, 0>), "thin"},
    {VISORA_OPERATION(vsrDrawLineu8), ownShapeUnits(prepareLine<9, 0>), "thick"},
    {VISORA_OPERATION(vsrDrawLineu8), ownShapeUnits(prepareLine<1, 1>), "smooth"},
    {VISORA_OPERATION(vsrDrawPolylineu8), ownShapeUnits(preparePolyline)},
    {REFERENCE_ALONE(vsrFillPolygonu8), ownShapeUnits(prepareFilled)},
    {VISORA_OPERATION(vsrDrawEllipseu8), ownShapeUnits(prepareEllipse)},
});

}  // namespace
}  // namespace visora::test
