// For functions of the test program that take the place of others: the dynamic linker binds them first.
#ifndef VISORA_TESTS_SUPPORT_NEXT_FUNCTION_H
#define VISORA_TESTS_SUPPORT_NEXT_FUNCTION_H

#include <dlfcn.h>

namespace visora::test
{

/** The function of this name that would have been called. */
template <class Function>
Function* next(const char* name, Function* /*type*/)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/** Leaves a function through the one whose place it takes, unless the condition holds. */
#define VSR_NEXT_UNLESS(condition, function, ...)                    \
    if (!(condition))                                                \
    {                                                                \
        return visora::test::next(#function, function)(__VA_ARGS__); \
    }

}  // namespace visora::test

#endif
