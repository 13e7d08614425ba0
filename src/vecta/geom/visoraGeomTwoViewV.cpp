// Models of two views, vector variants: sums over the points, and the inliers of the samples' models.
#include "cpu/geom/visoraGeomTwoView.h"
#include "vecta/geom/visoraGeomPoints.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomTwoViewV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeom-inl.h"
#include "vecta/geom/visoraGeomJacobi-inl.h"
#include "vecta/geom/visoraGeomLists-inl.h"
#include "vecta/visoraExport.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

vsrStatus similarity(const vsrCorrespondences* corrs, float* model)
{
    return fitSimilarity(VectorSums(), *corrs, model);
}

vsrStatus rigid(const float* from, const float* to, uint32_t numPoints, uint32_t withScale, float* rotation,
                float* translation, float* scale)
{
    return fitRigid(VectorSums(), from, to, numPoints, withScale != 0, rotation, translation, scale);
}

struct VectorFundamental : VectorSums
{
    void leastDirection(const double (&M)[9][9], double (&direction)[9]) const
    {
        NineColumns columns(M);
        columns.orthogonalise();
        columns.leastDirection(direction);
    }
};

vsrStatus fundamental(const vsrCorrespondences* corrs, float* model)
{
    const Lists lists(kFundamentalLists, corrs->numIndices);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    std::fill_n(model, 9, 0.0F);
    return fitFundamental(VectorFundamental(), *corrs, lists, model) ? VISORA_SUCCESS : VISORA_EFAIL;
}

// Samples are few points, whose sums gain nothing.
template <uint32_t points, size_t listCount, template <class> class Error, class Residual, class Fit>
HWY_INLINE vsrStatus search(const vsrCorrespondences& corrs, float* model, float maxsqerr, uint16_t* inliers,
                            uint32_t* numInliers, Fit fit)
{
    const Lists lists(listCount, corrs.numIndices);
    const GatheredPoints gathered(corrs, hn::Lanes(hn::ScalableTag<float>()));
    if (!lists || !gathered)
    {
        return VISORA_ENOMEM;
    }
    return searchConsensus<points>(
        corrs, model, inliers, numInliers,
        [&](const vsrCorrespondences& some, float* of) { return fit(some, lists, of); },
        [&](const float* of) HWY_ATTR { return countInliers<Error>(gathered, of, maxsqerr); },
        [&](const float* of) { listInliers(corrs, maxsqerr, inliers, numInliers, nullptr, Residual{of}); });
}

vsrStatus robustAffine(const vsrCorrespondences* corrs, float* affine, float maxsqerr, uint16_t* inliers,
                       uint32_t* numInliers)
{
    return search<kAffinePoints, kAffineLists, AffineError, AffineResidual>(
        *corrs, affine, maxsqerr, inliers, numInliers,
        [](const vsrCorrespondences& some, const Lists& lists, float* of)
        {
            return some.numIndices == kAffinePoints ? fitAffine(PlainSums(), some, lists, of)
                                                    : fitAffine(VectorSums(), some, lists, of);
        });
}

vsrStatus robustFundamental(const vsrCorrespondences* corrs, float* model, float maxsqerr, uint16_t* inliers,
                            uint32_t* numInliers)
{
    return search<kFundamentalPoints, kFundamentalLists, SampsonError, SampsonResidual>(
        *corrs, model, maxsqerr, inliers, numInliers,
        [](const vsrCorrespondences& some, const Lists& lists, float* of)
        { return fitFundamental(VectorFundamental(), some, lists, of); });
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrGeomSimilarityFitf32, similarity);
VSR_VECTOR(vsrGeomRigidFit3xNf32, rigid);
VSR_VECTOR(vsrGeomFundamentalFitf32, fundamental);
VSR_VECTOR(vsrGeomAffineRobustFitf32, robustAffine);
VSR_VECTOR(vsrGeomFundamentalRobustFitf32, robustFundamental);

#endif
