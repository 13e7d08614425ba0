// How to call the operations that measure images or transform them by what was measured.
#include "visora/variants/statistics.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <tuple>

#include "support/operations.h"
#include "visora/variants/background.h"
#include "visora/variants/track.h"

namespace visora::test
{

namespace
{

template <class T>
uint32_t rowBytes(uint32_t elements)
{
    return static_cast<uint32_t>(elements * sizeof(T));
}

// An image of the shape's size.
template <class T = uint8_t>
struct Source
{
    explicit Source(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          stride(a.srcStride(rowBytes<T>(width), sizeof(T))),
          data(a.input<T>(width, height, stride))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const T* data;
};

template <class T>
T* numbers(Arguments& a, size_t count)
{
    return a.output<T>(count, 1, count * sizeof(T));
}

// A random range within [0, size), all of it in benchmarks.
std::pair<uint32_t, uint32_t> within(Arguments& a, uint32_t size)
{
    const uint32_t start = a.choose(0, size - 1, 0);
    return {start, a.choose(1, size - start, size)};
}

// Its own conditions or sizes keep the general ones on the choice of a unit from being tried.
Prepare ownUnits(Prepare prepare, std::vector<size_t> unchecked = {})
{
    return ruled({.unchecked = std::move(unchecked), .units = EntryRule::Units::Own}, std::move(prepare));
}

#define OWN_AND_PACKED(packed_entry, prepare) \
    ruled({.units = EntryRule::Units::Own, .packed = {VISORA_PACKED(packed_entry, "")}}, prepare)

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
    {REFERENCE_ALONE(vsrImageIntensityHistogram), ownUnits(prepareIntensityHistogram)},
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
    const auto* src = a.input<float>(perRow, height, srcStride);
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
    const auto* src = a.input<float>(2 * width, height, srcStride);
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

// ---- Differences ----

void prepareBlend(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const bool hasMap = !a.shape().typical && a.random().oneIn(2);
    const auto* map = hasMap ? a.input<uint8_t>(src1.width, src1.height, a.srcStride(src1.width)) : nullptr;
    const uint32_t stride = a.dstStride(src1.width);
    a.call(vsrImageBlendu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride,
           a.choose(0, 256, 100), map, hasMap ? a.srcStride(src1.width) : 0u,
           a.output<uint8_t>(src1.width, src1.height, stride), stride);
}

void prepareFrames(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const Source src3(a);
    const uint32_t stride = a.dstStride(src1.width);
    a.call(vsrFrameDifferenceu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride, src3.data,
           src3.stride, static_cast<uint8_t>(a.choose(0, 255, 20)), a.output<uint8_t>(src1.width, src1.height, stride),
           stride);
}

#define DIFFERENCE(operation, T)                                                                  \
    VISORA_OPERATION(operation),                                                                  \
        ruled({.inPlace = EntryRule::InPlace::Allowed, .packed = {VISORA_PACKED(operation, "")}}, \
              twoToOne<operation##C, T>())

const Register differences({
    {DIFFERENCE(vsrImageDiffu8, uint8_t)},
    {DIFFERENCE(vsrImageDiffs16, int16_t)},
    {DIFFERENCE(vsrImageDifff32, float)},
    {VISORA_OPERATION(vsrImageDiffu8s16), twoToOne<vsrImageDiffu8s16C, uint8_t, uint8_t, int16_t>()},
    {VISORA_OPERATION(vsrImageBlendu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .unchecked = {6, 7, 8}, .units = EntryRule::Units::Own},
           prepareBlend)},
    {VISORA_OPERATION(vsrFrameDifferenceu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .packed = {VISORA_PACKED(vsrFrameDifferenceu8, "")}},
           prepareFrames)},
});

// ---- Background ----

// A model whose bounds are about the levels of the frames that tests make.
struct Model
{
    Model(Arguments& a, uint32_t width, uint32_t height)
        : maxWords(a.choose(1, 4, 3)),
          counts(size_t{width} * height),
          bounds(12 * maxWords * counts.size()),
          lastSeen(maxWords * counts.size())
    {
        Random& random = a.random();
        for (uint8_t& count : counts)
        {
            count = static_cast<uint8_t>(random.between(0, maxWords + 1));
        }
        for (size_t i = 0; i < bounds.size(); ++i)
        {
            // Upper and highest ones are in every second plane.
            const bool isUpper = i / counts.size() % 2 != 0;
            bounds[i] = static_cast<uint8_t>(random.between(isUpper ? 90 : 0, isUpper ? 255 : 140));
        }
        for (uint32_t& time : lastSeen)
        {
            time = random.between(0, 100);
        }
    }

    uint32_t maxWords;
    std::vector<uint8_t> counts;
    std::vector<uint8_t> bounds;
    std::vector<uint32_t> lastSeen;
};

struct Frame
{
    explicit Frame(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          stride(a.srcStride(3 * width)),
          data(a.input<uint8_t>(3 * size_t{width}, height, stride))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const uint8_t* data;
};

void prepareLearn(Arguments& a)
{
    const Frame frame(a);
    const Model model(a, frame.width, frame.height);
    a.call(vsrBGCodeLearnu8C, frame.data, frame.width, frame.height, frame.stride, a.input<uint8_t>(3, 1, 3), 101u,
           model.maxWords, a.updated(model.counts), a.updated(model.bounds), a.updated(model.lastSeen));
}

void prepareClassify(Arguments& a)
{
    const Frame frame(a);
    const Model model(a, frame.width, frame.height);
    const uint32_t stride = a.dstStride(frame.width);
    const auto* below = a.input<uint8_t>(3, 1, 3);
    const auto* above = a.input<uint8_t>(3, 1, 3);
    a.call(vsrBGCodeClassifyu8C, frame.data, frame.width, frame.height, frame.stride, model.maxWords,
           a.given(model.counts), a.given(model.bounds), below, above,
           a.output<uint8_t>(frame.width, frame.height, stride), stride);
}

void preparePrune(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const Model model(a, width, height);
    const uint32_t maxAge = a.random().oneIn(2) ? 101 : a.choose(0, 100, 90);
    a.call(vsrBGCodePruneu8C, width, height, 101u, maxAge, model.maxWords, a.updated(model.counts),
           a.updated(model.bounds), a.updated(model.lastSeen));
}

const Register backgrounds({
    {VISORA_OPERATION(vsrBGCodeLearnu8), ownUnits(prepareLearn)},
    {VISORA_OPERATION(vsrBGCodeClassifyu8), ownUnits(prepareClassify)},
    {VISORA_OPERATION(vsrBGCodePruneu8), ownUnits(preparePrune, {2, 3})},
});

// ---- Motion ----

template <auto kernel, class T, class Result>
void prepareWindow(Arguments& a)
{
    const Source<T> src(a);
    const auto [left, width] = within(a, src.width);
    const auto [top, height] = within(a, src.height);
    const std::vector<vsrRectangle> window = {{left, top, width, height}};
    a.call(kernel, src.data, src.width, src.height, src.stride, a.choose(1, 10, 10), 1.0f, a.updated(window),
           numbers<Result>(a, 1));
}

void prepareBlockMatch(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const uint32_t size = std::min({a.choose(1, 40, 16), src1.width, src1.height});
    const uint32_t step = a.choose(4, 40, 16);
    const uint32_t columns = (src1.width - size) / step + 1;
    const uint32_t rows = (src1.height - size) / step + 1;
    // Padded ones suit a DSP.
    const auto padded = [&](uint32_t bytes)
    { return a.shape().dstPadding == 0 ? bytes : a.dstStride((bytes + 7) / 8 * 8, 8); };
    const uint32_t flowStride = padded(rowBytes<int16_t>(2 * columns));
    const uint32_t sadsStride = padded(rowBytes<uint32_t>(columns));
    auto* flow = a.output<int16_t>(2 * columns, rows, flowStride);
    auto* sads = a.output<uint32_t>(columns, rows, sadsStride);
    a.call(vsrTrackBlockMatchu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride, size, step,
           a.choose(0, 6, 8), a.choose(0, 6, 8), flow, flowStride, sads, sadsStride);
}

void prepareHistory(Arguments& a)
{
    const Source mask(a);
    // Dense, so that it can be given contents.
    std::vector<float> history(size_t{mask.width} * mask.height);
    std::generate(history.begin(), history.end(), [&] { return static_cast<float>(a.random().between(0, 40)) / 4; });
    history[0] = std::numeric_limits<float>::quiet_NaN();
    a.call(vsrMotionHistoryu8f32C, mask.data, mask.width, mask.height, mask.stride, 10.5f, 4.0f, a.updated(history),
           rowBytes<float>(mask.width));
}

void prepareMotionGradient(Arguments& a)
{
    // Values whose differences are within and beyond the limits; some images of any floats.
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t angleStride = a.dstStride(rowBytes<float>(width), sizeof(float));
    const uint32_t maskStride = a.dstStride(width);
    const float* src = nullptr;
    uint32_t stride = rowBytes<float>(width);
    if (a.random().oneIn(3))
    {
        const Source<float> any(a);
        src = any.data;
        stride = any.stride;
    }
    else
    {
        std::vector<float> values(size_t{width} * height);
        std::generate(values.begin(), values.end(), [&] { return static_cast<float>(a.random().between(0, 12)) / 4; });
        src = a.given(values);
    }
    auto* orientation = a.output<float>(width, height, angleStride);
    auto* mask = a.output<uint8_t>(width, height, maskStride);
    a.call(vsrMotionGradientf32C, src, width, height, stride, 0.25f, 2.5f, orientation, angleStride, mask, maskStride);
}

#define WINDOW_TRACKER(operation, T, Result) \
    VISORA_OPERATION(operation), ownUnits(prepareWindow<operation##C, T, Result>)

const Register motions({
    {WINDOW_TRACKER(vsrMeanShiftu8, uint8_t, uint32_t)},
    {WINDOW_TRACKER(vsrMeanShiftu16, uint16_t, uint32_t)},
    {WINDOW_TRACKER(vsrMeanShiftf32, float, uint32_t)},
    {WINDOW_TRACKER(vsrConAdaTracku8, uint8_t, vsrRotatedBox)},
    {WINDOW_TRACKER(vsrConAdaTracku16, uint16_t, vsrRotatedBox)},
    {WINDOW_TRACKER(vsrConAdaTrackf32, float, vsrRotatedBox)},
    {VISORA_OPERATION(vsrTrackBlockMatchu8), ownUnits(prepareBlockMatch, {12})},
    {VISORA_OPERATION(vsrMotionHistoryu8f32), ownUnits(prepareHistory)},
    {VISORA_OPERATION(vsrMotionGradientf32), ownUnits(prepareMotionGradient)},
});

}  // namespace

}  // namespace visora::test
