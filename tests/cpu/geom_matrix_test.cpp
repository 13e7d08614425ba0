// Properties of the matrix operations, in double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"
#include "visora/variants/geom.h"

namespace visora::test
{
namespace
{

struct Matrix
{
    Matrix(uint32_t r, uint32_t c) : rows(r), columns(c), data(size_t{r} * c) {}

    float& operator()(uint32_t i, uint32_t j) { return data[size_t{i} * columns + j]; }
    float operator()(uint32_t i, uint32_t j) const { return data[size_t{i} * columns + j]; }

    uint32_t rows, columns;
    std::vector<float> data;
};

Matrix randomMatrix(uint32_t rows, uint32_t columns, Random& random)
{
    Matrix m(rows, columns);
    std::generate(m.data.begin(), m.data.end(),
                  [&] { return static_cast<float>(static_cast<int>(random.between(0, 2000)) - 1000) / 100; });
    return m;
}

Matrix transposed(const Matrix& m)
{
    Matrix t(m.columns, m.rows);
    for (uint32_t i = 0; i < m.rows; ++i)
    {
        for (uint32_t j = 0; j < m.columns; ++j)
        {
            t(j, i) = m(i, j);
        }
    }
    return t;
}

// The greatest difference of an element of a b from that of c.
double distance(const Matrix& a, const Matrix& b, const Matrix& c)
{
    double greatest = 0;
    for (uint32_t i = 0; i < a.rows; ++i)
    {
        for (uint32_t j = 0; j < b.columns; ++j)
        {
            double sum = 0;
            for (uint32_t k = 0; k < a.columns; ++k)
            {
                sum += double{a(i, k)} * b(k, j);
            }
            greatest = std::max(greatest, std::fabs(sum - c(i, j)));
        }
    }
    return greatest;
}

Matrix identity(uint32_t n)
{
    Matrix m(n, n);
    for (uint32_t i = 0; i < n; ++i)
    {
        m(i, i) = 1;
    }
    return m;
}

TEST(Matrices, ProductsInversesAndSolutionsFulfilTheirEquations)
{
    Random random(1);
    for (uint32_t n = 1; n < 40; n += 3)
    {
        Matrix A = randomMatrix(n, n, random);
        for (uint32_t i = 0; i < n; ++i)
        {
            A(i, (i * 7 + 1) % n) += 60;  // well conditioned where 7 and n have no divisor in common
        }
        const Matrix B = randomMatrix(n, n + 5, random);
        Matrix product(n, n + 5);
        vsrMatrixMultiplyf32(A.data.data(), n, n, 0, B.data.data(), n + 5, 0, product.data.data(), 0);
        EXPECT_LT(distance(A, B, product), 1e-2) << n;

        if (n % 7 == 0)
        {
            continue;
        }
        Matrix inverse = A;
        ASSERT_EQ(0u, vsrInvertMatrixf32(inverse.data.data(), n, 0, inverse.data.data(), 0)) << n;
        EXPECT_LT(distance(A, inverse, identity(n)), 1e-3) << n;
        const Matrix b = randomMatrix(n, 1, random);
        for (const auto solve :
             {+[](const Matrix&m, float*x) { return vsrSolveLUf32(m.data.data(), m.rows, 0, x, x); },
              +[](const Matrix&m, float*x) { return vsrSolveQRf32(m.data.data(), m.rows, m.columns, 0, x, x); }})
        {
            Matrix x = b;
            ASSERT_EQ(0u, solve(A, x.data.data())) << n;
            EXPECT_LT(distance(A, x, b), 2e-3) << n;
        }
    }
}

TEST(Matrices, LeastSquaresLeaveAResidualAcrossAllColumns)
{
    Random random(2);
    const Matrix A = randomMatrix(30, 6, random);
    const Matrix b = randomMatrix(30, 1, random);
    Matrix x(6, 1);
    ASSERT_EQ(0u, vsrSolveQRf32(A.data.data(), 30, 6, 0, b.data.data(), x.data.data()));
    for (uint32_t j = 0; j < 6; ++j)
    {
        double dot = 0;
        for (uint32_t i = 0; i < 30; ++i)
        {
            double residual = -b(i, 0);
            for (uint32_t k = 0; k < 6; ++k)
            {
                residual += double{A(i, k)} * x(k, 0);
            }
            dot += residual * A(i, j);
        }
        EXPECT_LT(std::fabs(dot), 2e-3) << j;
    }
}

TEST(Matrices, SingularOnesFailAndLeaveTheDestination)
{
    const std::vector<float> A = {1, 2, 2, 4};
    std::vector<float> out(4, 7);
    EXPECT_EQ(uint32_t{VISORA_EFAIL}, vsrInvertMatrixf32(A.data(), 2, 0, out.data(), 0));
    EXPECT_EQ(uint32_t{VISORA_EFAIL}, vsrSolveLUf32(A.data(), 2, 0, A.data() + 1, out.data()));
    const std::vector<float> zeros(4, 0);
    EXPECT_EQ(uint32_t{VISORA_EFAIL}, vsrSolveQRf32(zeros.data(), 2, 2, 0, A.data(), out.data()));
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrSolveQRf32(A.data(), 1, 2, 0, A.data(), out.data()));
    std::vector<float> B = A;
    EXPECT_EQ(uint32_t{VISORA_EBADPARAM}, vsrSolveLUf32(B.data(), 2, 0, out.data(), B.data()));
    EXPECT_EQ(A, B);
    EXPECT_EQ(std::vector<float>(4, 7), out);
}

TEST(SingularValues, MakeUpTheMatrixFromOrthonormalParts)
{
    Random random(3);
    for (const auto& [rows, columns] : {std::pair{1u, 1u}, {3u, 3u}, {20u, 5u}, {5u, 20u}, {17u, 16u}, {4u, 4u}})
    {
        for (const bool isPoor : {false, true})  // only one row or column is not 0
        {
            for (const float scale : {1.0F, 1e-30F, 1e30F})
            {
                Matrix A = randomMatrix(rows, columns, random);
                for (uint32_t i = 0; i < rows; ++i)
                {
                    for (uint32_t j = 0; j < columns; ++j)
                    {
                        A(i, j) = scale * (isPoor && (rows < columns ? i : j) != 0 ? 0 : A(i, j));
                    }
                }
                const uint32_t r = std::min(rows, columns);
                Matrix w(1, r), U(rows, r), Vt(r, columns);
                ASSERT_EQ(
                    0u, vsrSVDf32(A.data.data(), rows, columns, 0, w.data.data(), U.data.data(), 0, Vt.data.data(), 0));
                EXPECT_TRUE(std::is_sorted(w.data.rbegin(), w.data.rend()));
                EXPECT_LT(distance(transposed(U), U, identity(r)), 1e-5);
                EXPECT_LT(distance(Vt, transposed(Vt), identity(r)), 1e-5);
                Matrix scaled = U;
                for (uint32_t i = 0; i < rows; ++i)
                {
                    for (uint32_t k = 0; k < r; ++k)
                    {
                        scaled(i, k) *= w(0, k);
                    }
                }
                EXPECT_LE(distance(scaled, Vt, A), 1e-5 * w(0, 0)) << rows << "x" << columns;
            }
        }
    }
}

}  // namespace
}  // namespace visora::test
