/**
 * @file
 * Services of libvisorahost, which stands in on plain Linux for what Android provides. On Android the library does not
 * exist and this header is of no use.
 */
#ifndef VISORA_HOST_H
#define VISORA_HOST_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * Receives a log line.
 * @return a positive number when the line was taken, a negative error number when not
 */
typedef int (*vsrHostLogSink)(void* context, int priority, const char* tag, const char* text);

/** Sends log lines to `sink` instead of standard error; null restores standard error. Not for concurrent use. */
VSR_API void vsrHostSetLogSink(vsrHostLogSink sink, void* context);

VSR_END_DECLARATIONS

#endif
