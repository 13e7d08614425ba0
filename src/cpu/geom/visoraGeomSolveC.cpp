// Linear equations, reference variants.
#include <cmath>

#include "visora/variants/geom.h"

int vsrSolveCholeskyf32C(float* A, const float* b, float* diag, uint32_t n, float* x)
{
    const size_t order = n;
    for (size_t i = 0; i < order; ++i)
    {
        float* row = A + i * order;
        for (size_t j = 0; j <= i; ++j)
        {
            const float* other = A + j * order;
            float sum = row[j];
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
        float sum = b[i];
        for (size_t k = 0; k < i; ++k)
        {
            sum -= A[i * order + k] * x[k];
        }
        x[i] = sum * diag[i];
    }
    for (size_t i = order; i-- > 0;)  // L' x = y
    {
        float sum = x[i];
        for (size_t k = i + 1; k < order; ++k)
        {
            sum -= A[k * order + i] * x[k];
        }
        x[i] = sum * diag[i];
    }
    return 0;
}
