// DSP routines of the operations that measure images.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto twoGradients =
    [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dx, auto* dy, uint32_t gradStride)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(dx, gradStride, width, height),
                      imageLength(dy, gradStride, width, height)};
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/statistics.def"
