// Peers of the operations on single elements, of reductions and of those that move pixels. Where a peer's results are
// the same bits, they are compared before they are timed.
#include "peers.h"

#ifdef VISORA_HAVE_OPENCV
#include <cstdio>
#include <cstdlib>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "visora/variants/arithmetic.h"

namespace visora::bench
{
namespace
{

// What a peer and its operation work on.
struct Work
{
    cv::Mat a;
    cv::Mat b;
    cv::Mat mask;
    cv::Mat peer;  // results
    cv::Mat ours;

    template <class T>
    const T* first() const
    {
        return a.ptr<T>();
    }
    template <class T>
    const T* second() const
    {
        return b.ptr<T>();
    }
    uint32_t width() const { return static_cast<uint32_t>(a.cols); }
    uint32_t height() const { return static_cast<uint32_t>(a.rows); }
};

using Function = void (*)(Work&);

// A peer of images of the types `from1` and `from2`; `ours` gives the same bits, or is null.
Peer peer(const char* operation, const char* label, int from1, int from2, int to, Function theirs, Function ours)
{
    return {operation, label, "OpenCV",
            [=](int width, int height) -> std::function<void()>
            {
                Work work;
                work.a.create(height, width, from1);
                work.b.create(height, width, from2);
                work.mask.create(height, width, CV_8U);
                const bool isFloat = CV_MAT_DEPTH(from1) == CV_32F;
                cv::randu(work.a, isFloat ? -300 : -40000, isFloat ? 300 : 40000);
                cv::randu(work.b, isFloat ? -300 : -40000, isFloat ? 300 : 40000);
                cv::randu(work.mask, 0, 2);
                work.peer = cv::Mat::zeros(height, width, to);
                work.ours = cv::Mat::zeros(height, width, to);
                if (ours != nullptr)
                {
                    theirs(work);
                    ours(work);
                    const size_t bytes = work.peer.total() * work.peer.elemSize();
                    if (work.peer.size() != work.ours.size() || std::memcmp(work.peer.data, work.ours.data, bytes) != 0)
                    {
                        std::fprintf(stderr, "%s: the peer's results differ\n", operation);
                        std::abort();
                    }
                }
                return [=]() mutable { theirs(work); };
            }};
}

#define BINARY(operation, T, D, ...)                                                                      \
    [](Work& w)                                                                                           \
    {                                                                                                     \
        operation##V(w.first<T>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step), w.second<T>(), \
                     static_cast<uint32_t>(w.b.step), __VA_ARGS__ __VA_OPT__(, ) w.ours.ptr<D>(),         \
                     static_cast<uint32_t>(w.ours.step));                                                 \
    }
#define UNARY(operation, T, D, ...)                                                                   \
    [](Work& w)                                                                                       \
    {                                                                                                 \
        operation##V(w.first<T>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step),            \
                     __VA_ARGS__ __VA_OPT__(, ) w.ours.ptr<D>(), static_cast<uint32_t>(w.ours.step)); \
    }
// One number: the first of the results.
#define REDUCTION(operation, T, R, ...)                                                    \
    [](Work& w)                                                                            \
    {                                                                                      \
        R result = 0;                                                                      \
        operation##V(w.first<T>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step), \
                     __VA_ARGS__ __VA_OPT__(, ) & result);                                 \
        w.ours.at<double>(0) = static_cast<double>(result);                                \
    }
// Two numbers.
#define EXTREMES(operation, T, ...)                                                        \
    [](Work& w)                                                                            \
    {                                                                                      \
        T low = 0, high = 0;                                                               \
        operation##V(w.first<T>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step), \
                     __VA_ARGS__ __VA_OPT__(, ) & low, &high);                             \
        w.ours.at<double>(0) = low;                                                        \
        w.ours.at<double>(1) = high;                                                       \
    }
#define FILL(operation, T, value, ...) \
    [](Work& w)                        \
    { operation##V(w.ours.ptr<T>(), w.width(), w.height(), static_cast<uint32_t>(w.ours.step), value, __VA_ARGS__); }
#define PROJECTION(operation, rows, columns)                                                                        \
    [](Work& w)                                                                                                     \
    {                                                                                                               \
        w.ours.create(rows, columns, CV_32S);                                                                       \
        operation##V(w.first<uint8_t>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step), VISORA_REDUCE_SUM, \
                     w.ours.ptr<uint32_t>());                                                                       \
    }

constexpr int kU8 = CV_8U;
constexpr int kS16 = CV_16S;
constexpr int kU16 = CV_16U;
constexpr int kS32 = CV_32S;
constexpr int kF32 = CV_32F;
constexpr int kF64 = CV_64F;
const cv::Scalar kValues(10, 60, 200, 7);
constexpr uint8_t kBytes[] = {10, 60, 200, 7};
constexpr int16_t kShorts[] = {10, 60, 200, 7};
constexpr float kFloats[] = {10, 60, 200, 7};

constexpr Function kAbsDiff = [](Work& w) { cv::absdiff(w.a, w.b, w.peer); };
constexpr Function kAdd = [](Work& w) { cv::add(w.a, w.b, w.peer); };
constexpr Function kMin = [](Work& w) { cv::min(w.a, w.b, w.peer); };
constexpr Function kMax = [](Work& w) { cv::max(w.a, w.b, w.peer); };
constexpr Function kMinMax = [](Work& w) { cv::minMaxLoc(w.a, w.peer.ptr<double>(), w.peer.ptr<double>() + 1); };
constexpr Function kLocate = [](Work& w)
{
    cv::Point low;
    cv::Point high;
    cv::minMaxLoc(w.a, w.peer.ptr<double>(), w.peer.ptr<double>() + 1, &low, &high);
};
constexpr Function kSet = [](Work& w) { w.peer.setTo(kValues); };
constexpr Function kSum = [](Work& w) { w.peer.at<double>(0) = cv::sum(w.a)[0]; };
constexpr Function kMean = [](Work& w) { w.peer.at<double>(0) = cv::mean(w.a)[0]; };
constexpr Function kSquares = [](Work& w) { w.peer.at<double>(0) = cv::norm(w.a, cv::NORM_L2SQR); };

const RegisterPeers elements({
    peer("vsrAbsDiffu8", "", kU8, kU8, kU8, kAbsDiff, BINARY(vsrAbsDiffu8, uint8_t, uint8_t)),
    peer("vsrAbsDiffs16", "", kS16, kS16, kS16, kAbsDiff, BINARY(vsrAbsDiffs16, int16_t, int16_t)),
    peer("vsrAbsDiffu16", "", kU16, kU16, kU16, kAbsDiff, BINARY(vsrAbsDiffu16, uint16_t, uint16_t)),
    peer("vsrAbsDiffs32", "", kS32, kS32, kS32, kAbsDiff, BINARY(vsrAbsDiffs32, int32_t, int32_t)),
    peer("vsrAbsDifff32", "", kF32, kF32, kF32, kAbsDiff, BINARY(vsrAbsDifff32, float, float)),
    peer(
        "vsrAbsDiffScalaru8", "", CV_8UC3, kU8, CV_8UC3, [](Work& w) { cv::absdiff(w.a, kValues, w.peer); },
        UNARY(vsrAbsDiffScalaru8, uint8_t, uint8_t, 3, kBytes)),
    peer(
        "vsrAbsDiffScalarf32", "", CV_32FC3, kU8, CV_32FC3, [](Work& w) { cv::absdiff(w.a, kValues, w.peer); },
        UNARY(vsrAbsDiffScalarf32, float, float, 3, kFloats)),
    peer(
        "vsrSubtractu8", "", CV_8UC3, kU8, CV_8UC3, [](Work& w) { cv::subtract(w.a, kValues, w.peer); },
        UNARY(vsrSubtractu8, uint8_t, uint8_t, 3, kBytes)),
    peer(
        "vsrSubtracts16", "", CV_16SC3, kU8, CV_16SC3, [](Work& w) { cv::subtract(w.a, kValues, w.peer); },
        UNARY(vsrSubtracts16, int16_t, int16_t, 3, kShorts)),
    peer(
        "vsrAbss16", "", kS16, kU8, kS16, [](Work& w) { cv::absdiff(w.a, cv::Scalar::all(0), w.peer); },
        UNARY(vsrAbss16, int16_t, int16_t)),
    peer(
        "vsrAbsf32", "", kF32, kU8, kF32, [](Work& w) { cv::absdiff(w.a, cv::Scalar::all(0), w.peer); },
        UNARY(vsrAbsf32, float, float)),
    peer("vsrAddu8", "", kU8, kU8, kU8, kAdd, BINARY(vsrAddu8, uint8_t, uint8_t)),
    peer(
        "vsrAddu8u16", "", kU8, kU16, kU16, [](Work& w) { cv::add(w.a, w.b, w.peer, cv::noArray(), CV_16U); },
        [](Work& w)
        {
            vsrAddu8u16V(w.first<uint8_t>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step),
                         w.second<uint16_t>(), static_cast<uint32_t>(w.b.step), w.ours.ptr<uint16_t>(),
                         static_cast<uint32_t>(w.ours.step));
        }),
    peer("vsrAdds16", "", kS16, kS16, kS16, kAdd, BINARY(vsrAdds16, int16_t, int16_t, VISORA_OVERFLOW_SATURATE)),
    peer("vsrAddf32", "", kF32, kF32, kF32, kAdd, BINARY(vsrAddf32, float, float)),
    peer(
        "vsrAccumulateWeightedu8f32", "", kU8, kU8, kF32, [](Work& w) { cv::accumulateWeighted(w.a, w.peer, 0.05); },
        nullptr),
    peer(
        "vsrElementMulu8u16", "", kU8, kU8, kU16, [](Work& w) { cv::multiply(w.a, w.b, w.peer, 1, CV_16U); },
        BINARY(vsrElementMulu8u16, uint8_t, uint16_t)),
    peer(
        "vsrElementMuls16", "", kS16, kS16, kS16, [](Work& w) { cv::multiply(w.a, w.b, w.peer, 1.0 / 32768); },
        nullptr),
    peer(
        "vsrElementMulf32", "", kF32, kF32, kF32, [](Work& w) { cv::multiply(w.a, w.b, w.peer); },
        BINARY(vsrElementMulf32, float, float, 1.0F)),
    peer(
        "vsrElementDivu8", "", kU8, kU8, kU8, [](Work& w) { cv::divide(w.a, w.b, w.peer, 3); },
        BINARY(vsrElementDivu8, uint8_t, uint8_t, 3.0F)),
    peer(
        "vsrElementDivf32", "", kF32, kF32, kF32, [](Work& w) { cv::divide(w.a, w.b, w.peer); }, nullptr),
    peer("vsrMinu8", "", kU8, kU8, kU8, kMin, BINARY(vsrMinu8, uint8_t, uint8_t)),
    peer("vsrMins16", "", kS16, kS16, kS16, kMin, BINARY(vsrMins16, int16_t, int16_t)),
    peer("vsrMaxu8", "", kU8, kU8, kU8, kMax, BINARY(vsrMaxu8, uint8_t, uint8_t)),
    peer("vsrMaxs16", "", kS16, kS16, kS16, kMax, BINARY(vsrMaxs16, int16_t, int16_t)),
    peer(
        "vsrClamps16", "", kS16, kU8, kS16,
        [](Work& w)
        {
            cv::max(w.a, -3000, w.peer);
            cv::min(w.peer, 5000, w.peer);
        },
        UNARY(vsrClamps16, int16_t, int16_t, -3000, 5000)),
    peer(
        "vsrClampf32", "", kF32, kU8, kF32,
        [](Work& w)
        {
            cv::max(w.a, -30, w.peer);
            cv::min(w.peer, 50, w.peer);
        },
        UNARY(vsrClampf32, float, float, -30, 50)),
    peer(
        "vsrNormalizeRangeu8", "", kU8, kU8, kU8, [](Work& w) { cv::normalize(w.a, w.peer, 0, 255, cv::NORM_MINMAX); },
        nullptr),
    peer(
        "vsrBitwiseNotu8", "", kU8, kU8, kU8, [](Work& w) { cv::bitwise_not(w.a, w.peer); },
        UNARY(vsrBitwiseNotu8, uint8_t, uint8_t)),
    peer(
        "vsrBitwiseAndu8", "", kU8, kU8, kU8, [](Work& w) { cv::bitwise_and(w.a, w.b, w.peer); },
        BINARY(vsrBitwiseAndu8, uint8_t, uint8_t, nullptr, 0)),
    peer(
        "vsrBitwiseAndu8", "masked", kU8, kU8, kU8, [](Work& w) { cv::bitwise_and(w.a, w.b, w.peer, w.mask); },
        BINARY(vsrBitwiseAndu8, uint8_t, uint8_t, w.mask.ptr(), static_cast<uint32_t>(w.mask.step))),
    peer(
        "vsrBitwiseOru8", "", kU8, kU8, kU8, [](Work& w) { cv::bitwise_or(w.a, w.b, w.peer); },
        BINARY(vsrBitwiseOru8, uint8_t, uint8_t, nullptr, 0)),
    peer(
        "vsrBitwiseXoru8", "", kU8, kU8, kU8, [](Work& w) { cv::bitwise_xor(w.a, w.b, w.peer); },
        BINARY(vsrBitwiseXoru8, uint8_t, uint8_t, nullptr, 0)),
    peer(
        "vsrConvertu8f32", "", kU8, kU8, kF32, [](Work& w) { w.a.convertTo(w.peer, CV_32F, 1.5, 7); }, nullptr),
    peer(
        "vsrConvertf32u8", "", kF32, kU8, kU8, [](Work& w) { w.a.convertTo(w.peer, CV_8U, 1.5, 7); }, nullptr),
    peer(
        "vsrConverts16u8", "", kS16, kU8, kU8, [](Work& w) { w.a.convertTo(w.peer, CV_8U); },
        UNARY(vsrConverts16u8, int16_t, uint8_t, 0, VISORA_OVERFLOW_SATURATE)),
    peer(
        "vsrTableLookupu8", "", kU8, kU8, kU8, [](Work& w) { cv::LUT(w.a, cv::Mat(1, 256, CV_8U, w.b.ptr()), w.peer); },
        UNARY(vsrTableLookupu8, uint8_t, uint8_t, w.b.ptr())),
    peer(
        "vsrCartToPolarf32", "", kF32, kF32, kF32, [](Work& w) { cv::cartToPolar(w.a, w.b, w.peer, w.ours); }, nullptr),
    peer(
        "vsrCopyMaskedu8", "", CV_8UC3, kU8, CV_8UC3, [](Work& w) { w.a.copyTo(w.peer, w.mask); },
        UNARY(vsrCopyMaskedu8, uint8_t, uint8_t, 3, w.mask.ptr(), static_cast<uint32_t>(w.mask.step))),
    peer("vsrSetElementsu8", "", kU8, kU8, kU8, kSet, FILL(vsrSetElementsu8, uint8_t, 10, nullptr, 0)),
    peer(
        "vsrSetElementsu8", "masked", kU8, kU8, kU8, [](Work& w) { w.peer.setTo(kValues, w.mask); },
        FILL(vsrSetElementsu8, uint8_t, 10, w.mask.ptr(), static_cast<uint32_t>(w.mask.step))),
    peer("vsrSetElementsu16", "", kU8, kU8, kU16, kSet, FILL(vsrSetElementsu16, uint16_t, 10, nullptr, 0)),
    peer("vsrSetElementss16", "", kU8, kU8, kS16, kSet, FILL(vsrSetElementss16, int16_t, 10, nullptr, 0)),
    peer("vsrSetElementss32", "", kU8, kU8, kS32, kSet, FILL(vsrSetElementss32, int32_t, 10, nullptr, 0)),
    peer("vsrSetElementsf32", "", kU8, kU8, kF32, kSet, FILL(vsrSetElementsf32, float, 10, nullptr, 0)),
    peer("vsrSetElementsc2u8", "", kU8, kU8, CV_8UC2, kSet, FILL(vsrSetElementsc2u8, uint8_t, kBytes, nullptr, 0)),
    peer("vsrSetElementsc3u8", "", kU8, kU8, CV_8UC3, kSet, FILL(vsrSetElementsc3u8, uint8_t, kBytes, nullptr, 0)),
    peer("vsrSetElementsc4u8", "", kU8, kU8, CV_8UC4, kSet, FILL(vsrSetElementsc4u8, uint8_t, kBytes, nullptr, 0)),
    peer(
        "vsrRotateImageInterleavedu8", "", CV_8UC2, kU8, CV_8UC2,
        [](Work& w) { cv::rotate(w.a, w.peer, cv::ROTATE_90_CLOCKWISE); }, nullptr),
});

const RegisterPeers reductions({
    peer("vsrSumu8", "", kU8, kU8, kF64, kSum, REDUCTION(vsrSumu8, uint8_t, uint64_t, nullptr, 0)),
    peer("vsrSums16", "", kS16, kU8, kF64, kSum, REDUCTION(vsrSums16, int16_t, int64_t)),
    peer("vsrSumf32", "", kF32, kU8, kF64, kSum, nullptr),
    peer("vsrSumOfSquaresu8", "", kU8, kU8, kF64, kSquares, REDUCTION(vsrSumOfSquaresu8, uint8_t, uint64_t)),
    peer("vsrSumOfSquaress16", "", kS16, kU8, kF64, kSquares, REDUCTION(vsrSumOfSquaress16, int16_t, uint64_t)),
    peer("vsrAverageu8", "", kU8, kU8, kF64, kMean, nullptr),
    peer("vsrAverages32", "", kS32, kU8, kF64, kMean, nullptr),
    peer(
        "vsrCountNonZerou8", "", kU8, kU8, kF64, [](Work& w) { w.peer.at<double>(0) = cv::countNonZero(w.a); },
        REDUCTION(vsrCountNonZerou8, uint8_t, uint32_t)),
    peer(
        "vsrBitCountu8", "", kU8, kU8, kF64, [](Work& w) { w.peer.at<double>(0) = cv::norm(w.a, cv::NORM_HAMMING); },
        REDUCTION(vsrBitCountu8, uint8_t, uint32_t)),
    peer("vsrMinMaxu8", "", kU8, kU8, kF64, kMinMax, EXTREMES(vsrMinMaxu8, uint8_t, nullptr, 0)),
    peer("vsrMinMaxs16", "", kS16, kU8, kF64, kMinMax, EXTREMES(vsrMinMaxs16, int16_t)),
    peer("vsrMinMaxs32", "", kS32, kU8, kF64, kMinMax, EXTREMES(vsrMinMaxs32, int32_t)),
    peer("vsrMinMaxf32", "", kF32, kU8, kF64, kMinMax, EXTREMES(vsrMinMaxf32, float)),
    peer("vsrMinMaxLocu8", "", kU8, kU8, kF64, kLocate, nullptr),
    peer("vsrMinMaxLocs16", "", kS16, kU8, kF64, kLocate, nullptr),
    peer("vsrMinMaxLocf32", "", kF32, kU8, kF64, kLocate, nullptr),
    peer(
        "vsrReduceColumnsu8", "", kU8, kU8, kS32, [](Work& w) { cv::reduce(w.a, w.peer, 0, cv::REDUCE_SUM, CV_32S); },
        PROJECTION(vsrReduceColumnsu8, 1, w.a.cols)),
    peer(
        "vsrReduceRowsu8", "", kU8, kU8, kS32, [](Work& w) { cv::reduce(w.a, w.peer, 1, cv::REDUCE_SUM, CV_32S); },
        PROJECTION(vsrReduceRowsu8, w.a.rows, 1)),
    peer(
        "vsrSumOfAbsoluteDiffu8", "", kU8, kU8, kF64,
        [](Work& w) { w.peer.at<double>(0) = cv::norm(w.a, w.b, cv::NORM_L1); },
        [](Work& w)
        {
            uint64_t sum = 0;
            vsrSumOfAbsoluteDiffu8V(w.first<uint8_t>(), w.width(), w.height(), static_cast<uint32_t>(w.a.step),
                                    w.second<uint8_t>(), static_cast<uint32_t>(w.b.step), &sum);
            w.ours.at<double>(0) = static_cast<double>(sum);
        }),
    // One vector per row, as the operation is called.
    peer(
        "vsrSumOfSquaredDiffu8", "", kU8, kU8, kF64,
        [](Work& w)
        {
            for (int y = 0; y < w.a.rows; ++y)
            {
                w.peer.at<double>(y) = cv::norm(w.a.row(y), w.b.row(0), cv::NORM_L2SQR);
            }
        },
        nullptr),
    peer(
        "vsrSumOfSquaredDifff32", "", kF32, kF32, kF64,
        [](Work& w)
        {
            for (int y = 0; y < w.a.rows; ++y)
            {
                w.peer.at<double>(y) = cv::norm(w.a.row(y), w.b.row(0), cv::NORM_L2SQR);
            }
        },
        nullptr),
});

}  // namespace
}  // namespace visora::bench

#endif
