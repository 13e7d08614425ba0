// Memory that the program shares with the DSP. There is no allocator of such memory yet.
#include "visora/memory.h"
#include "visora/offload.h"

void* (*vsrSharedMemAlloc_)(uint32_t size, uint32_t byteAlignment) = nullptr;
void* (*vsrSharedMemAllocR_)(uint32_t size, uint32_t byteAlignment) = nullptr;
int32_t (*vsrSharedMemFree_)(void* block) = nullptr;
int32_t (*vsrSharedMemFreeR_)(void* block) = nullptr;
void* (**ppvsrSharedMemAlloc)(uint32_t size, uint32_t byteAlignment) = &vsrSharedMemAlloc_;
int32_t (**ppvsrSharedMemFree)(void* block) = &vsrSharedMemFree_;

void vsrInitSharedMem(uint32_t hardware)
{
    constexpr uint32_t kDsp = 0x8;
    constexpr uint32_t kGpu = 0x20;
    if ((hardware & (kDsp | kGpu)) == kDsp && vsrInitSharedMem_Kdsp() == 0)
    {
        vsrSharedMemAlloc_ = vsrSharedMemAllocR_ = vsrSharedMemAllocK;
        vsrSharedMemFree_ = vsrSharedMemFreeR_ = vsrSharedMemFreeK;
    }
}

void vsrDeInitSharedMem(void)
{
    if (vsrSharedMemAllocR_ == vsrSharedMemAllocK)
    {
        vsrDeInitSharedMem_Kdsp();
    }
    vsrSharedMemAlloc_ = vsrSharedMemAllocR_ = nullptr;
    vsrSharedMemFree_ = vsrSharedMemFreeR_ = nullptr;
}

int32_t vsrInitSharedMem_Kdsp(void)
{
    return -1;
}

int32_t vsrDeInitSharedMem_Kdsp(void)
{
    return 0;
}

void* vsrSharedMemAllocK(uint32_t /*size*/, uint32_t /*byteAlignment*/)
{
    return nullptr;
}

int32_t vsrSharedMemFreeK(void* /*block*/)
{
    return -1;
}
