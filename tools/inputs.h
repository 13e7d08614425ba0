// Images of the library from pictures, and pictures from its images.
#ifndef VISORA_TOOLS_INPUTS_H
#define VISORA_TOOLS_INPUTS_H

#include <string>

#include "catalogue.h"
#include "pictures.h"

namespace tool
{

/** True of a source that is made from the first picture: chroma planes, gradients, maps, masks. */
bool isDerived(const Operation& operation, const Parameter& parameter);

/**
 * Fills an image: from its own picture, whose size has to be right, or else from the first picture, where there is one.
 * Pictures become gray, R, G, B or R, G, B, A as the image has channels; two channels become chroma pairs.
 */
void fillImage(const Operation& operation, const Parameter& parameter, void* data, const pictures::Picture* picture,
               const Shape& shape, const pictures::Picture* first);

/** An image as a picture; values that bytes do not hold are stretched to them, which `note` tells. */
pictures::Picture toPicture(const Operation& operation, const Parameter& parameter, const void* data,
                            const Shape& shape, std::string& note);

}  // namespace tool

#endif
