#!/usr/bin/python3
"""Cleans every picture of a folder on a Dask cluster: on the processors of this machine, or on a cluster that runs.

    folder_on_dask.py PICTURES RESULTS [--scheduler tcp://HOST:8786] [--workers N]

What is done already is left alone, so that a run that was stopped goes on where it was. A file that is no picture is
named at the end, and the others are done all the same. On other machines PICTURES and RESULTS are the same folders, and
visora is installed.
"""
import argparse
import os
import pathlib
import sys

from dask.distributed import Client, LocalCluster, as_completed
from tqdm import tqdm

ENDINGS = {".png", ".jpg", ".jpeg", ".bmp", ".tif", ".tiff", ".webp"}


def clean(source, target):
    """Takes specks and uneven light out of a picture. Runs on a worker. Returns what went wrong."""
    import cv2
    import visora
    image = cv2.imread(source, cv2.IMREAD_GRAYSCALE)
    if image is None:
        return "is no picture that can be read"
    try:
        image = visora.filterMedian5x5u8(image, borderType=visora.BORDER_REPLICATE)
        image = visora.claheu8(image, tilesX=min(8, image.shape[1]), tilesY=min(8, image.shape[0]), clipLimit=2.0)
    except ValueError as error:
        return str(error)
    # A name of its own until it is whole: a run that is stopped leaves no half picture.
    unfinished = f"{target}.{os.getpid()}.png"
    if not cv2.imwrite(unfinished, image):
        return f"cannot be written to {target}"
    os.replace(unfinished, target)
    return None


def to_do(pictures, results):
    """Pairs of a picture and its result, which keeps the ending in its name: a.png and a.jpg are two."""
    for source in sorted(path for path in pictures.rglob("*") if path.suffix.lower() in ENDINGS):
        target = results / source.relative_to(pictures).with_name(source.name + ".png")
        if not target.exists() or target.stat().st_mtime < source.stat().st_mtime:
            target.parent.mkdir(parents=True, exist_ok=True)
            yield source, target


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    arguments.add_argument("pictures", type=pathlib.Path)
    arguments.add_argument("results", type=pathlib.Path)
    arguments.add_argument("--scheduler", help="address of a cluster that runs; without it one of this machine is used")
    arguments.add_argument("--workers", type=int, default=os.cpu_count(), help="processes on this machine")
    options = arguments.parse_args()
    if not options.pictures.is_dir():
        sys.exit(f"{options.pictures} is no folder")
    pictures, results = options.pictures.resolve(), options.results.resolve()
    if results.is_relative_to(pictures):
        sys.exit("RESULTS lies in PICTURES: its pictures would be cleaned again")

    work = list(to_do(pictures, results))
    if not work:
        print("nothing to do")
        return
    cluster = options.scheduler or LocalCluster(n_workers=min(options.workers, len(work)), threads_per_worker=1,
                                                dashboard_address=None)
    with Client(cluster) as client:
        futures = {client.submit(clean, str(source), str(target), pure=False): source for source, target in work}
        failed = {}
        for future in tqdm(as_completed(futures), total=len(futures), unit="picture"):
            wrong = future.result() if future.status == "finished" else f"failed: {future.exception()}"
            if wrong:
                failed[futures[future]] = wrong
    if not options.scheduler:
        cluster.close()
    for source, wrong in sorted(failed.items()):
        print(f"{source} {wrong}", file=sys.stderr)
    print(f"{len(work) - len(failed)} pictures done, {len(failed)} not")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
