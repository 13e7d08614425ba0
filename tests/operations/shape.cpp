// How to call the operations on regions, distances, edges and peaks.
#include "operations/shape.h"

#include <cmath>

namespace visora::test
{

uint8_t blobAt(uint32_t x, uint32_t y, uint32_t cell)
{
    Random random(uint64_t{x / cell} << 32 | y / cell);
    const double radius = cell * 0.01 * random.between(10, 55);
    const double hole = random.oneIn(3) ? radius * 0.01 * random.between(20, 80) : 0;
    const double dx = x % cell - cell * 0.01 * random.between(40, 60);
    const double dy = y % cell - cell * 0.01 * random.between(40, 60);
    const double distance = std::sqrt(dx * dx + dy * dy);
    return distance <= radius && distance >= hole ? 255 : 0;
}

std::vector<int32_t> typicalStar(uint32_t width, uint32_t height)
{
    constexpr int kPoints = 60;
    std::vector<int32_t> xy;
    for (int i = 0; i < kPoints; ++i)
    {
        const double reach = i % 2 == 0 ? 0.48 : 0.25;
        const double angle = i * 2 * M_PI / kPoints;
        xy.push_back(static_cast<int32_t>(width * (0.5 + reach * std::cos(angle))));
        xy.push_back(static_cast<int32_t>(height * (0.5 + reach * std::sin(angle))));
    }
    return xy;
}

ShapePicture<> shapeMask(Arguments& a)
{
    Random& random = a.random();
    const uint32_t width = a.shape().width;
    uint32_t i = 0;
    if (a.shape().typical || random.oneIn(2))
    {
        const uint32_t cell = a.shape().typical ? kTypicalCell : random.between(3, 40);
        return ShapePicture<>(a,
                              [&, cell]
                              {
                                  const uint8_t pixel = blobAt(i % width, i / width, cell);
                                  ++i;
                                  return pixel;
                              });
    }
    const uint32_t density = random.between(0, 16);
    return ShapePicture<>(
        a,
        [&, density] { return static_cast<uint8_t>(random.between(1, 16) <= density ? random.between(1, 255) : 0); });
}

ShapePicture<> shapeScene(Arguments& a)
{
    Random& random = a.random();
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    uint32_t i = 0;
    if (a.shape().typical || random.oneIn(3))
    {
        std::vector<uint8_t> scene(size_t{width} * height);
        drawScene(scene.data(), width, height, width);
        return ShapePicture<>(a, [&] { return scene[i++]; });
    }
    const uint32_t levels = random.oneIn(2) ? 256 : random.between(2, 9);
    const uint32_t patch = random.between(1, 5);
    const uint64_t seed = random.next();
    return ShapePicture<>(a,
                          [&, levels, patch, seed]
                          {
                              Random level(seed ^ (uint64_t{i / width / patch} << 32 | i % width / patch));
                              ++i;
                              return static_cast<uint8_t>(level.between(0, levels - 1) * (255 / (levels - 1)));
                          });
}

namespace
{

// ---- Regions and contours ----

void prepareNonZero(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t capacity = shapeCapacity(a, src.width * src.height);
    auto* xy = shapeNumbers<uint32_t>(a, 2 * size_t{capacity});
    a.call(vsrFindNonZerou8C, src.data, src.width, src.height, src.stride, xy, capacity, shapeNumbers<uint32_t>(a, 1));
}

template <uint32_t connectivity>
void prepareComponents(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t stride = a.dstStride(4 * src.width, 4);
    auto* labels = a.output<uint32_t>(src.width, src.height, stride);
    const uint32_t capacity = shapeCapacity(a, src.width * src.height / 2 + 1);
    a.call(vsrFindConnectedComponentsu8C, src.data, src.width, src.height, src.stride, connectivity, labels, stride,
           shapeNumbers<vsrComponent>(a, capacity), capacity, shapeNumbers<uint32_t>(a, 1));
}

template <uint32_t chain>
void prepareContours(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t contours = shapeCapacity(a, src.width * src.height / 2 + 1);
    const uint32_t points = shapeCapacity(a, 4 * src.width * src.height);
    auto* lengths = shapeNumbers<uint32_t>(a, contours);
    auto* links = shapeNumbers<vsrContourLinks>(a, contours);
    auto* numContours = shapeNumbers<uint32_t>(a, 1);
    auto* xy = shapeNumbers<int32_t>(a, 2 * size_t{points});
    a.call(vsrFindContoursu8C, src.data, src.width, src.height, src.stride, chain, lengths, links, contours,
           numContours, xy, points, shapeNumbers<uint32_t>(a, 1));
}

template <auto kernel, uint32_t parameter>
void prepareChains(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t contours = shapeCapacity(a, src.width * src.height / 2 + 1);
    const uint32_t points = shapeCapacity(a, 4 * src.width * src.height);
    auto* lengths = shapeNumbers<uint32_t>(a, contours);
    auto* numContours = shapeNumbers<uint32_t>(a, 1);
    auto* xy = shapeNumbers<int32_t>(a, 2 * size_t{points});
    a.call(kernel, src.data, src.width, src.height, src.stride, parameter, lengths, contours, numContours, xy, points,
           shapeNumbers<uint32_t>(a, 1));
}

void prepareMeasures(Arguments& a)
{
    const uint32_t count = a.shape().typical ? 1000 : a.shape().width;
    const bool isWild = !a.shape().typical && a.random().oneIn(4);
    std::vector<int32_t> xy(2 * size_t{count});
    for (int32_t& v : xy)
    {
        v = static_cast<int32_t>(isWild ? a.random().next() : a.random().between(0, 600));
    }
    a.call(vsrContourMeasures32C, a.given(xy), count, shapeNumbers<vsrContourMeasure>(a, 1));
}

const Register regions({
    {VISORA_OPERATION(vsrFindNonZerou8), ownShapeUnits(prepareNonZero, {5})},
    {VISORA_OPERATION(vsrFindConnectedComponentsu8), ownShapeUnits(prepareComponents<4>, {7, 8}), "4"},
    {VISORA_OPERATION(vsrFindConnectedComponentsu8), ownShapeUnits(prepareComponents<8>, {7, 8}), "8"},
    {VISORA_OPERATION(vsrFindContoursu8), ownShapeUnits(prepareContours<VISORA_CHAIN_FULL>, {7, 10}), "full"},
    {VISORA_OPERATION(vsrFindContoursu8), ownShapeUnits(prepareContours<VISORA_CHAIN_CORNERS>, {7, 10}), "corners"},
    {VISORA_OPERATION(vsrFindOuterContoursu8),
     ownShapeUnits(prepareChains<vsrFindOuterContoursu8C, VISORA_CHAIN_FULL>, {6, 9}), "full"},
    {VISORA_OPERATION(vsrFindOuterContoursu8),
     ownShapeUnits(prepareChains<vsrFindOuterContoursu8C, VISORA_CHAIN_CORNERS>, {6, 9}), "corners"},
    {REFERENCE_ALONE(vsrEdgeLinku8), ownShapeUnits(prepareChains<vsrEdgeLinku8C, 2>, {6, 9})},
    {VISORA_OPERATION(vsrContourMeasures32), ownShapeUnits(prepareMeasures), "", 1000},
});

// ---- Distances ----

template <auto kernel, class T>
void prepareDistances(Arguments& a)
{
    const ShapePicture src = shapeMask(a);
    const uint32_t stride = a.dstStride(static_cast<uint32_t>(src.width * sizeof(T)), sizeof(T));
    a.call(kernel, src.data, src.width, src.height, src.stride, a.output<T>(src.width, src.height, stride), stride);
}

void prepareChamfer(Arguments& a)
{
    const ShapePicture<> src(a);
    const uint32_t numPoints = a.choose(13, 700, 300);
    // Some of them in a row, some anywhere, some far outside.
    const uint32_t numOffsets = a.choose(13, 90, 1024);
    const auto width = static_cast<int32_t>(src.width);
    const auto anywhere = [&] { return static_cast<int32_t>(a.random().between(0, 2 * src.width)) - width / 2; };
    std::vector<int32_t> points;
    std::vector<int32_t> offsets;
    while (points.size() < 2 * size_t{numPoints})
    {
        points.push_back(a.random().oneIn(40) ? INT32_MAX - static_cast<int32_t>(a.random().between(0, 9))
                                              : anywhere());
    }
    const bool isGrid = a.shape().typical || a.random().oneIn(2);
    for (int32_t i = 0; i < static_cast<int32_t>(numOffsets); ++i)
    {
        offsets.push_back(isGrid ? i % 32 - 16 : anywhere());
        offsets.push_back(isGrid ? i / 32 - 16 : anywhere());
    }
    a.call(vsrChamferMatchu8C, src.data, src.width, src.height, src.stride, a.given(points), numPoints,
           a.given(offsets), numOffsets, shapeNumbers<float>(a, numOffsets), shapeNumbers<uint32_t>(a, 1));
}

const Register distances({
    {VISORA_OPERATION(vsrDistanceTransformL1u8u16), prepareDistances<vsrDistanceTransformL1u8u16C, uint16_t>},
    {VISORA_OPERATION(vsrDistanceTransformL2u8f32), prepareDistances<vsrDistanceTransformL2u8f32C, float>},
    {VISORA_OPERATION(vsrChamferMatchu8), ownShapeUnits(prepareChamfer, {5, 7})},
});

// ---- Filling and growing ----

template <uint32_t connectivity, bool floating>
void prepareFill(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    if (a.shape().typical)
    {
        // What is between the blobs, which a fill leaves as it is.
        std::vector<uint8_t> mask(size_t{width} * height);
        for (uint32_t i = 0; i < mask.size(); ++i)
        {
            mask[i] = blobAt(i % width, i / width, kTypicalCell);
        }
        a.call(vsrFloodFillu8C, a.updated(mask), width, height, width, 0u, 0u, uint8_t{0}, 1u, 1u, connectivity,
               floating ? 1u : 0u, shapeNumbers<uint32_t>(a, 1), shapeNumbers<uint32_t>(a, 4));
        return;
    }
    const uint32_t stride = a.dstStride(width);
    auto* dst = a.output<uint8_t>(width, height, stride);
    a.call(vsrFloodFillu8C, dst, width, height, stride, a.random().between(0, std::min(width - 1, 12u)),
           a.random().between(0, std::min(height - 1, 12u)), uint8_t{7}, a.random().between(0, 12) | 64, 60u,
           connectivity, floating ? 1u : 0u, shapeNumbers<uint32_t>(a, 1), shapeNumbers<uint32_t>(a, 4));
}

void prepareGrowth(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const uint32_t stride = a.dstStride(src.width);
    std::vector<uint32_t> seeds;
    for (int i = 0; i < 3; ++i)
    {
        seeds.push_back(a.random().between(0, src.width - 1));
        seeds.push_back(a.random().between(0, src.height - 1));
    }
    auto* mask = a.output<uint8_t>(src.width, src.height, stride);
    a.call(vsrRegionGrowu8C, src.data, src.width, src.height, src.stride, a.given(seeds), 3u, 12u, 8u, uint8_t{3}, mask,
           stride, shapeNumbers<uint32_t>(a, 1));
}

void prepareWatershed(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const uint32_t stride = a.dstStride(4 * src.width, 4);
    a.call(vsrWatershedu8C, src.data, src.width, src.height, src.stride,
           a.output<int32_t>(src.width, src.height, stride), stride);
}

template <uint32_t channels>
void prepareInpaint(Arguments& a)
{
    const uint32_t stride = a.srcStride(channels * a.shape().width);
    const auto* src = a.input<uint8_t>(size_t{channels} * a.shape().width, a.shape().height, stride);
    const ShapePicture mask = shapeMask(a);
    const uint32_t dstStride = a.dstStride(channels * mask.width);
    a.call(vsrInpaintu8C, src, mask.width, mask.height, stride, channels, mask.data, mask.stride, 3u,
           a.output<uint8_t>(size_t{channels} * mask.width, mask.height, dstStride), dstStride);
}

void prepareForeground(Arguments& a)
{
    const ShapePicture<> src(a);
    const uint32_t meanStride = a.dstStride(2 * src.width, 2);
    auto* mean = a.output<uint16_t>(src.width, src.height, meanStride);
    auto* deviation = a.output<uint16_t>(src.width, src.height, meanStride);
    const uint32_t stride = a.dstStride(src.width);
    a.call(vsrFindForegroundu8C, src.data, src.width, src.height, src.stride, a.choose(1, 12, 12), a.choose(1, 12, 5),
           a.random().oneIn(2) ? 65535u : 11u, mean, meanStride, deviation, meanStride,
           a.output<uint8_t>(src.width, src.height, stride), stride);
}

const Register fills({
    {VISORA_OPERATION(vsrFloodFillu8), ownShapeUnits(prepareFill<4, false>), "4"},
    {VISORA_OPERATION(vsrFloodFillu8), ownShapeUnits(prepareFill<8, false>), "8"},
    {VISORA_OPERATION(vsrFloodFillu8), ownShapeUnits(prepareFill<8, true>), "floating"},
    {REFERENCE_ALONE(vsrRegionGrowu8), ownShapeUnits(prepareGrowth)},
    {REFERENCE_ALONE(vsrWatershedu8), ownShapeUnits(prepareWatershed)},
    {REFERENCE_ALONE(vsrInpaintu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .units = EntryRule::Units::Own}, prepareInpaint<3>), "3"},
    {VISORA_OPERATION(vsrFindForegroundu8), prepareForeground},
});

// ---- Edges, peaks and boxes ----

void prepareThinning(Arguments& a)
{
    const ShapePicture<int16_t> dx(a);
    const ShapePicture<int16_t> dy(a);
    const uint32_t stride = a.dstStride(2 * dx.width, 2);
    a.call(vsrEdgeThins16C, dx.data, dx.width, dx.height, dx.stride, dy.data, dy.stride,
           a.output<uint16_t>(dx.width, dx.height, stride), stride);
}

void preparePeaks(Arguments& a)
{
    const ShapePicture src = shapeScene(a);
    const uint32_t capacity = shapeCapacity(a, src.width * src.height);
    auto* xy = shapeNumbers<uint32_t>(a, 2 * size_t{capacity});
    auto* values = shapeNumbers<uint8_t>(a, capacity);
    a.call(vsrFindPeaksu8C, src.data, src.width, src.height, src.stride, a.choose(0, 9, 5), uint8_t{20}, xy, values,
           capacity, shapeNumbers<uint32_t>(a, 1));
}

void prepareFloatPeaks(Arguments& a)
{
    const bool isWild = !a.shape().typical && a.random().oneIn(3);
    const ShapePicture<float> src =
        isWild ? ShapePicture<float>(a)
               : ShapePicture<float>(a,
                                     [&] {
                                         return a.random().oneIn(90) && !a.shape().typical
                                                    ? NAN
                                                    : static_cast<float>(a.random().between(0, 300));
                                     });
    const uint32_t capacity = shapeCapacity(a, src.width * src.height);
    auto* xy = shapeNumbers<float>(a, 2 * size_t{capacity});
    auto* values = shapeNumbers<float>(a, capacity);
    a.call(vsrFindPeaksf32C, src.data, src.width, src.height, src.stride, a.choose(0, 9, 5), 20.0f, a.choose(0, 1, 1),
           xy, values, capacity, shapeNumbers<uint32_t>(a, 1));
}

void prepareBoxes(Arguments& a)
{
    const uint32_t count = a.shape().typical ? 2000 : a.choose(0, 200, 0);
    std::vector<float> boxes;
    std::vector<float> scores;
    for (uint32_t i = 0; i < count; ++i)
    {
        const auto x = static_cast<float>(a.random().between(0, 1000));
        const auto y = static_cast<float>(a.random().between(0, 1000));
        const auto side = static_cast<float>(a.random().between(0, 200)) - 10;
        boxes.insert(boxes.end(), {x, y, a.random().oneIn(50) ? NAN : x + side, y + side});
        scores.push_back(static_cast<float>(a.random().between(0, 300)) / 100 - 1);
    }
    const uint32_t capacity = shapeCapacity(a, count);
    a.call(vsrNonMaxSuppressf32C, a.given(boxes), a.given(scores), count, 0.2f, 0.4f,
           shapeNumbers<uint32_t>(a, capacity), capacity, shapeNumbers<uint32_t>(a, 1));
}

const Register detections({
    {VISORA_OPERATION(vsrEdgeThins16), prepareThinning},
    {VISORA_OPERATION(vsrFindPeaksu8), ownShapeUnits(preparePeaks, {8})},
    {VISORA_OPERATION(vsrFindPeaksf32), ownShapeUnits(prepareFloatPeaks, {9})},
    {VISORA_OPERATION(vsrNonMaxSuppressf32), ownShapeUnits(prepareBoxes, {2, 6}), "", 2000},
});

}  // namespace

}  // namespace visora::test
