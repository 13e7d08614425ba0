// The arguments of one call: buffers whose surroundings are watched, and the call itself.
#ifndef VISORA_TESTS_SUPPORT_ARGUMENTS_H
#define VISORA_TESTS_SUPPORT_ARGUMENTS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/random.h"
#include "visora/dispatch.h"

namespace visora::test
{

/** Memory between two unmapped pages, flush with one of them, so that a byte read or written beyond it faults. */
class FencedMemory
{
  public:
    enum class Flush
    {
        WithStart,
        WithEnd
    };

    FencedMemory(size_t bytes, Flush flush);
    ~FencedMemory();
    FencedMemory(const FencedMemory&) = delete;
    FencedMemory& operator=(const FencedMemory&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

  private:
    void* mapping_;
    size_t mappingBytes_;
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

    /** An output: whatever lies between or around its rows must stay as it is. */
    template <class T>
    T* output(size_t rowElements, size_t rows, size_t strideBytes)
    {
        return reinterpret_cast<T*>(addOutput(rowElements * sizeof(T), rows, strideBytes, sizeof(T)));
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
    template <class Function, class... Args>
    void call(Function* /*type*/, Args... args)
    {
        run_ = [args...](VSR_FUNC implementation)
        { return static_cast<uint64_t>(reinterpret_cast<Function*>(implementation)(args...)); };
    }

    /** False when the operation has no call for this shape. */
    bool hasCall() const { return static_cast<bool>(run_); }

    /** Fills the outputs with their pattern. */
    void freshen();
    /** Freshens, runs the implementation and returns its result. */
    uint64_t runFresh(VSR_FUNC implementation);
    /** Runs the implementation on the outputs as they are. */
    uint64_t run(VSR_FUNC implementation) const { return run_(implementation); }

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

  private:
    struct Buffer
    {
        std::unique_ptr<FencedMemory> memory;
        size_t start;  // of the first row
        size_t rowBytes;
        size_t rows;
        size_t stride;
        bool isGiven = false;
    };

    void fill(const Buffer& input, Values values);
    Buffer makeBuffer(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);
    uint8_t* addInput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);
    uint8_t* addOutput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes);

    Shape shape_;
    Random random_;
    std::vector<Buffer> inputs_;
    std::vector<Buffer> outputs_;
    std::vector<std::shared_ptr<void>> kept_;
    std::function<uint64_t(VSR_FUNC)> run_;
    size_t bytesTouched_ = 0;
};

}  // namespace visora::test

#endif
