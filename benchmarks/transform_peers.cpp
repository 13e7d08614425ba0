// Peers of the block transforms and the Fourier transforms. The sides of Fourier transforms are cut to powers of two,
// as the operation's are. Plans are made before the clock runs.
#include <algorithm>
#include <bit>

#include "peers.h"
#include "visora/variants/statistics.h"

#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>

#include "compared.h"
#endif

#ifdef VISORA_HAVE_FFTW
#include <fftw3.h>

#include <memory>
#endif

namespace visora::bench
{
namespace
{

int powerOfTwo(int size)
{
    return static_cast<int>(std::bit_floor(static_cast<unsigned>(size)));
}

#ifdef VISORA_HAVE_OPENCV
// Block by block, as OpenCV's transform takes one image.
cv::Mat blocks(const cv::Mat& src, cv::Mat& work, int flags)
{
    for (int y = 0; y < src.rows; y += 8)
    {
        for (int x = 0; x < src.cols; x += 8)
        {
            const cv::Rect block(x, y, 8, 8);
            cv::Mat out = work(block);
            cv::dct(src(block), out, flags);
        }
    }
    return work;
}

// Both sides are rounded to whole numbers. theirs and ours differ by at most 1.
Trial blockTrial(const cv::Mat& src, int flags, const std::function<cv::Mat()>& ours)
{
    cv::Mat work(src.size(), CV_32F);
    return {[=]() mutable { blocks(src, work, flags); },
            [=]() mutable
            {
                cv::Mat mine;
                ours().convertTo(mine, CV_32F);
                cv::Mat theirs = blocks(src, work, flags);
                theirs = cv::min(cv::max(theirs, flags == 0 ? -32768 : 0), flags == 0 ? 32767 : 255);
                const bool alike = cv::norm(theirs, mine, cv::NORM_INF) <= 1;
                return std::pair(mine, alike ? mine : theirs);
            }};
}

cv::Mat forward(const cv::Mat& src)
{
    cv::Mat dst(src.size(), CV_16S);
    vsrDCTu8V(src.ptr(), columns(src), rows(src), stride(src), dst.ptr<int16_t>(), stride(dst));
    return dst;
}

const auto forwardBlocks = [](int width, int height) -> Trial
{
    const cv::Mat src = randomImage(width / 8 * 8, height / 8 * 8, CV_8U);
    cv::Mat floats;
    src.convertTo(floats, CV_32F);
    return blockTrial(floats, 0, [=] { return forward(src); });
};

const auto inverseBlocks = [](int width, int height) -> Trial
{
    const cv::Mat coefficients = forward(randomImage(width / 8 * 8, height / 8 * 8, CV_8U));
    cv::Mat floats;
    coefficients.convertTo(floats, CV_32F);
    return blockTrial(floats, cv::DCT_INVERSE,
                      [=]
                      {
                          cv::Mat dst(coefficients.size(), CV_8U);
                          vsrIDCTs16u8V(coefficients.ptr<int16_t>(), columns(dst), rows(dst), stride(coefficients),
                                        dst.ptr(), stride(dst));
                          return dst;
                      });
};

// The whole spectrum of a real image, or of a complex one.
auto fourier(int type, uint32_t flags)
{
    return [=](int width, int height) -> Trial
    {
        const bool onlyRows = (flags & VISORA_FFT_ROWS) != 0;
        const cv::Mat src = randomImage(powerOfTwo(width), onlyRows ? height : powerOfTwo(height), type);
        cv::Mat spectrum(src.size(), CV_32FC2);
        auto theirs = [=]() mutable
        {
            cv::dft(src, spectrum, (onlyRows ? cv::DFT_ROWS : 0) | cv::DFT_COMPLEX_OUTPUT);
            return spectrum;
        };
        return {theirs,
                [=]() mutable
                {
                    cv::Mat ours(src.size(), CV_32FC2);
                    vsrFFTf32V(src.ptr<float>(), columns(src), rows(src), stride(src), flags, ours.ptr<float>(),
                               stride(ours));
                    return std::pair(theirs(), ours);
                },
                1e-6};
    };
}

// OpenCV takes no bytes.
const auto fourierOfBytes = [](int width, int height) -> Trial
{
    const cv::Mat bytes = randomImage(powerOfTwo(width), powerOfTwo(height), CV_8U);
    cv::Mat floats(bytes.size(), CV_32F);
    cv::Mat spectrum(bytes.size(), CV_32FC2);
    auto theirs = [=]() mutable
    {
        bytes.convertTo(floats, CV_32F);
        cv::dft(floats, spectrum, cv::DFT_COMPLEX_OUTPUT);
        return spectrum;
    };
    return {theirs,
            [=]() mutable
            {
                cv::Mat ours(bytes.size(), CV_32FC2);
                vsrFFTu8V(bytes.ptr(), columns(bytes), rows(bytes), stride(bytes), ours.ptr<float>(), stride(ours));
                return std::pair(theirs(), ours);
            },
            1e-6};
};

const auto inverseFourier = [](int width, int height) -> Trial
{
    cv::Mat spectrum;
    cv::dft(randomImage(powerOfTwo(width), powerOfTwo(height), CV_32F), spectrum, cv::DFT_COMPLEX_OUTPUT);
    cv::Mat dst(spectrum.size(), CV_32F);
    auto theirs = [=]() mutable
    {
        cv::dft(spectrum, dst, cv::DFT_INVERSE | cv::DFT_REAL_OUTPUT | cv::DFT_SCALE);
        return dst;
    };
    return {theirs,
            [=]() mutable
            {
                cv::Mat ours(spectrum.size(), CV_32F);
                vsrIFFTf32V(spectrum.ptr<float>(), columns(ours), rows(ours), stride(spectrum), ours.ptr<float>(),
                            stride(ours));
                return std::pair(theirs(), ours);
            },
            1e-6};
};

constexpr uint32_t kComplex = VISORA_FFT_COMPLEX;
constexpr uint32_t kRows = VISORA_FFT_ROWS;

const RegisterPeers openCvTransforms({
    compared("vsrDCTu8", "", "OpenCV", forwardBlocks),
    compared("vsrIDCTs16u8", "", "OpenCV", inverseBlocks),
    compared("vsrFFTu8", "", "OpenCV", fourierOfBytes),
    compared("vsrFFTf32", "real", "OpenCV", fourier(CV_32F, 0)),
    compared("vsrFFTf32", "complex", "OpenCV", fourier(CV_32FC2, kComplex)),
    compared("vsrFFTf32", "rows", "OpenCV", fourier(CV_32F, kRows)),
    compared("vsrFFTf32", "complex_rows", "OpenCV", fourier(CV_32FC2, kComplex | kRows)),
    compared("vsrIFFTf32", "", "OpenCV", inverseFourier),
});
#endif

#ifdef VISORA_HAVE_FFTW
// A plan and its buffers.
struct Plan
{
    Plan() = default;
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;
    ~Plan()
    {
        fftwf_destroy_plan(plan);
        fftwf_free(from);
        fftwf_free(to);
    }

    fftwf_complex* from = nullptr;
    fftwf_complex* to = nullptr;
    fftwf_plan plan = nullptr;
};

// A real image has half a spectrum with FFTW, ours is whole.
auto planned(bool isReal, bool onlyRows, int sign)
{
    return [=](int srcWidth, int srcHeight) -> std::function<void()>
    {
        const int width = powerOfTwo(srcWidth);
        const int height = onlyRows ? srcHeight : powerOfTwo(srcHeight);
        const auto elements = static_cast<size_t>(width) * static_cast<size_t>(height);
        const int sides[] = {height, width};
        const int rank = onlyRows ? 1 : 2;
        const int* size = onlyRows ? sides + 1 : sides;
        const int transforms = onlyRows ? height : 1;
        const int half = width / 2 + 1;
        const auto work = std::make_shared<Plan>();
        work->from = fftwf_alloc_complex(elements);
        work->to = fftwf_alloc_complex(elements + static_cast<size_t>(height));
        work->plan = isReal ? fftwf_plan_many_dft_r2c(rank, size, transforms, reinterpret_cast<float*>(work->from),
                                                      nullptr, 1, width, work->to, nullptr, 1, half, FFTW_MEASURE)
                            : fftwf_plan_many_dft(rank, size, transforms, work->from, nullptr, 1, width, work->to,
                                                  nullptr, 1, width, sign, FFTW_MEASURE);
        std::fill_n(reinterpret_cast<float*>(work->from), 2 * elements, 1.5f);
        return [=] { fftwf_execute(work->plan); };
    };
}

const RegisterPeers fftwTransforms({
    {"vsrFFTf32", "real", "FFTW", planned(true, false, FFTW_FORWARD)},
    {"vsrFFTf32", "complex", "FFTW", planned(false, false, FFTW_FORWARD)},
    {"vsrFFTf32", "rows", "FFTW", planned(true, true, FFTW_FORWARD)},
    {"vsrFFTf32", "complex_rows", "FFTW", planned(false, true, FFTW_FORWARD)},
    {"vsrIFFTf32", "", "FFTW", planned(false, false, FFTW_BACKWARD)},
});
#endif

}  // namespace
}  // namespace visora::bench
