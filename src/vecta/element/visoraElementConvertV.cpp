// Operations between elements of different sizes, vector variants. A step takes a vector of bytes.
#include <cmath>

#include "visora/variants/arithmetic.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/element/visoraElementConvertV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/element/visoraElement-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{
namespace
{

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<uint16_t>;
using DS16 = hn::ScalableTag<int16_t>;
using DS32 = hn::ScalableTag<int32_t>;
using DF = hn::ScalableTag<float>;

struct ByteStep
{
    static constexpr size_t kLanes = hn::MaxLanes(D8());
    static constexpr size_t kUnroll = 1;
};
using Once = std::index_sequence<0>;

// ---- Bytes to floats ----

struct ToFloatStep : ByteStep
{
    float scale;  // of bytes in their unit
    float offset;

    HWY_INLINE void operator()(Once /*step*/, float* dst, const uint8_t* src) const
    {
        const DF d;
        bytesToFloats(src,
                      [&](auto k, auto v) HWY_ATTR
                      {
                          const auto scaled = hn::Mul(hn::Set(d, scale), v);
                          hn::StoreU(resultWithOneNan(d, hn::Add(scaled, hn::Set(d, offset))), d,
                                     dst + k * hn::MaxLanes(d));
                      });
    }
};

struct AccumulateStep : ByteStep
{
    static constexpr size_t kUnroll = HWY_ARCH_ARM ? 2 : 1;

    float alpha;  // of bytes in their unit
    float beta;

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, float* dst, const uint8_t* src) const
    {
        (blend(dst + i * kLanes, src + i * kLanes), ...);
    }

    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, float* dst, const uint8_t* src,
                               const uint8_t* mask) const
    {
        (blendMasked(dst + i * kLanes, src + i * kLanes, mask + i * kLanes), ...);
    }

  private:
    HWY_INLINE void blend(float* dst, const uint8_t* src) const
    {
        const DF d;
        hn::Vec<DF> results[4];
        bytesToFloats(src, [&](auto k, auto v) HWY_ATTR { results[k] = blended(v, dst + k * hn::MaxLanes(d)); });
        for (size_t k = 0; k < 4; ++k)
        {
            hn::StoreU(results[k], d, dst + k * hn::MaxLanes(d));
        }
    }

    HWY_INLINE void blendMasked(float* dst, const uint8_t* src, const uint8_t* mask) const
    {
        const DF d;
        const DS32 d32;
        const hn::Rebind<uint8_t, DF> bytes;
        bytesToFloats(src,
                      [&](auto k, auto v) HWY_ATTR
                      {
                          float* const to = dst + k * hn::MaxLanes(d);
                          const auto m = hn::PromoteTo(d32, hn::LoadU(bytes, mask + k * hn::MaxLanes(d)));
                          const auto isOut = hn::RebindMask(d, hn::Eq(m, hn::Zero(d32)));
                          hn::StoreU(hn::IfThenElse(isOut, hn::LoadU(d, to), blended(v, to)), d, to);
                      });
    }

    HWY_INLINE hn::Vec<DF> blended(hn::Vec<DF> v, const float* old) const
    {
        const DF d;
        return resultWithOneNan(d,
                                hn::Add(hn::Mul(hn::Set(d, beta), hn::LoadU(d, old)), hn::Mul(hn::Set(d, alpha), v)));
    }
};

// ---- Floats to bytes ----

struct ToByteStep : ByteStep
{
    float scale;
    float offset;

    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const float* src) const
    {
        hn::StoreU(narrowToBytes(at(src, 0), at(src, 1), at(src, 2), at(src, 3)), D8(), dst);
    }

  private:
    HWY_INLINE hn::Vec<DS32> at(const float* src, size_t k) const
    {
        const DF d;
        const auto scaled = hn::Mul(hn::Set(d, scale), hn::LoadU(d, src + k * hn::MaxLanes(d)));
        return byteOf(d, hn::Add(scaled, hn::Set(d, offset)));
    }
};

struct DivideStep : ByteStep
{
    float scale;

    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const uint8_t* src1, const uint8_t* src2) const
    {
        const DF d;
        const D8 d8;
        hn::Vec<DF> a[4];
        // Of two numbers in one unit: products below the floats' range are far below a half, those above it above 255.
        bytesToFloats(src1, [&](auto k, auto v) HWY_ATTR { a[k] = hn::Mul(hn::Set(d, scale), v); });
        hn::Vec<DS32> quotients[4];
        bytesToFloats(src2, [&](auto k, auto v) HWY_ATTR { quotients[k] = byteOf(d, hn::Div(a[k], v)); });
        const auto isZero = hn::Eq(hn::LoadU(d8, src2), hn::Zero(d8));
        hn::StoreU(hn::IfThenZeroElse(isZero, narrowToBytes(quotients[0], quotients[1], quotients[2], quotients[3])),
                   d8, dst);
    }
};

// ---- Bytes and 16 bits ----

struct AddWideStep : ByteStep
{
    HWY_INLINE void operator()(Once /*step*/, uint16_t* dst, const uint8_t* src1, const uint16_t* src2) const
    {
        const D16 d;
        widenBytes(d, src1,
                   [&](auto k, auto v) HWY_ATTR
                   {
                       const size_t x = k * hn::MaxLanes(d);
                       hn::StoreU(hn::SaturatedAdd(v, hn::LoadU(d, src2 + x)), d, dst + x);
                   });
    }
};

struct MultiplyWideStep : ByteStep
{
    HWY_INLINE void operator()(Once /*step*/, uint16_t* dst, const uint8_t* src1, const uint8_t* src2) const
    {
#if HWY_ARCH_ARM_A64
        const uint8x16_t a = vld1q_u8(src1);
        const uint8x16_t b = vld1q_u8(src2);
        vst1q_u16(dst, vmull_u8(vget_low_u8(a), vget_low_u8(b)));
        vst1q_u16(dst + 8, vmull_high_u8(a, b));
#else
        const D16 d;
        const hn::Rebind<uint8_t, D16> bytes;
        widenBytes(d, src1,
                   [&](auto k, auto v) HWY_ATTR
                   {
                       const size_t x = k * hn::MaxLanes(d);
                       hn::StoreU(hn::Mul(v, hn::PromoteTo(d, hn::LoadU(bytes, src2 + x))), d, dst + x);
                   });
#endif
    }
};

struct NarrowStep : ByteStep
{
    int shift;
    bool saturates;

    HWY_INLINE void operator()(Once /*step*/, uint8_t* dst, const int16_t* src) const
    {
        const DS16 d;
        const D8 d8;
        const auto low = shifted(d, hn::LoadU(d, src), -shift);
        const auto high = shifted(d, hn::LoadU(d, src + hn::MaxLanes(d)), -shift);
        hn::StoreU(saturates ? narrowLimited(low, high)
                             : narrowInOrder(d8, hn::And(low, hn::Set(d, int16_t{255})),
                                             hn::And(high, hn::Set(d, int16_t{255}))),
                   d8, dst);
    }

  private:
    static HWY_INLINE hn::Vec<D8> narrowLimited(hn::Vec<DS16> low, hn::Vec<DS16> high)
    {
#if HWY_ARCH_ARM_A64
        return hn::Vec<D8>(vqmovun_high_s16(vqmovun_s16(low.raw), high.raw));
#else
        return narrowInOrder(D8(), low, high);
#endif
    }
};

}  // namespace

bool convertU8F32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float scale,
                  float offset, float* dst, uint32_t dstStride)
{
    const float perUnit = scale / kByteUnit;
    if (std::isinf(perUnit) && !std::isinf(scale))
    {
        return false;
    }
    mapPlanes(srcWidth, srcHeight, ToFloatStep{{}, perUnit, offset}, destination(dst, dstStride),
              source(src, srcStride));
    return true;
}

vsrStatus convertF32U8(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float scale,
                       float offset, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(srcWidth, srcHeight, ToByteStep{{}, scale, offset}, destination(dst, dstStride),
                     source(src, srcStride));
}

vsrStatus convertS16U8(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t shift,
                       vsrOverflowPolicy policy, uint8_t* dst, uint32_t dstStride)
{
    const NarrowStep step{{}, static_cast<int>(shift), policy == VISORA_OVERFLOW_SATURATE};
    return mapPlanes(srcWidth, srcHeight, step, destination(dst, dstStride), source(src, srcStride));
}

vsrStatus accumulate(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, const uint8_t* mask,
                     uint32_t maskStride, float alpha, float* dst, uint32_t dstStride)
{
    const AccumulateStep step{{}, alpha / kByteUnit, 1 - alpha};
    return mask == nullptr ? mapPlanes(srcWidth, srcHeight, step, updated(dst, dstStride), source(src, srcStride))
                           : mapPlanes(srcWidth, srcHeight, step, updated(dst, dstStride), source(src, srcStride),
                                       source(mask, maskStride));
}

vsrStatus addU8U16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint16_t* src2,
                   uint32_t src2Stride, uint16_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, AddWideStep(), destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride));
}

vsrStatus mulU8U16(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                   uint32_t src2Stride, uint16_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, MultiplyWideStep(), destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride));
}

vsrStatus divU8(const uint8_t* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const uint8_t* src2,
                uint32_t src2Stride, float scale, uint8_t* dst, uint32_t dstStride)
{
    return mapPlanes(width, height, DivideStep{{}, scale}, destination(dst, dstStride), source(src1, src1Stride),
                     source(src2, src2Stride));
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrConvertu8f32, convertU8F32);
VSR_VECTOR(vsrConvertf32u8, convertF32U8);
VSR_VECTOR(vsrConverts16u8, convertS16U8);
VSR_VECTOR(vsrAccumulateWeightedu8f32, accumulate);
VSR_VECTOR(vsrAddu8u16, addU8U16);
VSR_VECTOR(vsrElementMulu8u16, mulU8U16);
VSR_VECTOR(vsrElementDivu8, divU8);

#endif
