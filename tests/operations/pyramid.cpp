#include "visora/variants/pyramid.h"

#include <algorithm>
#include <cmath>

#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/scale.h"
#include "visora/variants/statistics.h"

namespace visora::test
{

namespace
{

// ---- What fills the levels ----

template <auto kernel, class T>
void prepareHalf(Arguments& a)
{
    constexpr uint32_t kBytes = sizeof(T);
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    if (width < 2 || height < 2)
    {
        return;
    }
    const uint32_t srcStride = a.srcStride(width * kBytes, kBytes);
    const uint32_t dstStride = a.dstStride(width / 2 * kBytes, kBytes);
    const T* src = a.input<T>(width, height, srcStride);
    T* dst = a.output<T>(width / 2, height / 2, dstStride);
    a.call(kernel, src, width, height, srcStride, dst, dstStride);
}

void preparePackedHalf(Arguments& a)
{
    const uint32_t width = std::max(a.shape().width, 2u);
    const uint32_t height = std::max(a.shape().height, 2u);
    const auto* src = image<float>(a, width, height, static_cast<uint32_t>(width * sizeof(float)));
    auto* dst = a.output<float>(width / 2, height / 2, width / 2 * sizeof(float));
    a.call(vsrScaleDownBy2Gaussian5x5f32C, src, width, height, dst);
}

template <auto kernel, class T>
void prepareSobel(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t gradStride = a.dstStride(static_cast<uint32_t>(width * sizeof(T)), sizeof(T));
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    T* dx = a.output<T>(width, height, gradStride);
    T* dy = a.output<T>(width, height, gradStride);
    a.call(kernel, src, width, height, srcStride, dx, dy, gradStride);
}

// ---- Pyramids ----

constexpr uint32_t kLevels = 3;

// Records over buffers of the arguments, level 0 left to the creation. One set serves all calls of a type, since calls
// are prepared and run one after the other.
template <class T, class Level, int which = 0>
Level* levelsOver(Arguments& a, uint32_t width, uint32_t height, bool roundUp = false, bool withBase = false)
{
    static Level levels[kLevels];
    for (uint32_t i = 0; i < kLevels; ++i)
    {
        levels[i] = Level();
        if (i > 0 || withBase)
        {
            levels[i].ptr = a.output<T>(width, height, width * sizeof(T));
        }
        width = (width + (roundUp ? 1 : 0)) / 2;
        height = (height + (roundUp ? 1 : 0)) / 2;
    }
    return levels;
}

// Sides that every level can halve.
uint32_t halvable(uint32_t side)
{
    constexpr uint32_t kUnit = 1u << (kLevels - 1);
    return std::max(side / kUnit, 1u) * kUnit;
}

template <auto kernel, class T>
void prepareCreation(Arguments& a)
{
    const uint32_t width = halvable(a.shape().width);
    const uint32_t height = halvable(a.shape().height);
    const T* base = a.input<T>(width, height, width * sizeof(T));
    a.call(kernel, base, width, height, kLevels, levelsOver<T, vsrPyramidLevel>(a, width, height));
}

template <auto kernel, class T>
void prepareStridedCreation(Arguments& a)
{
    const uint32_t width = halvable(a.shape().width);
    const uint32_t height = halvable(a.shape().height);
    const uint32_t stride = a.srcStride(static_cast<uint32_t>(width * sizeof(T)), sizeof(T));
    const T* base = a.input<T>(width, height, stride);
    a.call(kernel, base, width, height, stride, kLevels, levelsOver<T, vsrPyramidLevel_v2>(a, width, height));
}

void prepareAnyHalves(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t stride = a.srcStride(width);
    const auto* base = a.input<uint8_t>(width, height, stride);
    a.call(vsrPyramidCreateu8_v3C, base, width, height, stride, kLevels, 0u,
           levelsOver<uint8_t, vsrPyramidLevel_v2>(a, width, height, true));
}

void prepareQuarterOctaves(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t stride = a.srcStride(width);
    const auto* base = a.input<uint8_t>(width, height, stride);
    const auto part = [](uint32_t side, float share)
    { return static_cast<uint32_t>(std::ceil(static_cast<float>(side) * share)); };
    static vsrPyramidLevel_v2 levels[kLevels];
    levels[0] = {};
    for (uint32_t i = 1; i < kLevels; ++i)
    {
        const float share = i == 1 ? 0.8408964f : 0.70710683f;
        const uint32_t levelStride = a.dstStride(part(width, share));
        levels[i] = {a.output<uint8_t>(part(width, share), part(height, share), levelStride), 0, 0, levelStride};
    }
    a.call(vsrPyramidCreateu8_v3C, base, width, height, stride, kLevels, 1u, levels);
}

template <auto kernel, class T>
void prepareGradients(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    static vsrPyramidLevel image[kLevels];
    for (uint32_t i = 0; i < kLevels; ++i)
    {
        const auto* pixels = a.input<uint8_t>(width >> i, height >> i, width >> i);
        image[i] = {const_cast<uint8_t*>(pixels), width >> i, height >> i};
    }
    vsrPyramidLevel* dx = levelsOver<T, vsrPyramidLevel, 1>(a, width, height, false, true);
    vsrPyramidLevel* dy = levelsOver<T, vsrPyramidLevel, 2>(a, width, height, false, true);
    a.call(kernel, image, dx, dy, kLevels);
}

const EntryRule kSobel = {.condition =
                              "src && dx && dy && srcWidth && srcHeight && (srcStride >= srcWidth) && "
                              "(gradStride >= srcWidth * sizeof(*dx))",
                          .inPlace = EntryRule::InPlace::NotLookedAt,
                          .dspRows = 4};
const EntryRule kAnywhere = {.inPlace = EntryRule::InPlace::NotLookedAt};

const EntryRule kStopping = {.inPlace = EntryRule::InPlace::NotLookedAt, .stops = true};
const EntryRule kFailing = {.status = -1, .inPlace = EntryRule::InPlace::NotLookedAt};

const Register pyramids({
    {VISORA_OPERATION(vsrScaleDownBy2Gaussian5x5u8),
     ruled({.condition = "src && dst && width && height && (srcStride >= width) && (dstStride >= width / 2)",
            .inPlace = EntryRule::InPlace::NotLookedAt,
            .packed = {VISORA_PACKED(vsrScaleDownBy2Gaussian5x5u8, "src && dst && width && height")}},
           prepareHalf<vsrScaleDownBy2Gaussian5x5u8C, uint8_t>)},
    {VISORA_OPERATION(vsrScaleDownBy2Gaussian5x5f32), older("src && dst && width && height", preparePackedHalf)},
    {VISORA_OPERATION(vsrScaleDownBy2Gaussian5x5f32_v2),
     older("src && dst && width && height && (srcStride >= width * sizeof(*src)) && (dstStride >= width / 2 * "
           "sizeof(*dst))",
           prepareHalf<vsrScaleDownBy2Gaussian5x5f32_v2C, float>)},
    {VISORA_OPERATION(vsrImageGradientSobelPlanars16),
     ruled(kSobel, prepareSobel<vsrImageGradientSobelPlanars16C, int16_t>)},
    {VISORA_OPERATION(vsrImageGradientSobelPlanars8),
     ruled(kSobel, prepareSobel<vsrImageGradientSobelPlanars8C, int8_t>)},
    {VISORA_OPERATION(vsrImageGradientSobelPlanarf32),
     ruled(kSobel, prepareSobel<vsrImageGradientSobelPlanarf32C, float>)},
    {VISORA_OPERATION(vsrPyramidCreateu8), ruled(kStopping, prepareCreation<vsrPyramidCreateu8C, uint8_t>)},
    {VISORA_OPERATION(vsrPyramidCreatef32), ruled(kStopping, prepareCreation<vsrPyramidCreatef32C, float>)},
    {VISORA_OPERATION(vsrPyramidCreateu8_v2),
     ruled(kStopping, prepareStridedCreation<vsrPyramidCreateu8_v2C, uint8_t>)},
    {VISORA_OPERATION(vsrPyramidCreatef32_v2),
     ruled(kStopping, prepareStridedCreation<vsrPyramidCreatef32_v2C, float>)},
    {VISORA_OPERATION(vsrPyramidCreateu8_v3), ruled(kAnywhere, prepareAnyHalves), "halves"},
    {VISORA_OPERATION(vsrPyramidCreateu8_v3), prepareQuarterOctaves, "quarter_octaves"},
    {VISORA_OPERATION(vsrPyramidSobelGradientCreatei16),
     ruled(kFailing, prepareGradients<vsrPyramidSobelGradientCreatei16C, int16_t>)},
    {VISORA_OPERATION(vsrPyramidSobelGradientCreatei8),
     ruled(kFailing, prepareGradients<vsrPyramidSobelGradientCreatei8C, int8_t>)},
    {VISORA_OPERATION(vsrPyramidSobelGradientCreatef32),
     ruled(kFailing, prepareGradients<vsrPyramidSobelGradientCreatef32C, float>)},
});

}  // namespace

}  // namespace visora::test
