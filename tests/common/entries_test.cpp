// What every entry point does around its kernel, tested on each operation of tests/operations: calls with bad arguments
// are refused, traced and write nothing, strides of 0 are those of packed rows, the unit that serves the row gets calls
// that suit it, and the vector variant those that do not.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "support/entry_point.h"
#include "support/operations.h"
#include "visora.h"
#include "visora/variants.h"

namespace visora::test
{
namespace
{

using InPlace = EntryRule::InPlace;
using Buffer = Arguments::Buffer;

// ---- The entry points ----

struct Entry
{
    std::string name;
    VSR_FUNC function;
    VSR_IMPL* kind;
    VSR_FUNC* slots;
};

// The newest entry point of each operation; some of the internal table have none of their own.
const std::map<std::string, Entry>& entries()
{
    static const std::map<std::string, Entry> all = {
#define VSR_ROW_ENTRY(operation, entry, kinds, table, row) \
    {#operation, {#entry, reinterpret_cast<VSR_FUNC>(entry), kinds + (row), table + size_t{row} * VSR_KIND_COUNT}},
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    VSR_ROW_ENTRY(operation, entry, vsrImplTable, vsrFuncTable, row)
#define VSR_OPERATION_AS(row, operation, entry, variant, dsp, modes, like) \
    VSR_ROW_ENTRY(operation, like, vsrImplTable, vsrFuncTable, row)
#define VSR_INTERNAL(row, operation, entry, variant, dsp) \
    VSR_ROW_ENTRY(operation, entry, vsrInternalImplTable, vsrInternalFuncTable, row)
#define VSR_INTERNAL_AS(row, operation, entry, variant, dsp, like)
#include "visora/operations/all.def"
    };
    return all;
}

// ---- A call and what its arguments are ----

// Large enough for a DSP. No two of its measures are equal, and none is small, so that a number in a call tells what it
// is: a size, the stride of a buffer, or something else.
constexpr uint32_t kWidth = 192;
constexpr uint32_t kHeight = 149;

class EntryCall
{
  public:
    EntryCall(const Operation& operation, uint64_t seed, uint32_t padding, uint32_t dstPadding)
        : entry_(entries().at(operation.name)), arguments_({kWidth, kHeight, padding, dstPadding}, seed)
    {
        operation.prepare(arguments_);
        if (arguments_.hasCall())
        {
            name();
        }
    }

    bool exists() const { return arguments_.hasCall(); }
    const Entry& entry() const { return entry_; }
    const EntryRule& rule() { return arguments_.entry(); }
    Arguments& arguments() { return arguments_; }
    const std::vector<Word>& words() const { return arguments_.words(); }

    /** Positions of the pointers, of the sizes, and of the strides with the buffers they belong to. */
    std::vector<size_t> pointers, sizes;
    std::map<size_t, const Buffer*> strides;

    std::vector<Word> with(std::vector<std::pair<size_t, uint64_t>> changes) const
    {
        std::vector<Word> changed = words();
        for (const auto& [position, bits] : changes)
        {
            changed[position].bits = bits;
        }
        return changed;
    }

    /** The buffer that the argument points to; null when it is none of that list. */
    const Buffer* bufferAt(size_t position, const std::vector<Buffer>& buffers) const
    {
        const auto found =
            std::find_if(buffers.begin(), buffers.end(),
                         [&](const Buffer& buffer) { return words()[position].bits == address(buffer); });
        return words()[position].kind != Word::Kind::Pointer || found == buffers.end() ? nullptr : &*found;
    }
    const Buffer* inputAt(size_t position) const { return bufferAt(position, arguments_.inputBuffers()); }
    const Buffer* outputAt(size_t position) const { return bufferAt(position, arguments_.outputBuffers()); }
    static bool isImage(const Buffer* buffer) { return buffer && buffer->rows > 1; }
    static uintptr_t address(const Buffer& buffer) { return reinterpret_cast<uintptr_t>(buffer.data()); }

    /** The position of the stride of the buffer at a position; that of the last argument and one when it has none. */
    size_t strideOf(size_t pointer) const
    {
        const auto found =
            std::find_if(strides.begin(), strides.end(),
                         [&](const auto& stride) { return address(*stride.second) == words()[pointer].bits; });
        return found == strides.end() ? words().size() : found->first;
    }

    bool isChecked(size_t position)
    {
        const std::vector<size_t>& unchecked = rule().unchecked;
        return std::find(unchecked.begin(), unchecked.end(), position) == unchecked.end();
    }

    std::string where(const std::vector<Word>& changed) const
    {
        std::string text = entry_.name + ":";
        for (size_t i = 0; i < changed.size(); ++i)
        {
            if (changed[i].bits != words()[i].bits)
            {
                text += " argument " + std::to_string(i) + " = " + std::to_string(changed[i].bits) + " instead of " +
                        std::to_string(words()[i].bits);
            }
        }
        return text;
    }

  private:
    void name()
    {
        std::vector<const Buffer*> images;
        std::vector<uint64_t> measures = {kWidth, kHeight};
        for (const auto* buffers : {&arguments_.inputBuffers(), &arguments_.outputBuffers()})
        {
            for (const Buffer& buffer : *buffers)
            {
                images.push_back(&buffer);
                measures.insert(measures.end(), {buffer.rowBytes / buffer.elementBytes, buffer.rows});
            }
        }
        for (size_t i = 0; i < words().size(); ++i)
        {
            const auto& [bits, kind] = words()[i];
            if (kind == Word::Kind::Pointer)
            {
                pointers.push_back(i);
            }
            else if (kind == Word::Kind::Number && bits > 12)
            {
                // Of several buffers with the same stride, one after the other.
                const auto has = [&, stride = bits](const Buffer* image)
                { return image && image->rows > 1 && image->stride == stride && stride > image->rowBytes; };
                const auto image = std::find_if(images.begin(), images.end(), has);
                if (image != images.end() && !arguments_.entry().plainStrides)
                {
                    strides[i] = std::exchange(*image, nullptr);
                }
                else if (std::find(measures.begin(), measures.end(), bits) != measures.end())
                {
                    sizes.push_back(i);
                }
            }
        }
    }

    const Entry& entry_;
    Arguments arguments_;
};

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
            // In place is right with equal strides and elements of one size.
            const bool mayCoincide = call.rule().inPlace == InPlace::Allowed &&
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
                     EntryCall call(GetParam(), seed, padding, padding * 2);
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

TEST_P(Entries, WriteToAnInputWhereTheyMay)
{
    forCalls(GetParam(),
             [&](EntryCall& first, uint64_t seed)
             {
                 if (first.rule().inPlace != InPlace::Allowed)
                 {
                     return;
                 }
                 int pairs = 0;
                 for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA})
                 {
                     const VSR_FUNC variant = kind == VSR_IMPL_CPU ? GetParam().reference : GetParam().vector;
                     const Override serving(*first.entry().kind, kind);
                     const Override slot(first.entry().slots[kind], variant);
                     for (const size_t output : first.pointers)
                     {
                         for (const size_t input : first.pointers)
                         {
                             EntryCall call(GetParam(), seed, 8, 16);
                             const Buffer* const out = call.outputAt(output);
                             const Buffer* const in = call.inputAt(input);
                             if (!EntryCall::isImage(out) || !EntryCall::isImage(in) || out->rowBytes != in->rowBytes ||
                                 out->elementBytes != in->elementBytes || out->rows != in->rows)
                             {
                                 continue;
                             }
                             ++pairs;
                             call.arguments().runFresh(call.entry().function);
                             const std::vector<uint8_t> expected = out->pixels();
                             const auto words =
                                 call.with({{output, EntryCall::address(*in)}, {call.strideOf(output), in->stride}});
                             EXPECT_EQ(0u, call.arguments().runWith(call.entry().function, words)) << call.where(words);
                             EXPECT_TRUE(expected == in->pixels()) << call.where(words);
                         }
                     }
                 }
                 EXPECT_GT(pairs, 0);
             });
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
                     for (const auto* positions : {&padded.pointers, &padded.sizes})
                     {
                         for (const size_t position : *positions)
                         {
                             if (padded.isChecked(position))
                             {
                                 const auto words = call.with({{position, 0}});
                                 expectRefused(call, packed.name, packed.condition, packed.name + call.where(words),
                                               [&] { return run(words); });
                             }
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
            const uint64_t rowBytes = stride < call.words().size() ? call.words()[stride].bits : kWidth;
            // Too few rows, or a width that is no multiple of 8.
            for (const auto& [size, other] :
                 {std::pair{kHeight, static_cast<uint32_t>((call.rule().heavy ? 6336 : 25344) / rowBytes)},
                  {kWidth, kWidth - 4}})
            {
                const auto is = [&, value = size](size_t position) { return call.words()[position].bits == value; };
                const auto found = std::find_if(call.sizes.begin(), call.sizes.end(), is);
                if (found != call.sizes.end())
                {
                    unsuited.dsp.push_back(call.with({{*found, other}}));
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
                if (units == Units::Own)
                {
                    return;
                }
                kept(dsps, call.words());
                kept({VSR_IMPL_GPU}, call.words());
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
