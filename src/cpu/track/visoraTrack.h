// The Lucas-Kanade tracker but for the work on the pixels of a window, which each variant does its own way.
#ifndef VISORA_CPU_TRACK_H
#define VISORA_CPU_TRACK_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <tuple>
#include <type_traits>

#include "common/visoraDefine.h"
#include "cpu/visoraScratch.h"
#include "visora/variants/track.h"

namespace visora
{

template <class Pixel>
struct TrackArguments
{
    const Pixel* src1;
    const Pixel* src2;
    const vsrPyramidLevel_v2* src1Pyr;
    const vsrPyramidLevel_v2* src2Pyr;
    const float* featureXY;
    float* featureXYOut;
    int32_t* featureStatus;
    int32_t nFeatures;
    int32_t halfWidth;
    int32_t halfHeight;
    int32_t maxIterations;
    int32_t nLevels;
    int32_t criteriaType;
    float epsilon;
};

struct Point
{
    float x;
    float y;
};

/** A level of one of the images; the stride is in pixels. */
template <class Pixel>
struct TrackImage
{
    const Pixel* pixels;
    uint32_t width;
    uint32_t height;
    size_t stride;
};

// ---- Windows ----

/** The largest whole number not above a coordinate. Far outside any image, and for NaN, one that is as far. */
inline int64_t wholePart(float coordinate)
{
    constexpr float kFar = 0x1p40f;
    if (!(coordinate > -kFar))
    {
        return int64_t{-1} << 40;
    }
    return coordinate < kFar ? static_cast<int64_t>(std::floor(coordinate)) : int64_t{1} << 40;
}

/** What an image leaves of a window in one direction: positions begin to end - 1 of `size`. */
struct Span
{
    int64_t begin;
    int64_t end;

    int64_t length() const { return end - begin; }
    bool operator==(const Span&) const = default;

    static Span clip(float centre, int64_t half, int64_t imageSide)
    {
        const int64_t origin = wholePart(centre) - half;
        return {std::max(int64_t{0}, -origin), std::min(2 * half + 1, imageSide - origin)};
    }

    Span intersect(const Span& other) const { return {std::max(begin, other.begin), std::min(end, other.end)}; }

    /** The centre of what is left of the window around `centre`. */
    float centreOf(float centre, int64_t half) const
    {
        return centre + static_cast<float>(begin + (end - (2 * half + 1))) * 0.5f;
    }
};

struct Window
{
    Span x;
    Span y;

    bool empty() const { return x.length() < 1 || y.length() < 1; }
    bool operator==(const Window&) const = default;
};

/** Where samples along one direction lie: the first one `fraction` behind pixel `origin`. */
struct SubPixel
{
    int64_t origin;
    float fraction;

    SubPixel(float centre, int64_t length)
    {
        const float first = centre - static_cast<float>(length - 1) * 0.5f;
        origin = wholePart(first);
        fraction = first - std::floor(first);
    }
};

/** Weights of the four pixels around a sample. */
struct BilinearWeights
{
    float topLeft;
    float topRight;
    float bottomLeft;
    float bottomRight;

    BilinearWeights(const SubPixel& x, const SubPixel& y)
    {
        const float a = std::max(x.fraction, 0.0001f);
        const float b = y.fraction;
        topLeft = (1 - a) * (1 - b);
        topRight = a * (1 - b);
        bottomLeft = (1 - a) * b;
        bottomRight = a * b;
    }
};

/** Weights of the derivative's smoothing: neighbours and centre. */
constexpr float kScharrSide = 0.09375f;
constexpr float kScharrCentre = 0.3125f;

/** Sums over a window: of Ix^2, Ix Iy, Iy^2. */
struct GradientSums
{
    float xx;
    float xy;
    float yy;
};

/** Sums over a window: of the difference of the images times Ix and times Iy. */
struct MismatchSums
{
    float x;
    float y;
};

// ---- Working memory ----

/** The bytes that the reference tracker works in, of which the table of levels is the first part. */
inline size_t trackScratchBytes(int64_t windowWidth, int64_t windowHeight, int64_t nLevels)
{
    if (windowWidth < 1 || windowHeight < 1 || nLevels < 0)
    {
        return 0;
    }
    const auto patch = static_cast<size_t>(windowWidth + 2) * static_cast<size_t>(windowHeight + 2);
    if (patch > std::numeric_limits<size_t>::max() / 32)
    {
        return std::numeric_limits<size_t>::max();
    }
    return static_cast<size_t>(nLevels) * 20 +
           (static_cast<size_t>(windowWidth) * static_cast<size_t>(windowHeight) * 3 + patch) * sizeof(float);
}

/** Pixels and scale of every level, in nLevels * 20 bytes of scratch memory. */
template <class Pixel>
class LevelTable
{
  public:
    LevelTable(const TrackArguments<Pixel>& t, void* memory)
        : arguments_(t),
          first_(static_cast<const Pixel**>(memory)),
          second_(first_ + t.nLevels),
          scale_(reinterpret_cast<float*>(second_ + t.nLevels))
    {
        float scale = 1;
        for (int32_t i = 0; i < t.nLevels; ++i)
        {
            first_[i] = i == 0 ? t.src1 : static_cast<const Pixel*>(t.src1Pyr[i].ptr);
            second_[i] = i == 0 ? t.src2 : static_cast<const Pixel*>(t.src2Pyr[i].ptr);
            scale_[i] = scale;
            scale *= 0.5f;
        }
    }

    /** What follows the table. */
    float* end() const { return scale_ + arguments_.nLevels; }

    TrackImage<Pixel> first(int32_t level) const { return image(first_[level], level); }
    TrackImage<Pixel> second(int32_t level) const
    {
        TrackImage<Pixel> found = image(second_[level], level);
        if constexpr (std::is_same_v<Pixel, float>)
        {
            found.stride = arguments_.src2Pyr[level].stride / sizeof(Pixel);
        }
        return found;
    }
    float scale(int32_t level) const { return scale_[level]; }

  private:
    // The first pyramid says how large the levels of both are, and of u8 images how their rows lie.
    TrackImage<Pixel> image(const Pixel* pixels, int32_t level) const
    {
        const vsrPyramidLevel_v2& record = arguments_.src1Pyr[level];
        return {pixels, record.width, record.height, record.stride / sizeof(Pixel)};
    }

    const TrackArguments<Pixel>& arguments_;
    const Pixel** first_;
    const Pixel** second_;
    float* scale_;
};

// ---- Tracking ----

struct TrackLimits
{
    float epsilon;
    int32_t iterations;
};

inline TrackLimits trackLimits(int32_t criteriaType, int32_t maxIterations, float epsilon)
{
    const int32_t iterations = std::clamp(maxIterations, 1, 100);
    const float clamped = std::clamp(epsilon, 0.0f, 10.0f);
    switch (criteriaType)
    {
        case VISORA_TRACK_UNTIL_ITERATIONS:
            return {0.0009f, iterations};
        case VISORA_TRACK_UNTIL_EPSILON:
            return {clamped, 30};
        default:
            return {clamped, iterations};
    }
}

/** Arguments that the tracker does nothing for, whatever memory it has. */
template <class Pixel>
bool refusesToTrack(const TrackArguments<Pixel>& t)
{
    return !t.src1Pyr || !t.src2Pyr || !t.featureXY || !t.featureXYOut || !t.featureStatus || t.nFeatures < 1 ||
           t.halfWidth < 2 || t.halfHeight < 2 || t.nLevels < 0;
}

/**
 * Refines one point at one level. WindowWork has
 * - void takeTemplate(image, window, x, y): samples the window at (x, y) of the first image and takes its derivatives;
 * - GradientSums gradients(window, common): sums over the part `common` of the template's window;
 * - MismatchSums mismatch(window, common, image, x, y): samples the second image and sums over that part.
 * @param next  the guess; receives the position reached
 */
template <class WindowWork, class Pixel>
int32_t trackAtLevel(WindowWork& work, const TrackArguments<Pixel>& t, const TrackLimits& limits,
                     const TrackImage<Pixel>& first, const TrackImage<Pixel>& second, Point previous, Point& next)
{
    const auto clip = [&](Point point) -> Window {
        return {Span::clip(point.x, t.halfWidth, first.width), Span::clip(point.y, t.halfHeight, first.height)};
    };

    const Window window = clip(previous);
    if (window.empty() || !first.pixels || !second.pixels)
    {
        return VISORA_TRACK_OUTSIDE;
    }
    work.takeTemplate(first, window, window.x.centreOf(previous.x, t.halfWidth),
                      window.y.centreOf(previous.y, t.halfHeight));

    Window last{};
    GradientSums gradients{};
    float inverse = 0;
    Point lastStep{};
    for (int32_t iteration = 0; iteration < limits.iterations; ++iteration)
    {
        // Only where both images have the window can they be compared.
        const Window inSecond = clip(next);
        const Window common = {inSecond.x.intersect(window.x), inSecond.y.intersect(window.y)};
        if (common.empty())
        {
            return VISORA_TRACK_OUTSIDE;
        }
        if (!(common == last))
        {
            last = common;
            gradients = work.gradients(window, common);
            const float determinant = gradients.xx * gradients.yy - gradients.xy * gradients.xy;
            if (determinant < 1e-7f)
            {
                return VISORA_TRACK_FLAT;
            }
            inverse = 1 / determinant;
        }
        const MismatchSums b = work.mismatch(window, common, second, common.x.centreOf(next.x, t.halfWidth),
                                             common.y.centreOf(next.y, t.halfHeight));
        const Point step = {inverse * (gradients.yy * b.x - gradients.xy * b.y),
                            inverse * (gradients.xx * b.y - gradients.xy * b.x)};
        if (!std::isfinite(step.x) || !std::isfinite(step.y))
        {
            return VISORA_TRACK_OUTSIDE;
        }
        next = {next.x + step.x, next.y + step.y};
        if (step.x * step.x + step.y * step.y < limits.epsilon)
        {
            break;
        }
        // It swings between two places: the one midway is closer.
        if (iteration > 0 && std::abs(step.x + lastStep.x) < 0.01f && std::abs(step.y + lastStep.y) < 0.01f)
        {
            next = {next.x - 0.5f * step.x, next.y - 0.5f * step.y};
            break;
        }
        lastStep = step;
    }
    return VISORA_TRACK_FOUND;
}

/** Tracks all points of a call that is not refused. */
template <class WindowWork, class Pixel>
void trackFeatures(WindowWork& work, const TrackArguments<Pixel>& t, const LevelTable<Pixel>& levels)
{
    const TrackLimits limits = trackLimits(t.criteriaType, t.maxIterations, t.epsilon);
    std::fill_n(t.featureStatus, t.nFeatures, int32_t{VISORA_TRACK_FOUND});
    for (int32_t level = t.nLevels - 1; level >= 0; --level)
    {
        const TrackImage<Pixel> first = levels.first(level);
        const TrackImage<Pixel> second = levels.second(level);
        const float scale = levels.scale(level);
        // Positions come in the coordinates of the full image, then in those of the level above.
        const float guessScale = level == t.nLevels - 1 ? scale : 2;
        for (size_t i = 0; i < static_cast<size_t>(t.nFeatures); ++i)
        {
            if (t.featureStatus[i] != VISORA_TRACK_FOUND)
            {
                continue;
            }
            float* out = t.featureXYOut + 2 * i;
            const Point previous = {t.featureXY[2 * i] * scale, t.featureXY[2 * i + 1] * scale};
            Point next = {out[0] * guessScale, out[1] * guessScale};
            t.featureStatus[i] = trackAtLevel(work, t, limits, first, second, previous, next);
            // Who is lost stays here.
            const float outScale = t.featureStatus[i] == VISORA_TRACK_FOUND ? 1 : 1 / scale;
            out[0] = next.x * outScale;
            out[1] = next.y * outScale;
        }
    }
}

// ---- What comes before ----

/** The search starts where the points are in the first image. */
inline void startAtFeatures(const float* featureXY, float* featureXYOut, int32_t nFeatures)
{
    if (nFeatures > 0)
    {
        std::copy_n(featureXY, 2 * static_cast<size_t>(nFeatures), featureXYOut);
    }
}

/** Calls back with the two pyramids in records with strides; null ones without scratch memory. */
template <class Call>
void withStrides(const vsrPyramidLevel* first, const vsrPyramidLevel* second, int32_t nLevels, Call call)
{
    // At least one record: a buffer of no bytes may be null, and a pyramid of no levels is not one that fails.
    const size_t bytes = static_cast<size_t>(std::max(nLevels, 1)) * sizeof(vsrPyramidLevel_v2);
    const Scratch firstMemory(bytes, alignof(vsrPyramidLevel_v2));
    const Scratch secondMemory(bytes, alignof(vsrPyramidLevel_v2));
    const auto convert = [&](const vsrPyramidLevel* from, const Scratch& memory)
    {
        auto* to = reinterpret_cast<vsrPyramidLevel_v2*>(memory.data());
        for (int32_t i = 0; to && i < nLevels; ++i)
        {
            to[i] = {from[i].ptr, from[i].width, from[i].height, from[i].width};
        }
        return to;
    };
    call(convert(first, firstMemory), convert(second, secondMemory));
}

/** A tracker of packed images by `strided`, one of images with strides. The number of levels comes last. */
template <auto strided, class... Rest>
vsrStatus trackPacked(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                      const vsrPyramidLevel* src1Pyr, const vsrPyramidLevel* src2Pyr, Rest... rest)
{
    withStrides(src1Pyr, src2Pyr, std::get<sizeof...(rest) - 1>(std::tuple(rest...)),
                [&](const vsrPyramidLevel_v2* first, const vsrPyramidLevel_v2* second)
                { strided(src1, src2, width, height, width, first, second, rest...); });
    return VISORA_SUCCESS;
}

}  // namespace visora

/** Defines the `variant` of the older members, which end by the number of iterations only, by that of the newest. */
#define VSR_TRACK_UNTIL_ITERATIONS(variant)                                                                            \
    VSR_DEFINE(vsrTrackLKOpticalFlowu8_v2##variant, decltype(vsrTrackLKOpticalFlowu8_v2),                              \
               { return vsrTrackLKOpticalFlowu8_v3##variant(arguments..., VISORA_TRACK_UNTIL_ITERATIONS, 0.0f, 0); }); \
    VSR_DEFINE(vsrTrackLKOpticalFlowu8##variant, decltype(vsrTrackLKOpticalFlowu8),                                    \
               { return visora::trackPacked<vsrTrackLKOpticalFlowu8_v2##variant>(arguments...); })

#endif
