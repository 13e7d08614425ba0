#include "contests.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "arena.h"
#include "peers.h"
#include "support/operations.h"

namespace visora::bench
{

std::vector<Peer>& peers()
{
    static std::vector<Peer> list;
    return list;
}

RegisterPeers::RegisterPeers(std::initializer_list<Peer> list)
{
    peers().insert(peers().end(), list);
}

std::vector<Report>& reports()
{
    static std::vector<Report> list;
    return list;
}

RegisterReports::RegisterReports(std::initializer_list<Report> list)
{
    reports().insert(reports().end(), list);
}

namespace
{

using test::Arguments;
using test::Operation;
using test::Shape;

using Work = std::function<void()>;

constexpr Size kImageSizes[] = {{640, 480}, {1920, 1080}, {3840, 2160}};
constexpr Size kPointCounts[] = {{50, 1}, {200, 1}, {1000, 1}};

std::string title(const std::string& operation, const std::string& label)
{
    return label.empty() ? operation : operation + "/" + label;
}

std::shared_ptr<Arguments> argumentsFor(const Operation& operation, Size size)
{
    Shape shape{static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height)};
    shape.typical = true;
    auto arguments = std::make_shared<Arguments>(shape, 1);
    operation.prepare(*arguments);
    return arguments;
}

constexpr size_t kCacheLine = 64;

size_t bytesOf(const std::vector<Arguments::Buffer>& buffers)
{
    size_t bytes = 0;
    for (const Arguments::Buffer& buffer : buffers)
    {
        bytes += (buffer.memory->size() + kCacheLine - 1) / kCacheLine * kCacheLine;
    }
    return bytes;
}

// Lays buffers one behind another, and lets arguments point there.
void move(const std::vector<Arguments::Buffer>& buffers, uint8_t* to, std::vector<test::Word>& words)
{
    for (const Arguments::Buffer& buffer : buffers)
    {
        const auto begin = reinterpret_cast<uintptr_t>(buffer.memory->data());
        const size_t bytes = buffer.memory->size();
        std::copy_n(buffer.memory->data(), bytes, to);
        for (test::Word& word : words)
        {
            if (word.kind == test::Word::Kind::Pointer && word.bits - begin < bytes)
            {
                word.bits += reinterpret_cast<uintptr_t>(to) - begin;
            }
        }
        to += (bytes + kCacheLine - 1) / kCacheLine * kCacheLine;
    }
}

Work callOf(const Operation& operation, VSR_FUNC implementation, Size size)
{
    const auto arguments = argumentsFor(operation, size);
    if (!arguments->hasCall())
    {
        return {};
    }
    const Arena memory = arena(bytesOf(arguments->inputBuffers()), bytesOf(arguments->outputBuffers()));
    std::vector<test::Word> words = arguments->words();
    move(arguments->inputBuffers(), memory.read, words);
    move(arguments->outputBuffers(), memory.written, words);
    return [=] { arguments->runWith(implementation, words); };
}

// A copy reads and writes as many bytes as the operation.
Work copyFor(const Operation& operation, Size size)
{
    const size_t bytes = argumentsFor(operation, size)->bytesTouched() / 2;
    const Arena memory = arena(bytes, bytes);
    std::fill_n(memory.read, bytes, uint8_t{1});
    return [=] { std::memcpy(memory.written, memory.read, bytes); };
}

}  // namespace

std::vector<Contest> contests()
{
    std::multimap<std::string, const Peer*> peersOf;
    for (const Peer& peer : peers())
    {
        peersOf.emplace(title(peer.operation, peer.label), &peer);
    }
    std::vector<Contest> all;
    for (const Operation& operation : test::operations())
    {
        const std::string name = title(operation.name, operation.label);
        for (const Size size : operation.takesPoints ? kPointCounts : kImageSizes)
        {
            const double items = operation.items != 0 ? operation.items : static_cast<double>(size.width) * size.height;
            const bool ofPoints = operation.takesPoints || operation.items != 0;
            const auto add = [&](const std::string& contestant, const std::function<Work()>& prepare) {
                all.push_back({name, contestant, size, ofPoints, items, prepare});
            };
            add("reference", [&operation, size] { return callOf(operation, operation.reference, size); });
            add("vector", [&operation, size] { return callOf(operation, operation.vector, size); });
            add("memcpy", [&operation, size] { return copyFor(operation, size); });
            const auto [first, last] = peersOf.equal_range(name);
            for (auto peer = first; peer != last; ++peer)
            {
                add(peer->second->library,
                    [prepare = peer->second->prepare, size] { return prepare(size.width, size.height); });
            }
        }
    }
    return all;
}

}  // namespace visora::bench
