#include <stdio.h>
#include <visora.h>

#define WIDTH 64
#define HEIGHT 48

int main(void)
{
    static uint8_t noisy[WIDTH * HEIGHT], clean[WIDTH * HEIGHT];
    noisy[10 * WIDTH + 20] = 255; /* a speck on a black picture */

    vsrStatus status = vsrFilterMedian3x3u8(noisy, WIDTH, HEIGHT, clean);

    printf("status %u, speck %d -> %d\n", (unsigned)status, noisy[10 * WIDTH + 20], clean[10 * WIDTH + 20]);
    return status != VISORA_SUCCESS;
}
