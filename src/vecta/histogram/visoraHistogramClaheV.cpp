// Adaptive equalisation, vector variants: the image is cut into cells whose pixels blend the same four tiles.
#include "cpu/visoraPlane.h"
#include "visora/variants/statistics.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vecta/histogram/visoraHistogramClaheV.cpp"
#include <algorithm>
#include <cstring>

#include "cpu/histogram/visoraHistogramClahe.h"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "vecta/visoraExport.h"
#include "vecta/visoraVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace visora
{
namespace HWY_NAMESPACE
{

using Floats = hn::CappedTag<float, 16>;
using Words = hn::Rebind<int32_t, Floats>;
constexpr size_t kMaxLanes = hn::MaxLanes(Floats());

// Words at byte offsets scale * index from a table.
template <size_t scale, class T, class V>
HWY_INLINE hn::Vec<Words> lookUp(const T* table, V index)
{
    const Words d;
#if HWY_TARGET <= HWY_AVX2
    return hn::GatherOffset(d, reinterpret_cast<const int32_t*>(table),
                            hn::Mul(index, hn::Set(d, static_cast<int32_t>(scale))));
#else
    HWY_ALIGN int32_t at[kMaxLanes];
    HWY_ALIGN int32_t words[kMaxLanes];
    hn::Store(index, d, at);
    for (size_t i = 0; i < hn::Lanes(d); ++i)
    {
        std::memcpy(&words[i], reinterpret_cast<const uint8_t*>(table) + scale * static_cast<size_t>(at[i]),
                    sizeof words[i]);
    }
    return hn::Load(d, words);
#endif
}

using FloatVector = hn::Vec<Floats>;
struct Levels
{
    FloatVector upperLeft, upperRight, lowerLeft, lowerRight;
};

// The four maps of a cell side by side: one look-up serves a pixel.
class ByteCell
{
  public:
    HWY_INLINE ByteCell(const Clahe<uint8_t>& clahe, const uint8_t* maps, const ClaheAxis::Blend& across,
                        const ClaheAxis::Blend& down)
    {
        const uint8_t* four[] = {
            clahe.mapOf(maps, across.first, down.first), clahe.mapOf(maps, across.second, down.first),
            clahe.mapOf(maps, across.first, down.second), clahe.mapOf(maps, across.second, down.second)};
        for (size_t v = 0; v < 256; ++v)
        {
            levels_[v] = uint32_t{four[0][v + 1]} | uint32_t{four[1][v + 1]} << 8 | uint32_t{four[2][v + 1]} << 16 |
                         uint32_t{four[3][v + 1]} << 24;
        }
    }

    template <class V>
    HWY_INLINE Levels at(V pixels) const
    {
        const Words d;
        const auto four = hn::BitCast(hn::RebindToUnsigned<Words>(), lookUp<4>(levels_, pixels));
        const auto part = [&](auto v) HWY_ATTR
        { return hn::ConvertTo(Floats(), hn::And(hn::BitCast(d, v), hn::Set(d, 0xff))); };
        return {part(four), part(hn::ShiftRight<8>(four)), part(hn::ShiftRight<16>(four)),
                part(hn::ShiftRight<24>(four))};
    }

  private:
    uint32_t levels_[256];
};

// A look-up gives the levels at both ends of a bin.
class WordCell
{
  public:
    HWY_INLINE WordCell(const Clahe<uint16_t>& clahe, const uint16_t* maps, const ClaheAxis::Blend& across,
                        const ClaheAxis::Blend& down)
        : upperLeft_(clahe.mapOf(maps, across.first, down.first)),
          upperRight_(clahe.mapOf(maps, across.second, down.first)),
          lowerLeft_(clahe.mapOf(maps, across.first, down.second)),
          lowerRight_(clahe.mapOf(maps, across.second, down.second)),
          shift_(static_cast<int>(clahe.shift))
    {
    }

    template <class V>
    HWY_INLINE Levels at(V pixels) const
    {
        const Words d;
        const auto bin = hn::ShiftRightSame(pixels, shift_);
        const auto place = hn::Add(hn::And(pixels, hn::Set(d, (1 << shift_) - 1)), hn::Set(d, 1));
        const auto half = hn::Set(d, (1 << shift_) >> 1);
        const auto level = [&](const uint16_t* map) HWY_ATTR
        {
            const auto both = hn::BitCast(hn::RebindToUnsigned<Words>(), lookUp<2>(map, bin));
            const auto begin = hn::And(hn::BitCast(d, both), hn::Set(d, 0xffff));
            const auto end = hn::BitCast(d, hn::ShiftRight<16>(both));
            const auto rise = hn::Add(hn::Mul(hn::Sub(end, begin), place), half);
            return hn::ConvertTo(Floats(), hn::Add(begin, hn::ShiftRightSame(rise, shift_)));
        };
        return {level(upperLeft_), level(upperRight_), level(lowerLeft_), level(lowerRight_)};
    }

  private:
    const uint16_t* upperLeft_;
    const uint16_t* upperRight_;
    const uint16_t* lowerLeft_;
    const uint16_t* lowerRight_;
    int shift_;
};

// Blends the pixels of a row that lie in a cell. In place is allowed, so none is read after it is written.
template <class Cell, class T>
HWY_INLINE void blendRow(const Cell& cell, const T* src, const float* weights, size_t count, float down, T* dst)
{
    const Floats d;
    const Words d32;
    const hn::Rebind<T, Floats> dPixel;
    const size_t lanes = hn::Lanes(d);
    const auto wy = hn::Set(d, down);
    const auto uy = hn::Set(d, 1.0f - down);
    const auto step = [&](const T* from, const float* weight, T* to) HWY_ATTR
    {
        const Levels t = cell.at(hn::PromoteTo(d32, hn::LoadU(dPixel, from)));
        const auto wx = hn::LoadU(d, weight);
        const auto ux = hn::Sub(hn::Set(d, 1.0f), wx);
        const auto upper = hn::Mul(hn::Add(hn::Mul(t.upperLeft, ux), hn::Mul(t.upperRight, wx)), uy);
        const auto lower = hn::Mul(hn::Add(hn::Mul(t.lowerLeft, ux), hn::Mul(t.lowerRight, wx)), wy);
        hn::StoreU(hn::DemoteTo(dPixel, hn::NearestInt(hn::Add(upper, lower))), dPixel, to);
    };
    size_t x = 0;
    for (; x + lanes <= count; x += lanes)
    {
        step(src + x, weights + x, dst + x);
    }
    if (x < count)
    {
        T pixels[kMaxLanes] = {};
        float weight[kMaxLanes] = {};
        std::copy(src + x, src + count, pixels);
        std::copy(weights + x, weights + count, weight);
        step(pixels, weight, pixels);
        std::copy(pixels, pixels + (count - x), dst + x);
    }
}

// Calls body(begin, end, blend) for the runs of places that blend the same tiles.
template <class Body>
HWY_INLINE void forRuns(const ClaheAxis& axis, Body body)
{
    uint32_t begin = 0;
    ClaheAxis::Blend first = axis.at(0);
    for (uint32_t place = 1; place <= axis.size; ++place)
    {
        const ClaheAxis::Blend next = place < axis.size ? axis.at(place) : first;
        if (place == axis.size || next.first != first.first || next.second != first.second)
        {
            body(begin, place, first);
            begin = place;
            first = next;
        }
    }
}

template <class Cell, class T>
HWY_INLINE vsrStatus clahe(const Clahe<T>& clahe, T* dst, uint32_t dstStride)
{
    const ClaheMaps<T> scratch(clahe, (clahe.x.size * sizeof(float) + 63) / 64 * 64);
    if (!scratch)
    {
        return VISORA_ENOMEM;
    }
    auto* weights = reinterpret_cast<float*>(scratch.extra());
    for (uint32_t x = 0; x < clahe.x.size; ++x)
    {
        weights[x] = clahe.x.at(x).weight;
    }
    forRuns(clahe.y,
            [&](uint32_t top, uint32_t bottom, const ClaheAxis::Blend& down) HWY_ATTR
            {
                forRuns(clahe.x,
                        [&](uint32_t left, uint32_t right, const ClaheAxis::Blend& across) HWY_ATTR
                        {
                            const Cell cell(clahe, scratch.maps(), across, down);
                            for (uint32_t y = top; y < bottom; ++y)
                            {
                                blendRow(cell, planeRow(clahe.src, clahe.stride, y) + left, weights + left,
                                         right - left, clahe.y.at(y).weight, planeRow(dst, dstStride, y) + left);
                            }
                        });
            });
    return VISORA_SUCCESS;
}

vsrStatus claheu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                  uint32_t tilesY, float clipLimit, uint8_t* dst, uint32_t dstStride)
{
    return clahe<ByteCell, uint8_t>({src, srcWidth, srcHeight, srcStride, tilesX, tilesY, clipLimit, 256}, dst,
                                    dstStride);
}

vsrStatus claheu16(const uint16_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t tilesX,
                   uint32_t tilesY, float clipLimit, uint32_t bins, uint16_t* dst, uint32_t dstStride)
{
    return clahe<WordCell, uint16_t>({src, srcWidth, srcHeight, srcStride, tilesX, tilesY, clipLimit, bins}, dst,
                                     dstStride);
}

}  // namespace HWY_NAMESPACE
}  // namespace visora
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

VSR_VECTOR(vsrClaheu8, claheu8);
VSR_VECTOR(vsrClaheu16, claheu16);

#endif
