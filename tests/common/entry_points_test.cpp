// What entry points refuse and do of their own; entries_test.cpp has what all of them do.
#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "support/entry_point.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kMedianRow = 216;
constexpr char kBordered[] = "src width=8 height=8 srcStride=8 dst dstStride=8 borderType=0 borderValue=255";

const EntryPoint kMedian = {VISORA_ENTRY(vsrFilterMedian3x3u8), "src width=8 height=8 dst"};
const EntryPoint kBorderTypeMembers[] = {{VISORA_ENTRY(vsrFilterMedian3x3u8_v3), kBordered},
                                         {VISORA_ENTRY(vsrFilterGaussian3x3u8_v3), kBordered},
                                         {VISORA_ENTRY(vsrBoxFilter3x3u8_v2), kBordered}};

TEST(EntryPoints, SwitchedOffConstraintChecksLeaveTheDspKind)
{
    kMedian.expectLeft(vsrImplTable[kMedianRow], VSR_IMPL_CDSP, "width=5 height=5");
    const Override checks(HW_constraint_checks_enable, 0);
    kMedian.expectKept(vsrImplTable[kMedianRow], VSR_IMPL_CDSP, "width=5 height=5");
}

TEST(EntryPoints, ParametersOutOfRangeAreRefused)
{
    for (const EntryPoint& entry : kBorderTypeMembers)
    {
        entry.expectRefused(3, "borderType=3");
    }
    const EntryPoint box = {VISORA_ENTRY(vsrBoxFilterNxNf32), "src width=8 height=8 srcStride=32 dst dstStride=32 N=3"};
    box.expectRefused(3, "N=1, N=0");
    const EntryPoint rotation = {VISORA_ENTRY(vsrRotateImageInterleavedu8),
                                 "src width=8 height=4 srcStride=16 dst dstStride=8 rotation=1"};
    rotation.expectRefused(3, "rotation=0, rotation=4, rotation=2 dstStride=15, rotation=2 dstStride=24 src=dst");
    const EntryPoint median = {VISORA_ENTRY(vsrFilterMedianMxNs16),
                               "src width=8 height=8 srcStride=16 M=3 N=3 dst dstStride=16"};
    median.expectRefused(3, "M=0, N=0, N=256, width=0x80000001 srcStride=0 dstStride=0");
    EntryPoint::Block untouched;
    untouched.fill(EntryPoint::kUntouched);
    EXPECT_EQ(untouched, median.output("N=255")) << "a window higher than the image";
}

TEST(EntryPoints, RotationInPlaceIsTheSameInBothVariants)
{
    for (uint32_t rotation = 1; rotation <= 3; ++rotation)
    {
        std::vector<uint8_t> images[2];
        for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA})
        {
            images[kind].resize(2 * 40 * 40);
            std::iota(images[kind].begin(), images[kind].end(), uint8_t{0});
            uVTable(VSR_IMPL_VECTA);
            const Override rotating(vsrImplTable[500], kind);
            EXPECT_EQ(0u,
                      vsrRotateImageInterleavedu8(images[kind].data(), 40, 40, 80, images[kind].data(), 0, rotation));
        }
        EXPECT_EQ(images[0], images[1]) << rotation;
    }
}

TEST(EntryPoints, RotationTurnsClockwise)
{
    // 1 2 3      4 1      6 5 4      3 6
    // 4 5 6  ->  5 2  ->  3 2 1  ->  2 5
    //            6 3                 1 4
    const std::vector<uint8_t> src = {1, 11, 2, 12, 3, 13, 4, 14, 5, 15, 6, 16};
    const std::vector<uint8_t> expected[] = {{4, 14, 1, 11, 5, 15, 2, 12, 6, 16, 3, 13},
                                             {6, 16, 5, 15, 4, 14, 3, 13, 2, 12, 1, 11},
                                             {3, 13, 6, 16, 2, 12, 5, 15, 1, 11, 4, 14}};
    for (uint32_t rotation = 1; rotation <= 3; ++rotation)
    {
        std::vector<uint8_t> dst(12);
        EXPECT_EQ(0u, vsrRotateImageInterleavedu8(src.data(), 3, 2, 0, dst.data(), 0, rotation));
        EXPECT_EQ(expected[rotation - 1], dst) << rotation;
    }
}

}  // namespace
}  // namespace visora::test
