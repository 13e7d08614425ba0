// Entry points of the operations on single elements.
#include "common/visoraCall.h"
#include "visora/variants/arithmetic.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

vsrStatus vsrBitwiseNotu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                          uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrBitwiseNotu8, "vsrBitwiseNotu8");
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          (src != dst || srcStride == dstStride)))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrBitwiseNotu8C>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

vsrStatus vsrTableLookupu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           const uint8_t* table, uint8_t* dst, uint32_t dstStride)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    dstStride = packedIfZero(dstStride, srcWidth);

    Call call(Row::vsrTableLookupu8, "vsrTableLookupu8");
    call.keepDspIf(worthOffload(srcStride, srcHeight) && multiplesOf<8>(srcWidth, srcStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && multiplesOf<8>(srcStride, dstStride));
    call.trace();
    if (!(src && dst && table && srcWidth && srcHeight && srcStride >= srcWidth && dstStride >= srcWidth &&
          (src != dst || srcStride == dstStride)))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrTableLookupu8C>(src, srcWidth, srcHeight, srcStride, table, dst, dstStride);
}
