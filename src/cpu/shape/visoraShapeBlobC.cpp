// Blobs, reference variant.
#include "cpu/shape/visoraShapeBlob.h"
#include "visora/variants/shape.h"

namespace
{

void setRow(const uint8_t* from, uint8_t level, bool isAbove, uint8_t* row, uint32_t width)
{
    for (uint32_t x = 0; x < width; ++x)
    {
        row[x] = (from[x] > level) == isAbove ? visora::kUnmarked : visora::kOutside;
    }
}

size_t nextBeginning(const uint8_t* pixels, size_t end)
{
    size_t x = 0;
    while (x < end && !visora::mayBegin(pixels + x))
    {
        ++x;
    }
    return x;
}

}  // namespace

vsrStatus vsrFindBlobsu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          const vsrBlobParameters* parameters, vsrBlob* blobs, uint32_t capacity, uint32_t* count)
{
    return visora::findBlobs(src, srcWidth, srcHeight, srcStride, *parameters, blobs, capacity, count, setRow,
                             nextBeginning);
}
