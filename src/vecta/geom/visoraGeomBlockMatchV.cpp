// Disparity by block matching, vector variant. Lanes are disparities: the right view's rows are kept backwards, so that
// the pixels of successive disparities follow one another. Sums of columns run down the image, windows along the rows.
#include <algorithm>
#include <cstdlib>

#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomBlockMatchV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeomDisparity-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// A row of both views with what windows and disparities need beyond the image.
struct ViewRow
{
    const uint8_t* left;   // of column 0
    const uint8_t* right;  // disparity k of column x is at k - x
};

// The rows that the windows of an image row and of the one before it cover.
class ViewRows
{
  public:
    HWY_INLINE ViewRows(uint32_t width, uint32_t blockSize, const Disparities& disparities, size_t size)
        : width_(width),
          radius_(blockSize / 2),
          slots_(blockSize + 1),
          leftSize_(width + 2 * (radius_ + 1)),
          rightSize_(width + 2 * radius_ + size),
          least_(disparities.least),
          scratch_((leftSize_ + rightSize_) * slots_),
          memory_(scratch_.data())
    {
    }

    HWY_INLINE bool isThere() const { return memory_ != nullptr; }

    // Rows count from radius + 1 above the image.
    HWY_INLINE ViewRow operator[](size_t row) const
    {
        const uint8_t* slot = slotOf(row);
        return {slot + radius_ + 1, slot + leftSize_ + width_ - 1 + radius_};
    }

    HWY_INLINE void fill(size_t row, const uint8_t* left, const uint8_t* right)
    {
        const auto width = static_cast<int64_t>(width_);
        uint8_t* to = slotOf(row);
        std::fill_n(to, radius_ + 1, left[0]);
        std::copy_n(left, width_, to + radius_ + 1);
        std::fill_n(to + radius_ + 1 + width_, radius_ + 1, left[width_ - 1]);
        // Element p is column first - p, as far as there is one.
        to += leftSize_;
        const int64_t first = width - 1 + static_cast<int64_t>(radius_) - least_;
        const auto size = static_cast<int64_t>(rightSize_);
        const int64_t begin = std::clamp<int64_t>(first - (width - 1), 0, size);
        const int64_t end = std::clamp<int64_t>(first + 1, 0, size);
        std::fill_n(to, begin, right[width_ - 1]);
        for (int64_t p = begin; p < end; ++p)
        {
            to[p] = right[first - p];
        }
        std::fill(to + end, to + size, right[0]);
    }

    // A row in which nothing differs.
    HWY_INLINE void clear(size_t row) { std::fill_n(slotOf(row), leftSize_ + rightSize_, uint8_t{0}); }

  private:
    HWY_INLINE uint8_t* slotOf(size_t row) const { return memory_ + row % slots_ * (leftSize_ + rightSize_); }

    size_t width_, radius_, slots_, leftSize_, rightSize_;
    int64_t least_;
    Scratch scratch_;
    uint8_t* memory_;
};

HWY_INLINE CostVector differences(const uint8_t* left, const uint8_t* right)
{
    [[maybe_unused]] const Costs d;
    const hn::Rebind<uint8_t, Costs> d8;
    const auto a = hn::Set(d8, *left);
    const auto b = hn::LoadU(d8, right);
#if HWY_ARCH_ARM
    return CostVector(vabdl_u8(a.raw, b.raw));
#else
    return hn::PromoteTo(d, hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a)));
#endif
}

// Moves a column's sums down by a row, and the window's sums one column on: `entering` comes, `leaving` goes.
HWY_INLINE void moveOn(ViewRow come, ViewRow gone, int64_t x, size_t disparities, uint16_t* entering,
                       const uint16_t* leaving, uint16_t* window)
{
    const Costs d;
    const size_t lanes = hn::Lanes(d);
    const size_t size = wholeVectors(disparities, lanes);
    for (size_t k = 0; k < size; k += lanes)
    {
        const auto added = differences(come.left + x, come.right - x + k);
        const auto removed = differences(gone.left + x, gone.right - x + k);
        const auto column = hn::Sub(hn::Add(hn::LoadU(d, entering + k), added), removed);
        hn::StoreU(column, d, entering + k);
        hn::StoreU(hn::Sub(hn::Add(hn::LoadU(d, window + k), column), hn::LoadU(d, leaving + k)), d, window + k);
    }
}

// The same for the texture of the left view alone.
HWY_INLINE void moveTextures(ViewRow come, ViewRow gone, size_t radius, size_t count, uint16_t* textures)
{
    const uint8_t* a = come.left - radius - 1;
    const uint8_t* b = gone.left - radius - 1;
    for (size_t i = 0; i < count; ++i)
    {
        textures[i] = static_cast<uint16_t>(textures[i] + std::abs(a[i + 2] - a[i]) - std::abs(b[i + 2] - b[i]));
    }
}

vsrStatus matchBlocks(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                      uint32_t src2Stride, int32_t minDisparity, uint32_t numDisparities, uint32_t blockSize,
                      uint32_t textureThreshold, uint32_t uniqueness, int16_t* dst, uint32_t dstStride)
{
    const Disparities disparities = {minDisparity, numDisparities};
    const Costs d;
    const size_t size = wholeVectors(numDisparities, hn::Lanes(d));
    const size_t radius = blockSize / 2;
    const size_t columns = width + 2 * radius;
    ViewRows rows(width, blockSize, disparities, size);
    // The sums of each column, zeros, the window's sums, the textures.
    const size_t total = (columns + 2) * size + columns;
    const Scratch scratch(total * sizeof(uint16_t));
    auto* const sums = scratch.as<uint16_t>();
    if (!rows.isThere() || !sums)
    {
        return VISORA_ENOMEM;
    }
    uint16_t* const zeros = sums + columns * size;
    uint16_t* const window = zeros + size;
    uint16_t* const textures = window + size;
    std::fill_n(sums, total, uint16_t{0});
    const auto beyond = beyondLast(numDisparities);
    const auto fillRow = [&](size_t row)
    {
        const auto y = static_cast<uint32_t>(std::clamp<size_t>(row, radius + 1, radius + height) - radius - 1);
        rows.fill(row, imageRow(src1, src1Stride, y), imageRow(src2, src2Stride, y));
    };

    rows.clear(0);
    const ViewRow nothing = rows[0];
    for (size_t row = 1; row <= 2 * radius; ++row)
    {
        fillRow(row);
        for (size_t i = 0; i < columns; ++i)
        {
            moveOn(rows[row], nothing, static_cast<int64_t>(i) - static_cast<int64_t>(radius), numDisparities,
                   sums + i * size, zeros, window);
        }
        moveTextures(rows[row], nothing, radius, columns, textures);
    }
    for (uint32_t y = 0; y < height; ++y)
    {
        const size_t last = y + 2 * radius + 1;
        fillRow(last);
        const ViewRow come = rows[last];
        const ViewRow gone = rows[y];
        moveTextures(come, gone, radius, columns, textures);
        std::fill_n(window, size, uint16_t{0});
        uint32_t texture = 0;
        int16_t* const to = imageRow(dst, dstStride, y);
        for (size_t i = 0; i < columns; ++i)
        {
            const bool isWhole = i >= blockSize;
            moveOn(come, gone, static_cast<int64_t>(i) - static_cast<int64_t>(radius), numDisparities, sums + i * size,
                   isWhole ? sums + (i - blockSize) * size : zeros, window);
            texture += textures[i] - (isWhole ? uint32_t{textures[i - blockSize]} : 0);
            if (i < 2 * radius)
            {
                continue;
            }
            const auto x = static_cast<uint32_t>(i - 2 * radius);
            if (texture < textureThreshold)
            {
                to[x] = VISORA_DISPARITY_NONE;
                continue;
            }
            uint16_t* const end = window + size - hn::Lanes(d);
            hn::StoreU(hn::Or(hn::LoadU(d, end), beyond), d, end);
            to[x] = choose(disparities, window, disparities.possibleAt(x, width), uniqueness).disparity;
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDisparityBlockMatchu8s16, matchBlocks);

#endif
