// Linear equations and inverses by operations on whole rows, which the variants do in their own way: the order in which
// an element is worked on is the same whatever the vector length.
#ifndef VISORA_CPU_GEOM_ELIMINATION_H
#define VISORA_CPU_GEOM_ELIMINATION_H

#include <algorithm>
#include <cmath>

#include "cpu/visoraDrivers.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** A matrix with the right side, or the inverse in the making, beside it. Borrowed; there may be none. */
class Equations
{
  public:
    Equations(const float* A, size_t rows, size_t columns, uint32_t stride, size_t rightColumns)
        : width_(columns + rightColumns), scratch_((rows + 1) * width_ * sizeof(float)), memory_(scratch_.as<float>())
    {
        for (size_t i = 0; memory_ && i < rows; ++i)
        {
            std::copy_n(imageRow(A, stride, static_cast<uint32_t>(i)), columns, (*this)[i]);
            std::fill_n((*this)[i] + columns, rightColumns, 0.0F);
        }
    }

    explicit operator bool() const { return memory_ != nullptr; }
    float* operator[](size_t row) const { return memory_ + row * width_; }
    size_t width() const { return width_; }

    /** Brings the first row from k on with the greatest |element k| to row k. False when that element is 0. */
    bool pivot(size_t k, size_t rows) const
    {
        size_t p = k;
        for (size_t i = k + 1; i < rows; ++i)
        {
            if (std::fabs((*this)[i][k]) > std::fabs((*this)[p][k]))
            {
                p = i;
            }
        }
        if (p != k)
        {
            std::swap_ranges((*this)[k], (*this)[k] + width_, (*this)[p]);
        }
        return (*this)[k][k] != 0;
    }

  private:
    size_t width_;
    Scratch scratch_;
    float* memory_;
};

/** Solves the triangle above the diagonal for the right side in column n, from the last unknown on. */
template <class Divide>
void substituteBack(const Equations& rows, size_t n, float* x, Divide divide)
{
    for (size_t i = n; i-- > 0;)
    {
        float sum = rows[i][n];
        for (size_t j = i + 1; j < n; ++j)
        {
            sum -= rows[i][j] * rows[j][n];
        }
        rows[i][n] = divide(sum, i);
    }
    for (size_t i = 0; i < n; ++i)
    {
        x[i] = standardNaN(rows[i][n]);
    }
}

/**
 * `op` has subtractScaled(to, from, factor, count), addScaled alike and scale(row, factor, count). Elements of A left
 * of the pivot's column are never looked at again, so they are left as they are.
 */
template <class Op>
vsrStatus invertMatrix(Op op, const float* src, size_t n, uint32_t srcStride, float* dst, uint32_t dstStride)
{
    const Equations rows(src, n, n, srcStride, n);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t i = 0; i < n; ++i)
    {
        rows[i][n + i] = 1;
    }
    for (size_t k = 0; k < n; ++k)
    {
        if (!rows.pivot(k, n))
        {
            return VISORA_EFAIL;
        }
        const size_t count = rows.width() - (k + 1);
        float* const upper = rows[k] + k + 1;
        op.scale(upper, 1 / rows[k][k], count);
        for (size_t i = 0; i < n; ++i)
        {
            if (i != k)
            {
                op.subtractScaled(rows[i] + k + 1, upper, rows[i][k], count);
            }
        }
    }
    for (size_t i = 0; i < n; ++i)
    {
        std::transform(rows[i] + n, rows[i] + 2 * n, imageRow(dst, dstStride, static_cast<uint32_t>(i)),
                       [](float v) { return standardNaN(v); });
    }
    return VISORA_SUCCESS;
}

template <class Op>
vsrStatus solveLU(Op op, const float* A, size_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, n, n, stride, 1);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t i = 0; i < n; ++i)
    {
        rows[i][n] = b[i];
    }
    for (size_t k = 0; k < n; ++k)
    {
        if (!rows.pivot(k, n))
        {
            return VISORA_EFAIL;
        }
        const float inverse = 1 / rows[k][k];
        for (size_t i = k + 1; i < n; ++i)
        {
            op.subtractScaled(rows[i] + k + 1, rows[k] + k + 1, rows[i][k] * inverse, n - k);
        }
        rows[k][k] = inverse;
    }
    substituteBack(rows, n, x, [&](float sum, size_t i) { return sum * rows[i][i]; });
    return VISORA_SUCCESS;
}

template <class Op>
vsrStatus solveQR(Op op, const float* A, size_t rowCount, size_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, rowCount, n, stride, 1);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t i = 0; i < rowCount; ++i)
    {
        rows[i][n] = b[i];
    }
    float* const sums = rows[rowCount];
    for (size_t k = 0; k < n; ++k)
    {
        float square = 0;
        for (size_t i = k; i < rowCount; ++i)
        {
            square += rows[i][k] * rows[i][k];
        }
        const float length = std::sqrt(square);
        if (!(length > 0))
        {
            return VISORA_EFAIL;
        }
        const float p = rows[k][k];
        const float beta = 1 / (length * (length + std::fabs(p)));
        const float diagonal = p > 0 ? -length : length;
        rows[k][k] = p - diagonal;
        // The later columns and the right side together.
        const size_t count = n - k;
        std::fill_n(sums, count, 0.0F);
        for (size_t i = k; i < rowCount; ++i)
        {
            op.addScaled(sums, rows[i] + k + 1, rows[i][k], count);
        }
        op.scale(sums, beta, count);
        for (size_t i = k; i < rowCount; ++i)
        {
            op.subtractScaled(rows[i] + k + 1, sums, rows[i][k], count);
        }
        rows[k][k] = diagonal;
    }
    substituteBack(rows, n, x, [&](float sum, size_t i) { return sum / rows[i][i]; });
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
