/**
 * @file
 * NumPy arrays as the library sees them, and the exceptions about them.
 */
#ifndef VISORA_PYTHON_ARRAYS_H
#define VISORA_PYTHON_ARRAYS_H

#include <string>

#include "visoraCaller.h"

// One translation unit, visoraArrays.cpp, fetches NumPy's functions for all.
#define PY_ARRAY_UNIQUE_SYMBOL visora_python_numpy
#ifndef VISORA_FETCHES_NUMPY
#define NO_IMPORT_ARRAY
#endif
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#include <numpy/arrayobject.h>

namespace visora::python
{

/** An array and where it lies: rows of `rowBytes` bytes, `stride` apart. Lists are one row. */
struct Buffer
{
    PyArrayObject* array = nullptr;  // owned
    char* data = nullptr;
    int64_t width = 0, height = 0, channels = 1;
    int64_t rowBytes = 0, stride = 0;
    bool isCopy = false;

    Buffer() = default;
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { Py_XDECREF(array); }
    int64_t size() const { return height == 0 ? 0 : (height - 1) * stride + rowBytes; }
};

int numpyType(Element element);
const char* nameOf(Element element);
size_t sizeOf(Element element);

/** "(48, 64, 3)". */
std::string shapeText(int64_t height, int64_t width, int64_t channels);
std::string shapeText(PyArrayObject* array);

/** Sets an exception, by the formats of PyErr_Format. @return false */
bool fail(PyObject* exception, const char* format, ...);

/**
 * Takes an argument as an image or table: an array of the element's type with 2 or 3 dimensions. What is only read and
 * cannot be handed over as rows of adjacent elements is copied. @return false with an exception that names the argument
 */
bool takeImage(const Function& function, const Parameter& parameter, PyObject* argument, Buffer& buffer);

/** Takes an argument as a list, in one piece, of any shape; `entries` gets the length of its first dimension. */
bool takeList(const Function& function, const Parameter& parameter, PyObject* argument, Buffer& buffer,
              int64_t& entries);

/** Puts a copy with packed rows in the place of an image that is only read. */
bool pack(Buffer& buffer);

/** A new array of zeros. */
bool makeImage(const Parameter& parameter, int64_t height, int64_t width, int64_t channels, Buffer& buffer);
bool makeList(const Parameter& parameter, int64_t entries, Buffer& buffer);

/** Whether two buffers share bytes; -1 with an exception. */
int overlap(const Buffer& a, const Buffer& b);

/** One element at `place` as a Python number, and back; false with an exception. */
PyObject* loadElement(const char* place, Element element);
bool toValue(const char* function, const char* name, PyObject* number, Element element, Value& value);
bool storeElement(const char* function, const char* name, PyObject* number, Element element, char* place);

bool fetchNumpy();

}  // namespace visora::python

#endif
