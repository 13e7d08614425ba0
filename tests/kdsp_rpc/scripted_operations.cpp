#include "kdsp_rpc/scripted_operations.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "kdsp_rpc/multi_domains/visoraRemote.h"
#include "visora.h"
#include "visora/dsp_stub.h"

namespace visora::test
{
namespace
{

ScriptedOperations* living = nullptr;

template <class T>
uint64_t wordOf(T value)
{
    if constexpr (std::is_pointer_v<T>)
    {
        return reinterpret_cast<uintptr_t>(value);
    }
    else
    {
        uint64_t word = 0;
        std::memcpy(&word, &value, sizeof(value));
        return word;
    }
}

// What a remote call means to the kernel: its own arguments among the remote ones.
template <class Function>
struct Unpacked;

template <class R, class... A>
struct Unpacked<R(A...)>
{
    using Traits = Kernel<R(A...)>;
    static constexpr auto kPlaces = Traits::places();

    template <class Remote, size_t... place>
    static RemoteCall describe(const char* operation, uint64_t handle, const Remote& remote,
                               std::index_sequence<place...> /*all*/)
    {
        RemoteCall call{handle, operation, {wordOf(std::get<place>(remote))...}, {}};
        const auto addBuffer = [&]<size_t at>()
        {
            if constexpr (kPlaces[at].isLength)
            {
                using Element = std::remove_pointer_t<std::tuple_element_t<at - 1, Remote>>;
                call.buffers.push_back({wordOf(std::get<at - 1>(remote)), std::get<at>(remote) * sizeof(Element)});
            }
        };
        (addBuffer.template operator()<place>(), ...);
        return call;
    }

    static constexpr size_t placeOf(size_t argument)
    {
        size_t place = 0;
        while (kPlaces[place].argument != argument || kPlaces[place].isLength)
        {
            ++place;
        }
        return place;
    }

    template <class Remote, size_t... argument>
    static R compute(R (*reference)(A...), const Remote& remote, std::index_sequence<argument...> /*all*/)
    {
        return reference(std::get<placeOf(argument)>(remote)...);
    }
};

template <class Function, class... Rest>
int32_t serve(const char* operation, Function* reference, uint64_t handle, Rest... rest)
{
    if (!living)
    {
        return VISORADSP_NO_DSP;
    }
    using Call = Unpacked<Function>;
    const std::tuple<Rest...> all(rest...);
    living->note(Call::describe(operation, handle, all, std::make_index_sequence<Call::Traits::kRemoteArguments>()));
    const int32_t status =
        living->decide ? living->decide() : living->call(std::string(operation) + "K", std::to_string(handle));
    if (status == 0 && living->computes)
    {
        constexpr size_t kArguments = std::tuple_size_v<typename Call::Traits::Arguments>;
        const auto result = Call::compute(reference, all, std::make_index_sequence<kArguments>());
        if constexpr (sizeof...(Rest) > Call::Traits::kRemoteArguments)
        {
            *std::get<sizeof...(Rest) - 1>(all) = static_cast<uint32_t>(result);
        }
    }
    return status;
}

}  // namespace

ScriptedOperations::ScriptedOperations()
{
    living = this;
}

ScriptedOperations::~ScriptedOperations()
{
    living = nullptr;
}

ScriptedOperations* ScriptedOperations::current()
{
    return living;
}

void ScriptedOperations::note(RemoteCall call)
{
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
}

std::vector<RemoteCall> ScriptedOperations::takeRemoteCalls()
{
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
}

const std::vector<Offloaded>& offloadedOperations()
{
    const auto is = [](std::string_view a, std::string_view b) { return a == b; };
    static const std::vector<Offloaded> list{
#define VSR_OFFLOADED(operation, answer, kind, ...)                      \
    {#operation,                                                         \
     reinterpret_cast<VSR_FUNC>(operation##K),                           \
     reinterpret_cast<VSR_FUNC>(operation##Ka),                          \
     reinterpret_cast<VSR_FUNC>(operation##Kc),                          \
     reinterpret_cast<VSR_FUNC>(operation##Km),                          \
     is(#answer, "Status"),                                              \
     is(#kind, "FallBackIfLarge") || is(#kind, "FallBackIfLargeOrLong"), \
     is(#kind, "Forward") || is(#kind, "Retry") || is(#kind, "RetryIfAligned")},
#include "kdsp_rpc/multi_domains/operations/all.def"
    };
    return list;
}

const Offloaded* offloadedOperation(const std::string& name)
{
    const auto& all = offloadedOperations();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Offloaded& one) { return one.name == name; });
    return found == all.end() ? nullptr : &*found;
}

}  // namespace visora::test

// These are bound by the dynamic linker before those of the stub library.
#define VSR_OFFLOADED(operation, answer, ...)                                                  \
    using operation##_remote = visora::Remote<decltype(operation##C), visora::Answer::answer>; \
    VSR_DEFINE(visoradsp_##operation##K, operation##_remote,                                   \
               { return visora::test::serve<decltype(operation##C)>(#operation, operation##C, arguments...); });
#include "kdsp_rpc/multi_domains/operations/all.def"
