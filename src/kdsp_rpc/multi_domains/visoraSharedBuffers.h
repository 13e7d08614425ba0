// Memory that the program shares with the DSP, as vsrMemFree needs it.
#ifndef VISORA_KDSP_RPC_SHARED_BUFFERS_H
#define VISORA_KDSP_RPC_SHARED_BUFFERS_H

#include <optional>

#include "visora/shared_memory.h"

namespace visora
{

/** What is known of a live block of vsrSharedMemAllocK. */
std::optional<SharedMemRecord> sharedMemoryRecord(const void* block);

/** Releases a block that the allocator has forgotten, because it was ended meanwhile. */
void releaseSharedMemory(const SharedMemRecord& record);

}  // namespace visora

#endif
