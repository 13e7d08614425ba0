// visora/checked.hpp: refusals name the argument, and nothing is written then; else it is the C function.
#include <gtest/gtest.h>

#include <string_view>
#include <vector>
#include <visora/checked.hpp>

namespace
{

class Checked : public testing::Test
{
  protected:
    static void refuses(vsr::Status status, std::string_view argument)
    {
        EXPECT_EQ(status.code(), vsrStatus{VISORA_EBADPARAM});
        ASSERT_NE(status.argument(), nullptr) << argument;
        EXPECT_EQ(status.argument(), argument);
    }

    std::vector<uint8_t> bytes_ = std::vector<uint8_t>(64 * 48, 5);
    std::vector<uint8_t> others_ = std::vector<uint8_t>(64 * 48, 77);
    vsr::View<uint8_t> image_{bytes_.data(), 60, 48, 64};
    vsr::View<uint8_t> result_{others_.data(), 60, 48, 64};
};

TEST_F(Checked, ImagesHaveTheSizesThatTheOthersAskFor)
{
    EXPECT_TRUE(vsr::filterMedian3x3u8_v3(image_, result_, VISORA_BORDER_REPLICATE, 0));
    EXPECT_EQ(others_[0], 5);
    refuses(vsr::filterMedian3x3u8_v2({}, result_), "src");
    refuses(vsr::filterMedian3x3u8_v2(image_, *result_.part(0, 0, 60, 47)), "dst");
    refuses(vsr::addu8(image_, *image_.part(1, 0, 59, 48), result_), "src2");
    refuses(vsr::scaleDownBy2u8_v2(image_, result_), "dst");
    EXPECT_TRUE(vsr::scaleDownBy2u8_v2(image_, *result_.part(0, 0, 30, 24)));
    refuses(vsr::colorRGB888ToGrayu8(image_, result_), "src");
    refuses(vsr::filterMedian3x3u8(image_, result_), "src");  // rows are apart, and it takes no stride
    // What would end the process.
    refuses(vsr::filterGaussian3x3u8_v2(*image_.part(0, 0, 1, 48), *result_.part(0, 0, 1, 48), 1), "src");
    // What the function itself refuses has no name.
    const vsr::Status status = vsr::filterDilateNxNu8(image_, 4, result_);
    EXPECT_EQ(status.code(), vsrStatus{VISORA_EBADPARAM});
    EXPECT_EQ(status.argument(), nullptr);
}

TEST_F(Checked, ListsHaveRoom)
{
    const std::vector<uint8_t> table(256, 9);
    EXPECT_TRUE(vsr::tableLookupu8(image_, table, result_));
    EXPECT_EQ(others_[0], 9);
    refuses(vsr::tableLookupu8(image_, std::span(table).first(255), result_), "table");
    std::vector<uint32_t> xy(20);
    std::vector<uint32_t> scores(9);
    std::vector<uint32_t> room(3 * 10 + 48);
    uint32_t count = 0;
    refuses(vsr::cornerFast9Scoreu8_v2(image_, 20, 3, xy, scores, count, 1, room), "scores");
    scores.resize(10);
    refuses(vsr::cornerFast9Scoreu8_v2(image_, 20, 3, xy, scores, count, 1, std::span(room).first(77)), "tempBuf");
    EXPECT_TRUE(vsr::cornerFast9Scoreu8_v2(image_, 20, 3, xy, scores, count, 1, room));
    EXPECT_EQ(count, 0u);
    uint64_t sum = 0;
    EXPECT_TRUE(vsr::sumu8(image_, {}, sum));
    EXPECT_EQ(sum, 5u * 60 * 48);
    // As many points as the chains have together.
    const std::vector<int32_t> points{1, 1, 5, 5, 9, 2};
    const std::vector<uint32_t> lengths{2, 2};
    const std::vector<uint8_t> color{9};
    refuses(vsr::drawPolylineu8(image_, points, lengths, 0, color, 1, 0), "xy");
    EXPECT_TRUE(vsr::drawPolylineu8(image_, points, std::span(lengths).first(1), 0, color, 1, 0));
    EXPECT_EQ(bytes_[3 * 64 + 3], 9);
}

TEST_F(Checked, OutputsShareNoMemory)
{
    refuses(vsr::filterErode3x3u8_v2(image_, image_), "dst");
    EXPECT_TRUE(vsr::bitwiseNotu8(image_, image_));  // in place
    refuses(vsr::bitwiseNotu8(*image_.part(0, 0, 50, 48), *image_.part(1, 0, 50, 48)), "dst");
    EXPECT_TRUE(vsr::filterErode3x3u8_v2(*image_.part(0, 0, 30, 48), *image_.part(30, 0, 30, 48)));
    auto dx = vsr::Image<int16_t>::make(60, 48);
    refuses(vsr::imageGradientPlanars16_v2(image_, *dx, *dx), "dx");
    auto wider = vsr::Image<int16_t>::make(120, 48);
    refuses(vsr::imageGradientPlanars16_v2(image_, *dx, *wider->view().part(0, 0, 60, 48)),
            "dy");  // one stride for both
    EXPECT_EQ(others_[0], 77);
}

}  // namespace
