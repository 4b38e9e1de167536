#!/usr/bin/python3
"""The shape effect peers on the 2048 x 2048 shape image of bench/shape_bench.cpp, one thread:
GEGL's gegl:dropshadow of radius 10 (offset 1, 1) and gegl:long-shadow of length 64 through
libgegl's C interface; ImageMagick's -shade, the nearest thing to a bevel it has; and OpenCV's
building blocks: the distance transform (5 x 5 mask) of the shape and of its outside, the two
maps an outline needs, and what a bevel, satin and a projected shadow are made of.

GEGL is driven with ctypes so that only the processing is timed: the image goes in and comes out
as an 8-bit R'G'B'A buffer, as ours does.
"""
import ctypes
import os
import subprocess
import sys

os.environ.setdefault("GEGL_THREADS", "1")

import cv2
import numpy as np

from peer_common import median_ms

SIDE = 2048


def pixels():
    # The same integer formula as the benchmark: a disc of radius 700 with a soft rim of two
    # pixels, and an opaque square; colour from the position.
    y, x = np.mgrid[0:SIDE, 0:SIDE].astype(np.int64)
    d2 = (x - 1024) ** 2 + (y - 1024) ** 2
    alpha = np.clip(255 * (702 * 702 - d2) // (702 * 702 - 700 * 700), 0, 255)
    alpha[(x >= 200) & (x < 600) & (y >= 1500) & (y < 1900)] = 255
    img = np.empty((SIDE, SIDE, 4), np.uint8)
    img[..., 0] = x & 255
    img[..., 1] = y & 255
    img[..., 2] = 128
    img[..., 3] = alpha
    return img


class GeglRectangle(ctypes.Structure):
    _fields_ = [("x", ctypes.c_int), ("y", ctypes.c_int), ("width", ctypes.c_int), ("height", ctypes.c_int)]


def gegl_run(img, operation, properties):
    """Median milliseconds of one GEGL operation with its properties (name, ctypes value)."""
    gegl = ctypes.CDLL("libgegl-0.4.so.0")
    babl = ctypes.CDLL("libbabl-0.1.so.0")
    gobject = ctypes.CDLL("libgobject-2.0.so.0")
    vp, cp, dbl = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_double
    gegl.gegl_init(None, None)
    babl.babl_format.restype = vp
    babl.babl_format.argtypes = [cp]
    gegl.gegl_buffer_new.restype = vp
    gegl.gegl_buffer_new.argtypes = [ctypes.POINTER(GeglRectangle), vp]
    gegl.gegl_buffer_set.argtypes = [vp, ctypes.POINTER(GeglRectangle), ctypes.c_int, vp, vp, ctypes.c_int]
    gegl.gegl_node_new.restype = vp
    gegl.gegl_node_new_child.restype = vp
    gegl.gegl_node_link_many.restype = None
    gegl.gegl_node_process.argtypes = [vp]

    # GEGL's u8 R'G'B'A is red first; ours is blue first: swap so that both see the same image.
    rgba = np.ascontiguousarray(img[..., [2, 1, 0, 3]])
    fmt = babl.babl_format(b"R'G'B'A u8")
    rect = GeglRectangle(0, 0, SIDE, SIDE)
    source = gegl.gegl_buffer_new(ctypes.byref(rect), fmt)
    gegl.gegl_buffer_set(source, ctypes.byref(rect), 0, fmt, rgba.ctypes.data, SIDE * 4)

    def run():
        target = gegl.gegl_buffer_new(ctypes.byref(rect), fmt)
        graph = gegl.gegl_node_new()
        src = gegl.gegl_node_new_child(vp(graph), cp(b"operation"), cp(b"gegl:buffer-source"), cp(b"buffer"),
                                       vp(source), None)
        args = [vp(graph), cp(b"operation"), cp(operation)]
        for name, value in properties:
            args += [cp(name), value]
        shadow = gegl.gegl_node_new_child(*args, None)
        sink = gegl.gegl_node_new_child(vp(graph), cp(b"operation"), cp(b"gegl:write-buffer"), cp(b"buffer"),
                                        vp(target), None)
        gegl.gegl_node_link_many(vp(src), vp(shadow), vp(sink), None)
        gegl.gegl_node_process(vp(sink))
        gobject.g_object_unref(vp(graph))
        gobject.g_object_unref(vp(target))

    return median_ms(run, 5)


def imagemagick_shade(img):
    """ImageMagick's -shade (a lit height map of the image), raw pixels through a pipe: its time
    includes moving 32 MB through the pipe, so the ratio flatters it less than it seems."""
    try:
        version = subprocess.run(["convert", "-version"], capture_output=True, text=True).stdout
    except OSError:
        version = ""
    if "ImageMagick" not in version or "Version" not in version:
        print("imagemagick skipped: no convert", file=sys.stderr)
        return
    raw = np.ascontiguousarray(img[..., [2, 1, 0, 3]]).tobytes()
    command = ["convert", "-size", "%dx%d" % (SIDE, SIDE), "-depth", "8", "rgba:-", "-shade", "135x45", "rgba:-"]
    print("Bevel/imagemagick-shade %.3f" % median_ms(lambda: subprocess.run(command, input=raw, capture_output=True)))


def main():
    img = pixels()
    cv2.setNumThreads(1)
    inside = (img[..., 3] > 0).astype(np.uint8)
    outside = 1 - inside

    def distances():
        cv2.distanceTransform(inside, cv2.DIST_L2, cv2.DIST_MASK_5)
        cv2.distanceTransform(outside, cv2.DIST_L2, cv2.DIST_MASK_5)

    print("Outline/opencv-distance %.3f" % median_ms(distances))

    # The building blocks of a bevel (distance, smoothing, gradients) and of satin (a blurred
    # alpha against itself shifted two ways), as OpenCV has them.
    alpha = img[..., 3]

    def bevel_blocks():
        height = cv2.distanceTransform(inside, cv2.DIST_L2, cv2.DIST_MASK_5)
        height = cv2.blur(np.minimum(height, 10), (5, 5))
        cv2.Sobel(height, cv2.CV_32F, 1, 0)
        cv2.Sobel(height, cv2.CV_32F, 0, 1)

    def satin_blocks():
        blurred = cv2.blur(alpha, (11, 11))
        shift = np.float32([[1, 0, 7], [0, 1, -4]]), np.float32([[1, 0, -7], [0, 1, 4]])
        a = cv2.warpAffine(blurred, shift[0], (SIDE, SIDE))
        b = cv2.warpAffine(blurred, shift[1], (SIDE, SIDE))
        cv2.absdiff(a, b)

    def projected_blocks():
        blurred = cv2.blur(alpha, (41, 41))
        quad = np.float32([[0.2, 0.5], [0.7, 0.5], [1.1, 0.9], [-0.1, 0.9]]) * SIDE
        m = cv2.getPerspectiveTransform(np.float32([[0, 0], [SIDE, 0], [SIDE, SIDE], [0, SIDE]]), quad)
        cv2.warpPerspective(blurred, m, (SIDE, SIDE), flags=cv2.INTER_LINEAR)

    print("Bevel/opencv-distance-blur-sobel %.3f" % median_ms(bevel_blocks))
    print("Satin/opencv-blur-shift-absdiff %.3f" % median_ms(satin_blocks))
    print("ProjectedShadow/opencv-blur-warp %.3f" % median_ms(projected_blocks))
    print("ShapeGradient/opencv-distance %.3f" % median_ms(lambda: cv2.distanceTransform(inside, cv2.DIST_L2, 5)))
    imagemagick_shade(img)
    try:
        print("DropShadow/gegl %.3f" % gegl_run(img, b"gegl:dropshadow", [
            (b"radius", ctypes.c_double(10.0)), (b"x", ctypes.c_double(1.0)), (b"y", ctypes.c_double(1.0))]))
        print("LongShadow/gegl %.3f" % gegl_run(img, b"gegl:long-shadow", [
            (b"angle", ctypes.c_double(45.0)), (b"length", ctypes.c_double(64.0))]))
    except OSError as e:
        print("gegl skipped: %s" % e, file=sys.stderr)


main()
