// Singular value decomposition of a matrix of floats; the variants differ in what they do with whole columns.
#ifndef VISORA_CPU_GEOM_SVD_H
#define VISORA_CPU_GEOM_SVD_H

#include <cmath>

#include "cpu/geom/visoraGeomNumerics.h"
#include "cpu/visoraDrivers.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** The power of two by which the greatest magnitude becomes 1 to 2; 1 when all are zero. */
inline float powerOfTwoBelow(const float* src, uint32_t rows, uint32_t columns, uint32_t stride)
{
    float greatest = 0;
    forEach(src, columns, rows, stride, nullptr, 0,
            [&](float v, uint32_t, uint32_t) { greatest = std::max(greatest, std::fabs(v)); });
    return greatest == 0 ? 1 : std::ldexp(1.0F, std::ilogb(greatest));
}

/** op.orthogonalise may use as many numbers behind the singular values. */
template <class Op>
vsrStatus decompose(Op op, const float* src, uint32_t rows, uint32_t columns, uint32_t srcStride, float* w, float* U,
                    uint32_t uStride, float* Vt, uint32_t vtStride)
{
    const bool isWide = rows < columns;  // its transpose is decomposed
    const size_t m = isWide ? columns : rows;
    const size_t n = isWide ? rows : columns;
    const auto padded = [](size_t size) { return (size + 15) / 16 * 16; };
    const size_t aStride = padded(m);
    const size_t vStride = padded(n);
    const Scratch scratch((aStride + vStride + 2) * n * sizeof(float));
    auto* const memory = scratch.as<float>();
    if (!memory)
    {
        return VISORA_ENOMEM;
    }
    const Columns<float> a = {memory, aStride};
    const Columns<float> v = {memory + aStride * n, vStride};
    float* const values = v[n];

    const float scale = powerOfTwoBelow(src, rows, columns, srcStride);
    std::fill_n(memory, aStride * n, 0.0F);
    forEach(src, columns, rows, srcStride, nullptr, 0,
            [&](float element, uint32_t x, uint32_t y) { (isWide ? a[y][x] : a[x][y]) = element / scale; });
    jacobi(a, m, v, n, values, op);

    const Columns<float> left = isWide ? v : a;
    const Columns<float> right = isWide ? a : v;
    for (size_t k = 0; k < n; ++k)
    {
        w[k] = values[k] * scale;
        std::copy_n(right[k], columns, imageRow(Vt, vtStride, static_cast<uint32_t>(k)));
    }
    for (uint32_t i = 0; i < rows; ++i)
    {
        for (size_t k = 0; k < n; ++k)
        {
            imageRow(U, uStride, i)[k] = left[k][i];
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

#endif
