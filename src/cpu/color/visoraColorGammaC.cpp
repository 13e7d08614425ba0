// Power-law tone curve, reference variant.
#include "cpu/color/visoraColorGamma.h"
#include "cpu/visoraExponential.h"
#include "visora/variants/arithmetic.h"
#include "visora/variants/color.h"

namespace visora
{
namespace
{

/** -ln(x / 255) within 1e-15, from the series of the inverse hyperbolic tangent. Single precision would miss the
 * nearest integer where the curve runs close to a tie. */
constexpr double minusLogOf(uint32_t x)
{
    int k = 0;
    for (; x < 181; x *= 2)
    {
        ++k;
    }
    const double s = (x - 255.0) / (x + 255.0);
    const double q = s * s;
    double p = 1.0 / 21;
    for (int j = 9; j >= 0; --j)
    {
        p = p * q + 1.0 / (2 * j + 1);
    }
    return k * 0x1.62e42fefa39efp-1 - 2 * s * p;
}

constexpr std::array<double, 256> kMinusLogs = []
{
    std::array<double, 256> logs = {};
    for (uint32_t x = 1; x < 256; ++x)
    {
        logs[x] = minusLogOf(x);
    }
    return logs;
}();

}  // namespace

std::array<uint8_t, 256> gammaTable(float gamma)
{
    std::array<uint8_t, 256> table = {};
    for (size_t x = 1; x < table.size(); ++x)
    {
        const double a = double{gamma} * kMinusLogs[x];
        // exp(-7) is below 1/510.
        table[x] = a > 7 ? uint8_t{0} : static_cast<uint8_t>(255 * exponentialOfMinus(a) + 0.5);
    }
    return table;
}

}  // namespace visora

vsrStatus vsrGammau8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float gamma,
                      uint8_t* dst, uint32_t dstStride)
{
    return vsrTableLookupu8C(src, srcWidth, srcHeight, srcStride, visora::gammaTable(gamma).data(), dst, dstStride);
}
