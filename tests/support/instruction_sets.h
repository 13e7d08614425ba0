// The instruction sets that the vector variants can be made to use.
#ifndef VISORA_TESTS_SUPPORT_INSTRUCTION_SETS_H
#define VISORA_TESTS_SUPPORT_INSTRUCTION_SETS_H

#include <cstdint>
#include <vector>

#include "hwy/targets.h"

namespace visora::test
{

/** Those that this machine has and the library was built for; the first is the one it would choose. */
inline std::vector<int64_t> instructionSets()
{
    std::vector<int64_t> sets;
    for (int64_t rest = hwy::SupportedTargets(); rest != 0; rest &= rest - 1)
    {
        sets.push_back(rest & -rest);
    }
    return sets;
}

/** Makes the vector variants use one of them while it lives. */
class UseInstructionSet
{
  public:
    explicit UseInstructionSet(int64_t set)
    {
        hwy::SetSupportedTargetsForTest(set);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
    ~UseInstructionSet()
    {
        hwy::SetSupportedTargetsForTest(0);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    }
    UseInstructionSet(const UseInstructionSet&) = delete;
    UseInstructionSet& operator=(const UseInstructionSet&) = delete;
};

}  // namespace visora::test

#endif
