// The instruction sets that the vector variants can be made to use.
#ifndef VISORA_TESTS_SUPPORT_INSTRUCTION_SETS_H
#define VISORA_TESTS_SUPPORT_INSTRUCTION_SETS_H

#include <cstdint>
#include <string>
#include <vector>

#include "hwy/targets.h"
#include "visora/runtime.h"

namespace visora::test
{

/** Makes the vector variants use one of them while it lives. */
class UseInstructionSet
{
  public:
    explicit UseInstructionSet(int64_t set)
    {
        hwy::SetSupportedTargetsForTest(set);
        hwy::GetChosenTarget().Update(set);
    }
    ~UseInstructionSet()
    {
        hwy::SetSupportedTargetsForTest(0);
        // The next call chooses.
        hwy::GetChosenTarget().DeInit();
    }
    UseInstructionSet(const UseInstructionSet&) = delete;
    UseInstructionSet& operator=(const UseInstructionSet&) = delete;
};

/** Those that this machine has and the library was built for; the first is the one it would choose. */
inline const std::vector<int64_t>& instructionSets()
{
    static const std::vector<int64_t> sets = []
    {
        std::vector<int64_t> built;
        for (int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1)
        {
            // In place of one that the library was not built for it would use its lowest once more.
            const UseInstructionSet use(rest & -rest);
            if (ivsrVectorInstructionSet() == std::string(hwy::TargetName(rest & -rest)))
            {
                built.push_back(rest & -rest);
            }
        }
        return built;
    }();
    return sets;
}

}  // namespace visora::test

#endif
