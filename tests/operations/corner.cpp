#include "visora/corner.h"

#include <iterator>

#include "support/operations.h"
#include "support/scene.h"

namespace visora::test
{

namespace
{

// A typical call detects on a scene, where the threshold says how many corners there are.
constexpr uint32_t kManyCorners = 6;
constexpr uint32_t kUsualCorners = 20;
constexpr uint32_t kFewCorners = 60;

uint32_t anyThreshold(Arguments& a, uint32_t typical)
{
    constexpr uint32_t kThresholds[] = {0, 1, 2, 20, 60, 120, 200, 253, 254, 255, 256, 0xffffffff};
    const uint32_t index = a.random().between(0, std::size(kThresholds) - 1);
    return a.shape().typical ? typical : kThresholds[index];
}

struct MaskSize
{
    uint32_t width;
    uint32_t height;
};

// A size that fits the image, or now and then one that does not.
MaskSize anyMaskSize(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint32_t factor = 1u << a.choose(0, 3, 1);
    if (a.choose(0, 1, 0) == 1)
    {
        return {width * factor, height * factor};
    }
    return {width / factor, height / factor};
}

template <auto kernel, bool scored, bool masked, bool suppressed>
std::function<void(Arguments&)> detector(uint32_t typicalThreshold = kUsualCorners)
{
    return [=](Arguments& a)
    {
        const uint32_t width = a.shape().width;
        const uint32_t height = a.shape().height;
        const uint32_t stride = a.srcStride(width);
        const uint32_t threshold = anyThreshold(a, typicalThreshold);
        const uint32_t border = a.choose(3, 8, 3);
        // Every pixel may be a corner; or the list is soon full.
        const uint32_t capacity =
            a.choose(0, 3, 1) > 0 ? a.choose(width * height, width * height, width * height / 4) : a.choose(0, 9, 0);
        const MaskSize maskSize = masked ? anyMaskSize(a) : MaskSize{};
        const uint32_t suppress = suppressed ? a.choose(0, 1, 1) : 0;

        const size_t workWords = suppress ? size_t{capacity} * 3 + height : 0;
        // What the work buffer holds afterwards is the detector's own affair, so it is no output.
        auto* work = const_cast<uint32_t*>(a.input<uint32_t>(workWords, 1, workWords * 4));
        const auto* mask = a.input<uint8_t>((maskSize.width + 7) / 8, maskSize.height, (maskSize.width + 7) / 8);
        const auto* src = a.input<uint8_t>(width, height, stride);
        if (a.shape().typical)
        {
            drawScene(const_cast<uint8_t*>(src), width, height, stride);
        }
        auto* xy = a.output<uint32_t>(size_t{capacity} * 2, 1, size_t{capacity} * 8);
        auto* count = a.output<uint32_t>(1, 1, 4);
        auto* scores = a.output<uint32_t>(scored ? capacity : 0, 1, size_t{capacity} * 4);

        const auto call = [&](auto... rest)
        {
            if constexpr (scored)
            {
                a.call(kernel, src, width, height, stride, threshold, border, xy, scores, capacity, count, rest...);
            }
            else
            {
                a.call(kernel, src, width, height, stride, threshold, border, xy, capacity, count, rest...);
            }
        };
        const auto withSuppression = [&](auto... rest)
        {
            if constexpr (suppressed)
            {
                call(rest..., suppress, work);
            }
            else
            {
                call(rest...);
            }
        };
        if constexpr (masked)
        {
            withSuppression(mask, maskSize.width, maskSize.height);
        }
        else
        {
            withSuppression();
        }
    };
}

const Register corners({
    {VISORA_OPERATION(vsrCornerFast9u8), detector<vsrCornerFast9u8C, false, false, false>()},
    {VISORA_OPERATION(vsrCornerFast9u8), detector<vsrCornerFast9u8C, false, false, false>(kManyCorners), "many"},
    {VISORA_OPERATION(vsrCornerFast9u8), detector<vsrCornerFast9u8C, false, false, false>(kFewCorners), "few"},
    {VISORA_OPERATION(vsrCornerFast9Scoreu8), detector<vsrCornerFast9Scoreu8C, true, false, false>()},
    {VISORA_OPERATION(vsrCornerFast9Scoreu8_v2), detector<vsrCornerFast9Scoreu8_v2C, true, false, true>()},
    {VISORA_OPERATION(vsrCornerFast9Scoreu8_v2), detector<vsrCornerFast9Scoreu8_v2C, true, false, true>(kManyCorners),
     "many"},
    {VISORA_OPERATION(vsrCornerFast9Scoreu8_v2), detector<vsrCornerFast9Scoreu8_v2C, true, false, true>(kFewCorners),
     "few"},
    {VISORA_OPERATION(vsrCornerFast9InMasku8), detector<vsrCornerFast9InMasku8C, false, true, false>()},
    {VISORA_OPERATION(vsrCornerFast9InMaskScoreu8), detector<vsrCornerFast9InMaskScoreu8C, true, true, false>()},
    {VISORA_OPERATION(vsrCornerFast9InMaskScoreu8_v2), detector<vsrCornerFast9InMaskScoreu8_v2C, true, true, true>()},
    {VISORA_OPERATION(vsrCornerFast10u8), detector<vsrCornerFast10u8C, false, false, false>()},
    {VISORA_OPERATION(vsrCornerFast10Scoreu8), detector<vsrCornerFast10Scoreu8C, true, false, true>()},
    {VISORA_OPERATION(vsrCornerFast10InMasku8), detector<vsrCornerFast10InMasku8C, false, true, false>()},
    {VISORA_OPERATION(vsrCornerFast10InMaskScoreu8), detector<vsrCornerFast10InMaskScoreu8C, true, true, true>()},
});

}  // namespace

}  // namespace visora::test
