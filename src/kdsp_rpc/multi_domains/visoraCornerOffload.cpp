// DSP routines of the corner detectors.
#include "kdsp_rpc/multi_domains/visoraMarshalling.h"

namespace visora
{
namespace
{

template <size_t n, size_t m>
constexpr std::array<uint32_t, n + m> join(const std::array<uint32_t, n>& first, const std::array<uint32_t, m>& second)
{
    std::array<uint32_t, n + m> all{};
    for (size_t i = 0; i < n + m; ++i)
    {
        all[i] = i < n ? first[i] : second[i - n];
    }
    return all;
}

// What follows the corner count: a mask of bits, the work buffer of the suppression, both or nothing.
struct Rest
{
    uint32_t height;
    uint32_t capacity;

    std::array<uint32_t, 0> operator()() const { return {}; }

    std::array<uint32_t, 1> operator()(const uint8_t* /*mask*/, uint32_t maskWidth, uint32_t maskHeight) const
    {
        return {(maskWidth + 7) / 8 * maskHeight};
    }

    std::array<uint32_t, 1> operator()(uint32_t suppress, const uint32_t* /*work*/) const
    {
        return {suppress ? 3 * capacity + height : 0};
    }

    std::array<uint32_t, 2> operator()(const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight, uint32_t suppress,
                                       const uint32_t* work) const
    {
        return join((*this)(mask, maskWidth, maskHeight), (*this)(suppress, work));
    }
};

constexpr auto corners = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                            uint32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, uint32_t capacity,
                            uint32_t* /*count*/, auto... rest)
{
    return join(std::array{imageLength(src, stride, width, height), 2 * capacity, uint32_t{1}},
                Rest{height, capacity}(rest...));
};

constexpr auto scoredCorners = [](const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                  uint32_t /*threshold*/, uint32_t /*border*/, uint32_t* /*xy*/, uint32_t* /*scores*/,
                                  uint32_t capacity, uint32_t* /*count*/, auto... rest)
{
    return join(std::array{imageLength(src, stride, width, height), 2 * capacity, capacity, uint32_t{1}},
                Rest{height, capacity}(rest...));
};

}  // namespace
}  // namespace visora

#include "kdsp_rpc/multi_domains/operations/corner.def"
