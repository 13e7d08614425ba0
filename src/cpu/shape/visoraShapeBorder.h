// Border following: what prepares the rows and finds where borders begin is given.
#ifndef VISORA_CPU_SHAPE_BORDER_H
#define VISORA_CPU_SHAPE_BORDER_H

#include <algorithm>
#include <bit>
#include <cstring>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"

namespace visora
{

/** What a pixel of a followed image is. Marked ones are on a border; with kEastOpen it was left to the east. */
enum BorderPixel : uint8_t
{
    kOutside = 0,
    kUnmarked = 1,
    kMarked = 2,
    kEastOpen = 3
};

/**
 * The pixels of a mask with a frame of zeros, a byte each. Of borders it keeps, for each run of pixels in a row, the
 * number of the one along the open east of its last pixel, or of any one through its first as long as there is none.
 */
class BorderImage
{
  public:
    /** Vectors may read behind the last row. */
    static constexpr size_t kSlack = 64;

    BorderImage(uint32_t width, uint32_t height)
        : width_(width), height_(height), stride_(size_t{width} + 2), size_(stride_ * (size_t{height} + 2))
    {
    }

    size_t bytes(bool hasNumbers) const
    {
        return partBytes<uint8_t>(size_ + kSlack) + (hasNumbers ? partBytes<Runs>(runWords()) : 0);
    }

    void take(Parts& parts, bool hasNumbers)
    {
        pixels_ = parts.take<uint8_t>(size_ + kSlack);
        runs_ = hasNumbers ? parts.take<Runs>(runWords()) : nullptr;
    }

    /** setRow(row, y) makes the pixels of a row kOutside or kUnmarked. */
    template <class SetRow>
    void fill(SetRow setRow)
    {
        std::memset(pixels_, 0, stride_);
        std::memset(pixels_ + size_ - stride_, 0, stride_ + kSlack);
        for (uint32_t y = 0; y < height_; ++y)
        {
            uint8_t* row = pixels_ + stride_ * (size_t{y} + 1);
            row[0] = kOutside;
            row[stride_ - 1] = kOutside;
            setRow(row + 1, y);
        }
    }

    /** Counts the runs; runStarts(pixels) has a bit for each of 64 pixels that one begins at. */
    template <class RunStarts>
    uint32_t countRuns(RunStarts runStarts)
    {
        uint32_t count = 0;
        for (size_t i = 0; i < runWords(); ++i)
        {
            const uint64_t starts = runStarts(pixels_ + 64 * i + 1);
            runs_[i] = {starts, count};
            count += static_cast<uint32_t>(std::popcount(starts));
        }
        return count;
    }

    /** A number for each run. */
    void setNumbers(uint32_t* numbers, uint32_t runs)
    {
        numbers_ = numbers;
        std::fill_n(numbers, runs, 0u);
    }

    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    size_t rowStart(uint32_t y) const { return stride_ * (size_t{y} + 1) + 1; }
    uint8_t* pixels() const { return pixels_; }
    /** Of the run that a pixel is in. */
    uint32_t numberAt(size_t at) const { return numbers_[runAt(at)]; }

    /** Follows a border as `trace` does, and marks it with its number if there are numbers. */
    template <bool hasNumbers, class Point>
    void follow(size_t start, PackedPoint point, uint32_t outside, [[maybe_unused]] uint32_t number, Point take)
    {
        trace(start, point, outside,
              [&](uint8_t* at, bool isEastOpen, PackedPoint p, uint32_t direction)
              {
                  if (isEastOpen)
                  {
                      *at = kEastOpen;
                  }
                  else if (*at == kUnmarked)
                  {
                      *at = kMarked;
                  }
                  if constexpr (hasNumbers)
                  {
                      if (isEastOpen || at[-1] == kOutside)
                      {
                          uint32_t& kept = numbers_[runAt(static_cast<size_t>(at - pixels_))];
                          kept = isEastOpen || kept == 0 ? number : kept;
                      }
                  }
                  take(p, direction);
              });
    }

    /**
     * Follows the border through the pixel at `start`, which stands for `point`, where the pixel in direction `outside`
     * is 0, and hands take(pixel, whether it is open to the east, packed, direction of the next step) each of its
     * pixels; 8 for a pixel alone.
     */
    template <class Take>
    void trace(size_t start, PackedPoint point, uint32_t outside, Take take) const
    {
        const auto stride = static_cast<ptrdiff_t>(stride_);
        const ptrdiff_t steps[8] = {1, stride + 1, stride, stride - 1, -1, -stride - 1, -stride, 1 - stride};
        static constexpr PackedPoint kMoves[8] = {1,           0x10001,     0x10000,     0xffff,
                                                  0xffffffffu, 0xfffeffffu, 0xffff0000u, 0xffff0001u};
        uint8_t* const begin = pixels_ + start;
        uint32_t direction = outside;
        do
        {
            direction = (direction + 1) & 7;
        } while (direction != outside && begin[steps[direction]] == kOutside);
        if (direction == outside)
        {
            take(begin, true, point, 8u);
            return;
        }
        const uint8_t* const last = begin + steps[direction];
        uint8_t* at = begin;
        for (;;)
        {
            // Counter-clockwise from where it came; what it looks at before the next pixel is outside.
            bool isEastOpen = false;
            do
            {
                isEastOpen = isEastOpen || (direction == 1);
                direction = (direction - 1) & 7;
            } while (at[steps[direction]] == kOutside);
            // East itself was the next pixel, not an open side.
            isEastOpen = isEastOpen && direction != kEast;
            take(at, isEastOpen, point, direction);
            uint8_t* const next = at + steps[direction];
            if (next == begin && at == last)
            {
                return;
            }
            point += kMoves[direction];
            direction = (direction + 4) & 7;
            at = next;
        }
    }

  private:
    /** Which of 64 pixels a run begins at, and how many do before. */
    struct Runs
    {
        uint64_t starts;
        uint32_t before;
    };

    // Word 0 begins with the second pixel of the frame: no run begins at the first.
    size_t runWords() const { return (size_ + 62) / 64; }

    size_t runAt(size_t at) const
    {
        const Runs& runs = runs_[(at - 1) / 64];
        return runs.before + static_cast<size_t>(std::popcount(runs.starts << (63 - (at - 1) % 64))) - 1;
    }

    uint32_t width_;
    uint32_t height_;
    size_t stride_;
    size_t size_;
    uint8_t* pixels_ = nullptr;
    Runs* runs_ = nullptr;
    uint32_t* numbers_ = nullptr;
};

/** What hands out the pixels of a border that was followed once more. */
inline auto tracer(const BorderImage& image, size_t start, PackedPoint point, uint32_t outside)
{
    return [&image, start, point, outside](auto add)
    {
        image.trace(start, point, outside,
                    [&](const uint8_t* /*at*/, bool /*isEastOpen*/, PackedPoint p, uint32_t direction)
                    { add(p, direction); });
    };
}

/** The frame of the image among the numbers of borders; border i of the list is i + 1. */
constexpr uint32_t kFrame = 0;

/** Whether a border is that of a hole, and the number of its parent. */
struct Border
{
    bool isHole() const { return (word & 1) != 0; }
    uint32_t parent() const { return word >> 1; }

    uint32_t word;
};

/**
 * Follows all borders in the order of their first pixels. next(pixels, end) tells how far it is to the first pixel
 * where a border may begin, `end` if there is none. sink.begin(border) may end it; sink.add(point, direction) gets the
 * pixels, sink.end(trace) may end it, to which trace(add) would hand the pixels again.
 * @param borders  room for those that sink.begin lets pass, and the frame; null if parents do not matter
 */
template <bool hasParents, class Next, class Sink>
void followBorders(BorderImage& image, [[maybe_unused]] Border* borders, Next next, Sink& sink)
{
    uint8_t* const pixels = image.pixels();
    if constexpr (hasParents)
    {
        borders[kFrame] = {1};
    }
    uint32_t found = 0;
    for (uint32_t y = 0; y < image.height(); ++y)
    {
        const size_t row = image.rowStart(y);
        uint32_t latest = kFrame;  // the border of the last marked pixel to the left
        uint32_t known = 0;        // columns that `latest` knows of
        for (uint32_t x = 0;; ++x)
        {
            x += static_cast<uint32_t>(next(pixels + row + x, image.width() - x));
            if (x >= image.width())
            {
                break;
            }
            const size_t at = row + x;
            const bool isHole = !(pixels[at] == kUnmarked && pixels[at - 1] == kOutside);
            Border border{isHole ? 1u : 0u};
            if constexpr (hasParents)
            {
                for (uint32_t k = x; k > known; --k)
                {
                    if (pixels[row + k - 1] >= kMarked)
                    {
                        latest = image.numberAt(row + k - 1);
                        break;
                    }
                }
                if (isHole && pixels[at] == kMarked)
                {
                    latest = image.numberAt(at);
                }
                const uint32_t parent = borders[latest].isHole() != isHole ? latest : borders[latest].parent();
                border.word |= parent << 1;
            }
            if (!sink.begin(border))
            {
                return;
            }
            ++found;
            if constexpr (hasParents)
            {
                borders[found] = border;
            }
            const uint32_t outside = isHole ? kEast : kWest;
            const auto add = [&](PackedPoint point, uint32_t direction) { sink.add(point, direction); };
            image.follow<hasParents>(at, packPoint(x, y), outside, found, add);
            if (!sink.end(tracer(image, at, packPoint(x, y), outside)))
            {
                return;
            }
            if constexpr (hasParents)
            {
                latest = image.numberAt(at);
                known = x + 1;
            }
        }
    }
}

/** As followBorders for the outermost borders alone, without numbers: inside of them the last mark is no open east. */
template <class Next, class Sink>
void followOuterBorders(BorderImage& image, Next next, Sink& sink)
{
    uint8_t* const pixels = image.pixels();
    for (uint32_t y = 0; y < image.height(); ++y)
    {
        const size_t row = image.rowStart(y);
        bool isInside = false;
        uint32_t known = 0;
        for (uint32_t x = 0;; ++x)
        {
            x += static_cast<uint32_t>(next(pixels + row + x, image.width() - x));
            if (x >= image.width())
            {
                break;
            }
            for (uint32_t k = x; k > known; --k)
            {
                if (pixels[row + k - 1] >= kMarked)
                {
                    isInside = pixels[row + k - 1] == kMarked;
                    break;
                }
            }
            known = x;
            if (isInside)
            {
                continue;
            }
            if (!sink.begin(Border{kFrame}))
            {
                return;
            }
            image.follow<false>(row + x, packPoint(x, y), kWest, 0,
                                [&](PackedPoint point, uint32_t direction) { sink.add(point, direction); });
            if (!sink.end(tracer(image, row + x, packPoint(x, y), kWest)))
            {
                return;
            }
        }
    }
}

/** Where a border may begin: an unmarked pixel with nothing west, or one that is not open yet with nothing east. */
constexpr bool mayBegin(const uint8_t* pixel)
{
    return (pixel[0] == kUnmarked && pixel[-1] == kOutside) ||
           ((pixel[0] == kUnmarked || pixel[0] == kMarked) && pixel[1] == kOutside);
}

constexpr bool mayBeginOutside(const uint8_t* pixel)
{
    return pixel[0] == kUnmarked && pixel[-1] == kOutside;
}

}  // namespace visora

#endif
