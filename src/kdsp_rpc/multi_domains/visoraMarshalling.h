// The road of an offloaded call: vsrXxxK picks the domain, vsrXxxKa, Kc and Km the channel, vsrXxxK_abstractionLayer
// calls the remote function, brings the DSP back when it restarted meanwhile, and leaves the call to the vector variant
// when the DSP cannot do it. A family's file includes this and its lines of operations.
#ifndef VISORA_KDSP_RPC_MARSHALLING_H
#define VISORA_KDSP_RPC_MARSHALLING_H

#include "common/visoraRelaxed.h"
#include "kdsp_rpc/multi_domains/visoraDomain.h"
#include "kdsp_rpc/multi_domains/visoraLengths.h"
#include "kdsp_rpc/multi_domains/visoraRemote.h"
#include "kdsp_rpc/multi_domains/visoraRemoteCall.h"
#include "visora.h"

namespace visora
{

// ---- Marshalling kinds ----

/** Remote errors and a DSP that stays down: the vector variant does the call. */
struct FallBack
{
    static constexpr bool kRecovers = true;
    static constexpr bool kFallsBack = true;
    static constexpr auto kConstraint = nullptr;
};

/**
 * As FallBack, but calls that do not meet the constraint are declined with VISORA_EFALLBACK. The constraint gets the
 * lengths of the buffers and the arguments.
 */
template <auto constraint>
struct FallBackIf : FallBack
{
    static constexpr auto kConstraint = constraint;
};

/** Small images are not worth the way. */
constexpr auto isLarge = [](const auto& lengths, auto...)
{
    constexpr uint32_t kSmall = 25344;
    return lengths.front() > kSmall || lengths.back() > kSmall;
};
using FallBackIfLarge = FallBackIf<isLarge>;

/** A call that found the DSP restarted is made again; what the last one gave is the result, as with Forward. */
struct Retry : FallBack
{
    static constexpr bool kFallsBack = false;
};

/** As Retry, but calls that do not meet the constraint are declined as by FallBackIf. */
template <auto constraint>
struct RetryIf : Retry
{
    static constexpr auto kConstraint = constraint;
};

/** As FallBack, saying so. */
struct FallBackWithMessage : FallBack
{
    static constexpr const char* kMessage = "K6 run failed. Falling back to Vecta.";
};

/** One remote call, whose result is the operation's when it fails or the operation has no status of its own. */
struct Forward
{
    static constexpr bool kRecovers = false;
    static constexpr bool kFallsBack = false;
    static constexpr auto kConstraint = nullptr;
};

// ---- The marshalling function ----

/** Logs that the operation's DSP routine declines a call. */
vsrStatus declineOffload(const char* routine);

template <class Function>
struct Marshalling;

template <class R, class... A>
struct Marshalling<R(A...)>
{
    /**
     * @param Kind     one of the marshalling kinds
     * @param answer   whether the remote function gives a status
     * @param routine  name of the marshalling function
     * @param vector   slot of the vector variant
     * @param remote   the remote function
     */
    template <class Kind, Answer answer, class RemoteFunction, class Lengths>
    static R run(const char* routine, const VSR_FUNC& vector, RemoteFunction* remote, const Lengths& lengths,
                 uint64_t handle, A... arguments)
    {
        const std::array<uint32_t, Kernel<R(A...)>::kBuffers> bufferLengths = lengths(arguments...);
        if constexpr (!std::is_null_pointer_v<decltype(Kind::kConstraint)>)
        {
            if (VSR_LOAD(k6AbstractionConstraintFlag) != 0 && !Kind::kConstraint(bufferLengths, arguments...))
            {
                return static_cast<R>(declineOffload(routine));
            }
        }

        const std::tuple<A...> all(arguments...);
        uint32_t ownStatus = 1;
        const auto call = [&]
        {
            return send<answer>(remote, handle, all, bufferLengths, ownStatus,
                                std::make_index_sequence<Kernel<R(A...)>::kRemoteArguments>());
        };
        if constexpr (Kind::kFallsBack)
        {
            const RemoteResult result = callRemote(handle, call);
            if (result.status != 0)
            {
                if constexpr (requires { Kind::kMessage; })
                {
                    logLibrary(kLogError, "%s", Kind::kMessage);
                }
                return reinterpret_cast<R (*)(A...)>(VSR_LOAD(vector))(arguments...);
            }
            // Without a status of its own an operation has what restoring the mode gave.
            return static_cast<R>(answer == Answer::Status ? ownStatus : result.restored);
        }
        else
        {
            const int32_t status = Kind::kRecovers ? callRemote(handle, call).status : call();
            return static_cast<R>(status == 0 && answer == Answer::Status ? ownStatus : static_cast<uint32_t>(status));
        }
    }

  private:
    template <Answer answer, class RemoteFunction, class Lengths, size_t... place>
    static int32_t send(RemoteFunction* remote, uint64_t handle, const std::tuple<A...>& arguments,
                        const Lengths& lengths, uint32_t& ownStatus, std::index_sequence<place...> /*all*/)
    {
        constexpr auto kPlaces = Kernel<R(A...)>::places();
        const auto at = [&]<size_t index>()
        {
            if constexpr (kPlaces[index].isLength)
            {
                return lengths[kPlaces[index].buffer];
            }
            else
            {
                return std::get<kPlaces[index].argument>(arguments);
            }
        };
        if constexpr (answer == Answer::Status)
        {
            return remote(handle, at.template operator()<place>()..., &ownStatus);
        }
        else
        {
            return remote(handle, at.template operator()<place>()...);
        }
    }
};

/** Slots of the vector variants, by operation. */
namespace vectorSlot
{
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    constexpr VSR_FUNC* operation = &vsrFuncTable[(row)*VSR_KIND_COUNT + VSR_IMPL_VECTA];
#define VSR_INTERNAL(row, operation, entry, variant, dsp) \
    constexpr VSR_FUNC* operation = &vsrInternalFuncTable[(row)*VSR_KIND_COUNT + VSR_IMPL_VECTA];
#include "visora/operations/all.def"
}  // namespace vectorSlot

}  // namespace visora

/** Defines the DSP routines of an operation. See operations/all.def. */
#define VSR_OFFLOADED(operation, answer, kind, ...)                                                                    \
    VSR_DECLARE(visoradsp_##operation##K, visora::Remote<decltype(operation##C), visora::Answer::answer>);             \
    VSR_DEFINE(operation##K_abstractionLayer, vsrBehindHandle<decltype(operation##C)>::type, {                         \
        return visora::Marshalling<decltype(operation##C)>::run<visora::kind, visora::Answer::answer>(                 \
            #operation "K_abstractionLayer", *visora::vectorSlot::operation, visoradsp_##operation##K,                 \
            visora::__VA_ARGS__, arguments...);                                                                        \
    });                                                                                                                \
    VSR_DEFINE(operation##Ka, decltype(operation##C),                                                                  \
               { return operation##K_abstractionLayer(visora::currentHandle(adsp_domain_handle), arguments...); });    \
    VSR_DEFINE(operation##Kc, decltype(operation##C),                                                                  \
               { return operation##K_abstractionLayer(visora::currentHandle(cdsp_domain_handle), arguments...); });    \
    VSR_DEFINE(operation##Km, decltype(operation##C),                                                                  \
               { return operation##K_abstractionLayer(visora::currentHandle(mdsp_domain_handle), arguments...); });    \
    VSR_DEFINE(operation##K, decltype(operation##C), {                                                                 \
        return visora::callInDefaultDomain(#operation "K", operation##Ka, operation##Kc, operation##Km, arguments...); \
    });

#endif
