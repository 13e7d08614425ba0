// Words that calls read while a mode is applied, which one thread may do at any time to bring a DSP back: kind numbers,
// slots, implementation pointers, switches. Nobody takes a lock for them. Each word is read and written whole, in no
// particular order: a call that overlaps a mode change finds the old word or the new one, and either is right for it.
#ifndef VISORA_COMMON_RELAXED_H
#define VISORA_COMMON_RELAXED_H

#define VSR_LOAD(word) __atomic_load_n(&(word), __ATOMIC_RELAXED)

/** A word that has the value already is left alone: modes are mostly applied over modes that are like them. */
#define VSR_STORE(word, value)                                    \
    do                                                            \
    {                                                             \
        if (VSR_LOAD(word) != (value))                            \
        {                                                         \
            __atomic_store_n(&(word), (value), __ATOMIC_RELAXED); \
        }                                                         \
    } while (0)

#endif
