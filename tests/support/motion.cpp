#include "support/motion.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/scene.h"

namespace visora::test
{

namespace
{

// A scene drawn finer than the frames, sampled at frame coordinates; its edge goes on outside.
class Scene
{
  public:
    Scene(uint32_t width, uint32_t height, uint32_t fineness)
        : width_(width * fineness), height_(height * fineness), fineness_(fineness), pixels_(size_t{width_} * height_)
    {
        drawScene(pixels_.data(), width_, height_, width_);
    }

    double at(Position p) const
    {
        const double x = std::clamp((p.x + 0.5) * fineness_ - 0.5, 0.0, width_ - 1.001);
        const double y = std::clamp((p.y + 0.5) * fineness_ - 0.5, 0.0, height_ - 1.001);
        const auto column = static_cast<size_t>(x);
        const auto row = static_cast<size_t>(y);
        const double a = x - static_cast<double>(column);
        const double b = y - static_cast<double>(row);
        const uint8_t* p00 = pixels_.data() + row * width_ + column;
        const uint8_t* p10 = p00 + width_;
        return (1 - b) * ((1 - a) * p00[0] + a * p00[1]) + b * ((1 - a) * p10[0] + a * p10[1]);
    }

  private:
    uint32_t width_;
    uint32_t height_;
    uint32_t fineness_;
    std::vector<uint8_t> pixels_;
};

std::vector<uint8_t> film(const Scene& scene, uint32_t width, uint32_t height, const Motion& motion,
                          uint32_t oversampling)
{
    // Two pixels wide.
    const uint32_t samples = 2 * oversampling;
    std::vector<uint8_t> frame;
    frame.reserve(size_t{width} * height);
    for (uint32_t y = 0; y < height; ++y)
    {
        for (uint32_t x = 0; x < width; ++x)
        {
            double light = 0;
            for (uint32_t i = 0; i < samples * samples; ++i)
            {
                const auto offset = [&](uint32_t k) { return (k + 0.5) / oversampling - 1; };
                light += scene.at(motion.inverse({x + offset(i % samples), y + offset(i / samples)}));
            }
            frame.push_back(static_cast<uint8_t>(std::lround(light / (samples * samples))));
        }
    }
    return frame;
}

}  // namespace

double distance(Position a, Position b)
{
    return std::hypot(a.x - b.x, a.y - b.y);
}

Position Motion::operator()(Position p) const
{
    const double c = zoom * std::cos(angle);
    const double s = zoom * std::sin(angle);
    const Position d = {p.x - centre.x, p.y - centre.y};
    return {centre.x + shift.x + c * d.x - s * d.y, centre.y + shift.y + s * d.x + c * d.y};
}

Position Motion::inverse(Position p) const
{
    const double c = std::cos(angle) / zoom;
    const double s = std::sin(angle) / zoom;
    const Position d = {p.x - centre.x - shift.x, p.y - centre.y - shift.y};
    return {centre.x + c * d.x + s * d.y, centre.y - s * d.x + c * d.y};
}

Frame::Frame(std::vector<uint8_t> pixels, uint32_t width, uint32_t height, uint32_t levels)
    : pixels_(std::move(pixels)), pyramid_(levels)
{
    for (uint32_t i = 1; i < levels; ++i)
    {
        levels_.emplace_back(size_t{width >> i} * (height >> i));
        pyramid_[i].ptr = levels_.back().data();
    }
    if (vsrPyramidCreateu8_v2(pixels_.data(), width, height, width, levels, pyramid_.data()) != VISORA_SUCCESS)
    {
        std::abort();
    }
}

FramePair filmScene(uint32_t width, uint32_t height, uint32_t levels, const Motion& motion, uint32_t oversampling)
{
    const Scene scene(width, height, oversampling);
    return {motion, Frame(film(scene, width, height, {}, oversampling), width, height, levels),
            Frame(film(scene, width, height, motion, oversampling), width, height, levels)};
}

}  // namespace visora::test
