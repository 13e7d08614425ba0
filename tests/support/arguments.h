// The arguments of one call: buffers whose surroundings are watched, and the call itself.
#ifndef VISORA_TESTS_SUPPORT_ARGUMENTS_H
#define VISORA_TESTS_SUPPORT_ARGUMENTS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/random.h"
#include "visora/dispatch.h"
#include "visora/runtime.h"

namespace visora::test
{

/**
 * Memory between two unmapped pages, flush with one of them, so that a byte read or written beyond it faults; for what
 * is timed the allocator's, as programs have it.
 */
class FencedMemory
{
  public:
    enum class Flush
    {
        WithStart,
        WithEnd,
        Unfenced
    };

    FencedMemory(size_t bytes, Flush flush);
    ~FencedMemory();
    FencedMemory(const FencedMemory&) = delete;
    FencedMemory& operator=(const FencedMemory&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

  private:
    void* mapping_;
    size_t mappingBytes_ = 0;
    uint8_t* data_;
    size_t size_;
};

/** What the images of a call look like. Padding is in elements, so that strides stay whole elements. */
struct Shape
{
    uint32_t width;
    uint32_t height;
    uint32_t srcPadding = 0;
    uint32_t dstPadding = 0;
    /** Elements that images begin behind the start of their memory, when that is flush with the start. */
    uint32_t offset = 0;
    /** Elements of two and four bytes begin a byte further on: no pointer needs alignment. */
    bool betweenElements = false;
    bool flushWithEnd = false;
    /** A shape of a benchmark: arguments are typical ones instead of random ones. */
    bool typical = false;
};

/** How random input values are spread. Extremes finds overflows, Few finds ties. */
enum class Values
{
    Uniform,
    Extremes,
    Few
};

/** An argument of a call, of whatever type it is. */
struct Word
{
    enum class Kind
    {
        Pointer,
        Number,  // of type uint32_t
        Other
    };

    uint64_t bits;
    Kind kind;
};

/** What an operation's entry point does that others do not; see tests/common/entries_test.cpp. */
struct EntryRule
{
    enum class InPlace
    {
        Refused,
        Allowed,     // an output may be an input, with equal strides
        NotLookedAt  // outputs may begin anywhere: calls with buffers that coincide are not refused
    };

    /** What a refused call logs; its result is the log call's then. */
    std::string condition = {};
    /** A call that a DSP declines goes to the vector variant although refusals are logged; else its status is handed
     * on. */
    bool fallsBack = false;
    /** The result of a call that is refused silently. */
    int32_t status = VISORA_EBADPARAM;
    InPlace inPlace = InPlace::Refused;
    /** Positions of arguments that may be null, 0 or less than a row. */
    std::vector<size_t> unchecked = {};
    /** Bad arguments end the process. */
    bool stops = false;
    /** Strides are taken as they are: 0 is not that of packed rows. */
    bool plainStrides = false;
    /** For which units it corrects the choice by the general rule. */
    enum class Units
    {
        DspAndGpu,
        Dsp,
        Own
    };
    Units units = Units::DspAndGpu;
    /** It does much work per pixel: fewer of them are worth a DSP. */
    bool heavy = false;
    /** The least sides that are not refused, and the fewest rows that go to a DSP. */
    uint32_t leastWidth = 1;
    uint32_t leastHeight = 1;
    uint32_t dspRows = 1;

    /** An entry point of the same operation for packed images, without the strides. */
    struct Packed
    {
        std::string name;
        uint64_t (*call)(const std::vector<Word>& words);
        std::string condition;
        uint32_t leastWidth = 1;
        uint32_t leastHeight = 1;
    };
    std::vector<Packed> packed = {};
};

/** What implementations that record their calls share. */
struct Recorder
{
    std::vector<uint64_t> answers;  // to the next calls; 0 when there are none left
    std::vector<std::vector<uint64_t>> calls;
};
inline Recorder recorder;

class Arguments
{
  public:
    Arguments(Shape shape, uint64_t seed);

    const Shape& shape() const { return shape_; }
    Random& random() { return random_; }
    /** A random number from low to high, or the typical one in a benchmark. */
    uint32_t choose(uint32_t low, uint32_t high, uint32_t typical)
    {
        return shape_.typical ? typical : random_.between(low, high);
    }

    uint32_t srcStride(uint32_t rowBytes, uint32_t elementBytes = 1) const
    {
        return rowBytes + shape_.srcPadding * elementBytes;
    }
    uint32_t dstStride(uint32_t rowBytes, uint32_t elementBytes = 1) const
    {
        return rowBytes + shape_.dstPadding * elementBytes;
    }

    /** An input of random elements: `rows` rows of `rowElements`, readable up to the last row's last element only. */
    template <class T>
    const T* input(size_t rowElements, size_t rows, size_t strideBytes)
    {
        return reinterpret_cast<const T*>(addInput(rowElements * sizeof(T), rows, strideBytes, sizeof(T)));
    }

    /** An input with these contents, which stay. */
    template <class T>
    const T* given(const std::vector<T>& contents)
    {
        const size_t bytes = contents.size() * sizeof(T);
        inputs_.push_back(makeBuffer(bytes, 1, bytes, sizeof(T)));
        inputs_.back().isGiven = true;
        uint8_t* start = inputs_.back().memory->data() + inputs_.back().start;
        if (bytes != 0)
        {
            std::memcpy(start, contents.data(), bytes);
        }
        return reinterpret_cast<const T*>(start);
    }

    /** An input of the elements that make() gives one after the other, which stay. */
    template <class T, class Make>
    const T* made(size_t rowElements, size_t rows, size_t strideBytes, Make make)
    {
        uint8_t* start = addInput(rowElements * sizeof(T), rows, strideBytes, sizeof(T));
        inputs_.back().isGiven = true;
        for (size_t i = 0; i < rows * rowElements; ++i)
        {
            const T element = make();
            std::memcpy(start + i / rowElements * strideBytes + i % rowElements * sizeof(T), &element, sizeof(T));
        }
        return reinterpret_cast<const T*>(start);
    }

    /** An output: whatever lies between or around its rows must stay as it is. */
    template <class T>
    T* output(size_t rowElements, size_t rows, size_t strideBytes)
    {
        return reinterpret_cast<T*>(addOutput(rowElements * sizeof(T), rows, strideBytes, sizeof(T)));
    }

    /** A buffer that is read and written: it has these contents before each call. */
    template <class T>
    T* updated(const std::vector<T>& contents)
    {
        T* data = output<T>(contents.size(), 1, contents.size() * sizeof(T));
        const auto* bytes = reinterpret_cast<const uint8_t*>(contents.data());
        outputs_.back().initial.assign(bytes, bytes + contents.size() * sizeof(T));
        std::copy(contents.begin(), contents.end(), data);
        return data;
    }

    /** Keeps something that the call points to alive. */
    template <class T>
    T& keep(T object)
    {
        auto kept = std::make_shared<T>(std::move(object));
        kept_.push_back(kept);
        return *kept;
    }

    /** Sets the call: an implementation with this type is called with these arguments. */
    template <class Result, class... Parameters, class... Args>
    void call(Result (* /*type*/)(Parameters...), Args... args)
    {
        words_ = {word(static_cast<Parameters>(args))...};
        invoke_ = [](VSR_FUNC implementation, const std::vector<Word>& words)
        {
            return invoke(reinterpret_cast<Result (*)(Parameters...)>(implementation), words,
                          std::index_sequence_for<Parameters...>());
        };
        record_ = reinterpret_cast<VSR_FUNC>(
            +[](Parameters... parameters) -> Result
            {
                recorder.calls.push_back({word(parameters).bits...});
                const size_t count = recorder.calls.size();
                return static_cast<Result>(count <= recorder.answers.size() ? recorder.answers[count - 1] : 0);
            });
    }

    /** Calls a function with these words. */
    template <class Result, class... Parameters, size_t... i>
    static uint64_t invoke(Result (*function)(Parameters...), const std::vector<Word>& words, std::index_sequence<i...>)
    {
        return static_cast<uint64_t>(function(argument<Parameters>(words[i])...));
    }

    /** The arguments of the call. */
    const std::vector<Word>& words() const { return words_; }
    /** Runs the implementation with other arguments. */
    uint64_t runWith(VSR_FUNC implementation, const std::vector<Word>& words) const
    {
        return invoke_(implementation, words);
    }
    /** An implementation that only records its calls. */
    VSR_FUNC recording() const { return record_; }

    EntryRule& entry() { return entry_; }

    /** False when the operation has no call for this shape. */
    bool hasCall() const { return invoke_ != nullptr; }

    /** Fills the outputs with their pattern. */
    void freshen();
    /** Freshens, runs the implementation and returns its result. */
    uint64_t runFresh(VSR_FUNC implementation);
    /** Runs the implementation on the outputs as they are. */
    uint64_t run(VSR_FUNC implementation) const { return invoke_(implementation, words_); }

    /** All bytes of all outputs, with what lies between and before their rows. */
    std::vector<uint8_t> outputs() const;
    /** Says where a byte outside the outputs' rows was written, empty when none was. */
    std::string strayWrite() const;

    /** Address of each buffer's first row, and how many bytes there are to the end of its last one. */
    std::vector<std::pair<uintptr_t, size_t>> spans() const;

    /** Bytes of all inputs' and outputs' rows. */
    size_t bytesTouched() const { return bytesTouched_; }

    /** Gives the inputs other contents, but for those that were given. */
    void fillInputs(Values values);

    struct Buffer
    {
        std::unique_ptr<FencedMemory> memory;
        size_t start;  // of the first row
        size_t rowBytes;
        size_t rows;
        size_t stride;
        size_t elementBytes;
        bool isGiven = false;
        std::vector<uint8_t> initial = {};  // what a buffer of one row holds before a call, the pattern if it is empty

        uint8_t* data() const { return memory->data() + start; }
        std::vector<uint8_t> pixels() const;
    };
    const std::vector<Buffer>& inputBuffers() const { return inputs_; }
    const std::vector<Buffer>& outputBuffers() const { return outputs_; }

  private:
    template <class T>
    static Word word(T value)
    {
        static_assert(sizeof(T) <= sizeof(uint64_t));
        Word word{0, std::is_pointer_v<T>          ? Word::Kind::Pointer
                     : std::is_same_v<T, uint32_t> ? Word::Kind::Number
                                                   : Word::Kind::Other};
        std::memcpy(&word.bits, &value, sizeof(T));
        return word;
    }

    template <class T>
    static T argument(const Word& word)
    {
        T value;
        std::memcpy(&value, &word.bits, sizeof(T));
        return value;
    }

    void fill(const Buffer& input, Values values);
    Buffer makeBuffer(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);
    uint8_t* addInput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);
    uint8_t* addOutput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);

    Shape shape_;
    Random random_;
    std::vector<Buffer> inputs_;
    std::vector<Buffer> outputs_;
    std::vector<std::shared_ptr<void>> kept_;
    std::vector<Word> words_;
    uint64_t (*invoke_)(VSR_FUNC, const std::vector<Word>&) = nullptr;
    VSR_FUNC record_ = nullptr;
    EntryRule entry_;
    size_t bytesTouched_ = 0;
};

}  // namespace visora::test

#endif
