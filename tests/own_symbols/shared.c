/* A program that uses the library's variables has the very same ones, and keeps its copies of others. */
#include <stdio.h>
#include <visora.h>

int main(void)
{
    HW_constraint_checks_enable = 7;
    const int failed = vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE) != 0;
    return failed || fflush(stdout) != 0 || HW_constraint_checks_enable != 1 ||
           mode_globalVar != VISORA_OP_CPU_PERFORMANCE || knl5x5[12] != 36 ||
           *ppvsrFilterMedian3x3u8 != vsrFilterMedian3x3u8_ ||
           vsrFuncTable[216 * VSR_KIND_COUNT] != (VSR_FUNC)vsrFilterMedian3x3u8C;
}
