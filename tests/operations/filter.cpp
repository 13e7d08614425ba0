#include "visora/filter.h"

#include "support/operations.h"

namespace visora::test
{

namespace
{

const auto anyBorder = [](Arguments& a)
{
    return std::tuple(a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_REPLICATE),
                      static_cast<uint8_t>(a.choose(0, 255, 0)));
};

const Register filters({
    {VISORA_OPERATION(vsrFilterMedian3x3u8), imageToImage<vsrFilterMedian3x3u8C, uint8_t>()},
    {VISORA_OPERATION(vsrFilterMedian3x3u8_v3), imageToImage<vsrFilterMedian3x3u8_v3C, uint8_t>(anyBorder)},
});

}  // namespace

}  // namespace visora::test
