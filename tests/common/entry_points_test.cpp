// What every entry point does around its kernel: choose the kind, trace, refuse.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr uint32_t kMedianRow = 216;
constexpr uint32_t kMedianV3Row = 475;

// Gives a row a kind, switches tracing on, and puts everything back.
class RowKind
{
  public:
    RowKind(uint32_t row, VSR_IMPL kind) : row_(row)
    {
        vsrImplTable[row] = kind;
        libLogPrint = 1;
    }
    ~RowKind()
    {
        vsrImplTable[row_] = VSR_IMPL_CPU;
        libLogPrint = 0;
        HW_constraint_checks_enable = 1;
    }
    RowKind(const RowKind&) = delete;
    RowKind& operator=(const RowKind&) = delete;

  private:
    uint32_t row_;
};

// Puts an implementation into a slot for a while.
class SlotOverride
{
  public:
    template <class Function>
    SlotOverride(uint32_t row, VSR_IMPL kind, Function* function)
        : slot_(vsrFuncTable[row * VSR_KIND_COUNT + kind]), before_(slot_)
    {
        slot_ = reinterpret_cast<VSR_FUNC>(function);
    }
    ~SlotOverride() { slot_ = before_; }
    SlotOverride(const SlotOverride&) = delete;
    SlotOverride& operator=(const SlotOverride&) = delete;

  private:
    VSR_FUNC& slot_;
    VSR_FUNC before_;
};

struct MedianCase
{
    VSR_IMPL kind;
    uint32_t width;
    uint32_t height;
    uint32_t srcStride;
    uint32_t dstStride;
    size_t srcOffset;
    const char* served;
};

TEST(EntryPoints, MedianChoosesTheKindByTheConstraintsOfTheCall)
{
    const MedianCase cases[] = {
        {VSR_IMPL_CPU, 64, 64, 0, 0, 0, "CPU"},
        {VSR_IMPL_VECTA, 64, 64, 0, 0, 1, "VECTA"},
        // 176 x 144 is one pixel short of being worth the DSP; the stride counts, not the width.
        {VSR_IMPL_CDSP, 176, 144, 176, 176, 0, "VECTA"},
        {VSR_IMPL_CDSP, 176, 144, 184, 176, 0, "CDSP"},
        {VSR_IMPL_KDSP, 176, 144, 184, 176, 0, "KDSP"},
        {VSR_IMPL_ADSP, 176, 144, 184, 176, 0, "ADSP"},
        {VSR_IMPL_MDSP, 176, 144, 184, 176, 0, "MDSP"},
        {VSR_IMPL_MDSP, 176, 144, 184, 180, 0, "VECTA"},
        {VSR_IMPL_MDSP, 172, 160, 184, 176, 0, "VECTA"},
        {VSR_IMPL_MDSP, 176, 160, 188, 176, 0, "VECTA"},
        {VSR_IMPL_ADSP, 176, 144, 184, 176, 4, "VECTA"},
        {VSR_IMPL_ADSP, 176, 144, 184, 176, 8, "ADSP"},
        {VSR_IMPL_ADSP, 8800, 3, 8800, 8800, 0, "VECTA"},
        {VSR_IMPL_ADSP, 8800, 4, 8800, 8800, 0, "ADSP"},
        {VSR_IMPL_GPU, 64, 8, 64, 64, 0, "GPU"},
        {VSR_IMPL_GPU, 60, 8, 64, 64, 0, "GPU"},
        {VSR_IMPL_GPU, 64, 8, 64, 68, 0, "VECTA"},
        {VSR_IMPL_GPU, 64, 8, 64, 64, 8, "VECTA"},
    };
    alignas(16) static uint8_t src[8800 * 4 + 16];
    alignas(16) static uint8_t dst[8800 * 4];
    for (const MedianCase& c : cases)
    {
        const RowKind kind(kMedianRow, c.kind);
        LogCapture log;
        EXPECT_EQ(0u, vsrFilterMedian3x3u8_v2(src + c.srcOffset, c.width, c.height, c.srcStride, dst, c.dstStride));
        EXPECT_EQ((std::vector{trace("vsrFilterMedian3x3u8_v2", c.served)}), log.take())
            << c.width << "x" << c.height << " " << c.srcStride << " " << c.dstStride << " " << c.srcOffset;
    }
}

TEST(EntryPoints, SwitchedOffConstraintChecksLeaveTheDspKind)
{
    const RowKind kind(kMedianRow, VSR_IMPL_CDSP);
    const std::vector<uint8_t> src(25);
    std::vector<uint8_t> dst(25);
    LogCapture log;
    HW_constraint_checks_enable = 0;
    vsrFilterMedian3x3u8(src.data(), 5, 5, dst.data());
    HW_constraint_checks_enable = 1;
    vsrFilterMedian3x3u8(src.data(), 5, 5, dst.data());
    EXPECT_EQ((std::vector{trace("vsrFilterMedian3x3u8", "CDSP"), trace("vsrFilterMedian3x3u8", "VECTA")}), log.take());
}

TEST(EntryPoints, OlderStyleLogsTheConditionAndPassesOnTheLogsResult)
{
    constexpr char kPlain[] = "src && dst && width && height";
    constexpr char kStrided[] = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
    const std::vector<uint8_t> src(64, 1);
    std::vector<uint8_t> dst(64, 2);
    const std::vector<uint8_t> untouched = dst;
    for (const int result : {1, 17, -11})
    {
        LogCapture log(result);
        const auto refused = [&](vsrStatus status, const char* entry, const char* condition)
        {
            EXPECT_EQ(static_cast<vsrStatus>(result), status);
            EXPECT_EQ((std::vector{refusal(entry, condition)}), log.take());
            EXPECT_EQ(untouched, dst);
        };
        refused(vsrFilterMedian3x3u8(nullptr, 8, 8, dst.data()), "vsrFilterMedian3x3u8", kPlain);
        refused(vsrFilterMedian3x3u8(src.data(), 8, 8, nullptr), "vsrFilterMedian3x3u8", kPlain);
        refused(vsrFilterMedian3x3u8(src.data(), 0, 8, dst.data()), "vsrFilterMedian3x3u8", kPlain);
        refused(vsrFilterMedian3x3u8(src.data(), 8, 0, dst.data()), "vsrFilterMedian3x3u8", kPlain);
        refused(vsrFilterMedian3x3u8_v2(src.data(), 8, 8, 7, dst.data(), 8), "vsrFilterMedian3x3u8_v2", kStrided);
        refused(vsrFilterMedian3x3u8_v2(src.data(), 8, 0, 8, dst.data(), 8), "vsrFilterMedian3x3u8_v2", kStrided);
    }
}

TEST(EntryPoints, ARefusedCallStillLeavesItsTrace)
{
    const RowKind kind(kMedianRow, VSR_IMPL_VECTA);
    const RowKind kindV3(kMedianV3Row, VSR_IMPL_VECTA);
    LogCapture log;
    EXPECT_EQ(1u, vsrFilterMedian3x3u8(nullptr, 8, 8, nullptr));
    EXPECT_EQ(3u, vsrFilterMedian3x3u8_v3(nullptr, 8, 8, 8, nullptr, 8, 0, 0));
    EXPECT_EQ((std::vector{trace("vsrFilterMedian3x3u8", "VECTA"),
                           refusal("vsrFilterMedian3x3u8", "src && dst && width && height"),
                           trace("vsrFilterMedian3x3u8_v3", "VECTA")}),
              log.take());
}

TEST(EntryPoints, NewerStyleRefusesSilently)
{
    std::vector<uint8_t> src(256, 1);
    std::vector<uint8_t> dst(256, 2);
    const std::vector<uint8_t> untouched = dst;
    const std::vector<uint8_t> table(256, 3);
    const uint8_t* s = src.data();
    uint8_t* d = dst.data();
    const uint8_t* t = table.data();
    LogCapture log;
    const vsrStatus results[] = {
        vsrFilterMedian3x3u8_v3(nullptr, 8, 8, 8, d, 8, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 8, 8, 8, nullptr, 8, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 0, 8, 8, d, 8, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 8, 0, 8, d, 8, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 8, 8, 7, d, 8, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 8, 8, 8, d, 7, 0, 0),
        vsrFilterMedian3x3u8_v3(s, 8, 8, 8, d, 8, 3, 0),
        vsrBitwiseNotu8(nullptr, 8, 8, 8, d, 8),
        vsrBitwiseNotu8(s, 8, 8, 8, nullptr, 8),
        vsrBitwiseNotu8(s, 0, 8, 8, d, 8),
        vsrBitwiseNotu8(s, 8, 0, 8, d, 8),
        vsrBitwiseNotu8(s, 8, 8, 7, d, 8),
        vsrBitwiseNotu8(s, 8, 8, 8, d, 7),
        vsrBitwiseNotu8(d, 8, 8, 8, d, 9),
        vsrTableLookupu8(s, 8, 8, 8, nullptr, d, 8),
        vsrTableLookupu8(nullptr, 8, 8, 8, t, d, 8),
        vsrTableLookupu8(s, 8, 8, 7, t, d, 8),
        vsrTableLookupu8(d, 8, 8, 8, t, d, 9),
        vsrRotateImageInterleavedu8(s, 8, 4, 16, d, 8, 0),
        vsrRotateImageInterleavedu8(s, 8, 4, 16, d, 8, 4),
        vsrRotateImageInterleavedu8(s, 8, 4, 15, d, 8, 1),
        vsrRotateImageInterleavedu8(s, 8, 4, 16, d, 7, 1),
        vsrRotateImageInterleavedu8(s, 8, 4, 16, d, 15, 2),
        vsrRotateImageInterleavedu8(s, 8, 4, 16, nullptr, 16, 2),
        vsrRotateImageInterleavedu8(d, 8, 8, 16, d, 16, 2),
    };
    for (const vsrStatus& result : results)
    {
        EXPECT_EQ(3u, result) << "call " << &result - results;
    }
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(untouched, dst);
}

vsrStatus decliningV3(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t, vsrBorderType, uint8_t)
{
    return VISORA_EFALLBACK;
}

vsrStatus declining(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t)
{
    return VISORA_EFALLBACK;
}

TEST(EntryPoints, TheVectorVariantServesWhenAnAcceleratedOneDeclines)
{
    const RowKind kind(kMedianRow, VSR_IMPL_KDSP);
    const RowKind kindV3(kMedianV3Row, VSR_IMPL_KDSP);
    const SlotOverride slot(kMedianRow, VSR_IMPL_KDSP, declining);
    const SlotOverride slotV3(kMedianV3Row, VSR_IMPL_KDSP, decliningV3);
    HW_constraint_checks_enable = 0;
    const std::vector<uint8_t> src(25, 7);
    std::vector<uint8_t> dst(25, 0);
    LogCapture log;
    EXPECT_EQ(0u, vsrFilterMedian3x3u8_v3(src.data(), 5, 5, 0, dst.data(), 0, VISORA_BORDER_REPLICATE, 0));
    EXPECT_EQ(src, dst);
    // The older style hands the status on.
    EXPECT_EQ(vsrStatus{VISORA_EFALLBACK}, vsrFilterMedian3x3u8(src.data(), 5, 5, dst.data()));
}

TEST(EntryPoints, AnEmptyDspColumnIsServedByTheVectorVariant)
{
    const RowKind kind(kMedianRow, VSR_IMPL_MDSP);
    HW_constraint_checks_enable = 0;
    const std::vector<uint8_t> src(9, 7);
    std::vector<uint8_t> dst(9, 0);
    LogCapture log;
    EXPECT_EQ(0u, vsrFilterMedian3x3u8(src.data(), 3, 3, dst.data()));
    EXPECT_EQ(7, dst[4]);
}

TEST(EntryPoints, InPlaceWorksWhereItIsAllowed)
{
    std::vector<uint8_t> image(200, 0x0f);
    std::vector<uint8_t> reversal(256);
    for (size_t i = 0; i < reversal.size(); ++i)
    {
        reversal[i] = static_cast<uint8_t>(255 - i);
    }
    for (const VSR_IMPL kind : {VSR_IMPL_CPU, VSR_IMPL_VECTA})
    {
        uVTable(VSR_IMPL_VECTA);
        vsrImplTable[441] = vsrImplTable[496] = kind;
        EXPECT_EQ(0u, vsrBitwiseNotu8(image.data(), 67, 2, 100, image.data(), 100));
        EXPECT_EQ(0xf0, image[166]);
        EXPECT_EQ(0u, vsrTableLookupu8(image.data(), 67, 2, 100, reversal.data(), image.data(), 100));
        EXPECT_EQ(std::vector<uint8_t>(200, 0x0f), image);
    }
    vsrImplTable[441] = vsrImplTable[496] = VSR_IMPL_CPU;
}

TEST(EntryPoints, RotationTurnsClockwise)
{
    // 1 2 3      4 1      6 5 4      3 6
    // 4 5 6  ->  5 2  ->  3 2 1  ->  2 5
    //            6 3                 1 4
    const std::vector<uint8_t> src = {1, 11, 2, 12, 3, 13, 4, 14, 5, 15, 6, 16};
    const std::vector<uint8_t> expected[] = {{4, 14, 1, 11, 5, 15, 2, 12, 6, 16, 3, 13},
                                             {6, 16, 5, 15, 4, 14, 3, 13, 2, 12, 1, 11},
                                             {3, 13, 6, 16, 2, 12, 5, 15, 1, 11, 4, 14}};
    for (uint32_t rotation = 1; rotation <= 3; ++rotation)
    {
        std::vector<uint8_t> dst(12);
        EXPECT_EQ(0u, vsrRotateImageInterleavedu8(src.data(), 3, 2, 0, dst.data(), 0, rotation));
        EXPECT_EQ(expected[rotation - 1], dst) << rotation;
    }
}

}  // namespace
}  // namespace visora::test
