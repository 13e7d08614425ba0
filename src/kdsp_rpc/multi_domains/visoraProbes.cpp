// The DSP's clock and the flags of the DSP's side.
#include "common/visoraRelaxed.h"
#include "kdsp_rpc/multi_domains/visoraDomain.h"
#include "kdsp_rpc/multi_domains/visoraRemoteCall.h"
#include "visora/variants/runtime.h"

int32_t K6_constraint_checks_enable = 1;
int32_t k6AbstractionConstraintFlag = 1;
uint8_t libLogPrintK = 0;
uint8_t libLogPrintK_abstractionLayer = 0;

VSR_DEFINE_DSP_ROUTINES(uint64_t, vsrK6GetClk, (void))
VSR_DEFINE_DSP_ROUTINES(uint64_t, probeK6Time, (uint32_t a, uint32_t b), a, b)
VSR_DEFINE_DSP_ROUTINES(uint32_t, vsrUpdateDSPMsgFlag, (uint32_t flag), flag)
VSR_DEFINE_DSP_ROUTINES(uint32_t, vsrUpdateK6ConstraintCheckFlag, (uint32_t enable), enable)

uint64_t vsrK6GetClk(void)
{
    return vsrK6GetClkK();
}

uint64_t vsrK6GetClkK_abstractionLayer(uint64_t handle)
{
    uint64_t clock = 0;
    visoradsp_vsrK6GetClk(handle, &clock);
    return clock;
}

uint64_t probeK6TimeC(uint32_t /*a*/, uint32_t /*b*/)
{
    return 0;
}

uint64_t probeK6TimeK_abstractionLayer(uint64_t handle, uint32_t a, uint32_t b)
{
    uint64_t time = 0;
    visora::callRemote(handle, [&] { return visoradsp_probeK6Time(handle, a, b, &time); });
    return time;
}

uint32_t vsrUpdateDSPMsgFlagK_abstractionLayer(uint64_t handle, uint32_t flag)
{
    uint32_t answer = 1;
    visoradsp_vsrUpdateDSPMsgFlagK(handle, flag, &answer);
    return answer;
}

void vsrUpdateK6ConstraintCheckFlag(int32_t enable)
{
    VSR_STORE(K6_constraint_checks_enable, enable);
}

uint32_t vsrUpdateK6ConstraintCheckFlagK_abstractionLayer(uint64_t /*handle*/, uint32_t enable)
{
    // The constraints are tested on this side, so the DSP is not told.
    VSR_STORE(k6AbstractionConstraintFlag, static_cast<int32_t>(enable));
    return 0;
}
