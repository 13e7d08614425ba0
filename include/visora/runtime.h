/**
 * @file
 * Logging and the switches that every call reads.
 */
#ifndef VISORA_RUNTIME_H
#define VISORA_RUNTIME_H

#include "visora/types.h"

VSR_BEGIN_DECLARATIONS

/**
 * 1 when every entry point logs which implementation kind serves the call ("<entry>_<kind>" on the tag
 * "visora_runtime_log"), else 0. Set from the system property "runtime.visora.log" each time a mode is applied.
 */
extern VSR_API uint8_t libLogPrint;

/** Non-zero (the initial state) when entry points test the DSP's constraints before they leave a call to it. */
extern VSR_API int32_t HW_constraint_checks_enable;

/**
 * Writes one formatted line to the log.
 * @param file      path; the part behind its last '/' (at most 127 characters) is the tag
 * @param line      when not 0, the text begins with it, right-aligned in four places, and "| "
 * @param priority  platform log priority (3 debug, 6 error)
 * @param format    as for printf; the whole text is cut at 511 characters
 * @return the number of characters that the formatted message has, uncut and without the line number
 */
VSR_API int32_t vsrLogAssert(const char* file, int32_t line, int32_t priority, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/**
 * What the machine offers to an operation mode.
 * @return bits: 0x8 DSP session ready, 0x20 GPU present
 */
VSR_API uint32_t vsrAvailableHardware(uint32_t mode);

VSR_END_DECLARATIONS

#endif
