// The photograph's contrast, raised by what was measured of it, and blocks that moved between two frames.
#include <algorithm>

#include "stages.h"
#include "visora/histogram.h"
#include "visora/motion.h"

namespace demo
{
namespace
{

constexpr uint32_t kTiles = 8;
constexpr float kClipLimit = 3;

constexpr uint32_t kBlock = 16;
constexpr uint32_t kStep = 8;
constexpr uint32_t kRange = 8;

// Offsets of a block in its first two channels: none is gray, to the right redder, downward bluer.
void tint(Picture& rgb, uint32_t left, uint32_t top, const int16_t* offset)
{
    for (uint32_t y = top; y < top + kStep; ++y)
    {
        for (uint32_t x = left; x < left + kStep; ++x)
        {
            uint8_t* pixel = rgb.data() + (size_t{y} * rgb.width + x) * 3;
            const int gray = pixel[0] / 2 + 64;
            const auto channel = [&](int change) { return static_cast<uint8_t>(std::clamp(gray + change, 0, 255)); };
            pixel[0] = channel(24 * offset[0]);
            pixel[1] = channel(-12 * (offset[0] + offset[1]));
            pixel[2] = channel(24 * offset[1]);
        }
    }
}

const RegisterStages measured({
    {"Equalised histogram",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& gray = photograph.gray;
         Picture result(gray.width, gray.height, 1);
         runner.run("equalisation", gray.pixels.size(),
                    [&] { return vsrEqualizeHistogramu8(gray.data(), gray.width, gray.height, result.data()); });
         return result;
     }},
    {"CLAHE: contrast raised locally",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& gray = photograph.gray;
         Picture result(gray.width, gray.height, 1);
         runner.run("CLAHE", gray.pixels.size(),
                    [&] {
                        return vsrClaheu8(gray.data(), gray.width, gray.height, 0, kTiles, kTiles, kClipLimit,
                                          result.data(), 0);
                    });
         return result;
     }},
    {"Motion of blocks to the next frame",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& first = photograph.gray;
         const Picture& second = photograph.nextGray;
         if (second.width != first.width || second.height != first.height ||
             std::min(first.width, first.height) < kBlock)
         {
             return Picture();
         }
         const uint32_t columns = (first.width - kBlock) / kStep + 1;
         const uint32_t rows = (first.height - kBlock) / kStep + 1;
         std::vector<int16_t> flow(size_t{2} * columns * rows);
         runner.run(
             "block matching", flow.size() / 2,
             [&]
             {
                 return vsrTrackBlockMatchu8(first.data(), first.width, first.height, 0, second.data(), 0, kBlock,
                                             kStep, kRange, kRange, flow.data(), 0, nullptr, 0);
             },
             "block");
         // A block's offset is shown in its middle.
         Picture result = toRgb(first);
         for (uint32_t i = 0; i < columns * rows; ++i)
         {
             tint(result, i % columns * kStep + kStep / 2, i / columns * kStep + kStep / 2, &flow[size_t{2} * i]);
         }
         return result;
     }},
});

}  // namespace
}  // namespace demo
