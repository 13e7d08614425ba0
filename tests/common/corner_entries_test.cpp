// Entry points of the corner detectors: what they refuse and what they fill in.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "support/corner_members.h"
#include "support/log_capture.h"
#include "support/random.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kUntouched = 0xabababab;

// A noisy image of 40 x 30, 44 bytes a row, and lists for its corners.
struct Scene
{
    std::vector<uint8_t> pixels = std::vector<uint8_t>(44 * 30);
    std::vector<uint8_t> mask = std::vector<uint8_t>(5 * 30);
    std::vector<uint32_t> xy = std::vector<uint32_t>(2400, kUntouched);
    std::vector<uint32_t> scores = std::vector<uint32_t>(1200, kUntouched);
    std::vector<uint32_t> work = std::vector<uint32_t>(3 * 1200 + 30, kUntouched);
    uint32_t count = kUntouched;
    CornerCall call = {pixels.data(), 40,     30,          44, 20, 3, xy.data(),  scores.data(),
                       1200,          &count, mask.data(), 40, 30, 1, work.data()};

    Scene()
    {
        Random random(4);
        std::generate(pixels.begin(), pixels.end(), [&] { return static_cast<uint8_t>(random.next()); });
    }
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    void expectListsUntouched(const std::string& where) const
    {
        for (const std::vector<uint32_t>& list : {xy, scores, work})
        {
            EXPECT_EQ(std::vector(list.size(), kUntouched), list) << where;
        }
    }
};

using Change = void (*)(CornerCall&);

// The condition that a member logs when it refuses.
std::string condition(const CornerMember& member)
{
    const bool nine = member.arc == 9;
    const std::string stride = nine ? "stride" : "srcStride";
    const std::string width = nine ? "width" : "srcWidth";
    const std::string height = nine ? "height" : "srcHeight";
    return "src && xy && " + std::string(member.scores ? "scores && " : "") + (nine ? "numcorners" : "nCorners") +
           (member.masks ? (nine ? " && bitMask" : " && mask") : "") + " && " + stride + " >= " + width +
           " && border*2 < " + width + " && border*2 < " + height;
}

TEST(CornerEntries, RefuseBordersThatLeaveNoPixels)
{
    const struct
    {
        std::string what;
        Change spoil;
    } cases[] = {
        {"border as wide as half the height", [](CornerCall& c) { c.border = 15; }},
        {"border as wide as half the width", [](CornerCall& c) { c.border = 3, c.width = 6, c.stride = 6; }},
        {"border that overflows when doubled", [](CornerCall& c) { c.border = 0x80000001; }},
        {"raised border fills the height", [](CornerCall& c) { c.border = 0, c.height = 6; }},
        {"no size", [](CornerCall& c) { c.width = 0, c.height = 0; }},
    };
    for (const CornerMember& member : cornerMembers())
    {
        for (const auto& [what, spoil] : cases)
        {
            for (const int result : {7, -5})
            {
                const std::string where = member.name + ", " + what;
                Scene scene;
                spoil(scene.call);
                LogCapture log(result);
                EXPECT_EQ(static_cast<vsrStatus>(result), member.entry(scene.call)) << where;
                EXPECT_EQ(std::vector{refusal(member.name, condition(member))}, log.take()) << where;
                EXPECT_EQ(kUntouched, scene.count) << where;
                scene.expectListsUntouched(where);
            }
        }
    }
}

TEST(CornerEntries, TakeSmallBordersAsThreeAndStrideZeroAsPacked)
{
    const Change changes[][2] = {
        {[](CornerCall&) {}, [](CornerCall& c) { c.border = 0; }},
        {[](CornerCall&) {}, [](CornerCall& c) { c.border = 1; }},
        {[](CornerCall&) {}, [](CornerCall& c) { c.border = 2; }},
        {[](CornerCall& c) { c.stride = 40; }, [](CornerCall& c) { c.stride = 0; }},
    };
    for (const CornerMember& member : cornerMembers())
    {
        for (const auto& [change, defaulting] : changes)
        {
            Scene expected, actual;
            change(expected.call);
            defaulting(actual.call);
            EXPECT_EQ(0u, member.entry(expected.call)) << member;
            EXPECT_EQ(0u, member.entry(actual.call)) << member;
            EXPECT_EQ(expected.xy, actual.xy) << member;
            EXPECT_GT(actual.count, 10u) << member;
        }
    }
}

TEST(CornerEntries, WriteOnlyTheCountWithoutRoomForCorners)
{
    for (const CornerMember& member : cornerMembers())
    {
        for (const CornerFunction function : {member.entry, member.vector})
        {
            Scene scene;
            scene.call.capacity = 0;
            EXPECT_EQ(0u, function(scene.call));
            EXPECT_EQ(0u, scene.count) << member;
            scene.expectListsUntouched(member.name);
        }
    }
}

TEST(CornerEntries, SuppressionNeedsAWorkBuffer)
{
    const std::map<std::string, std::string> lines = {
        {"vsrCornerFast9Scoreu8_v2", "src/cpu/visoraFastC@3097"},
        {"vsrCornerFast9InMaskScoreu8_v2", "src/cpu/visoraFastC@3143"},
        {"vsrCornerFast10Scoreu8", "src/cpu/visoraFast10C@1529"},
        {"vsrCornerFast10InMaskScoreu8", "src/cpu/visoraFast10C@1653"},
    };
    for (const CornerMember& member : cornerMembers())
    {
        for (const CornerFunction function : {member.entry, member.reference, member.vector})
        {
            if (!member.suppresses)
            {
                continue;
            }
            Scene scene;
            scene.call.workBuffer = nullptr;
            EXPECT_EXIT(function(scene.call), testing::ExitedWithCode(1),
                        "visora_lib_log: " + lines.at(member.name) + ": tempBuf Assertion failed");
            scene.call.suppress = 0;
            EXPECT_EQ(0u, function(scene.call)) << member;
        }
    }
}

}  // namespace
}  // namespace visora::test
