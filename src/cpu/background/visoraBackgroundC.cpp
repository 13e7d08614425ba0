// Codebook background, reference variants.
#include "cpu/background/visoraBackground.h"
#include "visora/variants/background.h"

namespace
{

visora::Levels levels(const uint8_t* three)
{
    return {three[0], three[1], three[2]};
}

}  // namespace

vsrStatus vsrBGCodeLearnu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* reach, uint32_t time, uint32_t maxWords, uint8_t* counts, uint8_t* bounds,
                            uint32_t* lastSeen)
{
    const visora::Model model{size_t{srcWidth} * srcHeight, maxWords, counts, bounds, lastSeen};
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < srcWidth; ++x)
        {
            learnPixel(model, y * srcWidth + x, visora::levelsOf(src + y * srcStride + 3 * x), levels(reach), time);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrBGCodeClassifyu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint32_t maxWords, const uint8_t* counts, const uint8_t* bounds, const uint8_t* below,
                               const uint8_t* above, uint8_t* dst, uint32_t dstStride)
{
    const visora::ConstModel model{size_t{srcWidth} * srcHeight, maxWords, counts, bounds, nullptr};
    for (size_t y = 0; y < srcHeight; ++y)
    {
        for (size_t x = 0; x < srcWidth; ++x)
        {
            dst[y * dstStride + x] = classifyPixel(
                model, y * srcWidth + x, visora::levelsOf(src + y * srcStride + 3 * x), levels(below), levels(above));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrBGCodePruneu8C(uint32_t width, uint32_t height, uint32_t time, uint32_t maxAge, uint32_t maxWords,
                            uint8_t* counts, uint8_t* bounds, uint32_t* lastSeen)
{
    const visora::Model model{size_t{width} * height, maxWords, counts, bounds, lastSeen};
    for (size_t pixel = 0; pixel < model.pixels; ++pixel)
    {
        prunePixel(model, pixel, time, maxAge);
    }
    return VISORA_SUCCESS;
}
