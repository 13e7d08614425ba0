// Entry points of the models of two views that refuse silently.
#include "common/entries/visoraGeomEntries.h"
#include "visora/variants/geom.h"

using visora::areFinite;
using visora::areSoundAnd;
using visora::Array;
using visora::isRecord;
using visora::Result;
using visora::roomFor;

namespace
{

constexpr auto fit = [](auto open, const vsrCorrespondences* corrs, float* model)
{
    const Array record(corrs);
    const Result result(model, 9);
    return open(record, result).require(areSoundAnd([=] { return isRecord(corrs); }, record, result)).run(corrs, model);
};

constexpr auto robustFit = [](auto open, const vsrCorrespondences* corrs, float* model, float maxsqerr,
                              uint16_t* inliers, uint32_t* numInliers)
{
    const Array record(corrs);
    const Result result(model, 9), list(inliers, roomFor(corrs)), count(numInliers);
    return open(record, result, list, count)
        .require(std::isfinite(maxsqerr) && maxsqerr >= 0 && isRecord(corrs))
        .run(corrs, model, maxsqerr, inliers, numInliers);
};

}  // namespace

VSR_ENTRY(vsrGeomSimilarityFitf32, vsrGeomSimilarityFitf32, fit);
VSR_ENTRY(vsrGeomFundamentalFitf32, vsrGeomFundamentalFitf32, fit);
VSR_ENTRY(vsrGeomAffineRobustFitf32, vsrGeomAffineRobustFitf32, robustFit);
VSR_ENTRY(vsrGeomFundamentalRobustFitf32, vsrGeomFundamentalRobustFitf32, robustFit);

int vsrGeomAffineEvaluatef32_v2(const vsrCorrespondences* corrs, const float* affine, float maxsqerr, uint16_t* inliers,
                                uint32_t* numInliers, float* errinliers)
{
    const Array record(corrs), model(affine, 6);
    const Result list(inliers, roomFor(corrs)), count(numInliers), errors(errinliers, roomFor(corrs));
    return VSR_CALL(vsrGeomAffineEvaluatef32_v2, record, model, list, count, errors)
        .require(std::isfinite(maxsqerr) && affine && areFinite(affine, 6) && isRecord(corrs))
        .run(corrs, affine, maxsqerr, inliers, numInliers, errinliers);
}

vsrStatus vsrGeomRigidFit3xNf32(const float* from, const float* to, uint32_t numPoints, uint32_t withScale,
                                float* rotation, float* translation, float* scale)
{
    const size_t count = size_t{3} * numPoints;
    const Array source(from, count), target(to, count);
    const Result turn(rotation, 9), shift(translation, 3), factor(scale);
    return VSR_CALL(vsrGeomRigidFit3xNf32, source, target, turn, shift, factor)
        .require(areSoundAnd([=] { return areFinite(from, count) && areFinite(to, count); }, source, target))
        .run(from, to, numPoints, withScale, rotation, translation, scale);
}
