// Entry points of the corner detectors: what they refuse and what they fill in.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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
    std::vector<uint8_t> pixels;
    std::vector<uint8_t> mask;
    std::vector<uint32_t> xy;
    std::vector<uint32_t> scores;
    std::vector<uint32_t> work;
    uint32_t count = kUntouched;

    Scene()
        : pixels(44 * 30), mask(5 * 30), xy(2400, kUntouched), scores(1200, kUntouched), work(3 * 1200 + 30, kUntouched)
    {
        Random random(4);
        for (uint8_t& pixel : pixels)
        {
            pixel = static_cast<uint8_t>(random.next());
        }
    }

    CornerCall call()
    {
        return {pixels.data(), 40,     30,          44, 20, 3, xy.data(),  scores.data(),
                1200,          &count, mask.data(), 40, 30, 1, work.data()};
    }

    bool untouched() const
    {
        const auto all = [](const std::vector<uint32_t>& words)
        { return std::all_of(words.begin(), words.end(), [](uint32_t word) { return word == kUntouched; }); };
        return all(xy) && all(scores) && all(work) && count == kUntouched;
    }
};

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

TEST(CornerEntries, RefuseBadArgumentsAndWriteNothing)
{
    struct Case
    {
        const char* what;
        std::function<void(CornerCall&)> spoil;
        bool onlyScores = false;
        bool onlyMasks = false;
    };
    const Case cases[] = {
        {"no image", [](CornerCall& c) { c.src = nullptr; }},
        {"no list", [](CornerCall& c) { c.xy = nullptr; }},
        {"no count", [](CornerCall& c) { c.count = nullptr; }},
        {"no scores", [](CornerCall& c) { c.scores = nullptr; }, true, false},
        {"no mask", [](CornerCall& c) { c.mask = nullptr; }, false, true},
        {"stride below a row", [](CornerCall& c) { c.stride = 39; }},
        {"border as wide as half the height", [](CornerCall& c) { c.border = 15; }},
        {"border as wide as half the width", [](CornerCall& c) { c.border = 3, c.width = 6, c.stride = 6; }},
        {"border that overflows when doubled", [](CornerCall& c) { c.border = 0x80000001; }},
        {"raised border fills the height", [](CornerCall& c) { c.border = 0, c.height = 6; }},
        {"no size", [](CornerCall& c) { c.width = 0, c.height = 0; }},
    };
    for (const CornerMember& member : cornerMembers())
    {
        for (const Case& c : cases)
        {
            if ((c.onlyScores && !member.scores) || (c.onlyMasks && !member.masks))
            {
                continue;
            }
            for (const int result : {7, -5})
            {
                Scene scene;
                CornerCall call = scene.call();
                c.spoil(call);
                LogCapture log(result);
                EXPECT_EQ(static_cast<vsrStatus>(result), member.entry(call)) << member << ", " << c.what;
                EXPECT_EQ(std::vector{refusal(member.name, condition(member))}, log.take()) << c.what;
                EXPECT_TRUE(scene.untouched()) << member << ", " << c.what;
            }
        }
    }
}

TEST(CornerEntries, TakeSmallBordersAsThree)
{
    for (const CornerMember& member : cornerMembers())
    {
        Scene three;
        EXPECT_EQ(0u, member.entry(three.call()));
        EXPECT_GT(three.count, 10u) << member;
        for (const uint32_t border : {0u, 1u, 2u})
        {
            Scene scene;
            CornerCall call = scene.call();
            call.border = border;
            EXPECT_EQ(0u, member.entry(call));
            EXPECT_EQ(three.xy, scene.xy) << member << ", border " << border;
        }
    }
}

TEST(CornerEntries, TakeStrideZeroAsPacked)
{
    for (const CornerMember& member : cornerMembers())
    {
        Scene packed;
        CornerCall call = packed.call();
        call.stride = 40;
        EXPECT_EQ(0u, member.entry(call));
        Scene zero;
        call = zero.call();
        call.stride = 0;
        EXPECT_EQ(0u, member.entry(call));
        EXPECT_EQ(packed.xy, zero.xy) << member;
        EXPECT_GT(zero.count, 10u) << member;
    }
}

TEST(CornerEntries, WriteOnlyTheCountWithoutRoomForCorners)
{
    for (const CornerMember& member : cornerMembers())
    {
        for (const CornerFunction function : {member.entry, member.vector})
        {
            Scene scene;
            CornerCall call = scene.call();
            call.capacity = 0;
            EXPECT_EQ(0u, function(call));
            EXPECT_EQ(0u, scene.count) << member;
            scene.count = kUntouched;
            EXPECT_TRUE(scene.untouched()) << member;
        }
    }
}

TEST(CornerEntries, SuppressionNeedsAWorkBuffer)
{
    const auto line = [](const std::string& name) -> std::string
    {
        return name == "vsrCornerFast9Scoreu8_v2"         ? "src/cpu/visoraFastC@3097"
               : name == "vsrCornerFast9InMaskScoreu8_v2" ? "src/cpu/visoraFastC@3143"
               : name == "vsrCornerFast10Scoreu8"         ? "src/cpu/visoraFast10C@1529"
                                                          : "src/cpu/visoraFast10C@1653";
    };
    for (const CornerMember& member : cornerMembers())
    {
        if (!member.suppresses)
        {
            continue;
        }
        Scene scene;
        CornerCall call = scene.call();
        call.workBuffer = nullptr;
        for (const CornerFunction function : {member.entry, member.reference, member.vector})
        {
            call.suppress = 1;
            EXPECT_EXIT(function(call), testing::ExitedWithCode(1),
                        "visora_lib_log: " + line(member.name) + ": tempBuf Assertion failed");
            call.suppress = 0;
            EXPECT_EQ(0u, function(call)) << member;
        }
    }
}

}  // namespace
}  // namespace visora::test
