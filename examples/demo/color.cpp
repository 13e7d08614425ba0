// There and back: the photograph as a camera would deliver it, converted to RGB again, and what that changed.
#include "visora/color.h"

#include "stages.h"
#include "visora/element.h"

namespace demo
{
namespace
{

// The photograph in full-range luma and chroma pairs at half the size in both directions, and back. Rows come back in
// pairs, so an odd last one is left out.
Picture throughCameraFrame(const Picture& rgb, Runner& runner)
{
    const uint32_t height = rgb.height & ~1u;
    const uint32_t pairBytes = (rgb.width + 1) / 2 * 2;
    const size_t pixels = size_t{rgb.width} * height;
    Picture luma(rgb.width, height, 1);
    Picture chroma(pairBytes, height / 2, 1);
    Picture result(rgb.width, height, 3);
    runner.run("to 4:2:0", pixels,
               [&]
               {
                   return vsrColorRGB888ToYCbCr420PseudoPlanaru8(rgb.data(), rgb.width, height, 0, luma.data(),
                                                                 chroma.data(), 0, pairBytes);
               });
    runner.run("to RGB", pixels,
               [&]
               {
                   return vsrColorYCbCr420PseudoPlanarToRGB888u8(luma.data(), chroma.data(), rgb.width, height, 0,
                                                                 pairBytes, result.data(), 0);
               });
    return result;
}

const RegisterStages conversions({
    {"to a 4:2:0 camera frame and back",
     [](const Photograph& photograph, Runner& runner) { return throughCameraFrame(photograph.rgb, runner); }},
    {"what 4:2:0 lost, stretched",
     [](const Photograph& photograph, Runner& runner)
     {
         const Picture& rgb = photograph.rgb;
         const Picture back = throughCameraFrame(rgb, runner);
         const uint32_t bytes = rgb.width * 3;
         Picture lost(back.width, back.height, 3);
         Picture result(back.width, back.height, 3);
         runner.run("difference", lost.pixels.size(),
                    [&] { return vsrAbsDiffu8(rgb.data(), bytes, lost.height, back.data(), lost.data()); });
         runner.run(
             "stretch", lost.pixels.size(),
             [&] { return vsrNormalizeRangeu8(lost.data(), bytes, lost.height, 0, 0, 995, 0, 255, result.data(), 0); });
         return result;
     }},
});

}  // namespace
}  // namespace demo
