// Correlation of patches and templates, reference.
#include "cpu/dot/visoraDot.h"
#include "cpu/match/visoraMatch.h"
#include "cpu/visoraDrivers.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

template <uint32_t side>
constexpr auto scoresAt = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint8_t* patch,
                             const uint32_t* xy, uint32_t count, float* scores)
{
    const PatchSums patchSums = sumsOf(patch, side, side, side);
    for (size_t k = 0; k < count; ++k)
    {
        const uint8_t* window = windowAt<side>(src, width, height, stride, xy[2 * k], xy[2 * k + 1]);
        scores[k] = window ? compareWindow(VISORA_MATCH_NORMED_COEFFICIENT, sumsOf(window, stride, side, side),
                                           patchSums, sumOfProducts(window, stride, patch, side, side, side))
                           : -1;
    }
    return VISORA_SUCCESS;
};

void search(const PatchSearch& search, const SearchArea& area, const PatchSums& patchSums, const BestPosition& best)
{
    best.clear();
    for (int64_t y = area.top(); y <= area.bottom(); ++y)
    {
        const auto [first, last] = area.row(y);
        for (int64_t x = first; x <= last; ++x)
        {
            best.add(x, y, search.score(x, y, patchSums));
        }
    }
}

}  // namespace
}  // namespace visora

VSR_REFERENCE(vsrNCCPatchScore8x8u8, scoresAt<8>);
VSR_REFERENCE(vsrNCCPatchScore16x16u8, scoresAt<16>);

vsrStatus vsrNCCPatchSearch8x8u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const uint8_t* patch, int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY,
                                  uint32_t* bestXY, float* score, float* offset)
{
    const visora::PatchSearch search = {src, srcWidth, srcHeight, srcStride, patch, 8, 8};
    const visora::SearchArea area(search, VISORA_SEARCH_RECTANGLE, x, y, radiusX, radiusY);
    const visora::PatchSums patchSums = visora::sumsOf(patch, 8, 8, 8);
    const visora::BestPosition best = {bestXY, score};
    visora::search(search, area, patchSums, best);
    if (offset)
    {
        visora::findOffset(search, patchSums, best, offset);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrNCCPatchSearchNxNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                  const uint8_t* patch, uint32_t patchSize, uint32_t patchStride, vsrSearchShape shape,
                                  int32_t x, int32_t y, uint32_t radiusX, uint32_t radiusY, uint32_t* bestXY,
                                  float* score)
{
    const visora::PatchSearch search = {src, srcWidth, srcHeight, srcStride, patch, patchSize, patchStride};
    const visora::SearchArea area(search, shape, x, y, radiusX, radiusY);
    visora::search(search, area, visora::sumsOf(patch, patchStride, patchSize, patchSize), {bestXY, score});
    return VISORA_SUCCESS;
}

vsrStatus vsrMatchTemplateu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const uint8_t* templ, uint32_t templateWidth, uint32_t templateHeight,
                              uint32_t templateStride, vsrMatchMethod method, float* dst, uint32_t dstStride)
{
    const visora::PatchSums templateSums = visora::sumsOf(templ, templateStride, templateWidth, templateHeight);
    for (size_t y = 0; y + templateHeight <= srcHeight; ++y)
    {
        for (size_t x = 0; x + templateWidth <= srcWidth; ++x)
        {
            const uint8_t* window = visora::planeRow(src, srcStride, y) + x;
            visora::planeRow(dst, dstStride, y)[x] = visora::compareWindow(
                method, visora::sumsOf(window, srcStride, templateWidth, templateHeight), templateSums,
                visora::sumOfProducts(window, srcStride, templ, templateStride, templateWidth, templateHeight));
        }
    }
    return VISORA_SUCCESS;
}
