/**
 * @file
 * What the functions on sets of vectors share.
 *
 * A set is a number of vectors of `length` elements each, descriptors for instance: vector i begins i * stride bytes
 * behind the first. Strides are in bytes, need not be a multiple of anything (a part of an element is cut off) and 0 is
 * that of vectors without gaps. A length of 0 is refused.
 *
 * Sets, lists of points and lists of indices may be empty: a count of 0 is no error, though the pointers must not be
 * null all the same. An index at or above the count that it points into refuses the call.
 *
 * They return 0; VISORA_EBADPARAM, with nothing written, for a null pointer, a length or an image side of 0, a stride
 * below a row, a row of 2^32 bytes or more, a buffer that is written and begins where another one does, or what a
 * function names; VISORA_ENOMEM, with nothing written, for want of scratch memory.
 *
 * Sums of floats have sixteen parts, which begin at +0: product i is added to part i mod 16, in rising order of i; then
 * for s = 8, 4, 2, 1 part i + s is added to part i for all i < s; part 0 is the sum. So results are the same bits on
 * all processors. A result that is NaN is always 0x7FC00000.
 */
#ifndef VISORA_SET_H
#define VISORA_SET_H

#include "visora/types.h"

/** The index of a vector that is not there. */
#define VISORA_NO_MATCH 0xFFFFFFFFu

#endif
