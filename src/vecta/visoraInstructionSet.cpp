// Which of the instruction sets that the vector variants are built for this machine runs.
// Some of them are built for the newest processors, too.
#define HWY_WANT_AVX3_DL
#include "hwy/targets.h"
#include "visora/runtime.h"

const char* ivsrVectorInstructionSet(void)
{
    // The better an instruction set, the lower its bit.
    const int64_t built = hwy::SupportedTargets() & HWY_TARGETS;
    return hwy::TargetName(built & -built);
}
