// Writes a line of each of two priorities and what the calls gave. The level is read once, so that each level is tried
// by a program of its own.
#include <cstdio>

#include "platform/linux/visoraHostPlatform.h"

int main()
{
    const int results = __android_log_print(3, "tag", "%s", "3") + __android_log_print(6, "tag", "%s", "6");
    std::fprintf(stderr, "results %d\n", results);
}
