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
 * Receives a log line, without a line feed at its end. What it returns is not looked at: to the library every line is
 * written, so that the result of a refused call is 1.
 */
typedef int (*vsrHostLogSink)(void* context, int priority, const char* tag, const char* text);

/**
 * Sends log lines to `sink` instead of standard error; null restores standard error. Not for concurrent use. Lines
 * below the priority that the property "runtime.visora.log.level" names, by number (3 debug, 4 info, 6 error) or letter
 * (D, I, E), are not written; it is read with the first line.
 */
VSR_API void vsrHostSetLogSink(vsrHostLogSink sink, void* context);

VSR_END_DECLARATIONS

#endif
