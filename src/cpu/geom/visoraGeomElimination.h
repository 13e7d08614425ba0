// What linear equations and inverses rest on in both variants.
#ifndef VISORA_CPU_GEOM_ELIMINATION_H
#define VISORA_CPU_GEOM_ELIMINATION_H

#include <algorithm>
#include <cmath>

#include "cpu/visoraDrivers.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/**
 * A matrix with the right side, or the inverse in the making, beside it. Rows are padded to a multiple of elements, by
 * zeros. Borrowed; there may be none.
 */
class Equations
{
  public:
    enum class Padding
    {
        Left,
        Right
    };

    Equations(const float* A, size_t rows, size_t columns, uint32_t stride, size_t rightColumns, size_t multiple = 1,
              Padding padding = Padding::Right)
        : width_((columns + rightColumns + multiple - 1) / multiple * multiple),
          scratch_(rows * width_ * sizeof(float)),
          memory_(scratch_.as<float>())
    {
        const size_t left = padding == Padding::Left ? width_ - (columns + rightColumns) : 0;
        for (size_t i = 0; memory_ && i < rows; ++i)
        {
            float* const row = (*this)[i];
            std::fill_n(row, left, 0.0F);
            std::copy_n(imageRow(A, stride, static_cast<uint32_t>(i)), columns, row + left);
            std::fill(row + left + columns, row + width_, 0.0F);
        }
        memory_ = memory_ ? memory_ + left : nullptr;
    }

    /** Sets the column behind the matrix. */
    void setRight(size_t rows, size_t columns, const float* b) const
    {
        for (size_t i = 0; i < rows; ++i)
        {
            (*this)[i][columns] = b[i];
        }
    }

    explicit operator bool() const { return memory_ != nullptr; }
    float* operator[](size_t row) const { return memory_ + row * width_; }
    size_t width() const { return width_; }

    /** The first row from k on with the greatest |element k|. */
    size_t findPivot(size_t k, size_t rows) const
    {
        size_t p = k;
        for (size_t i = k + 1; i < rows; ++i)
        {
            if (std::fabs((*this)[i][k]) > std::fabs((*this)[p][k]))
            {
                p = i;
            }
        }
        return p;
    }

    /** Brings row p to row k. False when its element k is 0. */
    bool usePivot(size_t k, size_t p) const
    {
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
            sum -= rows[i][j] * x[j];
        }
        x[i] = standardNaN(divide(sum, i));
    }
}

}  // namespace visora

#endif
