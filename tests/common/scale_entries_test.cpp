// Entry points of the downscalers: refusals and stride defaults.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "support/log_capture.h"
#include "visora/dispatch.h"
#include "visora/runtime.h"
#include "visora/scale.h"

namespace visora::test
{
namespace
{

using Image = std::vector<uint8_t>;

class ScaleEntries : public testing::Test
{
  protected:
    ScaleEntries()
    {
        for (size_t i = 0; i < src_.size(); ++i)
        {
            src_[i] = static_cast<uint8_t>(i * 37 + i / 7);
        }
    }

    const uint8_t* s() const { return src_.data(); }
    uint8_t* d() { return dst_.data(); }

    // The first `rows` rows of `width` pixels at a stride.
    Image rowsOf(size_t width, size_t rows, size_t stride) const
    {
        Image image;
        for (size_t y = 0; y < rows; ++y)
        {
            image.insert(image.end(), dst_.begin() + static_cast<ptrdiff_t>(y * stride),
                         dst_.begin() + static_cast<ptrdiff_t>(y * stride + width));
        }
        return image;
    }

    const Image untouched_ = Image(4096, 77);
    Image src_ = Image(4096);
    Image dst_ = untouched_;
};

TEST_F(ScaleEntries, FixedRatiosRefuseSilently)
{
    LogCapture log;
    const int results[] = {
        vsrScaleDownBy2u8(nullptr, 8, 8, d()),
        vsrScaleDownBy2u8(s(), 8, 8, nullptr),
        vsrScaleDownBy2u8(s(), 0, 8, d()),
        vsrScaleDownBy2u8(s(), 8, 0, d()),
        vsrScaleDownBy2u8(s(), 7, 8, d()),
        vsrScaleDownBy2u8(s(), 8, 7, d()),
        vsrScaleDownBy2u8_v2(nullptr, 8, 8, 8, d(), 4),
        vsrScaleDownBy2u8_v2(s(), 8, 8, 8, nullptr, 4),
        vsrScaleDownBy2u8_v2(s(), 0, 8, 8, d(), 4),
        vsrScaleDownBy2u8_v2(s(), 8, 9, 8, d(), 4),
        vsrScaleDownBy2u8_v2(s(), 8, 8, 7, d(), 4),
        vsrScaleDownBy2u8_v2(s(), 8, 8, 8, d(), 3),
        vsrScaleDownBy4u8(nullptr, 8, 8, d()),
        vsrScaleDownBy4u8(s(), 8, 8, nullptr),
        vsrScaleDownBy4u8(s(), 8, 0, d()),
        vsrScaleDownBy4u8(s(), 6, 8, d()),
        vsrScaleDownBy4u8(s(), 8, 6, d()),
        vsrScaleDownBy4u8_v2(s(), 0, 8, 8, d(), 2),
        vsrScaleDownBy4u8_v2(s(), 8, 10, 8, d(), 2),
        vsrScaleDownBy4u8_v2(s(), 8, 8, 7, d(), 2),
        vsrScaleDownBy4u8_v2(s(), 8, 8, 8, d(), 1),
        vsrScaleDown3To2u8(nullptr, 9, 9, 9, d(), 6),
        vsrScaleDown3To2u8(s(), 9, 9, 9, nullptr, 6),
        vsrScaleDown3To2u8(s(), 0, 9, 9, d(), 6),
        vsrScaleDown3To2u8(s(), 9, 0, 9, d(), 6),
        vsrScaleDown3To2u8(s(), 9, 9, 8, d(), 6),
        vsrScaleDown3To2u8(s(), 9, 9, 9, d(), 5),
        vsrScaleDown3To2u8(s(), 11, 9, 11, d(), 5),
    };
    for (const int& result : results)
    {
        EXPECT_EQ(-1, result) << "call " << &result - results;
    }
    EXPECT_EQ(1, vsrScaleDown3To2u8(s(), 2, 9, 0, d(), 0));
    EXPECT_EQ(1, vsrScaleDown3To2u8(s(), 9, 2, 0, d(), 0));
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(untouched_, dst_);
}

TEST_F(ScaleEntries, BoxAndAreaAveragesLogTheirCondition)
{
    constexpr char kBox[] =
        "src && dst && width && height && dstWidth && dstHeight && width >= dstWidth && height >= dstHeight";
    constexpr char kStridedBox[] =
        "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= "
        "dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight";
    constexpr char kArea[] =
        "src && dst && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride==0 || srcStride >=srcWidth) && "
        "(dstStride == 0 || dstStride >= dstWidth) && dstWidth * 20 > srcWidth && dstHeight * 20 > srcHeight";
    struct Case
    {
        const char* entry;
        const char* condition;
        std::function<vsrStatus()> call;
    };
    const Case cases[] = {
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(nullptr, 9, 9, d(), 3, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 9, nullptr, 3, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 0, 9, d(), 3, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 0, d(), 3, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 9, d(), 0, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 9, d(), 3, 0); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 9, d(), 10, 3); }},
        {"vsrScaleDownu8", kBox, [&] { return vsrScaleDownu8(s(), 9, 9, d(), 3, 10); }},
        {"vsrScaleDownu8_v2", kStridedBox, [&] { return vsrScaleDownu8_v2(nullptr, 9, 9, 9, d(), 3, 3, 3); }},
        {"vsrScaleDownu8_v2", kStridedBox, [&] { return vsrScaleDownu8_v2(s(), 9, 9, 8, d(), 3, 3, 3); }},
        {"vsrScaleDownu8_v2", kStridedBox, [&] { return vsrScaleDownu8_v2(s(), 9, 9, 9, d(), 3, 3, 2); }},
        {"vsrScaleDownu8_v2", kStridedBox, [&] { return vsrScaleDownu8_v2(s(), 9, 9, 9, d(), 0, 3, 3); }},
        {"vsrScaleDownu8_v2", kStridedBox, [&] { return vsrScaleDownu8_v2(s(), 9, 9, 9, d(), 3, 10, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(nullptr, 9, 9, 9, d(), 3, 3, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 9, 9, 9, nullptr, 3, 3, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 0, 9, 9, d(), 3, 3, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 9, 9, 8, d(), 3, 3, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 9, 9, 9, d(), 3, 3, 2); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 9, 9, 9, d(), 3, 0, 3); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 60, 9, 0, d(), 3, 3, 0); }},
        {"vsrScaleDownMNu8", kArea, [&] { return vsrScaleDownMNu8(s(), 9, 60, 0, d(), 3, 3, 0); }},
    };
    for (const Case& c : cases)
    {
        LogCapture log(23);
        EXPECT_EQ(23u, c.call()) << &c - cases;
        EXPECT_EQ((std::vector{refusal(c.entry, c.condition)}), log.take()) << &c - cases;
        EXPECT_EQ(untouched_, dst_) << &c - cases;
    }
}

TEST_F(ScaleEntries, AreaAverageTakesRatiosBelowTwentyAndRefusesEnlargingSilently)
{
    LogCapture log;
    EXPECT_EQ(3u, vsrScaleDownMNu8(s(), 9, 9, 0, d(), 10, 9, 0));
    EXPECT_EQ(3u, vsrScaleDownMNu8(s(), 9, 9, 0, d(), 9, 10, 0));
    EXPECT_EQ(untouched_, dst_);
    EXPECT_EQ(0u, vsrScaleDownMNu8(s(), 59, 9, 0, d(), 3, 9, 0));
    EXPECT_EQ(0u, vsrScaleDownMNu8(s(), 9, 59, 0, d(), 9, 3, 0));
    EXPECT_EQ(std::vector<LogLine>(), log.take());
}

TEST_F(ScaleEntries, NearestNeighbourRefusesSilentlyWithOne)
{
    LogCapture log;
    const vsrStatus results[] = {
        vsrScaleDownNNu8(nullptr, 8, 8, 8, d(), 4, 4, 4),    vsrScaleDownNNu8(s(), 8, 8, 8, nullptr, 4, 4, 4),
        vsrScaleDownNNu8(s(), 0, 8, 8, d(), 4, 4, 4),        vsrScaleDownNNu8(s(), 8, 0, 8, d(), 4, 4, 4),
        vsrScaleDownNNu8(s(), 8, 8, 8, d(), 0, 4, 4),        vsrScaleDownNNu8(s(), 8, 8, 8, d(), 4, 0, 4),
        vsrScaleDownNNu8(s(), 8, 8, 7, d(), 4, 4, 4),        vsrScaleDownNNu8(s(), 8, 8, 8, d(), 4, 4, 3),
        vsrScaleDownNNu8(s(), 65536, 8, 0, d(), 4, 4, 0),    vsrScaleDownNNu8(s(), 8, 65536, 0, d(), 4, 4, 0),
        vsrScaleDownNNu8(s(), 8, 8, 0, d(), 65536, 4, 0),    vsrScaleDownNNu8(s(), 8, 8, 0, d(), 4, 65536, 0),
        vsrScaleDownNNu8(s(), 65535, 8, 0, d(), 1000, 4, 0),
    };
    for (const vsrStatus& result : results)
    {
        EXPECT_EQ(1u, result) << "call " << &result - results;
    }
    EXPECT_EQ(std::vector<LogLine>(), log.take());
    EXPECT_EQ(untouched_, dst_);
}

// A stride of 0 and the entry points without strides do as the packed strides written out.
TEST_F(ScaleEntries, StrideDefaultsArePacked)
{
    struct Case
    {
        uint32_t dstWidth, dstHeight;
        std::function<void()> packed, defaulted;
    };
    const Case cases[] = {
        {10, 6, [&] { vsrScaleDownBy2u8_v2(s(), 20, 12, 20, d(), 10); },
         [&] { vsrScaleDownBy2u8_v2(s(), 20, 12, 0, d(), 0); }},
        {10, 6, [&] { vsrScaleDownBy2u8_v2(s(), 20, 12, 20, d(), 10); }, [&] { vsrScaleDownBy2u8(s(), 20, 12, d()); }},
        {5, 3, [&] { vsrScaleDownBy4u8_v2(s(), 20, 12, 20, d(), 5); },
         [&] { vsrScaleDownBy4u8_v2(s(), 20, 12, 0, d(), 0); }},
        {5, 3, [&] { vsrScaleDownBy4u8_v2(s(), 20, 12, 20, d(), 5); }, [&] { vsrScaleDownBy4u8(s(), 20, 12, d()); }},
        // 2 * 20 / 3 is 13, made even.
        {12, 8, [&] { vsrScaleDown3To2u8(s(), 20, 12, 20, d(), 12); },
         [&] { vsrScaleDown3To2u8(s(), 20, 12, 0, d(), 0); }},
        {6, 5, [&] { vsrScaleDownu8_v2(s(), 20, 12, 20, d(), 6, 5, 6); },
         [&] { vsrScaleDownu8_v2(s(), 20, 12, 0, d(), 6, 5, 0); }},
        {6, 5, [&] { vsrScaleDownu8_v2(s(), 20, 12, 20, d(), 6, 5, 6); },
         [&] { vsrScaleDownu8(s(), 20, 12, d(), 6, 5); }},
        {7, 5, [&] { vsrScaleDownMNu8(s(), 20, 12, 20, d(), 7, 5, 7); },
         [&] { vsrScaleDownMNu8(s(), 20, 12, 0, d(), 7, 5, 0); }},
        {7, 5, [&] { vsrScaleDownNNu8(s(), 20, 12, 20, d(), 7, 5, 7); },
         [&] { vsrScaleDownNNu8(s(), 20, 12, 0, d(), 7, 5, 0); }},
    };
    for (const Case& c : cases)
    {
        dst_ = untouched_;
        c.packed();
        const Image expected = dst_;
        EXPECT_NE(untouched_, expected);
        // Exactly the packed image was written.
        EXPECT_EQ(Image(expected.size() - c.dstWidth * c.dstHeight, 77),
                  Image(expected.begin() + c.dstWidth * c.dstHeight, expected.end()));
        dst_ = untouched_;
        c.defaulted();
        EXPECT_EQ(expected, dst_) << &c - cases;
    }
}

TEST_F(ScaleEntries, StridesSkipWhatLiesBetweenRows)
{
    struct Case
    {
        uint32_t dstWidth, dstHeight;
        std::function<void(uint32_t srcStride, uint32_t dstStride)> call;
    };
    const Case cases[] = {
        {10, 6, [&](uint32_t from, uint32_t to) { vsrScaleDownBy2u8_v2(s(), 20, 12, from, d(), to); }},
        {5, 3, [&](uint32_t from, uint32_t to) { vsrScaleDownBy4u8_v2(s(), 20, 12, from, d(), to); }},
        {12, 8, [&](uint32_t from, uint32_t to) { vsrScaleDown3To2u8(s(), 20, 12, from, d(), to); }},
        {6, 5, [&](uint32_t from, uint32_t to) { vsrScaleDownu8_v2(s(), 20, 12, from, d(), 6, 5, to); }},
        {7, 5, [&](uint32_t from, uint32_t to) { vsrScaleDownMNu8(s(), 20, 12, from, d(), 7, 5, to); }},
        {7, 5, [&](uint32_t from, uint32_t to) { vsrScaleDownNNu8(s(), 20, 12, from, d(), 7, 5, to); }},
    };
    for (const Case& c : cases)
    {
        // The same image twice: rows of 20 apart by 31, and packed.
        dst_ = untouched_;
        c.call(31, 17);
        const Image strided = rowsOf(c.dstWidth, c.dstHeight, 17);
        for (size_t i = 0; i < dst_.size(); ++i)
        {
            ASSERT_TRUE((i % 17 < c.dstWidth && i / 17 < c.dstHeight) || dst_[i] == 77) << &c - cases << " " << i;
        }
        const Image before = src_;
        for (size_t i = 0; i < 20 * 12; ++i)
        {
            src_[i] = before[i / 20 * 31 + i % 20];
        }
        c.call(20, c.dstWidth);
        EXPECT_EQ(strided, rowsOf(c.dstWidth, c.dstHeight, c.dstWidth)) << &c - cases;
        src_ = before;
    }
}

TEST_F(ScaleEntries, AccelerationIsKeptForLargeAlignedImages)
{
    constexpr uint32_t kRow = 346;
    alignas(16) static uint8_t src[184 * 144 + 8];
    alignas(16) static uint8_t dst[184 * 144];
    struct Case
    {
        VSR_IMPL kind;
        uint32_t width, srcStride, dstStride;
        size_t offset;
        const char* served;
    };
    libLogPrint = 1;
    for (const auto& [kind, width, srcStride, dstStride, offset, served] :
         {Case{VSR_IMPL_CDSP, 176, 184, 88, 0, "CDSP"},
          {VSR_IMPL_CDSP, 176, 176, 88, 0, "VECTA"},
          {VSR_IMPL_CDSP, 176, 184, 92, 0, "VECTA"},
          {VSR_IMPL_CDSP, 172, 184, 88, 0, "VECTA"},
          {VSR_IMPL_CDSP, 176, 184, 88, 4, "VECTA"},
          {VSR_IMPL_GPU, 176, 176, 88, 0, "GPU"},
          {VSR_IMPL_GPU, 176, 176, 92, 0, "VECTA"},
          {VSR_IMPL_GPU, 176, 176, 88, 8, "VECTA"}})
    {
        vsrImplTable[kRow] = kind;
        LogCapture log;
        EXPECT_EQ(0, vsrScaleDownBy2u8_v2(src + offset, width, 144, srcStride, dst, dstStride));
        EXPECT_EQ((std::vector{trace("vsrScaleDownBy2u8_v2", served)}), log.take());
    }
    vsrImplTable[kRow] = VSR_IMPL_CPU;
    libLogPrint = 0;
}

}  // namespace
}  // namespace visora::test
