// How to call the operations that compare images, background models and trackers.
#include <algorithm>
#include <limits>

#include "operations/statistics.h"
#include "visora/variants/background.h"
#include "visora/variants/statistics.h"
#include "visora/variants/track.h"

namespace visora::test
{

namespace
{

// ---- Differences ----

void prepareBlend(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const bool hasMap = !a.shape().typical && a.random().oneIn(2);
    const auto* map = hasMap ? a.input<uint8_t>(src1.width, src1.height, a.srcStride(src1.width)) : nullptr;
    const uint32_t stride = a.dstStride(src1.width);
    a.call(vsrImageBlendu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride,
           a.choose(0, 256, 100), map, hasMap ? a.srcStride(src1.width) : 0u,
           a.output<uint8_t>(src1.width, src1.height, stride), stride);
}

void prepareFrames(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const Source src3(a);
    const uint32_t stride = a.dstStride(src1.width);
    a.call(vsrFrameDifferenceu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride, src3.data,
           src3.stride, static_cast<uint8_t>(a.choose(0, 255, 20)), a.output<uint8_t>(src1.width, src1.height, stride),
           stride);
}

#define DIFFERENCE(operation, T)                                                                  \
    VISORA_OPERATION(operation),                                                                  \
        ruled({.inPlace = EntryRule::InPlace::Allowed, .packed = {VISORA_PACKED(operation, "")}}, \
              twoToOne<operation##C, T>())

const Register differences({
    {DIFFERENCE(vsrImageDiffu8, uint8_t)},
    {DIFFERENCE(vsrImageDiffs16, int16_t)},
    {DIFFERENCE(vsrImageDifff32, float)},
    {VISORA_OPERATION(vsrImageDiffu8s16), twoToOne<vsrImageDiffu8s16C, uint8_t, uint8_t, int16_t>()},
    {VISORA_OPERATION(vsrImageBlendu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .unchecked = {6, 7, 8}, .units = EntryRule::Units::Own},
           prepareBlend)},
    {VISORA_OPERATION(vsrFrameDifferenceu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .packed = {VISORA_PACKED(vsrFrameDifferenceu8, "")}},
           prepareFrames)},
});

// ---- Background ----

// A model whose bounds are about the levels of the frames that tests make.
struct Model
{
    Model(Arguments& a, uint32_t width, uint32_t height)
        : maxWords(a.choose(1, 4, 3)),
          counts(size_t{width} * height),
          bounds(12 * maxWords * counts.size()),
          lastSeen(maxWords * counts.size())
    {
        Random& random = a.random();
        for (uint8_t& count : counts)
        {
            count = static_cast<uint8_t>(random.between(0, maxWords + 1));
        }
        for (size_t i = 0; i < bounds.size(); ++i)
        {
            // Upper and highest ones are in every second plane.
            const bool isUpper = i / counts.size() % 2 != 0;
            bounds[i] = static_cast<uint8_t>(random.between(isUpper ? 90 : 0, isUpper ? 255 : 140));
        }
        for (uint32_t& time : lastSeen)
        {
            time = random.between(0, 100);
        }
    }

    uint32_t maxWords;
    std::vector<uint8_t> counts;
    std::vector<uint8_t> bounds;
    std::vector<uint32_t> lastSeen;
};

struct Frame
{
    explicit Frame(Arguments& a)
        : width(a.shape().width),
          height(a.shape().height),
          stride(a.srcStride(3 * width)),
          data(a.input<uint8_t>(3 * size_t{width}, height, stride))
    {
    }

    uint32_t width;
    uint32_t height;
    uint32_t stride;
    const uint8_t* data;
};

void prepareLearn(Arguments& a)
{
    const Frame frame(a);
    const Model model(a, frame.width, frame.height);
    a.call(vsrBGCodeLearnu8C, frame.data, frame.width, frame.height, frame.stride, a.input<uint8_t>(3, 1, 3), 101u,
           model.maxWords, a.updated(model.counts), a.updated(model.bounds), a.updated(model.lastSeen));
}

void prepareClassify(Arguments& a)
{
    const Frame frame(a);
    const Model model(a, frame.width, frame.height);
    const uint32_t stride = a.dstStride(frame.width);
    const auto* below = a.input<uint8_t>(3, 1, 3);
    const auto* above = a.input<uint8_t>(3, 1, 3);
    a.call(vsrBGCodeClassifyu8C, frame.data, frame.width, frame.height, frame.stride, model.maxWords,
           a.given(model.counts), a.given(model.bounds), below, above,
           a.output<uint8_t>(frame.width, frame.height, stride), stride);
}

void preparePrune(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const Model model(a, width, height);
    const uint32_t maxAge = a.random().oneIn(2) ? 101 : a.choose(0, 100, 90);
    a.call(vsrBGCodePruneu8C, width, height, 101u, maxAge, model.maxWords, a.updated(model.counts),
           a.updated(model.bounds), a.updated(model.lastSeen));
}

const Register backgrounds({
    {VISORA_OPERATION(vsrBGCodeLearnu8), ownUnits(prepareLearn)},
    {VISORA_OPERATION(vsrBGCodeClassifyu8), ownUnits(prepareClassify)},
    {VISORA_OPERATION(vsrBGCodePruneu8), ownUnits(preparePrune, {2, 3})},
});

// ---- Motion ----

template <auto kernel, class T, class Result>
void prepareWindow(Arguments& a)
{
    const Source<T> src(a);
    const auto [left, width] = within(a, src.width);
    const auto [top, height] = within(a, src.height);
    const std::vector<vsrRectangle> window = {{left, top, width, height}};
    a.call(kernel, src.data, src.width, src.height, src.stride, a.choose(1, 10, 10), 1.0f, a.updated(window),
           numbers<Result>(a, 1));
}

void prepareBlockMatch(Arguments& a)
{
    const Source src1(a);
    const Source src2(a);
    const uint32_t size = std::min({a.choose(1, 40, 16), src1.width, src1.height});
    const uint32_t step = a.choose(4, 40, 16);
    const uint32_t columns = (src1.width - size) / step + 1;
    const uint32_t rows = (src1.height - size) / step + 1;
    // Padded ones suit a DSP.
    const auto padded = [&](uint32_t bytes)
    { return a.shape().dstPadding == 0 ? bytes : a.dstStride((bytes + 7) / 8 * 8, 8); };
    const uint32_t flowStride = padded(rowBytes<int16_t>(2 * columns));
    const uint32_t sadsStride = padded(rowBytes<uint32_t>(columns));
    auto* flow = a.output<int16_t>(2 * columns, rows, flowStride);
    auto* sads = a.output<uint32_t>(columns, rows, sadsStride);
    a.call(vsrTrackBlockMatchu8C, src1.data, src1.width, src1.height, src1.stride, src2.data, src2.stride, size, step,
           a.choose(0, 6, 8), a.choose(0, 6, 8), flow, flowStride, sads, sadsStride);
}

void prepareHistory(Arguments& a)
{
    const Source mask(a);
    // Dense, so that it can be given contents.
    std::vector<float> history(size_t{mask.width} * mask.height);
    std::generate(history.begin(), history.end(), [&] { return static_cast<float>(a.random().between(0, 40)) / 4; });
    history[0] = std::numeric_limits<float>::quiet_NaN();
    a.call(vsrMotionHistoryu8f32C, mask.data, mask.width, mask.height, mask.stride, 10.5f, 4.0f, a.updated(history),
           rowBytes<float>(mask.width));
}

void prepareMotionGradient(Arguments& a)
{
    // Values whose differences are within and beyond the limits; some images of any floats.
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t angleStride = a.dstStride(rowBytes<float>(width), sizeof(float));
    const uint32_t maskStride = a.dstStride(width);
    const float* src = nullptr;
    uint32_t stride = rowBytes<float>(width);
    if (a.random().oneIn(3))
    {
        const Source<float> any(a);
        src = any.data;
        stride = any.stride;
    }
    else
    {
        std::vector<float> values(size_t{width} * height);
        std::generate(values.begin(), values.end(), [&] { return static_cast<float>(a.random().between(0, 12)) / 4; });
        src = a.given(values);
    }
    auto* orientation = a.output<float>(width, height, angleStride);
    auto* mask = a.output<uint8_t>(width, height, maskStride);
    a.call(vsrMotionGradientf32C, src, width, height, stride, 0.25f, 2.5f, orientation, angleStride, mask, maskStride);
}

#define WINDOW_TRACKER(operation, T, Result) \
    VISORA_OPERATION(operation), ownUnits(prepareWindow<operation##C, T, Result>)

const Register motions({
    {WINDOW_TRACKER(vsrMeanShiftu8, uint8_t, uint32_t)},
    {WINDOW_TRACKER(vsrMeanShiftu16, uint16_t, uint32_t)},
    {WINDOW_TRACKER(vsrMeanShiftf32, float, uint32_t)},
    {WINDOW_TRACKER(vsrConAdaTracku8, uint8_t, vsrRotatedBox)},
    {WINDOW_TRACKER(vsrConAdaTracku16, uint16_t, vsrRotatedBox)},
    {WINDOW_TRACKER(vsrConAdaTrackf32, float, vsrRotatedBox)},
    {VISORA_OPERATION(vsrTrackBlockMatchu8), ownUnits(prepareBlockMatch, {12})},
    {VISORA_OPERATION(vsrMotionHistoryu8f32), ownUnits(prepareHistory)},
    {VISORA_OPERATION(vsrMotionGradientf32), ownUnits(prepareMotionGradient)},
});

}  // namespace

}  // namespace visora::test
