// Drawing, vector variants: points of ellipses turned on from one of them, and shares of smooth lines from whole
// distances by one product. Both are approximate to within less than what is asked of them, and the few numbers that
// are so near to where rounding changes are worked out by the rule.
#include "cpu/shape/visoraShapePolygon.h"
#include "visora/variants/shape.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/shape/visoraShapeDrawV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Ellipses ----

/** Points of an ellipse by the block. */
class TurnedPoints
{
  public:
    static constexpr uint32_t kBlock = 128;

    explicit TurnedPoints(const EllipsePoints& points)
        : points_(points), left_(points.count()), at_(sineAndCosine(points.angle(0)))
    {
        // Angles from the first point of a block on, each half from the other.
        sine_[0] = 0;
        cosine_[0] = 1;
        SineAndCosine by = sineAndCosine(points.step());
        for (uint32_t known = 1; known < kBlock; known *= 2)
        {
            for (uint32_t k = 0; k < known; ++k)
            {
                const SineAndCosine on = turned({sine_[k], cosine_[k]}, by);
                sine_[known + k] = on.sine;
                cosine_[known + k] = on.cosine;
            }
            by = turned(by, by);
        }
        byBlock_ = by;
    }

    /** Whether angles are so small that the rounding of theirs does not show. */
    static bool serves(const EllipsePoints& points)
    {
        constexpr double kLargestAngle = 100000;
        return std::max(std::abs(points.angle(0)), std::abs(points.angle(points.count()))) <= kLargestAngle;
    }

    uint32_t count() const { return std::min(kBlock, left_); }
    bool isAtEnd() const { return left_ == 0; }
    void next()
    {
        left_ -= count();
        first_ += kBlock;
        at_ = turned(at_, byBlock_);
    }

    /** Whether the block is outside of the image for sure. */
    bool isOutside(int64_t width, int64_t height) const
    {
        constexpr int64_t kReach = kBlock;  // points are less than a pixel apart
        const double a = points_.ellipse().radiusA;
        const double b = points_.ellipse().radiusB;
        const SineAndCosine turn = points_.turn();
        const double x = points_.ellipse().cx + (a * at_.cosine * turn.cosine - b * at_.sine * turn.sine);
        const double y = points_.ellipse().cy + (a * at_.cosine * turn.sine + b * at_.sine * turn.cosine);
        return x < -kReach || y < -kReach || x > static_cast<double>(width + kReach) ||
               y > static_cast<double>(height + kReach);
    }

    int64_t x(uint32_t k) const { return static_cast<int16_t>(x_[k] >> kFractionBits); }
    int64_t y(uint32_t k) const { return static_cast<int16_t>(y_[k] >> kFractionBits); }

    /** Works out points of a block. Returns whether it is known that all are within 0 <= x < width, 0 <= y < height. */
    bool workOut(uint32_t width, uint32_t height)
    {
        const Doubles d;
        const hn::Repartition<uint32_t, Doubles> dWord;
        const hn::Repartition<uint16_t, Doubles> dHalf;
        const SineAndCosine at = at_;
        const SineAndCosine turn = points_.turn();
        const double a = points_.ellipse().radiusA;
        const double b = points_.ellipse().radiusB;
        // What is below 2^37 has its 65536ths in the low bits of its mantissa. kNear of them keep what may be rounded
        // to either side of a whole number on one side of it.
        constexpr double kMagnitude = 3 * static_cast<double>(uint64_t{1} << 35);
        constexpr double kShift = kMagnitude + 0.5 + kNear / static_cast<double>(1 << kFractionBits);
        const auto x0 = hn::Set(d, points_.ellipse().cx + kShift);
        const auto y0 = hn::Set(d, points_.ellipse().cy + kShift);
        const auto xByCosine = hn::Set(d, a * at.cosine * turn.cosine - b * at.sine * turn.sine);
        const auto yByCosine = hn::Set(d, a * at.cosine * turn.sine + b * at.sine * turn.cosine);
        const auto xBySine = hn::Set(d, -a * at.sine * turn.cosine - b * at.cosine * turn.sine);
        const auto yBySine = hn::Set(d, -a * at.sine * turn.sine + b * at.cosine * turn.cosine);
        // In turn those of fractions and of whole parts.
        auto least = hn::Set(dHalf, uint16_t{0xffff});
        auto greatestX = hn::Zero(dHalf);
        auto greatestY = hn::Zero(dHalf);
        const uint32_t count = this->count();
        for (uint32_t k = 0; k < count; k += 2 * kLanes)
        {
            const auto moved = [&](auto from, auto byCosine, auto bySine) HWY_ATTR
            {
                const auto half = [&](uint32_t at) HWY_ATTR
                {
                    const auto sum =
                        hn::Add(hn::Mul(hn::Load(d, cosine_ + at), byCosine), hn::Mul(hn::Load(d, sine_ + at), bySine));
                    return hn::BitCast(dWord, hn::Add(sum, from));
                };
                const auto low = half(k);
                return hn::ConcatEven(dWord, half(k + kLanes), low);
            };
            const auto x = moved(x0, xByCosine, xBySine);
            const auto y = moved(y0, yByCosine, yBySine);
            hn::Store(x, dWord, x_ + k);
            hn::Store(y, dWord, y_ + k);
            least = hn::Min(least, hn::Min(hn::BitCast(dHalf, x), hn::BitCast(dHalf, y)));
            greatestX = hn::Max(greatestX, hn::BitCast(dHalf, x));
            greatestY = hn::Max(greatestY, hn::BitCast(dHalf, y));
        }
        const auto isAny = [&](auto halves, uint32_t parts) HWY_ATTR
        {
            const auto words = hn::And(hn::BitCast(dWord, halves), hn::Set(dWord, parts));
            return !hn::AllTrue(dWord, hn::Eq(words, hn::Zero(dWord)));
        };
        if (isAny(hn::SaturatedSub(hn::Set(dHalf, uint16_t{2 * kNear}), least), 0xffff))
        {
            settle();
            return false;
        }
        // What is negative is above all coordinates.
        const auto beyond = [&](auto greatest, uint32_t size) HWY_ATTR
        { return hn::SaturatedSub(greatest, hn::Set(dHalf, static_cast<uint16_t>(std::min(size, 0x8000u) - 1))); };
        return !isAny(hn::Or(beyond(greatestX, width), beyond(greatestY, height)), 0xffff0000);
    }

    /** Draws what is inside of an image of less than 2^32 bytes. */
    template <bool isAllInside>
    void draw(const Canvas& canvas)
    {
        const hn::Repartition<uint32_t, Doubles> dWord;
        const hn::Repartition<int32_t, Doubles> dSigned;
        const auto stride = hn::Set(dWord, static_cast<uint32_t>(canvas.stride));
        const auto channels = hn::Set(dWord, canvas.channels);
        const uint32_t count = this->count();
        for (uint32_t k = 0; k < count; k += 2 * kLanes)
        {
            const auto x = hn::ShiftRight<kFractionBits>(hn::Load(dWord, x_ + k));
            const auto y = hn::ShiftRight<kFractionBits>(hn::Load(dWord, y_ + k));
            auto offsets = hn::Add(hn::Mul(y, stride), hn::Mul(x, channels));
            if constexpr (!isAllInside)
            {
                // What is negative is above all coordinates.
                const auto isBeyond = [&](auto v, uint32_t size) HWY_ATTR
                {
                    const auto last = static_cast<int32_t>(std::min(size, 0x8000u)) - 1;
                    return hn::VecFromMask(dSigned, hn::Gt(hn::BitCast(dSigned, v), hn::Set(dSigned, last)));
                };
                const auto isOut = hn::Or(isBeyond(x, canvas.width), isBeyond(y, canvas.height));
                offsets = hn::Or(offsets, hn::BitCast(dWord, isOut));
            }
            hn::Store(offsets, dWord, offsets_ + k);
        }
        canvas.withPixels(
            [list = offsets_, size = count, image = canvas.dst](auto put)
            {
                // What a stored pixel cannot change.
                const uint32_t* const offsets = list;
                const uint32_t count = size;
                uint8_t* const to = image;
                const auto putAt = [=](uint32_t offset)
                {
                    if (isAllInside || offset != kNowhere)
                    {
                        put(to + offset);
                    }
                };
                uint32_t k = 0;
                for (; k + 1 < count; k += 2)
                {
                    const uint32_t first = offsets[k];
                    const uint32_t second = offsets[k + 1];
                    putAt(first);
                    putAt(second);
                }
                if (k < count)
                {
                    putAt(offsets[k]);
                }
            });
    }

  private:
    using Doubles = hn::ScalableTag<double>;

    static constexpr uint32_t kLanes = hn::MaxLanes(Doubles());
    static constexpr int kFractionBits = 16;
    static constexpr uint32_t kNowhere = 0xffffffff;
    static constexpr uint16_t kNear = 2;  // rounding moves a point by one 65536th at most

    /** Works out by the rule which points may have been rounded to another pixel. */
    void settle()
    {
        const auto isNear = [](uint32_t v) { return (v & 0xffff) < 2 * kNear; };
        for (uint32_t k = 0; k < count(); ++k)
        {
            if (isNear(x_[k]) || isNear(y_[k]))
            {
                const CanvasPoint at = points_.at(first_ + k);
                x_[k] = static_cast<uint32_t>(at.x) << kFractionBits;
                y_[k] = static_cast<uint32_t>(at.y) << kFractionBits;
            }
        }
    }

    static SineAndCosine turned(const SineAndCosine& from, const SineAndCosine& by)
    {
        return {from.sine * by.cosine + from.cosine * by.sine, from.cosine * by.cosine - from.sine * by.sine};
    }

    const EllipsePoints& points_;
    uint32_t first_ = 0;
    uint32_t left_;
    SineAndCosine at_;  // of the first point of the block
    SineAndCosine byBlock_;
    alignas(64) double sine_[kBlock];
    alignas(64) double cosine_[kBlock];
    // 65536ths, modulo 2^32.
    alignas(64) uint32_t x_[kBlock];
    alignas(64) uint32_t y_[kBlock];
    alignas(64) uint32_t offsets_[kBlock];
};

vsrStatus ellipse(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                  const vsrEllipse* record, float startAngle, float endAngle, const uint8_t* color, uint32_t thickness)
{
    const EllipsePoints points(*record, startAngle, endAngle);
    if (!TurnedPoints::serves(points))
    {
        return vsrDrawEllipseu8C(dst, dstWidth, dstHeight, dstStride, channels, record, startAngle, endAngle, color,
                                 thickness);
    }
    const Canvas canvas(dst, dstWidth, dstHeight, dstStride, channels, color);
    TurnedPoints block(points);
    const auto forPoints = [&](auto body)
    {
        for (uint32_t k = 0; k < block.count(); ++k)
        {
            body(block.x(k), block.y(k));
        }
    };
    if (thickness != 1)
    {
        return drawEllipse(canvas, points, thickness,
                           [&](auto body)
                           {
                               for (; !block.isAtEnd(); block.next())
                               {
                                   block.workOut(dstWidth, dstHeight);
                                   forPoints(body);
                               }
                           });
    }
    const bool hasWordOffsets = uint64_t{dstStride} * dstHeight <= UINT32_MAX;
    for (; !block.isAtEnd(); block.next())
    {
        if (block.isOutside(dstWidth, dstHeight))
        {
            continue;
        }
        const bool isInside = block.workOut(dstWidth, dstHeight);
        if (!hasWordOffsets)
        {
            forPoints([&](int64_t x, int64_t y) { canvas.dot(x, y); });
        }
        else if (isInside)
        {
            block.draw<true>(canvas);
        }
        else
        {
            block.draw<false>(canvas);
        }
    }
    return VISORA_SUCCESS;
}

// ---- Smooth lines ----

constexpr int64_t kSmoothPixels = 8;  // worked on at once

/** Shares of pixels between the ends of a smooth line, for those that are less than that far from it. */
struct SmoothShares
{
    SmoothShares(CanvasPoint a, CanvasPoint b, uint32_t thickness)
        : ax(a.x),
          ay(a.y),
          ex(b.x - a.x),
          ey(b.y - a.y),
          // A share falls by this much with each whole number by which a pixel is further from the line.
          perDistance(static_cast<float>(kOne * 256 / std::sqrt(static_cast<double>(ex * ex + ey * ey)))),
          // The rule's distances have 24 bits, and these; of half the thickness and 1, in 65536ths of a 256th.
          near(4 * thickness + 8),
          onLine((static_cast<float>(thickness) * 0.5f + 0.5f) * (256 * kOne) + 0.5f * kOne + static_cast<float>(near))
    {
    }

    /** Those of eight pixels; false where one is too near to where its rounding changes. */
    HWY_INLINE bool at(int64_t x, int64_t y, hn::Vec<hn::FixedTag<uint16_t, 8>>& shares) const
    {
        const hn::FixedTag<float, 4> d;
        const hn::FixedTag<int32_t, 4> dWord;
        const hn::FixedTag<uint16_t, 8> dHalf;
        // All of these are whole numbers of less than 24 bits.
        const auto across = hn::Set(d, static_cast<float>(ex * (y - ay) - ey * (x - ax)));
        const auto step = hn::Set(d, static_cast<float>(ey));
        const auto four = [&](float first) HWY_ATTR
        {
            const auto moved = hn::Mul(hn::Iota(d, first), step);
            const auto share =
                hn::Sub(hn::Set(d, onLine), hn::Mul(hn::AbsDiff(across, moved), hn::Set(d, perDistance)));
            const auto within = hn::Min(hn::Max(share, hn::Set(d, 0.5f * kOne)), hn::Set(d, 256.5f * kOne));
            return hn::BitCast(dHalf, hn::ConvertTo(dWord, within));
        };
        const auto low = four(0);
        const auto high = four(4);
        const auto fraction = hn::ConcatEven(dHalf, high, low);
        shares = hn::ConcatOdd(dHalf, high, low);
        const auto nearly = hn::SaturatedSub(hn::Set(dHalf, static_cast<uint16_t>(2 * near)), fraction);
        const hn::FixedTag<uint64_t, 2> dLong;
        return hn::AllTrue(dLong, hn::Eq(hn::BitCast(dLong, nearly), hn::Zero(dLong)));
    }

    static constexpr int kOne = 65536;

    int64_t ax, ay, ex, ey;
    float perDistance;
    uint32_t near;
    float onLine;
};

/** Blends a color into the numbers of eight pixels. */
class SmoothColors
{
  public:
    explicit SmoothColors(const Canvas& canvas)
    {
        for (uint32_t i = 0; i < kSmoothPixels * canvas.channels; ++i)
        {
            const uint32_t share = i / canvas.channels;
            shareOf_[2 * i] = static_cast<uint8_t>(2 * share);
            shareOf_[2 * i + 1] = static_cast<uint8_t>(2 * share + 1);
            colors_[i] = canvas.color[i % canvas.channels];
        }
    }

    /** At least the first `numbers`. */
    HWY_INLINE void blend(uint8_t* to, hn::Vec<hn::FixedTag<uint16_t, 8>> shares, size_t numbers) const
    {
        const hn::FixedTag<uint16_t, 8> dHalf;
        const hn::FixedTag<uint8_t, 8> dBytes;
        const hn::FixedTag<uint8_t, 16> dIndices;
        for (size_t i = 0; i < numbers; i += 8)
        {
            const auto share = hn::TableLookupBytes(shares, hn::BitCast(dHalf, hn::Load(dIndices, shareOf_ + 2 * i)));
            const auto before = hn::PromoteTo(dHalf, hn::LoadU(dBytes, to + i));
            const auto change = hn::Mul(hn::Sub(hn::Load(dHalf, colors_ + i), before), share);
            const auto sum = hn::Add(hn::ShiftLeft<8>(before), change);
            hn::StoreU(rounded(sum), dBytes, to + i);
        }
    }

  private:
    // 256ths.
    HWY_INLINE static hn::Vec<hn::FixedTag<uint8_t, 8>> rounded(hn::Vec<hn::FixedTag<uint16_t, 8>> v)
    {
        const hn::FixedTag<uint8_t, 8> dBytes;
#if HWY_ARCH_ARM
        return hn::Vec<decltype(dBytes)>(vrshrn_n_u16(v.raw, 8));
#else
        const hn::FixedTag<uint16_t, 8> dHalf;
        const auto whole = hn::ShiftRight<8>(hn::Add(v, hn::Set(dHalf, uint16_t{128})));
        return hn::DemoteTo(dBytes, hn::BitCast(hn::FixedTag<int16_t, 8>(), whole));
#endif
    }

    alignas(16) uint8_t shareOf_[2 * 4 * kSmoothPixels];
    alignas(16) uint16_t colors_[4 * kSmoothPixels];
};

/** The rows of a smooth line that its ends are far from: whatever is near the line there is between them. */
template <class BlendOneByOne>
HWY_INLINE void blendInnerRows(const Canvas& canvas, const Span& rows, SmoothShares shares, const SmoothColors& colors,
                               double halfThickness, BlendOneByOne blendOneByOne)
{
    const double slope = static_cast<double>(shares.ex) / static_cast<double>(shares.ey);
    const double half = halfThickness * std::sqrt(1 + slope * slope);
    const auto origin = static_cast<double>(shares.ax);
    const int64_t width = canvas.width;
    const size_t channels = canvas.channels;
    for (int64_t y = rows.first; y <= rows.last; ++y)
    {
        const double centre = origin + static_cast<double>(y - shares.ay) * slope;
        const int64_t last = std::min(width - 1, static_cast<int64_t>(std::floor(centre + half)));
        for (int64_t x = std::max<int64_t>(0, static_cast<int64_t>(std::ceil(centre - half))); x <= last;
             x += kSmoothPixels)
        {
            const int64_t count = std::min(kSmoothPixels, last - x + 1);
            hn::Vec<hn::FixedTag<uint16_t, 8>> eight;
            if (x + kSmoothPixels <= width && shares.at(x, y, eight))
            {
                colors.blend(canvas.pixel(x, y), eight, static_cast<size_t>(count) * channels);
            }
            else
            {
                blendOneByOne(y, x, x + count);
            }
        }
    }
}

void smoothLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    const LineShare share(a, b, thickness);
    const SmoothShares shares(a, b, thickness);
    const SmoothColors colors(canvas);
    const auto blendOneByOne = [&](int64_t y, int64_t x, int64_t end)
    {
        for (; x < end; ++x)
        {
            canvas.blend(x, y, share.at(x, y));
        }
    };
    const auto drawEndRow = [&](int64_t y, const Span& all, const Span& between)
    {
        const Span row = all & Span{0, int64_t{canvas.width} - 1};
        if (row.isEmpty())
        {
            return;
        }
        int64_t x = std::clamp(between.first, row.first, row.last + 1);
        blendOneByOne(y, row.first, x);
        // Where eight pixels are between the ends; those beyond the last one of the row have no share.
        const int64_t end = std::min(between.last + 1, int64_t{canvas.width}) - kSmoothPixels;
        for (; x <= row.last && x <= end; x += kSmoothPixels)
        {
            hn::Vec<hn::FixedTag<uint16_t, 8>> eight;
            if (shares.at(x, y, eight))
            {
                colors.blend(canvas.pixel(x, y), eight, kSmoothPixels * canvas.channels);
            }
            else
            {
                blendOneByOne(y, x, x + kSmoothPixels);
            }
        }
        blendOneByOne(y, x, row.last + 1);
    };
    const ThickLine near = nearSmoothLine(a, b, thickness);
    const int64_t reach = (int64_t{thickness} + 1) / 2 + 1;
    const Span inner = Span{std::min(a.y, b.y) + reach + 1, std::max(a.y, b.y) - reach - 1} & canvas.rows();
    if (inner.isEmpty())
    {
        near.forRows(canvas.rows(), drawEndRow);
        return;
    }
    near.forRows({0, inner.first - 1}, drawEndRow);
    blendInnerRows(canvas, inner, shares, colors, 0.5 * (thickness + 1), blendOneByOne);
    near.forRows({inner.last + 1, int64_t{canvas.height} - 1}, drawEndRow);
}

void draw(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness, uint32_t antialias)
{
    if (antialias != 0)
    {
        smoothLine(canvas, a, b, thickness);
    }
    else
    {
        drawSharpLine(canvas, a, b, thickness);
    }
}

vsrStatus line(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels, int32_t x0,
               int32_t y0, int32_t x1, int32_t y1, const uint8_t* color, uint32_t thickness, uint32_t antialias)
{
    draw({dst, dstWidth, dstHeight, dstStride, channels, color}, {x0, y0}, {x1, y1}, thickness, antialias);
    return VISORA_SUCCESS;
}

vsrStatus polyline(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t channels,
                   const int32_t* xy, const uint32_t* lengths, uint32_t numChains, uint32_t closed,
                   const uint8_t* color, uint32_t thickness, uint32_t antialias)
{
    drawPolyline({dst, dstWidth, dstHeight, dstStride, channels, color}, xy, lengths, numChains, closed != 0,
                 [=](const Canvas& to, CanvasPoint a, CanvasPoint b) { draw(to, a, b, thickness, antialias); });
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrDrawLineu8, line);
VSR_VECTOR(vsrDrawPolylineu8, polyline);
VSR_VECTOR(vsrDrawEllipseu8, ellipse);

#endif
