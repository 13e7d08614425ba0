// Moments of images, reference variants.
#include <cmath>

#include "common/visoraRelaxed.h"
#include "cpu/moments/visoraMoments.h"
#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

namespace visora
{

void foldColumns(const ColumnMoments& columns, double moments[10])
{
    // The powers of x and y of each moment, in the order of the record.
    constexpr uint32_t kPowers[10][2] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1},
                                         {0, 2}, {3, 0}, {2, 1}, {1, 2}, {0, 3}};
    for (size_t m = 0; m < 10; ++m)
    {
        PartialSums<double> sums;
        for (uint32_t x = 0; x < kTile; ++x)
        {
            const double k = columns.k[kPowers[m][1]][x];
            const uint32_t power[4] = {1, x, x * x, x * x * x};
            sums.add(x, kPowers[m][0] == 0 ? k : power[kPowers[m][0]] * k);
        }
        moments[m] = standardNaN(sums.total());
    }
}

void foldExactColumns(const ColumnMoments& columns, double moments[10])
{
    int64_t sum[10] = {};
    for (int64_t x = 0; x < kTile; ++x)
    {
        const auto k = [&](size_t j) { return static_cast<int64_t>(columns.k[j][x]); };
        sum[0] += k(0);
        sum[1] += x * k(0);
        sum[2] += k(1);
        sum[3] += x * x * k(0);
        sum[4] += x * k(1);
        sum[5] += k(2);
        sum[6] += x * x * x * k(0);
        sum[7] += x * x * k(1);
        sum[8] += x * k(2);
        sum[9] += k(3);
    }
    std::transform(sum, sum + 10, moments, [](int64_t v) { return static_cast<double>(v); });
}

void addTile(vsrMoments& sum, double x, double y, const double t[10])
{
    const double t00 = t[0], t10 = t[1], t01 = t[2], t20 = t[3], t11 = t[4];
    const double t02 = t[5], t30 = t[6], t21 = t[7], t12 = t[8], t03 = t[9];
    const double xm = x * t00;
    const double ym = y * t00;
    sum.m00 += t00;
    sum.m10 += t10 + xm;
    sum.m01 += t01 + ym;
    sum.m20 += t20 + x * (t10 * 2 + xm);
    sum.m02 += t02 + y * (t01 * 2 + ym);
    sum.m11 += (t11 + x * (t01 + ym)) + y * t10;
    sum.m30 += t30 + x * (3 * t20 + x * (3 * t10 + xm));
    sum.m03 += t03 + y * (3 * t02 + y * (3 * t01 + ym));
    sum.m21 += (t21 + x * (2 * (t11 + y * t10) + x * (t01 + ym))) + y * t20;
    sum.m12 += (t12 + y * (2 * (t11 + x * t01) + y * (t10 + xm))) + x * t02;
}

void centralize(vsrMoments& m)
{
    const double v = std::fabs(m.m00) > 0x1p-52 ? 1 / m.m00 : 0;
    const double cx = m.m10 * v;
    const double cy = m.m01 * v;
    m.mu20 = m.m20 - m.m10 * cx;
    m.mu11 = m.m11 - m.m10 * cy;
    m.mu02 = m.m02 - m.m01 * cy;
    const double d = m.mu11 + m.mu11;
    m.mu30 = m.m30 - cx * (3 * m.mu20 + cx * m.m10);
    m.mu21 = (m.m21 - cx * (d + cx * m.m01)) - cy * m.mu20;
    m.mu12 = (m.m12 - cy * (d + cy * m.m10)) - cx * m.mu02;
    m.mu03 = m.m03 - cy * (3 * m.mu02 + cy * m.m01);
    const double r = std::sqrt(std::fabs(v));
    const double v2 = v * v;
    const double v3 = v2 * r;
    m.nu20 = m.mu20 * v2;
    m.nu11 = m.mu11 * v2;
    m.nu02 = m.mu02 * v2;
    m.nu30 = m.mu30 * v3;
    m.nu21 = m.mu21 * v3;
    m.nu12 = m.mu12 * v3;
    m.nu03 = m.mu03 * v3;
    for (double* value :
         {&m.m00,  &m.m10,  &m.m01,  &m.m20,  &m.m11,  &m.m02,  &m.m30,  &m.m21,  &m.m12,  &m.m03,  &m.mu20, &m.mu11,
          &m.mu02, &m.mu30, &m.mu21, &m.mu12, &m.mu03, &m.nu20, &m.nu11, &m.nu02, &m.nu30, &m.nu21, &m.nu12, &m.nu03})
    {
        *value = standardNaN(*value);
    }
}

}  // namespace visora

using visora::planeRow;

namespace
{

/** Column sums from the top, in f64. */
template <class T>
visora::ColumnMoments sumColumns(const T* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary)
{
    visora::ColumnMoments columns{};
    for (uint32_t y = 0; y < height; ++y)
    {
        const T* row = planeRow(tile, stride, y);
        for (uint32_t x = 0; x < width; ++x)
        {
            const double value = visora::momentValue(row[x], binary != 0);
            columns.k[0][x] += value;
            columns.k[1][x] += y * value;
            columns.k[2][x] += y * y * value;
            columns.k[3][x] += y * y * y * value;
        }
    }
    return columns;
}

}  // namespace

// Sums of integers stay below 2^53 and are exact in f64.
void vsrMomentsInTileu8C(const uint8_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                         double moments[10])
{
    visora::foldExactColumns(sumColumns(tile, width, height, stride, binary), moments);
}

void vsrMomentsInTiles32C(const int32_t* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                          double moments[10])
{
    visora::foldExactColumns(sumColumns(tile, width, height, stride, binary), moments);
}

void vsrMomentsInTilef32C(const float* tile, uint32_t width, uint32_t height, uint32_t stride, uint32_t binary,
                          double moments[10])
{
    visora::foldColumns(sumColumns(tile, width, height, stride, binary), moments);
}

vsrStatus vsrImageMomentsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t binary, vsrMoments* moments)
{
    visora::momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, VSR_LOAD(vsrMomentsInTileu8_));
    return VISORA_SUCCESS;
}

vsrStatus vsrImageMomentss32C(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t binary, vsrMoments* moments)
{
    visora::momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, VSR_LOAD(vsrMomentsInTiles32_));
    return VISORA_SUCCESS;
}

vsrStatus vsrImageMomentsf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint32_t binary, vsrMoments* moments)
{
    visora::momentsByTiles(src, srcWidth, srcHeight, srcStride, binary, moments, VSR_LOAD(vsrMomentsInTilef32_));
    return VISORA_SUCCESS;
}
