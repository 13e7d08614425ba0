#include "visoraCaller.h"

#include <visora/host.h>
#include <visora/runtime.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "visoraCall.h"

namespace visora::python
{

namespace
{

bool isChosen = false;  // the operation mode

// What the function that runs on this thread logs as an error becomes part of the exception.
thread_local bool isInCall = false;
thread_local std::string logged;

int takeLogLine(void*, int priority, const char* tag, const char* text)
{
    constexpr int kInfo = 4;
    constexpr int kError = 6;
    if (isInCall && priority >= kError)
    {
        logged = text;
    }
    else if (priority >= kInfo || libLogPrint != 0)
    {
        std::fprintf(stderr, "%s: %s\n", tag, text);
    }
    return 1;
}

// Why a call was refused: "Assertion failed @<function>: <condition>", or the status.
std::string reasonOf(int64_t status)
{
    const auto result = static_cast<vsrStatus>(status);
    if (logged.empty())
    {
        return result == 0xffffffff ? "no result" : vsrStatusText(result);
    }
    const size_t condition = logged.find(": ");
    return logged.starts_with("Assertion failed @") && condition != std::string::npos
               ? "it has to be that " + logged.substr(condition + 2)
               : logged;
}

// The named tuples and array types of the records, which become names of the module.
bool makeRecords(PyObject* module)
{
    PyObject* collections = PyImport_ImportModule("collections");
    PyObject* numpy = PyImport_ImportModule("numpy");
    bool good = collections != nullptr && numpy != nullptr;
    for (const Record& record : records())
    {
        PyObject* names = PyList_New(0);
        PyObject* formats = PyList_New(0);
        PyObject* offsets = PyList_New(0);
        for (const Field& field : record.fields)
        {
            PyList_Append(names, PyUnicode_FromString(field.name));
            PyList_Append(formats, PyUnicode_FromString(nameOf(field.element)));
            PyList_Append(offsets, PyLong_FromSize_t(field.offset));
        }
        PyObject* type = good ? PyObject_CallMethod(collections, "namedtuple", "sO", record.name, names) : nullptr;
        PyObject* dtype =
            good ? PyObject_CallMethod(numpy, "dtype", "{s:O,s:O,s:O,s:n}", "names", names, "formats", formats,
                                       "offsets", offsets, "itemsize", static_cast<Py_ssize_t>(record.size))
                 : nullptr;
        Py_XDECREF(names);
        Py_XDECREF(formats);
        Py_XDECREF(offsets);
        good = type != nullptr && dtype != nullptr;
        if (!good)
        {
            break;
        }
        PyObject* doc = PyUnicode_FromString(record.doc);
        PyObject* home = PyUnicode_FromString("visora");
        PyObject_SetAttrString(type, "__doc__", doc);
        PyObject_SetAttrString(type, "__module__", home);
        PyObject_SetAttrString(type, "dtype", dtype);
        Py_XDECREF(doc);
        Py_XDECREF(home);
        *record.type = type;
        *record.dtype = dtype;
        Py_INCREF(type);
        good = PyModule_AddObject(module, record.name, type) == 0;
    }
    Py_XDECREF(collections);
    Py_XDECREF(numpy);
    return good;
}

}  // namespace

bool Call::perform()
{
    chooseModeOnce();
    int64_t status = 0;
    Py_BEGIN_ALLOW_THREADS;
    isInCall = true;
    logged.clear();
    status = function_.call(values_.data());
    isInCall = false;
    Py_END_ALLOW_THREADS;
    return status == 0 || function_.anyStatus || refuse(status);
}

bool Call::refuse(int64_t status) const
{
    if (status == VISORA_ENOMEM)
    {
        return fail(PyExc_MemoryError, "%s: no scratch memory", function_.name);
    }
    // What the arrays are is checked; it is one of the numbers, or the size.
    std::string given;
    for (size_t i = 0; i < parameters_.size(); ++i)
    {
        const Parameter& parameter = parameters_[i];
        given += given.empty() ? "" : ", ";
        if (parameter.role == Role::Number || (parameter.role == Role::Size && parameter.argument >= 0))
        {
            const bool isFloat = parameter.element == Element::F32 || parameter.element == Element::F64;
            given +=
                std::string(name(i)) + "=" + (isFloat ? std::to_string(values_[i].f) : std::to_string(values_[i].i));
        }
        else if (parameter.role == Role::Image && buffers_[i].array != nullptr)
        {
            given += std::string(name(i)) + " of shape " + shapeText(buffers_[i].array);
        }
        else if (given.ends_with(", "))
        {
            given.resize(given.size() - 2);
        }
    }
    return fail(PyExc_ValueError, "%s: refused (%s) with %s; help(visora.%s) says what it takes", function_.name,
                reasonOf(status).c_str(), given.c_str(), function_.name);
}

PyObject* Call::result()
{
    std::array<PyObject*, kMaxParameters> found{};
    size_t count = 0;
    bool good = true;
    for (size_t i = 0; good && i < parameters_.size(); ++i)
    {
        if (!isReturned(i))
        {
            continue;
        }
        found[count] = resultOf(i);
        good = found[count++] != nullptr;
    }
    PyObject* all = nullptr;
    if (good && count == 1)
    {
        return found[0];
    }
    if (good && count == 0)
    {
        Py_RETURN_NONE;
    }
    if (good)
    {
        all = PyTuple_New(static_cast<Py_ssize_t>(count));
    }
    for (size_t i = 0; i < count; ++i)
    {
        if (all != nullptr)
        {
            PyTuple_SET_ITEM(all, static_cast<Py_ssize_t>(i), found[i]);
        }
        else
        {
            Py_XDECREF(found[i]);
        }
    }
    return all;
}

bool Call::isReturned(size_t i) const
{
    const Parameter& parameter = parameters_[i];
    if (parameter.role == Role::Result)
    {
        for (const Parameter& other : parameters_)
        {
            if (other.used == static_cast<int16_t>(i))
            {
                return false;
            }
        }
    }
    return parameter.written && parameter.role != Role::Scratch;
}

PyObject* Call::resultOf(size_t i)
{
    const Parameter& parameter = parameters_[i];
    if (parameter.role == Role::Result)
    {
        if (!wanted_[i])
        {
            Py_RETURN_NONE;
        }
        return loadElement(reinterpret_cast<const char*>(&results_[i]), parameter.element);
    }
    if (parameter.role == Role::Structure)
    {
        const Record& record = *parameter.record;
        PyObject* tuple = PyTuple_New(static_cast<Py_ssize_t>(record.fields.size()));
        for (size_t j = 0; tuple != nullptr && j < record.fields.size(); ++j)
        {
            PyObject* number =
                loadElement(static_cast<const char*>(values_[i].p) + record.fields[j].offset, record.fields[j].element);
            PyTuple_SET_ITEM(tuple, static_cast<Py_ssize_t>(j), number);
        }
        PyObject* made = tuple == nullptr ? nullptr : PyObject_CallObject(*record.type, tuple);
        Py_XDECREF(tuple);
        return made;
    }
    if (buffers_[i].array == nullptr)
    {
        Py_RETURN_NONE;
    }
    auto* array = reinterpret_cast<PyObject*>(buffers_[i].array);
    if (parameter.used >= 0)
    {
        uint32_t used = 0;
        std::memcpy(&used, &results_[static_cast<size_t>(parameter.used)], sizeof used);
        return PySequence_GetSlice(array, 0, static_cast<Py_ssize_t>(used));
    }
    Py_INCREF(array);
    return array;
}

PyObject* call(const Function& function, PyObject* const* arguments, Py_ssize_t count, PyObject* keywords)
{
    return Call(function).run(arguments, count, keywords);
}

void chooseModeOnce()
{
    if (!isChosen)
    {
        isChosen = true;
        vsrSetOperationMode(VISORA_OP_CPU_PERFORMANCE);
    }
}

void modeWasChosen()
{
    isChosen = true;
}

bool initialise(PyObject* module)
{
    vsrHostSetLogSink(takeLogLine, nullptr);
    return fetchNumpy() && makeRecords(module);
}

}  // namespace visora::python
