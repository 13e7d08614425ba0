// Random numbers, their bounds and normalised points: what the robust fit rests on.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <limits>

#include "cpu/geom/visoraGeom.h"

namespace
{

std::atomic<uint32_t> randomState{1};

constexpr float kEpsilon = std::numeric_limits<float>::epsilon();

// Natural logarithm of a positive normal number. C libraries differ in its last bit from processor to processor; basic
// operations do not, and the series is exact enough for the float to be the nearest one.
float naturalLog(float value)
{
    int exponent = 0;
    double mantissa = std::frexp(double{value}, &exponent);
    if (mantissa < 0.70710678118654752)
    {
        mantissa *= 2;
        --exponent;
    }
    // ln m = 2 artanh z = 2 (z + z^3 / 3 + z^5 / 5 + ...), |z| < 0.172.
    const double z = (mantissa - 1) / (mantissa + 1);
    double series = 0;
    for (int power = 23; power > 0; power -= 2)
    {
        series = series * (z * z) + 1.0 / power;
    }
    return static_cast<float>(exponent * 0.69314718055994531 + 2 * z * series);
}

// Clamps to 0..1; what is no number counts as 0.
float clampToOne(float value)
{
    return value > 0 ? std::min(value, 1.0f) : 0.0f;
}

// The chance that a sample of `points` has an outlier.
float chanceOfOutlier(float inlierRatio, uint32_t points)
{
    double allInliers = 1;
    for (double factor = inlierRatio; points != 0; points >>= 1, factor *= factor)
    {
        allInliers *= (points & 1) ? factor : 1.0;
    }
    return static_cast<float>(1 - allInliers);
}

// The samples after which the logarithm of the chance that all had outliers is down to logMiss; at most `limit`.
uint32_t samplesNeeded(float outlierChance, float logMiss, int limit)
{
    if (outlierChance < kEpsilon)
    {
        return 0;
    }
    const float logChance = naturalLog(outlierChance);
    if (logMiss < logChance * static_cast<float>(limit))
    {
        return static_cast<uint32_t>(limit);
    }
    // Without demand on the confidence none is needed, not even where all are outliers.
    return logMiss == 0 ? 0 : static_cast<uint32_t>(std::round(logMiss / logChance));
}

}  // namespace

bool visora::drawSample(MinimalStandard& generator, uint32_t count, uint32_t* places, uint32_t points)
{
    constexpr int kMaxDraws = 199;
    uint32_t* end = places;
    for (int draw = 0; draw < kMaxDraws && end != places + points; ++draw)
    {
        const uint32_t place = generator.next() % count;
        if (std::find(places, end, place) == end)
        {
            *end++ = place;
        }
    }
    return end == places + points;
}

uint32_t visora::lowerSampleLimit(uint32_t limit, uint32_t inliers, uint32_t count)
{
    constexpr auto kLogMiss = std::bit_cast<float>(0xc0a98bd3u);  // ln(1 - 0.995)
    const float ratio = static_cast<float>(inliers) / static_cast<float>(count);
    return samplesNeeded(chanceOfOutlier(ratio, kHomographyPoints), kLogMiss, static_cast<int>(limit));
}

void visora::publish(const MinimalStandard& generator)
{
    randomState.store(generator.state(), std::memory_order_relaxed);
}

uint32_t updateNumIters(int modelPoints, int maxIters, float p, float inlierRatio)
{
    const float logMiss = naturalLog(std::max(1 - clampToOne(p), kEpsilon));
    const float ratio = clampToOne(inlierRatio);
    // A sample without points has no outlier, whatever the ratio.
    const auto points = static_cast<uint32_t>(std::max(modelPoints, 0));
    return samplesNeeded(chanceOfOutlier(ratio, points), logMiss, maxIters);
}

uint32_t randValue(int seed)
{
    if (seed > 0)
    {
        randomState.store(static_cast<uint32_t>(seed), std::memory_order_relaxed);
        return 0;
    }
    uint32_t state = randomState.load(std::memory_order_relaxed);
    visora::MinimalStandard generator(state);
    while (!randomState.compare_exchange_weak(state, generator.next(), std::memory_order_relaxed))
    {
        generator = visora::MinimalStandard(state);
    }
    return generator.state();
}

void normalise2dpts(float* x, float* y, float* transform, int n)
{
    if (n < 1)
    {
        return;
    }
    const auto count = static_cast<size_t>(n);
    const auto mean = [=](const float* values)
    {
        float sums[4] = {};  // element i goes to sum i mod 4
        for (size_t i = 0; i < count; ++i)
        {
            sums[i % 4] += values[i];
        }
        return ((sums[0] + sums[1]) + (sums[2] + sums[3])) / static_cast<float>(n);
    };
    const float cx = mean(x);
    const float cy = mean(y);
    double distances = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const double dx = double{x[i]} - cx;
        const double dy = double{y[i]} - cy;
        distances += std::sqrt(dx * dx + dy * dy);
    }
    const auto distance = static_cast<float>(distances / n);
    const float scale = distance > 0 ? 1.4142135f / distance : 1.0f;
    for (size_t i = 0; i < count; ++i)
    {
        x[i] = scale * (x[i] - cx);
        y[i] = scale * (y[i] - cy);
    }
    transform[0] = scale;
    transform[1] = -scale * cx;
    transform[2] = -scale * cy;
}
