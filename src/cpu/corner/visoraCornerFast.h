// What the FAST-9 and FAST-10 detectors share. kArc is the number of contiguous circle pixels that make a corner.
#ifndef VISORA_CPU_FAST_H
#define VISORA_CPU_FAST_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/visoraLog.h"
#include "visora/variants/corner.h"

namespace visora
{

struct CircleOffset
{
    int dx;
    int dy;
};

/** The circle of radius 3, with y growing downward. */
inline constexpr CircleOffset kCircle[16] = {{0, 3},  {1, 3},   {2, 2},   {3, 1},   {3, 0},  {3, -1}, {2, -2}, {1, -3},
                                             {0, -3}, {-1, -3}, {-2, -2}, {-3, -1}, {-3, 0}, {-3, 1}, {-2, 2}, {-1, 3}};
inline constexpr int kCircleRadius = 3;

/** An image and what to look for in it. */
struct FastSearch
{
    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
    uint32_t threshold;
    uint32_t border;

    /** Columns, or rows, from `border` to this are looked at. */
    size_t endColumn() const { return end(width); }
    size_t endRow() const { return end(height); }

  private:
    size_t end(uint32_t size) const { return size > uint64_t{border} * 2 ? size - border : border; }
};

/** Where corners go; without `scores` no corner is scored. */
struct CornerList
{
    uint32_t* xy;
    uint32_t* scores;
    uint32_t capacity;
};

/** The bits that leave pixels of an image out. */
class ExclusionMask
{
  public:
    ExclusionMask(const uint8_t* bits, uint32_t width, uint32_t height, const FastSearch& image)
        : bits_(bits), rowBytes_((size_t{width} + 7) / 8)
    {
        for (int shift = 0; shift <= 3 && !fits_; ++shift)
        {
            const auto isTimes = [shift](uint64_t large, uint64_t small) { return large == small << shift; };
            if (isTimes(image.width, width) && isTimes(image.height, height))
            {
                toMask_ = shift;
                fits_ = true;
            }
            else if (isTimes(width, image.width) && isTimes(height, image.height))
            {
                fromImage_ = shift;
                fits_ = true;
            }
        }
    }

    /** Whether the mask's size is one that the image's allows. */
    bool fits() const { return fits_; }

    bool excludes(size_t x, size_t y) const
    {
        const size_t column = x >> toMask_ << fromImage_;
        const size_t row = y >> toMask_ << fromImage_;
        return (bits_[row * rowBytes_ + column / 8] >> (7 - column % 8) & 1) != 0;
    }

    /** Which of the 32 pixels from (x, y) on it excludes: bit i says it of column x + i, those beyond the image say
     * nothing. */
    uint32_t excludedFrom(size_t x, size_t y) const
    {
        if (fromImage_ != 0)
        {
            const size_t end = rowBytes_ * 8 >> fromImage_;
            uint32_t excluded = 0;
            for (size_t i = 0; i < 32 && x + i < end; ++i)
            {
                excluded |= static_cast<uint32_t>(excludes(x + i, y)) << i;
            }
            return excluded;
        }
        const size_t column = x >> toMask_;
        const size_t first = column / 8;
        const uint8_t* from = bits_ + (y >> toMask_) * rowBytes_ + first;
        uint64_t bits = 0;
        if (const size_t left = rowBytes_ - first; left >= sizeof bits)
        {
            std::memcpy(&bits, from, sizeof bits);
        }
        else
        {
            std::memcpy(&bits, from, left);
        }
        // Columns begin with the highest bit of a byte.
        constexpr uint64_t kHalves = 0x0f0f0f0f0f0f0f0f;
        constexpr uint64_t kPairs = 0x3333333333333333;
        constexpr uint64_t kSingles = 0x5555555555555555;
        bits = (bits & kHalves) << 4 | (bits >> 4 & kHalves);
        bits = (bits & kPairs) << 2 | (bits >> 2 & kPairs);
        bits = (bits & kSingles) << 1 | (bits >> 1 & kSingles);
        bits >>= column % 8;
        for (int i = 0; i < toMask_; ++i)
        {
            // Each bit is for two columns.
            bits &= 0xffffffff;
            bits = (bits | bits << 16) & 0x0000ffff0000ffff;
            bits = (bits | bits << 8) & 0x00ff00ff00ff00ff;
            bits = (bits | bits << 4) & kHalves;
            bits = (bits | bits << 2) & kPairs;
            bits = (bits | bits << 1) & kSingles;
            bits |= bits << 1;
        }
        return static_cast<uint32_t>(bits >> (x - (column << toMask_)));
    }

  private:
    const uint8_t* bits_;
    size_t rowBytes_;
    int toMask_ = 0;     // the mask is smaller by this power of two
    int fromImage_ = 0;  // the mask is larger by this power of two
    bool fits_ = false;
};

/** Whether `length` contiguous ones are among 16 bits on a ring. */
template <int length>
bool hasArc(uint32_t ring)
{
    const uint32_t unrolled = ring | ring << 16;
    uint32_t starts = unrolled;
    for (int i = 1; i < length; ++i)
    {
        starts &= unrolled >> i;
    }
    return (starts & 0xffff) != 0;
}

template <int kArc>
bool passesSegmentTest(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    const int64_t high = int64_t{*pixel} + threshold;
    const int64_t low = int64_t{*pixel} - threshold;
    uint32_t brighter = 0;
    uint32_t darker = 0;
    for (int i = 0; i < 8; ++i)
    {
        // An arc of more than half the circle holds an end of every diameter.
        const uint8_t near = pixel[offsets[i]];
        const uint8_t far = pixel[offsets[i + 8]];
        const uint32_t brighterEnds = uint32_t{near > high} | uint32_t{far > high} << 8;
        const uint32_t darkerEnds = uint32_t{near < low} | uint32_t{far < low} << 8;
        if ((brighterEnds | darkerEnds) == 0)
        {
            return false;
        }
        brighter |= brighterEnds << i;
        darker |= darkerEnds << i;
    }
    return hasArc<kArc>(brighter) || hasArc<kArc>(darker);
}

/** The largest threshold from the given one that a pixel passes, by bisection. */
template <int kArc>
uint32_t bisectScore(const uint8_t* pixel, const int32_t offsets[16], uint32_t threshold)
{
    uint32_t passed = threshold;
    uint32_t failed = 255;
    while (passed < failed && failed - passed > 1)
    {
        const uint32_t middle = (passed + failed) / 2;
        (passesSegmentTest<kArc>(pixel, offsets, middle) ? passed : failed) = middle;
    }
    return passed;
}

/** Lists the corners of an image, those that the mask, if there is one, does not exclude. Returns their number. */
template <int kArc>
uint32_t detectCorners(const FastSearch& search, const ExclusionMask* mask, const CornerList& list)
{
    if (list.capacity == 0 || (mask && !mask->fits()))
    {
        return 0;
    }
    int32_t offsets[16];
    make_offsets(offsets, search.stride);
    uint32_t count = 0;
    for (size_t y = search.border; y < search.endRow(); ++y)
    {
        const uint8_t* row = search.src + y * search.stride;
        for (size_t x = search.border; x < search.endColumn(); ++x)
        {
            if ((mask && mask->excludes(x, y)) || !passesSegmentTest<kArc>(row + x, offsets, search.threshold))
            {
                continue;
            }
            list.xy[size_t{count} * 2] = static_cast<uint32_t>(x);
            list.xy[size_t{count} * 2 + 1] = static_cast<uint32_t>(y);
            if (list.scores)
            {
                list.scores[count] = bisectScore<kArc>(row + x, offsets, search.threshold);
            }
            if (++count == list.capacity)
            {
                return count;
            }
        }
    }
    return count;
}

/** Scores every listed corner. */
inline void scoreCorners(uint32_t (*scoreAt)(const uint8_t*, const int32_t*, uint32_t), const uint8_t* src,
                         uint32_t stride, const uint32_t* xy, uint32_t count, uint32_t threshold, uint32_t* scores)
{
    int32_t offsets[16];
    make_offsets(offsets, stride);
    for (size_t i = 0; i < count; ++i)
    {
        scores[i] = scoreAt(src + size_t{xy[2 * i + 1]} * stride + xy[2 * i], offsets, threshold);
    }
}

/** Source position that is logged when a member is to suppress without a work buffer. */
struct SourceLine
{
    const char* path;
    int line;
};
inline constexpr SourceLine kFast9ScoreLine = {"src/cpu/visoraFastC", 3097};
inline constexpr SourceLine kFast9InMaskScoreLine = {"src/cpu/visoraFastC", 3143};
inline constexpr SourceLine kFast10ScoreLine = {"src/cpu/visoraFast10C", 1529};
inline constexpr SourceLine kFast10InMaskScoreLine = {"src/cpu/visoraFast10C", 1653};

/**
 * Gives the caller the scored corners that detect(list) writes and returns the number of: all of them, or with
 * suppression those that no neighbour outdoes. The work buffer then holds positions, scores and row starts, in order.
 */
template <class Detect>
void listScored(const CornerList& list, uint32_t* count, uint32_t suppress, uint32_t* workBuffer, SourceLine line,
                Detect detect)
{
    if (!suppress)
    {
        *count = detect(list);
        return;
    }
    if (!workBuffer)
    {
        stopProcess(line.path, line.line, "tempBuf");
    }
    const size_t capacity = list.capacity;
    const CornerList raw = {workBuffer, workBuffer + 2 * capacity, list.capacity};
    const uint32_t rawCount = detect(raw);
    nms_processing(raw.xy, raw.scores, workBuffer + 3 * capacity, rawCount, list.xy, list.scores, count);
}

}  // namespace visora

#endif
