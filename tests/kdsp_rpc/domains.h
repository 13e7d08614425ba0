// The three DSP domains, as the tests of the offload walk through them.
#ifndef VISORA_TESTS_KDSP_RPC_DOMAINS_H
#define VISORA_TESTS_KDSP_RPC_DOMAINS_H

#include "support/log_capture.h"
#include "visora.h"

namespace visora::test
{

constexpr char kLibTag[] = "visora_lib_log";

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

/** The line of a function that has no domain to work on. */
inline LogLine noDomain(const std::string& function)
{
    return {6, kLibTag, "defaultDSP flag not set for the following function " + function + "."};
}

}  // namespace visora::test

#endif
