// Pyramids: allocation, and creation with the reference kernels.
#include <cstring>

#include "common/visoraLog.h"
#include "cpu/pyramid/visoraPyramid.h"
#include "cpu/scale/visoraScaleHalve.h"
#include "cpu/visoraScratch.h"
#include "visora/memory.h"
#include "visora/variants/statistics.h"

namespace
{

using visora::record;

// A level's buffer; null too for one of more bytes than an allocation can have.
void* levelBuffer(size_t stride, uint32_t height)
{
    size_t bytes;
    if (stride > UINT32_MAX || __builtin_mul_overflow(stride, size_t{height}, &bytes) || bytes > UINT32_MAX)
    {
        return nullptr;
    }
    return vsrMemAlloc(static_cast<uint32_t>(bytes), 16);
}

template <class Level>
void clearPointers(Level* pyramid, uint32_t begin, uint32_t end)
{
    for (uint32_t i = begin; i < end; ++i)
    {
        pyramid[i].ptr = nullptr;
    }
}

// Allocates the levels from 1 on, and level 0 if it is wanted; level 0 has its record. step() brings `width` and
// `height` from level to level, strideOf(width) gives strides.
template <class Level, class Step, class StrideOf>
bool allocateLevels(Level* pyramid, size_t baseStride, uint32_t numLevels, bool allocateBase, Step step,
                    StrideOf strideOf)
{
    clearPointers(pyramid, allocateBase ? 0 : 1, numLevels);
    if (allocateBase)
    {
        pyramid[0].ptr = levelBuffer(baseStride, pyramid[0].height);
        if (!pyramid[0].ptr)
        {
            return false;
        }
    }
    for (uint32_t i = 1; i < numLevels; ++i)
    {
        const auto [width, height] = step();
        const size_t stride = strideOf(width);
        record(pyramid[i], width, height, stride);
        pyramid[i].ptr = levelBuffer(stride, height);
        if (!pyramid[i].ptr)
        {
            return false;
        }
    }
    return true;
}

struct Size
{
    uint32_t width;
    uint32_t height;
};

auto halving(uint32_t baseWidth, uint32_t baseHeight)
{
    return [size = Size{baseWidth, baseHeight}]() mutable
    {
        size = {size.width / 2, size.height / 2};
        return size;
    };
}

// Nothing stays allocated where one of the levels could not be.
bool freeUnless(bool complete, vsrPyramidLevel_v2* pyramid, uint32_t numLevels, bool allocateBase)
{
    if (!complete)
    {
        vsrPyramidDelete_v2(pyramid, numLevels, allocateBase ? 0 : 1);
    }
    return complete;
}

}  // namespace

vsrStatus vsrPyramidAllocateC(vsrPyramidLevel* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t bytesPerPixel,
                              uint32_t numLevels, uint32_t allocateBase)
{
    const auto packed = [bytesPerPixel](uint32_t width) { return size_t{width} * bytesPerPixel; };
    record(pyr[0], baseWidth, baseHeight, 0);
    const bool complete =
        allocateLevels(pyr, packed(baseWidth), numLevels, allocateBase != 0, halving(baseWidth, baseHeight), packed);
    return complete ? vsrStatus{VISORA_SUCCESS} : VSR_PYRAMID_FAILED;
}

vsrStatus vsrPyramidAllocate_v2C(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                 uint32_t bytesPerPixel, uint32_t numLevels, uint32_t allocateBase)
{
    record(pyr[0], baseWidth, baseHeight, baseStride);
    pyr[0].ptr = nullptr;
    const bool complete = allocateLevels(pyr, baseStride, numLevels, allocateBase != 0, halving(baseWidth, baseHeight),
                                         [bytesPerPixel](uint32_t width) { return size_t{width} * bytesPerPixel; });
    return freeUnless(complete, pyr, numLevels, allocateBase != 0) ? vsrStatus{VISORA_SUCCESS} : VSR_PYRAMID_FAILED;
}

vsrStatus vsrPyramidAllocate_v3C(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                 uint32_t bytesPerPixel, uint32_t alignment, uint32_t numLevels, uint32_t scaleBy2,
                                 uint32_t allocateBase)
{
    record(pyr[0], baseWidth, baseHeight, baseStride);
    pyr[0].ptr = nullptr;
    const auto step = [sizes = visora::LevelSizes(baseWidth, baseHeight, scaleBy2 != 0)]() mutable
    {
        sizes.step();
        return Size{sizes.width, sizes.height};
    };
    const auto aligned = [=](uint32_t width)
    {
        const size_t units = alignment == 0 ? 0 : (size_t{width} + alignment - 1) / alignment;
        return units * alignment * bytesPerPixel;
    };
    const bool complete = allocateLevels(pyr, baseStride, numLevels, allocateBase != 0, step, aligned);
    return freeUnless(complete, pyr, numLevels, allocateBase != 0) ? VISORA_SUCCESS : VISORA_ENOMEM;
}

void visora::checkCreation(const CreationChecks& checks, const void* base, uint32_t baseWidth, uint32_t baseHeight,
                           uint32_t numLevels, const void* pyramid)
{
    constexpr char kPath[] = "src/cpu/visoraPyramidC";
    if (!(base && numLevels && baseHeight && baseWidth && pyramid))
    {
        stopProcess(kPath, checks.argumentsLine, "base && numLevels && baseHeight && baseWidth && pyramid");
    }
    // No side is a multiple of more than 2^31.
    const uint32_t below = numLevels > 32 ? UINT32_MAX : (uint32_t{1} << (numLevels - 1)) - 1;
    if ((baseWidth & below) != 0 || (baseHeight & below) != 0)
    {
        stopProcess(kPath, checks.sizesLine, checks.sizes);
    }
}

vsrStatus visora::createPyramid(const LevelKernels& kernels, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, uint32_t numLevels, bool quarterOctaves,
                                vsrPyramidLevel_v2* pyramid)
{
    vsrPyramidLevel_v2& base = pyramid[0];
    if (base.ptr)
    {
        if (base.width != srcWidth || base.height != srcHeight || base.stride != srcStride)
        {
            return VISORA_EFAIL;
        }
        if (base.ptr != src)
        {
            std::memmove(base.ptr, src, size_t{srcStride} * srcHeight);
        }
    }
    else
    {
        base.ptr = const_cast<uint8_t*>(src);
        record(base, srcWidth, srcHeight, srcStride);
    }
    if (numLevels == 1)
    {
        return VISORA_SUCCESS;
    }

    const Scratch smoothed(quarterOctaves ? size_t{srcWidth} * srcHeight : 0, 16);
    if (quarterOctaves && !smoothed.data())
    {
        return VISORA_ENOMEM;
    }
    LevelSizes sizes(srcWidth, srcHeight, quarterOctaves);
    const auto strideOf = [](const vsrPyramidLevel_v2& level)
    { return level.stride == 0 ? level.width : level.stride; };
    for (uint32_t i = 1; i < numLevels; ++i)
    {
        const vsrPyramidLevel_v2& from = pyramid[i - 1];
        vsrPyramidLevel_v2& to = pyramid[i];
        sizes.step();
        to.width = sizes.width;
        to.height = sizes.height;
        if (!to.ptr)
        {
            return quarterOctaves ? VISORA_EBADPARAM : VISORA_ENOMEM;
        }
        if (strideOf(to) < to.width)
        {
            return VISORA_EBADPARAM;
        }
        const auto* pixels = static_cast<const uint8_t*>(from.ptr);
        auto* out = static_cast<uint8_t*>(to.ptr);
        if (!quarterOctaves)
        {
            kernels.halve(GaussianImage(pixels, from.width, from.height, strideOf(from), out, strideOf(to)), to.width,
                          to.height);
            continue;
        }
        kernels.smooth(pixels, from.width, from.height, strideOf(from), smoothed.data(), srcWidth, 1);
        kernels.resize(smoothed.data(), from.width, from.height, srcWidth, out, to.width, to.height, strideOf(to),
                       VISORA_INTERPOLATION_NEAREST);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrPyramidCreateu8C(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                              vsrPyramidLevel* pyr)
{
    return visora::createPyramid<uint8_t>(visora::halveReference, visora::kChecksu8, base, baseWidth, baseHeight,
                                          baseWidth, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32C(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                               vsrPyramidLevel* pyr)
{
    return visora::createPyramid<float>(visora::halveReference, visora::kChecksf32, base, baseWidth, baseHeight,
                                        baseWidth * sizeof(float), numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v2C(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                 uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid<uint8_t>(visora::halveReference, visora::kChecksu8_v2, base, baseWidth, baseHeight,
                                          baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32_v2C(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                  uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid<float>(visora::halveReference, visora::kChecksf32_v2, base, baseWidth, baseHeight,
                                        baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t numLevels, uint32_t scaleBy2, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid({visora::halveReference, vsrFilterGaussian5x5u8C, vsrScaleu8C}, src, srcWidth,
                                 srcHeight, srcStride, numLevels, scaleBy2 != 0, pyr);
}

vsrStatus vsrPyramidSobelGradientCreatei16C(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                            vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanars16C, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatei8C(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                           vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanars8C, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatef32C(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                            vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanarf32C, imgPyr, dxPyr, dyPyr, numLevels);
}
