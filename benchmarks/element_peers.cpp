// Peers of the operations on single elements and of those that move pixels.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/core.hpp>

namespace visora::bench
{
namespace
{

const RegisterPeers elements({
    {"vsrBitwiseNotu8", "", "OpenCV",
     [](int width, int height) -> std::function<void()>
     {
         cv::Mat src(height, width, CV_8UC1, cv::Scalar(7));
         cv::Mat dst(height, width, CV_8UC1);
         return [=]() mutable { cv::bitwise_not(src, dst); };
     }},
    {"vsrTableLookupu8", "", "OpenCV",
     [](int width, int height) -> std::function<void()>
     {
         cv::Mat src(height, width, CV_8UC1);
         cv::randu(src, 0, 256);
         cv::Mat table(1, 256, CV_8UC1);
         cv::randu(table, 0, 256);
         cv::Mat dst(height, width, CV_8UC1);
         return [=]() mutable { cv::LUT(src, table, dst); };
     }},
    {"vsrRotateImageInterleavedu8", "", "OpenCV",
     [](int width, int height) -> std::function<void()>
     {
         cv::Mat src(height, width, CV_8UC2, cv::Scalar(7, 9));
         cv::Mat dst(width, height, CV_8UC2);
         return [=]() mutable { cv::rotate(src, dst, cv::ROTATE_90_CLOCKWISE); };
     }},
});

}  // namespace
}  // namespace visora::bench

#endif
