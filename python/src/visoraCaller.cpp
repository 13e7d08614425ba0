#include "visoraCaller.h"

#include <visora/geom.h>
#include <visora/host.h>
#include <visora/runtime.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "visoraArrays.h"
#include "visoraCorrespondences.h"

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

/** One call from its arguments to its results. */
class Call
{
  public:
    explicit Call(const Function& function) : function_(function), parameters_(function.parameters) {}

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    PyObject* run(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords)
    {
        if (!bind(arguments, count, keywords) || !takeNumbers() || !takeInputs() || !takeOutputs() || !takeSizes() ||
            !meetsRequirements() || !computeValues() || !fitBuffers() || !placeBuffers() || !shareStrides() ||
            !areApart() || !perform())
        {
            return nullptr;
        }
        return result();
    }

  private:
    const char* name(size_t i) const { return parameters_[i].name; }

    PyObject* argument(size_t i) const
    {
        const int16_t index = parameters_[i].argument;
        PyObject* given = index < 0 ? nullptr : arguments_[static_cast<size_t>(index)];
        return given == Py_None ? nullptr : given;
    }

    int64_t evaluate(const Expression& expression) const
    {
        return expression.evaluate != nullptr ? expression.evaluate(values_.data(), entries_.data())
               : expression.parameter < 0     ? expression.plus
                                              : values_[static_cast<size_t>(expression.parameter)].i + expression.plus;
    }

    // ---- Arguments to parameters ----

    bool bind(PyObject* const* arguments, Py_ssize_t count, PyObject* keywords)
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
            while (j < function_.arguments.size() &&
                   PyUnicode_CompareWithASCIIString(keyword, function_.arguments[j]) != 0)
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

    bool takeNumbers()
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

    bool isBuffer(size_t i) const
    {
        const Role role = parameters_[i].role;
        return role == Role::Image || role == Role::List;
    }

    bool takeBuffer(size_t i, PyObject* given)
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
        return true;
    }

    void infer(const Expression& expression, int64_t size)
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

    bool takeInputs()
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

    bool takeRecord(size_t i, PyObject* given)
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
    char* structure(const Record& record)
    {
        structures_.emplace_back(record.size / sizeof(double) + 1);
        return reinterpret_cast<char*>(structures_.back().data());
    }

    // ---- Outputs that the caller gives ----

    bool takeOutputs()
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

    // ---- Sizes ----

    bool takeSizes()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            if (parameters_[i].role != Role::Size || known_[i])
            {
                continue;
            }
            if (!parameters_[i].hasDefault)
            {
                return fail(PyExc_TypeError, "%s: %s is missing%s", function_.name, name(i),
                            parameters_[i].argument < 0 ? "" : ", and there is no array that tells it");
            }
            values_[i] = parameters_[i].byDefault;
        }
        return true;
    }

    bool meetsRequirements() const
    {
        for (const Requirement& requirement : function_.requirements)
        {
            if (requirement.holds(values_.data(), entries_.data()) == 0)
            {
                return fail(PyExc_ValueError, "%s: %s %s", function_.name, requirement.argument, requirement.text);
            }
        }
        return true;
    }

    bool computeValues()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            if (parameters_[i].role == Role::Computed)
            {
                values_[i].i = evaluate(parameters_[i].value);
            }
        }
        return true;
    }

    // Every array has the shape that the others ask for; those left out are made.
    bool fitBuffers()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            Buffer& buffer = buffers_[i];
            const bool make = parameter.written && !parameter.read && wanted_[i];
            if (parameter.role == Role::Image && (buffer.array != nullptr || make) && !fitImage(parameter, buffer))
            {
                return false;
            }
            if (parameter.role == Role::List && (buffer.array != nullptr || make) && !fitList(i, buffer))
            {
                return false;
            }
            if (parameter.role == Role::Scratch &&
                !makeList(parameter, std::max<int64_t>(evaluate(parameter.count), 0), buffer))
            {
                return false;
            }
        }
        return true;
    }

    bool fitImage(const Parameter& parameter, Buffer& buffer)
    {
        constexpr int64_t kLargest = 0xffffffff;
        const int64_t width = evaluate(parameter.width);
        const int64_t height = evaluate(parameter.height);
        const int64_t channels = evaluate(parameter.channels);
        if (buffer.array == nullptr)
        {
            if (width < 1 || height < 1 || channels < 1 || width > kLargest || height > kLargest || channels > 64 ||
                width * channels > kLargest / static_cast<int64_t>(sizeOf(parameter.element)))
            {
                return fail(PyExc_ValueError, "%s: %s would have the shape %s", function_.name, parameter.name,
                            shapeText(height, width, channels).c_str());
            }
            return makeImage(parameter, height, width, channels, buffer);
        }
        return (buffer.width == width && buffer.height == height && buffer.channels == channels) ||
               fail(PyExc_ValueError, "%s: %s has to have the shape %s, not %s", function_.name, parameter.name,
                    shapeText(height, width, channels).c_str(), shapeText(buffer.array).c_str());
    }

    bool fitList(size_t i, Buffer& buffer)
    {
        const Parameter& parameter = parameters_[i];
        const int64_t count = evaluate(parameter.count);
        if (count < 0 || count > (int64_t{1} << 48))
        {
            return fail(PyExc_ValueError, "%s: %s would have %lld entries", function_.name, parameter.name,
                        static_cast<long long>(count));
        }
        if (buffer.array == nullptr)
        {
            return makeList(parameter, count, buffer);
        }
        // Entries of a number that the array tells have its shape; elsewhere there only have to be enough.
        const bool tells = parameter.count.evaluate == nullptr && parameter.count.parameter >= 0;
        const bool shaped = PyArray_NDIM(buffer.array) == (parameter.pairs > 1 ? 2 : 1) &&
                            (parameter.pairs == 1 || PyArray_DIM(buffer.array, 1) == parameter.pairs);
        const int64_t wanted = count * parameter.pairs;
        const bool fits = tells ? shaped && (parameter.written ? buffer.width >= wanted : buffer.width == wanted)
                          : parameter.count.isConstant() ? buffer.width == wanted
                                                         : buffer.width >= wanted;
        const std::string shape = parameter.pairs > 1
                                      ? "(" + std::to_string(count) + ", " + std::to_string(parameter.pairs) + ")"
                                      : "(" + std::to_string(count) + ",)";
        return fits || fail(PyExc_ValueError, "%s: %s has to have the shape %s, not %s", function_.name, parameter.name,
                            shape.c_str(), shapeText(buffer.array).c_str());
    }

    // ---- Values for the C function ----

    bool placeBuffers()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            const Parameter& parameter = parameters_[i];
            switch (parameter.role)
            {
                case Role::Image:
                case Role::List:
                case Role::Scratch:
                    values_[i].p = buffers_[i].data;
                    break;
                case Role::Result:
                    if (!parameter.optional || arguments_[static_cast<size_t>(parameter.argument)] == nullptr ||
                        PyObject_IsTrue(arguments_[static_cast<size_t>(parameter.argument)]) == 1)
                    {
                        wanted_[i] = true;
                        values_[i].p = &results_[i];
                    }
                    break;
                case Role::Structure:
                    if (!parameter.read)
                    {
                        values_[i].p = structure(*parameter.record);
                    }
                    break;
                default:
                    break;
            }
        }
        return true;
    }

    // A stride may be that of several images.
    bool shareStrides()
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            if (parameters_[i].role != Role::Stride)
            {
                continue;
            }
            // As wanted: that of the first output, or else of the first image, where they differ.
            int64_t stride = 0;
            bool differ = false;
            for (const bool outputs : {true, false})
            {
                for (size_t j = 0; j < parameters_.size(); ++j)
                {
                    if (isOf(j, i) && parameters_[j].written == outputs)
                    {
                        differ = differ || (stride != 0 && buffers_[j].stride != stride);
                        stride = stride == 0 ? buffers_[j].stride : stride;
                    }
                }
            }
            for (size_t j = 0; differ && j < parameters_.size(); ++j)
            {
                if (!isOf(j, i))
                {
                    continue;
                }
                if (parameters_[j].written)
                {
                    if (buffers_[j].stride != stride)
                    {
                        return fail(PyExc_ValueError,
                                    "%s: the rows of %s have to be %lld bytes apart, as those of the other outputs are",
                                    function_.name, name(j), static_cast<long long>(stride));
                    }
                }
                else if (!pack(buffers_[j]))
                {
                    return false;
                }
                stride = parameters_[j].written ? stride : buffers_[j].stride;
                values_[j].p = buffers_[j].data;
            }
            values_[i].i = stride;
        }
        return true;
    }

    bool isOf(size_t image, size_t stride) const
    {
        const Parameter& parameter = parameters_[image];
        return buffers_[image].array != nullptr && parameter.role == Role::Image &&
               (parameter.stride == static_cast<int16_t>(stride) ||
                parameters_[stride].stride == static_cast<int16_t>(image));
    }

    bool areApart() const
    {
        for (size_t i = 0; i < parameters_.size(); ++i)
        {
            if (buffers_[i].array == nullptr || !parameters_[i].written || parameters_[i].role == Role::Scratch)
            {
                continue;
            }
            for (size_t j = 0; j < parameters_.size(); ++j)
            {
                const bool twice = parameters_[j].written && j < i;  // looked at already
                if (j == i || buffers_[j].array == nullptr || buffers_[j].isCopy || twice)
                {
                    continue;
                }
                const Buffer& a = buffers_[i];
                const Buffer& b = buffers_[j];
                if (function_.inPlace && !parameters_[j].written && a.data == b.data && a.stride == b.stride &&
                    a.height == b.height)
                {
                    continue;  // the function says whether it may
                }
                const int shared = overlap(a, b);
                if (shared != 0)
                {
                    return shared > 0 &&
                           fail(PyExc_ValueError, "%s: %s shares memory with %s", function_.name, name(i), name(j));
                }
            }
        }
        return true;
    }

    bool perform()
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

    bool refuse(int64_t status) const
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
                given += std::string(name(i)) + "=" +
                         (isFloat ? std::to_string(values_[i].f) : std::to_string(values_[i].i));
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

    // ---- Results ----

    PyObject* result()
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

    bool isReturned(size_t i) const
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

    PyObject* resultOf(size_t i)
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
                PyObject* number = loadElement(static_cast<const char*>(values_[i].p) + record.fields[j].offset,
                                               record.fields[j].element);
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

    const Function& function_;
    const std::span<const Parameter> parameters_;
    std::array<PyObject*, kMaxParameters> arguments_{};
    std::array<Value, kMaxParameters> values_{};
    std::array<int64_t, kMaxParameters> entries_{};
    std::array<bool, kMaxParameters> known_{};
    std::array<bool, kMaxParameters> wanted_{};
    std::array<double, kMaxParameters> results_{};
    std::array<Buffer, kMaxParameters> buffers_;
    std::vector<std::vector<double>> structures_;
    Correspondences correspondences_;
};

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
