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

/** So many bytes are worth writing past the caches: a destination written in many rows at once, whose every line is
 * waited for; one whose lines are made whole where they are near; one written in order, a large share of the last
 * cache; all that a call goes straight through, read and written, when nothing of it stays in the caches (with less it
 * is slower by up to two times). */
constexpr size_t kStreamedTurned = size_t{4} << 20;
constexpr size_t kStreamedWhole = size_t{6} << 20;
constexpr size_t kStreamedInOrder = size_t{16} << 20;
constexpr size_t kStreamedThrough = size_t{20} << 20;

/** Processors for ARM notice by themselves that whole lines are written. */
constexpr bool isStreamed(size_t bytes, size_t least)
{
    return HWY_ARCH_X86 && bytes >= least;
}

/** Past the caches, where kStreams says so and `to` is aligned. Behind all of them hwy::FlushStream() is due. */
template <bool kStreams, class D>
HWY_INLINE void storeOrStream(hn::Vec<D> v, D d, hn::TFromD<D>* to)
{
    if constexpr (kStreams)
    {
        hn::Stream(v, d, to);
    }
    else
    {
        hn::StoreU(v, d, to);
    }
}

/** std::memcpy whose whole lines go past the caches. As many bytes from `next` on, if not null, are fetched meanwhile.
 * Behind all of them hwy::FlushStream() is due. */
HWY_INLINE void streamBytes(uint8_t* to, const uint8_t* from, size_t bytes, const uint8_t* next = nullptr)
{
    constexpr size_t kLine = 64;
    const hn::CappedTag<uint8_t, kLine> d;
    const size_t head = HWY_MIN(bytes, (0 - reinterpret_cast<uintptr_t>(to)) % kLine);
    std::memcpy(to, from, head);
    size_t done = head;
    for (; done + kLine <= bytes; done += kLine)
    {
        if (next != nullptr)
        {
            hwy::Prefetch(next + done);
        }
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
