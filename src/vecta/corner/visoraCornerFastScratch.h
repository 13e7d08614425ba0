// Working memory of the vector corner detectors, the same for every instruction set.
#ifndef VISORA_VECTA_FAST_SCRATCH_H
#define VISORA_VECTA_FAST_SCRATCH_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "cpu/corner/visoraCornerFast.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** Corners among the pixels of a vector: bit i is that of column start + i. No corner is in two vectors. */
struct Corners
{
    uint64_t bits;
    size_t start;
};

/** What is known of a row. */
struct FastRow
{
    /** By how much each column's corner exceeds the threshold, 0 where there is none. */
    uint8_t* excess;
    /** The vectors that have corners, in order. */
    Corners* found;
    size_t foundCount;
};

/** Keeps the first `room` corners of a row and returns how many are left. */
inline uint64_t keepFirst(FastRow& row, uint64_t room)
{
    uint64_t count = 0;
    for (size_t i = 0; i < row.foundCount; ++i)
    {
        count += static_cast<uint64_t>(std::popcount(row.found[i].bits));
    }
    for (size_t i = row.foundCount; count > room; --count)
    {
        while (row.found[i - 1].bits == 0)
        {
            --i;
        }
        Corners& last = row.found[i - 1];
        const uint64_t rightmost = std::bit_floor(last.bits);
        last.bits ^= rightmost;
        row.excess[last.start + static_cast<size_t>(std::countr_zero(rightmost))] = 0;
    }
    return count;
}

/** Room for some rows, and for one list of vectors. Borrowed; there may be none. */
class FastScratch
{
  public:
    static constexpr size_t kRows = 3;

    explicit FastScratch(const FastSearch& search)
        : memory_(vectorsOf(search) * (kRows * sizeof(Corners) + sizeof(uint32_t)) + kRows * search.width,
                  alignof(Corners))
    {
        auto* const corners = memory_.as<Corners>();
        if (!corners)
        {
            return;
        }
        const size_t vectors = vectorsOf(search);
        candidates_ = reinterpret_cast<uint32_t*>(corners + kRows * vectors);
        auto* lines = reinterpret_cast<uint8_t*>(candidates_ + vectors);
        std::fill_n(lines, kRows * search.width, uint8_t{0});
        for (size_t i = 0; i < kRows; ++i)
        {
            rows_[i] = {lines + i * search.width, corners + i * vectors, 0};
        }
    }

    explicit operator bool() const { return memory_.data() != nullptr; }

    /** A row without corners. */
    FastRow row(size_t i) const { return rows_[i]; }
    uint32_t* candidates() const { return candidates_; }

  private:
    // As many as there are of the narrowest vectors, and one for an entry that is written but not kept.
    static size_t vectorsOf(const FastSearch& search) { return size_t{search.width} / 16 + 2; }

    Scratch memory_;
    FastRow rows_[kRows] = {};
    uint32_t* candidates_ = nullptr;
};

}  // namespace visora

#endif
