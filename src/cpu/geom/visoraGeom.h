// What the model fits of both variants share.
#ifndef VISORA_CPU_GEOM_H
#define VISORA_CPU_GEOM_H

#include <cstdint>

#include "visora/variants/geom.h"

namespace visora
{

constexpr uint32_t kHomographyPoints = 4;
constexpr uint32_t kAffinePoints = 3;

// ---- One correspondence ----

struct Correspondence
{
    float x, y;  // from
    float u, v;  // to
};

inline Correspondence correspondence(const vsrCorrespondences& corrs, uint32_t position)
{
    const size_t point = corrs.indices[position];
    const float* from = corrs.from + point * corrs.fromStride;
    const float* to = corrs.to + point * corrs.toStride;
    return {from[0], from[1], to[0], to[1]};
}

// ---- Normal equations ----

/** A x = b with a symmetric A of which only the lower triangle counts. */
template <class T, int kUnknowns>
struct NormalEquations
{
    using Row = T[kUnknowns];

    Row A[kUnknowns] = {};
    Row b = {};
};

/** Writes h0..h7 and h8 = 1; leaves the homography all zero when the equations have no finite solution. */
void solveInDouble(const NormalEquations<double, 8>& equations, float* homography);

// ---- Random samples ----

/** The generator of randValue with a state of its own. */
class MinimalStandard
{
  public:
    explicit MinimalStandard(uint32_t state) : state_(state) {}

    uint32_t state() const { return state_; }

    /** Multiplies by 16807 modulo 2^31 - 1 without exceeding 32 bits (Schrage). */
    uint32_t next()
    {
        const auto hi = static_cast<int32_t>(state_ / 127773);
        const auto lo = static_cast<int32_t>(state_ % 127773);
        const int32_t t = 16807 * lo - 2836 * hi;
        state_ = static_cast<uint32_t>(t > 0 ? t : t + 0x7fffffff);
        return state_;
    }

  private:
    uint32_t state_;
};

constexpr uint32_t kRobustSeed = 200;
constexpr uint32_t kMaxSamples = 1500;

/** Draws the places of `points` different correspondences among `count`. False when 199 draws do not give them. */
bool drawSample(MinimalStandard& generator, uint32_t count, uint32_t* places, uint32_t points = kHomographyPoints);

/** How many samples are enough when the best one has that many inliers; `limit` has been enough so far. */
uint32_t lowerSampleLimit(uint32_t limit, uint32_t inliers, uint32_t count);

/** Leaves randValue where the robust fit left its own generator. */
void publish(const MinimalStandard& generator);

}  // namespace visora

#endif
