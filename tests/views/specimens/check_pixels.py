#!/usr/bin/env python3
"""Measures the specimen pictures and compares them with plain arithmetic, sharing no code with what drew them.

usage: check_pixels.py PROGRAM    (the program that renders the sheets into a folder)

Places are complex numbers in points, x + y j from the upper left. What is not to be found is not a number.
"""

import cmath
import math
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.append(str(pathlib.Path(__file__).parents[2] / "support"))
import png

WHITE, BLACK = (255, 255, 255), (0, 0, 0)
EMERALD, SUNFLOWER, ALIZARIN = (46, 204, 113), (241, 196, 15), (231, 76, 60)
PETER_RIVER, TURQUOISE, GREEN_SEA = (52, 152, 219), (26, 188, 156), (22, 160, 133)
CARROT, NEPHRITIS, AMETHYST = (230, 126, 34), (39, 174, 96), (155, 89, 182)
SILVER, WET_ASPHALT = (189, 195, 199), (52, 73, 94)

NAN = float("nan")
VALUES = [0.0, 0.4, 0.6, 42.0, 99.6, 100.0, 150.0, -20.0, NAN]
GAUGE_RING_VALUES = [0.0, 42.0, 80.99, 81.0, 90.9, 91.0, 100.0, 150.0, NAN]
GAUGE_BAR_VALUES = [42.0, 90.9, 91.0, 98.9, 99.0, 150.0, NAN]

checks = 0
failures = []


def check(holds, what):
    global checks
    checks += 1
    if not holds:
        failures.append(what)


def near(value, expected, tolerance, what):
    check(abs(value - expected) <= tolerance, f"{what}: {value} instead of {expected}")


def same_color(color, expected, what, tolerance=0):
    check(all(abs(a - b) <= tolerance for a, b in zip(color, expected)), f"{what}: {color} instead of {expected}")


def mixed(color, other, part):
    return tuple(c * (1 - part) + o * part for c, o in zip(color, other))


def faint(color):
    """The colour at alpha 0.2 over white."""
    return tuple(map(round, mixed(WHITE, color, 0.2)))


def share(color, ground, paint):
    """How much of the paint lies on the ground, 0 to 1."""
    along = [p - g for p, g in zip(paint, ground)]
    return sum((c - g) * a for c, g, a in zip(color, ground, along)) / sum(a * a for a in along)


def clockwise(degrees):
    """The direction so far from the top."""
    return cmath.rect(1, math.radians(degrees - 90))


class Picture:
    """A PNG of 8-bit RGB or RGBA, read in points."""

    def __init__(self, path, scale):
        self.scale = scale
        self.width, self.height, self.channels, self.rows = png.read(path)
        assert self.channels in (3, 4)

    def pixel(self, column, row):
        start = min(max(column, 0), self.width - 1) * self.channels
        return tuple(self.rows[min(max(row, 0), self.height - 1)][start:start + 3])

    def at(self, place):
        """The pixel under a point."""
        return self.pixel(int(place.real * self.scale), int(place.imag * self.scale))

    def smooth(self, place):
        """The colour at a point, between the middles of the four pixels around it."""
        x, y = place.real * self.scale - 0.5, place.imag * self.scale - 0.5
        left, top = math.floor(x), math.floor(y)
        upper, lower = (mixed(self.pixel(left, row), self.pixel(left + 1, row), x - left) for row in (top, top + 1))
        return mixed(upper, lower, y - top)

    def span(self, start, end, ground, paint):
        """Where on the way from one point to another the paint begins and ends, in points along it."""
        length = abs(end - start)
        steps = int(length * 20)
        inside = [i / steps * length for i in range(steps + 1)
                  if share(self.smooth(start + (end - start) * (i / steps)), ground, paint) > 0.5]
        return (inside[0], inside[-1]) if inside else (NAN, NAN)

    def edges(self, start, end, ground, paint, expected, what):
        """Where the paint begins and ends, as `span` tells it; what is expected nowhere is not looked at."""
        for side, found, wanted in zip(("start", "end"), self.span(start, end, ground, paint), expected):
            if wanted is not None:
                near(found, wanted, 0.5, f"{what} {side}")


def check_ring(picture, center, percent, color, what):
    radius, track = 24.0, faint(color)  # 64 points wide, ring of 8: diameter 64 - 2 * 8
    covered = [share(picture.smooth(center + radius * clockwise(i / 4)), track, color) > 0.5 for i in range(1440)]
    sweep = min(percent, 100.0) * 3.6 if percent >= 0.5 else 0.0
    near(sum(covered) / 4, sweep, 1.0, f"{what} sweep")
    if 0 < sweep < 360:
        starts, ends = ([i / 4 for i in range(1440) if covered[i] == on != covered[i - 1]] for on in (True, False))
        check(len(starts) == 1 and len(ends) == 1, f"{what}: not one arc but {len(starts)}")
        near(((starts + [NAN])[0] + 180) % 360 - 180, 0.0, 1.0, f"{what} start")
        near((ends + [NAN])[0], sweep, 1.0, f"{what} end")
    for part in (0.25, 0.5, 0.75):
        if sweep * part >= 5 and sweep * (1 - part) >= 5:
            same_color(picture.at(center + radius * clockwise(sweep * part)), color, f"{what} arc colour")
    if sweep < 300:
        same_color(picture.at(center + radius * clockwise((sweep + 360) / 2)), track, f"{what} track colour", 1)
    if not 80 < sweep < 100:  # else the arc ends where it would be measured
        # The label lies inside: only the outer edge is free of it.
        picture.edges(center, center + 40, WHITE, color if sweep >= 100 else track, (None, radius + 4), f"{what} ring")


def check_bar(picture, corner, rounded, flipped, percent, color, what):
    width, height, thickness, track = 120.0, 16.0, 6.0, faint(color)
    off = height / 2 - thickness / 2  # of the line's middle from the origin's edge
    middle = off if flipped else height - off
    # Thickness and height, where only the track can be.
    drawn = not math.isnan(percent)
    end = min(width, percent * width / 100 + thickness / 2) if drawn else 0.0
    x, paint = (width - 2, track) if end < width - 4 else (width / 2, color)
    picture.edges(corner + x, corner + x + height * 1j, WHITE, paint,
                  (middle - thickness / 2, middle + thickness / 2), f"{what} thickness")
    same_color(picture.at(corner + x + middle * 1j), paint, f"{what} colour", 0 if paint == color else 1)
    if not drawn or (percent <= 0 and not rounded):
        return  # nothing to see, or a line without a direction for its square ends
    if 0 < end < width:
        if percent < 0:
            end = thickness / 2 if rounded else end  # the round end of a line that leads away to the left
        picture.edges(corner + middle * 1j, corner + width + middle * 1j, track, color, (0.0, end), what)


def gauge_color(value, success, warning):
    return EMERALD if success > value else SUNFLOWER if warning > value else ALIZARIN


def check_values(picture, scale, sheet):
    kind, values, color = {
        "circle-chart": (check_ring, VALUES, lambda value: EMERALD),
        "gauge-circle-chart": (check_ring, GAUGE_RING_VALUES, lambda value: gauge_color(value, 81, 91)),
        "bar": (check_bar, VALUES, lambda value: PETER_RIVER),
        "gauge-bar": (check_bar, GAUGE_BAR_VALUES, lambda value: gauge_color(value, 91, 99))}[sheet]
    for i, value in enumerate(values):
        what = f"{sheet} {value} @{scale}x"
        if kind is check_ring:
            check_ring(picture, i * 80 + 40 + 40j, value, color(value), what)
            continue
        for column, (rounded, flipped) in enumerate([(True, False), (False, False), (True, True)]):
            check_bar(picture, complex(column * 136 + 8, i * 32 + 8), rounded, flipped, value, color(value),
                      f"{what} {'round' if rounded else 'square'}")


def check_shapes(picture, scale, sheet):
    width, height, line = 48.0, 32.0, 4.0
    for first, up in ((0, True), (2, False)):
        middle = height / 2 + (line / 2 if up else -line / 2)  # of a horizontal line
        inset_x, inset_y = (line / 2, width - line / 2), (line / 2, height - line / 2)
        ellipse = 16 - 16 * math.sin(math.radians(60))  # a point of it: x = 24 + 24 * cos 60, y = 16 - 16 * sin 60
        corner = 6 - math.sqrt(20)  # radius 6: two points down, the edge is at 6 - sqrt(36 - 16)
        measures = [  # name, cell, paint; on the way across at a y or along at an x; the two edges
            # A triangle of side 32 (the smaller one) at the origin's corner, its apex away from the origin.
            *(("triangle", 0, 0, CARROT, "across", 32 * (part if up else 1 - part), (16 - 16 * part, 16 + 16 * part))
              for part in (0.25, 0.5, 0.75)),  # of the way from the apex to the base
            # The middle of the base runs half a line width off the edge.
            ("outlined triangle", 3, 0, CARROT, "along", 16, (0, 32)),
            ("circle", 1, 0, NEPHRITIS, "across", 16, (0, 48)),
            ("circle", 1, 0, NEPHRITIS, "along", 24, (0, 32)),
            ("circle at 60 degrees", 1, 0, NEPHRITIS, "across", ellipse, (12, 36)),
            ("outlined circle", 4, 0, NEPHRITIS, "across", 16, inset_x),
            ("outlined circle", 4, 0, NEPHRITIS, "along", 24, inset_y),
            ("square", 2, 0, AMETHYST, "across", 16, (0, 48)),
            ("square", 2, 0, AMETHYST, "along", 24, (0, 32)),
            ("square corner", 2, 0, AMETHYST, "across", 2, (corner, 48 - corner)),
            ("outlined square", 5, 0, AMETHYST, "across", 16, inset_x),
            ("outlined square", 5, 0, AMETHYST, "along", 24, inset_y),
            *(("horizontal line", column, 1, PETER_RIVER, *way) for column in (0, 1)
              for way in (("along", 24, (middle - line / 2, middle + line / 2)), ("across", middle, (0, 48)))),
            ("sharp square", 2, 1, SILVER, "across", 0.75, (0, 48)),
            ("sharp outlined square", 3, 1, SILVER, "across", 3, inset_x)]
        for name, column, row, paint, way, at, expected in measures:
            cell = complex(column * 64 + 8, (first + row) * 48 + 8)
            start, end = (at * 1j - 4, at * 1j + width + 4) if way == "across" else (at - 4j, at + (height + 4) * 1j)
            picture.edges(cell + start, cell + end, WHITE, paint, [edge + 4 for edge in expected],
                          f"{name} {way} @{scale}x")
        cell = 3 * 64 + 8 + 16 + (first * 48 + 8) * 1j
        picture.edges(cell + (24j if up else 8j), cell + (32j if up else 0j), WHITE, CARROT, (4, None),
                      f"outlined triangle inner base @{scale}x")
        for column, color in enumerate((CARROT, NEPHRITIS, AMETHYST)):
            same_color(picture.at(column * 64 + 24 + (first * 48 + 24) * 1j), color, f"shape {column} colour @{scale}x")


def ease_in(time):
    """The cubic curve with control points (0.42, 0) and (1, 1), by bisection."""
    low, high = 0.0, 1.0
    for _ in range(60):
        t = (low + high) / 2
        x = 3 * (1 - t) ** 2 * t * 0.42 + 3 * (1 - t) * t ** 2 * 1.0 + t ** 3
        low, high = (t, high) if x < time else (low, t)
    return 3 * (1 - low) * low ** 2 * 1.0 + low ** 3


def check_thermometer(picture, scale, sheet):
    width, height = 140.0, 64.0
    for i, angle in enumerate([0.0, 0.2, 1.8, 2.8, 3.1, 3.1 + (0.2 - 3.1) * ease_in(0.5)]):
        left, top, what = i * 156 + 8, 8, f"thermometer {i} @{scale}x"
        # The ring of radius H - 2 about (W/2, -4), 2 points thick, up from the lower edge.
        color, crown = mixed(PETER_RIVER, ALIZARIN, 0.5), complex(left + width / 2, top)
        picture.edges(crown, crown + 12j, WET_ASPHALT, color, (5.0, 7.0), f"{what} scale")
        same_color(picture.at(crown + 6j), color, f"{what} scale's middle colour", 2)
        for degrees in (30, 60, 120, 150):
            place = complex(width / 2, height + 4) + cmath.rect(height - 2, -math.radians(degrees))
            same_color(picture.at(complex(left, top) + place), mixed(PETER_RIVER, ALIZARIN, place.real / width),
                       f"{what} scale's colour at {degrees} degrees", 6)
        # About the pivot (W/2, 2), y growing upward, turned clockwise: the needle's centroid and its direction.
        turn, weight, total = cmath.rect(1, -angle), 0.0, 0j
        for row in range(int((top + 10) * scale), int((top + height) * scale)):
            for column in range(int((left + 12) * scale), int((left + width - 12) * scale)):
                place = complex((column + 0.5) / scale - left - width / 2, height - 2 - ((row + 0.5) / scale - top))
                if abs(place) <= 53:  # the ring is not far outside
                    part = min(max(share(picture.pixel(column, row), WET_ASPHALT, WHITE), 0.0), 1.0)
                    weight, total = weight + part, total + part * place
        expected = complex((15 - width / 2 + 1 + 1) / 3, (1 + 2 - 2) / 3) * turn
        near((total / weight).real, expected.real, 1.0, f"{what} needle's middle x")
        near((total / weight).imag, expected.imag, 1.0, f"{what} needle's middle y")
        tip = (15 - width / 2 + 1j) * turn
        for part in (0.3, 0.6):
            same_color(picture.smooth(crown + (height - 2) * 1j + (tip * part).conjugate()), WHITE,
                       f"{what} needle at {part} of its length", 60)


def check_line_chart(picture, scale, sheet):
    width, height = 224.0, 174.0
    plot, guide = height - 60 - 50, mixed(TURQUOISE, GREEN_SEA, 0.6)
    series = [[4, 2, 6, 4, 5, 8, 1, 20, 3], [5, 5, 5, 5], [], [], [10, -3, 4, 0, 8], [1, 100]]
    for i, samples in enumerate(series):
        corner, what = complex(i % 3 * 240 + 8, i // 3 * 190 + 8), f"line chart {i} @{scale}x"
        same_color(picture.at(corner + width / 2 + 20j), TURQUOISE, f"{what} card")
        # Corner radius 8: two points down, the edge is at 8 - sqrt(64 - 36).
        picture.edges(corner - 4 + 2j, corner + 30 + 2j, WHITE, TURQUOISE, (4 + 8 - math.sqrt(28), None),
                      f"{what} corner")
        places = [complex(22 + k * (width - 44) / (len(samples) - 1), plot + 60 - s / max(samples) * plot)
                  for k, s in enumerate(samples)]
        lines = list(zip(places, places[1:]))

        def series_near(x, y):
            return any(abs(p.real - x) < 30 and abs(p.imag - y) < 14 for p in places) or any(
                a.real - 3 <= x <= b.real + 3 and
                abs(a.imag + (b.imag - a.imag) * (x - a.real) / (b.real - a.real) - y) < 14 for a, b in lines)

        for y in (60.0, 60.0 + plot / 2, height - 50.0):
            # The first dash of five points starts at the margin; the second seven points on.
            for x in (22.5, 29.5, 36.5):
                if not series_near(x, y):
                    found = [share(picture.smooth(corner + complex(x, y + d / 8)), TURQUOISE, guide)
                             for d in range(-12, 13)]
                    near(sum(found) / 8, 1.0, 0.3, f"{what} guide at {y} thickness at {x}")
            if not series_near(26.0, y):
                found = share(picture.smooth(corner + complex(26.0, y)), TURQUOISE, guide)
                check(found < 0.3, f"{what} guide at {y}: no gap between its dashes: {found}")
        for a, b in lines:
            # Half way between two samples, across the line: 4 points thick.
            middle, across = (a + b) / 2, (b - a) / abs(b - a) * 5j
            if middle.imag + 8 > height:
                continue
            same_color(picture.smooth(corner + middle), WHITE, f"{what} line colour", 12 if scale == 1 else 1)
            picture.edges(corner + middle - across, corner + middle + across, TURQUOISE, WHITE, (3, 7), f"{what} line")
        if len(places) == 4:  # level; a round cap of half the width
            picture.edges(corner + 10 + 60j, corner + width - 10 + 60j, TURQUOISE, WHITE,
                          (22 - 2 - 10, width - 22 + 2 - 10), f"{what} line's length")
        if not samples:
            middle = [picture.smooth(corner + complex(x, 60 + plot / 4)) for x in range(22, 200)]
            check(all(share(c, TURQUOISE, WHITE) < 0.2 for c in middle), f"{what}: a line without a scale")


def check_pie_chart(picture, scale, sheet):
    steps = 1440
    for i, values in enumerate([[1, 1, 2], [], [], [3, -1, 2], [60, 30, 10]]):
        center, what = i * 96 + 48 + 48j, f"pie {i} @{scale}x"
        ring = [picture.smooth(center + 30.0 * clockwise(k / 4)) for k in range(steps)]
        if not values:
            check(all(share(c, WHITE, PETER_RIVER) < 0.01 for c in ring), f"{what}: drawn")
            continue
        # What lies on top at each angle: sectors are laid down in turn, backwards for a negative amount.
        start, wanted = 0.0, [None] * steps
        for value, color in zip(values, [PETER_RIVER, SUNFLOWER, ALIZARIN]):
            end = start + value / sum(values) * 360
            for k in range(steps):
                if any(min(start, end) < degrees < max(start, end) for degrees in (k / 4, k / 4 + 360)):
                    wanted[k] = color
            start = end
        for k in range(steps):
            if len({wanted[(k + d) % steps] for d in range(-16, 17)}) == 1:  # 4 degrees from any boundary
                same_color(ring[k], wanted[k], f"{what} at {k / 4} degrees", 1)
        for k in range(steps):
            before, after = wanted[k - 4], wanted[(k + 4) % steps]
            if wanted[k] is not None and wanted[k - 1] in (None, wanted[k]) or before == after:
                continue  # no boundary, or one that a sector lies over
            crossing = next((d / 4 for d in range(-20, 21) if share(ring[(k + d) % steps], before, after) > 0.5), NAN)
            near(crossing, 0.0, 1.0, f"{what} boundary at {k / 4} degrees")
        picture.edges(center, center + 46 * clockwise(135), WHITE, wanted[135 * 4], (None, 40.0), f"{what} radius")


def check_flat_controls(picture, scale, sheet):
    lighter, darker = mixed(TURQUOISE, WHITE, 0.15), mixed(TURQUOISE, BLACK, 0.15)
    for i, color in enumerate((TURQUOISE, lighter, darker, mixed(TURQUOISE, lighter, 0.5))):
        corner, what = i * 120 + 8 + 8j, f"button {i} @{scale}x"
        same_color(picture.at(corner + 10 + 16j), color, f"{what} colour", 1)
        picture.edges(corner - 4 + 24j, corner + 108 + 24j, WHITE, color, (4, 108), what)
        # Corner radius 4: one point down, the edge is at 4 - sqrt(16 - 9).
        picture.edges(corner - 4 + 1j, corner + 20 + 1j, WHITE, color, (4 + 4 - math.sqrt(7), None), f"{what} corner")
    for i, color in enumerate((SILVER, EMERALD)):
        corner, what = i * 120 + 8 + (2 * 48 + 8) * 1j, f"indicator {i} @{scale}x"
        same_color(picture.at(corner + 16 + 16j), color, f"{what} colour")
        picture.edges(corner - 4 + 16j, corner + 40 + 16j, WHITE, color, (4, 4 + 32), what)


SHEETS = {"circle-chart": check_values, "gauge-circle-chart": check_values, "bar": check_values,
          "gauge-bar": check_values, "shapes": check_shapes, "line-chart": check_line_chart,
          "pie-chart": check_pie_chart, "thermometer": check_thermometer, "flat-controls": check_flat_controls}


def main():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.argv[1], folder], check=True, env={**os.environ, "LC_ALL": "C"})
        for scale in (1, 2):
            for sheet, check_sheet in SHEETS.items():
                check_sheet(Picture(f"{folder}/{sheet}@{scale}x.png", scale), scale, sheet)
    print(*failures, f"{checks} measures, {len(failures)} off", sep="\n")
    return 1 if failures or not checks else 0


if __name__ == "__main__":
    sys.exit(main())
