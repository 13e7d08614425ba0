// Runs the library on photographs: writes what every stage makes as a PNG file, all of them on one contact sheet, and
// prints which implementation served each call and how long it took.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <set>

#include "stages.h"
#include "visora.h"

namespace
{

std::string fileName(std::string title)
{
    for (char& c : title)
    {
        c = std::isalnum(static_cast<unsigned char>(c)) ? c : '-';
    }
    return title + ".png";
}

using Paths = std::vector<std::filesystem::path>;

demo::Photograph readPhotograph(const std::filesystem::path& path)
{
    demo::Photograph photograph;
    photograph.rgb = demo::readPicture(path);
    photograph.gray = demo::toGray(photograph.rgb);
    return photograph;
}

// Everything that one run of the demo makes. What cannot be made is told and left out; the rest is made.
class Show
{
  public:
    explicit Show(std::filesystem::path output) : output_(std::move(output)) {}

    void photograph(const std::filesystem::path& path, const std::filesystem::path& nextFrame,
                    const std::filesystem::path& rightView)
    {
        demo::Photograph photograph;
        if (!attempt("photograph", [&] { photograph = readPhotograph(path); }))
        {
            return;
        }
        if (!nextFrame.empty())
        {
            attempt("next frame", [&] { photograph.nextGray = demo::toGray(demo::readPicture(nextFrame)); });
        }
        if (!rightView.empty())
        {
            attempt("right view", [&] { photograph.rightGray = demo::toGray(demo::readPicture(rightView)); });
        }
        std::printf("%s, %u x %u\n", path.filename().c_str(), photograph.rgb.width, photograph.rgb.height);
        const auto folder = newFolder(path.stem().string());
        sheet_.startRow();
        sheet_.add(path.filename().string(), photograph.rgb);
        for (const demo::Stage& stage : demo::stages())
        {
            attempt(path.filename().string() + ": " + stage.title,
                    [&] { keep(folder, stage.title, stage.make(photograph, runner_)); });
        }
    }

    void pair(const std::filesystem::path& one, const std::filesystem::path& other)
    {
        const std::string names = one.filename().string() + " and " + other.filename().string();
        attempt(names,
                [&]
                {
                    const demo::Photograph first = readPhotograph(one);
                    const demo::Photograph second = readPhotograph(other);
                    std::printf("%s\n", names.c_str());
                    const auto folder = newFolder(one.stem().string() + "-" + other.stem().string());
                    sheet_.startRow();
                    sheet_.add(one.filename().string(), first.rgb);
                    sheet_.add(other.filename().string(), second.rgb);
                    for (const demo::PairStage& stage : demo::pairStages())
                    {
                        for (const auto& [title, picture] : stage(first, second, runner_))
                        {
                            keep(folder, title, picture);
                        }
                    }
                });
    }

    /** Writes the contact sheet; false when something could not be made. */
    bool finish()
    {
        if (!folders_.empty())
        {
            const auto path = output_ / "contact-sheet.png";
            demo::writePicture(path, sheet_.layOut());
            std::printf("contact sheet: %s\n", path.c_str());
        }
        return !failed_;
    }

  private:
    template <class Action>
    bool attempt(const std::string& what, Action action)
    {
        try
        {
            action();
            return true;
        }
        catch (const std::exception& error)
        {
            std::fprintf(stderr, "visora_demo: %s: %s\n", what.c_str(), error.what());
            failed_ = true;
            return false;
        }
    }

    // Photographs of one name in several folders get a folder each.
    std::filesystem::path newFolder(const std::string& name)
    {
        std::string free = name;
        for (int i = 2; !folders_.insert(free).second; ++i)
        {
            free = name + "-" + std::to_string(i);
        }
        std::filesystem::create_directories(output_ / free);
        return output_ / free;
    }

    void keep(const std::filesystem::path& folder, const std::string& title, const demo::Picture& picture)
    {
        if (!picture.pixels.empty())
        {
            demo::writePicture(folder / fileName(title), picture);
            sheet_.add(title, picture);
        }
    }

    std::filesystem::path output_;
    std::set<std::string> folders_;
    demo::Runner runner_;
    demo::ContactSheet sheet_{6};
    bool failed_ = false;
};

}  // namespace

int main(int argc, char** argv)
{
    try
    {
        CLI::App app("Runs Visora on photographs");
        Paths photographs;
        Paths pair;
        std::filesystem::path nextFrame;
        std::filesystem::path rightView;
        std::filesystem::path output = "visora-demo";
        app.add_option("photographs", photographs, "PNG or JPEG files")->check(CLI::ExistingFile);
        app.add_option("--next", nextFrame, "the frame after the last photograph")->check(CLI::ExistingFile);
        app.add_option("--right", rightView, "the first photograph seen from further right")->check(CLI::ExistingFile);
        app.add_option("--pair", pair, "two photographs of one plane")->expected(2)->check(CLI::ExistingFile);
        app.add_option("-o,--output", output, "folder for the pictures")->capture_default_str();
        CLI11_PARSE(app, argc, argv);
        if (photographs.empty() && (pair.empty() || !nextFrame.empty()))
        {
            return app.exit(CLI::RequiredError(nextFrame.empty() ? "photographs" : "a photograph before --next"));
        }
        vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
        Show show(output);
        for (const auto& path : photographs)
        {
            const std::filesystem::path none;
            show.photograph(path, &path == &photographs.back() ? nextFrame : none,
                            &path == &photographs.front() ? rightView : none);
        }
        if (!pair.empty())
        {
            show.pair(pair[0], pair[1]);
        }
        return show.finish() ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "visora_demo: %s\n", error.what());
        return 1;
    }
}
