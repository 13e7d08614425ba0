"""What NumPy and OpenCV say of matrices, cameras, sets of points, regions and finding."""
import cv2
import numpy as np
import pytest
import visora

RANDOM = np.random.default_rng(9)
A = RANDOM.standard_normal((6, 4)).astype(np.float32)
B = RANDOM.standard_normal((4, 3)).astype(np.float32)
SQUARE = RANDOM.standard_normal((5, 5)).astype(np.float32)
RIGHT = RANDOM.standard_normal(6).astype(np.float32)
CAMERA = np.float32([[300, 0, 160], [0, 310, 120], [0, 0, 1]])
LENS = np.float32([-0.2, 0.05, 0.001, -0.002, 0.01])
TURN = cv2.Rodrigues(np.float32([0.2, -0.1, 0.05]))[0].astype(np.float32)
SHIFT = np.float32([0.1, -0.2, 5])
SPACE = (RANDOM.random((40, 3)) * 2 - 1).astype(np.float32)
FLAT = SPACE * np.float32([1, 1, 0])
DOTS = (RANDOM.random((50, 2)) * 100).astype(np.float32)
BLOBS = cv2.threshold(cv2.GaussianBlur(RANDOM.integers(0, 256, (60, 80), np.uint8), (0, 0), 3), 127, 255, 0)[1]
NO_LENS = np.zeros(5, np.float32)


def seen(points, lens=NO_LENS, turn=TURN, shift=SHIFT):
    return cv2.projectPoints(points, cv2.Rodrigues(turn)[0], shift, CAMERA, lens)[0].reshape(-1, 2).astype(np.float32)


def view(turn, shift):
    return (CAMERA @ np.c_[turn, shift]).astype(np.float32)


def corners(box):
    return sorted(map(tuple, np.round(cv2.boxPoints(box), 2)))


# name, arguments, what it has to be, how far it may be off
ANSWERS = [
    ("matrixMultiplyf32", lambda f: f(A, B), lambda: A @ B, 1e-5),
    ("invertMatrixf32", lambda f: f(SQUARE), lambda: np.linalg.inv(SQUARE), 1e-3),
    ("solveLUf32", lambda f: f(SQUARE, RIGHT[:5]), lambda: np.linalg.solve(SQUARE, RIGHT[:5]), 1e-3),
    ("solveQRf32", lambda f: f(A, RIGHT), lambda: np.linalg.lstsq(A, RIGHT, rcond=None)[0], 1e-4),
    ("svdf32", lambda f: f(A)[0], lambda: np.linalg.svd(A)[1], 1e-4),
    ("svdf32", lambda f: (lambda w, u, v: u * w @ v)(*f(A.T)), lambda: A.T, 1e-4),
    ("crossProduct3x1f32", lambda f: f([1, 2, 3], [4, 5, 7]), lambda: np.cross([1, 2, 3], [4, 5, 7]), 0),
    ("geomProjectPoint3xNf32", lambda f: f(SPACE, TURN, SHIFT, CAMERA), lambda: seen(SPACE), 1e-2),
    ("geomProjectPoint3xNf32", lambda f: f(SPACE, TURN, SHIFT, CAMERA, distortion=LENS),
     lambda: seen(SPACE, LENS), 1e-2),
    ("geomDistortPoint2xNf32", lambda f: f(seen(SPACE), CAMERA, LENS), lambda: seen(SPACE, LENS), 1e-2),
    ("geomUndistortPoint2xNf32", lambda f: f(seen(SPACE, LENS), CAMERA, LENS, iterations=20),
     lambda: seen(SPACE), 2e-2),
    ("geomTriangulatePoint2xNf32", lambda f: f(seen(SPACE), seen(SPACE, shift=SHIFT + np.float32([1, 0, 0])),
                                               view(TURN, SHIFT), view(TURN, SHIFT + np.float32([1, 0, 0]))),
     lambda: SPACE, 1e-2),
    ("geomPoseFitPlanarf32", lambda f: f(cv2.findHomography(FLAT[:, :2], seen(FLAT))[0].astype(np.float32), CAMERA)[1],
     lambda: SHIFT, 1e-2),
    ("geomPoseRefinef32", lambda f: f(SPACE, seen(SPACE), CAMERA, TURN.copy(), SHIFT + np.float32([0.1, 0.1, 0.3]))[1],
     lambda: SHIFT, 1e-3),
    ("geomRigidFit3xNf32", lambda f: np.c_[f(SPACE, 2 * SPACE @ TURN.T + SHIFT, withScale=1)[:2]],
     lambda: np.c_[TURN, SHIFT], 1e-4),
    ("geomRigidFit3xNf32", lambda f: f(SPACE, 2 * SPACE @ TURN.T + SHIFT, withScale=1)[2], lambda: 2, 1e-4),
    ("geomSimilarityFitf32", lambda f: f((DOTS, DOTS @ np.float32([[0, 2], [-2, 0]]) + 3)),
     lambda: [[0, -2, 3], [2, 0, 3], [0, 0, 1]], 1e-3),
    ("depthRegisteru16", lambda f: f(np.full((4, 5), 700, np.uint16), *[[9, 0, 2, 0, 9, 1, 0, 0, 1]] * 2,
                                     np.eye(3, dtype=np.float32), [0, 0, 50], dstWidth=5, dstHeight=4).max(),
     lambda: 750, 0),
    ("convexHullf32", lambda f: sorted(f(DOTS, indices=True)[1]),
     lambda: sorted(cv2.convexHull(DOTS, returnPoints=False)[:, 0]), 0),
    ("minAreaRectf32", lambda f: corners((lambda b: ((b.cx, b.cy), (b.width, b.height), b.angle))(f(DOTS))),
     lambda: corners(cv2.minAreaRect(DOTS)), 0.02),
    ("minEnclosingCirclef32", lambda f: f(DOTS), lambda: np.r_[cv2.minEnclosingCircle(DOTS)], 0.01),
    ("fitLinef32", lambda f: abs(f(DOTS)[2:]), lambda: abs(cv2.fitLine(DOTS, cv2.DIST_L2, 0, 0.01, 0.01)[:2, 0]), 1e-3),
    ("fitEllipsef32", lambda f: f(np.float32([[5 + 4 * np.cos(t), 6 + 2 * np.sin(t)] for t in range(9)])),
     lambda: [5, 6, 4, 2, 0], 1e-2),
    ("polygonContainsf32", lambda f: f(DOTS[:9], DOTS)[0],
     lambda: [cv2.pointPolygonTest(DOTS[:9], tuple(map(float, p)), False) for p in DOTS], 0),
    ("polygonSimplifyf32",
     lambda f: f([[0, 0], [1, 0.1], [2, -0.1], [3, 5], [4, 6], [5, 7], [7, 9], [8, 9], [9, 9]], 1.0,
                                       indices=True)[1], lambda: [0, 2, 3, 6, 8], 0),
    ("findNonZerou8", lambda f: f(BLOBS), lambda: np.argwhere(BLOBS)[:, ::-1], 0),
    ("findConnectedComponentsu8", lambda f: sorted(f(BLOBS)[1]["area"]),
     lambda: sorted(cv2.connectedComponentsWithStats(BLOBS)[2][1:, cv2.CC_STAT_AREA]), 0),
    ("findOuterContoursu8", lambda f: len(f(BLOBS, 0)[0]),
     lambda: len(cv2.findContours(BLOBS, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_NONE)[0]), 0),
    ("contourMeasures32", lambda f: f([[0, 0], [4, 0], [4, 3], [0, 3]])[:2], lambda: (14, 12), 0),
    ("distanceTransformL2u8f32", lambda f: f(BLOBS),
     lambda: cv2.distanceTransform(BLOBS, cv2.DIST_L2, cv2.DIST_MASK_PRECISE),
     1e-3),
    ("floodFillu8", lambda f: f(BLOBS.copy(), 3, 4, 7, 0, 0, connectivity=4)[0],
     lambda: cv2.floodFill(BLOBS.copy(), None, (3, 4), 7)[1], 0),
    ("nonMaxSuppressf32", lambda f: f([[0, 0, 4, 4], [1, 0, 5, 4], [9, 9, 12, 12]], [1, 2, 3], 0.0, 0.5),
     lambda: [2, 1], 0),
    ("houghLinesu8", lambda f: f(cv2.line(np.zeros((60, 80), np.uint8), (0, 30), (79, 30), 255), 1.0, 1.0, 60)[0],
     lambda: [[30, 90]], 1e-3),
]


@pytest.mark.parametrize("name, call, answer, distance", ANSWERS, ids=[answer[0] for answer in ANSWERS])
def test_answer(name, call, answer, distance):
    found, wanted = np.asarray(call(getattr(visora, name)), np.float64), np.asarray(answer(), np.float64)
    assert found.shape == wanted.shape
    assert np.abs(found - wanted).max() <= distance


def test_clouds_that_are_a_quarter_apart():
    x, y = np.meshgrid(np.arange(9), np.arange(8))
    cloud = np.dstack([x, y, np.full((8, 9), 2)]).astype(np.float32)
    towards = np.full((8, 9, 3), (0, 0, -1), np.float32)
    hessian, gradient, error, pairs = visora.icpJacobianErrorSE3f32(
        cloud, cloud, towards, [2, 0, 0, 0, 2, 0, 0, 0, 1], np.eye(3, dtype=np.float32), [0, 0, 0.25], 1.0)
    assert hessian.shape == (6, 6) and np.array_equal(hessian, hessian.T) and 0 < pairs <= 72
    assert error == pairs / 16 and gradient[5] == pairs / 4


def test_fundamental_matrices():
    source, target = seen(SPACE), seen(SPACE, shift=SHIFT + np.float32([1, 0.2, 0.1]))
    wrong = target.copy()
    wrong[:8] += 40
    matrices = [visora.geomFundamentalFitf32((source, target)),
                visora.geomFundamentalRobustFitf32((source, wrong), 0.5)[0]]
    for matrix in matrices:
        lines = np.c_[source, np.ones(40)] @ matrix.T.astype(np.float64)
        distances = (lines * np.c_[target, np.ones(40)]).sum(1) / np.hypot(*lines[:, :2].T)
        assert np.abs(distances).max() < 0.2


def test_contours_filled_are_the_image_again():
    lengths, links, xy, = visora.findContoursu8(BLOBS, visora.CHAIN_FULL)
    chains = visora.splitChains(xy, lengths)
    assert [len(chain) for chain in chains] == lengths.tolist() and len(links) == len(chains) > 3
    again = np.zeros_like(BLOBS)
    outer = [chain for chain, link in zip(chains, links) if not link["isHole"]]
    for chain in outer:
        visora.fillPolygonu8(again, chain, [len(chain)], [255])
    borders = cv2.findContours(BLOBS, cv2.RETR_EXTERNAL, cv2.CHAIN_APPROX_NONE)[0]
    filled = cv2.drawContours(np.zeros_like(BLOBS), borders, -1, 255, -1)
    assert np.array_equal(again, filled)
    with pytest.raises(ValueError, match="xy"):  # fewer points than the lengths say
        visora.drawPolylineu8(again, xy[:3], [2, 2], [1])
    with pytest.raises(ValueError, match="color"):
        visora.drawLineu8(again, 1, 1, 5, 5, [1, 2, 3])


def test_boards_and_what_is_none():
    board = np.kron(np.indices((7, 8)).sum(0) % 2, np.ones((20, 20))).astype(np.uint8) * 255
    board = cv2.GaussianBlur(cv2.copyMakeBorder(board, 30, 30, 30, 30, cv2.BORDER_CONSTANT, value=255), (0, 0), 1)
    found = visora.checkerboardCornersu8(board, 7, 6)
    right, expected = cv2.findChessboardCorners(board, (7, 6))
    assert right and np.abs(np.sort(found, 0) - np.sort(expected[:, 0], 0)).max() < 0.6
    with pytest.raises(ValueError, match="checkerboardCornersu8"):
        visora.checkerboardCornersu8(BLOBS, 7, 6)


def test_stable_regions():
    image = np.full((64, 96), 200, np.uint8)
    image[10:30, 20:50], image[40:50, 60:75] = 20, 90
    mser = visora.Mser(96, 64, minArea=50, maxArea=2000)
    regions, pixels = mser.detectDark(image)
    assert regions["numPixels"].tolist() == [600, 150] and pixels.shape == (750, 2)
    first = pixels[regions[0]["firstPixel"]:][:600]
    assert np.array_equal(np.unique(first, axis=0), np.unique(np.argwhere(image == 20)[:, ::-1], axis=0))
    assert np.allclose(visora.mserEllipsesf32(regions, pixels)["cx"], [34.5, 67])
    assert np.count_nonzero(visora.mserMasku8(regions, pixels, dstWidth=96, dstHeight=64)) == 750
    bright = mser.detect(255 - image)[1]
    (none, _, _), (found, traits, _) = mser.split(255 - image)
    assert bright.tolist() == [True, True] and len(none) == 0 and sorted(found["numPixels"]) == [150, 600]
    assert traits["parent"].tolist() == [-1, -1]
    assert len(mser.detectRGB888(np.dstack([image] * 3))[0]) >= 2
    for bad in (image.astype(np.int8), image[0], np.zeros((65, 96), np.uint8), image[:0], np.dstack([image] * 3)):
        with pytest.raises((TypeError, ValueError), match="Mser.detectDark: src"):
            mser.detectDark(bad)
    with pytest.raises(ValueError, match="Mser"):
        visora.Mser(0, 5)


def test_oriented_gradients():
    ramp = np.arange(0, 96, 2, dtype=np.uint8)[:, None].repeat(80, 1)
    features = visora.HOG(bins=9).extract(ramp)
    assert features.shape == (5, 9, 36)
    # One direction has it all, of four cells alike.
    block = features[2, 4].reshape(4, 9)
    assert (np.count_nonzero(block, axis=1) == 1).all() and np.allclose(block.max(1), 16384, atol=64)
    scores = visora.hogWindowScoreu16f32(features.reshape(5, -1), 9, 36, np.ones((2, 72), np.float32), 2, 1.0)
    assert scores.shape == (4, 8) and np.allclose(scores, 1 + 16 * 16384, rtol=5e-3)
    for bad in (ramp[:15], ramp[0], ramp.astype(np.int16)):
        with pytest.raises((TypeError, ValueError), match="HOG.extract: src"):
            visora.HOG().extract(bad)
    with pytest.raises(ValueError, match="HOG"):
        visora.HOG(cellSize=1)
