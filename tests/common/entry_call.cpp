#include "common/entry_call.h"

#include "visora.h"
#include "visora/variants.h"

namespace visora::test
{

const std::map<std::string, Entry>& entries()
{
    static const std::map<std::string, Entry> all = {
#define VSR_ROW_ENTRY(operation, entry, kinds, table, row) \
    {#operation, {#entry, reinterpret_cast<VSR_FUNC>(entry), kinds + (row), table + size_t{row} * VSR_KIND_COUNT}},
#define VSR_OPERATION(row, operation, entry, variant, dsp, modes) \
    VSR_ROW_ENTRY(operation, entry, vsrImplTable, vsrFuncTable, row)
#define VSR_OPERATION_AS(row, operation, entry, variant, dsp, modes, like) \
    VSR_ROW_ENTRY(operation, like, vsrImplTable, vsrFuncTable, row)
#define VSR_INTERNAL(row, operation, entry, variant, dsp) \
    VSR_ROW_ENTRY(operation, entry, vsrInternalImplTable, vsrInternalFuncTable, row)
#define VSR_INTERNAL_AS(row, operation, entry, variant, dsp, like)
#include "visora/operations/all.def"
    };
    return all;
}

EntryCall::EntryCall(const Operation& operation, uint64_t seed, uint32_t padding, uint32_t dstPadding, uint32_t width)
    : entry_(entries().at(operation.name)), arguments_({width, kEntryHeight, padding, dstPadding}, seed)
{
    operation.prepare(arguments_);
    if (arguments_.hasCall())
    {
        name();
    }
}

std::optional<size_t> EntryCall::sizeOf(uint32_t value) const
{
    const auto found =
        std::find_if(sizes.begin(), sizes.end(), [&](size_t position) { return words()[position].bits == value; });
    return found == sizes.end() ? std::nullopt : std::optional(*found);
}

std::string EntryCall::where(const std::vector<Word>& changed) const
{
    std::string text = entry_.name + ":";
    for (size_t i = 0; i < changed.size(); ++i)
    {
        if (changed[i].bits != words()[i].bits)
        {
            text += " argument " + std::to_string(i) + " = " + std::to_string(changed[i].bits) + " instead of " +
                    std::to_string(words()[i].bits);
        }
    }
    return text;
}

void EntryCall::name()
{
    std::vector<const Arguments::Buffer*> images;
    std::vector<uint64_t> measures = {arguments_.shape().width, arguments_.shape().height};
    for (const auto* buffers : {&arguments_.inputBuffers(), &arguments_.outputBuffers()})
    {
        for (const Arguments::Buffer& buffer : *buffers)
        {
            images.push_back(&buffer);
            measures.insert(measures.end(), {buffer.rowBytes / buffer.elementBytes, buffer.rows});
        }
    }
    for (size_t i = 0; i < words().size(); ++i)
    {
        const auto& [bits, kind] = words()[i];
        if (kind == Word::Kind::Pointer)
        {
            pointers.push_back(i);
        }
        else if (kind == Word::Kind::Number && bits > 12)
        {
            // Of several buffers with the same stride, one after the other.
            const auto has = [&, stride = bits](const Arguments::Buffer* image)
            { return image && image->rows > 1 && image->stride == stride && stride > image->rowBytes; };
            const auto image = std::find_if(images.begin(), images.end(), has);
            if (image != images.end() && !arguments_.entry().plainStrides)
            {
                strides[i] = std::exchange(*image, nullptr);
            }
            else if (std::find(measures.begin(), measures.end(), bits) != measures.end())
            {
                sizes.push_back(i);
            }
        }
    }
}

}  // namespace visora::test
