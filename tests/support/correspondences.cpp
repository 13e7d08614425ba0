#include "support/correspondences.h"

#include <bit>
#include <cmath>
#include <numeric>

namespace visora::test
{

namespace
{

double uniform(Random& random, double low, double high)
{
    return low + (high - low) * static_cast<double>(random.next() >> 11) * 0x1p-53;
}

// Nearly normal, and the same on every machine.
double normal(Random& random)
{
    double sum = -6;
    for (int i = 0; i < 12; ++i)
    {
        sum += uniform(random, 0, 1);
    }
    return sum;
}

float anyFinite(Random& random)
{
    for (;;)
    {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(random.next()));
        if (std::isfinite(value))
        {
            return value;
        }
    }
}

struct Point
{
    double x, y;
};

Point mapped(const Model& h, Point p)
{
    const double w = h[6] * p.x + h[7] * p.y + h[8];
    return {(h[0] * p.x + h[1] * p.y + h[2]) / w, (h[3] * p.x + h[4] * p.y + h[5]) / w};
}

Model product(const Model& a, const Model& b)
{
    Model c{};
    for (size_t i = 0; i < 9; ++i)
    {
        for (size_t k = 0; k < 3; ++k)
        {
            c[i] += a[i / 3 * 3 + k] * b[k * 3 + i % 3];
        }
    }
    return c;
}

// A mild homography of the square of half side 1 around the origin, moved to where the square of the recipe is.
Model anyModel(Random& random, double scale, double centre)
{
    const auto about = [&](double value, double by) { return uniform(random, value - by, value + by); };
    const Model unit = {about(1, .1), about(0, .1), about(0, .2),
                        about(0, .1), about(1, .1), about(0, .2),
                        about(0, .1), about(0, .1), 1};
    const Model out = {scale, 0, centre, 0, scale, centre, 0, 0, 1};
    const Model in = {1 / scale, 0, -centre / scale, 0, 1 / scale, -centre / scale, 0, 0, 1};
    Model model = product(out, product(unit, in));
    for (double& value : model)
    {
        value /= model[8];
    }
    return model;
}

}  // namespace

CorrespondenceSet::CorrespondenceSet(const CorrespondenceRecipe& recipe, uint64_t seed)
    : from(size_t{recipe.count} * recipe.fromStride),
      to(size_t{recipe.count} * recipe.toStride),
      fromStride(recipe.fromStride),
      toStride(recipe.toStride),
      indices(recipe.count),
      isOutlier(recipe.count)
{
    Random random(seed);
    const double centre = recipe.scale == 1 ? 0 : recipe.scale;
    const auto anywhere = [&]
    {
        const double x = uniform(random, centre - recipe.scale, centre + recipe.scale);
        return Point{x, uniform(random, centre - recipe.scale, centre + recipe.scale)};
    };
    truth = anyModel(random, recipe.scale, centre);
    const Point first = anywhere();
    std::iota(indices.begin(), indices.end(), uint16_t{0});
    for (uint32_t i = 0; i < recipe.count; ++i)
    {
        Point p = anywhere();
        switch (recipe.layout)
        {
            case Layout::Line:
                p.y = 0.5 * p.x + 0.25 * recipe.scale;
                break;
            case Layout::Grid:
                p = {static_cast<double>(random.between(0, 2)), static_cast<double>(random.between(0, 2))};
                break;
            case Layout::OnePoint:
                p = first;
                break;
            default:
                break;
        }
        isOutlier[i] = std::floor((i + 1) * recipe.outliers) > std::floor(i * recipe.outliers);
        // The model applies to the point as it is stored.
        p = {static_cast<float>(p.x), static_cast<float>(p.y)};
        Point q = isOutlier[i] ? anywhere() : recipe.layout == Layout::Grid ? p : mapped(truth, p);
        q.x += recipe.noise * recipe.scale * normal(random);
        q.y += recipe.noise * recipe.scale * normal(random);
        float* source = &from[size_t{i} * fromStride];
        float* destination = &to[size_t{i} * toStride];
        source[0] = static_cast<float>(p.x);
        source[1] = static_cast<float>(p.y);
        destination[0] = static_cast<float>(q.x);
        destination[1] = static_cast<float>(q.y);
        if (recipe.layout == Layout::AnySize)
        {
            source[0] = anyFinite(random);
            source[1] = anyFinite(random);
            destination[0] = anyFinite(random);
            destination[1] = anyFinite(random);
        }
    }
}

double CorrespondenceSet::distanceOf(const Model& h, size_t point) const
{
    const Point q = mapped(h, {x(point), y(point)});
    return std::hypot(q.x - u(point), q.y - v(point));
}

double CorrespondenceSet::errorOf(const Model& h) const
{
    double sum = 0;
    double count = 0;
    for (size_t i = 0; i < isOutlier.size(); ++i)
    {
        if (!isOutlier[i])
        {
            sum += std::pow(distanceOf(h, i), 2);
            ++count;
        }
    }
    return std::sqrt(sum / count);
}

}  // namespace visora::test
