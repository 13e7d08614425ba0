// Entry points of the downscalers: sizes that they refuse.
#include <gtest/gtest.h>

#include <string>

#include "support/entry_point.h"
#include "visora/variants/scale.h"

namespace visora::test
{
namespace
{

constexpr char kAnySize[] = "src width=9 height=9 srcStride=9 dst dstWidth=3 dstHeight=3 dstStride=3";

const EntryPoint kBy2 = {VISORA_ENTRY(vsrScaleDownBy2u8), "src width=8 height=8 dst"};
const EntryPoint kBy2V2 = {VISORA_ENTRY(vsrScaleDownBy2u8_v2), "src width=8 height=8 srcStride=8 dst dstStride=4"};
const EntryPoint kBy4 = {VISORA_ENTRY(vsrScaleDownBy4u8), "src width=8 height=8 dst"};
const EntryPoint kBy4V2 = {VISORA_ENTRY(vsrScaleDownBy4u8_v2), "src width=8 height=8 srcStride=8 dst dstStride=2"};
const EntryPoint k3To2 = {VISORA_ENTRY(vsrScaleDown3To2u8), "src width=9 height=9 srcStride=9 dst dstStride=6"};
const EntryPoint kBox = {VISORA_ENTRY(vsrScaleDownu8), "src width=9 height=9 dst dstWidth=3 dstHeight=3"};
const EntryPoint kBoxV2 = {VISORA_ENTRY(vsrScaleDownu8_v2), kAnySize};
const EntryPoint kArea = {VISORA_ENTRY(vsrScaleDownMNu8), kAnySize};
const EntryPoint kNearest = {VISORA_ENTRY(vsrScaleDownNNu8), kAnySize};

TEST(ScaleEntries, RefuseSizesThatDoNotFitTheRatio)
{
    kBy2.expectRefused(-1, "width=7, height=7");
    kBy2V2.expectRefused(-1, "height=9");
    kBy4.expectRefused(-1, "width=6, height=6");
    kBy4V2.expectRefused(-1, "height=10");
    k3To2.expectRefused(-1, "width=11 srcStride=11 dstStride=5");
    k3To2.expectRefused(1, "width=2 srcStride=0 dstStride=0, height=2 srcStride=0 dstStride=0");
    kNearest.expectRefused(1,
                           "width=65536 srcStride=0, height=65536, dstWidth=65536 dstStride=0, dstHeight=65536, "
                           "width=65535 srcStride=0 dstWidth=1000 dstStride=0");
    kBox.expectRefusedLogging(
        "src && dst && width && height && dstWidth && dstHeight && width >= dstWidth && height >= dstHeight",
        "dstWidth=10, dstHeight=10");
    kBoxV2.expectRefusedLogging(
        "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= "
        "dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight",
        "dstHeight=10");
    kArea.expectRefusedLogging(
        "src && dst && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride==0 || srcStride >=srcWidth) && "
        "(dstStride == 0 || dstStride >= dstWidth) && dstWidth * 20 > srcWidth && dstHeight * 20 > srcHeight",
        "width=60 srcStride=0, height=60");
}

TEST(ScaleEntries, AreaAverageTakesRatiosBelowTwentyAndRefusesEnlargingSilently)
{
    kArea.expectRefused(3, "dstWidth=10 dstHeight=9 dstStride=0, dstWidth=9 dstHeight=10 dstStride=0");
    EXPECT_EQ(0, kArea.call("width=59 srcStride=0 dstHeight=9"));
    EXPECT_EQ(0, kArea.call("height=59 dstWidth=9 dstStride=0"));
}

}  // namespace
}  // namespace visora::test
