// Bilateral filter of depth maps, vector variant: lanes are columns, each with the reference's order of sums. Two
// pixels have the same weight in one another's windows, so that of small windows it is worked out once and kept.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterBilateralFloatV.cpp"
#include <array>
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
constexpr size_t kTogether = HWY_ARCH_ARM ? 3 : 2;

template <size_t n, class D>
struct DepthSums
{
    hn::Vec<D> p[n];
    hn::Vec<D> num[n];
    hn::Vec<D> den[n];
};

// What pixels weigh in one another's windows.
template <class D, class V>
HWY_INLINE V weightsOf(D d, V p, V q, float distanceWeight, float factor)
{
    const hn::RebindToSigned<D> di;
    const auto difference = hn::Sub(q, p);
    const auto t = hn::Mul(hn::Mul(difference, difference), hn::Set(d, factor));
    const auto counts = hn::Lt(t, hn::Set(d, 64.0f));
    const auto whole = hn::ConvertTo(di, hn::Add(t, hn::Set(d, 0.5f)));
    const auto rest = hn::Sub(t, hn::ConvertTo(d, whole));
    auto power = hn::Set(d, kPowerOfHalf[0]);
    for (size_t i = 1; i < kPowerOfHalf.size(); ++i)
    {
        power = hn::Add(hn::Mul(power, rest), hn::Set(d, kPowerOfHalf[i]));
    }
    // Near 1 and halved at most 64 times: what the exponent loses is all that changes.
    const auto range = hn::BitCast(d, hn::Sub(hn::BitCast(di, power), hn::ShiftLeft<23>(whole)));
    return hn::Mul(hn::Set(d, distanceWeight), hn::IfThenElseZero(counts, range));
}

// Weights of pixels and those in lower rows of their windows, until the windows of these have taken them too. Beyond
// the image they are 0.
class KeptWeights
{
  public:
    /** Weights of larger windows would take more memory than their work is worth. */
    static constexpr size_t kMaxRadius = 3;

    KeptWeights(size_t width, size_t radius)
        : radius_(radius), step_((width + 2 * radius + 15) / 16 * 16), scratch_(elements() * sizeof(float))
    {
        if (scratch_.data())
        {
            std::fill_n(scratch_.as<float>(), elements(), 0.0f);
        }
    }

    bool ready() const { return scratch_.data() != nullptr; }
    bool used() const { return radius_ > 0 && radius_ <= kMaxRadius; }

    /** Those of pixels of row y and the first pixels of their windows `down` rows below; the next are a step further.
     */
    float* row(size_t y, size_t down) const
    {
        const size_t first = (down - 1) * (down + 2) / 2;
        return scratch_.as<float>() + (first + y % (down + 1)) * (2 * radius_ + 1) * step_ + radius_;
    }
    size_t step() const { return step_; }

  private:
    // Of each row of the windows there are one more rows of the image than it is below the pixel.
    size_t elements() const { return used() ? radius_ * (radius_ + 3) / 2 * (2 * radius_ + 1) * step_ : 1; }

    const size_t radius_;
    const size_t step_;
    const Scratch scratch_;
};

// The rows of a depth map, whose missing pixels become a number that no other is near: their weight is 0.
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

    /** A pixel had the number of missing ones. */
    bool ambiguous() const { return ambiguous_; }

    template <class D>
    HWY_INLINE void take(D d, size_t y)
    {
        const float* from = source_.src + y * source_.step;
        float* to = row(y);
        auto taken = hn::Zero(d);
        coverRange(0, source_.width, hn::Lanes(d),
                   [&](size_t x) HWY_ATTR
                   {
                       const auto pixel = hn::LoadU(d, from + x);
                       const auto missing = hn::Or(hn::Eq(pixel, hn::Zero(d)), hn::Not(hn::IsFinite(pixel)));
                       taken = hn::Or(taken, hn::VecFromMask(d, hn::Eq(pixel, hn::Set(d, kMissing))));
                       hn::StoreU(hn::IfThenElse(missing, hn::Set(d, kMissing), pixel), d, to + x);
                   });
        ambiguous_ = ambiguous_ || !hn::AllFalse(d, hn::MaskFromVec(taken));
    }

    /** Squares of its differences from other numbers are infinite. */
    static constexpr float kMissing = std::numeric_limits<float>::max();

  private:
    const WindowSource<float> source_;
    const size_t radius_;
    const size_t rowElements_;
    const Scratch scratch_;
    bool ambiguous_ = false;
};

// A row of the windows of an image's row.
struct WindowRow
{
    const float* pixels;           // that the windows of column 0 begin with
    const float* distanceWeights;  // from there on
    float* kept;                   // weights of pixels in column 0, when they are kept or to be kept
};

enum class Weights
{
    New,
    NewToKeep,
    Kept
};

// Adds rows of the windows of the columns from x on. Seen from the pixels above, those in the windows' middle are on
// the other side: kept weights go the other way, a step back and a column further.
template <Weights which, size_t n, class D>
HWY_INLINE void addRows(D d, const WindowRow* row, const WindowRow* end, size_t N, size_t keptStep, size_t x,
                        float factor, DepthSums<n, D>& sums)
{
    const size_t lanes = hn::Lanes(d);
    for (; row != end; ++row)
    {
        const float* pixels = row->pixels + x;
        const float* distanceWeight = row->distanceWeights;
        float* kept = row->kept + (which == Weights::New ? 0 : x);
        for (const float* const stop = pixels + N; pixels != stop; ++pixels, ++distanceWeight)
        {
            const float weightOfDistance = *distanceWeight;
            hn::Vec<D> q[n], weight[n];
            for (size_t k = 0; k < n; ++k)
            {
                q[k] = hn::LoadU(d, pixels + k * lanes);
                if constexpr (which == Weights::Kept)
                {
                    weight[k] = hn::LoadU(d, kept + k * lanes);
                }
                else
                {
                    weight[k] = weightsOf(d, sums.p[k], q[k], weightOfDistance, factor);
                }
            }
            for (size_t k = 0; k < n; ++k)
            {
                sums.num[k] = hn::Add(sums.num[k], hn::Mul(weight[k], q[k]));
                sums.den[k] = hn::Add(sums.den[k], weight[k]);
                if constexpr (which == Weights::NewToKeep)
                {
                    hn::StoreU(weight[k], d, kept + k * lanes);
                }
            }
            if constexpr (which == Weights::NewToKeep)
            {
                kept += keptStep;
            }
            else if constexpr (which == Weights::Kept)
            {
                kept -= keptStep - 1;
            }
        }
    }
}

vsrStatus bilateralFloat(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t N,
                         float sigmaSpace, float sigmaRange, float* dst, uint32_t dstStride)
{
    const size_t radius = N / 2;
    const float factor = rangeFactor(sigmaRange);
    DepthRows rows(WindowSource<float>(src, srcWidth, srcHeight, srcStride), radius);
    const KeptWeights kept(srcWidth, radius);
    const Scratch weightScratch((radius + 1) * N * sizeof(float));
    if (!rows.ready() || !kept.ready() || !weightScratch.data())
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
        std::array<WindowRow, kLargestWindow> windowRows;
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
            for (size_t i = 0; i <= above + below; ++i)
            {
                const size_t at = y - above + i;
                float* keptThere = nullptr;
                if (kept.used() && at != y)
                {
                    keptThere = at > y ? kept.row(y, at - y) : kept.row(at, y - at) - radius + (N - 1) * kept.step();
                }
                windowRows[i] = {rows.row(at) - radius, weights + (at < y ? y - at : at - y) * N, keptThere};
            }
            const WindowRow* const first = windowRows.data();
            const WindowRow* const last = first + above + below + 1;
            // The row itself has no use for weights of pixels yet to come.
            const WindowRow* const firstNew = kept.used() ? first + above : first;
            const WindowRow* const firstToKeep = kept.used() ? first + above + 1 : last;
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
                           addRows<Weights::Kept>(d, first, firstNew, N, kept.step(), x, factor, sums);
                           addRows<Weights::New>(d, firstNew, firstToKeep, N, kept.step(), x, factor, sums);
                           addRows<Weights::NewToKeep>(d, firstToKeep, last, N, kept.step(), x, factor, sums);
                           for (size_t k = 0; k < n; ++k)
                           {
                               const auto mean = resultWithOneNan(d, hn::Div(sums.num[k], sums.den[k]));
                               const auto missing = hn::Eq(sums.p[k], hn::Set(d, DepthRows::kMissing));
                               hn::StoreU(hn::IfThenZeroElse(missing, mean), d, out + x + k * hn::Lanes(d));
                           }
                       });
        }
    };
    const bool done = withFittingVector<float>(srcWidth,
                                               [&](auto d) HWY_ATTR
                                               {
                                                   if (srcWidth >= kTogether * hn::Lanes(d))
                                                   {
                                                       pass(d, std::integral_constant<size_t, kTogether>());
                                                   }
                                                   else
                                                   {
                                                       pass(d, std::integral_constant<size_t, 1>());
                                                   }
                                               });
    return done && !rows.ambiguous() ? vsrStatus{VISORA_SUCCESS}
                                     : vsrBilateralFilterNxNf32C(src, srcWidth, srcHeight, srcStride, N, sigmaSpace,
                                                                 sigmaRange, dst, dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrBilateralFilterNxNf32, bilateralFloat);

#endif
