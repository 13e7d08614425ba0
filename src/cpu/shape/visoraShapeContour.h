// Border following: what prepares the rows and finds where borders begin is given.
#ifndef VISORA_CPU_SHAPE_CONTOUR_H
#define VISORA_CPU_SHAPE_CONTOUR_H

#include <algorithm>
#include <cstring>

#include "cpu/shape/visoraShape.h"
#include "cpu/visoraDrivers.h"
#include "visora/region.h"

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
 * The pixels of a mask with a frame of zeros: a byte each, and the number of the last border through it for those that
 * are marked.
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
        return partBytes<uint8_t>(size_ + kSlack) + (hasNumbers ? partBytes<uint32_t>(size_) : 0);
    }

    /** setRow(row, y) makes the pixels of a row kOutside or kUnmarked. */
    template <class SetRow>
    void set(Parts& parts, bool hasNumbers, SetRow setRow)
    {
        pixels_ = parts.take<uint8_t>(size_ + kSlack);
        numbers_ = hasNumbers ? parts.take<uint32_t>(size_) : nullptr;
        fill(setRow);
    }

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

    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    size_t rowStart(uint32_t y) const { return stride_ * (size_t{y} + 1) + 1; }
    uint8_t* pixels() const { return pixels_; }
    uint32_t numberAt(size_t at) const { return numbers_[at]; }

    /**
     * Follows the border through the pixel at `start`, which stands for `point`, where the pixel in direction `outside`
     * is 0, and hands point(packed, direction of the next step) each of its pixels; 8 for a pixel alone.
     */
    template <bool hasNumbers, class Point>
    void follow(size_t start, PackedPoint point, uint32_t outside, uint32_t number, Point take)
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
            mark<hasNumbers>(begin, kEastOpen, number);
            take(point, 8u);
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
            if (isEastOpen)
            {
                mark<hasNumbers>(at, kEastOpen, number);
            }
            else if (*at == kUnmarked)
            {
                mark<hasNumbers>(at, kMarked, number);
            }
            take(point, direction);
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
    template <bool hasNumbers>
    void mark(uint8_t* at, BorderPixel kind, uint32_t number)
    {
        *at = kind;
        if constexpr (hasNumbers)
        {
            numbers_[at - pixels_] = number;
        }
    }

    uint32_t width_;
    uint32_t height_;
    size_t stride_;
    size_t size_;
    uint8_t* pixels_ = nullptr;
    uint32_t* numbers_ = nullptr;
};

/** The frame of the image among the numbers of borders; border i of the list is i + 1. */
constexpr uint32_t kFrame = 0;

/** Whether a border is that of a hole, and the number of its parent. */
struct Border
{
    bool isHole() const { return (word & 1) != 0; }
    uint32_t parent() const { return word >> 1; }

    uint32_t word;
};

/** No image has more borders: at most one begins at each second pixel of a row with nothing west, or with nothing east.
 */
constexpr size_t mostBorders(uint32_t width, uint32_t height)
{
    return (size_t{width} + 1) * height;
}

/**
 * Follows all borders in the order of their first pixels. next(pixels, end) tells how far it is to the first pixel
 * where a border may begin, `end` if there is none. sink.begin(border) may end it; sink.add(point, direction) gets the
 * pixels, sink.end() may end it.
 * @param borders  room for those that sink.begin lets pass, and the frame
 */
template <class Next, class Sink>
void followBorders(BorderImage& image, Border* borders, Next next, Sink& sink)
{
    uint8_t* const pixels = image.pixels();
    borders[kFrame] = {1};
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
            for (uint32_t k = x; k > known; --k)
            {
                if (pixels[row + k - 1] >= kMarked)
                {
                    latest = image.numberAt(row + k - 1);
                    break;
                }
            }
            const bool isHole = !(pixels[at] == kUnmarked && pixels[at - 1] == kOutside);
            if (isHole && pixels[at] == kMarked)
            {
                latest = image.numberAt(at);
            }
            const uint32_t parent = borders[latest].isHole() != isHole ? latest : borders[latest].parent();
            const Border border{parent << 1 | (isHole ? 1u : 0u)};
            if (!sink.begin(border))
            {
                return;
            }
            borders[++found] = border;
            image.follow<true>(at, packPoint(x, y), isHole ? kEast : kWest, found,
                               [&](PackedPoint point, uint32_t direction) { sink.add(point, direction); });
            if (!sink.end())
            {
                return;
            }
            latest = image.numberAt(at);
            known = x + 1;
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
            if (!sink.end())
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

/** Where the chains of an operation go. */
struct ChainLists
{
    vsrChainType chain;
    uint32_t* lengths;
    vsrContourLinks* links;  // or null
    uint32_t maxContours;
    int32_t* xy;
    uint32_t maxPoints;
};

/** Lists whole chains. */
class ChainSink
{
  public:
    /** `room` packed points, as many as a chain that fits could have. */
    ChainSink(const ChainLists& lists, PackedPoint* chain, size_t room) : lists_(lists), chain_(chain), room_(room) {}

    bool begin(Border border)
    {
        border_ = border;
        size_ = 0;
        latest_ = kNone;
        return contours_ < lists_.maxContours;
    }

    void add(PackedPoint point, uint32_t direction)
    {
        const bool isFirst = latest_ == kNone;
        if (isFirst)
        {
            first_ = direction;
        }
        if (lists_.chain == VISORA_CHAIN_FULL || direction != latest_)
        {
            if (size_ < room_)
            {
                chain_[size_] = point;
            }
            ++size_;
        }
        latest_ = direction;
    }

    bool end()
    {
        // Whether the first point is a corner shows at the end; a point alone stays.
        const bool dropsFirst = lists_.chain == VISORA_CHAIN_CORNERS && size_ > 1 && first_ == latest_;
        const size_t length = size_ - (dropsFirst ? 1 : 0);
        if (length > lists_.maxPoints - points_)
        {
            return false;
        }
        int32_t* to = lists_.xy + 2 * size_t{points_};
        for (const PackedPoint* p = chain_ + (dropsFirst ? 1 : 0); p != chain_ + size_; ++p, to += 2)
        {
            to[0] = static_cast<int32_t>(xOf(*p));
            to[1] = static_cast<int32_t>(yOf(*p));
        }
        points_ += static_cast<uint32_t>(length);
        lists_.lengths[contours_] = static_cast<uint32_t>(length);
        if (lists_.links)
        {
            lists_.links[contours_] = {-1, -1, -1, static_cast<int32_t>(border_.parent()) - 1,
                                       border_.isHole() ? 1u : 0u};
        }
        ++contours_;
        return true;
    }

    uint32_t contours() const { return contours_; }
    uint32_t points() const { return points_; }

    /** Links the contours of each parent. `latest` has room for one number more than there are contours. */
    void link(int32_t* latest)
    {
        std::fill_n(latest, size_t{contours_} + 1, -1);
        for (uint32_t i = 0; i < contours_; ++i)
        {
            vsrContourLinks& links = lists_.links[i];
            int32_t& sibling = latest[links.parent + 1];
            links.previous = sibling;
            if (sibling >= 0)
            {
                lists_.links[sibling].next = static_cast<int32_t>(i);
            }
            else if (links.parent >= 0)
            {
                lists_.links[links.parent].child = static_cast<int32_t>(i);
            }
            sibling = static_cast<int32_t>(i);
        }
    }

  private:
    static constexpr uint32_t kNone = 9;

    ChainLists lists_;
    PackedPoint* chain_;
    size_t room_;
    size_t size_ = 0;
    uint32_t first_ = kNone;
    uint32_t latest_ = kNone;
    Border border_{0};
    uint32_t contours_ = 0;
    uint32_t points_ = 0;
};

/** setRow and next as for BorderImage and followBorders, by the mask's rows. */
template <class SetRow, class Next>
vsrStatus listContours(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, const ChainLists& lists,
                       uint32_t* numContours, uint32_t* numPoints, SetRow setRow, Next next)
{
    const bool isTree = lists.links != nullptr;
    BorderImage image(width, height);
    // A pixel is passed at most four times. A chain of corners that fits may have one point more at first.
    const size_t room = std::min<size_t>(lists.maxPoints, 4 * size_t{width} * height) + 1;
    const size_t borders = isTree ? std::min<size_t>(lists.maxContours, mostBorders(width, height)) + 1 : 0;
    const Scratch scratch(image.bytes(isTree) + partBytes<PackedPoint>(room) + partBytes<Border>(borders));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    image.set(parts, isTree, [&](uint8_t* row, uint32_t y) { setRow(imageRow(src, srcStride, y), row, width); });
    ChainSink sink(lists, parts.take<PackedPoint>(room), room);
    if (isTree)
    {
        auto* const list = parts.take<Border>(borders);
        followBorders(image, list, next, sink);
        sink.link(reinterpret_cast<int32_t*>(list));
    }
    else
    {
        followOuterBorders(image, next, sink);
    }
    *numContours = sink.contours();
    *numPoints = sink.points();
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
