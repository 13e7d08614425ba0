// Operations on single elements, vector variants.
#include "visora/variants/arithmetic.h"

// With its byte permutations AVX-512 looks a table up in two steps.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraDrivers-inl.h"
#include "vecta/visoraVariant-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

VSR_VARIANT(vsrBitwiseNotu8, unary, [](auto /*d*/, auto a) HWY_ATTR { return hn::Not(a); });

#if HWY_ARCH_ARM_A64
// The table stays in sixteen registers.
class TableOfBytes
{
  public:
    HWY_INLINE explicit TableOfBytes(const uint8_t* table)
        : first_(vld1q_u8_x4(table)),
          second_(vld1q_u8_x4(table + 64)),
          third_(vld1q_u8_x4(table + 128)),
          fourth_(vld1q_u8_x4(table + 192))
    {
    }

    template <class D, class V>
    HWY_INLINE V operator()(D /*d*/, V index) const
    {
        // An index beyond the 64 entries of a lookup leaves what the lookups before it found.
        uint8x16_t found = vqtbl4q_u8(first_, index.raw);
        found = vqtbx4q_u8(found, second_, veorq_u8(index.raw, vdupq_n_u8(64)));
        found = vqtbx4q_u8(found, third_, veorq_u8(index.raw, vdupq_n_u8(128)));
        return V(vqtbx4q_u8(found, fourth_, veorq_u8(index.raw, vdupq_n_u8(192))));
    }

  private:
    uint8x16x4_t first_;
    uint8x16x4_t second_;
    uint8x16x4_t third_;
    uint8x16x4_t fourth_;
};
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

class TableOfBytes
{
  public:
    explicit TableOfBytes(const uint8_t* table) : table_(table) {}

    template <class D, class V>
    HWY_INLINE V operator()(D d, V index) const
    {
#if HWY_TARGET <= HWY_AVX3_DL
        // Two lookups of 128 entries each.
        if constexpr (sizeof(index.raw) == 64)
        {
            const __m512i low =
                _mm512_permutex2var_epi8(_mm512_loadu_si512(table_), index.raw, _mm512_loadu_si512(table_ + 64));
            const __m512i high =
                _mm512_permutex2var_epi8(_mm512_loadu_si512(table_ + 128), index.raw, _mm512_loadu_si512(table_ + 192));
            return V{_mm512_mask_blend_epi8(_mm512_movepi8_mask(index.raw), low, high)};
        }
#endif
        const hn::Repartition<uint16_t, D> d16;
        const auto wide = hn::BitCast(d16, index);
        // Bits that cross into a neighbouring byte stay below its sign.
        const V bits[4] = {hn::BitCast(d, hn::ShiftLeft<3>(wide)), hn::BitCast(d, hn::ShiftLeft<2>(wide)),
                           hn::BitCast(d, hn::ShiftLeft<1>(wide)), index};
        return lookUpPart<16>(d, table_, hn::And(index, hn::Set(d, uint8_t{15})), bits);
    }

  private:
    const uint8_t* table_;
};
#endif

HWY_INLINE vsrStatus tableLookup(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    return unary(TableOfBytes(table), src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

VSR_VARIANT(vsrTableLookupu8, tableLookup);

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();
