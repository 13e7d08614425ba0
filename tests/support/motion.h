// Two frames of a scene that moved in a known way, with their pyramids.
#ifndef VISORA_TESTS_SUPPORT_MOTION_H
#define VISORA_TESTS_SUPPORT_MOTION_H

#include <cstdint>
#include <vector>

#include "visora/variants/pyramid.h"

namespace visora::test
{

struct Position
{
    double x;
    double y;

    bool operator==(const Position&) const = default;
};

double distance(Position a, Position b);

/** Turns and zooms about a centre, then shifts: what is at p in the first frame is at motion(p) in the second. */
struct Motion
{
    Position centre{};
    double angle = 0;
    double zoom = 1;
    Position shift{};

    Position operator()(Position p) const;
    Position inverse(Position p) const;
    bool operator==(const Motion&) const = default;
};

/** A u8 image with its pyramid. Sides are multiples of 2^(levels - 1). */
class Frame
{
  public:
    Frame(std::vector<uint8_t> pixels, uint32_t width, uint32_t height, uint32_t levels);
    // The pyramid points into the frame; moved pixels stay where they are.
    Frame(Frame&&) = default;

    const uint8_t* data() const { return pixels_.data(); }
    uint32_t width() const { return pyramid_[0].width; }
    uint32_t height() const { return pyramid_[0].height; }
    const std::vector<vsrPyramidLevel_v2>& pyramid() const { return pyramid_; }

  private:
    std::vector<uint8_t> pixels_;
    std::vector<std::vector<uint8_t>> levels_;
    std::vector<vsrPyramidLevel_v2> pyramid_;
};

struct FramePair
{
    Motion motion;
    Frame first;
    Frame second;
};

/**
 * Both frames show the same scene through the same camera, a little out of focus: a pixel averages the light of two by
 * two pixels' area of a scene that is drawn `oversampling` times finer.
 */
FramePair filmScene(uint32_t width, uint32_t height, uint32_t levels, const Motion& motion, uint32_t oversampling);

}  // namespace visora::test

#endif
