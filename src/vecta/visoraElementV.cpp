// Operations on single elements, vector variants.
#include "visora/element.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/visoraElementV.cpp"
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

// The table as sixteen vectors of sixteen entries. For each of them, indices of its entries become 0 .. 15 and give the
// entry; all others give 0.
template <class D, class V>
HWY_INLINE V lookUp(D d, const uint8_t* table, V index)
{
#if HWY_ARCH_ARM_A64
    (void)d;
    const uint8x16_t low = vqtbl4q_u8(vld1q_u8_x4(table), index.raw);
    const uint8x16_t second = vqtbx4q_u8(low, vld1q_u8_x4(table + 64), veorq_u8(index.raw, vdupq_n_u8(64)));
    const uint8x16_t third = vqtbx4q_u8(second, vld1q_u8_x4(table + 128), veorq_u8(index.raw, vdupq_n_u8(128)));
    return V(vqtbx4q_u8(third, vld1q_u8_x4(table + 192), veorq_u8(index.raw, vdupq_n_u8(192))));
#else
    const V step = hn::Set(d, uint8_t{16});
    const V toHighBit = hn::Set(d, uint8_t{0x70});
    V result = hn::Zero(d);
    for (size_t part = 0; part < 256; part += 16)
    {
        // 0x70 .. 0x7F for this part's entries, the sign bit set for all others.
        const V local = hn::SaturatedAdd(index, toHighBit);
        const V found = hn::TableLookupBytesOr0(hn::LoadDup128(d, table + part), local);
        result = hn::Or(result, found);
        index = hn::Sub(index, step);
    }
    return result;
#endif
}

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
