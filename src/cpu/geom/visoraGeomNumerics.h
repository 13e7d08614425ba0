// Singular values by one-sided turns, and what else the fits of both variants rest on.
#ifndef VISORA_CPU_GEOM_NUMERICS_H
#define VISORA_CPU_GEOM_NUMERICS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraPartialSums.h"

namespace visora
{

// ---- Sums ----

/** Sum of element(i), i < count, in sixteen partial sums. */
template <class T = double, class Element>
T sumOf(size_t count, Element element)
{
    PartialSums<T> sums;
    for (size_t i = 0; i < count; ++i)
    {
        sums.add(i, element(i));
    }
    return sums.total();
}

/** Sums of products of columns, once they are turned. */
template <class T>
struct TurnedSums
{
    T aa, bb;
    T ac;  // with a third column, if there is one
};

/** What Jacobi's method does with whole columns, element by element. */
template <class T>
struct PlainColumns
{
    T dot(const T* a, const T* b, size_t count) const
    {
        return sumOf<T>(count, [=](size_t i) { return a[i] * b[i]; });
    }

    void turn(T* a, T* b, T c, T s, size_t count) const
    {
        for (size_t i = 0; i < count; ++i)
        {
            const T x = a[i];
            const T y = b[i];
            a[i] = c * x - s * y;
            b[i] = s * x + c * y;
        }
    }

    TurnedSums<T> turnAndSum(T* a, T* b, const T* third, T c, T s, size_t count) const
    {
        turn(a, b, c, s, count);
        return {dot(a, a, count), dot(b, b, count), third ? dot(a, third, count) : 0};
    }
};

// ---- Singular values ----

/** Columns of a matrix, each a row of memory; a stride that is a multiple of 16 leaves zeros behind the elements. */
template <class T>
struct Columns
{
    T* data;
    size_t stride;

    T* operator[](size_t k) const { return data + k * stride; }
};

/**
 * Turns pairs of the n columns of a, with m elements, and of v until all of a are orthogonal. w gets their squares and
 * has room for n more numbers.
 */
template <class T, class Op>
void orthogonalise(Op op, Columns<T> a, size_t m, Columns<T> v, size_t n, T* w)
{
    constexpr T kEps = sizeof(T) == 4 ? T(0x1p-20) : T(0x1p-48);
    constexpr int kMaxSweeps = 30;
    for (size_t k = 0; k < n; ++k)
    {
        w[k] = op.dot(a[k], a[k], m);
    }
    T* const next = w + n;  // products of column p with the one whose turn is next
    bool hasTurned = n > 1;
    for (int sweep = 0; sweep < kMaxSweeps && hasTurned; ++sweep)
    {
        hasTurned = false;
        // Pairs with one sum of p and q have no column in common, and each needs what those of lower sums made.
        for (size_t sum = 1; sum <= 2 * n - 3; ++sum)
        {
            for (size_t p = sum < n ? 0 : sum - (n - 1); 2 * p < sum; ++p)
            {
                const size_t q = sum - p;
                const T G = q == p + 1 ? op.dot(a[p], a[q], m) : next[p];
                // The pair (p - 1, q + 1) was turned before this one.
                const T* const third = q + 1 < n ? a[q + 1] : nullptr;
                if (!(std::fabs(G) > kEps * std::sqrt(w[p] * w[q])))
                {
                    next[p] = third ? op.dot(a[p], third, m) : 0;
                    continue;
                }
                const T Z = (w[q] - w[p]) / (2 * G);
                T t = 1 / (std::fabs(Z) + std::sqrt(1 + Z * Z));
                t = Z < 0 ? -t : t;
                const T c = 1 / std::sqrt(1 + t * t);
                const T s = c * t;
                const TurnedSums<T> sums = op.turnAndSum(a[p], a[q], third, c, s, m);
                w[p] = sums.aa;
                w[q] = sums.bb;
                next[p] = sums.ac;
                op.turn(v[p], v[q], c, s, n);
                hasTurned = true;
            }
        }
    }
}

/** Makes column k orthogonal to those before it, of length 1, from the first unit vector that is not nearly in them. */
template <class T, class Op>
void completeColumn(Op op, Columns<T> u, size_t m, size_t k)
{
    T* const r = u[k];
    for (size_t j = 0; j < m; ++j)
    {
        std::fill_n(r, m, T{0});
        r[j] = 1;
        for (size_t l = 0; l < k; ++l)
        {
            const T factor = u[l][j];
            for (size_t i = 0; i < m; ++i)
            {
                r[i] -= factor * u[l][i];
            }
        }
        if (op.dot(r, r, m) >= 1 / (2 * static_cast<T>(m)))
        {
            break;
        }
    }
    for (size_t l = 0; l < k; ++l)
    {
        const T factor = op.dot(u[l], r, m);
        for (size_t i = 0; i < m; ++i)
        {
            r[i] -= factor * u[l][i];
        }
    }
    const T length = std::sqrt(op.dot(r, r, m));
    std::transform(r, r + m, r, [=](T value) { return value / length; });
}

/**
 * Singular values w, in descending order, of n columns of m >= n elements (M. Hestenes, 1958). The columns become those
 * of U, and v gets those of V. w has room for n more numbers.
 */
template <class T, class Op = PlainColumns<T>>
void jacobi(Columns<T> a, size_t m, Columns<T> v, size_t n, T* w, Op op = {})
{
    for (size_t k = 0; k < n; ++k)
    {
        std::fill_n(v[k], v.stride, T{0});
        v[k][k] = 1;
    }
    orthogonalise(op, a, m, v, n, w);
    for (size_t k = 0; k < n; ++k)
    {
        w[k] = std::sqrt(w[k]);
    }
    // Equal ones stay as they were.
    for (size_t k = 0; k < n; ++k)
    {
        const auto greatest = static_cast<size_t>(std::max_element(w + k, w + n) - w);
        for (size_t i = greatest; i > k; --i)
        {
            std::swap(w[i], w[i - 1]);
            std::swap_ranges(a[i], a[i] + m, a[i - 1]);
            std::swap_ranges(v[i], v[i] + n, v[i - 1]);
        }
    }
    for (size_t k = 0; k < n; ++k)
    {
        if (w[k] != 0)
        {
            std::transform(a[k], a[k] + m, a[k], [=](T value) { return value / w[k]; });
        }
        else
        {
            completeColumn(op, a, m, k);
        }
    }
}

/** A small matrix's decomposition: u[k] and v[k] are columns k. */
template <int n>
struct SmallSvd
{
    double u[n][n];
    double v[n][n];
    double w[2 * n];  // and room for the method

    /** Decomposes the matrix whose element (i, j) is element(i, j). */
    template <class Element>
    explicit SmallSvd(Element element)
    {
        for (int i = 0; i < n; ++i)
        {
            for (int j = 0; j < n; ++j)
            {
                u[j][i] = element(i, j);
            }
        }
        jacobi(Columns<double>{u[0], n}, n, Columns<double>{v[0], n}, n, w);
    }
};

}  // namespace visora

#endif
