// How to call what looks for points and patches and describes them.
#include <algorithm>
#include <bit>
#include <memory>

#include "support/scene.h"
#include "support/sets.h"
#include "visora/variants/corner.h"

namespace visora::test
{
namespace
{

struct Picture
{
    explicit Picture(Arguments& a, bool ofScene = false)
        : width(a.shape().width),
          height(a.shape().height),
          stride(a.srcStride(width)),
          data(a.input<uint8_t>(width, height, stride))
    {
        if (ofScene && a.shape().typical)
        {
            drawScene(const_cast<uint8_t*>(data), width, height, stride);
        }
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const uint8_t* data;
};

// ---- Patches and templates ----

template <auto kernel, uint32_t side>
void prepareScores(Arguments& a)
{
    const Picture src(a);
    const auto* patch = a.input<uint8_t>(side * side, 1, side * side);
    const uint32_t count = a.choose(0, 20, 1000);
    const auto* xy = a.given(anyPoints(a, count, src.width, src.height));
    a.call(kernel, src.data, src.width, src.height, src.stride, patch, xy, count, outputs<float>(a, count));
}

int32_t anyCentre(Arguments& a, uint32_t side)
{
    return a.shape().typical ? static_cast<int32_t>(side / 2)
                             : static_cast<int32_t>(a.random().between(0, side + 20)) - 10;
}

void prepareSearch8(Arguments& a)
{
    const Picture src(a, true);
    const auto* patch = a.input<uint8_t>(64, 1, 64);
    const int32_t x = anyCentre(a, src.width);
    const int32_t y = anyCentre(a, src.height);
    const uint32_t radiusX = a.choose(0, 12, 12);
    const uint32_t radiusY = a.random().oneIn(9) ? 65535 : a.choose(0, 12, 12);
    auto* offset = a.choose(0, 3, 1) == 0 ? nullptr : outputs<float>(a, 2);
    a.call(vsrNCCPatchSearch8x8u8C, src.data, src.width, src.height, src.stride, patch, x, y, radiusX,
           a.shape().typical ? 12 : radiusY, outputs<uint32_t>(a, 2), outputs<float>(a, 1), offset);
}

void prepareSearchN(Arguments& a)
{
    const Picture src(a, true);
    const uint32_t size = a.random().oneIn(30) ? 255 : a.choose(1, 12, 12);
    const uint32_t stride = a.srcStride(size);
    const auto* patch = a.input<uint8_t>(size, size, stride);
    const int32_t x = anyCentre(a, src.width);
    const int32_t y = anyCentre(a, src.height);
    const uint32_t radiusX = a.choose(0, 12, 12);
    const uint32_t radiusY = a.choose(0, 12, 12);
    a.call(vsrNCCPatchSearchNxNu8C, src.data, src.width, src.height, src.stride, patch, size, stride,
           a.choose(0, 1, VISORA_SEARCH_CIRCLE), x, y, radiusX, radiusY, outputs<uint32_t>(a, 2), outputs<float>(a, 1));
}

template <uint32_t side, vsrMatchMethod method>
void prepareTemplate(Arguments& a)
{
    const Picture src(a, true);
    const bool typical = a.shape().typical;
    const uint32_t limit = a.random().oneIn(10) ? 200 : 12;
    const uint32_t width = typical ? side : a.random().between(1, std::min(src.width, limit));
    const uint32_t height = typical ? side : a.random().between(1, std::min(src.height, limit));
    if (uint64_t{src.width} * src.height * width * height > 60'000'000 && !typical)
    {
        return;
    }
    const uint32_t stride = a.srcStride(width);
    const auto* templ = a.input<uint8_t>(width, height, stride);
    const uint32_t columns = src.width - width + 1;
    const uint32_t dstStride = a.dstStride(columns * 4, 4);
    a.call(vsrMatchTemplateu8C, src.data, src.width, src.height, src.stride, templ, width, height, stride,
           a.choose(0, 3, method), a.output<float>(columns, src.height - height + 1, dstStride), dstStride);
}

#define TEMPLATE(side, method, label)                                                                                \
    {                                                                                                                \
        VISORA_OPERATION(vsrMatchTemplateu8), ofSets(prepareTemplate<side, VISORA_MATCH_##method>, {5, 6, 7}), label \
    }

const Register patches({
    {VISORA_OPERATION(vsrNCCPatchScore8x8u8), ofSets(prepareScores<vsrNCCPatchScore8x8u8C, 8>, {6}), "", 1000},
    {VISORA_OPERATION(vsrNCCPatchScore16x16u8), ofSets(prepareScores<vsrNCCPatchScore16x16u8C, 16>, {6}), "", 1000},
    {VISORA_OPERATION(vsrNCCPatchSearch8x8u8), ofSets(prepareSearch8, {7, 8, 11}), "", 625},
    {VISORA_OPERATION(vsrNCCPatchSearchNxNu8), ofSets(prepareSearchN, {9, 10}), "", 441},
    TEMPLATE(16, NORMED_COEFFICIENT, "16x16"),
    TEMPLATE(16, SQUARED_DIFFERENCE, "16x16_squared_difference"),
    TEMPLATE(16, NORMED_CORRELATION, "16x16_normed_correlation"),
    TEMPLATE(64, NORMED_COEFFICIENT, "64x64"),
    TEMPLATE(256, NORMED_COEFFICIENT, "256x256"),
});

// ---- Corners ----

struct Detected
{
    explicit Detected(Arguments& a)
        : border(a.random().oneIn(10) ? a.random().between(80, 200) : a.choose(0, 8, 4)),
          capacity(a.shape().typical     ? a.shape().width * a.shape().height / 8
                   : a.random().oneIn(3) ? a.random().between(0, 9)
                                         : a.shape().width * a.shape().height),
          xy(outputs<uint32_t>(a, size_t{capacity} * 2)),
          count(outputs<uint32_t>(a, 1))
    {
        border = a.shape().typical ? 4 : border;
    }

    uint32_t border;
    uint32_t capacity;
    uint32_t* xy;
    uint32_t* count;
};

int32_t anyThreshold(Arguments& a)
{
    constexpr int32_t kThresholds[] = {INT32_MIN, -100000, -1, 0, 1, 1000, 100000, 10000000, INT32_MAX};
    return a.shape().typical ? 20000 : kThresholds[a.random().between(0, std::size(kThresholds) - 1)];
}

void prepareHarris(Arguments& a)
{
    const Picture src(a, true);
    const Detected d(a);
    a.call(vsrCornerHarrisu8C, src.data, src.width, src.height, src.stride, anyThreshold(a), d.border, d.xy, d.capacity,
           d.count);
}

void prepareHarrisScore(Arguments& a)
{
    const Picture src(a, true);
    const Detected d(a);
    a.call(vsrCornerHarrisScoreu8C, src.data, src.width, src.height, src.stride, anyThreshold(a), d.border, d.xy,
           outputs<int32_t>(a, d.capacity), d.capacity, d.count, a.choose(0, 1, 1));
}

void prepareHarrisInMask(Arguments& a)
{
    const Picture src(a, true);
    const Detected d(a);
    const uint32_t factor = 1u << a.choose(0, 3, 0);
    const bool isLarger = a.choose(0, 1, 0) == 1;
    const uint32_t width = std::max(1u, isLarger ? src.width * factor : src.width / factor);
    const uint32_t height = std::max(1u, isLarger ? src.height * factor : src.height / factor);
    const auto* mask = a.input<uint8_t>((width + 7) / 8, height, (width + 7) / 8);
    a.call(vsrCornerHarrisInMasku8C, src.data, src.width, src.height, src.stride, anyThreshold(a), d.border, d.xy,
           d.capacity, d.count, mask, width, height);
}

void prepareMinEigen(Arguments& a)
{
    const Picture src(a, true);
    const Detected d(a);
    const float quality = a.shape().typical ? 0.01f : static_cast<float>(a.random().between(0, 4)) / 4;
    const uint32_t distance = a.choose(0, 12, 10);
    a.call(vsrCornerMinEigenu8C, src.data, src.width, src.height, src.stride, quality, distance, d.border, d.xy,
           outputs<float>(a, d.capacity), d.capacity, d.count);
}

void prepareRefine(Arguments& a)
{
    const Picture src(a, true);
    const uint32_t count = a.choose(0, 8, 1000);
    std::vector<float> xy;
    const auto coordinate = [&](uint32_t side)
    {
        if (a.random().oneIn(30) && !a.shape().typical)
        {
            return std::bit_cast<float>(static_cast<uint32_t>(a.random().next()));
        }
        const auto whole = static_cast<float>(a.random().between(0, side + 1)) - 1;
        return whole + static_cast<float>(a.random().between(0, 99)) / 100;
    };
    for (uint32_t i = 0; i < count; ++i)
    {
        xy.push_back(coordinate(src.width));
        xy.push_back(coordinate(src.height));
    }
    const uint32_t windowWidth = a.random().oneIn(20) ? 255 : 2 * a.choose(1, 12, 5) + 1;
    const uint32_t windowHeight = 2 * a.choose(1, 12, 5) + 1;
    const uint32_t iterations = a.choose(1, 12, 30);
    const float epsilon = a.shape().typical ? 0.01f : static_cast<float>(a.random().between(0, 2)) / 100;
    a.call(vsrCornerRefineSubPixu8C, src.data, src.width, src.height, src.stride, a.given(xy), count, windowWidth,
           windowHeight, iterations, epsilon, outputs<float>(a, 2 * count));
}

// A list that is as long as there is room for; the mask's sides must not be 0.
const Register corners({
    {VISORA_OPERATION(vsrCornerHarrisu8), ofSets(prepareHarris, {4, 5, 7})},
    {VISORA_OPERATION(vsrCornerHarrisScoreu8), ofSets(prepareHarrisScore, {4, 5, 8, 10})},
    {VISORA_OPERATION(vsrCornerHarrisInMasku8), ofSets(prepareHarrisInMask, {4, 5, 7})},
    {VISORA_OPERATION(vsrCornerMinEigenu8), ofSets(prepareMinEigen, {4, 5, 6, 9})},
    {VISORA_OPERATION(vsrCornerRefineSubPixu8),
     ruled({.inPlace = EntryRule::InPlace::NotLookedAt, .unchecked = {5, 8}, .units = EntryRule::Units::Own},
           prepareRefine),
     "", 1000},
});

// ---- Descriptors ----

template <auto kernel, class T, uint32_t length>
void prepareDescriptors(Arguments& a)
{
    const Picture src(a);
    const uint32_t count = a.choose(0, 6, 1000);
    std::vector<vsrKeypoint> keypoints(count);
    for (vsrKeypoint& k : keypoints)
    {
        const auto any = [&](uint32_t side)
        {
            return a.random().oneIn(20) && !a.shape().typical
                       ? std::bit_cast<float>(static_cast<uint32_t>(a.random().next()))
                       : static_cast<float>(a.random().between(0, side * 10)) / 10;
        };
        k.x = any(src.width);
        k.y = any(src.height);
        k.scale = a.shape().typical ? 1.6f : any(6);
        k.angle = any(360);
    }
    const uint32_t dstStride = a.dstStride(length);
    a.call(kernel, src.data, src.width, src.height, src.stride, a.given(keypoints), count,
           a.output<T>(length, count, dstStride), dstStride);
}

const Register descriptors({
    {VISORA_OPERATION(vsrDescriptorGradient128u8),
     ofSets(prepareDescriptors<vsrDescriptorGradient128u8C, uint8_t, 128>, {5}), "", 1000},
    {VISORA_OPERATION(vsrDescriptorPatch64u8s8), ofSets(prepareDescriptors<vsrDescriptorPatch64u8s8C, int8_t, 64>, {5}),
     "", 1000},
});

// ---- Oriented-gradient blocks ----

void prepareBlocks(Arguments& a)
{
    const Picture src(a);
    const bool typical = a.shape().typical;
    const uint32_t cellSize = a.choose(2, 8, 8);
    const uint32_t blockCells = a.choose(1, 4, 2);
    const uint32_t blockStep = a.choose(1, 3, 1);
    const uint32_t bins = a.choose(2, 32, 9);
    uint64_t handle = 0;
    vsrHOGInitC(cellSize, blockCells, blockStep, bins, typical ? 0 : a.random().between(0, 1), &handle);
    a.keep(std::shared_ptr<void>(nullptr, [handle](void*) { vsrHOGDeInitC(handle); }));
    const auto blocks = [&](uint32_t side)
    { return side / cellSize < blockCells ? 0 : (side / cellSize - blockCells) / blockStep + 1; };
    const uint32_t columns = blocks(src.width) * blockCells * blockCells * bins;
    const uint32_t rows = blocks(src.height);
    if (columns == 0 || rows == 0)
    {
        return;
    }
    const uint32_t stride = a.dstStride(columns * 2, 2);
    a.call(vsrExtractHOGu16C, src.data, src.width, src.height, src.stride, handle,
           a.output<uint16_t>(columns, rows, stride), stride);
}

void prepareWindowScore(Arguments& a)
{
    // A grid of blocks for 8x8 pixels, windows of 64x128 pixels.
    const uint32_t blockLength = a.choose(1, 40, 36);
    const uint32_t width = a.shape().typical ? a.shape().width / 8 - 1 : a.shape().width;
    const uint32_t height = a.shape().typical ? a.shape().height / 8 - 1 : a.shape().height;
    const uint32_t windowWidth = a.shape().typical ? 7 : std::min(width, a.random().between(1, 9));
    const uint32_t windowHeight = a.shape().typical ? 15 : std::min(height, a.random().between(1, 9));
    const uint32_t stepX = a.choose(1, 5, 1);
    const uint32_t stepY = a.choose(1, 5, 1);
    const uint32_t stride = a.srcStride(width * blockLength * 2, 2);
    const auto* features = a.input<uint16_t>(width * blockLength, height, stride);
    const uint32_t weightCount = windowWidth * windowHeight * blockLength;
    const auto* weights = a.input<float>(weightCount, 1, weightCount * 4);
    const uint32_t columns = (width - windowWidth) / stepX + 1;
    const uint32_t dstStride = a.dstStride(columns * 4, 4);
    a.call(vsrHOGWindowScoreu16f32C, features, width, height, stride, blockLength, weights, windowWidth, windowHeight,
           stepX, stepY, 0.5f, a.output<float>(columns, (height - windowHeight) / stepY + 1, dstStride), dstStride);
}

const Register blocks({
    {VISORA_OPERATION(vsrExtractHOGu16), ofSets(prepareBlocks, {})},
    {VISORA_OPERATION(vsrHOGWindowScoreu16f32), ofSets(prepareWindowScore, {4, 6, 7})},
});

// ---- Wavelet ----

template <bool inverse>
void prepareHaar(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t lows = (width + 1) / 2;
    const uint32_t rows = (height + 1) / 2;
    if constexpr (inverse)
    {
        const uint32_t bandStride = a.srcStride(lows * 2, 2);
        const auto* ll = a.input<int16_t>(lows, rows, bandStride);
        const auto* hl = a.input<int16_t>(width / 2, rows, bandStride);
        const auto* lh = a.input<int16_t>(lows, height / 2, bandStride);
        const auto* hh = a.input<int16_t>(width / 2, height / 2, bandStride);
        const uint32_t stride = a.dstStride(width * 2, 2);
        a.call(vsrHaarInverses16C, ll, hl, lh, hh, width, height, bandStride, a.output<int16_t>(width, height, stride),
               stride);
    }
    else
    {
        const uint32_t stride = a.srcStride(width * 2, 2);
        const auto* src = a.input<int16_t>(width, height, stride);
        const uint32_t bandStride = a.dstStride(lows * 2, 2);
        auto* ll = a.output<int16_t>(lows, rows, bandStride);
        auto* hl = a.output<int16_t>(width / 2, rows, bandStride);
        auto* lh = a.output<int16_t>(lows, height / 2, bandStride);
        auto* hh = a.output<int16_t>(width / 2, height / 2, bandStride);
        a.call(vsrHaarForwards16C, src, width, height, stride, ll, hl, lh, hh, bandStride);
    }
}

const Register wavelet({
    {VISORA_OPERATION(vsrHaarForwards16), ofSets(prepareHaar<false>, {})},
    {VISORA_OPERATION(vsrHaarInverses16), ofSets(prepareHaar<true>, {})},
});

}  // namespace
}  // namespace visora::test
