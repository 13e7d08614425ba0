// Guided filter, vector variant. Sums of windows are differences of sums along rows of running sums of columns, so that
// the cost does not depend on the radius. All numbers are integers that doubles hold exactly.
#include "visora/variants/filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/filter/visoraFilterGuidedV.cpp"
#include <algorithm>
#include <array>

#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/filter/visoraFilterSums-inl.h"
#include "vecta/filter/visoraFilterWindow-inl.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

#ifndef VISORA_VECTA_GUIDED_ONCE
#define VISORA_VECTA_GUIDED_ONCE

namespace visora
{

/** Working memory for images of one width. */
class GuidedRows
{
  public:
    static constexpr size_t kSlack = 64;

    GuidedRows(size_t width, size_t height, size_t windowRadius)
        : radius(windowRadius),
          rows(std::min(2 * radius + 2, height)),
          step((width + kSlack) / 16 * 16),
          prefixStep((width + 2 * radius + kSlack) / 16 * 16),
          scratch_(step * (sizeof(double) + sizeof(int64_t) + 5 * sizeof(uint32_t)) +
                   prefixStep * (2 * sizeof(int64_t) + 4 * sizeof(uint32_t)) + rows * step * 2 * sizeof(int32_t))
    {
        if (!scratch_.data())
        {
            return;
        }
        uint8_t* at = scratch_.data();
        const auto next = [&]<class T>(T*& pointer, size_t count)
        {
            pointer = reinterpret_cast<T*>(at);
            std::fill_n(pointer, count, T{0});
            at += count * sizeof(T);
        };
        next(widths, step);
        next(columnsOfB, step);
        next(beforeA, prefixStep);
        next(beforeB, prefixStep);
        for (size_t i = 0; i < 4; ++i)
        {
            next(columns[i], step);
            next(before[i], prefixStep);
        }
        next(columnsOfA, step);
        next(slopes, rows * step);
        next(offsets, rows * step);
        for (size_t x = 0; x < width; ++x)
        {
            widths[x] = static_cast<double>(std::min(x + radius, width - 1) - (x - std::min(x, radius)) + 1);
        }
    }

    bool ready() const { return scratch_.data() != nullptr; }

    int32_t* slopesOf(size_t y) const { return slopes + y % rows * step; }
    int32_t* offsetsOf(size_t y) const { return offsets + y % rows * step; }

    const size_t radius;
    const size_t rows;
    const size_t step;
    const size_t prefixStep;
    double* widths = nullptr;  // of the windows
    int64_t* columnsOfB = nullptr;
    int64_t* beforeA = nullptr;
    int64_t* beforeB = nullptr;
    std::array<uint32_t*, 4> columns = {};  // of I, p, I p and I I
    std::array<uint32_t*, 4> before = {};   // sums of all columns further left, modulo 2^32, from -radius on
    int32_t* columnsOfA = nullptr;
    int32_t* slopes = nullptr;   // A of the last rows
    int32_t* offsets = nullptr;  // B

  private:
    const Scratch scratch_;
};

}  // namespace visora

#endif

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// sums + elements, or - elements; compilers have no trouble with these loops.
template <bool kAdd, class Sum, class T>
HWY_INLINE void changeColumns(Sum* HWY_RESTRICT sums, const T* HWY_RESTRICT elements, size_t count)
{
    for (size_t x = 0; x < count; ++x)
    {
        const auto element = static_cast<Sum>(elements[x]);
        sums[x] = kAdd ? sums[x] + element : sums[x] - element;
    }
}

template <bool kAdd>
HWY_INLINE void changeProducts(uint32_t* HWY_RESTRICT sums, const uint8_t* HWY_RESTRICT a,
                               const uint8_t* HWY_RESTRICT b, size_t count)
{
    for (size_t x = 0; x < count; ++x)
    {
        const uint32_t product = uint32_t{a[x]} * b[x];
        sums[x] = kAdd ? sums[x] + product : sums[x] - product;
    }
}

// before[radius + x] = sum of in[0 .. x - 1]; further out the sum of nothing, or of all.
template <class T>
HWY_INLINE void sumAllBefore(const T* in, size_t count, size_t radius, int64_t* before)
{
    int64_t sum = 0;
    int64_t* to = before + radius;
    for (size_t x = 0; x < count; ++x)
    {
        to[x] = sum;
        sum += in[x];
    }
    std::fill_n(to + count, radius + 1, sum);
}

template <class D>
HWY_INLINE hn::Vec<D> doublesOf(D d, hn::Vec<hn::Rebind<uint32_t, D>> v)
{
    // Behind the bits of 2^52 they are its fraction.
    const hn::RebindToUnsigned<D> d64;
    const auto exponent = hn::Set(d64, uint64_t{0x4330000000000000});
    return hn::Sub(hn::BitCast(d, hn::Or(hn::PromoteTo(d64, v), exponent)), hn::Set(d, 0x1p52));
}

// Of integers within 2^51.
template <class D>
HWY_INLINE hn::Vec<D> doublesOf(D d, hn::Vec<hn::RebindToSigned<D>> v)
{
    const hn::RebindToSigned<D> d64;
    const auto bits = hn::Add(v, hn::Set(d64, int64_t{0x4338000000000000}));
    return hn::Sub(hn::BitCast(d, bits), hn::Set(d, 0x1.8p52));
}

// A and B of a row of windows that are `rowCount` rows high.
template <class D>
HWY_INLINE void coefficients(D d, const GuidedRows& work, size_t width, double rowCount, double eps, int32_t* slopes,
                             int32_t* offsets)
{
    const hn::Rebind<uint32_t, D> d32;
    const hn::Rebind<int32_t, D> dSigned;
    const auto height = hn::Set(d, rowCount);
    const size_t windowWidth = 2 * work.radius + 1;
    coverRange(0, width, hn::Lanes(d),
               [&](size_t x) HWY_ATTR
               {
                   const auto sumOf = [&](size_t i) HWY_ATTR
                   {
                       const uint32_t* before = work.before[i] + x;
                       return doublesOf(d, hn::Sub(hn::LoadU(d32, before + windowWidth), hn::LoadU(d32, before)));
                   };
                   const auto n = hn::Mul(hn::LoadU(d, work.widths + x), height);
                   const auto sumI = sumOf(0);
                   const auto sumP = sumOf(1);
                   const auto num = hn::Sub(hn::Mul(n, sumOf(2)), hn::Mul(sumI, sumP));
                   const auto var = hn::Sub(hn::Mul(n, sumOf(3)), hn::Mul(sumI, sumI));
                   const auto slope = hn::Div(num, hn::Add(var, hn::Mul(hn::Mul(n, n), hn::Set(d, eps))));
                   const auto A = hn::Floor(hn::Add(hn::Mul(slope, hn::Set(d, 4096.0)), hn::Set(d, 0.5)));
                   const auto twice =
                       hn::Mul(hn::Sub(hn::Mul(hn::Set(d, 4096.0), sumP), hn::Mul(A, sumI)), hn::Set(d, 2.0));
                   const auto B = hn::Floor(hn::Div(hn::Add(twice, n), hn::Add(n, n)));
                   hn::StoreU(hn::DemoteTo(dSigned, A), dSigned, slopes + x);
                   hn::StoreU(hn::DemoteTo(dSigned, B), dSigned, offsets + x);
               });
}

// A row of results.
template <class D>
HWY_INLINE void applyLines(D d, const GuidedRows& work, const uint8_t* guide, size_t width, double rowCount,
                           uint8_t* out)
{
    const hn::Rebind<uint8_t, D> d8;
    const hn::Rebind<int32_t, D> d32;
    const hn::RebindToSigned<D> d64;
    const auto height = hn::Set(d, rowCount);
    const size_t windowWidth = 2 * work.radius + 1;
    coverRange(
        0, width, hn::Lanes(d),
        [&](size_t x) HWY_ATTR
        {
            const auto sumOf = [&](const int64_t* before) HWY_ATTR
            { return doublesOf(d, hn::Sub(hn::LoadU(d64, before + x + windowWidth), hn::LoadU(d64, before + x))); };
            const auto m = hn::Mul(hn::LoadU(d, work.widths + x), height);
            const auto I = hn::PromoteTo(d, hn::PromoteTo(d32, hn::LoadU(d8, guide + x)));
            const auto sum =
                hn::Add(hn::Add(hn::Mul(sumOf(work.beforeA), I), sumOf(work.beforeB)), hn::Mul(m, hn::Set(d, 2048.0)));
            const auto mean = hn::Div(sum, hn::Mul(m, hn::Set(d, 4096.0)));
            // Cut to an integer once it is not negative.
            const auto limited = hn::Min(hn::Max(mean, hn::Zero(d)), hn::Set(d, 255.0));
            hn::StoreU(hn::DemoteTo(d8, hn::DemoteTo(d32, limited)), d8, out + x);
        });
}

vsrStatus guided(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* guide,
                 uint32_t guideStride, uint32_t radius, float eps, uint8_t* dst, uint32_t dstStride)
{
    const size_t width = srcWidth;
    const size_t height = srcHeight;
    const hn::CappedTag<double, 8> d;
    if (width < hn::Lanes(d))
    {
        return vsrGuidedFilteru8C(src, srcWidth, srcHeight, srcStride, guide, guideStride, radius, eps, dst, dstStride);
    }
    const GuidedRows work(width, height, radius);
    if (!work.ready())
    {
        return VISORA_ENOMEM;
    }
    const auto change = [&](auto isAdded, size_t y) HWY_ATTR
    {
        constexpr bool kAdd = decltype(isAdded)::value;
        const uint8_t* I = guide + y * guideStride;
        const uint8_t* p = src + y * srcStride;
        changeColumns<kAdd>(work.columns[0], I, width);
        changeColumns<kAdd>(work.columns[1], p, width);
        changeProducts<kAdd>(work.columns[2], I, p, width);
        changeProducts<kAdd>(work.columns[3], I, I, width);
    };
    const auto changeLines = [&](auto isAdded, size_t y) HWY_ATTR
    {
        constexpr bool kAdd = decltype(isAdded)::value;
        changeColumns<kAdd>(work.columnsOfA, work.slopesOf(y), width);
        changeColumns<kAdd>(work.columnsOfB, work.offsetsOf(y), width);
    };
    // Rows of the window of row y.
    const auto rowCount = [&](size_t y)
    { return static_cast<double>(std::min(y + radius, height - 1) - (y - std::min<size_t>(y, radius)) + 1); };
    size_t entered = 0;
    for (size_t y = 0; y < height + radius; ++y)
    {
        if (y < height)
        {
            for (; entered <= std::min(y + radius, height - 1); ++entered)
            {
                change(std::true_type(), entered);
            }
            if (y > radius)
            {
                change(std::false_type(), y - radius - 1);
            }
            for (size_t i = 0; i < 4; ++i)
            {
                uint32_t* before = work.before[i] + radius;
                sumBefore(work.columns[i], width, before);
                std::fill_n(before + width, radius + 1, before[width]);
            }
            coefficients(d, work, width, rowCount(y), double{eps}, work.slopesOf(y), work.offsetsOf(y));
            changeLines(std::true_type(), y);
        }
        if (y >= radius)
        {
            const size_t row = y - radius;
            if (row > radius)
            {
                changeLines(std::false_type(), row - radius - 1);
            }
            sumAllBefore(work.columnsOfA, width, radius, work.beforeA);
            sumAllBefore(work.columnsOfB, width, radius, work.beforeB);
            applyLines(d, work, guide + row * guideStride, width, rowCount(row), dst + row * dstStride);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrGuidedFilteru8, guided);

#endif
