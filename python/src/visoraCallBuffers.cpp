// Sizes follow from the buffers that are there, and buffers that are not there from the sizes.
#include <algorithm>
#include <string>

#include "visoraCall.h"

namespace visora::python
{

namespace
{

constexpr int64_t kLargest = 0xffffffff;

}  // namespace

// ---- Sizes ----

bool Call::takeSizes()
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
        if (!parameters_[i].value.isConstant())
        {
            values_[i].i = std::min(evaluate(parameters_[i].value), kLargest);
        }
    }
    return true;
}

bool Call::meetsRequirements() const
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

bool Call::computeValues()
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
bool Call::fitBuffers()
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

bool Call::fitImage(const Parameter& parameter, Buffer& buffer)
{
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

bool Call::fitList(size_t i, Buffer& buffer)
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

bool Call::placeBuffers()
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
bool Call::shareStrides()
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

bool Call::isOf(size_t image, size_t stride) const
{
    const Parameter& parameter = parameters_[image];
    return buffers_[image].array != nullptr && parameter.role == Role::Image &&
           (parameter.stride == static_cast<int16_t>(stride) ||
            parameters_[stride].stride == static_cast<int16_t>(image));
}

bool Call::areApart() const
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

}  // namespace visora::python
