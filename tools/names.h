// Operations by the names that people give them.
#ifndef VISORA_TOOLS_NAMES_H
#define VISORA_TOOLS_NAMES_H

#include <string>
#include <vector>

#include "catalogue.h"

namespace tool
{

/**
 * The operation of that name: the function's, with or without the library's prefix, the version, the type of its
 * elements and the words before, in any case: vsrFilterMedian3x3u8_v3, FilterMedian3x3u8, median3x3. Of several types
 * it is that of bytes. Throws Refused, with the names that are nearest, when there is none or more than one.
 */
const Operation& findOperation(const std::string& name);

}  // namespace tool

#endif
