/**
 * @file
 * Maximally stable extremal regions as a class of Python.
 */
#ifndef VISORA_PYTHON_MSER_H
#define VISORA_PYTHON_MSER_H

#include <pybind11/pybind11.h>

namespace visora::python
{

void defineMser(pybind11::module_& module);

}  // namespace visora::python

#endif
