// visora.hpp: what views refuse, that calls through them are the calls that one would write, what owns what.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>
#include <visora.hpp>

namespace
{

std::vector<uint8_t> ramp(size_t size)
{
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i)
    {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 31);
    }
    return bytes;
}

// What std::mdspan offers.
struct Span2
{
    uint16_t* data;
    size_t rows, columns, step;
    uint16_t* data_handle() const { return data; }
    size_t extent(size_t i) const { return i == 0 ? rows : columns; }
    size_t stride(size_t i) const { return i == 0 ? step : 1; }
};

TEST(Cxx, ViewsAreCheckedAgainstTheirMemory)
{
    std::vector<uint8_t> bytes(100);
    const std::span<uint8_t> memory(bytes);
    EXPECT_TRUE(vsr::View<uint8_t>::of(memory, 10, 10));
    EXPECT_TRUE(vsr::View<uint8_t>::of(memory, 8, 8, 13));  // 7 * 13 + 8 = 99
    EXPECT_TRUE(vsr::View<uint8_t>::of(memory, 11, 4, 0, 2));
    for (const auto& [width, height, stride, channels] :
         {std::tuple(0, 10, 0, 1), std::tuple(10, 0, 0, 1), std::tuple(10, 10, 0, 0), std::tuple(10, 11, 0, 1),
          std::tuple(8, 8, 14, 1), std::tuple(10, 2, 9, 1), std::tuple(101, 1, 0, 1), std::tuple(26, 4, 0, 1),
          std::tuple(34, 1, 0, 3)})
    {
        const auto view = vsr::View<uint8_t>::of(memory, static_cast<size_t>(width), static_cast<size_t>(height),
                                                 static_cast<size_t>(stride), static_cast<size_t>(channels));
        EXPECT_EQ(view.status().code(), vsrStatus{VISORA_EBADPARAM}) << width << ' ' << height << ' ' << stride;
    }
    constexpr size_t kHuge = std::numeric_limits<size_t>::max();
    EXPECT_FALSE(vsr::View<uint8_t>::of(memory, kHuge, 1));
    EXPECT_FALSE(vsr::View<uint8_t>::of(memory, 1, kHuge));
    EXPECT_FALSE(vsr::View<uint8_t>::of(memory, kHuge / 2 + 1, 1, 0, 2));
    EXPECT_FALSE(vsr::View<uint8_t>::of(memory, 1, 2, kHuge));
    EXPECT_FALSE(vsr::View<const float>::of(std::span<const float>(), 1, 1));

    std::vector<uint16_t> words(60);
    const auto view = vsr::View<uint16_t>::of(Span2{words.data(), 5, 8, 12});
    ASSERT_TRUE(view);
    EXPECT_EQ(view->stride(), 24u);
    EXPECT_EQ(view->row(4).data(), words.data() + 48);
    EXPECT_EQ(&view->at(7, 4), words.data() + 55);
    EXPECT_FALSE(vsr::View<uint16_t>::of(Span2{words.data(), 5, 8, 7}));
}

TEST(Cxx, PartsLieInside)
{
    std::vector<uint8_t> bytes = ramp(30 * 20);
    const vsr::View<uint8_t> view(bytes.data(), 30, 20);
    const auto part = view.part(4, 5, 26, 15);
    ASSERT_TRUE(part);
    EXPECT_EQ(part->at(25, 14), bytes.back());
    EXPECT_EQ(part->extent().second, view.extent().second);
    EXPECT_FALSE(view.part(5, 5, 26, 15));
    EXPECT_FALSE(view.part(4, 6, 26, 15));
    EXPECT_FALSE(view.part(30, 0, 1, 1));
    EXPECT_FALSE(view.part(1, 0, 0xffffffff, 1));
    EXPECT_FALSE(view.part(0, 0, 0, 1));
    EXPECT_TRUE(part->overlaps(view));
    EXPECT_FALSE(view.part(0, 0, 30, 5)->overlaps(*part));
    // Side by side, and one column over.
    EXPECT_FALSE(view.part(0, 5, 4, 15)->overlaps(*part));
    EXPECT_FALSE(part->overlaps(*view.part(0, 5, 4, 15)));
    EXPECT_TRUE(view.part(0, 5, 5, 15)->overlaps(*part));
    EXPECT_TRUE(part->overlaps(*view.part(0, 5, 5, 15)));
}

TEST(Cxx, CallsSpreadViewsOverTheParametersOfTheFunction)
{
    std::vector<uint8_t> bytes = ramp(40 * 20);
    const vsr::View<const uint8_t> src(bytes.data(), 36, 20, 40);
    auto first = vsr::Image<uint8_t>::make(36, 20);
    auto second = vsr::Image<uint8_t>::make(36, 20);
    ASSERT_TRUE(first && second);
    const vsr::View<uint8_t> expected = second->view();

    const auto same = [&]
    {
        bool equal = true;
        for (uint32_t y = 0; y < 20; ++y)
        {
            equal = equal && std::ranges::equal(first->view().row(y), expected.row(y));
        }
        return equal;
    };
    // A source with its sizes, a destination with its stride, plain arguments between and behind.
    EXPECT_TRUE(vsr::call(vsrFilterDilateNxNu8, src, 5u, *first));
    EXPECT_EQ(vsrFilterDilateNxNu8(bytes.data(), 36, 20, 40, 5, expected.data(), expected.stride()), 0u);
    EXPECT_TRUE(same());
    EXPECT_TRUE(vsr::call(vsrFilterMedian3x3u8_v3, src, *first, vsrBorderType{VISORA_BORDER_CONSTANT}, uint8_t{9}));
    EXPECT_EQ(vsrFilterMedian3x3u8_v3(bytes.data(), 36, 20, 40, expected.data(), expected.stride(),
                                      VISORA_BORDER_CONSTANT, 9),
              0u);
    EXPECT_TRUE(same());
    // Two sources; the second has its stride alone.
    EXPECT_TRUE(vsr::call(vsrMaxu8, src, src, *first));
    EXPECT_EQ(first->view().at(35, 19), src.at(35, 19));
    // Both with their sizes.
    auto half = vsr::Image<uint8_t>::make(18, 10);
    EXPECT_TRUE(vsr::call(vsrScaleu8, src, *half, vsrInterpolation{VISORA_INTERPOLATION_NEAREST}));
    EXPECT_EQ(half->view().at(17, 9), src.at(35, 19));
    // Planes that share a stride, a number that is written, a table.
    auto dx = vsr::Image<int16_t>::make(36, 20);
    auto dy = vsr::Image<int16_t>::make(36, 20);
    EXPECT_TRUE(vsr::call(vsrImageGradientPlanars16_v2, src, *dx, *dy));
    EXPECT_EQ(dx->view().at(10, 3), src.at(11, 3) - src.at(9, 3));
    EXPECT_EQ(dy->view().at(10, 3), src.at(10, 4) - src.at(10, 2));
    uint64_t sum = 0;
    EXPECT_TRUE(vsr::call(vsrSumOfSquaresu8, src, &sum));
    uint64_t wanted = 0;
    for (uint32_t y = 0; y < 20; ++y)
    {
        for (const uint8_t value : src.row(y))
        {
            wanted += uint64_t{value} * value;
        }
    }
    EXPECT_EQ(sum, wanted);
    std::array<uint8_t, 256> inverse{};
    std::iota(inverse.rbegin(), inverse.rend(), uint8_t{0});
    EXPECT_TRUE(vsr::call(vsrTableLookupu8, src, static_cast<const uint8_t*>(inverse.data()), *first));
    EXPECT_EQ(first->view().at(3, 3), 255 - src.at(3, 3));
    // Packed functions take no stride.
    const vsr::View<const uint8_t> packed(bytes.data(), 40, 20);
    std::vector<uint8_t> result(40 * 20);
    EXPECT_TRUE(vsr::call(vsrFilterGaussian5x5u8, packed, vsr::View(result.data(), 40, 20), 1));
    EXPECT_TRUE(vsr::call(vsrFilterDilate3x3u8, packed, vsr::View(result.data(), 40, 20)));
    EXPECT_EQ(result[0], std::max({bytes[0], bytes[1], bytes[40], bytes[41]}));
    // Refusals come back.
    const vsr::Status refused = vsr::call(vsrFilterDilateNxNu8, src, 4u, *first);
    EXPECT_EQ(refused.code(), vsrStatus{VISORA_EBADPARAM});
    EXPECT_STREQ(refused.text(), vsrStatusText(VISORA_EBADPARAM));
}

TEST(Cxx, ImagesOwnAlignedRows)
{
    auto image = vsr::Image<float>::make(5, 3, 2);
    ASSERT_TRUE(image);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image->view().data()) % 64, 0u);
    EXPECT_EQ(image->view().stride() % 64, 0u);
    EXPECT_EQ(image->view().row(2).size(), 10u);
    image->view().at(4, 2, 1) = 3.0F;
    vsr::Image<float> moved = std::move(*image);
    EXPECT_EQ(moved.view().at(4, 2, 1), 3.0F);
    EXPECT_EQ(vsr::Image<float>::make(0, 3).status().code(), vsrStatus{VISORA_EBADPARAM});
    EXPECT_EQ(vsr::Image<float>::make(0xffffffff, 3).status().code(), vsrStatus{VISORA_EBADPARAM});
    EXPECT_EQ(vsr::Image<float>::make(0x30000000, 0xffffffff).status().code(), vsrStatus{VISORA_ENOMEM});
}

TEST(Cxx, PyramidsAndTracks)
{
    std::vector<uint8_t> bytes(64 * 64);
    for (size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<uint8_t>((i * 2654435761u) >> 24);
    }
    const vsr::View<const uint8_t> image(bytes.data(), 64, 64);
    auto pyramid = vsr::Pyramid<uint8_t>::make(image, 3);
    ASSERT_TRUE(pyramid);
    EXPECT_EQ((*pyramid)[0].data(), bytes.data());
    EXPECT_EQ((*pyramid)[2].width(), 16u);
    vsr::Pyramid<uint8_t> moved = std::move(*pyramid);
    EXPECT_EQ(moved.levels(), 3u);
    EXPECT_FALSE(vsr::Pyramid<uint8_t>::make(*image.part(0, 0, 62, 64), 3));
    EXPECT_FALSE(vsr::Pyramid<uint8_t>::make(image, 0));
    EXPECT_FALSE(vsr::Pyramid<uint8_t>::make({}, 1));
    EXPECT_FALSE(vsr::Pyramid<uint8_t>::make(image, 17));

    const auto smaller = vsr::Pyramid<uint8_t>::make(*image.part(0, 0, 32, 64), 3);
    const std::vector<vsr::Point> points = {{20.0F, 30.0F}, {40.0F, 25.0F}};
    std::vector<vsr::Point> found(2);
    std::vector<int32_t> status(2);
    EXPECT_TRUE(vsr::track(moved, moved, points, found, status));
    EXPECT_NEAR(found[1].x, 40.0F, 1e-3F);
    EXPECT_EQ(status[1], VISORA_TRACK_FOUND);
    EXPECT_FALSE(vsr::track(moved, *smaller, points, found, status));
    EXPECT_FALSE(vsr::track(moved, moved, points, found, status, 20));
    EXPECT_FALSE(vsr::track(moved, moved, points, std::span(found).first(1), status));
    EXPECT_FALSE(vsr::track<uint8_t>(moved, moved, found, found, status));
}

TEST(Cxx, TheModeIsTheBestAndComesBack)
{
    EXPECT_EQ(mode_globalVar, vsrOperationMode{VISORA_OP_CPU_PERFORMANCE});
    {
        const vsr::Mode mode(VISORA_OP_LOW_POWER);
        // No mode is there where an emulated processor is not described.
        EXPECT_EQ(vsrSetOperationMode(VISORA_OP_LOW_POWER) == VISORA_SUCCESS, bool(mode.status()));
        EXPECT_EQ(mode_globalVar, vsrOperationMode{VISORA_OP_LOW_POWER});
    }
    EXPECT_EQ(mode_globalVar, vsrOperationMode{VISORA_OP_CPU_PERFORMANCE});
    EXPECT_FALSE(vsr::Session(vsr::Session::Kind::Performance).started());  // the stub knows no DSP
}

}  // namespace
