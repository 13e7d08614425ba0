#include "picture.h"

#include <stb_easy_font.h>
#include <stb_image_resize.h>

#include <algorithm>

namespace demo
{

namespace
{

constexpr uint32_t kCellWidth = 320;
constexpr uint32_t kCellHeight = 260;
constexpr uint32_t kTitleHeight = 16;

// The largest size of the same shape that fits into a cell below its title.
Picture shrinkToCell(const Picture& picture)
{
    const double scale = std::min({1.0, static_cast<double>(kCellWidth - 8) / picture.width,
                                   static_cast<double>(kCellHeight - kTitleHeight - 8) / picture.height});
    Picture small(std::max(1u, static_cast<uint32_t>(picture.width * scale)),
                  std::max(1u, static_cast<uint32_t>(picture.height * scale)), 3);
    stbir_resize_uint8(picture.data(), static_cast<int>(picture.width), static_cast<int>(picture.height), 0,
                       small.data(), static_cast<int>(small.width), static_cast<int>(small.height), 0, 3);
    return small;
}

void drawText(Picture& sheet, uint32_t left, uint32_t top, std::string text)
{
    // The font gives four corners per rectangle, each x, y, z as floats and a colour.
    struct Corner
    {
        float x, y, z;
        uint8_t color[4];
    };
    std::vector<Corner> corners(text.size() * 4 * 20);
    const int quads = stb_easy_font_print(0, 0, text.data(), nullptr, corners.data(),
                                          static_cast<int>(corners.size() * sizeof(Corner)));
    for (int quad = 0; quad < quads; ++quad)
    {
        const Corner& from = corners[static_cast<size_t>(quad) * 4];
        const Corner& to = corners[static_cast<size_t>(quad) * 4 + 2];
        for (auto y = static_cast<uint32_t>(from.y); y < static_cast<uint32_t>(to.y); ++y)
        {
            for (auto x = static_cast<uint32_t>(from.x); x < static_cast<uint32_t>(to.x); ++x)
            {
                if (left + x < sheet.width && top + y < sheet.height)
                {
                    std::fill_n(sheet.data() + (size_t{top + y} * sheet.width + left + x) * 3, 3, uint8_t{0});
                }
            }
        }
    }
}

}  // namespace

void ContactSheet::startRow()
{
    column_ = 0;
    ++rows_;
}

void ContactSheet::add(const std::string& title, const Picture& picture)
{
    if (rows_ == 0 || column_ == columns_)
    {
        startRow();
    }
    cells_.push_back({title, shrinkToCell(toRgb(picture)), column_++, rows_ - 1});
}

Picture ContactSheet::layOut() const
{
    Picture sheet(columns_ * kCellWidth, rows_ * kCellHeight, 3);
    std::fill(sheet.pixels.begin(), sheet.pixels.end(), uint8_t{255});
    for (const Cell& cell : cells_)
    {
        const uint32_t left = cell.column * kCellWidth + 4;
        const uint32_t top = cell.row * kCellHeight + 4;
        drawText(sheet, left, top, cell.title);
        const Picture& picture = cell.picture;
        for (uint32_t y = 0; y < picture.height; ++y)
        {
            std::copy_n(picture.data() + size_t{y} * picture.width * 3, size_t{picture.width} * 3,
                        sheet.data() + (size_t{top + kTitleHeight + y} * sheet.width + left) * 3);
        }
    }
    return sheet;
}

}  // namespace demo
