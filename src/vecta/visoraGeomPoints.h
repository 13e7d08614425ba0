// Correspondences brought together for the vector variants, the same for every instruction set. What gathers them is
// never inlined into the kernels: compilers would make gather instructions of it, which are slower.
#ifndef VISORA_VECTA_GEOM_POINTS_H
#define VISORA_VECTA_GEOM_POINTS_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "cpu/visoraGeom.h"
#include "visora/memory.h"

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
          memory_(static_cast<float*>(vsrGetScratchBufferAligned_(4 * length_ * sizeof(float), 64)))
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
    ~GatheredPoints() { vsrReleaseScratchBuffer_(memory_); }
    GatheredPoints(const GatheredPoints&) = delete;
    GatheredPoints& operator=(const GatheredPoints&) = delete;

    explicit operator bool() const { return memory_ != nullptr; }
    size_t length() const { return length_; }
    const float* x() const { return memory_; }
    const float* y() const { return memory_ + length_; }
    const float* u() const { return memory_ + 2 * length_; }
    const float* v() const { return memory_ + 3 * length_; }

  private:
    size_t length_;
    float* memory_;
};

/** Some correspondences in the order of the indices, as pairs of coordinates, and their point numbers. */
struct alignas(64) PointBlock
{
    static constexpr size_t kSize = 128;

    float from[2 * kSize];
    float to[2 * kSize];
    int32_t numbers[kSize];

    /** Takes `count` of them, and zeros up to a multiple of `lanes`. */
    __attribute__((noinline)) void gather(const vsrCorrespondences& corrs, size_t start, size_t count, size_t lanes)
    {
        for (size_t i = 0; i < count; ++i)
        {
            const size_t point = corrs.indices[start + i];
            numbers[i] = static_cast<int32_t>(point);
            std::memcpy(from + 2 * i, corrs.from + point * corrs.fromStride, 2 * sizeof(float));
            std::memcpy(to + 2 * i, corrs.to + point * corrs.toStride, 2 * sizeof(float));
        }
        const size_t padding = (lanes - count % lanes) % lanes;
        std::fill_n(numbers + count, padding, 0);
        std::fill_n(from + 2 * count, 2 * padding, 0.0f);
        std::fill_n(to + 2 * count, 2 * padding, 0.0f);
    }
};

}  // namespace visora

#endif
