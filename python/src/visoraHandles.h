/**
 * @file
 * What the library prepares and hands out as pointers, as classes of Python.
 */
#ifndef VISORA_PYTHON_HANDLES_H
#define VISORA_PYTHON_HANDLES_H

#include <pybind11/pybind11.h>
#include <visora/types.h>

#include <new>
#include <string>

namespace visora::python
{

void defineHog(pybind11::module_& module);
void defineMser(pybind11::module_& module);
void defineTree(pybind11::module_& module);

/** Turns a refusal into an exception. */
inline void refuse(const std::string& function, vsrStatus status, const char* why)
{
    if (status == VISORA_ENOMEM)
    {
        throw std::bad_alloc();
    }
    if (status != VISORA_SUCCESS)
    {
        throw pybind11::value_error(function + ": " + why);
    }
}

}  // namespace visora::python

#endif
