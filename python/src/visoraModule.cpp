#include <pybind11/pybind11.h>
#include <visora/runtime.h>

#include <string>

#include "visoraCaller.h"
#include "visoraHandles.h"
#include "visoraPyramids.h"

namespace py = pybind11;

namespace
{

void setOperationMode(uint32_t mode)
{
    // The library ends the process at an extended mode that does not exist.
    constexpr uint32_t kModes[] = {VISORA_OP_LOW_POWER,       VISORA_OP_PERFORMANCE,    VISORA_OP_CPU_OFFLOAD,
                                   VISORA_OP_CPU_PERFORMANCE, VISORA_OP_EXT_ADSP,       VISORA_OP_EXT_CDSP,
                                   VISORA_OP_EXT_MDSP,        VISORA_OP_EXT_DSP_PINNED, VISORA_OP_EXT_GPU,
                                   VISORA_OP_EXT_KDSP};
    for (const uint32_t known : kModes)
    {
        if (mode == known)
        {
            visora::python::modeWasChosen();
            if (vsrSetOperationMode(mode) != 0)
            {
                throw std::runtime_error(
                    "setOperationMode: the machine has neither a vector nor a floating-point unit");
            }
            return;
        }
    }
    throw py::value_error("setOperationMode: mode has to be one of the OP_ constants, not " + std::to_string(mode));
}

}  // namespace

PYBIND11_MODULE(_visora, module)
{
    module.doc() = "The functions of the visora library on NumPy arrays.";
    if (!visora::python::initialise(module.ptr()))
    {
        throw py::error_already_set();
    }
    for (PyMethodDef& method : visora::python::methods())
    {
        const auto name = py::str("visora");
        PyObject* function = PyCFunction_NewEx(&method, module.ptr(), name.ptr());
        if (function == nullptr || PyModule_AddObject(module.ptr(), method.ml_name, function) != 0)
        {
            throw py::error_already_set();
        }
    }
    for (const visora::python::Constant& constant : visora::python::constants())
    {
        module.attr(constant.name) = constant.value;
    }
    visora::python::definePyramids(module);
    visora::python::defineHog(module);
    visora::python::defineMser(module);
    visora::python::defineTree(module);
    module.def(
        "setOperationMode", setOperationMode, py::arg("mode"),
        "What serves the calls from now on, one of the OP_ constants. The first call of a function chooses\n"
        "OP_CPU_PERFORMANCE unless a mode was chosen before. While this runs no other thread may be in the library.");
    module.def(
        "version",
        []
        {
            char text[64] = "";
            vsrGetVersion(text, sizeof text);
            return std::string(text);
        },
        "The library's version.");
}
