// Binary descriptors, vector variants: the sums of all windows around a point first, lanes being columns; then single
// sums are compared.
#include "cpu/descriptor/visoraBrief.h"
#include "cpu/visoraPlane.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/descriptor/visoraBriefV.cpp"
#include <cstring>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Window sums around a point; a row takes kRow elements.
constexpr size_t kRow = 32;
constexpr size_t kRows = 2 * kBriefRadius + 1;
constexpr int32_t kMiddle = kBriefRadius * static_cast<int32_t>(kRow) + kBriefRadius;

constexpr uint16_t placeInSums(int32_t x, int32_t y)
{
    return static_cast<uint16_t>(kMiddle + y * static_cast<int32_t>(kRow) + x);
}

struct Places
{
    alignas(64) uint16_t p[kBriefPairs];
    alignas(64) uint16_t q[kBriefPairs];
};

constexpr Places uprightPlaces()
{
    Places places = {};
    for (size_t k = 0; k < kBriefPairs; ++k)
    {
        const BriefPair& pair = kBriefPattern[k];
        places.p[k] = placeInSums(pair.px, pair.py);
        places.q[k] = placeInSums(pair.qx, pair.qy);
    }
    return places;
}

struct FloatPattern
{
    alignas(64) float px[kBriefPairs];
    alignas(64) float py[kBriefPairs];
    alignas(64) float qx[kBriefPairs];
    alignas(64) float qy[kBriefPairs];
};

constexpr FloatPattern floatPattern()
{
    FloatPattern pattern = {};
    for (size_t k = 0; k < kBriefPairs; ++k)
    {
        pattern.px[k] = kBriefPattern[k].px;
        pattern.py[k] = kBriefPattern[k].py;
        pattern.qx[k] = kBriefPattern[k].qx;
        pattern.qy[k] = kBriefPattern[k].qy;
    }
    return pattern;
}

constexpr Places kUpright = uprightPlaces();
constexpr FloatPattern kPattern = floatPattern();

class Sums
{
  public:
    // Sums of 5 x 5 pixels around a point: sums of columns run down the rows.
    HWY_INLINE Sums(const uint8_t* centre, size_t stride)
    {
        const hn::CappedTag<uint16_t, 16> d;
        const hn::Rebind<uint8_t, decltype(d)> d8;
        constexpr size_t kLanes = hn::MaxLanes(decltype(d)());
        // The 31 columns of the windows; the last vector begins a column earlier.
        const auto columnOf = [](size_t i) { return i == kRow / kLanes - 1 ? 31 - kLanes : i * kLanes; };
        const uint8_t* row = centre - kBriefReach * stride - kBriefReach;
        alignas(64) uint16_t columns[2 * kRow];
        for (size_t i = 0; i < kRow / kLanes; ++i)
        {
            const size_t x = columnOf(i);
            auto sum = hn::Zero(d);
            for (size_t y = 0; y < 4; ++y)
            {
                sum = hn::Add(sum, hn::PromoteTo(d, hn::LoadU(d8, row + y * stride + x)));
            }
            hn::StoreU(sum, d, columns + x);
        }
        hn::StoreU(hn::Zero(d), d, columns + 31);
        hn::StoreU(hn::Zero(d), d, columns + 31 + kLanes);
        for (size_t y = 0; y < kRows; ++y, row += stride)
        {
            // What enters belongs to this row, what leaves to the next one. All is loaded before anything is stored:
            // the last vector overlaps the one before it.
            hn::Vec<decltype(d)> sums[kRow / kLanes];
            hn::Vec<decltype(d)> next[kRow / kLanes];
            for (size_t i = 0; i < kRow / kLanes; ++i)
            {
                const size_t x = columnOf(i);
                sums[i] = hn::Add(hn::LoadU(d, columns + x), hn::PromoteTo(d, hn::LoadU(d8, row + 4 * stride + x)));
                next[i] = hn::Sub(sums[i], hn::PromoteTo(d, hn::LoadU(d8, row + x)));
            }
            for (size_t i = 0; i < kRow / kLanes; ++i)
            {
                hn::StoreU(sums[i], d, columns + columnOf(i));
            }
            for (size_t x = 0; x < kRow; x += kLanes)
            {
                const auto at = [&](size_t k) HWY_ATTR { return hn::LoadU(d, columns + x + k); };
                hn::Store(hn::Add(hn::Add(hn::Add(at(0), at(1)), hn::Add(at(2), at(3))), at(4)), d,
                          sums_ + y * kRow + x);
            }
            for (size_t i = 0; i < kRow / kLanes; ++i)
            {
                hn::StoreU(next[i], d, columns + columnOf(i));
            }
        }
    }

    HWY_INLINE void compare(const Places& places, uint8_t* descriptor) const
    {
        for (size_t byte = 0; byte < kBriefBytes; ++byte)
        {
            uint32_t bits = 0;
            for (size_t k = 8; k-- > 0;)
            {
                bits = 2 * bits + (sums_[places.p[8 * byte + k]] < sums_[places.q[8 * byte + k]] ? 1 : 0);
            }
            descriptor[byte] = static_cast<uint8_t>(bits);
        }
    }

  private:
    alignas(64) uint16_t sums_[kRows * kRow];
};

// The places in the sums of turned points of the pattern.
HWY_INLINE void turnPlaces(const Turn& turn, const float* xs, const float* ys, uint16_t* places)
{
    const hn::ScalableTag<float> d;
    const hn::RebindToSigned<decltype(d)> d32;
    const hn::Rebind<uint16_t, decltype(d)> d16;
    const auto c = hn::Set(d, turn.c);
    const auto s = hn::Set(d, turn.s);
    const auto round = [&](auto v) HWY_ATTR { return hn::ConvertTo(d32, hn::Floor(hn::Add(v, hn::Set(d, 0.5f)))); };
    for (size_t k = 0; k < kBriefPairs; k += hn::Lanes(d))
    {
        const auto x = hn::Load(d, xs + k);
        const auto y = hn::Load(d, ys + k);
        const auto column = round(hn::Sub(hn::Mul(c, x), hn::Mul(s, y)));
        const auto row = round(hn::Add(hn::Mul(s, x), hn::Mul(c, y)));
        const auto place = hn::Add(hn::Add(hn::ShiftLeft<5>(row), column), hn::Set(d32, kMiddle));
        hn::Store(hn::DemoteTo(d16, place), d16, places + k);
    }
}

// Weights of the columns -15 .. 0 and 0 .. 15 of a row of the disc: their distance from the centre, or 1.
struct DiscWeights
{
    alignas(64) int16_t across[kBriefReach + 1][32];
    alignas(64) int16_t inside[kBriefReach + 1][32];
};

constexpr DiscWeights discWeights()
{
    DiscWeights weights = {};
    for (size_t dy = 0; dy <= kBriefReach; ++dy)
    {
        for (size_t i = 0; i < 32; ++i)
        {
            // Column 0 counts once.
            const auto dx = static_cast<int32_t>(i < 16 ? i : i - 1) - 15;
            const bool isInside = i != 16 && dx <= kBriefDisc[dy] && -dx <= kBriefDisc[dy];
            weights.across[dy][i] = static_cast<int16_t>(isInside ? dx : 0);
            weights.inside[dy][i] = static_cast<int16_t>(isInside ? 1 : 0);
        }
    }
    return weights;
}

constexpr DiscWeights kDisc = discWeights();

HWY_INLINE Turn turnTowardsCentroid(const uint8_t* centre, size_t stride)
{
    const hn::CappedTag<int16_t, 16> d;
    const hn::RepartitionToWide<decltype(d)> d32;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    constexpr size_t kLanes = hn::MaxLanes(decltype(d)());
    auto m10 = hn::Zero(d32);
    auto m01 = hn::Zero(d32);
    constexpr auto kReach = static_cast<int32_t>(kBriefReach);
    for (int32_t dy = -kReach; dy <= kReach; ++dy)
    {
        const uint8_t* row = centre + dy * static_cast<ptrdiff_t>(stride);
        const auto weights = static_cast<size_t>(dy < 0 ? -dy : dy);
        auto across = hn::Zero(d32);
        auto inside = hn::Zero(d32);
        for (size_t i = 0; i < 32; i += kLanes)
        {
            const ptrdiff_t dx = static_cast<ptrdiff_t>(i < 16 ? i : i - 1) - 15;
            const auto pixels = hn::PromoteTo(d, hn::LoadU(d8, row + dx));
            across = hn::Add(across, sumsOfPairProducts(d32, pixels, hn::Load(d, kDisc.across[weights] + i)));
            inside = hn::Add(inside, sumsOfPairProducts(d32, pixels, hn::Load(d, kDisc.inside[weights] + i)));
        }
        m10 = hn::Add(m10, across);
        m01 = hn::Add(m01, hn::Mul(inside, hn::Set(d32, dy)));
    }
    return turnTowards(hn::GetLane(hn::SumOfLanes(d32, m10)), hn::GetLane(hn::SumOfLanes(d32, m01)));
}

template <class PlacesOf>
HWY_INLINE vsrStatus describeAll(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 const uint32_t* xy, uint32_t count, uint8_t* dst, uint32_t dstStride,
                                 PlacesOf placesOf)
{
    for (size_t i = 0; i < count; ++i)
    {
        const uint32_t x = xy[2 * i];
        const uint32_t y = xy[2 * i + 1];
        uint8_t* descriptor = planeRow(dst, dstStride, i);
        if (!hasBriefWindows(x, y, width, height))
        {
            std::memset(descriptor, 0, kBriefBytes);
            continue;
        }
        const uint8_t* centre = planeRow(src, stride, y) + x;
        const Sums sums(centre, stride);
        sums.compare(placesOf(i, centre), descriptor);
    }
    return VISORA_SUCCESS;
}

vsrStatus describe(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint32_t* xy,
                   uint32_t nPoints, uint8_t* dst, uint32_t dstStride)
{
    return describeAll(src, srcWidth, srcHeight, srcStride, xy, nPoints, dst, dstStride,
                       [](size_t, const uint8_t*) -> const Places& { return kUpright; });
}

vsrStatus describeRotated(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const uint32_t* xy, uint32_t nPoints, const float* angles, uint8_t* dst, uint32_t dstStride)
{
    Places places;
    return describeAll(src, srcWidth, srcHeight, srcStride, xy, nPoints, dst, dstStride,
                       [&](size_t i, const uint8_t* centre) HWY_ATTR -> const Places&
                       {
                           const Turn turn = angles ? turnBy(angles[i]) : turnTowardsCentroid(centre, srcStride);
                           turnPlaces(turn, kPattern.px, kPattern.py, places.p);
                           turnPlaces(turn, kPattern.qx, kPattern.qy, places.q);
                           return places;
                       });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrBriefDescribeu8, describe);
VSR_VECTOR(vsrBriefDescribeRotatedu8, describeRotated);
#endif
