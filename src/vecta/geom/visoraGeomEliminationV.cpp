// Linear equations and inverses, vector variants. Every element sees the same products in the same order as in the
// reference, but many of them one after the other while it is in a register: columns are eliminated in panels, and what
// is right of a panel follows in tiles.
#include <algorithm>
#include <type_traits>

#include "cpu/geom/visoraGeomElimination.h"
#include "visora/variants/geom.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/geom/visoraGeomEliminationV.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Lanes = hn::CappedTag<float, 16>;
using Floats = hn::Vec<Lanes>;

constexpr size_t kUnit = 16;   // columns of a panel; rows are padded to a multiple
constexpr size_t kSteps = 64;  // of elimination that a tile sees at a time
constexpr size_t kLanes = hn::MaxLanes(Lanes());
constexpr size_t kTileVectors = std::max<size_t>(2, kUnit / kLanes);
constexpr size_t kTileColumns = kTileVectors * kLanes;
constexpr size_t kTileRows = HWY_ARCH_ARM_A64 ? 4 : kLanes / 2;  // as many as registers hold

// A tile's elements less factor times row, step by step. Tile and factors are parts of the same rows.
template <size_t rowCount, size_t vectorCount>
HWY_INLINE void subtractSteps(float* tile, const float* factors, size_t stride, const float* rows, size_t rowStride,
                              size_t steps)
{
    const Lanes d;
    Floats sums[rowCount][vectorCount];
    for (size_t r = 0; r < rowCount; ++r)
    {
        for (size_t v = 0; v < vectorCount; ++v)
        {
            sums[r][v] = hn::LoadU(d, tile + r * stride + v * kLanes);
        }
    }
    for (size_t k = 0; k < steps; ++k, rows += rowStride)
    {
        Floats row[vectorCount];
        for (size_t v = 0; v < vectorCount; ++v)
        {
            row[v] = hn::LoadU(d, rows + v * kLanes);
        }
        for (size_t r = 0; r < rowCount; ++r)
        {
            const Floats factor = hn::Set(d, factors[r * stride + k]);
            for (size_t v = 0; v < vectorCount; ++v)
            {
                sums[r][v] = hn::Sub(sums[r][v], hn::Mul(factor, row[v]));
            }
        }
    }
    for (size_t r = 0; r < rowCount; ++r)
    {
        for (size_t v = 0; v < vectorCount; ++v)
        {
            hn::StoreU(sums[r][v], d, tile + r * stride + v * kLanes);
        }
    }
}

template <size_t vectorCount>
HWY_INLINE void subtractFromRows(float* tile, const float* factors, size_t stride, size_t rowCount, const float* rows,
                                 size_t rowStride, size_t steps)
{
    size_t i = 0;
    for (; i + kTileRows <= rowCount; i += kTileRows)
    {
        subtractSteps<kTileRows, vectorCount>(tile + i * stride, factors + i * stride, stride, rows, rowStride, steps);
    }
    for (; i < rowCount; ++i)
    {
        subtractSteps<1, vectorCount>(tile + i * stride, factors + i * stride, stride, rows, rowStride, steps);
    }
}

/** Calls body(vectors, column) for tiles that cover columns `begin` to `end`, multiples of kUnit. */
template <class Body>
HWY_INLINE void forTiles(size_t begin, size_t end, Body body)
{
    for (; begin + kTileColumns <= end; begin += kTileColumns)
    {
        body(std::integral_constant<size_t, kTileVectors>(), begin);
    }
    if constexpr (kTileColumns > kUnit)
    {
        if (begin < end)
        {
            body(std::integral_constant<size_t, kUnit / kLanes>(), begin);
        }
    }
}

/**
 * Takes factor times the upper row from rows `from` to `to` of a panel, in columns `first` and later. The factor,
 * column first - 1 times `scale`, stays there. Returns the first row with the greatest magnitude in column `first`.
 */
template <size_t vectorCount>
HWY_INLINE size_t eliminateColumn(float* panel, size_t stride, size_t from, size_t to, const float* upper, size_t first,
                                  float scale)
{
    const Lanes d;
    constexpr size_t kBegin = kUnit - vectorCount * kLanes;
    const auto stays = hn::FirstN(d, first - kBegin);
    Floats above[vectorCount];
    for (size_t v = 0; v < vectorCount; ++v)
    {
        above[v] = hn::LoadU(d, upper + kBegin + v * kLanes);
    }
    const auto eliminate = [&](float* row) HWY_ATTR
    {
        const float factor = row[first - 1] * scale;
        for (size_t v = 0; v < vectorCount; ++v)
        {
            float* const at = row + kBegin + v * kLanes;
            const Floats old = hn::LoadU(d, at);
            const Floats changed = hn::Sub(old, hn::Mul(hn::Set(d, factor), above[v]));
            hn::StoreU(v == 0 ? hn::IfThenElse(stays, old, changed) : changed, d, at);
        }
        row[first - 1] = factor;
        return std::fabs(row[first]);
    };
    size_t pivot = from;
    if (from < to)
    {
        float greatest = eliminate(panel + from * stride);
        for (size_t i = from + 1; i < to; ++i)
        {
            const float magnitude = eliminate(panel + i * stride);
            pivot = magnitude > greatest ? i : pivot;
            greatest = magnitude > greatest ? magnitude : greatest;
        }
    }
    return pivot;
}

HWY_INLINE size_t eliminateFrom(float* panel, size_t stride, size_t from, size_t to, const float* upper, size_t first,
                                float scale)
{
    const auto byVectors = [=](auto vectors) HWY_ATTR
    { return eliminateColumn<vectors>(panel, stride, from, to, upper, first, scale); };
    const size_t vectors = (kUnit - first + kLanes - 1) / kLanes;
    if constexpr (kUnit > 2 * kLanes)
    {
        if (vectors > 2)
        {
            return vectors == 3 ? byVectors(std::integral_constant<size_t, 3>())
                                : byVectors(std::integral_constant<size_t, 4>());
        }
    }
    if constexpr (kUnit > kLanes)
    {
        if (vectors == 2)
        {
            return byVectors(std::integral_constant<size_t, 2>());
        }
    }
    return byVectors(std::integral_constant<size_t, 1>());
}

// ---- LU ----

/** Below the diagonal the factors come to stand, on it the inverses of the pivots. */
class TriangularFactors
{
  public:
    TriangularFactors(const Equations& rows, size_t n) : rows_(rows), n_(n) {}

    /** Columns `begin` to `end`, multiples of kUnit. False when a pivot is 0. */
    bool factor(size_t begin, size_t end) const
    {
        if (end - begin == kUnit)
        {
            return factorPanel(begin);
        }
        const size_t middle = begin + (end - begin) / kUnit / 2 * kUnit;
        if (!factor(begin, middle))
        {
            return false;
        }
        for (size_t k = begin; k < middle; k += kSteps)
        {
            eliminate(k, std::min(k + kSteps, middle), middle, end);
        }
        return factor(middle, end);
    }

  private:
    bool factorPanel(size_t begin) const
    {
        const size_t end = std::min(begin + kUnit, n_);
        size_t pivot = begin < end ? rows_.findPivot(begin, n_) : 0;
        for (size_t k = begin; k < end; ++k)
        {
            if (!rows_.usePivot(k, pivot))
            {
                return false;
            }
            const float inverse = 1 / rows_[k][k];
            if (k + 1 < begin + kUnit)
            {
                pivot =
                    eliminateFrom(rows_[0] + begin, rows_.width(), k + 1, n_, rows_[k] + begin, k + 1 - begin, inverse);
            }
            else
            {
                for (size_t i = k + 1; i < n_; ++i)
                {
                    rows_[i][k] *= inverse;
                }
            }
            rows_[k][k] = inverse;
        }
        return true;
    }

    // What the eliminated columns `from` to `to` mean for columns `begin` to `end`.
    void eliminate(size_t from, size_t to, size_t begin, size_t end) const
    {
        const size_t stride = rows_.width();
        const size_t last = std::min(to, n_);
        forTiles(begin, end,
                 [&](auto vectors, size_t column) HWY_ATTR
                 {
                     constexpr size_t kVectors = vectors;
                     const float* const upper = rows_[from] + column;
                     for (size_t first = from; first < last; first += kTileRows)
                     {
                         const size_t rowCount = std::min(kTileRows, last - first);
                         subtractFromRows<kVectors>(rows_[first] + column, rows_[first] + from, stride, rowCount, upper,
                                                    stride, first - from);
                         for (size_t i = first + 1; i < first + rowCount; ++i)
                         {
                             subtractSteps<1, kVectors>(rows_[i] + column, rows_[i] + first, stride,
                                                        rows_[first] + column, stride, i - first);
                         }
                     }
                     if (last < n_)
                     {
                         subtractFromRows<kVectors>(rows_[last] + column, rows_[last] + from, stride, n_ - last, upper,
                                                    stride, last - from);
                     }
                 });
    }

    const Equations& rows_;
    size_t n_;
};

vsrStatus solveByLU(const float* A, uint32_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, n, n, stride, 1, kUnit);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    rows.setRight(n, n, b);
    if (!TriangularFactors(rows, n).factor(0, rows.width()))
    {
        return VISORA_EFAIL;
    }
    substituteBack(rows, n, x, [&](float sum, size_t i) { return sum * rows[i][i]; });
    return VISORA_SUCCESS;
}

// ---- QR ----

constexpr size_t kPanelVectors = 4;
constexpr size_t kPanelColumns = kPanelVectors * kLanes;

/** A reflection: row i counts from the first one that it changes. */
struct Reflector
{
    const float* v;
    float beta;
    size_t rowCount;
};

// Reflects columns of rows. `next` gets one of them, without the first row; returned is the sum of its squares.
template <size_t vectorCount>
HWY_INLINE float reflectColumns(const Reflector& by, float* rows, size_t stride, const float* column, float* next)
{
    const Lanes d;
    Floats sums[vectorCount];
    for (Floats& sum : sums)
    {
        sum = hn::Zero(d);
    }
    for (size_t i = 0; i < by.rowCount; ++i)
    {
        const Floats factor = hn::Set(d, by.v[i]);
        for (size_t v = 0; v < vectorCount; ++v)
        {
            sums[v] = hn::Add(sums[v], hn::Mul(factor, hn::LoadU(d, rows + i * stride + v * kLanes)));
        }
    }
    for (Floats& sum : sums)
    {
        sum = hn::Mul(sum, hn::Set(d, by.beta));
    }
    float square = 0;
    for (size_t i = 0; i < by.rowCount; ++i)
    {
        const Floats factor = hn::Set(d, by.v[i]);
        for (size_t v = 0; v < vectorCount; ++v)
        {
            float* const at = rows + i * stride + v * kLanes;
            hn::StoreU(hn::Sub(hn::LoadU(d, at), hn::Mul(factor, sums[v])), d, at);
        }
        if (next && i > 0)
        {
            const float element = column[i * stride];
            next[i - 1] = element;
            square += element * element;
        }
    }
    return square;
}

/** Columns of a panel, as many as whole vectors hold, all before the first of which may be overwritten. */
HWY_INLINE float reflect(const Reflector& by, float* end, size_t stride, size_t columns, const float* column,
                         float* next)
{
    switch ((columns + kLanes - 1) / kLanes)
    {
        case 1:
            return reflectColumns<1>(by, end - kLanes, stride, column, next);
        case 2:
            return reflectColumns<2>(by, end - 2 * kLanes, stride, column, next);
        case 3:
            return reflectColumns<3>(by, end - 3 * kLanes, stride, column, next);
        default:
            return reflectColumns<4>(by, end - 4 * kLanes, stride, column, next);
    }
}

// A panel sees all reflections of those before it, and then its own. What has become 0 is not kept.
vsrStatus solveByQR(const float* A, uint32_t rowCount, uint32_t n, uint32_t stride, const float* b, float* x)
{
    const Equations rows(A, rowCount, n, stride, 1, kUnit, Equations::Padding::Left);
    const Scratch scratch((size_t{rowCount} + 2) * n * sizeof(float));
    if (!rows || !scratch.data())
    {
        return VISORA_ENOMEM;
    }
    rows.setRight(rowCount, n, b);
    float* const diagonal = scratch.as<float>();
    float* const betas = diagonal + n;
    float* const vectors = betas + n;
    const auto vectorOf = [=](size_t k) { return vectors + k * rowCount; };
    const auto reflector = [=](size_t k) { return Reflector{vectorOf(k), betas[k], rowCount - k}; };

    const size_t width = size_t{n} + 1;
    size_t begin = 0;
    for (size_t end = (width - 1) % kPanelColumns + 1; end <= width; begin = end, end += kPanelColumns)
    {
        for (size_t k = 0; k < begin; ++k)
        {
            reflect(reflector(k), rows[k] + end, rows.width(), end - begin, nullptr, nullptr);
        }
        float square = 0;
        for (size_t k = begin; k < std::min<size_t>(end, n); ++k)
        {
            float* const v = vectorOf(k);
            if (k == begin)
            {
                for (size_t i = k; i < rowCount; ++i)
                {
                    v[i - k] = rows[i][k];
                    square += v[i - k] * v[i - k];
                }
            }
            const float length = std::sqrt(square);
            if (!(length > 0))
            {
                return VISORA_EFAIL;
            }
            const float p = v[0];
            betas[k] = 1 / (length * (length + std::fabs(p)));
            diagonal[k] = p > 0 ? -length : length;
            v[0] = p - diagonal[k];
            if (k + 1 < end)
            {
                square = reflect(reflector(k), rows[k] + end, rows.width(), end - (k + 1), rows[k] + k + 1,
                                 k + 1 < n ? vectorOf(k + 1) : nullptr);
            }
        }
    }
    substituteBack(rows, n, x, [=](float sum, size_t i) { return sum / diagonal[i]; });
    return VISORA_SUCCESS;
}

// ---- Inverse ----

/** Eliminates kUnit columns from `begin` on, above the diagonal too. */
class InversionPanel
{
  public:
    InversionPanel(const Equations& rows, size_t n, size_t begin)
        : rows_(rows), n_(n), begin_(begin), count_(std::min(kUnit, n - begin))
    {
    }

    /** The columns themselves, whose factors stay. False when a pivot is 0. */
    bool factor()
    {
        size_t pivot = rows_.findPivot(begin_, n_);
        for (size_t step = 0; step < count_; ++step)
        {
            const size_t k = begin_ + step;
            if (!rows_.usePivot(k, pivot))
            {
                return false;
            }
            float* const upper = rows_[k] + begin_;
            inverses_[step] = 1 / rows_[k][k];
            std::transform(upper + step + 1, upper + kUnit, upper + step + 1,
                           [=, this](float v) { return v * inverses_[step]; });
            if (step + 1 < kUnit)
            {
                float* const panel = rows_[0] + begin_;
                eliminateFrom(panel, rows_.width(), 0, k, upper, step + 1, 1);
                pivot = eliminateFrom(panel, rows_.width(), k + 1, n_, upper, step + 1, 1);
            }
        }
        return true;
    }

    /** The columns that follow. */
    void eliminate() const
    {
        const size_t stride = rows_.width();
        forTiles(begin_ + kUnit, stride,
                 [&](auto vectors, size_t column) HWY_ATTR
                 {
                     constexpr size_t kVectors = vectors;
                     // The panel's rows as they are when their turn is.
                     HWY_ALIGN float upper[kUnit][kTileColumns];
                     for (size_t r = 0; r < count_; ++r)
                     {
                         float* const row = rows_[begin_ + r] + column;
                         subtractSteps<1, kVectors>(row, rows_[begin_ + r] + begin_, stride, upper[0], kTileColumns, r);
                         for (size_t v = 0; v < kVectors * kLanes; ++v)
                         {
                             upper[r][v] = row[v] *= inverses_[r];
                         }
                     }
                     for (size_t r = 0; r + 1 < count_; ++r)
                     {
                         subtractSteps<1, kVectors>(rows_[begin_ + r] + column, rows_[begin_ + r] + begin_ + r + 1,
                                                    stride, upper[r + 1], kTileColumns, count_ - (r + 1));
                     }
                     const auto others = [&](size_t from, size_t to) HWY_ATTR
                     {
                         subtractFromRows<kVectors>(rows_[from] + column, rows_[from] + begin_, stride, to - from,
                                                    upper[0], kTileColumns, count_);
                     };
                     others(0, begin_);
                     others(begin_ + count_, n_);
                 });
    }

  private:
    const Equations& rows_;
    size_t n_, begin_, count_;
    float inverses_[kUnit] = {};
};

vsrStatus invert(const float* src, uint32_t n, uint32_t srcStride, float* dst, uint32_t dstStride)
{
    const size_t half = (size_t{n} + kUnit - 1) / kUnit * kUnit;
    const Equations rows(src, n, n, srcStride, half, kUnit);
    if (!rows)
    {
        return VISORA_ENOMEM;
    }
    for (size_t i = 0; i < n; ++i)
    {
        rows[i][half + i] = 1;
    }
    for (size_t begin = 0; begin < n; begin += kUnit)
    {
        InversionPanel panel(rows, n, begin);
        if (!panel.factor())
        {
            return VISORA_EFAIL;
        }
        panel.eliminate();
    }
    for (uint32_t i = 0; i < n; ++i)
    {
        std::transform(rows[i] + half, rows[i] + half + n, imageRow(dst, dstStride, i),
                       [](float v) { return standardNaN(v); });
    }
    return VISORA_SUCCESS;
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrInvertMatrixf32, invert);
VSR_VECTOR(vsrSolveLUf32, solveByLU);
VSR_VECTOR(vsrSolveQRf32, solveByQR);

#endif
