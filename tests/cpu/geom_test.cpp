// Known answers and properties of the model fits.
#include "visora/variants/geom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "support/correspondences.h"

namespace visora::test
{
namespace
{

using Homography = std::array<float, 9>;
constexpr Homography kZero = {};
constexpr double kScales[] = {1, 10, kTypicalPixels, 2000};

struct Fit
{
    const char* name;
    vsrStatus (*run)(const vsrCorrespondences*, float*);
    uint32_t points;  // that it needs
};
constexpr Fit kFits[] = {{"single", vsrGeomHomographyFitf32, 4},
                         {"double", vsrGeomHomographyFitDPf32, 4},
                         {"affine", vsrGeomAffineFitf32, 3}};

Homography fitted(const Fit& fit, const vsrCorrespondences& record, vsrStatus expected = 0)
{
    Homography model;
    model.fill(7);
    EXPECT_EQ(expected, fit.run(&record, model.data())) << fit.name;
    return model;
}

// Minimises |A x - b| by Householder reflections, which never square A; returns the smallest |A x - b|.
double smallestResidual(std::vector<std::vector<double>> rows, std::vector<double> b)
{
    const size_t unknowns = rows[0].size();
    for (size_t k = 0; k < unknowns; ++k)
    {
        double norm = 0;
        for (size_t i = k; i < rows.size(); ++i)
        {
            norm = std::hypot(norm, rows[i][k]);
        }
        std::vector<double> mirror(rows.size());
        for (size_t i = k; i < rows.size(); ++i)
        {
            mirror[i] = rows[i][k];
        }
        mirror[k] += std::copysign(norm, mirror[k]);
        const double length = std::inner_product(mirror.begin(), mirror.end(), mirror.begin(), 0.0);
        const auto reflect = [&](auto at)
        {
            double dot = 0;
            for (size_t i = k; i < rows.size(); ++i)
            {
                dot += mirror[i] * at(i);
            }
            for (size_t i = k; i < rows.size(); ++i)
            {
                at(i) -= 2 * dot / length * mirror[i];
            }
        };
        for (size_t j = k; j < unknowns; ++j)
        {
            reflect([&](size_t i) -> double& { return rows[i][j]; });
        }
        reflect([&](size_t i) -> double& { return b[i]; });
    }
    return std::sqrt(std::inner_product(b.begin() + static_cast<ptrdiff_t>(unknowns), b.end(),
                                        b.begin() + static_cast<ptrdiff_t>(unknowns), 0.0));
}

// The equations that a fit makes as small as it can, and their norm under a model.
struct Equations
{
    std::vector<std::vector<double>> rows;
    std::vector<double> b;

    Equations(const CorrespondenceSet& set, bool affine)
    {
        for (const uint16_t i : set.indices)
        {
            const double x = set.x(i), y = set.y(i), u = set.u(i), v = set.v(i);
            rows.push_back({x, y, 1, 0, 0, 0, -u * x, -u * y});
            rows.push_back({0, 0, 0, x, y, 1, -v * x, -v * y});
            b.insert(b.end(), {u, v});
        }
        for (auto& row : rows)
        {
            row.resize(affine ? 6 : 8);
        }
    }

    double residual(const Homography& model) const
    {
        double sum = 0;
        for (size_t i = 0; i < rows.size(); ++i)
        {
            sum += std::pow(std::inner_product(rows[i].begin(), rows[i].end(), model.begin(), -b[i]), 2);
        }
        return std::sqrt(sum);
    }
};

TEST(GeomFits, ASquareOntoItselfIsTheIdentity)
{
    const std::vector<float> square = {-1, -1, 1, -1, 1, 1, -1, 1};
    const std::vector<uint16_t> indices = {0, 1, 2, 3};
    const vsrCorrespondences record = {square.data(), square.data(), 2, 2, indices.data(), 4};
    for (const Fit& fit : kFits)
    {
        EXPECT_EQ((Homography{1, 0, 0, 0, 1, 0, 0, 0, 1}), fitted(fit, record)) << fit.name;
    }
}

TEST(GeomFits, RecoverExactModels)
{
    for (const double scale : kScales)
    {
        for (const uint32_t count : {4u, 5u, 9u, 200u})
        {
            for (uint64_t seed = 0; seed < 20; ++seed)
            {
                const CorrespondenceSet set({count, Layout::Plane, scale, 0, 0, 3 + count % 4, 2 + count % 3}, seed);
                const Homography model = fitted(kFits[1], set.record());
                EXPECT_EQ(1, model[8]);
                // Four points may lie badly; what rounding their coordinates does to the model then is no fault.
                EXPECT_LT(set.error(model), (count < 9 ? 1e-2 : 1e-5) * scale) << scale << " " << count << " " << seed;
            }
        }
    }
}

TEST(GeomFits, LeaveAsLittleAsADoublePrecisionFit)
{
    for (const double scale : kScales)
    {
        for (const double noise : {0.0, 1e-3, 3e-2})
        {
            for (uint64_t seed = 0; seed < 10; ++seed)
            {
                const CorrespondenceSet set({60, Layout::Plane, scale, noise}, seed);
                for (const Fit& fit : kFits)
                {
                    const Equations equations(set, fit.points == 3);
                    const double smallest = smallestResidual(equations.rows, equations.b);
                    const double residual = equations.residual(fitted(fit, set.record()));
                    EXPECT_LT(residual, smallest * 1.02 + 1e-4 * scale)
                        << fit.name << " scale " << scale << " noise " << noise << " seed " << seed;
                }
            }
        }
    }
}

TEST(GeomFits, UseTheIndexedPointsInOrder)
{
    for (const Fit& fit : kFits)
    {
        for (const double scale : kScales)
        {
            CorrespondenceSet set({40, Layout::Plane, scale, 1e-3, 0, 7, 3}, 11);
            Random random(3);
            for (uint16_t& index : set.indices)
            {
                index = static_cast<uint16_t>(random.between(0, 39));
            }
            CorrespondenceSet packed({40}, 0);
            for (size_t i = 0; i < 40; ++i)
            {
                std::copy_n(&set.from[set.indices[i] * size_t{7}], 2, &packed.from[2 * i]);
                std::copy_n(&set.to[set.indices[i] * size_t{3}], 2, &packed.to[2 * i]);
            }
            EXPECT_EQ(fitted(fit, packed.record()), fitted(fit, set.record())) << fit.name;
        }
    }
}

TEST(GeomFits, WithoutASolutionAllIsZero)
{
    const CorrespondenceSet plane({9}, 1);
    const CorrespondenceSet onePoint({9, Layout::OnePoint}, 1);
    CorrespondenceSet onAxis({9, Layout::Grid}, 1);
    for (size_t i = 0; i < 9; ++i)
    {
        onAxis.from[2 * i + 1] = 0;
    }
    CorrespondenceSet twice({4, Layout::Grid}, 2);
    twice.from = {0, 0, 1, 0, 0, 1, 1, 1};
    twice.indices = {0, 1, 1, 0};
    for (const Fit& fit : kFits)
    {
        for (uint32_t count = 0; count < fit.points; ++count)
        {
            vsrCorrespondences few = plane.record();
            few.numIndices = count;
            EXPECT_EQ(kZero, fitted(fit, few)) << fit.name << " of " << count;
        }
        const vsrStatus noSolution = fit.points == 3 ? static_cast<vsrStatus>(-1) : 0;
        for (const CorrespondenceSet* set : {&onAxis, &twice})
        {
            EXPECT_EQ(kZero, fitted(fit, set->record(), noSolution)) << fit.name;
        }
        // Rounding decides whether these have a solution; it is no number that frightens anybody.
        Homography model;
        fit.run(std::array{onePoint.record()}.data(), model.data());
        EXPECT_TRUE(std::all_of(model.begin(), model.end(), [](float h) { return std::isfinite(h); })) << fit.name;
    }
}

// ---- Evaluation ----

// Points (i, 0) that should be at (10 i, 0).
struct Line
{
    std::vector<float> from, to;
    std::vector<uint16_t> indices, inliers = std::vector<uint16_t>(64, 999);
    std::vector<float> errors = std::vector<float>(64, 999);
    uint32_t count = 999;

    explicit Line(size_t points) : from(2 * points), to(2 * points), indices(points)
    {
        std::iota(indices.begin(), indices.end(), uint16_t{0});
        for (size_t i = 0; i < points; ++i)
        {
            from[2 * i] = static_cast<float>(i);
            to[2 * i] = static_cast<float>(10 * i);
        }
    }
    vsrCorrespondences record() const
    {
        return {from.data(), to.data(), 2, 2, indices.data(), static_cast<uint32_t>(indices.size())};
    }
};

TEST(GeomEvaluation, IsStrictAndComparesWithoutDividing)
{
    // h scales by 10; the last row halves what it maps to and turns the sign, or sends x = 3 to infinity.
    struct Case
    {
        Homography h;
        std::vector<uint16_t> inliers;
        std::vector<float> errors;
    };
    const Case cases[] = {
        {{10, 0, 0, 0, 10, 0, 0, 0, 1}, {0, 1, 3, 4}, {0, 3.0625f, 0, 0}},
        {{-20, 0, 0, 0, -20, 0, 0, 0, -2}, {0, 1, 3, 4}, {0, 12.25f, 0, 0}},
        {{0, 0, 0, 0, 0, 0, 1, 0, -3}, {0, 1}, {0, 12.25f}},
        {kZero, {}, {}},
    };
    for (const Case& c : cases)
    {
        Line line(5);
        line.to[2] = c.h[6] == 0 ? 11.75f : 1.75f;  // a distance of 1.75 from 10 or 0
        line.to[5] = 2;                             // exactly the limit away
        const vsrCorrespondences record = line.record();
        EXPECT_EQ(-1, vsrGeomHomographyEvaluatef32_v2(&record, c.h.data(), 4, line.inliers.data(), &line.count,
                                                      line.errors.data()));
        EXPECT_EQ(c.inliers.size(), line.count);
        line.inliers.resize(line.count), line.errors.resize(line.count);
        EXPECT_EQ(c.inliers, line.inliers);
        EXPECT_EQ(c.errors, line.errors);
    }
}

TEST(GeomEvaluation, ListsPointNumbersAndNothingBehindThem)
{
    const Homography scale = {10, 0, 0, 0, 10, 0, 0, 0, 1};
    for (const auto evaluate : {vsrGeomHomographyEvaluatef32, vsrGeomAffineEvaluatef32})
    {
        Line line(40);
        std::reverse(line.indices.begin(), line.indices.end());
        line.indices[7] = 3;
        vsrCorrespondences record = line.record();
        EXPECT_EQ(0, evaluate(&record, scale.data(), 1e-6f, line.inliers.data(), &line.count));
        EXPECT_EQ(40u, line.count);
        EXPECT_TRUE(std::equal(line.indices.begin(), line.indices.end(), line.inliers.begin()));
        EXPECT_EQ(999, line.inliers[40]);

        line.to[1] = 5;  // point 0 comes last
        EXPECT_EQ(-1, evaluate(&record, scale.data(), 1e-6f, line.inliers.data(), &line.count));
        EXPECT_EQ(39u, line.count);
        EXPECT_EQ(0, line.inliers[39]) << "as the call before left it";

        record.numIndices = 0;
        record.indices = nullptr;
        EXPECT_EQ(0, evaluate(&record, scale.data(), 1, nullptr, &line.count));
        EXPECT_EQ(0u, line.count);
    }
}

// ---- Cholesky ----

TEST(Cholesky, FactorsAndSolves)
{
    // L = (2; 3 1; -1 4 5), times its transpose; the upper triangle is not looked at.
    std::vector<float> A = {4, 77, 77, 6, 10, 77, -2, 1, 42};
    float b[] = {8, 19, 42};
    float diag[3];
    EXPECT_EQ(0, vsrSolveCholeskyf32(A.data(), b, diag, 3, b));
    EXPECT_EQ((std::vector<float>{2, 77, 77, 3, 1, 77, -1, 4, 5}), A);
    EXPECT_EQ(0.5f, diag[0]);
    EXPECT_EQ(0.2f, diag[2]);
    const float again[] = {4 * b[0] + 6 * b[1] - 2 * b[2], 6 * b[0] + 10 * b[1] + b[2], -2 * b[0] + b[1] + 42 * b[2]};
    EXPECT_NEAR(8, again[0], 1e-4);
    EXPECT_NEAR(19, again[1], 1e-4);
    EXPECT_NEAR(42, again[2], 1e-4);
    EXPECT_EQ(0, vsrSolveCholeskyf32(A.data(), b, diag, 0, b));
}

TEST(Cholesky, RefusesPivotsThatAreNotPositive)
{
    const std::vector<float> matrices[] = {{0, 0, 0, 1}, {-1, 0, 0, 1}, {1, 0, 2, 4}, {1, 0, 2, 3}, {1, 0, 0, NAN}};
    for (std::vector<float> A : matrices)
    {
        const float b[] = {1, 2};
        float diag[2];
        float x[] = {7, 7};
        EXPECT_EQ(-1, vsrSolveCholeskyf32(A.data(), b, diag, 2, x));
        EXPECT_EQ(7, x[0]);
        EXPECT_EQ(7, x[1]);
    }
}

}  // namespace
}  // namespace visora::test
