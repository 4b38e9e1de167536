"""What the peer scripts share: the 4096 x 4096 test image of the blur and geometry
benchmarks, the median timing, and timing a vips command net of its start-up.

Not a benchmark itself: bench/compare.py runs only the *_peers.py scripts.
"""
import os
import statistics
import subprocess
import tempfile
import time

import cv2
import numpy as np

SIDE = 4096


def pixels():
    y, x = np.mgrid[0:SIDE, 0:SIDE].astype(np.uint32)
    img = np.empty((SIDE, SIDE, 4), np.uint8)
    img[..., 0] = (x * 3 + y) & 255
    img[..., 1] = (x + y * 5) & 255
    img[..., 2] = (x * y) & 255
    alpha = 64 + ((x ^ y) & 127)
    alpha[1024:2048, 1024:2048] = 0
    img[..., 3] = alpha
    return img


def median_ms(run, repeat=7):
    run()
    times = []
    for _ in range(repeat):
        t = time.perf_counter()
        run()
        times.append((time.perf_counter() - t) * 1000.0)
    return statistics.median(times)


def vips_ms(img, concurrency, repeat, commands):
    """Milliseconds of each `vips NAME in.v out.v ARGS...` in commands, given as (NAME, ARGS...).

    vips runs on a .v file; the time of `vips copy` of the same file (start-up, reading and
    writing) is subtracted, so what is left is the operation.
    """
    with tempfile.TemporaryDirectory() as d:
        png = os.path.join(d, "in.png")
        src = os.path.join(d, "in.v")
        out = os.path.join(d, "out.v")
        cv2.imwrite(png, img)
        subprocess.run(["vips", "copy", png, src], check=True)
        env = dict(os.environ, VIPS_CONCURRENCY=str(concurrency))

        def vips(*args):
            subprocess.run(["vips"] + list(args), check=True, env=env)

        copy = median_ms(lambda: vips("copy", src, out), repeat)
        return [max(0.0, median_ms(lambda: vips(name, src, out, *args), repeat) - copy) for name, *args in commands]
