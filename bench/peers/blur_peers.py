#!/usr/bin/python3
"""The blur peers on the pixels of bench/blur_bench.cpp: OpenCV's box filter of radius 10
(ksize 21) and Gaussian of sigma 5 on two threads, and vips gaussblur of sigma 5.

vips runs as a command on a .v file; the time of `vips copy` of the same file (start-up,
reading and writing) is subtracted, so what is left is the blur.
"""
import cv2

from peer_common import median_ms, pixels, vips_ms


def main():
    img = pixels()
    cv2.setNumThreads(2)
    print("Blur/opencv-box21 %.3f" % median_ms(lambda: cv2.blur(img, (21, 21))))
    print("Blur/opencv-gauss-s5 %.3f" % median_ms(lambda: cv2.GaussianBlur(img, (0, 0), 5)))

    (blur,) = vips_ms(img, 2, 5, [("gaussblur", "5")])
    print("Blur/vips-gaussblur-s5 %.3f" % blur)


main()
