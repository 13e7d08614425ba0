"""The examples run, and say what is wrong with pictures that are none."""
import pathlib
import re
import subprocess
import sys

import cv2
import numpy as np

ROOT = pathlib.Path(__file__).resolve().parents[2]


def run(script, *arguments):
    return subprocess.run([sys.executable, ROOT / script, *map(str, arguments)], capture_output=True, text=True,
                          check=False)


def test_opencv_step(tmp_path):
    board = np.kron(np.indices((6, 8)).sum(0) % 2, np.ones((20, 20))).astype(np.uint8) * 255
    cv2.imwrite(str(tmp_path / "board.png"), board)
    done = run("examples/python/opencv_step.py", tmp_path / "board.png", "-o", tmp_path / "out.png")
    assert done.returncode == 0 and int(re.match(r"\d+", done.stdout).group()) > 0, done.stderr
    assert cv2.imread(str(tmp_path / "out.png")).shape == (120, 160, 3)
    (tmp_path / "broken.png").write_bytes((tmp_path / "board.png").read_bytes()[:40])
    failed = run("examples/python/opencv_step.py", tmp_path / "broken.png")
    assert failed.returncode == 1 and "broken.png cannot be read" in failed.stderr


def test_numpy_step():
    done = run("examples/python/numpy_step.py")
    assert done.returncode == 0 and 25 <= int(done.stdout.split()[0]) <= 40, done.stderr


def test_call_overhead_runs():
    done = run("python/benchmarks/call_overhead.py", 10)
    assert done.returncode == 0 and len(done.stdout.splitlines()) == 9, done.stderr


def test_folder_on_dask(tmp_path):
    pictures, results = tmp_path / "pictures", tmp_path / "results"
    (pictures / "more").mkdir(parents=True)
    image = np.random.default_rng(1).integers(0, 256, (40, 50), np.uint8)
    for name in ("a.png", "a.jpg", "more/b.png"):
        cv2.imwrite(str(pictures / name), image)
    (pictures / "broken.png").write_bytes((pictures / "a.png").read_bytes()[:60])
    (pictures / "notes.txt").write_text("no picture")
    done = run("examples/python/folder_on_dask.py", pictures, results, "--workers", 1)
    assert done.returncode == 1 and "3 pictures done, 1 not" in done.stdout, done.stderr
    assert "broken.png is no picture that can be read" in done.stderr
    made = {str(path.relative_to(results)) for path in results.rglob("*.*")}
    assert made == {"a.png.png", "a.jpg.png", "more/b.png.png"}
    assert cv2.imread(str(results / "more/b.png.png")).shape == (40, 50, 3)
    # Again: what is there is left alone.
    (pictures / "broken.png").unlink()
    done = run("examples/python/folder_on_dask.py", pictures, results)
    assert done.returncode == 0 and done.stdout == "nothing to do\n", done.stderr
    assert "no folder" in run("examples/python/folder_on_dask.py", tmp_path / "none", results).stderr
