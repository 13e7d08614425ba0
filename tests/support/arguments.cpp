#include "support/arguments.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace visora::test
{

namespace
{

// What outputs hold before a call; it differs from byte to byte so that shifted writes show.
uint8_t patternAt(size_t position)
{
    return static_cast<uint8_t>(position * 73 + 41);
}

}  // namespace

FencedMemory::FencedMemory(size_t bytes, Flush flush) : size_(bytes)
{
    if (flush == Flush::Unfenced)
    {
        constexpr size_t kCacheLine = 64;
        const size_t lines = bytes / kCacheLine + 1;
        mapping_ = std::aligned_alloc(kCacheLine, lines * kCacheLine);
        if (mapping_ == nullptr)
        {
            std::abort();
        }
        std::memset(mapping_, 0, lines * kCacheLine);
        data_ = static_cast<uint8_t*>(mapping_);
        return;
    }
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t inner = (bytes + page - 1) / page * page;
    mappingBytes_ = inner + 2 * page;
    mapping_ = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping_ == MAP_FAILED)
    {
        std::abort();
    }
    auto* first = static_cast<uint8_t*>(mapping_) + page;
    if (inner > 0 && mprotect(first, inner, PROT_READ | PROT_WRITE) != 0)
    {
        std::abort();
    }
    data_ = flush == Flush::WithStart ? first : first + (inner - bytes);
}

FencedMemory::~FencedMemory()
{
    if (mappingBytes_ == 0)
    {
        std::free(mapping_);
        return;
    }
    munmap(mapping_, mappingBytes_);
}

Arguments::Arguments(Shape shape, uint64_t seed) : shape_(shape), random_(seed) {}

Arguments::Buffer Arguments::makeBuffer(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes)
{
    const size_t between = shape_.betweenElements && (elementBytes == 2 || elementBytes == 4) ? 1 : 0;
    const size_t start = shape_.flushWithEnd ? 0 : shape_.offset * elementBytes + between;
    const size_t bytes = rows == 0 ? 0 : (rows - 1) * stride + rowBytes;
    bytesTouched_ += rowBytes * rows;
    const auto flush = shape_.typical        ? FencedMemory::Flush::Unfenced
                       : shape_.flushWithEnd ? FencedMemory::Flush::WithEnd
                                             : FencedMemory::Flush::WithStart;
    return {std::make_unique<FencedMemory>(start + bytes, flush), start, rowBytes, rows, stride, elementBytes};
}

uint8_t* Arguments::addInput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes)
{
    inputs_.push_back(makeBuffer(rowBytes, rows, stride, elementBytes));
    fill(inputs_.back(), Values::Uniform);
    return inputs_.back().memory->data() + inputs_.back().start;
}

uint8_t* Arguments::addOutput(size_t rowBytes, size_t rows, size_t stride, size_t elementBytes)
{
    outputs_.push_back(makeBuffer(rowBytes, rows, stride, elementBytes));
    return outputs_.back().memory->data() + outputs_.back().start;
}

void Arguments::fillInputs(Values values)
{
    for (const Buffer& input : inputs_)
    {
        if (!input.isGiven)
        {
            fill(input, values);
        }
    }
}

void Arguments::fill(const Buffer& input, Values values)
{
    uint64_t bits = 0;
    for (size_t i = 0; i < input.memory->size(); ++i, bits >>= 8)
    {
        if (i % 8 == 0)
        {
            bits = random_.next();
        }
        const auto uniform = static_cast<uint8_t>(bits);
        input.memory->data()[i] = values == Values::Uniform    ? uniform
                                  : values == Values::Extremes ? static_cast<uint8_t>((uniform & 1) ? 255 : 0)
                                                               : static_cast<uint8_t>(100 + uniform % 3);
    }
}

void Arguments::freshen()
{
    for (const Buffer& output : outputs_)
    {
        for (size_t i = 0; i < output.memory->size(); ++i)
        {
            output.memory->data()[i] = patternAt(i);
        }
        std::copy(output.initial.begin(), output.initial.end(), output.data());
    }
}

uint64_t Arguments::runFresh(VSR_FUNC implementation)
{
    freshen();
    return run(implementation);
}

/** The bytes of the rows alone. */
std::vector<uint8_t> Arguments::Buffer::pixels() const
{
    std::vector<uint8_t> all;
    for (size_t row = 0; row < rows; ++row)
    {
        all.insert(all.end(), data() + row * stride, data() + row * stride + rowBytes);
    }
    return all;
}

std::vector<uint8_t> Arguments::outputs() const
{
    std::vector<uint8_t> all;
    for (const Buffer& output : outputs_)
    {
        all.insert(all.end(), output.memory->data(), output.memory->data() + output.memory->size());
    }
    return all;
}

std::vector<std::pair<uintptr_t, size_t>> Arguments::spans() const
{
    std::vector<std::pair<uintptr_t, size_t>> all;
    for (const auto* buffers : {&inputs_, &outputs_})
    {
        for (const Buffer& buffer : *buffers)
        {
            all.emplace_back(reinterpret_cast<uintptr_t>(buffer.memory->data() + buffer.start),
                             buffer.memory->size() - buffer.start);
        }
    }
    return all;
}

std::string Arguments::strayWrite() const
{
    for (size_t index = 0; index < outputs_.size(); ++index)
    {
        const Buffer& output = outputs_[index];
        size_t i = 0;
        for (size_t row = 0; row <= output.rows; ++row)
        {
            const size_t gapEnd = row < output.rows ? output.start + row * output.stride : output.memory->size();
            for (; i < gapEnd; ++i)
            {
                if (output.memory->data()[i] != patternAt(i))
                {
                    return "output " + std::to_string(index) + ", byte " + std::to_string(i) + " of " +
                           std::to_string(output.memory->size());
                }
            }
            i = gapEnd + output.rowBytes;
        }
    }
    return {};
}

}  // namespace visora::test
