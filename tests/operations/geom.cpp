#include "visora/variants/geom.h"

#include <algorithm>
#include <iterator>

#include "support/correspondences.h"
#include "support/operations.h"

namespace visora::test
{

namespace
{

CorrespondenceRecipe anyRecipe(Arguments& a)
{
    CorrespondenceRecipe recipe;
    Random& random = a.random();
    constexpr Layout kLayouts[] = {Layout::Plane, Layout::Plane,    Layout::Line,
                                   Layout::Grid,  Layout::OnePoint, Layout::AnySize};
    constexpr double kScales[] = {1, 1, 10, 30, kTypicalPixels, 3000};
    recipe.count = random.oneIn(4) ? random.between(0, 9) : a.shape().width;
    recipe.layout = kLayouts[random.between(0, std::size(kLayouts) - 1)];
    recipe.scale = kScales[random.between(0, std::size(kScales) - 1)];
    recipe.noise = random.oneIn(2) ? 0 : kTypicalNoise;
    recipe.outliers = 0.1 * random.between(0, 9);
    recipe.fromStride += random.oneIn(2) ? 0 : random.between(0, 5);
    recipe.toStride += random.oneIn(2) ? 0 : random.between(0, 3);
    return recipe;
}

struct Given
{
    const vsrCorrespondences* record;
    uint32_t count;
    double scale;
    Model truth;
};

// Fenced copies of a set: of each point's two coordinates the last ones end the readable memory.
Given giveCorrespondences(Arguments& a, double typicalScale, double typicalOutliers = 0)
{
    const CorrespondenceRecipe recipe =
        a.shape().typical ? typicalRecipe(a.shape().width, typicalScale, typicalOutliers) : anyRecipe(a);
    CorrespondenceSet set(recipe, a.shape().typical ? kTypicalSeed : a.random().next());
    if (!a.shape().typical && recipe.count != 0 && a.random().oneIn(2))
    {
        // In any order, some of them repeated and others not used.
        for (uint16_t& index : set.indices)
        {
            index = static_cast<uint16_t>(a.random().between(0, recipe.count - 1));
        }
    }
    const auto trimmed = [](std::vector<float> points, uint32_t stride)
    {
        points.resize(points.empty() ? 0 : points.size() - (stride - 2));
        return points;
    };
    vsrCorrespondences record = set.record();
    record.from = a.given(trimmed(set.from, set.fromStride));
    record.to = a.given(trimmed(set.to, set.toStride));
    record.indices = a.given(set.indices);
    return {a.given(std::vector{record}), record.numIndices, recipe.scale, set.truth};
}

template <auto kernel>
std::function<void(Arguments&)> fit(double typicalScale)
{
    return [=](Arguments& a)
    {
        const Given given = giveCorrespondences(a, typicalScale);
        a.call(kernel, given.record, a.output<float>(9, 1, 36));
    };
}

template <auto kernel, size_t coefficients, bool withErrors>
void prepareEvaluation(Arguments& a)
{
    const Given given = giveCorrespondences(a, 1, kTypicalOutliers);
    if (given.count == 0)
    {
        a.entry().unchecked = {3, 5};  // no list is needed
    }
    std::vector<float> model(given.truth.begin(), given.truth.begin() + coefficients);
    for (float& value : model)
    {
        // Now and then a model that maps some points to infinity, or all.
        value = !a.shape().typical && a.random().oneIn(16) ? 0 : value;
    }
    const float* homography = a.given(model);
    auto* inliers = a.output<uint16_t>(given.count, 1, size_t{given.count} * 2);
    auto* count = a.output<uint32_t>(1, 1, 4);
    if constexpr (withErrors)
    {
        auto* errors = a.output<float>(given.count, 1, size_t{given.count} * 4);
        a.call(kernel, given.record, homography, typicalMaxSquaredError(given.scale), inliers, count, errors);
    }
    else
    {
        a.call(kernel, given.record, homography, typicalMaxSquaredError(given.scale), inliers, count);
    }
}

template <auto kernel, bool withErrors>
std::function<void(Arguments&)> robustFit(double typicalScale)
{
    return [=](Arguments& a)
    {
        // A call takes up to 1500 fits, so a third of the shapes has to do.
        if (a.choose(0, 2, 0) != 0)
        {
            return;
        }
        const Given given = giveCorrespondences(a, typicalScale, kTypicalOutliers);
        auto* homography = a.output<float>(9, 1, 36);
        // What lies behind the inliers is undefined; those lists are watched by the known answers.
        auto* scratch = const_cast<uint16_t*>(a.input<uint16_t>(given.count, 1, size_t{given.count} * 2));
        auto* inliers = a.output<uint16_t>(given.count, 1, size_t{given.count} * 2);
        auto* count = a.output<uint32_t>(1, 1, 4);
        if constexpr (withErrors)
        {
            auto* errors = a.output<float>(given.count, 1, size_t{given.count} * 4);
            a.call(kernel, given.record, homography, typicalMaxSquaredError(given.scale), inliers, count, scratch,
                   errors);
        }
        else
        {
            a.call(kernel, given.record, homography, typicalMaxSquaredError(given.scale), inliers, count, scratch);
        }
    };
}

template <auto kernel>
void prepareRobust(Arguments& a)
{
    // A call takes up to 1500 fits, so a third of the shapes has to do.
    if (a.choose(0, 2, 0) != 0)
    {
        return;
    }
    const Given given = giveCorrespondences(a, kTypicalPixels, kTypicalOutliers);
    auto* model = a.output<float>(9, 1, 36);
    // What lies behind the inliers is left as it was.
    auto* inliers = a.output<uint16_t>(given.count, 1, size_t{given.count} * 2);
    a.call(kernel, given.record, model, typicalMaxSquaredError(given.scale), inliers, a.output<uint32_t>(1, 1, 4));
}

void prepareAffineErrors(Arguments& a)
{
    prepareEvaluation<vsrGeomAffineEvaluatef32_v2C, 6, true>(a);
    a.entry().unchecked = {};
}

constexpr char kFit[] =
    "corrs && homography && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && "
    "corrs->toStride > 1";
#define EVALUATION(model, lists)                                                                                       \
    "corrs && " model " && numInliers && (!corrs->numIndices || (corrs->from && corrs->to && corrs->indices && " lists \
    "))"
const EntryRule kRobust = {.inPlace = EntryRule::InPlace::NotLookedAt};

const Register fits({
    {VISORA_OPERATION(vsrGeomHomographyFitf32), older(kFit, fit<vsrGeomHomographyFitf32C>(1)), "", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyFitf32), fit<vsrGeomHomographyFitf32C>(kTypicalPixels), "pixels", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyFitDPf32), older(kFit, fit<vsrGeomHomographyFitDPf32C>(kTypicalPixels)), "", 0,
     true},
    {VISORA_OPERATION(vsrGeomAffineFitf32), older("corrs && affine", fit<vsrGeomAffineFitf32C>(1)), "", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyEvaluatef32),
     older(EVALUATION("homography", "inliers"), prepareEvaluation<vsrGeomHomographyEvaluatef32C, 9, false>), "", 0,
     true},
    {VISORA_OPERATION(vsrGeomHomographyEvaluatef32_v2),
     older(EVALUATION("homography", "inliers && errinliers"),
           prepareEvaluation<vsrGeomHomographyEvaluatef32_v2C, 9, true>),
     "", 0, true},
    {VISORA_OPERATION(vsrGeomAffineEvaluatef32),
     older(EVALUATION("affine", "inliers"), prepareEvaluation<vsrGeomAffineEvaluatef32C, 6, false>), "", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyRobustFitf32),
     ruled(kRobust, robustFit<vsrGeomHomographyRobustFitf32C, false>(1)), "", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyRobustFitf32), robustFit<vsrGeomHomographyRobustFitf32C, false>(kTypicalPixels),
     "pixels", 0, true},
    {VISORA_OPERATION(vsrGeomHomographyRobustFitf32_v2),
     ruled(kRobust, robustFit<vsrGeomHomographyRobustFitf32_v2C, true>(1)), "", 0, true},
    {VISORA_OPERATION(vsrGeomAffineEvaluatef32_v2), prepareAffineErrors, "", 0, true},
    {VISORA_OPERATION(vsrGeomAffineRobustFitf32), prepareRobust<vsrGeomAffineRobustFitf32C>, "", 0, true},
    {VISORA_OPERATION(vsrGeomSimilarityFitf32), fit<vsrGeomSimilarityFitf32C>(kTypicalPixels), "", 0, true},
    {VISORA_OPERATION(vsrGeomFundamentalFitf32), fit<vsrGeomFundamentalFitf32C>(kTypicalPixels), "", 0, true},
    {VISORA_OPERATION(vsrGeomFundamentalRobustFitf32), prepareRobust<vsrGeomFundamentalRobustFitf32C>, "", 0, true},
});

}  // namespace

}  // namespace visora::test
