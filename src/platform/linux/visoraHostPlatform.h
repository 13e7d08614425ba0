// The operating system's functions that this library stands in for, with their own names and signatures.
#ifndef VISORA_PLATFORM_LINUX_HOST_PLATFORM_H
#define VISORA_PLATFORM_LINUX_HOST_PLATFORM_H

#include <cstddef>

#include "visora/types.h"

extern "C"
{
    VSR_API int __android_log_print(int prio, const char* tag, const char* fmt, ...)
        __attribute__((format(printf, 3, 4)));

    /** @return the length of the value, at most 91; `value` holds 92 bytes */
    VSR_API int property_get(const char* key, char* value, const char* default_value);

    VSR_API int ion_open(void);
    VSR_API int ion_close(int fd);
    VSR_API int ion_alloc_fd(int fd, size_t len, size_t align, unsigned heap_mask, unsigned flags, int* handle_fd);
}

#endif
