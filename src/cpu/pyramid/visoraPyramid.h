// How pyramids are filled, whichever kernels do it.
#ifndef VISORA_CPU_PYRAMID_H
#define VISORA_CPU_PYRAMID_H

#include <cmath>

#include "cpu/filter/visoraFilterGaussian.h"
#include "visora/variants/filter.h"
#include "visora/variants/pyramid.h"
#include "visora/variants/scale.h"

namespace visora
{

// ---- Records ----

inline void record(vsrPyramidLevel& level, uint32_t width, uint32_t height, size_t /*stride*/)
{
    level.width = width;
    level.height = height;
}

inline void record(vsrPyramidLevel_v2& level, uint32_t width, uint32_t height, size_t stride)
{
    level.width = width;
    level.height = height;
    level.stride = static_cast<uint32_t>(stride);
}

// ---- Sizes ----

/** Sizes of the levels after the base: halves rounded up, or quarter octaves. */
class LevelSizes
{
  public:
    LevelSizes(uint32_t baseWidth, uint32_t baseHeight, bool quarterOctaves)
        : width(baseWidth),
          height(baseHeight),
          referenceWidth_(baseWidth),
          referenceHeight_(baseHeight),
          quarterOctaves_(quarterOctaves)
    {
    }

    /** Steps on to the next level. */
    void step()
    {
        if (!quarterOctaves_)
        {
            width = width / 2 + width % 2;
            height = height / 2 + height % 2;
            return;
        }
        constexpr float kScales[4] = {0.5f, 0.8408964f, 0.70710683f, 0.5946036f};
        quarter_ = (quarter_ + 1) % 4;
        width = scaled(referenceWidth_, kScales[quarter_]);
        height = scaled(referenceHeight_, kScales[quarter_]);
        if (quarter_ == 0)
        {
            referenceWidth_ = width;
            referenceHeight_ = height;
        }
    }

    uint32_t width;
    uint32_t height;

  private:
    static uint32_t scaled(uint32_t size, float scale)
    {
        return static_cast<uint32_t>(std::ceil(scale * static_cast<float>(size)));
    }

    uint32_t referenceWidth_;
    uint32_t referenceHeight_;
    bool quarterOctaves_;
    uint32_t quarter_ = 0;
};

// ---- Creation ----

/** Where a creation checks what may not happen: the lines it names, and its words for the second condition. */
struct CreationChecks
{
    int argumentsLine;
    int sizesLine;
    const char* sizes =
        "( (baseWidth & ((1 << (numLevels - 1)) - 1)) == 0 ) & ( (baseHeight & ((1 << (numLevels - 1)) - 1)) == 0 )";
};

constexpr CreationChecks kChecksf32 = {104, 106};
constexpr CreationChecks kChecksu8 = {137, 139};
constexpr CreationChecks kChecksf32_v2 = {351, 353,
                                          "((baseWidth & ((1 << (numLevels - 1)) - 1)) == 0) & ((baseHeight & ((1 << "
                                          "(numLevels - 1)) - 1)) == 0)"};
constexpr CreationChecks kChecksu8_v2 = {391, 393};

/** The conditions under which a creation stops the process. */
void checkCreation(const CreationChecks& checks, const void* base, uint32_t baseWidth, uint32_t baseHeight,
                   uint32_t numLevels, const void* pyramid);

/** Fills a pyramid of halves, which need no rounding. */
template <class T, class Level>
vsrStatus createPyramid(void (*halve)(const GaussianImage<T>&, uint32_t, uint32_t), const CreationChecks& checks,
                        const T* base, uint32_t baseWidth, uint32_t baseHeight, size_t baseStride, uint32_t numLevels,
                        Level* pyramid)
{
    checkCreation(checks, base, baseWidth, baseHeight, numLevels, pyramid);
    if (baseStride < baseWidth * sizeof(T))
    {
        return VSR_PYRAMID_FAILED;
    }
    pyramid[0].ptr = const_cast<T*>(base);
    record(pyramid[0], baseWidth, baseHeight, baseStride);
    size_t stride = baseStride;
    for (uint32_t i = 1; i < numLevels; ++i)
    {
        const Level& from = pyramid[i - 1];
        Level& to = pyramid[i];
        const size_t packed = from.width / 2 * sizeof(T);
        record(to, from.width / 2, from.height / 2, packed);
        if (!to.ptr || !from.ptr)
        {
            return VSR_PYRAMID_FAILED;
        }
        halve(GaussianImage<T>(static_cast<const T*>(from.ptr), from.width, from.height, static_cast<uint32_t>(stride),
                               static_cast<T*>(to.ptr), static_cast<uint32_t>(packed)),
              to.width, to.height);
        stride = packed;
    }
    return VISORA_SUCCESS;
}

/** The kernels that make one level of a u8 pyramid of any size from another. */
struct LevelKernels
{
    void (*halve)(const GaussianImage<uint8_t>& image, uint32_t dstWidth, uint32_t dstHeight);
    decltype(&vsrFilterGaussian5x5u8C) smooth;
    decltype(&vsrScaleu8C) resize;
};

/** Fills a pyramid of halves rounded up, or of quarter octaves. */
vsrStatus createPyramid(const LevelKernels& kernels, const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                        uint32_t srcStride, uint32_t numLevels, bool quarterOctaves, vsrPyramidLevel_v2* pyramid);

/** Fills gradient pyramids with a gradient kernel. */
template <class T>
vsrStatus createGradients(vsrStatus (*gradient)(const uint8_t*, uint32_t, uint32_t, uint32_t, T*, T*, uint32_t),
                          const vsrPyramidLevel* image, vsrPyramidLevel* dx, vsrPyramidLevel* dy, uint32_t numLevels)
{
    for (uint32_t i = 0; i < numLevels; ++i)
    {
        const uint32_t width = i < 32 ? image[0].width >> i : 0;
        const uint32_t height = i < 32 ? image[0].height >> i : 0;
        record(dx[i], width, height, 0);
        record(dy[i], width, height, 0);
        if (!image[i].ptr || !dx[i].ptr || !dy[i].ptr)
        {
            return VSR_PYRAMID_FAILED;
        }
        gradient(static_cast<const uint8_t*>(image[i].ptr), width, height, width, static_cast<T*>(dx[i].ptr),
                 static_cast<T*>(dy[i].ptr), static_cast<uint32_t>(width * sizeof(T)));
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
