// Rows of a plane.
#ifndef VISORA_CPU_PLANE_H
#define VISORA_CPU_PLANE_H

#include <cstddef>

namespace visora
{

/** Row y of a plane whose stride is in bytes, cut to whole elements; as imageRow, for sizes beyond 32 bits. */
template <class T>
T* planeRow(T* plane, size_t strideBytes, size_t y)
{
    return plane + strideBytes / sizeof(T) * y;
}

}  // namespace visora

#endif
