// Statuses in words.
#include "visora/runtime.h"

const char* vsrStatusText(vsrStatus status)
{
    switch (status)
    {
        case VISORA_SUCCESS:
            return "success";
        case VISORA_EFAIL:
            return "failure";
        case VISORA_EBADPARAM:
            return "bad argument";
        case VISORA_ENOMEM:
            return "no scratch memory";
        case VISORA_EHWFAIL:
            return "no DSP domain is selected";
        case VISORA_EFALLBACK:
            return "declined by an accelerator";
        case VISORA_MODE_REFUSED:
            return "mode refused: no vector and no floating-point unit";
        default:
            return "unknown status";
    }
}
