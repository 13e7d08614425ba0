// Argument lists of operations whose parameters stand between their sources and their destination.
#ifndef VISORA_COMMON_ARGUMENTS_H
#define VISORA_COMMON_ARGUMENTS_H

#include <cstddef>
#include <tuple>
#include <utility>

namespace visora
{

/** Calls body(the last two of the arguments: a destination and its stride, then the arguments before them ...). */
template <class Body, class... Arguments>
auto destinationFirst(Body body, Arguments... arguments)
{
    const std::tuple<Arguments...> all(arguments...);
    constexpr size_t kBefore = sizeof...(Arguments) - 2;
    return [&]<size_t... place>(std::index_sequence<place...>)
    {
        return body(std::get<kBefore>(all), std::get<kBefore + 1>(all), std::get<place>(all)...);
    }
    (std::make_index_sequence<kBefore>());
}

}  // namespace visora

#endif
