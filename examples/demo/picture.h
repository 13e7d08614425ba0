// Pictures of the demo, labelled and laid out on one sheet.
#ifndef VISORA_EXAMPLES_DEMO_PICTURE_H
#define VISORA_EXAMPLES_DEMO_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "pictures.h"

namespace demo
{

using pictures::Picture;
using pictures::readPicture;
using pictures::toGray;
using pictures::toRgb;
using pictures::writePicture;

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
