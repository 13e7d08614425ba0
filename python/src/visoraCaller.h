/**
 * @file
 * How Python calls an operation: each is described by tables that `generate-binding` makes from the public headers, and
 * one function, `call`, goes by them. It turns arrays into pointers, sizes and strides, checks them, allocates what is
 * left out, calls the C function without the interpreter's lock, and turns a refusal into an exception.
 */
#ifndef VISORA_PYTHON_CALLER_H
#define VISORA_PYTHON_CALLER_H

#include <Python.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>

#include "element.h"

namespace visora::python
{

/** Most parameters that a C function has. */
constexpr size_t kMaxParameters = 32;

/** An argument of a C function. */
union Value
{
    int64_t i;
    double f;
    void* p;
};

/** A whole number that follows from other arguments: that of a parameter plus `plus`, or what `evaluate` makes. */
struct Expression
{
    int16_t parameter = -1;  // none: `plus` itself
    int64_t plus = 0;
    int64_t (*evaluate)(const Value* values, const int64_t* entries) = nullptr;

    bool isConstant() const { return parameter < 0 && evaluate == nullptr; }
};

struct Field
{
    const char* name;
    Element element;
    size_t offset;
};

/** A C struct of numbers, which is a named tuple in Python. */
struct Record
{
    const char* name;
    const char* doc;
    size_t size;
    std::span<const Field> fields;
    PyObject** type;   // the named tuple's
    PyObject** dtype;  // of arrays of them
};

/** A public constant. */
struct Constant
{
    const char* name;
    int64_t value;
};

enum class Role : uint8_t
{
    Image,            // also tables of numbers: width, height, channels, stride
    List,             // count, pairs
    Number,           // given by the caller
    Size,             // follows from buffers, or is given by the caller
    Stride,           // follows from its image
    Computed,         // by `value`
    Result,           // a number that the function writes
    Structure,        // one record
    Correspondences,  // the record of points that models are fitted to
    Scratch
};

struct Parameter
{
    const char* name;
    Role role;
    Element element = Element::U8;
    bool written = false;  // by the function
    bool read = false;
    bool optional = false;  // may be null
    bool isMask = false;    // takes bool too
    Expression width, height, channels, count;
    int64_t pairs = 1;
    int16_t stride = -1;  // of images: the parameter; none for packed ones
    int16_t used = -1;    // of written lists: the result that holds how many entries are
    const Record* record = nullptr;
    int16_t argument = -1;  // in `Function::arguments`
    bool hasDefault = false;
    Value byDefault = {};
    Expression value = {};  // of Computed ones, and of sizes by default
};

/** What the C function does not survive, or does not check. */
struct Requirement
{
    int64_t (*holds)(const Value* values, const int64_t* entries);
    const char* argument;
    const char* text;
};

struct Function
{
    const char* name;   // in Python
    const char* cName;  // of what is called
    const char* doc;    // begins with the signature
    int64_t (*call)(const Value* values);
    bool inPlace;     // the C function judges destinations that are sources
    bool anyStatus;   // its result is no refusal
    size_t required;  // so many arguments come first; the others are keywords
    std::span<const char* const> arguments;
    std::span<const Parameter> parameters;
    std::span<const Requirement> requirements;
};

/** The sum of a list of lengths, as it is in a table's expressions. */
inline int64_t total(const uint32_t* lengths, int64_t count)
{
    return std::accumulate(lengths, lengths + count, int64_t{0});
}

/** Calls a function with the arguments of a METH_FASTCALL | METH_KEYWORDS method. */
PyObject* call(const Function& function, PyObject* const* arguments, Py_ssize_t count, PyObject* keywords);

/** To be called before the others: takes what they need from NumPy. @return false with an exception */
bool initialise(PyObject* module);

/** The mode for the best variants, unless the program has chosen one. */
void chooseModeOnce();
void modeWasChosen();

// What generate-binding writes.
std::span<const Record> records();
std::span<PyMethodDef> methods();
std::span<const Constant> constants();

}  // namespace visora::python

#endif
