#include <iterator>

#include "support/corner_members.h"
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

template <auto kernel, bool scored, bool masked, bool suppressed>
std::function<void(Arguments&)> detector(uint32_t typicalThreshold = kUsualCorners)
{
    return [=](Arguments& a)
    {
        CornerCall c = {};
        c.width = a.shape().width;
        c.height = a.shape().height;
        c.stride = a.srcStride(c.width);
        c.threshold = anyThreshold(a, typicalThreshold);
        c.border = a.choose(3, 8, 3);
        // Every pixel may be a corner; or the list is soon full.
        const uint32_t pixels = c.width * c.height;
        c.capacity = a.choose(0, 3, 1) > 0 ? a.choose(pixels, pixels, pixels / 4) : a.choose(0, 9, 0);
        if (masked)
        {
            // A size that fits the image, or now and then one that does not.
            const uint32_t factor = 1u << a.choose(0, 3, 1);
            const bool larger = a.choose(0, 1, 0) == 1;
            c.maskWidth = larger ? c.width * factor : c.width / factor;
            c.maskHeight = larger ? c.height * factor : c.height / factor;
        }
        c.suppress = suppressed ? a.choose(0, 1, 1) : 0;

        const size_t workWords = c.suppress ? size_t{c.capacity} * 3 + c.height : 0;
        // What the work buffer holds afterwards is the detector's own affair, so it is no output.
        c.workBuffer = const_cast<uint32_t*>(a.input<uint32_t>(workWords, 1, workWords * 4));
        c.mask = a.input<uint8_t>((c.maskWidth + 7) / 8, c.maskHeight, (c.maskWidth + 7) / 8);
        c.src = a.input<uint8_t>(c.width, c.height, c.stride);
        if (a.shape().typical)
        {
            drawScene(const_cast<uint8_t*>(c.src), c.width, c.height, c.stride);
        }
        c.xy = a.output<uint32_t>(size_t{c.capacity} * 2, 1, size_t{c.capacity} * 8);
        c.count = a.output<uint32_t>(1, 1, 4);
        c.scores = a.output<uint32_t>(scored ? c.capacity : 0, 1, size_t{c.capacity} * 4);
        std::apply([&](auto... arguments) { a.call(kernel, arguments...); },
                   cornerArguments<scored, masked, suppressed>(c));
    };
}

// What the entry points of FAST-9 and FAST-10 log. Any threshold, border, capacity, size of a mask and switch will do;
// a work buffer is missed by the kernel.
template <bool nine, bool scored, bool masked>
Prepare checked(Prepare prepare)
{
    const std::string condition = "src && xy && " + std::string(scored ? "scores && " : "") +
                                  (nine ? "numcorners" : "nCorners") +
                                  (masked ? (nine ? " && bitMask" : " && mask") : "") +
                                  (nine ? " && stride >= width && border*2 < width && border*2 < height"
                                        : " && srcStride >= srcWidth && border*2 < srcWidth && border*2 < srcHeight");
    constexpr size_t capacity = scored ? 8 : 7;
    constexpr size_t switches = capacity + (masked ? 3 : 2);
    return ruled({.condition = condition,
                  .inPlace = EntryRule::InPlace::NotLookedAt,
                  .unchecked = {4, 5, capacity, switches, switches + 1, switches + 2, switches + 3},
                  .units = masked ? EntryRule::Units::Own : EntryRule::Units::Dsp},
                 std::move(prepare));
}

template <auto kernel, bool scored, bool masked, bool suppressed, bool nine = true>
Prepare member(uint32_t typicalThreshold = kUsualCorners)
{
    return checked<nine, scored, masked>(detector<kernel, scored, masked, suppressed>(typicalThreshold));
}

#define DETECTOR(operation, ...) VISORA_OPERATION(operation), member<operation##C, __VA_ARGS__>

const Register corners({
    {DETECTOR(vsrCornerFast9u8, false, false, false)()},
    {DETECTOR(vsrCornerFast9u8, false, false, false)(kManyCorners), "many"},
    {DETECTOR(vsrCornerFast9u8, false, false, false)(kFewCorners), "few"},
    {DETECTOR(vsrCornerFast9Scoreu8, true, false, false)()},
    {DETECTOR(vsrCornerFast9Scoreu8_v2, true, false, true)()},
    {DETECTOR(vsrCornerFast9Scoreu8_v2, true, false, true)(kManyCorners), "many"},
    {DETECTOR(vsrCornerFast9Scoreu8_v2, true, false, true)(kFewCorners), "few"},
    {DETECTOR(vsrCornerFast9InMasku8, false, true, false)()},
    {DETECTOR(vsrCornerFast9InMaskScoreu8, true, true, false)()},
    {DETECTOR(vsrCornerFast9InMaskScoreu8_v2, true, true, true)()},
    {DETECTOR(vsrCornerFast10u8, false, false, false, false)()},
    {DETECTOR(vsrCornerFast10Scoreu8, true, false, true, false)()},
    {DETECTOR(vsrCornerFast10InMasku8, false, true, false, false)()},
    {DETECTOR(vsrCornerFast10InMaskScoreu8, true, true, true, false)()},
});

}  // namespace

}  // namespace visora::test
