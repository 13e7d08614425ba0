// Operations on single elements, reductions and distances.
#include "visora/variants/arithmetic.h"

#include "support/floats.h"
#include "support/operations.h"

namespace visora::test
{

namespace
{

// ---- Arguments: each of these gives a few, in the order of the call ----

constexpr auto kNotLookedAt = EntryRule::InPlace::NotLookedAt;

template <class T, uint32_t kRows = 0>
auto imageOf(Arguments& a, uint32_t elements)
{
    const uint32_t stride = a.srcStride(static_cast<uint32_t>(elements * sizeof(T)), sizeof(T));
    return std::tuple(image<T>(a, elements, kRows == 0 ? a.shape().height : kRows, stride), stride);
}

template <class T>
auto in(Arguments& a)
{
    return imageOf<T>(a, a.shape().width);
}

template <class T, uint32_t channels = 1>
auto out(Arguments& a)
{
    const uint32_t elements = a.shape().width * channels;
    const auto rowBytes = static_cast<uint32_t>(elements * sizeof(T));
    const auto isLike = [=](const Arguments::Buffer& input)
    { return input.elementBytes == sizeof(T) && input.rowBytes == rowBytes; };
    if (std::any_of(a.inputBuffers().begin(), a.inputBuffers().end(), isLike))
    {
        a.entry().inPlace = EntryRule::InPlace::Allowed;
    }
    const uint32_t stride = a.dstStride(rowBytes, sizeof(T));
    return std::tuple(a.output<T>(elements, a.shape().height, stride), stride);
}

// A mask, or in tests now and then none.
template <size_t position, bool inBenchmarks = false>
auto mask(Arguments& a)
{
    a.entry().unchecked = {position};
    const uint32_t stride = a.srcStride(a.shape().width);
    const bool isAbsent = a.shape().typical ? !inBenchmarks : a.random().oneIn(3);
    return isAbsent ? std::tuple<const uint8_t*, uint32_t>(nullptr, stride) : in<uint8_t>(a);
}

// Numbers may lie anywhere, read or written.
template <class T, uint32_t count>
auto values(Arguments& a)
{
    a.entry().inPlace = kNotLookedAt;
    return std::tuple(image<T>(a, count, 1, count * sizeof(T)));
}

template <class T, uint32_t count = 1>
auto result(Arguments& a)
{
    a.entry().inPlace = kNotLookedAt;
    return std::tuple(a.output<T>(count, 1, 8));
}

constexpr auto place = result<uint32_t, 2>;

template <class T>
auto number(Arguments& a)
{
    return std::tuple(static_cast<T>(a.random().between(0, 1U << 31)));
}

constexpr auto policy = [](Arguments& a) { return std::tuple(a.choose(0, 1, VISORA_OVERFLOW_SATURATE)); };
constexpr auto scale = [](Arguments& a) { return std::tuple(a.shape().typical ? 1.0F : someFloat(a.random())); };
constexpr auto scaleAndOffset = [](Arguments& a)
{ return a.shape().typical ? std::tuple(1.5F, 7.0F) : std::tuple(someFloat(a.random()), someFloat(a.random())); };
constexpr auto shiftAndPolicy = [](Arguments& a)
{ return std::tuple(a.choose(0, 15, 0), a.choose(0, 1, VISORA_OVERFLOW_SATURATE)); };
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
constexpr auto table = [](Arguments& a) { return std::tuple(a.input<uint8_t>(256, 1, 256)); };
constexpr auto range = [](Arguments& a)
{
    const uint32_t low = a.random().oneIn(2) ? 0 : a.choose(0, 1000, 0);
    const uint32_t high = low == 0 && a.random().oneIn(2) ? 1000 : a.choose(low, 1000, 1000);
    return std::tuple(low, high, static_cast<uint8_t>(a.choose(0, 100, 0)),
                      static_cast<uint8_t>(a.choose(100, 255, 255)));
};
constexpr auto alpha = [](Arguments& a) { return std::tuple(static_cast<float>(a.choose(0, 1000, 50)) / 1000.0F); };
constexpr auto productShift = [](Arguments& a) { return std::tuple(a.choose(0, 30, 15)); };
constexpr auto anyShift = [](Arguments& a) { return std::tuple(static_cast<int32_t>(a.choose(0, 30, 11)) - 15); };

// ---- Calls ----

// kernel(first, width, height, its stride, all the others ...).
template <class Kernel, class First, class... Others>
void callWith(Arguments& a, Kernel* kernel, const First& first, const Others&... others)
{
    std::apply([&](auto... more)
               { a.call(kernel, std::get<0>(first), a.shape().width, a.shape().height, std::get<1>(first), more...); },
               std::tuple_cat(others...));
}

template <class Kernel, class... Parts>
Prepare callOf(Kernel* kernel, Parts... parts)
{
    return [=](Arguments& a)
    {
        // In braces they are made in their order.
        const std::tuple arguments{parts(a)...};
        std::apply([&](const auto&... all) { callWith(a, kernel, all...); }, arguments);
    };
}

template <class T>
Prepare perChannel(vsrStatus (*kernel)(const T*, uint32_t, uint32_t, uint32_t, uint32_t, const T*, T*, uint32_t))
{
    return [=](Arguments& a)
    {
        a.entry().inPlace = kNotLookedAt;  // where the values are
        const uint32_t channels = a.choose(1, 4, 3);
        const uint32_t dstStride =
            a.dstStride(static_cast<uint32_t>(a.shape().width * channels * sizeof(T)), sizeof(T));
        const auto src = imageOf<T>(a, a.shape().width * channels);
        const T* values = std::get<0>(imageOf<T, 1>(a, channels));
        T* dst = a.output<T>(a.shape().width * channels, a.shape().height, dstStride);
        callWith(a, kernel, src, std::tuple(channels, values, dst, dstStride));
    };
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
    const uint32_t channels = a.choose(1, 4, 3);
    const uint32_t elements = a.shape().width * channels;
    const auto src = imageOf<uint8_t>(a, elements);
    uint8_t* dst = a.output<uint8_t>(elements, a.shape().height, a.dstStride(elements));
    callWith(a, vsrCopyMaskedu8C, src, std::tuple(channels), in<uint8_t>(a), std::tuple(dst, a.dstStride(elements)));
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

template <auto kernel, bool isOfColumns>
void project(Arguments& a)
{
    // Enough rows now and then for more than 16 bits.
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().typical || !a.random().oneIn(4) ? a.shape().height : a.random().between(250, 800);
    a.entry().inPlace = kNotLookedAt;
    const uint32_t results = isOfColumns ? width : height;
    a.call(kernel, a.input<uint8_t>(width, height, a.srcStride(width)), width, height, a.srcStride(width),
           a.choose(0, 2, VISORA_REDUCE_SUM), a.output<uint32_t>(results, 1, results * 4));
}

void prepareBitCount32(Arguments& a)
{
    a.entry().inPlace = kNotLookedAt;
    const uint32_t length = a.shape().width * a.shape().height;
    a.call(vsrBitCountu32C, a.input<uint32_t>(length, 1, length * 4), length, a.output<uint32_t>(1, 1, 4));
}

// Vectors as long as the image is wide, and a longer one now and then.
template <auto kernel, class T, class D>
void toDistances(Arguments& a)
{
    a.entry().inPlace = kNotLookedAt;
    a.entry().units = EntryRule::Units::Own;  // too few bytes for a DSP
    const uint32_t length = a.shape().typical || !a.random().oneIn(8) ? a.shape().width : a.random().between(1, 33025);
    const uint32_t vectors = a.shape().typical ? a.shape().height : a.random().between(0, 9);
    const uint32_t stride = a.srcStride(static_cast<uint32_t>(length * sizeof(T)), sizeof(T));
    const T* query = image<T>(a, length, 1, stride);
    const T* set = vectors == 0 ? query : image<T>(a, length, vectors, stride);
    a.call(kernel, query, length, set, vectors, stride, a.output<D>(vectors, 1, vectors * sizeof(D)));
}

void prepareMatch(Arguments& a)
{
    a.entry().units = EntryRule::Units::Own;  // too few bytes for a DSP
    // A search of 64 by 64 places in benchmarks.
    const uint32_t width = a.shape().typical ? 79 : a.shape().width;
    const uint32_t height = a.shape().typical ? 79 : std::min(a.shape().height, 40U);
    const uint32_t M = a.choose(1, std::min(width, 40U), 16);
    const uint32_t N = a.choose(1, std::min(height, 20U), 16);
    const uint32_t dstStride = a.dstStride((width - M + 1) * 4, 4);
    const uint8_t* src = a.input<uint8_t>(width, height, a.srcStride(width));
    const uint8_t* patch = a.input<uint8_t>(M, N, a.srcStride(M));
    uint32_t* dst = a.output<uint32_t>(width - M + 1, height - N + 1, dstStride);
    a.call(vsrSumOfAbsoluteDiffMxNu8C, src, width, height, a.srcStride(width), patch, M, N, a.srcStride(M), dst,
           dstStride, a.output<uint32_t>(2, 1, 8));
}

template <auto kernel, uint32_t side>
void prepareBlocks(Arguments& a)
{
    // Strides are taken as they are; a DSP gets side * stride bytes.
    const uint32_t stride = side == 8 && a.random().oneIn(8) ? 0 : a.srcStride(side);
    const uint8_t* src1 = a.input<uint8_t>(side, side, stride);
    const uint8_t* src2 = a.input<uint8_t>(side, side, stride);
    a.call(kernel, src1, stride, src2, stride, a.output<uint32_t>(1, 1, 4));
}

void prepareBlocksAtOffsets(Arguments& a)
{
    const uint32_t count = a.shape().typical ? 64 : a.random().between(0, 20);
    const uint32_t stride = a.srcStride(64);
    const uint8_t* window = a.input<uint8_t>(64, 64, stride);
    std::vector<int32_t> offsets(count);
    for (int32_t& offset : offsets)
    {
        // From the middle of the window.
        offset = (static_cast<int32_t>(a.random().between(0, 48)) - 24) * static_cast<int32_t>(stride) +
                 static_cast<int32_t>(a.random().between(0, 48)) - 24;
    }
    a.call(vsrSumOfAbsoluteDiffs16x16u8C, a.input<uint8_t>(16, 16, a.srcStride(16)), a.srcStride(16),
           window + 24 * stride + 24, stride, a.given(offsets), count, a.output<uint32_t>(count, 1, count * 4));
}

// An operation by what its reference is called with.
#define CALLED(operation, ...)                                         \
    {                                                                  \
        VISORA_OPERATION(operation), callOf(operation##C, __VA_ARGS__) \
    }
// The same with an entry point for packed images.
#define PACKABLE(operation, ...)                                                                               \
    {                                                                                                          \
        VISORA_OPERATION(operation), packable(VISORA_PACKED(operation, ""), callOf(operation##C, __VA_ARGS__)) \
    }

const Register elements({
    PACKABLE(vsrAbsDiffu8, in<uint8_t>, in<uint8_t>, out<uint8_t>),
    PACKABLE(vsrAbsDiffs16, in<int16_t>, in<int16_t>, out<int16_t>),
    CALLED(vsrAbsDiffu16, in<uint16_t>, in<uint16_t>, out<uint16_t>),
    CALLED(vsrAbsDiffs32, in<int32_t>, in<int32_t>, out<int32_t>),
    PACKABLE(vsrAbsDifff32, in<float>, in<float>, out<float>),
    {VISORA_OPERATION(vsrAbsDiffScalaru8), perChannel(vsrAbsDiffScalaru8C)},
    {VISORA_OPERATION(vsrAbsDiffScalarf32), perChannel(vsrAbsDiffScalarf32C)},
    {VISORA_OPERATION(vsrSubtractu8), perChannel(vsrSubtractu8C)},
    {VISORA_OPERATION(vsrSubtracts16), perChannel(vsrSubtracts16C)},
    CALLED(vsrAbss16, in<int16_t>, out<int16_t>),
    CALLED(vsrAbsf32, in<float>, out<float>),
    CALLED(vsrAddu8, in<uint8_t>, in<uint8_t>, out<uint8_t>),
    CALLED(vsrAddu8u16, in<uint8_t>, in<uint16_t>, out<uint16_t>),
    CALLED(vsrAdds16, in<int16_t>, in<int16_t>, policy, out<int16_t>),
    CALLED(vsrAddf32, in<float>, in<float>, out<float>),
    CALLED(vsrAccumulateWeightedu8f32, in<uint8_t>, mask<4>, alpha, out<float>),
    CALLED(vsrElementMulu8u16, in<uint8_t>, in<uint8_t>, out<uint16_t>),
    CALLED(vsrElementMuls16, in<int16_t>, in<int16_t>, productShift, out<int16_t>),
    CALLED(vsrElementMulf32, in<float>, in<float>, scale, out<float>),
    CALLED(vsrElementDivu8, in<uint8_t>, in<uint8_t>, scale, out<uint8_t>),
    CALLED(vsrElementDivf32, in<float>, in<float>, scale, out<float>),
    CALLED(vsrMinu8, in<uint8_t>, in<uint8_t>, out<uint8_t>),
    CALLED(vsrMins16, in<int16_t>, in<int16_t>, out<int16_t>),
    CALLED(vsrMaxu8, in<uint8_t>, in<uint8_t>, out<uint8_t>),
    CALLED(vsrMaxs16, in<int16_t>, in<int16_t>, out<int16_t>),
    CALLED(vsrClamps16, in<int16_t>, bounds16, out<int16_t>),
    CALLED(vsrClampf32, in<float>, boundsFloat, out<float>),
    CALLED(vsrNormalizeRangeu8, in<uint8_t>, range, out<uint8_t>),
    CALLED(vsrBitwiseNotu8, in<uint8_t>, out<uint8_t>),
    CALLED(vsrBitwiseAndu8, in<uint8_t>, in<uint8_t>, mask<6>, out<uint8_t>),
    {VISORA_OPERATION(vsrBitwiseAndu8), callOf(vsrBitwiseAndu8C, in<uint8_t>, in<uint8_t>, mask<6, true>, out<uint8_t>),
     "masked"},
    CALLED(vsrBitwiseOru8, in<uint8_t>, in<uint8_t>, mask<6>, out<uint8_t>),
    CALLED(vsrBitwiseXoru8, in<uint8_t>, in<uint8_t>, mask<6>, out<uint8_t>),
    CALLED(vsrBitwiseSelectu8, in<uint8_t>, in<uint8_t>, in<uint8_t>, out<uint8_t>),
    CALLED(vsrBitShifts16, in<int16_t>, anyShift, out<int16_t>),
    {VISORA_OPERATION(vsrBitMaskPacku8), bitMask<vsrBitMaskPacku8C, true>},
    {VISORA_OPERATION(vsrBitMaskUnpacku8), bitMask<vsrBitMaskUnpacku8C, false>},
    CALLED(vsrConvertu8f32, in<uint8_t>, scaleAndOffset, out<float>),
    CALLED(vsrConvertf32u8, in<float>, scaleAndOffset, out<uint8_t>),
    CALLED(vsrConverts16u8, in<int16_t>, shiftAndPolicy, out<uint8_t>),
    CALLED(vsrTableLookupu8, in<uint8_t>, table, out<uint8_t>),
    CALLED(vsrCartToPolarf32, in<float>, in<float>, out<float>, out<float>),
    CALLED(vsrCartToPolars16, in<int16_t>, in<int16_t>, out<uint16_t>, out<uint8_t>),
    {VISORA_OPERATION(vsrCopyMaskedu8), prepareCopyMasked},
    CALLED(vsrSetElementsu8, out<uint8_t>, number<uint8_t>, mask<5>),
    {VISORA_OPERATION(vsrSetElementsu8), callOf(vsrSetElementsu8C, out<uint8_t>, number<uint8_t>, mask<5, true>),
     "masked"},
    CALLED(vsrSetElementsu16, out<uint16_t>, number<uint16_t>, mask<5>),
    CALLED(vsrSetElementss16, out<int16_t>, number<int16_t>, mask<5>),
    CALLED(vsrSetElementss32, out<int32_t>, number<int32_t>, mask<5>),
    CALLED(vsrSetElementsf32, out<float>, number<float>, mask<5>),
    CALLED(vsrSetElementsc2u8, out<uint8_t, 2>, values<uint8_t, 2>, mask<5>),
    CALLED(vsrSetElementsc3u8, out<uint8_t, 3>, values<uint8_t, 3>, mask<5>),
    CALLED(vsrSetElementsc4u8, out<uint8_t, 4>, values<uint8_t, 4>, mask<5>),
    {VISORA_OPERATION(vsrSetBorderu8), prepareBorder},
    {"vsrCopy", reinterpret_cast<VSR_FUNC>(vsrCopyC), reinterpret_cast<VSR_FUNC>(vsrCopyC),
     [](Arguments& a)
     {
         const uint32_t length = a.shape().width * a.shape().height;
         const uint8_t* src = a.input<uint8_t>(length, 1, length);
         a.call(vsrCopyC, src, length, a.output<uint8_t>(length, 1, length));
     }},
    CALLED(vsrSumu8, in<uint8_t>, mask<4>, result<uint64_t>),
    {VISORA_OPERATION(vsrSumu8), callOf(vsrSumu8C, in<uint8_t>, mask<4, true>, result<uint64_t>), "masked"},
    CALLED(vsrSums16, in<int16_t>, result<int64_t>),
    CALLED(vsrSumf32, in<float>, result<float>),
    CALLED(vsrSumOfSquaresu8, in<uint8_t>, result<uint64_t>),
    CALLED(vsrSumOfSquaress16, in<int16_t>, result<uint64_t>),
    CALLED(vsrAverageu8, in<uint8_t>, mask<4>, result<float>),
    CALLED(vsrAverages32, in<int32_t>, result<float>),
    CALLED(vsrCountNonZerou8, in<uint8_t>, result<uint32_t>),
    PACKABLE(vsrBitCountu8, in<uint8_t>, result<uint32_t>),
    {VISORA_OPERATION(vsrBitCountu32), prepareBitCount32},
    CALLED(vsrMinMaxu8, in<uint8_t>, mask<4>, result<uint8_t>, result<uint8_t>),
    CALLED(vsrMinMaxs16, in<int16_t>, result<int16_t>, result<int16_t>),
    CALLED(vsrMinMaxs32, in<int32_t>, result<int32_t>, result<int32_t>),
    CALLED(vsrMinMaxf32, in<float>, result<float>, result<float>),
    PACKABLE(vsrMinMaxLocu8, in<uint8_t>, result<uint8_t>, result<uint8_t>, place, place),
    CALLED(vsrMinMaxLocs16, in<int16_t>, result<int16_t>, result<int16_t>, place, place),
    CALLED(vsrMinMaxLocf32, in<float>, result<float>, result<float>, place, place),
    {VISORA_OPERATION(vsrReduceColumnsu8), project<vsrReduceColumnsu8C, true>},
    {VISORA_OPERATION(vsrReduceRowsu8), project<vsrReduceRowsu8C, false>},
    CALLED(vsrSumOfAbsoluteDiffu8, in<uint8_t>, in<uint8_t>, result<uint64_t>),
    {VISORA_OPERATION(vsrSumOfSquaredDiffu8), toDistances<vsrSumOfSquaredDiffu8C, uint8_t, uint32_t>},
    {VISORA_OPERATION(vsrSumOfSquaredDiffs8), toDistances<vsrSumOfSquaredDiffs8C, int8_t, int32_t>},
    {VISORA_OPERATION(vsrSumOfSquaredDifff32), toDistances<vsrSumOfSquaredDifff32C, float, float>},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiffMxNu8), prepareMatch, "", 64 * 64},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiff16x16u8), prepareBlocks<vsrSumOfAbsoluteDiff16x16u8C, 16>, "", 256},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiff8x8u8), prepareBlocks<vsrSumOfAbsoluteDiff8x8u8C, 8>, "", 64},
    {VISORA_OPERATION(vsrSumOfAbsoluteDiffs16x16u8), prepareBlocksAtOffsets, "", 64 * 256},
});

}  // namespace

}  // namespace visora::test
