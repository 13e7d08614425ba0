// Warps of u8 images, reference variants.
#include "cpu/visoraDrivers.h"
#include "cpu/warp/visoraWarpCall.h"
#include "visora/variants/warp.h"

namespace visora
{
namespace
{

uint8_t nearest(const WarpPlane& plane, const Place& place, uint32_t channel)
{
    constexpr int32_t kHalf = kPlaceOne / 2;
    return plane.at((place.u + kHalf) >> kPlaceBits, (place.v + kHalf) >> kPlaceBits, channel);
}

/** In 1/65536. */
uint32_t bilinear(const WarpPlane& plane, const Place& place, uint32_t channel)
{
    const int32_t i = place.u >> kPlaceBits;
    const int32_t j = place.v >> kPlaceBits;
    const auto a = static_cast<uint32_t>(place.u & (kPlaceOne - 1));
    const auto b = static_cast<uint32_t>(place.v & (kPlaceOne - 1));
    const uint32_t upper = (256 - a) * plane.at(i, j, channel) + a * plane.at(i + 1, j, channel);
    const uint32_t lower = (256 - a) * plane.at(i, j + 1, channel) + a * plane.at(i + 1, j + 1, channel);
    return (256 - b) * upper + b * lower;
}

uint8_t cubic(const WarpPlane& plane, const Place& place, uint32_t channel)
{
    const CubicWeights& columns = kCubicWeights[static_cast<size_t>(place.u & (kPlaceOne - 1))];
    const CubicWeights& rows = kCubicWeights[static_cast<size_t>(place.v & (kPlaceOne - 1))];
    int32_t sum = 0;
    for (size_t r = 0; r < kCubicTaps; ++r)
    {
        for (size_t c = 0; c < kCubicTaps; ++c)
        {
            sum += rows[r] * columns[c] *
                   plane.at((place.u >> kPlaceBits) - 1 + static_cast<int32_t>(c),
                            (place.v >> kPlaceBits) - 1 + static_cast<int32_t>(r), channel);
        }
    }
    return static_cast<uint8_t>(std::clamp((sum + (1 << 21)) >> 22, 0, 255));
}

/** The mean of n x n bilinear samples spread over the pixel, n by how much the image shrinks there. */
uint8_t area(const WarpCall& call, uint32_t x, uint32_t y)
{
    const auto centreX = static_cast<float>(call.positions.dstX + x);
    const auto centreY = static_cast<float>(call.positions.dstY + y);
    const float apart = reach(call.positions.matrix, call.positions.byMatrix(centreX, centreY));
    const float divisor = std::fabs(call.positions.divisor(centreX, centreY));
    int32_t n = 1;
    for (int32_t k = 1; k < kMaxAreaSamples; ++k)
    {
        n += apart > (static_cast<float>(k) + 0.25f) * divisor;
    }
    uint32_t sum = 0;
    for (int32_t r = 0; r < n; ++r)
    {
        for (int32_t c = 0; c < n; ++c)
        {
            const Position at = call.positions.byMatrix(centreX + areaOffset(c, n), centreY + areaOffset(r, n));
            sum += bilinear(call.plane(0), call.place(at), 0);
        }
    }
    const auto samples = static_cast<uint32_t>(n * n);
    return static_cast<uint8_t>(((sum + 32768 * samples) >> 16) / samples);
}

uint8_t sample(const WarpCall& call, const WarpPlane& plane, uint32_t x, uint32_t y, uint32_t channel)
{
    const Place place = call.place(call.positions.at(x, y));
    switch (call.interpolation)
    {
        case VISORA_INTERPOLATION_NEAREST:
            return nearest(plane, place, channel);
        case VISORA_INTERPOLATION_AREA:
            return area(call, x, y);
        case kCubic:
            return cubic(plane, place, channel);
        default:
            return static_cast<uint8_t>((bilinear(plane, place, channel) + 32768) >> 16);
    }
}

bool isInside(const WarpCall& call, uint32_t x, uint32_t y)
{
    const Place place = call.place(call.positions.at(x, y));
    return place.u >= 0 && place.u <= kPlaceOne * static_cast<int32_t>(call.srcWidth - 1) && place.v >= 0 &&
           place.v <= kPlaceOne * static_cast<int32_t>(call.srcHeight - 1);
}

}  // namespace

vsrStatus warpReference(const WarpCall& call)
{
    for (uint32_t y = 0; y < call.dstHeight; ++y)
    {
        uint32_t begin = 0;
        uint32_t end = 0;
        for (uint32_t x = 0; x < call.dstWidth; ++x)
        {
            if (call.insideRanges && !isInside(call, x, y))
            {
                continue;
            }
            begin = end == 0 ? x : begin;
            end = x + 1;
            for (size_t p = 0; p < call.planes; ++p)
            {
                uint8_t* out = call.dst[p] + size_t{y} * call.dstStride + size_t{x} * call.channels;
                for (uint32_t c = 0; c < call.channels; ++c)
                {
                    out[c] = sample(call, call.plane(p), x, y, c);
                }
            }
        }
        if (call.insideRanges)
        {
            call.insideRanges[2 * size_t{y}] = begin;
            call.insideRanges[2 * size_t{y} + 1] = end;
        }
    }
    return VISORA_SUCCESS;
}

}  // namespace visora

VSR_REFERENCE(vsrTransformAffineu8, warps::affine, visora::warpReference);
VSR_REFERENCE(vsrTransformAffineRGBA8888u8, warps::affineRgba, visora::warpReference);
VSR_REFERENCE(vsrTransformAffineClippedu8, warps::affineClipped, visora::warpReference);
VSR_REFERENCE(vsr3ChannelTransformAffineClippedBCu8, warps::affineClippedCubic, visora::warpReference);
VSR_REFERENCE(vsrWarpPerspectiveu8, warps::perspectiveOnBlack, visora::warpReference);
VSR_REFERENCE(vsrWarpPerspectiveu8_v3, warps::perspective, visora::warpReference);
VSR_REFERENCE(vsrWarpPerspectiveu8_v4, warps::tile, visora::warpReference);
VSR_REFERENCE(vsr3ChannelWarpPerspectiveu8, warps::threePlanesOnBlack, visora::warpReference);
VSR_REFERENCE(vsr3ChannelWarpPerspectiveu8_v2, warps::threePlanes, visora::warpReference);
VSR_REFERENCE(vsrRemapu8, warps::remap, visora::warpReference);
VSR_REFERENCE(vsrRemapRGBA8888u8, warps::remapRgba, visora::warpReference);
