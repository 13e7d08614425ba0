// Every variant of every operation gives the reference's bytes and writes nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "support/instruction_sets.h"
#include "support/operations.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kLargestSide = 200;

#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
#define VISORA_IS_SANITIZED true
#endif
#endif
#ifndef VISORA_IS_SANITIZED
#define VISORA_IS_SANITIZED false
#endif

// References read elements where they are; the sanitizer does not know that our processors let them.
constexpr bool kBetweenElements = !VISORA_IS_SANITIZED;

// Every width once, then, where no sanitizer slows calls down, any size.
constexpr uint64_t kRounds = VISORA_IS_SANITIZED ? kLargestSide : 2 * kLargestSide;

Shape randomShape(uint64_t round, Random& random)
{
    const uint32_t width = round < kLargestSide ? static_cast<uint32_t>(round) + 1 : random.between(1, kLargestSide);
    Shape shape{width, random.between(1, random.oneIn(8) ? kLargestSide : 16)};
    shape.srcPadding = random.oneIn(2) ? 0 : random.between(0, 40);
    shape.dstPadding = random.oneIn(2) ? 0 : random.between(0, 40);
    shape.offset = random.between(0, 70);
    shape.flushWithEnd = random.oneIn(2);
    shape.betweenElements = kBetweenElements && random.oneIn(4);
    return shape;
}

class Variants : public testing::TestWithParam<Operation>
{
};

// Whether the operation had a call of this shape.
bool givesTheReferencesBytes(const Operation& operation, const Shape& shape, uint64_t seed)
{
    Arguments arguments(shape, seed);
    operation.prepare(arguments);
    if (!arguments.hasCall())
    {
        return false;
    }
    arguments.fillInputs(static_cast<Values>(seed % 3));
    const uint64_t status = arguments.runFresh(operation.reference);
    const std::vector<uint8_t> expected = arguments.outputs();
    const std::string where = operation.name + " " + operation.label + " " + std::to_string(shape.width) + "x" +
                              std::to_string(shape.height) + " seed " + std::to_string(seed) + " ";
    EXPECT_EQ("", arguments.strayWrite()) << where;
    for (const int64_t set : instructionSets())
    {
        const UseInstructionSet use(set);
        EXPECT_EQ(status, arguments.runFresh(operation.vector)) << where << hwy::TargetName(set);
        EXPECT_EQ("", arguments.strayWrite()) << where << hwy::TargetName(set);
        EXPECT_TRUE(expected == arguments.outputs()) << where << hwy::TargetName(set);
    }
    return true;
}

TEST_P(Variants, GiveTheReferencesBytes)
{
    const Operation& operation = GetParam();
    ASSERT_FALSE(instructionSets().empty());
    int calls = 0;
    for (uint64_t seed = 0; seed < kRounds && !HasFailure(); ++seed)
    {
        Random random(seed);
        calls += givesTheReferencesBytes(operation, randomShape(seed, random), seed);
    }
    EXPECT_GT(calls, HasFailure() ? 0 : static_cast<int>(kRounds / 4));
}

// What caches cannot hold is written past them by whole lines of theirs, on the processors that need it.
TEST(LargeImages, GiveTheReferencesBytes)
{
    const auto size = [](uint32_t width, uint32_t height) {
        return std::pair{width, HWY_ARCH_X86 ? height : height / 64};
    };
    const auto usual = size(3533, 3011);
    const auto wholeLines = size(2752, 2056);
    const std::map<std::string, std::pair<uint32_t, uint32_t>> sizes = {
        {"vsrAbsDiffu8", usual},
        {"vsrAbsDiffScalaru8", usual},
        {"vsrChannelCombine3u8", wholeLines},
        {"vsrChannelCombine4u8", usual},
        {"vsrColorRGB565ToRGB888u8", usual},
        {"vsrColorRGB888ToBGR888u8", wholeLines},
        {"vsrColorRGB888ToBGRA8888u8", wholeLines},
        {"vsrColorRGB888ToRGB565u8", wholeLines},
        {"vsrColorRGB888ToYCbCr420Planaru8", usual},
        {"vsrColorRGBA8888ToBGRA8888u8", wholeLines},
        {"vsrColorRGBA8888ToGrayu8", wholeLines},
        {"vsrColorRGBA8888ToRGB888u8", wholeLines},
        {"vsrColorRGBA8888ToYCbCr422PseudoPlanaru8", usual},
        {"vsrColorYCbCr420PlanarToRGB888u8", wholeLines},
        {"vsrColorYCbCr420PlanarToYCbCr444PseudoPlanaru8", usual},
        {"vsrColorYCbCr422PlanarToYCbCr422PseudoPlanaru8", usual},
        {"vsrColorYCbCr444PlanarToYCbCr444PseudoPlanaru8", wholeLines},
        {"vsrColorYCbCr444PseudoPlanarToYCbCr420Planaru8", usual},
        {"vsrColorYCbCr444PseudoPlanarToYCbCr444Planaru8", wholeLines},
        {"vsrColorYCrCbH2V2toRGB888u8", wholeLines},
        {"vsrConvertu8f32", usual},
        {"vsrFFTf32complex_rows", size(512, 1031)},
        {"vsrFlipu16", usual},
        {"vsrFlipu8four_channels", usual},
        {"vsrFlipu8three_channels", usual},
        {"vsrIFFTf32", size(512, 2048)},
        {"vsrImageIntensityHistogram_v2", {609, 451}},
        {"vsrIntegrateImageu8", size(3533, 1501)},
        {"vsrRotateImageInterleavedu8", usual},
        {"vsrRotatePlaneu8", usual},
        {"vsrScaleUpBy2u8", usual},
        {"vsrTransposef32", usual},
        {"vsrTransposeu8", usual},
    };
    // Lines begin with a row, or within it at a pixel, or nowhere at one.
    constexpr uint32_t kOffsets[] = {0, 12, 13}, kPaddings[] = {0, 20, 7};
    std::map<std::string, size_t> calls;
    for (const Operation& operation : operations())
    {
        const auto found = sizes.find(operation.name + operation.label);
        for (uint64_t seed = 0; seed < std::size(kOffsets) && found != sizes.end(); ++seed)
        {
            Shape shape{found->second.first, found->second.second};
            shape.offset = kOffsets[seed];
            shape.srcPadding = shape.dstPadding = kPaddings[seed];
            shape.betweenElements = kBetweenElements && seed == 2;
            calls[found->first] += givesTheReferencesBytes(operation, shape, seed);
        }
    }
    for (const auto& [name, any] : sizes)
    {
        EXPECT_EQ(std::size(kOffsets), calls[name]) << name;
    }
}

// Windows are taken in strips of columns where these are many.
TEST(WideImages, GiveTheReferencesBytes)
{
    const std::set<std::string> names = {"vsrFilterErodeNxNu8", "vsrFilterOpenNxNu8", "vsrFilterTopHatNxNu8"};
    constexpr uint64_t kRounds = 30;
    int calls = 0;
    for (const Operation& operation : operations())
    {
        for (uint64_t seed = 0; seed < kRounds && names.contains(operation.name) && !HasFailure(); ++seed)
        {
            Random random(seed);
            Shape shape{random.between(kLargestSide, 5 * kLargestSide), random.between(1, 100)};
            shape.srcPadding = shape.dstPadding = random.between(0, 40);
            shape.flushWithEnd = random.oneIn(2);
            calls += givesTheReferencesBytes(operation, shape, seed);
        }
    }
    EXPECT_LE(kRounds * names.size(), static_cast<size_t>(calls));
}

std::string testName(const testing::TestParamInfo<Operation>& info)
{
    return info.param.name + (info.param.label.empty() ? "" : "_" + info.param.label);
}

INSTANTIATE_TEST_SUITE_P(Operations, Variants, testing::ValuesIn(operations()), testName);

// Registration is by static objects of other files, so the list is complete only once main has begun.
TEST(VariantList, HasEveryOperationWithAVectorVariant)
{
    std::set<std::string> listed;
    std::transform(operations().begin(), operations().end(), std::inserter(listed, listed.end()),
                   [](const Operation& operation) { return operation.name; });
    std::set<std::string> built;
    const auto add = [&](const char* operation, const std::string& variant)
    {
        if (variant == "V")
        {
            built.insert(operation);
        }
        else
        {
            // Listed for other tests.
            listed.erase(operation);
        }
    };
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) add(#operation, #variant);
#define VSR_INTERNAL(row, operation, entry, variant, dsp) add(#operation, #variant);
#include "visora/operations/all.def"
    // Services of the DSP rather than kernels.
    built.erase("probeK6Time");
    built.erase("vsrRegisterBuf");
    EXPECT_EQ(built, listed);
}

}  // namespace
}  // namespace visora::test
