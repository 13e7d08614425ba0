// Sums of products of large templates by fast Fourier transforms in double precision, rounded to the whole numbers that
// they are. Included once per instruction set.
//
// An output is off by at most about log2(elements) * 2^-53 * |image| * |template|, lengths of vectors of bytes: below
// 2^-10 for tiles and pieces of these sizes, and any rounding and order of the transform gives the same whole number.
#if defined(VISORA_VECTA_MATCH_TRANSFORM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_MATCH_TRANSFORM_INL_H
#undef VISORA_VECTA_MATCH_TRANSFORM_INL_H
#else
#define VISORA_VECTA_MATCH_TRANSFORM_INL_H
#endif

#include <algorithm>
#include <bit>
#include <cmath>

#include "cpu/visoraPlane.h"
#include "cpu/visoraScratch.h"
#include "hwy/highway.h"
#include "vecta/visoraTurn-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/** Rows of complex numbers, real and imaginary parts apart. */
struct ComplexRows
{
    double* re;
    double* im;
    size_t stride;
};

/** Transforms along one axis: of a number of elements that is a power of two, from 4 to kMost. */
class ColumnTransform
{
  public:
    static constexpr size_t kMost = 1024;

    explicit ColumnTransform(size_t rows) : rows_(rows)
    {
        for (size_t k = 0; k < rows; ++k)
        {
            const double angle = 2 * std::acos(-1.0) * static_cast<double>(k) / static_cast<double>(rows);
            cosines_[k] = std::cos(angle);
            sines_[k] = std::sin(angle);
        }
    }

    /** Of each column. The results come in an order of their own, which the inverse expects. */
    void forward(const ComplexRows& data, size_t columns) const
    {
        forStrips(data, columns,
                  [&](const ComplexRows& strip, size_t width) HWY_ATTR
                  {
                      size_t length = rows_;
                      if (std::countr_zero(rows_) % 2 != 0)
                      {
                          length /= 2;
                          for (size_t j = 0; j < length; ++j)
                          {
                              halves<false>(strip, j, length, width);
                          }
                      }
                      for (; length >= 4; length /= 4)
                      {
                          for (size_t row = 0; row < rows_; row += length)
                          {
                              for (size_t j = 0; j < length / 4; ++j)
                              {
                                  quarters<false>(strip, row + j, j, length, width);
                              }
                          }
                      }
                  });
    }

    /** The other way, times the number of rows. */
    void inverse(const ComplexRows& data, size_t columns) const
    {
        forStrips(data, columns,
                  [&](const ComplexRows& strip, size_t width) HWY_ATTR
                  {
                      const bool isOdd = std::countr_zero(rows_) % 2 != 0;
                      for (size_t length = 4; length <= (isOdd ? rows_ / 2 : rows_); length *= 4)
                      {
                          for (size_t row = 0; row < rows_; row += length)
                          {
                              for (size_t j = 0; j < length / 4; ++j)
                              {
                                  quarters<true>(strip, row + j, j, length, width);
                              }
                          }
                      }
                      for (size_t j = 0; isOdd && j < rows_ / 2; ++j)
                      {
                          halves<true>(strip, j, rows_ / 2, width);
                      }
                  });
    }

  private:
    using Lanes = hn::ScalableTag<double>;
    using Vector = hn::Vec<Lanes>;

    struct Complex
    {
        Vector re, im;
    };

    static HWY_INLINE Complex load(const ComplexRows& data, size_t row, size_t x)
    {
        const Lanes d;
        return {hn::Load(d, data.re + row * data.stride + x), hn::Load(d, data.im + row * data.stride + x)};
    }
    static HWY_INLINE void store(const Complex& v, const ComplexRows& data, size_t row, size_t x)
    {
        const Lanes d;
        hn::Store(v.re, d, data.re + row * data.stride + x);
        hn::Store(v.im, d, data.im + row * data.stride + x);
    }
    static HWY_INLINE Complex add(const Complex& a, const Complex& b)
    {
        return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
    }
    static HWY_INLINE Complex subtract(const Complex& a, const Complex& b)
    {
        return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)};
    }
    /** Turned by a quarter, forwards in the sense of the inverse. */
    template <bool kIsInverse>
    static HWY_INLINE Complex quarter(const Complex& v)
    {
        return kIsInverse ? Complex{hn::Neg(v.im), v.re} : Complex{v.im, hn::Neg(v.re)};
    }

    /** Turned by k steps of the whole circle. */
    template <bool kIsInverse>
    HWY_INLINE Complex turned(const Complex& v, size_t k) const
    {
        const Lanes d;
        const auto c = hn::Set(d, cosines_[k]);
        const auto s = hn::Set(d, kIsInverse ? sines_[k] : -sines_[k]);
        return {hn::NegMulAdd(s, v.im, hn::Mul(c, v.re)), hn::MulAdd(s, v.re, hn::Mul(c, v.im))};
    }

    template <bool kIsInverse>
    HWY_INLINE void halves(const ComplexRows& data, size_t j, size_t half, size_t width) const
    {
        for (size_t x = 0; x < width; x += hn::Lanes(Lanes()))
        {
            const Complex a = load(data, j, x);
            Complex b = load(data, j + half, x);
            if constexpr (kIsInverse)
            {
                b = turned<true>(b, j);
                store(add(a, b), data, j, x);
                store(subtract(a, b), data, j + half, x);
            }
            else
            {
                store(add(a, b), data, j, x);
                store(turned<false>(subtract(a, b), j), data, j + half, x);
            }
        }
    }

    template <bool kIsInverse>
    HWY_INLINE void quarters(const ComplexRows& data, size_t row, size_t j, size_t length, size_t width) const
    {
        const size_t step = length / 4;
        const size_t k = j * (rows_ / length);
        for (size_t x = 0; x < width; x += hn::Lanes(Lanes()))
        {
            Complex a = load(data, row, x);
            Complex b = load(data, row + step, x);
            Complex c = load(data, row + 2 * step, x);
            Complex e = load(data, row + 3 * step, x);
            if constexpr (kIsInverse)
            {
                b = turned<true>(b, k);
                c = turned<true>(c, 2 * k);
                e = turned<true>(e, 3 * k);
            }
            const Complex evens = add(a, c);
            const Complex odds = add(b, e);
            const Complex aside = subtract(a, c);
            const Complex turn = quarter<kIsInverse>(subtract(b, e));
            a = add(evens, odds);
            b = add(aside, turn);
            c = subtract(evens, odds);
            e = subtract(aside, turn);
            if constexpr (!kIsInverse)
            {
                b = turned<false>(b, k);
                c = turned<false>(c, 2 * k);
                e = turned<false>(e, 3 * k);
            }
            store(a, data, row, x);
            store(b, data, row + step, x);
            store(c, data, row + 2 * step, x);
            store(e, data, row + 3 * step, x);
        }
    }

    // So many columns that a strip stays in the second cache.
    template <class Body>
    HWY_INLINE void forStrips(const ComplexRows& data, size_t columns, Body body) const
    {
        constexpr size_t kStrip = 32;
        for (size_t x = 0; x < columns; x += kStrip)
        {
            body(ComplexRows{data.re + x, data.im + x, data.stride}, std::min(kStrip, columns - x));
        }
    }

    size_t rows_;
    double cosines_[kMost];
    double sines_[kMost];
};

/** The sums of the products of a template with the windows of an image, as large a template as there may be. */
class TransformedProducts
{
  public:
    /** How large the parts of a template and of an image are of which sums are found at once, along one axis. */
    struct Tiling
    {
        /** Tiles that are transformed `together` take the time of so many even where fewer are left. */
        Tiling(size_t imageSize, size_t templateSize, size_t together)
            : piece(std::min(templateSize, kMostPiece)), positions(imageSize - templateSize + 1)
        {
            double least = 0;
            for (size_t candidate = 32; candidate <= ColumnTransform::kMost; candidate *= 2)
            {
                if (candidate < piece)
                {
                    continue;
                }
                const size_t count = (positions + candidate - piece) / (candidate - piece + 1);
                const size_t transforms = (count + together - 1) / together;
                const double work =
                    static_cast<double>(transforms * candidate * static_cast<size_t>(std::bit_width(candidate)));
                if (least == 0 || work < least)
                {
                    least = work;
                    size = candidate;
                    tiles = count;
                }
            }
        }

        size_t valid() const { return size - piece + 1; }

        static constexpr size_t kMostPiece = 256;

        size_t piece;
        size_t positions;
        size_t size = 0;
        size_t tiles = 0;
    };

    /** About how many elements' work a transform of all is for each position. */
    static double workPerPosition(const Tiling& x, const Tiling& y)
    {
        const double elements = static_cast<double>(x.size * y.size);
        return elements * std::log2(elements) * static_cast<double>(x.tiles * y.tiles) /
               static_cast<double>(x.positions * y.positions);
    }

    TransformedProducts(const Tiling& x, const Tiling& y)
        : x_(x),
          y_(y),
          alongX_(x.size),
          alongY_(y.size),
          elements_((std::max(x.size * (y.size + kPadding), y.size * (x.size + kPadding)) + 7) / 8 * 8),
          scratch_(6 * elements_ * sizeof(double))
    {
    }

    explicit operator bool() const { return scratch_.data(); }

    /** Sums of the positions of row `strip` of tiles, packed rows of a number for each position. */
    void find(size_t strip, const uint8_t* src, size_t width, size_t height, size_t stride, const uint8_t* templ,
              size_t templateWidth, size_t templateHeight, size_t templateStride, uint64_t* products)
    {
        std::fill_n(products, y_.valid() * x_.positions, uint64_t{0});
        const bool isWhole = templateWidth <= x_.piece && templateHeight <= y_.piece;
        for (size_t top = 0; top < templateHeight; top += y_.piece)
        {
            for (size_t left = 0; left < templateWidth; left += x_.piece)
            {
                double* const kernel = part(4);
                if (strip == 0 || !isWhole)
                {
                    fill({templ, templateStride, left, top, std::min(x_.piece, templateWidth - left),
                          std::min(y_.piece, templateHeight - top)},
                         part(0));
                    std::fill_n(part(1), y_.size * strideX(), 0.0);
                    forward(kernel);
                }
                const size_t y = top + strip * y_.valid();
                addPiece({src, stride, left, y, width - left, height - y}, kernel, products);
            }
        }
    }

  private:
    // What rows are longer than they need be, lest their beginnings fall upon each other in a cache.
    static constexpr size_t kPadding = 8;

    /** A part of a picture. */
    struct Part
    {
        const uint8_t* data;
        size_t stride, left, top, width, height;
    };

    size_t strideX() const { return x_.size + kPadding; }
    size_t strideY() const { return y_.size + kPadding; }
    double* part(size_t i) const { return scratch_.as<double>() + i * elements_; }

    /** Rows of a tile's size; zeros are where the part has no pixel. */
    HWY_INLINE void fill(const Part& from, double* to) const
    {
        for (size_t y = 0; y < y_.size; ++y, to += strideX())
        {
            const size_t count = y < from.height ? std::min(from.width, x_.size) : 0;
            const uint8_t* const row = planeRow(from.data, from.stride, from.top + (count != 0 ? y : 0)) + from.left;
            for (size_t x = 0; x < count; ++x)
            {
                to[x] = row[x];
            }
            std::fill(to + count, to + x_.size, 0.0);
        }
    }

    /** Rows and columns are multiples of a vector. */
    static HWY_INLINE void transpose(const double* from, size_t fromStride, size_t rows, size_t columns, double* to,
                                     size_t toStride)
    {
        const hn::ScalableTag<double> d;
        for (size_t y = 0; y < rows; y += hn::Lanes(d))
        {
            for (size_t x = 0; x < columns; x += hn::Lanes(d))
            {
                turnBlock(d, from + y * fromStride + x, fromStride, to + x * toStride + y, toStride);
            }
        }
    }

    /** Transposes as many rows as a vector has lanes. */
    template <class D>
    static HWY_INLINE void turnBlock(D d, const double* from, size_t fromStride, double* to, size_t toStride)
    {
        constexpr size_t kLanes = hn::MaxLanes(D());
        const auto pairs = [=](size_t i, auto interleave) HWY_ATTR
        {
            const double* const row = from + 2 * i * fromStride;
            return interleave(hn::Load(d, row), hn::Load(d, row + fromStride));
        };
        // Every second column from `first` on, given how elements of two rows there are brought together.
        const auto columns = [=](size_t first, auto interleave) HWY_ATTR
        {
            const auto put = [=](size_t i, hn::Vec<D> v) HWY_ATTR { hn::Store(v, d, to + (2 * i + first) * toStride); };
            if constexpr (kLanes == 2)
            {
                put(0, pairs(0, interleave));
            }
            else if constexpr (kLanes == 4)
            {
                const auto v0 = pairs(0, interleave);
                const auto v1 = pairs(1, interleave);
                put(0, hn::ConcatLowerLower(d, v1, v0));
                put(1, hn::ConcatUpperUpper(d, v1, v0));
            }
            else
            {
                const hn::Repartition<float, D> dQuads;
                const auto quads = [=](size_t i) HWY_ATTR { return hn::BitCast(dQuads, pairs(i, interleave)); };
                const auto b = turnedQuads(dQuads, {quads(0), quads(1), quads(2), quads(3)});
                put(0, hn::BitCast(d, b.v0));
                put(1, hn::BitCast(d, b.v1));
                put(2, hn::BitCast(d, b.v2));
                put(3, hn::BitCast(d, b.v3));
            }
        };
        columns(0, [d](auto a, auto b) HWY_ATTR { return hn::InterleaveLower(d, a, b); });
        columns(1, [d](auto a, auto b) HWY_ATTR { return hn::InterleaveUpper(d, a, b); });
    }

    /** Of parts 0 and 1 into two parts from `to` on, whose rows are the columns. */
    HWY_INLINE void forward(double* to) const
    {
        alongY_.forward({part(0), part(1), strideX()}, x_.size);
        for (size_t i = 0; i < 2; ++i)
        {
            transpose(part(i), strideX(), y_.size, x_.size, to + i * elements_, strideY());
        }
        alongX_.forward({to, to + elements_, strideY()}, y_.size);
    }

    /** Back from parts 2 and 3 to parts 0 and 1, as far as there are positions. */
    HWY_INLINE void inverse() const
    {
        const size_t columns = (x_.valid() + 7) / 8 * 8;
        alongX_.inverse({part(2), part(3), strideY()}, y_.size);
        for (size_t i = 0; i < 2; ++i)
        {
            transpose(part(2 + i), strideY(), columns, y_.size, part(i), strideX());
        }
        alongY_.inverse({part(0), part(1), strideX()}, columns);
    }

    /** What is in parts 2 and 3, times the conjugates of a kernel's transform. */
    HWY_INLINE void multiply(const double* kernel) const
    {
        const hn::ScalableTag<double> d;
        for (size_t i = 0; i < elements_; i += hn::Lanes(d))
        {
            const auto a = hn::Load(d, part(2) + i);
            const auto b = hn::Load(d, part(3) + i);
            const auto c = hn::Load(d, kernel + i);
            const auto s = hn::Load(d, kernel + elements_ + i);
            hn::Store(hn::MulAdd(b, s, hn::Mul(a, c)), d, part(2) + i);
            hn::Store(hn::NegMulAdd(a, s, hn::Mul(b, c)), d, part(3) + i);
        }
    }

    void addPiece(const Part& image, const double* kernel, uint64_t* products) const
    {
        const double scale = 1 / static_cast<double>(x_.size * y_.size);
        const size_t rows = std::min(y_.valid(), image.height);
        // Two tiles at once: one is the real part, the other one the imaginary part.
        for (size_t first = 0; first < x_.tiles; first += 2)
        {
            const size_t count = std::min<size_t>(2, x_.tiles - first);
            for (size_t i = 0; i < count; ++i)
            {
                const size_t x = (first + i) * x_.valid();
                fill({image.data, image.stride, image.left + x, image.top, image.width - x, image.height}, part(i));
            }
            if (count == 1)
            {
                std::fill_n(part(1), y_.size * strideX(), 0.0);
            }
            forward(part(2));
            multiply(kernel);
            inverse();
            for (size_t i = 0; i < count; ++i)
            {
                const size_t left = (first + i) * x_.valid();
                const size_t columns = std::min(x_.valid(), x_.positions - left);
                for (size_t y = 0; y < rows; ++y)
                {
                    const double* const from = part(i) + y * strideX();
                    uint64_t* const to = products + y * x_.positions + left;
                    for (size_t x = 0; x < columns; ++x)
                    {
                        to[x] += static_cast<uint64_t>(static_cast<int64_t>(from[x] * scale + 0.5));
                    }
                }
            }
        }
    }

    Tiling x_, y_;
    ColumnTransform alongX_, alongY_;
    size_t elements_;
    Scratch scratch_;
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
