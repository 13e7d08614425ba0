// Boxes, lines and ellipses for sets of points, and simpler polygons; `op` works on whole lists.
#ifndef VISORA_CPU_GEOM_POINT_SET_H
#define VISORA_CPU_GEOM_POINT_SET_H

#include <cmath>

#include "cpu/geom/visoraGeomHull.h"
#include "cpu/geom/visoraGeomLists.h"
#include "cpu/geom/visoraGeomLoss.h"
#include "cpu/visoraDegrees.h"
#include "visora/points.h"

namespace visora
{

/** Squared distance of p from the segment from a to b. */
inline double squaredDistance(Point2 p, Point2 a, Point2 b)
{
    const Point2 e = b - a;
    const Point2 w = p - a;
    const double s = w.dot(e);
    const double L = e.dot(e);
    if (s <= 0)
    {
        return w.dot(w);
    }
    if (s >= L)
    {
        const Point2 v = p - b;
        return v.dot(v);
    }
    const double c = e.cross(w);
    return (c * c) / L;
}

/** Of several points, relative to an edge: how far they reach along it and to its left. */
struct Extent
{
    double lo, hi, up;
};

/** What the operations do with lists of points, point by point. */
struct PlainPoints : PlainSums
{
    Extent extent(const double* x, const double* y, size_t n, Point2 a, Point2 e) const
    {
        Extent result = {0, 0, 0};
        for (size_t i = 0; i < n; ++i)
        {
            const Point2 w = Point2{x[i], y[i]} - a;
            result.lo = std::min(result.lo, w.dot(e));
            result.hi = std::max(result.hi, w.dot(e));
            result.up = std::max(result.up, e.cross(w));
        }
        return result;
    }

    /** For Hull: any point may be a corner. */
    uint32_t outer(const float* /*points*/, uint32_t numPoints, uint32_t* list) const
    {
        std::iota(list, list + numPoints, 0u);
        return numPoints;
    }

    /** The first of the n points that is farthest from the segment; `distance` is its square. */
    size_t farthest(const double* x, const double* y, size_t n, Point2 a, Point2 b, double& distance) const
    {
        size_t first = 0;
        distance = -1;
        for (size_t i = 0; i < n; ++i)
        {
            const double d = squaredDistance({x[i], y[i]}, a, b);
            first = d > distance ? i : first;
            distance = std::max(distance, d);
        }
        return first;
    }
};

// ---- Boxes ----

template <class Op>
vsrStatus minAreaRect(Op op, const float* points, uint32_t numPoints, vsrRotatedBox* box)
{
    const Hull hull(op, points, numPoints);
    if (!hull)
    {
        return VISORA_ENOMEM;
    }
    const size_t n = hull.size();
    if (n == 1)
    {
        *box = {points[size_t{2} * hull[0]], points[size_t{2} * hull[0] + 1], 0, 0, 0};
        return VISORA_SUCCESS;
    }
    const Lists lists(2, n);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    double *const x = lists[0], *const y = lists[1];
    make(x, n, [&](size_t k) { return point2At(points, hull[k]).x; });
    make(y, n, [&](size_t k) { return point2At(points, hull[k]).y; });
    Point2 origin = {0, 0}, e = {0, 0};
    Extent best = {0, 0, 0};
    double least = 0;
    for (size_t k = 0; k < n; ++k)
    {
        const size_t next = k + 1 == n ? 0 : k + 1;
        const Point2 a = {x[k], y[k]};
        const Point2 edge = Point2{x[next], y[next]} - a;
        const Extent extent = op.extent(x, y, n, a, edge);
        const double area = ((extent.hi - extent.lo) * extent.up) / edge.dot(edge);
        if (k == 0 || area < least)
        {
            least = area;
            origin = a;
            e = edge;
            best = extent;
        }
    }
    const double L = e.dot(e);
    const double m = (best.lo + best.hi) / (2 * L);
    const double k = best.up / (2 * L);
    box->cx = static_cast<float>(origin.x + (m * e.x - k * e.y));
    box->cy = static_cast<float>(origin.y + (m * e.y + k * e.x));
    double width = (best.hi - best.lo) / std::sqrt(L);
    double height = best.up / std::sqrt(L);
    while (!(e.x > 0 && e.y >= 0))
    {
        e = {e.y, -e.x};
        std::swap(width, height);
    }
    box->width = static_cast<float>(width);
    box->height = static_cast<float>(height);
    box->angle = static_cast<float>(angleOf(e.y, e.x));
    return VISORA_SUCCESS;
}

// ---- Lines and ellipses ----

template <class Op>
vsrStatus fitLine(Op op, const float* points, uint32_t numPoints, vsrLossType loss, float scale, float* line)
{
    constexpr int kRounds = 10;
    const size_t n = numPoints;
    const Lists lists(6, n);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    double *const x = lists[0], *const y = lists[1], *const w = lists[2], *const X = lists[3], *const Y = lists[4];
    double* const products = lists[5];
    make(x, n, [=](size_t i) { return double{points[2 * i]}; });
    make(y, n, [=](size_t i) { return double{points[2 * i + 1]}; });
    make(w, n, [](size_t) { return 1.0; });
    const Loss weights = {loss, scale};
    double result[4] = {};
    for (int round = 0; round <= (loss == VISORA_LOSS_SQUARE ? 0 : kRounds); ++round)
    {
        const double W = op.sum(w, n);
        if (!(W > 0))
        {
            break;
        }
        const double cx = op.dot(w, x, n) / W;
        const double cy = op.dot(w, y, n) / W;
        make(X, n, [=](size_t i) { return x[i] - cx; });
        make(Y, n, [=](size_t i) { return y[i] - cy; });
        const auto moment = [&](const double* a, const double* b)
        {
            make(products, n, [=](size_t i) { return a[i] * b[i]; });
            return op.dot(w, products, n);
        };
        const double xx = moment(X, X);
        const double xy = moment(X, Y);
        const UnitVector direction = mainDirection(xx, xy, moment(Y, Y));
        const double next[4] = {cx, cy, direction.x, direction.y};
        std::copy_n(next, 4, result);
        make(w, n,
             [=](size_t i)
             {
                 const double r = X[i] * direction.y - Y[i] * direction.x;
                 return weights.weight(r * r);
             });
    }
    toFloats(result, 4, line);
    return VISORA_SUCCESS;
}

constexpr uint32_t kEllipsePoints = 5;

template <class Op>
vsrStatus fitEllipse(Op op, const float* points, uint32_t numPoints, vsrEllipse* ellipse)
{
    const size_t n = numPoints;
    const Lists lists(6, n);
    if (!lists)
    {
        return VISORA_ENOMEM;
    }
    *ellipse = {};
    if (n < kEllipsePoints)
    {
        return VISORA_EFAIL;
    }
    double *const x = lists[0], *const y = lists[1], *const terms = lists[5];
    double* const q[3] = {lists[2], lists[3], lists[4]};
    make(x, n, [=](size_t i) { return double{points[2 * i]}; });
    make(y, n, [=](size_t i) { return double{points[2 * i + 1]}; });
    const double mx = centre(op, x, n);
    const double my = centre(op, y, n);
    make(terms, n, [=](size_t i) { return x[i] * x[i] + y[i] * y[i]; });
    const double g = op.sum(terms, n) / static_cast<double>(n);
    if (!(g > 0))
    {
        return VISORA_EFAIL;
    }
    const double k = 1.0 / std::sqrt(g);
    make(x, n, [=](size_t i) { return x[i] * k; });
    make(y, n, [=](size_t i) { return y[i] * k; });
    make(q[0], n, [=](size_t i) { return x[i] * x[i]; });
    make(q[1], n, [=](size_t i) { return x[i] * y[i]; });
    make(q[2], n, [=](size_t i) { return y[i] * y[i]; });
    const double Sxx = op.sum(q[0], n), Sxy = op.sum(q[1], n), Syy = op.sum(q[2], n);
    const double det = Sxx * Syy - Sxy * Sxy;
    if (!(det > 0x1p-40 * ((Sxx + Syy) * (Sxx + Syy))))
    {
        return VISORA_EFAIL;
    }
    // What the linear terms are for given quadratic ones.
    double U[3], V[3], N[3], T[3][3];
    for (int j = 0; j < 3; ++j)
    {
        U[j] = op.dot(q[j], x, n);
        V[j] = op.dot(q[j], y, n);
        N[j] = op.sum(q[j], n);
        T[0][j] = (Sxy * V[j] - Syy * U[j]) / det;
        T[1][j] = (Sxy * U[j] - Sxx * V[j]) / det;
        T[2][j] = -N[j] / static_cast<double>(n);
    }
    double M[3][3];
    for (int i = 0; i < 3; ++i)
    {
        for (int j = i; j < 3; ++j)
        {
            M[i][j] = M[j][i] = op.dot(q[i], q[j], n) + ((U[i] * T[0][j] + V[i] * T[1][j]) + N[i] * T[2][j]);
        }
    }
    const SmallSvd<3> scatter([&](int i, int j) { return M[i][j]; });
    if (!(scatter.w[0] > 0))
    {
        return VISORA_EFAIL;
    }
    double P[3][3];
    for (int i = 0; i < 3; ++i)
    {
        const double factor = 1.0 / std::sqrt(std::max(scatter.w[i], 0x1p-40 * scatter.w[0]));
        for (int j = 0; j < 3; ++j)
        {
            P[j][i] = scatter.v[i][j] * factor;
        }
    }
    double B[3][3];
    for (int i = 0; i < 3; ++i)
    {
        for (int j = i; j < 3; ++j)
        {
            B[i][j] = B[j][i] = 2.0 * (P[0][i] * P[2][j] + P[2][i] * P[0][j]) - P[1][i] * P[1][j];
        }
    }
    const double shift = std::sqrt(sumOf(9, [&](size_t i) { return B[i / 3][i % 3] * B[i / 3][i % 3]; }));
    const SmallSvd<3> constraint([&](int i, int j) { return i == j ? B[i][j] + shift : B[i][j]; });
    const double* const z = constraint.v[0];
    double conic[6];
    for (int i = 0; i < 3; ++i)
    {
        conic[i] = (P[i][0] * z[0] + P[i][1] * z[1]) + P[i][2] * z[2];
    }
    if (conic[0] + conic[2] < 0)
    {
        std::transform(conic, conic + 3, conic, [](double v) { return -v; });
    }
    const double a = conic[0], b = conic[1], c = conic[2];
    for (int i = 0; i < 3; ++i)
    {
        conic[3 + i] = (T[i][0] * a + T[i][1] * b) + T[i][2] * c;
    }
    const double d = conic[3], e = conic[4], f = conic[5];
    const double disc = 4.0 * (a * c) - b * b;
    if (!(disc > 0))
    {
        return VISORA_EFAIL;
    }
    const double x0 = (b * e - 2.0 * (c * d)) / disc;
    const double y0 = (b * d - 2.0 * (a * e)) / disc;
    const double G = f + 0.5 * (d * x0 + e * y0);
    if (!(G < 0))
    {
        return VISORA_EFAIL;
    }
    const double h = std::sqrt((a - c) * (a - c) + b * b);
    const double l2 = 0.5 * ((a + c) + h);
    const double l1 = disc / (4.0 * l2);
    double angle = h == 0 ? 0 : 0.5 * angleOf(-b, c - a);
    angle = angle < 0 ? angle + 180 : angle;
    const auto rounded = static_cast<float>(angle);
    *ellipse = {static_cast<float>(mx + x0 / k), static_cast<float>(my + y0 / k),
                static_cast<float>(std::sqrt(-G / l1) / k), static_cast<float>(std::sqrt(-G / l2) / k),
                rounded >= 180 ? 0 : rounded};
    return VISORA_SUCCESS;
}

// ---- Polygons ----

/** Marks the vertices that stay. A closed chain is held twice, so that every part of it is in one piece. */
template <class Op>
vsrStatus simplify(Op op, const float* points, uint32_t numPoints, float epsilon, bool closed, float* dst,
                   uint32_t* indices, uint32_t* count)
{
    const size_t n = numPoints;
    const size_t length = closed ? 2 * n : n;
    const Lists lists(2, length);
    const Scratch scratch(n + (n + 2) * 2 * sizeof(uint64_t));
    auto* const stack = scratch.as<uint64_t>();
    if (!lists || !stack)
    {
        return VISORA_ENOMEM;
    }
    auto* const stays = reinterpret_cast<uint8_t*>(stack + 2 * (n + 2));
    std::fill_n(stays, n, uint8_t{0});
    double *const x = lists[0], *const y = lists[1];
    make(x, n, [=](size_t i) { return double{points[2 * i]}; });
    make(y, n, [=](size_t i) { return double{points[2 * i + 1]}; });
    std::copy_n(x, length - n, x + n);
    std::copy_n(y, length - n, y + n);
    const auto at = [=](size_t i) { return Point2{x[i], y[i]}; };
    const double limit = double{epsilon} * double{epsilon};
    size_t depth = 0;
    const auto push = [&](size_t from, size_t to)
    {
        stack[2 * depth] = from;
        stack[2 * depth + 1] = to;
        ++depth;
    };
    if (closed)
    {
        double distance = 0;
        const size_t A = op.farthest(x, y, n, at(0), at(0), distance);
        const size_t B = op.farthest(x, y, n, at(A), at(A), distance);
        stays[A] = 1;
        if (distance > 0)
        {
            stays[B] = 1;
            push(A, B > A ? B : B + n);
            push(B, A > B ? A : A + n);
        }
    }
    else
    {
        stays[0] = stays[n - 1] = 1;
        push(0, n - 1);
    }
    while (depth > 0)
    {
        --depth;
        const size_t from = stack[2 * depth];
        const size_t to = stack[2 * depth + 1];
        if (to - from < 2)
        {
            continue;
        }
        double distance = 0;
        const size_t middle =
            from + 1 + op.farthest(x + from + 1, y + from + 1, to - from - 1, at(from), at(to), distance);
        if (distance > limit)
        {
            stays[middle % n] = 1;
            push(from, middle);
            push(middle, to);
        }
    }
    uint32_t found = 0;
    for (uint32_t i = 0; i < numPoints; ++i)
    {
        if (stays[i] == 0)
        {
            continue;
        }
        if (dst)
        {
            std::copy_n(points + size_t{2} * i, 2, dst + size_t{2} * found);
        }
        if (indices)
        {
            indices[found] = i;
        }
        ++found;
    }
    *count = found;
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
