// Warps of u8 images, vector variants.
#include "cpu/warp/visoraWarpCall.h"
#include "visora/variants/warp.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/warp/visoraWarpSampleV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/warp/visoraWarpStrip-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Where a strip goes: straight to the destination, or through a buffer when it has fewer pixels than vectors write.
class StripOut
{
  public:
    StripOut(uint8_t* out, size_t count, size_t channels)
        : out_(out), bytes_(count * channels), isWhole_(count == kStrip)
    {
    }
    ~StripOut()
    {
        if (!isWhole_)
        {
            std::memcpy(out_, buffer_, bytes_);
        }
    }
    StripOut(const StripOut&) = delete;
    StripOut& operator=(const StripOut&) = delete;

    uint8_t* data() { return isWhole_ ? out_ : buffer_; }

  private:
    uint8_t* out_;
    size_t bytes_;
    bool isWhole_;
    uint8_t buffer_[4 * kStrip];
};

HWY_INLINE void place(const WarpCall& call, size_t x, size_t y, size_t count, Strip& strip)
{
    const Positions& positions = call.positions;
    if (!positions.matrix)
    {
        return placeByMaps(call, x, y, count, strip);
    }
    placeByMatrix(call, MatrixRow(positions, static_cast<float>(positions.dstY + y)), positions.dstX + x, 0, strip);
}

// Fetches of images that outgrow the nearer caches.
HWY_INLINE void fetch(const WarpCall& call, const Plan& plan, size_t y)
{
    constexpr size_t kLargeBytes = 3 << 20;
    if (call.planes * call.srcStride * call.srcHeight < kLargeBytes)
    {
        return;
    }
    for (size_t p = 0; p < call.planes; ++p)
    {
        fetchAhead(call.plane(p), plan, y);
    }
}

HWY_NOINLINE void warpNearest(const WarpCall& call, size_t x, size_t y, size_t count)
{
    Strip strip;
    Plan plan;
    place(call, x, y, count, strip);
    for (size_t i = 0; i < kStrip; ++i)
    {
        strip.u[i] += kPlaceOne / 2;
        strip.v[i] += kPlaceOne / 2;
    }
    makePlan(call.plane(0), strip, kNearestReach, plan);
    fetch(call, plan, y);
    for (size_t p = 0; p < call.planes; ++p)
    {
        StripOut out(call.dst[p] + y * call.dstStride + x * call.channels, count, call.channels);
        call.channels == 1 ? nearestStrip<uint8_t>(call.plane(p), strip, plan, out.data())
                           : nearestStrip<uint32_t>(call.plane(p), strip, plan, out.data());
    }
}

HWY_NOINLINE void warpBilinear(const WarpCall& call, size_t x, size_t y, size_t count)
{
    Strip strip;
    Plan plan;
    Taps taps;
    place(call, x, y, count, strip);
    makePlan(call.plane(0), strip, kBilinearReach, plan);
    fetch(call, plan, y);
    for (size_t p = 0; p < call.planes; ++p)
    {
        StripOut out(call.dst[p] + y * call.dstStride + x, count, 1);
        takeTaps(call.plane(p), strip, plan, taps);
        bilinearStrip(strip, taps, out.data());
    }
}

HWY_NOINLINE void warpBilinearWide(const WarpCall& call, size_t x, size_t y, size_t count)
{
    Strip strip;
    Plan plan;
    WideTaps taps;
    place(call, x, y, count, strip);
    makePlan(call.plane(0), strip, kBilinearReach, plan);
    fetch(call, plan, y);
    StripOut out(call.dst[0] + y * call.dstStride + 4 * x, count, 4);
    takeWideTaps(call.plane(0), strip, plan, taps);
    bilinearWideStrip(strip, taps, out.data());
}

HWY_NOINLINE void warpCubic(const WarpCall& call, size_t x, size_t y, size_t count)
{
    Strip strip;
    Plan plan;
    CubicTaps taps;
    CubicShares columns;
    CubicShares rows;
    place(call, x, y, count, strip);
    makePlan(call.plane(0), strip, kCubicReach, plan);
    fetch(call, plan, y);
    takeShares(strip.u, columns);
    takeShares(strip.v, rows);
    for (size_t p = 0; p < call.planes; ++p)
    {
        StripOut out(call.dst[p] + y * call.dstStride + x, count, 1);
        takeCubicTaps(call.plane(p), strip, plan, taps);
        cubicStrip(columns, rows, taps, out.data());
    }
}

// ---- Area ----

// Samples each way for each pixel of a strip.
HWY_INLINE void countSamples(const WarpCall& call, size_t x, size_t y, int32_t* counts)
{
    const FloatTag d;
    const IntTag di;
    const Positions& positions = call.positions;
    const float* m = positions.matrix;
    const MatrixRow row(positions, static_cast<float>(positions.dstY + y));
    for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
    {
        const auto columns = columnsFrom(positions.dstX + x + i);
        Floats u, v;
        row.at(columns, u, v);
        const auto divisor = hn::Abs(row.divisor(columns));
        auto largest = hn::Zero(d);
        const auto extend = [&](size_t element, Floats at, size_t bottom) HWY_ATTR
        {
            const auto part = hn::Abs(hn::Sub(hn::Set(d, m[element]), hn::Mul(at, hn::Set(d, m[bottom]))));
            largest = hn::IfThenElse(hn::Gt(part, largest), part, largest);
        };
        extend(0, u, 6);
        extend(3, v, 6);
        extend(1, u, 7);
        extend(4, v, 7);
        auto n = hn::Set(di, 1);
        for (int32_t k = 1; k < kMaxAreaSamples; ++k)
        {
            const auto more = hn::Gt(largest, hn::Mul(hn::Set(d, static_cast<float>(k) + 0.25f), divisor));
            n = hn::Sub(n, hn::BitCast(di, hn::VecFromMask(d, more)));
        }
        hn::Store(n, di, counts + i);
    }
}

// Sums of n x n samples in 1/65536.
HWY_INLINE void sumSamples(const WarpCall& call, size_t x, size_t y, int32_t n, uint32_t* sums)
{
    const UnsignedTag d;
    const Positions& positions = call.positions;
    const WarpPlane plane = call.plane(0);
    Strip strip;
    Plan plan;
    Taps taps;
    for (size_t i = 0; i < kStrip; ++i)
    {
        sums[i] = 0;
    }
    for (int32_t r = 0; r < n; ++r)
    {
        const MatrixRow row(positions, static_cast<float>(positions.dstY + y) + areaOffset(r, n));
        for (int32_t c = 0; c < n; ++c)
        {
            placeByMatrix(call, row, positions.dstX + x, areaOffset(c, n), strip);
            makePlan(plane, strip, kBilinearReach, plan);
            takeTaps(plane, strip, plan, taps);
            for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
            {
                const auto sum =
                    between(hn::Load(d, taps.of + i), hn::Load(IntTag(), strip.u + i), hn::Load(IntTag(), strip.v + i));
                hn::Store(hn::Add(hn::Load(d, sums + i), hn::BitCast(d, sum)), d, sums + i);
            }
        }
    }
}

// Nearly all strips have one count of samples; the others are made once for each of theirs.
HWY_NOINLINE void warpArea(const WarpCall& call, size_t x, size_t y, size_t count)
{
    const UnsignedTag d;
    alignas(64) int32_t counts[kStrip];
    alignas(64) uint32_t sums[kStrip];
    alignas(64) uint32_t means[kStrip] = {};
    countSamples(call, x, y, counts);
    uint32_t present = 0;
    for (size_t i = 0; i < count; ++i)
    {
        present |= uint32_t{1} << counts[i];
    }
    for (int32_t n = 1; n <= kMaxAreaSamples; ++n)
    {
        if ((present >> n & 1) == 0)
        {
            continue;
        }
        sumSamples(call, x, y, n, sums);
        // The sum of the samples, at most 255.5 n^2, times the reciprocal of n^2 in 1/2^20, rounded up: what that adds
        // is below 255.5 n^2 / 2^20, less than the 1 / n^2 to the next whole number.
        const auto samples = static_cast<uint32_t>(n * n);
        const auto reciprocal = hn::Set(d, ((1u << 20) + samples - 1) / samples);
        for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
        {
            const auto sum = hn::ShiftRight<16>(hn::Add(hn::Load(d, sums + i), hn::Set(d, 32768 * samples)));
            const auto mean = hn::ShiftRight<20>(hn::Mul(sum, reciprocal));
            const auto isMine =
                hn::Eq(hn::BitCast(d, hn::Load(IntTag(), counts + i)), hn::Set(d, static_cast<uint32_t>(n)));
            hn::Store(hn::IfThenElse(isMine, mean, hn::Load(d, means + i)), d, means + i);
        }
    }
    StripOut out(call.dst[0] + y * call.dstStride + x, count, 1);
    storeBytes(kStrip, out.data(), [&](size_t i) HWY_ATTR { return hn::Load(d, means + i); });
}

// ---- Whole calls ----

using StripWarp = void (*)(const WarpCall&, size_t, size_t, size_t);

StripWarp stripWarp(const WarpCall& call)
{
    switch (call.interpolation)
    {
        case VISORA_INTERPOLATION_NEAREST:
            return warpNearest;
        case VISORA_INTERPOLATION_AREA:
            return warpArea;
        case kCubic:
            return warpCubic;
        default:
            return call.channels == 1 ? warpBilinear : warpBilinearWide;
    }
}

vsrStatus warpStrips(const WarpCall& call)
{
    if (!hasShortOffsets(call.plane(0)))
    {
        return warpReference(call);
    }
    const StripWarp warp = stripWarp(call);
    for (size_t blockY = 0; blockY < call.dstHeight; blockY += kBlockRows)
    {
        const size_t endY = HWY_MIN(blockY + kBlockRows, call.dstHeight);
        for (size_t x = 0; x < call.dstWidth; x += kStrip)
        {
            for (size_t y = blockY; y < endY; ++y)
            {
                size_t begin = x;
                size_t end = HWY_MIN(x + kStrip, call.dstWidth);
                if (call.insideRanges)
                {
                    begin = HWY_MAX(begin, call.insideRanges[2 * y]);
                    end = HWY_MIN(end, call.insideRanges[2 * y + 1]);
                }
                if (begin < end)
                {
                    warp(call, begin, y, end - begin);
                }
            }
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
namespace
{

HWY_EXPORT(warpStrips);

// The first column of a row, among [0, width), from which on `holds` is true; width when there is none.
template <class Condition>
uint32_t firstColumn(uint32_t width, Condition holds)
{
    uint32_t low = 0;
    uint32_t high = width;
    while (low < high)
    {
        const uint32_t middle = low + (high - low) / 2;
        if (holds(middle))
        {
            high = middle;
        }
        else
        {
            low = middle + 1;
        }
    }
    return low;
}

struct Run
{
    uint32_t begin, end;
};

// The columns whose place lies in [0, last]. Places of an affine map only rise or only fall along a row.
template <class PlaceOf>
Run insideRun(uint32_t width, bool rises, int32_t last, PlaceOf placeOf)
{
    if (rises)
    {
        return {firstColumn(width, [&](uint32_t x) { return placeOf(x) >= 0; }),
                firstColumn(width, [&](uint32_t x) { return placeOf(x) > last; })};
    }
    return {firstColumn(width, [&](uint32_t x) { return placeOf(x) <= last; }),
            firstColumn(width, [&](uint32_t x) { return placeOf(x) < 0; })};
}

void findInsideRanges(const WarpCall& call)
{
    const float* m = call.positions.matrix;
    const auto last = [](uint32_t size) { return kPlaceOne * static_cast<int32_t>(size - 1); };
    for (uint32_t y = 0; y < call.dstHeight; ++y)
    {
        const auto at = [&](uint32_t x) { return call.place(call.positions.at(x, y)); };
        const Run u = insideRun(call.dstWidth, m[0] >= 0, last(call.srcWidth), [&](uint32_t x) { return at(x).u; });
        const Run v = insideRun(call.dstWidth, m[3] >= 0, last(call.srcHeight), [&](uint32_t x) { return at(x).v; });
        const uint32_t begin = std::max(u.begin, v.begin);
        const uint32_t end = std::min(u.end, v.end);
        call.insideRanges[2 * size_t{y}] = begin < end ? begin : 0;
        call.insideRanges[2 * size_t{y} + 1] = begin < end ? end : 0;
    }
}

vsrStatus warpVectors(const WarpCall& call)
{
    if (call.insideRanges)
    {
        findInsideRanges(call);
    }
    return HWY_DYNAMIC_DISPATCH(warpStrips)(call);
}

}  // namespace
}  // namespace visora

#define VISORA_VECTOR_WARP(operation, warp) \
    VSR_DEFINE(operation##V, decltype(operation##C), { return visora::warps::warp(visora::warpVectors, arguments...); })

VISORA_VECTOR_WARP(vsrTransformAffineu8, affine);
VISORA_VECTOR_WARP(vsrTransformAffineRGBA8888u8, affineRgba);
VISORA_VECTOR_WARP(vsrTransformAffineClippedu8, affineClipped);
VISORA_VECTOR_WARP(vsr3ChannelTransformAffineClippedBCu8, affineClippedCubic);
VISORA_VECTOR_WARP(vsrWarpPerspectiveu8, perspectiveOnBlack);
VISORA_VECTOR_WARP(vsrWarpPerspectiveu8_v3, perspective);
VISORA_VECTOR_WARP(vsrWarpPerspectiveu8_v4, tile);
VISORA_VECTOR_WARP(vsr3ChannelWarpPerspectiveu8, threePlanesOnBlack);
VISORA_VECTOR_WARP(vsr3ChannelWarpPerspectiveu8_v2, threePlanes);
VISORA_VECTOR_WARP(vsrRemapu8, remap);
VISORA_VECTOR_WARP(vsrRemapRGBA8888u8, remapRgba);

#endif
