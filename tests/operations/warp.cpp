#include "visora/variants/warp.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

template <auto kernel, uint32_t channels>
void prepareRotation(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t rotation = a.choose(1, 3, 1);
    const uint32_t dstWidth = rotation == 2 ? width : height;
    const uint32_t dstHeight = rotation == 2 ? height : width;
    const uint32_t srcStride = a.srcStride(width * channels);
    const uint32_t dstStride = a.dstStride(dstWidth * channels);
    const uint8_t* src = a.input<uint8_t>(size_t{width} * channels, height, srcStride);
    uint8_t* dst = a.output<uint8_t>(size_t{dstWidth} * channels, dstHeight, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstStride, rotation);
}

template <auto kernel, class T>
void prepareTransposition(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t srcStride = a.srcStride(static_cast<uint32_t>(width * sizeof(T)), sizeof(T));
    const uint32_t dstStride = a.dstStride(static_cast<uint32_t>(height * sizeof(T)), sizeof(T));
    const T* src = a.input<T>(width, height, srcStride);
    a.call(kernel, src, width, height, srcStride, a.output<T>(height, width, dstStride), dstStride);
}

template <uint32_t channels, vsrFlipDirection typicalDirection>
void prepareFlip(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const vsrFlipDirection direction = a.choose(VISORA_FLIP_HORIZONTAL, VISORA_FLIP_BOTH, typicalDirection);
    const uint32_t srcStride = a.srcStride(width * channels);
    const uint32_t dstStride = a.dstStride(width * channels);
    const uint8_t* src = a.input<uint8_t>(size_t{width} * channels, height, srcStride);
    uint8_t* dst = a.output<uint8_t>(size_t{width} * channels, height, dstStride);
    a.call(vsrFlipu8C, src, width, height, srcStride, channels, direction, dst, dstStride);
}

void prepareWordFlip(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const vsrFlipDirection direction = a.choose(VISORA_FLIP_HORIZONTAL, VISORA_FLIP_BOTH, VISORA_FLIP_HORIZONTAL);
    const uint32_t srcStride = a.srcStride(width * 2, 2);
    const uint32_t dstStride = a.dstStride(width * 2, 2);
    const auto* src = a.input<uint16_t>(width, height, srcStride);
    auto* dst = a.output<uint16_t>(width, height, dstStride);
    a.call(vsrFlipu16C, src, width, height, srcStride, direction, dst, dstStride);
}

const Register movers({
    {VISORA_OPERATION(vsrRotateImageInterleavedu8), prepareRotation<vsrRotateImageInterleavedu8C, 2>},
    {VISORA_OPERATION(vsrRotatePlaneu8), prepareRotation<vsrRotatePlaneu8C, 1>},
    {VISORA_OPERATION(vsrTransposeu8), prepareTransposition<vsrTransposeu8C, uint8_t>},
    {VISORA_OPERATION(vsrTransposef32), prepareTransposition<vsrTransposef32C, float>},
    {VISORA_OPERATION(vsrFlipu8), inPlace(prepareFlip<1, VISORA_FLIP_HORIZONTAL>), "horizontal"},
    {VISORA_OPERATION(vsrFlipu8), prepareFlip<1, VISORA_FLIP_VERTICAL>, "vertical"},
    {VISORA_OPERATION(vsrFlipu8), prepareFlip<2, VISORA_FLIP_HORIZONTAL>, "two_channels"},
    {VISORA_OPERATION(vsrFlipu8), prepareFlip<3, VISORA_FLIP_HORIZONTAL>, "three_channels"},
    {VISORA_OPERATION(vsrFlipu8), prepareFlip<4, VISORA_FLIP_BOTH>, "four_channels"},
    {VISORA_OPERATION(vsrFlipu16), inPlace(prepareWordFlip)},
});

}  // namespace

}  // namespace visora::test
