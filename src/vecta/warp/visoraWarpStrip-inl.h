// Strips of 64 pixels of a warp: where they lie in the source, the pixels around those places, and what is between.
#if defined(VISORA_VECTA_WARP_STRIP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_WARP_STRIP_INL_H
#undef VISORA_VECTA_WARP_STRIP_INL_H
#else
#define VISORA_VECTA_WARP_STRIP_INL_H
#endif

#include <algorithm>
#include <array>
#include <cstring>

#include "cpu/warp/visoraWarpCall.h"
#include "hwy/cache_control.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

constexpr size_t kStrip = 64;
/** Pixels that are taken from the source in one way: all inside, all outside, or one by one. */
constexpr size_t kGroup = 16;
constexpr size_t kGroups = kStrip / kGroup;

using IntTag = hn::CappedTag<int32_t, kGroup>;
using FloatTag = hn::Rebind<float, IntTag>;
using UnsignedTag = hn::Rebind<uint32_t, IntTag>;
using Ints = hn::Vec<IntTag>;
using Floats = hn::Vec<FloatTag>;
using Unsigneds = hn::Vec<UnsignedTag>;

/** Places in 1/256 pixels. */
struct Strip
{
    alignas(64) int32_t u[kStrip];
    alignas(64) int32_t v[kStrip];
    int32_t slack[kGroup];  // that vectors may read
};

// ---- Positions ----

HWY_INLINE Floats limitedLanes(Floats position, float end)
{
    const FloatTag d;
    const auto low = hn::Set(d, -1.0f);
    const auto high = hn::Set(d, end);
    const auto notBefore = hn::IfThenElse(hn::Gt(position, low), position, low);
    return hn::IfThenElse(hn::Lt(notBefore, high), notBefore, high);
}

HWY_INLINE Ints fixedLanes(Floats position, float end)
{
    return hn::NearestInt(hn::Mul(hn::Set(FloatTag(), static_cast<float>(kPlaceOne)), limitedLanes(position, end)));
}

/** What a matrix makes of one row of the destination. */
class MatrixRow
{
  public:
    MatrixRow(const Positions& positions, float y) : m_(positions.matrix), isAffine_(positions.isAffine)
    {
        u_ = m_[1] * y + m_[2];
        v_ = m_[4] * y + m_[5];
        w_ = isAffine_ ? 1 : m_[7] * y + m_[8];
    }

    HWY_INLINE Floats divisor(Floats x) const { return line(6, x, w_); }

    HWY_INLINE void at(Floats x, Floats& u, Floats& v) const
    {
        u = line(0, x, u_);
        v = line(3, x, v_);
        if (!isAffine_)
        {
            const auto w = divisor(x);
            u = hn::Div(u, w);
            v = hn::Div(v, w);
        }
    }

  private:
    HWY_INLINE Floats line(size_t element, Floats x, float rest) const
    {
        const FloatTag d;
        return hn::Add(hn::Mul(hn::Set(d, m_[element]), x), hn::Set(d, rest));
    }

    const float* m_;
    bool isAffine_;
    float u_;
    float v_;
    float w_;
};

/** The x of destination pixels from column x on. */
HWY_INLINE Floats columnsFrom(size_t x)
{
    const IntTag d;
    return hn::ConvertTo(FloatTag(), hn::Iota(d, static_cast<int32_t>(x)));
}

/** Places of the pixels from column x of the destination on, moved by an offset. */
HWY_INLINE void placeByMatrix(const WarpCall& call, const MatrixRow& row, size_t x, float offset, Strip& strip)
{
    const FloatTag d;
    const auto width = static_cast<float>(call.srcWidth);
    const auto height = static_cast<float>(call.srcHeight);
    for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
    {
        Floats u, v;
        row.at(hn::Add(columnsFrom(x + i), hn::Set(d, offset)), u, v);
        hn::Store(fixedLanes(u, width), IntTag(), strip.u + i);
        hn::Store(fixedLanes(v, height), IntTag(), strip.v + i);
    }
}

/** Places from maps. The places of a strip that is not full are any. */
HWY_INLINE void placeByMaps(const WarpCall& call, size_t x, size_t y, size_t count, Strip& strip)
{
    const FloatTag d;
    const Positions& positions = call.positions;
    const float* mapX = positions.mapX + y * positions.mapStride + x;
    const float* mapY = positions.mapY + y * positions.mapStride + x;
    // Those of the strip that follows when the rows of a block are done.
    constexpr size_t kLine = 64 / sizeof(float);
    for (size_t i = kStrip; i < 2 * kStrip; i += kLine)
    {
        hwy::Prefetch(mapX + i);
        hwy::Prefetch(mapY + i);
    }
    alignas(64) float part[2][kStrip];
    if (count < kStrip)
    {
        std::memset(part, 0, sizeof(part));
        std::memcpy(part[0], mapX, count * sizeof(float));
        std::memcpy(part[1], mapY, count * sizeof(float));
        mapX = part[0];
        mapY = part[1];
    }
    const auto width = static_cast<float>(call.srcWidth);
    const auto height = static_cast<float>(call.srcHeight);
    for (size_t i = 0; i < kStrip; i += hn::Lanes(d))
    {
        hn::Store(fixedLanes(hn::LoadU(d, mapX + i), width), IntTag(), strip.u + i);
        hn::Store(fixedLanes(hn::LoadU(d, mapY + i), height), IntTag(), strip.v + i);
    }
}

// ---- Where the source is ----

enum class Where : uint8_t
{
    Inside,   // all that is taken lies in the image
    Outside,  // all of it is border
    Mixed
};

/** What is taken around a place (u, v), rounded down to a pixel. */
struct Reach
{
    int32_t before;   // pixels before that pixel
    int32_t behind;   // and behind it
    int32_t outside;  // places below this one touch no pixel of the image
};
constexpr Reach kNearestReach = {0, 0, 0};
constexpr Reach kBilinearReach = {0, 1, 1 - kPlaceOne};
constexpr Reach kCubicReach = {1, 2, 1 - 2 * kPlaceOne};

/** Offsets in the source have 31 bits; larger images are left to the reference. */
inline bool hasShortOffsets(const WarpPlane& plane)
{
    return plane.stride * (uint64_t{plane.height} + 1) + uint64_t{plane.width} * plane.channels <= INT32_MAX;
}

/** Blocks of so many rows of strips keep the source in the cache where a warp turns the image. */
constexpr size_t kBlockRows = 16;

/** Offsets of the pixels at the places, rounded down, in bytes, and what the groups are. No offset passes 2^31. */
struct Plan
{
    alignas(64) int32_t offsets[kStrip];
    Where groups[kGroups];
};

HWY_INLINE void makePlan(const WarpPlane& plane, const Strip& strip, const Reach& reach, Plan& plan)
{
    const IntTag d;
    const auto endU = static_cast<int32_t>(plane.width) * kPlaceOne;
    const auto endV = static_cast<int32_t>(plane.height) * kPlaceOne;
    const auto first = hn::Set(d, reach.before * kPlaceOne);
    const auto lastU = hn::Set(d, endU - reach.behind * kPlaceOne - 1);
    const auto lastV = hn::Set(d, endV - reach.behind * kPlaceOne - 1);
    const auto below = hn::Set(d, reach.outside);
    const auto stride = hn::Set(d, static_cast<int32_t>(plane.stride));
    const auto channels = hn::Set(d, static_cast<int32_t>(plane.channels));
    for (size_t g = 0; g < kGroups; ++g)
    {
        auto beyond = hn::Zero(d);    // negative where a tap lies outside
        auto apart = hn::Set(d, -1);  // where all of them do
        for (size_t i = g * kGroup; i < (g + 1) * kGroup; i += hn::Lanes(d))
        {
            const auto u = hn::Load(d, strip.u + i);
            const auto v = hn::Load(d, strip.v + i);
            beyond = hn::Or(beyond, hn::Or(hn::Sub(u, first), hn::Sub(lastU, u)));
            beyond = hn::Or(beyond, hn::Or(hn::Sub(v, first), hn::Sub(lastV, v)));
            const auto outside = hn::Or(hn::Or(hn::Sub(u, below), hn::Sub(hn::Set(d, endU - 1), u)),
                                        hn::Or(hn::Sub(v, below), hn::Sub(hn::Set(d, endV - 1), v)));
            apart = hn::And(apart, outside);
            const auto columns = hn::Mul(hn::ShiftRight<kPlaceBits>(u), channels);
            hn::Store(hn::Add(hn::Mul(hn::ShiftRight<kPlaceBits>(v), stride), columns), d, plan.offsets + i);
        }
        plan.groups[g] = hn::AllFalse(d, hn::Lt(beyond, hn::Zero(d)))                     ? Where::Inside
                         : !plane.replicate && hn::AllTrue(d, hn::Lt(apart, hn::Zero(d))) ? Where::Outside
                                                                                          : Where::Mixed;
    }
}

/**
 * Fetches some of what the strip behind this one takes, which processors do not foresee where the image is turned:
 * places as far on as this strip is long, others in each row of a block.
 */
HWY_INLINE void fetchAhead(const WarpPlane& plane, const Plan& plan, size_t y)
{
    constexpr size_t kEvery = 8;
    const ptrdiff_t onwards = ptrdiff_t{plan.offsets[kStrip - 1]} - plan.offsets[0];
    for (size_t i = y % kEvery; i < kStrip; i += kEvery)
    {
        hwy::Prefetch(plane.pixels + (plan.offsets[i] + onwards));
    }
}

template <class T>
HWY_INLINE T loadAs(const uint8_t* from)
{
    T value;
    std::memcpy(&value, from, sizeof(value));
    return value;
}

// ---- Nearest ----

/** The strip's places are half a pixel on. */
template <class Pixel>
HWY_INLINE void nearestStrip(const WarpPlane& plane, const Strip& strip, const Plan& plan, uint8_t* out)
{
    const uint8_t* pixels = plane.pixels;
    for (size_t g = 0; g < kGroups; ++g)
    {
        const size_t begin = g * kGroup;
        if (plan.groups[g] == Where::Inside)
        {
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                std::memcpy(out + i * sizeof(Pixel), pixels + plan.offsets[i], sizeof(Pixel));
            }
            continue;
        }
        for (size_t i = begin; i < begin + kGroup; ++i)
        {
            for (uint32_t c = 0; c < sizeof(Pixel); ++c)
            {
                out[i * sizeof(Pixel) + c] = plan.groups[g] == Where::Outside
                                                 ? plane.border[c]
                                                 : plane.at(strip.u[i] >> kPlaceBits, strip.v[i] >> kPlaceBits, c);
            }
        }
    }
}

// ---- Bilinear ----

/** The four bytes around each place: upper left, upper right, lower left, lower right. */
struct Taps
{
    alignas(64) uint32_t of[kStrip];
};

HWY_INLINE uint32_t mixedTaps(const WarpPlane& plane, const Strip& strip, size_t i)
{
    const int32_t column = strip.u[i] >> kPlaceBits;
    const int32_t row = strip.v[i] >> kPlaceBits;
    return uint32_t{plane.at(column, row, 0)} | uint32_t{plane.at(column + 1, row, 0)} << 8 |
           uint32_t{plane.at(column, row + 1, 0)} << 16 | uint32_t{plane.at(column + 1, row + 1, 0)} << 24;
}

HWY_INLINE void takeTaps(const WarpPlane& plane, const Strip& strip, const Plan& plan, Taps& taps)
{
    const UnsignedTag d;
    for (size_t g = 0; g < kGroups; ++g)
    {
        const size_t begin = g * kGroup;
        if (plan.groups[g] == Where::Inside)
        {
            const uint8_t* upper = plane.pixels;
            const uint8_t* lower = upper + plane.stride;
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                const int32_t at = plan.offsets[i];
                taps.of[i] = loadAs<uint16_t>(upper + at) | uint32_t{loadAs<uint16_t>(lower + at)} << 16;
            }
        }
        else if (plan.groups[g] == Where::Outside)
        {
            const auto border = hn::Set(d, 0x01010101u * plane.border[0]);
            for (size_t i = begin; i < begin + kGroup; i += hn::Lanes(d))
            {
                hn::Store(border, d, taps.of + i);
            }
        }
        else
        {
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                taps.of[i] = mixedTaps(plane, strip, i);
            }
        }
    }
}

/**
 * The value between four taps, in 1/65536. Both blends along the rows fit 16 bits: 256 p + a (q - p); with half their
 * range off they are signed, and the blend between them is one of pairs.
 */
HWY_INLINE Ints between(Unsigneds taps, Ints u, Ints v)
{
    const IntTag d;
    const hn::Repartition<uint16_t, IntTag> d16;
    const hn::Repartition<int16_t, IntTag> dSigned;
    const auto fraction = hn::Set(d, kPlaceOne - 1);
    const auto a = hn::And(u, fraction);
    const auto b = hn::And(v, fraction);
    const auto pairs = hn::BitCast(d16, taps);
    const auto step = hn::Sub(hn::ShiftRight<8>(pairs), hn::And(pairs, hn::Set(d16, 0xff)));
    const auto along = hn::BitCast(d16, hn::Or(a, hn::ShiftLeft<16>(a)));
    const auto rows = hn::Add(hn::ShiftLeft<8>(pairs), hn::Mul(step, along));
    const auto centred = hn::BitCast(dSigned, hn::Xor(rows, hn::Set(d16, 0x8000)));
    // b for the lower row, 256 - b for the upper one.
    const auto down = hn::Add(hn::Sub(hn::ShiftLeft<16>(b), b), hn::Set(d, kPlaceOne));
    return hn::Add(sumsOfPairProducts(d, centred, hn::BitCast(dSigned, down)), hn::Set(d, 0x8000 * kPlaceOne));
}

/** The same rounded to a byte's value. */
HWY_INLINE Unsigneds roundedBetween(Unsigneds taps, Ints u, Ints v)
{
    const IntTag d;
    return hn::BitCast(UnsignedTag(), hn::ShiftRight<16>(hn::Add(between(taps, u, v), hn::Set(d, 1 << 15))));
}

/** Bytes from `count` lanes of 32 bits, which value(i) makes, Lanes(UnsignedTag) from i on. */
template <class Value>
HWY_INLINE void storeBytes(size_t count, uint8_t* out, Value value)
{
    const UnsignedTag d;
    const hn::Repartition<uint16_t, UnsignedTag> d16;
    const hn::Repartition<uint8_t, UnsignedTag> d8;
    const size_t lanes = hn::Lanes(d);
    for (size_t i = 0; i < count; i += 4 * lanes)
    {
        const auto low = narrowInOrder(d16, value(i), value(i + lanes));
        const auto high = narrowInOrder(d16, value(i + 2 * lanes), value(i + 3 * lanes));
        hn::StoreU(narrowInOrder(d8, low, high), d8, out + i);
    }
}

HWY_INLINE void bilinearStrip(const Strip& strip, const Taps& taps, uint8_t* out)
{
    const IntTag d;
    storeBytes(kStrip, out,
               [&](size_t i) HWY_ATTR {
                   return roundedBetween(hn::Load(UnsignedTag(), taps.of + i), hn::Load(d, strip.u + i),
                                         hn::Load(d, strip.v + i));
               });
}

// ---- Bilinear, four channels ----

/** The two pixels of the upper row and the two of the lower one. */
struct WideTaps
{
    alignas(64) uint64_t of[2 * kStrip];
};

HWY_INLINE void takeWideTaps(const WarpPlane& plane, const Strip& strip, const Plan& plan, WideTaps& taps)
{
    const uint8_t* pixels = plane.pixels;
    const size_t stride = plane.stride;
    for (size_t g = 0; g < kGroups; ++g)
    {
        const size_t begin = g * kGroup;
        if (plan.groups[g] == Where::Inside)
        {
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                const uint8_t* upper = pixels + plan.offsets[i];
                taps.of[2 * i] = loadAs<uint64_t>(upper);
                taps.of[2 * i + 1] = loadAs<uint64_t>(upper + stride);
            }
        }
        else if (plan.groups[g] == Where::Outside)
        {
            std::fill_n(taps.of + 2 * begin, 2 * kGroup, loadAs<uint32_t>(plane.border) * uint64_t{0x100000001});
        }
        else
        {
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                const int32_t column = strip.u[i] >> kPlaceBits;
                for (int32_t below = 0; below < 2; ++below)
                {
                    const int32_t row = (strip.v[i] >> kPlaceBits) + below;
                    taps.of[2 * i + static_cast<size_t>(below)] =
                        loadAs<uint32_t>(plane.pixel(column, row)) |
                        uint64_t{loadAs<uint32_t>(plane.pixel(column + 1, row))} << 32;
                }
            }
        }
    }
}

/** The first of the places four times, the next one four times, and so on. */
HWY_INLINE Ints fourTimes(const int32_t* places)
{
    const IntTag d;
    if constexpr (hn::MaxLanes(IntTag()) == 4)
    {
        return hn::Set(d, *places);
    }
    else
    {
        alignas(64) static constexpr int32_t kOf[16] = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
        return hn::TableLookupLanes(hn::LoadU(d, places), hn::SetTableIndices(d, kOf));
    }
}

HWY_INLINE void bilinearWideStrip(const Strip& strip, const WideTaps& taps, uint8_t* out)
{
    const hn::Repartition<uint8_t, UnsignedTag> d8;
    // The four taps of a channel side by side.
    alignas(16) static constexpr uint8_t kByChannel[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
    const auto byChannel = hn::LoadDup128(d8, kByChannel);
    const auto* bytes = reinterpret_cast<const uint8_t*>(taps.of);
    storeBytes(4 * kStrip, out,
               [&](size_t i) HWY_ATTR
               {
                   const auto four = hn::TableLookupBytes(hn::Load(d8, bytes + 4 * i), byChannel);
                   return roundedBetween(hn::BitCast(UnsignedTag(), four), fourTimes(strip.u + i / 4),
                                         fourTimes(strip.v + i / 4));
               });
}

// ---- Bicubic ----

/** Four bytes of each of the four rows around each place. */
struct CubicTaps
{
    alignas(64) uint32_t of[kCubicTaps][kStrip];
};

HWY_INLINE uint32_t mixedCubicTaps(const WarpPlane& plane, const Strip& strip, size_t i, size_t row)
{
    uint32_t four = 0;
    for (size_t c = 0; c < kCubicTaps; ++c)
    {
        const uint32_t tap = plane.at((strip.u[i] >> kPlaceBits) - 1 + static_cast<int32_t>(c),
                                      (strip.v[i] >> kPlaceBits) - 1 + static_cast<int32_t>(row), 0);
        four |= tap << (8 * c);
    }
    return four;
}

HWY_INLINE void takeCubicTaps(const WarpPlane& plane, const Strip& strip, const Plan& plan, CubicTaps& taps)
{
    const size_t stride = plane.stride;
    const ptrdiff_t toFirst = -static_cast<ptrdiff_t>(stride) - 1;
    for (size_t g = 0; g < kGroups; ++g)
    {
        const size_t begin = g * kGroup;
        const bool isInside = plan.groups[g] == Where::Inside;
        for (size_t r = 0; r < kCubicTaps && !isInside; ++r)
        {
            for (size_t i = begin; i < begin + kGroup; ++i)
            {
                taps.of[r][i] = mixedCubicTaps(plane, strip, i, r);
            }
        }
        for (size_t i = begin; i < begin + kGroup && isInside; ++i)
        {
            const uint8_t* row = plane.pixels + (plan.offsets[i] + toFirst);
            taps.of[0][i] = loadAs<uint32_t>(row);
            taps.of[1][i] = loadAs<uint32_t>(row + stride);
            taps.of[2][i] = loadAs<uint32_t>(row + 2 * stride);
            taps.of[3][i] = loadAs<uint32_t>(row + 3 * stride);
        }
    }
}

/** The weights of a place's taps: the first and third in one number, the second and fourth in the other. */
struct CubicPairs
{
    uint32_t even;
    uint32_t odd;
};

constexpr std::array<CubicPairs, kPlaceOne> kCubicPairs = []
{
    std::array<CubicPairs, kPlaceOne> table{};
    for (size_t i = 0; i < table.size(); ++i)
    {
        const CubicWeights& w = kCubicWeights[i];
        const auto pair = [](int16_t low, int16_t high)
        { return static_cast<uint32_t>(static_cast<uint16_t>(low)) | static_cast<uint32_t>(high) << 16; };
        table[i] = {pair(w[0], w[2]), pair(w[1], w[3])};
    }
    return table;
}();

struct CubicShares
{
    alignas(64) uint32_t even[kStrip];
    alignas(64) uint32_t odd[kStrip];
};

HWY_INLINE void takeShares(const int32_t* places, CubicShares& shares)
{
    for (size_t i = 0; i < kStrip; ++i)
    {
        const CubicPairs pairs = kCubicPairs[static_cast<size_t>(places[i] & (kPlaceOne - 1))];
        shares.even[i] = pairs.even;
        shares.odd[i] = pairs.odd;
    }
}

HWY_INLINE void cubicStrip(const CubicShares& columns, const CubicShares& rows, const CubicTaps& taps, uint8_t* out)
{
    const IntTag d;
    const UnsignedTag du;
    const hn::Repartition<int16_t, IntTag> d16;
    const auto bytes = hn::Set(du, 0x00ff00ff);
    storeBytes(kStrip, out,
               [&](size_t i) HWY_ATTR
               {
                   const auto even = hn::BitCast(d16, hn::Load(du, columns.even + i));
                   const auto odd = hn::BitCast(d16, hn::Load(du, columns.odd + i));
                   const auto along = [&](size_t r) HWY_ATTR
                   {
                       const auto four = hn::Load(du, taps.of[r] + i);
                       const auto first = hn::BitCast(d16, hn::And(four, bytes));
                       const auto second = hn::BitCast(d16, hn::And(hn::ShiftRight<8>(four), bytes));
                       return hn::Add(sumsOfPairProducts(d, first, even), sumsOfPairProducts(d, second, odd));
                   };
                   const auto down = hn::BitCast(d, hn::Load(du, rows.even + i));
                   const auto downOdd = hn::BitCast(d, hn::Load(du, rows.odd + i));
                   const auto low = [&](Ints pair) HWY_ATTR { return hn::ShiftRight<16>(hn::ShiftLeft<16>(pair)); };
                   const auto sum = hn::Add(hn::Add(hn::Mul(along(0), low(down)), hn::Mul(along(1), low(downOdd))),
                                            hn::Add(hn::Mul(along(2), hn::ShiftRight<16>(down)),
                                                    hn::Mul(along(3), hn::ShiftRight<16>(downOdd))));
                   const auto rounded = hn::ShiftRight<22>(hn::Add(sum, hn::Set(d, 1 << 21)));
                   return hn::BitCast(du, hn::Min(hn::Max(rounded, hn::Zero(d)), hn::Set(d, 255)));
               });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
