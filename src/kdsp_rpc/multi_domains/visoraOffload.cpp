#include "kdsp_rpc/multi_domains/visoraOffload.h"

#include "common/visoraRows.h"
#include "visora/offload.h"
#include "visora/shared_memory.h"

namespace
{

// An operation's routines, in the order of OffloadDomain.
template <class Routine>
VSR_FUNC choose(visora::OffloadDomain domain, Routine perCall, Routine adsp, Routine cdsp, Routine mdsp)
{
    const Routine routines[] = {perCall, adsp, cdsp, mdsp};
    return reinterpret_cast<VSR_FUNC>(routines[static_cast<size_t>(domain)]);
}

}  // namespace

// No operation of the main table has an offload routine yet, so its DSP columns stay empty and calls run the vector
// variant.
VSR_FUNC visora::offloadRoutine(OffloadDomain /*domain*/, uint32_t /*row*/)
{
    return nullptr;
}

VSR_FUNC visora::internalOffloadRoutine(OffloadDomain domain, uint32_t row)
{
    switch (static_cast<InternalRow>(row))
    {
        case InternalRow::probeK6Time:
            return choose(domain, probeK6TimeK, probeK6TimeKa, probeK6TimeKc, probeK6TimeKm);
        case InternalRow::vsrRegisterBuf:
            return choose(domain, vsrRegisterBufK, vsrRegisterBufKa, vsrRegisterBufKc, vsrRegisterBufKm);
        default:
            return nullptr;
    }
}
