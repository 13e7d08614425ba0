// Dot products by type of the elements.
#ifndef VISORA_CPU_DOT_H
#define VISORA_CPU_DOT_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "cpu/visoraFloat.h"
#include "cpu/visoraPartialSums.h"
#include "visora/set.h"

namespace visora
{

template <class T>
struct DotResult;
template <>
struct DotResult<uint8_t> : std::type_identity<uint32_t>
{
};
template <>
struct DotResult<int8_t> : std::type_identity<int32_t>
{
};
template <>
struct DotResult<uint16_t> : std::type_identity<uint64_t>
{
};
template <>
struct DotResult<int16_t> : std::type_identity<int64_t>
{
};
template <>
struct DotResult<float> : std::type_identity<float>
{
};
template <class T>
using Dot = typename DotResult<T>::type;

template <class T>
Dot<T> dotProduct(const T* a, const T* b, size_t length)
{
    if constexpr (std::is_same_v<T, float>)
    {
        PartialSums<float> sums;
        for (size_t i = 0; i < length; ++i)
        {
            sums.add(i, a[i] * b[i]);
        }
        return standardNaN(sums.total());
    }
    else
    {
        // Wraps as unsigned numbers do.
        using Wide = std::make_unsigned_t<Dot<T>>;
        Wide sum = 0;
        for (size_t i = 0; i < length; ++i)
        {
            sum += static_cast<Wide>(static_cast<Dot<T>>(a[i]) * b[i]);
        }
        return static_cast<Dot<T>>(sum);
    }
}

/** The greatest product so far, of vectors that come in rising order of index. */
template <class T>
struct GreatestProduct
{
    uint32_t& index;
    Dot<T>& value;

    void clear() const
    {
        index = VISORA_NO_MATCH;
        value = 0;
    }

    void add(uint32_t i, Dot<T> product) const
    {
        // A NaN is nothing that is greater, nor equal to itself.
        if (product > value || (index == VISORA_NO_MATCH && product == product))
        {
            index = i;
            value = product;
        }
    }
};

/** Cosine from the products of two vectors with each other and with themselves. */
inline float cosineOf(float product, float squares1, float squares2)
{
    if (squares1 == 0 || squares2 == 0)
    {
        return 0;
    }
    return standardNaN(static_cast<float>(double{product} / std::sqrt(double{squares1} * double{squares2})));
}

/** One over a length from its square, 0 for none. */
inline float inverseLength(uint32_t square)
{
    return square != 0 ? 1 / std::sqrt(static_cast<float>(square)) : 0;
}

/** A cosine from the product and what both lengths are the inverse of. */
template <class Product>
float cosineOf(Product product, float inverse1, float inverse2)
{
    static_assert(std::is_integral_v<Product>);
    return standardNaN((static_cast<float>(product) * inverse1) * inverse2);
}

/** Top left pixel of the window of `side` pixels about a position; null when it is not all inside the image. */
template <uint32_t side>
const uint8_t* windowAt(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, uint32_t x, uint32_t y)
{
    const bool fits = x >= side / 2 && y >= side / 2 && uint64_t{x} + (side - side / 2) <= width &&
                      uint64_t{y} + (side - side / 2) <= height;
    return fits ? src + size_t{y - side / 2} * stride + (x - side / 2) : nullptr;
}

}  // namespace visora

#endif
