// Entry points of the trackers: what they refuse, and what they do without work or without memory.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "visora/memory.h"
#include "visora/variants/track.h"

namespace visora::test
{
namespace
{

constexpr float kUntouched = -7.5f;
constexpr int32_t kNoStatus = 99;

// Two points of a picture of 32 x 24, and all that a tracker can be told.
struct Setting
{
    std::vector<uint8_t> pixels;
    std::vector<float> floats;
    const void* src1;
    const void* src2;
    vsrPyramidLevel packed[2];
    vsrPyramidLevel_v2 strided[2];
    bool pyramid1 = true;
    bool pyramid2 = true;
    float xy[4] = {12.5f, 11, 20, 13.25f};
    const float* featureXY = xy;
    float out[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
    float* featureXYOut = out;
    int32_t status[2] = {kNoStatus, kNoStatus};
    int32_t* featureStatus = status;
    int32_t count = 2;
    int32_t windowWidth = 9;
    int32_t windowHeight = 9;
    int32_t levels = 1;
    int32_t initial = 0;

    explicit Setting(bool isFloat) : pixels(32 * 24)
    {
        for (size_t i = 0; i < pixels.size(); ++i)
        {
            // A hill.
            const int x = static_cast<int>(i % 32) - 16;
            const int y = static_cast<int>(i / 32) - 12;
            pixels[i] = static_cast<uint8_t>(250 - (x * x + y * y) / 2);
            floats.push_back(pixels[i]);
        }
        void* base = isFloat ? static_cast<void*>(floats.data()) : pixels.data();
        src1 = src2 = base;
        packed[0] = {base, 32, 24};
        strided[0] = {base, 32, 24, isFloat ? 128u : 32u};
        packed[1] = {};
        strided[1] = {};
    }

    bool positionsUntouched() const { return std::vector(out, out + 4) == std::vector(4, kUntouched); }
    bool positionsCopied() const { return std::vector(out, out + 4) == std::vector(xy, xy + 4); }
    bool hasStatus(int32_t value) const { return status[0] == value && status[1] == value; }
};

struct Member
{
    std::string name;
    bool isFloat;
    std::function<vsrStatus(Setting&)> entry;
    std::function<vsrStatus(Setting&)> reference;
    std::function<vsrStatus(Setting&)> vector;
};

auto plain(decltype(&vsrTrackLKOpticalFlowu8) track)
{
    return [=](Setting& s)
    {
        return track(static_cast<const uint8_t*>(s.src1), static_cast<const uint8_t*>(s.src2), 32, 24,
                     s.pyramid1 ? s.packed : nullptr, s.pyramid2 ? s.packed : nullptr, s.featureXY, s.featureXYOut,
                     s.featureStatus, s.count, s.windowWidth, s.windowHeight, 30, s.levels);
    };
}

template <class Pixel, class Track, class... Extra>
auto strided(Track track, Extra... extra)
{
    return [=](Setting& s)
    {
        return track(static_cast<const Pixel*>(s.src1), static_cast<const Pixel*>(s.src2), 32, 24, 0,
                     s.pyramid1 ? s.strided : nullptr, s.pyramid2 ? s.strided : nullptr, s.featureXY, s.featureXYOut,
                     s.featureStatus, s.count, s.windowWidth, s.windowHeight, 30, s.levels, extra...);
    };
}

auto guided(decltype(&vsrTrackLKOpticalFlowu8_v3) track)
{
    return [=](Setting& s) { return strided<uint8_t>(track, 0, 0.0f, s.initial)(s); };
}

const Member kMembers[] = {
    {"vsrTrackLKOpticalFlowu8", false, plain(vsrTrackLKOpticalFlowu8), plain(vsrTrackLKOpticalFlowu8C),
     plain(vsrTrackLKOpticalFlowu8V)},
    {"vsrTrackLKOpticalFlowu8_v2", false, strided<uint8_t>(vsrTrackLKOpticalFlowu8_v2),
     strided<uint8_t>(vsrTrackLKOpticalFlowu8_v2C), strided<uint8_t>(vsrTrackLKOpticalFlowu8_v2V)},
    {"vsrTrackLKOpticalFlowu8_v3", false, guided(vsrTrackLKOpticalFlowu8_v3), guided(vsrTrackLKOpticalFlowu8_v3C),
     guided(vsrTrackLKOpticalFlowu8_v3V)},
    {"vsrTrackLKOpticalFlowf32", true, strided<float>(vsrTrackLKOpticalFlowf32),
     strided<float>(vsrTrackLKOpticalFlowf32C), strided<float>(vsrTrackLKOpticalFlowf32V)},
};

// Every member's entry point and both variants.
void forEachFunction(const std::function<void(const Member&, const std::function<vsrStatus(Setting&)>&)>& check)
{
    for (const Member& member : kMembers)
    {
        for (const auto& function : {member.entry, member.reference, member.vector})
        {
            SCOPED_TRACE(member.name);
            check(member, function);
        }
    }
}

TEST(TrackEntries, RefuseBadArgumentsAndWriteNothing)
{
    const std::string condition =
        "src1 && src2 && src1Pyr && src2Pyr && featureXY && featureXY_out && featureStatus && (windowWidth & 0x1) && "
        "(windowHeight & 0x1)";
    const std::function<void(Setting&)> spoilers[] = {
        [](Setting& s) { s.src1 = nullptr; },          [](Setting& s) { s.src2 = nullptr; },
        [](Setting& s) { s.pyramid1 = false; },        [](Setting& s) { s.pyramid2 = false; },
        [](Setting& s) { s.featureXY = nullptr; },     [](Setting& s) { s.featureXYOut = nullptr; },
        [](Setting& s) { s.featureStatus = nullptr; }, [](Setting& s) { s.windowWidth = 8; },
        [](Setting& s) { s.windowHeight = 0; },
    };
    for (const Member& member : kMembers)
    {
        for (size_t i = 0; i < std::size(spoilers); ++i)
        {
            Setting setting(member.isFloat);
            spoilers[i](setting);
            LogCapture log(-4);
            EXPECT_EQ(static_cast<vsrStatus>(-4), member.entry(setting)) << member.name << ", case " << i;
            EXPECT_EQ(std::vector{refusal(member.name, condition)}, log.take());
            EXPECT_TRUE(setting.positionsUntouched() && setting.hasStatus(kNoStatus)) << member.name << ", case " << i;
        }
    }
}

TEST(TrackEntries, CopyPositionsAndTrackUnlessTheTrackerRefuses)
{
    struct Case
    {
        std::function<void(Setting&)> change;
        int32_t status;
    };
    const Case cases[] = {
        {[](Setting&) {}, VISORA_TRACK_FOUND},
        {[](Setting& s) { s.levels = 0; }, VISORA_TRACK_FOUND},
        {[](Setting& s) { s.levels = -1; }, kNoStatus},
        {[](Setting& s) { s.windowWidth = 3; }, kNoStatus},
        {[](Setting& s) { s.windowHeight = 1; }, kNoStatus},
        {[](Setting& s) { s.windowWidth = -9; }, kNoStatus},
        {[](Setting& s) { s.windowWidth = s.windowHeight = 0x7fffffff; }, kNoStatus},
    };
    forEachFunction(
        [&](const Member& member, const auto& function)
        {
            for (const Case& c : cases)
            {
                Setting setting(member.isFloat);
                c.change(setting);
                EXPECT_EQ(0u, function(setting));
                EXPECT_TRUE(setting.positionsCopied() && setting.hasStatus(c.status)) << &c - cases;
            }
            Setting setting(member.isFloat);
            setting.count = 0;
            EXPECT_EQ(0u, function(setting));
            EXPECT_TRUE(setting.positionsUntouched() && setting.hasStatus(kNoStatus));
        });
}

// Scratch memory that runs out after some buffers and notices what is not given back.
int buffersLeft;
int buffersLent;

void* lendSome(size_t size, uint32_t alignment)
{
    if (buffersLeft == 0)
    {
        return nullptr;
    }
    --buffersLeft;
    ++buffersLent;
    return vsrGetScratchBufferAlignedC(size, alignment);
}

void takeBack(void* buffer)
{
    buffersLent -= buffer != nullptr;
    vsrReleaseScratchBufferC(buffer);
}

TEST(TrackEntries, OnlyCopyPositionsWithoutScratchMemory)
{
    vsrGetScratchBufferAligned_ = lendSome;
    vsrReleaseScratchBuffer_ = takeBack;
    forEachFunction(
        [](const Member& member, const auto& function)
        {
            const int needed = member.name == "vsrTrackLKOpticalFlowu8" ? 3 : 1;
            for (int buffers = 0; buffers <= needed; ++buffers)
            {
                Setting setting(member.isFloat);
                buffersLeft = buffers;
                buffersLent = 0;
                EXPECT_EQ(0u, function(setting));
                EXPECT_TRUE(setting.positionsCopied() &&
                            setting.hasStatus(buffers < needed ? kNoStatus : VISORA_TRACK_FOUND))
                    << buffers;
                EXPECT_EQ(0, buffersLent);
            }
        });
    vsrGetScratchBufferAligned_ = vsrGetScratchBufferAlignedC;
    vsrReleaseScratchBuffer_ = vsrReleaseScratchBufferC;
}

TEST(TrackEntries, StartWhereTheCallerSays)
{
    for (const auto& function : {kMembers[2].entry, kMembers[2].reference, kMembers[2].vector})
    {
        // A tracker that refuses leaves the guess.
        Setting setting(false);
        setting.initial = 1;
        setting.windowWidth = 3;
        EXPECT_EQ(0u, function(setting));
        EXPECT_TRUE(setting.positionsUntouched());
        // From half a pixel away the points come home, from outside the image they are lost.
        setting.windowWidth = 9;
        const float guess[] = {12.75f, 11.25f, 60, 13};
        std::copy_n(guess, 4, setting.out);
        EXPECT_EQ(0u, function(setting));
        EXPECT_EQ(VISORA_TRACK_FOUND, setting.status[0]);
        EXPECT_NEAR(12.5f, setting.out[0], 0.05);
        EXPECT_NEAR(11, setting.out[1], 0.05);
        EXPECT_EQ(VISORA_TRACK_OUTSIDE, setting.status[1]);
        EXPECT_EQ(60, setting.out[2]);
    }
}

// ---- The tracker itself ----

TEST(TrackEntries, TheTrackerRefusesWhatItCannotUse)
{
    struct Direct
    {
        Setting setting{false};
        std::vector<uint64_t> memory = std::vector<uint64_t>(1000);
        void* scratch = memory.data();
        size_t scratchSize = 20 + 4 * (11 * 11 + 3 * 9 * 9);
        int32_t hw = 4;
        int32_t hh = 4;

        void run()
        {
            Setting& s = setting;
            std::copy_n(s.xy, 4, s.out);
            lkOpticalFlow_v3(static_cast<const uint8_t*>(s.src1), static_cast<const uint8_t*>(s.src2),
                             s.pyramid1 ? s.strided : nullptr, s.pyramid2 ? s.strided : nullptr, s.featureXY,
                             s.featureXYOut, s.featureStatus, s.count, hw, hh, 30, s.levels, scratch, scratchSize, 0,
                             0);
        }
    };
    const std::function<void(Direct&)> spoilers[] = {
        [](Direct& d) { d.scratch = nullptr; },
        [](Direct& d) { d.setting.pyramid1 = false; },
        [](Direct& d) { d.setting.pyramid2 = false; },
        [](Direct& d) { d.setting.featureXY = nullptr; },
        [](Direct& d) { d.setting.featureXYOut = nullptr; },
        [](Direct& d) { d.setting.count = 0; },
        [](Direct& d) { d.setting.count = -1; },
        [](Direct& d) { d.hw = 1; },
        [](Direct& d) { d.hh = 1; },
        [](Direct& d) { d.setting.levels = -1; },
        [](Direct& d) { --d.scratchSize; },
        [](Direct& d) { ++d.setting.levels; },
        [](Direct& d) { d.hw = 0x3fffffff, d.hh = 0x3fffffff; },
    };
    for (size_t i = 0; i < std::size(spoilers); ++i)
    {
        Direct direct;
        spoilers[i](direct);
        direct.run();
        EXPECT_TRUE(direct.setting.hasStatus(kNoStatus)) << i;
    }
    Direct direct;
    direct.setting.featureStatus = nullptr;
    direct.run();
    direct.setting.featureStatus = direct.setting.status;
    direct.run();
    EXPECT_TRUE(direct.setting.hasStatus(VISORA_TRACK_FOUND) && direct.setting.positionsCopied());
}

}  // namespace
}  // namespace visora::test
