#!/usr/bin/python3
"""A step of an OpenCV program that visora takes over: OpenCV reads, draws and shows, visora finds the corners.

    opencv_step.py PICTURE [-o OUTPUT.png]
"""
import argparse
import sys

import cv2
import visora


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    arguments.add_argument("picture")
    arguments.add_argument("-o", "--output", default="corners.png")
    options = arguments.parse_args()

    image = cv2.imread(options.picture)
    if image is None:
        sys.exit(f"{options.picture} cannot be read")
    grey = cv2.cvtColor(image, cv2.COLOR_BGR2GRAY)

    # Matrices of OpenCV are arrays of NumPy: no conversion, no copy. Where there was cv2.GaussianBlur:
    smooth = visora.filterGaussian5x5u8(grey)
    corners, scores = visora.cornerFast9Scoreu8_v2(smooth, threshold=15)

    best = corners[scores.argsort()[::-1][:500]]
    for x, y in best.tolist():
        cv2.circle(image, (x, y), 3, (0, 0, 255), 1, cv2.LINE_AA)
    if not cv2.imwrite(options.output, image):
        sys.exit(f"{options.output} cannot be written")
    print(f"{len(corners)} corners, the best {len(best)} of them in {options.output}")


if __name__ == "__main__":
    main()
