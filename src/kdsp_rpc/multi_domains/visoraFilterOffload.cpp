// DSP routines of the filters.
#include <tuple>

#include "common/visoraCall.h"
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

/** One image to another of the same size, with some numbers between them. */
template <size_t numbers>
constexpr auto sameSizeBehind = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... rest)
{
    const auto all = std::tuple(rest...);
    return sameSize(src, width, height, srcStride, std::get<numbers>(all), std::get<numbers + 1>(all));
};

constexpr auto gradientPlanes = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto* dx,
                                   auto* dy, uint32_t gradStride, auto...)
{
    return std::array{imageLength(src, srcStride, width, height), imageLength(dx, gradStride, width, height),
                      imageLength(dy, gradStride, width, height)};
};

constexpr auto withLevel = [](const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, uint32_t /*type*/,
                              auto* dst, uint32_t dstStride, uint8_t* /*level*/) {
    return std::array{imageLength(src, srcStride, width, height), imageLength(dst, dstStride, width, height), 1u};
};

/** The DSP reads and writes these gradients in words of eight bytes. */
constexpr auto isAligned = [](const auto& /*lengths*/, const auto* src, uint32_t /*width*/, uint32_t /*height*/,
                              uint32_t srcStride, auto* dx, auto* dy, uint32_t gradStride, auto...)
{ return aligned<8>(src, dx, dy) && multiplesOf<8>(srcStride, gradStride); };
using FallBackIfAligned = FallBackIf<isAligned>;

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/filter.def"
