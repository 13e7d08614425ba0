// DSP routines of the planar models. A list of correspondences is one record.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto homography = [](const vsrCorrespondences* /*corrs*/, float* /*homography*/) {
    return std::array{uint32_t{1}, uint32_t{9}};
};

template <uint32_t coefficients>
constexpr auto evaluation = [](const vsrCorrespondences* corrs, const float* /*model*/, float /*maxsqerr*/,
                               uint16_t* /*inliers*/, uint32_t* /*numInliers*/) {
    return std::array{uint32_t{1}, coefficients, corrs->numIndices, uint32_t{1}};
};

constexpr auto evaluationWithErrors = [](const vsrCorrespondences* corrs, const float* /*model*/, float /*maxsqerr*/,
                                         uint16_t* /*inliers*/, uint32_t* /*numInliers*/, float* /*errinliers*/) {
    return std::array{uint32_t{1}, uint32_t{9}, corrs->numIndices, uint32_t{1}, corrs->numIndices};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/geom.def"
