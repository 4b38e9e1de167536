#!/usr/bin/python3
"""OpenCV on the same 4096x4096 pixels as bench/colour_bench.cpp, printing "Group/what ms".

ColorAdjust: cv2.LUT with one byte table for the colours and the identity for alpha, the
work of the byte-table path. Colorize: the lightness (max + min) >> 1 with cv2.max, cv2.min
and cv2.add, then cv2.LUT of a three-channel table, alpha copied back.
"""
import cv2
import numpy as np

from peer_common import median_ms

SIDE = 4096


def pixels():
    # x = x * 1664525 + 1013904223 mod 2^32 from x = 1, as the C++ benchmark.
    n = SIDE * SIDE
    out = np.empty(n, dtype=np.uint32)
    x = np.uint64(1)
    block = 1 << 16
    # Jump ahead in blocks: a_k, c_k of the k-step map.
    a = np.empty(block, dtype=np.uint64)
    c = np.empty(block, dtype=np.uint64)
    ak, ck = 1, 0
    for k in range(block):
        ak, ck = (ak * 1664525) % (1 << 32), (ck * 1664525 + 1013904223) % (1 << 32)
        a[k], c[k] = ak, ck
    mask = np.uint64(0xFFFFFFFF)
    for start in range(0, n, block):
        values = (a * x + c) & mask
        out[start:start + block] = values.astype(np.uint32)
        x = values[-1]
    return out.view(np.uint8).reshape(SIDE, SIDE, 4)  # bytes B, G, R, A


def main():
    img = pixels()
    lut = np.zeros((1, 256, 4), dtype=np.uint8)
    curve = np.clip(np.arange(256) * 1.1 + 10, 0, 255).astype(np.uint8)
    for ch in range(3):
        lut[0, :, ch] = curve
    lut[0, :, 3] = np.arange(256)
    table3 = np.zeros((1, 256, 3), dtype=np.uint8)
    table3[0, :, 0] = np.arange(256) // 2
    table3[0, :, 1] = np.arange(256)
    table3[0, :, 2] = 255 - np.arange(256) // 3
    out = np.empty_like(img)

    def adjust():
        cv2.LUT(img, lut, dst=out)

    def colorize():
        b, g, r, a = cv2.split(img)
        mx = cv2.max(cv2.max(b, g), r)
        mn = cv2.min(cv2.min(b, g), r)
        light = ((mx.astype(np.uint16) + mn) >> 1).astype(np.uint8)
        colour = cv2.LUT(cv2.merge([light, light, light]), table3)
        cv2.merge([colour[:, :, 0], colour[:, :, 1], colour[:, :, 2], a], dst=out)

    def copy():
        np.copyto(out, img)

    for threads, label in ((1, "threads:1"), (cv2.getNumberOfCPUs(), "threads:all")):
        cv2.setNumThreads(threads)
        print("ColorAdjust/opencv-lut/%s %.3f" % (label, median_ms(adjust, 9)))
        print("Colorize/opencv-minmax-lut/%s %.3f" % (label, median_ms(colorize, 9)))
    print("ColorAdjust/numpy-copy %.3f" % median_ms(copy, 9))


main()
