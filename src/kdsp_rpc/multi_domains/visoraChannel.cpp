// The channels to the DSP domains.
#include <cstdlib>
#include <cstring>

#include "kdsp_rpc/multi_domains/visoraDomain.h"
#include "kdsp_rpc/multi_domains/visoraRemoteCall.h"
#include "visora/dsp_stub.h"

uint64_t adsp_domain_handle = 0;
uint64_t cdsp_domain_handle = 0;
uint64_t mdsp_domain_handle = 0;
int32_t adspDomainHandle_count = 0;
int32_t cdspDomainHandle_count = 0;
int32_t mdspDomainHandle_count = 0;

namespace
{

using visora::currentHandle;
using visora::kLogDebug;
using visora::kLogError;
using visora::logLibrary;

// A domain's channel, and the words that its log lines have of their own.
struct Channel
{
    uint64_t& handle;
    int32_t& count;
    const char* uri;
    const char* openBegin;
    const char* openFailed;
    const char* opened;
    const char* openEnd;
    const char* closeBegin;
    const char* deinitFailed;
    const char* closeFailed;
    const char* closed;
    const char* closeEnd;
};

constexpr Channel kAdsp = {
    adsp_domain_handle,
    adspDomainHandle_count,
    "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=adsp",
    "Begin of domain_channel_open address of adsp_domain_handle=%p  value of adsp_domain_handle=%lu\n",
    "\nError: visoraadsp domain open failed on ADSP",
    "Domain open is successful on ADSP. adsp_domain_handle address=%p  adsp_domain_handle value=%lu\n",
    "End of domain_channel_open \n",
    "Begin of domain_channel_close adsp_domain_handle address=%p  adsp_domain_handle=%lu\n",
    "Error while calling visoradsp_deinitK6 for ADSP",
    "\nError: error in closing adsp_domain_handle",
    "Succesfully closed channel for adsp_domain_handle \n",
    "End of domain_channel_close for ADSP \n",
};

constexpr Channel kCdsp = {
    cdsp_domain_handle,
    cdspDomainHandle_count,
    "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=cdsp",
    "Begin of domain_channel_open cdsp_domain_handle=%p  value of cdsp_domain_handle=%lu\n",
    "\nError: visoradsp domain open failed on CDSP",
    "Domain open is successful on CDSP. cdsp_domain_handle address=%p  cdsp_domain_handle value=%lu\n",
    "End of domain_channel_open for CDSP \n",
    "Begin of domain_channel_close cdsp_domain_handle=%p cdsp_domain_handle=%lu\n",
    "Error while calling visoradsp_deinitK6 for CDSP",
    "\nError: error in closing cdsp_domain_handle",
    "Succesfully closed channel for cdsp_domain_handle \n",
    "End of domain_channel_close for CDSP \n",
};

constexpr Channel kMdsp = {
    mdsp_domain_handle,
    mdspDomainHandle_count,
    "file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=mdsp",
    "Begin of domain_channel_open mdsp_domain_handle=%p value of mdsp_domain_handle=%lu\n",
    "\nError: visoradsp domain open failed on MDSP",
    "Domain open is successful on MDSP. mdsp_domain_handle address=%p  mdsp_domain_handle value=%lu\n",
    "End of domain_channel_open \n",
    "Begin of domain_channel_close mdsp_domain_handle=%p mdsp_domain_handle=%lu\n",
    "Error while calling visoradsp_deinitK6 for MDSP",
    "\nError: error in closing mdsp_domain_handle",
    "Succesfully closed channel for mdsp_domain_handle \n",
    "End of domain_channel_close for MDSP \n",
};

void logHandle(const Channel& channel, const char* format)
{
    logLibrary(kLogDebug, format, static_cast<void*>(&channel.handle),
               static_cast<unsigned long>(currentHandle(channel.handle)));
}

// The environment is the whole program's, and other threads may read it: it is written when there is something to
// change only, and never for a channel that is reopened under the calls of other threads.
void setSearchPath()
{
    constexpr const char* kName = "ADSP_LIBRARY_PATH";
    constexpr const char* kPath = "/usr/lib/rfsa/adsp;/dsp";
    const char* path = std::getenv(kName);
    if ((!path || std::strcmp(path, kPath) != 0) && !visora::isRecovering())
    {
        setenv(kName, kPath, 1);
    }
}

void openChannel(const Channel& channel)
{
    ++channel.count;
    logHandle(channel, channel.openBegin);
    setSearchPath();
    if (channel.count == 1 && currentHandle(channel.handle) == 0)
    {
        // Whatever a failed open leaves behind is no handle.
        uint64_t handle = 0;
        if (visoradsp_open(channel.uri, &handle) != 0)
        {
            logLibrary(kLogError, channel.openFailed);
            return;
        }
        VSR_STORE(channel.handle, handle);
        logHandle(channel, channel.opened);
    }
    logLibrary(kLogDebug, channel.openEnd);
}

void closeChannel(const Channel& channel)
{
    --channel.count;
    logHandle(channel, channel.closeBegin);
    const uint64_t handle = currentHandle(channel.handle);
    if (visoradsp_deinitK6(handle) != 0)
    {
        logLibrary(kLogError, channel.deinitFailed);
    }
    if (channel.count == 0 && handle != 0)
    {
        if (visoradsp_close(handle) != 0)
        {
            logLibrary(kLogError, channel.closeFailed);
            return;
        }
        VSR_STORE(channel.handle, 0);
        logLibrary(kLogDebug, channel.closed);
    }
    logLibrary(kLogDebug, channel.closeEnd);
}

}  // namespace

void domain_channel_open_adsp(void)
{
    openChannel(kAdsp);
}

void domain_channel_open_cdsp(void)
{
    openChannel(kCdsp);
}

void domain_channel_open_mdsp(void)
{
    openChannel(kMdsp);
}

void domain_channel_close_adsp(void)
{
    closeChannel(kAdsp);
}

void domain_channel_close_cdsp(void)
{
    closeChannel(kCdsp);
}

void domain_channel_close_mdsp(void)
{
    closeChannel(kMdsp);
}

void visora::openChannelTo(int32_t domain)
{
    callInDomain(domain, "domain_channel_open", domain_channel_open_adsp, domain_channel_open_cdsp,
                 domain_channel_open_mdsp);
}

void visora::closeChannelTo(int32_t domain)
{
    callInDomain(domain, "domain_channel_close", domain_channel_close_adsp, domain_channel_close_cdsp,
                 domain_channel_close_mdsp);
}

std::optional<int32_t> visora::domainOf(uint64_t handle)
{
    const uint64_t handles[] = {currentHandle(adsp_domain_handle), currentHandle(cdsp_domain_handle),
                                currentHandle(mdsp_domain_handle)};
    for (int32_t domain = 0; handle != 0 && domain < 3; ++domain)
    {
        if (handles[domain] == handle)
        {
            return domain;
        }
    }
    return std::nullopt;
}

void domain_channel_open(uint64_t /*handle*/)
{
    visora::openChannelTo(VSR_LOAD(defaultDSP));
}

void domain_channel_close(uint64_t /*handle*/)
{
    visora::closeChannelTo(VSR_LOAD(defaultDSP));
}

int32_t load_stub_symbols(void)
{
    return 0;
}
