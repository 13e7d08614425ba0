// Linear equations with a symmetric matrix, reference variant.
#include "cpu/geom/visoraGeomCholesky.h"
#include "visora/variants/geom.h"

int vsrSolveCholeskyf32C(float* A, const float* b, float* diag, uint32_t n, float* x)
{
    return visora::solveCholesky(A, b, diag, n, x);
}
