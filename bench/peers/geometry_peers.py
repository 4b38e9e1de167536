#!/usr/bin/python3
"""The geometry peers on the pixels of bench/geometry_bench.cpp, on one thread as ours run:
OpenCV's resize with INTER_AREA to 50% and INTER_CUBIC to 200%, warpAffine bilinear at
30 degrees onto the enlarged canvas, and vips resize (50%, 200%) and rotate (30 degrees).

vips runs as a command on a .v file; the time of `vips copy` of the same file (start-up,
reading and writing) is subtracted, so what is left is the operation.
"""
import math

import cv2

from peer_common import SIDE, median_ms, pixels, vips_ms


def rotation():
    a = math.radians(30)
    c, s = math.cos(a), math.sin(a)
    w = int(2 * max(abs(c * SIDE / 2 - s * SIDE / 2), abs(-c * SIDE / 2 - s * SIDE / 2)) + 0.5)
    m = cv2.getRotationMatrix2D((SIDE / 2, SIDE / 2), -30, 1.0)
    m[0, 2] += w / 2 - SIDE / 2
    m[1, 2] += w / 2 - SIDE / 2
    return m, w


def main():
    img = pixels()
    cv2.setNumThreads(1)
    print("Resample/opencv-area50 %.3f 50" % median_ms(
        lambda: cv2.resize(img, (SIDE // 2, SIDE // 2), interpolation=cv2.INTER_AREA), 5))
    print("Resample/opencv-cubic200 %.3f 200" % median_ms(
        lambda: cv2.resize(img, (SIDE * 2, SIDE * 2), interpolation=cv2.INTER_CUBIC), 3))
    m, w = rotation()
    print("Rotate/opencv-bilinear30 %.3f" % median_ms(
        lambda: cv2.warpAffine(img, m, (w, w), flags=cv2.INTER_LINEAR), 5))

    resize50, resize200, rotate30 = vips_ms(img, 1, 3, [("resize", "0.5"), ("resize", "2"), ("rotate", "30")])
    print("Resample/vips-resize50 %.3f 50" % resize50)
    print("Resample/vips-resize200 %.3f 200" % resize200)
    print("Rotate/vips-rotate30 %.3f" % rotate30)


if __name__ == "__main__":
    main()
