// Blobs: the outer borders of many thresholds, in groups.
#ifndef VISORA_CPU_SHAPE_BLOB_H
#define VISORA_CPU_SHAPE_BLOB_H

#include <cmath>
#include <optional>

#include "cpu/shape/visoraShapeBorder.h"
#include "visora/detect.h"

namespace visora
{

struct Columns
{
    int32_t left;
    int32_t right;
};

// Twice the area of the convex hull of pixels, of which each row has its first and its last.
class BlobHull
{
  public:
    static size_t bytes(uint32_t height) { return partBytes<Columns>(height) + 2 * partBytes<uint32_t>(height); }

    BlobHull(Parts& parts, uint32_t height)
        : rows_(parts.take<Columns>(height)),
          lefts_(parts.take<uint32_t>(height)),
          rights_(parts.take<uint32_t>(height))
    {
    }

    void clear() { isEmpty_ = true; }

    // The pixels of a border: from one to the next it is at most a row.
    void add(PackedPoint p)
    {
        const auto x = static_cast<int32_t>(xOf(p));
        const uint32_t y = yOf(p);
        if (isEmpty_ || y < top_ || y > bottom_)
        {
            top_ = isEmpty_ ? y : std::min(top_, y);
            bottom_ = isEmpty_ ? y : std::max(bottom_, y);
            rows_[y] = {x, x};
            isEmpty_ = false;
        }
        rows_[y].left = std::min(rows_[y].left, x);
        rows_[y].right = std::max(rows_[y].right, x);
    }

    int64_t twiceTheArea()
    {
        const size_t lefts = side<1>(lefts_);
        const size_t rights = side<-1>(rights_);
        const auto trapezoids = [&](const uint32_t* list, size_t size, auto columnOf)
        {
            int64_t total = 0;
            for (size_t i = 0; i + 1 < size; ++i)
            {
                total += int64_t{columnOf(list[i]) + columnOf(list[i + 1])} * (list[i + 1] - list[i]);
            }
            return total;
        };
        return trapezoids(rights_, rights, [this](uint32_t y) { return rows_[y].right; }) -
               trapezoids(lefts_, lefts, [this](uint32_t y) { return rows_[y].left; });
    }

  private:
    // The rows at which one side of the hull has a corner, from the top down; `sign` 1 is the left one.
    template <int sign>
    size_t side(uint32_t* list) const
    {
        const auto columnAt = [this](uint32_t y) { return int64_t{sign > 0 ? rows_[y].left : rows_[y].right}; };
        size_t size = 0;
        for (uint32_t y = top_; y <= bottom_; ++y)
        {
            // Without the last corner, while it is not outside of the line from the one before it to this.
            while (size > 1)
            {
                const int64_t y0 = list[size - 2];
                const int64_t y1 = list[size - 1];
                const int64_t x0 = columnAt(list[size - 2]);
                const int64_t x1 = columnAt(list[size - 1]);
                if (sign * ((x1 - x0) * (y - y0) - (columnAt(y) - x0) * (y1 - y0)) < 0)
                {
                    break;
                }
                --size;
            }
            list[size++] = y;
        }
        return size;
    }

    Columns* rows_;
    uint32_t* lefts_;
    uint32_t* rights_;
    uint32_t top_ = 0;
    uint32_t bottom_ = 0;
    bool isEmpty_ = true;
};

// What blobs of one place have in common, over the thresholds.
struct BlobGroup
{
    double sumX;
    double sumY;
    double sumRadius;
    double x;  // of the latest member
    double y;
    uint32_t size;
    uint32_t nextFree;  // among those without a member at this threshold
};

constexpr uint32_t kNoGroup = 0xffffffff;

// BlobGroups in the order of their foundation, in memory that grows.
class BlobGroups
{
  public:
    // All groups are free at a new threshold.
    void begin()
    {
        for (uint32_t i = 0; i < size_; ++i)
        {
            list()[i].nextFree = i + 1 < size_ ? i + 1 : kNoGroup;
        }
        firstFree_ = size_ != 0 ? 0 : kNoGroup;
    }

    // False without memory.
    bool add(double x, double y, double radius, double minDistance)
    {
        uint32_t before = kNoGroup;
        for (uint32_t i = firstFree_; i != kNoGroup; before = i, i = list()[i].nextFree)
        {
            BlobGroup& group = list()[i];
            const double dx = x - group.x;
            const double dy = y - group.y;
            if (dx * dx + dy * dy < minDistance * minDistance)
            {
                (before == kNoGroup ? firstFree_ : list()[before].nextFree) = group.nextFree;
                group = {group.sumX + x, group.sumY + y, group.sumRadius + radius, x, y, group.size + 1, kNoGroup};
                return true;
            }
        }
        if (size_ == room_ && !makeRoom())
        {
            return false;
        }
        list()[size_++] = {x, y, radius, x, y, 1, kNoGroup};
        return true;
    }

    uint32_t put(uint32_t minRepeats, vsrBlob* blobs, uint32_t capacity)
    {
        uint32_t count = 0;
        for (uint32_t i = 0; i < size_ && count < capacity; ++i)
        {
            const BlobGroup& group = list()[i];
            if (group.size >= minRepeats)
            {
                const double n = group.size;
                blobs[count++] = {static_cast<float>(group.sumX / n), static_cast<float>(group.sumY / n),
                                  static_cast<float>(group.sumRadius / n), group.size};
            }
        }
        return count;
    }

  private:
    BlobGroup* list() { return scratch_[current_]->as<BlobGroup>(); }

    bool makeRoom()
    {
        const uint32_t room = std::max(1024u, 2 * room_);
        std::optional<Scratch>& larger = scratch_[1 - current_];
        larger.emplace(partBytes<BlobGroup>(room));
        if (!larger->data())
        {
            return false;
        }
        if (size_ != 0)
        {
            std::copy(list(), list() + size_, larger->as<BlobGroup>());
        }
        scratch_[current_].reset();
        current_ = 1 - current_;
        room_ = room;
        return true;
    }

    std::optional<Scratch> scratch_[2];
    size_t current_ = 0;
    uint32_t size_ = 0;
    uint32_t room_ = 0;
    uint32_t firstFree_ = kNoGroup;
};

// Measures the outer borders of one threshold.
class BlobSink
{
  public:
    BlobSink(const vsrBlobParameters& parameters, BlobHull& hull, BlobGroups& groups)
        : parameters_(parameters), hull_(hull), groups_(groups)
    {
    }

    bool begin(Border border)
    {
        isHole_ = border.isHole();
        steps_ = 0;
        diagonals_ = 0;
        area_ = 0;
        momentX_ = 0;
        momentY_ = 0;
        sumX_ = 0;
        sumY_ = 0;
        hull_.clear();
        return true;
    }

    void add(PackedPoint p, uint32_t direction)
    {
        if (isHole_)
        {
            return;
        }
        hull_.add(p);
        const int64_t x0 = xOf(p);
        const int64_t y0 = yOf(p);
        sumX_ += x0;
        sumY_ += y0;
        ++steps_;
        if (direction > 7)
        {
            return;
        }
        diagonals_ += direction % 2;
        const int64_t x1 = x0 + kStepX[direction];
        const int64_t y1 = y0 + kStepY[direction];
        const int64_t c = x0 * y1 - x1 * y0;
        area_ += c;
        momentX_ += (x0 + x1) * c;
        momentY_ += (y0 + y1) * c;
    }

    template <class Trace>
    bool end(Trace /*trace*/)
    {
        if (isHole_)
        {
            return true;
        }
        const int64_t twice = std::abs(area_);
        const int64_t steps = steps_ == 1 ? 0 : steps_;
        const int64_t area = (twice + steps) / 2 + 1;
        if (area < parameters_.minArea || area > parameters_.maxArea)
        {
            return true;
        }
        const double perimeter =
            static_cast<double>(steps - diagonals_) + static_cast<double>(diagonals_) * 1.4142135623730951;
        const double roundness =
            steps == 0 ? 1 : 12.566370614359172 * (0.5 * static_cast<double>(twice)) / (perimeter * perimeter);
        const int64_t hull = hull_.twiceTheArea();
        const double convexity = hull == 0 ? 1 : static_cast<double>(twice) / static_cast<double>(hull);
        if (!(roundness >= parameters_.minRoundness && convexity >= parameters_.minConvexity))
        {
            return true;
        }
        const auto n = static_cast<double>(steps_);
        const double threefold = 3.0 * static_cast<double>(area_);
        const double x = area_ != 0 ? static_cast<double>(momentX_) / threefold : static_cast<double>(sumX_) / n;
        const double y = area_ != 0 ? static_cast<double>(momentY_) / threefold : static_cast<double>(sumY_) / n;
        const double radius = std::sqrt(static_cast<double>(area) / 3.141592653589793);
        isOutOfMemory_ = !groups_.add(x, y, radius, parameters_.minDistance);
        return !isOutOfMemory_;
    }

    bool isOutOfMemory() const { return isOutOfMemory_; }

  private:
    const vsrBlobParameters& parameters_;
    BlobHull& hull_;
    BlobGroups& groups_;
    bool isHole_ = false;
    bool isOutOfMemory_ = false;
    int64_t steps_ = 0;
    int64_t diagonals_ = 0;
    int64_t area_ = 0;
    int64_t momentX_ = 0;
    int64_t momentY_ = 0;
    int64_t sumX_ = 0;
    int64_t sumY_ = 0;
};

/** setRow(from, level, isAbove, row, width) makes the pixels of a row that are above a level or not; next as there. */
template <class SetRow, class Next>
vsrStatus findBlobs(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                    const vsrBlobParameters& parameters, vsrBlob* blobs, uint32_t capacity, uint32_t* count,
                    SetRow setRow, Next next)
{
    BorderImage image(width, height);
    const Scratch scratch(image.bytes(false) + BlobHull::bytes(height));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    image.take(parts, false);
    BlobHull hull(parts, height);
    BlobGroups groups;
    BlobSink sink(parameters, hull, groups);
    for (uint32_t threshold = parameters.minThreshold;; threshold += parameters.thresholdStep)
    {
        image.fill(
            [&](uint8_t* row, uint32_t y) {
                setRow(imageRow(src, srcStride, y), static_cast<uint8_t>(threshold), parameters.bright != 0, row,
                       width);
            });
        groups.begin();
        followBorders<false>(image, nullptr, next, sink);
        if (sink.isOutOfMemory())
        {
            return VISORA_ENOMEM;
        }
        if (parameters.maxThreshold - threshold < parameters.thresholdStep)
        {
            break;
        }
    }
    *count = groups.put(parameters.minRepeats, blobs, capacity);
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
