// Corners of a checkerboard, reference variant.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "cpu/shape/visoraShapePeak.h"
#include "cpu/visoraPartialSums.h"
#include "visora/variants/shape.h"

using visora::imageRow;
using visora::partBytes;
using visora::Scratch;

namespace
{

constexpr uint32_t kMargin = 5;
constexpr size_t kRing = 16;
constexpr std::array<int, kRing> kRingX = {0, 2, 4, 5, 5, 5, 4, 2, 0, -2, -4, -5, -5, -5, -4, -2};
constexpr std::array<int, kRing> kRingY = {-5, -5, -4, -2, 0, 2, 4, 5, 5, 5, 4, 2, 0, -2, -4, -5};

struct Source
{
    int at(int64_t x, int64_t y) const { return imageRow(src, stride, static_cast<uint32_t>(y))[x]; }

    const uint8_t* src;
    uint32_t width;
    uint32_t height;
    uint32_t stride;
};

// ---- Candidates ----

// How much the pixels around are like a corner's: four quarters in turn dark and bright, alike through the centre.
void respond(const Source& image, uint32_t y, int16_t* to)
{
    std::array<const uint8_t*, kRing> ring;
    for (size_t n = 0; n < kRing; ++n)
    {
        ring[n] = imageRow(image.src, image.stride, y + static_cast<uint32_t>(kRingY[n])) + kRingX[n];
    }
    const uint8_t* above = imageRow(image.src, image.stride, y - 1);
    const uint8_t* here = imageRow(image.src, image.stride, y);
    const uint8_t* below = imageRow(image.src, image.stride, y + 1);
    for (size_t x = kMargin; x + kMargin < image.width; ++x)
    {
        int quarters = 0;
        int halves = 0;
        int sum = 0;
        for (size_t n = 0; n < 4; ++n)
        {
            quarters += std::abs(ring[n][x] + ring[n + 8][x] - ring[n + 4][x] - ring[n + 12][x]);
        }
        for (size_t n = 0; n < 8; ++n)
        {
            halves += std::abs(ring[n][x] - ring[n + 8][x]);
            sum += ring[n][x] + ring[n + 8][x];
        }
        const int centre = above[x] + here[x - 1] + here[x] + here[x + 1] + below[x];
        to[x] = static_cast<int16_t>(quarters - halves - std::abs(5 * sum - 16 * centre) / 5);
    }
}

struct Candidate
{
    int16_t response;
    visora::PackedPoint pixel;
};

struct Vector
{
    Vector operator+(const Vector& o) const { return {x + o.x, y + o.y}; }
    Vector operator-(const Vector& o) const { return {x - o.x, y - o.y}; }
    Vector operator-() const { return {-x, -y}; }
    double squared() const { return x * x + y * y; }

    double x;
    double y;
};

struct Corner
{
    Vector at;
    std::array<uint8_t, kRing> ring;
};

// Where gradients about a corner point past, to a fraction of a pixel; false where there is none.
bool refine(const Source& image, visora::PackedPoint pixel, Vector& q)
{
    const double px = visora::xOf(pixel);
    const double py = visora::yOf(pixel);
    q = {px, py};
    for (int round = 0; round < 5; ++round)
    {
        const double centreX = std::floor(q.x + 0.5);
        const double centreY = std::floor(q.y + 0.5);
        if (std::fabs(centreX - px) > 2 || std::fabs(centreY - py) > 2)
        {
            return false;
        }
        visora::PartialSums<double> sums[5];
        for (int64_t i = 0; i < 121; ++i)
        {
            const int64_t x = static_cast<int64_t>(centreX) + i % 11 - 5;
            const int64_t y = static_cast<int64_t>(centreY) + i / 11 - 5;
            if (x < 1 || y < 1 || x + 1 >= image.width || y + 1 >= image.height)
            {
                continue;
            }
            const double dx = static_cast<double>(x) - q.x;
            const double dy = static_cast<double>(y) - q.y;
            const double t = 1.0 - (dx * dx + dy * dy) * (1.0 / 36.0);
            const double w = t > 0 ? t * t : 0;
            const double gx = image.at(x + 1, y) - image.at(x - 1, y);
            const double gy = image.at(x, y + 1) - image.at(x, y - 1);
            const double xx = w * (gx * gx);
            const double xy = w * (gx * gy);
            const double yy = w * (gy * gy);
            const double elements[5] = {xx, xy, yy, xx * dx + xy * dy, xy * dx + yy * dy};
            for (size_t k = 0; k < 5; ++k)
            {
                sums[k].add(static_cast<size_t>(i), elements[k]);
            }
        }
        const double a = sums[0].total();
        const double b = sums[1].total();
        const double c = sums[2].total();
        const double u = sums[3].total();
        const double v = sums[4].total();
        const double det = a * c - b * b;
        if (!(det > 0))
        {
            return false;
        }
        q.x += (c * u - b * v) / det;
        q.y += (a * v - b * u) / det;
    }
    return std::fabs(q.x - px) < 3 && std::fabs(q.y - py) < 3;
}

// ---- The grid ----

// All corners, and those of each square of the image.
class Corners
{
  public:
    static size_t bytes(uint32_t width, uint32_t height, size_t most)
    {
        return partBytes<Corner>(most) + partBytes<uint32_t>(most) + partBytes<uint32_t>(cells(width, height) + 1);
    }

    Corners(visora::Parts& parts, uint32_t width, uint32_t height, size_t most)
        : corners_(parts.take<Corner>(most)),
          order_(parts.take<uint32_t>(most)),
          begins_(parts.take<uint32_t>(cells(width, height) + 1)),
          columns_(width / kCell + 1),
          rows_(height / kCell + 1)
    {
    }

    void add(const Corner& corner) { corners_[size_++] = corner; }
    uint32_t size() const { return size_; }
    const Corner& operator[](uint32_t i) const { return corners_[i]; }

    // To be called when all are added.
    void sort()
    {
        std::fill_n(begins_, columns_ * rows_ + 1, 0u);
        for (uint32_t i = 0; i < size_; ++i)
        {
            ++begins_[cellOf(corners_[i].at) + 1];
        }
        for (size_t cell = 0; cell < columns_ * rows_; ++cell)
        {
            begins_[cell + 1] += begins_[cell];
        }
        // Backward, so that begins_ ends as it should be.
        for (uint32_t i = 0; i < size_; ++i)
        {
            order_[begins_[cellOf(corners_[i].at)]++] = i;
        }
        for (size_t cell = columns_ * rows_; cell > 0; --cell)
        {
            begins_[cell] = begins_[cell - 1];
        }
        begins_[0] = 0;
    }

    // Two corners whose quarters are dark and bright the other way round.
    bool areOpposite(uint32_t i, uint32_t j) const
    {
        int products = 0;
        int sumI = 0;
        int sumJ = 0;
        for (size_t n = 0; n < kRing; ++n)
        {
            products += corners_[i].ring[n] * corners_[j].ring[n];
            sumI += corners_[i].ring[n];
            sumJ += corners_[j].ring[n];
        }
        return 16 * products - sumI * sumJ < 0;
    }

    // The nearest corner that accept(i, its square distance) takes, of those within `reach`; size() without one.
    template <class Accept>
    uint32_t nearest(const Vector& to, double reach, Accept accept) const
    {
        uint32_t best = size_;
        double least = 0;
        const size_t right = columnOf(to.x + reach);
        const size_t bottom = rowOf(to.y + reach);
        for (size_t row = rowOf(to.y - reach); row <= bottom; ++row)
        {
            for (size_t column = columnOf(to.x - reach); column <= right; ++column)
            {
                const size_t cell = row * columns_ + column;
                for (uint32_t k = begins_[cell]; k < begins_[cell + 1]; ++k)
                {
                    const uint32_t i = order_[k];
                    const double squared = (corners_[i].at - to).squared();
                    if ((best == size_ || squared < least || (squared == least && i < best)) && accept(i, squared))
                    {
                        best = i;
                        least = squared;
                    }
                }
            }
        }
        return best;
    }

  private:
    static constexpr uint32_t kCell = 32;

    static size_t cells(uint32_t width, uint32_t height)
    {
        return (size_t{width} / kCell + 1) * (size_t{height} / kCell + 1);
    }
    size_t columnOf(double x) const { return clamped(x, columns_); }
    size_t rowOf(double y) const { return clamped(y, rows_); }
    static size_t clamped(double v, size_t count)
    {
        return static_cast<size_t>(std::clamp(v / kCell, 0.0, static_cast<double>(count - 1)));
    }
    size_t cellOf(const Vector& at) const { return rowOf(at.y) * columns_ + columnOf(at.x); }

    Corner* corners_;
    uint32_t* order_;
    uint32_t* begins_;
    size_t columns_;
    size_t rows_;
    uint32_t size_ = 0;
};

// A place of the grid that a corner has.
struct Place
{
    uint32_t corner;
    int32_t u;
    int32_t v;
    Vector a;
    Vector b;
};

// The grid that grows from one corner.
class Board
{
  public:
    static size_t bytes(uint32_t columns, uint32_t rows, size_t corners)
    {
        const size_t side = 2 * size_t{std::max(columns, rows)} + 1;
        return partBytes<uint32_t>(side * side) + partBytes<Place>(size_t{columns} * rows + 1) +
               partBytes<uint8_t>(corners);
    }

    Board(visora::Parts& parts, const Corners& corners, uint32_t columns, uint32_t rows, size_t most)
        : corners_(corners),
          columns_(static_cast<int32_t>(columns)),
          rows_(static_cast<int32_t>(rows)),
          reach_(std::max(columns_, rows_)),
          side_(2 * static_cast<size_t>(reach_) + 1),
          grid_(parts.take<uint32_t>(side_ * side_)),
          places_(parts.take<Place>(size_t{columns} * rows + 1)),
          used_(parts.take<uint8_t>(most))
    {
    }

    // Whether the whole board grows from this corner.
    bool growFrom(uint32_t origin)
    {
        const double everywhere = 1e6;
        const Vector at = corners_[origin].at;
        const auto isOther = [&](uint32_t i) { return i != origin && corners_.areOpposite(origin, i); };
        const uint32_t toA =
            corners_.nearest(at, everywhere, [&](uint32_t i, double /*squared*/) { return isOther(i); });
        if (toA == corners_.size())
        {
            return false;
        }
        const Vector a = corners_[toA].at - at;
        const uint32_t toB = corners_.nearest(at, everywhere,
                                              [&](uint32_t i, double squared)
                                              {
                                                  const Vector b = corners_[i].at - at;
                                                  const double dot = a.x * b.x + a.y * b.y;
                                                  return isOther(i) && 2.0 * (dot * dot) < a.squared() * squared;
                                              });
        if (toB == corners_.size())
        {
            return false;
        }
        std::fill_n(grid_, side_ * side_, kEmpty);
        std::fill_n(used_, corners_.size(), uint8_t{0});
        size_ = 0;
        left_ = right_ = top_ = bottom_ = 0;
        take({origin, 0, 0, a, corners_[toB].at - at});
        for (int64_t i = 0; i < size_; ++i)
        {
            for (const int direction : {0, 1, 2, 3})
            {
                if (!step(places_[i], direction))
                {
                    return false;
                }
            }
        }
        const int32_t width = right_ - left_ + 1;
        const int32_t height = bottom_ - top_ + 1;
        return size_ == int64_t{columns_} * rows_ &&
               ((width == columns_ && height == rows_) || (width == rows_ && height == columns_));
    }

    // Lists the corners row by row, from the top left where the board is upright.
    void list(float* xy) const
    {
        Axes axes{false, false, false};
        axes.areExchanged = right_ - left_ + 1 != columns_;
        const auto alongU = [&] { return at(axes, columns_ - 1, 0) - at(axes, 0, 0); };
        const auto alongV = [&] { return at(axes, 0, rows_ - 1) - at(axes, 0, 0); };
        Vector u = alongU();
        Vector v = alongV();
        if (columns_ == rows_ && std::fabs(v.x) * std::sqrt(u.squared()) > std::fabs(u.x) * std::sqrt(v.squared()))
        {
            axes.areExchanged = !axes.areExchanged;
            u = alongU();
        }
        axes.isUReversed = std::fabs(u.x) >= std::fabs(u.y) ? u.x < 0 : u.y < 0;
        u = alongU();
        v = alongV();
        axes.isVReversed = u.x * v.y - u.y * v.x < 0;
        for (int32_t row = 0; row < rows_; ++row)
        {
            for (int32_t column = 0; column < columns_; ++column)
            {
                const Vector corner = at(axes, column, row);
                *xy++ = static_cast<float>(corner.x);
                *xy++ = static_cast<float>(corner.y);
            }
        }
    }

  private:
    static constexpr uint32_t kEmpty = 0xffffffff;

    struct Axes
    {
        bool areExchanged;
        bool isUReversed;
        bool isVReversed;
    };

    uint32_t& cell(int32_t u, int32_t v) const
    {
        return grid_[static_cast<size_t>(v + reach_) * side_ + static_cast<size_t>(u + reach_)];
    }

    Vector at(const Axes& axes, int32_t column, int32_t row) const
    {
        column = axes.isUReversed ? columns_ - 1 - column : column;
        row = axes.isVReversed ? rows_ - 1 - row : row;
        const int32_t u = axes.areExchanged ? row : column;
        const int32_t v = axes.areExchanged ? column : row;
        return corners_[cell(left_ + u, top_ + v)].at;
    }

    void take(const Place& place)
    {
        cell(place.u, place.v) = place.corner;
        used_[place.corner] = 1;
        left_ = std::min(left_, place.u);
        right_ = std::max(right_, place.u);
        top_ = std::min(top_, place.v);
        bottom_ = std::max(bottom_, place.v);
        places_[size_++] = place;
    }

    // Looks for the corner one step further; false when the grid becomes larger than the board.
    bool step(const Place from, int direction)
    {
        const bool isA = direction < 2;
        const bool isBack = direction % 2 != 0;
        const int32_t u = from.u + (isA ? (isBack ? -1 : 1) : 0);
        const int32_t v = from.v + (isA ? 0 : (isBack ? -1 : 1));
        if (cell(u, v) != kEmpty)
        {
            return true;
        }
        const Vector forward = isA ? from.a : from.b;
        const Vector way = isBack ? -forward : forward;
        const Vector position = corners_[from.corner].at;
        const double limit = 0.09 * way.squared();
        const uint32_t found =
            corners_.nearest(position + way, std::sqrt(limit) + 1,
                             [&](uint32_t i, double squared)
                             { return squared < limit && used_[i] == 0 && corners_.areOpposite(from.corner, i); });
        if (found == corners_.size())
        {
            return true;
        }
        const Vector difference = corners_[found].at - position;
        const Vector along = isBack ? -difference : difference;
        take({found, u, v, isA ? along : from.a, isA ? from.b : along});
        return size_ <= int64_t{columns_} * rows_ && right_ - left_ < reach_ && bottom_ - top_ < reach_;
    }

    const Corners& corners_;
    int32_t columns_;
    int32_t rows_;
    int32_t reach_;
    size_t side_;
    uint32_t* grid_;
    Place* places_;
    uint8_t* used_;
    int64_t size_ = 0;
    int32_t left_ = 0;
    int32_t right_ = 0;
    int32_t top_ = 0;
    int32_t bottom_ = 0;
};

vsrStatus fail(uint32_t* count)
{
    *count = 0;
    return VISORA_EFAIL;
}

}  // namespace

vsrStatus vsrCheckerboardCornersu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    uint32_t columns, uint32_t rows, float* xy, uint32_t* count)
{
    const Source image{src, srcWidth, srcHeight, srcStride};
    const size_t pixels = size_t{srcWidth} * srcHeight;
    const uint32_t wanted = columns * rows;
    const size_t most = 4 * size_t{wanted};
    const Scratch scratch(partBytes<int16_t>(pixels) + Corners::bytes(srcWidth, srcHeight, most) +
                          Board::bytes(columns, rows, most));
    if (!scratch.data())
    {
        return VISORA_ENOMEM;
    }
    visora::Parts parts(scratch);
    auto* const responses = parts.take<int16_t>(pixels);
    std::fill_n(responses, pixels, int16_t{0});
    for (uint32_t y = kMargin; y + kMargin < srcHeight; ++y)
    {
        respond(image, y, responses + size_t{y} * srcWidth);
    }
    const int16_t greatest = *std::max_element(responses, responses + pixels);
    if (greatest <= 0)
    {
        return fail(count);
    }

    const visora::PeakPicture<int16_t> picture{responses, srcWidth, srcHeight, 2 * srcWidth};
    const auto forPeaks = [&](auto body)
    {
        for (uint32_t y = kMargin; y + kMargin < srcHeight; ++y)
        {
            for (uint32_t x = kMargin; x + kMargin < srcWidth; ++x)
            {
                if (picture.at(x, y) > greatest / 8 && picture.isPeak(x, y, 1, 5))
                {
                    body(Candidate{picture.at(x, y), visora::packPoint(x, y)});
                }
            }
        }
    };
    size_t found = 0;
    forPeaks([&](const Candidate& /*candidate*/) { ++found; });
    const Scratch list(partBytes<Candidate>(found + 1));
    if (!list.data())
    {
        return VISORA_ENOMEM;
    }
    auto* const candidates = list.as<Candidate>();
    found = 0;
    forPeaks([&](const Candidate& candidate) { candidates[found++] = candidate; });
    std::sort(candidates, candidates + found,
              [](const Candidate& a, const Candidate& b)
              { return a.response != b.response ? a.response > b.response : a.pixel < b.pixel; });

    Corners corners(parts, srcWidth, srcHeight, most);
    for (size_t i = 0; i < std::min(found, most); ++i)
    {
        Corner corner;
        if (refine(image, candidates[i].pixel, corner.at))
        {
            for (size_t n = 0; n < kRing; ++n)
            {
                corner.ring[n] = static_cast<uint8_t>(image.at(int64_t{visora::xOf(candidates[i].pixel)} + kRingX[n],
                                                               int64_t{visora::yOf(candidates[i].pixel)} + kRingY[n]));
            }
            corners.add(corner);
        }
    }
    if (corners.size() < wanted)
    {
        return fail(count);
    }
    corners.sort();
    Board board(parts, corners, columns, rows, most);
    for (uint32_t origin = 0; origin < std::min(corners.size(), 16u); ++origin)
    {
        if (board.growFrom(origin))
        {
            board.list(xy);
            *count = wanted;
            return VISORA_SUCCESS;
        }
    }
    return fail(count);
}
