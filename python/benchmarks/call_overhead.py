#!/usr/bin/python3
"""What a call from Python takes on a small image, the C function's own time included: nanoseconds, the least of several
rounds. NumPy's and OpenCV's calls of the same kind stand beside it. PYTHONPATH names the built package. An argument is the number of calls in a round."""
import sys
import timeit

import numpy as np
import visora

try:
    import cv2
except ImportError:
    cv2 = None

src, other = np.zeros((16, 16), np.uint8), np.zeros((16, 16), np.uint8)
dst = np.empty_like(src)
kernel = np.ones((3, 3), np.float32)
floats = np.zeros((16, 16), np.float32)
CALLS_A_ROUND = int(sys.argv[1]) if len(sys.argv) > 1 else 10000
CALLS = {
    "bitwiseNotu8(src, out=dst)": (lambda: visora.bitwiseNotu8(src, out=dst), lambda: np.invert(src, out=dst),
                                   cv2 and (lambda: cv2.bitwise_not(src, dst))),
    "bitwiseNotu8(src)": (lambda: visora.bitwiseNotu8(src), lambda: np.invert(src), cv2 and (lambda: cv2.bitwise_not(src))),
    "addu8(src1, src2)": (lambda: visora.addu8(src, other), lambda: np.add(src, other), cv2 and (lambda: cv2.add(src, other))),
    "filterMedian3x3u8_v3(src)": (lambda: visora.filterMedian3x3u8_v3(src), None, cv2 and (lambda: cv2.medianBlur(src, 3))),
    "filterCorrNxNf32(src, kernel)": (lambda: visora.filterCorrNxNf32(floats, kernel), None,
                                      cv2 and (lambda: cv2.filter2D(floats, -1, kernel))),
    "scaleu8(src, dstWidth=8, dstHeight=8)": (lambda: visora.scaleu8(src, dstWidth=8, dstHeight=8), None,
                                              cv2 and (lambda: cv2.resize(src, (8, 8)))),
    "minMaxu8(src)": (lambda: visora.minMaxu8(src), None, None),
    "cartToPolarf32(x, y)": (lambda: visora.cartToPolarf32(floats, floats), None,
                             cv2 and (lambda: cv2.cartToPolar(floats, floats))),
}


def nanoseconds(call):
    return min(timeit.repeat(call, number=CALLS_A_ROUND, repeat=7)) * 1e9 / CALLS_A_ROUND if call else float("nan")


def main():
    print(f"{'16 x 16 pixels, nanoseconds a call':42}{'visora':>10}{'numpy':>10}{'opencv':>10}")
    for name, calls in CALLS.items():
        print(f"{name:42}" + "".join(f"{nanoseconds(call):10.0f}" for call in calls))


if __name__ == "__main__":
    main()
