// Channels to the DSP domains: reference counts, what is called, every log line.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "support/scripted_dsp.h"

namespace visora::test
{
namespace
{

using Calls = std::vector<std::string>;

// What a domain says. "@" stands for the handle's address, "#" for its value.
struct Words
{
    const Domain& domain;
    void (*open)();
    void (*close)();
    const char* uri;
    const char* openBegin;
    const char* openFailed;
    const char* opened;
    const char* openEnd;
    const char* closeBegin;
    const char* deinitFailed;
    const char* closeFailed;
    const char* closed;
    const char* closeEnd;
};

const Words kWords[] = {
    {kDomains[0], domain_channel_open_adsp, domain_channel_close_adsp,
     "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=adsp",
     "Begin of domain_channel_open address of adsp_domain_handle=@  value of adsp_domain_handle=#\n",
     "\nError: visoraadsp domain open failed on ADSP",
     "Domain open is successful on ADSP. adsp_domain_handle address=@  adsp_domain_handle value=#\n",
     "End of domain_channel_open \n",
     "Begin of domain_channel_close adsp_domain_handle address=@  adsp_domain_handle=#\n",
     "Error while calling visoradsp_deinitK6 for ADSP", "\nError: error in closing adsp_domain_handle",
     "Succesfully closed channel for adsp_domain_handle \n", "End of domain_channel_close for ADSP \n"},
    {kDomains[1], domain_channel_open_cdsp, domain_channel_close_cdsp,
     "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=cdsp",
     "Begin of domain_channel_open cdsp_domain_handle=@  value of cdsp_domain_handle=#\n",
     "\nError: visoradsp domain open failed on CDSP",
     "Domain open is successful on CDSP. cdsp_domain_handle address=@  cdsp_domain_handle value=#\n",
     "End of domain_channel_open for CDSP \n",
     "Begin of domain_channel_close cdsp_domain_handle=@ cdsp_domain_handle=#\n",
     "Error while calling visoradsp_deinitK6 for CDSP", "\nError: error in closing cdsp_domain_handle",
     "Succesfully closed channel for cdsp_domain_handle \n", "End of domain_channel_close for CDSP \n"},
    {kDomains[2], domain_channel_open_mdsp, domain_channel_close_mdsp,
     "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=mdsp",
     "Begin of domain_channel_open mdsp_domain_handle=@ value of mdsp_domain_handle=#\n",
     "\nError: visoradsp domain open failed on MDSP",
     "Domain open is successful on MDSP. mdsp_domain_handle address=@  mdsp_domain_handle value=#\n",
     "End of domain_channel_open \n", "Begin of domain_channel_close mdsp_domain_handle=@ mdsp_domain_handle=#\n",
     "Error while calling visoradsp_deinitK6 for MDSP", "\nError: error in closing mdsp_domain_handle",
     "Succesfully closed channel for mdsp_domain_handle \n", "End of domain_channel_close for MDSP \n"}};

LogLine line(int priority, const Words& words, std::string text, uint64_t handle)
{
    const auto fill = [&](char mark, const std::string& value)
    {
        const size_t at = text.find(mark);
        if (at != std::string::npos)
        {
            text.replace(at, 1, value);
        }
    };
    fill('@', textOf(&words.domain.handle));
    fill('#', textOf(handle));
    return {priority, kLibTag, text};
}

// Every test of a domain runs through the domain's own functions and through those that look for the domain in use.
struct Way
{
    std::function<void()> open;
    std::function<void()> close;
};

void onEveryDomain(const std::function<void(const Words&, const Way&, ScriptedDsp&, LogCapture&)>& body)
{
    for (const Words& words : kWords)
    {
        const Way ways[] = {{words.open, words.close},
                            {[] { domain_channel_open(99); }, [] { domain_channel_close(99); }}};
        for (const Way& way : ways)
        {
            inChild(
                [&]
                {
                    setDefaultDSPValue(words.domain.number);
                    ScriptedDsp dsp;
                    LogCapture log;
                    body(words, way, dsp, log);
                    for (const Domain& other : kDomains)
                    {
                        if (other.number != words.domain.number)
                        {
                            EXPECT_EQ(0u, other.handle) << other.name;
                            EXPECT_EQ(0, other.count) << other.name;
                        }
                    }
                });
        }
    }
}

TEST(Channel, IsOpenedByTheFirstAndClosedByTheLast)
{
    onEveryDomain(
        [](const Words& words, const Way& way, ScriptedDsp& dsp, LogCapture& log)
        {
            const Domain& domain = words.domain;
            setenv("ADSP_LIBRARY_PATH", "elsewhere", 1);
            way.open();
            EXPECT_EQ(Calls{std::string("open ") + words.uri}, dsp.takeCalls());
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.openBegin, 0), line(3, words, words.opened, 7),
                                            line(3, words, words.openEnd, 7)}),
                      log.take());
            EXPECT_EQ(7u, domain.handle);
            EXPECT_EQ(1, domain.count);
            EXPECT_STREQ("/usr/lib/rfsa/adsp;/dsp", std::getenv("ADSP_LIBRARY_PATH"));

            unsetenv("ADSP_LIBRARY_PATH");
            way.open();
            EXPECT_EQ(Calls{}, dsp.takeCalls());
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.openBegin, 7), line(3, words, words.openEnd, 7)}),
                      log.take());
            EXPECT_EQ(2, domain.count);
            EXPECT_STREQ("/usr/lib/rfsa/adsp;/dsp", std::getenv("ADSP_LIBRARY_PATH")) << "set by every open";

            way.close();
            EXPECT_EQ(Calls{"deinitK6 7"}, dsp.takeCalls()) << "the session ends with every close";
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.closeBegin, 7), line(3, words, words.closeEnd, 7)}),
                      log.take());
            EXPECT_EQ(7u, domain.handle);
            EXPECT_EQ(1, domain.count);

            way.close();
            EXPECT_EQ((Calls{"deinitK6 7", "close 7"}), dsp.takeCalls());
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.closeBegin, 7), line(3, words, words.closed, 0),
                                            line(3, words, words.closeEnd, 0)}),
                      log.take());
            EXPECT_EQ(0u, domain.handle);
            EXPECT_EQ(0, domain.count);
        });
}

TEST(Channel, ThatCannotBeOpenedCountsAsOpened)
{
    onEveryDomain(
        [](const Words& words, const Way& way, ScriptedDsp& dsp, LogCapture& log)
        {
            const Domain& domain = words.domain;
            dsp.answer("open", {5, 0});
            way.open();
            EXPECT_EQ(0u, domain.handle);
            EXPECT_EQ(1, domain.count);
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.openBegin, 0), line(6, words, words.openFailed, 0)}),
                      log.take());

            dsp.takeCalls();
            way.open();
            EXPECT_EQ(Calls{}, dsp.takeCalls()) << "not the first any more";
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.openBegin, 0), line(3, words, words.openEnd, 0)}),
                      log.take());

            dsp.answer("deinitK6", {-3});
            way.close();
            way.close();
            EXPECT_EQ((Calls{"deinitK6 0", "deinitK6 0"}), dsp.takeCalls());
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.closeBegin, 0), line(6, words, words.deinitFailed, 0),
                                            line(3, words, words.closeEnd, 0), line(3, words, words.closeBegin, 0),
                                            line(6, words, words.deinitFailed, 0), line(3, words, words.closeEnd, 0)}),
                      log.take());
            way.close();
            EXPECT_EQ(-1, domain.count) << "counts are not held at zero";
            dsp.takeCalls();
            way.open();
            EXPECT_EQ(Calls{}, dsp.takeCalls());
            way.open();
            EXPECT_EQ(7u, domain.handle);
        });
}

TEST(Channel, ThatCannotBeClosedKeepsItsHandle)
{
    onEveryDomain(
        [](const Words& words, const Way& way, ScriptedDsp& dsp, LogCapture& log)
        {
            const Domain& domain = words.domain;
            way.open();
            dsp.answer("close", {1});
            log.take();
            dsp.takeCalls();
            way.close();
            EXPECT_EQ((Calls{"deinitK6 7", "close 7"}), dsp.takeCalls());
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.closeBegin, 7), line(6, words, words.closeFailed, 7)}),
                      log.take());
            EXPECT_EQ(7u, domain.handle);
            EXPECT_EQ(0, domain.count);
            way.open();
            EXPECT_EQ(Calls{}, dsp.takeCalls()) << "the handle is still there";
            EXPECT_EQ((std::vector<LogLine>{line(3, words, words.openBegin, 7), line(3, words, words.openEnd, 7)}),
                      log.take());
        });
}

TEST(Channel, NeedsADomain)
{
    inChild(
        []
        {
            ScriptedDsp dsp;
            for (const int32_t domain : {3, -1, 25})
            {
                setDefaultDSPValue(domain);
                LogCapture log;
                domain_channel_open(1);
                domain_channel_close(1);
                EXPECT_EQ((std::vector<LogLine>{noDomain("domain_channel_open"), noDomain("domain_channel_close")}),
                          log.take());
            }
            EXPECT_EQ(Calls{}, dsp.takeCalls());
            EXPECT_EQ(0, load_stub_symbols());
        });
}

}  // namespace
}  // namespace visora::test
