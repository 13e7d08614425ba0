// Creation of pyramids with the vector kernels.
#include "cpu/pyramid/visoraPyramid.h"
#include "cpu/scale/visoraScaleHalve.h"
#include "visora/variants/statistics.h"

vsrStatus vsrPyramidCreateu8V(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                              vsrPyramidLevel* pyr)
{
    return visora::createPyramid<uint8_t>(visora::halveVector, visora::kChecksu8, base, baseWidth, baseHeight,
                                          baseWidth, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32V(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t numLevels,
                               vsrPyramidLevel* pyr)
{
    return visora::createPyramid<float>(visora::halveVector, visora::kChecksf32, base, baseWidth, baseHeight,
                                        baseWidth * sizeof(float), numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v2V(const uint8_t* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                 uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid<uint8_t>(visora::halveVector, visora::kChecksu8_v2, base, baseWidth, baseHeight,
                                          baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreatef32_v2V(const float* base, uint32_t baseWidth, uint32_t baseHeight, uint32_t baseStride,
                                  uint32_t numLevels, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid<float>(visora::halveVector, visora::kChecksf32_v2, base, baseWidth, baseHeight,
                                        baseStride, numLevels, pyr);
}

vsrStatus vsrPyramidCreateu8_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t numLevels, uint32_t scaleBy2, vsrPyramidLevel_v2* pyr)
{
    return visora::createPyramid({visora::halveVector, vsrFilterGaussian5x5u8V, vsrScaleu8V}, src, srcWidth, srcHeight,
                                 srcStride, numLevels, scaleBy2 != 0, pyr);
}

vsrStatus vsrPyramidSobelGradientCreatei16V(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                            vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanars16V, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatei8V(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                           vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanars8V, imgPyr, dxPyr, dyPyr, numLevels);
}

vsrStatus vsrPyramidSobelGradientCreatef32V(const vsrPyramidLevel* imgPyr, vsrPyramidLevel* dxPyr,
                                            vsrPyramidLevel* dyPyr, uint32_t numLevels)
{
    return visora::createGradients(vsrImageGradientSobelPlanarf32V, imgPyr, dxPyr, dyPyr, numLevels);
}
