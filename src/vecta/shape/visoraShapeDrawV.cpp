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
    static constexpr uint32_t kBlock = 64;

    explicit TurnedPoints(const EllipsePoints& points) : points_(points), at_(sineAndCosine(points.angle(0)))
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

    uint32_t count() const { return std::min(kBlock, points_.count() - first_); }
    bool isAtEnd() const { return first_ >= points_.count(); }
    void next()
    {
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
        for (uint32_t k = 0; k < count(); k += 2 * kLanes)
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

    /** Draws points of a block, all inside the image, which has less than 2^32 bytes. */
    void draw(const Canvas& canvas)
    {
        const hn::Repartition<uint32_t, Doubles> dWord;
        const auto stride = hn::Set(dWord, static_cast<uint32_t>(canvas.stride));
        const auto channels = hn::Set(dWord, canvas.channels);
        for (uint32_t k = 0; k < count(); k += 2 * kLanes)
        {
            const auto row = hn::Mul(hn::ShiftRight<kFractionBits>(hn::Load(dWord, y_ + k)), stride);
            const auto pixel = hn::Mul(hn::ShiftRight<kFractionBits>(hn::Load(dWord, x_ + k)), channels);
            hn::Store(hn::Add(row, pixel), dWord, offsets_ + k);
        }
        canvas.withPixels(
            [this, count = count(), to = canvas.dst](auto put)
            {
                for (uint32_t k = 0; k < count; ++k)
                {
                    put(to + offsets_[k]);
                }
            });
    }

  private:
    using Doubles = hn::ScalableTag<double>;

    static constexpr uint32_t kLanes = hn::MaxLanes(Doubles());
    static constexpr int kFractionBits = 16;
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
        if (block.workOut(dstWidth, dstHeight) && hasWordOffsets)
        {
            block.draw(canvas);
        }
        else
        {
            forPoints([&](int64_t x, int64_t y) { canvas.dot(x, y); });
        }
    }
    return VISORA_SUCCESS;
}

// ---- Smooth lines ----

/** The pixels between the ends of a smooth line. */
class SmoothStrip
{
  public:
    static constexpr int64_t kPixels = 8;

    SmoothStrip(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
        : canvas_(canvas), a_(a), ex_(b.x - a.x), ey_(b.y - a.y)
    {
        // A share falls by this much with each whole number by which a pixel is further from the line.
        perDistance_ = static_cast<float>(kOne * 256 / std::sqrt(static_cast<double>(ex_ * ex_ + ey_ * ey_)));
        // The rule's distances have 24 bits, and these of half the thickness and 1 in 65536ths of a 256th.
        near_ = 4 * thickness + 8;
        onLine_ =
            (static_cast<float>(thickness) * 0.5f + 0.5f) * (256 * kOne) + 0.5f * kOne + static_cast<float>(near_);
        for (size_t i = 0; i < kPixels; ++i)
        {
            steps_[i] = static_cast<float>(ey_) * static_cast<float>(i);
        }
        for (size_t i = 0; i < kPixels * canvas.channels; ++i)
        {
            const size_t share = i / canvas.channels;
            shareOf_[2 * i] = static_cast<uint8_t>(2 * share);
            shareOf_[2 * i + 1] = static_cast<uint8_t>(2 * share + 1);
            colors_[i] = canvas.color[i % canvas.channels];
        }
    }

    /**
     * Blends the first `count` of kPixels pixels, which are inside the image; more may be blended that are between the
     * ends, as the first `between` are. False, with nothing done, where a share is too near to where its rounding
     * changes.
     */
    HWY_INLINE bool blend(int64_t x, int64_t y, int64_t count, int64_t between) const
    {
        const hn::FixedTag<float, 4> d;
        const hn::FixedTag<int32_t, 4> dWord;
        const hn::FixedTag<uint16_t, 8> dHalf;
        const hn::FixedTag<uint8_t, 8> dBytes;
        const hn::FixedTag<uint8_t, 16> dIndices;
        // All of these are whole numbers of less than 24 bits.
        const auto across = hn::Set(d, static_cast<float>(ex_ * (y - a_.y) - ey_ * (x - a_.x)));
        const auto sharesAt = [&](size_t i) HWY_ATTR
        {
            const auto fall = hn::Mul(hn::AbsDiff(across, hn::Load(d, steps_ + i)), hn::Set(d, perDistance_));
            const auto share = hn::Sub(hn::Set(d, onLine_), fall);
            const auto within = hn::Min(hn::Max(share, hn::Set(d, 0.5f * kOne)), hn::Set(d, 256.5f * kOne));
            return hn::BitCast(dHalf, hn::ConvertTo(dWord, within));
        };
        const auto low = sharesAt(0);
        const auto high = sharesAt(4);
        const auto fraction = hn::ConcatEven(dHalf, high, low);
        const auto nearly = hn::SaturatedSub(hn::Set(dHalf, static_cast<uint16_t>(2 * near_)), fraction);
        if (!hn::AllTrue(dHalf, hn::Eq(nearly, hn::Zero(dHalf))))
        {
            return false;
        }
        auto shares = hn::ConcatOdd(dHalf, high, low);
        if (between < kPixels)
        {
            shares = hn::IfThenElseZero(hn::FirstN(dHalf, static_cast<size_t>(between)), shares);
        }
        uint8_t* to = canvas_.pixel(x, y);
        const size_t numbers = static_cast<size_t>(count) * canvas_.channels;
        for (size_t i = 0; i < numbers; i += 8)
        {
            const auto share = hn::TableLookupBytes(shares, hn::BitCast(dHalf, hn::Load(dIndices, shareOf_ + 2 * i)));
            const auto before = hn::PromoteTo(dHalf, hn::LoadU(dBytes, to + i));
            const auto change = hn::Mul(hn::Sub(hn::Load(dHalf, colors_ + i), before), share);
            const auto sum = hn::Add(hn::Add(hn::ShiftLeft<8>(before), hn::Set(dHalf, uint16_t{128})), change);
            hn::StoreU(hn::DemoteTo(dBytes, hn::BitCast(hn::FixedTag<int16_t, 8>(), hn::ShiftRight<8>(sum))), dBytes,
                       to + i);
        }
        return true;
    }

  private:
    static constexpr int kOne = 65536;

    const Canvas& canvas_;
    CanvasPoint a_;
    int64_t ex_;
    int64_t ey_;
    float perDistance_;
    float onLine_;
    uint32_t near_;
    alignas(16) float steps_[kPixels];
    alignas(16) uint8_t shareOf_[2 * 4 * kPixels];
    alignas(16) uint16_t colors_[4 * kPixels];
};

void smoothLine(const Canvas& canvas, CanvasPoint a, CanvasPoint b, uint32_t thickness)
{
    const LineShare share(a, b, thickness);
    const SmoothStrip strip(canvas, a, b, thickness);
    const int64_t width = canvas.width;
    constexpr int64_t kPixels = SmoothStrip::kPixels;
    const auto drawRow = [&](int64_t y, const Span& near, const Span& between) HWY_ATTR
    {
        const Span row = near & Span{0, width - 1};
        const auto blendOne = [&](int64_t x) { canvas.blend(x, y, share.at(x, y)); };
        int64_t x = row.first;
        for (; x <= row.last && x < between.first; ++x)
        {
            blendOne(x);
        }
        const int64_t last = std::max(std::min(row.last, between.last), x - 1);
        for (; x <= last && x + kPixels <= width; x += kPixels)
        {
            const int64_t count = std::min(kPixels, last - x + 1);
            if (!strip.blend(x, y, count, between.last - x + 1))
            {
                for (int64_t i = 0; i < count; ++i)
                {
                    blendOne(x + i);
                }
            }
        }
        // Whole blocks reach beyond the last one between the ends, where they blend nothing.
        for (x = std::min(x, last + 1); x <= row.last; ++x)
        {
            blendOne(x);
        }
    };
    nearSmoothLine(a, b, thickness).forRows(canvas.height, drawRow);
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
