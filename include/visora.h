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

/*
 * ---- Common to all functions ----
 *
 * Any call may run on any thread, and several at a time, each with outputs of its own. What changes the library itself
 * (modes, the DSP's domain and session, set-up and clean-up) is one thread's affair, while no other is in the library.
 *
 * A call that is refused writes to none of its outputs. Newer functions return VISORA_EBADPARAM; older ones log what
 * was wrong and return what the log call returned, 1 with the library's own log. Each function's comment says which.
 *
 * These calls end the process instead, after logging why:
 * - vsrMemAlign and vsrMemAlloc with an alignment that is no power of two below 255 (abort);
 * - vsrSetOperationMode and vsrSetOperationMode_internal with an extended mode that does not exist (abort);
 * - the creation of a pyramid without a base, without levels, or with sides that are no multiples of
 *   2^(numLevels - 1) (exit status 1);
 * - FAST corners with suppression but without its work buffer (exit status 1);
 * - conversions from halved chroma (4:2:2, 4:2:0) of an image 1 pixel wide, and the Gaussian 3x3 of such an image
 *   (exit status 1).
 */

#endif
