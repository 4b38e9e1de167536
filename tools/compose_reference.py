#!/usr/bin/env python3
"""Writes tests/unit/data/compose_pixels.inc: the blender's pixel operators worked out from their
formulas, independently of the module, for pixel pairs on every alpha branch
(0, 1, 127, 128, 254, 255 on both sides).

    python3 tools/compose_reference.py
"""
import math
import pathlib

ALPHAS = (0, 1, 127, 128, 254, 255)
COLOURS = ((0x20, 0xC8, 0x64), (0xF0, 0x10, 0x80))  # blue, green, red of d and of s


def pm(x, a):
    return (x * a * 65793 + 8388608) >> 24


def union(da, sa):
    return da + sa - ((da * sa + 255) >> 8)


def finish(colours, a):
    if a == 0:
        return 0
    r = 16711680 // a
    out = a << 24
    for i, c in enumerate(colours):
        out |= ((min(c, a) * r + 32768) >> 16) << (8 * i)
    return out


def soft_light(dc, sc, da, sa):
    d, s, a = dc / 255.0, (sc * 255) / 65025.0, (sa * 255) / 65025.0
    b = (da if da else 1) / 255.0
    x = d / b
    if a > 2 * s:
        v = ((1 - x) * (2 * s - a) + a) * d
    elif b >= 8 * d:
        v = ((3 - 8 * d / b) * ((1 - x) * (2 * s - a)) + a) * d
    else:
        v = (math.sqrt(x) * b - d) * (2 * s - a) + d * a
    v = v + (1 - b) * s + d * (1 - a)
    return int(v * 255 + 0.5)


def second_hard(dc, sc, da, sa):
    return ((255 - da) * sc + dc * (255 - sa) - 2 * (da - dc) * (sa - sc) + da * sa + 255) >> 8


COLOUR = {
    1: lambda D, S, dA, sA: (((S * dA + D * sA - dA * sA) * sA // S + (255 - dA) * S + (255 - sA) * D + 255) >> 8)
    if D * sA + dA * S > dA * sA else (((255 - dA) * S + (255 - sA) * D) >> 8),
    2: lambda D, S, dA, sA: (D * sA // (255 - (S * 256) // sA) + (((255 - sA) * D + (255 - dA) * S + 255) >> 8))
    if dA * S + D * sA < dA * sA else ((dA * sA + 255 + (255 - sA) * D + (255 - dA) * S) >> 8),
    3: lambda D, S, dA, sA: min(max((((S - (sA >> 1)) * 2 + 255) * (D - (dA >> 1)) >> 8) + (dA >> 1), 0), dA),
    4: lambda D, S, dA, sA: (min(dA * S, D * sA) + D * (255 - sA) + (255 - dA) * S + 255) >> 8,
    5: lambda D, S, dA, sA: D + S - ((2 * min(dA * S, D * sA) + 255) >> 8),
    6: lambda D, S, dA, sA: D,
    7: lambda D, S, dA, sA: (S * (255 - dA) + D * sA + 255) >> 8,
    8: lambda D, S, dA, sA: 0 if dA * sA == 0 else (D * sA + 255) >> 8,
    9: lambda D, S, dA, sA: (D * (255 - sA) + 8) >> 8,
    10: lambda D, S, dA, sA: D + ((S * (255 - dA) + 255) >> 8),
    11: lambda D, S, dA, sA: ((255 - 2 * S) * D + (S + 1) * 255) >> 8,
    12: lambda D, S, dA, sA: (((2 * S + 255 - sA) * D + (255 - dA) * S) >> 8) if 2 * S < sA
    else second_hard(D, S, dA, sA),
    14: lambda D, S, dA, sA: ((D * (255 - sA) + 255) >> 8) + ((S * (dA - D) + 255) >> 8),
    15: lambda D, S, dA, sA: (max(dA * S, D * sA) + D * (255 - sA) + (255 - dA) * S + 255) >> 8,
    16: lambda D, S, dA, sA: max(D - S, 0),
    17: lambda D, S, dA, sA: ((255 - sA + S) * D + (255 - dA) * S + 255) >> 8,
    18: lambda D, S, dA, sA: (((255 - sA + 2 * S) * D + (255 - dA) * S) >> 8) if 2 * D < dA
    else second_hard(D, S, dA, sA),
    19: lambda D, S, dA, sA: min(D + S, 255),
    20: lambda D, S, dA, sA: D + S - ((D * S + 255) >> 8),
    21: soft_light,
    22: lambda D, S, dA, sA: S,
    23: lambda D, S, dA, sA: (D * (255 - sA) + dA * S + 255) >> 8,
    24: lambda D, S, dA, sA: 0 if sA * dA == 0 else (S * dA + 255) >> 8,
    25: lambda D, S, dA, sA: (S * (255 - dA) + 255) >> 8,
    26: lambda D, S, dA, sA: S + ((D * (255 - sA) + 255) >> 8),
    27: lambda D, S, dA, sA: (D * (255 - sA) + S * (255 - dA) + 255) >> 8,
}
ALPHA = {3: lambda dA, sA: dA, 6: lambda dA, sA: dA, 23: lambda dA, sA: dA, 7: lambda dA, sA: sA,
         22: lambda dA, sA: sA, 8: lambda dA, sA: (dA * sA + 255) >> 8, 9: lambda dA, sA: (dA * (255 - sA) + 8) >> 8,
         19: lambda dA, sA: min(dA + sA, 255), 24: lambda dA, sA: (sA * dA + 255) >> 8,
         25: lambda dA, sA: (sA * (255 - dA) + 255) >> 8, 27: lambda dA, sA: dA + sA - ((dA * sA + 127) >> 7)}
GUARDED = {1, 2, 4, 5, 11, 12, 14, 15, 16, 17, 18, 19, 20, 21, 27}
STRAIGHT = {0: lambda d, s: 0, 28: lambda d, s: min(d + s, 255), 29: lambda d, s: max(d - s, 0),
            30: lambda d, s: (d * s * 65793 + 32768) >> 24, 31: lambda d, s: min((d * s * 33026 + 16384) >> 22, 255),
            38: max, 39: min, 40: lambda d, s: abs(d - s)}


def compose(mode, d, s):
    if mode in STRAIGHT:
        return sum(STRAIGHT[mode]((d >> (8 * i)) & 255, (s >> (8 * i)) & 255) << (8 * i) for i in range(4))
    da, sa = d >> 24, s >> 24
    Ds = [pm((d >> (8 * i)) & 255, da) for i in range(3)]
    Ss = [pm((s >> (8 * i)) & 255, sa) for i in range(3)]
    if mode == 13:
        a = ((sa + 1) * 255) >> 8
        if a == 0:
            return finish(Ds, da)
        cs = [((((da - D) * a + 255) >> 8) + ((D * (255 - a) + 255) >> 8)) & 255 for D in Ds]
        return finish(cs, da + a - ((da * a + 255) >> 8))
    if mode in GUARDED and sa == 0:
        return finish(Ds, da)
    cs = [COLOUR[mode](D, S, da, sa) & 255 for D, S in zip(Ds, Ss)]
    return finish(cs, ALPHA.get(mode, union)(da, sa))


def main():
    lines = ["// Written by tools/compose_reference.py from the operators' formulas: mode, d, s, result.",
             "// clang-format off"]
    for mode in sorted(set(range(28)) | set(STRAIGHT)):
        for i, da in enumerate(ALPHAS):
            for j, sa in enumerate(ALPHAS):
                dc, sc = COLOURS[(i + j) % 2], COLOURS[(i + j + 1) % 2]
                d = da << 24 | dc[2] << 16 | dc[1] << 8 | dc[0]
                s = sa << 24 | sc[2] << 16 | sc[1] << 8 | sc[0]
                lines.append("{%d, 0x%08Xu, 0x%08Xu, 0x%08Xu}," % (mode, d, s, compose(mode, d, s)))
    lines.append("// clang-format on")
    out = pathlib.Path(__file__).resolve().parent.parent / "tests/unit/data/compose_pixels.inc"
    out.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
