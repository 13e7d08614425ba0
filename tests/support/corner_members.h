// The ten corner detectors behind one signature.
#ifndef VISORA_TESTS_SUPPORT_CORNER_MEMBERS_H
#define VISORA_TESTS_SUPPORT_CORNER_MEMBERS_H

#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "visora/variants/corner.h"

namespace visora::test
{

/** Arguments of a detector; each takes those that it has. */
struct CornerCall
{
    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
    uint32_t threshold;
    uint32_t border;
    uint32_t* xy;
    uint32_t* scores;
    uint32_t capacity;
    uint32_t* count;
    const uint8_t* mask;
    uint32_t maskWidth;
    uint32_t maskHeight;
    uint32_t suppress;
    uint32_t* workBuffer;
};

/** Those that a detector of this kind has, as a tuple in its order. */
template <bool scores, bool masks, bool suppresses>
auto cornerArguments(const CornerCall& c)
{
    const auto pick = [](auto condition, auto... arguments)
    {
        if constexpr (decltype(condition)::value)
        {
            return std::tuple(arguments...);
        }
        else
        {
            return std::tuple<>();
        }
    };
    return std::tuple_cat(std::tuple(c.src, c.width, c.height, c.stride, c.threshold, c.border, c.xy),
                          pick(std::bool_constant<scores>(), c.scores), std::tuple(c.capacity, c.count),
                          pick(std::bool_constant<masks>(), c.mask, c.maskWidth, c.maskHeight),
                          pick(std::bool_constant<suppresses>(), c.suppress, c.workBuffer));
}

using CornerFunction = vsrStatus (*)(const CornerCall&);

struct CornerMember
{
    std::string name;
    CornerFunction entry;
    CornerFunction reference;
    CornerFunction vector;
    /** Contiguous circle pixels that make a corner. */
    uint32_t arc;
    bool scores;
    bool masks;
    bool suppresses;
};

std::ostream& operator<<(std::ostream& out, const CornerMember& member);

const std::vector<CornerMember>& cornerMembers();

}  // namespace visora::test

#endif
