// Bilateral filter of depth maps, vector variant: lanes are columns, each with the reference's order of sums.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterBilateralFloatV.cpp"
#include <limits>

#include "cpu/filter/visoraFilterBilateral.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Several vectors at once hide how long a weight takes.
template <size_t n, class D>
struct DepthSums
{
    hn::Vec<D> p[n];
    hn::Vec<D> num[n];
    hn::Vec<D> den[n];
};

// Adds the pixels from `pixels` on; missing ones are NaNs there. Weights of 0 leave sums as they are.
template <size_t n, class D>
HWY_INLINE void addPixels(D d, const float* pixels, float distanceWeight, float factor, DepthSums<n, D>& sums)
{
    const hn::RebindToSigned<D> di;
    const auto scale = hn::Set(d, factor);
    const auto weightOfDistance = hn::Set(d, distanceWeight);
    for (size_t k = 0; k < n; ++k)
    {
        const auto q = hn::LoadU(d, pixels + k * hn::Lanes(d));
        const auto difference = hn::Sub(q, sums.p[k]);
        const auto t = hn::Mul(hn::Mul(difference, difference), scale);
        const auto counts = hn::Lt(t, hn::Set(d, 64.0f));
        const auto whole = hn::ConvertTo(di, hn::Add(t, hn::Set(d, 0.5f)));
        const auto rest = hn::Sub(t, hn::ConvertTo(d, whole));
        auto power = hn::Set(d, kPowerOfHalf[0]);
        for (size_t i = 1; i < kPowerOfHalf.size(); ++i)
        {
            power = hn::Add(hn::Mul(power, rest), hn::Set(d, kPowerOfHalf[i]));
        }
        const auto exponent = hn::ShiftLeft<23>(hn::Sub(hn::Set(di, 127), whole));
        const auto range = hn::IfThenElseZero(counts, hn::Mul(power, hn::BitCast(d, exponent)));
        const auto weight = hn::Mul(weightOfDistance, range);
        sums.num[k] = hn::Add(sums.num[k], hn::Mul(weight, hn::IfThenElseZero(counts, q)));
        sums.den[k] = hn::Add(sums.den[k], weight);
    }
}

// The rows of a depth map, whose missing pixels become NaNs: no number is near them.
class DepthRows
{
  public:
    DepthRows(const WindowSource<float>& source, size_t radius)
        : source_(source),
          radius_(radius),
          rowElements_((source.width + 2 * radius + kRowSlack<float> + 63) / 64 * 64),
          scratch_((2 * radius + 1) * rowElements_ * sizeof(float))
    {
        if (scratch_.data())
        {
            std::fill_n(scratch_.as<float>(), (2 * radius + 1) * rowElements_, kMissing);
        }
    }

    bool ready() const { return scratch_.data() != nullptr; }

    /** Row y, in the place of the one 2 * radius + 1 rows above it. */
    float* row(size_t y) const { return scratch_.as<float>() + y % (2 * radius_ + 1) * rowElements_ + radius_; }

    template <class D>
    HWY_INLINE void take(D d, size_t y)
    {
        const float* from = source_.src + y * source_.step;
        float* to = row(y);
        coverRange(0, source_.width, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto pixel = hn::LoadU(d, from + x);
                       const auto missing = hn::Or(hn::Eq(pixel, hn::Zero(d)), hn::Not(hn::IsFinite(pixel)));
                       hn::StoreU(hn::IfThenElse(missing, hn::Set(d, kMissing), pixel), d, to + x);
                   });
    }

  private:
    static constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();

    const WindowSource<float> source_;
    const size_t radius_;
    const size_t rowElements_;
    const Scratch scratch_;
};

vsrStatus bilateralFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                         float sigmaSpace, float sigmaRange, float* dst, uint32_t dstStride)
{
    const size_t radius = N / 2;
    const float factor = rangeFactor(sigmaRange);
    DepthRows rows(WindowSource<float>(src, srcWidth, srcHeight, srcStride), radius);
    const Scratch weightScratch((radius + 1) * N * sizeof(float));
    if (!rows.ready() || !weightScratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* weights = weightScratch.as<float>();
    const double spaceScale = twiceVariance(sigmaSpace);
    for (size_t j = 0; j <= radius; ++j)
    {
        for (size_t i = 0; i <= radius; ++i)
        {
            const auto weight = static_cast<float>(exponentialOfMinus(static_cast<double>(i * i + j * j) / spaceScale));
            weights[j * N + radius - i] = weight;
            weights[j * N + radius + i] = weight;
        }
    }
    const auto pass = [&](auto d, auto together) HWY_ATTR
    {
        constexpr size_t n = decltype(together)::value;
        size_t taken = 0;
        for (size_t y = 0; y < srcHeight; ++y)
        {
            for (; taken < std::min<size_t>(y + radius + 1, srcHeight); ++taken)
            {
                rows.take(d, taken);
            }
            const size_t above = std::min(y, radius);
            const size_t below = std::min(srcHeight - 1 - y, radius);
            const float* centre = rows.row(y);
            float* out = dst + y * (dstStride / sizeof(float));
            coverRange(0, srcWidth, n * hn::Lanes(d),
                       [&](size_t x) HWY_ATTR
                       {
                           DepthSums<n, decltype(d)> sums;
                           for (size_t k = 0; k < n; ++k)
                           {
                               sums.p[k] = hn::LoadU(d, centre + x + k * hn::Lanes(d));
                               sums.num[k] = hn::Zero(d);
                               sums.den[k] = hn::Zero(d);
                           }
                           for (size_t at = y - above; at <= y + below; ++at)
                           {
                               const float* pixels = rows.row(at) + x - radius;
                               const float* rowWeights = weights + (at < y ? y - at : at - y) * N;
                               for (size_t i = 0; i < N; ++i)
                               {
                                   addPixels(d, pixels + i, rowWeights[i], factor, sums);
                               }
                           }
                           for (size_t k = 0; k < n; ++k)
                           {
                               const auto mean = withOneNan(d, hn::Div(sums.num[k], sums.den[k]));
                               hn::StoreU(hn::IfThenElseZero(hn::Eq(sums.p[k], sums.p[k]), mean), d,
                                          out + x + k * hn::Lanes(d));
                           }
                       });
        }
    };
    const bool done = withFittingVector<float>(srcWidth,
                                               [&](auto d) HWY_ATTR
                                               {
                                                   if (srcWidth >= 2 * hn::Lanes(d))
                                                   {
                                                       pass(d, std::integral_constant<size_t, 2>());
                                                   }
                                                   else
                                                   {
                                                       pass(d, std::integral_constant<size_t, 1>());
                                                   }
                                               });
    return done ? vsrStatus{VISORA_SUCCESS}
                : vsrBilateralFilterNxNf32C(src, srcWidth, srcHeight, srcStride, N, sigmaSpace, sigmaRange, dst,
                                            dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrBilateralFilterNxNf32, bilateralFloat);

#endif
