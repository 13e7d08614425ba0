// Two functions that have to compile to the same instructions: a call through views, and the same by hand.
#define VISORA_KEEP_MODE
#include <visora.hpp>

extern "C" vsrStatus through_views(const vsr::View<const uint8_t>& src, const vsr::View<uint8_t>& dst, uint32_t N)
{
    return vsr::call(vsrFilterDilateNxNu8, src, N, dst).code();
}

extern "C" vsrStatus by_hand_views(const vsr::View<const uint8_t>& src, const vsr::View<uint8_t>& dst, uint32_t N)
{
    return vsrFilterDilateNxNu8(src.data(), src.width(), src.height(), src.stride(), N, dst.data(), dst.stride());
}
