#include "support/operations.h"
#include "visora/variants/arithmetic.h"

namespace visora::test
{

namespace
{

void prepareTableLookup(Arguments& a)
{
    const uint32_t width = a.shape().width;
    const uint32_t height = a.shape().height;
    const uint8_t* src = a.input<uint8_t>(width, height, a.srcStride(width));
    const uint8_t* table = a.input<uint8_t>(256, 1, 256);
    uint8_t* dst = a.output<uint8_t>(width, height, a.dstStride(width));
    a.call(vsrTableLookupu8C, src, width, height, a.srcStride(width), table, dst, a.dstStride(width));
}

const Register elements({
    {VISORA_OPERATION(vsrAbsDiffu8),
     ruled({.inPlace = EntryRule::InPlace::Allowed, .packed = {VISORA_PACKED(vsrAbsDiffu8, "")}},
           twoToOne<vsrAbsDiffu8C, uint8_t>())},
    {VISORA_OPERATION(vsrBitwiseNotu8), inPlace(imageToImage<vsrBitwiseNotu8C, uint8_t>())},
    {VISORA_OPERATION(vsrTableLookupu8), inPlace(prepareTableLookup)},
});

}  // namespace

}  // namespace visora::test
