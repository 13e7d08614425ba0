// visora_opencv.hpp: matrices are views and views are matrices, without copies.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <visora_opencv.hpp>

namespace
{

TEST(OpenCv, MatricesAreViews)
{
    cv::Mat whole(40, 50, CV_8UC1);
    cv::randu(whole, 0, 256);
    const cv::Mat mat = whole(cv::Rect(5, 6, 31, 20));
    cv::Mat result(20, 31, CV_8UC1);
    ASSERT_TRUE(vsr::call(vsrFilterMedian3x3u8_v3, vsr::view<const uint8_t>(mat), vsr::view<uint8_t>(result),
                          vsrBorderType{VISORA_BORDER_REPLICATE}, uint8_t{0}));
    cv::Mat expected;
    cv::medianBlur(mat.clone(), expected, 3);
    EXPECT_EQ(cv::norm(result, expected, cv::NORM_L1), 0.0);

    const cv::Mat over = vsr::mat(vsr::view<const uint8_t>(mat));
    EXPECT_EQ(over.data, mat.data);
    EXPECT_EQ(over.step[0], mat.step[0]);
    EXPECT_EQ(vsr::view<const float>(cv::Mat(3, 4, CV_32FC3)).channels(), 3u);

    EXPECT_TRUE(vsr::view<const float>(mat).empty());
    EXPECT_TRUE(vsr::view<uint8_t>(cv::Mat()).empty());
    const int sides[] = {3, 4, 5};
    EXPECT_TRUE(vsr::view<uint8_t>(cv::Mat(3, sides, CV_8UC1)).empty());
    EXPECT_FALSE(vsr::call(vsrFilterDilate3x3u8_v2, vsr::view<const uint8_t>(cv::Mat()), vsr::view<uint8_t>(result)));
}

}  // namespace
