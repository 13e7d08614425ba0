// How a routine reaches the DSP domain in use.
#ifndef VISORA_KDSP_RPC_DOMAIN_H
#define VISORA_KDSP_RPC_DOMAIN_H

#include <optional>
#include <type_traits>

#include "common/visoraLog.h"
#include "common/visoraRelaxed.h"
#include "visora/dispatch.h"
#include "visora/offload.h"

namespace visora
{

/** Logged as the place of what the DSP's side answered. */
constexpr const char* kOffloadPath = "src/kdsp_rpc/multi_domains/kcvak6rpc_clnt_abstractionLayer";

/** Logs that a function has no domain to work on. */
void logNoDomain(const char* function);

/** Of three routines the one for a domain; null when there is no such domain, which is logged. */
template <class Routine>
Routine forDomain(int32_t domain, const char* function, Routine adsp, Routine cdsp, Routine mdsp)
{
    switch (domain)
    {
        case 0:
            return adsp;
        case 1:
            return cdsp;
        case 2:
            return mdsp;
        default:
            logNoDomain(function);
            return nullptr;
    }
}

/** What a routine returns without a domain: 6 as a status, 0 as a time, nothing. */
template <class Result>
Result resultWithoutDomain()
{
    if constexpr (!std::is_void_v<Result>)
    {
        constexpr bool isStatus = std::is_same_v<Result, vsrStatus> || std::is_same_v<Result, int32_t>;
        return isStatus ? Result{VISORA_EHWFAIL} : Result{};
    }
}

/** Calls that of three routines which is for a domain. */
template <class Result, class... Args>
Result callInDomain(int32_t domain, const char* function, Result (*adsp)(Args...), Result (*cdsp)(Args...),
                    Result (*mdsp)(Args...), std::type_identity_t<Args>... args)
{
    const auto routine = forDomain(domain, function, adsp, cdsp, mdsp);
    return routine ? routine(args...) : resultWithoutDomain<Result>();
}

/** Calls that of three routines which is for the domain in use. */
template <class Result, class... Args>
Result callInDefaultDomain(const char* function, Result (*adsp)(Args...), Result (*cdsp)(Args...),
                           Result (*mdsp)(Args...), std::type_identity_t<Args>... args)
{
    return callInDomain(VSR_LOAD(defaultDSP), function, adsp, cdsp, mdsp, args...);
}

/** Open and close the channel to a domain; without such a domain they log as domain_channel_open and close do. */
void openChannelTo(int32_t domain);
void closeChannelTo(int32_t domain);

/** Domain to which the handle is the open channel, none when it is none of ours. */
std::optional<int32_t> domainOf(uint64_t handle);

/**
 * A channel's handle, as the calls of any thread see it. They take no lock, while a clean-up sequence on another thread
 * may close and open the channel: they go out with the old handle, with 0 or with the new one, and the first two fail.
 */
inline uint64_t currentHandle(const uint64_t& handle)
{
    return VSR_LOAD(handle);
}

}  // namespace visora

/**
 * Defines the routines of an operation that VSR_DSP_ROUTINES declares, but for <operation>K_abstractionLayer, which
 * they call. `parameters` is in parentheses, `...` are their names.
 */
#define VSR_DEFINE_DSP_ROUTINES(result, operation, parameters, ...)                               \
    VSR_DEFINE_DOMAIN_ROUTINE(result, operation, Ka, adsp_domain_handle, parameters, __VA_ARGS__) \
    VSR_DEFINE_DOMAIN_ROUTINE(result, operation, Kc, cdsp_domain_handle, parameters, __VA_ARGS__) \
    VSR_DEFINE_DOMAIN_ROUTINE(result, operation, Km, mdsp_domain_handle, parameters, __VA_ARGS__) \
    result operation##K parameters                                                                \
    {                                                                                             \
        return visora::callInDefaultDomain(#operation "K", operation##Ka, operation##Kc,          \
                                           operation##Km __VA_OPT__(, ) __VA_ARGS__);             \
    }
#define VSR_DEFINE_DOMAIN_ROUTINE(result, operation, suffix, handle, parameters, ...)                   \
    result operation##suffix parameters                                                                 \
    {                                                                                                   \
        return operation##K_abstractionLayer(visora::currentHandle(handle) __VA_OPT__(, ) __VA_ARGS__); \
    }

#endif
