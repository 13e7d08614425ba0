#include "kdsp_rpc/multi_domains/visoraRemoteCall.h"

#include <unistd.h>

#include <atomic>
#include <mutex>

#include "common/visoraHardware.h"
#include "common/visoraModes.h"
#include "kdsp_rpc/multi_domains/visoraDomain.h"

pthread_mutex_t ssrMutex = PTHREAD_MUTEX_INITIALIZER;

namespace
{

using visora::kLogDebug;
using visora::kLogError;
using visora::logLibrary;

// The channel of the call that met the restart, although another domain may have been chosen since.
void reopenChannel(uint64_t handle)
{
    const int32_t inUse = visora::sessionDomain().value_or(VSR_LOAD(defaultDSP));
    const int32_t domain = visora::domainOf(handle).value_or(inUse);
    visora::closeChannelTo(domain);
    visora::openChannelTo(domain);
}

// Leaves the DSP with a session. Every attempt is made, also after one that succeeded: the DSP's side gets its time.
void reload(uint64_t handle)
{
    constexpr int kAttempts = 15;
    reopenChannel(handle);
    logLibrary(kLogDebug, "Stub reloaded successfully.");
    for (int attempt = 0; attempt < kAttempts; ++attempt)
    {
        logLibrary(kLogDebug, "Trying to reinitialize DSP.");
        logLibrary(kLogError, "Begin of vsrK6SessionInit_internal dsp_handle=%lu %d %s", handle, 22615,
                   visora::kOffloadPath);
        if (visoradsp_initK6_with_attributes(handle, nullptr, 0) != 0)
        {
            logLibrary(kLogError, "visoradsp_vsrK6SessionInit failed");
        }
        for (unsigned seconds = 1; seconds > 0;)
        {
            seconds = sleep(seconds);
        }
    }
}

void reloadWithoutHandle()
{
    constexpr int kAttempts = 10;
    reopenChannel(0);
    for (int attempt = 1; attempt < kAttempts; ++attempt)
    {
        logLibrary(kLogDebug, "Trying to reload K6 stub.");
        reopenChannel(0);
    }
}

// The mode is changed and restored under this lock. What it guards is the number of calls between the two.
std::mutex recovery;
std::atomic<int> recovering = 0;

void beginRecovery()
{
    const std::lock_guard lock(recovery);
    if (recovering++ == 0)
    {
        visora::withdrawToCpu();
    }
}

vsrStatus endRecovery()
{
    const std::lock_guard lock(recovery);
    const vsrStatus restored = recovering == 1 ? visora::returnToMode() : vsrStatus{VISORA_SUCCESS};
    --recovering;
    return restored;
}

}  // namespace

bool visora::isRecovering()
{
    return recovering != 0;
}

int32_t adspSSRcleanUpSequence(uint64_t handle)
{
    logLibrary(kLogDebug, "DSP SSR cleanup sequence initiated.");
    if (pthread_mutex_lock(&ssrMutex) != 0)
    {
        return -1;
    }
    uint64_t clock = 0;
    const bool alive = visoradsp_vsrK6GetClk(handle, &clock) == 0;
    if (alive)
    {
        logLibrary(kLogDebug, "K6 already up. Skipping reload.");
    }
    else
    {
        logLibrary(kLogDebug, "Trying to reload K6 stub.");
        if (handle != 0)
        {
            reload(handle);
        }
        else
        {
            reloadWithoutHandle();
        }
    }
    pthread_mutex_unlock(&ssrMutex);
    // A DSP that had to be reloaded does not serve this call any more.
    return alive ? 0 : -1;
}

visora::RemoteResult visora::retryAfterRestart(uint64_t handle, int32_t (*call)(const void* context),
                                               const void* context)
{
    constexpr int kAttempts = 5;
    constexpr int32_t kDspLost = 1;
    beginRecovery();
    int32_t status = VISORADSP_RESTARTED;
    for (int attempt = 0; attempt < kAttempts && status == VISORADSP_RESTARTED; ++attempt)
    {
        status = adspSSRcleanUpSequence(handle) == 0 ? call(context) : kDspLost;
    }
    return {status, endRecovery()};
}
