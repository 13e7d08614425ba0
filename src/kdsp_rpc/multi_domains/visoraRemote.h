// What the remote functions of the operations look like, derived from the kernels' own types:
//
//   int32_t visoradsp_vsrXxxK(uint64_t handle, the kernel's arguments, each buffer followed by its length ...,
//                             uint32_t* outStatus where the operation has one)
//
// Lengths count elements of the buffer's type, in 32 bits. The result is 0, or an error of the remote-call runtime.
#ifndef VISORA_KDSP_RPC_REMOTE_H
#define VISORA_KDSP_RPC_REMOTE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "common/visoraDefine.h"
#include "visora/types.h"

namespace visora
{

/** Whether the DSP hands back a status of the operation's own, behind the last argument. */
enum class Answer
{
    None,
    Status
};

/** A remote argument: the kernel's argument of this number, or the length of a buffer. */
struct RemotePlace
{
    size_t argument = 0;
    size_t buffer = 0;
    bool isLength = false;
};

/** What a kernel's function type says. */
template <class Function>
struct Kernel;

template <class R, class... A>
struct Kernel<R(A...)>
{
    using Result = R;
    using Arguments = std::tuple<A...>;
    static constexpr size_t kBuffers = (size_t{std::is_pointer_v<A>} + ... + 0);
    static constexpr size_t kRemoteArguments = sizeof...(A) + kBuffers;

    static constexpr std::array<RemotePlace, kRemoteArguments> places()
    {
        constexpr std::array<bool, sizeof...(A)> kIsBuffer{std::is_pointer_v<A>...};
        std::array<RemotePlace, kRemoteArguments> list;
        size_t next = 0;
        size_t buffer = 0;
        for (size_t argument = 0; argument < kIsBuffer.size(); ++argument)
        {
            list[next++].argument = argument;
            if (kIsBuffer[argument])
            {
                list[next++] = {argument, buffer++, true};
            }
        }
        return list;
    }
};

/** Type of an operation's remote function. */
template <class Function, Answer answer, class = std::make_index_sequence<Kernel<Function>::kRemoteArguments>>
struct RemoteType;

template <class Function, Answer answer, size_t... place>
struct RemoteType<Function, answer, std::index_sequence<place...>>
{
    static constexpr auto kPlaces = Kernel<Function>::places();
    template <size_t at>
    using Argument =
        std::conditional_t<kPlaces[at].isLength, uint32_t,
                           std::tuple_element_t<kPlaces[at].argument, typename Kernel<Function>::Arguments>>;
    using type = std::conditional_t<answer == Answer::Status, int32_t(uint64_t, Argument<place>..., uint32_t*),
                                    int32_t(uint64_t, Argument<place>...)>;
};

template <class Function, Answer answer>
using Remote = typename RemoteType<Function, answer>::type;

}  // namespace visora

#endif
