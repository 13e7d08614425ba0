// Elements of images of any type, as numbers.
#ifndef VISORA_TOOLS_ELEMENTS_H
#define VISORA_TOOLS_ELEMENTS_H

#include <limits>

#include "catalogue.h"

namespace tool
{

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
