// Refinement of poses; `op` sums lists up.
#ifndef VISORA_CPU_GEOM_POSE_H
#define VISORA_CPU_GEOM_POSE_H

#include <algorithm>
#include <cmath>

#include "cpu/geom/visoraGeomCholesky.h"
#include "cpu/geom/visoraGeomLists.h"
#include "cpu/geom/visoraGeomLoss.h"

namespace visora
{

constexpr uint32_t kPosePoints = 3;

struct DoublePose
{
    double R[9];
    double t[3];

    /** E after this pose, and then a shift. */
    DoublePose turned(const double (&E)[9], const double* shift) const
    {
        DoublePose result;
        for (int i = 0; i < 3; ++i)
        {
            const double* e = E + 3 * i;
            for (int j = 0; j < 3; ++j)
            {
                result.R[3 * i + j] = (e[0] * R[j] + e[1] * R[3 + j]) + e[2] * R[6 + j];
            }
            result.t[i] = ((e[0] * t[0] + e[1] * t[1]) + e[2] * t[2]) + shift[i];
        }
        return result;
    }
};

/** The rotation of a small turn. */
inline void rotationOf(const double* turn, double (&E)[9])
{
    double q[4] = {1, 0.5 * turn[0], 0.5 * turn[1], 0.5 * turn[2]};
    const double n = std::sqrt((q[0] * q[0] + q[1] * q[1]) + (q[2] * q[2] + q[3] * q[3]));
    std::transform(q, q + 4, q, [=](double v) { return v / n; });
    const auto [a, b, c, d] = q;
    const double rows[9] = {1 - 2 * (c * c + d * d), 2 * (b * c - a * d),     2 * (b * d + a * c),
                            2 * (b * c + a * d),     1 - 2 * (b * b + d * d), 2 * (c * d - a * b),
                            2 * (b * d - a * c),     2 * (c * d + a * b),     1 - 2 * (b * b + c * c)};
    std::copy_n(rows, 9, E);
}

/** Gauss-Newton iteration over points in space and their images. */
template <class Op>
class PoseRefinement
{
  public:
    PoseRefinement(Op op, const float* objects, const float* images, uint32_t numPoints, const float* camera,
                   const Loss& loss)
        : op_(op),
          objects_(objects),
          images_(images),
          n_(numPoints),
          fx_(camera[0]),
          fy_(camera[4]),
          cx_(camera[2]),
          cy_(camera[5]),
          loss_(loss),
          lists_(kLists, numPoints)
    {
    }

    bool hasMemory() const { return static_cast<bool>(lists_); }

    struct Fit
    {
        size_t count;  // of the points in front of the camera
        double cost;
        double squares;
    };

    /** Lists the residuals at a pose. */
    Fit look(const DoublePose& pose) const
    {
        Fit fit = {0, 0, 0};
        for (size_t i = 0; i < n_; ++i)
        {
            const double X = objects_[3 * i], Y = objects_[3 * i + 1], Z = objects_[3 * i + 2];
            const auto row = [&](int k)
            {
                const double* r = pose.R + 3 * k;
                return (r[0] * X + r[1] * Y) + (r[2] * Z + pose.t[k]);
            };
            const double depth = row(2);
            const bool counts = depth > 0;
            const double x = counts ? row(0) / depth : 0;
            const double y = counts ? row(1) / depth : 0;
            const double ex = counts ? (fx_ * x + cx_) - images_[2 * i] : 0;
            const double ey = counts ? (fy_ * y + cy_) - images_[2 * i + 1] : 0;
            const double square = ex * ex + ey * ey;
            lists_[kX][i] = x;
            lists_[kY][i] = y;
            lists_[kDepth][i] = counts ? depth : 0;
            lists_[kEx][i] = ex;
            lists_[kEy][i] = ey;
            lists_[kSquare][i] = square;
            lists_[kCost][i] = counts ? loss_.cost(square) : 0;
            fit.count += counts ? 1 : 0;
        }
        fit.cost = op_.sum(lists_[kCost], n_);
        fit.squares = op_.sum(lists_[kSquare], n_);
        return fit;
    }

    /** The turn and shift that should lower the cost at the pose looked at last. False when there is none. */
    bool step(double (&x)[6]) const
    {
        for (size_t i = 0; i < n_; ++i)
        {
            const double depth = lists_[kDepth][i];
            const bool counts = depth > 0;
            const double px = lists_[kX][i];
            const double py = lists_[kY][i];
            const double iz = 1 / depth;
            const double ju[6] = {-(fx_ * (px * py)), fx_ * (1 + px * px), -(fx_ * py), fx_ * iz, 0,
                                  -(fx_ * (px * iz))};
            const double jv[6] = {-(fy_ * (1 + py * py)), fy_ * (px * py), fy_ * px, 0, fy_ * iz, -(fy_ * (py * iz))};
            for (size_t k = 0; k < 6; ++k)
            {
                lists_[kU + k][i] = counts ? ju[k] : 0;
                lists_[kV + k][i] = counts ? jv[k] : 0;
            }
            lists_[kWeight][i] = counts ? loss_.weight(lists_[kSquare][i]) : 0;
        }
        double A[36], b[6], diag[6];
        for (size_t i = 0; i < 6; ++i)
        {
            for (size_t j = 0; j <= i; ++j)
            {
                A[6 * i + j] = sum(kU + i, kU + j, kV + i, kV + j);
            }
            b[i] = -sum(kU + i, kEx, kV + i, kEy);
        }
        return solveCholesky(A, b, diag, 6, x) == 0;
    }

  private:
    enum : size_t
    {
        kX = 0,
        kY,
        kDepth,
        kEx,
        kEy,
        kSquare,
        kCost,
        kWeight,
        kU,
        kV = kU + 6,
        kLists = kV + 6
    };

    double sum(size_t a, size_t b, size_t c, size_t d) const
    {
        return op_.pairs(lists_[kWeight], lists_[a], lists_[b], lists_[c], lists_[d], n_);
    }

    Op op_;
    const float *objects_, *images_;
    size_t n_;
    double fx_, fy_, cx_, cy_;
    Loss loss_;
    Lists lists_;
};

template <class Op>
vsrStatus refinePose(Op op, const float* objectPoints, const float* imagePoints, uint32_t numPoints,
                     const float* cameraMatrix, uint32_t maxIterations, vsrLossType loss, float scale, float* rotation,
                     float* translation, float* meanSquaredError)
{
    const PoseRefinement<Op> refinement(op, objectPoints, imagePoints, numPoints, cameraMatrix, Loss{loss, scale});
    if (!refinement.hasMemory())
    {
        return VISORA_ENOMEM;
    }
    DoublePose pose;
    std::copy_n(rotation, 9, pose.R);
    std::copy_n(translation, 3, pose.t);
    auto fit = refinement.look(pose);
    if (fit.count < kPosePoints)
    {
        return VISORA_EFAIL;
    }
    for (uint32_t round = 0; round < maxIterations; ++round)
    {
        double x[6];
        if (!refinement.step(x))
        {
            break;
        }
        double E[9];
        rotationOf(x, E);
        const DoublePose next = pose.turned(E, x + 3);
        const auto nextFit = refinement.look(next);
        if (nextFit.count < kPosePoints || !(nextFit.cost < fit.cost))
        {
            break;
        }
        pose = next;
        fit = nextFit;
    }
    toFloats(pose.R, 9, rotation);
    toFloats(pose.t, 3, translation);
    *meanSquaredError = static_cast<float>(fit.squares / static_cast<double>(fit.count));
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
