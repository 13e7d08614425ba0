// Lists of numbers in double precision that fits sum up; the variants differ in how they do that.
#ifndef VISORA_CPU_GEOM_LISTS_H
#define VISORA_CPU_GEOM_LISTS_H

#include <algorithm>

#include "cpu/geom/visoraGeom.h"
#include "cpu/geom/visoraGeomNumerics.h"
#include "cpu/visoraScratch.h"

namespace visora
{

/** Several lists of up to `size` elements. Borrowed; there may be none. */
class Lists
{
  public:
    Lists(size_t lists, size_t size)
        : stride_((size + kMultiple - 1) / kMultiple * kMultiple),
          scratch_(lists * stride_ <= kFew ? 1 : lists * stride_ * sizeof(double)),
          memory_(lists * stride_ <= kFew ? few_ : scratch_.as<double>())
    {
        if (memory_)
        {
            std::fill_n(memory_, lists * stride_, 0.0);
        }
    }
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;

    explicit operator bool() const { return memory_ != nullptr; }
    double* operator[](size_t list) const { return memory_ + list * stride_; }

    /** Makes the lists shorter: zeros stand behind the elements up to a multiple of 16. */
    void cut(size_t lists, size_t size) const
    {
        const size_t end = std::min(stride_, (size + kMultiple - 1) / kMultiple * kMultiple);
        for (size_t list = 0; list < lists; ++list)
        {
            std::fill((*this)[list] + size, (*this)[list] + end, 0.0);
        }
    }

  private:
    static constexpr size_t kMultiple = PartialSums<double>::kCount;
    static constexpr size_t kFew = 256;

    size_t stride_;
    Scratch scratch_;
    alignas(64) double few_[kFew];
    double* memory_;
};

/** Sums in sixteen partial sums. Lists have zeros behind their elements up to a multiple of 16. */
struct PlainSums
{
    double sum(const double* a, size_t n) const
    {
        return sumOf(n, [=](size_t i) { return a[i]; });
    }
    double dot(const double* a, const double* b, size_t n) const
    {
        return sumOf(n, [=](size_t i) { return a[i] * b[i]; });
    }
    /** Sum of w (a b + c d). */
    double pairs(const double* w, const double* a, const double* b, const double* c, const double* d, size_t n) const
    {
        return sumOf(n, [=](size_t i) { return w[i] * (a[i] * b[i] + c[i] * d[i]); });
    }
};

/** Sets the first n elements of a list. */
template <class Element>
void make(double* list, size_t n, Element element)
{
    for (size_t i = 0; i < n; ++i)
    {
        list[i] = element(i);
    }
}

/** Takes the mean from a list, and returns it. */
template <class Op>
double centre(Op op, double* list, size_t n)
{
    const double mean = op.sum(list, n) / static_cast<double>(n);
    make(list, n, [=](size_t i) { return list[i] - mean; });
    return mean;
}

/** Lists 0 to 3 become x, y, u and v. */
inline void gather(const vsrCorrespondences& corrs, const Lists& lists)
{
    for (uint32_t i = 0; i < corrs.numIndices; ++i)
    {
        const auto [x, y, u, v] = correspondence(corrs, i);
        lists[0][i] = x;
        lists[1][i] = y;
        lists[2][i] = u;
        lists[3][i] = v;
    }
}

inline void toFloats(const double* values, size_t count, float* to)
{
    std::transform(values, values + count, to, [](double v) { return static_cast<float>(v); });
}

}  // namespace visora

#endif
