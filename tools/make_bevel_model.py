#!/usr/bin/env python3
"""Writes operations/shape/bevel_model_data.cpp: the light-direction control's model in the
"IBT1" format, a bevelled octagonal disc of 48 vertices and 40 triangles.

    python3 tools/make_bevel_model.py

Top face: eight triangles, each with its own centre vertex (16 vertices). Bevel band and side
band: eight quads each, smooth normals around (16 vertices and 16 triangles each). Triangles
turn counter-clockwise seen from outside.
"""

import math
import pathlib
import struct

SEGMENTS = 8
TOP, BEVEL, SIDE = (0.80, 0.84, 0.92), (0.95, 0.72, 0.25), (0.45, 0.32, 0.20)


def unit(v):
    n = math.sqrt(sum(c * c for c in v))
    return tuple(c / n for c in v)


def main():
    vertices, triangles = [], []

    def vertex(p, n, colour):
        vertices.append((p, unit(n), colour))
        return len(vertices) - 1

    def ring(radius, z):
        return [(radius * math.cos(2 * math.pi * i / SEGMENTS), radius * math.sin(2 * math.pi * i / SEGMENTS), z)
                for i in range(SEGMENTS)]

    inner, outer, bottom = ring(0.7, 0.3), ring(1.0, 0.0), ring(1.0, -0.3)
    # Top face: a fan of eight triangles, each with its own centre.
    rim = [vertex(p, (0, 0, 1), TOP) for p in inner]
    for i in range(SEGMENTS):
        centre = vertex((0.0, 0.0, 0.3), (0, 0, 1), TOP)
        triangles.append((centre, rim[i], rim[(i + 1) % SEGMENTS]))
    # Bevel band: normals lean out from the top.
    top = [vertex(p, (p[0] * 0.5, p[1] * 0.5, 1), BEVEL) for p in inner]
    low = [vertex(p, (p[0], p[1], 0.6), BEVEL) for p in outer]
    for i in range(SEGMENTS):
        j = (i + 1) % SEGMENTS
        triangles += [(low[i], low[j], top[j]), (low[i], top[j], top[i])]
    # Side band: normals straight out.
    upper = [vertex(p, (p[0], p[1], 0), SIDE) for p in outer]
    lower = [vertex(p, (p[0], p[1], 0), SIDE) for p in bottom]
    for i in range(SEGMENTS):
        j = (i + 1) % SEGMENTS
        triangles += [(lower[i], lower[j], upper[j]), (lower[i], upper[j], upper[i])]
    assert len(vertices) == 48 and len(triangles) == 40

    size = 16 + 32 * len(vertices) + 12 * len(triangles)
    data = b"IBT1" + struct.pack("<III", size, len(vertices), len(triangles))
    for p, n, c in vertices:
        rgba = [round(v * 0xFFFF) for v in c] + [0xFFFF]
        data += struct.pack("<6f4H", *p, *n, *rgba)
    for t in triangles:
        data += struct.pack("<3I", *t)
    assert len(data) == size == 2032

    lines = ["// The light-direction control's model in the \"IBT1\" format: a bevelled octagonal disc,",
             "// 48 vertices and 40 triangles. Written by tools/make_bevel_model.py; do not edit.",
             '#include "operations/shape/bevel_model.h"', "", "namespace zt {", "",
             "// clang-format off", "const uint8_t kBevelModel[%d] = {" % len(data)]
    for i in range(0, len(data), 16):
        lines.append("    " + " ".join("0x%02X," % b for b in data[i:i + 16]))
    lines += ["};", "// clang-format on", "", "}  // namespace zt", ""]
    out = pathlib.Path(__file__).resolve().parent.parent / "operations/shape/bevel_model_data.cpp"
    out.write_text("\n".join(lines))


if __name__ == "__main__":
    main()
