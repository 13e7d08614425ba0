// How to call every operation: the list that the variant-equality test and the benchmarks walk.
#ifndef VISORA_TESTS_SUPPORT_OPERATIONS_H
#define VISORA_TESTS_SUPPORT_OPERATIONS_H

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/arguments.h"

namespace visora::test
{

struct Operation
{
    std::string name;
    VSR_FUNC reference;
    VSR_FUNC vector;
    /** Makes buffers and sets the call for the arguments' shape. */
    std::function<void(Arguments&)> prepare;
    /** Tells apart several entries of one operation in the benchmarks. */
    std::string label = {};
    /** What the benchmarks divide times by, the pixels of the image when it is 0. */
    uint32_t items = 0;
    /** It takes a list of points, as many as the shape is wide, instead of an image. */
    bool takesPoints = false;
};

inline std::ostream& operator<<(std::ostream& out, const Operation& operation)
{
    return out << operation.name << " " << operation.label;
}

/** The operations that were registered, in no particular order. */
std::vector<Operation>& operations();

/** Adds operations to the list; meant for static objects. */
struct Register
{
    Register(std::initializer_list<Operation> list);
};

/** Name, reference and vector variant of an operation. */
#define VISORA_OPERATION(operation) \
#operation, reinterpret_cast < VSR_FUNC>(operation##C), reinterpret_cast < VSR_FUNC>(operation##V)

// ---- Entry points that are not refused silently with 3, refuse something less, or choose the unit in another way ----

using Prepare = std::function<void(Arguments&)>;

/** Calls an entry point with words. */
template <auto function>
uint64_t callWith(const std::vector<Word>& words)
{
    return []<class Result, class... Parameters>(Result (*f)(Parameters...), const std::vector<Word>& w)
    {
        return w.size() == sizeof...(Parameters)
                   ? Arguments::invoke(f, w, std::index_sequence_for<Parameters...>())
                   : throw std::invalid_argument("arguments of an entry point for packed images");
    }(function, words);
}

// clang-format off
/** An entry point for packed images, the condition that it logs if it logs one, and the least sides it takes. */
#define VISORA_PACKED(entry, ...) {#entry, visora::test::callWith<entry>, __VA_ARGS__}
// clang-format on

/** The call that `prepare` makes, of an entry point with this rule. */
inline Prepare ruled(EntryRule rule, Prepare prepare)
{
    return [rule = std::move(rule), prepare = std::move(prepare)](Arguments& a)
    {
        a.entry() = rule;
        prepare(a);
    };
}

/** An entry point of the older style, which logs this condition. */
inline Prepare older(const char* condition, Prepare prepare, std::vector<size_t> unchecked = {})
{
    return ruled(
        {.condition = condition, .inPlace = EntryRule::InPlace::NotLookedAt, .unchecked = std::move(unchecked)},
        std::move(prepare));
}

/** An entry point that writes to its input as well. */
inline Prepare inPlace(Prepare prepare)
{
    return ruled({.inPlace = EntryRule::InPlace::Allowed}, std::move(prepare));
}

/** A call that the operation's entry point for packed images can make too. */
inline Prepare packable(EntryRule::Packed packed, const Prepare& prepare)
{
    return [=](Arguments& a)
    {
        prepare(a);
        a.entry().packed = {packed};
    };
}

// ---- Operations of one shape ----

/**
 * An operation from one image to another of the same size:
 * kernel(src, width, height, srcStride, dst, dstStride, what extras(arguments) returns as a tuple ...).
 */
template <auto kernel, class T, class Extras>
std::function<void(Arguments&)> imageToImage(Extras extras, uint32_t minWidth = 1, uint32_t minHeight = 1)
{
    return [=](Arguments& a)
    {
        const uint32_t width = a.shape().width;
        const uint32_t height = a.shape().height;
        if (width < minWidth || height < minHeight)
        {
            return;
        }
        const auto rowBytes = static_cast<uint32_t>(width * sizeof(T));
        const uint32_t srcStride = a.srcStride(rowBytes, sizeof(T));
        const uint32_t dstStride = a.dstStride(rowBytes, sizeof(T));
        const T* src = a.input<T>(width, height, srcStride);
        T* dst = a.output<T>(width, height, dstStride);
        std::apply([&](auto... extra) { a.call(kernel, src, width, height, srcStride, dst, dstStride, extra...); },
                   extras(a));
    };
}

/** An operation from two images to a third, all of the same size: kernel(src1, width, height, stride, src2, ...). */
template <auto kernel, class T1, class T2 = T1, class D = T1>
std::function<void(Arguments&)> twoToOne()
{
    return [](Arguments& a)
    {
        const uint32_t width = a.shape().width;
        const uint32_t height = a.shape().height;
        const uint32_t stride1 = a.srcStride(static_cast<uint32_t>(width * sizeof(T1)), sizeof(T1));
        const uint32_t stride2 = a.srcStride(static_cast<uint32_t>(width * sizeof(T2)), sizeof(T2));
        const uint32_t dstStride = a.dstStride(static_cast<uint32_t>(width * sizeof(D)), sizeof(D));
        const T1* src1 = a.input<T1>(width, height, stride1);
        const T2* src2 = a.input<T2>(width, height, stride2);
        a.call(kernel, src1, width, height, stride1, src2, stride2, a.output<D>(width, height, dstStride), dstStride);
    };
}

template <auto kernel, class T>
std::function<void(Arguments&)> imageToImage(uint32_t minWidth = 1, uint32_t minHeight = 1)
{
    return imageToImage<kernel, T>([](Arguments&) { return std::tuple<>(); }, minWidth, minHeight);
}

}  // namespace visora::test

#endif
