// Planar models on point correspondences, reference variants.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "cpu/geom/visoraGeomTwoView.h"

using visora::Correspondence;
using visora::correspondence;
using visora::kAffinePoints;
using visora::kHomographyPoints;
using visora::NormalEquations;

namespace
{

// Adds the equation row . unknowns = value.
template <class T, int kUnknowns>
void addEquation(NormalEquations<T, kUnknowns>& equations, const typename NormalEquations<T, kUnknowns>::Row& row,
                 T value)
{
    for (int i = 0; i < kUnknowns; ++i)
    {
        for (int j = 0; j <= i; ++j)
        {
            equations.A[i][j] += row[i] * row[j];
        }
        equations.b[i] += row[i] * value;
    }
}

template <class T>
NormalEquations<T, 8> homographyEquations(const vsrCorrespondences& corrs)
{
    NormalEquations<T, 8> equations;
    for (uint32_t i = 0; i < corrs.numIndices; ++i)
    {
        const Correspondence c = correspondence(corrs, i);
        const T x = c.x, y = c.y, u = c.u, v = c.v;
        addEquation(equations, {x, y, 1, 0, 0, 0, -u * x, -u * y}, u);
        addEquation(equations, {0, 0, 0, x, y, 1, -v * x, -v * y}, v);
    }
    return equations;
}

NormalEquations<float, 6> affineEquations(const vsrCorrespondences& corrs)
{
    NormalEquations<float, 6> equations;
    for (uint32_t i = 0; i < corrs.numIndices; ++i)
    {
        const auto [x, y, u, v] = correspondence(corrs, i);
        addEquation(equations, {x, y, 1, 0, 0, 0}, u);
        addEquation(equations, {0, 0, 0, x, y, 1}, v);
    }
    return equations;
}

// Both sides of the test are multiplied by w^2.
int evaluateHomography(const vsrCorrespondences& corrs, const float* h, float maxsqerr, uint16_t* inliers,
                       uint32_t* numInliers, float* errinliers)
{
    return visora::listInliers(corrs, maxsqerr, inliers, numInliers, errinliers,
                               [h](const Correspondence& c, float& limit)
                               {
                                   const float w = h[8] + (h[6] * c.x + h[7] * c.y);
                                   const float ex = h[2] + (h[0] * c.x + h[1] * c.y) - c.u * w;
                                   const float ey = h[5] + (h[3] * c.x + h[4] * c.y) - c.v * w;
                                   limit = w * (w * limit);
                                   return ex * ex + ey * ey;
                               });
}

vsrStatus robustFit(const vsrCorrespondences& corrs, float* homography, float maxsqerr, uint16_t* inliers,
                    uint32_t* numInliers, uint16_t* scratchInliers, float* errinliers)
{
    std::fill_n(homography, 9, 0.0f);
    *numInliers = 0;
    if (corrs.numIndices == 0)
    {
        return VISORA_EFAIL;
    }
    visora::MinimalStandard generator(visora::kRobustSeed);
    uint32_t best = 0;
    uint32_t limit = visora::kMaxSamples;
    for (uint32_t iteration = 0; iteration < limit; ++iteration)
    {
        uint32_t places[kHomographyPoints];
        if (!visora::drawSample(generator, corrs.numIndices, places))
        {
            break;
        }
        uint16_t points[kHomographyPoints];
        std::transform(std::begin(places), std::end(places), points,
                       [&corrs](uint32_t place) { return corrs.indices[place]; });
        vsrCorrespondences sample = corrs;
        sample.indices = points;
        sample.numIndices = kHomographyPoints;
        float model[9];
        vsrGeomHomographyFitf32C(&sample, model);
        uint32_t count = 0;
        evaluateHomography(corrs, model, maxsqerr, scratchInliers, &count, nullptr);
        if (count > std::max(best, kHomographyPoints - 1))
        {
            best = count;
            evaluateHomography(corrs, model, maxsqerr, inliers, numInliers, errinliers);
            limit = visora::lowerSampleLimit(limit, count, corrs.numIndices);
        }
    }
    visora::publish(generator);
    if (best == 0)
    {
        return VISORA_EFAIL;
    }
    vsrCorrespondences consensus = corrs;
    consensus.indices = inliers;
    consensus.numIndices = best;
    return vsrGeomHomographyFitf32C(&consensus, homography);
}

}  // namespace

void visora::solveInDouble(const NormalEquations<double, 8>& equations, float* homography)
{
    constexpr int n = 8;
    // The whole symmetric matrix, and the right side as its last column.
    double rows[n][n + 1];
    for (int i = 0; i < n; ++i)
    {
        for (int j = 0; j < n; ++j)
        {
            rows[i][j] = equations.A[std::max(i, j)][std::min(i, j)];
        }
        rows[i][n] = equations.b[i];
    }
    double* row[n];
    for (int i = 0; i < n; ++i)
    {
        row[i] = rows[i];
    }
    double inverse[n];
    for (int k = 0; k < n; ++k)
    {
        for (int i = k + 1; i < n; ++i)
        {
            if (std::fabs(row[i][k]) > std::fabs(row[k][k]))
            {
                std::swap(row[i], row[k]);
            }
        }
        if (row[k][k] == 0)
        {
            return;
        }
        inverse[k] = 1 / row[k][k];
        for (int i = k + 1; i < n; ++i)
        {
            const double factor = row[i][k] * inverse[k];
            for (int j = k + 1; j <= n; ++j)
            {
                row[i][j] -= factor * row[k][j];
            }
        }
    }
    float solution[n];
    double x[n];
    for (int i = n - 1; i >= 0; --i)
    {
        double sum = row[i][n];
        for (int j = i + 1; j < n; ++j)
        {
            sum -= row[i][j] * x[j];
        }
        x[i] = sum * inverse[i];
        solution[i] = static_cast<float>(x[i]);
        if (!std::isfinite(solution[i]))
        {
            return;
        }
    }
    std::copy_n(solution, n, homography);
    homography[8] = 1;
}

vsrStatus vsrGeomHomographyFitf32C(const vsrCorrespondences* corrs, float* homography)
{
    std::fill_n(homography, 9, 0.0f);
    if (corrs->numIndices < kHomographyPoints)
    {
        return VISORA_SUCCESS;
    }
    auto equations = homographyEquations<float>(*corrs);
    float diag[8];
    if (vsrSolveCholeskyf32C(equations.A[0], equations.b, diag, 8, homography) != 0)
    {
        return vsrGeomHomographyFitDPf32C(corrs, homography);
    }
    homography[8] = 1;
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomHomographyFitDPf32C(const vsrCorrespondences* corrs, float* homography)
{
    std::fill_n(homography, 9, 0.0f);
    if (corrs->numIndices >= kHomographyPoints)
    {
        visora::solveInDouble(homographyEquations<double>(*corrs), homography);
    }
    return VISORA_SUCCESS;
}

vsrStatus vsrGeomAffineFitf32C(const vsrCorrespondences* corrs, float* affine)
{
    std::fill_n(affine, 9, 0.0f);
    if (corrs->numIndices < kAffinePoints)
    {
        return VISORA_SUCCESS;
    }
    auto equations = affineEquations(*corrs);
    float diag[6];
    const int result = vsrSolveCholeskyf32C(equations.A[0], equations.b, diag, 6, affine);
    affine[8] = result == 0 ? 1.0f : 0.0f;
    return static_cast<vsrStatus>(result);
}

int vsrGeomHomographyEvaluatef32C(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                  uint16_t* inliers, uint32_t* numInliers)
{
    return evaluateHomography(*corrs, homography, maxsqerr, inliers, numInliers, nullptr);
}

int vsrGeomHomographyEvaluatef32_v2C(const vsrCorrespondences* corrs, const float* homography, float maxsqerr,
                                     uint16_t* inliers, uint32_t* numInliers, float* errinliers)
{
    return evaluateHomography(*corrs, homography, maxsqerr, inliers, numInliers, errinliers);
}

int vsrGeomAffineEvaluatef32C(const vsrCorrespondences* corrs, const float* affine, float maxsqerr, uint16_t* inliers,
                              uint32_t* numInliers)
{
    return vsrGeomAffineEvaluatef32_v2C(corrs, affine, maxsqerr, inliers, numInliers, nullptr);
}

int vsrGeomAffineEvaluatef32_v2C(const vsrCorrespondences* corrs, const float* affine, float maxsqerr,
                                 uint16_t* inliers, uint32_t* numInliers, float* errinliers)
{
    return visora::listInliers(*corrs, maxsqerr, inliers, numInliers, errinliers, visora::AffineResidual{affine});
}

vsrStatus vsrGeomHomographyRobustFitf32C(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                         uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers)
{
    return robustFit(*corrs, homography, maxsqerr, inliers, numInliers, scratchInliers, nullptr);
}

vsrStatus vsrGeomHomographyRobustFitf32_v2C(const vsrCorrespondences* corrs, float* homography, float maxsqerr,
                                            uint16_t* inliers, uint32_t* numInliers, uint16_t* scratchInliers,
                                            float* errinliers)
{
    return robustFit(*corrs, homography, maxsqerr, inliers, numInliers, scratchInliers, errinliers);
}
