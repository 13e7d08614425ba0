/**
 * @file
 * The tree of vectors as a class of Python.
 */
#ifndef VISORA_PYTHON_TREE_H
#define VISORA_PYTHON_TREE_H

#include <pybind11/pybind11.h>

namespace visora::python
{

void defineTree(pybind11::module_& module);

}  // namespace visora::python

#endif
