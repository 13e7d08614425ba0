// The three DSP domains, as the tests of the offload walk through them.
#ifndef VISORA_TESTS_KDSP_RPC_DOMAINS_H
#define VISORA_TESTS_KDSP_RPC_DOMAINS_H

#include <pthread.h>

#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{

struct Domain
{
    int32_t number;  // as defaultDSP
    const char* name;
    uint64_t& handle;
    int32_t& count;
};

inline const Domain kDomains[] = {{0, "adsp", adsp_domain_handle, adspDomainHandle_count},
                                  {1, "cdsp", cdsp_domain_handle, cdspDomainHandle_count},
                                  {2, "mdsp", mdsp_domain_handle, mdspDomainHandle_count}};

/** What a channel to the domain is opened with. */
inline std::string uriOf(const Domain& domain)
{
    return std::string("file:///libvisoradsp_skel.so?visoradsp_skel_handle_invoke&_modver=1.0&_dom=") + domain.name;
}

/** The line of a function that has no domain to work on. */
inline LogLine noDomain(const std::string& function)
{
    return errorLine("defaultDSP flag not set for the following function " + function + ".");
}

/** Makes the mutex one that refuses the thread that holds it, and holds it. */
inline void holdChecked(pthread_mutex_t& mutex)
{
    pthread_mutexattr_t checked;
    pthread_mutexattr_init(&checked);
    pthread_mutexattr_settype(&checked, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&mutex, &checked);
    pthread_mutex_lock(&mutex);
}

}  // namespace visora::test

#endif
