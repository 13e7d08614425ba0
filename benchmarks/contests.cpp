#include "contests.h"

#include <cstring>
#include <map>
#include <memory>

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

Work callOf(const Operation& operation, VSR_FUNC implementation, Size size)
{
    const auto arguments = argumentsFor(operation, size);
    if (!arguments->hasCall())
    {
        return {};
    }
    return [=] { arguments->run(implementation); };
}

// A copy reads and writes as many bytes as the operation.
Work copyFor(const Operation& operation, Size size)
{
    const size_t bytes = argumentsFor(operation, size)->bytesTouched() / 2;
    return [from = std::vector<uint8_t>(bytes, 1), to = std::vector<uint8_t>(bytes)]() mutable
    { std::memcpy(to.data(), from.data(), from.size()); };
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
