#include "support/entry_point.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "visora/runtime.h"

namespace visora::test
{
namespace
{

std::vector<std::string> split(const std::string& calls)
{
    std::vector<std::string> all;
    std::istringstream in(calls);
    do
    {
        std::getline(in, all.emplace_back(), ',');
    } while (!in.eof());
    return all;
}

}  // namespace

alignas(64) EntryPoint::Block EntryPoint::destination;
alignas(64) EntryPoint::Block EntryPoint::source = []
{
    Block block;
    for (size_t i = 0; i < block.size(); ++i)
    {
        block[i] = static_cast<uint8_t>(i * 37 + i / 7);
    }
    return block;
}();

EntryPoint::EntryPoint(const char* name, std::vector<uint64_t> blocks, const std::string& good,
                       std::function<int32_t(const std::vector<uint64_t>&)> entry)
    : name_(name), blocks_(std::move(blocks)), good_(blocks_.size()), entry_(std::move(entry))
{
    std::istringstream in(good);
    for (std::string word; in >> word;)
    {
        parameters_.push_back(word.substr(0, word.find_first_of("=+")));
    }
    if (parameters_.size() != blocks_.size())
    {
        throw std::invalid_argument(name_ + "(" + good + ")");
    }
    good_ = words(good);
}

size_t EntryPoint::indexOf(const std::string& parameter) const
{
    return static_cast<size_t>(std::find(parameters_.begin(), parameters_.end(), parameter) - parameters_.begin());
}

std::vector<uint64_t> EntryPoint::words(const std::string& changes) const
{
    std::vector<uint64_t> values = good_;
    std::istringstream in(changes);
    for (std::string word; in >> word;)
    {
        const size_t end = std::min(word.find_first_of("=+"), word.size());
        const size_t parameter = indexOf(word.substr(0, end));
        const std::string value = word.substr(end);
        if (parameter == parameters_.size() || (!blocks_[parameter] && value[0] != '='))
        {
            throw std::invalid_argument(name_ + ": " + word);
        }
        const uint64_t number = value.size() > 1 && value != "=dst" ? std::stoull(value.substr(1), nullptr, 0) : 0;
        values[parameter] = value == "=dst"   ? reinterpret_cast<uintptr_t>(destination.data())
                            : value[0] == '=' ? number
                                              : blocks_[parameter] + number;
    }
    return values;
}

int32_t EntryPoint::call(const std::string& changes) const
{
    destination.fill(kUntouched);
    return entry_(words(changes));
}

EntryPoint::Block EntryPoint::output(const std::string& changes) const
{
    EXPECT_EQ(0, call(changes)) << name_ << ": " << changes;
    return destination;
}

void EntryPoint::expectLines(int32_t status, const std::vector<LogLine>& lines, const std::string& calls) const
{
    Block untouched;
    untouched.fill(kUntouched);
    LogCapture log(status);
    for (const std::string& changes : split(calls))
    {
        const Override tracing(libLogPrint, 1);
        EXPECT_EQ(status, call(changes)) << name_ << ": " << changes;
        EXPECT_EQ(lines, log.take()) << name_ << ": " << changes;
        EXPECT_EQ(untouched, destination) << name_ << ": " << changes;
    }
    EXPECT_NE(untouched, output()) << name_;
    EXPECT_EQ(std::vector<LogLine>(), log.take()) << name_;
}

void EntryPoint::expectRefused(int32_t status, const std::string& calls) const
{
    expectLines(status, {trace(name_, "CPU")}, calls);
}

void EntryPoint::expectRefusedLogging(const std::string& condition, const std::string& calls) const
{
    for (const int32_t result : {1, -11})
    {
        expectLines(result, {trace(name_, "CPU"), refusal(name_, condition)}, calls);
    }
}

void EntryPoint::expectOutOfRange(const std::string& calls) const
{
    for (const int32_t result : {1, -11})
    {
        expectLines(result, {rangeRefusal(name_)}, calls);
    }
}

void EntryPoint::expectServed(VSR_IMPL& row, VSR_IMPL kind, VSR_IMPL served, const std::string& calls) const
{
    constexpr const char* kNames[] = {"CPU", "VECTA", "KDSP", "GPU", "ADSP", "CDSP", "MDSP"};
    for (const std::string& changes : split(calls))
    {
        const Override vector(row, VSR_IMPL_VECTA);
        const Block expected = output(changes);
        row = kind;
        const Override tracing(libLogPrint, 1);
        LogCapture log;
        EXPECT_EQ(expected, output(changes)) << name_ << ": " << changes;
        EXPECT_EQ(std::vector{trace(name_, kNames[served])}, log.take()) << kNames[kind] << ": " << changes;
    }
}

}  // namespace visora::test
