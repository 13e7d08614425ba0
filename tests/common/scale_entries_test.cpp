// Entry points of the downscalers: refusals, strides, choice of the kind.
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

TEST(ScaleEntries, FixedRatiosAndNearestNeighbourRefuseSilently)
{
    kBy2.expectRefused(-1, "src=0, dst=0, width=0, height=0, width=7, height=7");
    kBy2V2.expectRefused(-1, "src=0, dst=0, width=0, height=9, srcStride=7, dstStride=3");
    kBy4.expectRefused(-1, "src=0, dst=0, height=0, width=6, height=6");
    kBy4V2.expectRefused(-1, "width=0, height=10, srcStride=7, dstStride=1");
    k3To2.expectRefused(-1,
                        "src=0, dst=0, width=0, height=0, srcStride=8, dstStride=5, width=11 srcStride=11 dstStride=5");
    k3To2.expectRefused(1, "width=2 srcStride=0 dstStride=0, height=2 srcStride=0 dstStride=0");
    kNearest.expectRefused(1, "src=0, dst=0, width=0, height=0, dstWidth=0, dstHeight=0, srcStride=8, dstStride=2");
    kNearest.expectRefused(1,
                           "width=65536 srcStride=0, height=65536, dstWidth=65536 dstStride=0, dstHeight=65536, "
                           "width=65535 srcStride=0 dstWidth=1000 dstStride=0");
}

TEST(ScaleEntries, BoxAndAreaAveragesLogTheirCondition)
{
    kBox.expectRefusedLogging(
        "src && dst && width && height && dstWidth && dstHeight && width >= dstWidth && height >= dstHeight",
        "src=0, dst=0, width=0, height=0, dstWidth=0, dstHeight=0, dstWidth=10, dstHeight=10");
    kBoxV2.expectRefusedLogging(
        "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= "
        "dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight",
        "src=0, srcStride=8, dstStride=2, dstWidth=0, dstHeight=10");
    kArea.expectRefusedLogging(
        "src && dst && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride==0 || srcStride >=srcWidth) && "
        "(dstStride == 0 || dstStride >= dstWidth) && dstWidth * 20 > srcWidth && dstHeight * 20 > srcHeight",
        "src=0, dst=0, width=0, srcStride=8, dstStride=2, dstHeight=0, width=60 srcStride=0, height=60");
}

TEST(ScaleEntries, AreaAverageTakesRatiosBelowTwentyAndRefusesEnlargingSilently)
{
    kArea.expectRefused(3, "dstWidth=10 dstHeight=9 dstStride=0, dstWidth=9 dstHeight=10 dstStride=0");
    EXPECT_EQ(0, kArea.call("width=59 srcStride=0 dstHeight=9"));
    EXPECT_EQ(0, kArea.call("height=59 dstWidth=9 dstStride=0"));
}

// Strides skip what lies between rows; strides of 0, and entry points without strides, take images as packed.
TEST(ScaleEntries, StridesTellWhereRowsBegin)
{
    const struct
    {
        const EntryPoint& entry;
        size_t width, height;  // of the destination
        const EntryPoint* sibling;
    } cases[] = {
        {kBy2V2, 10, 6, &kBy2}, {kBy4V2, 5, 3, &kBy4},  {k3To2, 12, 8, nullptr},  // 2 * 20 / 3 is 13, made even
        {kBoxV2, 6, 5, &kBox},  {kArea, 7, 5, nullptr}, {kNearest, 7, 5, nullptr},
    };
    const EntryPoint::Block before = EntryPoint::source;
    for (const auto& [entry, width, height, sibling] : cases)
    {
        std::string size = "width=20 height=12 ";
        if (entry.takes("dstWidth"))
        {
            size += "dstWidth=" + std::to_string(width) + " dstHeight=" + std::to_string(height) + " ";
        }
        const EntryPoint::Block strided = entry.output(size + "srcStride=31 dstStride=17");
        for (size_t i = 0; i < 20 * 12; ++i)
        {
            EntryPoint::source[i] = before[i / 20 * 31 + i % 20];
        }
        const EntryPoint::Block packed = entry.output(size + "srcStride=20 dstStride=" + std::to_string(width));
        EXPECT_EQ(packed, entry.output(size + "srcStride=0 dstStride=0")) << entry.name();
        if (sibling)
        {
            EXPECT_EQ(packed, sibling->output(size)) << sibling->name();
        }
        EntryPoint::source = before;

        const auto rowsApart = [&, columns = width, rows = height](size_t stride)
        {
            EntryPoint::Block block;
            block.fill(EntryPoint::kUntouched);
            for (size_t i = 0; i < columns * rows; ++i)
            {
                block[i / columns * stride + i % columns] = packed[i];
            }
            return block;
        };
        EXPECT_EQ(rowsApart(width), packed) << entry.name();
        EXPECT_EQ(rowsApart(17), strided) << entry.name();
    }
}

TEST(ScaleEntries, AccelerationIsKeptForLargeAlignedImages)
{
    const EntryPoint entry = {VISORA_ENTRY(vsrScaleDownBy2u8_v2),
                              "src width=176 height=144 srcStride=184 dst dstStride=88"};
    VSR_IMPL& row = vsrImplTable[346];
    entry.expectKept(row, VSR_IMPL_CDSP, "srcStride=184");
    entry.expectLeft(row, VSR_IMPL_CDSP, "srcStride=176, dstStride=92, width=172, src+4");
    entry.expectKept(row, VSR_IMPL_GPU, "srcStride=176");
    entry.expectLeft(row, VSR_IMPL_GPU, "srcStride=176 dstStride=92, srcStride=176 src+8");
}

}  // namespace
}  // namespace visora::test
