"""The operations by their description, called without the package: buffers end where memory ends, so that a shape that
is described too small ends the process, and everything goes through ctypes."""
import ctypes
import json
import keyword
import mmap
import pathlib
import re

import numpy as np
import visora

DESCRIPTION = json.loads((pathlib.Path(visora.__file__).parents[1] / "operations.json").read_text())
OPERATIONS = [function for function in DESCRIPTION["functions"] if function["kind"] == "operation"]
for each in OPERATIONS:
    for one in each["parameters"]:
        one["name"] += "_" if keyword.iskeyword(one["name"]) else ""
TYPES = {"u8": np.uint8, "u16": np.uint16, "u32": np.uint32, "u64": np.uint64, "s8": np.int8, "s16": np.int16,
         "s32": np.int32, "s64": np.int64, "f32": np.float32, "f64": np.float64}
SCALARS = {"u8": ctypes.c_uint8, "u16": ctypes.c_uint16, "u32": ctypes.c_uint32, "s8": ctypes.c_int8,
           "s16": ctypes.c_int16, "s32": ctypes.c_int32, "f32": ctypes.c_float}
LIBRARY = ctypes.CDLL(next(line.split()[-1] for line in open("/proc/self/maps") if "libvisoraopt" in line))
LIBC = ctypes.CDLL(None, use_errno=True)

# What the functions are called with; other numbers are 1.
SIZES = {"width": 32, "height": 16, "srcWidth": 32, "srcHeight": 16, "dstWidth": 16, "dstHeight": 8, "count": 6,
         "length": 24, "numVectors": 5, "numPoints": 7, "bins": 16, "bins1": 8, "bins2": 4, "N": 3, "M": 5,
         "kernelWidth": 3, "kernelHeight": 5, "channels": 3, "n": 4, "gridX": 4, "gridY": 2, "nCornersMax": 400,
         "numQueries": 4, "numIndices": 3, "numVectors1": 3, "numVectors2": 4, "nPoints": 6, "nKeypoints": 4,
         "nCorners": 6, "patchSize": 5, "numCentres": 3, "numCodes": 9, "numBins": 5,
         "templateWidth": 5, "templateHeight": 4, "capacity": 7, "mapWidth": 20, "mapHeight": 10, "maskWidth": 32, "maskHeight": 16,
         "rows1": 5, "columns1": 4, "columns2": 3, "rows": 6, "columns": 4, "numVertices": 5, "numChains": 3,
         "numBoxes": 5, "numRegions": 3, "numPixels": 9, "numOffsets": 4, "numSeeds": 2, "maxPoints": 60,
         "maxContours": 9, "maxChains": 9, "refWidth": 32, "refHeight": 16}
NUMBERS = {"threshold": 30, "shift": 2, "maxWords": 3, "maxIterations": 5, "epsilon": 0.5, "blockSize": 8, "step": 4,
           "rangeX": 3, "rangeY": 2, "patchWidth": 4, "patchHeight": 3, "maxDelta": 200.0, "timestamp": 9.0, "high": 90,
           "low": 20, "lowPermille": 100, "highPermille": 900, "lowThreshold": 40, "highThreshold": 90, "neighbours": 8,
           "sigma": 1.2, "tilesX": 4, "tilesY": 2, "clipLimit": 2.0, "outerDistance": 60, "innerDistance": 20,
           "keyCb": 90, "keyCr": 120, "amount": 128, "border": 3, "left": 2, "top": 1, "constant": 5, "factor": 250,
           "windowWidth": 7, "windowHeight": 5, "x": 12, "y": 7, "radiusX": 3, "radiusY": 2, "quality": 0.1,
           "norm": 1, "gridWidth": 9, "gridHeight": 6, "blockLength": 4, "sigmaSpace": 2.0, "sigmaRange": 20.0, "radius": 2, "eps": 10.0, "strength": 8.0, "maxDistance": 90,
           "gamma": 0.7, "maxValue": 200, "time": 4, "maxAge": 2, "maxsqerr": 1.0, "format": 3, "channel": 4,
           "iterations": 5, "numDisparities": 8, "gradientThreshold": 20, "rhoStep": 2.0, "thetaStep": 5.0,
           "edgeThreshold": 30, "minRadius": 2, "maxRadius": 7, "minLength": 2, "lower": 60, "upper": 60,
           "tolerance": 25, "seedX": 5, "seedY": 6, "x1": 25, "y1": 12, "minDeviation": 300, "rateShift": 4, "paths": 4, "penalty2": 9}
RECORDS = {"vsrBlobParameters": (40, 200, 20, 0, 1, 300, 0, 0, 2, 1), "vsrEllipse": (12, 7, 9, 5, 30),
           "vsrMserRegion": [(0, 4, 1, 1, 6, 5), (4, 3, 0, 0, 9, 9), (7, 2, 2, 0, 3, 4)]}
RECTANGLE = {"width": 20, "height": 10}  # where these are numbers, not the size of an image
NEAR_IDENTITY = [1.02, 0.05, -1.5, -0.03, 0.97, 2.0, 0.0005, 0.0002, 1.0, 0.1, 0.2, 0.9]


def evaluate(text, values):
    """A C expression in whole numbers."""
    def convert(part):
        depth = 0
        for place, letter in enumerate(part):
            depth += {"(": 1, ")": -1}.get(letter, 0)
            if letter == "?" and depth == 0:
                nested, level = 0, 0
                for end in range(place + 1, len(part)):
                    level += {"(": 1, ")": -1}.get(part[end], 0)
                    nested += {"?": 1}.get(part[end], 0)
                    if part[end] == ":" and level == 0:
                        if nested == 0:
                            return (f"(({convert(part[place + 1:end])}) if ({convert(part[:place])}) else "
                                    f"({convert(part[end + 1:])}))")
                        nested -= 1
        return part.replace("&&", " and ").replace("||", " or ").replace("/", "//")
    return int(eval(convert(str(text)), {"__builtins__": {}}, dict(values)))


def python_name(function):
    """The name in Python, found among those that are there."""
    plain = function["name"].removeprefix("vsr").replace("3Channel", "ThreeChannel")
    return next((name for name in dir(visora) if name.lower() == plain.lower()), None)


def value_of(function, parameter):
    name = parameter["name"]
    if name in SIZES and parameter["role"] in ("width", "height", "count", "channels"):
        return SIZES[name]
    if name in RECTANGLE:
        return RECTANGLE[name]
    if name == "bins" and "Clahe" in function["name"]:
        return 256
    if name == "blockSize" and "Disparity" in function["name"]:
        return 5
    if name in ("N", "M"):
        return SIZES[name]
    if "default" in parameter:
        return float(parameter["default"]) if parameter["element"] == "f32" else int(parameter["default"])
    return NUMBERS.get(name, 1)


def entries(expression):
    """The lists whose sizes and sums are asked for have 6 entries, or these sum."""
    return re.sub(r"(SIZE|TOTAL)\(\w+\)", "6", expression)


def shape_of(parameter, values):
    """(rows, columns, channels), or (entries, numbers per entry)."""
    if parameter.get("width"):
        return tuple(evaluate(parameter[key], values) for key in ("height", "width", "channels"))
    return evaluate(entries(parameter["count"]), values), parameter.get("pairs", 1)


def dtype_of(parameter):
    return TYPES.get(parameter["element"]) or getattr(visora, parameter["element"].removeprefix("vsr")).dtype


def content(function, parameter, shape, random):
    name, kind = parameter["name"], TYPES.get(parameter["element"])
    size = int(np.prod(shape))
    if parameter["element"] in RECORDS:
        return np.array(RECORDS[parameter["element"]], getattr(visora, parameter["element"].removeprefix("vsr")).dtype)
    if kind is None:
        dtype = getattr(visora, parameter["element"].removeprefix("vsr")).dtype
        return np.array([(2, 1, 5, 4, 3)[:len(dtype.names)]] * shape[0], dtype)
    if name == "A" and shape[0] == shape[1]:
        square = random.standard_normal((shape[0], shape[0]))
        return (square @ square.T + 4 * np.eye(shape[0])).astype(kind).reshape(shape)
    if name == "seeds":
        return np.array([(3, 4), (20, 9)], kind)
    if name == "lengths":
        return np.array([1, 2, 3], kind)
    if name == "labels":
        return random.choice([0, 0, 0, 1, 2], shape).astype(kind)
    if name == "reference" and kind == np.float32:  # in front of the camera
        return (random.random(shape) + 3).astype(kind)
    if name in ("translation", "distortion"):
        return np.resize(np.array([0.02, -0.01, 0.03, 0.01, 0.0], kind), shape)
    if name in ("homography", "affine", "matrix", "rotation") or name.lower().endswith("cameramatrix"):
        return np.resize(np.array(NEAR_IDENTITY, kind), shape)
    if name in ("kernel", "rowKernel", "columnKernel"):
        return random.integers(-3, 4, shape).astype(kind)
    if name == "xy":
        return (random.random(shape) * [28, 13]).astype(kind)
    if name == "codes" or (name == "indices" and "Cluster" in function["name"]):
        return random.integers(0, 3, shape).astype(kind)
    if name == "indices":
        return random.integers(0, SIZES["numVectors"], shape).astype(kind)
    if name in ("mask", "bitMask") and parameter["direction"] == "in":
        return (random.random(shape) < 0.7).astype(kind)
    if kind == np.float32:
        return (random.random(shape) * 30).astype(kind)
    limits = np.iinfo(kind)
    return random.integers(max(limits.min, -3000), min(limits.max, 3000), size, endpoint=True).astype(kind).reshape(shape)


class Guarded:
    """Memory of so many bytes, right before a page that nobody may touch."""

    def __init__(self, size):
        pages = -(-max(size, 1) // mmap.PAGESIZE)
        self.memory = mmap.mmap(-1, (pages + 1) * mmap.PAGESIZE)
        start = ctypes.addressof(ctypes.c_char.from_buffer(self.memory))
        if LIBC.mprotect(ctypes.c_void_p(start + pages * mmap.PAGESIZE), ctypes.c_size_t(mmap.PAGESIZE), 0) != 0:
            raise OSError(ctypes.get_errno(), "mprotect")
        self.offset = pages * mmap.PAGESIZE - size
        self.address = start + self.offset

    def array(self, dtype, shape):
        return np.frombuffer(self.memory, dtype, int(np.prod(shape)), self.offset).reshape(shape)


class Case:
    """A function with arguments for it, and what C makes of them."""

    def __init__(self, function, seed=1):
        self.function = function
        self.python = getattr(visora, python_name(function) or "", None)
        random = np.random.default_rng(seed)
        self.values, self.arrays, self.outputs = {}, {}, []
        parameters = function["parameters"]
        for parameter in parameters:
            if not parameter["pointer"] and parameter["role"] != "stride":
                self.values[parameter["name"]] = value_of(function, parameter)
        for parameter in parameters:
            role, name = parameter["role"], parameter["name"]
            if "value" in parameter:
                self.values[name] = evaluate(entries(parameter["value"]), self.values)
            if role in ("source", "destination", "mask", "list", "scratch"):
                shape = shape_of(parameter, self.values)
                if parameter["direction"] == "out":
                    dtype = dtype_of(parameter)
                    self.arrays[name] = Guarded(int(np.prod(shape)) * np.dtype(dtype).itemsize).array(dtype, shape)
                else:
                    made = content(function, parameter, shape, random)
                    self.arrays[name] = Guarded(made.nbytes).array(made.dtype, shape if made.ndim > 1 else made.shape)
                    self.arrays[name][...] = made.reshape(self.arrays[name].shape)
            elif role in ("result", "record"):
                self.arrays[name] = Guarded(np.dtype(dtype_of(parameter)).itemsize).array(dtype_of(parameter), (1,))
                if parameter["direction"] != "out":
                    self.arrays[name][0] = RECORDS.get(parameter["element"], (4, 3, 12, 9))

    def python_arguments(self, names):
        """Arguments for the function in Python: copies, with the shapes that it takes."""
        given = {}
        for parameter in self.function["parameters"]:
            name = parameter["name"]
            if name not in names or (parameter["pointer"] and parameter["direction"] == "out"):
                continue
            if name in self.arrays and parameter["role"] == "record":
                given[name] = tuple(self.arrays[name][0])
            elif name in self.arrays:
                given[name] = self.shaped(parameter, self.arrays[name].copy())
            else:
                given[name] = self.values[name]
        return given

    def shaped(self, parameter, array):
        """Without a last axis of 1."""
        return array.reshape(array.shape[:-1]) if array.ndim > 1 and array.shape[-1] == 1 and \
            (parameter.get("width") or parameter.get("pairs", 1) == 1) else array

    def call_c(self):
        """Status and outputs, those that Python returns, in their order."""
        arguments, used = [], {}
        for parameter in self.function["parameters"]:
            name = parameter["name"]
            if parameter["pointer"]:
                arguments.append(ctypes.c_void_p(self.arrays[name].ctypes.data))
                if parameter.get("used"):
                    used[name] = parameter["used"]
            elif parameter["role"] == "stride":
                image = self.arrays[parameter["of"][0]]
                arguments.append(ctypes.c_uint32(image.strides[0]))
            else:
                arguments.append(SCALARS[parameter["element"]](self.values[name]))
        status = getattr(LIBRARY, self.function["name"])(*arguments)
        found = []
        for parameter in self.function["parameters"]:
            name = parameter["name"]
            if parameter["pointer"] and parameter["direction"] != "in" and parameter["role"] != "scratch" and \
                    name not in used.values():
                array = self.arrays[name]
                found.append(array[:int(self.arrays[used[name]][0])] if name in used else array)
        return (0 if self.function["returns"] == "verdict" else status), found
