// What binomial Gaussian filters do with vectors: pixels and planes of sums, sums of columns and of rows, and the
// pixels at the image's edges. Included once per instruction set.
#if defined(VISORA_VECTA_FILTER_GAUSSIAN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_GAUSSIAN_INL_H
#undef VISORA_VECTA_FILTER_GAUSSIAN_INL_H
#else
#define VISORA_VECTA_FILTER_GAUSSIAN_INL_H
#endif

#include <algorithm>
#include <array>
#include <type_traits>

#include "cpu/filter/visoraFilterGaussian.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Pixels to planes and back ----

// Elements at even and at odd places, widened.
template <class DWide, class V>
HWY_INLINE void split(DWide d, V v, hn::Vec<DWide>& even, hn::Vec<DWide>& odd)
{
    using Wide = hn::TFromD<DWide>;
    constexpr int kBits = sizeof(Wide) * 4;
    const auto both = hn::BitCast(d, v);
    if constexpr (std::is_signed_v<Wide>)
    {
        even = hn::ShiftRight<kBits>(hn::ShiftLeft<kBits>(both));
    }
    else
    {
        even = hn::And(both, hn::Set(d, static_cast<Wide>((Wide{1} << kBits) - 1)));
    }
    odd = hn::ShiftRight<kBits>(both);
}

// The low parts of the planes' lanes as pixels in their order.
template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 1>& planes)
{
    (void)dSum;
    return hn::BitCast(d, planes[0]);
}

template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 2>& planes)
{
    using Sum = hn::TFromD<DSum>;
    constexpr int kBits = sizeof(Sum) * 4;
    const auto low = hn::And(planes[0], hn::Set(dSum, static_cast<Sum>((Sum{1} << kBits) - 1)));
    return hn::BitCast(d, hn::Or(low, hn::ShiftLeft<kBits>(planes[1])));
}

// Here sums are known to be no wider than pixels.
template <class D, class DSum>
HWY_INLINE hn::Vec<D> join(D d, DSum dSum, const std::array<hn::Vec<DSum>, 4>& planes)
{
    (void)dSum;
    return hn::BitCast(d, hn::Or(hn::Or(planes[0], hn::ShiftLeft<8>(planes[1])),
                                 hn::Or(hn::ShiftLeft<16>(planes[2]), hn::ShiftLeft<24>(planes[3]))));
}

// ---- Columns ----

// Adding neighbours `stages` times over weights by row `stages` of Pascal's triangle. Here the neighbours are rows,
// which come one after the other.
template <class V, size_t stages>
struct RowCascade
{
    V last[stages];

    template <class D>
    HWY_INLINE void clear(D d)
    {
        for (V& v : last)
        {
            v = hn::Zero(d);
        }
    }

    HWY_INLINE V push(V v)
    {
        for (V& before : last)
        {
            const V sum = hn::Add(before, v);
            before = v;
            v = sum;
        }
        return v;
    }
};

// Weighted sums of the last 2 * radius + 1 rows.
template <uint32_t radius, class D, class DSum, size_t planes = sizeof(hn::TFromD<DSum>) / sizeof(hn::TFromD<D>)>
class ColumnSums
{
  public:
    HWY_INLINE explicit ColumnSums(DSum dSum)
    {
        for (auto& cascade : cascades_)
        {
            cascade.clear(dSum);
        }
    }

    HWY_INLINE void push(DSum dSum, hn::Vec<D> row, std::array<hn::Vec<DSum>, planes>& sums)
    {
        if constexpr (planes == 1)
        {
            sums[0] = row;
        }
        else
        {
            split(dSum, row, sums[0], sums[1]);
        }
        for (size_t i = 0; i < planes; ++i)
        {
            sums[i] = cascades_[i].push(sums[i]);
        }
    }

  private:
    RowCascade<hn::Vec<DSum>, size_t{2} * radius> cascades_[planes];
};

// Bytes with sums of 32 bits: eight of the stages fit 16 bits.
template <uint32_t radius, class D, class DSum>
class ColumnSums<radius, D, DSum, 4>
{
  public:
    HWY_INLINE explicit ColumnSums(DSum dSum)
    {
        const DHalf dHalf;
        for (auto& cascade : halfCascades_)
        {
            cascade.clear(dHalf);
        }
        for (auto& cascade : cascades_)
        {
            cascade.clear(dSum);
        }
    }

    HWY_INLINE void push(DSum dSum, hn::Vec<D> row, std::array<hn::Vec<DSum>, 4>& sums)
    {
        const DHalf dHalf;
        hn::Vec<DHalf> even;
        hn::Vec<DHalf> odd;
        split(dHalf, row, even, odd);
        split(dSum, halfCascades_[0].push(even), sums[0], sums[2]);
        split(dSum, halfCascades_[1].push(odd), sums[1], sums[3]);
        for (size_t i = 0; i < 4; ++i)
        {
            sums[i] = cascades_[i].push(sums[i]);
        }
    }

  private:
    using DHalf = hn::Repartition<uint16_t, D>;
    RowCascade<hn::Vec<DHalf>, 8> halfCascades_[2];
    RowCascade<hn::Vec<DSum>, size_t{2} * radius - 8> cascades_[4];
};

// ---- Rows ----

// Weighted sums along a row: of columns[i] .. columns[i + 2 * radius] for each i.
template <uint32_t radius, class DSum, size_t count>
HWY_INLINE void rowSums(DSum dSum, std::array<hn::Vec<DSum>, count + 2 * radius>& columns,
                        std::array<hn::Vec<DSum>, count>& sums)
{
    if constexpr (radius <= (HWY_ARCH_ARM ? 1 : 2))
    {
        for (size_t left = count + 2 * radius - 1; left >= count; --left)
        {
            for (size_t i = 0; i < left; ++i)
            {
                columns[i] = hn::Add(columns[i], columns[i + 1]);
            }
        }
        std::copy_n(columns.begin(), count, sums.begin());
    }
    else
    {
        // Fewer operations than adding neighbours ten times over.
        constexpr auto kWeights = binomialWeights<radius>();
        for (size_t i = 0; i < count; ++i)
        {
            sums[i] = hn::Add(columns[i], columns[i + 2 * radius]);
            for (uint32_t tap = 1; tap < radius; ++tap)
            {
                sums[i] = hn::Add(sums[i], hn::Mul(hn::Add(columns[i + tap], columns[i + 2 * radius - tap]),
                                                   hn::Set(dSum, static_cast<hn::TFromD<DSum>>(kWeights[tap]))));
            }
            sums[i] = hn::Add(
                sums[i], hn::Mul(columns[i + radius], hn::Set(dSum, static_cast<hn::TFromD<DSum>>(kWeights[radius]))));
        }
    }
}

// Quotient by weight * 2^shift, truncated toward zero. 16-bit sums are those of bytes, so the shifted ones do not
// exceed 255 * weight, and weight <= 16: the error of the rounded-up reciprocal, below weight / 2^16 for each unit,
// stays below 1 / weight.
template <int shift, class DSum, class V>
HWY_INLINE V quotient(DSum dSum, V sums, uint32_t weight)
{
    using Sum = hn::TFromD<DSum>;
    if constexpr (sizeof(Sum) == 2)
    {
        return hn::MulHigh(hn::ShiftRight<shift>(sums), hn::Set(dSum, static_cast<Sum>(65536 / weight + 1)));
    }
    else
    {
        // Of numbers of 32 bits, double precision rounds no quotient up to a whole number that it does not reach.
        const hn::Repartition<int32_t, DSum> dInt;
        const hn::Half<decltype(dInt)> dHalf;
        const hn::Rebind<double, decltype(dHalf)> dDouble;
        const auto divisor = hn::Set(dDouble, static_cast<double>(weight << shift));
        const auto divide = [&](auto half) HWY_ATTR
        { return hn::DemoteTo(dHalf, hn::Div(hn::PromoteTo(dDouble, half), divisor)); };
        const auto all = hn::BitCast(dInt, sums);
        return hn::BitCast(dSum,
                           hn::Combine(dInt, divide(hn::UpperHalf(dHalf, all)), divide(hn::LowerHalf(dHalf, all))));
    }
}

// ---- Edges ----

// The pixels of rows at one edge of the image, in vectors.
template <uint32_t radius>
class EdgePixels
{
  public:
    // `first` is the first of them.
    EdgePixels(const GaussianBorder& border, uint32_t first, uint32_t width)
        : border_(border), first_(first), width_(width)
    {
        for (uint32_t i = 0; i < radius; ++i)
        {
            weights_[i] = static_cast<int32_t>(binomialWeightAt<radius>(border.outside, first + i, width));
        }
    }

    // Those of one row to out[0 ..]; sumAt(x) gives the sums of its columns.
    template <class SumAt>
    HWY_INLINE void write(uint32_t rowWeight, SumAt sumAt, uint8_t* out) const
    {
        const hn::CappedTag<int32_t, 8> d;
        const hn::Half<decltype(d)> dHalf;
        const hn::Rebind<double, decltype(dHalf)> dDouble;
        const hn::Rebind<uint8_t, decltype(d)> dBytes;
        constexpr auto kWeights = binomialWeights<radius>();
        constexpr size_t kLanes = hn::MaxLanes(hn::CappedTag<int32_t, 8>());
        // The columns of all windows.
        int32_t sums[3 * radius + kLanes] = {};
        for (uint32_t i = 0; i < 3 * radius; ++i)
        {
            const int64_t x = int64_t{first_} + i - radius;
            const int64_t nearest = std::clamp<int64_t>(x, 0, int64_t{width_} - 1);
            if (x == nearest || border_.outside == Outside::Nearest)
            {
                sums[i] = static_cast<int32_t>(sumAt(static_cast<uint32_t>(nearest)));
            }
            else if (border_.outside == Outside::Constant)
            {
                sums[i] = static_cast<int32_t>(border_.constant * kBinomialTotal<radius>);
            }
        }
        coverRange(0, radius, kLanes < radius ? kLanes : radius,
                   [&](size_t x) HWY_ATTR
                   {
                       auto total =
                           hn::Mul(hn::LoadU(d, sums + x + radius), hn::Set(d, static_cast<int32_t>(kWeights[radius])));
                       for (size_t tap = 0; tap < radius; ++tap)
                       {
                           const auto pair =
                               hn::Add(hn::LoadU(d, sums + x + tap), hn::LoadU(d, sums + x + 2 * radius - tap));
                           total = hn::Add(total, hn::Mul(pair, hn::Set(d, static_cast<int32_t>(kWeights[tap]))));
                       }
                       // Of numbers of 32 bits, double precision rounds no quotient up to a whole number that it does
                       // not reach.
                       const auto factor = hn::Set(dDouble, static_cast<double>(rowWeight));
                       const auto divide = [&](auto half, size_t from) HWY_ATTR
                       {
                           const auto weight = hn::PromoteTo(dDouble, hn::LoadU(dHalf, weights_ + x + from));
                           return hn::DemoteTo(dHalf, hn::Div(hn::PromoteTo(dDouble, half), hn::Mul(weight, factor)));
                       };
                       const auto quotients = hn::Combine(d, divide(hn::UpperHalf(dHalf, total), kLanes / 2),
                                                          divide(hn::LowerHalf(dHalf, total), 0));
                       uint8_t pixels[kLanes];
                       hn::StoreU(hn::DemoteTo(dBytes, quotients), dBytes, pixels);
                       std::copy_n(pixels, std::min<size_t>(kLanes, radius), out + x);
                   });
    }

  private:
    const GaussianBorder& border_;
    const uint32_t first_;
    const uint32_t width_;
    // Lanes without a pixel are divided by something, too.
    int32_t weights_[radius + 8] = {};
};

// Few pixels are sooner done one by one.
template <uint32_t radius>
constexpr bool kEdgesInVectors = radius > 2;

struct NoEdgePixels
{
    NoEdgePixels(const GaussianBorder& /*border*/, uint32_t /*first*/, uint32_t /*width*/) {}
};

template <uint32_t radius>
using Edge = std::conditional_t<kEdgesInVectors<radius>, EdgePixels<radius>, NoEdgePixels>;

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
