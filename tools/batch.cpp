#include "batch.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <mutex>
#include <set>
#include <thread>

namespace tool
{
namespace
{

bool isPicture(const Path& path)
{
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return extension == ".png" || extension == ".jpg" || extension == ".jpeg";
}

std::vector<Path> picturesIn(const Path& folder)
{
    std::vector<Path> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
    {
        if (entry.is_regular_file() && isPicture(entry.path()))
        {
            found.push_back(entry.path());
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

class Batch
{
  public:
    Batch(const BatchOptions& options, const Work& work) : options_(options), work_(work)
    {
        isFolder_ = !options.inputs.empty() && std::filesystem::is_directory(options.inputs[0]);
        if (isFolder_)
        {
            firsts_ = picturesIn(options.inputs[0]);
            if (firsts_.empty())
            {
                throw Refused(options.inputs[0].string() + ": no PNG or JPEG files in this folder");
            }
            folder_ = options.output.empty() ? Path(options.suffix) : options.output;
            std::filesystem::create_directories(folder_);
            // Names differ in more than what comes behind the last dot.
            std::set<Path> stems;
            for (const Path& path : firsts_)
            {
                sameStems_ = !stems.insert(path.stem()).second || sameStems_;
            }
        }
        else
        {
            firsts_.push_back(options.inputs.empty() ? Path() : options.inputs[0]);
        }
        for (size_t i = 1; i < options.inputs.size(); ++i)
        {
            others_.push_back(pictures::readPicture(options.inputs[i]));
        }
    }

    int run()
    {
        const size_t threads = std::clamp<size_t>(options_.jobs, 1, firsts_.size());
        std::vector<std::jthread> helpers;
        for (size_t i = 1; i < threads; ++i)
        {
            helpers.emplace_back([this] { takeTurns(); });
        }
        takeTurns();
        helpers.clear();
        if (showsProgress())
        {
            std::fputc('\n', stderr);
        }
        return failed_ ? 1 : 0;
    }

  private:
    void takeTurns()
    {
        for (size_t i = next_++; i < firsts_.size(); i = next_++)
        {
            try
            {
                one(firsts_[i]);
            }
            // One bad picture does not keep the others waiting.
            catch (const std::exception& error)
            {
                const std::scoped_lock lock(output_);
                const bool named = std::string(error.what()).starts_with(firsts_[i].string());
                std::fprintf(stderr, "%svisora: %s%s%s\n", showsProgress() ? "\r" : "", named ? "" : firsts_[i].c_str(),
                             named || firsts_[i].empty() ? "" : ": ", error.what());
                failed_ = true;
            }
            progress();
        }
    }

    void one(const Path& first)
    {
        std::vector<Picture> inputs;
        if (!first.empty())
        {
            inputs.push_back(pictures::readPicture(first));
        }
        inputs.insert(inputs.end(), others_.begin(), others_.end());
        const Result result = work_(inputs);
        std::string written;
        for (const auto& [name, picture] : result.pictures)
        {
            const Path path = outputFor(first, name);
            pictures::writePicture(path, picture);
            written += path.string() + "\n";
        }
        const std::scoped_lock lock(output_);
        if (isFolder_ && !result.text.empty())
        {
            std::printf("%s\n", first.c_str());
        }
        std::printf("%s%s", result.text.c_str(), isFolder_ ? "" : written.c_str());
    }

    Path outputFor(const Path& first, const std::string& name) const
    {
        const std::string stem = sameStems_ ? first.filename().string() : first.stem().string();
        const std::string part = name.empty() ? "" : "-" + name;
        if (isFolder_)
        {
            return folder_ / (stem + part + ".png");
        }
        if (std::filesystem::is_directory(options_.output))
        {
            return options_.output / (stem + part + ".png");
        }
        if (options_.output.empty())
        {
            return (stem.empty() ? "" : stem + "-") + options_.suffix + part + ".png";
        }
        return options_.output.parent_path() /
               (options_.output.stem().string() + part + options_.output.extension().string());
    }

    bool showsProgress() const { return isFolder_ && isatty(fileno(stderr)) != 0; }

    void progress()
    {
        const size_t done = ++done_;
        if (showsProgress())
        {
            constexpr size_t kWidth = 40;
            const std::string bar(done * kWidth / firsts_.size(), '#');
            const std::scoped_lock lock(output_);
            std::fprintf(stderr, "\r[%-40s] %zu of %zu", bar.c_str(), done, firsts_.size());
        }
    }

    const BatchOptions& options_;
    const Work& work_;
    bool isFolder_ = false;
    bool sameStems_ = false;
    Path folder_;
    std::vector<Path> firsts_;
    std::vector<Picture> others_;
    std::atomic<size_t> next_ = 0;
    std::atomic<size_t> done_ = 0;
    std::atomic<bool> failed_ = false;
    std::mutex output_;
};

}  // namespace

int runBatch(const BatchOptions& options, const Work& work)
{
    return Batch(options, work).run();
}

}  // namespace tool
