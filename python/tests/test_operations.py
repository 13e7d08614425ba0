"""Every operation, by its description: the same bytes as the C function, views without copies, and what is refused."""
import inspect
import re

import numpy as np
import pytest
import visora

from operations import OPERATIONS, Case, python_name

BUFFERS = ("source", "destination", "mask", "list")


def is_pyramid(function):
    return any(parameter["role"] == "pyramid" for parameter in function["parameters"])


def takes_points(function):
    return any(parameter["name"] == "corrs" for parameter in function["parameters"])


GENERAL = [function for function in OPERATIONS if not is_pyramid(function) and not takes_points(function) and
           not function["undescribed"] and not any(each["role"] == "handle" for each in function["parameters"])]


def case_of(function):
    case = Case(function)
    return case, case.python_arguments(inspect.signature(case.python).parameters)


def as_tuple(result):
    # Records are tuples too.
    return result if type(result) is tuple else (result,)


def same(expected, found):
    if hasattr(found, "_fields"):
        expected = expected if hasattr(expected, "_fields") else tuple(expected[0])
        return np.array_equal(np.array(expected), np.array(found))
    return np.array_equal(np.asarray(expected).reshape(-1).view(np.uint8),
                          np.ascontiguousarray(np.asarray(found, np.asarray(expected).dtype)).reshape(-1).view(np.uint8))


def test_every_operation_is_there():
    # Arrays are NumPy's, trees and stable regions objects.
    missing = {function["name"] for function in OPERATIONS if python_name(function) is None and
               not re.match("vsr(PyramidAllocate|KDTree|Mser)", function["name"])}
    assert not missing, "scripts/shapes.toml does not tell the shapes of their buffers"


performed = []


@pytest.mark.parametrize("function", GENERAL, ids=lambda function: function["name"])
def test_same_as_c(function):
    case, arguments = case_of(function)
    status, expected = case.call_c()
    if status != 0:  # the numbers do not suit it
        with pytest.raises((ValueError, MemoryError)):
            case.python(**arguments)
        return
    performed.append(function["name"])
    inputs = {name: np.copy(value) for name, value in arguments.items() if isinstance(value, np.ndarray)}
    # Optional outputs are made when they are asked for.
    wanted = {parameter["name"]: True for parameter in function["parameters"]
              if parameter.get("optional") and parameter["pointer"] and parameter["direction"] == "out"}
    found = as_tuple(case.python(**arguments, **wanted))
    assert len(found) == len(expected)
    for one, other in zip(expected, found):
        assert same(one, other)
    for parameter in function["parameters"]:
        if parameter["name"] in inputs and parameter["direction"] == "in":
            assert arguments[parameter["name"]].tobytes() == inputs[parameter["name"]].tobytes()


def test_most_were_performed():
    if len(performed) > 50:  # not a single test alone
        assert len(performed) >= len(GENERAL) * 0.97


def images(function, arguments, direction):
    return [parameter for parameter in function["parameters"]
            if parameter["role"] in BUFFERS and parameter.get("width") and parameter.get("stride") and
            parameter["direction"] == direction and (direction == "out" or parameter["name"] in arguments)]


def framed(array, margin=5):
    """A view of an array that is larger on the right, and the array."""
    rows, columns = array.shape[:2]
    whole = np.full((rows, columns + margin) + array.shape[2:], 77, array.dtype)
    whole[:, :columns] = array
    return whole[:, :columns], whole


@pytest.mark.parametrize("function", GENERAL, ids=lambda function: function["name"])
def test_views(function):
    """Views with strides, in and out, give the same; what is beside an output stays; mirrored inputs are copied."""
    case, arguments = case_of(function)
    try:
        expected = as_tuple(case.python(**{name: np.copy(value) if isinstance(value, np.ndarray) else value
                                           for name, value in arguments.items()}))
    except (ValueError, MemoryError):
        pytest.skip("the numbers do not suit it")
    views = dict(arguments)
    for parameter in images(function, arguments, "in"):
        view, _ = framed(arguments[parameter["name"]])
        views[parameter["name"]] = view
    frames = {}
    outputs = [parameter for parameter in function["parameters"]
               if parameter["pointer"] and parameter["direction"] != "in" and parameter["role"] != "scratch"]
    returned = [parameter for parameter in outputs
                if not any(other.get("used") == parameter["name"] for other in outputs)]
    for parameter, result in zip(returned, expected):
        if parameter in images(function, arguments, "out") and result is not None:
            views[parameter["name"]], frames[parameter["name"]] = framed(np.zeros_like(result))
    found = as_tuple(case.python(**views))
    for parameter, one, other in zip(returned, expected, found):
        assert same(one, other) if one is not None else other is None
        if parameter["name"] in frames:
            assert np.shares_memory(other, frames[parameter["name"]])
            assert (frames[parameter["name"]][:, one.shape[1]:] == 77).all()
    mirrored = {name: np.copy(value[::-1, ::-1])[::-1, ::-1] if isinstance(value, np.ndarray) and value.ndim > 1 and
                not any(parameter["name"] == name and parameter["direction"] == "inout" for parameter in outputs) else value
                for name, value in arguments.items()}
    if not any(parameter["direction"] == "inout" for parameter in outputs):
        for one, other in zip(expected, as_tuple(case.python(**mirrored))):
            assert same(one, other) if one is not None else other is None


@pytest.mark.parametrize("function", GENERAL, ids=lambda function: function["name"])
def test_refusals(function):
    """Bad arrays are exceptions that name the argument, and outputs stay as they are."""
    case, arguments = case_of(function)
    by_name = {parameter["name"]: parameter for parameter in function["parameters"]}
    try:
        results = as_tuple(case.python(**{name: np.copy(value) if isinstance(value, np.ndarray) else value
                                          for name, value in arguments.items()}))
    except (ValueError, MemoryError):
        pytest.skip("the numbers do not suit it")

    def refuses(error, name, value, others=None):
        changed = {**arguments, **(others or {}), name: value}
        before = {key: np.copy(each) for key, each in changed.items() if isinstance(each, np.ndarray)}
        with pytest.raises(error, match=rf"\b{name}\b"):
            case.python(**changed)
        for key, each in before.items():
            assert changed[key].tobytes() == each.tobytes()

    for name, value in arguments.items():
        parameter = by_name[name]
        if not isinstance(value, np.ndarray) or value.dtype.names:
            continue
        wrong = np.complex64 if value.dtype != np.complex64 else np.uint8
        refuses(TypeError, name, value.astype(wrong))
        refuses(TypeError, name, "image")
        refuses(TypeError, name, value.astype(value.dtype.newbyteorder()) if value.dtype.itemsize > 1 else value.astype(">i8"))
        if parameter.get("width") and parameter["role"] != "list":
            refuses(ValueError, name, value.reshape(-1))
            refuses(ValueError, name, value[:0])
            refuses(ValueError, name, value[None, None])
        if parameter["direction"] == "inout":
            locked = value.copy()
            locked.flags.writeable = False
            refuses(ValueError, name, locked)

    outputs = [parameter for parameter in function["parameters"]
               if parameter["pointer"] and parameter["direction"] != "in" and parameter["role"] != "scratch"]
    returned = [parameter for parameter in outputs
                if not any(other.get("used") == parameter["name"] for other in outputs)]
    for parameter, result in zip(returned, results):
        name = parameter["name"]
        if parameter["role"] not in BUFFERS or parameter["direction"] != "out" or result is None:
            continue
        good = np.zeros_like(result) if not parameter.get("used") else \
            np.zeros((case.values[parameter["count"]],) + result.shape[1:], result.dtype)
        refuses(TypeError, name, np.zeros(good.shape, np.complex64))
        locked = good.copy()
        locked.flags.writeable = False
        refuses(ValueError, name, locked)
        if good.size > 1:
            refuses(ValueError, name, np.repeat(good, 2, -1)[..., ::2])
            refuses(ValueError, name, good[::-1] if good.shape[0] > 1 else good[..., ::-1])
        sizes_given = {key: case.values[key] for key in case.values
                       if key in inspect.signature(case.python).parameters}
        if good.ndim > 1 and parameter.get("width"):
            refuses(ValueError, name, good[:-1] if good.shape[0] > 1 else good[:, :-1], sizes_given)
        # Over an input, one byte further on.
        for source in images(function, arguments, "in"):
            room = np.zeros(good.nbytes + arguments[source["name"]].nbytes + 8, np.uint8)
            size = arguments[source["name"]].itemsize
            first = room[:arguments[source["name"]].nbytes].view(arguments[source["name"]].dtype)
            first = first.reshape(arguments[source["name"]].shape)
            first[...] = arguments[source["name"]]
            start = max(size, good.itemsize)
            shifted = room[start:start + good.nbytes].view(good.dtype).reshape(good.shape)
            changed = {**arguments, source["name"]: first, name: shifted}
            before = room.copy()
            with pytest.raises(ValueError, match="shares memory"):
                case.python(**changed)
            assert (room == before).all()
            break

    with pytest.raises(TypeError, match="no argument 'nonsense'"):
        case.python(**arguments, nonsense=1)
    for name, argument in inspect.signature(case.python).parameters.items():
        if argument.default is argument.empty:
            with pytest.raises(TypeError, match=f"{name} is missing"):
                case.python(**{key: value for key, value in arguments.items() if key != name})
