// How much of a convolution is written.
#ifndef VISORA_COMMON_CONVOLUTION_H
#define VISORA_COMMON_CONVOLUTION_H

#include <cstdint>

#include "visora/correlate.h"

namespace visora
{

/** The output's size, and where it begins in the full convolution. All 0 where there is none. */
struct ConvolutionOutput
{
    constexpr ConvolutionOutput(uint32_t srcWidth, uint32_t srcHeight, uint32_t kernelWidth, uint32_t kernelHeight,
                                vsrConvolutionSize size)
    {
        switch (size)
        {
            case VISORA_CONVOLUTION_FULL:
                width = srcWidth + kernelWidth - 1;
                height = srcHeight + kernelHeight - 1;
                break;
            case VISORA_CONVOLUTION_SAME:
                width = srcWidth;
                height = srcHeight;
                firstColumn = (kernelWidth - 1) / 2;
                firstRow = (kernelHeight - 1) / 2;
                break;
            default:
                if (kernelWidth <= srcWidth && kernelHeight <= srcHeight)
                {
                    width = srcWidth - kernelWidth + 1;
                    height = srcHeight - kernelHeight + 1;
                    firstColumn = kernelWidth - 1;
                    firstRow = kernelHeight - 1;
                }
        }
    }

    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t firstColumn = 0;
    uint32_t firstRow = 0;
};

}  // namespace visora

#endif
