// Types of elements, as the description of the library names them.
#ifndef VISORA_TOOLS_ELEMENT_H
#define VISORA_TOOLS_ELEMENT_H

#include <cstdint>

namespace visora
{

enum class Element : uint8_t
{
    U8,
    U16,
    U32,
    U64,
    S8,
    S16,
    S32,
    S64,
    F32,
    F64,
    Record,
    Count
};

/** Calls with a value of the element's type, which is that of a number. */
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

}  // namespace visora

#endif
