// What entry points do around their kernels: choose the kind, trace, refuse; those without a file of their own.
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
const EntryPoint kMedianV2 = {VISORA_ENTRY(vsrFilterMedian3x3u8_v2),
                              "src width=176 height=144 srcStride=184 dst dstStride=176"};

struct BorderTypeMember
{
    EntryPoint entry;
    uint32_t row;
};
const BorderTypeMember kBorderTypeMembers[] = {{{VISORA_ENTRY(vsrFilterMedian3x3u8_v3), kBordered}, 475},
                                               {{VISORA_ENTRY(vsrFilterGaussian3x3u8_v3), kBordered}, 474},
                                               {{VISORA_ENTRY(vsrBoxFilter3x3u8_v2), kBordered}, 20}};

TEST(EntryPoints, MedianChoosesTheKindByTheConstraintsOfTheCall)
{
    VSR_IMPL& row = vsrImplTable[kMedianRow];
    kMedianV2.expectKept(row, VSR_IMPL_CPU, "width=64 height=64 srcStride=0 dstStride=0");
    kMedianV2.expectKept(row, VSR_IMPL_VECTA, "src+1 width=64 height=64 srcStride=0 dstStride=0");
    for (const VSR_IMPL dsp : kDsps)
    {
        // 176 x 144 is one pixel short of being worth the DSP; the stride counts, not the width.
        kMedianV2.expectLeft(row, dsp, "srcStride=176, dstStride=180, width=172 height=160, height=160 srcStride=188");
        kMedianV2.expectLeft(row, dsp, "src+4, width=8800 height=3 srcStride=8800 dstStride=8800");
        kMedianV2.expectKept(row, dsp, "srcStride=184, src+8, width=8800 height=4 srcStride=8800 dstStride=8800");
    }
    kMedianV2.expectKept(row, VSR_IMPL_GPU,
                         "width=64 height=8 srcStride=64 dstStride=64, width=60 height=8 srcStride=64 dstStride=64");
    kMedianV2.expectLeft(
        row, VSR_IMPL_GPU,
        "width=64 height=8 srcStride=64 dstStride=68, src+8 width=64 height=8 srcStride=64 dstStride=64");
}

TEST(EntryPoints, SwitchedOffConstraintChecksLeaveTheDspKind)
{
    kMedian.expectLeft(vsrImplTable[kMedianRow], VSR_IMPL_CDSP, "width=5 height=5");
    const Override checks(HW_constraint_checks_enable, 0);
    kMedian.expectKept(vsrImplTable[kMedianRow], VSR_IMPL_CDSP, "width=5 height=5");
}

TEST(EntryPoints, OlderStyleLogsTheConditionAndPassesOnTheLogsResult)
{
    kMedian.expectRefusedLogging("src && dst && width && height", "src=0, dst=0, width=0, height=0");
    kMedianV2.expectRefusedLogging("src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride",
                                   "srcStride=175, height=0");
}

TEST(EntryPoints, NewerStyleRefusesSilently)
{
    for (const auto& [entry, row] : kBorderTypeMembers)
    {
        entry.expectRefused(3, "src=0, dst=0, width=0, height=0, srcStride=7, dstStride=7, borderType=3");
    }
    const EntryPoint inversion = {VISORA_ENTRY(vsrBitwiseNotu8), "src width=8 height=8 srcStride=8 dst dstStride=8"};
    inversion.expectRefused(3, "src=0, dst=0, width=0, height=0, srcStride=7, dstStride=7, src=dst dstStride=9");
    const EntryPoint lookup = {VISORA_ENTRY(vsrTableLookupu8),
                               "src width=8 height=8 srcStride=8 table dst dstStride=8"};
    lookup.expectRefused(3, "table=0, src=0, srcStride=7, src=dst dstStride=9");
    const EntryPoint rotation = {VISORA_ENTRY(vsrRotateImageInterleavedu8),
                                 "src width=8 height=4 srcStride=16 dst dstStride=8 rotation=1"};
    rotation.expectRefused(3,
                           "rotation=0, rotation=4, srcStride=15, dstStride=7, rotation=2 dstStride=15, "
                           "rotation=2 dstStride=16 dst=0, rotation=2 dstStride=24 src=dst");
}

template <class... Parameters>
VSR_FUNC declining(vsrStatus (*)(Parameters...))
{
    return reinterpret_cast<VSR_FUNC>(+[](Parameters...) -> vsrStatus { return VISORA_EFALLBACK; });
}

TEST(EntryPoints, TheVectorVariantServesWhenAnAcceleratedOneDeclinesOrIsMissing)
{
    const Override checks(HW_constraint_checks_enable, 0);
    for (const VSR_IMPL kind : {VSR_IMPL_KDSP, VSR_IMPL_GPU})
    {
        for (const auto& [entry, row] : kBorderTypeMembers)
        {
            const Override slot(vsrFuncTable[row * VSR_KIND_COUNT + kind], declining(vsrFilterMedian3x3u8_v3));
            entry.expectKept(vsrImplTable[row], kind, "borderType=1, borderType=2");
        }
    }
    VSR_FUNC* const medians = vsrFuncTable + size_t{kMedianRow} * VSR_KIND_COUNT;
    const Override empty(medians[VSR_IMPL_MDSP], nullptr);
    kMedian.expectKept(vsrImplTable[kMedianRow], VSR_IMPL_MDSP, "width=3 height=3");
    // The older style hands the status on.
    const Override slot(medians[VSR_IMPL_KDSP], declining(vsrFilterMedian3x3u8_v2));
    const Override kind(vsrImplTable[kMedianRow], VSR_IMPL_KDSP);
    EXPECT_EQ(int32_t{VISORA_EFALLBACK}, kMedian.call());
}

TEST(EntryPoints, InPlaceWorksWhereItIsAllowed)
{
    std::vector<uint8_t> image(200, 0x0f);
    std::vector<uint8_t> reversal(256);
    std::iota(reversal.rbegin(), reversal.rend(), uint8_t{0});
    uVTable(VSR_IMPL_VECTA);
    for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA})
    {
        const Override inverting(vsrImplTable[441], kind);
        const Override lookingUp(vsrImplTable[496], kind);
        EXPECT_EQ(0u, vsrBitwiseNotu8(image.data(), 67, 2, 100, image.data(), 100));
        EXPECT_EQ(0xf0, image[166]);
        EXPECT_EQ(0u, vsrTableLookupu8(image.data(), 67, 2, 100, reversal.data(), image.data(), 100));
        EXPECT_EQ(std::vector<uint8_t>(200, 0x0f), image);
    }
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
