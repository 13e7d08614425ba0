// The operations that `visora` serves. The list is made at build time, from the headers.
#ifndef VISORA_TOOLS_CATALOGUE_H
#define VISORA_TOOLS_CATALOGUE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "element.h"

namespace tool
{

enum class Role
{
    Source,
    Mask,
    Destination,
    List,
    Result,
    Scratch,
    Width,
    Height,
    Stride,
    Count,
    Channels,
    Enum,
    Scalar
};

using visora::Element;

struct Parameter
{
    const char* name;
    const char* text;
    Role role;
    Element element;
    bool in;
    bool out;
    bool optional;
    /** What it is when it is not given: an expression, for lists numbers; empty when there is nothing. */
    const char* usual;
    /** Indices of parameters, -1 where none: the stride, how much of a list is used, and the sizes of an image or a
        list where they are parameters. */
    int stride, used, width, height, count;
    /** Name of its type, of enumerations. */
    const char* enumeration;
    /** What a size or stride belongs to. */
    const char* of;
};

struct Value
{
    double number = 0;
    void* pointer = nullptr;
};

using Values = std::vector<Value>;

/** Of an image, in elements: a row has width * channels of them. A list has one row; channels are elements an entry. */
struct Shape
{
    int64_t width = 0;
    int64_t height = 1;
    int64_t channels = 1;
};

struct Operation
{
    const char* name;      // without the library's prefix
    const char* function;  // the newest entry point
    const char* header;
    const char* family;
    const char* brief;
    const char* comment;
    const char* notes;
    const char* common;
    uint32_t row;
    bool hasStatus;
    std::span<const Parameter> parameters;
    Shape (*shape)(const Values&, size_t parameter);
    double (*value)(const Values&, size_t parameter);
    /** What the function cannot be called with, null when all is well. */
    const char* (*refusal)(const Values&);
    double (*call)(const Values&);
};

const std::vector<Operation>& operations();

struct Constant
{
    const char* enumeration;
    const char* name;
    const char* text;
    int64_t value;
};

const std::vector<Constant>& constants();

}  // namespace tool

#endif
