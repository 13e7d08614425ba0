#include "inputs.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string_view>

#include "elements.h"
#include "job.h"

namespace tool
{
namespace
{

using pictures::Picture;

bool isOneOf(const Parameter& parameter, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), parameter.name) != names.end();
}

// Whether an image is in the order B, G, R: the formats stand on both sides of "To".
bool isBlueFirst(const Operation& operation, const Parameter& parameter)
{
    const std::string_view function = operation.function;
    const size_t to = function.find("To");
    const size_t blue = function.find("BGR", parameter.role == Role::Destination && to != function.npos ? to : 0);
    return blue != function.npos && (parameter.role == Role::Destination ? to != function.npos : blue < to);
}

bool is565(const Operation& operation, const Parameter& parameter)
{
    const std::string_view function = operation.function;
    const size_t to = std::min(function.find("To"), function.find("to"));
    const size_t packed = function.find("565");
    const size_t last = function.rfind("565");
    return packed != function.npos && (parameter.role == Role::Destination ? last > to : packed < to);
}

// The picture's pixel that lies at the same place of an image of another size.
const uint8_t* pixelAt(const Picture& rgb, const Shape& shape, int64_t x, int64_t y)
{
    const int64_t atX = x * rgb.width / shape.width;
    const int64_t atY = y * rgb.height / shape.height;
    return rgb.data() + (atY * rgb.width + atX) * 3;
}

double gray(const uint8_t* pixel)
{
    return (pixel[0] * 77 + pixel[1] * 150 + pixel[2] * 29) >> 8;
}

double blueness(const uint8_t* pixel)
{
    return std::round(128 - 0.168736 * pixel[0] - 0.331264 * pixel[1] + 0.5 * pixel[2]);
}

double redness(const uint8_t* pixel)
{
    return std::round(128 + 0.5 * pixel[0] - 0.418688 * pixel[1] - 0.081312 * pixel[2]);
}

// Red lowest, as the library has it.
uint16_t pack565(const uint8_t* pixel, bool blueFirst)
{
    const int low = pixel[blueFirst ? 2 : 0] >> 3;
    const int high = pixel[blueFirst ? 0 : 2] >> 3;
    return static_cast<uint16_t>(low | (pixel[1] >> 2) << 5 | high << 11);
}

double channelOf(const Operation& operation, const Parameter& parameter, const uint8_t* pixel, int64_t channels,
                 int64_t channel)
{
    if (channels == 1)
    {
        return gray(pixel);
    }
    if (channels == 2 && is565(operation, parameter))
    {
        return pack565(pixel, isBlueFirst(operation, parameter)) >> (8 * channel) & 255;
    }
    if (channels == 2)
    {
        const bool pairs = parameter.element == Element::U8;
        return pairs ? (channel == 0 ? blueness(pixel) : redness(pixel)) : (channel == 0 ? gray(pixel) : 0);
    }
    if (channel == 3)
    {
        return 255;
    }
    return pixel[isBlueFirst(operation, parameter) ? 2 - channel : channel];
}

// What the first picture gives an image that is made from it.
double derived(const Parameter& parameter, const Picture& first, const Shape& shape, int64_t x, int64_t y,
               int64_t channel)
{
    const uint8_t* pixel = pixelAt(first, shape, x, y);
    const std::string_view name = parameter.name;
    if (name == "mapX")
    {
        return static_cast<double>(x) + 6 * std::sin(static_cast<double>(y) / 12);
    }
    if (name == "mapY")
    {
        return static_cast<double>(y) + 6 * std::sin(static_cast<double>(x) / 12);
    }
    if (name == "dx" || name == "dy")
    {
        const bool across = name == "dx";
        return gray(pixelAt(first, shape, std::min(x + (across ? 1 : 0), shape.width - 1),
                            std::min(y + (across ? 0 : 1), shape.height - 1))) -
               gray(pixel);
    }
    return name.ends_with("Cr") || channel == 1 ? redness(pixel) : blueness(pixel);
}

// Images whose names tell what the first picture gives them.
bool isMade(const Parameter& parameter)
{
    return isOneOf(parameter, {"srcC", "srcCb", "srcCr", "mapX", "mapY"}) ||
           (isOneOf(parameter, {"dx", "dy"}) && parameter.role == Role::Source);
}

}  // namespace

bool isDerived(const Operation& operation, const Parameter& parameter)
{
    if (isMade(parameter))
    {
        return true;
    }
    // A size that is no parameter does not follow from a picture, unless it is the only one there is.
    return parameter.width < 0 && &parameter != &operation.parameters[0];
}

void fillImage(const Operation& operation, const Parameter& parameter, void* data, const Picture* picture,
               const Shape& shape, const Picture* first)
{
    const bool bits = parameter.width < 0 && parameter.height >= 0 && shape.channels == 1;
    if (picture && !bits && !isDerived(operation, parameter) &&
        (picture->width != shape.width || picture->height > shape.height))
    {
        throw Refused(std::string(parameter.name) + " has to be a picture of " + std::to_string(shape.width) + " x " +
                      std::to_string(shape.height) + " pixels, not " + std::to_string(picture->width) + " x " +
                      std::to_string(picture->height));
    }
    if (!picture && (!isMade(parameter) || !first))
    {
        return;  // zeros
    }
    // Of the buffers of luma with chroma behind it.
    const bool redFirst = std::string_view(operation.function).find("toRGB8888") != std::string_view::npos;
    for (int64_t y = 0; y < shape.height; ++y)
    {
        for (int64_t x = 0; x < shape.width; ++x)
        {
            for (int64_t channel = 0; channel < shape.channels; ++channel)
            {
                double value = 0;
                if (!picture)
                {
                    value = derived(parameter, *first, shape, x, y, channel);
                }
                else if (bits)
                {
                    for (int64_t bit = 0; bit < 8 && x * 8 + bit < picture->width; ++bit)
                    {
                        const Shape whole = {picture->width, shape.height, 1};
                        value += gray(pixelAt(*picture, whole, x * 8 + bit, y)) >= 128 ? 128 >> bit : 0;
                    }
                }
                else if (y >= picture->height)
                {
                    // The chroma pairs behind the luma of a camera's buffer.
                    const int64_t atY = std::min<int64_t>((y - picture->height) * 2, picture->height - 1);
                    const uint8_t* pixel = pixelAt(*picture, {picture->width, picture->height, 1}, x / 2 * 2, atY);
                    value = (x % 2 == 0) != redFirst ? blueness(pixel) : redness(pixel);
                }
                else
                {
                    const uint8_t* pixel = pixelAt(*picture, {picture->width, picture->height, 1}, x, y);
                    value = channelOf(operation, parameter, pixel, shape.channels, channel);
                }
                set(parameter.element, data, static_cast<size_t>((y * shape.width + x) * shape.channels + channel),
                    value);
            }
        }
    }
}

Picture toPicture(const Operation& operation, const Parameter& parameter, const void* data, const Shape& shape,
                  std::string& note)
{
    const size_t pixels = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.height);
    const auto channels = static_cast<size_t>(shape.channels);
    Picture picture(static_cast<uint32_t>(shape.width), static_cast<uint32_t>(shape.height), channels == 1 ? 1 : 3);
    if (is565(operation, parameter) && pixels > 0)
    {
        picture = Picture(picture.width, picture.height, 3);
        const bool blueFirst = isBlueFirst(operation, parameter);
        for (size_t i = 0; i < pixels; ++i)
        {
            const auto* bytes = static_cast<const uint8_t*>(data) + i * 2;
            const int value = bytes[0] | bytes[1] << 8;
            picture.data()[i * 3 + (blueFirst ? 2 : 0)] = static_cast<uint8_t>((value & 31) * 255 / 31);
            picture.data()[i * 3 + 1] = static_cast<uint8_t>((value >> 5 & 63) * 255 / 63);
            picture.data()[i * 3 + (blueFirst ? 0 : 2)] = static_cast<uint8_t>((value >> 11) * 255 / 31);
        }
        return picture;
    }

    double low = 0;
    double high = 255;
    if (parameter.element != Element::U8)
    {
        low = HUGE_VAL;
        high = -HUGE_VAL;
        for (size_t i = 0; i < pixels * channels; ++i)
        {
            const double value = get(parameter.element, data, i);
            low = std::isfinite(value) ? std::min(low, value) : low;
            high = std::isfinite(value) ? std::max(high, value) : high;
        }
        std::ostringstream text;
        text << parameter.name << " has values from " << low << " to " << high << ", shown from black to white\n";
        note = text.str();
        if (low < 0)  // 0 is the middle gray
        {
            high = std::max(-low, high);
            low = -high;
        }
    }
    const bool blueFirst = channels >= 3 && isBlueFirst(operation, parameter);
    for (size_t i = 0; i < pixels; ++i)
    {
        for (size_t channel = 0; channel < picture.channels; ++channel)
        {
            // Two channels are the first two of three.
            double shown = channels == 2 && channel == 2 ? 0.5 : 0;
            if (channel < channels)
            {
                const size_t from = blueFirst ? 2 - channel : channel;
                const double value = get(parameter.element, data, i * channels + from);
                shown = std::isfinite(value) && high > low ? (value - low) / (high - low) : 0;
            }
            picture.data()[i * picture.channels + channel] = static_cast<uint8_t>(shown * 255 + 0.5);
        }
    }
    return picture;
}

}  // namespace tool
