// What the caller gives becomes values and buffers.
#include <cstring>

#include "visoraCall.h"

namespace visora::python
{

PyObject* Call::run(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords)
{
    if (!bind(arguments, count, keywords) || !takeNumbers() || !takeInputs() || !takeOutputs() || !takeSizes() ||
        !meetsRequirements() || !computeValues() || !fitBuffers() || !placeBuffers() || !shareStrides() ||
        !areApart() || !perform())
    {
        return nullptr;
    }
    return result();
}

PyObject* Call::argument(size_t i) const
{
    const int16_t index = parameters_[i].argument;
    PyObject* given = index < 0 ? nullptr : arguments_[static_cast<size_t>(index)];
    return given == Py_None ? nullptr : given;
}

int64_t Call::evaluate(const Expression& expression) const
{
    return expression.evaluate != nullptr ? expression.evaluate(values_.data(), entries_.data())
           : expression.parameter < 0     ? expression.plus
                                          : values_[static_cast<size_t>(expression.parameter)].i + expression.plus;
}

// ---- Arguments to parameters ----

bool Call::bind(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords)
{
    const size_t given = static_cast<size_t>(count);
    if (given > function_.required)
    {
        return fail(PyExc_TypeError, "%s takes %zu positional arguments, not %zu; the others go by their names",
                    function_.name, function_.required, given);
    }
    for (size_t i = 0; i < given; ++i)
    {
        arguments_[i] = arguments[i];
    }
    const Py_ssize_t named = keywords == nullptr ? 0 : PyTuple_GET_SIZE(keywords);
    for (Py_ssize_t i = 0; i < named; ++i)
    {
        PyObject* keyword = PyTuple_GET_ITEM(keywords, i);
        size_t j = 0;
        while (j < function_.arguments.size() && PyUnicode_CompareWithASCIIString(keyword, function_.arguments[j]) != 0)
        {
            ++j;
        }
        if (j == function_.arguments.size())
        {
            return fail(PyExc_TypeError, "%s has no argument %R", function_.name, keyword);
        }
        if (arguments_[j] != nullptr)
        {
            return fail(PyExc_TypeError, "%s: %s is given twice", function_.name, function_.arguments[j]);
        }
        arguments_[j] = arguments[given + static_cast<size_t>(i)];
    }
    for (size_t i = 0; i < function_.required; ++i)
    {
        if (arguments_[i] == nullptr)
        {
            return fail(PyExc_TypeError, "%s: %s is missing", function_.name, function_.arguments[i]);
        }
    }
    return true;
}

bool Call::takeNumbers()
{
    for (size_t i = 0; i < parameters_.size(); ++i)
    {
        const Parameter& parameter = parameters_[i];
        if (parameter.role != Role::Number && parameter.role != Role::Size)
        {
            continue;
        }
        if (PyObject* given = argument(i))
        {
            if (!toValue(function_.name, name(i), given, parameter.element, values_[i]))
            {
                return false;
            }
            known_[i] = true;
        }
        else if (parameter.role == Role::Number)
        {
            if (!parameter.hasDefault)
            {
                return fail(PyExc_TypeError, "%s: %s is missing", function_.name, name(i));
            }
            values_[i] = parameter.byDefault;
        }
    }
    return true;
}

bool Call::isBuffer(size_t i) const
{
    const Role role = parameters_[i].role;
    return role == Role::Image || role == Role::List;
}

bool Call::takeBuffer(size_t i, PyObject* given)
{
    const Parameter& parameter = parameters_[i];
    Buffer& buffer = buffers_[i];
    if (parameter.role == Role::Image)
    {
        if (!takeImage(function_, parameter, given, buffer))
        {
            return false;
        }
        infer(parameter.width, buffer.width);
        infer(parameter.height, buffer.height);
        infer(parameter.channels, buffer.channels);
        return true;
    }
    if (!takeList(function_, parameter, given, buffer, entries_[i]))
    {
        return false;
    }
    infer(parameter.count, entries_[i]);
    values_[i].p = buffer.data;
    return true;
}

void Call::infer(const Expression& expression, int64_t size)
{
    if (expression.evaluate != nullptr || expression.parameter < 0)
    {
        return;
    }
    const auto parameter = static_cast<size_t>(expression.parameter);
    if (!known_[parameter] && parameters_[parameter].role == Role::Size)
    {
        values_[parameter].i = size - expression.plus;
        known_[parameter] = true;
    }
}

bool Call::takeInputs()
{
    for (size_t i = 0; i < parameters_.size(); ++i)
    {
        const Parameter& parameter = parameters_[i];
        PyObject* given = argument(i);
        if (isBuffer(i) && parameter.read)
        {
            if (given == nullptr)
            {
                if (!parameter.optional)
                {
                    return fail(PyExc_TypeError, "%s: %s is missing", function_.name, name(i));
                }
            }
            else if (!takeBuffer(i, given))
            {
                return false;
            }
        }
        else if (parameter.role == Role::Correspondences)
        {
            if (!correspondences_.take(function_.name, name(i), given))
            {
                return false;
            }
            values_[i].p = correspondences_.record();
        }
        else if (parameter.role == Role::Structure && parameter.read && !takeRecord(i, given))
        {
            return false;
        }
    }
    return true;
}

bool Call::takeRecord(size_t i, PyObject* given)
{
    const Record& record = *parameters_[i].record;
    PyObject* items = given == nullptr ? nullptr : PySequence_Fast(given, "");
    if (items == nullptr || PySequence_Fast_GET_SIZE(items) != static_cast<Py_ssize_t>(record.fields.size()))
    {
        PyErr_Clear();
        Py_XDECREF(items);
        return fail(PyExc_TypeError, "%s: %s has to be a %s, a sequence of %zu numbers", function_.name, name(i),
                    record.name, record.fields.size());
    }
    char* place = structure(record);
    bool good = true;
    for (size_t j = 0; good && j < record.fields.size(); ++j)
    {
        good = storeElement(function_.name, name(i), PySequence_Fast_GET_ITEM(items, static_cast<Py_ssize_t>(j)),
                            record.fields[j].element, place + record.fields[j].offset);
    }
    Py_DECREF(items);
    values_[i].p = place;
    return good;
}

// Room for a record that is handed over.
char* Call::structure(const Record& record)
{
    structures_.emplace_back(record.size / sizeof(double) + 1);
    return reinterpret_cast<char*>(structures_.back().data());
}

// ---- Outputs that the caller gives ----

bool Call::takeOutputs()
{
    PyObject* all = nullptr;
    if (!function_.arguments.empty() && std::strcmp(function_.arguments.back(), "out") == 0)
    {
        all = arguments_[function_.arguments.size() - 1];
        all = all == Py_None ? nullptr : all;
    }
    Py_ssize_t taken = 0;
    const bool several = all != nullptr && PyTuple_Check(all);
    for (size_t i = 0; i < parameters_.size(); ++i)
    {
        const Parameter& parameter = parameters_[i];
        if (!isBuffer(i) || !parameter.written || parameter.read)
        {
            continue;
        }
        PyObject* given = argument(i);
        if (all != nullptr)
        {
            if (given != nullptr)
            {
                return fail(PyExc_TypeError, "%s: %s is given twice, as out too", function_.name, name(i));
            }
            given = !several ? (taken == 0 ? all : nullptr)
                             : (taken < PyTuple_GET_SIZE(all) ? PyTuple_GET_ITEM(all, taken) : nullptr);
            given = given == Py_None ? nullptr : given;
            ++taken;
        }
        if (given != nullptr && !(parameter.optional && PyBool_Check(given)) && !takeBuffer(i, given))
        {
            return false;
        }
        // An optional output is made when it is True.
        wanted_[i] = !parameter.optional || (given != nullptr && given != Py_False);
    }
    if (several && taken < PyTuple_GET_SIZE(all))
    {
        return fail(PyExc_TypeError, "%s: out has %zd arrays, the outputs are %zd", function_.name,
                    PyTuple_GET_SIZE(all), taken);
    }
    return true;
}

}  // namespace visora::python
