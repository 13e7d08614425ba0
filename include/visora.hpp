/**
 * @file
 * The library from C++20: views of images, images that own their pixels, pyramids, modes and sessions, results. Header
 * only and thin: `vsr::call` puts pointers, sizes and strides of views where the C function has them, and compiles to
 * the call that one would write by hand.
 *
 *     #include <visora.hpp>
 *
 *     vsr::Status blur(vsr::View<const uint8_t> src, vsr::View<uint8_t> dst)
 *     {
 *         return vsr::call(vsrFilterGaussian5x5u8_v2, src, dst, 1);
 *     }
 *
 * A program that includes this header begins with VISORA_OP_CPU_PERFORMANCE, the best variants; with
 * VISORA_KEEP_MODE defined it is left as it is. Nothing here throws.
 *
 * visora/checked.hpp, made when the library is built, has a function for every operation, which checks what the C
 * function cannot and names the argument that it refuses: vsr::filterGaussian5x5u8_v2(src, dst, 1).
 */
#ifndef VISORA_HPP
#define VISORA_HPP

#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

#include "visora/memory.h"
#include "visora/offload.h"
#include "visora/operations.h"
#include "visora/runtime.h"

namespace vsr
{

// ---- Results ----

/** How a call ended. */
class [[nodiscard]] Status
{
  public:
    constexpr Status() = default;
    constexpr explicit Status(vsrStatus code, const char* argument = nullptr) : code_(code), argument_(argument) {}

    constexpr bool ok() const { return code_ == VISORA_SUCCESS; }
    constexpr explicit operator bool() const { return ok(); }
    constexpr vsrStatus code() const { return code_; }
    /** In English; of static storage. */
    const char* text() const { return vsrStatusText(code_); }
    /** The argument that was refused, where visora/checked.hpp found it, else null. */
    constexpr const char* argument() const { return argument_; }

  private:
    vsrStatus code_ = VISORA_SUCCESS;
    const char* argument_ = nullptr;
};

/** A value, or why there is none. */
template <class T>
class [[nodiscard]] Result
{
  public:
    Result(T value) : value_(std::move(value)) {}
    Result(Status failure) : status_(failure) { assert(!failure.ok()); }
    Result(Result&& other) noexcept : status_(other.status_)
    {
        if (other.status_.ok())
        {
            ::new (static_cast<void*>(&value_)) T(std::move(other.value_));
        }
    }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
    Result& operator=(Result&&) = delete;
    ~Result()
    {
        if (status_.ok())
        {
            value_.~T();
        }
    }

    bool ok() const { return status_.ok(); }
    explicit operator bool() const { return ok(); }
    Status status() const { return status_; }
    /** Only when ok(). */
    T& operator*()
    {
        assert(ok());
        return value_;
    }
    const T& operator*() const
    {
        assert(ok());
        return value_;
    }
    T* operator->() { return &**this; }
    const T* operator->() const { return &**this; }

  private:
    union
    {
        T value_;
    };
    Status status_;
};

// ---- Views ----

/**
 * Pixels that somebody else owns: a pointer to the top-left one, sizes in pixels, bytes from row to row, and how many
 * elements a pixel has. View<const T> is for what is only read.
 */
template <class T>
class View
{
  public:
    using element_type = T;

    constexpr View() = default;

    /** Unchecked. A stride of 0 means packed rows. */
    constexpr View(T* data, uint32_t width, uint32_t height, uint32_t stride = 0, uint32_t channels = 1)
        : data_(data),
          width_(width),
          height_(height),
          stride_(stride != 0 ? stride : width * channels * static_cast<uint32_t>(sizeof(T))),
          channels_(channels)
    {
    }

    /** What is written may be read. */
    template <class U>
    requires(std::is_same_v<T, const U>) constexpr View(const View<U>& other)
        : View(other.data(), other.width(), other.height(), other.stride(), other.channels())
    {
    }

    /**
     * Checked against the memory that it lies in. A stride of 0 means packed rows.
     * @return VISORA_EBADPARAM for a zero size, a stride below a row or no whole number of elements, a row of 2^32
     *         bytes or more, or when the last row ends behind the memory
     */
    static constexpr Result<View> of(std::span<T> memory, size_t width, size_t height, size_t stride = 0,
                                     size_t channels = 1)
    {
        constexpr size_t kLargest = std::numeric_limits<uint32_t>::max();
        if (width == 0 || height == 0 || channels == 0 || width > kLargest || height > kLargest ||
            channels > kLargest / sizeof(T) || width > kLargest / (channels * sizeof(T)))
        {
            return Status(VISORA_EBADPARAM);
        }
        const size_t row = width * channels * sizeof(T);
        const size_t rows = stride == 0 ? row : stride;
        if (rows < row || rows > kLargest || rows % sizeof(T) != 0 || memory.size_bytes() < row ||
            (memory.size_bytes() - row) / rows < height - 1)
        {
            return Status(VISORA_EBADPARAM);
        }
        return View(memory.data(), static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                    static_cast<uint32_t>(rows), static_cast<uint32_t>(channels));
    }

    /** A two-dimensional span with a mapping (std::mdspan and alike): rows of adjacent elements. */
    template <class Span>
    requires requires(const Span& span)
    {
        span.data_handle();
        span.extent(0);
        span.stride(1);
    }
    static constexpr Result<View> of(const Span& span)
    {
        const auto rows = static_cast<size_t>(span.extent(0));
        const auto step = rows > 1 ? static_cast<size_t>(span.stride(0)) : static_cast<size_t>(span.extent(1));
        if (rows == 0 || span.stride(1) != 1)
        {
            return Status(VISORA_EBADPARAM);
        }
        const size_t size = (rows - 1) * step + static_cast<size_t>(span.extent(1));
        return of(std::span<T>(span.data_handle(), size), static_cast<size_t>(span.extent(1)), rows, step * sizeof(T));
    }

    constexpr T* data() const { return data_; }
    constexpr uint32_t width() const { return width_; }
    constexpr uint32_t height() const { return height_; }
    /** Bytes from row to row. */
    constexpr uint32_t stride() const { return stride_; }
    /** Elements of a pixel. */
    constexpr uint32_t channels() const { return channels_; }
    constexpr bool empty() const { return data_ == nullptr || width_ == 0 || height_ == 0; }
    constexpr bool isPacked() const { return stride_ == width_ * channels_ * sizeof(T); }
    template <class U>
    constexpr bool hasSizeOf(const View<U>& other) const
    {
        return width_ == other.width() && height_ == other.height();
    }

    /** The elements of a row. */
    std::span<T> row(uint32_t y) const
    {
        assert(y < height_);
        using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
        return {reinterpret_cast<T*>(reinterpret_cast<Byte*>(data_) + size_t{y} * stride_), size_t{width_} * channels_};
    }
    T& at(uint32_t x, uint32_t y, uint32_t channel = 0) const
    {
        assert(x < width_ && channel < channels_);
        return row(y)[size_t{x} * channels_ + channel];
    }

    /** A part. @return VISORA_EBADPARAM unless it is inside and not empty */
    Result<View> part(uint32_t x, uint32_t y, uint32_t width, uint32_t height) const
    {
        if (width == 0 || height == 0 || x >= width_ || y >= height_ || width > width_ - x || height > height_ - y)
        {
            return Status(VISORA_EBADPARAM);
        }
        return View(&at(x, y), width, height, stride_, channels_);
    }

    /** Whether they share memory: any byte from the first to the last, or with equal strides any of their rows'. */
    template <class U>
    bool overlaps(const View<U>& other) const
    {
        const auto [first, end] = extent();
        const auto [otherFirst, otherEnd] = other.extent();
        if (first >= otherEnd || otherFirst >= end)
        {
            return false;
        }
        if (stride_ != other.stride())
        {
            return true;
        }
        // Two parts of one image may lie side by side.
        const size_t apart =
            first < otherFirst ? (otherFirst - first) % stride_ : (stride_ - (first - otherFirst) % stride_) % stride_;
        return apart < rowBytes() || apart + other.rowBytes() > stride_;
    }
    constexpr size_t rowBytes() const { return size_t{width_} * channels_ * sizeof(T); }
    /** Addresses of its first byte and of the one behind its last. */
    std::pair<uintptr_t, uintptr_t> extent() const
    {
        const auto first = reinterpret_cast<uintptr_t>(data_);
        return {first,
                empty() ? first : first + size_t{height_ - 1} * stride_ + size_t{width_} * channels_ * sizeof(T)};
    }

  private:
    T* data_ = nullptr;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    uint32_t stride_ = 0;
    uint32_t channels_ = 1;
};

// ---- Images ----

/** Pixels of its own, rows aligned to 64 bytes. */
template <class T>
class Image
{
  public:
    static constexpr uint32_t kAlignment = 64;

    Image() = default;

    /** Zeros. @return VISORA_EBADPARAM for a zero size or a row of 2^32 bytes or more, VISORA_ENOMEM without memory */
    static Result<Image> make(uint32_t width, uint32_t height, uint32_t channels = 1)
    {
        const uint64_t row = uint64_t{width} * channels;
        if (row == 0 || height == 0 || row > (std::numeric_limits<uint32_t>::max() - kAlignment) / sizeof(T))
        {
            return Status(VISORA_EBADPARAM);
        }
        const auto stride = (row * sizeof(T) + kAlignment - 1) / kAlignment * kAlignment;
        if (stride > std::numeric_limits<size_t>::max() / 2 / height)
        {
            return Status(VISORA_ENOMEM);
        }
        Image image;
        image.memory_.reset(vsrMemAlign(static_cast<size_t>(stride) * height, kAlignment));
        if (image.memory_ == nullptr)
        {
            return Status(VISORA_ENOMEM);
        }
        std::memset(image.memory_.get(), 0, static_cast<size_t>(stride) * height);
        image.view_ =
            View<T>(static_cast<T*>(image.memory_.get()), width, height, static_cast<uint32_t>(stride), channels);
        return image;
    }

    View<T> view() { return view_; }
    View<const T> view() const { return view_; }
    operator View<T>() { return view_; }
    operator View<const T>() const { return view_; }
    uint32_t width() const { return view_.width(); }
    uint32_t height() const { return view_.height(); }

  private:
    struct Free
    {
        void operator()(void* memory) const { vsrMemAlignFree(memory); }
    };

    std::unique_ptr<void, Free> memory_;
    View<T> view_;
};

// ---- Calls ----

namespace detail
{

template <class T>
struct IsView : std::false_type
{
};
template <class T>
struct IsView<View<T>> : std::true_type
{
};

// What stands for an argument: images for their views.
template <class T>
constexpr const T& plain(const T& argument)
{
    return argument;
}
template <class T>
constexpr View<T> plain(Image<T>& image)
{
    return image.view();
}
template <class T>
constexpr View<const T> plain(const Image<T>& image)
{
    return image.view();
}

enum class Kind
{
    View,
    Pointer,
    Number
};

template <class T>
constexpr Kind kKindOf =
    IsView<T>::value                                                                  ? Kind::View
    : std::is_pointer_v<T> || std::is_array_v<T> || std::is_same_v<T, std::nullptr_t> ? Kind::Pointer
                                                                                      : Kind::Number;

/** Not to be called: the compiler stops where it would be. */
void moreNumbersThanTheFunctionTakes();

/**
 * How many parameters each argument stands for. A view has those from its pointer to the next one, but for the numbers
 * behind it.
 */
template <size_t kParameters, size_t kArguments>
consteval std::array<size_t, kArguments> lengths(const std::array<bool, kParameters>& isPointer,
                                                 const std::array<Kind, kArguments>& kinds)
{
    std::array<size_t, kArguments> found{};
    bool strides = false;
    bool noRoomForStride = false;
    size_t parameter = 0;
    for (size_t i = 0; i < kArguments; ++i)
    {
        found[i] = 1;
        if (kinds[i] == Kind::View)
        {
            size_t next = parameter + 1;
            while (next < kParameters && !isPointer[next])
            {
                ++next;
            }
            size_t numbers = 0;
            while (i + 1 + numbers < kArguments && kinds[i + 1 + numbers] == Kind::Number)
            {
                ++numbers;
            }
            found[i] = next - parameter > numbers ? next - parameter - numbers : 1;
            strides = strides || found[i] % 2 == 0;
            noRoomForStride = noRoomForStride || found[i] == 3 || (found[i] == 1 && numbers > 0);
        }
        parameter += found[i];
    }
    if (strides && noRoomForStride)
    {
        moreNumbersThanTheFunctionTakes();
    }
    return found;
}

template <size_t kLength, class T>
constexpr auto spread(const T& argument)
{
    if constexpr (!IsView<T>::value)
    {
        return std::tuple<const T&>(argument);
    }
    else if constexpr (kLength == 1)
    {
        return std::tuple(argument.data());
    }
    else if constexpr (kLength == 2)
    {
        return std::tuple(argument.data(), argument.stride());
    }
    else if constexpr (kLength == 3)
    {
        return std::tuple(argument.data(), argument.width(), argument.height());
    }
    else
    {
        return std::tuple(argument.data(), argument.width(), argument.height(), argument.stride());
    }
}

template <class... Parameters, class... Arguments, size_t... kIndices>
constexpr Status callWith(vsrStatus (*function)(Parameters...), std::index_sequence<kIndices...>,
                          const Arguments&... arguments)
{
    constexpr auto kLengths = lengths(std::array<bool, sizeof...(Parameters)>{std::is_pointer_v<Parameters>...},
                                      std::array<Kind, sizeof...(Arguments)>{kKindOf<Arguments>...});
    return Status(std::apply(function, std::tuple_cat(spread<kLengths[kIndices]>(arguments)...)));
}

}  // namespace detail

/**
 * Calls a function of the library. Views and images stand for what the function has of theirs: a pointer, then sizes
 * and stride, the stride alone, or nothing, whichever fits between it and the next pointer. Other arguments stand for
 * themselves.
 *
 *     vsr::call(vsrFilterMedian3x3u8_v2, src, dst)               // src, its width, height and stride, dst, its stride
 *     vsr::call(vsrScaleu8, src, dst, VISORA_INTERPOLATION_AREA) // both with their sizes
 *
 * Sizes of outputs that the function does not take are not checked. Functions that take all pointers before all sizes
 * (planar YCbCr, pyramids) are called as they are.
 */
template <class... Parameters, class... Arguments>
constexpr Status call(vsrStatus (*function)(Parameters...), Arguments&&... arguments)
{
    return detail::callWith(function, std::index_sequence_for<Arguments...>(), detail::plain(arguments)...);
}

// ---- Pyramids ----

/** A pyramid over an image of somebody else's: level 0 is that image, each further one its half. T is uint8_t or float.
 */
template <class T>
class Pyramid
{
    static_assert(std::is_same_v<T, uint8_t> || std::is_same_v<T, float>);

  public:
    Pyramid() = default;

    /**
     * @return VISORA_EBADPARAM for a base without pixels, no or more than 16 levels, or sides that are no multiples of
     *         2^(levels - 1); VISORA_ENOMEM without memory
     */
    static Result<Pyramid> make(View<const T> base, uint32_t levels)
    {
        // The library ends the process where this does not hold.
        if (base.empty() || levels == 0 || levels > kMaxLevels || base.channels() != 1 ||
            ((base.width() | base.height()) & ((1u << (levels - 1)) - 1)) != 0)
        {
            return Status(VISORA_EBADPARAM);
        }
        Pyramid pyramid;
        pyramid.count_ = levels;
        if (vsrPyramidAllocate_v2(pyramid.levels_.data(), base.width(), base.height(), base.stride(),
                                  static_cast<uint32_t>(sizeof(T)), levels, 0) != 0)
        {
            pyramid.count_ = 0;
            return Status(VISORA_ENOMEM);
        }
        const vsrStatus status = [&]
        {
            if constexpr (std::is_same_v<T, float>)
            {
                return vsrPyramidCreatef32_v2(base.data(), base.width(), base.height(), base.stride(), levels,
                                              pyramid.levels_.data());
            }
            else
            {
                return vsrPyramidCreateu8_v2(base.data(), base.width(), base.height(), base.stride(), levels,
                                             pyramid.levels_.data());
            }
        }();
        if (status != 0)
        {
            return Status(VISORA_EBADPARAM);
        }
        return pyramid;
    }

    Pyramid(Pyramid&& other) noexcept : levels_(other.levels_), count_(std::exchange(other.count_, 0)) {}
    Pyramid& operator=(Pyramid&& other) noexcept
    {
        std::swap(levels_, other.levels_);
        std::swap(count_, other.count_);
        return *this;
    }
    ~Pyramid()
    {
        if (count_ > 0)
        {
            vsrPyramidDelete_v2(levels_.data(), count_, 1);
        }
    }

    uint32_t levels() const { return count_; }
    View<const T> operator[](uint32_t level) const
    {
        assert(level < count_);
        const vsrPyramidLevel_v2& record = levels_[level];
        return {static_cast<const T*>(record.ptr), record.width, record.height, record.stride};
    }
    /** The library's records. */
    const vsrPyramidLevel_v2* records() const { return levels_.data(); }
    /** Whether points may be tracked from one to the other: all levels have the same sizes and strides. */
    bool isLike(const Pyramid& other) const
    {
        for (uint32_t i = 0; i < count_ && count_ == other.count_; ++i)
        {
            if (levels_[i].width != other.levels_[i].width || levels_[i].height != other.levels_[i].height ||
                levels_[i].stride != other.levels_[i].stride)
            {
                return false;
            }
        }
        return count_ == other.count_;
    }

  private:
    static constexpr uint32_t kMaxLevels = 16;

    std::array<vsrPyramidLevel_v2, kMaxLevels> levels_{};
    uint32_t count_ = 0;
};

/** A position in an image. */
struct Point
{
    float x, y;
};

/**
 * Follows points from one image to another (vsrTrackLKOpticalFlowu8_v2, vsrTrackLKOpticalFlowf32).
 * @param found, status  as many entries as `points`: the positions in the second image and a VISORA_TRACK_ value each
 * @return VISORA_EBADPARAM unless the pyramids are alike, the lists equally long and apart, and the window's sides odd
 *         and at least 5
 */
template <class T>
Status track(const Pyramid<T>& from, const Pyramid<T>& to, std::span<const Point> points, std::span<Point> found,
             std::span<int32_t> status, int32_t windowWidth = 21, int32_t windowHeight = 21, int32_t maxIterations = 20)
{
    const auto apart = [](auto a, auto b)
    {
        const auto bytesA = std::as_bytes(a);
        const auto bytesB = std::as_bytes(b);
        return bytesA.data() + bytesA.size() <= bytesB.data() || bytesB.data() + bytesB.size() <= bytesA.data();
    };
    if (from.levels() == 0 || !from.isLike(to) || points.size() != found.size() || points.size() != status.size() ||
        points.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()) || windowWidth < 5 ||
        windowHeight < 5 || windowWidth % 2 == 0 || windowHeight % 2 == 0 || !apart(points, found) ||
        !apart(points, status) || !apart(found, status))
    {
        return Status(VISORA_EBADPARAM);
    }
    const auto first = from[0];
    const auto function = [&]
    {
        if constexpr (std::is_same_v<T, float>)
        {
            return vsrTrackLKOpticalFlowf32;
        }
        else
        {
            return vsrTrackLKOpticalFlowu8_v2;
        }
    }();
    if (points.empty())
    {
        return Status();
    }
    return Status(function(first.data(), to[0].data(), first.width(), first.height(), first.stride(), from.records(),
                           to.records(), &points[0].x, &found[0].x, status.data(), static_cast<int32_t>(points.size()),
                           windowWidth, windowHeight, maxIterations, static_cast<int32_t>(from.levels())));
}

// ---- Modes and sessions ----

/** An operation mode for the time that this lives, then the one before. While it changes no other thread may call. */
class Mode
{
  public:
    explicit Mode(vsrOperationMode mode) : before_(mode_globalVar), status_(vsrSetOperationMode(mode)) {}
    Mode(const Mode&) = delete;
    Mode& operator=(const Mode&) = delete;
    ~Mode() { vsrSetOperationMode(before_); }
    Status status() const { return status_; }

  private:
    vsrOperationMode before_;
    Status status_;
};

/** A session on the DSP for the time that this lives. */
class Session
{
  public:
    enum class Kind : int32_t
    {
        LowPower = 0,
        CpuOffload = 1,
        Performance = 2
    };

    explicit Session(Kind kind)
    {
        char version[64] = "";
        vsrGetVersion(version, sizeof version);
        started_ = KCVAK6_init(static_cast<int32_t>(kind), version) == 0;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session()
    {
        if (started_)
        {
            KCVAK6_deinit();
        }
    }
    /** Whether there is one: not without a DSP. */
    bool started() const { return started_; }

  private:
    bool started_ = false;
};

#ifndef VISORA_KEEP_MODE
namespace detail
{
/** Chosen when the program begins. */
inline const Status kModeAtStart{vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE)};
}  // namespace detail
#endif

}  // namespace vsr

#endif
