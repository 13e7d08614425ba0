#include "support/floats.h"
#include "support/operations.h"
#include "visora/variants/arithmetic.h"

namespace visora::test
{

namespace
{

constexpr auto none = [](Arguments& /*arguments*/) { return std::tuple<>(); };

template <class T>
uint32_t rowBytes(uint32_t elements)
{
    return static_cast<uint32_t>(elements * sizeof(T));
}

// A mask, or in tests now and then none; without one when it is optional and this is a benchmark.
std::pair<const uint8_t*, uint32_t> optionalMask(Arguments& a, bool inBenchmarks, size_t position)
{
    a.entry().unchecked = {position};
    const bool isAbsent = a.shape().typical ? !inBenchmarks : a.random().oneIn(3);
    const uint32_t stride = a.srcStride(a.shape().width);
    return {isAbsent ? nullptr : a.input<uint8_t>(a.shape().width, a.shape().height, stride), stride};
}

constexpr auto kAllowed = EntryRule::InPlace::Allowed;
constexpr auto kNotLookedAt = EntryRule::InPlace::NotLookedAt;

// One image to another, parameters between source and destination.
template <auto kernel, class S, class D = S, class Parameters>
Prepare oneToOne(Parameters parameters)
{
    return [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        a.entry().inPlace = sizeof(S) == sizeof(D) ? kAllowed : EntryRule::InPlace::Refused;
        const uint32_t srcStride = a.srcStride(rowBytes<S>(width), sizeof(S));
        const uint32_t dstStride = a.dstStride(rowBytes<D>(width), sizeof(D));
        const S* src = image<S>(a, width, height, srcStride);
        D* dst = a.output<D>(width, height, dstStride);
        std::apply([&, w = width, h = height](auto... values)
                   { a.call(kernel, src, w, h, srcStride, values..., dst, dstStride); },
                   parameters(a));
    };
}

template <auto kernel, class S1, class S2 = S1, class D = S1, class Parameters = decltype(none)>
Prepare twoToOneWith(Parameters parameters = none)
{
    return [=](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        a.entry().inPlace = sizeof(S2) == sizeof(D) ? kAllowed : EntryRule::InPlace::Refused;
        const uint32_t stride1 = a.srcStride(rowBytes<S1>(width), sizeof(S1));
        const uint32_t stride2 = a.srcStride(rowBytes<S2>(width), sizeof(S2));
        const uint32_t dstStride = a.dstStride(rowBytes<D>(width), sizeof(D));
        const S1* src1 = image<S1>(a, width, height, stride1);
        const S2* src2 = image<S2>(a, width, height, stride2);
        D* dst = a.output<D>(width, height, dstStride);
        std::apply([&, w = width, h = height](auto... values)
                   { a.call(kernel, src1, w, h, stride1, src2, stride2, values..., dst, dstStride); },
                   parameters(a));
    };
}

template <auto kernel, class T>
Prepare perChannel()
{
    return [](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        a.entry().inPlace = kNotLookedAt;  // where the values are
        const uint32_t channels = a.choose(1, 4, 3);
        const uint32_t srcStride = a.srcStride(rowBytes<T>(width * channels), sizeof(T));
        const uint32_t dstStride = a.dstStride(rowBytes<T>(width * channels), sizeof(T));
        const T* src = image<T>(a, width * channels, height, srcStride);
        const T* values = image<T>(a, channels, 1, rowBytes<T>(channels));
        T* dst = a.output<T>(width * channels, height, dstStride);
        a.call(kernel, src, width, height, srcStride, channels, values, dst, dstStride);
    };
}

template <auto kernel, class T, class D1, class D2>
Prepare polar()
{
    return [](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        a.entry().inPlace = kAllowed;
        const uint32_t srcStride = a.srcStride(rowBytes<T>(width), sizeof(T));
        const uint32_t stride1 = a.dstStride(rowBytes<D1>(width), sizeof(D1));
        const uint32_t stride2 = a.dstStride(rowBytes<D2>(width), sizeof(D2));
        const T* x = image<T>(a, width, height, srcStride);
        const T* y = image<T>(a, width, height, srcStride);
        D1* magnitude = a.output<D1>(width, height, stride1);
        a.call(kernel, x, width, height, srcStride, y, srcStride, magnitude, stride1,
               a.output<D2>(width, height, stride2), stride2);
    };
}

// Value is a number, or a pointer to as many as there are channels.
template <auto kernel, class T, class Value = T, uint32_t channels = 1>
Prepare fill(bool isMasked = false)
{
    return [isMasked](Arguments& a)
    {
        const auto [width, height] = std::pair(a.shape().width, a.shape().height);
        const uint32_t stride = a.dstStride(rowBytes<T>(width * channels), sizeof(T));
        T* dst = a.output<T>(width * channels, height, stride);
        const auto [mask, maskStride] = optionalMask(a, isMasked, 5);
        if constexpr (std::is_pointer_v<Value>)
        {
            a.entry().inPlace = kNotLookedAt;  // where the values are
            a.call(kernel, dst, width, height, stride, a.input<T>(channels, 1, rowBytes<T>(channels)), mask,
                   maskStride);
        }
        else
        {
            a.call(kernel, dst, width, height, stride, static_cast<Value>(a.random().between(0, 1U << 31)), mask,
                   maskStride);
        }
    };
}

template <auto kernel>
Prepare masked(bool isMasked = false)
{
    return twoToOneWith<kernel, uint8_t>(
        [isMasked](Arguments& a)
        {
            a.entry().inPlace = kNotLookedAt;  // a source, but not the mask
            return std::tuple_cat(optionalMask(a, isMasked, 6));
        });
}

// The bits of a mask are one of the two images of the call.
template <auto kernel, bool packs>
void bitMask(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t bits = (width + 7) / 8;
    a.entry().units = packs ? EntryRule::Units::DspAndGpu : EntryRule::Units::Own;  // too few bytes for a DSP
    const uint32_t srcRow = packs ? width : bits;
    const uint32_t dstRow = packs ? bits : width;
    const uint8_t* src = a.input<uint8_t>(srcRow, height, a.srcStride(srcRow));
    uint8_t* dst = a.output<uint8_t>(dstRow, height, a.dstStride(dstRow));
    a.call(kernel, src, width, height, a.srcStride(srcRow), dst, a.dstStride(dstRow));
}

void prepareCopyMasked(Arguments& a)
{
    a.entry().inPlace = kNotLookedAt;  // a source, but not the mask
    a.entry().packed = {VISORA_PACKED(vsrCopyMaskedu8, "")};
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t channels = a.choose(1, 4, 3);
    const uint8_t* src = a.input<uint8_t>(width * channels, height, a.srcStride(width * channels));
    const uint8_t* mask = a.input<uint8_t>(width, height, a.srcStride(width));
    uint8_t* dst = a.output<uint8_t>(width * channels, height, a.dstStride(width * channels));
    a.call(vsrCopyMaskedu8C, src, width, height, a.srcStride(width * channels), channels, mask, a.srcStride(width), dst,
           a.dstStride(width * channels));
}

void prepareBorder(Arguments& a)
{
    const auto [width, height] = std::pair(a.shape().width, a.shape().height);
    const uint32_t widest = (std::min(width, height) - 1) / 2;
    const uint32_t border = a.choose(0, std::min(widest, 40U), std::min(widest, 16U));
    const uint32_t type = a.choose(0, 3, VISORA_BORDER_REPLICATE);
    a.call(vsrSetBorderu8C, a.output<uint8_t>(width, height, a.dstStride(width)), width, height, a.dstStride(width),
           border, type, uint8_t{77});
}

constexpr auto policy = [](Arguments& a) { return std::tuple(a.choose(0, 1, VISORA_OVERFLOW_SATURATE)); };
constexpr auto scale = [](Arguments& a) { return std::tuple(a.shape().typical ? 1.0F : someFloat(a.random())); };
constexpr auto scaleAndOffset = [](Arguments& a)
{ return a.shape().typical ? std::tuple(1.5F, 7.0F) : std::tuple(someFloat(a.random()), someFloat(a.random())); };
constexpr auto shiftAndPolicy = [](Arguments& a)
{ return std::tuple(a.choose(0, 15, 4), a.choose(0, 1, VISORA_OVERFLOW_SATURATE)); };
constexpr auto bounds16 = [](Arguments& a)
{
    return std::tuple(static_cast<int16_t>(-static_cast<int>(a.choose(0, 32768, 3000))),
                      static_cast<int16_t>(a.choose(0, 32767, 5000)));
};
constexpr auto boundsFloat = [](Arguments& a)
{
    const float low = someFloat(a.random());
    const float high = someFloat(a.random());
    return low <= high ? std::tuple(low, high) : high <= low ? std::tuple(high, low) : std::tuple(-1.0F, 1.0F);
};
constexpr auto byTable = [](Arguments& a) { return std::tuple(a.input<uint8_t>(256, 1, 256)); };
constexpr auto range = [](Arguments& a)
{
    const uint32_t low = a.random().oneIn(2) ? 0 : a.choose(0, 1000, 0);
    const uint32_t high = low == 0 && a.random().oneIn(2) ? 1000 : a.choose(low, 1000, 1000);
    return std::tuple(low, high, static_cast<uint8_t>(a.choose(0, 100, 0)),
                      static_cast<uint8_t>(a.choose(100, 255, 255)));
};
constexpr auto maskAndAlpha = [](Arguments& a)
{ return std::tuple_cat(optionalMask(a, false, 4), std::tuple(static_cast<float>(a.choose(0, 1000, 50)) / 1000.0F)); };

const Register elements({
    {VISORA_OPERATION(vsrAbsDiffu8), packable(VISORA_PACKED(vsrAbsDiffu8, ""), twoToOneWith<vsrAbsDiffu8C, uint8_t>())},
    {VISORA_OPERATION(vsrAbsDiffs16),
     packable(VISORA_PACKED(vsrAbsDiffs16, ""), twoToOneWith<vsrAbsDiffs16C, int16_t>())},
    {VISORA_OPERATION(vsrAbsDiffu16), twoToOneWith<vsrAbsDiffu16C, uint16_t>()},
    {VISORA_OPERATION(vsrAbsDiffs32), twoToOneWith<vsrAbsDiffs32C, int32_t>()},
    {VISORA_OPERATION(vsrAbsDifff32),
     packable(VISORA_PACKED(vsrAbsDifff32, ""), twoToOneWith<vsrAbsDifff32C, float>())},
    {VISORA_OPERATION(vsrAbsDiffScalaru8), perChannel<vsrAbsDiffScalaru8C, uint8_t>()},
    {VISORA_OPERATION(vsrAbsDiffScalarf32), perChannel<vsrAbsDiffScalarf32C, float>()},
    {VISORA_OPERATION(vsrSubtractu8), perChannel<vsrSubtractu8C, uint8_t>()},
    {VISORA_OPERATION(vsrSubtracts16), perChannel<vsrSubtracts16C, int16_t>()},
    {VISORA_OPERATION(vsrAbss16), oneToOne<vsrAbss16C, int16_t>(none)},
    {VISORA_OPERATION(vsrAbsf32), oneToOne<vsrAbsf32C, float>(none)},
    {VISORA_OPERATION(vsrAddu8), twoToOneWith<vsrAddu8C, uint8_t>()},
    {VISORA_OPERATION(vsrAddu8u16), twoToOneWith<vsrAddu8u16C, uint8_t, uint16_t, uint16_t>()},
    {VISORA_OPERATION(vsrAdds16), twoToOneWith<vsrAdds16C, int16_t, int16_t, int16_t>(policy)},
    {VISORA_OPERATION(vsrAddf32), twoToOneWith<vsrAddf32C, float>()},
    {VISORA_OPERATION(vsrAccumulateWeightedu8f32), oneToOne<vsrAccumulateWeightedu8f32C, uint8_t, float>(maskAndAlpha)},
    {VISORA_OPERATION(vsrElementMulu8u16), twoToOneWith<vsrElementMulu8u16C, uint8_t, uint8_t, uint16_t>()},
    {VISORA_OPERATION(vsrElementMuls16),
     twoToOneWith<vsrElementMuls16C, int16_t, int16_t, int16_t>([](Arguments& a)
                                                                { return std::tuple(a.choose(0, 30, 15)); })},
    {VISORA_OPERATION(vsrElementMulf32), twoToOneWith<vsrElementMulf32C, float, float, float>(scale)},
    {VISORA_OPERATION(vsrElementDivu8), twoToOneWith<vsrElementDivu8C, uint8_t, uint8_t, uint8_t>(scale)},
    {VISORA_OPERATION(vsrElementDivf32), twoToOneWith<vsrElementDivf32C, float, float, float>(scale)},
    {VISORA_OPERATION(vsrMinu8), twoToOneWith<vsrMinu8C, uint8_t>()},
    {VISORA_OPERATION(vsrMins16), twoToOneWith<vsrMins16C, int16_t>()},
    {VISORA_OPERATION(vsrMaxu8), twoToOneWith<vsrMaxu8C, uint8_t>()},
    {VISORA_OPERATION(vsrMaxs16), twoToOneWith<vsrMaxs16C, int16_t>()},
    {VISORA_OPERATION(vsrClamps16), oneToOne<vsrClamps16C, int16_t>(bounds16)},
    {VISORA_OPERATION(vsrClampf32), oneToOne<vsrClampf32C, float>(boundsFloat)},
    {VISORA_OPERATION(vsrNormalizeRangeu8), oneToOne<vsrNormalizeRangeu8C, uint8_t>(range)},
    {VISORA_OPERATION(vsrBitwiseNotu8), oneToOne<vsrBitwiseNotu8C, uint8_t>(none)},
    {VISORA_OPERATION(vsrBitwiseAndu8), masked<vsrBitwiseAndu8C>()},
    {VISORA_OPERATION(vsrBitwiseAndu8), masked<vsrBitwiseAndu8C>(true), "masked"},
    {VISORA_OPERATION(vsrBitwiseOru8), masked<vsrBitwiseOru8C>()},
    {VISORA_OPERATION(vsrBitwiseXoru8), masked<vsrBitwiseXoru8C>()},
    {VISORA_OPERATION(vsrBitwiseSelectu8),
     twoToOneWith<vsrBitwiseSelectu8C, uint8_t, uint8_t, uint8_t>(
         [](Arguments& a)
         {
             const uint32_t stride = a.srcStride(a.shape().width);
             return std::tuple(a.input<uint8_t>(a.shape().width, a.shape().height, stride), stride);
         })},
    {VISORA_OPERATION(vsrBitShifts16),
     oneToOne<vsrBitShifts16C, int16_t>([](Arguments& a)
                                        { return std::tuple(static_cast<int32_t>(a.choose(0, 30, 11)) - 15); })},
    {VISORA_OPERATION(vsrBitMaskPacku8), bitMask<vsrBitMaskPacku8C, true>},
    {VISORA_OPERATION(vsrBitMaskUnpacku8), bitMask<vsrBitMaskUnpacku8C, false>},
    {VISORA_OPERATION(vsrConvertu8f32), oneToOne<vsrConvertu8f32C, uint8_t, float>(scaleAndOffset)},
    {VISORA_OPERATION(vsrConvertf32u8), oneToOne<vsrConvertf32u8C, float, uint8_t>(scaleAndOffset)},
    {VISORA_OPERATION(vsrConverts16u8), oneToOne<vsrConverts16u8C, int16_t, uint8_t>(shiftAndPolicy)},
    {VISORA_OPERATION(vsrTableLookupu8), oneToOne<vsrTableLookupu8C, uint8_t>(byTable)},
    {VISORA_OPERATION(vsrCartToPolarf32), polar<vsrCartToPolarf32C, float, float, float>()},
    {VISORA_OPERATION(vsrCartToPolars16), polar<vsrCartToPolars16C, int16_t, uint16_t, uint8_t>()},
    {VISORA_OPERATION(vsrCopyMaskedu8), prepareCopyMasked},
    {VISORA_OPERATION(vsrSetElementsu8), fill<vsrSetElementsu8C, uint8_t>()},
    {VISORA_OPERATION(vsrSetElementsu8), fill<vsrSetElementsu8C, uint8_t>(true), "masked"},
    {VISORA_OPERATION(vsrSetElementsu16), fill<vsrSetElementsu16C, uint16_t>()},
    {VISORA_OPERATION(vsrSetElementss16), fill<vsrSetElementss16C, int16_t>()},
    {VISORA_OPERATION(vsrSetElementss32), fill<vsrSetElementss32C, int32_t>()},
    {VISORA_OPERATION(vsrSetElementsf32), fill<vsrSetElementsf32C, float>()},
    {VISORA_OPERATION(vsrSetElementsc2u8), fill<vsrSetElementsc2u8C, uint8_t, const uint8_t*, 2>()},
    {VISORA_OPERATION(vsrSetElementsc3u8), fill<vsrSetElementsc3u8C, uint8_t, const uint8_t*, 3>()},
    {VISORA_OPERATION(vsrSetElementsc4u8), fill<vsrSetElementsc4u8C, uint8_t, const uint8_t*, 4>()},
    {VISORA_OPERATION(vsrSetBorderu8), prepareBorder},
    {"vsrCopy", reinterpret_cast<VSR_FUNC>(vsrCopyC), reinterpret_cast<VSR_FUNC>(vsrCopyC),
     [](Arguments& a)
     {
         const uint32_t length = a.shape().width * a.shape().height;
         const uint8_t* src = a.input<uint8_t>(length, 1, length);
         a.call(vsrCopyC, src, length, a.output<uint8_t>(length, 1, length));
     }},
});

}  // namespace

}  // namespace visora::test
