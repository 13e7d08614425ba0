// Elements of images of any type, as numbers.
#ifndef VISORA_TOOLS_ELEMENTS_H
#define VISORA_TOOLS_ELEMENTS_H

#include <limits>

#include "catalogue.h"

namespace tool
{

/** Calls with a value of the element's type. */
template <class Callable>
auto withElement(Element element, Callable callable)
{
    switch (element)
    {
        case Element::U8:
            return callable(uint8_t{});
        case Element::U16:
            return callable(uint16_t{});
        case Element::U32:
            return callable(uint32_t{});
        case Element::U64:
            return callable(uint64_t{});
        case Element::S8:
            return callable(int8_t{});
        case Element::S16:
            return callable(int16_t{});
        case Element::S32:
            return callable(int32_t{});
        case Element::S64:
            return callable(int64_t{});
        case Element::F32:
            return callable(float{});
        default:
            return callable(double{});
    }
}

inline size_t sizeOf(Element element)
{
    return withElement(element, [](auto value) { return sizeof(value); });
}

inline double get(Element element, const void* data, size_t index)
{
    return withElement(element,
                       [&](auto type) { return static_cast<double>(static_cast<const decltype(type)*>(data)[index]); });
}

/** Values beyond the element's range become its nearest. */
inline void set(Element element, void* data, size_t index, double value)
{
    withElement(element,
                [&](auto type)
                {
                    using T = decltype(type);
                    const auto low = static_cast<double>(std::numeric_limits<T>::lowest());
                    const auto high = static_cast<double>(std::numeric_limits<T>::max());
                    static_cast<T*>(data)[index] = value <= low    ? std::numeric_limits<T>::lowest()
                                                   : value >= high ? std::numeric_limits<T>::max()
                                                                   : static_cast<T>(value);
                });
}

}  // namespace tool

#endif
