// How to call the operations on sets of points.
#include <algorithm>

#include "support/operations.h"
#include "visora/variants/geom.h"
#include "visora/variants/shape.h"

namespace visora::test
{

namespace
{

// As many as the shape is wide: anywhere, on a small grid, on a line, or all the same.
const float* points(Arguments& a, uint32_t count)
{
    Random& random = a.random();
    const uint32_t kind = a.shape().typical ? 0 : random.between(0, 5);
    const uint32_t range = kind <= 2 ? 2'000'000 : kind == 3 ? 6 : 300;
    const float unit = kind <= 2 ? 1.0F / 4096 : 1;
    std::vector<float> list(size_t{2} * count);
    for (size_t i = 0; i < list.size(); i += 2)
    {
        list[i] = static_cast<float>(random.between(0, range)) * unit;
        list[i + 1] = kind == 4   ? 2 * list[i] + 3
                      : kind == 5 ? 7
                                  : static_cast<float>(random.between(0, range)) * unit - 100;
    }
    if (kind == 5)
    {
        std::fill(list.begin(), list.end(), 7.0F);
    }
    return a.given(list);
}

template <auto kernel, class T, uint32_t n>
void toRecord(Arguments& a)
{
    const float* src = points(a, a.shape().width);
    // Of no more than floats.
    auto* record = a.output<float>(n, 1, n * sizeof(float));
    a.call(kernel, src, a.shape().width, reinterpret_cast<T*>(record));
}

// Both lists in a quarter of the calls, in the others what is checked in general: one is missing.
struct Lists
{
    explicit Lists(Arguments& a)
    {
        const uint32_t count = a.shape().width;
        const uint32_t kind = a.random().between(0, 2);
        floats = kind == 1 ? nullptr : a.output<float>(size_t{2} * count, 1, size_t{8} * count);
        indices = kind == 2 ? nullptr : a.output<uint32_t>(count, 1, size_t{4} * count);
    }

    float* floats;
    uint32_t* indices;
};

void prepareHull(Arguments& a)
{
    const float* src = points(a, a.shape().width);
    const Lists lists(a);
    a.entry().unchecked = {2, 3};
    a.call(vsrConvexHullf32C, src, a.shape().width, lists.floats, lists.indices, a.output<uint32_t>(1, 1, 4));
}

void prepareSimplify(Arguments& a)
{
    const float* src = points(a, a.shape().width);
    const Lists lists(a);
    a.entry().unchecked = {4, 5};
    a.call(vsrPolygonSimplifyf32C, src, a.shape().width, static_cast<float>(a.random().between(0, 60)),
           a.random().between(0, 1), lists.floats, lists.indices, a.output<uint32_t>(1, 1, 4));
}

void prepareContains(Arguments& a)
{
    const uint32_t numVertices = a.choose(1, 12, 30);
    const float* polygon = points(a, numVertices);
    const float* src = points(a, a.shape().width);
    auto* where = a.output<int8_t>(a.shape().width, 1, a.shape().width);
    auto* distances = a.random().oneIn(3) ? nullptr : a.output<float>(a.shape().width, 1, size_t{4} * a.shape().width);
    a.entry().unchecked = {1, 5};
    a.call(vsrPolygonContainsf32C, polygon, numVertices, src, a.shape().width, where, distances);
}

void prepareLine(Arguments& a)
{
    const float* src = points(a, a.shape().width);
    a.call(vsrFitLinef32C, src, a.shape().width, a.choose(0, 2, 1), 2.5F, a.output<float>(4, 1, 16));
}

const Register sets({
    {VISORA_OPERATION(vsrMinAreaRectf32), toRecord<vsrMinAreaRectf32C, vsrRotatedBox, 5>, "", 0, true},
    {VISORA_OPERATION(vsrFitLinef32), prepareLine, "", 0, true},
    {VISORA_OPERATION(vsrFitEllipsef32), toRecord<vsrFitEllipsef32C, vsrEllipse, 5>, "", 0, true},
    {VISORA_OPERATION(vsrPolygonContainsf32), prepareContains, "", 0, true},
    {VISORA_OPERATION(vsrPolygonSimplifyf32), prepareSimplify, "", 0, true},
    {VISORA_OPERATION(vsrConvexHullf32), prepareHull, "", 0, true},
    {VISORA_OPERATION(vsrMinEnclosingCirclef32), toRecord<vsrMinEnclosingCirclef32C, float, 3>, "", 0, true},
});

}  // namespace

}  // namespace visora::test
