/**
 * @file
 * The functions of pyramids, which are lists of arrays in Python.
 */
#ifndef VISORA_PYTHON_PYRAMIDS_H
#define VISORA_PYTHON_PYRAMIDS_H

#include <pybind11/pybind11.h>

namespace visora::python
{

void definePyramids(pybind11::module_& module);

}  // namespace visora::python

#endif
