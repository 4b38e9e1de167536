#!/usr/bin/python3
"""The Compose peer on the 4096 x 4096 images of bench/compose_bench.cpp: Pillow's
Image.alpha_composite (source over), one thread, the conversion from and to raw bytes outside
the timing."""
import sys

import numpy as np

from peer_common import median_ms

SIDE = 4096


def pattern(seed):
    # The linear congruential pattern of the benchmark: x = x * 1664525 + 1013904223 (mod 2^32).
    out = np.empty(SIDE * SIDE, np.uint32)
    x = np.uint64(seed)
    # Jump-ahead in blocks keeps this fast: element i is a * x_{i-1} + c.
    a, c, m = 1664525, 1013904223, 1 << 32
    values = np.empty(SIDE * SIDE, np.uint64)
    v = int(x)
    block = 4096
    for start in range(0, SIDE * SIDE, block):
        for i in range(block):
            v = (v * a + c) % m
            values[start + i] = v
    out[:] = values
    return out


def main():
    try:
        from PIL import Image
    except ImportError as e:
        print("pillow skipped: %s" % e, file=sys.stderr)
        return
    # Blue, green, red, alpha in memory as ours; Pillow wants red first.
    dst = pattern(1).view(np.uint8).reshape(SIDE, SIDE, 4)[..., [2, 1, 0, 3]].copy()
    src = pattern(2).view(np.uint8).reshape(SIDE, SIDE, 4)[..., [2, 1, 0, 3]].copy()
    a, b = Image.fromarray(dst, "RGBA"), Image.fromarray(src, "RGBA")
    print("Compose/pillow-alpha-composite %.3f src-over" % median_ms(lambda: Image.alpha_composite(a, b), 5))


main()
