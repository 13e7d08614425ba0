#include "support/corner_members.h"

#include <tuple>

namespace visora::test
{

namespace
{

template <auto function, bool scores, bool masks, bool suppresses>
vsrStatus callMember(const CornerCall& c)
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
    return std::apply(function,
                      std::tuple_cat(std::tuple(c.src, c.width, c.height, c.stride, c.threshold, c.border, c.xy),
                                     pick(std::bool_constant<scores>(), c.scores), std::tuple(c.capacity, c.count),
                                     pick(std::bool_constant<masks>(), c.mask, c.maskWidth, c.maskHeight),
                                     pick(std::bool_constant<suppresses>(), c.suppress, c.workBuffer)));
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
