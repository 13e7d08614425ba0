// A call of an operation's entry point that knows what its arguments are, so that tests can spoil them.
#ifndef VISORA_TESTS_COMMON_ENTRY_CALL_H
#define VISORA_TESTS_COMMON_ENTRY_CALL_H

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/operations.h"

namespace visora::test
{

/** An entry point and what serves its row. */
struct Entry
{
    std::string name;
    VSR_FUNC function;
    VSR_IMPL* kind;
    VSR_FUNC* slots;
};

/** The newest entry point of each operation; some of the internal table have none of their own. */
const std::map<std::string, Entry>& entries();

// Large enough for a DSP. No two measures of a call are equal, and none is small, so that a number in it tells what it
// is: a size, the stride of a buffer, or something else.
constexpr uint32_t kEntryWidth = 192;
constexpr uint32_t kEntryHeight = 149;

class EntryCall
{
  public:
    EntryCall(const Operation& operation, uint64_t seed, uint32_t padding, uint32_t dstPadding,
              uint32_t width = kEntryWidth);

    bool exists() const { return arguments_.hasCall(); }
    const Entry& entry() const { return entry_; }
    const EntryRule& rule() { return arguments_.entry(); }
    Arguments& arguments() { return arguments_; }
    const std::vector<Word>& words() const { return arguments_.words(); }

    /** Positions of the pointers, of the sizes, and of the strides with the buffers they belong to. */
    std::vector<size_t> pointers, sizes;
    std::map<size_t, const Arguments::Buffer*> strides;

    std::vector<Word> with(std::vector<std::pair<size_t, uint64_t>> changes) const
    {
        std::vector<Word> changed = words();
        for (const auto& [position, bits] : changes)
        {
            changed[position].bits = bits;
        }
        return changed;
    }

    /** The buffer that the argument points to; null when it is none of that list. */
    const Arguments::Buffer* bufferAt(size_t position, const std::vector<Arguments::Buffer>& buffers) const
    {
        const auto found =
            std::find_if(buffers.begin(), buffers.end(),
                         [&](const Arguments::Buffer& buffer) { return words()[position].bits == address(buffer); });
        return words()[position].kind != Word::Kind::Pointer || found == buffers.end() ? nullptr : &*found;
    }
    const Arguments::Buffer* inputAt(size_t position) const { return bufferAt(position, arguments_.inputBuffers()); }
    const Arguments::Buffer* outputAt(size_t position) const { return bufferAt(position, arguments_.outputBuffers()); }
    static bool isImage(const Arguments::Buffer* buffer) { return buffer && buffer->rows > 1; }
    static uintptr_t address(const Arguments::Buffer& buffer) { return reinterpret_cast<uintptr_t>(buffer.data()); }

    /** The position of the stride of the buffer at a position; that of the last argument and one when it has none. */
    size_t strideOf(size_t pointer) const
    {
        const auto found =
            std::find_if(strides.begin(), strides.end(),
                         [&](const auto& stride) { return address(*stride.second) == words()[pointer].bits; });
        return found == strides.end() ? words().size() : found->first;
    }

    bool isChecked(size_t position)
    {
        const std::vector<size_t>& unchecked = rule().unchecked;
        return std::find(unchecked.begin(), unchecked.end(), position) == unchecked.end();
    }

    /** The position of the first size with this value. */
    std::optional<size_t> sizeOf(uint32_t value) const;

    /** Tells the entry point and what was changed. */
    std::string where(const std::vector<Word>& changed) const;

  private:
    void name();

    const Entry& entry_;
    Arguments arguments_;
};

}  // namespace visora::test

#endif
