"""Image processing and computer vision on NumPy arrays, by the visora library.

Every function has the name of its C function without the prefix and takes the arguments of that function without sizes
and strides, which arrays tell. Images have the shape (rows, columns) or (rows, columns, channels). Outputs come back
and are made when they are not given, by their names or as `out`:

    import numpy, visora
    image = numpy.random.randint(0, 256, (480, 640), numpy.uint8)
    clean = visora.filterMedian3x3u8(image)
    visora.filterMedian3x3u8(image, out=clean)
    half = visora.scaleu8(image, dstWidth=320, dstHeight=240)

Arrays have to have the element type that the name says. Inputs are copied only where their rows are not in one piece;
outputs never are. The interpreter is not held while a function works, so that threads work at the same time. What a
function cannot do is a TypeError or a ValueError; help(visora.filterMedian3x3u8) says what it takes.
"""
import numpy as _numpy

from ._visora import *

__version__ = version()


def splitChains(xy, lengths):
    """The points of each contour or chain, a list of arrays, of what findContoursu8, findOuterContoursu8 and edgeLinku8
    return; numpy.concatenate joins them again for drawPolylineu8 and fillPolygonu8."""
    ends = _numpy.cumsum(lengths, dtype=_numpy.int64)
    return [xy[end - length:end] for end, length in zip(ends, lengths)]
