// Pictures that operations on shapes are tried on.
#ifndef VISORA_TESTS_OPERATIONS_SHAPE_H
#define VISORA_TESTS_OPERATIONS_SHAPE_H

#include <algorithm>
#include <vector>

#include "support/operations.h"
#include "support/scene.h"
#include "visora/variants/shape.h"

namespace visora::test
{

#define REFERENCE_ALONE(operation) \
#operation, reinterpret_cast < VSR_FUNC>(operation##C), reinterpret_cast < VSR_FUNC>(operation##C)

/** An image of the shape's size. */
template <class T = uint8_t>
struct ShapePicture
{
    /** With elements of any value; with those that make() gives; with those of a picture. */
    explicit ShapePicture(Arguments& a) : ShapePicture(a.shape(), a) { data = a.input<T>(width, height, stride); }
    template <class Make>
    ShapePicture(Arguments& a, Make make) : ShapePicture(a.shape(), a)
    {
        data = a.made<T>(width, height, stride, make);
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const T* data = nullptr;

  private:
    ShapePicture(const Shape& shape, Arguments& a)
        : width(shape.width),
          height(shape.height),
          stride(a.srcStride(static_cast<uint32_t>(shape.width * sizeof(T)), sizeof(T)))
    {
    }
};

/** Discs and rings in the cells of a grid, `cell` pixels apart: 0 or 255. */
uint8_t blobAt(uint32_t x, uint32_t y, uint32_t cell);

/** The outlines of these blobs. */
inline uint8_t outlineAt(uint32_t x, uint32_t y, uint32_t cell)
{
    const uint8_t here = blobAt(x, y, cell);
    return here != blobAt(x + 1, y, cell) || here != blobAt(x, y + 1, cell) ? 255 : 0;
}

/** Pixels between the blobs of benchmarks. */
constexpr uint32_t kTypicalCell = 48;

/** A polygon of benchmarks: a star that fills the image. */
std::vector<int32_t> typicalStar(uint32_t width, uint32_t height);

/** A mask of blobs in benchmarks and often in tests, else noise of any density. */
ShapePicture<> shapeMask(Arguments& a);

/** A picture like a photograph in benchmarks, else anything from noise to few levels in patches. */
ShapePicture<> shapeScene(Arguments& a);

/** Own conditions or sizes keep the general ones on the choice of a unit from being tried. */
inline Prepare ownShapeUnits(Prepare prepare, std::vector<size_t> unchecked = {})
{
    return ruled({.unchecked = std::move(unchecked), .units = EntryRule::Units::Own}, std::move(prepare));
}

template <class T>
T* shapeNumbers(Arguments& a, size_t count)
{
    return a.output<T>(count, 1, count * sizeof(T));
}

/** A capacity that is enough in benchmarks; in tests it may be none or too small. */
inline uint32_t shapeCapacity(Arguments& a, uint32_t enough)
{
    // No number that a size of an entry point test is.
    return a.shape().typical     ? enough
           : a.random().oneIn(8) ? 0
           : a.random().oneIn(3) ? a.random().between(1, 11)
                                 : enough;
}

}  // namespace visora::test

#endif
