#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

vsrStatus visora::declineOffload(const char* routine)
{
    if (libLogPrintK_abstractionLayer)
    {
        logLibrary(kLogDebug, "%s: Warning - Unsatisfied HW limitation, will try CPU", routine);
    }
    return VISORA_EFALLBACK;
}
