#include "visora/variants/scale.h"

#include <algorithm>

#include "support/operations.h"

namespace visora::test
{

namespace
{

// The shape's size is that of the source. Inputs end with the last pixel that an output needs, so that a variant that
// reads columns or rows left over runs into the fence; strides are those of the whole source.

// By a fixed ratio; the kernel ignores what is left over, unless the entry point admits whole multiples only.
template <auto kernel, uint32_t from, uint32_t to, bool wholeOnly>
void prepareFixed(Arguments& a)
{
    uint32_t width = a.shape().width;
    uint32_t height = a.shape().height;
    if (wholeOnly)
    {
        width -= width % from;
        height -= height % from;
    }
    const uint32_t columns = width / from * from;
    const uint32_t rows = height / from * from;
    if (columns == 0 || rows == 0)
    {
        return;
    }
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t dstStride = a.dstStride(columns / from * to);
    const uint8_t* src = a.input<uint8_t>(columns, rows, srcStride);
    uint8_t* dst = a.output<uint8_t>(columns / from * to, rows / from * to, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstStride);
}

// By any sizes.
void call(Arguments& a, decltype(vsrScaleDownu8C)* kernel, uint32_t width, uint32_t height, uint32_t columns,
          uint32_t rows, uint32_t dstWidth, uint32_t dstHeight)
{
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t dstStride = a.dstStride(dstWidth);
    const uint8_t* src = a.input<uint8_t>(columns, rows, srcStride);
    uint8_t* dst = a.output<uint8_t>(dstWidth, dstHeight, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstWidth, dstHeight, dstStride);
}

void callBox(Arguments& a, uint32_t width, uint32_t height, uint32_t dstWidth, uint32_t dstHeight)
{
    call(a, vsrScaleDownu8C, width, height, width / dstWidth * dstWidth, height / dstHeight * dstHeight, dstWidth,
         dstHeight);
}

void callWhole(Arguments& a, decltype(vsrScaleDownu8C)* kernel, uint32_t dstWidth, uint32_t dstHeight)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    call(a, kernel, width, height, width, height, dstWidth, dstHeight);
}

// Box averages: by fx and fy when there is that much source, with columns and rows left over.
template <uint32_t fx, uint32_t fy>
void prepareBox(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    callBox(a, width, height, std::max(width / fx, 1u), std::max(height / fy, 1u));
}

// Boxes of any size, up to the whole image; now and then long columns, whose sums pass 16 bits.
void prepareAnyBox(Arguments& a)
{
    if (a.shape().typical)
    {
        prepareBox<5, 7>(a);
        return;
    }
    const bool tall = a.random().oneIn(8);
    const uint32_t width = a.shape().width;
    const uint32_t height = tall ? 600 + a.shape().height : a.shape().height;
    const uint32_t dstWidth = a.random().between(1, width);
    callBox(a, width, height, dstWidth, tall ? a.random().between(1, 2) : a.random().between(1, height));
}

// The area average at a fixed ratio.
template <uint32_t m, uint32_t n>
void prepareArea(Arguments& a)
{
    const uint32_t dstWidth = std::max(a.shape().width * n / m, 1u);
    const uint32_t dstHeight = std::max(a.shape().height * n / m, 1u);
    if (dstWidth * 20 > a.shape().width && dstHeight * 20 > a.shape().height)
    {
        callWhole(a, vsrScaleDownMNu8C, dstWidth, dstHeight);
    }
}

// A destination size of one axis from equal to just above a twentieth.
uint32_t anyAreaSize(Arguments& a, uint32_t srcSize)
{
    const uint32_t smallest = srcSize / 20 + 1;
    const uint32_t kind = a.random().between(0, 3);
    return kind == 0   ? srcSize
           : kind == 1 ? std::min(smallest + a.random().between(0, 2), srcSize)
                       : a.random().between(smallest, srcSize);
}

void prepareAnyArea(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t dstWidth = a.shape().typical ? width * 3 / 10 : anyAreaSize(a, width);
    const uint32_t dstHeight = a.shape().typical ? height * 3 / 10 : anyAreaSize(a, height);
    callWhole(a, vsrScaleDownMNu8C, dstWidth, dstHeight);
}

template <uint32_t m, uint32_t n>
void prepareNearest(Arguments& a)
{
    const uint32_t dstWidth = std::max(a.shape().width * n / m, 1u);
    const uint32_t dstHeight = std::max(a.shape().height * n / m, 1u);
    callWhole(a, vsrScaleDownNNu8C, dstWidth, dstHeight);
}

// Any two sizes, equal or larger destinations among them: the kernel has to follow the index rule wherever it leads.
void prepareAnyNearest(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const bool same = a.random().oneIn(8);
    const uint32_t dstWidth = a.shape().typical ? width / 5 : same ? width : a.random().between(1, 2 * width);
    const uint32_t dstHeight = a.shape().typical ? height / 5 : same ? height : a.random().between(1, 2 * height);
    callWhole(a, vsrScaleDownNNu8C, dstWidth, dstHeight);
}

const EntryRule kFixed = {.status = -1, .inPlace = EntryRule::InPlace::NotLookedAt};

EntryRule fixedWithPacked(EntryRule::Packed packed)
{
    EntryRule rule = kFixed;
    rule.packed = {std::move(packed)};
    return rule;
}

const Register downscalers({
    {VISORA_OPERATION(vsrScaleDownBy2u8),
     ruled(fixedWithPacked(VISORA_PACKED(vsrScaleDownBy2u8, "")), prepareFixed<vsrScaleDownBy2u8C, 2, 1, true>)},
    {VISORA_OPERATION(vsrScaleDownBy4u8),
     ruled(fixedWithPacked(VISORA_PACKED(vsrScaleDownBy4u8, "")), prepareFixed<vsrScaleDownBy4u8C, 4, 1, true>)},
    {VISORA_OPERATION(vsrScaleDown3To2u8), ruled(kFixed, prepareFixed<vsrScaleDown3To2u8C, 3, 2, false>)},
    {VISORA_OPERATION(vsrScaleDownu8),
     ruled({.condition = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && "
                         "(dstStride >= dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .packed = {VISORA_PACKED(vsrScaleDownu8,
                                     "src && dst && width && height && dstWidth && dstHeight && width "
                                     ">= dstWidth && height >= dstHeight")}},
           prepareBox<2, 2>),
     "2x2"},
    {VISORA_OPERATION(vsrScaleDownu8), prepareBox<3, 3>, "3x3"},
    {VISORA_OPERATION(vsrScaleDownu8), prepareBox<4, 4>, "4x4"},
    {VISORA_OPERATION(vsrScaleDownu8), prepareBox<1, 3>, "1x3"},
    {VISORA_OPERATION(vsrScaleDownu8), prepareBox<8, 1>, "8x1"},
    {VISORA_OPERATION(vsrScaleDownu8), prepareAnyBox, "any"},
    {VISORA_OPERATION(vsrScaleDownMNu8),
     ruled({.condition =
                "src && dst && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride==0 || srcStride "
                ">=srcWidth) && "
                "(dstStride == 0 || dstStride >= dstWidth) && dstWidth * 20 > srcWidth && dstHeight * 20 > srcHeight",
            .fallsBack = true,
            .inPlace = EntryRule::InPlace::NotLookedAt},
           prepareArea<10, 7>),
     "10to7"},
    {VISORA_OPERATION(vsrScaleDownMNu8), prepareArea<5, 2>, "5to2"},
    {VISORA_OPERATION(vsrScaleDownMNu8), prepareAnyArea, "any"},
    {VISORA_OPERATION(vsrScaleDownNNu8),
     ruled({.status = 1, .inPlace = EntryRule::InPlace::NotLookedAt}, prepareNearest<2, 1>), "2to1"},
    {VISORA_OPERATION(vsrScaleDownNNu8), prepareNearest<4, 1>, "4to1"},
    {VISORA_OPERATION(vsrScaleDownNNu8), prepareNearest<10, 7>, "10to7"},
    {VISORA_OPERATION(vsrScaleDownNNu8), prepareAnyNearest, "any"},
});

}  // namespace

}  // namespace visora::test
