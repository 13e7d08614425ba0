// Entry points of the newer style. One describes the buffers of its call and hands them to VSR_CALL, which does what
// all of them do: packed strides for 0, the choice of the implementation, the trace, silent refusal of bad arguments,
// the call itself, and the vector variant where an accelerator declines:
//
//   const In in(src, srcWidth, srcHeight, srcStride);
//   const Out out(dst, srcWidth, srcHeight, dstStride, kInPlace);
//   return VSR_CALL(vsrBitwiseNotu8, in, out).run(src, srcWidth, srcHeight, in.stride(), dst, out.stride());
#ifndef VISORA_COMMON_ENTRY_H
#define VISORA_COMMON_ENTRY_H

#include <cstdint>

#include "common/visoraCall.h"
#include "common/visoraDefine.h"

namespace visora
{

// ---- Buffers of a call ----

enum class InPlace : bool
{
    No,
    Yes
};
/** The output may be an input of the call, whose elements have the same size and whose stride is equal. */
constexpr InPlace kInPlace = InPlace::Yes;

/** A buffer as an entry point sees it. Entry points make In, Out, Mask or another class below of it. */
class Buffer
{
  public:
    /** The stride, that of packed rows in place of 0. */
    uint32_t stride() const { return stride_; }

  protected:
    enum class Role : uint8_t
    {
        Input,
        OptionalMask,
        Array,
        OptionalArray,
        List,
        Set,
        Numbers,
        Output,
        Result,
        OptionalResult,
        ResultList,
        ResultSet
    };

    Buffer(Role role, const void* data, uint64_t rowBytes, uint32_t width, uint32_t height, uint32_t stride,
           uint32_t elementBytes, InPlace inPlace)
        : data_(data),
          rowBytes_(rowBytes),
          width_(width),
          height_(height),
          stride_(packedIfZero(stride, static_cast<uint32_t>(rowBytes))),
          elementBytes_(elementBytes),
          role_(role),
          inPlace_(inPlace)
    {
    }

  private:
    friend class Buffers;

    bool isImage() const { return role_ == Role::Input || role_ == Role::Output || isMask(); }
    bool isMask() const { return role_ == Role::OptionalMask; }
    bool isNumbers() const { return role_ == Role::Numbers; }
    bool isSet() const { return role_ == Role::Set || role_ == Role::ResultSet; }
    bool isOptional() const { return isMask() || role_ == Role::OptionalArray || role_ == Role::OptionalResult; }
    bool mayBeEmpty() const { return role_ == Role::List || role_ == Role::ResultList || role_ == Role::ResultSet; }
    bool isAbsent() const { return isOptional() && !data_; }
    bool isWritten() const { return role_ >= Role::Output; }
    bool isSound() const;
    bool mayBegin(const Buffer& other) const;

    const void* data_;
    uint64_t rowBytes_;  // of an array or result: all bytes
    uint32_t width_;
    uint32_t height_;
    uint32_t stride_;
    uint32_t elementBytes_;
    Role role_;
    InPlace inPlace_;
};

/** A source image of `width` x `height` pixels of `channels` elements. */
class In : public Buffer
{
  public:
    template <class T>
    In(const T* data, uint32_t width, uint32_t height, uint32_t stride, uint32_t channels = 1)
        : Buffer(Role::Input, data, uint64_t{width} * channels * sizeof(T), width, height, stride, sizeof(T),
                 InPlace::No)
    {
    }
};

/** A destination image. */
class Out : public Buffer
{
  public:
    template <class T>
    Out(T* data, uint32_t width, uint32_t height, uint32_t stride, InPlace inPlace = InPlace::No, uint32_t channels = 1)
        : Buffer(Role::Output, data, uint64_t{width} * channels * sizeof(T), width, height, stride, sizeof(T), inPlace)
    {
    }
};

/** A mask, which may be missing; nobody looks at its stride then. */
class Mask : public Buffer
{
  public:
    Mask(const uint8_t* data, uint32_t width, uint32_t height, uint32_t stride)
        : Buffer(Role::OptionalMask, data, width, width, height, stride, 1, InPlace::No)
    {
    }
};

/** A list that is read. */
class Array : public Buffer
{
  public:
    template <class T>
    explicit Array(const T* data, uint64_t count = 1)
        : Buffer(Role::Array, data, count * sizeof(T), 0, 0, 0, sizeof(T), InPlace::No)
    {
    }
};

/** A number or a list that is written. */
class Result : public Buffer
{
  public:
    template <class T>
    explicit Result(T* data, uint64_t count = 1)
        // NOLINTNEXTLINE(bugprone-sizeof-expression): a result may be a pointer
        : Buffer(Role::Result, data, count * sizeof(T), 0, 0, 0, sizeof(T), InPlace::No)
    {
    }
};

/** An array that is read, or null. Nobody asks for its length. */
class OptionalArray : public Buffer
{
  public:
    explicit OptionalArray(const void* data) : Buffer(Role::OptionalArray, data, 1, 0, 0, 0, 0, InPlace::No) {}
};

/** An array that is written, or null. */
class OptionalResult : public Buffer
{
  public:
    explicit OptionalResult(void* data) : Buffer(Role::OptionalResult, data, 1, 0, 0, 0, 0, InPlace::No) {}
};

/** A list that is read and may be empty. */
class List : public Buffer
{
  public:
    explicit List(const void* data) : Buffer(Role::List, data, 0, 0, 0, 0, 0, InPlace::No) {}
};

/** A list that is written and may be empty. */
class ResultList : public Buffer
{
  public:
    explicit ResultList(void* data) : Buffer(Role::ResultList, data, 0, 0, 0, 0, 0, InPlace::No) {}
};

/** Vectors of `length` elements, which may be none at all. They are no image: no unit asks for their size. */
class Set : public Buffer
{
  public:
    template <class T>
    Set(const T* data, uint32_t length, uint32_t stride)
        : Buffer(Role::Set, data, uint64_t{length} * sizeof(T), length, 1, stride, sizeof(T), InPlace::No)
    {
    }
};

/** Vectors that are written; they may be of no elements. */
class ResultSet : public Buffer
{
  public:
    template <class T>
    ResultSet(T* data, uint32_t length, uint32_t stride)
        : Buffer(Role::ResultSet, data, uint64_t{length} * sizeof(T), length, 1, stride, sizeof(T), InPlace::No)
    {
    }
};

/** Numbers, read or written, that nobody compares with the other buffers: inside one they merely mean nothing. */
class Numbers : public Buffer
{
  public:
    explicit Numbers(const void* data) : Buffer(Role::Numbers, data, 1, 0, 0, 0, 0, InPlace::No) {}
};

/** A source of one bit per pixel, in rows of whole bytes. */
class Bits : public Buffer
{
  public:
    Bits(const uint8_t* data, uint32_t width, uint32_t height, uint32_t stride)
        : Buffer(Role::Input, data, (uint64_t{width} + 7) / 8, width, height, stride, 0, InPlace::No)
    {
    }
};

/** All buffers of a call. */
class Buffers
{
  public:
    Buffers(const Buffer* const* buffers, size_t count) : buffers_(buffers), count_(count) {}

    /** No null pointer, nothing empty, no stride below a row, no output where another buffer begins. */
    bool areSound() const;
    /** Large enough, and all sizes and pointers are multiples of 8. */
    bool suitDsp() const;
    bool suitGpu() const;

  private:
    const Buffer* const* buffers_;
    size_t count_;
};

// ---- The call ----

/** A call of an operation; `kernel` is its reference and gives the type. */
template <auto kernel>
class BufferCall
{
  public:
    template <class AnyRow, class... AnyBuffers>
    BufferCall(AnyRow row, const char* entry, const AnyBuffers&... buffers) : call_(row, entry)
    {
        const Buffer* const list[] = {&buffers...};
        const Buffers all(list, sizeof...(buffers));
        isAccepted_ = all.areSound();
        if (call_.isAccelerated()) [[unlikely]]
        {
            call_.keepDspIf(all.suitDsp());
            call_.keepGpuIf(all.suitGpu());
        }
    }

    /** A condition of the operation's own on calls that a DSP is to serve. */
    BufferCall& keepDspIf(bool condition)
    {
        call_.keepDspIf(condition);
        return *this;
    }

    BufferCall& keepGpuIf(bool condition)
    {
        call_.keepGpuIf(condition);
        return *this;
    }

    /** A condition of the operation's own on its arguments. */
    BufferCall& require(bool condition)
    {
        isAccepted_ = isAccepted_ && condition;
        return *this;
    }

    template <class... Args>
    auto run(Args... args) const
    {
        call_.trace();
        using Status = decltype(call_.template runOrFallBack<kernel>(args...));
        return isAccepted_ ? call_.template runOrFallBack<kernel>(args...) : static_cast<Status>(VISORA_EBADPARAM);
    }

  private:
    Call call_;
    bool isAccepted_;
};

/** Opens the call of an operation of the main table, or of the internal one, in the entry point that it stands in. */
#define VSR_CALL(operation, ...) \
    visora::BufferCall<operation##C>(visora::Row::operation, __func__ __VA_OPT__(, ) __VA_ARGS__)
#define VSR_CALL_INTERNAL(operation, ...) \
    visora::BufferCall<operation##C>(visora::InternalRow::operation, __func__ __VA_OPT__(, ) __VA_ARGS__)

/**
 * Defines the entry point `entry` of `operation` by a shape that several entry points have: a callable that gets
 * `open`, to be called with the buffers in place of VSR_CALL, and the entry point's arguments.
 */
#define VSR_ENTRY(entry, operation, shape)                                                        \
    VSR_DEFINE(entry, decltype(entry), {                                                          \
        const auto open = [](const auto&... buffers)                                              \
        { return visora::BufferCall<operation##C>(visora::Row::operation, #entry, buffers...); }; \
        return (shape)(open, arguments...);                                                       \
    })

}  // namespace visora

#endif
