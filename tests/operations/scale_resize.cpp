#include <algorithm>

#include "support/operations.h"
#include "visora/variants/scale.h"

namespace visora::test
{

namespace
{

// Any two sizes; m to n in benchmarks.
uint32_t anySize(Arguments& a, uint32_t size, uint32_t m, uint32_t n)
{
    const uint32_t kind = a.random().between(0, 3);
    return a.shape().typical || kind == 0 ? std::max(size * n / m, 1u)
           : kind == 1                    ? size
                                          : a.random().between(1, 2 * size);
}

/** call(src, width, height, srcStride, dst, dstWidth, dstHeight, dstStride) sets the call. */
template <class T, class Call>
void resize(Arguments& a, uint32_t m, uint32_t n, uint32_t channels, Call call)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t dstWidth = anySize(a, width, m, n);
    const uint32_t dstHeight = anySize(a, height, m, n);
    const uint32_t srcStride = a.srcStride(static_cast<uint32_t>(width * channels * sizeof(T)), sizeof(T));
    const uint32_t dstStride = a.dstStride(static_cast<uint32_t>(dstWidth * channels * sizeof(T)), sizeof(T));
    const T* src = a.input<T>(size_t{width} * channels, height, srcStride);
    T* dst = a.output<T>(size_t{dstWidth} * channels, dstHeight, dstStride);
    call(src, width, height, srcStride, dst, dstWidth, dstHeight, dstStride);
}

template <vsrInterpolation interpolation, uint32_t m, uint32_t n>
void prepareScale(Arguments& a)
{
    resize<uint8_t>(a, m, n, 1, [&](auto... images) { a.call(vsrScaleu8C, images..., interpolation); });
}

template <vsrInterpolation interpolation>
void prepareBorderedScale(Arguments& a)
{
    const vsrBorderType border = a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_CONSTANT);
    const auto value = static_cast<uint8_t>(a.random().between(0, 255));
    resize<uint8_t>(a, 10, 7, 1,
                    [&](auto... images) { a.call(vsrScaleu8_v2C, images..., interpolation, border, value); });
}

template <uint32_t typicalChannels, uint32_t m, uint32_t n>
void prepareBilinear(Arguments& a)
{
    const uint32_t channels = a.choose(1, 4, typicalChannels);
    resize<uint8_t>(a, m, n, channels,
                    [&](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, auto... dst)
                    { a.call(vsrScaleBilinearu8C, src, width, height, stride, channels, dst...); });
}

template <auto kernel, class T, uint32_t channels, uint32_t m, uint32_t n>
void prepareResize(Arguments& a)
{
    resize<T>(a, m, n, channels, [&](auto... images) { a.call(kernel, images...); });
}

// By fixed factors of each side, `to` over `from`, rounded up.
template <auto kernel, uint32_t channels, uint32_t toX, uint32_t fromX, uint32_t toY, uint32_t fromY>
void prepareRatio(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t dstWidth = (width * toX + fromX - 1) / fromX;
    const uint32_t srcStride = a.srcStride(width * channels);
    const uint32_t dstStride = a.dstStride(dstWidth * channels);
    const uint8_t* src = a.input<uint8_t>(size_t{width} * channels, height, srcStride);
    uint8_t* dst = a.output<uint8_t>(size_t{dstWidth} * channels, (height * toY + fromY - 1) / fromY, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstStride);
}

constexpr vsrInterpolation kNearest = VISORA_INTERPOLATION_NEAREST;
constexpr vsrInterpolation kBilinear = VISORA_INTERPOLATION_BILINEAR;
constexpr vsrInterpolation kArea = VISORA_INTERPOLATION_AREA;

const Register resizers({
    {VISORA_OPERATION(vsrScaleu8), prepareScale<kNearest, 10, 7>, "nearest"},
    {VISORA_OPERATION(vsrScaleu8), prepareScale<kBilinear, 10, 7>, "bilinear"},
    {VISORA_OPERATION(vsrScaleu8), prepareScale<kArea, 10, 7>, "area"},
    {VISORA_OPERATION(vsrScaleu8), prepareScale<kArea, 2, 1>, "area_2to1"},
    {VISORA_OPERATION(vsrScaleu8_v2), prepareBorderedScale<kNearest>, "nearest"},
    {VISORA_OPERATION(vsrScaleu8_v2), prepareBorderedScale<kBilinear>, "bilinear"},
    {VISORA_OPERATION(vsrScaleu8_v2), prepareBorderedScale<kArea>, "area"},
    {VISORA_OPERATION(vsrScaleBilinearu8), prepareBilinear<1, 10, 7>, "10to7"},
    {VISORA_OPERATION(vsrScaleBilinearu8), prepareBilinear<3, 10, 7>, "10to7_three_channels"},
    {VISORA_OPERATION(vsrScaleBilinearu8), prepareBilinear<1, 2, 3>, "2to3"},
    {VISORA_OPERATION(vsrScaleBilinearf32), prepareResize<vsrScaleBilinearf32C, float, 1, 10, 7>, "10to7"},
    {VISORA_OPERATION(vsrScaleBilinearf32), prepareResize<vsrScaleBilinearf32C, float, 1, 2, 3>, "2to3"},
    {VISORA_OPERATION(vsrScalePolyphaseu8), prepareResize<vsrScalePolyphaseu8C, uint8_t, 1, 10, 7>, "10to7"},
    {VISORA_OPERATION(vsrScalePolyphaseu8), prepareResize<vsrScalePolyphaseu8C, uint8_t, 1, 2, 3>, "2to3"},
    {VISORA_OPERATION(vsrScalePolyphaseInterleaved2u8),
     prepareResize<vsrScalePolyphaseInterleaved2u8C, uint8_t, 2, 10, 7>},
    {VISORA_OPERATION(vsrScaleUpBy2u8), prepareRatio<vsrScaleUpBy2u8C, 1, 2, 1, 2, 1>},
    {VISORA_OPERATION(vsrScaleUpBy2Gaussian5x5u8), ruled({.packed = {VISORA_PACKED(vsrScaleUpBy2Gaussian5x5u8, "")}},
                                                         prepareRatio<vsrScaleUpBy2Gaussian5x5u8C, 1, 2, 1, 2, 1>)},
    {VISORA_OPERATION(vsrDownsampleBy2Interleaved2u8), prepareRatio<vsrDownsampleBy2Interleaved2u8C, 2, 1, 2, 1, 2>},
    {VISORA_OPERATION(vsrDownsampleXBy2u8), prepareRatio<vsrDownsampleXBy2u8C, 1, 1, 2, 1, 1>},
    {VISORA_OPERATION(vsrUpsampleBy2u8), prepareRatio<vsrUpsampleBy2u8C, 1, 2, 1, 2, 1>},
    {VISORA_OPERATION(vsrUpsampleBy2Interleaved2u8), prepareRatio<vsrUpsampleBy2Interleaved2u8C, 2, 2, 1, 2, 1>},
    {VISORA_OPERATION(vsrUpsampleXBy2u8), prepareRatio<vsrUpsampleXBy2u8C, 1, 2, 1, 1, 1>},
    {VISORA_OPERATION(vsrUpsampleXBy2Interleaved2u8), prepareRatio<vsrUpsampleXBy2Interleaved2u8C, 2, 2, 1, 1, 1>},
    {VISORA_OPERATION(vsrUpsampleYBy2u8), prepareRatio<vsrUpsampleYBy2u8C, 1, 1, 1, 2, 1>},
    {VISORA_OPERATION(vsrUpsampleYBy2Interleaved2u8), prepareRatio<vsrUpsampleYBy2Interleaved2u8C, 2, 1, 1, 2, 1>},
});

}  // namespace

}  // namespace visora::test
