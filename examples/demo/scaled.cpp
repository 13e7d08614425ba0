// The photograph at smaller sizes, side by side.
#include <algorithm>

#include "stages.h"
#include "visora/scale.h"

namespace demo
{
namespace
{

// Puts the parts next to each other on white.
Picture strip(const std::vector<Picture>& parts)
{
    uint32_t width = 0;
    uint32_t height = 0;
    for (const Picture& part : parts)
    {
        width += part.width;
        height = std::max(height, part.height);
    }
    Picture whole(width, height, 1);
    std::fill(whole.pixels.begin(), whole.pixels.end(), uint8_t{255});
    uint32_t left = 0;
    for (const Picture& part : parts)
    {
        for (uint32_t y = 0; y < part.height; ++y)
        {
            std::copy_n(part.data() + size_t{y} * part.width, part.width,
                        whole.data() + size_t{y} * whole.width + left);
        }
        left += part.width;
    }
    return whole;
}

Picture scaledStrip(const Photograph& photograph, Runner& runner)
{
    const Picture& gray = photograph.gray;
    // Sides that every one of the fixed ratios divides.
    const uint32_t width = gray.width / 12 * 12;
    const uint32_t height = gray.height / 12 * 12;
    std::vector<Picture> parts;
    const auto add = [&](uint32_t dstWidth, uint32_t dstHeight, auto scale)
    {
        Picture part(dstWidth, dstHeight, 1);
        runner.run("scaling", size_t{width} * height, [&] { return static_cast<vsrStatus>(scale(part)); });
        parts.push_back(std::move(part));
    };
    add(width * 2 / 3, height * 2 / 3,
        [&](Picture& to) { return vsrScaleDown3To2u8(gray.data(), width, height, gray.width, to.data(), to.width); });
    add(width / 2, height / 2,
        [&](Picture& to) { return vsrScaleDownBy2u8_v2(gray.data(), width, height, gray.width, to.data(), to.width); });
    add(width / 3, height / 3,
        [&](Picture& to) {
            return vsrScaleDownu8_v2(gray.data(), width, height, gray.width, to.data(), to.width, to.height, to.width);
        });
    add(width / 4, height / 4,
        [&](Picture& to) { return vsrScaleDownBy4u8_v2(gray.data(), width, height, gray.width, to.data(), to.width); });
    add(width * 2 / 9, height * 2 / 9,
        [&](Picture& to)
        { return vsrScaleDownMNu8(gray.data(), width, height, gray.width, to.data(), to.width, to.height, to.width); });
    add(width / 5, height / 5,
        [&](Picture& to)
        { return vsrScaleDownNNu8(gray.data(), width, height, gray.width, to.data(), to.width, to.height, to.width); });
    return strip(parts);
}

const RegisterStages scales({{"3:2, by 2, by 3, by 4, 9:2, nearest 5:1", scaledStrip}});

}  // namespace
}  // namespace demo
