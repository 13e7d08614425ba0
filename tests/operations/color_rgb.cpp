#include "common/visoraColorConversions.h"
#include "cpu/color/visoraColorFormats.h"
#include "support/operations.h"
#include "visora/variants/color.h"

namespace visora::test
{

namespace
{

template <auto kernel, uint32_t srcBytes, uint32_t dstBytes>
void prepareImage(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t srcStride = a.srcStride(width * srcBytes), dstStride = a.dstStride(width * dstBytes);
    const auto* src = a.input<uint8_t>(size_t{width} * srcBytes, height, srcStride);
    auto* dst = a.output<uint8_t>(size_t{width} * dstBytes, height, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstStride);
}

// Destinations in planes and in pairs, told apart by the kernel's type.
using PlanarKernel = decltype(vsrColorRGB888ToYCbCr444Planaru8);
using PseudoPlanarKernel = decltype(vsrColorRGB888ToYCbCr444PseudoPlanaru8);

void callWithYCbCr(Arguments& a, PlanarKernel* kernel, Sampling sampling, const uint8_t* src, uint32_t srcStride)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t columns = sampling.columns(width), rows = sampling.rows(height);
    const uint32_t yStride = a.dstStride(width), cbStride = a.dstStride(columns), crStride = a.srcStride(columns);
    auto* y = a.output<uint8_t>(width, height, yStride);
    auto* cb = a.output<uint8_t>(columns, rows, cbStride);
    auto* cr = a.output<uint8_t>(columns, rows, crStride);
    a.call(kernel, src, width, height, srcStride, y, cb, cr, yStride, cbStride, crStride);
}

void callWithYCbCr(Arguments& a, PseudoPlanarKernel* kernel, Sampling sampling, const uint8_t* src, uint32_t srcStride)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t pairBytes = 2 * sampling.columns(width), rows = sampling.rows(height);
    const uint32_t yStride = a.dstStride(width), cStride = a.dstStride(pairBytes);
    auto* y = a.output<uint8_t>(width, height, yStride);
    auto* c = a.output<uint8_t>(pairBytes, rows, cStride);
    a.call(kernel, src, width, height, srcStride, y, c, yStride, cStride);
}

template <auto kernel, Sampling sampling, uint32_t srcBytes>
void prepareToYCbCr(Arguments& a)
{
    const uint32_t rowBytes = a.shape().width * srcBytes;
    const uint32_t srcStride = a.srcStride(rowBytes);
    callWithYCbCr(a, kernel, sampling, a.input<uint8_t>(rowBytes, a.shape().height, srcStride), srcStride);
}

#define REPACK(source, destination)                           \
    {VISORA_OPERATION(vsrColor##source##To##destination##u8), \
     prepareImage<vsrColor##source##To##destination##u8C, source::kBytes, destination::kBytes>},
#define GRAY(source) \
    {VISORA_OPERATION(vsrColor##source##ToGrayu8), prepareImage<vsrColor##source##ToGrayu8C, source::kBytes, 1>},
#define YCBCR(source, sampling, layout)                                 \
    {VISORA_OPERATION(vsrColor##source##ToYCbCr##sampling##layout##u8), \
     prepareToYCbCr<vsrColor##source##ToYCbCr##sampling##layout##u8C, k##sampling, source::kBytes>},

const Register conversions({
    VSR_COLOR_EXCHANGES(REPACK) VSR_COLOR_REPACKS(REPACK) VSR_COLOR_GRAYS(GRAY) VSR_COLOR_TO_YCBCR(YCBCR){
        VISORA_OPERATION(vsrColorRGB888ToRGB565Rotate180u8), prepareImage<vsrColorRGB888ToRGB565Rotate180u8C, 3, 2>},
});

}  // namespace

}  // namespace visora::test
