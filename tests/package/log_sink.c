/* The log of a program that installed the library goes where the program wants it. */
#include <stdio.h>
#include <visora.h>
#include <visora/host.h>

static int lines;

static int count(void* context, int priority, const char* tag, const char* text)
{
    (void)context;
    printf("%d %s %s\n", priority, tag, text);
    return ++lines;
}

int main(void)
{
    vsrHostSetLogSink(count, NULL);
    return vsrFilterMedian3x3u8(NULL, 1, 1, NULL) != VISORA_SUCCESS && lines == 1 ? 0 : 1;
}
