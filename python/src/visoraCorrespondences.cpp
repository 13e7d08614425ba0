#include "visoraCorrespondences.h"

#include <algorithm>
#include <numeric>

namespace visora::python
{

Correspondences::~Correspondences()
{
    for (PyArrayObject* array : arrays_)
    {
        Py_XDECREF(array);
    }
}

// Points are float32 of shape (n, 2); rows may be apart.
bool Correspondences::takePoints(const char* function, const char* name, const char* part, PyObject* points,
                                 const float*& first, uint32_t& stride, npy_intp& count)
{
    PyArrayObject*& array = arrays_[part[0] == 'f' ? 0 : 1];
    array = reinterpret_cast<PyArrayObject*>(PyArray_FROM_O(points));
    if (array == nullptr)
    {
        return false;
    }
    if (PyArray_Check(points) ? PyArray_TYPE(array) != NPY_FLOAT32
                              : !PyArray_CanCastSafely(PyArray_TYPE(array), NPY_FLOAT64))
    {
        return fail(PyExc_TypeError, "%s: %s of %s have to be float32", function, part, name);
    }
    if (PyArray_NDIM(array) != 2 || PyArray_DIM(array, 1) != 2)
    {
        return fail(PyExc_ValueError, "%s: %s of %s have to have the shape (n, 2), not %s", function, part, name,
                    shapeText(array).c_str());
    }
    const npy_intp bytes = PyArray_STRIDE(array, 0);
    const bool fits = PyArray_TYPE(array) == NPY_FLOAT32 && PyArray_ISALIGNED(array) && PyArray_ISNOTSWAPPED(array) &&
                      PyArray_STRIDE(array, 1) == 4 && bytes >= 8 && bytes % 4 == 0 && bytes < (npy_intp{1} << 33);
    if (!fits)
    {
        PyObject* copy = PyArray_FROM_OTF(reinterpret_cast<PyObject*>(array), NPY_FLOAT32,
                                          NPY_ARRAY_CARRAY | NPY_ARRAY_FORCECAST | NPY_ARRAY_ENSURECOPY);
        if (copy == nullptr)
        {
            return false;
        }
        Py_SETREF(array, reinterpret_cast<PyArrayObject*>(copy));
    }
    first = static_cast<const float*>(PyArray_DATA(array));
    stride = fits ? static_cast<uint32_t>(bytes / 4) : 2;
    count = PyArray_DIM(array, 0);
    return true;
}

bool Correspondences::take(const char* function, const char* name, PyObject* argument)
{
    PyObject* parts = argument == nullptr || PyArray_Check(argument) ? nullptr : PySequence_Fast(argument, "");
    const Py_ssize_t number = parts == nullptr ? 0 : PySequence_Fast_GET_SIZE(parts);
    if (number != 2 && number != 3)
    {
        PyErr_Clear();
        Py_XDECREF(parts);
        return fail(PyExc_TypeError, "%s: %s has to be (from, to) or (from, to, indices)", function, name);
    }
    npy_intp from = 0;
    npy_intp to = 0;
    PyObject* indices = number == 3 ? PySequence_Fast_GET_ITEM(parts, 2) : Py_None;
    bool good = takePoints(function, name, "from", PySequence_Fast_GET_ITEM(parts, 0), record_.from, record_.fromStride,
                           from) &&
                takePoints(function, name, "to", PySequence_Fast_GET_ITEM(parts, 1), record_.to, record_.toStride, to);
    const npy_intp points = std::min(from, to);
    if (good && indices == Py_None)
    {
        good =
            from == to || fail(PyExc_ValueError, "%s: from and to of %s have different numbers of points, %zd and %zd",
                               function, name, from, to);
        good = good && (from <= 65536 || fail(PyExc_ValueError, "%s: %s has more than 65536 points", function, name));
        if (good)
        {
            all_.resize(static_cast<size_t>(points) + 1);  // a list of none has an address too
            std::iota(all_.begin(), all_.end(), uint16_t{0});
            record_.indices = all_.data();
            record_.numIndices = static_cast<uint32_t>(points);
        }
    }
    else if (good)
    {
        arrays_[2] = reinterpret_cast<PyArrayObject*>(PyArray_FROM_OTF(indices, NPY_UINT16, NPY_ARRAY_CARRAY));
        good = arrays_[2] != nullptr;
        if (!good)
        {
            PyErr_Clear();
            fail(PyExc_TypeError, "%s: indices of %s have to be uint16", function, name);
        }
        else
        {
            record_.indices = static_cast<const uint16_t*>(PyArray_DATA(arrays_[2]));
            record_.numIndices = static_cast<uint32_t>(PyArray_SIZE(arrays_[2]));
            good = std::all_of(record_.indices, record_.indices + record_.numIndices,
                               [points](uint16_t index) { return index < points; }) ||
                   fail(PyExc_ValueError, "%s: indices of %s name points that are not there", function, name);
        }
    }
    Py_DECREF(parts);
    return good;
}

}  // namespace visora::python
