#include "visora/variants/filter.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

const auto anyBorder = [](Arguments& a)
{
    return std::tuple(a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_REPLICATE),
                      static_cast<uint8_t>(a.choose(0, 255, 0)));
};
const auto defaultBorder = [](Arguments& a)
{ return std::tuple(vsrBorderType{VISORA_BORDER_UNDEFINED}, static_cast<uint8_t>(a.choose(0, 255, 0))); };
// The flag of a border: only 1 sets it.
const auto anyFlag = [](Arguments& a)
{
    constexpr int32_t kFlags[] = {0, 1, 1, 2, -1};
    return std::tuple(kFlags[a.choose(0, 4, 0)]);
};
const auto flagSet = [](Arguments&) { return std::tuple(int32_t{1}); };

// A window of up to `largest` a side, `typical` in benchmarks; sometimes of one row or column, sometimes wider or
// higher than the image.
std::function<void(Arguments&)> medianOf(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    {
        const uint32_t width = a.shape().width;
        const uint32_t height = a.shape().height;
        const uint32_t srcStride = a.srcStride(width * 2, 2);
        const uint32_t dstStride = a.dstStride(width * 2, 2);
        const auto* src = a.input<int16_t>(width, height, srcStride);
        auto* dst = a.output<int16_t>(width, height, dstStride);
        const uint32_t M = a.choose(1, largest, typical);
        const uint32_t N = a.random().oneIn(2) ? M : a.choose(1, largest, typical);
        a.call(vsrFilterMedianMxNs16C, src, width, height, srcStride, M, N, dst, dstStride);
    };
}

std::function<void(Arguments&)> boxFloatOf(uint32_t largest, uint32_t typical)
{
    return imageToImage<vsrBoxFilterNxNf32C, float>([=](Arguments& a)
                                                    { return std::tuple(a.choose(2, largest, typical)); });
}

#define FILTER(operation, T) VISORA_OPERATION(operation), imageToImage<operation##C, T>
// A box of N x N.
#define OLDER_BOX(operation, N, rows, text)                                         \
    VISORA_OPERATION(operation), ruled({.condition = text,                          \
                                        .inPlace = EntryRule::InPlace::NotLookedAt, \
                                        .unchecked = {kDstStride},                  \
                                        .leastWidth = N,                            \
                                        .leastHeight = N,                           \
                                        .dspRows = rows},                           \
                                       imageToImage<operation##C, uint8_t>())
// The wide Gaussians leave calls to other units by a rule of their own.
#define GAUSSIAN(operation, T, width, height, text, packedText, ...)                                      \
    VISORA_OPERATION(operation), ruled({.condition = text,                                                \
                                        .inPlace = EntryRule::InPlace::NotLookedAt,                       \
                                        .unchecked = __VA_ARGS__,                                         \
                                        .units = EntryRule::Units::Own,                                   \
                                        .leastWidth = width,                                              \
                                        .leastHeight = height,                                            \
                                        .packed = {VISORA_PACKED(operation, packedText, width, height)}}, \
                                       imageToImage<operation##C, T>(anyFlag))

constexpr size_t kDstStride = 5;  // not looked at, unless it is 0
const EntryRule kAnywhere = {.inPlace = EntryRule::InPlace::NotLookedAt};
const EntryRule kBordered = {.inPlace = EntryRule::InPlace::NotLookedAt, .dspRows = 4};

// The 3x3 Gaussian ends the process at a width of 1.
const Register filters({
    {OLDER_BOX(vsrBoxFilter3x3u8, 3, 4,
               "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && "
               "srcWidth > 2 && srcHeight > 2")},
    {VISORA_OPERATION(vsrBoxFilter3x3u8_v2), ruled(kBordered, imageToImage<vsrBoxFilter3x3u8_v2C, uint8_t>(anyBorder))},
    {OLDER_BOX(vsrBoxFilter5x5u8, 5, 5,
               "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && "
               "srcWidth > 4 && srcHeight > 4")},
    {OLDER_BOX(vsrBoxFilter11x11u8, 11, 11,
               "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && "
               "srcWidth > 10 && srcHeight > 10")},
    {VISORA_OPERATION(vsrBoxFilterNxNf32),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .heavy = true, .leastWidth = 5, .leastHeight = 5},
           boxFloatOf(7, 5))},
    {VISORA_OPERATION(vsrBoxFilterNxNf32), boxFloatOf(60, 11), "large"},
    {VISORA_OPERATION(vsrFilterMedian3x3u8),
     ruled({.condition = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .unchecked = {kDstStride},
            .dspRows = 4,
            .packed = {VISORA_PACKED(vsrFilterMedian3x3u8, "src && dst && width && height")}},
           imageToImage<vsrFilterMedian3x3u8C, uint8_t>())},
    {VISORA_OPERATION(vsrFilterMedian3x3u8_v3),
     ruled(kBordered, imageToImage<vsrFilterMedian3x3u8_v3C, uint8_t>(anyBorder))},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), ruled(kAnywhere, medianOf(5, 3))},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(5, 5), "5x5"},
    {VISORA_OPERATION(vsrFilterMedianMxNs16), medianOf(30, 9), "large"},
    {VISORA_OPERATION(vsrFilterGaussian3x3u8),
     ruled({.condition =
                "src && dst && (srcWidth > 1) && (srcHeight > 1) && (srcStride >= srcWidth) && (dstStride >= srcWidth)",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .leastHeight = 2,
            .dspRows = 4,
            .packed = {VISORA_PACKED(vsrFilterGaussian3x3u8, "src && dst && width && height")}},
           imageToImage<vsrFilterGaussian3x3u8C, uint8_t>(anyFlag, 2))},
    {FILTER(vsrFilterGaussian3x3u8, uint8_t)(flagSet, 2), "border"},
    {VISORA_OPERATION(vsrFilterGaussian3x3u8_v3),
     ruled(kBordered, imageToImage<vsrFilterGaussian3x3u8_v3C, uint8_t>(anyBorder, 2))},
    {FILTER(vsrFilterGaussian3x3u8_v3, uint8_t)(defaultBorder, 2), "undefined"},
    {GAUSSIAN(
        vsrFilterGaussian5x5u8, uint8_t, 5, 5,
        "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 && srcWidth > 4",
        "src && dst && width && height && height > 4 && width > 4", {kDstStride})},
    {FILTER(vsrFilterGaussian5x5u8, uint8_t)(flagSet), "border"},
    {GAUSSIAN(vsrFilterGaussian5x5s16, int16_t, 1, 2,
              "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int16_t)) && "
              "(dstStride >= srcWidth*sizeof(int16_t)) && srcHeight > 1",
              "src && dst && width && height && height > 1", {})},
    {FILTER(vsrFilterGaussian5x5s16, int16_t)(flagSet), "border"},
    {GAUSSIAN(vsrFilterGaussian5x5s32, int32_t, 5, 5,
              "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int32_t)) && "
              "(dstStride >= srcWidth*sizeof(int32_t)) && srcWidth > 4 && srcHeight > 4",
              "src && dst && width && height && width > 4 && height > 4", {})},
    {FILTER(vsrFilterGaussian5x5s32, int32_t)(flagSet), "border"},
    {GAUSSIAN(vsrFilterGaussian11x11u8, uint8_t, 11, 11,
              "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 && "
              "srcWidth > 10",
              "src && dst && width && height && height > 10 && width > 10", {kDstStride})},
    {FILTER(vsrFilterGaussian11x11u8, uint8_t)(flagSet), "border"},
});

}  // namespace

}  // namespace visora::test
