// The remote functions of the operations, in the test program: the DSP's side is the reference.
#ifndef VISORA_TESTS_KDSP_RPC_SCRIPTED_OPERATIONS_H
#define VISORA_TESTS_KDSP_RPC_SCRIPTED_OPERATIONS_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "support/scripted_dsp.h"
#include "visora/dispatch.h"

namespace visora::test
{

/** A remote call as its function got it. */
struct RemoteCall
{
    /** A buffer as its length tells it. */
    struct Buffer
    {
        uintptr_t address;
        size_t bytes;
    };

    uint64_t handle;
    std::string operation;
    /** The arguments between the handle and the status, pointers as addresses. */
    std::vector<uint64_t> arguments;
    std::vector<Buffer> buffers;
};

/** A scripted DSP that computes with the reference whenever it answers 0. */
class ScriptedOperations : public ScriptedDsp
{
  public:
    ScriptedOperations();
    ~ScriptedOperations();

    static ScriptedOperations* current();

    /** False: it answers only. */
    bool computes = true;
    /** Gives the answer to an operation's call when there is one, in place of the script. */
    std::function<int32_t()> decide;

    void note(RemoteCall call);
    /** The calls of operations so far; taking them leaves none. */
    std::vector<RemoteCall> takeRemoteCalls();

  private:
    std::mutex mutex_;
    std::vector<RemoteCall> calls_;
};

/** An operation that a DSP can do, with its routines. */
struct Offloaded
{
    std::string name;
    VSR_FUNC perCall;
    VSR_FUNC adsp;
    VSR_FUNC cdsp;
    VSR_FUNC mdsp;
    /** The remote function hands back the operation's status. */
    bool hasStatus;
    /** Small images are declined. */
    bool wantsLarge;
    /** The remote function's answer is the result, whatever it is; only a restart may be answered by another call. */
    bool forwards;
};

const std::vector<Offloaded>& offloadedOperations();
const Offloaded* offloadedOperation(const std::string& name);

}  // namespace visora::test

#endif
