// Lists of contours.
#ifndef VISORA_CPU_SHAPE_CONTOUR_H
#define VISORA_CPU_SHAPE_CONTOUR_H

#include "cpu/shape/visoraShapeBorder.h"
#include "visora/region.h"

namespace visora
{

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
    /** Packed points that are kept; longer chains are followed again when it is known that they fit. */
    static constexpr size_t kRoom = 16384;

    ChainSink(const ChainLists& lists, PackedPoint* chain) : lists_(lists), chain_(chain) {}

    bool begin(Border border)
    {
        border_ = border;
        size_ = 0;
        latest_ = kNone;
        return contours_ < lists_.maxContours;
    }

    void add(PackedPoint point, uint32_t direction)
    {
        if (latest_ == kNone)
        {
            first_ = direction;
        }
        if (isListed(direction))
        {
            if (size_ < kRoom)
            {
                chain_[size_] = point;
            }
            ++size_;
        }
        latest_ = direction;
    }

    template <class Trace>
    bool end(Trace trace)
    {
        // Whether the first point is a corner shows at the end; a point alone stays.
        const size_t dropped = lists_.chain == VISORA_CHAIN_CORNERS && size_ > 1 && first_ == latest_ ? 1 : 0;
        const size_t length = size_ - dropped;
        if (length > lists_.maxPoints - points_)
        {
            return false;
        }
        int32_t* to = lists_.xy + 2 * size_t{points_};
        const auto put = [&to](PackedPoint p)
        {
            to[0] = static_cast<int32_t>(xOf(p));
            to[1] = static_cast<int32_t>(yOf(p));
            to += 2;
        };
        if (size_ <= kRoom)
        {
            std::for_each(chain_ + dropped, chain_ + size_, put);
        }
        else
        {
            size_t listed = 0;
            latest_ = kNone;
            trace(
                [&](PackedPoint point, uint32_t direction)
                {
                    if (isListed(direction) && listed++ >= dropped)
                    {
                        put(point);
                    }
                    latest_ = direction;
                });
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

    bool isListed(uint32_t direction) const { return lists_.chain == VISORA_CHAIN_FULL || direction != latest_; }

    ChainLists lists_;
    PackedPoint* chain_;
    size_t size_ = 0;
    uint32_t first_ = kNone;
    uint32_t latest_ = kNone;
    Border border_{0};
    uint32_t contours_ = 0;
    uint32_t points_ = 0;
};

/** setRow, runStarts and next as for BorderImage and followBorders, by the mask's rows. */
template <class SetRow, class RunStarts, class Next>
vsrStatus listContours(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, const ChainLists& lists,
                       uint32_t* numContours, uint32_t* numPoints, SetRow setRow, RunStarts runStarts, Next next)
{
    const bool isTree = lists.links != nullptr;
    BorderImage image(width, height);
    const Scratch scratch(image.bytes(isTree) + partBytes<PackedPoint>(ChainSink::kRoom));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    image.take(parts, isTree);
    image.fill([&](uint8_t* row, uint32_t y) { setRow(imageRow(src, srcStride, y), row, width); });
    ChainSink sink(lists, parts.take<PackedPoint>(ChainSink::kRoom));
    if (isTree)
    {
        // An outer border begins where a run does, one of a hole where one ends.
        const uint32_t runs = image.countRuns(runStarts);
        const size_t borders = std::min<size_t>(lists.maxContours, 2 * size_t{runs}) + 1;
        const Scratch numbers(partBytes<uint32_t>(runs) + partBytes<Border>(borders));
        if (!numbers.data())
        {
            return VISORA_ENOMEM;
        }
        Parts more(numbers);
        image.setNumbers(more.take<uint32_t>(runs), runs);
        auto* const list = more.take<Border>(borders);
        followBorders<true>(image, list, next, sink);
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
