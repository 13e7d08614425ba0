// Optical flow, reference variants.
#include "common/visoraRelaxed.h"
#include "cpu/track/visoraTrack.h"

namespace
{

using namespace visora;

template <class Pixel>
void samplePatch(const TrackImage<Pixel>& image, float* dst, int64_t width, int64_t height, float centreX,
                 float centreY)
{
    const SubPixel left(centreX, width);
    const SubPixel top(centreY, height);
    const BilinearWeights weights(left, top);
    const auto pixel = [&](int64_t x, int64_t y)
    {
        const auto column = static_cast<size_t>(std::clamp(x, int64_t{0}, int64_t{image.width} - 1));
        const auto row = static_cast<size_t>(std::clamp(y, int64_t{0}, int64_t{image.height} - 1));
        return static_cast<float>(image.pixels[row * image.stride + column]);
    };
    for (int64_t y = top.origin; y < top.origin + height; ++y)
    {
        for (int64_t x = left.origin; x < left.origin + width; ++x)
        {
            *dst++ = weights.topLeft * pixel(x, y) + weights.topRight * pixel(x + 1, y) +
                     weights.bottomLeft * pixel(x, y + 1) + weights.bottomRight * pixel(x + 1, y + 1);
        }
    }
}

// Sums term(x, y) over a window: each column from top to bottom, then the columns in four partial sums, column x going
// to sum x mod 4. Vectors of columns give the same bits, 128 bits or more of them at a time.
template <class Term>
float sumOverWindow(size_t width, size_t height, Term term)
{
    float partial[4] = {};
    for (size_t x = 0; x < width; ++x)
    {
        float column = 0;
        for (size_t y = 0; y < height; ++y)
        {
            column += term(x, y);
        }
        partial[x % 4] += column;
    }
    return (partial[0] + partial[1]) + (partial[2] + partial[3]);
}

template <class Pixel>
class ReferenceWork
{
  public:
    // `memory` has room for the areas whose size trackScratchBytes tells.
    ReferenceWork(const TrackArguments<Pixel>& t, float* memory)
    {
        const auto width = 2 * static_cast<size_t>(t.halfWidth) + 1;
        const auto height = 2 * static_cast<size_t>(t.halfHeight) + 1;
        patch_ = memory;
        second_ = patch_ + (width + 2) * (height + 2);
        ix_ = second_ + width * height;
        iy_ = ix_ + width * height;
    }

    void takeTemplate(const TrackImage<Pixel>& image, const Window& window, float x, float y)
    {
        const int64_t width = window.x.length() + 2;
        const int64_t height = window.y.length() + 2;
        samplePatch(image, patch_, width, height, x, y);
        VSR_LOAD(calcIxIy_32f_)(patch_, ix_, iy_, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    }

    GradientSums gradients(const Window& window, const Window& common) const
    {
        const auto sum = [&](const float* a, const float* b)
        {
            return sumOverWindow(columns(common), rows(common),
                                 [&](size_t x, size_t y)
                                 { return a[at(window, common, x, y)] * b[at(window, common, x, y)]; });
        };
        return {sum(ix_, ix_), sum(ix_, iy_), sum(iy_, iy_)};
    }

    MismatchSums mismatch(const Window& window, const Window& common, const TrackImage<Pixel>& image, float x,
                          float y) const
    {
        samplePatch(image, second_, common.x.length(), common.y.length(), x, y);
        const auto sum = [&](const float* derivative)
        {
            return sumOverWindow(columns(common), rows(common),
                                 [&](size_t column, size_t row)
                                 {
                                     const float difference = patch_[inPatch(window, common, column, row)] -
                                                              second_[row * columns(common) + column];
                                     return difference * derivative[at(window, common, column, row)];
                                 });
        };
        return {sum(ix_), sum(iy_)};
    }

  private:
    static size_t columns(const Window& window) { return static_cast<size_t>(window.x.length()); }
    static size_t rows(const Window& window) { return static_cast<size_t>(window.y.length()); }

    // Where a pixel of the common part lies among the derivatives, which are those of the template's window.
    static size_t at(const Window& window, const Window& common, size_t x, size_t y)
    {
        const auto column = static_cast<size_t>(common.x.begin - window.x.begin) + x;
        const auto row = static_cast<size_t>(common.y.begin - window.y.begin) + y;
        return row * columns(window) + column;
    }

    // Where it lies in the patch, which has a margin around the window.
    static size_t inPatch(const Window& window, const Window& common, size_t x, size_t y)
    {
        const auto column = static_cast<size_t>(common.x.begin - window.x.begin) + x + 1;
        const auto row = static_cast<size_t>(common.y.begin - window.y.begin) + y + 1;
        return row * (columns(window) + 2) + column;
    }

    float* patch_;
    float* second_;
    float* ix_;
    float* iy_;
};

template <class Pixel>
void track(const TrackArguments<Pixel>& t, void* scratch, size_t scratchSize)
{
    if (!scratch || refusesToTrack(t) ||
        trackScratchBytes(2 * int64_t{t.halfWidth} + 1, 2 * int64_t{t.halfHeight} + 1, t.nLevels) > scratchSize)
    {
        return;
    }
    const LevelTable<Pixel> levels(t, scratch);
    ReferenceWork<Pixel> work(t, levels.end());
    trackFeatures(work, t, levels);
}

}  // namespace

uint32_t getRectSubPix(const uint8_t* image, uint32_t width, uint32_t height, uint32_t stride, float* dst,
                       int32_t patchWidth, int32_t patchHeight, float centerX, float centerY)
{
    if (patchWidth < 1 || patchHeight < 1 || width < 1 || height < 1)
    {
        return 0xffffffff;
    }
    samplePatch<uint8_t>({image, width, height, stride}, dst, patchWidth, patchHeight, centerX, centerY);
    return 0;
}

void calcIxIy_32fC(const float* patch, float* Ix, float* Iy, uint32_t patchWidth, uint32_t patchHeight)
{
    const auto smooth = [](float before, float here, float after)
    { return kScharrSide * (before + after) + kScharrCentre * here; };
    const size_t width = patchWidth;
    for (size_t y = 1; y + 1 < patchHeight; ++y)
    {
        for (size_t x = 1; x + 1 < width; ++x)
        {
            const float* above = patch + (y - 1) * width + x;
            const float* centre = above + width;
            const float* below = centre + width;
            *Ix++ = smooth(above[1] - above[-1], centre[1] - centre[-1], below[1] - below[-1]);
            *Iy++ = smooth(below[-1] - above[-1], below[0] - above[0], below[1] - above[1]);
        }
    }
}

void lkOpticalFlow_v3(const uint8_t* src1, const uint8_t* src2, const vsrPyramidLevel_v2* src1Pyr,
                      const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                      int32_t* featureStatus, int32_t nFeatures, int32_t hw, int32_t hh, int32_t maxIterations,
                      int32_t nLevels, void* scratch, size_t scratchSize, int32_t criteriaType, float epsilon)
{
    track<uint8_t>({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, hw, hh,
                    maxIterations, nLevels, criteriaType, epsilon},
                   scratch, scratchSize);
}

VSR_TRACK_UNTIL_ITERATIONS(C);

vsrStatus vsrTrackLKOpticalFlowu8_v3C(const uint8_t* src1, const uint8_t* src2, uint32_t /*width*/, uint32_t /*height*/,
                                      uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                      const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                      int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                      int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels,
                                      int32_t criteriaType, float epsilon, int32_t useInitialEstimate)
{
    if (!useInitialEstimate)
    {
        startAtFeatures(featureXY, featureXY_out, nFeatures);
    }
    const size_t bytes = trackScratchBytes(windowWidth, windowHeight, nPyramidLevels);
    const Scratch scratch(bytes, 16);
    lkOpticalFlow_v3(src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
                     windowHeight >> 1, maxIterations, nPyramidLevels, scratch.data(), bytes, criteriaType, epsilon);
    return VISORA_SUCCESS;
}

vsrStatus vsrTrackLKOpticalFlowf32C(const float* src1, const float* src2, uint32_t /*width*/, uint32_t /*height*/,
                                    uint32_t /*stride*/, const vsrPyramidLevel_v2* src1Pyr,
                                    const vsrPyramidLevel_v2* src2Pyr, const float* featureXY, float* featureXY_out,
                                    int32_t* featureStatus, int32_t nFeatures, int32_t windowWidth,
                                    int32_t windowHeight, int32_t maxIterations, int32_t nPyramidLevels)
{
    startAtFeatures(featureXY, featureXY_out, nFeatures);
    const size_t bytes = trackScratchBytes(windowWidth, windowHeight, nPyramidLevels);
    const Scratch scratch(bytes, 16);
    track<float>({src1, src2, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, nFeatures, windowWidth >> 1,
                  windowHeight >> 1, maxIterations, nPyramidLevels, VISORA_TRACK_UNTIL_ITERATIONS, 0},
                 scratch.data(), bytes);
    return VISORA_SUCCESS;
}
