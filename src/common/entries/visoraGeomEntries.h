// What entry points of the geometry ask of their arguments.
#ifndef VISORA_COMMON_ENTRIES_GEOM_ENTRIES_H
#define VISORA_COMMON_ENTRIES_GEOM_ENTRIES_H

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "common/visoraEntry.h"
#include "visora/geom.h"

namespace visora
{

constexpr uint32_t kLargestSide = 65535;

constexpr bool areSides(uint32_t width, uint32_t height)
{
    return width <= kLargestSide && height <= kLargestSide;
}

/** Whether the buffers are sound and what they hold fulfils a condition, which is not looked at otherwise. */
template <class Condition, class... AnyBuffers>
bool areSoundAnd(Condition condition, const AnyBuffers&... buffers)
{
    const Buffer* const list[] = {&buffers...};
    return Buffers(list, sizeof...(buffers)).areSound() && condition();
}

inline bool areFinite(const float* list, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        if (!std::isfinite(list[i]))
        {
            return false;
        }
    }
    return true;
}

/** Whether a list of correspondences is there and the points that it uses are finite. */
inline bool isRecord(const vsrCorrespondences* corrs)
{
    if (!corrs || !corrs->from || !corrs->to || !corrs->indices || corrs->fromStride < 2 || corrs->toStride < 2)
    {
        return false;
    }
    return std::all_of(corrs->indices, corrs->indices + corrs->numIndices,
                       [=](uint16_t i)
                       {
                           return areFinite(corrs->from + size_t{i} * corrs->fromStride, 2) &&
                                  areFinite(corrs->to + size_t{i} * corrs->toStride, 2);
                       });
}

/** How many entries a list of inliers has room for, at least one. */
inline uint32_t roomFor(const vsrCorrespondences* corrs)
{
    return corrs && corrs->numIndices != 0 ? corrs->numIndices : 1;
}

/** Whether the focal lengths are not 0. */
inline bool isCamera(const float* matrix)
{
    return matrix[0] != 0 && matrix[4] != 0;
}

/** Whether what counts of a camera matrix is finite as well. */
inline bool isFiniteCamera(const float* matrix)
{
    return isCamera(matrix) && areFinite(matrix, 1) && areFinite(matrix + 2, 1) && areFinite(matrix + 4, 2);
}

/** Whether the loss is a known one and has a scale if it needs one. */
inline bool isLoss(vsrLossType loss, float scale)
{
    return loss == VISORA_LOSS_SQUARE || (loss <= VISORA_LOSS_TUKEY && std::isfinite(scale) && scale > 0);
}

}  // namespace visora

#endif
