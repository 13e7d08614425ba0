// Sums of a picture of distances at moved points.
#ifndef VISORA_CPU_SHAPE_CHAMFER_H
#define VISORA_CPU_SHAPE_CHAMFER_H

#include <cstddef>
#include <cstdint>

namespace visora
{

/** 255 outside. */
struct ChamferPicture
{
    bool holds(int64_t x, int64_t y) const
    {
        return static_cast<uint64_t>(x) < width && static_cast<uint64_t>(y) < height;
    }
    uint32_t at(int64_t x, int64_t y) const
    {
        return holds(x, y) ? src[static_cast<size_t>(y) * stride + static_cast<size_t>(x)] : 255;
    }

    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    size_t stride;
};

/** Takes the sums of the offsets in order. */
class ChamferScores
{
  public:
    ChamferScores(uint32_t numPoints, float* scores) : points_(static_cast<float>(numPoints)), scores_(scores) {}

    void put(uint32_t offset, uint32_t sum)
    {
        scores_[offset] = static_cast<float>(sum) / points_;
        if (offset == 0 || sum < least_)
        {
            least_ = sum;
            best_ = offset;
        }
    }

    uint32_t best() const { return best_; }

  private:
    float points_;
    float* scores_;
    uint32_t least_ = 0;
    uint32_t best_ = 0;
};

}  // namespace visora

#endif
