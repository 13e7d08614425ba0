// Channels to the DSP domains: reference counts, what is called, every log line.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <deque>
#include <map>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "support/next_function.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

int environmentWrites = 0;

}  // namespace
}  // namespace visora::test

// This is bound by the dynamic linker before the system's.
int setenv(const char* name, const char* value, int overwrite) noexcept
{
    ++visora::test::environmentWrites;
    return visora::test::next("setenv", setenv)(name, value, overwrite);
}

namespace visora::test
{
namespace
{

// What a domain says, by a letter each. "@" stands for the handle's address, "#" for its value.
struct Words
{
    const Domain& domain;
    void (*open)();
    void (*close)();
    std::map<char, std::string> texts;
};

Words wordsOf(const Domain& domain, void (*open)(), void (*close)(), std::map<char, std::string> texts)
{
    const std::string upper = std::array{"ADSP", "CDSP", "MDSP"}[static_cast<size_t>(domain.number)];
    const std::string handle = std::string(domain.name) + "_domain_handle";
    texts['o'] = "Domain open is successful on " + upper + ". " + handle + " address=@  " + handle + " value=#\n";
    texts['D'] = "Error while calling visoradsp_deinitK6 for " + upper;
    texts['C'] = "\nError: error in closing " + handle;
    texts['z'] = "Succesfully closed channel for " + handle + " \n";
    texts['y'] = "End of domain_channel_close for " + upper + " \n";
    return {domain, open, close, std::move(texts)};
}

const Words kWords[] = {
    wordsOf(kDomains[0], domain_channel_open_adsp, domain_channel_close_adsp,
            {{'b', "Begin of domain_channel_open address of adsp_domain_handle=@  value of adsp_domain_handle=#\n"},
             {'O', "\nError: visoraadsp domain open failed on ADSP"},
             {'e', "End of domain_channel_open \n"},
             {'c', "Begin of domain_channel_close adsp_domain_handle address=@  adsp_domain_handle=#\n"}}),
    wordsOf(kDomains[1], domain_channel_open_cdsp, domain_channel_close_cdsp,
            {{'b', "Begin of domain_channel_open cdsp_domain_handle=@  value of cdsp_domain_handle=#\n"},
             {'O', "\nError: visoradsp domain open failed on CDSP"},
             {'e', "End of domain_channel_open for CDSP \n"},
             {'c', "Begin of domain_channel_close cdsp_domain_handle=@ cdsp_domain_handle=#\n"}}),
    wordsOf(kDomains[2], domain_channel_open_mdsp, domain_channel_close_mdsp,
            {{'b', "Begin of domain_channel_open mdsp_domain_handle=@ value of mdsp_domain_handle=#\n"},
             {'O', "\nError: visoradsp domain open failed on MDSP"},
             {'e', "End of domain_channel_open \n"},
             {'c', "Begin of domain_channel_close mdsp_domain_handle=@ mdsp_domain_handle=#\n"}})};

// The line of a letter; those in capitals are errors.
LogLine line(const Words& words, char letter, uint64_t handle)
{
    std::string text = words.texts.at(letter);
    for (const auto& [mark, value] : {std::pair{'@', textOf(&words.domain.handle)}, {'#', textOf(handle)}})
    {
        if (const size_t at = text.find(mark); at != std::string::npos)
        {
            text.replace(at, 1, value);
        }
    }
    return letter < 'a' ? errorLine(text) : debugLine(text);
}

enum Event
{
    Open,
    Close
};

struct Step
{
    Event event;
    Calls calls;  // "open" stands for the opening with the domain's URI
    const char* lines;
    uint64_t handle;  // afterwards, as the count
    int32_t count;
};

struct Sequence
{
    const char* what;
    std::map<std::string, std::deque<int32_t>> answers;
    std::vector<Step> steps;
};

const Sequence kSequences[] = {
    {"opened by the first and closed by the last; the session ends with every close",
     {},
     {{Open, {"open"}, "boe", 7, 1},
      {Open, {}, "be", 7, 2},
      {Close, {"deinitK6 7"}, "cy", 7, 1},
      {Close, {"deinitK6 7", "close 7"}, "czy", 0, 0}}},
    {"counts as opened when it cannot be; counts are not held at zero",
     {{"open", {5, 0}}, {"deinitK6", {-3}}},
     {{Open, {"open"}, "bO", 0, 1},
      {Open, {}, "be", 0, 2},
      {Close, {"deinitK6 0"}, "cDy", 0, 1},
      {Close, {"deinitK6 0"}, "cDy", 0, 0},
      {Close, {"deinitK6 0"}, "cDy", 0, -1},
      {Open, {}, "be", 0, 0},
      {Open, {"open"}, "boe", 7, 1}}},
    {"keeps its handle when it cannot be closed",
     {{"close", {1}}},
     {{Open, {"open"}, "boe", 7, 1}, {Close, {"deinitK6 7", "close 7"}, "cC", 7, 0}, {Open, {}, "be", 7, 1}}}};

// Through the domain's own functions, or through those that look for the domain in use.
void follow(const Sequence& sequence, const Words& words, bool ownFunctions)
{
    const Domain& domain = words.domain;
    setDefaultDSPValue(domain.number);
    ScriptedDsp dsp;
    LogCapture log;
    for (const auto& [function, answers] : sequence.answers)
    {
        dsp.answer(function, answers);
    }
    setenv("ADSP_LIBRARY_PATH", "elsewhere", 1);
    for (size_t i = 0; i < sequence.steps.size(); ++i)
    {
        const auto& [event, calls, letters, handle, count] = sequence.steps[i];
        const std::string where = textOf(sequence.what, i, domain.name);
        const uint64_t before = domain.handle;
        if (event == Open)
        {
            ownFunctions ? words.open() : domain_channel_open(99);
            EXPECT_STREQ("/usr/lib/rfsa/adsp;/dsp", std::getenv("ADSP_LIBRARY_PATH")) << "set by every open";
            unsetenv("ADSP_LIBRARY_PATH");
        }
        else
        {
            ownFunctions ? words.close() : domain_channel_close(99);
        }
        EXPECT_EQ(calls == Calls{"open"} ? Calls{"open " + uriOf(domain)} : calls, dsp.takeCalls()) << where;
        Lines lines;
        for (const char letter : std::string(letters))
        {
            lines.push_back(line(words, letter, letter == 'o' ? handle : before));
        }
        EXPECT_EQ(lines, log.take()) << where;
        EXPECT_EQ(handle, domain.handle) << where;
        EXPECT_EQ(count, domain.count) << where;
    }
    for (const Domain& other : kDomains)
    {
        EXPECT_TRUE(other.number == domain.number || (other.handle == 0 && other.count == 0)) << other.name;
    }
}

TEST(Channel, FollowsOpensAndCloses)
{
    for (const Sequence& sequence : kSequences)
    {
        for (const Words& words : kWords)
        {
            for (const bool ownFunctions : {true, false})
            {
                inChild([&] { follow(sequence, words, ownFunctions); });
            }
        }
    }
}

CHILD_TEST(Channel, WritesTheEnvironmentOnlyToChangeIt)
{
    ScriptedDsp dsp;
    LogCapture log;
    environmentWrites = 0;
    for (int round = 0; round < 3; ++round)
    {
        vsrSetOperationMode(VISORA_OP_LOW_POWER);
        vsrCleanUp();
    }
    EXPECT_EQ(1, environmentWrites);
    vsrSetOperationMode(VISORA_OP_LOW_POWER);
    unsetenv("ADSP_LIBRARY_PATH");
    dsp.answer("probeK6Time", {104});
    dsp.answer("vsrK6GetClk", {1});
    vsrSetDefaultDspEXT(2);
    probeK6TimeKc(1, 2);
    EXPECT_EQ(1, mdspDomainHandle_count);
    EXPECT_EQ(1, environmentWrites) << "not while other threads may be calling";
    vsrCleanUp();
}

CHILD_TEST(Channel, NeedsADomain)
{
    ScriptedDsp dsp;
    LogCapture log;
    for (const int32_t domain : {3, -1, 25})
    {
        setDefaultDSPValue(domain);
        domain_channel_open(1);
        domain_channel_close(1);
        EXPECT_LOG(log, noDomain("domain_channel_open"), noDomain("domain_channel_close"));
    }
    EXPECT_CALLS(dsp);
    EXPECT_EQ(0, load_stub_symbols());
}

}  // namespace
}  // namespace visora::test
