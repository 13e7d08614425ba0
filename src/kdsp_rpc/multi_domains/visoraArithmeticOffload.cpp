// DSP routines of the arithmetic operations.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto byTable = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                            const uint8_t* /*table*/, uint8_t* dst, uint32_t dstStride)
{
    return std::array{imageLength(src, srcStride, width, height), uint32_t{256},
                      imageLength(dst, dstStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/arithmetic.def"
