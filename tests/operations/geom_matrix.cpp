// How to call the matrix operations.
#include <algorithm>

#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/geom.h"

namespace visora::test
{

namespace
{

uint32_t floats(uint32_t count)
{
    return static_cast<uint32_t>(count * sizeof(float));
}

std::vector<float> someFloats(Arguments& a, size_t count, bool hasSpecials)
{
    std::vector<float> list(count);
    std::generate(list.begin(), list.end(), [&] { return someFloat(a.random(), hasSpecials); });
    return list;
}

// Few different numbers in some matrices: they have no inverse, or pivots of one size.
const float* matrix(Arguments& a, uint32_t columns, uint32_t rows, uint32_t stride, bool hasSpecials = true)
{
    if (!a.shape().typical && a.random().oneIn(4))
    {
        return a.made<float>(columns, rows, stride, [&] { return static_cast<float>(a.random().between(0, 2)); });
    }
    return a.made<float>(columns, rows, stride,
                         [&] { return someFloat(a.random(), hasSpecials && !a.shape().typical); });
}

void prepareCross(Arguments& a)
{
    const float* src1 = a.given(someFloats(a, 3, true));
    const float* src2 = a.given(someFloats(a, 3, true));
    a.call(vsrCrossProduct3x1f32C, src1, src2, a.output<float>(3, 1, 12));
}

void prepareMultiply(Arguments& a)
{
    const uint32_t rows = a.shape().height;
    const uint32_t columns = a.shape().width;
    const uint32_t inner = a.shape().typical ? a.shape().width : a.random().between(1, 60);
    const uint32_t stride1 = a.srcStride(floats(inner), 4);
    const uint32_t stride2 = a.srcStride(floats(columns), 4);
    const uint32_t dstStride = a.dstStride(floats(columns), 4);
    const float* src1 = matrix(a, inner, rows, stride1);
    const float* src2 = matrix(a, columns, inner, stride2);
    a.call(vsrMatrixMultiplyf32C, src1, rows, inner, stride1, src2, columns, stride2,
           a.output<float>(columns, rows, dstStride), dstStride);
}

void prepareInvert(Arguments& a)
{
    const uint32_t n = a.shape().width;
    const uint32_t srcStride = a.srcStride(floats(n), 4);
    const uint32_t dstStride = a.dstStride(floats(n), 4);
    const float* src = matrix(a, n, n, srcStride);
    a.call(vsrInvertMatrixf32C, src, n, srcStride, a.output<float>(n, n, dstStride), dstStride);
}

void prepareLU(Arguments& a)
{
    const uint32_t n = a.shape().width;
    const uint32_t stride = a.srcStride(floats(n), 4);
    const float* A = matrix(a, n, n, stride);
    const float* b = a.given(someFloats(a, n, false));
    a.call(vsrSolveLUf32C, A, n, stride, b, a.output<float>(n, 1, floats(n)));
}

constexpr uint32_t kTallColumns = 16;  // in benchmarks, of as many rows as there are points

void prepareQR(Arguments& a)
{
    const uint32_t rows = std::max(a.shape().width, a.shape().height);
    const uint32_t columns = a.shape().typical ? kTallColumns : std::min(a.shape().width, a.shape().height);
    const uint32_t stride = a.srcStride(floats(columns), 4);
    const float* A = matrix(a, columns, rows, stride);
    const float* b = a.given(someFloats(a, rows, false));
    a.call(vsrSolveQRf32C, A, rows, columns, stride, b, a.output<float>(columns, 1, floats(columns)));
}

void prepareSvd(Arguments& a)
{
    const uint32_t rows = a.shape().typical ? a.shape().width : a.shape().height + 1;
    const uint32_t columns = a.shape().typical ? kTallColumns : a.shape().width;
    const uint32_t r = std::min(rows, columns);
    const uint32_t stride = a.srcStride(floats(columns), 4);
    const uint32_t uStride = a.dstStride(floats(r), 4);
    const uint32_t vtStride = a.dstStride(floats(columns), 4);
    const float* src = matrix(a, columns, rows, stride, false);
    auto* w = a.output<float>(r, 1, floats(r));
    auto* U = a.output<float>(r, rows, uStride);
    a.call(vsrSVDf32C, src, rows, columns, stride, w, U, uStride, a.output<float>(columns, r, vtStride), vtStride);
}

// A DSP gets matrices of any size, and lists may be one another.
const EntryRule kAnySize = {.units = EntryRule::Units::Own};
const EntryRule kInPlaceLists = {.inPlace = EntryRule::InPlace::NotLookedAt, .units = EntryRule::Units::Own};

const Register matrices({
    {VISORA_OPERATION(vsrMatrixMultiplyf32), ruled(kAnySize, prepareMultiply)},
    {VISORA_OPERATION(vsrInvertMatrixf32),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .units = EntryRule::Units::Own}, prepareInvert), "", 0, true},
    {VISORA_OPERATION(vsrSolveLUf32), ruled(kInPlaceLists, prepareLU), "", 0, true},
    {VISORA_OPERATION(vsrSolveQRf32), ruled(kInPlaceLists, prepareQR), "", 0, true},
    {VISORA_OPERATION(vsrSVDf32), ruled(kAnySize, prepareSvd), "", 0, true},
    {"vsrCrossProduct3x1f32", reinterpret_cast<VSR_FUNC>(vsrCrossProduct3x1f32C),
     reinterpret_cast<VSR_FUNC>(vsrCrossProduct3x1f32C), ruled(kInPlaceLists, prepareCross), "", 0, true},
});

}  // namespace

}  // namespace visora::test
