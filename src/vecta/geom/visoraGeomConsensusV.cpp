// Robust homography, vector variant: a batch of random samples is fitted at once, lanes are samples; each of them is
// then evaluated on all points, lanes are points.
#include <algorithm>

#include "vecta/geom/visoraGeomPoints.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomConsensusV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/geom/visoraGeom-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// Adds the equation row . unknowns = value, of which only the unknowns from `first` to `first` + 2 and the last two
// have factors: the reference adds zeros to the other sums.
template <class D, class T, class V>
HWY_INLINE void addEquation(D d, BatchEquations<T>& equations, int first, const V (&row)[5], V value)
{
    const int unknowns[] = {first, first + 1, first + 2, 6, 7};
    for (int i = 0; i < 5; ++i)
    {
        for (int j = 0; j <= i; ++j)
        {
            T* sum = equations.A[unknowns[i]][unknowns[j]];
            hn::Store(hn::Add(hn::Load(d, sum), hn::Mul(row[i], row[j])), d, sum);
        }
        T* sum = equations.b[unknowns[i]];
        hn::Store(hn::Add(hn::Load(d, sum), hn::Mul(row[i], value)), d, sum);
    }
}

// The equations of the samples from `firstSample` on.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE void sumUp(D d, const Samples& samples, size_t firstSample, BatchEquations<T>& equations)
{
    for (int i = 0; i < kUnknowns; ++i)
    {
        for (int j = 0; j <= i; ++j)
        {
            hn::Store(hn::Zero(d), d, equations.A[i][j]);
        }
        hn::Store(hn::Zero(d), d, equations.b[i]);
    }
    const auto one = hn::Set(d, T{1});
    for (uint32_t point = 0; point < kHomographyPoints; ++point)
    {
        const auto x = loadAs(d, samples.x[point] + firstSample);
        const auto y = loadAs(d, samples.y[point] + firstSample);
        const auto u = loadAs(d, samples.u[point] + firstSample);
        const auto v = loadAs(d, samples.v[point] + firstSample);
        const auto minusU = hn::Neg(u);
        const auto minusV = hn::Neg(v);
        addEquation(d, equations, 0, {x, y, one, hn::Mul(minusU, x), hn::Mul(minusU, y)}, u);
        addEquation(d, equations, 3, {x, y, one, hn::Mul(minusV, x), hn::Mul(minusV, y)}, v);
    }
}

// vsrSolveCholeskyf32 in every lane. Returns the lanes, as bits, where it succeeds.
template <class D>
HWY_INLINE uint64_t solveCholesky(D d, BatchEquations<float>& equations, Models& models)
{
    constexpr int n = kUnknowns;
    auto& A = equations.A;
    auto& x = models.h;
    const auto one = hn::Set(d, 1.0f);
    const auto zero = hn::Zero(d);
    HWY_ALIGN float inverse[n][kMaxBatch];
    auto isPositive = hn::Eq(zero, zero);
    for (int i = 0; i < n; ++i)
    {
        for (int j = 0; j <= i; ++j)
        {
            auto sum = hn::Load(d, A[i][j]);
            for (int k = 0; k < j; ++k)
            {
                sum = hn::Sub(sum, hn::Mul(hn::Load(d, A[i][k]), hn::Load(d, A[j][k])));
            }
            if (j < i)
            {
                hn::Store(hn::Mul(sum, hn::Load(d, inverse[j])), d, A[i][j]);
            }
            else
            {
                isPositive = hn::And(isPositive, hn::Gt(sum, zero));
                hn::Store(hn::Div(one, hn::Sqrt(sum)), d, inverse[i]);
            }
        }
    }
    uint64_t solved = 0;
    hn::StoreMaskBits(d, isPositive, reinterpret_cast<uint8_t*>(&solved));
    if (solved == 0)
    {
        return 0;
    }
    for (int i = 0; i < n; ++i)
    {
        auto sum = hn::Load(d, equations.b[i]);
        for (int k = 0; k < i; ++k)
        {
            sum = hn::Sub(sum, hn::Mul(hn::Load(d, A[i][k]), hn::Load(d, x[k])));
        }
        hn::Store(hn::Mul(sum, hn::Load(d, inverse[i])), d, x[i]);
    }
    for (int i = n - 1; i >= 0; --i)
    {
        auto sum = hn::Load(d, x[i]);
        for (int k = i + 1; k < n; ++k)
        {
            sum = hn::Sub(sum, hn::Mul(hn::Load(d, A[k][i]), hn::Load(d, x[k])));
        }
        hn::Store(hn::Mul(sum, hn::Load(d, inverse[i])), d, x[i]);
    }
    return solved;
}

// solveInDouble in every lane. Where that has no solution some unknown is not finite, and no point fulfils the model.
template <class D>
HWY_INLINE void solveByElimination(D d, const BatchEquations<double>& equations, float (*solution)[kMaxBatch])
{
    constexpr int n = kUnknowns;
    using V = hn::Vec<D>;
    alignas(64) double rows[n][n + 1][kMaxBatch];
    alignas(64) double inverse[n][kMaxBatch];
    alignas(64) double x[n][kMaxBatch];
    for (int i = 0; i < n; ++i)
    {
        for (int j = 0; j < n; ++j)
        {
            hn::Store(hn::Load(d, equations.A[std::max(i, j)][std::min(i, j)]), d, rows[i][j]);
        }
        hn::Store(hn::Load(d, equations.b[i]), d, rows[i][n]);
    }
    for (int k = 0; k < n; ++k)
    {
        for (int i = k + 1; i < n; ++i)
        {
            const V upper = hn::Load(d, rows[k][k]);
            const V lower = hn::Load(d, rows[i][k]);
            const auto swap = hn::Gt(hn::Abs(lower), hn::Abs(upper));
            if (hn::AllFalse(d, swap))
            {
                continue;
            }
            for (int j = k; j <= n; ++j)
            {
                const V a = hn::Load(d, rows[k][j]);
                const V b = hn::Load(d, rows[i][j]);
                hn::Store(hn::IfThenElse(swap, b, a), d, rows[k][j]);
                hn::Store(hn::IfThenElse(swap, a, b), d, rows[i][j]);
            }
        }
        const V pivotInverse = hn::Div(hn::Set(d, 1.0), hn::Load(d, rows[k][k]));
        hn::Store(pivotInverse, d, inverse[k]);
        for (int i = k + 1; i < n; ++i)
        {
            const V factor = hn::Mul(hn::Load(d, rows[i][k]), pivotInverse);
            for (int j = k + 1; j <= n; ++j)
            {
                const V product = hn::Mul(factor, hn::Load(d, rows[k][j]));
                hn::Store(hn::Sub(hn::Load(d, rows[i][j]), product), d, rows[i][j]);
            }
        }
    }
    for (int i = n - 1; i >= 0; --i)
    {
        V sum = hn::Load(d, rows[i][n]);
        for (int j = i + 1; j < n; ++j)
        {
            sum = hn::Sub(sum, hn::Mul(hn::Load(d, rows[i][j]), hn::Load(d, x[j])));
        }
        const V unknown = hn::Mul(sum, hn::Load(d, inverse[i]));
        hn::Store(unknown, d, x[i]);
        const hn::Rebind<float, D> df;
        hn::StoreU(hn::DemoteTo(df, unknown), df, solution[i]);
    }
}

// Fits a homography to each of the `batch` samples.
HWY_INLINE void fitSamples(const Samples& samples, size_t batch, Models& models)
{
    const hn::CappedTag<float, kMaxBatch> d;
    BatchEquations<float> equations;
    sumUp(d, samples, 0, equations);
    const uint64_t solved = solveCholesky(d, equations, models);

    const hn::CappedTag<double, kMaxBatch> dd;
    const size_t lanes = hn::Lanes(dd);
    for (size_t first = 0; first < batch; first += lanes)
    {
        const uint64_t all = (uint64_t{1} << std::min(lanes, batch - first)) - 1;
        uint64_t unsolved = ~(solved >> first) & all;
        if (unsolved == 0)
        {
            continue;
        }
        BatchEquations<double> inDouble;
        sumUp(dd, samples, first, inDouble);
        float solution[kUnknowns][kMaxBatch];
        solveByElimination(dd, inDouble, solution);
        for (; unsolved != 0; unsolved &= unsolved - 1)
        {
            const size_t lane = hwy::Num0BitsBelowLS1Bit_Nonzero64(unsolved);
            for (int i = 0; i < kUnknowns; ++i)
            {
                models.h[i][first + lane] = solution[i][lane];
            }
        }
    }
}

// Counts of inliers decide alone, so the lists are made for the models that become the best one only. A batch is drawn
// ahead of the samples' evaluation; those that turn out not to be needed are as if they had never been drawn.
bool findConsensus(const vsrCorrespondences& corrs, float maxsqerr, uint16_t* inliers, uint32_t* numInliers,
                   float* errinliers)
{
    const hn::CappedTag<float, kMaxBatch> d;
    const GatheredPoints points(corrs, hn::Lanes(hn::ScalableTag<float>()));
    if (!points)
    {
        return false;
    }
    MinimalStandard drawing(kRobustSeed);
    MinimalStandard used = drawing;
    uint32_t limit = kMaxSamples;
    bool canDraw = true;
    *numInliers = 0;
    for (uint32_t iteration = 0; iteration < limit && canDraw;)
    {
        Samples samples = {};
        MinimalStandard after[kMaxBatch + 1] = {used, used, used, used, used, used, used, used, used};
        size_t batch = 0;
        for (; batch < hn::Lanes(d); ++batch)
        {
            uint32_t places[kHomographyPoints];
            canDraw = drawSample(drawing, corrs.numIndices, places);
            after[batch] = drawing;
            if (!canDraw)
            {
                break;
            }
            for (uint32_t i = 0; i < kHomographyPoints; ++i)
            {
                samples.x[i][batch] = points.x()[places[i]];
                samples.y[i][batch] = points.y()[places[i]];
                samples.u[i][batch] = points.u()[places[i]];
                samples.v[i][batch] = points.v()[places[i]];
            }
        }
        Models models;
        if (batch != 0)
        {
            fitSamples(samples, batch, models);
        }
        size_t sample = 0;
        for (; sample < batch && iteration < limit; ++sample, ++iteration)
        {
            used = after[sample];
            float homography[9];
            for (int i = 0; i < kUnknowns; ++i)
            {
                homography[i] = models.h[i][sample];
            }
            homography[8] = 1;
            const uint32_t count = countInliers<HomographyError>(points, homography, maxsqerr);
            if (count > std::max(*numInliers, kHomographyPoints - 1))
            {
                vsrGeomHomographyEvaluatef32_v2V(&corrs, homography, maxsqerr, inliers, numInliers, errinliers);
                limit = lowerSampleLimit(limit, count, corrs.numIndices);
            }
        }
        if (!canDraw && iteration < limit)
        {
            used = after[sample];
        }
    }
    publish(used);
    return true;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace visora
{
HWY_EXPORT(findConsensus);
}

vsrStatus vsrGeomHomographyRobustFitf32V(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                         uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers)
{
    return vsrGeomHomographyRobustFitf32_v2V(corrs, homography, maxsqerr, inliers, numInliers, scratchInliers, nullptr);
}

vsrStatus vsrGeomHomographyRobustFitf32_v2V(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                            uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers,
                                            float* errinliers)
{
    using namespace visora;
    std::fill_n(homography, 9, 0.0f);
    *numInliers = 0;
    if (corrs->numIndices == 0)
    {
        return VISORA_EFAIL;
    }
    if (!HWY_DYNAMIC_DISPATCH(findConsensus)(*corrs, maxsqerr, inliers, numInliers, errinliers))
    {
        return vsrGeomHomographyRobustFitf32_v2C(corrs, homography, maxsqerr, inliers, numInliers, scratchInliers,
                                                 errinliers);
    }
    if (*numInliers == 0)
    {
        return VISORA_EFAIL;
    }
    vsrCorrespondences consensus = *corrs;
    consensus.indices = inliers;
    consensus.numIndices = *numInliers;
    return vsrGeomHomographyFitf32V(&consensus, homography);
}

#endif
