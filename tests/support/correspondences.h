// Point correspondences that are made up: a known model, noise, outliers, and sets that fulfil no model or many.
#ifndef VISORA_TESTS_SUPPORT_CORRESPONDENCES_H
#define VISORA_TESTS_SUPPORT_CORRESPONDENCES_H

#include <array>
#include <cstdint>
#include <vector>

#include "support/random.h"
#include "visora/variants/geom.h"

namespace visora::test
{

using Model = std::array<double, 9>;

enum class Layout
{
    Plane,     // all over a square
    Line,      // all on one line
    Grid,      // few different points, on small whole numbers
    OnePoint,  // all the same
    AnySize    // random bits, finite: sums overflow and underflow
};

struct CorrespondenceRecipe
{
    uint32_t count = 50;
    Layout layout = Layout::Plane;
    /** Where the points are: a square of this half side around (scale, scale), or around the origin for scale 1. */
    double scale = 1;
    /** Standard deviation of the destination's coordinates, in units of the scale. */
    double noise = 0;
    /** The share of correspondences, spread over the list, whose destination is anywhere in the square. */
    double outliers = 0;
    uint32_t fromStride = 2;
    uint32_t toStride = 2;
};

/** What benchmarks fit: half a pixel of noise in 640 pixels, in pixels or with coordinates of -1 to 1. */
constexpr double kTypicalPixels = 320;
constexpr double kTypicalNoise = 0.5 / kTypicalPixels;
constexpr double kTypicalOutliers = 0.25;
constexpr uint64_t kTypicalSeed = 1;

inline CorrespondenceRecipe typicalRecipe(uint32_t count, double scale, double outliers)
{
    return {count, Layout::Plane, scale, kTypicalNoise, outliers};
}

/** Square of three standard deviations of the noise. */
inline float typicalMaxSquaredError(double scale)
{
    return static_cast<float>(9 * kTypicalNoise * kTypicalNoise * scale * scale);
}

class CorrespondenceSet
{
  public:
    CorrespondenceSet(const CorrespondenceRecipe& recipe, uint64_t seed);

    /** The record; good as long as the set. */
    vsrCorrespondences record() const
    {
        return {from.data(), to.data(), fromStride, toStride, indices.data(), static_cast<uint32_t>(indices.size())};
    }

    double x(size_t point) const { return from[point * fromStride]; }
    double y(size_t point) const { return from[point * fromStride + 1]; }
    double u(size_t point) const { return to[point * toStride]; }
    double v(size_t point) const { return to[point * toStride + 1]; }
    /** Distance of a mapped point from its partner. */
    template <class Homography>
    double distance(const Homography& h, size_t point) const
    {
        return distanceOf({h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8]}, point);
    }
    /** Root mean square of the distances of the correspondences that are no outliers. */
    template <class Homography>
    double error(const Homography& h) const
    {
        return errorOf({h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7], h[8]});
    }

    std::vector<float> from;
    std::vector<float> to;
    uint32_t fromStride;
    uint32_t toStride;
    std::vector<uint16_t> indices;
    std::vector<bool> isOutlier;
    /** The homography that the others follow. */
    Model truth;

  private:
    double distanceOf(const Model& h, size_t point) const;
    double errorOf(const Model& h) const;
};

}  // namespace visora::test

#endif
