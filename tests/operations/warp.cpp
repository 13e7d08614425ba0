#include "visora/variants/warp.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

void prepareRotation(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t rotation = a.choose(1, 3, 1);
    const uint32_t dstWidth = rotation == 2 ? width : height;
    const uint32_t dstHeight = rotation == 2 ? height : width;
    const uint8_t* src = a.input<uint8_t>(size_t{width} * 2, height, a.srcStride(width * 2));
    uint8_t* dst = a.output<uint8_t>(size_t{dstWidth} * 2, dstHeight, a.dstStride(dstWidth * 2));
    a.call(vsrRotateImageInterleavedu8C, src, width, height, a.srcStride(width * 2), dst, a.dstStride(dstWidth * 2),
           rotation);
}

const Register warps({{VISORA_OPERATION(vsrRotateImageInterleavedu8), prepareRotation}});

}  // namespace

}  // namespace visora::test
