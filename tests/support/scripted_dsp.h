// A DSP that answers as the test says: the test program's own stub functions, which take the place of the stub
// library's.
#ifndef VISORA_TESTS_SUPPORT_SCRIPTED_DSP_H
#define VISORA_TESTS_SUPPORT_SCRIPTED_DSP_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace visora::test
{

/**
 * While it lives, every stub function notes its call and succeeds, unless it is told to answer something else, and
 * sleeping takes no time. Without one the functions of the stub library run.
 */
class ScriptedDsp
{
  public:
    ScriptedDsp() { current = this; }
    ~ScriptedDsp() { current = nullptr; }
    ScriptedDsp(const ScriptedDsp&) = delete;
    ScriptedDsp& operator=(const ScriptedDsp&) = delete;

    /** The one that lives, or null. */
    static inline ScriptedDsp* current = nullptr;

    /** The next answers of a function, named without "visoradsp_"; the last one stays. */
    void answer(const std::string& function, std::deque<int32_t> answers);

    /**
     * The calls so far, "<function> <arguments>" without "visoradsp_", and "sleep <seconds>"; taking them leaves none.
     * Attributes are written "id=value", buffers as their addresses.
     */
    std::vector<std::string> takeCalls();

    /** What a stub function does: notes the call, and gives the function's answer. May be called from any thread. */
    int32_t call(std::string_view function, const std::string& arguments);

    /** Is called in every call of a stub function, with its name. Set it before other threads call any. */
    std::function<void(std::string_view function)> onCall = [](std::string_view) {};

    // What the DSP's side hands out.
    uint64_t nextHandle = 7;  // counts up with every open
    std::string version = "1.7.1";
    uint64_t clock = 0x1234567890;
    uint64_t time = 0x9876543210;

  private:
    std::mutex mutex_;
    std::map<std::string, std::deque<int32_t>> answers_;
    std::vector<std::string> calls_;
};

/** Arguments as they stand in a call's text. */
template <class... Args>
std::string textOf(const Args&... args)
{
    std::ostringstream text;
    const char* separator = "";
    ((text << separator << args, separator = " "), ...);
    return text.str();
}

}  // namespace visora::test

#endif
