// DSP routines of the corner detectors.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

template <size_t n, size_t m>
constexpr std::array<uint32_t, n + m> join(const std::array<uint32_t, n>& first, const std::array<uint32_t, m>& second)
{
    std::array<uint32_t, n + m> all{};
    for (size_t i = 0; i < n + m; ++i)
    {
        all[i] = i < n ? first[i] : second[i - n];
    }
    return all;
}

// What follows the corner count: a mask of bits, the work buffer of the suppression, both or nothing.
struct Rest
{
    uint32_t height;
    uint32_t capacity;

    std::array<uint32_t, 0> operator()() const { return {}; }

    std::array<uint32_t, 1> operator()(const uint8_t* /*mask*/, uint32_t maskWidth, uint32_t maskHeight) const
    {
        return {(maskWidth + 7) / 8 * maskHeight};
    }

    std::array<uint32_t, 1> operator()(uint32_t suppress, const uint32_t* /*work*/) const
    {
        return {suppress ? 3 * capacity + height : 0};
    }

    std::array<uint32_t, 2> operator()(const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight, uint32_t suppress,
                                       const uint32_t* work) const
    {
        return join((*this)(mask, maskWidth, maskHeight), (*this)(suppress, work));
    }
};

constexpr auto corners = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                            uint32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, uint32_t capacity,
                            uint32_t* /*count*/, auto... rest)
{
    return join(std::array{imageLength(src, stride, width, height), 2 * capacity, uint32_t{1}},
                Rest{height, capacity}(rest...));
};

constexpr auto scoredCorners = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, uint32_t* /*scores*/,
                                  uint32_t capacity, uint32_t* /*count*/, auto... rest)
{
    return join(std::array{imageLength(src, stride, width, height), 2 * capacity, capacity, uint32_t{1}},
                Rest{height, capacity}(rest...));
};

// ---- Sets of vectors ----

constexpr auto setWithMany = [](const auto* /*query*/, uint32_t length, const auto* set, uint32_t count,
                                uint32_t stride, auto* /*results*/) {
    return std::array{length, imageLength(set, stride, length, count), count};
};

constexpr auto setWithListed = [](const auto* /*query*/, uint32_t length, const auto* set, uint32_t count,
                                  uint32_t stride, const uint32_t* indices, uint32_t listed, auto* /*results*/) {
    return std::array{length, imageLength(set, stride, length, count), indices ? listed : 0, indices ? listed : count};
};

constexpr auto cosinesOfSet = [](const auto* /*query*/, uint32_t length, const auto* set, uint32_t count,
                                 uint32_t stride, const float* /*inverseLengths*/, float* /*cosines*/) {
    return std::array{length, imageLength(set, stride, length, count), count, count};
};

constexpr auto setWithSet = [](const auto* src1, uint32_t length, uint32_t count1, uint32_t stride1, const auto* src2,
                               uint32_t count2, uint32_t stride2, auto* dst, uint32_t dstStride)
{
    return std::array{imageLength(src1, stride1, length, count1), imageLength(src2, stride2, length, count2),
                      imageLength(dst, dstStride, count2, count1)};
};

/** So many indices and values for each query. */
template <uint32_t each>
constexpr auto setMatches = [](const auto* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                               const auto* set, uint32_t count, uint32_t stride, auto...)
{
    return std::array{imageLength(queries, queryStride, length, numQueries), imageLength(set, stride, length, count),
                      each * numQueries, each * numQueries};
};

constexpr auto setWithin = [](const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                              const uint8_t* set, uint32_t count, uint32_t stride, uint32_t /*maxDistance*/,
                              uint32_t* /*indices*/, uint32_t capacity, uint32_t* /*counts*/)
{
    return std::array{imageLength(queries, queryStride, length, numQueries), imageLength(set, stride, length, count),
                      capacity * numQueries, numQueries};
};

// ---- Descriptors of points ----

constexpr auto brief = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint32_t* /*xy*/,
                          uint32_t count, uint8_t* dst, uint32_t dstStride) {
    return std::array{imageLength(src, stride, width, height), 2 * count, imageLength(dst, dstStride, 32, count)};
};

constexpr auto turnedBrief = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                const uint32_t* /*xy*/, uint32_t count, const float* angles, uint8_t* dst,
                                uint32_t dstStride)
{
    return std::array{imageLength(src, stride, width, height), 2 * count, angles ? count : 0,
                      imageLength(dst, dstStride, 32, count)};
};

template <uint32_t length>
constexpr auto ofKeypoints = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                const vsrKeypoint* /*keypoints*/, uint32_t count, auto* dst, uint32_t dstStride) {
    return std::array{imageLength(src, stride, width, height), count, imageLength(dst, dstStride, length, count)};
};

// ---- Corners by the matrix of gradients ----

constexpr auto harrisInMask = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 int32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, uint32_t capacity,
                                 uint32_t* /*count*/, const uint8_t* /*mask*/, uint32_t maskWidth, uint32_t maskHeight)
{
    return std::array{imageLength(src, stride, width, height), 2 * capacity, uint32_t{1},
                      (maskWidth + 7) / 8 * maskHeight};
};

constexpr auto harris = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, int32_t /*threshold*/,
                           uint32_t /*border*/, uint32_t* /*xy*/, uint32_t capacity, uint32_t* /*count*/) {
    return std::array{imageLength(src, stride, width, height), 2 * capacity, uint32_t{1}};
};

constexpr auto scoredHarris = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 int32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, int32_t* /*scores*/,
                                 uint32_t capacity, uint32_t* /*count*/, uint32_t /*nmsEnabled*/) {
    return std::array{imageLength(src, stride, width, height), 2 * capacity, capacity, uint32_t{1}};
};

/** A small image with a short list is not worth the way. */
constexpr auto isLargeOrLong = [](const auto& lengths, auto...)
{
    constexpr uint32_t kSmall = 25344;
    return lengths[0] > kSmall || uint64_t{lengths[1]} * sizeof(uint32_t) > kSmall;
};
using FallBackIfLargeOrLong = FallBackIf<isLargeOrLong>;

constexpr auto eigenCorners = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 float /*quality*/, uint32_t /*minDistance*/, uint32_t /*border*/, uint32_t* /*xy*/,
                                 float* /*scores*/, uint32_t capacity, uint32_t* /*count*/) {
    return std::array{imageLength(src, stride, width, height), 2 * capacity, capacity, uint32_t{1}};
};

constexpr auto refined = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const float* /*xy*/,
                            uint32_t count, auto...) {
    return std::array{imageLength(src, stride, width, height), 2 * count, 2 * count};
};

// ---- Patches and templates ----

template <uint32_t side>
constexpr auto patchScores = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                const uint8_t* /*patch*/, const uint32_t* /*xy*/, uint32_t count, float* /*scores*/) {
    return std::array{imageLength(src, stride, width, height), side * side, 2 * count, count};
};

constexpr auto patchSearch8 = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                 const uint8_t* /*patch*/, int32_t /*x*/, int32_t /*y*/, uint32_t /*radiusX*/,
                                 uint32_t /*radiusY*/, uint32_t* /*bestXY*/, float* /*score*/, const float* offset) {
    return std::array{imageLength(src, stride, width, height), 64u, 2u, 1u, offset ? 2u : 0u};
};

constexpr auto patchSearch = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                const uint8_t* patch, uint32_t size, uint32_t patchStride, auto...) {
    return std::array{imageLength(src, stride, width, height), imageLength(patch, patchStride, size, size), 2u, 1u};
};

constexpr auto templateMatch = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                  const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight,
                                  uint32_t templateStride, vsrMatchMethod /*method*/, float* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, stride, width, height),
                      imageLength(templ, templateStride, templateWidth, templateHeight),
                      imageLength(dst, dstStride, width - templateWidth + 1, height - templateHeight + 1)};
};

// ---- Clusters ----

constexpr auto assigned = [](const auto* src, uint32_t length, uint32_t count, uint32_t stride, const auto* centres,
                             uint32_t numCentres, uint32_t centreStride, auto...)
{
    return std::array{imageLength(src, stride, length, count), imageLength(centres, centreStride, length, numCentres),
                      count, count};
};

constexpr auto updated = [](const auto* src, uint32_t length, uint32_t count, uint32_t stride,
                            const uint16_t* /*indices*/, auto* centres, uint32_t numCentres, uint32_t centreStride,
                            auto* results)
{
    // A count for each centre, or the greatest shift of all.
    constexpr bool isEach = std::is_integral_v<std::remove_pointer_t<decltype(results)>>;
    return std::array{imageLength(src, stride, length, count), count,
                      imageLength(centres, centreStride, length, numCentres), isEach ? numCentres : 1u};
};

constexpr auto codeHistogram = [](const uint16_t* /*codes*/, uint32_t numCodes, uint32_t numBins,
                                  vsrHistogramNorm /*norm*/, float* /*histogram*/) {
    return std::array{numCodes, numBins};
};

// ---- Oriented gradients, wavelet ----

constexpr auto eightEach = [](float* /*scores*/, float* /*values*/) { return std::array{8u, 8u}; };

constexpr auto windowScores = [](const uint16_t* features, uint32_t gridWidth, uint32_t gridHeight, uint32_t gridStride,
                                 uint32_t blockLength, const float* /*weights*/, uint32_t windowWidth,
                                 uint32_t windowHeight, uint32_t stepX, uint32_t stepY, float /*bias*/, float* dst,
                                 uint32_t dstStride)
{
    return std::array{
        imageLength(features, gridStride, gridWidth * blockLength, gridHeight),
        windowWidth * windowHeight * blockLength,
        imageLength(dst, dstStride, (gridWidth - windowWidth) / stepX + 1, (gridHeight - windowHeight) / stepY + 1)};
};

/** All bands are as long as that of low frequencies. */
constexpr auto toBands = [](const int16_t* src, uint32_t width, uint32_t height, uint32_t stride, int16_t* ll,
                            int16_t* /*hl*/, int16_t* /*lh*/, int16_t* /*hh*/, uint32_t bandStride)
{
    const uint32_t band = imageLength(ll, bandStride, width / 2 + width % 2, height / 2 + height % 2);
    return std::array{imageLength(src, stride, width, height), band, band, band, band};
};

constexpr auto fromBands = [](const int16_t* ll, const int16_t* /*hl*/, const int16_t* /*lh*/, const int16_t* /*hh*/,
                              uint32_t width, uint32_t height, uint32_t bandStride, int16_t* dst, uint32_t dstStride)
{
    const uint32_t band = imageLength(ll, bandStride, width / 2 + width % 2, height / 2 + height % 2);
    return std::array{band, band, band, band, imageLength(dst, dstStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/corner.def"
