// Binary descriptors, reference.
#include <cstdlib>
#include <cstring>

#include "cpu/descriptor/visoraBrief.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/corner.h"

namespace visora
{
namespace
{

// The pixels around a point.
struct Around
{
    uint8_t operator()(int32_t dx, int32_t dy) const { return centre[dy * stride + dx]; }

    uint32_t windowSum(int32_t dx, int32_t dy) const
    {
        uint32_t sum = 0;
        for (int32_t y = dy - 2; y <= dy + 2; ++y)
        {
            for (int32_t x = dx - 2; x <= dx + 2; ++x)
            {
                sum += (*this)(x, y);
            }
        }
        return sum;
    }

    Turn turnTowardsCentroid() const
    {
        int32_t m10 = 0;
        int32_t m01 = 0;
        constexpr int32_t kReach = kBriefReach;
        for (int32_t dy = -kReach; dy <= kReach; ++dy)
        {
            const int32_t half = kBriefDisc[static_cast<size_t>(std::abs(dy))];
            for (int32_t dx = -half; dx <= half; ++dx)
            {
                m10 += dx * (*this)(dx, dy);
                m01 += dy * (*this)(dx, dy);
            }
        }
        return turnTowards(m10, m01);
    }

    const uint8_t* centre;
    ptrdiff_t stride;
};

// What is at(place x, place y) less than at its partner, bit by bit.
template <class At>
void compare(At at, uint8_t* descriptor)
{
    for (size_t k = 0; k < kBriefPairs; ++k)
    {
        const BriefPair& pair = kBriefPattern[k];
        const bool isLess = at(pair.px, pair.py) < at(pair.qx, pair.qy);
        descriptor[k / 8] = static_cast<uint8_t>(descriptor[k / 8] | (isLess ? 1u << (k % 8) : 0u));
    }
}

template <class Describe>
vsrStatus describeAll(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, const uint32_t* xy,
                      uint32_t count, uint8_t* dst, uint32_t dstStride, Describe describe)
{
    for (size_t i = 0; i < count; ++i)
    {
        const uint32_t x = xy[2 * i];
        const uint32_t y = xy[2 * i + 1];
        uint8_t* descriptor = planeRow(dst, dstStride, i);
        std::memset(descriptor, 0, kBriefBytes);
        if (hasBriefWindows(x, y, width, height))
        {
            describe(i, Around{planeRow(src, stride, y) + x, static_cast<ptrdiff_t>(stride)}, descriptor);
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace
}  // namespace visora

vsrStatus vsrBriefDescribeu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const uint32_t* xy, uint32_t nPoints, uint8_t* dst, uint32_t dstStride)
{
    return visora::describeAll(
        src, srcWidth, srcHeight, srcStride, xy, nPoints, dst, dstStride,
        [](size_t, const visora::Around& around, uint8_t* descriptor)
        { visora::compare([&](int8_t x, int8_t y) { return around.windowSum(x, y); }, descriptor); });
}

vsrStatus vsrBriefDescribeRotatedu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     const uint32_t* xy, uint32_t nPoints, const float* angles, uint8_t* dst,
                                     uint32_t dstStride)
{
    return visora::describeAll(
        src, srcWidth, srcHeight, srcStride, xy, nPoints, dst, dstStride,
        [=](size_t i, const visora::Around& around, uint8_t* descriptor)
        {
            const visora::Turn turn = angles ? visora::turnBy(angles[i]) : around.turnTowardsCentroid();
            visora::compare(
                [&](int8_t placeX, int8_t placeY)
                {
                    const float x = placeX;
                    const float y = placeY;
                    return around.windowSum(static_cast<int32_t>(std::floor(turn.c * x - turn.s * y + 0.5f)),
                                            static_cast<int32_t>(std::floor(turn.s * x + turn.c * y + 0.5f)));
                },
                descriptor);
        });
}
