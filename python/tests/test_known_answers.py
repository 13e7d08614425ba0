"""What NumPy and OpenCV say about the same arrays, one or a few operations of each family."""
import cv2
import numpy as np
import pytest
import visora

RANDOM = np.random.default_rng(5)
GREY = RANDOM.integers(0, 256, (60, 80), np.uint8)
OTHER = RANDOM.integers(0, 256, (60, 80), np.uint8)
WIDE = RANDOM.integers(-3000, 3000, (60, 80)).astype(np.int16)
FLOAT = (RANDOM.random((60, 80)) * 100).astype(np.float32)
MASK = (RANDOM.random((60, 80)) < 0.5).astype(np.uint8)
RGB = RANDOM.integers(0, 256, (60, 80, 3), np.uint8)
SMOOTH = cv2.GaussianBlur(GREY, (0, 0), 3)
SQUARE = np.ones((3, 3), np.uint8)
REPLICATE = visora.BORDER_REPLICATE

# name, arguments, what it has to be, how far it may be off
ANSWERS = [
    ("addu8", lambda f: f(GREY, OTHER), lambda: cv2.add(GREY, OTHER), 0),
    ("absDiffs16", lambda f: f(WIDE, WIDE[::-1].copy()), lambda: cv2.absdiff(WIDE, WIDE[::-1]), 0),
    ("bitwiseXoru8", lambda f: f(GREY, OTHER), lambda: GREY ^ OTHER, 0),
    ("bitwiseXoru8", lambda f: f(GREY, OTHER, mask=MASK), lambda: np.where(MASK, GREY ^ OTHER, 0), 0),
    ("bitwiseXoru8", lambda f: f(GREY, OTHER, mask=MASK.astype(bool)), lambda: np.where(MASK, GREY ^ OTHER, 0), 0),
    ("clampf32", lambda f: f(FLOAT, 20.0, 60.0), lambda: FLOAT.clip(20, 60), 0),
    ("tableLookupu8", lambda f: f(GREY, list(range(255, -1, -1))), lambda: 255 - GREY, 0),
    ("setElementsc3u8", lambda f: f([1, 2, 3], dstWidth=4, dstHeight=2), lambda: np.full((2, 4, 3), (1, 2, 3)), 0),
    ("bitMaskPacku8", lambda f: f(MASK), lambda: np.packbits(MASK, axis=1), 0),
    ("filterMedian3x3u8_v3", lambda f: f(GREY, borderType=REPLICATE), lambda: cv2.medianBlur(GREY, 3), 0),
    ("filterMedian5x5u8", lambda f: f(GREY, borderType=REPLICATE), lambda: cv2.medianBlur(GREY, 5), 0),
    ("filterErode3x3u8", lambda f: f(GREY), lambda: cv2.erode(GREY, SQUARE), 0),
    ("filterOpenNxNu8", lambda f: f(GREY, 5), lambda: cv2.morphologyEx(GREY, cv2.MORPH_OPEN, np.ones((5, 5))), 0),
    ("boxFilter3x3u8_v2", lambda f: f(GREY, borderType=REPLICATE),
     lambda: cv2.blur(GREY, (3, 3), borderType=cv2.BORDER_REPLICATE), 1),
    ("filterGaussianNxNf32", lambda f: f(FLOAT, 7, 1.5, borderType=REPLICATE),
     lambda: cv2.GaussianBlur(FLOAT, (7, 7), 1.5, borderType=cv2.BORDER_REPLICATE), 1e-3),
    ("filterCorrNxNf32", lambda f: f(FLOAT, np.arange(9, dtype=np.float32).reshape(3, 3)),
     lambda: cv2.filter2D(FLOAT, -1, np.arange(9.0).reshape(3, 3), borderType=cv2.BORDER_CONSTANT), 1e-2),
    ("filterSobel3x3u8s16", lambda f: f(GREY, borderType=REPLICATE)[0],
     lambda: cv2.Sobel(GREY, cv2.CV_16S, 1, 0, borderType=cv2.BORDER_REPLICATE), 0),
    ("filterSobel3x3u8s16", lambda f: f(GREY, borderType=REPLICATE)[1],
     lambda: cv2.Sobel(GREY, cv2.CV_16S, 0, 1, borderType=cv2.BORDER_REPLICATE), 0),
    ("filterThresholdFixedu8", lambda f: f(GREY, 100, visora.THRESHOLD_BINARY),
     lambda: np.where(GREY > 100, 255, 0), 0),
    ("filterThresholdOtsuu8", lambda f: f(SMOOTH, visora.THRESHOLD_BINARY)[1],
     lambda: cv2.threshold(SMOOTH, 0, 255, cv2.THRESH_OTSU)[0], 0),
    ("imageIntensityHistogram_v2", lambda f: f(GREY), lambda: np.bincount(GREY.ravel(), minlength=256), 0),
    ("equalizeHistogramu8", lambda f: f(SMOOTH), lambda: cv2.equalizeHist(SMOOTH), 1),
    ("integrateImageu8", lambda f: f(GREY), lambda: cv2.integral(GREY), 0),
    ("sumu8", lambda f: f(GREY, mask=MASK), lambda: GREY[MASK != 0].sum(), 0),
    ("minMaxLocs16", lambda f: np.concatenate([np.ravel(each) for each in f(WIDE)]),
     lambda: np.ravel([WIDE.min(), WIDE.max(), *np.unravel_index(WIDE.argmin(), WIDE.shape)[::-1],
                       *np.unravel_index(WIDE.argmax(), WIDE.shape)[::-1]]), 0),
    ("reduceColumnsu8", lambda f: f(GREY, visora.REDUCE_SUM), lambda: GREY.sum(0), 0),
    ("imageMomentsu8", lambda f: f(GREY, 0).m11, lambda: cv2.moments(GREY)["m11"], 1),
    ("imageIntensityStatsu8", lambda f: f(GREY, 5, 6, 20, 30), lambda: (GREY[6:36, 5:25].mean(), GREY[6:36, 5:25].var()),
     1e-2),
    ("colorRGB888ToBGR888u8", lambda f: f(RGB), lambda: RGB[..., ::-1], 0),
    ("colorRGB888ToGrayu8", lambda f: f(RGB), lambda: cv2.cvtColor(RGB, cv2.COLOR_RGB2GRAY), 1),
    ("colorRGB888ToYCbCr444Planaru8", lambda f: np.stack(f(RGB), -1),
     lambda: cv2.cvtColor(RGB, cv2.COLOR_RGB2YCrCb)[..., [0, 2, 1]], 2),
    ("channelExtractu8", lambda f: f(visora.FORMAT_RGB888, visora.CHANNEL_G, src1=RGB), lambda: RGB[..., 1], 0),
    ("channelCombine3u8", lambda f: f(*[np.ascontiguousarray(RGB[..., i]) for i in range(3)]), lambda: RGB, 0),
    ("scaleDownBy2u8", lambda f: f(GREY), lambda: GREY.reshape(30, 2, 40, 2).sum((1, 3), np.uint32) >> 2, 0),
    ("scaleBilinearf32", lambda f: f(FLOAT, dstWidth=50, dstHeight=33), lambda: cv2.resize(FLOAT, (50, 33)), 1e-2),
    ("scaleu8", lambda f: f(GREY, dst=np.zeros((120, 160), np.uint8)), lambda: cv2.resize(GREY, (160, 120)), 1),
    ("transposeu8", lambda f: f(GREY), lambda: GREY.T, 0),
    ("rotatePlaneu8", lambda f: f(GREY, 1), lambda: np.rot90(GREY, -1), 0),
    ("flipu8", lambda f: f(RGB, visora.FLIP_HORIZONTAL), lambda: RGB[:, ::-1], 0),
    ("warpPerspectiveu8_v3", lambda f: f(SMOOTH, [1, 0.1, -3, -0.1, 1, 5, 0, 0, 1], dstWidth=80, dstHeight=60),
     lambda: cv2.warpPerspective(SMOOTH, np.float32([[1, 0.1, -3], [-0.1, 1, 5], [0, 0, 1]]), (80, 60),
                                 flags=cv2.INTER_LINEAR | cv2.WARP_INVERSE_MAP), 6),
    ("fftf32", lambda f: f(FLOAT[:32, :64])[..., 0], lambda: np.fft.fft2(FLOAT[:32, :64]).real, 0.2),
    ("solveCholeskyf32", lambda f: f(np.float32([[4, 1], [1, 3]]), [1, 2])[2], lambda: [1 / 11, 7 / 11], 1e-6),
    ("census3x3u8", lambda f: f(np.uint8([[9, 0, 9], [0, 5, 9], [9, 9, 0]]))[1, 1], lambda: 0b01010001, 0),
    ("histogramDistancef32", lambda f: f([1, 2, 3], [3, 2, 1], visora.HISTOGRAM_INTERSECTION), lambda: 4, 0),
]


@pytest.mark.parametrize("name, call, answer, distance", ANSWERS, ids=[answer[0] for answer in ANSWERS])
def test_answer(name, call, answer, distance):
    found, wanted = np.asarray(call(getattr(visora, name)), np.float64), np.asarray(answer(), np.float64)
    assert found.shape == wanted.shape
    assert np.abs(found - wanted).max() <= distance


def test_corners_are_those_of_opencv():
    detector = cv2.FastFeatureDetector_create(25, False)
    expected = [tuple(map(int, point.pt)) for point in detector.detect(SMOOTH * 5)]
    corners = visora.cornerFast9u8(SMOOTH * 5, 25)
    assert corners.tolist() == [list(point) for point in expected] and len(corners) > 5
    best, scores = visora.cornerFast9Scoreu8_v2(SMOOTH * 5, 25, nmsEnabled=1)
    assert 0 < len(best) == len(scores) < len(corners)
    few = np.full((3, 2), 999, np.uint32)
    assert visora.cornerFast9u8(SMOOTH * 5, 25, xy=few).tolist() == corners[:3].tolist() == few.tolist()
    # A mask says where not to look.
    left = np.packbits(np.arange(80) >= 40)[None].repeat(60, 0)
    kept = visora.cornerFast9InMasku8(SMOOTH * 5, 25, left, maskWidth=80)
    assert kept.tolist() == [point for point in corners.tolist() if point[0] < 40]


def test_models_of_points():
    source = (RANDOM.random((60, 2)) * 2 - 1).astype(np.float32)
    model = np.array([[1.1, 0.1, 0.2], [-0.1, 0.9, 0.3], [0.05, 0.02, 1]])
    moved = np.c_[source, np.ones(60)] @ model.T
    target = (moved[:, :2] / moved[:, 2:]).astype(np.float32)
    assert np.allclose(visora.geomHomographyFitf32((source, target)), model, atol=1e-3)
    assert np.allclose(visora.transformPoint2xNf32(source, model.astype(np.float32)), target, atol=1e-4)
    wrong = target.copy()
    wrong[::4] += 0.5
    found, inliers = visora.geomHomographyRobustFitf32((source, wrong), 1e-4)
    assert np.allclose(found, model, atol=1e-3)
    assert inliers.tolist() == [i for i in range(60) if i % 4]
    # Rows that are apart, a choice of points, an evaluation with errors.
    table = np.zeros((60, 5), np.float32)
    table[:, 1:3], table[:, 3:] = source, wrong
    correspondences = (table[:, 1:3], table[:, 3:], np.arange(1, 60, 2, dtype=np.uint16))
    inliers, errors = visora.geomHomographyEvaluatef32_v2(correspondences, model.astype(np.float32), 1e-4)
    assert inliers.tolist() == list(range(1, 60, 2)) and len(errors) == 30
    affine = visora.geomAffineFitf32((source, source + np.float32([2, 3])))
    assert np.allclose(affine, [[1, 0, 2], [0, 1, 3], [0, 0, 1]], atol=1e-4)
    for bad in [(source,), source, (source, target[:5]), (source[:, :1], target), (source.astype(np.float64), target),
                (source, target, [60]), (source, target, ["a"]), None]:
        with pytest.raises((TypeError, ValueError), match="corrs"):
            visora.geomHomographyFitf32(bad)


def test_pyramids_and_tracks():
    image = cv2.GaussianBlur(RANDOM.integers(0, 256, (128, 160), np.uint8), (0, 0), 2)
    image = cv2.normalize(image, None, 0, 255, cv2.NORM_MINMAX)
    moved = np.roll(image, (2, 3), (0, 1))
    pyramid, second = visora.pyramidCreateu8(image, 3), visora.pyramidCreateu8(moved, 3)
    assert [level.shape for level in pyramid] == [(128, 160), (64, 80), (32, 40)]
    assert pyramid[0] is image
    assert np.abs(pyramid[1][4:-4, 4:-4].astype(int) - cv2.pyrDown(image)[4:-4, 4:-4]).max() <= 1
    assert [level.shape for level in visora.pyramidCreateu8_v3(image[:99, :77], 3)] == [(99, 77), (50, 39), (25, 20)]
    quarter = visora.pyramidCreateu8_v3(image, 5, scaleBy2=True)
    assert quarter[4].shape == (64, 80) and quarter[1].shape == (108, 135)
    dx, dy = visora.pyramidSobelGradientCreatei16(pyramid)
    assert np.array_equal(dx[1], visora.imageGradientSobelPlanars16(pyramid[1])[0]) and dy[2].shape == (32, 40)
    points = np.float32([[40, 50], [80, 60], [100, 30]])
    for found, status in [visora.trackLKOpticalFlowu8(pyramid, second, points),
                          visora.trackLKOpticalFlowu8_v3(pyramid, second, points, featureXY_out=points + 1),
                          visora.trackLKOpticalFlowf32(visora.pyramidCreatef32(image.astype(np.float32), 3),
                                                       visora.pyramidCreatef32(moved.astype(np.float32), 3), points)]:
        assert (status == visora.TRACK_FOUND).all() and np.allclose(found, points + [3, 2], atol=0.1)
    bad = [(pyramid, second[:2], points), (pyramid, [each[:-1] for each in second], points), ([], [], points),
           (pyramid, [np.zeros((128, 200), np.uint8)[:, :160]] + second[1:], points),
           (pyramid, second, points[0]), (pyramid, second, points.astype(np.float64)), (pyramid, second, points, 4),
           ([each.astype(np.int16) for each in pyramid], second, points), (pyramid, [None] * 3, points)]
    for arguments in bad:
        with pytest.raises((TypeError, ValueError)):
            visora.trackLKOpticalFlowu8(*arguments)
    for arguments in [(image[:127], 3), (image, 0), (image, 40), (image[:0], 1), (image[::-1], 2), (image[None], 1),
                      (image.astype(np.float32), 2)]:
        with pytest.raises((TypeError, ValueError)):
            visora.pyramidCreateu8(*arguments)


def test_trees():
    vectors = RANDOM.random((200, 6)).astype(np.float32)
    queries = RANDOM.random((9, 6)).astype(np.float32)
    indices, distances = visora.KDTree(vectors).search(queries, k=3)
    squares = ((queries[:, None].astype(np.float64) - vectors) ** 2).sum(-1)
    assert np.array_equal(indices, squares.argsort(1)[:, :3])
    assert np.allclose(distances, np.sort(squares, 1)[:, :3], rtol=1e-5)
    for bad in (vectors[0], vectors.astype(np.float64), vectors * np.float32(np.inf), vectors[:, :0]):
        with pytest.raises((TypeError, ValueError), match="KDTree"):
            visora.KDTree(bad)
    for queried, k in ((queries[:, :5], 1), (queries, 0), (queries[0], 1)):
        with pytest.raises(ValueError, match="KDTree.search"):
            visora.KDTree(vectors).search(queried, k=k)


def test_in_place_and_parts_of_one_array():
    image = GREY.copy()
    assert visora.bitwiseNotu8(image, out=image) is image and np.array_equal(image, 255 - GREY)
    whole = np.zeros((60, 160), np.uint8)
    whole[:, :80] = GREY
    visora.filterErode3x3u8(whole[:, :80], dst=whole[:, 80:])  # side by side
    assert np.array_equal(whole[:, 80:], cv2.erode(GREY, SQUARE)) and np.array_equal(whole[:, :80], GREY)
    with pytest.raises(ValueError, match="dst shares memory with src"):
        visora.filterErode3x3u8(whole[:, :80], dst=whole[:, 40:120])
    with pytest.raises(ValueError, match="dx shares memory with dy"):
        visora.imageGradientPlanars16(GREY, out=(np.zeros((60, 80), np.int16),) * 2)


def test_numbers():
    for arguments, error in [((GREY, 256, 0), ValueError), ((GREY, -1, 0), ValueError), ((GREY, 2.5, 0), TypeError),
                             ((GREY, "1", 0), TypeError), ((GREY, 2 ** 70, 0), ValueError)]:
        with pytest.raises(error, match="threshold"):
            visora.filterThresholdFixedu8(*arguments)
    with pytest.raises(ValueError, match="scale"):
        visora.convertu8f32(GREY, scale=1e300)
    with pytest.raises(ValueError, match="N=4"):
        visora.filterDilateNxNu8(GREY, 4)
    with pytest.raises(ValueError, match="srcWidth > 10"):
        visora.boxFilter11x11u8(GREY[:5, :5])
    with pytest.raises(ValueError, match="table"):
        visora.tableLookupu8(GREY, [300] * 256)
    with pytest.raises(TypeError, match="window"):
        visora.meanShiftu8(GREY, 5, 1.0, (1, 2, 3))
    for width in (2 ** 32 - 1, 2 ** 32, 2 ** 63):
        with pytest.raises((ValueError, MemoryError)):
            visora.scaleu8(GREY, dstWidth=width, dstHeight=2 ** 31)
    huge = np.broadcast_to(np.uint8(0), (2, 2 ** 33))
    with pytest.raises(ValueError, match="src is too large"):
        visora.bitwiseNotu8(huge)
    with pytest.raises(ValueError, match="mode"):
        visora.setOperationMode(0x80000099)


def test_other_threads_work_during_a_call():
    """With turns that never end by themselves, another thread gets one only where the interpreter is let go."""
    import sys
    import threading
    image = np.zeros((1500, 2000), np.uint8)
    order, turn = [], sys.getswitchinterval()

    def work():
        order.append("begun")
        for _ in range(200):
            visora.filterMedian5x5u8(image)
            if "other" in order:
                order.append("met")
                break

    sys.setswitchinterval(1000)
    try:
        thread = threading.Thread(target=work)
        thread.start()
        order.append("other")
        thread.join()
    finally:
        sys.setswitchinterval(turn)
    assert order == ["begun", "other", "met"]
