#include "support/scene.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/random.h"

namespace visora::test
{

namespace
{

using Plane = std::vector<float>;

float unit(Random& random)
{
    return static_cast<float>(random.next() >> 40) / static_cast<float>(1 << 24);
}

// Objects of radius r are r^-3 as frequent, as those of photographs are: the scene looks alike at every scale.
float objectRadius(Random& random, float smallest, float largest)
{
    const float low = 1 / (smallest * smallest);
    const float high = 1 / (largest * largest);
    return 1 / std::sqrt(low + (high - low) * unit(random));
}

// A rectangle or an ellipse, turned, with a gradient across it.
struct Object
{
    float x, y, radius, narrowness, cosine, sine, gray, slope;
    bool round;

    bool covers(float u, float v) const
    {
        v *= narrowness;
        return round ? u * u + v * v <= radius * radius : std::abs(u) <= radius && std::abs(v) <= radius;
    }
};

Object randomObject(Random& random, float width, float height)
{
    const float angle = unit(random) * 6.2832f;
    Object object{};
    object.x = unit(random) * width;
    object.y = unit(random) * height;
    object.radius = objectRadius(random, 5, width / 3);
    object.narrowness = 1 + 2 * unit(random);
    object.cosine = std::cos(angle);
    object.sine = std::sin(angle);
    object.gray = 30 + 190 * unit(random);
    object.slope = (unit(random) - 0.5f) * 60 / object.radius;
    object.round = random.oneIn(2);
    return object;
}

void paint(Plane& plane, int width, int height, const Object& object)
{
    const float reach = object.radius * 1.5f;
    const int top = std::max(0, static_cast<int>(object.y - reach));
    const int bottom = std::min(height - 1, static_cast<int>(object.y + reach));
    const int left = std::max(0, static_cast<int>(object.x - reach));
    const int right = std::min(width - 1, static_cast<int>(object.x + reach));
    for (int y = top; y <= bottom; ++y)
    {
        for (int x = left; x <= right; ++x)
        {
            const float dx = static_cast<float>(x) - object.x;
            const float dy = static_cast<float>(y) - object.y;
            const float u = dx * object.cosine + dy * object.sine;
            const float v = dy * object.cosine - dx * object.sine;
            if (object.covers(u, v))
            {
                plane[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
                    object.gray + object.slope * u;
            }
        }
    }
}

// Binomial blur along one direction; `step` is the distance of neighbours.
void blur(Plane& plane, size_t step)
{
    const Plane sharp = plane;
    for (size_t i = step; i + step < plane.size(); ++i)
    {
        plane[i] = (sharp[i - step] + 2 * sharp[i] + sharp[i + step]) / 4;
    }
}

}  // namespace

void drawScene(uint8_t* pixels, uint32_t width, uint32_t height, size_t stride)
{
    Random random(7);
    Plane plane(size_t{width} * height, 128.0f);
    const uint32_t objects = width * height / 600;
    for (uint32_t i = 0; i < objects; ++i)
    {
        paint(plane, static_cast<int>(width), static_cast<int>(height),
              randomObject(random, static_cast<float>(width), static_cast<float>(height)));
    }
    for (int pass = 0; pass < 2; ++pass)
    {
        blur(plane, 1);
        blur(plane, width);
    }
    for (size_t y = 0; y < height; ++y)
    {
        for (size_t x = 0; x < width; ++x)
        {
            // Four uniform numbers: nearly a bell curve, two levels wide.
            const float noise = (unit(random) + unit(random) + unit(random) + unit(random) - 2) * 3.5f;
            pixels[y * stride + x] = static_cast<uint8_t>(std::clamp(plane[y * width + x] + noise, 0.0f, 255.0f));
        }
    }
}

}  // namespace visora::test
