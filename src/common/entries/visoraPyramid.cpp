// Entry points of the pyramids.
#include "common/visoraCall.h"
#include "visora/memory.h"
#include "visora/variants/pyramid.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

template <class Level>
vsrStatus deleteLevels(const char* entry, Level* pyr, uint32_t numLevels, uint32_t startLevel)
{
    if (!(pyr && static_cast<int32_t>(startLevel) >= 0 && startLevel <= numLevels))
    {
        return visora::refuse(entry, "pyr && ((signed)startLevel >= 0) && (startLevel <= numLevels)");
    }
    for (uint32_t i = startLevel; i < numLevels; ++i)
    {
        vsrMemFree(pyr[i].ptr);
        pyr[i].ptr = nullptr;
    }
    return VISORA_SUCCESS;
}

// A base that a DSP should be asked to make a pyramid of.
void keepDspIfSuited(Call& call, const void* base, uint32_t width, uint32_t height, uint32_t stride)
{
    call.keepDspIf(worthOffload(stride, height) && multiplesOf<8>(width, stride) && aligned<8>(base));
    call.keepGpuIf(aligned<16>(base) && multiplesOf<8>(stride));
}

template <auto kernel>
vsrStatus createGradients(Call call, const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr, vsrPyramidLevel* dyPyr,
                          uint32_t numLevels)
{
    const bool good = imgPyr && dxPyr && dyPyr && numLevels;
    if (good)
    {
        keepDspIfSuited(call, imgPyr[0].ptr, imgPyr[0].width, imgPyr[0].height, imgPyr[0].width);
    }
    call.trace();
    return good ? call.runOrFallBack<kernel>(imgPyr, dxPyr, dyPyr, numLevels) : VSR_PYRAMID_FAILED;
}

}  // namespace

vsrStatus vsrPyramidAllocate(vsrPyramidLevel* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t bytesPerPixel,
                             uint32_t numLevels, uint32_t allocateBase)
{
    const Call call(Row::vsrPyramidAllocate, "vsrPyramidAllocate");
    call.trace();
    if (!pyr || numLevels == 0)
    {
        return VSR_PYRAMID_FAILED;
    }
    return call.run<vsrPyramidAllocateC>(pyr, baseWidth, baseHeight, bytesPerPixel, numLevels, allocateBase);
}

vsrStatus vsrPyramidAllocate_v2(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                uint32_t bytesPerPixel, uint32_t numLevels, uint32_t allocateBase)
{
    const Call call(Row::vsrPyramidAllocate_v2, "vsrPyramidAllocate_v2");
    call.trace();
    const uint64_t baseRow = uint64_t{baseWidth} * bytesPerPixel;
    if (!pyr || numLevels == 0 || (baseStride == 0 && baseRow > UINT32_MAX))
    {
        return VSR_PYRAMID_FAILED;
    }
    return call.run<vsrPyramidAllocate_v2C>(pyr, baseWidth, baseHeight,
                                            packedIfZero(baseStride, static_cast<uint32_t>(baseRow)), bytesPerPixel,
                                            numLevels, allocateBase);
}

vsrStatus vsrPyramidAllocate_v3(vsrPyramidLevel_v2* pyr, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                uint32_t bytesPerPixel, uint32_t alignment, uint32_t numLevels, uint32_t scaleBy2,
                                uint32_t allocateBase)
{
    const uint64_t baseRow = uint64_t{baseWidth} * bytesPerPixel;
    baseStride = packedIfZero(baseStride, static_cast<uint32_t>(baseRow));
    const Call call(Row::vsrPyramidAllocate_v3, "vsrPyramidAllocate_v3");
    call.trace();
    if (!(pyr && baseWidth && baseHeight && bytesPerPixel && numLevels && baseStride >= baseRow))
    {
        return VISORA_EBADPARAM;
    }
    return call.run<vsrPyramidAllocate_v3C>(pyr, baseWidth, baseHeight, baseStride, bytesPerPixel, alignment, numLevels,
                                            scaleBy2, allocateBase);
}

vsrStatus vsrPyramidDelete(vsrPyramidLevel* pyr, uint32_t numLevels, uint32_t startLevel)
{
    return deleteLevels("vsrPyramidDelete", pyr, numLevels, startLevel);
}

vsrStatus vsrPyramidDelete_v2(vsrPyramidLevel_v2* pyr, uint32_t numLevels, uint32_t startLevel)
{
    return deleteLevels("vsrPyramidDelete_v2", pyr, numLevels, startLevel);
}

// The conditions of the next four are the kernels' own: a call that breaks them stops the process.

vsrStatus vsrPyramidCreateu8(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                             vsrPyramidLevel* pyr)
{
    Call call(Row::vsrPyramidCreateu8, "vsrPyramidCreateu8");
    keepDspIfSuited(call, base, baseWidth, baseHeight, baseWidth);
    call.trace();
    return call.runOrFallBack<vsrPyramidCreateu8C>(base, baseWidth, baseHeight, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                              vsrPyramidLevel* pyr)
{
    Call call(Row::vsrPyramidCreatef32, "vsrPyramidCreatef32");
    keepDspIfSuited(call, base, baseWidth, baseHeight, baseWidth);
    call.trace();
    return call.runOrFallBack<vsrPyramidCreatef32C>(base, baseWidth, baseHeight, numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v2(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    baseStride = packedIfZero(baseStride, baseWidth);
    Call call(Row::vsrPyramidCreateu8_v2, "vsrPyramidCreateu8_v2");
    keepDspIfSuited(call, base, baseWidth, baseHeight, baseStride);
    call.trace();
    return call.runOrFallBack<vsrPyramidCreateu8_v2C>(base, baseWidth, baseHeight, baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32_v2(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                 uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    baseStride = packedIfZero(baseStride, static_cast<uint32_t>(baseWidth * sizeof(float)));
    Call call(Row::vsrPyramidCreatef32_v2, "vsrPyramidCreatef32_v2");
    keepDspIfSuited(call, base, baseWidth, baseHeight, baseStride);
    call.trace();
    return call.runOrFallBack<vsrPyramidCreatef32_v2C>(base, baseWidth, baseHeight, baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v3(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t numLevels, uint32_t scaleBy2, vsrPyramidLevel_v2* pyr)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    Call call(Row::vsrPyramidCreateu8_v3, "vsrPyramidCreateu8_v3");
    keepDspIfSuited(call, src, srcWidth, srcHeight, srcStride);
    call.trace();
    if (!(src && pyr && srcWidth && srcHeight && numLevels && srcStride >= srcWidth))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrPyramidCreateu8_v3C>(src, srcWidth, srcHeight, srcStride, numLevels, scaleBy2, pyr);
}

vsrStatus vsrPyramidSobelGradientCreatei16(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                           vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    const Call call(Row::vsrPyramidSobelGradientCreatei16, "vsrPyramidSobelGradientCreatei16");
    return createGradients<vsrPyramidSobelGradientCreatei16C>(call, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatei8(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr, vsrPyramidLevel* dyPyr,
                                          uint32_t numLevels)
{
    const Call call(Row::vsrPyramidSobelGradientCreatei8, "vsrPyramidSobelGradientCreatei8");
    return createGradients<vsrPyramidSobelGradientCreatei8C>(call, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatef32(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                           vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    const Call call(Row::vsrPyramidSobelGradientCreatef32, "vsrPyramidSobelGradientCreatef32");
    return createGradients<vsrPyramidSobelGradientCreatef32C>(call, imgPyr, dxPyr, dyPyr, numLevels);
}
