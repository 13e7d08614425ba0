#include <cmath>
#include <limits>

#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/warp.h"

namespace visora::test
{

namespace
{

enum class Motion
{
    Slight,  // 5 degrees
    Skew,    // 45
    Quarter,
    Perspective
};

// From the destination to the source, about the middle of both.
std::vector<float> typicalMatrix(Motion motion, uint32_t width, uint32_t height)
{
    const double angle = motion == Motion::Slight    ? 5
                         : motion == Motion::Skew    ? 45
                         : motion == Motion::Quarter ? 90
                                                     : 20;
    const double c = std::cos(angle * 3.14159265358979 / 180), s = std::sin(angle * 3.14159265358979 / 180);
    const double x = width / 2.0, y = height / 2.0;
    const double g = motion == Motion::Perspective ? 0.8 / width : 0,
                 h = motion == Motion::Perspective ? -0.3 / width : 0;
    const auto f = [](double v) { return static_cast<float>(v); };
    return {f(c + x * g), f(-s + x * h), f(x - c * x + s * y - x * (g * x + h * y)),
            f(s + y * g), f(c + y * h),  f(y - s * x - c * y - y * (g * x + h * y)),
            f(g),         f(h),          f(1 - g * x - h * y)};
}

// Turns, scales, shifts and tilts of any size, and now and then what no camera does.
std::vector<float> anyMatrix(Arguments& a, uint32_t width, uint32_t height, Motion motion, size_t elements)
{
    std::vector<float> m = typicalMatrix(motion, width, height);
    if (!a.shape().typical)
    {
        const auto some = [&](double range) { return (a.random().between(0, 2000) / 1000.0 - 1) * range; };
        const double angle = some(4), scale = std::exp(some(1.5));
        m = typicalMatrix(a.random().oneIn(2) ? Motion::Perspective : Motion::Skew, width, height);
        const auto f = [](double v) { return static_cast<float>(v); };
        m[0] = f(scale * std::cos(angle));
        m[1] = f(-scale * std::sin(angle) + some(0.1));
        m[2] = f(some(1.5) * width);
        m[3] = f(scale * std::sin(angle));
        m[4] = f(scale * std::cos(angle) + some(0.1));
        m[5] = f(some(1.5) * height);
        if (a.random().oneIn(4))
        {
            constexpr float kInfinity = std::numeric_limits<float>::infinity();
            constexpr float kOdd[] = {0, -1, 1e30f, kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN()};
            m[a.random().between(0, 8)] = kOdd[a.random().between(0, 5)];
        }
    }
    m.resize(elements);
    return m;
}

struct Images
{
    uint32_t width, height, dstWidth, dstHeight;
    uint32_t srcStride, dstStride;
};

// In benchmarks the destination has the source's size, else any.
Images sizes(Arguments& a, uint32_t pixelBytes, uint32_t elementBytes = 1)
{
    Images s{a.shape().width, a.shape().height, a.shape().width, a.shape().height, 0, 0};
    if (!a.shape().typical)
    {
        s.dstWidth = a.random().between(1, 200);
        s.dstHeight = a.random().between(2, 20);
    }
    s.srcStride = a.srcStride(s.width * pixelBytes, elementBytes);
    s.dstStride = a.dstStride(s.dstWidth * pixelBytes, elementBytes);
    return s;
}

const float* matrixFor(Arguments& a, const Images& s, Motion motion, size_t elements)
{
    return a.given(anyMatrix(a, s.width, s.height, motion, elements));
}

template <auto kernel, Motion motion, size_t elements>
void prepareWarp(Arguments& a)
{
    const Images s = sizes(a, 1);
    const auto* src = a.input<uint8_t>(s.width, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, motion, elements);
    auto* dst = a.output<uint8_t>(s.dstWidth, s.dstHeight, s.dstStride);
    a.call(kernel, src, s.width, s.height, s.srcStride, matrix, dst, s.dstWidth, s.dstHeight, s.dstStride);
}

template <Motion motion>
void prepareRgba(Arguments& a)
{
    const Images s = sizes(a, 4);
    const auto* src = a.input<uint8_t>(size_t{s.width} * 4, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, motion, 6);
    const auto* color = a.input<uint8_t>(4, 1, 4);
    auto* dst = a.output<uint8_t>(size_t{s.dstWidth} * 4, s.dstHeight, s.dstStride);
    a.call(vsrTransformAffineRGBA8888u8C, src, s.width, s.height, s.srcStride, matrix, dst, s.dstWidth, s.dstHeight,
           s.dstStride, color);
}

template <Motion motion>
void prepareFloat(Arguments& a)
{
    const Images s = sizes(a, sizeof(float), sizeof(float));
    const auto* src = image<float>(a, s.width, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, motion, 6);
    auto* dst = a.output<float>(s.dstWidth, s.dstHeight, s.dstStride);
    const float border = a.random().oneIn(4) ? std::numeric_limits<float>::quiet_NaN() : 7.5f;
    a.call(vsrTransformAffinef32C, src, s.width, s.height, s.srcStride, matrix, dst, s.dstWidth, s.dstHeight,
           s.dstStride, border);
}

template <Motion motion>
void prepareClipped(Arguments& a)
{
    const Images s = sizes(a, 1);
    const auto* src = a.input<uint8_t>(s.width, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, motion, 6);
    auto* dst = a.output<uint8_t>(s.dstWidth, s.dstHeight, s.dstStride);
    auto* ranges = a.output<uint32_t>(size_t{s.dstHeight} * 2, 1, size_t{s.dstHeight} * 8);
    a.call(vsrTransformAffineClippedu8C, src, s.width, s.height, s.srcStride, matrix, dst, s.dstWidth, s.dstHeight,
           s.dstStride, ranges);
}

// call(sources, sizes, matrix, destinations) sets the call.
template <class Call>
void threePlanes(Arguments& a, Motion motion, size_t elements, Call call)
{
    const Images s = sizes(a, 1);
    const uint8_t* src[3];
    uint8_t* dst[3];
    for (size_t p = 0; p < 3; ++p)
    {
        src[p] = a.input<uint8_t>(s.width, s.height, s.srcStride);
    }
    const float* matrix = matrixFor(a, s, motion, elements);
    for (size_t p = 0; p < 3; ++p)
    {
        dst[p] = a.output<uint8_t>(s.dstWidth, s.dstHeight, s.dstStride);
    }
    call(src, s, matrix, dst);
}

void prepareCubic(Arguments& a)
{
    threePlanes(a, Motion::Slight, 6,
                [&](auto& src, const Images& s, const float* matrix, auto& dst)
                {
                    auto* ranges = a.output<uint32_t>(size_t{s.dstHeight} * 2, 1, size_t{s.dstHeight} * 8);
                    a.call(vsr3ChannelTransformAffineClippedBCu8C, src[0], src[1], src[2], s.width, s.height,
                           s.srcStride, matrix, dst[0], dst[1], dst[2], s.dstWidth, s.dstHeight, s.dstStride, ranges);
                });
}

void prepareThree(Arguments& a)
{
    threePlanes(a, Motion::Perspective, 9,
                [&](auto& src, const Images& s, const float* matrix, auto& dst)
                {
                    a.call(vsr3ChannelWarpPerspectiveu8C, src[0], src[1], src[2], s.width, s.height, s.srcStride,
                           matrix, dst[0], dst[1], dst[2], s.dstWidth, s.dstHeight, s.dstStride);
                });
}

void prepareThreeBordered(Arguments& a)
{
    threePlanes(a, Motion::Perspective, 9,
                [&](auto& src, const Images& s, const float* matrix, auto& dst)
                {
                    const vsrInterpolation interpolation = a.choose(0, 1, VISORA_INTERPOLATION_NEAREST);
                    const vsrBorderType border = a.choose(0, 2, VISORA_BORDER_REPLICATE);
                    a.call(vsr3ChannelWarpPerspectiveu8_v2C, src[0], src[1], src[2], s.width, s.height, s.srcStride,
                           matrix, interpolation, dst[0], dst[1], dst[2], s.dstWidth, s.dstHeight, s.dstStride, border,
                           a.input<uint8_t>(3, 1, 3));
                });
}

void prepareBordered(Arguments& a)
{
    const Images s = sizes(a, 1);
    const auto* src = a.input<uint8_t>(s.width, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, Motion::Perspective, 9);
    auto* dst = a.output<uint8_t>(s.dstWidth, s.dstHeight, s.dstStride);
    const vsrInterpolation interpolation = a.choose(0, 1, VISORA_INTERPOLATION_NEAREST);
    a.call(vsrWarpPerspectiveu8_v3C, src, s.width, s.height, s.srcStride, matrix, interpolation, dst, s.dstWidth,
           s.dstHeight, s.dstStride, vsrBorderType{a.choose(0, 2, VISORA_BORDER_REPLICATE)}, uint8_t{77});
}

void prepareTile(Arguments& a)
{
    const Images s = sizes(a, 1);
    const auto* src = a.input<uint8_t>(s.width, s.height, s.srcStride);
    const float* matrix = matrixFor(a, s, Motion::Perspective, 9);
    auto* dst = a.output<uint8_t>(s.dstWidth, s.dstHeight, s.dstStride);
    const vsrInterpolation interpolation =
        a.random().oneIn(4) ? a.choose(0, 1, 2) : vsrInterpolation{VISORA_INTERPOLATION_AREA};
    a.call(vsrWarpPerspectiveu8_v4C, src, s.width, s.height, s.srcStride, matrix, interpolation, dst,
           a.choose(0, 300, 0), a.choose(0, 300, 0), s.dstWidth, s.dstHeight, s.dstStride,
           vsrBorderType{a.choose(0, 2, VISORA_BORDER_CONSTANT)}, uint8_t{77});
}

// Maps of a matrix's positions, some of them none.
std::vector<float> mapOf(Arguments& a, const Images& s, const std::vector<float>& m, size_t row, uint32_t stride)
{
    std::vector<float> map(size_t{stride} / sizeof(float) * s.dstHeight);
    for (uint32_t y = 0; y < s.dstHeight; ++y)
    {
        for (uint32_t x = 0; x < s.dstWidth; ++x)
        {
            const auto line = [&](size_t at)
            { return m[at] * static_cast<float>(x) + m[at + 1] * static_cast<float>(y) + m[at + 2]; };
            map[y * (stride / sizeof(float)) + x] = line(3 * row) / line(6);
        }
    }
    if (!a.shape().typical)
    {
        map[a.random().between(0, static_cast<uint32_t>(map.size()) - 1)] = std::numeric_limits<float>::quiet_NaN();
    }
    map.resize(map.size() - (stride / sizeof(float) - s.dstWidth));
    return map;
}

template <uint32_t channels, Motion motion>
void prepareRemap(Arguments& a)
{
    const Images s = sizes(a, channels);
    const auto* src = a.input<uint8_t>(size_t{s.width} * channels, s.height, s.srcStride);
    const std::vector<float> m = anyMatrix(a, s.width, s.height, motion, 9);
    const uint32_t mapStride = a.srcStride(s.dstWidth * 4, 4);
    const float* mapX = a.given(mapOf(a, s, m, 0, mapStride));
    const float* mapY = a.given(mapOf(a, s, m, 1, mapStride));
    auto* dst = a.output<uint8_t>(size_t{s.dstWidth} * channels, s.dstHeight, s.dstStride);
    const vsrInterpolation interpolation = a.choose(0, 1, VISORA_INTERPOLATION_BILINEAR);
    if constexpr (channels == 1)
    {
        a.call(vsrRemapu8C, src, s.width, s.height, s.srcStride, mapX, mapY, mapStride, interpolation, dst, s.dstWidth,
               s.dstHeight, s.dstStride, vsrBorderType{a.choose(0, 2, 1)}, uint8_t{9});
    }
    else
    {
        a.call(vsrRemapRGBA8888u8C, src, s.width, s.height, s.srcStride, mapX, mapY, mapStride, interpolation, dst,
               s.dstWidth, s.dstHeight, s.dstStride, a.input<uint8_t>(4, 1, 4));
    }
}

// A lens that bends by some pixels.
const float* lensMatrix(Arguments& a, float focus)
{
    const auto width = static_cast<float>(a.shape().width), height = static_cast<float>(a.shape().height);
    return a.given(std::vector<float>{focus * width, 0, width / 2, 0, focus * width, height / 2.1f, 0, 0, 1});
}

template <bool isRectified>
void prepareMap(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t stride = a.dstStride(width * 4, 4);
    const float* camera = lensMatrix(a, 0.8f);
    const float* lens = a.given(std::vector<float>{-0.3f, 0.12f, 0.001f, -0.002f, a.random().oneIn(8) ? 1e38f : 0.01f});
    const float* turn = a.given(std::vector<float>{0.9995f, 0.01f, -0.03f, -0.0103f, 0.9999f, -0.01f,
                                                   a.random().oneIn(8) ? 10 : 0.03f, 0.01f, 1});
    auto* mapX = a.output<float>(width, height, stride);
    auto* mapY = a.output<float>(width, height, stride);
    if constexpr (isRectified)
    {
        a.call(vsrBuildRectifyMapf32C, camera, lens, turn, lensMatrix(a, 0.75f), mapX, mapY, width, height, stride);
    }
    else
    {
        a.call(vsrBuildUndistortMapf32C, camera, lens, mapX, mapY, width, height, stride);
    }
}

template <auto kernel, size_t dimensions, size_t elements>
void preparePoints(Arguments& a)
{
    const uint32_t count = a.shape().width;
    const auto* src = image<float>(a, count * dimensions, 1, count * dimensions * sizeof(float));
    const auto* matrix = image<float>(a, elements, 1, elements * sizeof(float));
    a.call(kernel, src, count, matrix, a.output<float>(count * dimensions, 1, count * dimensions * sizeof(float)));
}

// Points may be written where they stand.
const EntryRule kPoints = {.inPlace = EntryRule::InPlace::NotLookedAt};
// A tile may begin at 0.
const EntryRule kTile = {.unchecked = {7, 8}};

const Register warps({
    {VISORA_OPERATION(vsrTransformAffineu8),
     ruled({.packed = {VISORA_PACKED(vsrTransformAffineu8, "")}},
           prepareWarp<vsrTransformAffineu8C, Motion::Slight, 6>),
     "5_degrees"},
    {VISORA_OPERATION(vsrTransformAffineu8), prepareWarp<vsrTransformAffineu8C, Motion::Skew, 6>, "45_degrees"},
    {VISORA_OPERATION(vsrTransformAffineu8), prepareWarp<vsrTransformAffineu8C, Motion::Quarter, 6>, "90_degrees"},
    {VISORA_OPERATION(vsrTransformAffineRGBA8888u8), prepareRgba<Motion::Slight>, "5_degrees"},
    {VISORA_OPERATION(vsrTransformAffineRGBA8888u8), prepareRgba<Motion::Skew>, "45_degrees"},
    {VISORA_OPERATION(vsrTransformAffineRGBA8888u8), prepareRgba<Motion::Quarter>, "90_degrees"},
    {VISORA_OPERATION(vsrTransformAffinef32), prepareFloat<Motion::Slight>, "5_degrees"},
    {VISORA_OPERATION(vsrTransformAffinef32), prepareFloat<Motion::Skew>, "45_degrees"},
    {VISORA_OPERATION(vsrTransformAffinef32), prepareFloat<Motion::Quarter>, "90_degrees"},
    {VISORA_OPERATION(vsrTransformAffineClippedu8), prepareClipped<Motion::Slight>},
    {VISORA_OPERATION(vsr3ChannelTransformAffineClippedBCu8), prepareCubic},
    {VISORA_OPERATION(vsrWarpPerspectiveu8),
     ruled({.packed = {VISORA_PACKED(vsrWarpPerspectiveu8, "")}},
           prepareWarp<vsrWarpPerspectiveu8C, Motion::Slight, 9>),
     "5_degrees"},
    {VISORA_OPERATION(vsrWarpPerspectiveu8), prepareWarp<vsrWarpPerspectiveu8C, Motion::Skew, 9>, "45_degrees"},
    {VISORA_OPERATION(vsrWarpPerspectiveu8), prepareWarp<vsrWarpPerspectiveu8C, Motion::Quarter, 9>, "90_degrees"},
    {VISORA_OPERATION(vsrWarpPerspectiveu8), prepareWarp<vsrWarpPerspectiveu8C, Motion::Perspective, 9>, "tilted"},
    {VISORA_OPERATION(vsrWarpPerspectiveu8_v3), prepareBordered},
    {VISORA_OPERATION(vsrWarpPerspectiveu8_v4), ruled(kTile, prepareTile)},
    {VISORA_OPERATION(vsr3ChannelWarpPerspectiveu8), prepareThree},
    {VISORA_OPERATION(vsr3ChannelWarpPerspectiveu8_v2), prepareThreeBordered},
    {VISORA_OPERATION(vsrRemapu8), prepareRemap<1, Motion::Slight>, "5_degrees"},
    {VISORA_OPERATION(vsrRemapu8), prepareRemap<1, Motion::Skew>, "45_degrees"},
    {VISORA_OPERATION(vsrRemapu8), prepareRemap<1, Motion::Quarter>, "90_degrees"},
    {VISORA_OPERATION(vsrRemapu8), prepareRemap<1, Motion::Perspective>, "tilted"},
    {VISORA_OPERATION(vsrRemapRGBA8888u8), prepareRemap<4, Motion::Slight>, "5_degrees"},
    {VISORA_OPERATION(vsrRemapRGBA8888u8), prepareRemap<4, Motion::Skew>, "45_degrees"},
    {VISORA_OPERATION(vsrRemapRGBA8888u8), prepareRemap<4, Motion::Quarter>, "90_degrees"},
    {VISORA_OPERATION(vsrRemapRGBA8888u8), prepareRemap<4, Motion::Perspective>, "tilted"},
    {VISORA_OPERATION(vsrBuildRectifyMapf32), prepareMap<true>},
    {VISORA_OPERATION(vsrBuildUndistortMapf32), prepareMap<false>},
    {VISORA_OPERATION(vsrTransformPoint2xNf32), ruled(kPoints, preparePoints<vsrTransformPoint2xNf32C, 2, 9>), "", 0,
     true},
    {VISORA_OPERATION(vsrTransformPoint3xNf32), ruled(kPoints, preparePoints<vsrTransformPoint3xNf32C, 3, 12>), "", 0,
     true},
});

}  // namespace

}  // namespace visora::test
