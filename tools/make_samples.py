#!/usr/bin/env python3
"""Draws the sample images in samples/ with nothing but the Python standard library.

    python3 tools/make_samples.py [OUTPUT_DIR]

landscape.png: an opaque 480x320 scene (sky, sun, mountains, hills, a lake, grain), for the
colour operations. shape.png: a 320x240 badge with cut-out letters on a transparent background,
with anti-aliased edges, for shadows, outlines and blurs. logo.png: a 320x240 star in a ring
with soft edges two pixels wide, for bevels and satin. The random generator has a fixed seed,
so every run draws the same pixels.
"""

import math
import pathlib
import random
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def paeth_filter(row, prev, bpp):
    out = bytearray(len(row))
    for i, value in enumerate(row):
        a = row[i - bpp] if i >= bpp else 0
        b = prev[i]
        c = prev[i - bpp] if i >= bpp else 0
        p = a + b - c
        pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
        predictor = a if pa <= pb and pa <= pc else (b if pb <= pc else c)
        out[i] = (value - predictor) & 0xFF
    return bytes(out)


def write_png(path, width, height, channels, rows, dpi=None):
    """rows: one bytes object of width*channels 8-bit samples per row (RGB or RGBA)."""
    colour_type = {3: 2, 4: 6}[channels]
    prev = bytes(width * channels)
    raw = bytearray()
    for row in rows:
        raw += b"\x04" + paeth_filter(row, prev, channels)
        prev = row
    data = b"\x89PNG\r\n\x1a\n"
    data += chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0))
    if dpi:
        ppm = round(dpi / 0.0254)
        data += chunk(b"pHYs", struct.pack(">IIB", ppm, ppm, 1))
    data += chunk(b"IDAT", zlib.compress(bytes(raw), 9))
    data += chunk(b"IEND", b"")
    pathlib.Path(path).write_bytes(data)


def clamp(v, lo=0.0, hi=1.0):
    return lo if v < lo else hi if v > hi else v


def mix(c0, c1, t):
    return tuple(a + (b - a) * t for a, b in zip(c0, c1))


def smooth_noise(rng, cell, size=16):
    """Value noise: random values on a grid of cell-sized squares, interpolated smoothly and
    repeating every size cells."""
    grid = [[rng.random() for _ in range(size)] for _ in range(size)]

    def at(x, y):
        gx, gy = x / cell, y / cell
        ix, iy = math.floor(gx), math.floor(gy)
        fx, fy = gx - ix, gy - iy
        fx, fy = fx * fx * (3 - 2 * fx), fy * fy * (3 - 2 * fy)
        x0, x1, y0, y1 = ix % size, (ix + 1) % size, iy % size, (iy + 1) % size
        top = grid[y0][x0] + (grid[y0][x1] - grid[y0][x0]) * fx
        bottom = grid[y1][x0] + (grid[y1][x1] - grid[y1][x0]) * fx
        return top + (bottom - top) * fy

    return at


def fractal_noise(rng, cell, octaves):
    layers = [smooth_noise(rng, cell / 2 ** i) for i in range(octaves)]
    total = sum(0.5 ** i for i in range(octaves))

    def at(x, y):
        return sum(layer(x, y) * 0.5 ** i for i, layer in enumerate(layers)) / total

    return at


def landscape(width=480, height=320):
    rng = random.Random(20240611)
    clouds = fractal_noise(rng, 96, 4)
    rock = fractal_noise(rng, 32, 3)
    grass = fractal_noise(rng, 24, 3)
    horizon = 205
    sun_x, sun_y, sun_r = 350.0, 80.0, 24.0

    def far_ridge(x):
        return 150 + 22 * math.sin(x * 0.021 + 0.6) + 10 * math.sin(x * 0.067 + 2.0) + 4 * math.sin(x * 0.19)

    def near_hill(x):
        return 240 + 22 * math.sin(x * 0.013 + 2.4) + 7 * math.sin(x * 0.049 + 0.3)

    def above_horizon(x, y):
        t = clamp(y / horizon)
        colour = mix((38, 84, 168), (250, 204, 150), t ** 1.6)
        d = math.hypot(x - sun_x, y - sun_y)
        colour = mix(colour, (255, 236, 190), math.exp(-max(d - sun_r, 0.0) / 45.0) * 0.55)
        colour = mix(colour, (255, 246, 214), clamp(sun_r + 0.5 - d))
        cloud = clamp((clouds(x * 0.5, y) - 0.5) * 4.0) * clamp(1.2 - t)
        colour = mix(colour, (246, 242, 238), cloud * 0.85)
        ridge = clamp(y - far_ridge(x) + 0.5)
        if ridge > 0:
            haze = clamp((y - 120) / (horizon - 120))
            mountain = mix((78, 86, 130), (150, 146, 170), haze)
            shade = 0.8 + 0.4 * rock(x, y)
            colour = mix(colour, tuple(c * shade for c in mountain), ridge)
        return colour

    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            if y < horizon:
                colour = above_horizon(x, y)
            else:
                # The lake mirrors sky and mountains, darker and rippled.
                ripple = 2.5 * math.sin(y * 0.9 + x * 0.05)
                mirrored = above_horizon(x + ripple, 2 * horizon - y - 1)
                colour = mix(mirrored, (30, 60, 90), 0.35 + 0.3 * (y - horizon) / (height - horizon))
            hill = clamp(y - near_hill(x) + 0.5)
            if hill > 0:
                depth = clamp((y - near_hill(x)) / 80.0)
                shade = 0.6 + 0.8 * grass(x, y * 1.5)
                base = mix((104, 156, 62), (38, 84, 32), depth)
                colour = mix(colour, tuple(c * shade for c in base), hill)
            grain = 5.0 if hill > 0 else 1.5
            for c in colour:
                row.append(int(clamp(c + rng.uniform(-grain, grain), 0, 255) + 0.5))
        rows.append(bytes(row))
    return rows


def segment_distance(px, py, ax, ay, bx, by):
    dx, dy = bx - ax, by - ay
    t = clamp(((px - ax) * dx + (py - ay) * dy) / (dx * dx + dy * dy))
    return math.hypot(px - ax - t * dx, py - ay - t * dy)


def rounded_rect_distance(px, py, cx, cy, half_w, half_h, radius):
    qx = abs(px - cx) - half_w + radius
    qy = abs(py - cy) - half_h + radius
    outside = math.hypot(max(qx, 0.0), max(qy, 0.0))
    return outside + min(max(qx, qy), 0.0) - radius


def shape(width=320, height=240):
    # The letters "ZT" as strokes, cut out of a rounded badge.
    strokes = [
        ((92, 84), (148, 84)), ((148, 84), (92, 156)), ((92, 156), (148, 156)),
        ((172, 84), (236, 84)), ((204, 84), (204, 156)),
    ]
    stroke_half = 8.0
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            px, py = x + 0.5, y + 0.5
            badge = rounded_rect_distance(px, py, 164, 120, 110, 68, 30)
            letters = min(segment_distance(px, py, *a, *b) for a, b in strokes) - stroke_half
            coverage = clamp(0.5 - max(badge, -letters))
            if coverage == 0:
                row += b"\0\0\0\0"
                continue
            r, g, b = mix((255, 178, 40), (214, 52, 64), clamp((py - 52) / 136))
            row += bytes((int(r + 0.5), int(g + 0.5), int(b + 0.5), int(coverage * 255 + 0.5)))
        rows.append(bytes(row))
    return rows


def polygon_distance(px, py, points):
    """Signed distance to a closed polygon: negative inside (even-odd rule)."""
    inside, best = False, float("inf")
    for i, (ax, ay) in enumerate(points):
        bx, by = points[(i + 1) % len(points)]
        best = min(best, segment_distance(px, py, ax, ay, bx, by))
        if (ay > py) != (by > py) and px < ax + (py - ay) * (bx - ax) / (by - ay):
            inside = not inside
    return -best if inside else best


def logo(width=320, height=240):
    # A star in a ring with soft edges two pixels wide: bevels and satin show on it best.
    cx, cy = 160, 120
    star = []
    for i in range(10):
        r = 78 if i % 2 == 0 else 34
        a = math.pi * i / 5 - math.pi / 2
        star.append((cx + r * math.cos(a), cy + r * math.sin(a)))
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            px, py = x + 0.5, y + 0.5
            ring = abs(math.hypot(px - cx, py - cy) - 100) - 9
            d = min(polygon_distance(px, py, star), ring)
            coverage = clamp(0.5 - d / 2.0)
            if coverage == 0:
                row += b"\0\0\0\0"
                continue
            r, g, b = mix((40, 170, 190), (30, 90, 160), clamp((py - 20) / 200))
            row += bytes((int(r + 0.5), int(g + 0.5), int(b + 0.5), int(coverage * 255 + 0.5)))
        rows.append(bytes(row))
    return rows


def main():
    out = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent / "samples")
    out.mkdir(parents=True, exist_ok=True)
    write_png(out / "landscape.png", 480, 320, 3, landscape(), dpi=72)
    write_png(out / "shape.png", 320, 240, 4, shape())
    write_png(out / "logo.png", 320, 240, 4, logo())


if __name__ == "__main__":
    main()
