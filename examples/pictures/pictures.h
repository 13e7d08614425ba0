// Pictures in files, and lines drawn on them: what the demo and the command-line tool share.
#ifndef VISORA_EXAMPLES_PICTURES_H
#define VISORA_EXAMPLES_PICTURES_H

#include <array>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace pictures
{

/** Packed pixels of one byte (gray) or three (R, G, B). */
struct Picture
{
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t channels = 1;
    std::vector<uint8_t> pixels;

    Picture() = default;
    Picture(uint32_t pictureWidth, uint32_t pictureHeight, uint32_t pictureChannels)
        : width(pictureWidth),
          height(pictureHeight),
          channels(pictureChannels),
          pixels(size_t{pictureWidth} * pictureHeight * pictureChannels)
    {
    }

    uint8_t* data() { return pixels.data(); }
    const uint8_t* data() const { return pixels.data(); }
};

/** Reads a PNG or JPEG file as R, G, B. Throws when it cannot be read. */
Picture readPicture(const std::filesystem::path& path);

/** Writes a PNG or JPEG file, as its name ends. Throws when it cannot be written. */
void writePicture(const std::filesystem::path& path, const Picture& picture);

/** Luma of an R, G, B picture. */
Picture toGray(const Picture& rgb);

/** The same picture with three channels. */
Picture toRgb(const Picture& picture);

using Color = std::array<uint8_t, 3>;

// What lies outside the picture is not drawn.
void drawCross(Picture& rgb, uint32_t x, uint32_t y, const Color& color);
void drawLine(Picture& rgb, float fromX, float fromY, float toX, float toY, const Color& color);
/** From one point to another, as many times as long. */
void drawArrow(Picture& rgb, const float* from, const float* to, float exaggeration, const Color& color);

}  // namespace pictures

#endif
