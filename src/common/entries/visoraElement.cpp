// Entry points of the operations on single elements.
#include "common/visoraEntry.h"
#include "visora/variants/arithmetic.h"

using visora::Array;
using visora::In;
using visora::kInPlace;
using visora::Out;

namespace
{

// Two images to one of the same size.
constexpr auto binary = [](auto open, const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                           const auto* src2, uint32_t src2Stride, auto* dst, uint32_t dstStride)
{
    const In in1(src1, width, height, src1Stride);
    const In in2(src2, width, height, src2Stride);
    const Out out(dst, width, height, dstStride, kInPlace);
    return open(in1, in2, out).run(src1, width, height, in1.stride(), src2, in2.stride(), dst, out.stride());
};

// The same, packed.
constexpr auto binaryPacked = [](auto open, const auto* src1, uint32_t width, uint32_t height, const auto* src2,
                                 auto* dst) { return binary(open, src1, width, height, 0, src2, 0, dst, 0); };

}  // namespace

VSR_ENTRY(vsrAbsDiffu8, vsrAbsDiffu8, binaryPacked);
VSR_ENTRY(vsrAbsDiffu8_v2, vsrAbsDiffu8, binary);

vsrStatus vsrBitwiseNotu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrBitwiseNotu8, in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
}

vsrStatus vsrTableLookupu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    const In in(src, srcWidth, srcHeight, srcStride);
    const Array entries(table, 256);
    const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
    return VSR_CALL(vsrTableLookupu8, in, entries, out)
        .run(src, srcWidth, srcHeight, in.stride(), table, dst, out.stride());
}
