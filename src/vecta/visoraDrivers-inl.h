// Vector kernels that are a function of single elements: one loop, many formulas. A formula gets a tag of the result's
// type and one vector of each source's type, with as many lanes as the tag, `formula(d, a)` or `formula(d, a, b)`, and
// behind them the parameters that stand before the operation's destination. Where elements of other shapes take part,
// a step takes the place of the formula: it loads and stores itself.
#if defined(VISORA_VECTA_DRIVERS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_DRIVERS_INL_H
#undef VISORA_VECTA_DRIVERS_INL_H
#else
#define VISORA_VECTA_DRIVERS_INL_H
#endif

#include <algorithm>
#include <cstring>
#include <utility>

#include "cpu/visoraDrivers.h"
#include "vecta/visoraStream-inl.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

// ---- Planes ----

/** An image as drivers walk it: kPer elements per column, read when T is const or kReadsOld says so. */
template <class T, size_t kPerColumn = 1, bool kReadsOld = std::is_const_v<T>>
struct Plane
{
    using Element = std::remove_const_t<T>;
    static constexpr size_t kPer = kPerColumn;
    static constexpr bool kReads = kReadsOld;
    static constexpr bool kWrites = !std::is_const_v<T>;

    T* data;
    size_t stride;  // in elements

    bool isPacked(size_t width) const { return stride == width * kPer; }
};

template <size_t kPer = 1, class T>
HWY_INLINE Plane<const T, kPer> source(const T* data, uint32_t stride)
{
    return {data, stride / sizeof(T)};
}

template <size_t kPer = 1, class T>
HWY_INLINE Plane<T, kPer> destination(T* data, uint32_t stride)
{
    return {data, stride / sizeof(T)};
}

/** A destination whose old contents count. */
template <size_t kPer = 1, class T>
HWY_INLINE Plane<T, kPer, true> updated(T* data, uint32_t stride)
{
    return {data, stride / sizeof(T)};
}

// ---- Rows ----

/** The last columns of a row, apart from it. */
template <class P, size_t kColumns>
struct RowEnd
{
    alignas(64) typename P::Element elements[kColumns * P::kPer];

    HWY_INLINE void take(const P& row, size_t begin, size_t columns)
    {
        if constexpr (P::kReads)
        {
            std::memcpy(elements, row.data + begin * P::kPer, columns * P::kPer * sizeof(elements[0]));
        }
    }

    HWY_INLINE void give(const P& row, size_t begin, size_t columns) const
    {
        if constexpr (P::kWrites)
        {
            std::memcpy(row.data + begin * P::kPer, elements, columns * P::kPer * sizeof(elements[0]));
        }
    }
};

/** Keeps a compiler for ARM from making several pointers of one and an index, which loads and stores in pairs lack. */
template <class T>
HWY_INLINE void keepApart([[maybe_unused]] T*& pointer)
{
#if HWY_ARCH_ARM
    asm("" : "+r"(pointer));
#endif
}

/**
 * Runs step(std::index_sequence<0 .. n - 1>, pointers ...), which does n * Step::kLanes columns from each plane's
 * pointer on, over a row. The columns behind the last full step are done apart from the row, from what it held before
 * anything was written, so that a destination may be a source; what lies beyond a row of less than a step holds 0.
 */
template <class Step, class... P>
HWY_INLINE void stepRow(size_t width, const Step& step, P... rows)
{
    constexpr size_t lanes = Step::kLanes;
    // Pointers that move leave less to do per step than an index.
    const auto advance = [&](size_t columns) HWY_ATTR { ((rows.data += columns * P::kPer), ...); };
    // Inlined, so that the pointers stay in registers.
    [&](auto... ends) HWY_ATTR __attribute__((always_inline))
    {
        const size_t rest = width % lanes;
        if (rest != 0 && width > lanes)
        {
            (ends.take(rows, width - lanes, lanes), ...);
        }
        size_t left = width;
        if constexpr (Step::kUnroll > 1)
        {
            for (size_t steps = left / (Step::kUnroll * lanes); steps != 0; --steps)
            {
                step(std::make_index_sequence<Step::kUnroll>(), rows.data...);
                advance(Step::kUnroll * lanes);
                (keepApart(rows.data), ...);
            }
            left %= Step::kUnroll * lanes;
        }
        for (; left >= lanes; left -= lanes)
        {
            step(std::index_sequence<0>(), rows.data...);
            advance(lanes);
        }
        if (rest != 0)
        {
            if (width < lanes)
            {
                (ends.take(rows, 0, width), ...);
            }
            step(std::index_sequence<0>(), ends.elements...);
            if (width < lanes)
            {
                (ends.give(rows, 0, width), ...);
            }
            else
            {
                ((rows.data -= (lanes - rest) * P::kPer), ...);
                (ends.give(rows, 0, lanes), ...);
            }
        }
    }
    (RowEnd<P, lanes>{}...);
}

template <class P>
constexpr size_t columnBytes = P::kPer * sizeof(typename P::Element);

/** stepRow by pieces, which the destination gets past the caches. */
template <class Step, class T, size_t kPer, class... P>
HWY_NOINLINE void streamRow(size_t width, const Step& step, Plane<T, kPer> dst, P... rows)
{
    // Whole steps, which may depend on where in the row they are.
    constexpr size_t kStep = Step::kUnroll * Step::kLanes;
    constexpr size_t kColumns = HWY_MAX(size_t{1}, 4096 / (kStep * kPer * sizeof(T))) * kStep;
    alignas(64) T piece[kColumns * kPer];
    for (size_t columns; width != 0; width -= columns)
    {
        columns = HWY_MIN(width, kColumns);
        stepRow(columns, step, destination<kPer>(piece, 0), rows...);
        streamBytes(reinterpret_cast<uint8_t*>(dst.data), reinterpret_cast<const uint8_t*>(piece),
                    columns * kPer * sizeof(T));
        dst.data += columns * kPer;
        ((rows.data += columns * P::kPer), ...);
    }
}

/** stepRow over all rows; rows that follow each other without a gap are one. The first plane may be a destination. */
template <class Step, class First, class... P>
HWY_INLINE vsrStatus mapPlanes(size_t width, size_t height, const Step& step, First first, P... others)
{
    if (first.isPacked(width) && (others.isPacked(width) && ...))
    {
        width *= height;
        height = 1;
    }
    if constexpr (HWY_ARCH_X86 && sizeof...(P) != 0 && First::kWrites && !First::kReads && (!P::kWrites && ...))
    {
        if (isStreamed(width * height * (columnBytes<First> + ... + columnBytes<P>), kStreamedThrough))
        {
            for (; height != 0; --height)
            {
                streamRow(width, step, first, others...);
                first.data += first.stride;
                ((others.data += others.stride), ...);
            }
            hwy::FlushStream();
            return VISORA_SUCCESS;
        }
    }
    for (; height != 0; --height)
    {
        stepRow(width, step, first, others...);
        first.data += first.stride;
        ((others.data += others.stride), ...);
    }
    return VISORA_SUCCESS;
}

// ---- Steps ----

/**
 * A step of single elements: formula(d, vectors ...) makes the destination's vector, of tag d, of the sources', which
 * have as many lanes. The widest of the types fills a vector.
 */
template <class Formula, class T, class... S>
struct ElementStep
{
    static constexpr size_t kWidest = std::max({sizeof(T), sizeof(S)...});
    using Lanes = hn::ScalableTag<hwy::UnsignedFromSize<kWidest>>;
    static constexpr size_t kLanes = hn::MaxLanes(Lanes());
    static constexpr size_t kUnroll = 4;

    Formula formula;

    // All vectors are loaded before the first is stored, also for the compiler, which cannot tell that the destination
    // is no source: loads and stores go in pairs then.
    template <size_t... i>
    HWY_INLINE void operator()(std::index_sequence<i...> /*steps*/, T* dst, const S*... src) const
    {
        const hn::Rebind<T, Lanes> d;
        const hn::VFromD<decltype(d)> results[] = {at(i * kLanes, src...)...};
        (hn::StoreU(results[i], d, dst + i * kLanes), ...);
    }

  private:
    HWY_INLINE auto at(size_t x, const S*... src) const
    {
        return formula(hn::Rebind<T, Lanes>(), hn::LoadU(hn::Rebind<S, Lanes>(), src + x)...);
    }
};

template <class T, class... S, class Formula>
HWY_INLINE ElementStep<Formula, T, S...> elementStep(Formula formula)
{
    return {formula};
}

// ---- Shapes; they get a formula of vectors, then the arguments of the operation ----

/** dst = formula(d, src, parameters ...), element by element. */
template <class Formula, class S, class... Rest>
HWY_INLINE vsrStatus unary(Formula formula, const S* src, uint32_t width, uint32_t height, uint32_t srcStride,
                           Rest... rest)
{
    return destinationFirst(
        [=]<class T>(T* dst, uint32_t dstStride, auto... parameters) HWY_ATTR -> vsrStatus
        {
            const auto step = elementStep<T, S>([=](auto d, auto a) HWY_ATTR { return formula(d, a, parameters...); });
            return mapPlanes(width, height, step, destination(dst, dstStride), source(src, srcStride));
        },
        rest...);
}

/** dst = formula(d, src1, src2, parameters ...), element by element. */
template <class Formula, class S1, class S2, class... Rest>
HWY_INLINE vsrStatus binary(Formula formula, const S1* src1, uint32_t width, uint32_t height, uint32_t src1Stride,
                            const S2* src2, uint32_t src2Stride, Rest... rest)
{
    return destinationFirst(
        [=]<class T>(T* dst, uint32_t dstStride, auto... parameters) HWY_ATTR -> vsrStatus
        {
            const auto step = elementStep<T, S1, S2>([=](auto d, auto a, auto b) HWY_ATTR
                                                     { return formula(d, a, b, parameters...); });
            return mapPlanes(width, height, step, destination(dst, dstStride), source(src1, src1Stride),
                             source(src2, src2Stride));
        },
        rest...);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
