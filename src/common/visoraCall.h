// What every public entry point does around its kernel: choose the implementation kind, trace it, refuse bad
// arguments, call the row of the dispatch table.
#ifndef VISORA_COMMON_CALL_H
#define VISORA_COMMON_CALL_H

#include "common/visoraLog.h"
#include "common/visoraRelaxed.h"
#include "common/visoraRows.h"
#include "visora/dispatch.h"
#include "visora/runtime.h"

namespace visora
{

// ---- Conditions that entry points share ----

/** Images with fewer pixels than this run faster on the vector unit than on the DSP. */
constexpr uint64_t kMinDspPixels = 25345;
/** The same for the few operations that do much work per pixel. */
constexpr uint64_t kMinDspPixelsHeavy = 6337;

constexpr bool worthOffload(uint32_t width, uint32_t height, uint64_t minPixels = kMinDspPixels)
{
    return uint64_t{width} * height >= minPixels;
}

template <uint32_t divisor, class... Values>
constexpr bool multiplesOf(Values... values)
{
    return ((values % divisor == 0) && ...);
}

template <uintptr_t alignment, class... Pointers>
bool aligned(Pointers... pointers)
{
    return ((reinterpret_cast<uintptr_t>(pointers) % alignment == 0) && ...);
}

constexpr uint32_t packedIfZero(uint32_t stride, uint32_t rowBytes)
{
    return stride == 0 ? rowBytes : stride;
}

// ---- Refusals of the older style ----

/** Logs that a condition on the arguments failed; its result is the entry point's. */
vsrStatus refuse(const char* entry, const char* condition);

/** Logs that a range precondition failed, one that is tested before the implementation is chosen. */
vsrStatus refuseRange(const char* entry);

/** Leaves the entry point, logging the condition as it is written here, unless it holds. */
#define VSR_REQUIRE(call, condition) VSR_REQUIRE_AS(call, condition, #condition)

/** As VSR_REQUIRE for a condition whose logged text is not its source. */
#define VSR_REQUIRE_AS(call, condition, text)            \
    do                                                   \
    {                                                    \
        if (!(condition)) [[unlikely]]                   \
        {                                                \
            return visora::refuse((call).entry(), text); \
        }                                                \
    } while (false)

// ---- One call ----

class Call
{
  public:
    Call(Row row, const char* entry)
        : Call(vsrFuncTable, VSR_LOAD(vsrImplTable[static_cast<uint32_t>(row)]), static_cast<uint32_t>(row), entry)
    {
    }

    Call(InternalRow row, const char* entry)
        : Call(vsrInternalFuncTable, VSR_LOAD(vsrInternalImplTable[static_cast<uint32_t>(row)]),
               static_cast<uint32_t>(row), entry)
    {
    }

    const char* entry() const { return entry_; }

    /** Whether a DSP or the GPU is to serve the call. */
    bool isAccelerated() const { return kind_ >= VSR_IMPL_KDSP; }

    /** Leaves the call to a DSP only under this condition, unless constraint checks are switched off. */
    void keepDspIf(bool condition)
    {
        if (isDsp() && !condition && VSR_LOAD(HW_constraint_checks_enable) != 0)
        {
            kind_ = VSR_IMPL_VECTA;
        }
    }

    /** As keepDspIf, for the entry points that do not look at the switch. */
    void keepDspOnlyIf(bool condition)
    {
        if (isDsp() && !condition)
        {
            kind_ = VSR_IMPL_VECTA;
        }
    }

    void keepGpuIf(bool condition)
    {
        if (kind_ == VSR_IMPL_GPU && !condition)
        {
            kind_ = VSR_IMPL_VECTA;
        }
    }

    /** Logs the entry point and the kind that serves it, when tracing is on. */
    void trace() const
    {
        if (VSR_LOAD(libLogPrint)) [[unlikely]]
        {
            __android_log_print(kLogError, kTraceTag, "%s_%s", entry_, vsrImplChar[kind_]);
        }
    }

    /** Calls the chosen implementation; `kernel` is the operation's reference and gives the type. */
    template <auto kernel, class... Args>
    auto run(Args... args) const
    {
        const VSR_FUNC chosen = slot(kind_);
        // A column of a DSP domain that was never filled: the vector variant serves.
        return reinterpret_cast<decltype(kernel)>(chosen ? chosen : slot(VSR_IMPL_VECTA))(args...);
    }

    /** As run; when the implementation declines the call, the vector variant does it. */
    template <auto kernel, class... Args>
    auto runOrFallBack(Args... args) const
    {
        const auto status = run<kernel>(args...);
        if (status == VISORA_EFALLBACK) [[unlikely]]
        {
            return reinterpret_cast<decltype(kernel)>(slot(VSR_IMPL_VECTA))(args...);
        }
        return status;
    }

  private:
    Call(const VSR_FUNC* table, VSR_IMPL kind, uint32_t row, const char* entry)
        : entry_(entry), slots_(table + row * VSR_KIND_COUNT), kind_(kind)
    {
    }

    bool isDsp() const { return kind_ != VSR_IMPL_GPU && kind_ >= VSR_IMPL_KDSP; }

    VSR_FUNC slot(VSR_IMPL kind) const { return VSR_LOAD(slots_[kind]); }

    const char* entry_;
    const VSR_FUNC* slots_;  // the row of the dispatch table
    VSR_IMPL kind_;
};

}  // namespace visora

#endif
