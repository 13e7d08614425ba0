// Guided filter and non-local means, reference variants.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "cpu/filter/visoraFilterBorder.h"
#include "cpu/filter/visoraFilterNonLocal.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

struct Range
{
    uint32_t first;
    uint32_t last;

    uint32_t count() const { return last - first + 1; }
};

// What lies within `radius` of `at`, inside an image's side.
Range around(uint32_t at, uint32_t radius, uint32_t size)
{
    return {at - std::min(at, radius), at + std::min(size - 1 - at, radius)};
}

// body(x, y, n, sums): sums of the kSums integers of value(u, v) over the n pixels of the window around each pixel, by
// columns first, which makes no difference to integers.
template <size_t kSums, class Value, class Body>
vsrStatus sumWindows(uint32_t width, uint32_t height, uint32_t radius, Value value, Body body)
{
    using Sums = std::array<int64_t, kSums>;
    const Scratch scratch(size_t{width} * sizeof(Sums));
    auto* columns = scratch.as<Sums>();
    if (!columns)
    {
        return VISORA_ENOMEM;
    }
    const auto add = [](Sums& sums, const Sums& more)
    { std::transform(sums.begin(), sums.end(), more.begin(), sums.begin(), std::plus()); };
    for (uint32_t y = 0; y < height; ++y)
    {
        const Range rows = around(y, radius, height);
        for (uint32_t u = 0; u < width; ++u)
        {
            columns[u] = {};
            for (uint32_t v = rows.first; v <= rows.last; ++v)
            {
                add(columns[u], value(u, v));
            }
        }
        for (uint32_t x = 0; x < width; ++x)
        {
            const Range range = around(x, radius, width);
            Sums sums{};
            for (uint32_t u = range.first; u <= range.last; ++u)
            {
                add(sums, columns[u]);
            }
            body(x, y, int64_t{rows.count()} * range.count(), sums);
        }
    }
    return VISORA_SUCCESS;
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
    const vsrStatus status = sumWindows<4>(
        srcWidth, srcHeight, radius,
        [=](uint32_t u, uint32_t v)
        {
            const int64_t I = imageRow(guide, guideStride, v)[u];
            const int64_t p = imageRow(src, srcStride, v)[u];
            return std::array{I, p, I * p, I * I};
        },
        [=](uint32_t x, uint32_t y, int64_t n, const std::array<int64_t, 4>& sums)
        {
            const auto [sumI, sumP, sumIP, sumII] = sums;
            const auto num = static_cast<double>(n * sumIP - sumI * sumP);
            const auto var = static_cast<double>(n * sumII - sumI * sumI);
            const double slope = num / (var + static_cast<double>(n * n) * double{eps});
            const auto A = static_cast<int64_t>(std::floor(4096 * slope + 0.5));
            const int64_t B = flooredQuotient(2 * (4096 * sumP - A * sumI) + n, 2 * n);
            lines[size_t{y} * srcWidth + x] = {static_cast<int32_t>(A), static_cast<int32_t>(B)};
        });
    if (status != VISORA_SUCCESS)
    {
        return status;
    }
    return sumWindows<2>(
        srcWidth, srcHeight, radius,
        [=](uint32_t u, uint32_t v)
        {
            const Line& line = lines[size_t{v} * srcWidth + u];
            return std::array<int64_t, 2>{line.A, line.B};
        },
        [=](uint32_t x, uint32_t y, int64_t m, const std::array<int64_t, 2>& sums)
        {
            const int64_t I = imageRow(guide, guideStride, y)[x];
            imageRow(dst, dstStride, y)[x] =
                saturate<uint8_t>(flooredQuotient(sums[0] * I + sums[1] + 2048 * m, 4096 * m));
        });
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
