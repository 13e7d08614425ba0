#include "support/track_judge.h"

#include <algorithm>
#include <cmath>

namespace visora::test
{

namespace
{

double pixelAt(const vsrPyramidLevel_v2& level, int x, int y)
{
    const int column = std::clamp(x, 0, static_cast<int>(level.width) - 1);
    const int row = std::clamp(y, 0, static_cast<int>(level.height) - 1);
    return static_cast<const uint8_t*>(
        level.ptr)[static_cast<size_t>(row) * level.stride + static_cast<size_t>(column)];
}

double sample(const vsrPyramidLevel_v2& level, double x, double y)
{
    const int left = static_cast<int>(std::floor(x));
    const int top = static_cast<int>(std::floor(y));
    const double a = std::max(x - left, 0.0001);
    const double b = y - top;
    return (1 - b) * ((1 - a) * pixelAt(level, left, top) + a * pixelAt(level, left + 1, top)) +
           b * ((1 - a) * pixelAt(level, left, top + 1) + a * pixelAt(level, left + 1, top + 1));
}

// The Scharr derivative over 32: along x for (1, 0), along y for (0, 1).
double derivative(const vsrPyramidLevel_v2& level, double x, double y, int alongX, int alongY)
{
    const auto difference = [&](int across)
    {
        const double u = x + across * alongY;
        const double v = y + across * alongX;
        return sample(level, u + alongX, v + alongY) - sample(level, u - alongX, v - alongY);
    };
    return (3 * difference(-1) + 10 * difference(0) + 3 * difference(1)) / 32;
}

// Whether position i of a window of 2 * half + 1 around `centre` lies in an image of `side`.
bool inside(double centre, int half, int i, uint32_t side)
{
    const double at = std::floor(centre) - half + i;
    return at >= 0 && at < side;
}

struct Sums
{
    double xx = 0, xy = 0, yy = 0, bx = 0, by = 0;
    int pixels = 0;

    double determinant() const { return xx * yy - xy * xy; }
    double texture() const
    {
        return ((xx + yy) / 2 - std::sqrt((xx - yy) * (xx - yy) / 4 + xy * xy)) / std::max(pixels, 1);
    }
};

Sums compare(const vsrPyramidLevel_v2& first, const vsrPyramidLevel_v2& second, Position previous, Position next,
             const JudgeRules& rules)
{
    Sums sums;
    for (int j = 0; j <= 2 * rules.halfHeight; ++j)
    {
        for (int i = 0; i <= 2 * rules.halfWidth; ++i)
        {
            if (inside(previous.x, rules.halfWidth, i, first.width) &&
                inside(previous.y, rules.halfHeight, j, first.height) &&
                inside(next.x, rules.halfWidth, i, first.width) && inside(next.y, rules.halfHeight, j, first.height))
            {
                const double dx = i - rules.halfWidth;
                const double dy = j - rules.halfHeight;
                const double ix = derivative(first, previous.x + dx, previous.y + dy, 1, 0);
                const double iy = derivative(first, previous.x + dx, previous.y + dy, 0, 1);
                const double difference =
                    sample(first, previous.x + dx, previous.y + dy) - sample(second, next.x + dx, next.y + dy);
                sums.xx += ix * ix;
                sums.xy += ix * iy;
                sums.yy += iy * iy;
                sums.bx += difference * ix;
                sums.by += difference * iy;
                ++sums.pixels;
            }
        }
    }
    return sums;
}

}  // namespace

Verdict judge(const Frame& first, const Frame& second, Position feature, const JudgeRules& rules)
{
    Verdict verdict = {feature, 1, 0};
    for (int level = rules.levels - 1; level >= 0 && verdict.status == 1; --level)
    {
        const double scale = std::ldexp(1.0, -level);
        const vsrPyramidLevel_v2& from = first.pyramid()[static_cast<size_t>(level)];
        const vsrPyramidLevel_v2& to = second.pyramid()[static_cast<size_t>(level)];
        const Position previous = {feature.x * scale, feature.y * scale};
        Position next = {verdict.position.x * scale, verdict.position.y * scale};
        Position last{};
        for (int iteration = 0; iteration < rules.iterations; ++iteration)
        {
            const Sums sums = compare(from, to, previous, next, rules);
            verdict.texture = sums.texture();
            verdict.status = sums.pixels == 0 ? -4 : sums.determinant() < 1e-7 ? -2 : 1;
            if (verdict.status != 1)
            {
                break;
            }
            const Position step = {(sums.yy * sums.bx - sums.xy * sums.by) / sums.determinant(),
                                   (sums.xx * sums.by - sums.xy * sums.bx) / sums.determinant()};
            next = {next.x + step.x, next.y + step.y};
            if (step.x * step.x + step.y * step.y < rules.epsilon)
            {
                break;
            }
            if (iteration > 0 && std::abs(step.x + last.x) < 0.01 && std::abs(step.y + last.y) < 0.01)
            {
                next = {next.x - step.x / 2, next.y - step.y / 2};
                break;
            }
            last = step;
        }
        verdict.position = {next.x / scale, next.y / scale};
    }
    return verdict;
}

}  // namespace visora::test
