// Jacobi's method for nine columns of nine elements, four pairs of columns at a time. Included once per instruction
// set.
#if defined(VISORA_VECTA_GEOM_JACOBI_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VISORA_VECTA_GEOM_JACOBI_INL_H
#undef VISORA_VECTA_GEOM_JACOBI_INL_H
#else
#define VISORA_VECTA_GEOM_JACOBI_INL_H
#endif

#include <cmath>

#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

/**
 * As orthogonalise does it: a pair (p, q) needs what the pairs before it made of columns p and q, and nothing else. So
 * all pairs with p + q = t may be turned together, step t = 1 to 15 of a sweep, and column k is ready for the next
 * sweep after step k + 8: that one may follow nine steps behind. In step t these are the pairs with p + q = t modulo 9,
 * four in which all columns but one occur: h + j and h - j, j = 1 to 4, where 2 h = t modulo 9.
 */
class NineColumns
{
  public:
    static constexpr int kSize = 9;

    explicit NineColumns(const double (&M)[kSize][kSize])
    {
        for (int i = 0; i < kSize; ++i)
        {
            for (int k = 0; k < kPlaces; ++k)
            {
                a_[i][kMargin + k] = M[i][k % kSize];
                v_[i][kMargin + k] = i == k % kSize ? 1 : 0;
            }
        }
        const D d;
        for (int k = kMargin; k < kMargin + kPlaces; k += kLanes)
        {
            const V square = sumOf(
                [&](int i) HWY_ATTR
                {
                    const V elements = hn::LoadU(d, a_[i] + k);
                    return hn::Mul(elements, elements);
                });
            hn::StoreU(square, d, squares_ + k);
        }
    }

    /** Turns all pairs until none needs it. */
    void orthogonalise()
    {
        constexpr int kLastStep = kSize * (kSweeps - 1) + 15;
        // After nine steps without a turn, in which each pair was looked at, there are no more.
        int quiet = 0;
        for (int step = 1; step <= kLastStep && (step < 15 || quiet < kSize); ++step)
        {
            quiet = turn(step) ? 0 : quiet + 1;
        }
    }

    /** The column of V that belongs to the least singular value, the last one of equal ones. */
    void leastDirection(double (&direction)[kSize]) const
    {
        int least = 0;
        for (int k = 1; k < kSize; ++k)
        {
            least = std::sqrt(squares_[kMargin + k]) <= std::sqrt(squares_[kMargin + least]) ? k : least;
        }
        for (int i = 0; i < kSize; ++i)
        {
            direction[i] = v_[i][kMargin + least];
        }
    }

  private:
    using D = hn::CappedTag<double, 4>;
    using V = hn::Vec<D>;
    static constexpr int kSweeps = 30;
    static constexpr int kPairs = 4;
    static constexpr int kLanes = static_cast<int>(hn::MaxLanes(D()));
    static constexpr int kVectors = kPairs / kLanes;

    // Columns 0 to 8 and again 0 to 2, so that any four that follow each other cyclically are side by side. What is
    // stored a second time, nine places before or behind, may fall into the margins.
    static constexpr int kPlaces = 12;
    static constexpr int kMargin = 4;
    using Row = double[kMargin + kPlaces + 8];

    // A sum of nine elements as sixteen partial sums make it.
    template <class Element>
    static HWY_INLINE V sumOf(Element element)
    {
        const V first = hn::Add(hn::Add(element(0), element(8)), element(4));
        const V third = hn::Add(element(2), element(6));
        const V rest = hn::Add(hn::Add(element(1), element(5)), hn::Add(element(3), element(7)));
        return hn::Add(hn::Add(first, third), rest);
    }

    // Four columns from a place on; those on the other side of h come in descending order.
    struct Run
    {
        int place;
        bool isDescending;

        HWY_INLINE V load(const Row& row, int vector) const
        {
            const D d;
            return isDescending ? hn::Reverse(d, hn::LoadU(d, row + place + kPairs - (vector + 1) * kLanes))
                                : hn::LoadU(d, row + place + vector * kLanes);
        }

        HWY_INLINE void store(V v, Row& row, int vector) const
        {
            const D d;
            const int at = isDescending ? place + kPairs - (vector + 1) * kLanes : place + vector * kLanes;
            const int again = place > kMargin + 4 ? at - kSize : at + kSize;
            const V ordered = isDescending ? hn::Reverse(d, v) : v;
            hn::StoreU(ordered, d, row + at);
            hn::StoreU(ordered, d, row + again);
        }
    };

    HWY_INLINE bool turn(int step)
    {
        const D d;
        const V one = hn::Set(d, 1.0);
        const int h = step * 5 % kSize;
        const Run xs = {kMargin + (h + 1) % kSize, false};
        const Run ys = {kMargin + (h + 5) % kSize, true};
        // Which of two columns is the first, and in which step of a sweep their turn is.
        HWY_ALIGN double signs[kPairs];
        HWY_ALIGN double steps[kPairs];
        for (int j = 1; j <= kPairs; ++j)
        {
            const int x = (h + j) % kSize;
            const int y = (h + kSize - j) % kSize;
            signs[j - 1] = x < y ? 1 : -1;
            steps[j - 1] = x + y;
        }
        const V now = hn::Set(d, static_cast<double>(step));
        const V lastSweep = hn::Set(d, static_cast<double>(step - kSweeps * kSize));
        V cosines[kVectors];
        V sines[kVectors];
        hn::Mask<D> turns[kVectors];
        bool isAny = false;
        for (int g = 0; g < kVectors; ++g)
        {
            const V wx = xs.load(squares_, g);
            const V wy = ys.load(squares_, g);
            const V G = sumOf([&](int i) HWY_ATTR { return hn::Mul(xs.load(a_[i], g), ys.load(a_[i], g)); });
            const V due = hn::Load(d, steps + g * kLanes);
            const auto isDue = hn::And(hn::Le(due, now), hn::Gt(due, lastSweep));
            const V limit = hn::Mul(hn::Set(d, 0x1p-48), hn::Sqrt(hn::Mul(wx, wy)));
            turns[g] = hn::And(isDue, hn::Gt(hn::Abs(G), limit));
            isAny = isAny || !hn::AllFalse(d, turns[g]);
            const V sign = hn::Load(d, signs + g * kLanes);
            const V Z = hn::Div(hn::Mul(sign, hn::Sub(wy, wx)), hn::Add(G, G));
            const V size = hn::Div(one, hn::Add(hn::Abs(Z), hn::Sqrt(hn::Add(one, hn::Mul(Z, Z)))));
            const V t = hn::IfThenElse(hn::Lt(Z, hn::Zero(d)), hn::Neg(size), size);
            cosines[g] = hn::Div(one, hn::Sqrt(hn::Add(one, hn::Mul(t, t))));
            sines[g] = hn::Mul(sign, hn::Mul(cosines[g], t));
        }
        if (!isAny)
        {
            return false;
        }
        V xSquares[kVectors][kSize];
        V ySquares[kVectors][kSize];
        for (int i = 0; i < kSize; ++i)
        {
            for (int g = 0; g < kVectors; ++g)
            {
                const V x = xs.load(a_[i], g);
                const V y = ys.load(a_[i], g);
                const V newX = turned(turns[g], x, hn::Sub(hn::Mul(cosines[g], x), hn::Mul(sines[g], y)));
                const V newY = turned(turns[g], y, hn::Add(hn::Mul(sines[g], x), hn::Mul(cosines[g], y)));
                xSquares[g][i] = hn::Mul(newX, newX);
                ySquares[g][i] = hn::Mul(newY, newY);
                xs.store(newX, a_[i], g);
                ys.store(newY, a_[i], g);
            }
        }
        for (int g = 0; g < kVectors; ++g)
        {
            xs.store(sumOf([&](int i) HWY_ATTR { return xSquares[g][i]; }), squares_, g);
            ys.store(sumOf([&](int i) HWY_ATTR { return ySquares[g][i]; }), squares_, g);
        }
        for (int i = 0; i < kSize; ++i)
        {
            for (int g = 0; g < kVectors; ++g)
            {
                const V x = xs.load(v_[i], g);
                const V y = ys.load(v_[i], g);
                xs.store(turned(turns[g], x, hn::Sub(hn::Mul(cosines[g], x), hn::Mul(sines[g], y))), v_[i], g);
                ys.store(turned(turns[g], y, hn::Add(hn::Mul(sines[g], x), hn::Mul(cosines[g], y))), v_[i], g);
            }
        }
        return true;
    }

    static HWY_INLINE V turned(hn::Mask<D> turns, V old, V changed) { return hn::IfThenElse(turns, changed, old); }

    Row a_[kSize];
    Row v_[kSize];
    Row squares_;
};

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#endif
