// What an entry point does around its kernel: which calls it refuses and how, which kind serves a call.
#ifndef VISORA_TESTS_SUPPORT_ENTRY_POINT_H
#define VISORA_TESTS_SUPPORT_ENTRY_POINT_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/log_capture.h"
#include "visora/dispatch.h"

namespace visora::test
{

/** Gives a variable of the library a value while it lives. */
template <class T>
class Override
{
  public:
    Override(T& variable, std::type_identity_t<T> value) : variable_(variable), before_(std::exchange(variable, value))
    {
    }
    ~Override() { variable_ = before_; }
    Override(const Override&) = delete;
    Override& operator=(const Override&) = delete;

  private:
    T& variable_;
    T before_;
};

constexpr VSR_IMPL kDsps[] = {VSR_IMPL_KDSP, VSR_IMPL_ADSP, VSR_IMPL_CDSP, VSR_IMPL_MDSP};

/** Name and function of an entry point. */
#define VISORA_ENTRY(entry) #entry, entry

/**
 * An entry point and a call that it serves, a word for each parameter: "src width=8 height=8 dst". A pointer leads to
 * the source, or to the destination unless it is to const: "src+4" is 4 bytes into it, "src=dst" in the destination.
 * Checks take calls that are told by what they change: "width=0, src=0 dst=0" are two.
 */
class EntryPoint
{
  public:
    using Block = std::array<uint8_t, 1 << 17>;
    /** Bytes of no particular value, the same for all entry points. */
    static Block source;
    static Block destination;
    /** What the destination holds before a call. */
    static constexpr uint8_t kUntouched = 0x5a;

    template <class Result, class... Parameters>
    EntryPoint(const char* name, Result (*entry)(Parameters...), const std::string& good)
        : EntryPoint(name, {block<Parameters>()...}, good,
                     [entry](const std::vector<uint64_t>& words)
                     { return invoke(entry, words, std::index_sequence_for<Parameters...>()); })
    {
    }

    const std::string& name() const { return name_; }
    bool takes(const std::string& parameter) const { return indexOf(parameter) < parameters_.size(); }
    int32_t call(const std::string& changes = "") const;
    /** The destination after a call, which succeeds. */
    Block output(const std::string& changes = "") const;

    /** The calls get this status; they log their trace only and write nothing. The good call is served silently. */
    void expectRefused(int32_t status, const std::string& calls) const;
    /** The same, but the calls log the condition and get what logging returned. */
    void expectRefusedLogging(const std::string& condition, const std::string& calls) const;
    /** The same, but the calls log only that something is out of range. */
    void expectOutOfRange(const std::string& calls) const;

    /** The calls of a row with this kind are traced as that kind's and give the result of the vector variant. */
    void expectKept(VSR_IMPL& row, VSR_IMPL kind, const std::string& calls) const
    {
        expectServed(row, kind, kind, calls);
    }
    /** The calls of a row with this kind are traced as the vector variant's and give its result. */
    void expectLeft(VSR_IMPL& row, VSR_IMPL kind, const std::string& calls) const
    {
        expectServed(row, kind, VSR_IMPL_VECTA, calls);
    }

  private:
    EntryPoint(const char* name, std::vector<uint64_t> blocks, const std::string& good,
               std::function<int32_t(const std::vector<uint64_t>&)> entry);

    /** Where a pointer leads, 0 for what is none. */
    template <class T>
    static uint64_t block()
    {
        const uint8_t* pointer = std::is_const_v<std::remove_pointer_t<T>> ? source.data() : destination.data();
        return std::is_pointer_v<T> ? reinterpret_cast<uintptr_t>(pointer) : 0;
    }

    template <class Result, class... Parameters, size_t... i>
    static int32_t invoke(Result (*entry)(Parameters...), const std::vector<uint64_t>& words, std::index_sequence<i...>)
    {
        // Words become numbers as well as pointers.
        return static_cast<int32_t>(entry((Parameters)(words[i])...));
    }

    size_t indexOf(const std::string& parameter) const;
    std::vector<uint64_t> words(const std::string& changes) const;
    void expectLines(int32_t status, const std::vector<LogLine>& lines, const std::string& calls) const;
    void expectServed(VSR_IMPL& row, VSR_IMPL kind, VSR_IMPL served, const std::string& calls) const;

    std::string name_;
    std::vector<std::string> parameters_;
    std::vector<uint64_t> blocks_;
    std::vector<uint64_t> good_;
    std::function<int32_t(const std::vector<uint64_t>&)> entry_;
};

}  // namespace visora::test

#endif
