// Scratch memory that a kernel borrows for the length of a call.
#ifndef VISORA_CPU_SCRATCH_H
#define VISORA_CPU_SCRATCH_H

#include <cstddef>
#include <cstdint>

#include "common/visoraRelaxed.h"
#include "visora/memory.h"

namespace visora
{

/** Goes back to the services that lent it, also when a program has installed others meanwhile. */
class Scratch
{
  public:
    explicit Scratch(size_t bytes, uint32_t alignment = 64)
        : release_(VSR_LOAD(vsrReleaseScratchBuffer_)), data_(VSR_LOAD(vsrGetScratchBufferAligned_)(bytes, alignment))
    {
    }
    ~Scratch()
    {
        if (data_)
        {
            release_(data_);
        }
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /** Null when there was none. */
    uint8_t* data() const { return static_cast<uint8_t*>(data_); }
    template <class T>
    T* as() const
    {
        return static_cast<T*>(data_);
    }

  private:
    void (*release_)(void* buffer);
    void* data_;
};

}  // namespace visora

#endif
