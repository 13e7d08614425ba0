// DSP routines of the scalers.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/** Each whole block of `from` by `from` pixels makes one of `to` by `to`. */
template <uint32_t from, uint32_t to>
constexpr auto reduced =
    [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dst, uint32_t dstStride)
{ return anySize(src, width, height, srcStride, dst, width / from * to, height / from * to, dstStride); };

constexpr auto packedHalf = [](const auto* src, uint32_t width, uint32_t height, auto* dst)
{ return reduced<2, 1>(src, width, height, 0, dst, 0); };

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/scale.def"
