// Loops over arrays of vectors must be unrolled for these to live in registers.
#ifndef VISORA_VECTA_UNROLL_H
#define VISORA_VECTA_UNROLL_H

#define VISORA_UNROLL _Pragma("GCC unroll 16")

#endif
