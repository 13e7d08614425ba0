// The DSP routines of the dispatch rows.
#ifndef VISORA_KDSP_RPC_OFFLOAD_H
#define VISORA_KDSP_RPC_OFFLOAD_H

#include "visora/dispatch.h"

namespace visora
{

enum class OffloadDomain
{
    PerCall,
    Adsp,
    Cdsp,
    Mdsp
};

/** The routine that offloads a row's operation to the domain, null when it has none. */
VSR_FUNC offloadRoutine(OffloadDomain domain, uint32_t row);
VSR_FUNC internalOffloadRoutine(OffloadDomain domain, uint32_t row);

}  // namespace visora

#endif
