// Entry points of the smoothing filters with a border type and of unsharp masking.
#include <cmath>

#include "common/entries/visoraFilterEntries.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

constexpr auto median =
    filterEntry<0, 5>([](auto*, uint32_t, vsrBorderType borderType, uint8_t) { return isKnownBorder(borderType); });
constexpr auto gaussian =
    filterEntry<2>([](uint32_t N, float sigma, auto*, uint32_t, vsrBorderType borderType, auto)
                   { return isOddWindow(N) && std::isfinite(sigma) && sigma >= 0 && isKnownBorder(borderType); });
constexpr auto unsharp = filterEntry<2, 5>([](uint32_t amount, auto...) { return amount <= 32767; });

}  // namespace

VSR_ENTRY(vsrFilterMedian5x5u8, vsrFilterMedian5x5u8, median);
VSR_ENTRY(vsrFilterGaussianNxNu8, vsrFilterGaussianNxNu8, gaussian);
VSR_ENTRY(vsrFilterGaussianNxNf32, vsrFilterGaussianNxNf32, gaussian);
VSR_ENTRY(vsrFilterUnsharp5x5u8, vsrFilterUnsharp5x5u8, unsharp);
