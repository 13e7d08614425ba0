// The session on the DSP domain in use.
#include <cstring>

#include "common/visoraHardware.h"
#include "common/visoraProperty.h"
#include "kdsp_rpc/multi_domains/visoraDomain.h"
#include "visora/dsp_stub.h"
#include "visora/runtime.h"

int32_t kcvak6State = 0;
int32_t kcvak6CurrentMode = -1;
vsrK6Attribute K6SessionAttribute = {3, 0};
pthread_mutex_t k6SessionMutex = PTHREAD_MUTEX_INITIALIZER;

namespace
{

using visora::kLogDebug;
using visora::kLogError;
using visora::kLogInfo;
using visora::kOffloadPath;
using visora::logLibrary;

enum State : int32_t
{
    kNone = 0,
    kReady = 1,
    kFailed = 2
};

constexpr int32_t kNoMode = -1;
constexpr int32_t kDomainFromProperty = 3;

bool sessionMutexExists = false;

// What the session holds: the domain that it was started in, and how many opens of that channel its starts made.
int32_t heldDomain = 0;
int32_t heldOpens = 0;

void holdChannel(int32_t domain)
{
    // A session that is started on top of one in another domain leaves nothing open there.
    for (; heldOpens > 0 && heldDomain != domain; --heldOpens)
    {
        visora::closeChannelTo(heldDomain);
    }
    heldDomain = domain;
    ++heldOpens;
    visora::openChannelTo(domain);
}

// Closes the channel that was opened, whatever domain has been chosen since.
void releaseChannel()
{
    visora::closeChannelTo(heldOpens > 0 ? heldDomain : VSR_LOAD(defaultDSP));
    heldOpens = heldOpens > 0 ? heldOpens - 1 : 0;
}

void createSessionMutex()
{
    // A session may be started on top of another one, whose lock it then takes over.
    if (!sessionMutexExists)
    {
        sessionMutexExists = pthread_mutex_init(&k6SessionMutex, nullptr) == 0;
    }
}

int32_t destroySessionMutex()
{
    const int32_t error = sessionMutexExists ? pthread_mutex_destroy(&k6SessionMutex) : 0;
    sessionMutexExists = sessionMutexExists && error != 0;
    return error;
}

void setState(State state, int32_t mode)
{
    kcvak6State = state;
    kcvak6CurrentMode = mode;
}

int32_t startSession(int32_t mode, const char* version)
{
    if (vsrK6SessionInit(mode, version) != 0)
    {
        setState(kFailed, kNoMode);
        logLibrary(kLogError, "K6 initialized failed. K6 Visora functions are disabled.");
        return -1;
    }
    setState(kReady, mode);
    logLibrary(kLogDebug, "K6 initialized successfully. K6 Visora functions mode %d are enabled.", mode);
    logLibrary(kLogInfo, "FIT:(FeatureName=>KCVAK6, Initialized=>1)");
    return 0;
}

}  // namespace

int32_t vsrK6SessionInit(int32_t mode, const char* version)
{
    K6SessionAttribute.id = 3;
    const vsrK6Attribute* attributes = nullptr;
    uint32_t count = 0;
    if (mode >= 0 && mode <= 2)
    {
        K6SessionAttribute.value = mode;
        attributes = &K6SessionAttribute;
        count = 1;
    }
    vsrSetDefaultDspEXT(kDomainFromProperty);
    const int32_t domain = VSR_LOAD(defaultDSP);
    holdChannel(domain);
    createSessionMutex();
    logLibrary(kLogDebug, "In vsrK6SessionInit : attrib.value=%d  \n", K6SessionAttribute.value);
    return visora::callInDomain(domain, "vsrK6SessionInit", vsrK6SessionInit_internal_adsp,
                                vsrK6SessionInit_internal_cdsp, vsrK6SessionInit_internal_mdsp, attributes, count,
                                version);
}

int32_t vsrK6SessionInit_internal(uint64_t handle, const vsrK6Attribute* attributes, uint32_t count,
                                  const char* version)
{
    logLibrary(kLogError, "Begin of vsrK6SessionInit_internal dsp_handle=%lu %d %s", handle, 22615, kOffloadPath);
    if (visoradsp_initK6_with_attributes(handle, attributes, count) != 0)
    {
        logLibrary(kLogError, "visoradsp_vsrK6SessionInit failed");
        return -1;
    }
    if (!version)
    {
        // Without a version to compare, the DSP's side counts as a stranger, although it runs.
        return -1;
    }
    constexpr int32_t kCapacity = 10;
    char dspVersion[kCapacity + 1] = "";
    visoradsp_vsrGetVersionK(handle, dspVersion, kCapacity);
    logLibrary(kLogError, "Checking for vsrVersion  %d %s", 22622, kOffloadPath);
    constexpr size_t kMajorVersion = 2;
    if (std::strncmp(version, dspVersion, kMajorVersion) != 0)
    {
        logLibrary(kLogError, "Unmatch CPU and K6 major version. CPU version is %s, K6 version is %s  %d %s", version,
                   dspVersion, 22631, kOffloadPath);
        return -1;
    }
    return 0;
}

int32_t vsrK6SessionInit_internal_adsp(const vsrK6Attribute* attributes, uint32_t count, const char* version)
{
    return vsrK6SessionInit_internal(adsp_domain_handle, attributes, count, version);
}

int32_t vsrK6SessionInit_internal_cdsp(const vsrK6Attribute* attributes, uint32_t count, const char* version)
{
    return vsrK6SessionInit_internal(cdsp_domain_handle, attributes, count, version);
}

int32_t vsrK6SessionInit_internal_mdsp(const vsrK6Attribute* attributes, uint32_t count, const char* version)
{
    return vsrK6SessionInit_internal(mdsp_domain_handle, attributes, count, version);
}

int32_t vsrK6SessionDeInit(void)
{
    releaseChannel();
    return destroySessionMutex();
}

std::optional<int32_t> visora::sessionDomain()
{
    return heldOpens > 0 ? std::optional(heldDomain) : std::nullopt;
}

int32_t vsrK6Initialize(VISORAHW_K6_MODE mode, char* version)
{
    return startSession(mode, version);
}

int32_t KCVAK6_init(int32_t mode, const char* version)
{
    visora::readTraceSwitch();
    if (kcvak6State == kFailed)
    {
        return -1;
    }
    if (kcvak6State == kReady)
    {
        if (kcvak6CurrentMode == mode)
        {
            return 0;
        }
        logLibrary(kLogInfo, "KCVAK6_deinit");
        vsrK6SessionDeInit();
        setState(kNone, kNoMode);
    }
    return startSession(mode, version);
}

int32_t KCVAK6_deinit(void)
{
    logLibrary(kLogInfo, "KCVAK6_deinit");
    const int32_t result = kcvak6State == kNone ? 0 : vsrK6SessionDeInit();
    setState(kNone, kNoMode);
    return result;
}

bool KCVAK6_is_ready(void)
{
    return kcvak6State == kReady;
}

int32_t KCVAK6_get_current_mode(void)
{
    return kcvak6CurrentMode;
}
