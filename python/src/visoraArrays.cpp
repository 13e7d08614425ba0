#define VISORA_FETCHES_NUMPY
#include "visoraArrays.h"

#include <cmath>
#include <cstdarg>
#include <cstring>
#include <limits>

namespace visora::python
{

namespace
{

struct ElementType
{
    const char* name;
    size_t size;
    int numpy;
};
constexpr ElementType kElements[] = {
    {"uint8", 1, NPY_UINT8},     {"uint16", 2, NPY_UINT16},   {"uint32", 4, NPY_UINT32}, {"uint64", 8, NPY_UINT64},
    {"int8", 1, NPY_INT8},       {"int16", 2, NPY_INT16},     {"int32", 4, NPY_INT32},   {"int64", 8, NPY_INT64},
    {"float32", 4, NPY_FLOAT32}, {"float64", 8, NPY_FLOAT64}, {"record", 0, NPY_VOID}};

constexpr int64_t kLargestRow = std::numeric_limits<uint32_t>::max();

PyArrayObject* asArray(PyObject* object)
{
    return reinterpret_cast<PyArrayObject*>(object);
}

// Element by element: what a shorter list of numbers is made of (a kernel as a list of lists, a table as a tuple).
PyObject* converted(const Function& function, const Parameter& parameter, PyObject* argument)
{
    PyObject* loose = PyArray_FROM_O(argument);
    if (loose == nullptr)
    {
        return nullptr;
    }
    const bool wantsFloats = parameter.element == Element::F32 || parameter.element == Element::F64;
    const char kind = PyArray_DESCR(asArray(loose))->kind;
    if (!(kind == 'i' || kind == 'u' || kind == 'b' || (wantsFloats && kind == 'f')))
    {
        fail(PyExc_TypeError, "%s: %s has to be an array of %s or a sequence of numbers, not %s", function.name,
             parameter.name, nameOf(parameter.element), Py_TYPE(argument)->tp_name);
        Py_DECREF(loose);
        return nullptr;
    }
    PyObject* exact = PyArray_FROM_OTF(loose, numpyType(parameter.element), NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST);
    if (exact != nullptr && !wantsFloats)
    {
        PyObject* same = PyObject_RichCompare(exact, loose, Py_EQ);
        PyObject* all = same == nullptr ? nullptr : PyArray_All(asArray(same), NPY_MAXDIMS, nullptr);
        const int fits = all == nullptr ? -1 : PyObject_IsTrue(all);
        Py_XDECREF(all);
        Py_XDECREF(same);
        if (fits != 1)
        {
            if (fits == 0)
            {
                fail(PyExc_ValueError, "%s: %s has numbers outside the range of %s", function.name, parameter.name,
                     nameOf(parameter.element));
            }
            Py_CLEAR(exact);
        }
    }
    Py_DECREF(loose);
    return exact;
}

PyObject* convertedRecords(const Function& function, const Parameter& parameter, PyObject* argument)
{
    auto* dtype = reinterpret_cast<PyArray_Descr*>(*parameter.record->dtype);
    Py_INCREF(dtype);
    PyObject* list = PySequence_List(argument);
    for (Py_ssize_t i = 0; list != nullptr && i < PyList_GET_SIZE(list); ++i)
    {
        PyObject* tuple = PySequence_Tuple(PyList_GET_ITEM(list, i));
        if (tuple == nullptr)
        {
            Py_CLEAR(list);
            break;
        }
        PyList_SetItem(list, i, tuple);
    }
    PyObject* array = list == nullptr ? nullptr : PyArray_FromAny(list, dtype, 1, 1, NPY_ARRAY_CARRAY, nullptr);
    if (list == nullptr)
    {
        Py_DECREF(dtype);
    }
    Py_XDECREF(list);
    if (array == nullptr)
    {
        PyErr_Clear();
        fail(PyExc_TypeError, "%s: %s has to be a sequence of %s", function.name, parameter.name,
             parameter.record->name);
    }
    return array;
}

// A reference to the argument as an array of the right type.
PyArrayObject* typed(const Function& function, const Parameter& parameter, PyObject* argument)
{
    if (parameter.element == Element::Record)
    {
        if (PyArray_Check(argument) && PyArray_EquivTypes(PyArray_DESCR(asArray(argument)),
                                                          reinterpret_cast<PyArray_Descr*>(*parameter.record->dtype)))
        {
            Py_INCREF(argument);
            return asArray(argument);
        }
        return asArray(convertedRecords(function, parameter, argument));
    }
    if (!PyArray_Check(argument))
    {
        if (parameter.written || parameter.role != Role::List)
        {
            // Tables of numbers may be lists of lists; images may not.
            if (parameter.written || parameter.stride >= 0 || !PySequence_Check(argument))
            {
                fail(PyExc_TypeError, "%s: %s has to be a NumPy array of %s, not %s", function.name, parameter.name,
                     nameOf(parameter.element), Py_TYPE(argument)->tp_name);
                return nullptr;
            }
        }
        return asArray(converted(function, parameter, argument));
    }
    PyArrayObject* array = asArray(argument);
    const int type = PyArray_DESCR(array)->type_num;
    const bool fits = type == numpyType(parameter.element) || (parameter.isMask && type == NPY_BOOL) ||
                      (PyArray_EquivTypenums(type, numpyType(parameter.element)) != 0);
    if (!fits || !PyArray_ISNOTSWAPPED(array))
    {
        fail(PyExc_TypeError, "%s: %s has to be an array of %s, not of %S", function.name, parameter.name,
             nameOf(parameter.element), reinterpret_cast<PyObject*>(PyArray_DESCR(array)));
        return nullptr;
    }
    Py_INCREF(argument);
    return array;
}

bool mayWrite(const Function& function, const Parameter& parameter, const Buffer& buffer)
{
    return !parameter.written || PyArray_ISWRITEABLE(buffer.array) ||
           fail(PyExc_ValueError, "%s: %s is read-only", function.name, parameter.name);
}

bool copyInto(Buffer& buffer)
{
    PyObject* copy = PyArray_NewCopy(buffer.array, NPY_CORDER);
    if (copy == nullptr)
    {
        return false;
    }
    Py_SETREF(buffer.array, asArray(copy));
    buffer.data = PyArray_BYTES(buffer.array);
    buffer.stride = buffer.rowBytes;
    buffer.isCopy = true;
    return true;
}

}  // namespace

int numpyType(Element element)
{
    return kElements[static_cast<size_t>(element)].numpy;
}

const char* nameOf(Element element)
{
    return kElements[static_cast<size_t>(element)].name;
}

size_t sizeOf(Element element)
{
    return kElements[static_cast<size_t>(element)].size;
}

std::string shapeText(int64_t height, int64_t width, int64_t channels)
{
    return "(" + std::to_string(height) + ", " + std::to_string(width) +
           (channels == 1 ? "" : ", " + std::to_string(channels)) + ")";
}

std::string shapeText(PyArrayObject* array)
{
    std::string text = "(";
    for (int i = 0; i < PyArray_NDIM(array); ++i)
    {
        text += (i == 0 ? "" : ", ") + std::to_string(PyArray_DIM(array, i));
    }
    return text + (PyArray_NDIM(array) == 1 ? ",)" : ")");
}

bool fail(PyObject* exception, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    PyErr_FormatV(exception, format, arguments);
    va_end(arguments);
    return false;
}

bool takeImage(const Function& function, const Parameter& parameter, PyObject* argument, Buffer& buffer)
{
    PyArrayObject* array = typed(function, parameter, argument);
    if (array == nullptr)
    {
        return false;
    }
    buffer.array = array;
    const int dimensions = PyArray_NDIM(array);
    if (dimensions != 2 && dimensions != 3)
    {
        return fail(PyExc_ValueError, "%s: %s has to have 2 or 3 dimensions (rows, columns, channels), not %d",
                    function.name, parameter.name, dimensions);
    }
    if (!mayWrite(function, parameter, buffer))
    {
        return false;
    }
    const npy_intp* shape = PyArray_DIMS(array);
    const npy_intp* strides = PyArray_STRIDES(array);
    const auto size = static_cast<int64_t>(sizeOf(parameter.element));
    buffer.data = PyArray_BYTES(array);
    buffer.height = shape[0];
    buffer.width = shape[1];
    buffer.channels = dimensions == 3 ? shape[2] : 1;
    if (buffer.height == 0 || buffer.width == 0 || buffer.channels == 0)
    {
        return fail(PyExc_ValueError, "%s: %s is empty, its shape is %s", function.name, parameter.name,
                    shapeText(array).c_str());
    }
    if (buffer.height > kLargestRow || buffer.width > kLargestRow / size / buffer.channels)
    {
        return fail(PyExc_ValueError, "%s: %s is too large, its shape is %s; a row has less than 2^32 bytes",
                    function.name, parameter.name, shapeText(array).c_str());
    }
    buffer.rowBytes = buffer.width * buffer.channels * size;
    buffer.stride = buffer.height == 1 ? buffer.rowBytes : strides[0];
    const bool adjacent = (buffer.channels == 1 || dimensions == 2 || strides[2] == size) &&
                          (buffer.width == 1 || strides[1] == size * buffer.channels);
    const bool packedOnly = parameter.stride < 0;
    const bool rows = adjacent && buffer.stride >= buffer.rowBytes && buffer.stride <= kLargestRow &&
                      (!packedOnly || buffer.stride == buffer.rowBytes);
    if (rows)
    {
        return true;
    }
    if (parameter.written)
    {
        return fail(PyExc_ValueError,
                    packedOnly && adjacent ? "%s: %s has to be in one piece (C-contiguous)"
                                           : "%s: %s has to have rows of adjacent elements, one behind the other (not "
                                             "mirrored, transposed or with steps)",
                    function.name, parameter.name);
    }
    return copyInto(buffer);
}

bool takeList(const Function& function, const Parameter& parameter, PyObject* argument, Buffer& buffer,
              int64_t& entries)
{
    PyArrayObject* array = typed(function, parameter, argument);
    if (array == nullptr)
    {
        return false;
    }
    buffer.array = array;
    if (!mayWrite(function, parameter, buffer))
    {
        return false;
    }
    const auto size = parameter.element == Element::Record ? static_cast<int64_t>(parameter.record->size)
                                                           : static_cast<int64_t>(sizeOf(parameter.element));
    buffer.data = PyArray_BYTES(array);
    buffer.height = 1;
    buffer.width = PyArray_SIZE(array);
    buffer.rowBytes = buffer.stride = buffer.width * size;
    entries = PyArray_NDIM(array) == 0 ? 1 : PyArray_DIM(array, 0);
    if (!PyArray_IS_C_CONTIGUOUS(array))
    {
        return parameter.written ? fail(PyExc_ValueError, "%s: %s has to be in one piece (C-contiguous)", function.name,
                                        parameter.name)
                                 : copyInto(buffer);
    }
    return true;
}

bool pack(Buffer& buffer)
{
    return buffer.stride == buffer.rowBytes || copyInto(buffer);
}

bool makeImage(const Parameter& parameter, int64_t height, int64_t width, int64_t channels, Buffer& buffer)
{
    const npy_intp shape[] = {height, width, channels};
    PyObject* array =
        PyArray_ZEROS(channels == 1 ? 2 : 3, const_cast<npy_intp*>(shape), numpyType(parameter.element), 0);
    if (array == nullptr)
    {
        return false;
    }
    buffer.array = asArray(array);
    buffer.data = PyArray_BYTES(buffer.array);
    buffer.height = height;
    buffer.width = width;
    buffer.channels = channels;
    buffer.rowBytes = buffer.stride = width * channels * static_cast<int64_t>(sizeOf(parameter.element));
    return true;
}

bool makeList(const Parameter& parameter, int64_t entries, Buffer& buffer)
{
    // Nine numbers are a matrix.
    const bool matrix = parameter.count.isConstant() && parameter.count.plus == 9;
    const npy_intp shape[] = {matrix ? 3 : entries, matrix ? 3 : parameter.pairs};
    auto* type = parameter.record == nullptr ? PyArray_DescrFromType(numpyType(parameter.element))
                                             : reinterpret_cast<PyArray_Descr*>(Py_NewRef(*parameter.record->dtype));
    PyObject* array = PyArray_Zeros(matrix || parameter.pairs > 1 ? 2 : 1, shape, type, 0);
    if (array == nullptr)
    {
        return false;
    }
    buffer.array = asArray(array);
    buffer.data = PyArray_BYTES(buffer.array);
    buffer.height = 1;
    buffer.width = PyArray_SIZE(buffer.array);
    buffer.rowBytes = buffer.stride = PyArray_NBYTES(buffer.array);
    return true;
}

int overlap(const Buffer& a, const Buffer& b)
{
    if (a.data + a.size() <= b.data || b.data + b.size() <= a.data || a.size() == 0 || b.size() == 0)
    {
        return 0;
    }
    // Two parts of one array may lie side by side.
    static PyObject* const sharesMemory = []
    {
        PyObject* numpy = PyImport_ImportModule("numpy");
        return numpy == nullptr ? nullptr : PyObject_GetAttrString(numpy, "shares_memory");
    }();
    PyObject* answer =
        sharesMemory == nullptr ? nullptr : PyObject_CallFunctionObjArgs(sharesMemory, a.array, b.array, nullptr);
    const int result = answer == nullptr ? -1 : PyObject_IsTrue(answer);
    Py_XDECREF(answer);
    return result;
}

PyObject* loadElement(const char* place, Element element)
{
    return withElement(element,
                       [place]<class T>(T value) -> PyObject*
                       {
                           std::memcpy(&value, place, sizeof value);
                           if constexpr (std::is_floating_point_v<T>)
                           {
                               return PyFloat_FromDouble(static_cast<double>(value));
                           }
                           else if constexpr (std::is_signed_v<T>)
                           {
                               return PyLong_FromLongLong(value);
                           }
                           else
                           {
                               return PyLong_FromUnsignedLongLong(value);
                           }
                       });
}

bool toValue(const char* function, const char* name, PyObject* number, Element element, Value& value)
{
    if (element == Element::F32 || element == Element::F64)
    {
        value.f = PyFloat_AsDouble(number);
        if (value.f == -1.0 && PyErr_Occurred() != nullptr)
        {
            PyErr_Clear();
            return fail(PyExc_TypeError, "%s: %s has to be a number, not %s", function, name, Py_TYPE(number)->tp_name);
        }
        if (element == Element::F32 && std::isfinite(value.f) &&
            std::abs(value.f) > static_cast<double>(std::numeric_limits<float>::max()))
        {
            return fail(PyExc_ValueError, "%s: %s is outside the range of float32", function, name);
        }
        return true;
    }
    PyObject* whole = PyNumber_Index(number);
    if (whole == nullptr)
    {
        PyErr_Clear();
        return fail(PyExc_TypeError, "%s: %s has to be a whole number, not %s", function, name,
                    Py_TYPE(number)->tp_name);
    }
    int beyond = 0;
    value.i = PyLong_AsLongLongAndOverflow(whole, &beyond);
    Py_DECREF(whole);
    const auto bits = static_cast<int>(sizeOf(element) * 8);
    const bool isSigned = element >= Element::S8 && element <= Element::S64;
    // Those of 64 bits are handles, which fit.
    const int64_t largest = bits == 64 ? std::numeric_limits<int64_t>::max() : (int64_t{1} << (bits - isSigned)) - 1;
    const int64_t least = isSigned ? -largest - 1 : 0;
    if (beyond != 0 || value.i < least || value.i > largest)
    {
        return fail(PyExc_ValueError, "%s: %s has to be from %lld to %lld, not %R", function, name,
                    static_cast<long long>(least), static_cast<long long>(largest), number);
    }
    return true;
}

bool storeElement(const char* function, const char* name, PyObject* number, Element element, char* place)
{
    Value value;
    if (!toValue(function, name, number, element, value))
    {
        return false;
    }
    if (element == Element::F32)
    {
        const auto single = static_cast<float>(value.f);
        std::memcpy(place, &single, sizeof single);
    }
    else
    {
        std::memcpy(place, &value, sizeOf(element));  // little-endian
    }
    return true;
}

bool fetchNumpy()
{
    return _import_array() >= 0;
}

}  // namespace visora::python
