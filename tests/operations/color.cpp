#include "visora/variants/color.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

enum class Sampling
{
    k444,
    k422,
    k420
};

// A conversion in the planar and pseudo-planar family. In 4:2:0 rows come in pairs: an odd height has one more. With
// halved chroma a width of 1 ends the process.
template <auto kernel, bool planar>
Prepare conversion(Sampling sampling, uint32_t pixelBytes)
{
    // What the entry points log.
    const bool halves = sampling != Sampling::k444;
    const std::string chromaRow = planar   ? halves ? "((srcWidth+1)/2*sizeof(uint8_t))" : "(srcWidth*sizeof(uint8_t))"
                                  : halves ? "(srcWidth*sizeof(uint8_t))"
                                           : "(srcWidth*2*sizeof(uint8_t))";
    const auto fits = [](const std::string& stride, const std::string& row)
    { return " && ( " + stride + " == 0 || " + stride + " >= " + row + " )"; };
    std::string condition = planar ? "srcY && srcCb && srcCr" : "srcY && srcC";
    condition += " && dst && srcWidth && srcHeight" + fits("srcYStride", "(srcWidth*sizeof(uint8_t))");
    condition +=
        planar ? fits("srcCbStride", chromaRow) + fits("srcCrStride", chromaRow) : fits("srcCStride", chromaRow);
    condition += " && ( dstStride == 0 || dstStride >= (srcWidth*" + std::to_string(pixelBytes) + "*sizeof(uint8_t)))";
    const bool refusesOnePixel = !planar && sampling == Sampling::k422 && pixelBytes == 3;
    condition += refusesOnePixel ? " && srcWidth > 1" : "";
    const EntryRule rule = {.condition = condition,
                            .inPlace = EntryRule::InPlace::NotLookedAt,
                            .units = EntryRule::Units::Dsp,
                            .leastWidth = refusesOnePixel ? 2u : 1u};
    const auto prepare = [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const bool halved = sampling != Sampling::k444;
        if (halved && width == 1)
        {
            return;
        }
        const uint32_t rows = sampling == Sampling::k420 ? height + height % 2 : height;
        const uint32_t chromaRows = sampling == Sampling::k420 ? rows / 2 : rows;
        const uint32_t chromaWidth = halved ? (width + 1) / 2 : width;
        const uint32_t yStride = a.srcStride(width);
        const uint32_t dstStride = a.dstStride(width * pixelBytes);
        const auto* y = a.input<uint8_t>(width, rows, yStride);
        auto* dst = a.output<uint8_t>(width * pixelBytes, rows, dstStride);
        if constexpr (planar)
        {
            const uint32_t cbStride = a.srcStride(chromaWidth);
            const uint32_t crStride = chromaWidth + a.shape().dstPadding;
            const auto* cb = a.input<uint8_t>(chromaWidth, chromaRows, cbStride);
            const auto* cr = a.input<uint8_t>(chromaWidth, chromaRows, crStride);
            a.call(kernel, y, cb, cr, width, height, yStride, cbStride, crStride, dst, dstStride);
        }
        else
        {
            // Packed rows of an odd width share a byte: the last pair reaches into the next row.
            const uint32_t cStride = a.srcStride(halved ? width : 2 * width);
            const auto* c = a.input<uint8_t>(size_t{chromaWidth} * 2, chromaRows, cStride);
            a.call(kernel, y, c, width, height, yStride, cStride, dst, dstStride);
        }
    };
    return ruled(rule, prepare);
}

// Bytes of luma and chroma pairs in one buffer.
size_t videoBytes(uint32_t width, uint32_t height, size_t yStride, size_t cStride)
{
    return height * yStride + (height - 1) / 2 * cStride + (width + 1) / 2 * 2;
}

template <auto kernel>
void prepareVideo(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const size_t srcBytes = videoBytes(width, height, width, width);
    const auto* src = a.input<uint8_t>(srcBytes, 1, srcBytes);
    auto* dst = a.output<uint16_t>(width, height, width * 2);
    a.call(kernel, src, width, height, reinterpret_cast<uint32_t*>(dst));
}

void prepareVideoRgba(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t yStride = a.srcStride(width);
    const uint32_t cStride = width + a.shape().dstPadding;
    const uint32_t dstStride = a.dstStride(width * 4, 4);
    const size_t srcBytes = videoBytes(width, height, yStride, cStride);
    const auto* src = a.input<uint8_t>(srcBytes, 1, srcBytes);
    auto* dst = a.output<uint32_t>(width, height, dstStride);
    // What a stride has beyond whole words does not count.
    const uint32_t beyond = a.choose(0, 3, 0);
    a.call(vsrColorYCrCb420PseudoPlanarToRGB8888u8C, src, width, height, yStride, cStride, dst, dstStride + beyond);
}

template <auto kernel, uint32_t unitWidth, uint32_t unitHeight>
void prepareTiles(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    constexpr size_t kUnitBytes = unitWidth * unitHeight + 128;
    const size_t visited = (width + unitWidth - 1) / unitWidth;
    const size_t advances = size_t{(height - 1) / unitHeight} * (width / unitWidth);
    const size_t srcBytes = (visited + advances) * kUnitBytes;
    const auto* src = a.input<uint8_t>(srcBytes, 1, srcBytes);
    auto* dst = a.output<uint8_t>(size_t{width} * 3, height, size_t{width} * 3);
    a.call(kernel, src, width, height, dst);
}

#define BOTH_LAYOUTS(sampling, format, pixelBytes)                                                                     \
    {VISORA_OPERATION(vsrColorYCbCr##sampling##PlanarTo##format##u8),                                                  \
     conversion<vsrColorYCbCr##sampling##PlanarTo##format##u8C, true>(Sampling::k##sampling, pixelBytes)},             \
    {                                                                                                                  \
        VISORA_OPERATION(vsrColorYCbCr##sampling##PseudoPlanarTo##format##u8),                                         \
            conversion<vsrColorYCbCr##sampling##PseudoPlanarTo##format##u8C, false>(Sampling::k##sampling, pixelBytes) \
    }

EntryRule whole(const char* source, EntryRule::Units units)
{
    return {.condition = std::string(source) + " && dst && width && height",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .units = units};
}

#define WHOLE(operation, source, units, prepare)                                            \
    {                                                                                       \
        VISORA_OPERATION(operation), ruled(whole(source, EntryRule::Units::units), prepare) \
    }

const Register conversions({
    BOTH_LAYOUTS(444, RGB565, 2),
    BOTH_LAYOUTS(444, RGB888, 3),
    BOTH_LAYOUTS(444, RGBA8888, 4),
    BOTH_LAYOUTS(422, RGB565, 2),
    BOTH_LAYOUTS(422, RGB888, 3),
    BOTH_LAYOUTS(422, RGBA8888, 4),
    BOTH_LAYOUTS(420, RGB565, 2),
    BOTH_LAYOUTS(420, RGB888, 3),
    BOTH_LAYOUTS(420, RGBA8888, 4),
    WHOLE(vsrColorYUV420toRGB565u8, "src", Dsp, prepareVideo<vsrColorYUV420toRGB565u8C>),
    WHOLE(vsrColorYUV420toRGB565u8Rotate180, "src", Dsp, prepareVideo<vsrColorYUV420toRGB565u8Rotate180C>),
    {VISORA_OPERATION(vsrColorYCrCb420PseudoPlanarToRGB8888u8),
     ruled({.condition = "src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .plainStrides = true,
            .units = EntryRule::Units::Own},
           prepareVideoRgba)},
    WHOLE(vsrColorYCrCbH1V1toRGB888u8, "src", Own, (prepareTiles<vsrColorYCrCbH1V1toRGB888u8C, 8, 8>)),
    WHOLE(vsrColorYCrCbH2V1toRGB888u8, "ysrc", Own, (prepareTiles<vsrColorYCrCbH2V1toRGB888u8C, 16, 8>)),
    WHOLE(vsrColorYCrCbH1V2toRGB888u8, "ysrc", Own, (prepareTiles<vsrColorYCrCbH1V2toRGB888u8C, 8, 16>)),
    WHOLE(vsrColorYCrCbH2V2toRGB888u8, "y_src", Own, (prepareTiles<vsrColorYCrCbH2V2toRGB888u8C, 16, 16>)),
});

}  // namespace

}  // namespace visora::test
