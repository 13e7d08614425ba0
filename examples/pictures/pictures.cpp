#include "pictures.h"

#include <stb_image.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace pictures
{

Picture readPicture(const std::filesystem::path& path)
{
    int width = 0;
    int height = 0;
    int channels = 0;
    const std::unique_ptr<uint8_t, void (*)(void*)> pixels(stbi_load(path.c_str(), &width, &height, &channels, 3),
                                                           stbi_image_free);
    if (!pixels)
    {
        throw std::runtime_error(path.string() + ": " + stbi_failure_reason());
    }
    Picture picture(static_cast<uint32_t>(width), static_cast<uint32_t>(height), 3);
    std::copy_n(pixels.get(), picture.pixels.size(), picture.data());
    return picture;
}

void writePicture(const std::filesystem::path& path, const Picture& picture)
{
    const auto width = static_cast<int>(picture.width);
    const auto height = static_cast<int>(picture.height);
    const auto channels = static_cast<int>(picture.channels);
    constexpr int kQuality = 95;
    const std::string extension = path.extension().string();
    int written = 0;
    if (extension == ".png")
    {
        written = stbi_write_png(path.c_str(), width, height, channels, picture.data(), width * channels);
    }
    else if (extension == ".jpg" || extension == ".jpeg")
    {
        written = stbi_write_jpg(path.c_str(), width, height, channels, picture.data(), kQuality);
    }
    else
    {
        throw std::runtime_error("cannot write " + path.string() + ": its name has to end in .png or .jpg");
    }
    // The writer does not tell whether all of it could be stored.
    std::ifstream file(path, std::ios::ate | std::ios::binary);
    if (!written || !file || file.tellg() < 1)
    {
        throw std::runtime_error("cannot write " + path.string());
    }
}

Picture toGray(const Picture& rgb)
{
    Picture gray(rgb.width, rgb.height, 1);
    for (size_t i = 0; i < gray.pixels.size(); ++i)
    {
        const uint8_t* pixel = rgb.data() + i * 3;
        gray.pixels[i] = static_cast<uint8_t>((pixel[0] * 77 + pixel[1] * 150 + pixel[2] * 29) >> 8);
    }
    return gray;
}

Picture toRgb(const Picture& picture)
{
    if (picture.channels == 3)
    {
        return picture;
    }
    Picture rgb(picture.width, picture.height, 3);
    for (size_t i = 0; i < rgb.pixels.size(); ++i)
    {
        rgb.pixels[i] = picture.pixels[i / 3];
    }
    return rgb;
}

void drawCross(Picture& rgb, uint32_t x, uint32_t y, const Color& color)
{
    const float radius = 4;
    const auto atX = static_cast<float>(x);
    const auto atY = static_cast<float>(y);
    drawLine(rgb, atX - radius, atY, atX + radius, atY, color);
    drawLine(rgb, atX, atY - radius, atX, atY + radius, color);
}

void drawLine(Picture& rgb, float fromX, float fromY, float toX, float toY, const Color& color)
{
    const auto steps = static_cast<int>(std::ceil(std::max({1.0f, std::abs(toX - fromX), std::abs(toY - fromY)})));
    for (int i = 0; i <= steps; ++i)
    {
        const float part = static_cast<float>(i) / static_cast<float>(steps);
        const float x = fromX + (toX - fromX) * part + 0.5f;
        const float y = fromY + (toY - fromY) * part + 0.5f;
        if (x >= 0 && y >= 0 && x < static_cast<float>(rgb.width) && y < static_cast<float>(rgb.height))
        {
            std::copy(color.begin(), color.end(),
                      rgb.data() + (static_cast<size_t>(y) * rgb.width + static_cast<size_t>(x)) * 3);
        }
    }
}

void drawArrow(Picture& rgb, const float* from, const float* to, float exaggeration, const Color& color)
{
    const float dx = (to[0] - from[0]) * exaggeration;
    const float dy = (to[1] - from[1]) * exaggeration;
    const float x = from[0] + dx;
    const float y = from[1] + dy;
    drawLine(rgb, from[0], from[1], x, y, color);
    drawLine(rgb, x, y, x - 0.3f * dx - 0.15f * dy, y - 0.3f * dy + 0.15f * dx, color);
    drawLine(rgb, x, y, x - 0.3f * dx + 0.15f * dy, y - 0.3f * dy - 0.15f * dx, color);
}

}  // namespace pictures
