// Entry points of the local patterns.
#include "common/entries/visoraFilterEntries.h"
#include "visora/variants/filter.h"

namespace
{

using namespace visora;

constexpr auto census3x3 = filterEntry<0, 4>(anyArguments);
constexpr auto census9x7 = filterEntry(anyArguments);
constexpr auto binaryPatterns = filterEntry<1, 4>([](vsrLbpMode mode, auto...) { return mode <= VISORA_LBP_UNIFORM; });

}  // namespace

VSR_ENTRY(vsrCensus3x3u8, vsrCensus3x3u8, census3x3);
VSR_ENTRY(vsrCensus9x7u8, vsrCensus9x7u8, census9x7);
VSR_ENTRY(vsrLBPu8, vsrLBPu8, binaryPatterns);
