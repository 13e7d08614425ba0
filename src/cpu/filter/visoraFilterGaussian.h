// What the reference and the vector variants of the binomial Gaussians share: the weights, what counts as a pixel
// outside the image, and the width rule of the 3x3 filter.
#ifndef VISORA_CPU_GAUSSIAN_H
#define VISORA_CPU_GAUSSIAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "visora/types.h"

namespace visora
{

/** The weights of one direction: row 2 * radius of Pascal's triangle. */
template <uint32_t radius>
constexpr std::array<uint32_t, 2 * radius + 1> binomialWeights()
{
    std::array<uint32_t, 2 * radius + 1> weights = {1};
    for (uint32_t k = 1; k <= 2 * radius; ++k)
    {
        weights[k] = weights[k - 1] * (2 * radius - k + 1) / k;
    }
    return weights;
}

/** Their sum; that of the whole window is its square. */
template <uint32_t radius>
constexpr uint32_t kBinomialTotal = 1u << (2 * radius);

/** Source and destination of one call, steps between rows in pixels. */
template <class T>
struct GaussianImage
{
    GaussianImage(const T* from, uint32_t pixels, uint32_t rows, uint32_t srcStride, T* to, uint32_t dstStride)
        : src(from),
          width(pixels),
          height(rows),
          srcStep(srcStride / sizeof(T)),
          dst(to),
          dstStep(dstStride / sizeof(T))
    {
    }

    const T* src;
    uint32_t width;
    uint32_t height;
    size_t srcStep;
    T* dst;
    size_t dstStep;
};

/** What stands for pixels outside the image. */
enum class Outside
{
    LeftOut,   // nothing: the weights of the pixels inside are normalised
    Constant,  // a constant
    Nearest    // the nearest pixel of the image
};

/** What becomes of the pixels nearer to an edge than the radius. */
struct GaussianBorder
{
    bool written;
    Outside outside = Outside::LeftOut;
    uint8_t constant = 0;
};

/** The rule of the members with a border flag. */
constexpr GaussianBorder normalisedBorder(int32_t blurBorder)
{
    return {blurBorder == 1};
}

/** The rule of the members with a border type. */
constexpr GaussianBorder typedBorder(vsrBorderType type, uint8_t value)
{
    switch (type)
    {
        case VISORA_BORDER_CONSTANT:
            return {true, Outside::Constant, value};
        case VISORA_BORDER_REPLICATE:
            return {true, Outside::Nearest};
        default:
            return {true};
    }
}

/** A weighted sum, modulo 2^32, and what it has to be divided by. */
struct WeightedSum
{
    uint32_t sum;
    uint32_t weight;
};

/**
 * The binomially weighted sum about one position of a line, of elementAt(0) .. elementAt(length - 1). `constant` is
 * what an outside element is under Outside::Constant.
 */
template <uint32_t radius, class ElementAt>
WeightedSum binomialSum(Outside outside, uint32_t constant, uint32_t position, uint32_t length, ElementAt elementAt)
{
    constexpr auto kWeights = binomialWeights<radius>();
    const uint32_t first = position < radius ? radius - position : 0;
    const uint32_t end = length - position <= radius ? length - position + radius : 2 * radius + 1;
    WeightedSum total = {0, 0};
    for (uint32_t tap = first; tap < end; ++tap)
    {
        total.sum += kWeights[tap] * elementAt(position + tap - radius);
        total.weight += kWeights[tap];
    }
    if (outside == Outside::LeftOut)
    {
        return total;
    }
    const auto outsideElement = [&](uint32_t nearest)
    { return outside == Outside::Nearest ? elementAt(nearest) : constant; };
    for (uint32_t tap = 0; tap < first; ++tap)
    {
        total.sum += kWeights[tap] * outsideElement(0);
    }
    for (uint32_t tap = end; tap <= 2 * radius; ++tap)
    {
        total.sum += kWeights[tap] * outsideElement(length - 1);
    }
    return {total.sum, kBinomialTotal<radius>};
}

/** The weight by which a row's (or column's) sums are divided. */
template <uint32_t radius>
uint32_t binomialWeightAt(Outside outside, uint32_t position, uint32_t length)
{
    return binomialSum<radius>(outside, 0, position, length, [](uint32_t) { return 0u; }).weight;
}

/** A sum is signed where the pixels are. */
template <class T>
using SumOf = std::conditional_t<std::is_signed_v<T>, int32_t, uint32_t>;

/** A pixel from its sum: truncated, for signed pixels toward zero. No weight gives 0. */
template <class T>
T normalised(uint32_t sum, uint32_t weight)
{
    return weight == 0 ? T{0} : static_cast<T>(static_cast<SumOf<T>>(sum) / static_cast<SumOf<T>>(weight));
}

/** Ends the process unless the 3x3 filter can cut a row of this width into steps of six. @return their columns */
int32_t gaussian3x3StepColumns(uint32_t width);

}  // namespace visora

#endif
