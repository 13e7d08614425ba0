// What operations on regions share: directions, and several arrays in one scratch buffer.
#ifndef VISORA_CPU_SHAPE_H
#define VISORA_CPU_SHAPE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "cpu/visoraScratch.h"

namespace visora
{

/** Steps in the eight directions, clockwise on the screen from east. */
constexpr std::array<int, 8> kStepX = {1, 1, 0, -1, -1, -1, 0, 1};
constexpr std::array<int, 8> kStepY = {0, 1, 1, 1, 0, -1, -1, -1};
enum Direction : uint32_t
{
    kEast = 0,
    kSouth = 2,
    kWest = 4,
    kNorth = 6
};

/** From one direction of a connectivity to the next. */
constexpr uint32_t directionStep(uint32_t connectivity)
{
    return connectivity == 4 ? 2 : 1;
}

/** A pixel in 32 bits. Their order is the row-major one. */
using PackedPoint = uint32_t;

constexpr PackedPoint packPoint(uint32_t x, uint32_t y)
{
    return y << 16 | x;
}
constexpr uint32_t xOf(PackedPoint p)
{
    return p & 0xffff;
}
constexpr uint32_t yOf(PackedPoint p)
{
    return p >> 16;
}

/** Bytes that an array takes in a buffer of several. */
template <class T>
constexpr size_t partBytes(size_t count)
{
    return (count * sizeof(T) + 63) / 64 * 64;
}

/** Gives out the parts of a buffer, one after the other. */
class Parts
{
  public:
    explicit Parts(const Scratch& scratch) : next_(scratch.data()) {}

    template <class T>
    T* take(size_t count)
    {
        T* part = reinterpret_cast<T*>(next_);
        next_ += partBytes<T>(count);
        return part;
    }

  private:
    uint8_t* next_;
};

}  // namespace visora

#endif
