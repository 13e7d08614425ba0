#include "support/operations.h"
#include "visora/filter.h"

namespace visora::test
{

namespace
{

// The flag of the border: only 1 sets it.
const auto anyFlag = [](Arguments& a)
{
    constexpr int32_t kFlags[] = {0, 1, 1, 2, -1};
    return std::tuple(kFlags[a.choose(0, 4, 0)]);
};
const auto flagSet = [](Arguments&) { return std::tuple(int32_t{1}); };

const auto anyBorder = [](Arguments& a)
{
    return std::tuple(a.choose(VISORA_BORDER_UNDEFINED, VISORA_BORDER_REPLICATE, VISORA_BORDER_REPLICATE),
                      static_cast<uint8_t>(a.choose(0, 255, 0)));
};
const auto defaultBorder = [](Arguments& a)
{ return std::tuple(vsrBorderType{VISORA_BORDER_UNDEFINED}, static_cast<uint8_t>(a.choose(0, 255, 0))); };

// The 3x3 filter ends the process at a width of 1.
const Register gaussians({
    {VISORA_OPERATION(vsrFilterGaussian3x3u8), imageToImage<vsrFilterGaussian3x3u8C, uint8_t>(anyFlag, 2)},
    {VISORA_OPERATION(vsrFilterGaussian3x3u8), imageToImage<vsrFilterGaussian3x3u8C, uint8_t>(flagSet, 2), "border"},
    {VISORA_OPERATION(vsrFilterGaussian3x3u8_v3), imageToImage<vsrFilterGaussian3x3u8_v3C, uint8_t>(anyBorder, 2)},
    {VISORA_OPERATION(vsrFilterGaussian3x3u8_v3), imageToImage<vsrFilterGaussian3x3u8_v3C, uint8_t>(defaultBorder, 2),
     "undefined"},
    {VISORA_OPERATION(vsrFilterGaussian5x5u8), imageToImage<vsrFilterGaussian5x5u8C, uint8_t>(anyFlag)},
    {VISORA_OPERATION(vsrFilterGaussian5x5u8), imageToImage<vsrFilterGaussian5x5u8C, uint8_t>(flagSet), "border"},
    {VISORA_OPERATION(vsrFilterGaussian5x5s16), imageToImage<vsrFilterGaussian5x5s16C, int16_t>(anyFlag)},
    {VISORA_OPERATION(vsrFilterGaussian5x5s16), imageToImage<vsrFilterGaussian5x5s16C, int16_t>(flagSet), "border"},
    {VISORA_OPERATION(vsrFilterGaussian5x5s32), imageToImage<vsrFilterGaussian5x5s32C, int32_t>(anyFlag)},
    {VISORA_OPERATION(vsrFilterGaussian5x5s32), imageToImage<vsrFilterGaussian5x5s32C, int32_t>(flagSet), "border"},
    {VISORA_OPERATION(vsrFilterGaussian11x11u8), imageToImage<vsrFilterGaussian11x11u8C, uint8_t>(anyFlag)},
    {VISORA_OPERATION(vsrFilterGaussian11x11u8), imageToImage<vsrFilterGaussian11x11u8C, uint8_t>(flagSet), "border"},
});

}  // namespace

}  // namespace visora::test
