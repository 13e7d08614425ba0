// What the entry points of the Gaussians do around their kernels.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{
namespace
{

constexpr char kPlain[] = "src && dst && width && height";
constexpr char kPlain5x5u8[] = "src && dst && width && height && height > 4 && width > 4";
constexpr char kPlain5x5s16[] = "src && dst && width && height && height > 1";
constexpr char kPlain5x5s32[] = "src && dst && width && height && width > 4 && height > 4";
constexpr char kPlain11x11[] = "src && dst && width && height && height > 10 && width > 10";
constexpr char kStrided3x3[] =
    "src && dst && (srcWidth > 1) && (srcHeight > 1) && (srcStride >= srcWidth) && (dstStride >= srcWidth)";
constexpr char kStrided5x5u8[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 && srcWidth > 4";
constexpr char kStrided5x5s16[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int16_t)) && "
    "(dstStride >= srcWidth*sizeof(int16_t)) && srcHeight > 1";
constexpr char kStrided5x5s32[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth*sizeof(int32_t)) && "
    "(dstStride >= srcWidth*sizeof(int32_t)) && srcWidth > 4 && srcHeight > 4";
constexpr char kStrided11x11[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 && srcWidth > 10";

// An image of zeros is a source and, filled with a pattern, a destination for any element type.
struct Buffers
{
    std::vector<int32_t> src = std::vector<int32_t>(1024, 0);
    std::vector<int32_t> dst = std::vector<int32_t>(1024, 0x5a5a5a5a);

    template <class T>
    const T* from() const
    {
        return reinterpret_cast<const T*>(src.data());
    }
    template <class T>
    T* to()
    {
        return reinterpret_cast<T*>(dst.data());
    }
    bool untouched() const { return dst == Buffers().dst; }
};

struct PlainCase
{
    uint32_t width;
    uint32_t height;
    bool src;
    bool dst;
};

template <class T>
using PlainEntry = vsrStatus (*)(const T*, uint32_t, uint32_t, T*, int32_t);
template <class T>
using StridedEntry = vsrStatus (*)(const T*, uint32_t, uint32_t, uint32_t, T*, uint32_t, int32_t);

// Calls are refused with the log call's result, one line and nothing written; the same call with good arguments, the
// last of the table, works.
template <class T>
void expectPlainRefusals(PlainEntry<T> entry, const char* name, const char* condition,
                         std::initializer_list<PlainCase> refused, PlainCase served)
{
    for (const int result : {1, -11})
    {
        LogCapture log(result);
        Buffers b;
        for (const PlainCase& c : refused)
        {
            EXPECT_EQ(static_cast<vsrStatus>(result),
                      entry(c.src ? b.from<T>() : nullptr, c.width, c.height, c.dst ? b.to<T>() : nullptr, 1));
            EXPECT_EQ((std::vector{refusal(name, condition)}), log.take()) << c.width << "x" << c.height;
        }
        EXPECT_TRUE(b.untouched()) << name;
        EXPECT_EQ(0u, entry(b.from<T>(), served.width, served.height, b.to<T>(), 1)) << name;
        EXPECT_EQ(std::vector<LogLine>(), log.take());
        EXPECT_FALSE(b.untouched()) << name;
    }
}

struct StridedCase
{
    uint32_t width;
    uint32_t height;
    uint32_t srcStride;
    uint32_t dstStride;
    bool src = true;
    bool dst = true;
};

template <class T>
void expectStridedRefusals(StridedEntry<T> entry, const char* name, const char* condition,
                           std::initializer_list<StridedCase> refused, StridedCase served)
{
    for (const int result : {1, -11})
    {
        LogCapture log(result);
        Buffers b;
        for (const StridedCase& c : refused)
        {
            EXPECT_EQ(static_cast<vsrStatus>(result), entry(c.src ? b.from<T>() : nullptr, c.width, c.height,
                                                            c.srcStride, c.dst ? b.to<T>() : nullptr, c.dstStride, 1));
            EXPECT_EQ((std::vector{refusal(name, condition)}), log.take())
                << c.width << "x" << c.height << " " << c.srcStride << " " << c.dstStride;
        }
        EXPECT_TRUE(b.untouched()) << name;
        EXPECT_EQ(0u, entry(b.from<T>(), served.width, served.height, served.srcStride, b.to<T>(), served.dstStride, 1))
            << name;
        EXPECT_EQ(std::vector<LogLine>(), log.take());
        EXPECT_FALSE(b.untouched()) << name;
    }
}

TEST(GaussianEntries, LogTheFailedCondition)
{
    const PlainCase noSrc = {12, 12, false, true};
    const PlainCase noDst = {12, 12, true, false};
    const PlainCase noWidth = {0, 12, true, true};
    const PlainCase noHeight = {12, 0, true, true};
    expectPlainRefusals<uint8_t>(vsrFilterGaussian3x3u8, "vsrFilterGaussian3x3u8", kPlain,
                                 {noSrc, noDst, noWidth, noHeight}, {7, 1, true, true});
    expectPlainRefusals<uint8_t>(vsrFilterGaussian5x5u8, "vsrFilterGaussian5x5u8", kPlain5x5u8,
                                 {noSrc, noDst, noWidth, noHeight, {4, 12, true, true}, {12, 4, true, true}},
                                 {5, 5, true, true});
    expectPlainRefusals<int16_t>(vsrFilterGaussian5x5s16, "vsrFilterGaussian5x5s16", kPlain5x5s16,
                                 {noSrc, noDst, noWidth, noHeight, {12, 1, true, true}}, {1, 2, true, true});
    expectPlainRefusals<int32_t>(vsrFilterGaussian5x5s32, "vsrFilterGaussian5x5s32", kPlain5x5s32,
                                 {noSrc, noDst, noWidth, noHeight, {4, 12, true, true}, {12, 4, true, true}},
                                 {5, 5, true, true});
    expectPlainRefusals<uint8_t>(vsrFilterGaussian11x11u8, "vsrFilterGaussian11x11u8", kPlain11x11,
                                 {noSrc, noDst, noWidth, noHeight, {10, 12, true, true}, {12, 10, true, true}},
                                 {11, 11, true, true});
}

TEST(GaussianEntries, LogTheFailedConditionWithStrides)
{
    const StridedCase noSrc = {12, 12, 0, 0, false, true};
    const StridedCase noDst = {12, 12, 0, 0, true, false};
    const StridedCase noWidth = {0, 12, 16, 16};
    const StridedCase noHeight = {12, 0, 0, 0};
    expectStridedRefusals<uint8_t>(
        vsrFilterGaussian3x3u8_v2, "vsrFilterGaussian3x3u8_v2", kStrided3x3,
        {noSrc, noDst, noWidth, noHeight, {1, 12, 0, 0}, {12, 1, 0, 0}, {12, 12, 11, 12}, {12, 12, 12, 11}},
        {7, 2, 0, 0});
    expectStridedRefusals<uint8_t>(vsrFilterGaussian5x5u8_v2, "vsrFilterGaussian5x5u8_v2", kStrided5x5u8,
                                   {noSrc, noDst, noWidth, noHeight, {4, 12, 0, 0}, {12, 4, 0, 0}, {12, 12, 11, 12}},
                                   {5, 5, 0, 7});
    expectStridedRefusals<int16_t>(vsrFilterGaussian5x5s16_v2, "vsrFilterGaussian5x5s16_v2", kStrided5x5s16,
                                   {noSrc, noDst, noWidth, noHeight, {12, 1, 0, 0}, {12, 12, 23, 24}, {12, 12, 24, 23}},
                                   {1, 2, 0, 2});
    expectStridedRefusals<int32_t>(
        vsrFilterGaussian5x5s32_v2, "vsrFilterGaussian5x5s32_v2", kStrided5x5s32,
        {noSrc, noDst, noWidth, noHeight, {4, 12, 0, 0}, {12, 4, 0, 0}, {12, 12, 47, 48}, {12, 12, 48, 47}},
        {5, 5, 20, 0});
    expectStridedRefusals<uint8_t>(vsrFilterGaussian11x11u8_v2, "vsrFilterGaussian11x11u8_v2", kStrided11x11,
                                   {noSrc, noDst, noWidth, noHeight, {10, 12, 0, 0}, {12, 10, 0, 0}, {12, 12, 11, 12}},
                                   {11, 11, 11, 0});
}

TEST(GaussianEntries, BorderTypeMemberRefusesSilently)
{
    LogCapture log;
    Buffers b;
    const auto* s = b.from<uint8_t>();
    auto* d = b.to<uint8_t>();
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(nullptr, 8, 8, 8, d, 8, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 8, 8, 8, nullptr, 8, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 0, 8, 8, d, 8, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 8, 0, 8, d, 8, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 8, 8, 7, d, 8, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 8, 8, 8, d, 7, 0, 0));
    EXPECT_EQ(3u, vsrFilterGaussian3x3u8_v3(s, 8, 8, 8, d, 8, 3, 0));
    EXPECT_TRUE(b.untouched());
    // Its width has no lower bound but that of the kernel.
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8_v3(s, 2, 2, 0, d, 0, VISORA_BORDER_REPLICATE, 0));
    EXPECT_EQ(std::vector<LogLine>(), log.take());
}

TEST(GaussianEntries, WidthsBelowAStepAreOutOfRangeBeforeAnythingElse)
{
    libLogPrint = 1;
    for (const int result : {1, -11})
    {
        LogCapture log(result);
        Buffers b;
        for (uint32_t width = 2; width <= 6; ++width)
        {
            // Not even a trace line, and no look at the other arguments.
            EXPECT_EQ(static_cast<vsrStatus>(result),
                      vsrFilterGaussian3x3u8(b.from<uint8_t>(), width, 8, b.to<uint8_t>(), 1));
            EXPECT_EQ(static_cast<vsrStatus>(result), vsrFilterGaussian3x3u8(nullptr, width, 0, nullptr, 0));
            EXPECT_EQ((std::vector(2, rangeRefusal("vsrFilterGaussian3x3u8"))), log.take()) << width;
            EXPECT_EQ(static_cast<vsrStatus>(result),
                      vsrFilterGaussian3x3u8_v2(b.from<uint8_t>(), width, 8, 8, b.to<uint8_t>(), 8, 1));
            EXPECT_EQ((std::vector{rangeRefusal("vsrFilterGaussian3x3u8_v2")}), log.take()) << width;
        }
        EXPECT_TRUE(b.untouched());
        EXPECT_EQ(0u, vsrFilterGaussian3x3u8(b.from<uint8_t>(), 7, 8, b.to<uint8_t>(), 1));
        EXPECT_EQ((std::vector{trace("vsrFilterGaussian3x3u8", "CPU")}), log.take());
    }
    libLogPrint = 0;
}

TEST(GaussianEntriesDeathTest, AWidthOf1EndsTheProcess)
{
    constexpr char kLine[] = "src/cpu/visoraBlurC@79: w6<=w_2 && w6>=w_2-5 Assertion failed";
    Buffers b;
    const auto* s = b.from<uint8_t>();
    auto* d = b.to<uint8_t>();
    EXPECT_EXIT(vsrFilterGaussian3x3u8(s, 1, 8, d, 0), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8_v3(s, 1, 8, 1, d, 1, VISORA_BORDER_REPLICATE, 0), testing::ExitedWithCode(1),
                kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8C(s, 0, 8, 1, d, 1, 0), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8V(s, 1, 8, 1, d, 1, 0), testing::ExitedWithCode(1), kLine);
    EXPECT_EXIT(vsrFilterGaussian3x3u8_v3V(s, 1, 8, 1, d, 1, VISORA_BORDER_CONSTANT, 0), testing::ExitedWithCode(1),
                kLine);
}

// ---- Choice of the implementation kind ----

constexpr uint32_t k11x11Row = 211;
constexpr uint32_t k3x3Row = 212;
constexpr uint32_t k5x5s16Row = 213;
constexpr uint32_t k5x5s32Row = 214;
constexpr uint32_t k5x5u8Row = 215;
constexpr uint32_t k3x3V3Row = 474;

// The kind that the trace of one call names.
std::string kindServing(uint32_t row, VSR_IMPL kind, const std::function<vsrStatus()>& call)
{
    vsrImplTable[row] = kind;
    libLogPrint = 1;
    LogCapture log;
    EXPECT_EQ(0u, call());
    vsrImplTable[row] = VSR_IMPL_CPU;
    libLogPrint = 0;
    const std::vector<LogLine> lines = log.take();
    return lines.size() == 1 ? lines[0].text.substr(lines[0].text.rfind('_') + 1) : "not one line";
}

alignas(16) int32_t wideSrc[200 * 160];
alignas(16) int32_t wideDst[200 * 160];
const auto* const bytesFrom = reinterpret_cast<const uint8_t*>(wideSrc);
auto* const bytesTo = reinterpret_cast<uint8_t*>(wideDst);

TEST(GaussianEntries, WideFiltersKeepTheirUnitOnlyForAlignedCalls)
{
    struct Case
    {
        VSR_IMPL kind;
        uint32_t width;
        uint32_t height;
        size_t offset;
        const char* served;
    };
    const Case cases[] = {
        {VSR_IMPL_CPU, 16, 16, 1, "CPU"},    {VSR_IMPL_VECTA, 16, 16, 1, "VECTA"}, {VSR_IMPL_KDSP, 16, 16, 0, "KDSP"},
        {VSR_IMPL_ADSP, 16, 15, 0, "ADSP"},  {VSR_IMPL_CDSP, 16, 15, 16, "CDSP"},  {VSR_IMPL_MDSP, 16, 16, 8, "VECTA"},
        {VSR_IMPL_CDSP, 20, 16, 0, "VECTA"}, {VSR_IMPL_GPU, 20, 144, 1, "GPU"},    {VSR_IMPL_GPU, 20, 145, 0, "VECTA"},
        {VSR_IMPL_GPU, 18, 144, 0, "VECTA"},
    };
    for (const int32_t switchedOn : {1, 0})
    {
        HW_constraint_checks_enable = switchedOn;
        for (const Case& c : cases)
        {
            const auto where = std::to_string(c.kind) + ": " + std::to_string(c.width) + "x" + std::to_string(c.height);
            const auto* src = bytesFrom + c.offset;
            EXPECT_EQ(c.served, kindServing(k5x5u8Row, c.kind,
                                            [&] { return vsrFilterGaussian5x5u8(src, c.width, c.height, bytesTo, 0); }))
                << where;
            EXPECT_EQ(
                c.served,
                kindServing(k11x11Row, c.kind,
                            [&] { return vsrFilterGaussian11x11u8_v2(src, c.width, c.height, 0, bytesTo, 0, 0); }))
                << where;
        }
    }
    HW_constraint_checks_enable = 1;
    const auto* s16 = reinterpret_cast<const int16_t*>(wideSrc);
    auto* d16 = reinterpret_cast<int16_t*>(wideDst);
    const auto strided16 = [&](uint32_t srcStride, uint32_t dstStride)
    { return [=] { return vsrFilterGaussian5x5s16_v2(s16, 16, 16, srcStride, d16, dstStride, 0); }; };
    EXPECT_EQ("CDSP", kindServing(k5x5s16Row, VSR_IMPL_CDSP, strided16(40, 32)));
    EXPECT_EQ("VECTA", kindServing(k5x5s16Row, VSR_IMPL_CDSP, strided16(36, 32)));
    EXPECT_EQ("VECTA", kindServing(k5x5s16Row, VSR_IMPL_CDSP, strided16(32, 36)));
    EXPECT_EQ("GPU", kindServing(k5x5s16Row, VSR_IMPL_GPU, strided16(36, 32)));
    EXPECT_EQ("VECTA", kindServing(k5x5s32Row, VSR_IMPL_MDSP,
                                   [] { return vsrFilterGaussian5x5s32(wideSrc + 1, 16, 16, wideDst, 0); }));
}

TEST(GaussianEntries, SmallFilterKeepsTheDspForLargeAlignedCalls)
{
    const auto small = [](uint32_t width, uint32_t height, uint32_t srcStride, uint32_t dstStride)
    { return [=] { return vsrFilterGaussian3x3u8_v2(bytesFrom, width, height, srcStride, bytesTo, dstStride, 0); }; };
    const auto bordered = [](uint32_t width, uint32_t height, uint32_t srcStride, uint32_t dstStride) {
        return [=] { return vsrFilterGaussian3x3u8_v3(bytesFrom, width, height, srcStride, bytesTo, dstStride, 0, 0); };
    };
    EXPECT_EQ("VECTA", kindServing(k3x3Row, VSR_IMPL_KDSP, small(176, 144, 0, 0)));
    EXPECT_EQ("KDSP", kindServing(k3x3Row, VSR_IMPL_KDSP, small(176, 144, 184, 0)));
    EXPECT_EQ("VECTA", kindServing(k3x3Row, VSR_IMPL_KDSP, small(176, 144, 184, 178)));
    EXPECT_EQ("VECTA", kindServing(k3x3Row, VSR_IMPL_ADSP, small(8800, 3, 0, 0)));
    EXPECT_EQ("ADSP", kindServing(k3x3Row, VSR_IMPL_ADSP, small(8800, 4, 0, 0)));
    EXPECT_EQ("GPU", kindServing(k3x3Row, VSR_IMPL_GPU, small(60, 8, 64, 64)));
    EXPECT_EQ("VECTA", kindServing(k3x3Row, VSR_IMPL_GPU, small(60, 8, 64, 60)));
    EXPECT_EQ("VECTA", kindServing(k3x3V3Row, VSR_IMPL_MDSP, bordered(176, 144, 0, 0)));
    EXPECT_EQ("MDSP", kindServing(k3x3V3Row, VSR_IMPL_MDSP, bordered(176, 144, 184, 0)));
    EXPECT_EQ("GPU", kindServing(k3x3V3Row, VSR_IMPL_GPU, bordered(60, 8, 64, 64)));
}

vsrStatus declining(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t, vsrBorderType, uint8_t)
{
    return VISORA_EFALLBACK;
}

TEST(GaussianEntries, VectorVariantServesWhenAnotherDeclinesTheBorderTypeMember)
{
    VSR_FUNC& slot = vsrFuncTable[k3x3V3Row * VSR_KIND_COUNT + VSR_IMPL_GPU];
    const VSR_FUNC before = slot;
    slot = reinterpret_cast<VSR_FUNC>(declining);
    Buffers b;
    alignas(16) uint8_t dst[64] = {};
    vsrImplTable[k3x3V3Row] = VSR_IMPL_GPU;
    EXPECT_EQ(0u, vsrFilterGaussian3x3u8_v3(bytesFrom, 8, 8, 0, dst, 0, VISORA_BORDER_CONSTANT, 255));
    vsrImplTable[k3x3V3Row] = VSR_IMPL_CPU;
    slot = before;
    EXPECT_EQ(7 * 255 / 16, dst[0]);
}

}  // namespace
}  // namespace visora::test
