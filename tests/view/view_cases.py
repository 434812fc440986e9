#!/usr/bin/env python3
"""Prints view_cases.h: changes of views, worked out in exact fractions.

    python3 view_cases.py >view_cases.h
"""
import random
from fractions import Fraction as F


def trunc(value):
    return int(value)  # toward zero


def scale(zoom):
    return F(zoom) if zoom > 0 else (F(1) if zoom == 0 else F(1, -zoom))


def rounded(origin, zoom):
    return trunc(F(origin, -zoom)) * -zoom if zoom < 0 else origin


def to_image(view, x, y):
    x1, y1, _, _, ox, oy, zoom = view
    return trunc((x - x1) / scale(zoom) + ox), trunc((y - y1) / scale(zoom) + oy)


def centred(view, ix, iy):
    x1, y1, x2, y2, _, _, zoom = view
    a, b = to_image(view, x1, y1), to_image(view, x2, y2)
    return (zoom, rounded(ix + trunc(F(a[0] - b[0], 2)), zoom), rounded(iy + trunc(F(a[1] - b[1], 2)), zoom))


def between(view, zoom, sum_x, sum_y):
    x1, y1, x2, y2 = view[:4]
    ox = trunc(((x1 - x2) / scale(zoom) + sum_x) / 2)
    oy = trunc(((y1 - y2) / scale(zoom) + sum_y) / 2)
    return (zoom, rounded(ox, zoom), rounded(oy, zoom))


def fit(view, width, height, *_):
    x1, y1, x2, y2 = view[:4]
    f = min(F(4, 5) * (x2 - x1 + 1) / width, F(4, 5) * (y2 - y1 + 1) / height)
    zoom = 0
    if f >= 2:
        zoom = 1
        while f >= 2:
            zoom, f = zoom * 2, f / 2
    elif f < 1:
        zoom = -1
        while f < 1:
            zoom, f = zoom * 2, f * 2
    return between(view, zoom, width, height)


def center(view, x, y, *_):
    return centred(view, *to_image(view, x, y))


def step(view, x, y, direction, *_):
    zoom = view[6]
    if abs(zoom) > 4096:
        return zoom, view[4], view[5]
    point = to_image(view, x, y)
    if zoom == 0:
        zoom = 2 * direction
    else:
        zoom = zoom * 2 if (zoom > 0) == (direction > 0) else trunc(F(zoom, 2))
    if abs(zoom) == 1:
        zoom = 0
    return centred(view[:6] + (zoom,), *point)


def box(view, x1, y1, x2, y2):
    a, b = to_image(view, x1, y1), to_image(view, x2, y2)
    (l, r), (t, u) = sorted((a[0], b[0])), sorted((a[1], b[1]))
    r, u = r + (l == r), u + (t == u)
    f = min(F(view[2] - view[0] + 1, r - l), F(view[3] - view[1] + 1, u - t))
    zoom = 0
    if f >= 2:
        f, zoom = min(f, F(4096)), 1
        while f >= 2:
            zoom, f = zoom * 2, f / 2
    elif f <= F(1, 2):
        f, zoom = max(f, F(1, 4096)), -1
        while f <= F(1, 2):
            zoom, f = zoom * 2, f * 2
    return between(view, zoom, l + r, t + u)


def row(name, change, view, *arguments):
    arguments = (arguments + (0, 0))[:4]
    numbers = ", ".join(str(n) for n in view)
    given = ", ".join(str(n) for n in arguments)
    result = ", ".join(str(n) for n in change(view, *arguments))
    print(f"    {{{name}, {{{numbers}}}, {{{given}}}, {{{result}}}}},")


def some_view(zoom):
    x1, y1 = random.choice([(0, 0), (random.randint(0, 50), random.randint(0, 50))])
    grid = max(1, -zoom)
    ox, oy = (random.randint(-900, 2000) // grid * grid for _ in "xy")
    return (x1, y1, x1 + random.randint(20, 1700), y1 + random.randint(20, 1100), ox, oy, zoom)


random.seed(6)
print("// Made by view_cases.py: change, {x1, y1, x2, y2, origin, zoom}, its arguments, {zoom, origin} afterwards.")
print("// clang-format off")
for zoom in (0, 2, 4, -2, -4, 64, -64, 4096, -4096, 8192, -8192):
    view = some_view(zoom)
    px, py = random.randint(view[0], view[2]), random.randint(view[1], view[3])
    qx, qy = random.randint(view[0], view[2]), random.randint(view[1], view[3])
    row("CENTER", center, view, px, py)
    row("STEP", step, view, px, py, 1)
    row("STEP", step, view, px, py, -1)
    row("BOX", box, view, px, py, qx, qy)
for size in ((800, 800), (1600, 1600), (640, 640), (641, 640), (1250, 1000), (1280, 640), (1281, 640), (2500, 10), (312, 77), (1, 1), (8192, 8192), (7, 5000)):
    row("FIT", fit, (0, 0, 999, 799, 5, 5, 0), *size)
row("FIT", fit, (10, 20, 649, 420, 0, 0, 8), 400, 300)
row("FIT", fit, (0, 0, 3, 3, 0, 0, 0), 8192, 8192)
row("BOX", box, (0, 0, 999, 799, 0, 0, 0), 300, 200, 300, 200)      # one pixel
row("BOX", box, (0, 0, 8191, 8191, 0, 0, 0), 300, 200, 300, 200)    # one pixel, at the cap
row("BOX", box, (0, 0, 9, 9, 0, 0, -8192), 0, 0, 9, 9)              # at the other cap
row("BOX", box, (0, 0, 999, 799, -50, 70, 2), 700, 600, 100, 90)    # turned round
row("BOX", box, (0, 0, 99, 99, 0, 0, -2), 0, 0, 99, 99)             # a factor of about a half
row("BOX", box, (0, 0, 99, 99, 0, 0, -2), 0, 0, 100, 100)           # of exactly a half
