// What filters by weights in bytes share: the table of weights, and the weighted mean. Included once per instruction
// set.
#if defined(VISORA_VECTA_FILTER_WEIGHTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_FILTER_WEIGHTS_INL_H
#undef VISORA_VECTA_FILTER_WEIGHTS_INL_H
#else
#define VISORA_VECTA_FILTER_WEIGHTS_INL_H
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "hwy/highway.h"
#include "vecta/filter/visoraFilterProducts-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Weights ----

/** A table of 256 bytes whose entries from `entries` (64, 128 or 256) on are 0. */
template <size_t entries>
class WeightTable
{
  public:
    HWY_INLINE explicit WeightTable(const std::array<uint8_t, 256>& table)
    {
#if HWY_ARCH_ARM_A64
        for (size_t i = 0; i < kParts; ++i)
        {
            parts_[i] = vld1q_u8_x4(&table[64 * i]);
        }
#else
        std::copy_n(table.begin(), entries, table_.begin());
        // Each sixteenth less the one before it: lookups in all of them up to the right one then add up to it. The
        // sixteenths from 128 on begin anew.
        for (size_t i = 0; i < kSteps; ++i)
        {
            steps_[i] = i % 128 < 16 ? table[i] : table[i] ^ table[i - 16];
        }
#endif
    }

    template <class D, class V>
    HWY_INLINE V operator()([[maybe_unused]] D d, V index) const
    {
#if HWY_ARCH_ARM_A64
        // An index beyond the 64 entries of a lookup leaves what the lookups before it found.
        static_assert(hn::MaxLanes(D()) == 16);
        uint8x16_t found = vqtbl4q_u8(parts_[0], index.raw);
        for (size_t i = 1; i < kParts; ++i)
        {
            found = vqtbx4q_u8(found, parts_[i], vsubq_u8(index.raw, vdupq_n_u8(static_cast<uint8_t>(64 * i))));
        }
        return V(found);
#else
#if HWY_TARGET <= HWY_AVX3_DL
        if constexpr (sizeof(index.raw) == 64)
        {
            return V{lookUpWide(index.raw)};
        }
#endif
        auto found = sumOfSteps(d, index, steps_.data());
        if constexpr (entries == 256)
        {
            found = hn::Xor(found, sumOfSteps(d, hn::Xor(index, hn::Set(d, uint8_t{128})), steps_.data() + 128));
        }
        return found;
#endif
    }

  private:
#if HWY_ARCH_ARM_A64
    static constexpr size_t kParts = entries / 64;
    uint8x16x4_t parts_[kParts];
#else
    // With those of the zeros behind 64 entries.
    static constexpr size_t kSteps = entries == 64 ? 80 : entries;

    // An index below 128 becomes negative once the sixteenths are beyond it; lookups give 0 for negative ones.
    template <class D, class V>
    static HWY_INLINE V sumOfSteps(D d, V index, const uint8_t* steps)
    {
        const hn::RebindToSigned<D> ds;
        const auto lookUp = [&](auto at, const uint8_t* part) HWY_ATTR
        {
#if !HWY_ARCH_X86
            at = hn::And(at, hn::Set(ds, static_cast<int8_t>(0x8F)));
#endif
            return hn::TableLookupBytesOr0(hn::LoadDup128(d, part), hn::BitCast(d, at));
        };
        auto at = hn::BitCast(ds, index);
        V found = lookUp(at, steps);
        for (size_t part = 16; part < std::min<size_t>(kSteps, 128); part += 16)
        {
            at = hn::SaturatedSub(at, hn::Set(ds, int8_t{16}));
            found = hn::Xor(found, lookUp(at, steps + part));
        }
        return found;
    }

#if HWY_TARGET <= HWY_AVX3_DL
    HWY_INLINE __m512i lookUpWide(__m512i index) const
    {
        const auto part = [&](size_t i) HWY_ATTR { return _mm512_load_si512(table_.data() + 64 * i); };
        if constexpr (entries == 64)
        {
            const __mmask64 inside = _mm512_cmplt_epu8_mask(index, _mm512_set1_epi8(64));
            return _mm512_maskz_permutexvar_epi8(inside, index, part(0));
        }
        else
        {
            const __mmask64 beyond = _mm512_movepi8_mask(index);
            if constexpr (entries == 128)
            {
                return _mm512_maskz_permutex2var_epi8(_knot_mask64(beyond), part(0), index, part(1));
            }
            else
            {
                return _mm512_mask_blend_epi8(beyond, _mm512_permutex2var_epi8(part(0), index, part(1)),
                                              _mm512_permutex2var_epi8(part(2), index, part(3)));
            }
        }
    }
#endif

    alignas(64) std::array<uint8_t, entries> table_;
    alignas(64) std::array<uint8_t, kSteps> steps_;
#endif
};

// ---- The columns of a vector of bytes as two vectors of s16 ----

/** In the order that costs least: the two halves of each 128 bits, or of the vector. */
template <class V16>
struct Columns
{
    V16 first;
    V16 second;
};

/** The columns of a vector of bytes. */
template <class D16, class V8>
HWY_INLINE Columns<hn::Vec<D16>> columnsOf(D16 d16, V8 bytes)
{
    const hn::Repartition<uint8_t, D16> d8;
#if HWY_ARCH_X86
    const auto zero = hn::Zero(d8);
    return {hn::BitCast(d16, hn::InterleaveLower(d8, bytes, zero)),
            hn::BitCast(d16, hn::InterleaveUpper(d8, bytes, zero))};
#else
    const hn::Half<decltype(d8)> half;
    return {hn::PromoteTo(d16, hn::LowerHalf(half, bytes)), hn::PromoteTo(d16, hn::UpperHalf(half, bytes))};
#endif
}

/** Bytes of columns that hold nothing else. */
template <class D16>
HWY_INLINE hn::Vec<hn::Repartition<uint8_t, D16>> bytesOf(D16 /*d16*/, const Columns<hn::Vec<D16>>& columns)
{
    using D8 = hn::Repartition<uint8_t, D16>;
#if HWY_ARCH_X86
    using V8 = hn::Vec<D8>;
    if constexpr (sizeof(V8) == 16)
    {
        return V8{_mm_packus_epi16(columns.first.raw, columns.second.raw)};
    }
#if HWY_TARGET <= HWY_AVX2
    else if constexpr (sizeof(V8) == 32)
    {
        return V8{_mm256_packus_epi16(columns.first.raw, columns.second.raw)};
    }
#endif
#if HWY_TARGET <= HWY_AVX3
    else
    {
        return V8{_mm512_packus_epi16(columns.first.raw, columns.second.raw)};
    }
#endif
#else
    return narrowInOrder(D8(), columns.first, columns.second);
#endif
}

/** |a - b| of bytes. */
template <class D8, class V8>
HWY_INLINE V8 distanceOf(D8 /*d8*/, V8 a, V8 b)
{
#if HWY_ARCH_ARM_A64
    if constexpr (hn::MaxLanes(D8()) == 16)
    {
        return V8(vabdq_u8(a.raw, b.raw));
    }
#endif
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}

// ---- Weighted means ----

/**
 * num / den, rounded half up, for quotients of at most 255 and den up to 2^28. Twice num need not fit: differences are
 * small enough.
 */
template <class D, class V>
HWY_INLINE V roundedQuotient(D d, V num, V den)
{
    const hn::RebindToFloat<D> df;
    // At most one beside the right one.
    const auto quotient = hn::NearestInt(hn::Div(hn::ConvertTo(df, num), hn::ConvertTo(df, den)));
    const auto rest = hn::Sub(num, hn::Mul(den, quotient));
    const auto twice = hn::Add(rest, rest);
    const auto tooLarge = hn::VecFromMask(d, hn::Lt(twice, hn::Sub(hn::Zero(d), den)));
    const auto tooSmall = hn::VecFromMask(d, hn::Gt(twice, hn::Sub(den, hn::Set(d, 1))));
    return hn::Sub(hn::Add(quotient, tooLarge), tooSmall);
}

/** Weights and what they multiply, added up over a vector's columns: for each half of them. */
template <class D32>
struct MeanSums
{
    using Sums = WideSums<hn::Vec<D32>>;

    HWY_INLINE MeanSums(D32 d, int32_t weight)
        : num{{hn::Zero(d), hn::Zero(d)}, {hn::Zero(d), hn::Zero(d)}},
          den{{hn::Set(d, weight), hn::Set(d, weight)}, {hn::Set(d, weight), hn::Set(d, weight)}}
    {
    }

    Sums num[2];
    Sums den[2];
};

/** num / den of the sums' columns, rounded half up. */
template <class D16, class D32>
HWY_INLINE Columns<hn::Vec<D16>> meansOf(D16 d16, D32 d32, const MeanSums<D32>& sums)
{
    const auto half = [&](size_t i) HWY_ATTR
    {
        const WideSums<hn::Vec<D32>> quotients = {roundedQuotient(d32, sums.num[i].first, sums.den[i].first),
                                                  roundedQuotient(d32, sums.num[i].second, sums.den[i].second)};
        return limitedDown(d16, d32, quotients);
    };
    return {half(0), half(1)};
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
