// Polyphase scaling, reference variants.
#include <algorithm>

#include "cpu/scale/visoraScalePolyphase.h"
#include "visora/variants/scale.h"

namespace
{

template <size_t channels>
vsrStatus scalePolyphase(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                         uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    const auto inside = [](int64_t index, uint32_t size)
    { return static_cast<size_t>(std::clamp<int64_t>(index, 0, int64_t{size} - 1)); };
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const visora::PhasePlace row(y, srcHeight, dstHeight);
        const visora::PhaseWeights& rowWeights = visora::kPhaseWeights[row.phase];
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            const visora::PhasePlace column(x, srcWidth, dstWidth);
            const visora::PhaseWeights& columnWeights = visora::kPhaseWeights[column.phase];
            for (size_t channel = 0; channel < channels; ++channel)
            {
                int sum = 0;
                for (size_t r = 0; r < visora::kPhaseTaps; ++r)
                {
                    const uint8_t* pixels = src + inside(row.first + static_cast<int64_t>(r), srcHeight) * srcStride;
                    for (size_t c = 0; c < visora::kPhaseTaps; ++c)
                    {
                        const size_t at = inside(column.first + static_cast<int64_t>(c), srcWidth);
                        sum += rowWeights[r] * columnWeights[c] * pixels[at * channels + channel];
                    }
                }
                dst[size_t{y} * dstStride + x * channels + channel] =
                    static_cast<uint8_t>(std::clamp((sum + 8192) >> 14, 0, 255));
            }
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace

vsrStatus vsrScalePolyphaseu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    return scalePolyphase<1>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}

vsrStatus vsrScalePolyphaseInterleaved2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                           uint32_t dstStride)
{
    return scalePolyphase<2>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride);
}
