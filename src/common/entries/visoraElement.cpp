// Entry points of the operations on single elements, of fills and copies.
#include "common/visoraArguments.h"
#include "common/visoraEntry.h"
#include "visora/variants/arithmetic.h"

using visora::Array;
using visora::Bits;
using visora::destinationFirst;
using visora::In;
using visora::kInPlace;
using visora::Mask;
using visora::Numbers;
using visora::Out;

namespace
{

// ---- Shapes; parameters stand before the destination, and a condition on them is the shape's argument ----

constexpr auto always = [](auto... /*parameters*/) { return true; };

template <class Condition>
constexpr auto unaryIf(Condition condition)
{
    return [condition](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... rest)
    {
        return destinationFirst(
            [&](auto* dst, uint32_t dstStride, auto... parameters)
            {
                const In in(src, width, height, srcStride);
                const Out out(dst, width, height, dstStride, kInPlace);
                return open(in, out)
                    .require(condition(parameters...))
                    .run(src, width, height, in.stride(), parameters..., dst, out.stride());
            },
            rest...);
    };
}
constexpr auto unary = unaryIf(always);

template <class Condition>
constexpr auto binaryIf(Condition condition)
{
    return [condition](auto open, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                       const auto* src2, uint32_t src2Stride, auto... rest)
    {
        return destinationFirst(
            [&](auto* dst, uint32_t dstStride, auto... parameters)
            {
                const In in1(src1, width, height, src1Stride);
                const In in2(src2, width, height, src2Stride);
                const Out out(dst, width, height, dstStride, kInPlace);
                return open(in1, in2, out)
                    .require(condition(parameters...))
                    .run(src1, width, height, in1.stride(), src2, in2.stride(), parameters..., dst, out.stride());
            },
            rest...);
    };
}
constexpr auto binary = binaryIf(always);

constexpr auto binaryPacked = [](auto open, const auto* src1, uint32_t width, uint32_t height, const auto* src2,
                                 auto* dst) { return binary(open, src1, width, height, 0U, src2, 0U, dst, 0U); };

// MaskBuffer is Mask, which may be missing, or In: a third source.
template <class MaskBuffer>
constexpr auto binaryMasked = [](auto open, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                                 const auto* src2, uint32_t src2Stride, const uint8_t* mask, uint32_t maskStride,
                                 auto* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const MaskBuffer places(mask, width, height, maskStride);
    const Out out(dst, width, height, dstStride, kInPlace);
    return open(in1, in2, places, out)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), mask, places.stride(), dst, out.stride());
};

constexpr auto perChannel = [](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint32_t channels, const auto* values, auto* dst, uint32_t dstStride)
{
    const In in(src, width, height, srcStride, channels);
    const Out out(dst, width, height, dstStride, kInPlace, channels);
    return open(in, Numbers(values), out)
        .require(channels <= 4)
        .run(src, width, height, in.stride(), channels, values, dst, out.stride());
};

constexpr auto polar = [](auto open, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                          const auto* src2, uint32_t src2Stride, auto* magnitude, uint32_t magnitudeStride, auto* angle,
                          uint32_t angleStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Out lengths(magnitude, width, height, magnitudeStride, kInPlace);
    const Out angles(angle, width, height, angleStride, kInPlace);
    return open(in1, in2, lengths, angles)
        .run(src1, width, height, in1.stride(), src2, in2.stride(), magnitude, lengths.stride(), angle,
             angles.stride());
};

constexpr auto fill = [](auto open, auto* dst, uint32_t width, uint32_t height, uint32_t dstStride, auto value,
                         const uint8_t* mask, uint32_t maskStride)
{
    const Out out(dst, width, height, dstStride);
    const Mask places(mask, width, height, maskStride);
    return open(out, places).run(dst, width, height, out.stride(), value, mask, places.stride());
};

template <uint32_t channels>
constexpr auto fillPixels = [](auto open, uint8_t* dst, uint32_t width, uint32_t height, uint32_t dstStride,
                               const uint8_t* values, const uint8_t* mask, uint32_t maskStride)
{
    const Out out(dst, width, height, dstStride, visora::InPlace::No, channels);
    const Mask places(mask, width, height, maskStride);
    return open(out, places, Numbers(values)).run(dst, width, height, out.stride(), values, mask, places.stride());
};

constexpr auto copyMasked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               uint32_t channels, const uint8_t* mask, uint32_t maskStride, uint8_t* dst,
                               uint32_t dstStride)
{
    const In in(src, width, height, srcStride, channels);
    const Mask places(mask, width, height, maskStride);
    const Out out(dst, width, height, dstStride, kInPlace, channels);
    return open(in, places, out)
        .require(mask && channels <= 4)
        .run(src, width, height, in.stride(), channels, mask, places.stride(), dst, out.stride());
};

constexpr auto copyMaskedPacked = [](auto open, const uint8_t* src, uint32_t width, uint32_t height, uint32_t channels,
                                     const uint8_t* mask, uint8_t* dst)
{ return copyMasked(open, src, width, height, 0, channels, mask, 0, dst, 0); };

constexpr auto inOrder = [](auto low, auto high) { return low <= high; };
constexpr auto isPolicy = [](vsrOverflowPolicy policy) { return policy <= VISORA_OVERFLOW_SATURATE; };

}  // namespace

VSR_ENTRY(vsrAbsDiffu8, vsrAbsDiffu8, binaryPacked);
VSR_ENTRY(vsrAbsDiffu8_v2, vsrAbsDiffu8, binary);
VSR_ENTRY(vsrAbsDiffs16, vsrAbsDiffs16, binaryPacked);
VSR_ENTRY(vsrAbsDiffs16_v2, vsrAbsDiffs16, binary);
VSR_ENTRY(vsrAbsDifff32, vsrAbsDifff32, binaryPacked);
VSR_ENTRY(vsrAbsDifff32_v2, vsrAbsDifff32, binary);
VSR_ENTRY(vsrAbsDiffu16, vsrAbsDiffu16, binary);
VSR_ENTRY(vsrAbsDiffs32, vsrAbsDiffs32, binary);
VSR_ENTRY(vsrAbsDiffScalaru8, vsrAbsDiffScalaru8, perChannel);
VSR_ENTRY(vsrAbsDiffScalarf32, vsrAbsDiffScalarf32, perChannel);
VSR_ENTRY(vsrSubtractu8, vsrSubtractu8, perChannel);
VSR_ENTRY(vsrSubtracts16, vsrSubtracts16, perChannel);
VSR_ENTRY(vsrAbss16, vsrAbss16, unary);
VSR_ENTRY(vsrAbsf32, vsrAbsf32, unary);
VSR_ENTRY(vsrAddu8, vsrAddu8, binary);
VSR_ENTRY(vsrAddu8u16, vsrAddu8u16, binary);
VSR_ENTRY(vsrAdds16, vsrAdds16, binaryIf(isPolicy));
VSR_ENTRY(vsrAddf32, vsrAddf32, binary);

VSR_ENTRY(vsrElementMulu8u16, vsrElementMulu8u16, binary);
VSR_ENTRY(vsrElementMuls16, vsrElementMuls16, binaryIf([](uint32_t shift) { return shift <= 30; }));
VSR_ENTRY(vsrElementMulf32, vsrElementMulf32, binary);
VSR_ENTRY(vsrElementDivu8, vsrElementDivu8, binary);
VSR_ENTRY(vsrElementDivf32, vsrElementDivf32, binary);

VSR_ENTRY(vsrMinu8, vsrMinu8, binary);
VSR_ENTRY(vsrMins16, vsrMins16, binary);
VSR_ENTRY(vsrMaxu8, vsrMaxu8, binary);
VSR_ENTRY(vsrMaxs16, vsrMaxs16, binary);
VSR_ENTRY(vsrClamps16, vsrClamps16, unaryIf(inOrder));
VSR_ENTRY(vsrClampf32, vsrClampf32, unaryIf(inOrder));
VSR_ENTRY(vsrNormalizeRangeu8, vsrNormalizeRangeu8,
          unaryIf([](uint32_t lowPermille, uint32_t highPermille, uint8_t low, uint8_t high)
                  { return lowPermille <= highPermille && highPermille <= 1000 && low <= high; }));

VSR_ENTRY(vsrBitwiseNotu8, vsrBitwiseNotu8, unary);
VSR_ENTRY(vsrBitwiseAndu8, vsrBitwiseAndu8, binaryMasked<Mask>);
VSR_ENTRY(vsrBitwiseOru8, vsrBitwiseOru8, binaryMasked<Mask>);
VSR_ENTRY(vsrBitwiseXoru8, vsrBitwiseXoru8, binaryMasked<Mask>);
VSR_ENTRY(vsrBitwiseSelectu8, vsrBitwiseSelectu8, binaryMasked<In>);
VSR_ENTRY(vsrBitShifts16, vsrBitShifts16, unaryIf([](int32_t shift) { return shift >= -15 && shift <= 15; }));

VSR_ENTRY(vsrConvertu8f32, vsrConvertu8f32, unary);
VSR_ENTRY(vsrConvertf32u8, vsrConvertf32u8, unary);
VSR_ENTRY(vsrConverts16u8, vsrConverts16u8,
          unaryIf([](uint32_t shift, vsrOverflowPolicy policy) { return shift <= 15 && isPolicy(policy); }));
VSR_ENTRY(vsrCartToPolarf32, vsrCartToPolarf32, polar);
VSR_ENTRY(vsrCartToPolars16, vsrCartToPolars16, polar);

VSR_ENTRY(vsrCopyMaskedu8, vsrCopyMaskedu8, copyMaskedPacked);
VSR_ENTRY(vsrCopyMaskedu8_v2, vsrCopyMaskedu8, copyMasked);
VSR_ENTRY(vsrSetElementsu8, vsrSetElementsu8, fill);
VSR_ENTRY(vsrSetElementss16, vsrSetElementss16, fill);
VSR_ENTRY(vsrSetElementsu16, vsrSetElementsu16, fill);
VSR_ENTRY(vsrSetElementss32, vsrSetElementss32, fill);
VSR_ENTRY(vsrSetElementsf32, vsrSetElementsf32, fill);
VSR_ENTRY(vsrSetElementsc2u8, vsrSetElementsc2u8, fillPixels<2>);
VSR_ENTRY(vsrSetElementsc3u8, vsrSetElementsc3u8, fillPixels<3>);
VSR_ENTRY(vsrSetElementsc4u8, vsrSetElementsc4u8, fillPixels<4>);

vsrStatus vsrTableLookupu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array entries(table, 256);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrTableLookupu8, in, entries, out)
        .run(src, srcWidth, srcHeight, in.stride(), table, dst, out.stride());
}

vsrStatus vsrAccumulateWeightedu8f32(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint8_t* mask, uint32_t maskStride, float alpha, float* dst,
                                     uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Mask places(mask, srcWidth, srcHeight, maskStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrAccumulateWeightedu8f32, in, places, out)
        .require(alpha >= 0 && alpha <= 1)
        .run(src, srcWidth, srcHeight, in.stride(), mask, places.stride(), alpha, dst, out.stride());
}

vsrStatus vsrBitMaskPacku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                           uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth / 8 + (srcWidth % 8 != 0), srcHeight, dstStride);
    return VSR_CALL(vsrBitMaskPacku8, in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrBitMaskUnpacku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride)
{
    const Bits in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride);
    return VSR_CALL(vsrBitMaskUnpacku8, in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrSetBorderu8(uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, uint32_t border,
                         vsrBorderType borderType, uint8_t borderValue)
{
    const Out out(dst, dstWidth, dstHeight, dstStride);
    return VSR_CALL(vsrSetBorderu8, out)
        .require(2 * uint64_t{border} < dstWidth && 2 * uint64_t{border} < dstHeight &&
                 borderType <= VISORA_BORDER_MIRROR)
        .run(dst, dstWidth, dstHeight, out.stride(), border, borderType, borderValue);
}
