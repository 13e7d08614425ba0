// Pictures of the demo: read, written, labelled and laid out on one sheet.
#ifndef VISORA_EXAMPLES_DEMO_PICTURE_H
#define VISORA_EXAMPLES_DEMO_PICTURE_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace demo
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

/** Writes a PNG file. Throws when it cannot be written. */
void writePicture(const std::filesystem::path& path, const Picture& picture);

/** Luma of an R, G, B picture. */
Picture toGray(const Picture& rgb);

/** The same picture with three channels. */
Picture toRgb(const Picture& picture);

/** Pictures with titles, in rows. */
class ContactSheet
{
  public:
    /** Lays out at most this many pictures in a row. */
    explicit ContactSheet(uint32_t columns) : columns_(columns) {}

    /** Begins a new row. */
    void startRow();
    void add(const std::string& title, const Picture& picture);
    Picture layOut() const;

  private:
    struct Cell
    {
        std::string title;
        Picture picture;
        uint32_t column;
        uint32_t row;
    };

    uint32_t columns_;
    uint32_t column_ = 0;
    uint32_t rows_ = 0;
    std::vector<Cell> cells_;
};

}  // namespace demo

#endif
