// Blocks of histograms of oriented gradients, vector variants: the votes of a row's pixels first, lanes being pixels;
// windows' scores four at once, which share the weights.
#include "cpu/descriptor/visoraHog.h"
#include "cpu/visoraScratch.h"
#include "vecta/visoraExport.h"
#include "visora/variants/corner.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/descriptor/visoraHogV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/descriptor/visoraDirection-inl.h"
#include "vecta/dot/visoraDot-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** The votes of a row of pixels: its bins, and what goes to them and to the next ones. */
struct VoteRow
{
    uint32_t* bins;
    uint32_t* low;
    uint32_t* high;

    template <class V>
    HWY_INLINE void put(size_t x, V dx, V dy, const HogSetup& setup) const
    {
        const Samples d;
        const hn::RebindToSigned<Samples> d32;
        const hn::RebindToUnsigned<Samples> dU;
        const auto set = [&](float v) HWY_ATTR { return hn::Set(d, v); };
        const auto rounded = [&](auto v) HWY_ATTR { return hn::ConvertTo(d32, hn::Floor(hn::Add(v, set(0.5f)))); };
        const auto length = hn::Sqrt(hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy)));
        const auto m = rounded(hn::Mul(length, set(16)));
        auto o = directionsOf(dx, dy);
        if (!setup.isSigned)
        {
            o = hn::IfThenElse(hn::Ge(o, set(4)), hn::Sub(o, set(4)), o);
        }
        const auto scale = set(static_cast<float>((setup.isSigned ? 32 : 64) * setup.bins));
        auto t = hn::Sub(rounded(hn::Mul(o, scale)), hn::Set(d32, 128));
        const auto whole = hn::Set(d32, static_cast<int32_t>(256 * setup.bins));
        t = hn::IfThenElse(hn::Lt(t, hn::Zero(d32)), hn::Add(t, whole), t);
        const auto share = hn::And(t, hn::Set(d32, 255));
        const auto hi = hn::ShiftRight<8>(hn::Add(hn::Mul(m, share), hn::Set(d32, 128)));
        hn::Store(hn::BitCast(dU, hn::ShiftRight<8>(t)), dU, bins + x);
        hn::Store(hn::BitCast(dU, hn::Sub(m, hi)), dU, low + x);
        hn::Store(hn::BitCast(dU, hi), dU, high + x);
    }

    HWY_INLINE void find(const uint8_t* row, const uint8_t* above, const uint8_t* below, size_t width, size_t count,
                         const HogSetup& setup) const
    {
        const Samples d;
        const hn::RebindToSigned<Samples> d32;
        const hn::Rebind<uint8_t, Samples> d8;
        const auto floats = [&](const uint8_t* from) HWY_ATTR
        { return hn::ConvertTo(d, hn::PromoteTo(d32, hn::LoadU(d8, from))); };
        for (size_t x = 0; x < count; x += kSampleLanes)
        {
            if (x > 0 && x + kSampleLanes < width)
            {
                put(x, hn::Sub(floats(row + x + 1), floats(row + x - 1)), hn::Sub(floats(below + x), floats(above + x)),
                    setup);
                continue;
            }
            alignas(64) float dx[kSampleLanes] = {};
            alignas(64) float dy[kSampleLanes] = {};
            for (size_t i = 0; i < kSampleLanes && x + i < width; ++i)
            {
                const size_t at = x + i;
                dx[i] = static_cast<float>(row[at + 1 < width ? at + 1 : at] - row[at > 0 ? at - 1 : 0]);
                dy[i] = static_cast<float>(below[at] - above[at]);
            }
            put(x, hn::Load(d, dx), hn::Load(d, dy), setup);
        }
    }
};

HWY_INLINE void scaleBlock(float* v, size_t length, uint16_t* features)
{
    using Sum = FloatSums<Product>;
    const Samples d;
    const hn::RebindToSigned<Samples> d32;
    const hn::Rebind<uint16_t, Samples> d16;
    const float n = sumWithOne<Sum>(v, v, length);
    if (n == 0)
    {
        std::fill_n(features, length, uint16_t{0});
        return;
    }
    // There is room behind the block, for what is written to it in vain.
    const auto k1 = hn::Set(d, 1 / (std::sqrt(n) + static_cast<float>(length) * 1.6f));
    for (size_t i = 0; i < length; i += kSampleLanes)
    {
        hn::Store(hn::Min(hn::Mul(hn::Load(d, v + i), k1), hn::Set(d, 0.2f)), d, v + i);
    }
    const auto k2 = hn::Set(d, 1 / (std::sqrt(sumWithOne<Sum>(v, v, length)) + 0.001f));
    for (size_t i = 0; i < length; i += kSampleLanes)
    {
        const auto scaled = hn::Mul(hn::Mul(hn::Load(d, v + i), k2), hn::Set(d, 32768.0f));
        const auto rounded = hn::DemoteTo(d16, hn::ConvertTo(d32, hn::Floor(hn::Add(scaled, hn::Set(d, 0.5f)))));
        if (i + kSampleLanes <= length)
        {
            hn::StoreU(rounded, d16, features + i);
            continue;
        }
        alignas(64) uint16_t some[kSampleLanes];
        hn::Store(rounded, d16, some);
        std::memcpy(features + i, some, (length - i) * sizeof(*some));
    }
}

vsrStatus extractHog(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint64_t handle,
                     uint16_t* dst, uint32_t dstStride)
{
    const HogSetup& setup = HogSetup::of(handle);
    const size_t cellsX = srcWidth / setup.cellSize;
    const size_t cellsY = srcHeight / setup.cellSize;
    const size_t bins = setup.bins;
    const size_t cellWords = (cellsX * cellsY * bins + 15) / 16 * 16;
    const size_t columns = cellsX * setup.cellSize;
    const size_t padded = (columns + 31) / 16 * 16;
    const Scratch scratch((cellWords + 3 * padded) * sizeof(uint32_t));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    auto* cells = scratch.as<uint32_t>();
    std::fill_n(cells, cellWords, 0u);
    const VoteRow votes = {cells + cellWords, cells + cellWords + padded, cells + cellWords + 2 * padded};
    for (size_t y = 0; y < cellsY * setup.cellSize; ++y)
    {
        votes.find(planeRow(src, srcStride, y), planeRow(src, srcStride, y > 0 ? y - 1 : 0),
                   planeRow(src, srcStride, y + 1 < srcHeight ? y + 1 : y), srcWidth, columns, setup);
        uint32_t* cell = cells + y / setup.cellSize * cellsX * bins;
        size_t x = 0;
        for (size_t cx = 0; cx < cellsX; ++cx, cell += bins)
        {
            for (const size_t end = x + setup.cellSize; x < end; ++x)
            {
                const uint32_t bin = votes.bins[x];
                cell[bin] += votes.low[x];
                cell[bin + 1 == bins ? 0 : bin + 1] += votes.high[x];
            }
        }
    }
    const size_t length = setup.blockLength();
    const size_t cellRow = setup.blockCells * bins;
    for (size_t by = 0; by < setup.blocks(srcHeight); ++by)
    {
        uint16_t* to = planeRow(dst, dstStride, by);
        for (size_t bx = 0; bx < setup.blocks(srcWidth); ++bx)
        {
            alignas(64) float v[16 * 32 + 16] = {};
            for (size_t row = 0; row < setup.blockCells; ++row)
            {
                // The cells of a row of the block lie side by side.
                const uint32_t* from = cells + ((by * setup.blockStep + row) * cellsX + bx * setup.blockStep) * bins;
                for (size_t i = 0; i < cellRow; ++i)
                {
                    v[row * cellRow + i] = static_cast<float>(static_cast<int32_t>(from[i]));
                }
            }
            scaleBlock(v, length, to + bx * length);
        }
    }
    return VISORA_SUCCESS;
}

// ---- Scores of windows ----

/** Adds sixteen features times weights. */
HWY_INLINE void addFeatures(FloatSums<Product>::Sums& sums, const uint16_t* features,
                            const FloatSums<Product>::Operand& weights)
{
    const FloatLanes d;
    const hn::RebindToSigned<FloatLanes> d32;
    const hn::Rebind<uint16_t, FloatLanes> d16;
    for (size_t i = 0; i < kFloatVectors; ++i)
    {
        const auto wide = hn::PromoteTo(d32, hn::LoadU(d16, features + i * hn::MaxLanes(FloatLanes())));
        sums.parts[i] = hn::Add(sums.parts[i], hn::Mul(hn::ConvertTo(d, wide), weights.parts[i]));
    }
}

vsrStatus windowScores(const uint16_t* features, uint32_t gridWidth, uint32_t gridHeight, uint32_t gridStride,
                       uint32_t blockLength, const float* weights, uint32_t windowWidth, uint32_t windowHeight,
                       uint32_t stepX, uint32_t stepY, float bias, float* dst, uint32_t dstStride)
{
    using Sum = FloatSums<Product>;
    const size_t rowLength = size_t{windowWidth} * blockLength;
    const size_t step = size_t{stepX} * blockLength;
    const size_t columns = (gridWidth - windowWidth) / stepX + 1;
    const Four<float> four;
    for (size_t y = 0; y * stepY + windowHeight <= gridHeight; ++y)
    {
        float* scores = planeRow(dst, dstStride, y);
        for (size_t x = 0; x < columns; x += 4)
        {
            // Behind the last window it stands in for those that are not there.
            size_t at[4];
            Sum::Sums sums[4];
            for (size_t k = 0; k < 4; ++k)
            {
                at[k] = std::min(x + k, columns - 1) * step;
                sums[k] = Sum::zero();
            }
            for (size_t row = 0; row < windowHeight; ++row)
            {
                const uint16_t* from = planeRow(features, gridStride, y * stepY + row);
                const float* rowWeights = weights + row * rowLength;
                size_t i = 0;
                for (; i + 16 <= rowLength; i += 16)
                {
                    const Sum::Operand w = Sum::load(rowWeights + i);
                    for (size_t k = 0; k < 4; ++k)
                    {
                        addFeatures(sums[k], from + at[k] + i, w);
                    }
                }
                if (i < rowLength)
                {
                    const Sum::Operand w = Sum::rest(rowWeights, i, rowLength);
                    for (size_t k = 0; k < 4; ++k)
                    {
                        alignas(64) uint16_t rest[16] = {};
                        std::memcpy(rest, from + at[k] + i, (rowLength - i) * sizeof(*rest));
                        addFeatures(sums[k], rest, w);
                    }
                }
            }
            const auto totals =
                fourTotals(four, Sum::fold(sums[0]), Sum::fold(sums[1]), Sum::fold(sums[2]), Sum::fold(sums[3]));
            alignas(16) float all[4];
            hn::Store(withOneNan(four, hn::Add(totals, hn::Set(four, bias))), four, all);
            std::memcpy(scores + x, all, std::min<size_t>(4, columns - x) * sizeof(float));
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
VSR_VECTOR(vsrExtractHOGu16, extractHog);
VSR_VECTOR(vsrHOGWindowScoreu16f32, windowScores);
#endif
