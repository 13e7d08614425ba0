#include "support/scripted_dsp.h"

#include <dlfcn.h>
#include <unistd.h>

#include <string_view>
#include <utility>

#include "visora/dsp_stub.h"

namespace visora::test
{
namespace
{

ScriptedDsp* living = nullptr;

// The function that would have been called.
template <class Function>
Function* next(const char* name, Function* /*type*/)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Leaves a stub function through the stub library's own unless a script lives.
#define NEXT_UNLESS_SCRIPTED(function, ...)                          \
    if (!visora::test::living)                                       \
    {                                                                \
        return visora::test::next(#function, function)(__VA_ARGS__); \
    }

// Defines a stub function that does nothing with its arguments; its name begins with "visoradsp_".
#define SCRIPTED(function, parameters, ...)                                               \
    int32_t function parameters                                                           \
    {                                                                                     \
        NEXT_UNLESS_SCRIPTED(function, __VA_ARGS__)                                       \
        return living->call(std::string_view(#function).substr(10), textOf(__VA_ARGS__)); \
    }

}  // namespace

ScriptedDsp::ScriptedDsp()
{
    living = this;
}

ScriptedDsp::~ScriptedDsp()
{
    living = nullptr;
}

ScriptedDsp* ScriptedDsp::current()
{
    return living;
}

void ScriptedDsp::answer(const std::string& function, std::deque<int32_t> answers)
{
    const std::lock_guard lock(mutex_);
    answers_[function] = std::move(answers);
}

std::vector<std::string> ScriptedDsp::takeCalls()
{
    const std::lock_guard lock(mutex_);
    return std::exchange(calls_, {});
}

int32_t ScriptedDsp::call(std::string_view function, const std::string& arguments)
{
    onCall(function);
    const std::string name(function);
    const std::lock_guard lock(mutex_);
    calls_.push_back(name + " " + arguments);
    std::deque<int32_t>& answers = answers_[name];
    if (answers.empty())
    {
        return 0;
    }
    const int32_t result = answers.front();
    if (answers.size() > 1)
    {
        answers.pop_front();
    }
    return result;
}

}  // namespace visora::test

// These are bound by the dynamic linker before those of the stub library and of the system.
using visora::test::living;
using visora::test::textOf;

int32_t visoradsp_open(const char* uri, uint64_t* handle)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_open, uri, handle);
    const int32_t status = living->call("open", uri);
    // A failed open leaves something behind that is no handle.
    *handle = status == 0 ? living->nextHandle++ : 0xbad;
    return status;
}

int32_t visoradsp_initK6_with_attributes(uint64_t handle, const vsrK6Attribute* attributes, uint32_t count)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_initK6_with_attributes, handle, attributes, count);
    std::string text = attributes ? "" : "null";
    for (uint32_t i = 0; attributes && i < count; ++i)
    {
        text += textOf(attributes[i].id) + "=" + textOf(attributes[i].value);
    }
    return living->call("initK6_with_attributes", textOf(handle, text, count));
}

int32_t visoradsp_vsrGetVersionK(uint64_t handle, char* version, int32_t capacity)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_vsrGetVersionK, handle, version, capacity);
    // A text that fills the buffer has no end there.
    living->version.copy(version, static_cast<size_t>(capacity));
    return living->call("vsrGetVersionK", textOf(handle, capacity));
}

int32_t visoradsp_vsrK6GetClk(uint64_t handle, uint64_t* clock)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_vsrK6GetClk, handle, clock);
    const int32_t status = living->call("vsrK6GetClk", textOf(handle, *clock));
    *clock = living->clock;
    return status;
}

int32_t visoradsp_probeK6Time(uint64_t handle, uint32_t a, uint32_t b, uint64_t* time)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_probeK6Time, handle, a, b, time);
    const int32_t status = living->call("probeK6Time", textOf(handle, a, b));
    *time = living->time;
    return status;
}

int32_t visoradsp_vsrUpdateDSPMsgFlagK(uint64_t handle, uint32_t flag, uint32_t* answer)
{
    NEXT_UNLESS_SCRIPTED(visoradsp_vsrUpdateDSPMsgFlagK, handle, flag, answer);
    const int32_t status = living->call("vsrUpdateDSPMsgFlagK", textOf(handle, flag, *answer));
    *answer = status == 0 ? flag + 100 : *answer;
    return status;
}

SCRIPTED(visoradsp_close, (uint64_t handle), handle)
SCRIPTED(visoradsp_deinitK6, (uint64_t handle), handle)
SCRIPTED(visoradsp_registerbuf, (void* buffer, uint32_t size, int32_t fd), buffer, size, fd)
SCRIPTED(visoradsp_cache_flush_invalidateK,
         (uint64_t handle, const void* input, uint32_t inputLength, void* output, uint32_t outputLength), handle, input,
         inputLength, output, outputLength)
SCRIPTED(visoradsp_vsrInvalidateOutputBufferK, (uint64_t handle, void* b1, uint32_t n1), handle, b1, n1)
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer2K, (uint64_t handle, void* b1, uint32_t n1, void* b2, uint32_t n2), handle,
         b1, n1, b2, n2)
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer3K,
         (uint64_t handle, void* b1, uint32_t n1, void* b2, uint32_t n2, void* b3, uint32_t n3), handle, b1, n1, b2, n2,
         b3, n3)
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer4K,
         (uint64_t handle, void* b1, uint32_t n1, void* b2, uint32_t n2, void* b3, uint32_t n3, void* b4, uint32_t n4),
         handle, b1, n1, b2, n2, b3, n3, b4, n4)
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer5K,
         (uint64_t handle, void* b1, uint32_t n1, void* b2, uint32_t n2, void* b3, uint32_t n3, void* b4, uint32_t n4,
          void* b5, uint32_t n5),
         handle, b1, n1, b2, n2, b3, n3, b4, n4, b5, n5)
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer6K,
         (uint64_t handle, void* b1, uint32_t n1, void* b2, uint32_t n2, void* b3, uint32_t n3, void* b4, uint32_t n4,
          void* b5, uint32_t n5, void* b6, uint32_t n6),
         handle, b1, n1, b2, n2, b3, n3, b4, n4, b5, n5, b6, n6)

unsigned sleep(unsigned seconds)
{
    if (living)
    {
        living->call("sleep", textOf(seconds));
        return 0;
    }
    return visora::test::next("sleep", sleep)(seconds);
}
