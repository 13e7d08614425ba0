// Guided filter and non-local means, reference variants.
#include <algorithm>
#include <cmath>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterNonLocal.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

// visit(u, v) for the window's pixels inside the image; returns how many they are.
template <class Visit>
int64_t forWindow(uint32_t width, uint32_t height, uint32_t radius, uint32_t x, uint32_t y, Visit visit)
{
    const uint32_t left = x - std::min(x, radius);
    const uint32_t top = y - std::min(y, radius);
    const uint32_t right = std::min(x + uint64_t{radius}, uint64_t{width} - 1) & UINT32_MAX;
    const uint32_t bottom = std::min(y + uint64_t{radius}, uint64_t{height} - 1) & UINT32_MAX;
    for (uint32_t v = top; v <= bottom; ++v)
    {
        for (uint32_t u = left; u <= right; ++u)
        {
            visit(u, v);
        }
    }
    return (int64_t{right} - left + 1) * (int64_t{bottom} - top + 1);
}

int64_t flooredQuotient(int64_t a, int64_t b)
{
    const int64_t quotient = a / b;
    return quotient - (a % b < 0 ? 1 : 0);
}

}  // namespace

vsrStatus vsrGuidedFilteru8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             const uint8_t* guide, uint32_t guideStride, uint32_t radius, float eps, uint8_t* dst,
                             uint32_t dstStride)
{
    struct Line
    {
        int32_t A;
        int32_t B;
    };
    const Scratch scratch(size_t{srcWidth} * srcHeight * sizeof(Line));
    auto* lines = scratch.as<Line>();
    if (!lines)
    {
        return VISORA_ENOMEM;
    }
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            int64_t sumI = 0, sumP = 0, sumIP = 0, sumII = 0;
            const int64_t n = forWindow(srcWidth, srcHeight, radius, x, y,
                                        [&](uint32_t u, uint32_t v)
                                        {
                                            const int64_t I = imageRow(guide, guideStride, v)[u];
                                            const int64_t p = imageRow(src, srcStride, v)[u];
                                            sumI += I;
                                            sumP += p;
                                            sumIP += I * p;
                                            sumII += I * I;
                                        });
            const auto num = static_cast<double>(n * sumIP - sumI * sumP);
            const auto var = static_cast<double>(n * sumII - sumI * sumI);
            const double slope = num / (var + static_cast<double>(n * n) * double{eps});
            const auto A = static_cast<int64_t>(std::floor(4096 * slope + 0.5));
            const int64_t B = flooredQuotient(2 * (4096 * sumP - A * sumI) + n, 2 * n);
            lines[size_t{y} * srcWidth + x] = {static_cast<int32_t>(A), static_cast<int32_t>(B)};
        }
    }
    for (uint32_t y = 0; y < srcHeight; ++y)
    {
        for (uint32_t x = 0; x < srcWidth; ++x)
        {
            int64_t sumA = 0, sumB = 0;
            const int64_t m = forWindow(srcWidth, srcHeight, radius, x, y,
                                        [&](uint32_t u, uint32_t v)
                                        {
                                            sumA += lines[size_t{v} * srcWidth + u].A;
                                            sumB += lines[size_t{v} * srcWidth + u].B;
                                        });
            const int64_t I = imageRow(guide, guideStride, y)[x];
            imageRow(dst, dstStride, y)[x] = saturate<uint8_t>(flooredQuotient(sumA * I + sumB + 2048 * m, 4096 * m));
        }
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrDenoiseNonLocalu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t N, float strength, uint8_t* dst, uint32_t dstStride)
{
    const BorderedImage image(src, srcWidth, srcHeight, srcStride, VISORA_BORDER_REPLICATE, 0);
    const NonLocalWeights weights(strength);
    const int64_t radius = N / 2;
    const auto distance = [&](int64_t x, int64_t y, int64_t u, int64_t v)
    {
        uint32_t sum = 0;
        for (int64_t j = -2; j <= 2; ++j)
        {
            for (int64_t i = -2; i <= 2; ++i)
            {
                const int difference = image.at(x + i, y + j) - image.at(u + i, v + j);
                sum += static_cast<uint32_t>(difference * difference);
            }
        }
        return sum;
    };
    for (int64_t y = 0; y < srcHeight; ++y)
    {
        for (int64_t x = 0; x < srcWidth; ++x)
        {
            uint64_t sum = 0;
            uint64_t weightSum = 0;
            for (int64_t v = y - radius; v <= y + radius; ++v)
            {
                for (int64_t u = x - radius; u <= x + radius; ++u)
                {
                    const uint32_t k = distance(x, y, u, v) >> weights.shift;
                    const uint64_t weight = k < weights.table.size() ? weights.table[k] : uint8_t{0};
                    sum += weight * image.at(u, v);
                    weightSum += weight;
                }
            }
            // The pixel itself has a weight. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
            const uint64_t mean = (2 * sum + weightSum) / (2 * weightSum);
            imageRow(dst, dstStride, static_cast<uint32_t>(y))[x] = static_cast<uint8_t>(mean);
        }
    }
    return VISORA_SUCCESS;
}
