// Drivers of window filters: two passes, first down the columns and then along the rows, and rows continued beyond
// their ends for windows taken whole. Included once per instruction set.
#ifndef VISORA_VECTA_FILTER_WINDOW_ONCE
#define VISORA_VECTA_FILTER_WINDOW_ONCE

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraScratch.h"
#include "visora/types.h"

namespace visora
{

/** What stands outside an image: one value, or the nearest pixel. */
template <class T>
struct Surround
{
    explicit Surround(vsrBorderType type = VISORA_BORDER_REPLICATE, T outside = 0)
        : constant(type == VISORA_BORDER_CONSTANT), value(outside)
    {
    }

    bool constant;
    T value;
};

/** The source of a window filter. `step` is the distance of rows in elements. */
template <class T>
struct WindowSource
{
    WindowSource(const T* pixels, uint32_t columns, uint32_t rows, uint32_t stride, Surround<T> outside = Surround<T>())
        : src(pixels), width(columns), height(rows), step(stride / sizeof(T)), surround(outside)
    {
    }

    const T* nearestRow(ptrdiff_t y) const
    {
        return src + static_cast<size_t>(std::clamp<ptrdiff_t>(y, 0, static_cast<ptrdiff_t>(height) - 1)) * step;
    }

    /** Row y; one outside the image is the nearest one, or `outside` where that is a constant. */
    const T* row(ptrdiff_t y, const T* outside) const
    {
        const bool inside = y >= 0 && y < static_cast<ptrdiff_t>(height);
        return surround.constant && !inside ? outside : nearestRow(y);
    }

    const T* src;
    size_t width;
    size_t height;
    size_t step;
    Surround<T> surround;
};

/** How far a window reaches from its pixel. */
struct WindowReach
{
    size_t left;
    size_t right;
    size_t above;
    size_t below;

    size_t rows() const { return above + below + 1; }
};

/** The reach of an odd square window of this radius. */
constexpr WindowReach squareReach(size_t radius)
{
    return {radius, radius, radius, radius};
}

/** Elements that may be read behind a padded row: a vector of the widest kind and one element. */
template <class T>
constexpr size_t kRowSlack = 64 / sizeof(T) + 1;

/**
 * Copies of the last rows of an image, as many as a window has, each continued to both sides. Rows are asked for in
 * their order, from that of the first window on.
 */
template <class T, class Copy = T>
class PaddedRows
{
  public:
    PaddedRows(const WindowSource<T>& source, WindowReach reach)
        : source_(source),
          reach_(reach),
          rowElements_((reach.left + source.width + reach.right + kRowSlack<Copy> + 63) / 64 * 64),
          scratch_(((reach.rows() + 1) * rowElements_) * sizeof(Copy) + reach.rows() * sizeof(const Copy*)),
          next_(0)
    {
        if (scratch_.data())
        {
            rows_ = reinterpret_cast<const Copy**>(scratch_.data() + (reach.rows() + 1) * rowElements_ * sizeof(Copy));
            std::fill_n(slot(0), (reach.rows() + 1) * rowElements_, static_cast<Copy>(source.surround.value));
        }
    }

    /** False when there was no scratch memory. */
    bool ready() const { return scratch_.data() != nullptr; }

    /**
     * The rows of the windows of row y, from the uppermost on. Each may be read from `left` elements before its first
     * to kRowSlack elements beyond `right` behind its last one.
     */
    const Copy* const* around(size_t y)
    {
        for (const size_t end = std::min(y + reach_.below + 1, source_.height); next_ < end; ++next_)
        {
            copyRow(next_);
        }
        for (size_t i = 0; i < reach_.rows(); ++i)
        {
            const auto at = static_cast<ptrdiff_t>(y + i) - static_cast<ptrdiff_t>(reach_.above);
            const ptrdiff_t nearest = std::clamp<ptrdiff_t>(at, 0, static_cast<ptrdiff_t>(source_.height) - 1);
            // The slot behind those of the image's rows stays as it was filled at first.
            const bool outside = source_.surround.constant && nearest != at;
            rows_[i] = slot(outside ? reach_.rows() : static_cast<size_t>(nearest) % reach_.rows()) + reach_.left;
        }
        return rows_;
    }

  private:
    Copy* slot(size_t i) { return reinterpret_cast<Copy*>(scratch_.data()) + i * rowElements_; }

    void copyRow(size_t y)
    {
        const T* from = source_.src + y * source_.step;
        Copy* to = slot(y % reach_.rows()) + reach_.left;  // of rows it has. NOLINT(clang-analyzer-core.DivideZero)
        std::copy_n(from, source_.width, to);
        if (!source_.surround.constant)
        {
            std::fill_n(to - reach_.left, reach_.left, static_cast<Copy>(from[0]));
            std::fill_n(to + source_.width, reach_.right, static_cast<Copy>(from[source_.width - 1]));
        }
    }

    const WindowSource<T> source_;
    const WindowReach reach_;
    const size_t rowElements_;
    const Scratch scratch_;
    const Copy** rows_ = nullptr;
    size_t next_;
};

}  // namespace visora

#endif

#if defined(VISORA_VECTA_FILTER_WINDOW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_WINDOW_INL_H
#undef VISORA_VECTA_FILTER_WINDOW_INL_H
#else
#define VISORA_VECTA_FILTER_WINDOW_INL_H
#endif

#include "hwy/cache_control.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/**
 * A filter in two passes with one row of results between them, in `planes` planes of Sum:
 * - columns(rows, x, sums) writes what the column windows rows[0 .. above + below][x ..] give to sums[plane][x ..], for
 *   `lanes` columns;
 * - row(y, sums, begin, end) makes these columns of row y of the result, at least 64 or the whole row; sums continue
 * `left` and `right` columns beyond them, outside the image by what columns gives there. It goes down the image in
 * strips of columns, so narrow that a window's rows stay in the first-level cache. The image must be at least `lanes`
 * wide.
 * @return VISORA_ENOMEM without scratch memory, with nothing written
 */
template <class Sum, size_t planes, class T, class Columns, class Row>
HWY_INLINE vsrStatus columnsThenRows(const WindowSource<T>& source, WindowReach reach, size_t lanes, Columns columns,
                                     Row row)
{
    const auto roundedUp = [](size_t count) { return (count + 63) / 64 * 64; };
    const size_t width = source.width;
    const size_t left = roundedUp(reach.left);
    const size_t planeElements = left + roundedUp(width + reach.right + kRowSlack<Sum>);
    const size_t outsideElements = roundedUp(width);
    const Scratch scratch(planes * planeElements * sizeof(Sum) + outsideElements * sizeof(T) +
                          reach.rows() * sizeof(const T*));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    std::array<Sum*, planes> sums;
    for (size_t plane = 0; plane < planes; ++plane)
    {
        sums[plane] = reinterpret_cast<Sum*>(scratch.data()) + plane * planeElements + left;
    }
    auto* outside = reinterpret_cast<T*>(scratch.data() + planes * planeElements * sizeof(Sum));
    std::fill_n(outside, outsideElements, source.surround.value);
    auto** rows = reinterpret_cast<const T**>(outside + outsideElements);

    std::array<Sum, planes> beyond{};
    if (source.surround.constant)
    {
        std::fill_n(rows, reach.rows(), static_cast<const T*>(outside));
        columns(rows, 0, sums);
        std::transform(sums.begin(), sums.end(), beyond.begin(), [](const Sum* sum) { return *sum; });
    }
    // Where the windows of whole rows stay in the first-level cache there is one strip; one that is left is narrower
    // than need be, so that what else is read and written does not drive it out.
    constexpr size_t kCacheBytes = 48 * 1024;
    constexpr size_t kStripBytes = kCacheBytes / 2;
    const size_t strip = width * sizeof(T) * reach.rows() <= kCacheBytes
                             ? roundedUp(width)
                             // A window has rows. NOLINTNEXTLINE(clang-analyzer-core.DivideZero)
                             : roundedUp(std::max({kStripBytes / sizeof(T) / reach.rows(), size_t{512},
                                                   4 * (reach.left + reach.right)}));
    // Processors do not see early enough which rows come next. Small images stay in a cache.
    constexpr size_t kRowsAhead = 4;
    const bool isLarge = width * sizeof(T) >= 3072;
    for (size_t begin = 0; begin < width; begin += strip)
    {
        const size_t end = std::min(begin + strip, width);
        // The last strip reaches back over pixels of the one before it.
        const size_t first = begin == 0 ? 0 : std::min(begin, width - 64);
        const size_t columnsBegin = first - std::min(first, reach.left);
        const size_t columnsEnd = std::min(end + reach.right, width);
        for (size_t y = 0; y < source.height; ++y)
        {
            for (size_t i = 0; i < reach.rows(); ++i)
            {
                rows[i] = source.row(static_cast<ptrdiff_t>(y + i) - static_cast<ptrdiff_t>(reach.above), outside);
            }
            if (isLarge && y + reach.below + kRowsAhead < source.height)
            {
                const T* ahead = source.src + (y + reach.below + kRowsAhead) * source.step;
                for (size_t x = columnsBegin; x < columnsEnd; x += 64 / sizeof(T))
                {
                    hwy::Prefetch(ahead + x);
                }
            }
            coverRange(columnsBegin, columnsEnd, lanes, [&](size_t x) HWY_ATTR { columns(rows, x, sums); });
            for (size_t plane = 0; plane < planes; ++plane)
            {
                Sum* sum = sums[plane];
                const bool constant = source.surround.constant;
                if (columnsBegin == 0)
                {
                    std::fill_n(sum - reach.left, reach.left, constant ? beyond[plane] : sum[0]);
                }
                if (columnsEnd == width)
                {
                    std::fill_n(sum + width, reach.right, constant ? beyond[plane] : sum[width - 1]);
                }
            }
            row(y, sums, first, end);
        }
    }
    return VISORA_SUCCESS;
}

/**
 * Rows of 3x3 windows: row(above, centre, below, y) makes columns 1 .. width - 2 of row y, edge(x, y) the first and the
 * last pixel of each row. `outside` stands for rows outside the image where these are constant.
 */
template <class T, class Row, class Edge>
HWY_INLINE void rowsOf3x3(const WindowSource<T>& source, const T* outside, Row row, Edge edge)
{
    for (size_t y = 0; y < source.height; ++y)
    {
        const auto at = static_cast<ptrdiff_t>(y);
        row(source.row(at - 1, outside), source.nearestRow(at), source.row(at + 1, outside), y);
        edge(0, static_cast<uint32_t>(y));
        edge(static_cast<uint32_t>(source.width - 1), static_cast<uint32_t>(y));
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
