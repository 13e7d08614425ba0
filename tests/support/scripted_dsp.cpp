#include "support/scripted_dsp.h"

#include <unistd.h>

#include <string_view>
#include <utility>

#include "support/next_function.h"
#include "visora/dsp_stub.h"

// Defines a stub function that does nothing with its arguments; its name begins with "visoradsp_".
#define SCRIPTED(function, parameters, ...)                                                             \
    int32_t function parameters                                                                         \
    {                                                                                                   \
        VSR_NEXT_UNLESS(ScriptedDsp::current, function, __VA_ARGS__)                                    \
        return ScriptedDsp::current->call(std::string_view(#function).substr(10), textOf(__VA_ARGS__)); \
    }

namespace visora::test
{

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
using visora::test::ScriptedDsp;
using visora::test::textOf;

int32_t visoradsp_open(const char* uri, uint64_t* handle)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_open, uri, handle);
    const int32_t status = ScriptedDsp::current->call("open", uri);
    // A failed open leaves something behind that is no handle.
    *handle = status == 0 ? ScriptedDsp::current->nextHandle++ : 0xbad;
    return status;
}

int32_t visoradsp_initK6_with_attributes(uint64_t handle, const vsrK6Attribute* attributes, uint32_t count)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_initK6_with_attributes, handle, attributes, count);
    std::string text = attributes ? "" : "null";
    for (uint32_t i = 0; attributes && i < count; ++i)
    {
        text += textOf(attributes[i].id) + "=" + textOf(attributes[i].value);
    }
    return ScriptedDsp::current->call("initK6_with_attributes", textOf(handle, text, count));
}

int32_t visoradsp_vsrGetVersionK(uint64_t handle, char* version, int32_t capacity)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_vsrGetVersionK, handle, version, capacity);
    // A text that fills the buffer has no end there.
    ScriptedDsp::current->version.copy(version, static_cast<size_t>(capacity));
    return ScriptedDsp::current->call("vsrGetVersionK", textOf(handle, capacity));
}

int32_t visoradsp_vsrK6GetClk(uint64_t handle, uint64_t* clock)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_vsrK6GetClk, handle, clock);
    const int32_t status = ScriptedDsp::current->call("vsrK6GetClk", textOf(handle, *clock));
    *clock = ScriptedDsp::current->clock;
    return status;
}

int32_t visoradsp_probeK6Time(uint64_t handle, uint32_t a, uint32_t b, uint64_t* time)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_probeK6Time, handle, a, b, time);
    const int32_t status = ScriptedDsp::current->call("probeK6Time", textOf(handle, a, b));
    *time = ScriptedDsp::current->time;
    return status;
}

int32_t visoradsp_vsrUpdateDSPMsgFlagK(uint64_t handle, uint32_t flag, uint32_t* answer)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, visoradsp_vsrUpdateDSPMsgFlagK, handle, flag, answer);
    const int32_t status = ScriptedDsp::current->call("vsrUpdateDSPMsgFlagK", textOf(handle, flag, *answer));
    *answer = status == 0 ? flag + 100 : *answer;
    return status;
}

SCRIPTED(visoradsp_close, (uint64_t handle), handle)
SCRIPTED(visoradsp_deinitK6, (uint64_t handle), handle)
SCRIPTED(visoradsp_registerbuf, (void* buffer, uint32_t size, int32_t fd), buffer, size, fd)
SCRIPTED(visoradsp_cache_flush_invalidateK,
         (uint64_t handle, const void* input, uint32_t inputLength, void* output, uint32_t outputLength), handle, input,
         inputLength, output, outputLength)
#define BUFFER(i) void *b##i, uint32_t n##i
#define OF(i) b##i, n##i
SCRIPTED(visoradsp_vsrInvalidateOutputBufferK, (uint64_t handle, BUFFER(1)), handle, OF(1))
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer2K, (uint64_t handle, BUFFER(1), BUFFER(2)), handle, OF(1), OF(2))
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer3K, (uint64_t handle, BUFFER(1), BUFFER(2), BUFFER(3)), handle, OF(1),
         OF(2), OF(3))
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer4K, (uint64_t handle, BUFFER(1), BUFFER(2), BUFFER(3), BUFFER(4)), handle,
         OF(1), OF(2), OF(3), OF(4))
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer5K,
         (uint64_t handle, BUFFER(1), BUFFER(2), BUFFER(3), BUFFER(4), BUFFER(5)), handle, OF(1), OF(2), OF(3), OF(4),
         OF(5))
SCRIPTED(visoradsp_vsrInvalidateOutputBuffer6K,
         (uint64_t handle, BUFFER(1), BUFFER(2), BUFFER(3), BUFFER(4), BUFFER(5), BUFFER(6)), handle, OF(1), OF(2),
         OF(3), OF(4), OF(5), OF(6))

unsigned sleep(unsigned seconds)
{
    VSR_NEXT_UNLESS(ScriptedDsp::current, sleep, seconds)
    ScriptedDsp::current->call("sleep", textOf(seconds));
    return 0;
}
