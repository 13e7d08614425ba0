// Fits of models of two views; `op` sums lists up.
#ifndef VISORA_CPU_GEOM_TWO_VIEW_H
#define VISORA_CPU_GEOM_TWO_VIEW_H

#include <cmath>

#include "cpu/geom/visoraGeomLists.h"

namespace visora
{

constexpr uint32_t kSimilarityPoints = 2;
constexpr uint32_t kRigidPoints = 3;
constexpr uint32_t kFundamentalPoints = 8;

// ---- Affine maps and similarities ----

constexpr size_t kAffineLists = 4;

/** Least squares about the means. False, with the affine map untouched, when the points are on a line. */
template <class Op>
bool fitAffine(Op op, const vsrCorrespondences& corrs, const Lists& lists, float* affine)
{
    const size_t n = corrs.numIndices;
    if (n == 0)
    {
        return false;
    }
    gather(corrs, lists);
    lists.cut(kAffineLists, n);
    double means[4];
    for (size_t k = 0; k < 4; ++k)
    {
        means[k] = centre(op, lists[k], n);
    }
    const double* const x = lists[0];
    const double* const y = lists[1];
    const double Sxx = op.dot(x, x, n);
    const double Sxy = op.dot(x, y, n);
    const double Syy = op.dot(y, y, n);
    const double det = Sxx * Syy - Sxy * Sxy;
    if (!(det > 0x1p-40 * ((Sxx + Syy) * (Sxx + Syy))))
    {
        return false;
    }
    for (size_t row = 0; row < 2; ++row)
    {
        const double P = op.dot(x, lists[2 + row], n);
        const double Q = op.dot(y, lists[2 + row], n);
        const double a0 = (P * Syy - Q * Sxy) / det;
        const double a1 = (Q * Sxx - P * Sxy) / det;
        affine[3 * row] = static_cast<float>(a0);
        affine[3 * row + 1] = static_cast<float>(a1);
        affine[3 * row + 2] = static_cast<float>(means[2 + row] - (a0 * means[0] + a1 * means[1]));
        affine[6 + row] = 0;
    }
    affine[8] = 1;
    return true;
}

template <class Op>
vsrStatus fitSimilarity(Op op, const vsrCorrespondences& corrs, float* similarity)
{
    const size_t n = corrs.numIndices;
    const Lists lists(5, n);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    std::fill_n(similarity, 9, 0.0F);
    if (n < kSimilarityPoints)
    {
        return VISORA_EFAIL;
    }
    gather(corrs, lists);
    double means[4];
    for (size_t k = 0; k < 4; ++k)
    {
        means[k] = centre(op, lists[k], n);
    }
    const double *x = lists[0], *y = lists[1], *u = lists[2], *v = lists[3];
    double* const terms = lists[4];
    make(terms, n, [=](size_t i) { return x[i] * x[i] + y[i] * y[i]; });
    const double s = op.sum(terms, n);
    if (!(s > 0))
    {
        return VISORA_EFAIL;
    }
    make(terms, n, [=](size_t i) { return x[i] * u[i] + y[i] * v[i]; });
    const double a = op.sum(terms, n) / s;
    make(terms, n, [=](size_t i) { return x[i] * v[i] - y[i] * u[i]; });
    const double b = op.sum(terms, n) / s;
    const double model[9] = {
        a, -b, means[2] - (a * means[0] - b * means[1]), b, a, means[3] - (b * means[0] + a * means[1]), 0, 0, 1};
    toFloats(model, 9, similarity);
    return VISORA_SUCCESS;
}

// ---- Rotations ----

/** m[k][i] is element i of column k; the determinant is that of the matrix with the rows m[k]' too. */
inline double determinant(const double (&m)[3][3])
{
    return (m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) - m[1][0] * (m[0][1] * m[2][2] - m[2][1] * m[0][2])) +
           m[2][0] * (m[0][1] * m[1][2] - m[1][1] * m[0][2]);
}

/** The rotation nearest to a 3x3 matrix. */
struct NearestRotation
{
    template <class Element>
    explicit NearestRotation(Element element) : svd(element)
    {
        sign = determinant(svd.u) * determinant(svd.v) > 0 ? 1 : -1;
        for (int i = 0; i < 3; ++i)
        {
            for (int j = 0; j < 3; ++j)
            {
                R[3 * i + j] =
                    (svd.u[0][i] * svd.v[0][j] + svd.u[1][i] * svd.v[1][j]) + sign * (svd.u[2][i] * svd.v[2][j]);
            }
        }
    }

    SmallSvd<3> svd;
    double sign;
    double R[9];
};

template <class Op>
vsrStatus fitRigid(Op op, const float* from, const float* to, uint32_t numPoints, bool withScale, float* rotation,
                   float* translation, float* scale)
{
    const size_t n = numPoints;
    const Lists lists(7, n);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    std::fill_n(rotation, 9, 0.0F);
    std::fill_n(translation, 3, 0.0F);
    *scale = 0;
    if (n < kRigidPoints)
    {
        return VISORA_EFAIL;
    }
    double means[6];
    for (size_t k = 0; k < 6; ++k)
    {
        const float* const points = k < 3 ? from + k : to + (k - 3);
        make(lists[k], n, [=](size_t i) { return double{points[3 * i]}; });
        means[k] = centre(op, lists[k], n);
    }
    const NearestRotation nearest(
        [&](int i, int j) { return op.dot(lists[3 + static_cast<size_t>(i)], lists[static_cast<size_t>(j)], n); });
    double factor = 1;
    if (withScale)
    {
        const double *x = lists[0], *y = lists[1], *z = lists[2];
        make(lists[6], n, [=](size_t i) { return (x[i] * x[i] + y[i] * y[i]) + z[i] * z[i]; });
        const double spread = op.sum(lists[6], n);
        if (!(spread > 0))
        {
            return VISORA_EFAIL;
        }
        factor = ((nearest.svd.w[0] + nearest.svd.w[1]) + nearest.sign * nearest.svd.w[2]) / spread;
    }
    toFloats(nearest.R, 9, rotation);
    for (size_t i = 0; i < 3; ++i)
    {
        const double* const row = nearest.R + 3 * i;
        const double shift = means[3 + i] - factor * ((row[0] * means[0] + row[1] * means[1]) + row[2] * means[2]);
        translation[i] = static_cast<float>(shift);
    }
    *scale = static_cast<float>(factor);
    return VISORA_SUCCESS;
}

// ---- Fundamental matrices ----

/** x * scale + tx and y * scale + ty bring points to the mean distance sqrt(2) from the origin. */
struct Normalisation
{
    double scale, tx, ty;
};

template <class Op>
Normalisation normalise(Op op, double* x, double* y, double* distances, size_t n)
{
    const double cx = centre(op, x, n);
    const double cy = centre(op, y, n);
    make(distances, n, [=](size_t i) { return std::sqrt(x[i] * x[i] + y[i] * y[i]); });
    const double distance = op.sum(distances, n) / static_cast<double>(n);
    const double s = distance > 0 ? 1.4142135623730951 / distance : 1;
    make(x, n, [=](size_t i) { return x[i] * s; });
    make(y, n, [=](size_t i) { return y[i] * s; });
    return {s, -(s * cx), -(s * cy)};
}

constexpr size_t kFundamentalLists = 10;

struct PlainFundamental : PlainSums
{
    /** The column of V of the least singular value of a symmetric matrix. */
    void leastDirection(const double (&M)[9][9], double (&direction)[9]) const
    {
        const SmallSvd<9> svd([&](int i, int j) { return M[i][j]; });
        std::copy_n(svd.v[8], 9, direction);
    }
};

/** The normalised eight-point method. False, with the matrix untouched, when there is none. */
template <class Op>
bool fitFundamental(Op op, const vsrCorrespondences& corrs, const Lists& lists, float* fundamental)
{
    const size_t n = corrs.numIndices;
    if (n < kFundamentalPoints)
    {
        return false;
    }
    gather(corrs, lists);
    lists.cut(kFundamentalLists, n);
    double *x = lists[0], *y = lists[1], *u = lists[2], *v = lists[3];
    const Normalisation from = normalise(op, x, y, lists[4], n);
    const Normalisation to = normalise(op, u, v, lists[4], n);
    // Of one coefficient each: u x, u y, u, v x, v y, v, x, y, 1.
    make(lists[5], n, [=](size_t i) { return u[i] * x[i]; });
    make(lists[6], n, [=](size_t i) { return u[i] * y[i]; });
    make(lists[7], n, [=](size_t i) { return v[i] * x[i]; });
    make(lists[8], n, [=](size_t i) { return v[i] * y[i]; });
    make(lists[9], n, [](size_t) { return 1.0; });
    const double* const terms[9] = {lists[5], lists[6], u, lists[7], lists[8], v, x, y, lists[9]};
    double M[9][9];
    for (size_t i = 0; i < 9; ++i)
    {
        for (size_t j = 0; j <= i; ++j)
        {
            M[i][j] = M[j][i] = op.dot(terms[i], terms[j], n);
        }
    }
    double null[9];
    op.leastDirection(M, null);
    const SmallSvd<3> svd([&](int i, int j) { return null[3 * i + j]; });
    double H[3][3];
    for (int i = 0; i < 3; ++i)
    {
        double G[3];
        for (int j = 0; j < 3; ++j)
        {
            G[j] = (svd.u[0][i] * svd.w[0]) * svd.v[0][j] + (svd.u[1][i] * svd.w[1]) * svd.v[1][j];
        }
        H[i][0] = G[0] * from.scale;
        H[i][1] = G[1] * from.scale;
        H[i][2] = (G[0] * from.tx + G[1] * from.ty) + G[2];
    }
    double F[9];
    for (int j = 0; j < 3; ++j)
    {
        F[j] = H[0][j] * to.scale;
        F[3 + j] = H[1][j] * to.scale;
        F[6 + j] = (H[0][j] * to.tx + H[1][j] * to.ty) + H[2][j];
    }
    const double length = std::sqrt(sumOf(9, [&](size_t i) { return F[i] * F[i]; }));
    if (!(length > 0))
    {
        return false;
    }
    const double greatest = *std::max_element(F, F + 9, [](double a, double b) { return std::fabs(a) < std::fabs(b); });
    for (double& element : F)
    {
        element = greatest < 0 ? -(element / length) : element / length;
    }
    toFloats(F, 9, fundamental);
    return true;
}

// ---- Errors ----

struct AffineResidual
{
    float operator()(const Correspondence& c, float& /*limit*/) const
    {
        const float ex = ((a[2] + a[0] * c.x) + a[1] * c.y) - c.u;
        const float ey = ((a[5] + a[3] * c.x) + a[4] * c.y) - c.v;
        return ex * ex + ey * ey;
    }

    const float* a;
};

/** The squared Sampson distance; both sides of the test are multiplied by what it is divided by. */
struct SampsonResidual
{
    float operator()(const Correspondence& point, float& limit) const
    {
        const auto [x, y, u, v] = point;
        const float a = (F[0] * x + F[1] * y) + F[2];
        const float b = (F[3] * x + F[4] * y) + F[5];
        const float c = (F[6] * x + F[7] * y) + F[8];
        const float p = (F[0] * u + F[3] * v) + F[6];
        const float q = (F[1] * u + F[4] * v) + F[7];
        const float e = (u * a + v * b) + c;
        limit = limit * ((a * a + b * b) + (p * p + q * q));
        return e * e;
    }

    const float* F;
};

/**
 * Lists the correspondences for which error(correspondence, limit) is below `limit`, which it may scale. There may be
 * no list.
 */
template <class Error>
int listInliers(const vsrCorrespondences& corrs, float maxsqerr, uint16_t* inliers, uint32_t* numInliers,
                float* errinliers, Error error)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < corrs.numIndices; ++i)
    {
        float limit = maxsqerr;
        const float squared = error(correspondence(corrs, i), limit);
        if (squared < limit)
        {
            if (inliers)
            {
                inliers[count] = corrs.indices[i];
            }
            if (errinliers)
            {
                errinliers[count] = squared;
            }
            ++count;
        }
    }
    *numInliers = count;
    return count == corrs.numIndices ? 0 : -1;
}

// ---- Random sample consensus ----

/**
 * Draws samples of `points`, fits a model of 9 floats to each by fit(correspondences, model), which may fail, and
 * counts its inliers by count(model); list(model) lists those of the best. The result is fitted to all of the best
 * one's.
 */
template <uint32_t points, class Fit, class Count, class List>
vsrStatus searchConsensus(const vsrCorrespondences& corrs, float* result, uint16_t* inliers, uint32_t* numInliers,
                          Fit fit, Count count, List list)
{
    std::fill_n(result, 9, 0.0F);
    *numInliers = 0;
    MinimalStandard generator(kRobustSeed);
    uint32_t best = 0;
    uint32_t limit = corrs.numIndices == 0 ? 0 : kMaxSamples;
    for (uint32_t iteration = 0; iteration < limit; ++iteration)
    {
        uint32_t places[points];
        if (!drawSample(generator, corrs.numIndices, places, points))
        {
            break;
        }
        uint16_t numbers[points];
        std::transform(places, places + points, numbers, [&](uint32_t place) { return corrs.indices[place]; });
        vsrCorrespondences sample = corrs;
        sample.indices = numbers;
        sample.numIndices = points;
        float model[9];
        if (!fit(sample, model))
        {
            continue;
        }
        const uint32_t found = count(model);
        if (found > std::max(best, points - 1))
        {
            best = found;
            std::copy_n(model, 9, result);
            limit = updateNumIters(points, static_cast<int>(limit), 0.995F,
                                   static_cast<float>(found) / static_cast<float>(corrs.numIndices));
        }
    }
    if (best == 0)
    {
        return VISORA_EFAIL;
    }
    list(result);
    vsrCorrespondences consensus = corrs;
    consensus.indices = inliers;
    consensus.numIndices = best;
    fit(consensus, result);
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
