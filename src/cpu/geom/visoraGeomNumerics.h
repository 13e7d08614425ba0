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

// ---- Singular values ----

/** Columns of a matrix, each a row of memory; a stride that is a multiple of 16 leaves zeros behind the elements. */
template <class T>
struct Columns
{
    T* data;
    size_t stride;

    T* operator[](size_t k) const { return data + k * stride; }
};

/** What makes two columns orthogonal whose squares are A and B and whose product is G. */
template <class T>
struct Turn
{
    static constexpr int kMaxSweeps = 30;

    static bool isNeeded(T A, T B, T G)
    {
        constexpr T kEps = sizeof(T) == 4 ? T(0x1p-20) : T(0x1p-48);
        return std::fabs(G) > kEps * std::sqrt(A * B);
    }

    Turn(T A, T B, T G)
    {
        const T Z = (B - A) / (2 * G);
        T t = 1 / (std::fabs(Z) + std::sqrt(1 + Z * Z));
        t = Z < 0 ? -t : t;
        c = 1 / std::sqrt(1 + t * t);
        s = c * t;
    }

    T c, s;
};

/** What Jacobi's method does with whole columns, element by element. */
template <class T>
struct PlainColumns
{
    T dot(const T* a, const T* b, size_t count) const
    {
        return sumOf<T>(count, [=](size_t i) { return a[i] * b[i]; });
    }

    /**
     * Turns pairs of the n columns of a, with m elements, and of v until all of a are orthogonal. w gets their squares.
     */
    void orthogonalise(Columns<T> a, size_t m, Columns<T> v, size_t n, T* w) const
    {
        for (size_t k = 0; k < n; ++k)
        {
            w[k] = dot(a[k], a[k], m);
        }
        bool hasTurned = true;
        for (int sweep = 0; sweep < Turn<T>::kMaxSweeps && hasTurned; ++sweep)
        {
            hasTurned = false;
            for (size_t p = 0; p + 1 < n; ++p)
            {
                for (size_t q = p + 1; q < n; ++q)
                {
                    const T G = dot(a[p], a[q], m);
                    if (!Turn<T>::isNeeded(w[p], w[q], G))
                    {
                        continue;
                    }
                    const Turn<T> by(w[p], w[q], G);
                    turn(a[p], a[q], by, m);
                    turn(v[p], v[q], by, n);
                    w[p] = dot(a[p], a[p], m);
                    w[q] = dot(a[q], a[q], m);
                    hasTurned = true;
                }
            }
        }
    }

  private:
    static void turn(T* a, T* b, Turn<T> by, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            const T x = a[i];
            const T y = b[i];
            a[i] = by.c * x - by.s * y;
            b[i] = by.s * x + by.c * y;
        }
    }
};

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
 * of U, and v gets those of V.
 */
template <class T, class Op = PlainColumns<T>>
void jacobi(Columns<T> a, size_t m, Columns<T> v, size_t n, T* w, Op op = {})
{
    for (size_t k = 0; k < n; ++k)
    {
        std::fill_n(v[k], v.stride, T{0});
        v[k][k] = 1;
    }
    op.orthogonalise(a, m, v, n, w);
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
    double w[n];

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
