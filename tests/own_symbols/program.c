/* Calls a library that it has loaded, although it exports functions and variables of all the same names itself. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "visora.h"

static void* library;

/* The library's own function or variable. */
#define OWN(name) ((__typeof__(&(name)))dlsym(library, #name))
#define EXPECT(condition) ((condition) ? 0 : (printf("%d: %s\n", __LINE__, #condition), 1))

enum
{
    SIDE = 64,
    PIXELS = SIDE * SIDE,
    CORNERS = 500
};

static uint8_t image[PIXELS];
static uint8_t results[2][2 * PIXELS];
static uint32_t corners[2][3 * CORNERS];
static uint32_t counts[2];

/* By the implementations of the mode: the reference without one, then the vector unit's. */
static void compute(int round)
{
    uint8_t* result = results[round];
    OWN(vsrFilterGaussian5x5u8)(image, SIDE, SIDE, result, 1);
    OWN(vsrScaleDownMNu8)(image, SIDE, SIDE, SIDE, result + PIXELS, 41, 37, 41);
    OWN(vsrCornerFast9Scoreu8_v2)
    (image, SIDE, SIDE, SIDE, 40, 4, corners[round], corners[round] + 2 * CORNERS, CORNERS, &counts[round], 0, NULL);
}

int main(int count, char** arguments)
{
    library = dlopen(count > 1 ? arguments[1] : "", RTLD_NOW | RTLD_LOCAL);
    if (!library)
    {
        printf("%s\n", dlerror());
        return 1;
    }
    for (int i = 0; i < PIXELS; ++i)
    {
        image[i] = (uint8_t)((i * 2654435761u >> 13) % 7 * (uint32_t)(i % SIDE / 8 + i / SIDE / 8));
    }
    compute(0);
    int failures = EXPECT(OWN(vsrSetOperationMode)(VISORA_OP_CPU_PERFORMANCE) == 0);
    compute(1);
    vsrPyramidLevel pyramid[3];
    failures += EXPECT(OWN(vsrPyramidAllocate)(pyramid, SIDE, SIDE, 1, 3, 0) == 0);
    failures += EXPECT(OWN(vsrPyramidCreateu8)(image, SIDE, SIDE, 3, pyramid) == 0);
    failures += EXPECT(OWN(vsrPyramidDelete)(pyramid, 3, 1) == 0);
    failures += EXPECT(counts[0] > 0 && counts[0] < CORNERS && counts[0] == counts[1]);
    failures += EXPECT(memcmp(corners[0], corners[1], sizeof(corners[0])) == 0);
    failures += EXPECT(memcmp(results[0], results[1], sizeof(results[0])) == 0);
    failures += EXPECT(*OWN(mode_globalVar) == VISORA_OP_CPU_PERFORMANCE);
    failures += EXPECT(OWN(vsrCleanUp)() == 0);
    return failures != 0;
}
