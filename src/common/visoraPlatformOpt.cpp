// The optional library of routines tuned for one platform.
#include <dlfcn.h>

#include <mutex>

#include "common/visoraLog.h"
#include "visora/runtime.h"

namespace
{

constexpr char kPath[] = "/data/local/libvsropt.so";
constexpr char kTag[] = "visora_PLATFORM";

std::mutex guard;
void* handle = nullptr;  // under the guard

const char* loaderError()
{
    const char* text = dlerror();
    return text ? text : "unknown";
}

}  // namespace

int32_t vsrPlatformOptLoad(void)
{
    const std::lock_guard lock(guard);
    __android_log_print(visora::kLogDebug, "vsr", "Loading from: %s\n", kPath);
    if (!handle)
    {
        handle = dlopen(kPath, RTLD_NOW);
    }
    if (!handle)
    {
        __android_log_print(visora::kLogError, kTag, "dlopen for %s failed!\n Error:%s\n", kPath, loaderError());
        return -1;
    }
    __android_log_print(visora::kLogDebug, kTag, "dlopen for %s is successfull.\n", kPath);
    return 0;
}

void* vsrPlatformOptGetFunc(const char* name)
{
    const std::lock_guard lock(guard);
    // Without this test the dynamic linker would search the whole program.
    if (!handle)
    {
        __android_log_print(visora::kLogError, kTag, "dlsym for %s failed! \n Error:%s\n", name, "library not loaded");
        return nullptr;
    }
    void* symbol = dlsym(handle, name);
    if (!symbol)
    {
        __android_log_print(visora::kLogError, kTag, "dlsym for %s failed! \n Error:%s\n", name, loaderError());
    }
    return symbol;
}

int32_t vsrPlatformOptClose(void)
{
    const std::lock_guard lock(guard);
    if (handle)
    {
        dlclose(handle);
        handle = nullptr;
    }
    return 0;
}
