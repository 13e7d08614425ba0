// One operation applied to pictures.
#ifndef VISORA_TOOLS_JOB_H
#define VISORA_TOOLS_JOB_H

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "catalogue.h"
#include "pictures.h"

namespace tool
{

using Path = std::filesystem::path;
using pictures::Picture;

/** What a user did wrong or cannot have. */
struct Refused : std::runtime_error
{
    using runtime_error::runtime_error;
};

struct JobOptions
{
    /** Texts that the command line gives for parameters, by name. */
    std::map<std::string, std::string> arguments;
    bool time = false;
    /** Draws places that the operation finds on the picture. */
    bool overlay = false;
};

/** Indices of the images that pictures have to be given for, in order. */
std::vector<size_t> picturesWanted(const Operation& operation);

struct Result
{
    /** Pictures, with the name of the parameter where there are several. */
    std::vector<std::pair<std::string, Picture>> pictures;
    /** Numbers, a line each. */
    std::string text;
};

/** Applies the operation. Throws Refused when the arguments do not fit together or the library refuses them. */
Result apply(const Operation& operation, const std::vector<Picture>& pictures, const JobOptions& options);

/** The value of an enumeration by name, with or without its prefix, or a number in the range of the parameter. */
double parseNumber(const Parameter& parameter, const std::string& text);

}  // namespace tool

#endif
