// Entry point of the sort of eight scores.
#include "common/visoraEntry.h"
#include "visora/variants/corner.h"

vsrStatus vsrSort8Scoresf32(float* scores, float* values)
{
    return VSR_CALL(vsrSort8Scoresf32, visora::Result(scores, 8), visora::Result(values, 8)).run(scores, values);
}
