#!/usr/bin/python3
"""What a call from Python takes on a small image, in nanoseconds, the least of several rounds: the whole call, what the C
function takes of it, and the rest, which is the price of Python. NumPy's and OpenCV's calls of the same kind stand beside
it. PYTHONPATH names the built package. An argument is the number of calls in a round."""
import ctypes
import sys
import timeit

import numpy as np
import visora

try:
    import cv2
except ImportError:
    cv2 = None

LIBRARY = ctypes.CDLL(next(line.split()[-1] for line in open("/proc/self/maps") if "libvisoraopt" in line))
src, other = np.zeros((16, 16), np.uint8), np.zeros((16, 16), np.uint8)
dst = np.empty_like(src)
half = np.empty((8, 8), np.uint8)
kernel = np.ones((3, 3), np.float32)
floats = np.zeros((16, 16), np.float32)
lengths, angles = np.zeros((2, 16, 16), np.float32)
CALLS_A_ROUND = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
# As it is called from Python, from C, of NumPy, of OpenCV.
CALLS = {
    "bitwiseNotu8(src, out=dst)": (
        lambda: visora.bitwiseNotu8(src, out=dst), ("vsrBitwiseNotu8", src, 16, 16, 0, dst, 0),
        lambda: np.invert(src, out=dst), cv2 and (lambda: cv2.bitwise_not(src, dst))),
    "bitwiseNotu8(src)": (
        lambda: visora.bitwiseNotu8(src), ("vsrBitwiseNotu8", src, 16, 16, 0, dst, 0),
        lambda: np.invert(src), cv2 and (lambda: cv2.bitwise_not(src))),
    "addu8(src1, src2)": (
        lambda: visora.addu8(src, other), ("vsrAddu8", src, 16, 16, 0, other, 0, dst, 0),
        lambda: np.add(src, other), cv2 and (lambda: cv2.add(src, other))),
    "filterMedian3x3u8_v3(src)": (
        lambda: visora.filterMedian3x3u8_v3(src), ("vsrFilterMedian3x3u8_v3", src, 16, 16, 0, dst, 0, 0, 0),
        None, cv2 and (lambda: cv2.medianBlur(src, 3))),
    "filterCorrNxNf32(src, kernel)": (
        lambda: visora.filterCorrNxNf32(floats, kernel), ("vsrFilterCorrNxNf32", floats, 16, 16, 0, kernel, 3, lengths, 0),
        None, cv2 and (lambda: cv2.filter2D(floats, -1, kernel))),
    "scaleu8(src, dstWidth=8, dstHeight=8)": (
        lambda: visora.scaleu8(src, dstWidth=8, dstHeight=8), ("vsrScaleu8", src, 16, 16, 0, half, 8, 8, 0, 1),
        None, cv2 and (lambda: cv2.resize(src, (8, 8)))),
    "minMaxu8(src)": (
        lambda: visora.minMaxu8(src), ("vsrMinMaxu8", src, 16, 16, 0, None, 0, dst, half), None, None),
    "cartToPolarf32(x, y)": (
        lambda: visora.cartToPolarf32(floats, floats),
        ("vsrCartToPolarf32", floats, 16, 16, 0, floats, 0, lengths, 0, angles, 0),
        None, cv2 and (lambda: cv2.cartToPolar(floats, floats))),
}


def nanoseconds(call):
    return min(timeit.repeat(call, number=CALLS_A_ROUND, repeat=7)) * 1e9 / CALLS_A_ROUND if call else float("nan")


def in_c(name, *arguments):
    """The C function's own time: a call through ctypes less one that is refused at once, for its width of 0."""
    function = getattr(LIBRARY, name)
    given = [ctypes.c_void_p(each.ctypes.data if each is not None else None)
             if each is None or isinstance(each, np.ndarray) else ctypes.c_uint32(each) for each in arguments]
    refused = [given[0], ctypes.c_uint32(0), *given[2:]]
    if function(*given) != 0 or function(*refused) == 0:
        sys.exit(f"{name} is not called as it should be")
    return nanoseconds(lambda: function(*given)) - nanoseconds(lambda: function(*refused))


def main():
    print(f"{'16 x 16 pixels, nanoseconds a call':42}" + "".join(f"{title:>10}" for title in
                                                                 ("visora", "in C", "Python", "numpy", "opencv")))
    for name, (call, c, *others) in CALLS.items():
        whole, inside = nanoseconds(call), in_c(*c)
        print(f"{name:42}{whole:10.0f}{inside:10.0f}{whole - inside:10.0f}" +
              "".join(f"{nanoseconds(other):10.0f}" for other in others))


if __name__ == "__main__":
    main()
