// Sums over the sides of a contour.
#ifndef VISORA_CPU_SHAPE_MEASURE_H
#define VISORA_CPU_SHAPE_MEASURE_H

#include <algorithm>
#include <cmath>

#include "cpu/visoraPartialSums.h"
#include "visora/region.h"

namespace visora
{

/** Sums over the sides, with coordinates relative to the first point. */
struct ContourSums
{
    /** The side from point i to point j. */
    void add(const int32_t* xy, size_t i, size_t j)
    {
        const double originX = xy[0];
        const double originY = xy[1];
        const double x0 = xy[2 * i] - originX;
        const double y0 = xy[2 * i + 1] - originY;
        const double x1 = xy[2 * j] - originX;
        const double y1 = xy[2 * j + 1] - originY;
        const double c = x0 * y1 - x1 * y0;
        area.add(i, c);
        length.add(i, std::sqrt((x1 - x0) * (x1 - x0) + (y1 - y0) * (y1 - y0)));
        momentX.add(i, (x0 + x1) * c);
        momentY.add(i, (y0 + y1) * c);
    }

    PartialSums<double> area;
    PartialSums<double> length;
    PartialSums<double> momentX;
    PartialSums<double> momentY;
};

struct ContourBox
{
    explicit ContourBox(const int32_t* xy) : left(xy[0]), top(xy[1]), right(xy[0]), bottom(xy[1]) {}

    void add(int32_t x, int32_t y)
    {
        left = std::min(left, x);
        top = std::min(top, y);
        right = std::max(right, x);
        bottom = std::max(bottom, y);
    }

    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

inline vsrContourMeasure contourMeasure(const ContourSums& sums, const ContourBox& box, const int32_t* xy,
                                        uint32_t numPoints)
{
    vsrContourMeasure measure{};
    const double area = sums.area.total();
    measure.length = sums.length.total();
    measure.area = 0.5 * area;
    if (area != 0)
    {
        measure.cx = static_cast<float>(xy[0] + sums.momentX.total() / (3.0 * area));
        measure.cy = static_cast<float>(xy[1] + sums.momentY.total() / (3.0 * area));
    }
    else
    {
        PartialSums<double> x;
        PartialSums<double> y;
        for (size_t i = 0; i < numPoints; ++i)
        {
            x.add(i, static_cast<double>(xy[2 * i]) - xy[0]);
            y.add(i, static_cast<double>(xy[2 * i + 1]) - xy[1]);
        }
        measure.cx = static_cast<float>(xy[0] + x.total() / numPoints);
        measure.cy = static_cast<float>(xy[1] + y.total() / numPoints);
    }
    measure.x = box.left;
    measure.y = box.top;
    measure.width = static_cast<uint32_t>(box.right) - static_cast<uint32_t>(box.left) + 1;
    measure.height = static_cast<uint32_t>(box.bottom) - static_cast<uint32_t>(box.top) + 1;
    return measure;
}

}  // namespace visora

#endif
