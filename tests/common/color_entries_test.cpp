// Entry points of the conversions from luma and chroma to RGB: what is their own, hard stops.
#include <gtest/gtest.h>

#include <cstdint>

#include "common/entry_call.h"
#include "support/entry_point.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr char kWhole[] = "src width=6 height=4 dst";
const EntryPoint kWhole8888 = {VISORA_ENTRY(vsrColorYUV420toRGB8888u8), kWhole};

TEST(ColorEntries, WholeBuffersRefuse)
{
    kWhole8888.expectRefusedLogging("src && dst && width && height", "src=0, dst=0, width=0, height=0");
    const EntryPoint strided = {VISORA_ENTRY(vsrColorYCrCb420PseudoPlanarToRGB8888u8),
                                "src width=7 height=4 srcYStride=7 srcCStride=7 dst dstStride=28"};
    strided.expectRefusedLogging("src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride",
                                 "srcYStride=0, srcCStride=0, dstStride=0");
    EXPECT_EQ(strided.output(), kWhole8888.output("width=7"));
}

TEST(ColorEntries, TheKindFollowsAlignmentAndSize)
{
    for (const VSR_IMPL kind : {VSR_IMPL_CDSP, VSR_IMPL_GPU})
    {
        kWhole8888.expectKept(vsrImplTable[136], kind, "width=8 height=2");
        kWhole8888.expectLeft(vsrImplTable[136], kind, "width=12, width=8 src+8, width=8 dst+8");
    }
}

TEST(ColorEntriesDeathTest, AWidthOfOneEndsTheProcessWhereChromaIsHalved)
{
    constexpr char kLine[] = "visora_lib_log: src/cpu/visoraColorC@[0-9]+: length > 1 Assertion failed";
    int stopping = 0;
    for (const Operation& operation : operations())
    {
        const bool halved =
            operation.name.starts_with("vsrColorYCbCr42") && operation.name.find("PlanarToRGB") != std::string::npos;
        // One of them refuses.
        if (!halved || operation.name == "vsrColorYCbCr422PseudoPlanarToRGB888u8")
        {
            continue;
        }
        ++stopping;
        EntryCall call(operation, 1, 8, 16);
        const auto words = call.with({{call.sizeOf(kEntryWidth).value(), 1}});
        EXPECT_EXIT(call.arguments().runWith(call.entry().function, words), testing::ExitedWithCode(1), kLine)
            << operation.name;
    }
    EXPECT_EQ(11, stopping);
    const uint8_t s[16] = {};
    uint8_t d[16];
    EXPECT_EXIT(vsrColorYCbCr422PlanarToRGB565u8V(s, s, s, 1, 2, 1, 1, 1, d, 2), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrColorYCbCr420PseudoPlanarToRGB888u8V(s, s, 1, 2, 1, 2, d, 3), testing::ExitedWithCode(1), kLine);
}

}  // namespace
}  // namespace visora::test
