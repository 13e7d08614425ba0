// Shapes of the filters' entry points.
#ifndef VISORA_COMMON_FILTER_ENTRIES_H
#define VISORA_COMMON_FILTER_ENTRIES_H

#include <tuple>

#include "common/visoraEntry.h"
#include "visora/types.h"

namespace visora
{

/** Conditions on the arguments behind the source's stride that need none. */
constexpr auto anyArguments = [](auto...) { return true; };

constexpr bool isKnownBorder(vsrBorderType type)
{
    return type <= VISORA_BORDER_REPLICATE;
}

/** An odd window's side, no larger than `largest`. */
constexpr bool isOddWindow(uint32_t N, uint32_t largest = 255)
{
    return N % 2 == 1 && N <= largest;
}

/**
 * From one image to another of the same size: (src, width, height, srcStride, `parameters` numbers, dst, dstStride,
 * more). accept() gets what follows the source's stride and says whether the operation takes it. A DSP serves images of
 * at least leastDspHeight rows and leastDspElements elements.
 */
template <size_t parameters = 0, uint32_t leastDspHeight = 0, InPlace inPlace = InPlace::No, class Accept>
constexpr auto filterEntry(Accept accept, uint64_t leastDspElements = kMinDspPixels)
{
    return [=](auto open, const auto* src, uint32_t width, uint32_t height, uint32_t srcStride, auto... rest)
    {
        std::tuple all(rest...);
        uint32_t& dstStride = std::get<parameters + 1>(all);
        const In in(src, width, height, srcStride);
        const Out out(std::get<parameters>(all), width, height, dstStride, inPlace);
        dstStride = out.stride();
        return std::apply(
            [&](auto... arguments)
            {
                return open(in, out)
                    .keepDspIf(height >= leastDspHeight &&
                               worthOffload(in.stride() / sizeof(*src), height, leastDspElements))
                    .require(accept(rest...))
                    .run(src, width, height, in.stride(), arguments...);
            },
            all);
    };
}

/** The same without strides, for packed images: `strided` is the shape with strides. */
template <size_t parameters = 0, class Strided>
constexpr auto packedEntry(Strided strided)
{
    return [=](auto open, const auto* src, uint32_t width, uint32_t height, auto... rest)
    {
        static_assert(sizeof...(rest) == parameters + 1);
        return strided(open, src, width, height, 0u, rest..., 0u);
    };
}

}  // namespace visora

#endif
