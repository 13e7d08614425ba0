// Edges, peaks and boxes, vector variants.
#include <bit>
#include <cstring>

#include "cpu/shape/visoraShapeEdge.h"
#include "cpu/shape/visoraShapePeak.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapePeakV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Edges ----

using Gradients = hn::ScalableTag<int16_t>;

// Magnitudes of a row with a 0 on either side.
HWY_INLINE void magnitudeRow(const int16_t* dx, const int16_t* dy, uint16_t* to, size_t width)
{
    const Gradients d;
    const hn::RebindToUnsigned<Gradients> dU;
    to[0] = 0;
    to[width + 1] = 0;
    coverRange(0, width, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   // The bits of |-32768| are those of 32768.
                   const auto a = hn::BitCast(dU, hn::Abs(hn::LoadU(d, dx + x)));
                   const auto b = hn::BitCast(dU, hn::Abs(hn::LoadU(d, dy + x)));
                   hn::StoreU(hn::SaturatedAdd(a, b), dU, to + 1 + x);
               });
}

// Rows of magnitudes begin with the 0 before the first pixel.
HWY_INLINE void thinRow(const int16_t* dx, const int16_t* dy, const uint16_t* above, const uint16_t* here,
                        const uint16_t* below, uint16_t* dst, size_t width)
{
    const Gradients d;
    const hn::RebindToUnsigned<Gradients> dU;
    coverRange(
        0, width, hn::Lanes(d),
        [&](size_t x) HWY_ATTR
        {
            const auto gx = hn::LoadU(d, dx + x);
            const auto gy = hn::LoadU(d, dy + x);
            const auto a = hn::BitCast(dU, hn::Abs(gx));
            const auto b = hn::BitCast(dU, hn::Abs(gy));
            const auto at = [&](const uint16_t* row, size_t right) HWY_ATTR { return hn::LoadU(dU, row + x + right); };
            const auto atMost = [&](auto low, auto high) HWY_ATTR { return hn::Eq(hn::Min(low, high), low); };
            // a * tangent, cut to a whole number; it is exact for 0 and 32768 alone.
            const auto whole = hn::MulHigh(a, hn::Set(dU, static_cast<uint16_t>(2 * kTangent)));
            const auto isExact = hn::Eq(hn::And(a, hn::Set(dU, uint16_t{0x7fff})), hn::Zero(dU));
            const auto isFlat = hn::AndNot(hn::And(isExact, hn::Eq(b, whole)), atMost(b, whole));
            const auto isSteep = hn::Not(atMost(b, hn::SaturatedAdd(hn::SaturatedAdd(a, a), whole)));
            const auto isRising = hn::RebindMask(dU, hn::Lt(hn::Xor(gx, gy), hn::Zero(d)));
            const auto choose = [&](auto flat, auto steep, auto falling, auto rising) HWY_ATTR {
                return hn::IfThenElse(isFlat, flat,
                                      hn::IfThenElse(isSteep, steep, hn::IfThenElse(isRising, rising, falling)));
            };
            const auto m = at(here, 1);
            const auto first = choose(at(here, 0), at(above, 1), at(above, 0), at(above, 2));
            const auto second = choose(at(here, 2), at(below, 1), at(below, 2), at(below, 0));
            const auto isSlanted = hn::Not(hn::Or(isFlat, isSteep));
            const auto isCut =
                hn::Or(hn::Or(atMost(m, first), hn::Not(atMost(second, m))), hn::And(isSlanted, hn::Eq(m, second)));
            hn::StoreU(hn::IfThenZeroElse(isCut, m), dU, dst + x);
        });
}

vsrStatus edgeThin(const int16_t* dx, uint32_t width, uint32_t height, uint32_t dxStride, const int16_t* dy,
                   uint32_t dyStride, uint16_t* dst, uint32_t dstStride)
{
    const size_t rowLength = size_t{width} + 2;
    const Scratch scratch(3 * partBytes<uint16_t>(rowLength));
    if (width < hn::Lanes(Gradients()) || !scratch.data())
    {
        return vsrEdgeThins16C(dx, width, height, dxStride, dy, dyStride, dst, dstStride);
    }
    Parts parts(scratch);
    uint16_t* rows[3] = {parts.take<uint16_t>(rowLength), parts.take<uint16_t>(rowLength),
                         parts.take<uint16_t>(rowLength)};
    const auto fetch = [&](uint32_t y, uint16_t* to) HWY_ATTR
    {
        if (y < height)
        {
            magnitudeRow(imageRow(dx, dxStride, y), imageRow(dy, dyStride, y), to, width);
        }
        else
        {
            std::fill_n(to, rowLength, uint16_t{0});
        }
    };
    std::fill_n(rows[0], rowLength, uint16_t{0});
    fetch(0, rows[1]);
    for (uint32_t y = 0; y < height; ++y)
    {
        fetch(y + 1, rows[2]);
        thinRow(imageRow(dx, dxStride, y), imageRow(dy, dyStride, y), rows[0], rows[1], rows[2],
                imageRow(dst, dstStride, y), width);
        std::rotate(rows, rows + 1, rows + 3);
    }
    return VISORA_SUCCESS;
}

// ---- Peaks ----

using Bytes = hn::ScalableTag<uint8_t>;

/** Bits of the lanes that are set. */
template <class D>
HWY_INLINE uint64_t bitsOfMask(D d, hn::Mask<D> mask)
{
    uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, mask, bytes);
    uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof(bits));
    return bits;
}

/**
 * The greatest pixels of windows (M. van Herk, 1992; J. Gil, M. Werman, 1993): rows of greatest pixels along x in
 * blocks as high as the window; a window is what is left of one block and what has come of the next.
 */
class WindowMaxima
{
  public:
    WindowMaxima(const PeakPicture<uint8_t>& picture, uint32_t radius)
        : picture_(picture),
          radius_(radius),
          size_(2 * radius + 1),
          rowLength_(partBytes<uint8_t>(picture.width + size_t{size_} + 2 * kMostLanes)),
          scratch_(rowLength_ * (size_t{size_} + 2))
    {
    }

    explicit operator bool() const { return scratch_.data(); }

    /** For windows of more than one pixel. Rows are asked for from the top down; here the first block is prepared. */
    HWY_INLINE void start()
    {
        // The block whose first row is that of the first window.
        for (uint32_t k = 0; k < size_; ++k)
        {
            alongRow(int64_t{k} - radius_, row(k));
        }
        for (uint32_t k = size_ - 1; k-- > 0;)
        {
            greater(row(k), row(k + 1), row(k));
        }
    }

    /** The maxima of the windows about row y, the one after the row asked for before. */
    HWY_INLINE const uint8_t* next(uint32_t y)
    {
        const uint32_t k = y % size_;
        uint8_t* const result = row(size_);
        uint8_t* const coming = row(size_ + 1);
        if (k == 0)
        {
            if (y != 0)
            {
                for (uint32_t i = size_ - 1; i-- > 0;)
                {
                    greater(row(i), row(i + 1), row(i));
                }
            }
            return row(0);
        }
        // Row k - 1 of the block was needed last for the row before.
        alongRow(int64_t{y} + radius_, row(k - 1));
        if (k == 1)
        {
            std::memcpy(coming, row(0), rowLength_);
        }
        else
        {
            greater(coming, row(k - 1), coming);
        }
        greater(row(k), coming, result);
        if (k + 1 == size_)
        {
            // The last row of the next block.
            alongRow(int64_t{y} + radius_ + 1, row(k));
        }
        return result;
    }

  private:
    static constexpr size_t kMostLanes = hn::MaxLanes(Bytes());

    uint8_t* row(uint32_t k) const { return scratch_.data() + k * rowLength_; }

    HWY_INLINE void greater(const uint8_t* a, const uint8_t* b, uint8_t* to) const
    {
        const Bytes d;
        for (size_t x = 0; x < picture_.width; x += hn::Lanes(d))
        {
            hn::Store(hn::Max(hn::Load(d, a + x), hn::Load(d, b + x)), d, to + x);
        }
    }

    /** Maxima along a row of the picture, or zeros. Widths double: 1, 2, 4, ... and two that overlap. */
    HWY_INLINE void alongRow(int64_t y, uint8_t* to) const
    {
        if (y < 0 || y >= picture_.height)
        {
            std::memset(to, 0, rowLength_);
            return;
        }
        std::memset(to, 0, radius_);
        std::memcpy(to + radius_, imageRow(picture_.src, picture_.stride, static_cast<uint32_t>(y)), picture_.width);
        std::memset(to + radius_ + picture_.width, 0, rowLength_ - radius_ - picture_.width);
        const Bytes d;
        for (size_t seen = 1; seen < size_;)
        {
            const size_t step = std::min(seen, size_ - seen);
            const size_t end = picture_.width + size_ - seen - step;
            for (size_t x = 0; x < end; x += hn::Lanes(d))
            {
                hn::Store(hn::Max(hn::Load(d, to + x), hn::LoadU(d, to + x + step)), d, to + x);
            }
            seen += step;
        }
    }

    PeakPicture<uint8_t> picture_;
    uint32_t radius_;
    uint32_t size_;
    size_t rowLength_;
    Scratch scratch_;
};

/** Whether no pixel of the window that comes before (x, y) is as bright as it is. The nearest rows are looked at first.
 */
HWY_INLINE bool isFirst(const PeakPicture<uint8_t>& picture, uint32_t x, uint32_t y, uint32_t radius)
{
    const uint32_t left = x - std::min(x, radius);
    const uint32_t right = std::min(x + radius, picture.width - 1);
    const int v = picture.at(x, y);
    if (std::memchr(imageRow(picture.src, picture.stride, y) + left, v, x - left))
    {
        return false;
    }
    for (uint32_t above = 1; above <= std::min(y, radius); ++above)
    {
        if (std::memchr(imageRow(picture.src, picture.stride, y - above) + left, v, right - left + 1))
        {
            return false;
        }
    }
    return true;
}

/** Peaks are as bright as the brightest of their windows, and no neighbour to the west or north is as bright. */
vsrStatus peaks8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
                 uint8_t threshold, uint32_t* xy, uint8_t* values, uint32_t capacity, uint32_t* count)
{
    const PeakPicture<uint8_t> picture = {src, srcWidth, srcHeight, srcStride};
    WindowMaxima maxima(picture, radius);
    if (!maxima)
    {
        return vsrFindPeaksu8C(src, srcWidth, srcHeight, srcStride, radius, threshold, xy, values, capacity, count);
    }
    const Bytes d;
    const size_t lanes = hn::Lanes(d);
    PeakList<uint8_t, uint32_t> peaks = {xy, values, capacity};
    if (radius != 0)
    {
        maxima.start();
    }
    for (uint32_t y = 0; y < srcHeight && !peaks.isFull(); ++y)
    {
        const uint8_t* const here = imageRow(src, srcStride, y);
        const uint8_t* const above = imageRow(src, srcStride, y - std::min(y, 1u));
        const uint8_t* const greatest = radius != 0 ? maxima.next(y) : here;
        const auto examine = [&](size_t at) HWY_ATTR
        {
            const auto x = static_cast<uint32_t>(at);
            if (!peaks.isFull() && here[x] > threshold && here[x] == greatest[x] && isFirst(picture, x, y, radius))
            {
                peaks.add(picture, x, y);
            }
        };
        examine(0);
        size_t x = 1;
        for (; x + lanes <= srcWidth; x += lanes)
        {
            const auto v = hn::LoadU(d, here + x);
            const auto isGreatest = hn::Eq(hn::Max(hn::LoadU(d, greatest + x), hn::Set(d, threshold)), v);
            if (hn::AllFalse(d, isGreatest))
            {
                continue;
            }
            auto isSecond = hn::Eq(v, hn::Set(d, threshold));
            if (radius != 0)
            {
                isSecond = hn::Or(isSecond, hn::Eq(v, hn::LoadU(d, here + x - 1)));
                isSecond = y != 0 ? hn::Or(isSecond, hn::Eq(v, hn::LoadU(d, above + x))) : isSecond;
            }
            for (uint64_t bits = bitsOfMask(d, hn::AndNot(isSecond, isGreatest)); bits != 0; bits &= bits - 1)
            {
                examine(x + static_cast<size_t>(std::countr_zero(bits)));
            }
        }
        for (; x < srcWidth; ++x)
        {
            examine(x);
        }
    }
    *count = peaks.size;
    return VISORA_SUCCESS;
}

// Floats: candidates are the greatest of nine pixels, several at once. A NaN is neither above nor below: each
// comparison by itself.
template <class D>
HWY_INLINE hn::Mask<D> candidates(D d, const PeakPicture<float>& picture, uint32_t x, uint32_t y, float threshold)
{
    const float* here = imageRow(picture.src, picture.stride, y) + x;
    const float* above = imageRow(picture.src, picture.stride, y - 1) + x;
    const float* below = imageRow(picture.src, picture.stride, y + 1) + x;
    const auto v = hn::LoadU(d, here);
    const auto at = [&](const float* pixel) HWY_ATTR { return hn::LoadU(d, pixel); };
    const auto before = hn::And(hn::And(hn::Gt(v, at(above - 1)), hn::Gt(v, at(above))),
                                hn::And(hn::Gt(v, at(above + 1)), hn::Gt(v, at(here - 1))));
    const auto after = hn::And(hn::And(hn::Ge(v, at(below - 1)), hn::Ge(v, at(below))),
                               hn::And(hn::Ge(v, at(below + 1)), hn::Ge(v, at(here + 1))));
    return hn::And(hn::And(before, after), hn::Gt(v, hn::Set(d, threshold)));
}

vsrStatus peaksFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t radius,
                     float threshold, uint32_t refine, float* xy, float* values, uint32_t capacity, uint32_t* count)
{
    const hn::ScalableTag<float> d;
    const auto lanes = static_cast<uint32_t>(hn::Lanes(d));
    const PeakPicture<float> picture = {src, srcWidth, srcHeight, srcStride};
    PeakList<float, float> peaks = {xy, values, capacity, refine != 0};
    for (uint32_t y = 0; y < srcHeight && !peaks.isFull(); ++y)
    {
        const auto examine = [&](uint32_t x, uint32_t first) HWY_ATTR
        {
            if (!peaks.isFull() && picture.at(x, y) > threshold && picture.isPeak(x, y, first, radius))
            {
                peaks.add(picture, x, y);
            }
        };
        uint32_t x = 0;
        if (radius > 0 && y > 0 && y + 1 < srcHeight && srcWidth > lanes + 1)
        {
            examine(x++, 1);
            for (; x + lanes < srcWidth; x += lanes)
            {
                for (uint64_t bits = bitsOfMask(d, candidates(d, picture, x, y, threshold)); bits != 0;
                     bits &= bits - 1)
                {
                    examine(x + static_cast<uint32_t>(std::countr_zero(bits)), 2);
                }
            }
        }
        for (; x < srcWidth; ++x)
        {
            examine(x, 1);
        }
    }
    *count = peaks.size;
    return VISORA_SUCCESS;
}

// ---- Boxes: each against several of those kept, which lie in lists of their sides and areas ----

vsrStatus suppress(const float* boxes, const float* scores, uint32_t numBoxes, float scoreThreshold, float maxOverlap,
                   uint32_t* indices, uint32_t capacity, uint32_t* count)
{
    const hn::ScalableTag<float> d;
    const size_t lanes = hn::Lanes(d);
    const size_t most = std::min(numBoxes, capacity);
    const Scratch scratch(partBytes<uint32_t>(size_t{numBoxes} + 1) + 5 * partBytes<float>(most + lanes));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    Parts parts(scratch);
    auto* const order = parts.take<uint32_t>(size_t{numBoxes} + 1);
    float* lists[5];
    for (float*& list : lists)
    {
        list = parts.take<float>(most + lanes);
    }
    const uint32_t ordered = orderBoxes(scores, numBoxes, scoreThreshold, order);
    uint32_t kept = 0;
    for (uint32_t i = 0; i < ordered && kept < capacity; ++i)
    {
        const float* b = boxes + 4 * size_t{order[i]};
        const Box box{b[0], b[1], b[2], b[3]};
        const float area = box.area();
        const auto isCovered = [&](size_t k) HWY_ATTR
        {
            const auto least = [&](float a, const float* list) HWY_ATTR
            {
                const auto own = hn::Set(d, a);
                const auto other = hn::LoadU(d, list + k);
                return hn::IfThenElse(hn::Lt(own, other), own, other);
            };
            const auto greatest = [&](float a, const float* list) HWY_ATTR
            {
                const auto own = hn::Set(d, a);
                const auto other = hn::LoadU(d, list + k);
                return hn::IfThenElse(hn::Gt(own, other), own, other);
            };
            const auto positive = [&](auto v) HWY_ATTR { return hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v); };
            const auto common = hn::Mul(positive(hn::Sub(least(box.x1, lists[2]), greatest(box.x0, lists[0]))),
                                        positive(hn::Sub(least(box.y1, lists[3]), greatest(box.y0, lists[1]))));
            const auto all = hn::Sub(hn::Add(hn::Set(d, area), hn::LoadU(d, lists[4] + k)), common);
            return hn::Gt(common, hn::Mul(hn::Set(d, maxOverlap), all));
        };
        bool covered = false;
        for (size_t k = 0; k < kept && !covered; k += lanes)
        {
            const auto found = hn::And(isCovered(k), hn::FirstN(d, kept - k));
            covered = !hn::AllFalse(d, found);
        }
        if (!covered)
        {
            const float each[5] = {box.x0, box.y0, box.x1, box.y1, area};
            for (size_t part = 0; part < 5; ++part)
            {
                lists[part][kept] = each[part];
            }
            indices[kept++] = order[i];
        }
    }
    *count = kept;
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrEdgeThins16, edgeThin);
VSR_VECTOR(vsrFindPeaksu8, peaks8);
VSR_VECTOR(vsrFindPeaksf32, peaksFloat);
VSR_VECTOR(vsrNonMaxSuppressf32, suppress);

#endif
