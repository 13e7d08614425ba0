// The DSP session. The library has no channel to a DSP yet, so a session never starts.
#include "visora/offload.h"

int32_t K6_constraint_checks_enable = 1;
int32_t k6AbstractionConstraintFlag = 1;

int32_t KCVAK6_init(int32_t /*mode*/, const char* /*version*/)
{
    return -1;
}

int32_t KCVAK6_deinit(void)
{
    return 0;
}

bool KCVAK6_is_ready(void)
{
    return false;
}

int32_t KCVAK6_get_current_mode(void)
{
    return -1;
}

void vsrUpdateK6ConstraintCheckFlag(int32_t enable)
{
    K6_constraint_checks_enable = enable;
}

uint32_t vsrUpdateK6ConstraintCheckFlagK(uint32_t enable)
{
    k6AbstractionConstraintFlag = static_cast<int32_t>(enable);
    return 0;
}
