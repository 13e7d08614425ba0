// Remote calls that survive a restart of the DSP.
#ifndef VISORA_KDSP_RPC_REMOTE_CALL_H
#define VISORA_KDSP_RPC_REMOTE_CALL_H

#include "visora/dsp_stub.h"
#include "visora/runtime.h"

namespace visora
{

struct RemoteResult
{
    int32_t status;      // the stub's last answer, 1 when the DSP did not come back
    vsrStatus restored;  // result of restoring the operation mode, if this call did so, else 0
};

/** Whether a call on any thread has found the DSP restarted and is not served yet. */
bool isRecovering();

/** Repeats a call that found the DSP restarted, at most five times, with a clean-up before each. */
RemoteResult retryAfterRestart(uint64_t handle, int32_t (*call)(const void* context), const void* context);

/**
 * Makes a remote call. When the DSP restarted meanwhile, the library works in the CPU's mode while the DSP is brought
 * back and the call is repeated, and then in the mode that the application chose: of the calls that meet a restart
 * together the first changes the mode and the last restores it.
 * @param call  calls the stub library with the same arguments every time and returns its status
 */
template <class RemoteCall>
RemoteResult callRemote(uint64_t handle, const RemoteCall& call)
{
    const int32_t status = call();
    if (status != VISORADSP_RESTARTED) [[likely]]
    {
        return {status, VISORA_SUCCESS};
    }
    return retryAfterRestart(
        handle, [](const void* context) { return (*static_cast<const RemoteCall*>(context))(); }, &call);
}

}  // namespace visora

#endif
