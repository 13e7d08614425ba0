/**
 * @file
 * Visora: image-processing and computer-vision primitives for 64-bit ARM and x86-64.
 *
 * Every function takes buffers that the caller owns: a pointer to the first byte of the top-left pixel, width and
 * height in pixels, and a stride in bytes between the starts of two rows. Behind a call the library picks the scalar
 * reference, the vector variant or a DSP; the result is the same bits whichever ran.
 */
#ifndef VISORA_H
#define VISORA_H

#include "visora/dispatch.h"
#include "visora/memory.h"
#include "visora/offload.h"
#include "visora/operations.h"
#include "visora/runtime.h"
#include "visora/shared_memory.h"
#include "visora/types.h"
#include "visora/variants.h"

#endif
