// Downscalers, reference variants.
#include <bit>
#include <cstring>

#include "cpu/scale/visoraScaleMap.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/scale.h"

namespace
{

// 2^32 / n rounded up, as far as 32 bits hold it.
constexpr uint32_t reciprocal(uint64_t n)
{
    return n < 2 ? UINT32_MAX : static_cast<uint32_t>(((uint64_t{1} << 32) + n - 1) / n);
}

// Averages of the boxes of fx by fy pixels, as many as the destination has pixels.
void averageBoxes(const uint8_t* src, size_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                  size_t dstStride, size_t fx, size_t fy)
{
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const uint8_t* rows = src + y * fy * srcStride;
        uint8_t* out = dst + y * dstStride;
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            uint64_t sum = 0;
            for (size_t j = 0; j < fy; ++j)
            {
                const uint8_t* box = rows + j * srcStride + x * fx;
                for (size_t i = 0; i < fx; ++i)
                {
                    sum += box[i];
                }
            }
            // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): no caller has a destination larger than its source.
            out[x] = static_cast<uint8_t>(sum / (fx * fy));
        }
    }
}

// A pixel of the 3:2 reduction from the corner of its block, the two edge pixels beside the corner, and the centre.
uint8_t reduceCorner(uint32_t corner, uint32_t edge, uint32_t otherEdge, uint32_t centre)
{
    return static_cast<uint8_t>((9 * corner + 3 * edge + 3 * otherEdge + centre) >> 4);
}

}  // namespace

#define VSR_RECIPROCALS_10(n)                                                                          \
    reciprocal(n), reciprocal((n) + 1), reciprocal((n) + 2), reciprocal((n) + 3), reciprocal((n) + 4), \
        reciprocal((n) + 5), reciprocal((n) + 6), reciprocal((n) + 7), reciprocal((n) + 8), reciprocal((n) + 9)
#define VSR_RECIPROCALS_100(n)                                                                                       \
    VSR_RECIPROCALS_10(n), VSR_RECIPROCALS_10((n) + 10), VSR_RECIPROCALS_10((n) + 20), VSR_RECIPROCALS_10((n) + 30), \
        VSR_RECIPROCALS_10((n) + 40), VSR_RECIPROCALS_10((n) + 50), VSR_RECIPROCALS_10((n) + 60),                    \
        VSR_RECIPROCALS_10((n) + 70), VSR_RECIPROCALS_10((n) + 80), VSR_RECIPROCALS_10((n) + 90)

const uint32_t mn_div_table[401] = {VSR_RECIPROCALS_100(0), VSR_RECIPROCALS_100(100), VSR_RECIPROCALS_100(200),
                                    VSR_RECIPROCALS_100(300), reciprocal(400)};

int vsrScaleDownBy2u8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    averageBoxes(src, srcStride, dst, width / 2, height / 2, dstStride, 2, 2);
    return 0;
}

int vsrScaleDownBy4u8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                       uint32_t dstStride)
{
    averageBoxes(src, srcStride, dst, width / 4, height / 4, dstStride, 4, 4);
    return 0;
}

vsrStatus vsrScaleDownu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    averageBoxes(src, srcStride, dst, dstWidth, dstHeight, dstStride, srcWidth / dstWidth, srcHeight / dstHeight);
    return VISORA_SUCCESS;
}

int vsrScaleDown3To2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                        uint32_t dstStride)
{
    if (srcWidth < 3 || srcHeight < 3)
    {
        return 1;
    }
    for (uint32_t y = 0; y < srcHeight / 3; ++y)
    {
        const uint8_t* top = src + size_t{y} * 3 * srcStride;
        const uint8_t* middle = top + srcStride;
        const uint8_t* bottom = middle + srcStride;
        uint8_t* upper = dst + size_t{y} * 2 * dstStride;
        uint8_t* lower = upper + dstStride;
        for (uint32_t x = 0; x < srcWidth / 3; ++x)
        {
            upper[0] = reduceCorner(top[0], top[1], middle[0], middle[1]);
            upper[1] = reduceCorner(top[2], top[1], middle[2], middle[1]);
            lower[0] = reduceCorner(bottom[0], bottom[1], middle[0], middle[1]);
            lower[1] = reduceCorner(bottom[2], bottom[1], middle[2], middle[1]);
            top += 3;
            middle += 3;
            bottom += 3;
            upper += 2;
            lower += 2;
        }
    }
    return 0;
}

vsrStatus vsrScaleDownMNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    // Sums of columns first, then the lengths of the runs: at most 20, a byte each.
    const size_t scratchBytes = dstWidth + size_t{4} * srcWidth + 128;
    const visora::Scratch memory(scratchBytes, 16);
    void* const scratch = memory.data();
    if (!scratch)
    {
        return VISORA_ENOMEM;
    }
    auto* columns = static_cast<uint16_t*>(scratch);
    auto* lengths = reinterpret_cast<uint8_t*>(columns + srcWidth);
    visora::RunLengths columnRuns(srcWidth, dstWidth);
    for (uint32_t x = 0; x < dstWidth; ++x)
    {
        lengths[x] = static_cast<uint8_t>(columnRuns.next());
    }

    visora::RunLengths rowRuns(srcHeight, dstHeight);
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const uint32_t rows = rowRuns.next();
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            columns[x] = src[x];
        }
        src += srcStride;
        for (uint32_t j = 1; j < rows; ++j)
        {
            for (uint32_t x = 0; x < srcWidth; ++x)
            {
                columns[x] = static_cast<uint16_t>(columns[x] + src[x]);
            }
            src += srcStride;
        }

        const uint16_t* run = columns;
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            uint64_t sum = 0;
            for (uint32_t i = 0; i < lengths[x]; ++i)
            {
                sum += run[i];
            }
            run += lengths[x];
            dst[x] = static_cast<uint8_t>(sum * mn_div_table[lengths[x] * rows] >> 32);
        }
        dst += dstStride;
    }
    return VISORA_SUCCESS;
}

uint32_t vsrGetNumBits(uint32_t value)
{
    return static_cast<uint32_t>(std::bit_width(value & 0xffff));
}

uint32_t vsrGetMaxNumTrail0s(uint32_t value)
{
    return static_cast<uint32_t>(std::countr_zero(value | 0x8000));
}

vsrStatus vsrScaleDownNNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride)
{
    if (srcWidth == dstWidth && srcHeight == dstHeight)
    {
        for (uint32_t y = 0; y < dstHeight; ++y)
        {
            std::memcpy(dst + size_t{y} * dstStride, src + size_t{y} * srcStride, dstWidth);
        }
        return VISORA_SUCCESS;
    }
    const visora::NearestMap map(srcWidth, srcHeight, dstWidth, dstHeight);
    if (!map.inRange())
    {
        return VISORA_EFAIL;
    }
    for (uint32_t y = 0; y < dstHeight; ++y)
    {
        const uint8_t* row = src + size_t{map.row(y)} * srcStride;
        uint8_t* out = dst + size_t{y} * dstStride;
        for (uint32_t x = 0; x < dstWidth; ++x)
        {
            out[x] = row[map.column(x)];
        }
    }
    return VISORA_SUCCESS;
}
