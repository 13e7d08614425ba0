// The road of every offloaded call: domain, channel, remote arguments, result, and what happens when the DSP fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "kdsp_rpc/scripted_operations.h"
#include "support/log_capture.h"
#include "support/operations.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint64_t kHandles[] = {11, 12, 13};

// Open channels, no constraints, the vector variants in their column and no references in theirs; afterwards everything
// as it was.
class Offload : public testing::Test
{
  protected:
    Offload()
    {
        std::copy(std::begin(vsrFuncTable), std::end(vsrFuncTable), std::begin(functions_));
        std::copy(std::begin(vsrInternalFuncTable), std::end(vsrInternalFuncTable), std::begin(internalFunctions_));
        uVTable(VSR_IMPL_VECTA);
        for (size_t row = 0; row < VSR_ROW_COUNT; ++row)
        {
            vsrFuncTable[row * VSR_KIND_COUNT] = nullptr;
        }
        adsp_domain_handle = kHandles[0];
        cdsp_domain_handle = kHandles[1];
        mdsp_domain_handle = kHandles[2];
        k6AbstractionConstraintFlag = 0;
    }

    ~Offload() override
    {
        std::copy(std::begin(functions_), std::end(functions_), std::begin(vsrFuncTable));
        std::copy(std::begin(internalFunctions_), std::end(internalFunctions_), std::begin(vsrInternalFuncTable));
        adsp_domain_handle = cdsp_domain_handle = mdsp_domain_handle = 0;
        k6AbstractionConstraintFlag = 1;
        setDefaultDSPValue(1);
    }

  private:
    VSR_FUNC_TABLE functions_;
    VSR_INTERNAL_FUNC_TABLE internalFunctions_;
};

// ---- Every operation ----

class OffloadEvery : public Offload, public testing::WithParamInterface<Operation>
{
  protected:
    /** Prepares a call on a random shape; false when the operation has none for it. */
    bool prepare(uint64_t seed)
    {
        Random random(seed);
        Shape shape{random.between(1, 90), random.between(1, 40)};
        shape.srcPadding = random.oneIn(2) ? 0 : random.between(0, 40);
        shape.dstPadding = random.oneIn(2) ? 0 : random.between(0, 40);
        shape.offset = random.between(0, 70);
        arguments.emplace(shape, seed);
        GetParam().prepare(*arguments);
        return arguments->hasCall();
    }

    /** Each buffer's length covers what the operation reads or writes of it. Not so for what records point to. */
    void expectLengthsCover(const RemoteCall& call) const
    {
        if (GetParam().name.find("YCbCr420") != std::string::npos && arguments->shape().height % 2 == 1)
        {
            return;  // the row beyond the image that the kernels convert is none of the DSP's
        }
        for (const auto& [address, bytes] : arguments->spans())
        {
            const auto is = [&, start = address](const RemoteCall::Buffer& buffer) { return buffer.address == start; };
            const auto buffer = std::find_if(call.buffers.begin(), call.buffers.end(), is);
            if (buffer != call.buffers.end())
            {
                EXPECT_GE(buffer->bytes, bytes);
            }
        }
    }

    std::optional<Arguments> arguments;
};

constexpr uint64_t kRounds = 60;

TEST_P(OffloadEvery, GivesTheReferencesResultWhateverTheDspSays)
{
    const Offloaded& offloaded = *offloadedOperation(GetParam().name);
    const VSR_FUNC pinned[] = {offloaded.adsp, offloaded.cdsp, offloaded.mdsp};
    ScriptedOperations dsp;
    int calls = 0;
    for (uint64_t seed = 0; seed < kRounds; ++seed)
    {
        if (!prepare(seed))
        {
            continue;
        }
        ++calls;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const uint64_t status = arguments->runFresh(GetParam().reference);
        const std::vector<uint8_t> expected = arguments->outputs();
        const auto domain = static_cast<int32_t>(seed % 3);
        setDefaultDSPValue(domain);

        for (const int32_t answer : {0, 7, -1})
        {
            // A DSP that fails has nothing to do with the result: the vector variant has.
            dsp.answer(offloaded.name + "K", {answer});
            const bool handsFailureOn = offloaded.forwards && answer != 0;
            for (const VSR_FUNC routine : {offloaded.perCall, pinned[domain]})
            {
                const uint64_t result = arguments->runFresh(routine);
                ASSERT_EQ(handsFailureOn ? static_cast<uint32_t>(answer) : status, result) << "answer " << answer;
                ASSERT_TRUE(handsFailureOn || expected == arguments->outputs()) << "answer " << answer;
                ASSERT_EQ("", arguments->strayWrite());
                const std::vector<RemoteCall> seen = dsp.takeRemoteCalls();
                ASSERT_EQ(1u, seen.size()) << "a failure is not tried again";
                ASSERT_EQ(kHandles[domain], seen[0].handle);
                expectLengthsCover(seen[0]);
            }
        }
    }
    EXPECT_GT(calls, static_cast<int>(kRounds / 4));
}

TEST_P(OffloadEvery, WithoutADomainOnlyTheSelectorLogs)
{
    const Offloaded& offloaded = *offloadedOperation(GetParam().name);
    ScriptedOperations dsp;
    for (uint64_t seed = 0; !prepare(seed); ++seed)
    {
    }
    arguments->freshen();
    const std::vector<uint8_t> untouched = arguments->outputs();
    for (const int32_t domain : {5, 3, -1})
    {
        setDefaultDSPValue(domain);
        LogCapture log;
        EXPECT_EQ(uint64_t{VISORA_EHWFAIL}, arguments->run(offloaded.perCall));
        EXPECT_EQ(std::vector{noDomain(offloaded.name + "K")}, log.take());
        EXPECT_TRUE(untouched == arguments->outputs());
        EXPECT_TRUE(dsp.takeRemoteCalls().empty());
    }
}

std::vector<Operation> offloadable()
{
    std::vector<Operation> all;
    std::copy_if(operations().begin(), operations().end(), std::back_inserter(all),
                 [](const Operation& operation) { return offloadedOperation(operation.name); });
    return all;
}

std::string testName(const testing::TestParamInfo<Operation>& info)
{
    return info.param.name + (info.param.label.empty() ? "" : "_" + info.param.label);
}

INSTANTIATE_TEST_SUITE_P(Operations, OffloadEvery, testing::ValuesIn(offloadable()), testName);

TEST(OffloadTable, FillersTakeTheRoutines)
{
    using Filler = vsrStatus (*)(VSR_FUNC_MANAGER*, VSR_IMPL);
    constexpr std::pair<Filler, VSR_FUNC Offloaded::*> kColumns[] = {{uKTable, &Offloaded::perCall},
                                                                     {uKaTable, &Offloaded::adsp},
                                                                     {uKcTable, &Offloaded::cdsp},
                                                                     {uKmTable, &Offloaded::mdsp}};
    for (const auto& [fill, routine] : kColumns)
    {
        VSR_FUNC_TABLE functions = {};
        VSR_INTERNAL_FUNC_TABLE internalFunctions = {};
        VSR_FUNC_MANAGER manager = {vsrImplTable,           VSR_ROW_COUNT,      &functions,    vsrInternalImplTable,
                                    VSR_INTERNAL_ROW_COUNT, &internalFunctions, VSR_KIND_COUNT};
        ASSERT_EQ(0u, fill(&manager, VSR_IMPL_MDSP));
        std::set<std::string> filled;
        const auto check = [&, routine = routine](const char* name, const VSR_FUNC* row)
        {
            const Offloaded* offloaded = name ? offloadedOperation(name) : nullptr;
            if (offloaded)
            {
                filled.insert(name);
                EXPECT_EQ(offloaded->*routine, row[VSR_IMPL_MDSP]) << name;
            }
            EXPECT_TRUE(std::all_of(row, row + VSR_IMPL_MDSP, [](VSR_FUNC slot) { return !slot; })) << name;
        };
        for (uint32_t row = 0; row < VSR_ROW_COUNT; ++row)
        {
            check(ivsrOperationName(row), functions + size_t{row} * VSR_KIND_COUNT);
        }
        for (uint32_t row = 0; row < VSR_INTERNAL_ROW_COUNT; ++row)
        {
            check(ivsrInternalOperationName(row), internalFunctions + size_t{row} * VSR_KIND_COUNT);
        }
        EXPECT_EQ(offloadedOperations().size(), filled.size());
    }
}

// ---- Remote arguments ----

// Addresses that nobody reads.
template <class T, uintptr_t address>
T* const at = reinterpret_cast<T*>(address);

constexpr uintptr_t A = 0x1000;
constexpr uintptr_t B = 0x2000;
constexpr uintptr_t D = 0x4000;
constexpr uintptr_t E = 0x5000;
constexpr uintptr_t F = 0x6000;

TEST_F(Offload, LengthsAreInElementsAndZeroStridesPacked)
{
    const auto* const a = reinterpret_cast<const uint8_t*>(A);
    const auto* const b = reinterpret_cast<const uint8_t*>(B);
    auto* const d = reinterpret_cast<uint8_t*>(D);
    auto* const xy = reinterpret_cast<uint32_t*>(D);
    auto* const scores = reinterpret_cast<uint32_t*>(E);
    auto* const count = reinterpret_cast<uint32_t*>(F);
    auto* const work = reinterpret_cast<uint32_t*>(B);

    const struct
    {
        std::function<void()> call;
        std::vector<uint64_t> arguments;
    } cases[] = {
        {[&] { vsrFilterMedian3x3u8K(a, 100, 50, 0, d, 0); }, {A, 5000, 100, 50, 0, D, 5000, 0}},
        {[&] { vsrFilterMedian3x3u8K(a, 100, 50, 128, d, 104); }, {A, 6400, 100, 50, 128, D, 5200, 104}},
        // 32-bit arithmetic.
        {[&] { vsrFilterMedian3x3u8K(a, 100, 0x10001, 0x10000, d, 0); },
         {A, 0x10000, 100, 0x10001, 0x10000, D, 100 * 0x10001, 0}},
        {[&] { vsrFilterMedian3x3u8_v3K(a, 10, 5, 0, d, 12, 1, 200); }, {A, 50, 10, 5, 0, D, 60, 12, 1, 200}},
        {[&] { vsrFilterGaussian5x5s16K(at<const int16_t, A>, 10, 5, 0, at<int16_t, D>, 25, 1); },
         {A, 50, 10, 5, 0, D, 60, 25, 1}},
        {[&] { vsrFilterGaussian5x5s32K(at<const int32_t, A>, 10, 5, 0, at<int32_t, D>, 48, 0); },
         {A, 50, 10, 5, 0, D, 60, 48, 0}},
        {[&] { vsrBoxFilterNxNf32K(at<const float, A>, 10, 5, 80, at<float, D>, 0, 3); },
         {A, 100, 10, 5, 80, D, 50, 0, 3}},
        {[&] { vsrFilterMedianMxNs16K(at<const int16_t, A>, 10, 5, 0, 3, 7, at<int16_t, D>, 0); },
         {A, 50, 10, 5, 0, 3, 7, D, 50, 0}},
        {[&] { vsrTableLookupu8K(a, 10, 5, 0, b, d, 16); }, {A, 50, 10, 5, 0, B, 256, D, 80, 16}},
        {[&] { vsrRotateImageInterleavedu8K(a, 10, 5, 0, d, 0, 1); }, {A, 100, 10, 5, 0, D, 100, 0, 1}},
        {[&] { vsrRotateImageInterleavedu8K(a, 10, 5, 32, d, 32, 2); }, {A, 160, 10, 5, 32, D, 160, 32, 2}},
        {[&] { vsrRotateImageInterleavedu8K(a, 10, 5, 32, d, 32, 3); }, {A, 160, 10, 5, 32, D, 320, 32, 3}},
        {[&] { vsrScaleDownBy2u8K(a, 10, 6, 0, d, 8); }, {A, 60, 10, 6, 0, D, 24, 8}},
        {[&] { vsrScaleDownBy4u8K(a, 16, 8, 20, d, 0); }, {A, 160, 16, 8, 20, D, 8, 0}},
        {[&] { vsrScaleDown3To2u8K(a, 10, 7, 0, d, 0); }, {A, 70, 10, 7, 0, D, 24, 0}},
        {[&] { vsrScaleDownMNu8K(a, 20, 10, 24, d, 7, 3, 0); }, {A, 240, 20, 10, 24, D, 21, 7, 3, 0}},
        {[&] { vsrColorYCbCr444PlanarToRGB888u8K(a, b, at<const uint8_t, E>, 11, 5, 0, 0, 16, d, 0); },
         {A, 55, B, 55, E, 80, 11, 5, 0, 0, 16, D, 165, 0}},
        {[&] { vsrColorYCbCr422PlanarToRGB565u8K(a, b, at<const uint8_t, E>, 11, 5, 12, 0, 8, d, 24); },
         {A, 60, B, 30, E, 40, 11, 5, 12, 0, 8, D, 120, 24}},
        // Whatever the kernels do beyond an odd height, a DSP gets the image.
        {[&] { vsrColorYCbCr420PlanarToRGBA8888u8K(a, b, at<const uint8_t, E>, 11, 5, 0, 0, 0, d, 0); },
         {A, 55, B, 18, E, 18, 11, 5, 0, 0, 0, D, 220, 0}},
        {[&] { vsrColorYCbCr420PseudoPlanarToRGB888u8K(a, b, 10, 6, 0, 16, d, 0); },
         {A, 60, B, 48, 10, 6, 0, 16, D, 180, 0}},
        // The last pair of an odd packed row ends a byte behind it.
        {[&] { vsrColorYCbCr422PseudoPlanarToRGB888u8K(a, b, 11, 5, 0, 0, d, 0); },
         {A, 55, B, 56, 11, 5, 0, 0, D, 165, 0}},
        {[&] { vsrColorYCbCr444PseudoPlanarToRGB565u8K(a, b, 11, 5, 0, 0, d, 0); },
         {A, 55, B, 110, 11, 5, 0, 0, D, 110, 0}},
        {[&] { vsrColorYUV420toRGB565u8K(a, 10, 5, xy); }, {A, 80, 10, 5, D, 25}},
        {[&] { vsrColorYUV420toRGB565u8Rotate180K(a, 10, 6, xy); }, {A, 90, 10, 6, D, 30}},
        {[&] { vsrColorYCrCb420PseudoPlanarToRGB8888u8K(a, 10, 6, 16, 12, xy, 43); },
         {A, 132, 10, 6, 16, 12, D, 60, 43}},
        {[&]
         {
             vsrTrackLKOpticalFlowu8K(a, b, 10, 5, at<const vsrPyramidLevel, D>, at<const vsrPyramidLevel, E>,
                                      at<const float, F>, at<float, F>, at<int32_t, F>, 7, 5, 5, 9, 3);
         },
         {A, 50, B, 50, 10, 5, D, 3, E, 3, F, 14, F, 14, F, 7, 7, 5, 5, 9, 3}},
        {[&]
         {
             vsrTrackLKOpticalFlowf32K(at<const float, A>, at<const float, B>, 10, 5, 48,
                                       at<const vsrPyramidLevel_v2, D>, at<const vsrPyramidLevel_v2, E>,
                                       at<const float, F>, at<float, F>, at<int32_t, F>, 0, 5, 5, 9, 0);
         },
         {A, 60, B, 60, 10, 5, 48, D, 0, E, 0, F, 0, F, 0, F, 0, 0, 5, 5, 9, 0}},
        {[&] { vsrScaleDownBy2Gaussian5x5u8K(a, 11, 7, 0, d, 0); }, {A, 77, 11, 7, 0, D, 15, 0}},
        {[&] { vsrScaleDownBy2Gaussian5x5f32K(at<const float, A>, 11, 7, at<float, D>); }, {A, 77, 11, 7, D, 15}},
        {[&] { vsrScaleDownBy2Gaussian5x5f32_v2K(at<const float, A>, 11, 7, 48, at<float, D>, 0); },
         {A, 84, 11, 7, 48, D, 15, 0}},
        {[&] { vsrImageGradientSobelPlanars16K(a, 10, 5, 0, at<int16_t, D>, at<int16_t, E>, 24); },
         {A, 50, 10, 5, 0, D, 60, E, 60, 24}},
        {[&] { vsrPyramidCreatef32K(at<const float, A>, 16, 8, 3, at<vsrPyramidLevel, D>); }, {A, 128, 16, 8, 3, D, 3}},
        {[&] { vsrPyramidCreatef32_v2K(at<const float, A>, 16, 8, 80, 3, at<vsrPyramidLevel_v2, D>); },
         {A, 160, 16, 8, 80, 3, D, 3}},
        {[&] { vsrPyramidCreateu8_v3K(a, 16, 8, 0, 5, 1, at<vsrPyramidLevel_v2, D>); }, {A, 128, 16, 8, 0, 5, 1, D, 5}},
        {[&] {
             vsrPyramidSobelGradientCreatei8K(at<const vsrPyramidLevel, A>, at<vsrPyramidLevel, D>,
                                              at<vsrPyramidLevel, E>, 4);
         },
         {A, 4, D, 4, E, 4, 4}},
        {[&] { vsrCornerFast9u8K(a, 10, 6, 0, 20, 3, xy, 8, count); }, {A, 60, 10, 6, 0, 20, 3, D, 16, 8, F, 1}},
        {[&] { vsrCornerFast9Scoreu8_v2K(a, 10, 6, 16, 20, 3, xy, scores, 8, count, 1, work); },
         {A, 96, 10, 6, 16, 20, 3, D, 16, E, 8, 8, F, 1, 1, B, 30}},
        {[&] { vsrCornerFast9Scoreu8_v2K(a, 10, 6, 16, 20, 3, xy, scores, 8, count, 0, nullptr); },
         {A, 96, 10, 6, 16, 20, 3, D, 16, E, 8, 8, F, 1, 0, 0, 0}},
        {[&] { vsrCornerFast10InMasku8K(a, 10, 6, 0, 20, 3, xy, 8, count, b, 10, 6); },
         {A, 60, 10, 6, 0, 20, 3, D, 16, 8, F, 1, B, 12, 10, 6}},
        {[&] { vsrCornerFast10InMaskScoreu8K(a, 10, 6, 0, 20, 3, xy, scores, 8, count, b, 20, 12, 1, work); },
         {A, 60, 10, 6, 0, 20, 3, D, 16, E, 8, 8, F, 1, B, 36, 20, 12, 1, B, 30}},
    };
    ScriptedOperations dsp;
    dsp.computes = false;
    for (const auto& one : cases)
    {
        one.call();
        const std::vector<RemoteCall> seen = dsp.takeRemoteCalls();
        ASSERT_EQ(1u, seen.size());
        EXPECT_EQ(one.arguments, seen[0].arguments) << seen[0].operation;
    }
}

TEST_F(Offload, AStatusThatTheDspDoesNotSetIsOne)
{
    ScriptedOperations dsp;
    dsp.computes = false;
    for (const Offloaded& offloaded : offloadedOperations())
    {
        const auto sameName = [&](const Operation& operation) { return operation.name == offloaded.name; };
        const auto operation = std::find_if(operations().begin(), operations().end(), sameName);
        ASSERT_NE(operations().end(), operation) << offloaded.name;
        Arguments arguments({64, 48}, 1);
        operation->prepare(arguments);
        EXPECT_EQ(offloaded.hasStatus, arguments.run(offloaded.cdsp)) << offloaded.name;
    }
}

// ---- Constraints ----

TEST(OffloadConstraints, SmallImagesAreDeclined)
{
    std::vector<uint8_t> src(200 * 200);
    std::vector<uint8_t> dst(200 * 200);
    ScriptedOperations dsp;
    // Lengths of 25344 and 25345, at either side; the smaller one counts when both are.
    const struct
    {
        uint32_t width, height, srcStride, dstStride;
        bool declined;
    } cases[] = {
        {100, 100, 0, 0, true},      {176, 144, 176, 0, true},  {192, 132, 0, 192, true},
        {100, 144, 177, 100, false}, {100, 144, 0, 177, false}, {185, 137, 0, 0, false},
    };
    const std::string name = "vsrFilterMedian3x3u8_v3K_abstractionLayer";
    for (const auto& [width, height, srcStride, dstStride, declined] : cases)
    {
        for (const bool logs : {false, true})
        {
            libLogPrintK_abstractionLayer = logs;
            LogCapture log;
            dsp.computes = false;
            const vsrStatus status = vsrFilterMedian3x3u8_v3K_abstractionLayer(
                9, src.data(), width, height, srcStride, dst.data(), dstStride, VISORA_BORDER_REPLICATE, 0);
            EXPECT_EQ(declined ? vsrStatus{VISORA_EFALLBACK} : 1, status) << width << " " << srcStride;
            EXPECT_EQ(declined ? 0u : 1u, dsp.takeRemoteCalls().size());
            const LogLine warning = {3, kLibTag, name + ": Warning - Unsatisfied HW limitation, will try CPU"};
            EXPECT_EQ(declined && logs ? std::vector{warning} : std::vector<LogLine>{}, log.take());
        }
    }
    libLogPrintK_abstractionLayer = 0;

    // Only those members decline, and only while the constraints count.
    for (const int32_t flag : {1, 0})
    {
        k6AbstractionConstraintFlag = flag;
        dsp.computes = true;
        for (const Offloaded& offloaded : offloadedOperations())
        {
            const auto sameName = [&](const Operation& operation) { return operation.name == offloaded.name; };
            Arguments arguments({64, 48}, 1);
            std::find_if(operations().begin(), operations().end(), sameName)->prepare(arguments);
            const bool declined = offloaded.wantsLarge && flag;
            EXPECT_EQ(declined, arguments.runFresh(offloaded.cdsp) == VISORA_EFALLBACK) << offloaded.name;
            EXPECT_EQ(declined ? 0u : 1u, dsp.takeRemoteCalls().size()) << offloaded.name;
        }
    }
    k6AbstractionConstraintFlag = 1;
}

TEST(OffloadConstraints, SomeMembersWantAlignedRows)
{
    alignas(8) uint8_t pixels[128] = {};
    ScriptedOperations dsp;
    dsp.computes = false;
    const struct
    {
        uint32_t offset1, offset2, width, stride;
        bool declined;
    } cases[] = {{0, 8, 16, 0, false}, {8, 0, 15, 24, false}, {4, 0, 16, 0, true},
                 {0, 4, 16, 0, true},  {0, 0, 15, 0, true},   {0, 0, 16, 20, true}};
    for (const auto& [offset1, offset2, width, stride, declined] : cases)
    {
        const vsrStatus status = vsrTrackLKOpticalFlowu8_v3K_abstractionLayer(
            9, pixels + offset1, pixels + offset2, width, 4, stride, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 5,
            5, 9, 1, 2, 0.1f, 0);
        EXPECT_EQ(declined ? vsrStatus{VISORA_EFALLBACK} : 1, status) << offset1 << " " << width << " " << stride;
        EXPECT_EQ(declined ? 0u : 1u, dsp.takeRemoteCalls().size());
    }
}

}  // namespace
}  // namespace visora::test
