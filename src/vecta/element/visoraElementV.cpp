// Operations on single elements, vector variants.
#include <algorithm>

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

// In place is allowed: what the last vector shares with the one before it is read before it is written.
template <class D, class Map>
HWY_INLINE void mapRow(D d, const uint8_t* src, size_t width, uint8_t* dst, const Map& map)
{
    const size_t lanes = hn::Lanes(d);
    // Pointers that move leave less to do per step than an index.
    size_t left = width;
    for (; left >= 5 * lanes; left -= 4 * lanes, src += 4 * lanes, dst += 4 * lanes)
    {
        const auto first = map(d, hn::LoadU(d, src));
        const auto second = map(d, hn::LoadU(d, src + lanes));
        const auto third = map(d, hn::LoadU(d, src + 2 * lanes));
        const auto fourth = map(d, hn::LoadU(d, src + 3 * lanes));
        hn::StoreU(first, d, dst);
        hn::StoreU(second, d, dst + lanes);
        hn::StoreU(third, d, dst + 2 * lanes);
        hn::StoreU(fourth, d, dst + 3 * lanes);
    }
    const auto last = map(d, hn::LoadU(d, src + left - lanes));
    uint8_t* const lastOut = dst + left - lanes;
    for (; left > lanes; left -= lanes, src += lanes, dst += lanes)
    {
        hn::StoreU(map(d, hn::LoadU(d, src)), d, dst);
    }
    hn::StoreU(last, d, lastOut);
}

// Maps every element of an image: map(d, v) those of a vector, map(byte) a single one.
template <class Map>
HWY_INLINE void mapImage(const uint8_t* src, size_t width, size_t height, size_t srcStride, uint8_t* dst,
                         size_t dstStride, const Map& map)
{
    const bool isWide =
        withFittingVector<uint8_t>(width,
                                   [&](auto d) HWY_ATTR
                                   {
                                       for (size_t y = 0; y < height; ++y)
                                       {
                                           mapRow(d, src + y * srcStride, width, dst + y * dstStride, map);
                                       }
                                   });
    for (size_t y = isWide ? height : 0; y < height; ++y)
    {
        std::transform(src + y * srcStride, src + y * srcStride + width, dst + y * dstStride,
                       [&](uint8_t v) { return map(v); });
    }
}

struct Complement
{
    template <class D, class V>
    HWY_INLINE V operator()(D /*d*/, V v) const
    {
        return hn::Not(v);
    }
    uint8_t operator()(uint8_t v) const { return static_cast<uint8_t>(~v); }
};

vsrStatus bitwiseNot(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride)
{
    mapImage(src, srcWidth, srcHeight, srcStride, dst, dstStride, Complement());
    return VISORA_SUCCESS;
}

#if HWY_ARCH_ARM_A64
// The table stays in sixteen registers.
class TableOfBytes
{
  public:
    HWY_INLINE explicit TableOfBytes(const uint8_t* table)
        : table_(table),
          first_(vld1q_u8_x4(table)),
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
    uint8_t operator()(uint8_t index) const { return table_[index]; }

  private:
    const uint8_t* table_;
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
    uint8_t operator()(uint8_t index) const
    {
        return table_[index];
    }

  private:
    const uint8_t* table_;
};
#endif

vsrStatus tableLookup(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    mapImage(src, srcWidth, srcHeight, srcStride, dst, dstStride, TableOfBytes(table));
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
