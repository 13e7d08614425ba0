// Entry points of the conversions from luma and chroma to RGB.
#include "common/visoraCall.h"
#include "visora/variants/color.h"

using visora::aligned;
using visora::Call;
using visora::InternalRow;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

// ---- Contracts ----

// What the members of a family require. The logged text is this source, so the spacing counts. A chroma row is that of
// the sampling; 4:2:0 has the rows of 4:2:2.
// clang-format off
#define PLANAR_CONTRACT(chromaRow, pixelBytes) \
    srcY && srcCb && srcCr && dst && srcWidth && srcHeight \
    && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) \
    && ( srcCbStride == 0 || srcCbStride >= chromaRow ) && ( srcCrStride == 0 || srcCrStride >= chromaRow ) \
    && ( dstStride == 0 || dstStride >= (srcWidth*pixelBytes*sizeof(uint8_t)))
#define PSEUDO_PLANAR_CONTRACT(chromaRow, pixelBytes) \
    srcY && srcC && dst && srcWidth && srcHeight \
    && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) \
    && ( srcCStride == 0 || srcCStride >= chromaRow ) \
    && ( dstStride == 0 || dstStride >= (srcWidth*pixelBytes*sizeof(uint8_t)))
#define SAMPLE_ROW (srcWidth*sizeof(uint8_t))
#define PAIR_ROW (srcWidth*2*sizeof(uint8_t))
#define HALF_SAMPLE_ROW ((srcWidth+1)/2*sizeof(uint8_t))
#define HALF_PAIR_ROW (srcWidth*sizeof(uint8_t))
#define AND_NO_MORE
#define AND_MORE_THAN_ONE_PIXEL && srcWidth > 1
#define TILES_CONTRACT(source) source && dst && width && height
// clang-format on

// As VSR_REQUIRE; expands the condition before it becomes text.
#define REQUIRE_CONTRACT(call, condition) VSR_REQUIRE(call, condition)

// ---- The planar and pseudo-planar family ----

#define PLANAR_ENTRY(operation, chromaStride, pixelBytes, contract)                                                  \
    vsrStatus operation(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,          \
                        uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,         \
                        uint8_t* dst, uint32_t dstStride)                                                            \
    {                                                                                                                \
        srcYStride = packedIfZero(srcYStride, srcWidth);                                                             \
        srcCbStride = packedIfZero(srcCbStride, chromaStride);                                                       \
        srcCrStride = packedIfZero(srcCrStride, chromaStride);                                                       \
        dstStride = packedIfZero(dstStride, srcWidth * (pixelBytes));                                                \
                                                                                                                     \
        Call call(Row::operation, #operation);                                                                       \
        call.keepDspIf(worthOffload(srcYStride, srcHeight) &&                                                        \
                       multiplesOf<8>(srcWidth, srcYStride, srcCbStride, srcCrStride, dstStride) &&                  \
                       aligned<8>(srcY, srcCb, srcCr, dst));                                                         \
        call.trace();                                                                                                \
        REQUIRE_CONTRACT(call, contract);                                                                            \
        return call.run<operation##C>(srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride, srcCbStride, srcCrStride, \
                                      dst, dstStride);                                                               \
    }

#define PSEUDO_PLANAR_ENTRY(operation, chromaStride, pixelBytes, contract)                                          \
    vsrStatus operation(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,            \
                        uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride)                 \
    {                                                                                                               \
        srcYStride = packedIfZero(srcYStride, srcWidth);                                                            \
        srcCStride = packedIfZero(srcCStride, chromaStride);                                                        \
        dstStride = packedIfZero(dstStride, srcWidth * (pixelBytes));                                               \
                                                                                                                    \
        Call call(Row::operation, #operation);                                                                      \
        call.keepDspIf(worthOffload(srcYStride, srcHeight) &&                                                       \
                       multiplesOf<8>(srcWidth, srcYStride, srcCStride, dstStride) && aligned<8>(srcY, srcC, dst)); \
        call.trace();                                                                                               \
        REQUIRE_CONTRACT(call, contract);                                                                           \
        return call.run<operation##C>(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, dst, dstStride);     \
    }

// Both layouts of one format. The contract of 4:2:2 pseudo-planar goes on with `more`.
#define FAMILY(format, pixelBytes, more)                                                                              \
    PLANAR_ENTRY(vsrColorYCbCr444PlanarTo##format##u8, srcWidth, pixelBytes, PLANAR_CONTRACT(SAMPLE_ROW, pixelBytes)) \
    PLANAR_ENTRY(vsrColorYCbCr422PlanarTo##format##u8, (srcWidth + 1) >> 1, pixelBytes,                               \
                 PLANAR_CONTRACT(HALF_SAMPLE_ROW, pixelBytes))                                                        \
    PLANAR_ENTRY(vsrColorYCbCr420PlanarTo##format##u8, (srcWidth + 1) >> 1, pixelBytes,                               \
                 PLANAR_CONTRACT(HALF_SAMPLE_ROW, pixelBytes))                                                        \
    PSEUDO_PLANAR_ENTRY(vsrColorYCbCr444PseudoPlanarTo##format##u8, srcWidth * 2, pixelBytes,                         \
                        PSEUDO_PLANAR_CONTRACT(PAIR_ROW, pixelBytes))                                                 \
    PSEUDO_PLANAR_ENTRY(vsrColorYCbCr422PseudoPlanarTo##format##u8, srcWidth, pixelBytes,                             \
                        PSEUDO_PLANAR_CONTRACT(HALF_PAIR_ROW, pixelBytes) more)                                       \
    PSEUDO_PLANAR_ENTRY(vsrColorYCbCr420PseudoPlanarTo##format##u8, srcWidth, pixelBytes,                             \
                        PSEUDO_PLANAR_CONTRACT(HALF_PAIR_ROW, pixelBytes))
FAMILY(RGB565, 2, AND_NO_MORE)
FAMILY(RGB888, 3, AND_MORE_THAN_ONE_PIXEL)
FAMILY(RGBA8888, 4, AND_NO_MORE)

// ---- Whole buffers ----

vsrStatus vsrColorYUV420toRGB565u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    Call call(Row::vsrColorYUV420toRGB565u8, "vsrColorYUV420toRGB565u8");
    call.keepDspIf(worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrColorYUV420toRGB565u8C>(src, width, height, dst);
}

vsrStatus vsrColorYUV420toRGB565u8Rotate180(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    Call call(InternalRow::vsrColorYUV420toRGB565u8Rotate180, "vsrColorYUV420toRGB565u8Rotate180");
    call.keepDspIf(worthOffload(width, height) && multiplesOf<8>(width) && aligned<8>(src, dst));
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrColorYUV420toRGB565u8Rotate180C>(src, width, height, dst);
}

vsrStatus vsrColorYCrCb420PseudoPlanarToRGB8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                                  uint32_t srcYStride, uint32_t srcCStride, uint32_t* dst,
                                                  uint32_t dstStride)
{
    Call call(Row::vsrColorYCrCb420PseudoPlanarToRGB8888u8, "vsrColorYCrCb420PseudoPlanarToRGB8888u8");
    call.keepDspIf(worthOffload(srcYStride, srcHeight) && multiplesOf<8>(srcWidth, srcYStride, srcCStride, dstStride) &&
                   aligned<8>(src, dst));
    call.keepGpuIf(aligned<16>(src, dst) && srcYStride >= srcWidth && srcCStride >= srcWidth &&
                   dstStride / sizeof(uint32_t) >= srcWidth && multiplesOf<8>(srcYStride, srcCStride, dstStride));
    call.trace();
    VSR_REQUIRE(call, src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride);
    return call.run<vsrColorYCrCb420PseudoPlanarToRGB8888u8C>(src, srcWidth, srcHeight, srcYStride, srcCStride, dst,
                                                              dstStride);
}

vsrStatus vsrColorYUV420toRGB8888u8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t* dst)
{
    Call call(Row::vsrColorYCrCb420PseudoPlanarToRGB8888u8, "vsrColorYUV420toRGB8888u8");
    const bool regular = aligned<16>(src, dst) && multiplesOf<8>(width);
    call.keepDspOnlyIf(regular);
    call.keepGpuIf(regular);
    call.trace();
    VSR_REQUIRE(call, src && dst && width && height);
    return call.run<vsrColorYCrCb420PseudoPlanarToRGB8888u8C>(src, width, height, width, width, dst, width * 4);
}

// ---- Coding-unit tiles ----

#define TILES_ENTRY(operation, source)                                                        \
    vsrStatus operation(const uint8_t* source, uint32_t width, uint32_t height, uint8_t* dst) \
    {                                                                                         \
        const Call call(Row::operation, #operation);                                          \
        call.trace();                                                                         \
        REQUIRE_CONTRACT(call, TILES_CONTRACT(source));                                       \
        return call.run<operation##C>(source, width, height, dst);                            \
    }
TILES_ENTRY(vsrColorYCrCbH1V1toRGB888u8, src)
TILES_ENTRY(vsrColorYCrCbH2V2toRGB888u8, y_src)
TILES_ENTRY(vsrColorYCrCbH2V1toRGB888u8, ysrc)
TILES_ENTRY(vsrColorYCrCbH1V2toRGB888u8, ysrc)
