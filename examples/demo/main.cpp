// Runs the library on photographs: writes what every stage makes as a PNG file, all of them on one contact sheet, and
// prints which implementation served each call and how long it took.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

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

void showPair(const Paths& pair, const std::filesystem::path& output, demo::Runner& runner, demo::ContactSheet& sheet)
{
    const demo::Photograph first = readPhotograph(pair[0]);
    const demo::Photograph second = readPhotograph(pair[1]);
    std::printf("%s and %s\n", pair[0].filename().c_str(), pair[1].filename().c_str());
    const auto folder = output / (pair[0].stem().string() + "-" + pair[1].stem().string());
    std::filesystem::create_directories(folder);
    sheet.startRow();
    sheet.add(pair[0].filename().string(), first.rgb);
    sheet.add(pair[1].filename().string(), second.rgb);
    for (const demo::PairStage& stage : demo::pairStages())
    {
        for (const auto& [title, picture] : stage(first, second, runner))
        {
            demo::writePicture(folder / fileName(title), picture);
            sheet.add(title, picture);
        }
    }
}

// One after the other, the last one with its next frame when there is one.
void showOn(const Paths& photographs, const std::filesystem::path& nextFrame, const std::filesystem::path& rightView,
            const Paths& pair, const std::filesystem::path& output)
{
    vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
    demo::Runner runner;
    demo::ContactSheet sheet(6);
    for (const auto& path : photographs)
    {
        demo::Photograph photograph = readPhotograph(path);
        if (&path == &photographs.back() && !nextFrame.empty())
        {
            photograph.nextGray = demo::toGray(demo::readPicture(nextFrame));
        }
        if (&path == &photographs.front() && !rightView.empty())
        {
            photograph.rightGray = demo::toGray(demo::readPicture(rightView));
        }
        std::printf("%s, %u x %u\n", path.filename().c_str(), photograph.rgb.width, photograph.rgb.height);

        const auto folder = output / path.stem();
        std::filesystem::create_directories(folder);
        sheet.startRow();
        sheet.add(path.filename().string(), photograph.rgb);
        for (const demo::Stage& stage : demo::stages())
        {
            const demo::Picture picture = stage.make(photograph, runner);
            if (picture.pixels.empty())
            {
                continue;
            }
            demo::writePicture(folder / fileName(stage.title), picture);
            sheet.add(stage.title, picture);
        }
    }
    if (!pair.empty())
    {
        showPair(pair, output, runner, sheet);
    }
    const auto sheetPath = output / "contact-sheet.png";
    demo::writePicture(sheetPath, sheet.layOut());
    std::printf("contact sheet: %s\n", sheetPath.c_str());
}

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
        app.add_option("photographs", photographs, "PNG or JPEG files")->required()->check(CLI::ExistingFile);
        app.add_option("--next", nextFrame, "the frame after the last photograph")->check(CLI::ExistingFile);
        app.add_option("--right", rightView, "the first photograph seen from further right")->check(CLI::ExistingFile);
        app.add_option("--pair", pair, "two photographs of one plane")->expected(2)->check(CLI::ExistingFile);
        app.add_option("-o,--output", output, "folder for the pictures")->capture_default_str();
        CLI11_PARSE(app, argc, argv);
        showOn(photographs, nextFrame, rightView, pair, output);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "visora_demo: %s\n", error.what());
        return 1;
    }
}
