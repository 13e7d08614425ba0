// How to call the operations that measure images or transform them by what was measured.
#include "operations/statistics.h"

#include <algorithm>
#include <bit>
#include <tuple>

#include "support/floats.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

namespace visora::test
{

namespace
{

// ---- Gradients ----

constexpr char kPlanes[] =
    "src && dx && dy && srcWidth && srcHeight && (srcStride >= srcWidth) && (gradStride >= srcWidth * sizeof(*dx))";
constexpr char kPairs[] =
    "src && gradients && srcWidth && srcHeight && (srcStride >= srcWidth) && "
    "(gradStride >= 2 * sizeof(*gradients) * srcWidth)";

template <auto kernel, class T>
void preparePlanes(Arguments& a)
{
    const Source src(a);
    const uint32_t stride = a.dstStride(rowBytes<T>(src.width), sizeof(T));
    T* dx = a.output<T>(src.width, src.height, stride);
    T* dy = a.output<T>(src.width, src.height, stride);
    a.call(kernel, src.data, src.width, src.height, src.stride, dx, dy, stride);
}

template <auto kernel, class T>
void preparePairs(Arguments& a)
{
    const Source src(a);
    const uint32_t stride = a.dstStride(rowBytes<T>(2 * src.width), sizeof(T));
    a.call(kernel, src.data, src.width, src.height, src.stride, a.output<T>(2 * src.width, src.height, stride), stride);
}

const Register gradients({
    {VISORA_OPERATION(vsrImageGradientInterleaveds16),
     older(kPairs, preparePairs<vsrImageGradientInterleaveds16C, int16_t>)},
    {VISORA_OPERATION(vsrImageGradientInterleavedf32),
     older(kPairs, preparePairs<vsrImageGradientInterleavedf32C, float>)},
    {VISORA_OPERATION(vsrImageGradientPlanars16), older(kPlanes, preparePlanes<vsrImageGradientPlanars16C, int16_t>)},
    {VISORA_OPERATION(vsrImageGradientPlanarf32), older(kPlanes, preparePlanes<vsrImageGradientPlanarf32C, float>)},
    {VISORA_OPERATION(vsrImageGradientPlanars8), older(kPlanes, preparePlanes<vsrImageGradientPlanars8C, int8_t>)},
    {VISORA_OPERATION(vsrImageGradientSobelInterleaveds16),
     older(kPairs, preparePairs<vsrImageGradientSobelInterleaveds16C, int16_t>)},
    {VISORA_OPERATION(vsrImageGradientSobelInterleavedf32),
     older(kPairs, preparePairs<vsrImageGradientSobelInterleavedf32C, float>)},
    {VISORA_OPERATION(vsrImageGradientSobelInterleaveds8),
     older(kPairs, preparePairs<vsrImageGradientSobelInterleaveds8C, int8_t>)},
    {VISORA_OPERATION(vsrImageGradientScharrInterleaveds16),
     preparePairs<vsrImageGradientScharrInterleaveds16C, int16_t>},
    {VISORA_OPERATION(vsrImageGradientScharrPlanars16),
     older(kPlanes, preparePlanes<vsrImageGradientScharrPlanars16C, int16_t>)},
    {VISORA_OPERATION(vsrImageGradientScharrPlanarf32),
     older(kPlanes, preparePlanes<vsrImageGradientScharrPlanarf32C, float>)},
});

// ---- Integral images ----

template <auto kernel, class T, class Sum, uint32_t moreRows = 1>
void prepareIntegral(Arguments& a)
{
    const Source<T> src(a);
    const uint32_t stride = a.dstStride(rowBytes<Sum>(src.width + 1), sizeof(Sum));
    a.call(kernel, src.data, src.width, src.height, src.stride,
           a.output<Sum>(src.width + 1, src.height + moreRows, stride), stride);
}

void prepareMaskedIntegral(Arguments& a)
{
    const Source src(a);
    const Source mask(a);
    const uint32_t stride = a.dstStride(rowBytes<uint32_t>(src.width + 1), 4);
    auto* sums = a.output<uint32_t>(src.width + 1, src.height + 1, stride);
    auto* counts = a.output<uint32_t>(src.width + 1, src.height + 1, stride);
    a.call(vsrIntegrateImageMaskedu8C, src.data, src.width, src.height, src.stride, mask.data, mask.stride, sums,
           stride, counts, stride);
}

void preparePatches(Arguments& a)
{
    const Source src(a);
    const uint32_t patchWidth = std::min(a.choose(1, 80, 24), src.width);
    const uint32_t patchHeight = std::min(a.choose(1, 40, 24), src.height);
    const uint32_t count = a.choose(0, 20, 1000);
    std::vector<uint32_t> xy;
    for (uint32_t i = 0; i < count; ++i)
    {
        xy.push_back(a.random().between(0, src.width - patchWidth));
        xy.push_back(a.random().between(0, src.height - patchHeight));
    }
    a.call(vsrIntegratePatchu8C, src.data, src.width, src.height, src.stride, a.given(xy), count, patchWidth,
           patchHeight, numbers<uint32_t>(a, count), numbers<uint64_t>(a, count));
}

const Register integrals({
    {VISORA_OPERATION(vsrIntegrateImageu8),
     OWN_AND_PACKED(vsrIntegrateImageu8, (prepareIntegral<vsrIntegrateImageu8C, uint8_t, uint32_t>))},
    {VISORA_OPERATION(vsrIntegrateImageu16), ownUnits(prepareIntegral<vsrIntegrateImageu16C, uint16_t, uint64_t>)},
    {VISORA_OPERATION(vsrIntegrateImages16), ownUnits(prepareIntegral<vsrIntegrateImages16C, int16_t, int32_t>)},
    {VISORA_OPERATION(vsrIntegrateImagef32), ownUnits(prepareIntegral<vsrIntegrateImagef32C, float, float>)},
    {VISORA_OPERATION(vsrIntegrateImageSquaredu8),
     ownUnits(prepareIntegral<vsrIntegrateImageSquaredu8C, uint8_t, uint64_t>)},
    {VISORA_OPERATION(vsrIntegrateTiltedu8), ownUnits(prepareIntegral<vsrIntegrateTiltedu8C, uint8_t, uint32_t>)},
    {VISORA_OPERATION(vsrIntegrateRowsu8), ownUnits(prepareIntegral<vsrIntegrateRowsu8C, uint8_t, uint32_t, 0>)},
    {VISORA_OPERATION(vsrIntegrateImageMaskedu8), ownUnits(prepareMaskedIntegral)},
    {VISORA_OPERATION(vsrIntegratePatchu8),
     ruled({.unchecked = {5}, .units = EntryRule::Units::Own, .packed = {VISORA_PACKED(vsrIntegratePatchu8, "")}},
           preparePatches),
     "24x24", 1000},
});

// ---- Histograms ----

void prepareDistance(Arguments& a, uint32_t method)
{
    const uint32_t count = a.choose(1, 300, 256);
    const auto* first = a.input<float>(count, 1, count * sizeof(float));
    const auto* second = a.input<float>(count, 1, count * sizeof(float));
    a.call(vsrHistogramDistancef32C, first, second, count, method, numbers<float>(a, 1));
}

template <uint32_t method>
void prepareDistanceBy(Arguments& a)
{
    prepareDistance(a, method);
}

template <auto kernel, class T, class... Bins>
void prepareTiled(Arguments& a, Bins... bins)
{
    const Source<T> src(a);
    const uint32_t stride = a.dstStride(rowBytes<T>(src.width), sizeof(T));
    const uint32_t tilesX = a.random().oneIn(20) ? src.width : a.choose(1, std::min(src.width, 8u), 8);
    const uint32_t tilesY = a.choose(1, std::min(src.height, 4u), 8);
    const float limit = a.shape().typical ? 3.0f : static_cast<float>(a.random().between(0, 30)) / 4;
    a.call(kernel, src.data, src.width, src.height, src.stride, tilesX, tilesY, limit, bins...,
           a.output<T>(src.width, src.height, stride), stride);
}

void prepareTiled16(Arguments& a)
{
    const uint32_t bins = a.random().oneIn(16) ? 65536 : 16u << a.choose(0, 6, 6);
    prepareTiled<vsrClaheu16C, uint16_t>(a, bins);
}

void prepareBackProjection(Arguments& a)
{
    const Source src(a);
    // No number that the strides of entry point tests are.
    const uint32_t bins = a.random().oneIn(8) ? 256 : a.choose(1, 140, 32);
    const uint32_t stride = a.dstStride(src.width);
    const auto* weights = a.input<uint8_t>(bins, 1, bins);
    a.call(vsrBackProjectu8C, src.data, src.width, src.height, src.stride, weights, bins,
           a.output<uint8_t>(src.width, src.height, stride), stride);
}

// ---- Counts and rectangles ----

// The reference serves it alone.
#define REFERENCE_ALONE(operation) \
#operation, reinterpret_cast < VSR_FUNC>(operation##C), reinterpret_cast < VSR_FUNC>(operation##C)

void prepareIntensityHistogram(Arguments& a)
{
    const Source src(a);
    const auto [left, width] = within(a, src.width);
    const auto [top, height] = within(a, src.height);
    a.call(vsrImageIntensityHistogramC, src.data, src.width, src.height, src.stride, left, top, width, height,
           numbers<uint32_t>(a, 256));
}

// Of all pixels, or of those under a mask.
template <bool isMasked>
struct Mask
{
    explicit Mask(Arguments& a)
    {
        if constexpr (isMasked)
        {
            const Source mask(a);
            data = mask.data;
            stride = mask.stride;
        }
    }

    const uint8_t* data = nullptr;
    uint32_t stride = 0;
};

template <bool isMasked>
void prepareBinnedHistogram(Arguments& a)
{
    const Source src(a);
    const Mask<isMasked> mask(a);
    const uint32_t bins = a.choose(1, 256, 256);
    a.call(vsrImageIntensityHistogram_v2C, src.data, src.width, src.height, src.stride, mask.data, mask.stride, 20u,
           230u, bins, numbers<uint32_t>(a, bins));
}

template <bool isMasked>
void prepareJointHistogram(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const Mask<isMasked> mask(a);
    const uint32_t bins1 = a.choose(13, 64, 16);
    const uint32_t bins2 = a.choose(65, 128, 100);
    a.call(vsrHistogram2Du8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride, mask.data,
           mask.stride, bins1, bins2, numbers<uint32_t>(a, size_t{bins1} * bins2));
}

// Integral images have a row and a column more than the picture.
template <class T>
const T* integralOf(Arguments& a, uint32_t& stride)
{
    const uint32_t columns = a.shape().width + 1;
    stride = a.srcStride(rowBytes<T>(columns), sizeof(T));
    return a.input<T>(columns, a.shape().height + 1, stride);
}

void prepareRectSums(Arguments& a)
{
    uint32_t stride = 0;
    const auto* integral = integralOf<uint32_t>(a, stride);
    std::vector<vsrWeightedRectangle> rectangles(6);
    for (auto& rectangle : rectangles)
    {
        std::tie(rectangle.x, rectangle.width) = within(a, a.shape().width);
        std::tie(rectangle.y, rectangle.height) = within(a, a.shape().height);
        rectangle.weight = static_cast<int32_t>(a.random().between(0, 6)) - 3;
    }
    a.call(vsrIntegrateRectSumsu32C, integral, a.shape().width, a.shape().height, stride, 0u, 0u, a.given(rectangles),
           2u, 3u, numbers<int32_t>(a, 3));
}

void prepareRectMeans(Arguments& a)
{
    uint32_t stride = 0;
    uint32_t squaresStride = 0;
    const auto* integral = integralOf<uint32_t>(a, stride);
    const auto* squares = integralOf<uint64_t>(a, squaresStride);
    std::vector<vsrRectangle> rectangles(3);
    for (auto& rectangle : rectangles)
    {
        std::tie(rectangle.x, rectangle.width) = within(a, a.shape().width);
        std::tie(rectangle.y, rectangle.height) = within(a, a.shape().height);
    }
    a.call(vsrIntegrateRectMeansu32C, integral, a.shape().width, a.shape().height, stride, squares, squaresStride,
           a.given(rectangles), 3u, numbers<float>(a, 3), numbers<float>(a, 3));
}

const Register countsAndRectangles({
    {VISORA_OPERATION(vsrImageIntensityHistogram), ownUnits(prepareIntensityHistogram)},
    {VISORA_OPERATION(vsrImageIntensityHistogram_v2), ownUnits(prepareBinnedHistogram<true>, {4})},
    {VISORA_OPERATION(vsrImageIntensityHistogram_v2), ownUnits(prepareBinnedHistogram<false>, {4, 5}), "unmasked"},
    {VISORA_OPERATION(vsrHistogram2Du8), ownUnits(prepareJointHistogram<true>, {6})},
    {VISORA_OPERATION(vsrHistogram2Du8), ownUnits(prepareJointHistogram<false>, {6, 7}), "unmasked"},
    {REFERENCE_ALONE(vsrIntegrateRectSumsu32), ownUnits(prepareRectSums)},
    {REFERENCE_ALONE(vsrIntegrateRectMeansu32), ownUnits(prepareRectMeans)},
});

const Register histograms({
    {VISORA_OPERATION(vsrHistogramDistancef32), ownUnits(prepareDistanceBy<VISORA_HISTOGRAM_CORRELATION>),
     "correlation", 256},
    {VISORA_OPERATION(vsrHistogramDistancef32), ownUnits(prepareDistanceBy<VISORA_HISTOGRAM_CHI_SQUARE>), "chi_square",
     256},
    {VISORA_OPERATION(vsrHistogramDistancef32), ownUnits(prepareDistanceBy<VISORA_HISTOGRAM_INTERSECTION>),
     "intersection", 256},
    {VISORA_OPERATION(vsrHistogramDistancef32), ownUnits(prepareDistanceBy<VISORA_HISTOGRAM_BHATTACHARYYA>),
     "bhattacharyya", 256},
    {VISORA_OPERATION(vsrEqualizeHistogramu8), ruled({.inPlace = EntryRule::InPlace::Allowed,
                                                      .units = EntryRule::Units::Own,
                                                      .packed = {VISORA_PACKED(vsrEqualizeHistogramu8, "")}},
                                                     imageToImage<vsrEqualizeHistogramu8C, uint8_t>())},
    {VISORA_OPERATION(vsrClaheu8), ruled({.inPlace = EntryRule::InPlace::Allowed, .units = EntryRule::Units::Own},
                                         [](Arguments& a) { prepareTiled<vsrClaheu8C, uint8_t>(a); })},
    {VISORA_OPERATION(vsrClaheu16),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .units = EntryRule::Units::Own}, prepareTiled16)},
    {VISORA_OPERATION(vsrBackProjectu8), ruled({.inPlace = EntryRule::InPlace::Allowed,
                                                .units = EntryRule::Units::Own,
                                                .packed = {VISORA_PACKED(vsrBackProjectu8, "")}},
                                               prepareBackProjection)},
});

// ---- Statistics and moments ----

void prepareStats(Arguments& a)
{
    const Source src(a);
    const auto [left, width] = within(a, src.width);
    const auto [top, height] = within(a, src.height);
    a.call(vsrImageIntensityStatsu8C, src.data, src.width, src.height, src.stride, left, top, width, height,
           numbers<float>(a, 1), numbers<float>(a, 1));
}

void prepareFocus(Arguments& a)
{
    const Source src(a);
    const uint32_t gridX = a.choose(1, std::min(src.width, 9u), 8);
    const uint32_t gridY = a.choose(1, std::min(src.height, 9u), 8);
    a.call(vsrFocusMeasureu8C, src.data, src.width, src.height, src.stride, gridX, gridY,
           numbers<float>(a, size_t{gridX} * gridY));
}

void prepareSimilarity(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const bool structural = src1.width >= 11 && src1.height >= 11;
    a.call(vsrImageSimilarityu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride,
           structural ? numbers<float>(a, 1) : nullptr, numbers<float>(a, 1));
}

template <auto kernel, class T>
void prepareMoments(Arguments& a)
{
    const Source<T> src(a);
    a.call(kernel, src.data, src.width, src.height, src.stride, a.choose(0, 1, 0), numbers<vsrMoments>(a, 1));
}

const Register measures({
    {VISORA_OPERATION(vsrImageIntensityStatsu8), ownUnits(prepareStats)},
    {VISORA_OPERATION(vsrFocusMeasureu8), ownUnits(prepareFocus)},
    {VISORA_OPERATION(vsrImageSimilarityu8), ownUnits(prepareSimilarity, {6, 7})},
    {VISORA_OPERATION(vsrImageMomentsu8),
     OWN_AND_PACKED(vsrImageMomentsu8, (prepareMoments<vsrImageMomentsu8C, uint8_t>))},
    {VISORA_OPERATION(vsrImageMomentss32),
     OWN_AND_PACKED(vsrImageMomentss32, (prepareMoments<vsrImageMomentss32C, int32_t>))},
    {VISORA_OPERATION(vsrImageMomentsf32),
     OWN_AND_PACKED(vsrImageMomentsf32, (prepareMoments<vsrImageMomentsf32C, float>))},
});

// ---- Transforms ----

template <auto kernel, class T, class D>
void prepareBlocks(Arguments& a)
{
    const uint32_t width = (a.shape().width + 7) / 8 * 8;
    const uint32_t height = (a.shape().height + 7) / 8 * 8;
    const uint32_t srcStride = a.srcStride(rowBytes<T>(width), sizeof(T));
    const uint32_t dstStride = a.dstStride(rowBytes<D>(width), sizeof(D));
    const auto* src = a.input<T>(width, height, srcStride);
    a.call(kernel, src, width, height, srcStride, a.output<D>(width, height, dstStride), dstStride);
}

// The power of two at or below a size.
uint32_t powerOfTwo(uint32_t size)
{
    return std::bit_floor(size);
}

template <uint32_t flags>
void prepareFft(Arguments& a)
{
    const uint32_t width = powerOfTwo(a.shape().width);
    const uint32_t height = (flags & VISORA_FFT_ROWS) != 0 ? a.shape().height : powerOfTwo(a.shape().height);
    const uint32_t perRow = (flags & VISORA_FFT_COMPLEX) != 0 ? 2 * width : width;
    const uint32_t srcStride = a.srcStride(rowBytes<float>(perRow), sizeof(float));
    const uint32_t dstStride = a.dstStride(rowBytes<float>(2 * width), sizeof(float));
    const auto* src = image<float>(a, perRow, height, srcStride);
    a.call(vsrFFTf32C, src, width, height, srcStride, flags, a.output<float>(2 * width, height, dstStride), dstStride);
}

void prepareByteFft(Arguments& a)
{
    const uint32_t width = powerOfTwo(a.shape().width);
    const uint32_t height = powerOfTwo(a.shape().height);
    const uint32_t dstStride = a.dstStride(rowBytes<float>(2 * width), sizeof(float));
    const auto* src = a.input<uint8_t>(width, height, a.srcStride(width));
    a.call(vsrFFTu8C, src, width, height, a.srcStride(width), a.output<float>(2 * width, height, dstStride), dstStride);
}

void prepareInverseFft(Arguments& a)
{
    const uint32_t width = powerOfTwo(a.shape().width);
    const uint32_t height = powerOfTwo(a.shape().height);
    const uint32_t srcStride = a.srcStride(rowBytes<float>(2 * width), sizeof(float));
    const uint32_t dstStride = a.dstStride(rowBytes<float>(width), sizeof(float));
    const auto* src = image<float>(a, 2 * width, height, srcStride);
    a.call(vsrIFFTf32C, src, width, height, srcStride, a.output<float>(width, height, dstStride), dstStride);
}

const Register transforms({
    {VISORA_OPERATION(vsrDCTu8), OWN_AND_PACKED(vsrDCTu8, (prepareBlocks<vsrDCTu8C, uint8_t, int16_t>))},
    {VISORA_OPERATION(vsrIDCTs16u8), OWN_AND_PACKED(vsrIDCTs16u8, (prepareBlocks<vsrIDCTs16u8C, int16_t, uint8_t>))},
    {VISORA_OPERATION(vsrFFTu8), ownUnits(prepareByteFft)},
    {VISORA_OPERATION(vsrFFTf32), ownUnits(prepareFft<0>), "real"},
    {VISORA_OPERATION(vsrFFTf32), ownUnits(prepareFft<VISORA_FFT_COMPLEX>), "complex"},
    {VISORA_OPERATION(vsrFFTf32), ownUnits(prepareFft<VISORA_FFT_ROWS>), "rows"},
    {VISORA_OPERATION(vsrFFTf32), ownUnits(prepareFft<VISORA_FFT_COMPLEX | VISORA_FFT_ROWS>), "complex_rows"},
    {VISORA_OPERATION(vsrIFFTf32), OWN_AND_PACKED(vsrIFFTf32, (prepareInverseFft))},
});

}  // namespace

}  // namespace visora::test
