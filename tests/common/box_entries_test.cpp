// What the entry points of the box filters and of the M x N median refuse and which kind serves them.
#include <gtest/gtest.h>

#include <string>

#include "support/entry_point.h"
#include "visora/variants/filter.h"

namespace visora::test
{
namespace
{

struct OlderBox
{
    EntryPoint entry;
    uint32_t row;
    const char* condition;
    const char* refused;
};

const OlderBox kOlderBoxes[] = {
    {{VISORA_ENTRY(vsrBoxFilter3x3u8), "src width=3 height=3 srcStride=3 dst dstStride=3"},
     19,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && srcWidth > 2 && "
     "srcHeight > 2",
     "width=2, height=2, srcStride=2, width=2 srcStride=0"},
    {{VISORA_ENTRY(vsrBoxFilter5x5u8), "src width=5 height=5 srcStride=5 dst dstStride=5"},
     21,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && srcWidth > 4 && "
     "srcHeight > 4",
     "width=4, height=4, srcStride=4, width=4 srcStride=0"},
    {{VISORA_ENTRY(vsrBoxFilter11x11u8), "src width=11 height=11 srcStride=11 dst dstStride=11"},
     18,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && "
     "srcHeight > 10",
     "width=10, height=10, srcStride=10, width=10 srcStride=0"},
};

const EntryPoint kFloatBox = {VISORA_ENTRY(vsrBoxFilterNxNf32),
                              "src width=8 height=8 srcStride=32 dst dstStride=32 N=3"};

TEST(BoxEntries, OlderStyleLogsItsConditionAndPassesOnTheLogsResult)
{
    for (const OlderBox& box : kOlderBoxes)
    {
        box.entry.expectRefusedLogging(box.condition, box.refused);
        box.entry.expectRefusedLogging(box.condition, "src=0, dst=0, width=0, height=0, width=0 height=0 srcStride=0");
        EXPECT_EQ(box.entry.output(), box.entry.output("srcStride=0 dstStride=0")) << box.entry.name();
    }
}

TEST(BoxEntries, StatusMembersRefuseSilently)
{
    // A row longer than 32 bits can say: no stride holds it, packed or not.
    kFloatBox.expectRefused(3,
                            "src=0, dst=0, width=4, height=4, srcStride=31, dstStride=28, N=1, N=0, "
                            "width=7 srcStride=28 src=dst, width=0x40000001 srcStride=0 dstStride=0");
    EXPECT_EQ(kFloatBox.output("N=2"), kFloatBox.output("N=2 srcStride=0 dstStride=0"));

    const EntryPoint median = {VISORA_ENTRY(vsrFilterMedianMxNs16),
                               "src width=8 height=8 srcStride=16 M=3 N=3 dst dstStride=16"};
    median.expectRefused(3,
                         "src=0, dst=0, width=0, height=0, srcStride=15, dstStride=15, M=0, N=0, N=256, "
                         "width=0x80000001 srcStride=0 dstStride=0");
    EXPECT_EQ(median.output(), median.output("srcStride=0 dstStride=0"));
    EntryPoint::Block untouched;
    untouched.fill(EntryPoint::kUntouched);
    EXPECT_EQ(untouched, median.output("N=255")) << "a window higher than the image";
}

TEST(BoxEntries, SmallOrLowImagesDoNotGoToTheDsp)
{
    const std::string large = "width=176 height=144 dstStride=176 ";
    for (const OlderBox& box : kOlderBoxes)
    {
        VSR_IMPL& row = vsrImplTable[box.row];
        box.entry.expectLeft(row, VSR_IMPL_CDSP, large + "srcStride=176, " + large + "srcStride=184 src+4");
        box.entry.expectKept(row, VSR_IMPL_CDSP, large + "srcStride=184");
    }
    const EntryPoint bordered = {VISORA_ENTRY(vsrBoxFilter3x3u8_v2),
                                 "src width=8800 height=4 srcStride=0 dst dstStride=0 borderType=2 borderValue=0"};
    bordered.expectLeft(vsrImplTable[20], VSR_IMPL_CDSP, "height=3");
    bordered.expectKept(vsrImplTable[20], VSR_IMPL_CDSP, "height=4");
    // Much work per pixel: 6337 pixels are enough.
    kFloatBox.expectLeft(vsrImplTable[22], VSR_IMPL_CDSP, "N=2 width=88 height=72 srcStride=0 dstStride=0");
    kFloatBox.expectKept(vsrImplTable[22], VSR_IMPL_CDSP, "N=2 width=88 height=73 srcStride=0 dstStride=0");
}

}  // namespace
}  // namespace visora::test
