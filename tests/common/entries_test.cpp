// What every entry point does around its kernel, tested on each operation of tests/operations: calls with bad arguments
// are refused, traced and write nothing, strides of 0 are those of packed rows, the unit that serves the row gets calls
// that suit it, and the vector variant those that do not.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/entry_call.h"
#include "support/entry_point.h"
#include "support/instruction_sets.h"
#include "support/operations.h"

namespace visora::test
{
namespace
{

using InPlace = EntryRule::InPlace;
using Buffer = Arguments::Buffer;

// Calls that `operation` makes for some seeds.
template <class Body>
void forCalls(const Operation& operation, const Body& body, uint32_t padding = 8, uint32_t dstPadding = 16)
{
    int calls = 0;
    // Some operations have no call with padding.
    for (const uint32_t paddings : {padding, 0u})
    {
        for (uint64_t seed = 0; seed < 40 && calls < (paddings == 0 ? 1 : 3); ++seed)
        {
            EntryCall call(operation, seed, paddings, paddings == 0 ? 0 : dstPadding);
            if (call.exists())
            {
                ++calls;
                body(call, seed);
            }
        }
    }
    EXPECT_GT(calls, 0) << operation.name;
}

// Everything that a call could write to.
std::vector<uint8_t> allBytes(const Arguments& arguments)
{
    std::vector<uint8_t> all = arguments.outputs();
    for (const Buffer& input : arguments.inputBuffers())
    {
        all.insert(all.end(), input.memory->data(), input.memory->data() + input.memory->size());
    }
    return all;
}

class Entries : public testing::TestWithParam<Operation>
{
};

// ---- Refusals ----

template <class Run>
void expectRefused(EntryCall& call, const std::string& name, const std::string& condition, const std::string& where,
                   const Run& run)
{
    Arguments& arguments = call.arguments();
    arguments.freshen();
    const std::vector<uint8_t> before = allBytes(arguments);
    for (const int32_t logged : {7, -5})
    {
        const Override tracing(libLogPrint, 1);
        LogCapture log(logged);
        EXPECT_EQ(condition.empty() ? call.rule().status : logged, static_cast<int32_t>(run())) << where;
        Lines lines = {trace(name, "CPU")};
        if (!condition.empty())
        {
            lines.push_back(refusal(name, condition));
        }
        EXPECT_EQ(lines, log.take()) << where;
        EXPECT_TRUE(before == allBytes(arguments)) << where;
        if (condition.empty())
        {
            break;
        }
    }
}

// Calls each of which has one bad argument.
std::vector<std::vector<Word>> badCalls(EntryCall& call)
{
    std::vector<std::vector<Word>> bad;
    const auto add = [&](size_t position, uint64_t bits)
    {
        if (call.isChecked(position))
        {
            bad.push_back(call.with({{position, bits}}));
        }
    };
    for (const auto& [side, least] :
         {std::pair{kEntryWidth, call.rule().leastWidth}, {kEntryHeight, call.rule().leastHeight}})
    {
        if (const auto position = call.sizeOf(side); position && least > 1)
        {
            add(*position, least - 1);
        }
    }
    for (const auto* positions : {&call.pointers, &call.sizes})
    {
        for (const size_t position : *positions)
        {
            add(position, 0);
        }
    }
    for (const auto& [position, image] : call.strides)
    {
        add(position, image->rowBytes - 1);
    }
    if (call.rule().inPlace == InPlace::NotLookedAt)
    {
        return bad;
    }
    for (const size_t output : call.pointers)
    {
        for (const size_t other : call.pointers)
        {
            if (!call.outputAt(output) || output == other || !(call.inputAt(other) || call.outputAt(other)))
            {
                continue;
            }
            // In place is right with equal strides and elements of one size, but never in a mask.
            const bool mayCoincide = call.rule().inPlace == InPlace::Allowed && call.isChecked(other) &&
                                     EntryCall::isImage(call.inputAt(other)) &&
                                     call.strideOf(output) != call.strideOf(other) &&
                                     call.inputAt(other)->elementBytes == call.outputAt(output)->elementBytes &&
                                     call.inputAt(other)->stride == call.outputAt(output)->stride;
            if (!mayCoincide)
            {
                add(output, call.words()[other].bits);
            }
        }
        // A packed row of more bytes than a stride can say.
        const Buffer* image = call.outputAt(output);
        for (const size_t size : call.sizes)
        {
            if (EntryCall::isImage(image) && image->elementBytes > 1 &&
                call.words()[size].bits * image->elementBytes == image->rowBytes)
            {
                bad.push_back(call.with({{size, (uint64_t{1} << 32) / image->elementBytes + 1}}));
                for (const auto& stride : call.strides)
                {
                    bad.back()[stride.first].bits = 0;
                }
            }
        }
    }
    return bad;
}

TEST_P(Entries, RefuseBadArgumentsAndWriteNothing)
{
    forCalls(GetParam(),
             [&](EntryCall& call, uint64_t /*seed*/)
             {
                 if (call.rule().stops)
                 {
                     return;
                 }
                 const auto bad = badCalls(call);
                 EXPECT_FALSE(bad.empty());
                 // Sizes of an image are among its arguments.
                 const auto isImage = [&](size_t position) { return EntryCall::isImage(call.inputAt(position)); };
                 EXPECT_TRUE(!call.sizes.empty() || std::none_of(call.pointers.begin(), call.pointers.end(), isImage))
                     << call.entry().name;
                 for (const std::vector<Word>& words : bad)
                 {
                     expectRefused(call, call.entry().name, call.rule().condition, call.where(words),
                                   [&] { return call.arguments().runWith(call.entry().function, words); });
                 }
             });
}

// ---- Results ----

TEST_P(Entries, GiveTheReferencesResultAndTakeStridesOfZeroAsPacked)
{
    forCalls(GetParam(),
             [&](EntryCall& padded, uint64_t seed)
             {
                 for (const uint32_t padding : {8u, 0u})
                 {
                     // Packed rows of an odd width, where rounding shows.
                     EntryCall call(GetParam(), seed, padding, padding * 2,
                                    padding == 0 ? kEntryWidth - 1 : kEntryWidth);
                     if (!call.exists())
                     {
                         continue;
                     }
                     Arguments& arguments = call.arguments();
                     const uint64_t status = arguments.runFresh(GetParam().reference);
                     const std::vector<uint8_t> expected = arguments.outputs();
                     EXPECT_EQ(status, arguments.runFresh(call.entry().function)) << call.entry().name;
                     EXPECT_TRUE(expected == arguments.outputs()) << call.entry().name;
                     if (padding == 0 && !padded.strides.empty())
                     {
                         std::vector<Word> words = call.words();
                         for (const auto& stride : padded.strides)
                         {
                             words[stride.first].bits = 0;
                         }
                         arguments.freshen();
                         EXPECT_EQ(status, arguments.runWith(call.entry().function, words)) << call.where(words);
                         EXPECT_TRUE(expected == arguments.outputs()) << call.where(words);
                     }
                 }
             });
}

// Gives every input that may be an output the same bytes as an output of its own that held the input's. Returns how
// many such pairs there are.
int checkInPlace(const Operation& operation, uint64_t seed, uint32_t width)
{
    int pairs = 0;
    const EntryCall first(operation, seed, 8, 16, width);
    for (const size_t output : first.pointers)
    {
        for (const size_t input : first.pointers)
        {
            EntryCall call(operation, seed, 8, 16, width);
            const Buffer* const out = call.outputAt(output);
            const Buffer* const in = call.inputAt(input);
            if (!EntryCall::isImage(out) || !EntryCall::isImage(in) || !call.isChecked(input) ||
                out->rowBytes != in->rowBytes || out->elementBytes != in->elementBytes || out->rows != in->rows)
            {
                continue;
            }
            ++pairs;
            for (size_t y = 0; y < in->rows; ++y)
            {
                std::copy_n(in->data() + y * in->stride, in->rowBytes, out->data() + y * out->stride);
            }
            call.arguments().run(call.entry().function);
            const std::vector<uint8_t> expected = out->pixels();
            const auto words = call.with({{output, EntryCall::address(*in)}, {call.strideOf(output), in->stride}});
            EXPECT_EQ(0u, call.arguments().runWith(call.entry().function, words)) << call.where(words);
            EXPECT_TRUE(expected == in->pixels()) << call.where(words);
        }
    }
    return pairs;
}

TEST_P(Entries, WriteToAnInputWhereTheyMay)
{
    const auto check = [&](EntryCall& call, uint64_t seed)
    {
        if (call.rule().inPlace != InPlace::Allowed)
        {
            return;
        }
        for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA})
        {
            const Override serving(*call.entry().kind, kind);
            const Override slot(call.entry().slots[kind],
                                kind == VSR_IMPL_CPU ? GetParam().reference : GetParam().vector);
            for (const int64_t set : instructionSets())
            {
                const UseInstructionSet use(set);
                EXPECT_GT(checkInPlace(GetParam(), seed, kEntryWidth) + checkInPlace(GetParam(), seed, 107), 0);
            }
        }
    };
    forCalls(GetParam(), check);
}

// Entry points of the same operation for packed images.
TEST_P(Entries, PackedOnesRefuseAndGiveTheSame)
{
    forCalls(GetParam(),
             [&](EntryCall& padded, uint64_t seed)
             {
                 EntryCall call(GetParam(), seed, 0, 0);
                 for (const EntryRule::Packed& packed : padded.rule().packed)
                 {
                     ASSERT_TRUE(call.exists()) << packed.name;
                     const auto run = [&](std::vector<Word> words)
                     {
                         for (auto stride = padded.strides.rbegin(); stride != padded.strides.rend(); ++stride)
                         {
                             words.erase(words.begin() + static_cast<ptrdiff_t>(stride->first));
                         }
                         return packed.call(words);
                     };
                     const uint64_t status = call.arguments().runFresh(GetParam().reference);
                     const std::vector<uint8_t> expected = call.arguments().outputs();
                     call.arguments().freshen();
                     EXPECT_EQ(status, run(call.words())) << packed.name;
                     EXPECT_TRUE(expected == call.arguments().outputs()) << packed.name;
                     const auto refused = [&](size_t position, uint64_t bits)
                     {
                         if (padded.isChecked(position))
                         {
                             const auto words = call.with({{position, bits}});
                             expectRefused(call, packed.name, packed.condition, packed.name + call.where(words),
                                           [&] { return run(words); });
                         }
                     };
                     for (const auto* positions : {&padded.pointers, &padded.sizes})
                     {
                         for (const size_t position : *positions)
                         {
                             refused(position, 0);
                         }
                     }
                     for (const auto& [side, least] :
                          {std::pair{kEntryWidth, packed.leastWidth}, {kEntryHeight, packed.leastHeight}})
                     {
                         if (const auto position = padded.sizeOf(side); position && least > 1)
                         {
                             refused(*position, least - 1);
                         }
                     }
                 }
             });
}

// ---- The choice of the unit ----

bool servedByAnother;

void another()
{
    servedByAnother = true;
}

constexpr const char* kKindNames[] = {"CPU", "VECTA", "KDSP", "GPU", "ADSP", "CDSP", "MDSP"};

// A call of a row with this kind is traced as that of `served` and handed to it as it is.
void expectServed(EntryCall& call, VSR_IMPL kind, VSR_IMPL served, const std::vector<Word>& words)
{
    const std::string where = call.where(words) + ", " + kKindNames[kind];
    const std::vector<VSR_FUNC> before(call.entry().slots, call.entry().slots + VSR_KIND_COUNT);
    std::fill_n(call.entry().slots, size_t{VSR_KIND_COUNT}, another);
    call.entry().slots[served] = call.arguments().recording();
    const Override serving(*call.entry().kind, kind);
    const Override tracing(libLogPrint, 1);
    servedByAnother = false;
    recorder = {};
    {
        LogCapture log;
        EXPECT_EQ(0u, call.arguments().runWith(call.entry().function, words)) << where;
        EXPECT_EQ(Lines{trace(call.entry().name, kKindNames[served])}, log.take()) << where;
    }
    std::copy(before.begin(), before.end(), call.entry().slots);
    EXPECT_FALSE(servedByAnother) << where;
    ASSERT_EQ(1u, recorder.calls.size()) << where;
    for (size_t i = 0; i < words.size(); ++i)
    {
        EXPECT_EQ(words[i].bits, recorder.calls[0][i]) << where << ", argument " << i;
    }
}

void expectDeclinedCallsToFallBack(EntryCall& call, VSR_IMPL kind)
{
    const Override serving(*call.entry().kind, kind);
    const Override unit(call.entry().slots[kind], call.arguments().recording());
    const Override vector(call.entry().slots[VSR_IMPL_VECTA], call.arguments().recording());
    recorder = {{VISORA_EFALLBACK}, {}};
    const uint64_t status = call.arguments().run(call.entry().function);
    // The older style hands the status on.
    const bool handedOn = !call.rule().condition.empty() && !call.rule().fallsBack;
    EXPECT_EQ(handedOn ? VISORA_EFALLBACK : 0, static_cast<int32_t>(status)) << call.entry().name;
    EXPECT_EQ(handedOn ? 1u : 2u, recorder.calls.size()) << call.entry().name;

    recorder = {};
    call.entry().slots[kind] = nullptr;
    EXPECT_EQ(0u, call.arguments().run(call.entry().function)) << call.entry().name;
    EXPECT_EQ(1u, recorder.calls.size()) << call.entry().name << ": a column that was never filled";
}

// Calls that no DSP should get, and those that the GPU should not.
struct Unsuited
{
    std::vector<std::vector<Word>> dsp, gpu;
};

Unsuited unsuitedCalls(EntryCall& call)
{
    Unsuited unsuited;
    bool isFirst = true;
    for (const size_t position : call.pointers)
    {
        if (!EntryCall::isImage(call.inputAt(position)) && !EntryCall::isImage(call.outputAt(position)))
        {
            continue;
        }
        const uint64_t address = call.words()[position].bits;
        unsuited.dsp.push_back(call.with({{position, address + 4}}));
        unsuited.gpu.push_back(call.with({{position, address + 8}}));
        const size_t stride = call.strideOf(position);
        if (stride < call.words().size())
        {
            unsuited.dsp.push_back(call.with({{stride, call.words()[stride].bits + 4}}));
            unsuited.gpu.push_back(unsuited.dsp.back());
        }
        if (std::exchange(isFirst, false))
        {
            const uint64_t rowBytes = stride < call.words().size() ? call.words()[stride].bits : kEntryWidth;
            // Too few rows, or a width that is no multiple of 8.
            for (const auto& [size, other] :
                 {std::pair{kEntryHeight, static_cast<uint32_t>((call.rule().heavy ? 6336 : 25344) / rowBytes)},
                  {kEntryWidth, kEntryWidth - 4}})
            {
                if (const auto position = call.sizeOf(size))
                {
                    unsuited.dsp.push_back(call.with({{*position, other}}));
                }
            }
        }
    }
    return unsuited;
}

TEST_P(Entries, ChooseTheUnitByTheCall)
{
    using Units = EntryRule::Units;
    // Some padding makes all strides multiples of 8.
    const auto suits = [](EntryCall& call)
    {
        return std::all_of(call.strides.begin(), call.strides.end(),
                           [&](const auto& stride) { return call.words()[stride.first].bits % 8 == 0; });
    };
    int calls = 0;
    for (uint32_t paddings = 0; paddings < 64 && calls == 0; ++paddings)
    {
        forCalls(
            GetParam(),
            [&](EntryCall& call, uint64_t /*seed*/)
            {
                if (!suits(call))
                {
                    return;
                }
                ++calls;
                const Units units = call.rule().units;
                const auto kept = [&](const std::vector<VSR_IMPL>& kinds, const auto& words)
                {
                    for (const VSR_IMPL kind : kinds)
                    {
                        expectServed(call, kind, kind, words);
                    }
                };
                const std::vector<VSR_IMPL> dsps(std::begin(kDsps), std::end(kDsps));
                kept({VSR_IMPL_CPU, VSR_IMPL_VECTA}, call.words());
                const auto width = call.sizeOf(kEntryWidth);
                const auto height = call.sizeOf(kEntryHeight);
                const EntryRule& rule = call.rule();
                for (const auto& [side, least] : {std::pair{width, rule.leastWidth}, {height, rule.leastHeight}})
                {
                    if (least > 1)
                    {
                        ASSERT_TRUE(side);
                        kept({VSR_IMPL_CPU}, call.with({{*side, least}}));
                    }
                }
                if (units == Units::Own)
                {
                    return;
                }
                kept(dsps, call.words());
                kept({VSR_IMPL_GPU}, call.words());
                if (rule.dspRows > rule.leastHeight)
                {
                    ASSERT_TRUE(width && height);
                    // So wide that a few rows are enough pixels.
                    std::vector<Word> words = call.with({{*width, 1 << 14}, {*height, rule.dspRows}});
                    for (const auto& stride : call.strides)
                    {
                        words[stride.first].bits = 1 << 17;
                    }
                    kept(dsps, words);
                    words[*height].bits = rule.dspRows - 1;
                    for (const VSR_IMPL dsp : dsps)
                    {
                        expectServed(call, dsp, VSR_IMPL_VECTA, words);
                    }
                }
                const Unsuited unsuited = unsuitedCalls(call);
                for (const auto& words : unsuited.dsp)
                {
                    kept({VSR_IMPL_CPU, VSR_IMPL_VECTA}, words);
                    for (const VSR_IMPL dsp : dsps)
                    {
                        expectServed(call, dsp, VSR_IMPL_VECTA, words);
                    }
                    const Override checks(HW_constraint_checks_enable, 0);
                    kept(dsps, words);
                }
                for (const auto& words : unsuited.gpu)
                {
                    expectServed(call, VSR_IMPL_GPU, units == Units::Dsp ? VSR_IMPL_GPU : VSR_IMPL_VECTA, words);
                }
                for (const VSR_IMPL kind : {VSR_IMPL_KDSP, VSR_IMPL_GPU, VSR_IMPL_MDSP})
                {
                    expectDeclinedCallsToFallBack(call, kind);
                }
            },
            8 + paddings % 8, 16 + paddings / 8);
    }
    EXPECT_GT(calls, 0) << GetParam().name << " has no call for a DSP";
}

// One registration of each operation that has an entry point.
std::vector<Operation> firstOfEach()
{
    std::map<std::string, Operation> first;
    for (const Operation& operation : operations())
    {
        first.emplace(operation.name, operation);
    }
    std::vector<Operation> all;
    for (const auto& [name, operation] : first)
    {
        if (entries().contains(name))
        {
            all.push_back(operation);
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Operations, Entries, testing::ValuesIn(firstOfEach()),
                         [](const testing::TestParamInfo<Operation>& info) { return info.param.name; });

}  // namespace
}  // namespace visora::test
