// Calls that find the DSP restarted, and calls that reach it through entry points and modes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "common/hardware_double.h"
#include "kdsp_rpc/domains.h"
#include "kdsp_rpc/scripted_operations.h"
#include "support/log_capture.h"
#include "support/random.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kMedianRow = 216;
constexpr uint32_t kSide = 200;

using Calls = std::vector<std::string>;
using Image = std::vector<uint8_t>;

Image randomImage(uint64_t seed)
{
    Random random(seed);
    Image image(kSide * kSide);
    for (uint8_t& pixel : image)
    {
        pixel = static_cast<uint8_t>(random.next());
    }
    return image;
}

// A phone whose DSP is scripted, in the mode that gives every call to the compute DSP. Only in a child process.
struct Phone
{
    explicit Phone(const char* processor = kPhone)
    {
        describeProcessor(processor);
        vsrSetOperationMode(VISORA_OP_EXT_KDSP);
        dsp.takeCalls();
    }

    LogCapture log;
    ScriptedOperations dsp;
};

TEST(OffloadRecovery, TriesAgainAfterEachCleanUpAndThenUsesTheVectorVariant)
{
    const struct
    {
        std::deque<int32_t> answers;
        int remoteCalls;
        bool fallsBack;
    } cases[] = {
        {{0}, 1, false},
        {{7}, 1, true},
        {{104, 0}, 2, false},
        {{104, 104, 7}, 3, true},
        {{104, 104, 104, 104, 104, 0}, 6, false},
        {{104}, 6, true},
    };
    for (const auto& one : cases)
    {
        inChild(
            [&]
            {
                Phone phone;
                phone.dsp.computes = false;
                phone.dsp.answer("vsrFilterMedian3x3u8K", one.answers);
                std::vector<VSR_IMPL> kinds;
                phone.dsp.decide = [&]
                {
                    kinds.push_back(vsrImplTable[kMedianRow]);
                    return phone.dsp.call("vsrFilterMedian3x3u8K", "");
                };
                // What only the fallback writes.
                const Image src = randomImage(1);
                Image dst(src.size());
                EXPECT_EQ(0u, vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()));
                Image expected(src.size());
                if (one.fallsBack)
                {
                    vsrFilterMedian3x3u8V(src.data(), kSide, kSide, kSide, expected.data(), kSide);
                }
                EXPECT_EQ(expected, dst);

                Calls calls;
                std::vector<VSR_IMPL> expectedKinds;
                for (int call = 0; call < one.remoteCalls; ++call)
                {
                    if (call > 0)
                    {
                        calls.push_back("vsrK6GetClk 7 0");
                    }
                    calls.push_back("vsrFilterMedian3x3u8K ");
                    expectedKinds.push_back(call == 0 ? VSR_IMPL_CDSP : VSR_IMPL_VECTA);
                }
                EXPECT_EQ(calls, phone.dsp.takeCalls());
                EXPECT_EQ(expectedKinds, kinds);
                EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[kMedianRow]);
                EXPECT_EQ(VISORA_OP_EXT_KDSP, mode_globalVar);
                for (const RemoteCall& call : phone.dsp.takeRemoteCalls())
                {
                    EXPECT_EQ(
                        (std::vector<uint64_t>{reinterpret_cast<uintptr_t>(src.data()), kSide * kSide, kSide, kSide,
                                               kSide, reinterpret_cast<uintptr_t>(dst.data()), kSide * kSide, kSide}),
                        call.arguments)
                        << "the same call again";
                }
            });
    }
}

TEST(OffloadRecovery, OperationsWithoutAFallbackTryAgainAndGiveTheLastAnswer)
{
    const struct
    {
        std::deque<int32_t> answers;
        size_t remoteCalls;
        uint32_t result;
    } cases[] = {{{0}, 1, 0}, {{7}, 1, 7}, {{104, 0}, 2, 0}, {{104, 104, 7}, 3, 7}, {{104}, 6, 104}};
    for (const auto& one : cases)
    {
        inChild(
            [&]
            {
                Phone phone;
                phone.dsp.computes = false;
                phone.dsp.answer("vsrImageGradientScharrInterleaveds16K", one.answers);
                const Image src = randomImage(1);
                std::vector<int16_t> pairs(2 * src.size());
                EXPECT_EQ(one.result, vsrImageGradientScharrInterleaveds16K(src.data(), kSide, kSide, kSide,
                                                                            pairs.data(), 4 * kSide));
                EXPECT_EQ(std::vector<int16_t>(pairs.size()), pairs);
                EXPECT_EQ(one.remoteCalls, phone.dsp.takeRemoteCalls().size());
                EXPECT_EQ(VISORA_OP_EXT_KDSP, mode_globalVar);
            });
    }
}

TEST(OffloadRecovery, ADspThatStaysDownIsReloadedAndNotAskedAgain)
{
    inChild(
        []
        {
            Phone phone;
            phone.dsp.answer("vsrFilterMedian3x3u8K", {104});
            phone.dsp.answer("vsrK6GetClk", {1});
            const Image src = randomImage(2);
            Image dst(src.size());
            Image expected(src.size());
            EXPECT_EQ(0u, vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()));
            vsrFilterMedian3x3u8V(src.data(), kSide, kSide, kSide, expected.data(), kSide);
            EXPECT_EQ(expected, dst);
            const Calls calls = phone.dsp.takeCalls();
            EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "vsrFilterMedian3x3u8K 7"));
            EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "vsrK6GetClk 7 0"));
            EXPECT_EQ(15, std::count(calls.begin(), calls.end(), "sleep 1"));
            EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[kMedianRow]);
        });
}

TEST(OffloadRecovery, TheResultIsTheOperationsStatusOrThatOfRestoringTheMode)
{
    inChild(
        []
        {
            // With neither vector nor floating-point unit every mode is refused.
            Phone phone("CPU architecture: 8\nCPU implementer\t: 0x51\n");
            Image image(kSide * kSide);
            const auto withStatus = [&]
            { return vsrBitwiseNotu8Kc(image.data(), kSide, kSide, 0, image.data() + kSide, kSide); };
            const auto without = [&]
            { return vsrFilterMedian3x3u8Kc(image.data(), kSide, kSide, kSide, image.data() + kSide, kSide); };
            phone.dsp.computes = false;
            for (const bool restarts : {false, true})
            {
                const std::deque<int32_t> answers = restarts ? std::deque<int32_t>{104, 0} : std::deque<int32_t>{0};
                phone.dsp.answer("vsrBitwiseNotu8K", answers);
                phone.dsp.answer("vsrFilterMedian3x3u8K", answers);
                EXPECT_EQ(1u, withStatus()) << "as the DSP left it";
                EXPECT_EQ(restarts ? vsrStatus{VISORA_MODE_REFUSED} : 0, without());
            }
        });
}

TEST(OffloadDispatch, EntryPointsReachTheDomainOfTheirKind)
{
    inChild(
        []
        {
            Phone phone;
            adsp_domain_handle = 21;
            cdsp_domain_handle = 22;
            mdsp_domain_handle = 23;
            const Image src = randomImage(3);
            Image dst(src.size());
            const auto handles = [&]
            {
                EXPECT_EQ(0u, vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()));
                EXPECT_EQ(
                    0u, vsrColorYUV420toRGB565u8Rotate180(src.data(), 64, 32, reinterpret_cast<uint32_t*>(dst.data())));
                std::vector<uint64_t> seen;
                for (const RemoteCall& call : phone.dsp.takeRemoteCalls())
                {
                    seen.push_back(call.handle);
                }
                return seen;
            };
            using Handles = std::vector<uint64_t>;
            EXPECT_EQ((Handles{22, 22}), handles());
            setDefaultDSPValue(0);
            EXPECT_EQ((Handles{22, 22}), handles()) << "pinned when the mode was applied";

            VSR_FUNC_MANAGER manager = {vsrImplTable,         VSR_ROW_COUNT,          &vsrFuncTable,
                                        vsrInternalImplTable, VSR_INTERNAL_ROW_COUNT, &vsrInternalFuncTable,
                                        VSR_KIND_COUNT};
            uKacmIndex(&manager, VSR_IMPL_MDSP);
            EXPECT_EQ(Handles{}, handles()) << "a column that was never filled: the vector variant";
            uKmTable(&manager, VSR_IMPL_MDSP);
            EXPECT_EQ((Handles{23, 23}), handles());

            uKIndex(&manager);
            uKTable(&manager, VSR_IMPL_KDSP);
            for (const int32_t domain : {0, 1, 2})
            {
                setDefaultDSPValue(domain);
                EXPECT_EQ(Handles(2, 21 + static_cast<uint64_t>(domain)), handles()) << "chosen by every call";
            }
            setDefaultDSPValue(5);
            phone.log.take();
            EXPECT_EQ(vsrStatus{VISORA_EHWFAIL}, vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()));
            EXPECT_EQ(std::vector{noDomain("vsrFilterMedian3x3u8K")}, phone.log.take());
        });
}

TEST(OffloadDispatch, ADeclinedCallRunsTheVectorVariant)
{
    inChild(
        []
        {
            Phone phone;
            const Image src = randomImage(4);
            Image dst(src.size());
            Image expected(src.size());
            vsrFilterMedian3x3u8_v3C(src.data(), 100, 100, 100, expected.data(), 100, VISORA_BORDER_CONSTANT, 9);
            ASSERT_EQ(VSR_IMPL_CDSP, vsrImplTable[475]);
            EXPECT_EQ(0u, vsrFilterMedian3x3u8_v3(src.data(), 100, 100, 0, dst.data(), 0, VISORA_BORDER_CONSTANT, 9));
            EXPECT_EQ(expected, dst);
            EXPECT_TRUE(phone.dsp.takeRemoteCalls().empty());
        });
}

// The calls of eight threads, some of which find the DSP restarted, and now and then dead. Modes are applied all the
// while: the kinds, slots and switches that calls read change under them, one word at a time.
TEST(OffloadThreads, EveryCallIsServedWhileTheDspRestarts)
{
    inChild(
        []
        {
            constexpr int kThreads = 8;
            constexpr int kRounds = 40;
            Phone phone;
            std::atomic<uint32_t> calls = 0;
            phone.dsp.decide = [&] { return calls.fetch_add(1, std::memory_order_relaxed) % 5 == 2 ? 104 : 0; };
            std::deque<int32_t> probes(kThreads * kRounds, 0);
            for (size_t i = 0; i < probes.size(); i += 4)
            {
                probes[i] = 1;
            }
            phone.dsp.answer("vsrK6GetClk", probes);

            const Image src = randomImage(5);
            Image median(src.size());
            Image gaussian(src.size());
            vsrFilterMedian3x3u8C(src.data(), kSide, kSide, kSide, median.data(), kSide);
            vsrFilterGaussian3x3u8_v3C(src.data(), kSide, kSide, kSide, gaussian.data(), kSide, VISORA_BORDER_REPLICATE,
                                       0);
            std::atomic<int> wrong = 0;
            const auto work = [&]
            {
                for (int round = 0; round < kRounds; ++round)
                {
                    Image dst(src.size());
                    wrong += vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()) != 0 || dst != median;
                    wrong += vsrFilterGaussian3x3u8_v3(src.data(), kSide, kSide, 0, dst.data(), 0,
                                                       VISORA_BORDER_REPLICATE, 0) != 0 ||
                             dst != gaussian;
                }
            };
            std::vector<std::thread> threads;
            for (int i = 0; i < kThreads; ++i)
            {
                threads.emplace_back(work);
            }
            for (std::thread& thread : threads)
            {
                thread.join();
            }
            EXPECT_EQ(0, wrong);
            EXPECT_EQ(VSR_IMPL_CDSP, vsrImplTable[kMedianRow]) << "the application's mode again";
            const Calls seen = phone.dsp.takeCalls();
            EXPECT_NE(0, std::count(seen.begin(), seen.end(), "sleep 1")) << "the DSP was dead once";
            EXPECT_GT(calls, 2u * kThreads);
        });
}

CHILD_TEST(OffloadThreads, MeetARestartTogetherAfterTheDomainWasChanged)
{
    constexpr int kThreads = 8;
    Phone phone;
    vsrSetDefaultDspEXT(0);
    std::atomic<int> calls = 0;
    std::atomic<int> sleeps = 15;
    std::atomic<int> intrusions = 0;
    phone.dsp.decide = [&]
    {
        // The first call of every thread finds the DSP restarted, once all are on their way.
        if (calls.fetch_add(1) >= kThreads)
        {
            return 0;
        }
        while (calls < kThreads)
        {
            std::this_thread::yield();
        }
        return 104;
    };
    phone.dsp.answer("vsrK6GetClk", {1, 0});
    phone.dsp.onCall = [&](std::string_view function)
    {
        const bool waits = function == "sleep" || function == "initK6_with_attributes";
        sleeps = function == "open" && cdspDomainHandle_count == 1 ? 0 : sleeps + (function == "sleep");
        intrusions += (sleeps > 0 && sleeps < 15 && !waits) || defaultDSP != 0;
    };
    const Image src = randomImage(6);
    Image expected(src.size());
    vsrFilterMedian3x3u8C(src.data(), kSide, kSide, kSide, expected.data(), kSide);
    std::atomic<int> wrong = 0;
    inThreads(kThreads,
              [&](int)
              {
                  Image dst(src.size());
                  wrong += vsrFilterMedian3x3u8(src.data(), kSide, kSide, dst.data()) != 0 || dst != expected;
              });
    EXPECT_EQ(0, wrong);
    EXPECT_EQ(0, intrusions) << "nothing happens in the waiting time, and the chosen domain is the chosen one";
    const Calls seen = phone.dsp.takeCalls();
    EXPECT_EQ(15, std::count(seen.begin(), seen.end(), "sleep 1"));
    EXPECT_EQ(1, std::count(seen.begin(), seen.end(), "initK6_with_attributes 9 3=2 1")) << "in the new domain";
    EXPECT_EQ(1, std::count_if(seen.begin(), seen.end(),
                               [](const std::string& call) { return call.find("3=2 1") != std::string::npos; }));
    EXPECT_EQ(0, cdspDomainHandle_count);
    EXPECT_EQ(0u, cdsp_domain_handle);
    EXPECT_EQ(1, adspDomainHandle_count);
    EXPECT_EQ(9u, adsp_domain_handle);
    EXPECT_EQ(VSR_IMPL_ADSP, vsrImplTable[kMedianRow]);
}

}  // namespace
}  // namespace visora::test
