/**
 * @file
 * Views of OpenCV's matrices, and matrices over images: no pixel is copied.
 *
 *     vsr::call(vsrFilterMedian3x3u8_v2, vsr::view<const uint8_t>(mat), vsr::view<uint8_t>(result))
 */
#ifndef VISORA_OPENCV_HPP
#define VISORA_OPENCV_HPP

#include <opencv2/core/mat.hpp>

#include "visora.hpp"

namespace vsr
{

/**
 * The view of a matrix. The matrix has to live as long.
 * @return an empty view, which every function refuses, for one that is empty, has more than two dimensions or elements
 *         of another type
 */
template <class T>
View<T> view(const cv::Mat& mat)
{
    if (mat.empty() || mat.dims != 2 || mat.depth() != cv::DataType<std::remove_const_t<T>>::depth ||
        mat.step[0] > std::numeric_limits<uint32_t>::max())
    {
        return {};
    }
    return {reinterpret_cast<T*>(mat.data), static_cast<uint32_t>(mat.cols), static_cast<uint32_t>(mat.rows),
            static_cast<uint32_t>(mat.step[0]), static_cast<uint32_t>(mat.channels())};
}

/** The matrix over a view, which has to live as long. */
template <class T>
cv::Mat mat(View<T> view)
{
    return {static_cast<int>(view.height()), static_cast<int>(view.width()),
            CV_MAKETYPE(cv::DataType<std::remove_const_t<T>>::depth, static_cast<int>(view.channels())),
            const_cast<std::remove_const_t<T>*>(view.data()), view.stride()};
}

}  // namespace vsr

#endif
