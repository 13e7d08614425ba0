// Destinations too large for the caches, written past them. An ordinary store of a line that no cache has reads it from
// memory first, which makes three bytes of traffic of two. Included once per instruction set.
#if defined(VISORA_VECTA_STREAM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_STREAM_INL_H
#undef VISORA_VECTA_STREAM_INL_H
#else
#define VISORA_VECTA_STREAM_INL_H
#endif

#include <cstring>

#include "hwy/cache_control.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Destinations of so many bytes are written past the caches: what is written in many rows at once would wait for each
 * line, what is written in order is only worth it beyond a share of the last cache. */
constexpr size_t kStreamedTurned = size_t{4} << 20;
constexpr size_t kStreamedInOrder = size_t{16} << 20;

/** Processors for ARM notice by themselves that whole lines are written. */
constexpr bool isStreamed(size_t bytes, size_t least)
{
    return HWY_ARCH_X86 && bytes >= least;
}

/** Whether a call that goes straight through so many bytes, read and written, leaves nothing of them in the caches.
 * With less, what is written past them is slower by up to two times. */
constexpr bool isTooMuchForCaches(size_t bytes)
{
    return HWY_ARCH_X86 && bytes >= (size_t{20} << 20);
}

/** std::memcpy whose whole lines go past the caches. Behind all of them hwy::FlushStream() is due. */
HWY_INLINE void streamBytes(uint8_t* to, const uint8_t* from, size_t bytes)
{
    constexpr size_t kLine = 64;
    const hn::CappedTag<uint8_t, kLine> d;
    const size_t head = HWY_MIN(bytes, (0 - reinterpret_cast<uintptr_t>(to)) % kLine);
    std::memcpy(to, from, head);
    size_t done = head;
    for (; done + kLine <= bytes; done += kLine)
    {
        for (size_t i = 0; i < kLine; i += hn::Lanes(d))
        {
            hn::Stream(hn::LoadU(d, from + done + i), d, to + done + i);
        }
    }
    std::memcpy(to + done, from + done, bytes - done);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
