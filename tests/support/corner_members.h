// The ten corner detectors behind one signature.
#ifndef VISORA_TESTS_SUPPORT_CORNER_MEMBERS_H
#define VISORA_TESTS_SUPPORT_CORNER_MEMBERS_H

#include <ostream>
#include <string>
#include <vector>

#include "visora/corner.h"

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
