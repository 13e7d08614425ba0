// What the entry points of the Gaussians do around their kernels.
#include <gtest/gtest.h>

#include <cstdint>

#include "support/entry_point.h"
#include "visora.h"

namespace visora::test
{
namespace
{

const EntryPoint kPlain = {VISORA_ENTRY(vsrFilterGaussian3x3u8), "src width=7 height=8 dst blurBorder=1"};
const EntryPoint kStrided = {VISORA_ENTRY(vsrFilterGaussian3x3u8_v2),
                             "src width=7 height=8 srcStride=8 dst dstStride=8 blurBorder=1"};
const EntryPoint kBordered = {VISORA_ENTRY(vsrFilterGaussian3x3u8_v3),
                              "src width=176 height=144 srcStride=184 dst dstStride=0 borderType=0 borderValue=0"};

TEST(GaussianEntries, WidthsBelowAStepAreOutOfRangeBeforeAnythingElse)
{
    // Not even a trace line, and no look at the other arguments.
    constexpr char kNarrow[] =
        "width=2, width=3, width=4, width=5, width=6, src=0 width=2 height=0 dst=0, "
        "src=0 width=6 height=0 dst=0";
    kPlain.expectOutOfRange(kNarrow);
    kStrided.expectOutOfRange(kNarrow);
    // The border type member's width has no lower bound but that of the kernel.
    EXPECT_EQ(0, kBordered.call("width=2 height=2 srcStride=0 borderType=2"));
}

TEST(GaussianEntriesDeathTest, AWidthOf1EndsTheProcess)
{
    constexpr char kLine[] = "src/cpu/visoraBlurC@79: w6<=w_2 && w6>=w_2-5 Assertion failed";
    const uint8_t s[8] = {};
    uint8_t d[8];
    EXPECT_EXIT(kPlain.call("width=1 blurBorder=0"), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(kBordered.call("width=1 height=8 borderType=2"), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8C(s, 0, 8, 1, d, 1, 0), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8V(s, 1, 8, 1, d, 1, 0), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8_v3V(s, 1, 8, 1, d, 1, VISORA_BORDER_CONSTANT, 0), testing::ExitedWithCode(1),
                kLine);
}

TEST(GaussianEntries, WideFiltersKeepTheirUnitOnlyForAlignedCallsWhetherChecksAreOnOrNot)
{
    const std::pair<EntryPoint, uint32_t> members[] = {
        {{VISORA_ENTRY(vsrFilterGaussian5x5u8), "src width=16 height=16 dst blurBorder=0"}, 215},
        {{VISORA_ENTRY(vsrFilterGaussian11x11u8_v2), "src width=16 height=16 srcStride=0 dst dstStride=0 blurBorder=0"},
         211},
    };
    for (const int32_t switchedOn : {1, 0})
    {
        const Override checks(HW_constraint_checks_enable, switchedOn);
        for (const auto& [entry, row] : members)
        {
            VSR_IMPL& kind = vsrImplTable[row];
            entry.expectKept(kind, VSR_IMPL_CPU, "src+1");
            entry.expectKept(kind, VSR_IMPL_VECTA, "src+1");
            for (const VSR_IMPL dsp : kDsps)
            {
                entry.expectKept(kind, dsp, "height=16, height=15, src+16 height=15");
                entry.expectLeft(kind, dsp, "src+8, width=20");
            }
            entry.expectKept(kind, VSR_IMPL_GPU, "src+1 width=20 height=144");
            entry.expectLeft(kind, VSR_IMPL_GPU, "width=20 height=145, width=18 height=144");
        }
    }
    const EntryPoint words = {VISORA_ENTRY(vsrFilterGaussian5x5s16_v2),
                              "src width=16 height=16 srcStride=32 dst dstStride=32 blurBorder=0"};
    words.expectKept(vsrImplTable[213], VSR_IMPL_CDSP, "srcStride=40");
    words.expectLeft(vsrImplTable[213], VSR_IMPL_CDSP, "srcStride=36, dstStride=36");
    words.expectKept(vsrImplTable[213], VSR_IMPL_GPU, "srcStride=36");
    const EntryPoint longs = {VISORA_ENTRY(vsrFilterGaussian5x5s32), "src width=16 height=16 dst blurBorder=0"};
    longs.expectLeft(vsrImplTable[214], VSR_IMPL_MDSP, "src+4");
}

}  // namespace
}  // namespace visora::test
