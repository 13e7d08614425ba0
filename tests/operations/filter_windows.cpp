// Filters of u8 images by windows of a fixed or chosen size.
#include "support/operations.h"
#include "visora/gradient.h"
#include "visora/morphology.h"
#include "visora/threshold.h"
#include "visora/variants/filter.h"

namespace visora::test
{

namespace
{

// A border type and value that the functions accept.
const auto anyBorder = [](Arguments& a)
{ return std::tuple(vsrBorderType{a.choose(0, 2, 2)}, static_cast<uint8_t>(a.choose(0, 255, 0))); };

// kernel(src, width, height, srcStride, dx, dy, gradStride, border ...)
template <auto kernel>
void gradientPlanes(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t gradStride = a.dstStride(width * 2, 2);
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    auto* dx = a.output<int16_t>(width, height, gradStride);
    auto* dy = a.output<int16_t>(width, height, gradStride);
    const auto [type, value] = anyBorder(a);
    a.call(kernel, src, width, height, srcStride, dx, dy, gradStride, type, value);
}

// kernel(src, width, height, srcStride, what parameters(arguments) returns as a tuple ..., dst, dstStride, what
// extras(arguments) returns ...)
template <auto kernel, class T = uint8_t, class Parameters, class Extras>
std::function<void(Arguments&)> windowFilter(Parameters parameters, Extras extras)
{
    return [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const uint32_t srcStride = a.srcStride(width);
        const uint32_t dstStride = a.dstStride(static_cast<uint32_t>(width * sizeof(T)), sizeof(T));
        const auto* src = a.input<uint8_t>(width, height, srcStride);
        auto* dst = a.output<T>(width, height, dstStride);
        std::apply([&](auto... arguments) { a.call(kernel, arguments...); },
                   std::tuple_cat(std::tuple(src, width, height, srcStride), parameters(a), std::tuple(dst, dstStride),
                                  extras(a)));
    };
}

const auto nothing = [](Arguments&) { return std::tuple<>(); };

// An odd window of up to `largest`, `typical` in benchmarks.
auto oddWindow(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a) { return std::tuple(a.choose(0, largest / 2, typical / 2) * 2 + 1); };
}

auto topHat(uint32_t largest, uint32_t typical)
{
    return [=](Arguments& a)
    { return std::tuple(a.choose(0, largest / 2, typical / 2) * 2 + 1, vsrTopHatMode{a.choose(0, 1, 0)}); };
}

const auto anyType = [](Arguments& a) { return std::tuple(vsrThresholdType{a.choose(0, 1, 0)}); };

const auto anyByte = [](Arguments& a) { return std::tuple(static_cast<uint8_t>(a.choose(0, 255, 100))); };

const auto fixedParameters = [](Arguments& a) { return std::tuple_cat(anyByte(a), anyType(a)); };

const auto bandParameters = [](Arguments& a) { return std::tuple_cat(anyByte(a), anyByte(a), anyType(a)); };

// Maximum, type and constant, which is now and then far from any pixel.
const auto adaptiveParameters = [](Arguments& a)
{
    const auto near = static_cast<int32_t>(a.choose(0, 40, 25)) - 20;
    const bool far = !a.shape().typical && a.random().oneIn(8);
    return std::tuple_cat(anyByte(a), anyType(a), std::tuple(far ? near * 100'000'000 : near));
};

auto adaptiveBox(uint32_t largest, uint32_t typical, uint32_t typicalFactor)
{
    return [=](Arguments& a)
    {
        const auto N = std::tuple(a.choose(1, largest / 2, typical / 2) * 2 + 1);
        const bool plain = !a.shape().typical && a.random().oneIn(3);
        const uint32_t factor = plain                 ? 256
                                : a.random().oneIn(8) ? a.choose(0, 65535, typicalFactor)
                                                      : a.choose(0, 400, typicalFactor);
        return std::tuple_cat(N, adaptiveParameters(a), std::tuple(factor));
    };
}

void otsu(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t srcStride = a.srcStride(width);
    const uint32_t dstStride = a.dstStride(width);
    const auto* src = a.input<uint8_t>(width, height, srcStride);
    auto* dst = a.output<uint8_t>(width, height, dstStride);
    auto* level = a.output<uint8_t>(1, 1, 1);
    a.call(vsrFilterThresholdOtsuu8C, src, width, height, srcStride, std::get<0>(anyType(a)), dst, dstStride, level);
}

#define FILTER(operation, ...) VISORA_OPERATION(operation), windowFilter<operation##C, __VA_ARGS__>
// With an entry point for packed images.
#define PACKED_FILTER(operation, place, ...)                                                    \
    VISORA_OPERATION(operation),                                                                \
        ruled({.inPlace = EntryRule::InPlace::place, .packed = {VISORA_PACKED(operation, "")}}, \
              windowFilter<operation##C>(__VA_ARGS__))

const Register windowFilters({
    {VISORA_OPERATION(vsrFilterSobel3x3u8s16), gradientPlanes<vsrFilterSobel3x3u8s16C>},
    {VISORA_OPERATION(vsrFilterSobel5x5u8s16), gradientPlanes<vsrFilterSobel5x5u8s16C>},
    {VISORA_OPERATION(vsrFilterSobel7x7u8s16), gradientPlanes<vsrFilterSobel7x7u8s16C>},
    {VISORA_OPERATION(vsrFilterScharr3x3u8s16), gradientPlanes<vsrFilterScharr3x3u8s16C>},
    {FILTER(vsrFilterLaplacian3x3u8s16, int16_t)([](Arguments& a) { return std::tuple(a.choose(1, 2, 1) * 4); },
                                                 anyBorder)},
    {PACKED_FILTER(vsrFilterSobel3x3u8, Refused, nothing, nothing)},
    {PACKED_FILTER(vsrFilterDilate3x3u8, Refused, nothing, nothing)},
    {PACKED_FILTER(vsrFilterErode3x3u8, Refused, nothing, nothing)},
    {FILTER(vsrFilterDilateNxNu8, uint8_t)(oddWindow(7, 5), nothing)},
    {FILTER(vsrFilterDilateNxNu8, uint8_t)(oddWindow(99, 31), nothing), "31"},
    {FILTER(vsrFilterErodeNxNu8, uint8_t)(oddWindow(7, 7), nothing)},
    {FILTER(vsrFilterErodeNxNu8, uint8_t)(oddWindow(99, 15), nothing), "15"},
    {FILTER(vsrFilterOpenNxNu8, uint8_t)(oddWindow(30, 5), nothing)},
    {FILTER(vsrFilterOpenNxNu8, uint8_t)(oddWindow(300, 51), nothing), "51"},
    {FILTER(vsrFilterCloseNxNu8, uint8_t)(oddWindow(60, 5), nothing)},
    {FILTER(vsrFilterTopHatNxNu8, uint8_t)(topHat(60, 9), nothing)},
    {PACKED_FILTER(vsrFilterThresholdFixedu8, Allowed, fixedParameters, nothing)},
    {PACKED_FILTER(vsrFilterThresholdBandu8, Allowed, bandParameters, nothing)},
    {VISORA_OPERATION(vsrFilterThresholdOtsuu8), inPlace(otsu)},
    {FILTER(vsrAdaptiveThresholdBox3x3u8, uint8_t)(adaptiveParameters, nothing)},
    {FILTER(vsrAdaptiveThresholdBox11x11u8, uint8_t)(adaptiveParameters, nothing)},
    {FILTER(vsrAdaptiveThresholdBoxNxNu8, uint8_t)(adaptiveBox(31, 31, 256), nothing)},
    {FILTER(vsrAdaptiveThresholdBoxNxNu8, uint8_t)(adaptiveBox(9, 31, 218), nothing), "factor"},
    {FILTER(vsrAdaptiveThresholdGaussian3x3u8, uint8_t)(adaptiveParameters, nothing)},
    {FILTER(vsrAdaptiveThresholdGaussian5x5u8, uint8_t)(adaptiveParameters, nothing)},
    {FILTER(vsrAdaptiveThresholdGaussian11x11u8, uint8_t)(adaptiveParameters, nothing)},
});

}  // namespace

}  // namespace visora::test
