// DSP routines of the filters.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

constexpr auto sameSizeBehindWindow = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                         uint32_t /*M*/, uint32_t /*N*/, auto* dst, uint32_t dstStride)
{ return sameSize(src, width, height, srcStride, dst, dstStride); };

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/filter.def"
