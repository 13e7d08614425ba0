// How long the buffers of operations are, in elements of each buffer's type and in 32 bits: for an image the stride, or
// the row when that is 0, times the rows. A lengths rule gets an operation's arguments and gives the length of each
// buffer among them; rules that several families share are here.
#ifndef VISORA_KDSP_RPC_LENGTHS_H
#define VISORA_KDSP_RPC_LENGTHS_H

#include <array>
#include <cstdint>

namespace visora
{

/** Length of an image. The stride is in bytes and cut to whole elements. */
template <class T>
constexpr uint32_t imageLength(const T* /*image*/, uint32_t stride, uint32_t rowElements, uint32_t rows)
{
    return (stride != 0 ? stride / static_cast<uint32_t>(sizeof(T)) : rowElements) * rows;
}

/** One image to another of the same size, with a pixel of one element. */
constexpr auto sameSize = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst,
                             uint32_t dstStride, auto...) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height)};
};

/** Two images to a third, all of the same size, with a pixel of one element. */
constexpr auto twoToOne = [](const auto* src1, uint32_t width, uint32_t height, uint32_t src1Stride, const auto* src2,
                             uint32_t src2Stride, auto* dst, uint32_t dstStride, auto...)
{
    return std::array{imageLength(src1, src1Stride, width, height), imageLength(src2, src2Stride, width, height),
                      imageLength(dst, dstStride, width, height)};
};

/** One image to another of any size. */
constexpr auto anySize = [](const auto* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, auto* dst,
                            uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, auto...)
{
    return std::array{imageLength(src, srcStride, srcWidth, srcHeight),
                      imageLength(dst, dstStride, dstWidth, dstHeight)};
};

}  // namespace visora

#endif
