// Entry points of the morphological filters.
#include "common/entries/visoraFilterEntries.h"
#include "visora/morphology.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

constexpr auto extreme3x3 = filterEntry<0, 4>(anyArguments);
constexpr auto extremeNxN = filterEntry<1>([](uint32_t N, auto...) { return isOddWindow(N, UINT32_MAX); });
constexpr auto topHat = filterEntry<2>([](uint32_t N, vsrTopHatMode mode, auto...)
                                       { return isOddWindow(N, UINT32_MAX) && mode <= VISORA_TOP_HAT_BLACK; });

}  // namespace

VSR_ENTRY(vsrFilterDilate3x3u8_v2, vsrFilterDilate3x3u8, extreme3x3);
VSR_ENTRY(vsrFilterDilate3x3u8, vsrFilterDilate3x3u8, packedEntry(extreme3x3));
VSR_ENTRY(vsrFilterErode3x3u8_v2, vsrFilterErode3x3u8, extreme3x3);
VSR_ENTRY(vsrFilterErode3x3u8, vsrFilterErode3x3u8, packedEntry(extreme3x3));
VSR_ENTRY(vsrFilterDilateNxNu8, vsrFilterDilateNxNu8, extremeNxN);
VSR_ENTRY(vsrFilterErodeNxNu8, vsrFilterErodeNxNu8, extremeNxN);
VSR_ENTRY(vsrFilterOpenNxNu8, vsrFilterOpenNxNu8, extremeNxN);
VSR_ENTRY(vsrFilterCloseNxNu8, vsrFilterCloseNxNu8, extremeNxN);
VSR_ENTRY(vsrFilterTopHatNxNu8, vsrFilterTopHatNxNu8, topHat);
