// Operations on single elements, vector variants.
#include "visora/variants/arithmetic.h"

// With its byte permutations AVX-512 looks a table up in two steps.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// In place is allowed, so no element may be read again once it is written: each row ends with single elements or a
// smaller vector, never with one that overlaps.
template <class VectorBody, class ScalarBody>
HWY_INLINE void mapRow(const uint8_t* src, size_t width, uint8_t* dst, VectorBody vectorBody, ScalarBody scalarBody)
{
    const hn::ScalableTag<uint8_t> wide;
    const hn::CappedTag<uint8_t, 16> narrow;
    const size_t wideLanes = hn::Lanes(wide);
    const size_t narrowLanes = hn::Lanes(narrow);
    size_t x = 0;
    for (; x + wideLanes <= width; x += wideLanes)
    {
        hn::StoreU(vectorBody(wide, hn::LoadU(wide, src + x)), wide, dst + x);
    }
    for (; x + narrowLanes <= width; x += narrowLanes)
    {
        hn::StoreU(vectorBody(narrow, hn::LoadU(narrow, src + x)), narrow, dst + x);
    }
    for (; x < width; ++x)
    {
        dst[x] = scalarBody(src[x]);
    }
}

vsrStatus bitwiseNot(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y, src += srcStride, dst += dstStride)
    {
        mapRow(
            src, srcWidth, dst, [](auto /*d*/, auto v) HWY_ATTR { return hn::Not(v); },
            [](uint8_t v) { return static_cast<uint8_t>(~v); });
    }
    return VISORA_SUCCESS;
}

#if HWY_ARCH_ARM_A64
template <class D, class V>
HWY_INLINE V lookUp(D /*d*/, const uint8_t* table, V index)
{
    // An index beyond the 64 entries of a lookup leaves what the lookups before it found.
    const uint8x16_t low = vqtbl4q_u8(vld1q_u8_x4(table), index.raw);
    const uint8x16_t second = vqtbx4q_u8(low, vld1q_u8_x4(table + 64), veorq_u8(index.raw, vdupq_n_u8(64)));
    const uint8x16_t third = vqtbx4q_u8(second, vld1q_u8_x4(table + 128), veorq_u8(index.raw, vdupq_n_u8(128)));
    return V(vqtbx4q_u8(third, vld1q_u8_x4(table + 192), veorq_u8(index.raw, vdupq_n_u8(192))));
}
#else
// Entry (index mod 16) of each of the `parts` sixteenths of the table from `part` on, chosen among by the sign bits:
// of bits[0] between two, of bits[1] between pairs of two, and so on.
template <size_t parts, class D, class V>
HWY_INLINE V lookUpPart(D d, const uint8_t* part, V entry, const V bits[4])
{
    if constexpr (parts == 1)
    {
        return hn::TableLookupBytes(hn::LoadDup128(d, part), entry);
    }
    else
    {
        const V low = lookUpPart<parts / 2>(d, part, entry, bits);
        const V high = lookUpPart<parts / 2>(d, part + parts / 2 * 16, entry, bits);
        const V bit = bits[parts == 2 ? 0 : parts == 4 ? 1 : parts == 8 ? 2 : 3];
        const hn::RebindToSigned<D> ds;
        return hn::BitCast(d,
                           hn::IfNegativeThenElse(hn::BitCast(ds, bit), hn::BitCast(ds, high), hn::BitCast(ds, low)));
    }
}

template <class D, class V>
HWY_INLINE V lookUp(D d, const uint8_t* table, V index)
{
#if HWY_TARGET <= HWY_AVX3_DL
    // Two lookups of 128 entries each.
    if constexpr (sizeof(index.raw) == 64)
    {
        const __m512i low =
            _mm512_permutex2var_epi8(_mm512_loadu_si512(table), index.raw, _mm512_loadu_si512(table + 64));
        const __m512i high =
            _mm512_permutex2var_epi8(_mm512_loadu_si512(table + 128), index.raw, _mm512_loadu_si512(table + 192));
        return V{_mm512_mask_blend_epi8(_mm512_movepi8_mask(index.raw), low, high)};
    }
#endif
    const hn::Repartition<uint16_t, D> d16;
    const auto wide = hn::BitCast(d16, index);
    // Bits that cross into a neighbouring byte stay below its sign.
    const V bits[4] = {hn::BitCast(d, hn::ShiftLeft<3>(wide)), hn::BitCast(d, hn::ShiftLeft<2>(wide)),
                       hn::BitCast(d, hn::ShiftLeft<1>(wide)), index};
    return lookUpPart<16>(d, table, hn::And(index, hn::Set(d, uint8_t{15})), bits);
}
#endif

vsrStatus tableLookup(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    for (uint32_t y = 0; y < srcHeight; ++y, src += srcStride, dst += dstStride)
    {
        mapRow(
            src, srcWidth, dst, [table](auto d, auto v) HWY_ATTR { return lookUp(d, table, v); },
            [table](uint8_t v) { return table[v]; });
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(bitwiseNot);
HWY_EXPORT(tableLookup);
}  // namespace visora

vsrStatus vsrBitwiseNotu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(bitwiseNot)(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrTableLookupu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    using namespace visora;
    return HWY_DYNAMIC_DISPATCH(tableLookup)(src, srcWidth, srcHeight, srcStride, table, dst, dstStride);
}

#endif
