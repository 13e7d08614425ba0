// Blocks of histograms of oriented gradients, reference.
#include <memory>
#include <new>

#include "cpu/descriptor/visoraHog.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

void addVotes(const uint8_t* src, uint32_t width, uint32_t height, size_t stride, const HogSetup& setup,
              uint32_t* cells)
{
    const uint32_t cellsX = width / setup.cellSize;
    const uint32_t cellsY = height / setup.cellSize;
    for (uint32_t y = 0; y < cellsY * setup.cellSize; ++y)
    {
        const uint8_t* row = planeRow(src, stride, y);
        const uint8_t* above = planeRow(src, stride, y > 0 ? y - 1 : 0);
        const uint8_t* below = planeRow(src, stride, y + 1 < height ? y + 1 : y);
        for (uint32_t x = 0; x < cellsX * setup.cellSize; ++x)
        {
            const int32_t dx = row[x + 1 < width ? x + 1 : x] - row[x > 0 ? x - 1 : 0];
            const HogVote vote = voteOf(dx, below[x] - above[x], setup);
            uint32_t* bins = cells + (size_t{y / setup.cellSize} * cellsX + x / setup.cellSize) * setup.bins;
            bins[vote.bin] += vote.low;
            bins[(vote.bin + 1) % setup.bins] += vote.high;
        }
    }
}

void scaleBlock(float* v, size_t length, uint16_t* features)
{
    const auto sumOfSquares = [&]
    {
        PartialSums<float> sums;
        for (size_t i = 0; i < length; ++i)
        {
            sums.add(i, v[i] * v[i]);
        }
        return sums.total();
    };
    const float n = sumOfSquares();
    if (n == 0)
    {
        std::fill_n(features, length, uint16_t{0});
        return;
    }
    const float k1 = 1 / (std::sqrt(n) + static_cast<float>(length) * 1.6f);
    for (size_t i = 0; i < length; ++i)
    {
        v[i] = std::min(v[i] * k1, 0.2f);
    }
    const float k2 = 1 / (std::sqrt(sumOfSquares()) + 0.001f);
    for (size_t i = 0; i < length; ++i)
    {
        features[i] = static_cast<uint16_t>(roundedUp((v[i] * k2) * 32768));
    }
}

}  // namespace
}  // namespace visora

vsrStatus vsrHOGInitC(uint32_t cellSize, uint32_t blockCells, uint32_t blockStep, uint32_t bins, uint32_t isSigned,
                      uint64_t* handle)
{
    auto* setup = new (std::nothrow) visora::HogSetup{cellSize, blockCells, blockStep, bins, isSigned != 0};
    if (!setup)
    {
        return VISORA_ENOMEM;
    }
    *handle = reinterpret_cast<uintptr_t>(setup);
    return VISORA_SUCCESS;
}

vsrStatus vsrHOGDeInitC(uint64_t handle)
{
    const std::unique_ptr<const visora::HogSetup> owned(&visora::HogSetup::of(handle));
    return VISORA_SUCCESS;
}

vsrStatus vsrExtractHOGu16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint64_t handle, uint16_t* dst, uint32_t dstStride)
{
    const visora::HogSetup& setup = visora::HogSetup::of(handle);
    const size_t cellsX = srcWidth / setup.cellSize;
    const size_t cellWords = cellsX * (srcHeight / setup.cellSize) * setup.bins;
    const visora::Scratch scratch(cellWords * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* cells = scratch.as<uint32_t>();
    std::fill_n(cells, cellWords, 0u);
    visora::addVotes(src, srcWidth, srcHeight, srcStride, setup, cells);
    const size_t length = setup.blockLength();
    for (size_t by = 0; by < setup.blocks(srcHeight); ++by)
    {
        for (size_t bx = 0; bx < setup.blocks(srcWidth); ++bx)
        {
            float v[16 * 32];
            float* end = v;
            for (size_t cell = 0; cell < setup.blockCells * setup.blockCells; ++cell)
            {
                const size_t x = bx * setup.blockStep + cell % setup.blockCells;
                const size_t y = by * setup.blockStep + cell / setup.blockCells;
                for (size_t bin = 0; bin < setup.bins; ++bin)
                {
                    *end++ = static_cast<float>(cells[(y * cellsX + x) * setup.bins + bin]);
                }
            }
            visora::scaleBlock(v, length, visora::planeRow(dst, dstStride, by) + bx * length);
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrHOGWindowScoreu16f32C(const uint16_t* features, uint32_t gridWidth, uint32_t gridHeight,
                                   uint32_t gridStride, uint32_t blockLength, const float* weights,
                                   uint32_t windowWidth, uint32_t windowHeight, uint32_t stepX, uint32_t stepY,
                                   float bias, float* dst, uint32_t dstStride)
{
    const size_t rowLength = size_t{windowWidth} * blockLength;
    for (size_t y = 0; y * stepY + windowHeight <= gridHeight; ++y)
    {
        for (size_t x = 0; x * stepX + windowWidth <= gridWidth; ++x)
        {
            visora::PartialSums<float> sums;
            for (size_t row = 0; row < windowHeight; ++row)
            {
                const uint16_t* from =
                    visora::planeRow(features, gridStride, y * stepY + row) + x * stepX * blockLength;
                for (size_t i = 0; i < rowLength; ++i)
                {
                    sums.add(i, static_cast<float>(from[i]) * weights[row * rowLength + i]);
                }
            }
            visora::planeRow(dst, dstStride, y)[x] = visora::standardNaN(sums.total() + bias);
        }
    }
    return VISORA_SUCCESS;
}
