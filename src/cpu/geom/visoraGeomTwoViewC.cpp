// Models of two views, reference variants.
#include "cpu/geom/visoraGeomTwoView.h"

using visora::Lists;
using visora::PlainSums;

namespace
{

template <class Residual>
auto counting(const vsrCorrespondences& corrs, float maxsqerr)
{
    return [&corrs, maxsqerr](const float* model)
    {
        uint32_t count = 0;
        visora::listInliers(corrs, maxsqerr, nullptr, &count, nullptr, Residual{model});
        return count;
    };
}

template <class Residual>
auto listing(const vsrCorrespondences& corrs, float maxsqerr, uint16_t* inliers, uint32_t* numInliers)
{
    return [&corrs, maxsqerr, inliers, numInliers](const float* model)
    { visora::listInliers(corrs, maxsqerr, inliers, numInliers, nullptr, Residual{model}); };
}

}  // namespace

vsrStatus vsrGeomAffineRobustFitf32C(const vsrCorrespondences* corrs, float* affine, float maxsqerr, uint16_t* inliers,
                                     uint32_t* numInliers)
{
    using visora::AffineResidual;
    const Lists lists(visora::kAffineLists, corrs->numIndices);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    return visora::searchConsensus<visora::kAffinePoints>(
        *corrs, affine, inliers, numInliers,
        [&](const vsrCorrespondences& some, float* model)
        { return visora::fitAffine(PlainSums(), some, lists, model); },
        counting<AffineResidual>(*corrs, maxsqerr), listing<AffineResidual>(*corrs, maxsqerr, inliers, numInliers));
}

vsrStatus vsrGeomSimilarityFitf32C(const vsrCorrespondences* corrs, float* similarity)
{
    return visora::fitSimilarity(PlainSums(), *corrs, similarity);
}

vsrStatus vsrGeomRigidFit3xNf32C(const float* from, const float* to, uint32_t numPoints, uint32_t withScale,
                                 float* rotation, float* translation, float* scale)
{
    return visora::fitRigid(PlainSums(), from, to, numPoints, withScale != 0, rotation, translation, scale);
}

vsrStatus vsrGeomFundamentalFitf32C(const vsrCorrespondences* corrs, float* fundamental)
{
    const Lists lists(visora::kFundamentalLists, corrs->numIndices);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    std::fill_n(fundamental, 9, 0.0F);
    return visora::fitFundamental(visora::PlainFundamental(), *corrs, lists, fundamental) ? VISORA_SUCCESS
                                                                                          : VISORA_EFAIL;
}

vsrStatus vsrGeomFundamentalRobustFitf32C(const vsrCorrespondences* corrs, float* fundamental, float maxsqerr,
                                          uint16_t* inliers, uint32_t* numInliers)
{
    using visora::SampsonResidual;
    const Lists lists(visora::kFundamentalLists, corrs->numIndices);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    return visora::searchConsensus<visora::kFundamentalPoints>(
        *corrs, fundamental, inliers, numInliers,
        [&](const vsrCorrespondences& some, float* model)
        { return visora::fitFundamental(visora::PlainFundamental(), some, lists, model); },
        counting<SampsonResidual>(*corrs, maxsqerr), listing<SampsonResidual>(*corrs, maxsqerr, inliers, numInliers));
}
