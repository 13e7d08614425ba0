// Correspondences brought together for the vector variants, the same for every instruction set. What gathers them is
// never inlined into the kernels: compilers would make gather instructions of it, which are slower.
#ifndef VISORA_VECTA_GEOM_POINTS_H
#define VISORA_VECTA_GEOM_POINTS_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "cpu/geom/visoraGeom.h"
#include "cpu/visoraScratch.h"

namespace visora
{

constexpr size_t kMaxBatch = 8;
constexpr int kUnknowns = 8;

/** The four correspondences of each sample of a batch. */
struct alignas(64) Samples
{
    float x[kHomographyPoints][kMaxBatch];
    float y[kHomographyPoints][kMaxBatch];
    float u[kHomographyPoints][kMaxBatch];
    float v[kHomographyPoints][kMaxBatch];
};

/** h0..h7 of each sample. */
struct alignas(64) Models
{
    float h[kUnknowns][kMaxBatch];
};

/** The normal equations of as many samples as there are lanes. */
template <class T>
struct alignas(64) BatchEquations
{
    T A[kUnknowns][kUnknowns][kMaxBatch];
    T b[kUnknowns][kMaxBatch];
};

/** All correspondences in the order of the indices, one array each of x, y, u and v. Borrowed; there may be none. */
class GatheredPoints
{
  public:
    /** The arrays end in points that fulfil no model, so that their length is a multiple of `lanes`. */
    __attribute__((noinline)) GatheredPoints(const vsrCorrespondences& corrs, size_t lanes)
        : length_((size_t{corrs.numIndices} + lanes - 1) / lanes * lanes),
          scratch_(4 * length_ * sizeof(float)),
          memory_(scratch_.as<float>())
    {
        if (!memory_)
        {
            return;
        }
        for (size_t i = 0; i < length_; ++i)
        {
            constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
            const bool isPoint = i < corrs.numIndices;
            const Correspondence c =
                isPoint ? correspondence(corrs, static_cast<uint32_t>(i)) : Correspondence{kNone, kNone, kNone, kNone};
            memory_[i] = c.x;
            memory_[length_ + i] = c.y;
            memory_[2 * length_ + i] = c.u;
            memory_[3 * length_ + i] = c.v;
        }
    }

    explicit operator bool() const { return memory_ != nullptr; }
    size_t length() const { return length_; }
    const float* x() const { return memory_; }
    const float* y() const { return memory_ + length_; }
    const float* u() const { return memory_ + 2 * length_; }
    const float* v() const { return memory_ + 3 * length_; }

  private:
    size_t length_;
    Scratch scratch_;
    float* memory_;
};

/** Some correspondences in the order of the indices, as pairs of coordinates, and their point numbers. */
struct alignas(64) PointBlock
{
    static constexpr size_t kSize = 128;
    /** Behind the last point follow zeros for as many as a vector holds. */
    static constexpr size_t kPadding = 16;

    float from[2 * (kSize + kPadding)];
    float to[2 * (kSize + kPadding)];
    uint16_t numbers[kSize + kPadding];

    __attribute__((noinline)) void gather(const vsrCorrespondences& corrs, const uint16_t* indices, size_t count)
    {
        const float* const allFrom = corrs.from;
        const float* const allTo = corrs.to;
        const size_t fromStride = corrs.fromStride;
        const size_t toStride = corrs.toStride;
        for (size_t i = 0; i < count; ++i)
        {
            const size_t point = indices[i];
            numbers[i] = indices[i];
            std::memcpy(from + 2 * i, allFrom + point * fromStride, 2 * sizeof(float));
            std::memcpy(to + 2 * i, allTo + point * toStride, 2 * sizeof(float));
        }
        std::memset(from + 2 * count, 0, 2 * kPadding * sizeof(float));
        std::memset(to + 2 * count, 0, 2 * kPadding * sizeof(float));
        std::memset(numbers + count, 0, kPadding * sizeof(uint16_t));
    }
};

/** True when the points follow each other in memory, without anything between them. */
inline bool areInARow(const vsrCorrespondences& corrs, const uint16_t* indices, size_t count)
{
    uint32_t differences = (corrs.fromStride - 2) | (corrs.toStride - 2);
    for (size_t i = 0; i < count; ++i)
    {
        differences |= indices[i] ^ static_cast<uint32_t>(indices[0] + i);
    }
    return differences == 0;
}

}  // namespace visora

#endif
