// Peers of the conversions between RGB formats, to YCbCr, between its layouts, of HSV, L*a*b*, channels and mosaics.
// Where a peer follows the same rule its bytes are compared with ours before anything is timed.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "arena.h"
#include "peers.h"
#include "visora/variants/color.h"

#ifdef VISORA_HAVE_LIBYUV
#include <libyuv.h>
#endif
#ifdef VISORA_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace visora::bench
{
namespace
{

// The planes of an image lie one behind another, packed.
using Convert = void (*)(const uint8_t* src, uint8_t* dst, int width, int height);

struct Contest
{
    const char* operation;
    const char* library;
    Convert peer;
    Convert ours = nullptr;  // where the peer's bytes are the same
    const char* label = "";
};

// Of the largest format.
constexpr size_t kBytesPerPixel = 4;

std::vector<uint8_t> someBytes(int width, int height)
{
    std::vector<uint8_t> bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * kBytesPerPixel);
    uint32_t state = 1;
    for (uint8_t& byte : bytes)
    {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

// Even sizes: on odd ones some peers have another rule.
void requireSameBytes(const Contest& contest)
{
    constexpr int kWidth = 334, kHeight = 46;
    const std::vector<uint8_t> src = someBytes(kWidth, kHeight);
    std::vector<uint8_t> peer(src.size()), ours(src.size());
    contest.peer(src.data(), peer.data(), kWidth, kHeight);
    contest.ours(src.data(), ours.data(), kWidth, kHeight);
    if (peer != ours)
    {
        std::fprintf(stderr, "%s %s: other bytes than %s\n", contest.operation, contest.label, contest.library);
        std::abort();
    }
}

struct RegisterContests
{
    RegisterContests(std::initializer_list<Contest> list)
    {
        for (const Contest& contest : list)
        {
            const auto prepare = [=](int width, int height)
            {
                if (contest.ours)
                {
                    requireSameBytes(contest);
                }
                const std::vector<uint8_t> src = someBytes(width, height);
                const Arena memory = arena(src.size(), src.size());
                std::copy(src.begin(), src.end(), memory.read);
                return [=] { contest.peer(memory.read, memory.written, width, height); };
            };
            RegisterPeers({{contest.operation, contest.label, contest.library, prepare}});
        }
    }
};

uint32_t u(int value)
{
    return static_cast<uint32_t>(value);
}

#define WORK [](const uint8_t* src, uint8_t* dst, int w, int h)
#define OURS(operation, srcBytes, dstBytes)                                       \
    WORK                                                                          \
    {                                                                             \
        operation##V(src, u(w), u(h), u(w) * (srcBytes), dst, u(w) * (dstBytes)); \
    }

#ifdef VISORA_HAVE_LIBYUV

using namespace libyuv;

#define YUV(function, srcBytes, dstBytes)                     \
    WORK                                                      \
    {                                                         \
        function(src, w*(srcBytes), dst, w*(dstBytes), w, h); \
    }
// By way of a row of four bytes a pixel.
#define YUV_BY_ARGB(first, second, srcBytes, dstBytes)                                 \
    WORK                                                                               \
    {                                                                                  \
        std::vector<uint8_t> row(static_cast<size_t>(w) * 4);                          \
        for (int y = 0; y < h; ++y)                                                    \
        {                                                                              \
            first(src + y * w * (srcBytes), w * (srcBytes), row.data(), w * 4, w, 1);  \
            second(row.data(), w * 4, dst + y * w * (dstBytes), w * (dstBytes), w, 1); \
        }                                                                              \
    }
#define SAME(operation, function, srcBytes, dstBytes)                                                \
    {                                                                                                \
#operation, "libyuv", YUV(function, srcBytes, dstBytes), OURS(operation, srcBytes, dstBytes) \
    }
#define SAME_BY_ARGB(operation, first, second, srcBytes, dstBytes)                                                \
    {                                                                                                             \
#operation, "libyuv", YUV_BY_ARGB(first, second, srcBytes, dstBytes), OURS(operation, srcBytes, dstBytes) \
    }

const RegisterContests libyuvRgb({
    SAME_BY_ARGB(vsrColorRGB565ToBGR888u8, RGB565ToARGB, ARGBToRAW, 2, 3),
    SAME_BY_ARGB(vsrColorRGB565ToBGRA8888u8, RGB565ToARGB, ARGBToABGR, 2, 4),
    SAME_BY_ARGB(vsrColorRGB565ToRGB888u8, RGB565ToARGB, ARGBToRGB24, 2, 3),
    SAME(vsrColorRGB565ToRGBA8888u8, RGB565ToARGB, 2, 4),
    SAME(vsrColorRGB888ToBGR888u8, RAWToRGB24, 3, 3),
    SAME(vsrColorRGB888ToBGRA8888u8, RAWToARGB, 3, 4),
    SAME(vsrColorRGB888ToRGBA8888u8, RGB24ToARGB, 3, 4),
    SAME(vsrColorRGBA8888ToBGR888u8, ARGBToRAW, 4, 3),
    SAME(vsrColorRGBA8888ToBGRA8888u8, ABGRToARGB, 4, 4),
    SAME(vsrColorRGBA8888ToRGB565u8, ARGBToRGB565, 4, 2),
    SAME(vsrColorRGBA8888ToRGB888u8, ARGBToRGB24, 4, 3),
    SAME_BY_ARGB(vsrColorRGB565ToGrayu8, RGB565ToARGB, ABGRToJ400, 2, 1),
    SAME(vsrColorRGB888ToGrayu8, RAWToJ400, 3, 1),
    SAME(vsrColorRGBA8888ToGrayu8, ABGRToJ400, 4, 1),
});

// Chroma planes behind luma, of a width and a height in parts of the image's.
#define YUV_TO_PLANES(function, srcBytes, across, down)                                                              \
    WORK                                                                                                             \
    {                                                                                                                \
        uint8_t* cb = dst + w * h;                                                                                   \
        function(src, w*(srcBytes), dst, w, cb, w / (across), cb + w / (across) * (h / (down)), w / (across), w, h); \
    }
#define YUV_TO_PAIRS(function, srcBytes)                           \
    WORK                                                           \
    {                                                              \
        function(src, w*(srcBytes), dst, w, dst + w * h, w, w, h); \
    }

const RegisterContests libyuvYCbCr({
    {"vsrColorRGB888ToYCbCr420Planaru8", "libyuv", YUV_TO_PLANES(RAWToJ420, 3, 2, 2)},
    {"vsrColorRGBA8888ToYCbCr420Planaru8", "libyuv", YUV_TO_PLANES(ABGRToJ420, 4, 2, 2)},
    {"vsrColorRGBA8888ToYCbCr422Planaru8", "libyuv", YUV_TO_PLANES(ABGRToJ422, 4, 2, 1)},
    {"vsrColorRGB888ToYCbCr420PseudoPlanaru8", "libyuv", YUV_TO_PAIRS(RAWToJNV21, 3)},
});

// From planes whose chroma has parts of the image's width and height, to others.
#define PLANES(across, down)                      \
    const int cw = w / (across), ch = h / (down); \
    const uint8_t *cb = src + w * h, *cr = cb + cw * ch;
#define TO_PLANES(across, down)                   \
    const int ow = w / (across), oh = h / (down); \
    uint8_t *ocb = dst + w * h, *ocr = ocb + ow * oh;
#define FROM_TO_PLANES(function, a, b, c, d)                                                           \
    WORK                                                                                               \
    {                                                                                                  \
        PLANES(a, b) TO_PLANES(c, d) function(src, w, cb, cw, cr, cw, dst, w, ocb, ow, ocr, ow, w, h); \
    }
#define OURS_PLANES(operation, a, b, c, d)                                                            \
    WORK                                                                                              \
    {                                                                                                 \
        PLANES(a, b)                                                                                  \
        TO_PLANES(c, d)                                                                               \
        operation##V(src, cb, cr, u(w), u(h), u(w), u(cw), u(cw), dst, ocb, ocr, u(w), u(ow), u(ow)); \
    }
#define MERGE(a, b)                                                \
    WORK                                                           \
    {                                                              \
        PLANES(a, b)                                               \
        CopyPlane(src, w, dst, w, w, h);                           \
        MergeUVPlane(cb, cw, cr, cw, dst + w * h, 2 * cw, cw, ch); \
    }
#define SPLIT(a, b)                                                  \
    WORK                                                             \
    {                                                                \
        TO_PLANES(a, b)                                              \
        CopyPlane(src, w, dst, w, w, h);                             \
        SplitUVPlane(src + w * h, 2 * ow, ocb, ow, ocr, ow, ow, oh); \
    }
#define OURS_MERGE(operation, a, b)                                                                   \
    WORK                                                                                              \
    {                                                                                                 \
        PLANES(a, b)                                                                                  \
        (void)ch;                                                                                     \
        operation##V(src, cb, cr, u(w), u(h), u(w), u(cw), u(cw), dst, dst + w * h, u(w), u(2 * cw)); \
    }
#define OURS_SPLIT(operation, a, b)                                                                     \
    WORK                                                                                                \
    {                                                                                                   \
        TO_PLANES(a, b)                                                                                 \
        operation##V(src, src + w * h, u(w), u(h), u(w), u(2 * ow), dst, ocb, ocr, u(w), u(ow), u(ow)); \
    }
#define PAIRS_TO_PAIRS(function, srcStride, dstStride)                                  \
    WORK                                                                                \
    {                                                                                   \
        function(src, w, src + w * h, srcStride, dst, w, dst + w * h, dstStride, w, h); \
    }

const RegisterContests libyuvLayouts({
    {"vsrColorYCbCr420PlanarToYCbCr420PseudoPlanaru8", "libyuv",
     WORK { PLANES(2, 2) I420ToNV12(src, w, cb, cw, cr, cw, dst, w, dst + w * h, w, w, h);
}
, OURS_MERGE(vsrColorYCbCr420PlanarToYCbCr420PseudoPlanaru8, 2, 2)
}
, {"vsrColorYCbCr420PseudoPlanarToYCbCr420Planaru8", "libyuv",
   WORK{TO_PLANES(2, 2) NV12ToI420(src, w, src + w * h, w, dst, w, ocb, ow, ocr, ow, w, h);
}
, OURS_SPLIT(vsrColorYCbCr420PseudoPlanarToYCbCr420Planaru8, 2, 2)
}
,
    {"vsrColorYCbCr422PlanarToYCbCr422PseudoPlanaru8", "libyuv", MERGE(2, 1),
     OURS_MERGE(vsrColorYCbCr422PlanarToYCbCr422PseudoPlanaru8, 2, 1)},
    {"vsrColorYCbCr422PseudoPlanarToYCbCr422Planaru8", "libyuv", SPLIT(2, 1),
     OURS_SPLIT(vsrColorYCbCr422PseudoPlanarToYCbCr422Planaru8, 2, 1)},
    {"vsrColorYCbCr444PlanarToYCbCr444PseudoPlanaru8", "libyuv", MERGE(1, 1),
     OURS_MERGE(vsrColorYCbCr444PlanarToYCbCr444PseudoPlanaru8, 1, 1)},
    {"vsrColorYCbCr444PseudoPlanarToYCbCr444Planaru8", "libyuv", SPLIT(1, 1),
     OURS_SPLIT(vsrColorYCbCr444PseudoPlanarToYCbCr444Planaru8, 1, 1)},
    {"vsrColorYCbCr422PlanarToYCbCr420Planaru8", "libyuv", FROM_TO_PLANES(I422ToI420, 2, 1, 2, 2),
     OURS_PLANES(vsrColorYCbCr422PlanarToYCbCr420Planaru8, 2, 1, 2, 2)},
    {"vsrColorYCbCr444PlanarToYCbCr420Planaru8", "libyuv", FROM_TO_PLANES(I444ToI420, 1, 1, 2, 2),
     OURS_PLANES(vsrColorYCbCr444PlanarToYCbCr420Planaru8, 1, 1, 2, 2)},
    {"vsrColorYCbCr444PlanarToYCbCr420PseudoPlanaru8", "libyuv",
     WORK{PLANES(1, 1) I444ToNV12(src, w, cb, cw, cr, cw, dst, w, dst + w * h, w, w, h);
}
, WORK
{
    PLANES(1, 1)
    vsrColorYCbCr444PlanarToYCbCr420PseudoPlanaru8V(src, cb, cr, u(w), u(h), u(w), u(cw), u(cw), dst, dst + w * h, u(w),
                                                    u(w));
}
}
, {"vsrColorYCbCr420PlanarToYCbCr422Planaru8", "libyuv", FROM_TO_PLANES(I420ToI422, 2, 2, 2, 1)},
    {"vsrColorYCbCr420PlanarToYCbCr444Planaru8", "libyuv", FROM_TO_PLANES(I420ToI444, 2, 2, 1, 1)},
    {"vsrColorYCbCr422PlanarToYCbCr444Planaru8", "libyuv", FROM_TO_PLANES(I422ToI444, 2, 1, 1, 1)},
    {"vsrColorYCbCr420PseudoPlanarToYCbCr444PseudoPlanaru8", "libyuv", PAIRS_TO_PAIRS(NV12ToNV24, w, 2 * w)},
    {"vsrColorYCbCr422PseudoPlanarToYCbCr444PseudoPlanaru8", "libyuv", PAIRS_TO_PAIRS(NV16ToNV24, w, 2 * w)},
});

const RegisterContests libyuvChannels({
    {"vsrChannelCombine2u8", "libyuv", WORK { MergeUVPlane(src, w, src + w * h, w, dst, 2 * w, w, h);
}
, WORK
{
    vsrChannelCombine2u8V(src, u(w), u(h), u(w), src + w * h, u(w), dst, u(2 * w));
}
}
, {"vsrChannelCombine3u8", "libyuv", WORK{MergeRGBPlane(src, w, src + w * h, w, src + 2 * w * h, w, dst, 3 * w, w, h);
}
, WORK
{
    vsrChannelCombine3u8V(src, u(w), u(h), u(w), src + w * h, u(w), src + 2 * w * h, u(w), dst, u(3 * w));
}
}
, {"vsrChannelExtractu8", "libyuv", WORK{SplitUVPlane(src, 2 * w, dst + w * h, w, dst, w, w, h);
}
, nullptr, "C2"
}
, {"vsrChromaSwapu8", "libyuv", WORK{SwapUVPlane(src, 2 * w, dst, 2 * w, w, h);
}
, OURS(vsrChromaSwapu8, 2, 2)
}
,
});

#endif

#ifdef VISORA_HAVE_OPENCV

cv::Mat image(const uint8_t* data, int width, int height, int channels)
{
    return cv::Mat(height, width, CV_8UC(channels), const_cast<uint8_t*>(data));
}

#define CV(code, srcBytes, dstBytes)                         \
    WORK                                                     \
    {                                                        \
        cv::Mat out = image(dst, w, h, dstBytes);            \
        cv::cvtColor(image(src, w, h, srcBytes), out, code); \
    }
#define SAME_CV(operation, code, srcBytes, dstBytes)                                            \
    {                                                                                           \
#operation, "OpenCV", CV(code, srcBytes, dstBytes), OURS(operation, srcBytes, dstBytes) \
    }
#define OURS_BAYER(operation, pattern, dstBytes)                              \
    WORK                                                                      \
    {                                                                         \
        operation##V(src, u(w), u(h), u(w), pattern, dst, u(w) * (dstBytes)); \
    }

const RegisterContests openCv({
    SAME_CV(vsrColorRGB888ToBGR565u8, cv::COLOR_RGB2BGR565, 3, 2),
    SAME_CV(vsrColorRGB888ToBGR888u8, cv::COLOR_RGB2BGR, 3, 3),
    SAME_CV(vsrColorRGB888ToBGRA8888u8, cv::COLOR_RGB2BGRA, 3, 4),
    SAME_CV(vsrColorRGB888ToRGB565u8, cv::COLOR_BGR2BGR565, 3, 2),
    SAME_CV(vsrColorRGB888ToRGBA8888u8, cv::COLOR_RGB2RGBA, 3, 4),
    SAME_CV(vsrColorRGBA8888ToBGR565u8, cv::COLOR_RGBA2BGR565, 4, 2),
    SAME_CV(vsrColorRGBA8888ToBGR888u8, cv::COLOR_RGBA2BGR, 4, 3),
    SAME_CV(vsrColorRGBA8888ToBGRA8888u8, cv::COLOR_RGBA2BGRA, 4, 4),
    SAME_CV(vsrColorRGBA8888ToRGB565u8, cv::COLOR_BGRA2BGR565, 4, 2),
    SAME_CV(vsrColorRGBA8888ToRGB888u8, cv::COLOR_BGRA2BGR, 4, 3),
    {"vsrColorRGB888ToGrayu8", "OpenCV", CV(cv::COLOR_RGB2GRAY, 3, 1)},
    {"vsrColorRGBA8888ToGrayu8", "OpenCV", CV(cv::COLOR_RGBA2GRAY, 4, 1)},
    {"vsrColorRGB888ToYCbCr444Planaru8", "OpenCV", CV(cv::COLOR_RGB2YCrCb, 3, 3)},
    {"vsrColorRGB888ToYCbCr444PseudoPlanaru8", "OpenCV", CV(cv::COLOR_RGB2YCrCb, 3, 3)},
    SAME_CV(vsrColorRGB888ToHSV888u8, cv::COLOR_RGB2HSV_FULL, 3, 3),
    {"vsrColorHSV888ToRGB888u8", "OpenCV", CV(cv::COLOR_HSV2RGB_FULL, 3, 3)},
    SAME_CV(vsrColorRGB888ToLab888u8, cv::COLOR_RGB2Lab, 3, 3),
    SAME_CV(vsrColorLab888ToRGB888u8, cv::COLOR_Lab2RGB, 3, 3),
    {"vsrBayerToRGB888u8", "OpenCV", CV(cv::COLOR_BayerGRBG2RGB, 1, 3), OURS_BAYER(vsrBayerToRGB888u8, 1, 3)},
    {"vsrBayerToGrayu8", "OpenCV", CV(cv::COLOR_BayerGRBG2GRAY, 1, 1)},
    {"vsrChannelCombine4u8", "OpenCV",
     WORK
     {
         const cv::Mat planes[] = {image(src, w, h, 1), image(src + w * h, w, h, 1), image(src + 2 * w * h, w, h, 1),
                                   image(src + 3 * w * h, w, h, 1)};
         cv::Mat out = image(dst, w, h, 4);
         cv::merge(planes, 4, out);
}
, WORK
{
    vsrChannelCombine4u8V(src, u(w), u(h), u(w), src + w * h, u(w), src + 2 * w * h, u(w), src + 3 * w * h, u(w), dst,
                          u(4 * w));
}
}
, {"vsrChannelExtractu8", "OpenCV", WORK{cv::Mat out = image(dst, w, h, 1);
cv::extractChannel(image(src, w, h, 3), out, 1);
}
, WORK
{
    vsrChannelExtractu8V(src, nullptr, nullptr, u(w), u(h), u(3 * w), 0, 0, VISORA_FORMAT_RGB888, VISORA_CHANNEL_G, dst,
                         u(w));
}
, "RGB888"
}
, {"vsrChannelExtractu8", "OpenCV", WORK{cv::Mat out = image(dst, w, h, 1);
cv::extractChannel(image(src, w, h, 4), out, 2);
}
, WORK
{
    vsrChannelExtractu8V(src, nullptr, nullptr, u(w), u(h), u(4 * w), 0, 0, VISORA_FORMAT_RGBA8888, VISORA_CHANNEL_B,
                         dst, u(w));
}
, "RGBA8888"
}
,
});

#endif

}  // namespace
}  // namespace visora::bench
