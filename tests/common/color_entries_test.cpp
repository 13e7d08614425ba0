// Entry points of the conversions from luma and chroma to RGB: defaults, refusals, choice of the kind, hard stops.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/entry_point.h"
#include "visora.h"

namespace visora::test
{
namespace
{

// A conversion of an image of 6 x 4 with strides of 0.
struct Member
{
    EntryPoint entry;
    std::string condition;
    std::string refused;
    std::string packed;  // the strides of an image that is 7 pixels wide
    bool stops;          // at a width of 1, by ending the process
};

template <class Function>
Member member(const std::string& name, Function* function, uint32_t pixelBytes, bool halved)
{
    const auto number = [](uint32_t value) { return std::to_string(value); };
    const bool planar = name.find("Pseudo") == std::string::npos;
    const bool refusesOnePixel = name == "vsrColorYCbCr422PseudoPlanarToRGB888u8";
    const auto chromaRow = [=](uint32_t width) {
        return planar ? halved ? (width + 1) / 2 : width : halved ? width : width * 2;
    };
    const std::string chromaText = planar   ? halved ? "((srcWidth+1)/2*sizeof(uint8_t))" : "(srcWidth*sizeof(uint8_t))"
                                   : halved ? "(srcWidth*sizeof(uint8_t))"
                                            : "(srcWidth*2*sizeof(uint8_t))";
    std::string pointers = "srcY";
    std::string strides = "srcYStride=0";
    std::string condition = "srcY";
    std::string conditions = "( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) )";
    std::string refused = "srcY=0, dst=0, width=0, height=0, srcYStride=5, dstStride=" + number(6 * pixelBytes - 1);
    std::string packed = "width=7 srcYStride=7 dstStride=" + number(7 * pixelBytes);
    for (const std::string plane : planar ? std::vector{"srcCb", "srcCr"} : std::vector{"srcC"})
    {
        pointers.append(" ").append(plane).append(plane == "srcCr" ? "+9" : "+3");
        strides.append(" ").append(plane).append("Stride=0");
        condition += " && " + plane;
        const std::string stride = plane + "Stride";
        conditions.append(" && ( ").append(stride).append(" == 0 || ").append(stride).append(" >= ");
        conditions.append(chromaText).append(" )");
        refused.append(", ").append(plane).append("=0, ").append(stride).append("=").append(number(chromaRow(6) - 1));
        packed.append(" ").append(stride).append("=").append(number(chromaRow(7)));
    }
    // An odd width has half a sample more.
    refused += planar ? ", width=5 srcCbStride=2" : "";
    return {{name.c_str(), function, pointers + " width=6 height=4 " + strides + " dst dstStride=0"},
            condition + " && dst && srcWidth && srcHeight && " + conditions +
                " && ( dstStride == 0 || dstStride >= (srcWidth*" + number(pixelBytes) + "*sizeof(uint8_t)))" +
                (refusesOnePixel ? " && srcWidth > 1" : ""),
            refused + (refusesOnePixel ? ", width=1" : ""),
            packed,
            halved && !refusesOnePixel};
}

std::vector<Member> members()
{
#define FORMATS(layout, halved)                                                                               \
    member(VISORA_ENTRY(layout##ToRGB565u8), 2, halved), member(VISORA_ENTRY(layout##ToRGB888u8), 3, halved), \
        member(VISORA_ENTRY(layout##ToRGBA8888u8), 4, halved)
    return {FORMATS(vsrColorYCbCr444Planar, false),      FORMATS(vsrColorYCbCr422Planar, true),
            FORMATS(vsrColorYCbCr420Planar, true),       FORMATS(vsrColorYCbCr444PseudoPlanar, false),
            FORMATS(vsrColorYCbCr422PseudoPlanar, true), FORMATS(vsrColorYCbCr420PseudoPlanar, true)};
#undef FORMATS
}

// An odd width and an even height, so that every default differs from its neighbours.
TEST(ColorEntries, PlanarAndPseudoPlanarMembersRefuseAndTakeStridesOfZeroAsPacked)
{
    for (const Member& m : members())
    {
        m.entry.expectRefusedLogging(m.condition, m.refused);
        EXPECT_EQ(m.entry.output(m.packed), m.entry.output("width=7")) << m.entry.name();
    }
}

constexpr char kWhole[] = "src width=6 height=4 dst";
const EntryPoint kRotating = {VISORA_ENTRY(vsrColorYUV420toRGB565u8Rotate180), kWhole};
const EntryPoint kWhole8888 = {VISORA_ENTRY(vsrColorYUV420toRGB8888u8), kWhole};

TEST(ColorEntries, OtherMembersRefuse)
{
    const std::pair<EntryPoint, std::string> members[] = {
        {{VISORA_ENTRY(vsrColorYUV420toRGB565u8), kWhole}, "src"},
        {kRotating, "src"},
        {kWhole8888, "src"},
        {{VISORA_ENTRY(vsrColorYCrCbH1V1toRGB888u8), kWhole}, "src"},
        {{VISORA_ENTRY(vsrColorYCrCbH2V2toRGB888u8), kWhole}, "y_src"},
        {{VISORA_ENTRY(vsrColorYCrCbH2V1toRGB888u8), kWhole}, "ysrc"},
        {{VISORA_ENTRY(vsrColorYCrCbH1V2toRGB888u8), kWhole}, "ysrc"},
    };
    for (const auto& [entry, source] : members)
    {
        entry.expectRefusedLogging(source + " && dst && width && height", "src=0, dst=0, width=0, height=0");
    }
    const EntryPoint strided = {VISORA_ENTRY(vsrColorYCrCb420PseudoPlanarToRGB8888u8),
                                "src width=7 height=4 srcYStride=7 srcCStride=7 dst dstStride=28"};
    strided.expectRefusedLogging("src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride",
                                 "src=0, dst=0, width=0, height=0, srcYStride=0, srcCStride=0, dstStride=0");
    EXPECT_EQ(strided.output(), kWhole8888.output("width=7"));
}

TEST(ColorEntries, TheKindFollowsAlignmentAndSize)
{
    const EntryPoint planar = {VISORA_ENTRY(vsrColorYCbCr444PlanarToRGB565u8),
                               "srcY srcCb srcCr width=184 height=144 srcYStride=0 srcCbStride=0 srcCrStride=0 dst "
                               "dstStride=0"};
    planar.expectKept(vsrImplTable[120], VSR_IMPL_CDSP, "width=184, srcCb+8 width=176 srcYStride=184");
    // 176 x 144 is one pixel short of being worth it.
    planar.expectLeft(vsrImplTable[120], VSR_IMPL_CDSP,
                      "width=176, srcCb+4, width=180 srcYStride=184 srcCbStride=184, srcCbStride=188");
    kRotating.expectKept(vsrInternalImplTable[1], VSR_IMPL_CDSP, "width=192 height=144");
    kRotating.expectLeft(vsrInternalImplTable[1], VSR_IMPL_CDSP, "src+4 width=192 height=144, width=64 height=64");
    for (const VSR_IMPL kind : {VSR_IMPL_CDSP, VSR_IMPL_GPU})
    {
        kWhole8888.expectKept(vsrImplTable[136], kind, "width=8 height=2");
        kWhole8888.expectLeft(vsrImplTable[136], kind, "width=12, width=8 src+8, width=8 dst+8");
    }
}

TEST(ColorEntriesDeathTest, AWidthOfOneEndsTheProcessWhereChromaIsHalved)
{
    constexpr char kLine[] = "visora_lib_log: src/cpu/visoraColorC@[0-9]+: length > 1 Assertion failed";
    for (const Member& m : members())
    {
        if (m.stops)
        {
            EXPECT_EXIT(m.entry.call("width=1 height=2"), testing::ExitedWithCode(1), kLine) << m.entry.name();
        }
    }
    const uint8_t s[16] = {};
    uint8_t d[16];
    EXPECT_EXIT(vsrColorYCbCr422PlanarToRGB565u8V(s, s, s, 1, 2, 1, 1, 1, d, 2), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrColorYCbCr420PseudoPlanarToRGB888u8V(s, s, 1, 2, 1, 2, d, 3), testing::ExitedWithCode(1), kLine);
}

}  // namespace
}  // namespace visora::test
