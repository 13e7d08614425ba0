// Block cosine transform, reference variants.
#include <algorithm>
#include <limits>

#include "cpu/transform/visoraTransformDct.h"
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

using visora::kBlock;
using visora::kCosines;

namespace
{

/** A sum shifted down, rounded, and cut to the type. */
template <class T>
T rounded(int32_t sum, int shift)
{
    const int32_t value = (sum + (1 << (shift - 1))) >> shift;
    return static_cast<T>(std::clamp<int32_t>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

/** Sum over the eight terms at(j). */
template <class At>
int32_t sumOf(At at)
{
    int32_t sum = 0;
    for (size_t j = 0; j < kBlock; ++j)
    {
        sum += at(j);
    }
    return sum;
}

/** Calls body(row, column) for every element of a block. */
template <class Body>
void forBlock(Body body)
{
    for (size_t row = 0; row < kBlock; ++row)
    {
        for (size_t column = 0; column < kBlock; ++column)
        {
            body(row, column);
        }
    }
}

/** Calls block(source, destination) for the top-left elements of every block. */
template <class Src, class Dst, class Block>
void forBlocks(const Src* src, uint32_t width, uint32_t height, uint32_t srcStride, Dst* dst, uint32_t dstStride,
               Block block)
{
    for (size_t y = 0; y < height; y += kBlock)
    {
        for (size_t x = 0; x < width; x += kBlock)
        {
            block(visora::planeRow(src, srcStride, y) + x, visora::planeRow(dst, dstStride, y) + x);
        }
    }
}

}  // namespace

vsrStatus vsrDCTu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int16_t* dst,
                    uint32_t dstStride)
{
    forBlocks(src, srcWidth, srcHeight, srcStride, dst, dstStride,
              [=](const uint8_t* p, int16_t* f)
              {
                  int16_t t[kBlock][kBlock];
                  forBlock(
                      [&](size_t u, size_t x)
                      {
                          t[u][x] =
                              rounded<int16_t>(sumOf([&](size_t y) { return kCosines[u][y] * p[y * srcStride + x]; }),
                                               visora::kForwardShift1);
                      });
                  forBlock(
                      [&](size_t u, size_t v)
                      {
                          visora::planeRow(f, dstStride, u)[v] = rounded<int16_t>(
                              sumOf([&](size_t x) { return kCosines[v][x] * t[u][x]; }), visora::kForwardShift2);
                      });
              });
    return VISORA_SUCCESS;
}

vsrStatus vsrIDCTs16u8C(const int16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                        uint32_t dstStride)
{
    forBlocks(src, srcWidth, srcHeight, srcStride, dst, dstStride,
              [=](const int16_t* f, uint8_t* p)
              {
                  int16_t t[kBlock][kBlock];
                  forBlock(
                      [&](size_t y, size_t v)
                      {
                          t[y][v] = rounded<int16_t>(
                              sumOf([&](size_t u) { return kCosines[u][y] * visora::planeRow(f, srcStride, u)[v]; }),
                              visora::kInverseShift1);
                      });
                  forBlock(
                      [&](size_t y, size_t x)
                      {
                          p[y * dstStride + x] = rounded<uint8_t>(
                              sumOf([&](size_t v) { return kCosines[v][x] * t[y][v]; }), visora::kInverseShift2);
                      });
              });
    return VISORA_SUCCESS;
}
