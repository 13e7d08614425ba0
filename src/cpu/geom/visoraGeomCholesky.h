// Cholesky decomposition for floats and doubles.
#ifndef VISORA_CPU_GEOM_CHOLESKY_H
#define VISORA_CPU_GEOM_CHOLESKY_H

#include <cmath>
#include <cstddef>

namespace visora
{

/** See vsrSolveCholeskyf32. */
template <class T>
int solveCholesky(T* A, const T* b, T* diag, size_t order, T* x)
{
    for (size_t i = 0; i < order; ++i)
    {
        T* row = A + i * order;
        for (size_t j = 0; j <= i; ++j)
        {
            const T* other = A + j * order;
            T sum = row[j];
            for (size_t k = 0; k < j; ++k)
            {
                sum -= row[k] * other[k];
            }
            if (j < i)
            {
                row[j] = sum * diag[j];
            }
            else if (sum > 0)
            {
                row[i] = std::sqrt(sum);
                diag[i] = 1 / row[i];
            }
            else
            {
                return -1;
            }
        }
    }
    for (size_t i = 0; i < order; ++i)  // L y = b
    {
        T sum = b[i];
        for (size_t k = 0; k < i; ++k)
        {
            sum -= A[i * order + k] * x[k];
        }
        x[i] = sum * diag[i];
    }
    for (size_t i = order; i-- > 0;)  // L' x = y
    {
        T sum = x[i];
        for (size_t k = i + 1; k < order; ++k)
        {
            sum -= A[k * order + i] * x[k];
        }
        x[i] = sum * diag[i];
    }
    return 0;
}

}  // namespace visora

#endif
