#include "kdsp_rpc/scripted_operations.h"

#include <algorithm>
#include <cstring>
#include <span>
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
    uint64_t word = 0;
    std::memcpy(&word, &value, sizeof(value));
    return word;
}

template <class T>
T fromWord(uint64_t word)
{
    T value;
    std::memcpy(&value, &word, sizeof(value));
    return value;
}

// Bytes of what a pointer points to.
template <class T>
constexpr size_t elementBytes()
{
    using Element = std::remove_pointer_t<T>;
    if constexpr (requires { sizeof(Element); })
    {
        return sizeof(Element);
    }
    else
    {
        return 0;
    }
}

// Notes a call and says how the DSP answers it. What the words behind the handle mean, and the bytes of what they point
// to, are lists of their length. Not part of the functions made for each operation: there are hundreds of them.
int32_t answer(const char* operation, uint64_t handle, std::span<const uint64_t> words, const RemotePlace* places,
               const size_t* bytes)
{
    if (!living)
    {
        return VISORADSP_NO_DSP;
    }
    RemoteCall call{handle, operation, {words.begin(), words.end()}, {}};
    for (size_t i = 0; i < words.size(); ++i)
    {
        if (places[i].isLength)
        {
            call.buffers.push_back({words[i - 1], words[i] * bytes[i - 1]});
        }
    }
    living->note(std::move(call));
    return living->decide ? living->decide() : living->call(std::string(operation) + "K", std::to_string(handle));
}

// The reference on its own arguments, which stand among the remote ones.
template <class R, class... A, size_t... argument>
R compute(R (*reference)(A...), const uint64_t* words, std::index_sequence<argument...> /*all*/)
{
    constexpr auto placeOf = [](size_t wanted)
    {
        constexpr auto kPlaces = Kernel<R(A...)>::places();
        size_t place = 0;
        while (kPlaces[place].argument != wanted || kPlaces[place].isLength)
        {
            ++place;
        }
        return place;
    };
    return reference(fromWord<A>(words[placeOf(argument)])...);
}

template <class R, class... A, class... Rest>
int32_t serve(const char* operation, R (*reference)(A...), uint64_t handle, Rest... rest)
{
    using Traits = Kernel<R(A...)>;
    static constexpr auto kPlaces = Traits::places();
    static constexpr size_t kBytes[] = {elementBytes<Rest>()...};
    const uint64_t words[] = {wordOf(rest)...};
    const int32_t status = answer(operation, handle, {words, Traits::kRemoteArguments}, kPlaces.data(), kBytes);
    if (status == 0 && living->computes)
    {
        const auto result = compute(reference, words, std::index_sequence_for<A...>());
        if constexpr (sizeof...(Rest) > Traits::kRemoteArguments)
        {
            *fromWord<uint32_t*>(words[sizeof...(Rest) - 1]) = static_cast<uint32_t>(result);
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
               { return visora::test::serve(#operation, operation##C, arguments...); });
#include "kdsp_rpc/multi_domains/operations/all.def"
