// Entry points of the model fits and of the linear equations.
#include "common/visoraCall.h"
#include "visora/variants/geom.h"

using visora::Call;
using visora::Row;

namespace
{

bool hasPoints(const vsrCorrespondences* corrs)
{
    return corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1;
}

}  // namespace

vsrStatus vsrGeomHomographyFitf32(const vsrCorrespondences* corrs, float* homography)
{
    Call call(Row::vsrGeomHomographyFitf32, "vsrGeomHomographyFitf32");
    call.trace();
    VSR_REQUIRE(call, corrs && homography && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 &&
                          corrs->toStride > 1);
    return call.run<vsrGeomHomographyFitf32C>(corrs, homography);
}

vsrStatus vsrGeomHomographyFitDPf32(const vsrCorrespondences* corrs, float* homography)
{
    Call call(Row::vsrGeomHomographyFitDPf32, "vsrGeomHomographyFitDPf32");
    call.trace();
    VSR_REQUIRE(call, corrs && homography && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 &&
                          corrs->toStride > 1);
    return call.run<vsrGeomHomographyFitDPf32C>(corrs, homography);
}

vsrStatus vsrGeomAffineFitf32(const vsrCorrespondences* corrs, float* affine)
{
    Call call(Row::vsrGeomAffineFitf32, "vsrGeomAffineFitf32");
    call.trace();
    VSR_REQUIRE(call, corrs && affine);
    return call.run<vsrGeomAffineFitf32C>(corrs, affine);
}

// As VSR_REQUIRE where the result is an int. It is the log call's, never 0.
#define VSR_REQUIRE_INT(call, condition)                                         \
    do                                                                           \
    {                                                                            \
        if (!(condition)) [[unlikely]]                                           \
        {                                                                        \
            return static_cast<int>(visora::refuse((call).entry(), #condition)); \
        }                                                                        \
    } while (false)

int vsrGeomHomographyEvaluatef32(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                 uint16_t* inliers, uint32_t* numInliers)
{
    Call call(Row::vsrGeomHomographyEvaluatef32, "vsrGeomHomographyEvaluatef32");
    call.trace();
    VSR_REQUIRE_INT(call, corrs && homography && numInliers &&
                              (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && inliers)));
    return call.run<vsrGeomHomographyEvaluatef32C>(corrs, homography, maxsqerr, inliers, numInliers);
}

int vsrGeomHomographyEvaluatef32_v2(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                    uint16_t* inliers, uint32_t* numInliers, float* errinliers)
{
    Call call(Row::vsrGeomHomographyEvaluatef32_v2, "vsrGeomHomographyEvaluatef32_v2");
    call.trace();
    VSR_REQUIRE_INT(call,
                    corrs && homography && numInliers &&
                        (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && inliers && errinliers)));
    return call.run<vsrGeomHomographyEvaluatef32_v2C>(corrs, homography, maxsqerr, inliers, numInliers, errinliers);
}

int vsrGeomAffineEvaluatef32(const vsrCorrespondences* corrs, const float* affine, float maxsqerr, uint16_t* inliers,
                             uint32_t* numInliers)
{
    Call call(Row::vsrGeomAffineEvaluatef32, "vsrGeomAffineEvaluatef32");
    call.trace();
    VSR_REQUIRE_INT(call, corrs && affine && numInliers &&
                              (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && inliers)));
    return call.run<vsrGeomAffineEvaluatef32C>(corrs, affine, maxsqerr, inliers, numInliers);
}

vsrStatus vsrGeomHomographyRobustFitf32(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                        uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers)
{
    Call call(Row::vsrGeomHomographyRobustFitf32, "vsrGeomHomographyRobustFitf32");
    call.trace();
    if (!(corrs && homography && inliers && numInliers && scratchInliers && hasPoints(corrs)))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrGeomHomographyRobustFitf32C>(corrs, homography, maxsqerr, inliers, numInliers,
                                                              scratchInliers);
}

vsrStatus vsrGeomHomographyRobustFitf32_v2(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                           uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers,
                                           float* errinliers)
{
    Call call(Row::vsrGeomHomographyRobustFitf32_v2, "vsrGeomHomographyRobustFitf32_v2");
    call.trace();
    if (!(corrs && homography && inliers && numInliers && scratchInliers && errinliers && hasPoints(corrs)))
    {
        return VISORA_EBADPARAM;
    }
    return call.runOrFallBack<vsrGeomHomographyRobustFitf32_v2C>(corrs, homography, maxsqerr, inliers, numInliers,
                                                                 scratchInliers, errinliers);
}

int vsrSolveCholeskyf32(float* A, const float* b, float* diag, uint32_t n, float* x)
{
    Call call(Row::vsrSolveCholeskyf32, "vsrSolveCholeskyf32");
    call.trace();
    VSR_REQUIRE_INT(call, A && b && diag && x);
    return call.run<vsrSolveCholeskyf32C>(A, b, diag, n, x);
}
