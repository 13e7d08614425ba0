// Distances of bit strings, for vectors. Included once per instruction set.
#if defined(VISORA_VECTA_HAMMING_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_HAMMING_INL_H
#undef VISORA_VECTA_HAMMING_INL_H
#else
#define VISORA_VECTA_HAMMING_INL_H
#endif

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "cpu/hamming/visoraHamming.h"
#include "hwy/highway.h"
#include "vecta/dot/visoraTotals-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** This processor counts the bits of words of any size, others those of bytes. */
#undef VISORA_COUNTS_WORDS
#if HWY_TARGET <= HWY_AVX3_DL
#define VISORA_COUNTS_WORDS 1
#else
#define VISORA_COUNTS_WORDS 0
#endif

// ---- One query with a few vectors ----

/** Bits that differ between vectors of bytes, up to 1023 vectors of them. */
template <class D8>
class BitCounter
{
#if HWY_ARCH_ARM
    using D = hn::RepartitionToWide<D8>;
#else
    using D = hn::Repartition<uint64_t, D8>;
#endif

  public:
    HWY_INLINE BitCounter() : counts_(hn::Zero(D())) {}

    template <class V>
    HWY_INLINE void add(V differences)
    {
#if VISORA_COUNTS_WORDS
        counts_ = hn::Add(counts_, hn::PopulationCount(hn::BitCast(D(), differences)));
#elif HWY_ARCH_ARM
        counts_ = hn::Vec<D>(vpadalq_u8(counts_.raw, hn::PopulationCount(differences).raw));
#else
        counts_ = hn::Add(counts_, hn::SumsOf8(hn::PopulationCount(differences)));
#endif
    }

    /** The counts of four. */
    static HWY_INLINE hn::Vec<Four<uint32_t>> totals(const BitCounter counters[4])
    {
#if HWY_ARCH_ARM
        const Four<uint32_t> d32;
        const auto first = vpaddq_u16(counters[0].counts_.raw, counters[1].counts_.raw);
        const auto second = vpaddq_u16(counters[2].counts_.raw, counters[3].counts_.raw);
        return hn::Vec<decltype(d32)>(vpaddlq_u16(vpaddq_u16(first, second)));
#else
        // Of each block one of the counts' halves, then the other; counts fit 32 bits.
        const D d;
        const auto pairs = [&](const BitCounter& a, const BitCounter& b) HWY_ATTR
        { return hn::Add(hn::InterleaveLower(d, a.counts_, b.counts_), hn::InterleaveUpper(d, a.counts_, b.counts_)); };
        const auto sums = hn::Or(pairs(counters[0], counters[2]), hn::ShiftLeft<32>(pairs(counters[1], counters[3])));
        return sumOfBlocks(hn::Repartition<uint32_t, D>(), hn::BitCast(hn::Repartition<uint32_t, D>(), sums));
#endif
    }

  private:
    hn::Vec<D> counts_;
};

#if VISORA_COUNTS_WORDS
/** Distances of a query of 32 bytes to sixteen vectors, which lie one behind the other or at places of their own. */
template <bool kPacked, class At>
HWY_INLINE void sixteenDistances(const uint8_t* query, At at, uint32_t* distances)
{
    using Lines = hn::FixedTag<uint64_t, 8>;
    const Lines d;
    const hn::Repartition<uint8_t, Lines> d8;
    const hn::Half<decltype(d8)> half;
    const hn::Repartition<uint32_t, Lines> d32;
    using Words = hn::Vec<decltype(d32)>;
    const auto once = hn::LoadU(half, query);
    const auto twice = hn::Combine(d8, once, once);
    // Bits that differ of vectors i and i + 1.
    const auto counts = [&](size_t i) HWY_ATTR
    {
        const auto two = [&]() HWY_ATTR
        {
            if constexpr (kPacked)
            {
                return hn::LoadU(d8, at(i));
            }
            else
            {
                return hn::Combine(d8, hn::LoadU(half, at(i + 1)), hn::LoadU(half, at(i)));
            }
        };
        return hn::BitCast(d32, hn::PopulationCount(hn::BitCast(d, hn::Xor(two(), twice))));
    };
    // Of each block the even words of two vectors, or the odd ones.
    const auto evens = [](Words a, Words b) HWY_ATTR {
        return Words{
            _mm512_castps_si512(_mm512_shuffle_ps(_mm512_castsi512_ps(a.raw), _mm512_castsi512_ps(b.raw), 0x88))};
    };
    const auto odds = [](Words a, Words b) HWY_ATTR {
        return Words{
            _mm512_castps_si512(_mm512_shuffle_ps(_mm512_castsi512_ps(a.raw), _mm512_castsi512_ps(b.raw), 0xdd))};
    };
    // Vectors i and i + 2, then the ones behind them: counts are even words.
    const auto four = [&](size_t i) HWY_ATTR { return evens(counts(i), counts(i + 2)); };
    const auto first = sumsOfQuarters(d32, four(0), four(4));
    const auto second = sumsOfQuarters(d32, four(8), four(12));
    const auto sums = hn::Add(evens(first, second), odds(first, second));
    // Blocks have the sums of vectors 0 and 2, then of those eight further on.
    alignas(64) static constexpr uint32_t kOrder[16] = {0, 4, 1, 5, 8, 12, 9, 13, 2, 6, 3, 7, 10, 14, 11, 15};
    hn::StoreU(hn::TableLookupLanes(sums, hn::SetTableIndices(d32, kOrder)), d32, distances);
}
#endif

/** Distances of a query to four vectors, by vectors of at most `length` bytes. */
template <class D8>
HWY_INLINE void fourDistances(D8 d, const uint8_t* query, const uint8_t* const vectors[4], size_t length,
                              uint32_t* distances)
{
    constexpr size_t kLanes = hn::MaxLanes(D8());
    // A counter of 16 bits gets at most 16 from a vector, and four of them are added up in 16 bits.
    constexpr size_t kLongest = kLanes * 1023;
    const Four<uint32_t> d32;
    auto sums = hn::Zero(d32);
    for (size_t begin = 0; begin < length; begin += kLongest)
    {
        const size_t end = std::min(length, begin + kLongest);
        BitCounter<D8> counters[4];
        size_t x = begin;
        for (; x + kLanes <= end; x += kLanes)
        {
            const auto q = hn::LoadU(d, query + x);
            for (size_t i = 0; i < 4; ++i)
            {
                counters[i].add(hn::Xor(q, hn::LoadU(d, vectors[i] + x)));
            }
        }
        if (x < end)
        {
            // The vectors that end with the strings, but for the bytes that have been counted.
            const auto seen = hn::VecFromMask(d, hn::FirstN(d, x + kLanes - end));
            const auto q = hn::LoadU(d, query + end - kLanes);
            for (size_t i = 0; i < 4; ++i)
            {
                counters[i].add(hn::AndNot(seen, hn::Xor(q, hn::LoadU(d, vectors[i] + end - kLanes))));
            }
        }
        sums = hn::Add(sums, BitCounter<D8>::totals(counters));
    }
    hn::StoreU(sums, d32, distances);
}

/**
 * Calls put(i, distances, how many) for the vectors at(0) .. at(count - 1), in order; isPacked tells that each begins
 * where the one before it ends.
 */
template <class At, class Put>
HWY_INLINE void forDistances(const uint8_t* query, size_t length, size_t count, [[maybe_unused]] bool isPacked, At at,
                             Put put)
{
    size_t first = 0;
#if VISORA_COUNTS_WORDS
    if (length == 32)
    {
        const auto bySixteen = [&](auto packed) HWY_ATTR
        {
            for (; first + 16 <= count; first += 16)
            {
                uint32_t distances[16];
                sixteenDistances<decltype(packed)::value>(
                    query, [&](size_t i) HWY_ATTR { return at(first + i); }, distances);
                put(first, distances, 16);
            }
        };
        isPacked ? bySixteen(std::true_type()) : bySixteen(std::false_type());
    }
#endif
    const auto run = [&](auto d) HWY_ATTR
    {
        for (size_t i = first; i < count; i += 4)
        {
            // Behind the last one it stands in for those that are not there.
            const uint8_t* vectors[4];
            for (size_t k = 0; k < 4; ++k)
            {
                vectors[k] = at(std::min(i + k, count - 1));
            }
            uint32_t distances[4];
            fourDistances(d, query, vectors, length, distances);
            // Of a number that is known a copy is no call.
            if (count - i >= 4)
            {
                put(i, distances, 4);
            }
            else
            {
                put(i, distances, count - i);
            }
        }
    };
    const hn::CappedTag<uint8_t, 64> wide;
    const hn::CappedTag<uint8_t, 32> middle;
    const hn::FixedTag<uint8_t, 16> narrow;
    if (length >= hn::MaxLanes(wide))
    {
        run(wide);
    }
    else if (length >= hn::MaxLanes(middle))
    {
        run(middle);
    }
    else if (length >= hn::MaxLanes(narrow))
    {
        run(narrow);
    }
    else
    {
        for (size_t i = 0; i < count; ++i)
        {
            const uint32_t distance = hammingDistance(query, at(i), length);
            put(i, &distance, 1);
        }
    }
}

// ---- Many queries with many vectors: vectors of a set in lanes ----

using Lanes32 = hn::ScalableTag<uint32_t>;
constexpr size_t kVectorsAbreast = hn::MaxLanes(Lanes32());

/** Sums of the bytes of words. */
template <class V>
HWY_INLINE hn::Vec<Lanes32> sumsOfBytes(V bytes)
{
#if HWY_ARCH_ARM
    return hn::Vec<Lanes32>(vpaddlq_u16(vpaddlq_u8(bytes.raw)));
#else
    const Lanes32 d;
    const auto odd = hn::Set(d, 0x00ff00ffu);
    const auto words = hn::BitCast(d, bytes);
    const auto pairs = hn::Add(hn::And(words, odd), hn::And(hn::ShiftRight<8>(words), odd));
    return hn::And(hn::Add(pairs, hn::ShiftRight<16>(pairs)), hn::Set(d, 0xffffu));
#endif
}

/** Distances of a query to the vectors of a block, word(w) giving word w of the query in all lanes. */
template <class Word>
HWY_INLINE hn::Vec<Lanes32> blockDistances(const uint32_t* HWY_RESTRICT block, size_t words, Word word)
{
    const Lanes32 d;
#if VISORA_COUNTS_WORDS
    auto sum = hn::Zero(d);
    for (size_t w = 0; w < words; ++w)
    {
        sum = hn::Add(sum, hn::PopulationCount(hn::Xor(hn::Load(d, block + w * kVectorsAbreast), word(w))));
    }
    return sum;
#else
    const hn::Repartition<uint8_t, Lanes32> d8;
    // So many counts fit a byte.
    constexpr size_t kMost = 31;
    auto sum = hn::Zero(d);
    for (size_t w = 0; w < words;)
    {
        auto counts = hn::Zero(d8);
        for (const size_t end = std::min(words, w + kMost); w < end; ++w)
        {
            const auto differences = hn::Xor(hn::Load(d, block + w * kVectorsAbreast), word(w));
            counts = hn::Add(counts, hn::PopulationCount(hn::BitCast(d8, differences)));
        }
        sum = hn::Add(sum, sumsOfBytes(counts));
    }
    return sum;
#endif
}

/** Some vectors of a set, word by word: those of a block of kVectorsAbreast side by side. */
class HammingTile
{
  public:
    /** Indices within a tile have so many bits. */
    static constexpr int kIndexBits = 8;
    static constexpr size_t kMostWords = 512;

    explicit HammingTile(size_t length)
        : length_(length),
          words_((length + 3) / 4),
          capacity_(std::min(size_t{1} << kIndexBits, kWords / words_ / kVectorsAbreast * kVectorsAbreast))
    {
    }

    static bool takes(size_t length) { return length <= kMostWords * 4; }

    size_t capacity() const { return capacity_; }
    size_t words() const { return words_; }
    const uint32_t* block(size_t first) const { return data_ + first * words_; }

    void fill(const uint8_t* set, size_t stride, size_t count)
    {
        for (size_t i = 0; i < count; ++i)
        {
            uint32_t* to = data_ + i / kVectorsAbreast * kVectorsAbreast * words_ + i % kVectorsAbreast;
            copyWords(set + i * stride, [&](size_t w, uint32_t word) { to[w * kVectorsAbreast] = word; });
        }
    }

    /** Gives put(w, word) the words of a vector, the last one filled up with zeros. */
    template <class Put>
    void copyWords(const uint8_t* vector, Put put) const
    {
        for (size_t w = 0; w < length_ / 4; ++w)
        {
            uint32_t word;
            std::memcpy(&word, vector + 4 * w, 4);
            put(w, word);
        }
        if (length_ % 4 != 0)
        {
            uint32_t word = 0;
            std::memcpy(&word, vector + length_ / 4 * 4, length_ % 4);
            put(length_ / 4, word);
        }
    }

  private:
    static constexpr size_t kWords = kMostWords * 16;

    size_t length_;
    size_t words_;
    size_t capacity_;
    alignas(64) uint32_t data_[kWords];
};

/**
 * For all queries and all vectors of a set, tile by tile: keeper.begin(query, first vector of the tile), then for the
 * blocks of the tile keeper.block(distances, place in the tile, how many of them count), then keeper.end().
 */
template <class Keeper>
HWY_INLINE void matchTiles(const uint8_t* queries, size_t length, uint32_t numQueries, size_t queryStride,
                           const uint8_t* set, uint32_t numVectors, size_t setStride, Keeper& keeper)
{
    const Lanes32 d;
    HammingTile tile(length);
    const size_t words = tile.words();
    for (size_t first = 0; first < numVectors; first += tile.capacity())
    {
        const size_t count = std::min<size_t>(tile.capacity(), numVectors - first);
        tile.fill(set + first * setStride, setStride, count);
        for (uint32_t q = 0; q < numQueries; ++q)
        {
            alignas(64) uint32_t query[HammingTile::kMostWords];
            tile.copyWords(queries + q * queryStride, [&](size_t w, uint32_t word) { query[w] = word; });
            keeper.begin(q, first);
            const auto blocks = [&](size_t wordCount, auto word) HWY_ATTR
            {
                for (size_t x = 0; x < count; x += kVectorsAbreast)
                {
                    keeper.block(blockDistances(tile.block(x), wordCount, word), x,
                                 std::min(kVectorsAbreast, count - x));
                }
            };
            if (words == 8)
            {
                hn::Vec<Lanes32> all[8];
                for (size_t w = 0; w < 8; ++w)
                {
                    all[w] = hn::Set(d, query[w]);
                }
                blocks(8, [&](size_t w) HWY_ATTR { return all[w]; });
            }
            else
            {
                blocks(words, [&](size_t w) HWY_ATTR { return hn::Set(d, query[w]); });
            }
            keeper.end();
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
