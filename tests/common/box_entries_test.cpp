// What the entry points of the box filters and of the M x N median refuse and which kind serves them.
#include <gtest/gtest.h>

#include <vector>

#include "support/log_capture.h"
#include "visora/dispatch.h"
#include "visora/filter.h"
#include "visora/runtime.h"

namespace visora::test
{
namespace
{

using BoxFunction = vsrStatus (*)(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

struct OlderBox
{
    const char* name;
    BoxFunction entry;
    uint32_t row;
    uint32_t size;
    const char* condition;
};

const OlderBox kOlderBoxes[] = {
    {"vsrBoxFilter3x3u8", vsrBoxFilter3x3u8, 19, 3,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && srcWidth > 2 && "
     "srcHeight > 2"},
    {"vsrBoxFilter5x5u8", vsrBoxFilter5x5u8, 21, 5,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && srcWidth > 4 && "
     "srcHeight > 4"},
    {"vsrBoxFilter11x11u8", vsrBoxFilter11x11u8, 18, 11,
     "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && "
     "srcHeight > 10"},
};

TEST(BoxEntries, OlderStyleLogsItsConditionAndPassesOnTheLogsResult)
{
    const std::vector<uint8_t> src(1024, 1);
    std::vector<uint8_t> dst(1024, 2);
    const std::vector<uint8_t> untouched = dst;
    for (const OlderBox& box : kOlderBoxes)
    {
        const uint32_t n = box.size;
        const struct
        {
            const uint8_t* src;
            uint32_t width, height, srcStride;
            uint8_t* dst;
        } refused[] = {
            {nullptr, n, n, n, dst.data()},        {src.data(), n, n, n, nullptr},
            {src.data(), 0, n, n, dst.data()},     {src.data(), n, 0, n, dst.data()},
            {src.data(), n - 1, n, n, dst.data()}, {src.data(), n, n - 1, n, dst.data()},
            {src.data(), n, n, n - 1, dst.data()}, {src.data(), 0, 0, 0, dst.data()},
            {src.data(), n - 1, n, 0, dst.data()},
        };
        for (const auto& call : refused)
        {
            LogCapture log(-17);
            EXPECT_EQ(static_cast<vsrStatus>(-17),
                      box.entry(call.src, call.width, call.height, call.srcStride, call.dst, n));
            EXPECT_EQ((std::vector{refusal(box.name, box.condition)}), log.take()) << &call - refused;
        }
        EXPECT_EQ(untouched, dst);

        LogCapture log;
        EXPECT_EQ(0u, box.entry(src.data(), n, n, 0, dst.data(), 0)) << "the smallest image, packed";
        EXPECT_EQ(std::vector<LogLine>(), log.take());
        dst = untouched;
    }
}

TEST(BoxEntries, StatusMembersRefuseSilently)
{
    const std::vector<uint8_t> bytes(64, 1);
    const std::vector<int16_t> words(64, 1);
    const std::vector<float> floats(64, 1);
    std::vector<uint8_t> bytesOut(64, 2);
    std::vector<int16_t> wordsOut(64, 2);
    std::vector<float> floatsOut(64, 2);
    const uint8_t* b = bytes.data();
    uint8_t* bo = bytesOut.data();
    const int16_t* w = words.data();
    int16_t* wo = wordsOut.data();
    const float* f = floats.data();
    float* fo = floatsOut.data();
    LogCapture log;
    const vsrStatus results[] = {
        vsrBoxFilter3x3u8_v2(nullptr, 8, 8, 8, bo, 8, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 8, 8, 8, nullptr, 8, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 0, 8, 8, bo, 8, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 8, 0, 8, bo, 8, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 8, 8, 7, bo, 8, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 8, 8, 8, bo, 7, 0, 0),
        vsrBoxFilter3x3u8_v2(b, 8, 8, 8, bo, 8, 3, 0),
        vsrBoxFilterNxNf32(nullptr, 8, 8, 32, fo, 32, 3),
        vsrBoxFilterNxNf32(f, 8, 8, 32, nullptr, 32, 3),
        vsrBoxFilterNxNf32(f, 4, 8, 32, fo, 32, 3),
        vsrBoxFilterNxNf32(f, 8, 4, 32, fo, 32, 3),
        vsrBoxFilterNxNf32(f, 8, 8, 31, fo, 32, 3),
        vsrBoxFilterNxNf32(f, 8, 8, 32, fo, 28, 3),
        vsrBoxFilterNxNf32(f, 8, 8, 32, fo, 32, 1),
        vsrBoxFilterNxNf32(f, 8, 8, 32, fo, 32, 0),
        vsrBoxFilterNxNf32(fo, 7, 8, 28, fo, 32, 3),
        // A row longer than 32 bits can say: no stride holds it, packed or not.
        vsrBoxFilterNxNf32(f, 0x40000001, 8, 0, fo, 0, 3),
        vsrFilterMedianMxNs16(nullptr, 8, 8, 16, 3, 3, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 8, 16, 3, 3, nullptr, 16),
        vsrFilterMedianMxNs16(w, 0, 8, 16, 3, 3, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 0, 16, 3, 3, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 8, 15, 3, 3, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 8, 16, 3, 3, wo, 15),
        vsrFilterMedianMxNs16(w, 8, 8, 16, 0, 3, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 8, 16, 3, 0, wo, 16),
        vsrFilterMedianMxNs16(w, 8, 8, 16, 3, 256, wo, 16),
        vsrFilterMedianMxNs16(w, 0x80000001, 8, 0, 3, 3, wo, 0),
    };
    for (const vsrStatus& result : results)
    {
        EXPECT_EQ(3u, result) << "call " << &result - results;
    }
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(std::vector<uint8_t>(64, 2), bytesOut);
    EXPECT_EQ(std::vector<int16_t>(64, 2), wordsOut);
    EXPECT_EQ(std::vector<float>(64, 2), floatsOut);

    EXPECT_EQ(0u, vsrBoxFilterNxNf32(f, 8, 8, 0, fo, 0, 2));
    EXPECT_EQ(1.0f, floatsOut[63]);
    EXPECT_EQ(0u, vsrFilterMedianMxNs16(w, 8, 8, 0, 3, 255, wo, 0)) << "a window higher than the image";
    EXPECT_EQ(std::vector<int16_t>(64, 2), wordsOut);
    EXPECT_EQ(0u, vsrFilterMedianMxNs16(w, 8, 8, 0, 3, 3, wo, 0));
    EXPECT_EQ(1, wordsOut[9]);
}

// Puts a row on a DSP for a while, with tracing.
class OnDsp
{
  public:
    explicit OnDsp(uint32_t row) : row_(row)
    {
        vsrImplTable[row] = VSR_IMPL_CDSP;
        libLogPrint = 1;
    }
    ~OnDsp()
    {
        vsrImplTable[row_] = VSR_IMPL_CPU;
        libLogPrint = 0;
    }
    OnDsp(const OnDsp&) = delete;
    OnDsp& operator=(const OnDsp&) = delete;

  private:
    uint32_t row_;
};

TEST(BoxEntries, SmallOrLowImagesDoNotGoToTheDsp)
{
    alignas(16) static float src[8800 * 12];
    alignas(16) static float dst[8800 * 12];
    const auto* b = reinterpret_cast<const uint8_t*>(src);
    auto* bo = reinterpret_cast<uint8_t*>(dst);
    LogCapture log;
    const auto expectServed = [&](const char* entry, const char* kind)
    { EXPECT_EQ((std::vector{trace(entry, kind)}), log.take()); };
    for (const OlderBox& box : kOlderBoxes)
    {
        const OnDsp kind(box.row);
        box.entry(b, 176, 144, 176, bo, 176);
        expectServed(box.name, "VECTA");
        box.entry(b, 176, 144, 184, bo, 176);
        expectServed(box.name, "CDSP");
        box.entry(b + 4, 176, 144, 184, bo, 176);
        expectServed(box.name, "VECTA");
    }
    {
        const OnDsp kind(20);
        vsrBoxFilter3x3u8_v2(b, 8800, 3, 0, bo, 0, VISORA_BORDER_REPLICATE, 0);
        expectServed("vsrBoxFilter3x3u8_v2", "VECTA");
        vsrBoxFilter3x3u8_v2(b, 8800, 4, 0, bo, 0, VISORA_BORDER_REPLICATE, 0);
        expectServed("vsrBoxFilter3x3u8_v2", "CDSP");
    }
    {
        // Much work per pixel: 6337 pixels are enough.
        const OnDsp kind(22);
        vsrBoxFilterNxNf32(src, 88, 72, 0, dst, 0, 2);
        expectServed("vsrBoxFilterNxNf32", "VECTA");
        vsrBoxFilterNxNf32(src, 88, 73, 0, dst, 0, 2);
        expectServed("vsrBoxFilterNxNf32", "CDSP");
    }
}

}  // namespace
}  // namespace visora::test
