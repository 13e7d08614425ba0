#include "support/corner_members.h"

namespace visora::test
{

namespace
{

template <auto function, bool scores, bool masks, bool suppresses>
vsrStatus callMember(const CornerCall& c)
{
    return std::apply(function, cornerArguments<scores, masks, suppresses>(c));
}

#define VISORA_CORNER_MEMBER(operation, arc, scores, masks, suppresses)                                           \
    {                                                                                                             \
#operation, callMember < operation, scores, masks, suppresses>, callMember < operation##C, scores, masks, \
            suppresses>, callMember < operation##V, scores, masks, suppresses>, arc, scores, masks, suppresses    \
    }

}  // namespace

std::ostream& operator<<(std::ostream& out, const CornerMember& member)
{
    return out << member.name;
}

const std::vector<CornerMember>& cornerMembers()
{
    static const std::vector<CornerMember> members = {
        VISORA_CORNER_MEMBER(vsrCornerFast9u8, 9, false, false, false),
        VISORA_CORNER_MEMBER(vsrCornerFast9Scoreu8, 9, true, false, false),
        VISORA_CORNER_MEMBER(vsrCornerFast9Scoreu8_v2, 9, true, false, true),
        VISORA_CORNER_MEMBER(vsrCornerFast9InMasku8, 9, false, true, false),
        VISORA_CORNER_MEMBER(vsrCornerFast9InMaskScoreu8, 9, true, true, false),
        VISORA_CORNER_MEMBER(vsrCornerFast9InMaskScoreu8_v2, 9, true, true, true),
        VISORA_CORNER_MEMBER(vsrCornerFast10u8, 10, false, false, false),
        VISORA_CORNER_MEMBER(vsrCornerFast10Scoreu8, 10, true, false, true),
        VISORA_CORNER_MEMBER(vsrCornerFast10InMasku8, 10, false, true, false),
        VISORA_CORNER_MEMBER(vsrCornerFast10InMaskScoreu8, 10, true, true, true),
    };
    return members;
}

}  // namespace visora::test
