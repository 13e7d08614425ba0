// Scratch memory that a kernel borrows for the length of a call.
#ifndef VISORA_CPU_SCRATCH_H
#define VISORA_CPU_SCRATCH_H

#include <cstddef>
#include <cstdint>

#include "visora/memory.h"

namespace visora
{

class Scratch
{
  public:
    explicit Scratch(size_t bytes, uint32_t alignment = 64) : data_(vsrGetScratchBufferAligned_(bytes, alignment)) {}
    ~Scratch() { vsrReleaseScratchBuffer_(data_); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    /** Null when there was none. */
    uint8_t* data() const { return static_cast<uint8_t*>(data_); }

  private:
    void* data_;
};

}  // namespace visora

#endif
