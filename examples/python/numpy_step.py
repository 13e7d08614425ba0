#!/usr/bin/python3
"""Plain NumPy around visora, as in scikit-image programs, whose images are arrays too: counts the bright blobs of a
made picture. With scikit-image at hand, skimage.measure.label counts them from the same mask.

    numpy_step.py
"""
import numpy as np
import visora


def picture(random, blobs=40, shape=(480, 640)):
    """Blobs on uneven ground, with noise."""
    y, x = np.mgrid[:shape[0], :shape[1]]
    image = 40 + 60 * x / shape[1]
    for _ in range(blobs):
        cx, cy = random.integers(20, shape[1] - 20), random.integers(20, shape[0] - 20)
        image += 90 * np.exp(-((x - cx) ** 2 + (y - cy) ** 2) / 30)
    return (image + random.normal(0, 6, shape)).clip(0, 255).astype(np.uint8)


def main():
    image = picture(np.random.default_rng(3))
    # Speckles out, then what is brighter than its surroundings, then what is too small to be a blob out.
    clean = visora.filterMedian5x5u8(image, borderType=visora.BORDER_REPLICATE)
    mask = visora.adaptiveThresholdBoxNxNu8(clean, N=51, maxValue=1, type=visora.THRESHOLD_BINARY, constant=-20,
                                            factor=256)
    visora.filterOpenNxNu8(mask.copy(), 5, dst=mask)

    try:
        from skimage.measure import label
        count = label(mask, return_num=True)[1]
    except ImportError:
        count = count_blobs(mask)
    print(f"{count} blobs on {mask.mean():.1%} of the picture, mean grey {visora.averageu8(image, mask=mask):.1f} there")


def count_blobs(mask):
    """Four-connected parts, by the Euler number: corners that turn outward less those that turn inward, a quarter each,
    which counts parts without holes."""
    padded = np.pad(mask, 1).astype(int)
    quads = padded[:-1, :-1] + padded[:-1, 1:] + padded[1:, :-1] + padded[1:, 1:]
    diagonal = (quads == 2) & (padded[:-1, :-1] == padded[1:, 1:])
    return int(((quads == 1).sum() - (quads == 3).sum() + 2 * diagonal.sum()) // 4)


if __name__ == "__main__":
    main()
