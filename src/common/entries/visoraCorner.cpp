// Entry points of the corner detectors.
#include <algorithm>

#include "common/visoraCall.h"
#include "visora/variants/corner.h"

using visora::aligned;
using visora::Call;
using visora::multiplesOf;
using visora::packedIfZero;
using visora::Row;
using visora::worthOffload;

namespace
{

// The circle around a pixel reaches three pixels away.
uint32_t atLeastCircle(uint32_t border)
{
    return std::max(border, 3u);
}

bool fitsDsp(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride)
{
    return worthOffload(stride, height) && multiplesOf<8>(width, stride) && aligned<8>(src);
}

// Twice a large border does not fit 32 bits; it fits no image either.
bool leavesPixels(uint32_t border, uint32_t width, uint32_t height)
{
    return uint64_t{border} * 2 < width && uint64_t{border} * 2 < height;
}

}  // namespace

vsrStatus vsrCornerFast9u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                           uint32_t* numcorners)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9u8, "vsrCornerFast9u8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(call, src && xy && numcorners && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
                   "src && xy && numcorners && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9u8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax,
                                       numcorners);
}

vsrStatus vsrCornerFast9Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                uint32_t nCornersMax, uint32_t* numcorners)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9Scoreu8, "vsrCornerFast9Scoreu8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call, src && xy && scores && numcorners && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && numcorners && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9Scoreu8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                            nCornersMax, numcorners);
}

vsrStatus vsrCornerFast9Scoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                   uint32_t nCornersMax, uint32_t* numcorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9Scoreu8_v2, "vsrCornerFast9Scoreu8_v2");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call, src && xy && scores && numcorners && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && numcorners && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9Scoreu8_v2C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                               nCornersMax, numcorners, nmsEnabled, tempBuf);
}

vsrStatus vsrCornerFast9InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                 uint32_t* numcorners, const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9InMasku8, "vsrCornerFast9InMasku8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call, src && xy && numcorners && bitMask && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9InMasku8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax,
                                             numcorners, bitMask, maskWidth, maskHeight);
}

vsrStatus vsrCornerFast9InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                      uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                      uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                      uint32_t maskWidth, uint32_t maskHeight)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9InMaskScoreu8, "vsrCornerFast9InMaskScoreu8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call,
        src && xy && scores && numcorners && bitMask && srcStride >= srcWidth &&
            leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9InMaskScoreu8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                                  nCornersMax, numcorners, bitMask, maskWidth, maskHeight);
}

vsrStatus vsrCornerFast9InMaskScoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                         uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                         uint32_t nCornersMax, uint32_t* numcorners, const uint8_t* bitMask,
                                         uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled,
                                         uint32_t* tempBuf)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast9InMaskScoreu8_v2, "vsrCornerFast9InMaskScoreu8_v2");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call,
        src && xy && scores && numcorners && bitMask && srcStride >= srcWidth &&
            leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && numcorners && bitMask && stride >= width && border*2 < width && border*2 < height");
    return call.run<vsrCornerFast9InMaskScoreu8_v2C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                                     nCornersMax, numcorners, bitMask, maskWidth, maskHeight,
                                                     nmsEnabled, tempBuf);
}

vsrStatus vsrCornerFast10u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast10u8, "vsrCornerFast10u8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(call, src && xy && nCorners && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
                   "src && xy && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
    return call.run<vsrCornerFast10u8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax,
                                        nCorners);
}

vsrStatus vsrCornerFast10Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                 uint32_t nCornersMax, uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast10Scoreu8, "vsrCornerFast10Scoreu8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call, src && xy && scores && nCorners && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && nCorners && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
    return call.run<vsrCornerFast10Scoreu8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                             nCornersMax, nCorners, nmsEnabled, tempBuf);
}

vsrStatus vsrCornerFast10InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                                  uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast10InMasku8, "vsrCornerFast10InMasku8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call, src && xy && nCorners && mask && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
    return call.run<vsrCornerFast10InMasku8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, nCornersMax,
                                              nCorners, mask, maskWidth, maskHeight);
}

vsrStatus vsrCornerFast10InMaskScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                       uint32_t threshold, uint32_t border, uint32_t* xy, uint32_t* scores,
                                       uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                                       uint32_t maskWidth, uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf)
{
    srcStride = packedIfZero(srcStride, srcWidth);
    border = atLeastCircle(border);

    Call call(Row::vsrCornerFast10InMaskScoreu8, "vsrCornerFast10InMaskScoreu8");
    call.keepDspIf(fitsDsp(src, srcWidth, srcHeight, srcStride));
    call.trace();
    VSR_REQUIRE_AS(
        call,
        src && xy && scores && nCorners && mask && srcStride >= srcWidth && leavesPixels(border, srcWidth, srcHeight),
        "src && xy && scores && nCorners && mask && srcStride >= srcWidth && border*2 < srcWidth && border*2 < "
        "srcHeight");
    return call.run<vsrCornerFast10InMaskScoreu8C>(src, srcWidth, srcHeight, srcStride, threshold, border, xy, scores,
                                                   nCornersMax, nCorners, mask, maskWidth, maskHeight, nmsEnabled,
                                                   tempBuf);
}
