// Hamming distances, vector variants. One query goes along the vectors of a set; for several, the set is turned tile by
// tile so that its vectors lie in lanes, and each query word meets many vectors at once.
#include "cpu/hamming/visoraHamming.h"
#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

// The newest processors multiply bytes and add four products, and count the bits of words, at once.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/hamming/visoraHammingV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/hamming/visoraHamming-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

HWY_INLINE vsrStatus distanceOf(const uint8_t* src1, const uint8_t* src2, size_t length, uint32_t* distance)
{
    forDistances(
        src1, length, 1, true, [&](size_t) { return src2; },
        [&](size_t, const uint32_t* found, size_t) HWY_ATTR { *distance = *found; });
    return VISORA_SUCCESS;
}

vsrStatus hamming256(const uint8_t* src1, const uint8_t* src2, uint32_t* distance)
{
    return distanceOf(src1, src2, 32, distance);
}

vsrStatus hamming512(const uint8_t* src1, const uint8_t* src2, uint32_t* distance)
{
    return distanceOf(src1, src2, 64, distance);
}

vsrStatus hammingBytes(const uint8_t* src1, const uint8_t* src2, uint32_t length, uint32_t* distance)
{
    return distanceOf(src1, src2, length, distance);
}

vsrStatus oneToMany(const uint8_t* query, uint32_t length, const uint8_t* set, uint32_t numVectors, uint32_t setStride,
                    const uint32_t* indices, uint32_t numIndices, uint32_t* distances)
{
    forDistances(
        query, length, indices ? numIndices : numVectors, !indices && setStride == length,
        [=](size_t i) { return planeRow(set, setStride, indices ? indices[i] : i); },
        [=](size_t i, const uint32_t* found, size_t count) HWY_ATTR
        { std::memcpy(distances + i, found, count * sizeof(*found)); });
    return VISORA_SUCCESS;
}

// Keepers of what matchTiles finds; one() takes the distances that are found singly.

struct MatrixKeeper
{
    uint32_t* dst;
    uint32_t dstStride;
    uint32_t* row = nullptr;

    HWY_INLINE void begin(uint32_t query, size_t first) { row = planeRow(dst, dstStride, query) + first; }
    template <class V>
    HWY_INLINE void block(V distances, size_t place, size_t count)
    {
        const Lanes32 d;
        if (count == kVectorsAbreast)
        {
            hn::StoreU(distances, d, row + place);
            return;
        }
        alignas(64) uint32_t all[kVectorsAbreast];
        hn::Store(distances, d, all);
        std::memcpy(row + place, all, count * sizeof(*all));
    }
    HWY_INLINE void end() {}
    HWY_INLINE void one(uint32_t query, size_t index, uint32_t distance)
    {
        planeRow(dst, dstStride, query)[index] = distance;
    }
};

// Keys are distances above places in the tile, so that the least key is the nearest vector.
template <class V>
HWY_INLINE V keysOf(V distances, size_t place, size_t count)
{
    const Lanes32 d;
    const auto keys =
        hn::Add(hn::ShiftLeft<HammingTile::kIndexBits>(distances), hn::Iota(d, static_cast<uint32_t>(place)));
    return count == kVectorsAbreast ? keys : hn::IfThenElse(hn::FirstN(d, count), keys, hn::Set(d, UINT32_MAX));
}

template <size_t kept, bool mutual = false>
struct NearestKeeper
{
    uint32_t* indices;
    uint32_t* distances;
    NearestQueries* nearestQueries = nullptr;
    uint32_t query = 0;
    size_t first = 0;
    hn::Vec<Lanes32> least = hn::Undefined(Lanes32());
    hn::Vec<Lanes32> next = hn::Undefined(Lanes32());

    HWY_INLINE NearestKeeper(uint32_t* foundIndices, uint32_t* foundDistances, uint32_t numQueries,
                             NearestQueries* queries = nullptr)
        : indices(foundIndices), distances(foundDistances), nearestQueries(queries)
    {
        for (uint32_t q = 0; q < numQueries; ++q)
        {
            of(q).clear();
        }
    }

    HWY_INLINE NearestVectors<kept> of(uint32_t q) { return {indices + kept * q, distances + kept * q}; }

    HWY_INLINE void begin(uint32_t q, size_t firstOfTile)
    {
        query = q;
        first = firstOfTile;
        least = next = hn::Set(Lanes32(), UINT32_MAX);
    }

    template <class V>
    HWY_INLINE void block(V found, size_t place, size_t count)
    {
        const auto keys = keysOf(found, place, count);
        if constexpr (kept > 1)
        {
            next = hn::Min(next, hn::Max(least, keys));
        }
        least = hn::Min(least, keys);
        if constexpr (mutual)
        {
            const Lanes32 d;
            // The lists have room for whole blocks.
            uint32_t* best = nearestQueries->distances + first + place;
            uint32_t* bestQuery = nearestQueries->queries + first + place;
            const auto before = hn::LoadU(d, best);
            const auto isNearer = hn::Lt(found, before);
            hn::StoreU(hn::Min(found, before), d, best);
            hn::StoreU(hn::IfThenElse(isNearer, hn::Set(d, query), hn::LoadU(d, bestQuery)), d, bestQuery);
        }
    }

    HWY_INLINE void end()
    {
        const Lanes32 d;
        const uint32_t key = hn::GetLane(hn::MinOfLanes(d, least));
        put(key);
        if constexpr (kept > 1)
        {
            // The next in the lane of the nearest takes its place.
            const auto others = hn::IfThenElse(hn::Eq(least, hn::Set(d, key)), next, least);
            put(hn::GetLane(hn::MinOfLanes(d, others)));
        }
    }

    HWY_INLINE void one(uint32_t q, size_t index, uint32_t distance)
    {
        of(q).add(static_cast<uint32_t>(index), distance);
        if constexpr (mutual)
        {
            nearestQueries->add(q, index, distance);
        }
    }

  private:
    HWY_INLINE void put(uint32_t key)
    {
        if (key != UINT32_MAX)
        {
            constexpr uint32_t kPlaces = (1u << HammingTile::kIndexBits) - 1;
            of(query).add(static_cast<uint32_t>(first + (key & kPlaces)), key >> HammingTile::kIndexBits);
        }
    }
};

struct WithinKeeper
{
    uint32_t maxDistance;
    uint32_t* indices;
    uint32_t capacity;
    uint32_t* counts;
    uint32_t query = 0;
    size_t first = 0;

    HWY_INLINE void begin(uint32_t q, size_t firstOfTile)
    {
        query = q;
        first = firstOfTile;
    }

    template <class V>
    HWY_INLINE void block(V found, size_t place, size_t count)
    {
        const Lanes32 d;
        const auto isWithin = hn::Eq(hn::Min(found, hn::Set(d, maxDistance)), found);
        if (hn::AllFalse(d, isWithin)) [[likely]]
        {
            return;
        }
        uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, isWithin, bytes);
        for (size_t i = 0; i < count; ++i)
        {
            if ((bytes[i / 8] >> (i % 8) & 1) != 0)
            {
                put(query, first + place + i);
            }
        }
    }

    HWY_INLINE void end() {}

    HWY_INLINE void one(uint32_t q, size_t index, uint32_t distance)
    {
        if (distance <= maxDistance)
        {
            put(q, index);
        }
    }

  private:
    HWY_INLINE void put(uint32_t q, size_t index)
    {
        if (counts[q] < capacity)
        {
            indices[size_t{q} * capacity + counts[q]++] = static_cast<uint32_t>(index);
        }
    }
};

template <class Keeper>
HWY_INLINE vsrStatus matchAll(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                              const uint8_t* set, uint32_t numVectors, uint32_t setStride, Keeper keeper)
{
    // Turning a set costs about as much as a few queries.
    constexpr uint32_t kFewQueries = 4;
    if (numQueries >= kFewQueries && HammingTile::takes(length))
    {
        matchTiles(queries, length, numQueries, queryStride, set, numVectors, setStride, keeper);
        return VISORA_SUCCESS;
    }
    for (uint32_t q = 0; q < numQueries; ++q)
    {
        forDistances(
            planeRow(queries, queryStride, q), length, numVectors, setStride == length,
            [&](size_t i) { return planeRow(set, setStride, i); },
            [&](size_t i, const uint32_t* distances, size_t count) HWY_ATTR
            {
                for (size_t k = 0; k < count; ++k)
                {
                    keeper.one(q, i + k, distances[k]);
                }
            });
    }
    return VISORA_SUCCESS;
}

vsrStatus matrix(const uint8_t* src1, uint32_t length, uint32_t numVectors1, uint32_t src1Stride, const uint8_t* src2,
                 uint32_t numVectors2, uint32_t src2Stride, uint32_t* dst, uint32_t dstStride)
{
    return matchAll(src1, length, numVectors1, src1Stride, src2, numVectors2, src2Stride, MatrixKeeper{dst, dstStride});
}

vsrStatus nearest(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                  const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t mutual, uint32_t* indices,
                  uint32_t* distances)
{
    if (!mutual)
    {
        return matchAll(queries, length, numQueries, queryStride, set, numVectors, setStride,
                        NearestKeeper<1>(indices, distances, numQueries));
    }
    const size_t room = (numVectors + kVectorsAbreast - 1) / kVectorsAbreast * kVectorsAbreast;
    const Scratch scratch(NearestQueries::bytes(room));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    NearestQueries nearestQueries(scratch.as<uint32_t>(), room);
    matchAll(queries, length, numQueries, queryStride, set, numVectors, setStride,
             NearestKeeper<1, true>(indices, distances, numQueries, &nearestQueries));
    nearestQueries.filter(numQueries, indices, distances);
    return VISORA_SUCCESS;
}

vsrStatus nearest2(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride,
                   const uint8_t* set, uint32_t numVectors, uint32_t setStride, uint32_t* indices, uint32_t* distances)
{
    return matchAll(queries, length, numQueries, queryStride, set, numVectors, setStride,
                    NearestKeeper<2>(indices, distances, numQueries));
}

vsrStatus within(const uint8_t* queries, uint32_t length, uint32_t numQueries, uint32_t queryStride, const uint8_t* set,
                 uint32_t numVectors, uint32_t setStride, uint32_t maxDistance, uint32_t* indices, uint32_t capacity,
                 uint32_t* counts)
{
    std::fill_n(counts, numQueries, 0u);
    return matchAll(queries, length, numQueries, queryStride, set, numVectors, setStride,
                    WithinKeeper{maxDistance, indices, capacity, counts});
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrHammingBits256u8, hamming256);
VSR_VECTOR(vsrHammingBits512u8, hamming512);
VSR_VECTOR(vsrHammingBytesu8, hammingBytes);
VSR_VECTOR(vsrHammingOneToManyu8, oneToMany);
VSR_VECTOR(vsrHammingMatrixu8, matrix);
VSR_VECTOR(vsrHammingNearestu8, nearest);
VSR_VECTOR(vsrHammingNearest2u8, nearest2);
VSR_VECTOR(vsrHammingWithinu8, within);
#endif
