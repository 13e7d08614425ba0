// Contours, stable regions and straight edges, drawn on the photograph.
#include <algorithm>
#include <array>

#include "stages.h"
#include "visora/shape.h"

namespace demo
{
namespace
{

// One of some colours that are easily told apart.
const uint8_t* colorOf(size_t i)
{
    static constexpr uint8_t kColors[][3] = {{255, 64, 64}, {64, 200, 64}, {64, 128, 255}, {255, 200, 0},
                                             {255, 0, 255}, {0, 220, 220}, {255, 128, 0},  {160, 96, 255}};
    return kColors[i % std::size(kColors)];
}

// A dark picture to draw on.
Picture dimmed(const Picture& gray)
{
    Picture rgb = toRgb(gray);
    std::transform(rgb.pixels.begin(), rgb.pixels.end(), rgb.pixels.begin(),
                   [](uint8_t v) { return static_cast<uint8_t>(v / 2); });
    return rgb;
}

Picture drawContours(const Photograph& photograph, Runner& runner)
{
    const Picture& gray = photograph.gray;
    Picture mask(gray.width, gray.height, 1);
    std::transform(gray.pixels.begin(), gray.pixels.end(), mask.pixels.begin(),
                   [](uint8_t v) { return static_cast<uint8_t>(v > 128 ? 255 : 0); });
    const auto pixels = static_cast<uint32_t>(gray.pixels.size());
    std::vector<uint32_t> lengths(pixels / 2 + 1);
    std::vector<vsrContourLinks> links(lengths.size());
    std::vector<int32_t> xy(4 * size_t{pixels});
    uint32_t contours = 0;
    uint32_t points = 0;
    runner.run("contours", pixels,
               [&]
               {
                   return vsrFindContoursu8(mask.data(), mask.width, mask.height, 0, VISORA_CHAIN_CORNERS,
                                            lengths.data(), links.data(), pixels / 2 + 1, &contours, xy.data(),
                                            2 * pixels, &points);
               });
    Picture result = dimmed(gray);
    const int32_t* chain = xy.data();
    for (uint32_t i = 0; i < contours; ++i)
    {
        if (lengths[i] > 8)
        {
            vsrDrawPolylineu8(result.data(), result.width, result.height, 0, 3, chain, &lengths[i], 1, 1,
                              colorOf(links[i].isHole != 0 ? 2 : 3), 1, 1);
        }
        chain += 2 * size_t{lengths[i]};
    }
    return result;
}

Picture drawStableRegions(const Photograph& photograph, Runner& runner)
{
    const Picture& gray = photograph.gray;
    const auto pixels = static_cast<uint32_t>(gray.pixels.size());
    constexpr uint32_t kMaxRegions = 20000;
    vsrMser* mser = nullptr;
    if (vsrMserCreate(gray.width, gray.height, 5, 60, pixels / 20, 0.25f, 0.4f, &mser) != VISORA_SUCCESS)
    {
        return {};
    }
    std::vector<vsrMserRegion> regions(kMaxRegions);
    std::vector<uint8_t> bright(kMaxRegions);
    std::vector<uint32_t> xy(16 * size_t{pixels});
    uint32_t count = 0;
    uint32_t used = 0;
    runner.run("stable regions", pixels,
               [&]
               {
                   return vsrMserDetectu8(mser, gray.data(), gray.width, gray.height, 0, regions.data(), bright.data(),
                                          kMaxRegions, &count, xy.data(), 8 * pixels, &used);
               });
    vsrMserRelease(mser);
    std::vector<vsrEllipse> ellipses(count);
    if (count != 0)
    {
        vsrMserEllipsesf32(regions.data(), count, xy.data(), used, ellipses.data());
    }
    Picture result = dimmed(gray);
    for (uint32_t i = 0; i < count; ++i)
    {
        vsrDrawEllipseu8(result.data(), result.width, result.height, 0, 3, &ellipses[i], 0, 360, colorOf(bright[i]), 1);
    }
    return result;
}

Picture drawSegments(const Photograph& photograph, Runner& runner)
{
    const Picture& gray = photograph.gray;
    constexpr uint32_t kMaxSegments = 20000;
    std::vector<float> segments(5 * size_t{kMaxSegments});
    uint32_t count = 0;
    runner.run("straight edges", gray.pixels.size(),
               [&]
               {
                   return vsrFindLineSegmentsu8(gray.data(), gray.width, gray.height, 0, 12, 22.5f, 15, 0.6f,
                                                segments.data(), kMaxSegments, &count);
               });
    Picture result = dimmed(gray);
    for (uint32_t i = 0; i < count; ++i)
    {
        std::array<int32_t, 4> ends{};
        std::transform(&segments[5 * size_t{i}], &segments[5 * size_t{i}] + 4, ends.begin(),
                       [](float v) { return static_cast<int32_t>(v + 0.5f); });
        vsrDrawLineu8(result.data(), result.width, result.height, 0, 3, ends[0], ends[1], ends[2], ends[3], colorOf(i),
                      1, 1);
    }
    return result;
}

const RegisterStages shapes({
    {"contours of what is bright (yellow) and of its holes (blue)", drawContours},
    {"maximally stable regions, dark (red) and bright (green)", drawStableRegions},
    {"straight edges", drawSegments},
});

}  // namespace
}  // namespace demo
