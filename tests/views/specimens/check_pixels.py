#!/usr/bin/env python3
"""Measures the specimen pictures and compares them with plain arithmetic, sharing no code with what drew them.

usage: check_pixels.py PROGRAM    (the program that renders the sheets into a folder)
"""

import math
import os
import struct
import subprocess
import sys
import tempfile
import zlib

WHITE = (255, 255, 255)
EMERALD = (46, 204, 113)
SUNFLOWER = (241, 196, 15)
ALIZARIN = (231, 76, 60)
PETER_RIVER = (52, 152, 219)
TURQUOISE = (26, 188, 156)
GREEN_SEA = (22, 160, 133)
CARROT = (230, 126, 34)
NEPHRITIS = (39, 174, 96)
AMETHYST = (155, 89, 182)
SILVER = (189, 195, 199)
WET_ASPHALT = (52, 73, 94)

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
    check(value is not None and abs(value - expected) <= tolerance, f"{what}: {value} instead of {expected}")


def same_color(color, expected, what, tolerance=0):
    check(all(abs(a - b) <= tolerance for a, b in zip(color, expected)), f"{what}: {color} instead of {expected}")


def faint(color):
    """The colour at alpha 0.2 over white."""
    return tuple(round(0.2 * c + 0.8 * 255) for c in color)


def mixed(color, other, part):
    return tuple(c * (1 - part) + o * part for c, o in zip(color, other))


class Picture:
    """A PNG of 8-bit RGB or RGBA, read in points."""

    def __init__(self, path, scale):
        self.scale = scale
        data = open(path, "rb").read()
        assert data[:8] == b"\x89PNG\r\n\x1a\n"
        packed, place = b"", 8
        while place < len(data):
            length, kind = struct.unpack(">I4s", data[place:place + 8])
            body = data[place + 8:place + 8 + length]
            if kind == b"IHDR":
                self.width, self.height, depth, color, _, _, interlaced = struct.unpack(">IIBBBBB", body)
                assert depth == 8 and color in (2, 6) and not interlaced
                self.channels = 3 if color == 2 else 4
            elif kind == b"IDAT":
                packed += body
            place += 12 + length
        raw, stride = zlib.decompress(packed), self.width * self.channels
        self.rows, before = [], bytearray(stride)
        for y in range(self.height):
            line = bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
            self.unfilter(raw[y * (stride + 1)], line, before)
            self.rows.append(line)
            before = line

    def unfilter(self, kind, line, before):
        n = self.channels
        for i in range(len(line)):
            left = line[i - n] if i >= n else 0
            up = before[i]
            corner = before[i - n] if i >= n else 0
            if kind == 1:
                guess = left
            elif kind == 2:
                guess = up
            elif kind == 3:
                guess = (left + up) // 2
            elif kind == 4:
                estimate = left + up - corner
                if abs(estimate - left) <= abs(estimate - up) and abs(estimate - left) <= abs(estimate - corner):
                    guess = left
                elif abs(estimate - up) <= abs(estimate - corner):
                    guess = up
                else:
                    guess = corner
            else:
                guess = 0
            line[i] = (line[i] + guess) & 0xFF

    def pixel(self, column, row):
        column = min(max(column, 0), self.width - 1)
        row = min(max(row, 0), self.height - 1)
        start = column * self.channels
        return tuple(self.rows[row][start:start + 3])

    def at(self, x, y):
        """The pixel under a point."""
        return self.pixel(int(x * self.scale), int(y * self.scale))

    def smooth(self, x, y):
        """The colour at a point, between the middles of the four pixels around it."""
        px, py = x * self.scale - 0.5, y * self.scale - 0.5
        left, top = math.floor(px), math.floor(py)
        fx, fy = px - left, py - top
        upper = mixed(self.pixel(left, top), self.pixel(left + 1, top), fx)
        lower = mixed(self.pixel(left, top + 1), self.pixel(left + 1, top + 1), fx)
        return mixed(upper, lower, fy)


def share(color, ground, paint):
    """How much of the paint lies on the ground, 0 to 1."""
    along = [p - g for p, g in zip(paint, ground)]
    return sum((c - g) * a for c, g, a in zip(color, ground, along)) / sum(a * a for a in along)


def span(picture, start, end, ground, paint):
    """Where on the way from one point to another the paint begins and ends, in points along it."""
    length = math.dist(start, end)
    steps = int(length * 20)
    inside = []
    for i in range(steps + 1):
        part = i / steps
        x, y = start[0] + (end[0] - start[0]) * part, start[1] + (end[1] - start[1]) * part
        if share(picture.smooth(x, y), ground, paint) > 0.5:
            inside.append(part * length)
    return (inside[0], inside[-1]) if inside else (None, None)


def check_ring(picture, center, percent, color, what):
    radius, steps = 24.0, 1440  # 64 points wide, ring of 8: diameter 64 - 2 * 8
    track = faint(color)
    covered = []
    for i in range(steps):
        angle = math.radians(i * 360 / steps)  # clockwise from the top
        x, y = center[0] + radius * math.sin(angle), center[1] - radius * math.cos(angle)
        covered.append(share(picture.smooth(x, y), track, color) > 0.5)
    drawn = percent >= 0.5
    sweep = min(percent, 100.0) * 3.6 if drawn else 0.0
    near(sum(covered) * 360 / steps, sweep, 1.0, f"{what} sweep")
    if 0 < sweep < 360:
        starts = [i for i in range(steps) if covered[i] and not covered[i - 1]]
        ends = [i for i in range(steps) if not covered[i] and covered[i - 1]]
        check(len(starts) == 1 and len(ends) == 1, f"{what}: not one arc but {len(starts)}")
        near((starts[0] * 360 / steps + 180) % 360 - 180, 0.0, 1.0, f"{what} start")
        near(ends[0] * 360 / steps, sweep, 1.0, f"{what} end")
    for part in (0.25, 0.5, 0.75):
        if sweep * part < 5 or sweep * (1 - part) < 5:
            continue
        angle = math.radians(sweep * part)
        same_color(picture.at(center[0] + radius * math.sin(angle), center[1] - radius * math.cos(angle)), color,
                   f"{what} arc colour")
    if sweep < 300:
        angle = math.radians((sweep + 360) / 2)
        same_color(picture.at(center[0] + radius * math.sin(angle), center[1] - radius * math.cos(angle)), track,
                   f"{what} track colour", 1)
    paint = color if sweep >= 100 else track
    if not 80 < sweep < 100:  # else the arc ends where it would be measured
        # The label lies inside: only the outer edge is free of it.
        _, edge = span(picture, center, (center[0] + 40, center[1]), WHITE, paint)
        near(edge, radius + 4, 0.5, f"{what} outer edge")


def gauge_color(value, success, warning):
    if success > value:
        return EMERALD
    return SUNFLOWER if warning > value else ALIZARIN


def check_rings(folder, scale):
    picture = Picture(f"{folder}/circle-chart@{scale}x.png", scale)
    for i, value in enumerate(VALUES):
        check_ring(picture, (i * 80 + 40, 40), value, EMERALD, f"ring {value} @{scale}x")
    picture = Picture(f"{folder}/gauge-circle-chart@{scale}x.png", scale)
    for i, value in enumerate(GAUGE_RING_VALUES):
        check_ring(picture, (i * 80 + 40, 40), value, gauge_color(value, 81, 91), f"gauge ring {value} @{scale}x")


def check_bar(picture, left, top, flipped, rounded, percent, color, what):
    width, height, thickness = 120.0, 16.0, 6.0
    off = height / 2 - thickness / 2  # of the line's middle from the origin's edge
    middle = top + (off if flipped else height - off)
    track = faint(color)
    # Thickness and height, where only the track can be.
    drawn = not math.isnan(percent)
    end = min(width, percent * width / 100 + thickness / 2) if drawn else 0.0
    x = left + (width - 2 if end < width - 4 else width / 2)
    paint = track if end < width - 4 else color
    low, high = span(picture, (x, top), (x, top + height), WHITE, paint)
    near(low + top if low is not None else None, middle - thickness / 2, 0.5, f"{what} upper edge")
    near(high + top if high is not None else None, middle + thickness / 2, 0.5, f"{what} lower edge")
    same_color(picture.at(x, middle), paint, f"{what} colour", 0 if paint == color else 1)
    if not drawn or (percent <= 0 and not rounded):
        return  # nothing to see, or a line without a direction for its square ends
    if 0 < end < width:
        start, stop = span(picture, (left, middle), (left + width, middle), track, color)
        if percent < 0:
            end = thickness / 2 if rounded else end  # the round end of a line that leads away to the left
        near(start, 0.0, 0.5, f"{what} start")
        near(stop, end, 0.5, f"{what} end")


def check_bars(folder, scale):
    styles = [(True, False), (False, False), (True, True)]  # rounded, flipped
    picture = Picture(f"{folder}/bar@{scale}x.png", scale)
    for row, value in enumerate(VALUES):
        for column, (rounded, flipped) in enumerate(styles):
            check_bar(picture, column * 136 + 8, row * 32 + 8, flipped, rounded, value, PETER_RIVER,
                      f"bar {value} {'round' if rounded else 'square'} @{scale}x")
    picture = Picture(f"{folder}/gauge-bar@{scale}x.png", scale)
    for row, value in enumerate(GAUGE_BAR_VALUES):
        for column, (rounded, flipped) in enumerate(styles):
            check_bar(picture, column * 136 + 8, row * 32 + 8, flipped, rounded, value, gauge_color(value, 91, 99),
                      f"gauge bar {value} {'round' if rounded else 'square'} @{scale}x")


def check_shapes(folder, scale):
    picture = Picture(f"{folder}/shapes@{scale}x.png", scale)
    width, height, line = 48.0, 32.0, 4.0

    def cell(column, row):
        return column * 64 + 8, row * 48 + 8

    def across(column, row, y, color, expected, what):
        left, top = cell(column, row)
        found = span(picture, (left - 4, top + y), (left + width + 4, top + y), WHITE, color)
        for part, value, wanted in zip(("left", "right"), found, expected):
            near(value - 4 if value is not None else None, wanted, 0.5, f"{what} {part} @{scale}x")

    def along(column, row, x, color, expected, what):
        left, top = cell(column, row)
        found = span(picture, (left + x, top - 4), (left + x, top + height + 4), WHITE, color)
        for part, value, wanted in zip(("top", "bottom"), found, expected):
            near(value - 4 if value is not None else None, wanted, 0.5, f"{what} {part} @{scale}x")

    for first, up in ((0, True), (2, False)):
        # A triangle of side 32 (the smaller one) at the origin's corner, its apex away from the origin.
        for part in (0.25, 0.5, 0.75):
            y = 32 * part if up else 32 * (1 - part)  # part of the way from the apex to the base
            across(0, first, y, CARROT, (16 - 16 * part, 16 + 16 * part), f"triangle {part}")
        # Outlined: the middle of the base runs half a line width off the edge.
        along(3, first, 16, CARROT, (0, 32), "outlined triangle")
        left, top = cell(3, first)
        start = (left + 16, top + (24 if up else 8))
        found = span(picture, start, (left + 16, top + (32 if up else 0)), WHITE, CARROT)
        near(found[0], 4, 0.5, f"outlined triangle inner base @{scale}x")
        across(1, first, 16, NEPHRITIS, (0, 48), "circle")
        along(1, first, 24, NEPHRITIS, (0, 32), "circle")
        # A point of the ellipse: x = 24 + 24 * cos 60, y = 16 - 16 * sin 60.
        across(1, first, 16 - 16 * math.sin(math.radians(60)), NEPHRITIS, (12, 36), "circle at 60 degrees")
        across(4, first, 16, NEPHRITIS, (line / 2, 48 - line / 2), "outlined circle")
        along(4, first, 24, NEPHRITIS, (line / 2, 32 - line / 2), "outlined circle")
        across(2, first, 16, AMETHYST, (0, 48), "square")
        along(2, first, 24, AMETHYST, (0, 32), "square")
        # Corner radius 6: two points down, the edge is at 6 - sqrt(36 - 16).
        across(2, first, 2, AMETHYST, (6 - math.sqrt(20), 48 - 6 + math.sqrt(20)), "square corner")
        across(5, first, 16, AMETHYST, (line / 2, 48 - line / 2), "outlined square")
        along(5, first, 24, AMETHYST, (line / 2, 32 - line / 2), "outlined square")
        for column in (0, 1):
            y = 32 / 2 - line / 2
            y = 32 - y if up else y
            along(column, first + 1, 24, PETER_RIVER, (y - line / 2, y + line / 2), "horizontal line")
            across(column, first + 1, y, PETER_RIVER, (0, 48), "horizontal line")
        across(2, first + 1, 0.75, SILVER, (0, 48), "sharp square")
        across(3, first + 1, 3, SILVER, (line / 2, 48 - line / 2), "sharp outlined square")
        for column, color, y in ((0, CARROT, 16), (1, NEPHRITIS, 16), (2, AMETHYST, 16)):
            left, top = cell(column, first)
            same_color(picture.at(left + 16, top + y), color, f"shape colour {column} @{scale}x")


def check_thermometer(folder, scale):
    picture = Picture(f"{folder}/thermometer@{scale}x.png", scale)
    width, height = 140.0, 64.0
    ease = ease_in(0.5)
    angles = [0.0, 0.2, 1.8, 2.8, 3.1, 3.1 + (0.2 - 3.1) * ease]
    for i, angle in enumerate(angles):
        left, top = i * 156 + 8, 8
        # The ring of radius H - 2 about (W/2, -4), 2 points thick, up from the lower edge.
        color = mixed(PETER_RIVER, ALIZARIN, 0.5)
        start, end = span(picture, (left + width / 2, top), (left + width / 2, top + 12), WET_ASPHALT, color)
        near(start, 5.0, 0.5, f"scale {i} outer edge @{scale}x")
        near(end, 7.0, 0.5, f"scale {i} inner edge @{scale}x")
        same_color(picture.at(left + width / 2, top + 6), color, f"scale {i} middle colour @{scale}x", 2)
        for degrees in (30, 60, 120, 150):
            x = width / 2 + (height - 2) * math.cos(math.radians(degrees))
            y = height - (-4 + (height - 2) * math.sin(math.radians(degrees)))
            same_color(picture.at(left + x, top + y), mixed(PETER_RIVER, ALIZARIN, x / width),
                       f"scale {i} colour at {degrees} degrees @{scale}x", 6)
        # The needle's centroid about the pivot (W/2, 2), y growing upward, turned clockwise.
        x, y = (15 - width / 2 + 1 + 1) / 3, (1 + 2 - 2) / 3
        expected = (x * math.cos(angle) + y * math.sin(angle), -x * math.sin(angle) + y * math.cos(angle))
        weight = sum_x = sum_y = 0.0
        for row in range(int((top + 10) * scale), int((top + height) * scale)):
            for column in range(int((left + 12) * scale), int((left + width - 12) * scale)):
                dx = (column + 0.5) / scale - left - width / 2
                dy = height - 2 - ((row + 0.5) / scale - top)
                if math.hypot(dx, dy) > 53:
                    continue  # the ring is not far outside
                part = min(max(share(picture.pixel(column, row), WET_ASPHALT, WHITE), 0.0), 1.0)
                weight += part
                sum_x += part * dx
                sum_y += part * dy
        found = (sum_x / weight, sum_y / weight)
        near(found[0], expected[0], 1.0, f"needle {i} middle x @{scale}x")
        near(found[1], expected[1], 1.0, f"needle {i} middle y @{scale}x")
        # Its direction, from the pivot to the tip, by where white begins on the way in along it.
        tip = (15 - width / 2, 1.0)
        turned = (tip[0] * math.cos(angle) + tip[1] * math.sin(angle),
                  -tip[0] * math.sin(angle) + tip[1] * math.cos(angle))
        for part in (0.3, 0.6):
            same_color(picture.smooth(left + width / 2 + turned[0] * part, top + height - 2 - turned[1] * part), WHITE,
                       f"needle {i} at {part} of its length @{scale}x", 60)


def check_line_chart(folder, scale):
    picture = Picture(f"{folder}/line-chart@{scale}x.png", scale)
    width, height = 224.0, 174.0
    plot = height - 60 - 50
    series = [[4, 2, 6, 4, 5, 8, 1, 20, 3], [5, 5, 5, 5], None, None, [10, -3, 4, 0, 8], [1, 100]]
    guide = mixed(TURQUOISE, GREEN_SEA, 0.6)
    for i, samples in enumerate(series):
        left, top = i % 3 * 240 + 8, i // 3 * 190 + 8
        what = f"line chart {i} @{scale}x"
        same_color(picture.at(left + width / 2, top + 20), TURQUOISE, f"{what} card")
        # Corner radius 8: two points down, the edge is at 8 - sqrt(64 - 36).
        start, _ = span(picture, (left - 4, top + 2), (left + 30, top + 2), WHITE, TURQUOISE)
        near(start - 4, 8 - math.sqrt(28), 0.5, f"{what} corner")
        places = [(22 + k * (width - 44) / (len(samples) - 1), plot + 60 - s / max(samples) * plot)
                  for k, s in enumerate(samples)] if samples else []

        def series_near(x, y):
            return any(abs(px - x) < 30 and abs(py - y) < 14 for px, py in places) or any(
                x0 - 3 <= x <= x1 + 3 and abs(y0 + (y1 - y0) * (x - x0) / (x1 - x0) - y) < 14
                for (x0, y0), (x1, y1) in zip(places, places[1:]))

        for y in (60.0, 60.0 + plot / 2, height - 50.0):
            # The first dash of five points starts at the margin; the second seven points on.
            for x in (22.5, 29.5, 36.5):
                if not series_near(x, y):
                    found = [share(picture.smooth(left + x, top + y + d / 8), TURQUOISE, guide) for d in range(-12, 13)]
                    near(sum(found) / 8, 1.0, 0.3, f"{what} guide at {y} thickness at {x}")
            if not series_near(26.0, y):
                found = share(picture.smooth(left + 26.0, top + y), TURQUOISE, guide)
                check(found < 0.3, f"{what} guide at {y}: no gap between its dashes: {found}")
        for (x0, y0), (x1, y1) in zip(places, places[1:]):
            # Half way between two samples, across the line: 4 points thick.
            x, y = (x0 + x1) / 2, (y0 + y1) / 2
            length = math.hypot(x1 - x0, y1 - y0)
            nx, ny = -(y1 - y0) / length, (x1 - x0) / length
            if y + 8 > height:
                continue
            same_color(picture.smooth(left + x, top + y), WHITE, f"{what} line colour", 12 if scale == 1 else 1)
            start = (left + x - nx * 5, top + y - ny * 5)
            low, high = span(picture, start, (left + x + nx * 5, top + y + ny * 5), TURQUOISE, WHITE)
            near(low - 5, -2, 0.5, f"{what} line edge")
            near(high - 5, 2, 0.5, f"{what} line edge")
        if places and len(places) == 4:
            low, high = span(picture, (left + 10, top + 60), (left + width - 10, top + 60), TURQUOISE, WHITE)
            near(low + 10, 22 - 2, 0.5, f"{what} line start")  # a round cap of half the width
            near(high + 10, width - 22 + 2, 0.5, f"{what} line end")
        if not samples:
            middle = [picture.smooth(left + x, top + 60 + plot / 4) for x in range(22, 200)]
            check(all(share(c, TURQUOISE, WHITE) < 0.2 for c in middle), f"{what}: a line without a scale")


def check_pie_chart(folder, scale):
    picture = Picture(f"{folder}/pie-chart@{scale}x.png", scale)
    colors = [PETER_RIVER, SUNFLOWER, ALIZARIN]
    amounts = [[1, 1, 2], None, None, [3, -1, 2], [60, 30, 10]]
    for i, values in enumerate(amounts):
        center = (i * 96 + 48, 48)
        what = f"pie {i} @{scale}x"
        radius, steps = 30.0, 1440
        ring = []
        for k in range(steps):
            angle = math.radians(k * 360 / steps)
            ring.append(picture.smooth(center[0] + radius * math.sin(angle), center[1] - radius * math.cos(angle)))
        if not values:
            check(all(share(c, WHITE, PETER_RIVER) < 0.01 for c in ring), f"{what}: drawn")
            continue
        # What lies on top at each angle: sectors are laid down in turn, backwards for a negative amount.
        start, wanted = 0.0, [None] * steps
        for value, color in zip(values, colors):
            end = start + value / sum(values) * 360
            for k in range(steps):
                degrees = k * 360 / steps
                if min(start, end) < degrees < max(start, end) or min(start, end) < degrees + 360 < max(start, end):
                    wanted[k] = color
            start = end
        for k in range(steps):
            around = {wanted[(k + d) % steps] for d in range(-16, 17)}  # 4 degrees from any boundary
            if len(around) == 1:
                same_color(ring[k], wanted[k], f"{what} at {k * 360 / steps} degrees", 1)
        boundaries = [k for k in range(steps) if wanted[k] is None or
                      wanted[k - 1] is not None and wanted[k - 1] != wanted[k]]
        for k in boundaries:
            before, after = wanted[k - 4], wanted[(k + 4) % steps]
            if before == after:
                continue  # one sector lies over the boundary of others
            mixes = [share(ring[(k + d) % steps], before, after) for d in range(-20, 21)]
            crossing = next(d for d, part in zip(range(-20, 21), mixes) if part > 0.5)
            near(crossing * 360 / steps, 0.0, 1.0, f"{what} boundary at {k * 360 / steps} degrees")
        away = 46 * math.sin(math.radians(45))  # half way between right and down: 135 degrees from the top
        _, edge = span(picture, center, (center[0] + away, center[1] + away), WHITE, wanted[steps * 135 // 360])
        near(edge, 40.0, 0.5, f"{what} radius")


def ease_in(time):
    """The cubic curve with control points (0.42, 0) and (1, 1), by bisection."""
    low, high = 0.0, 1.0
    for _ in range(60):
        t = (low + high) / 2
        x = 3 * (1 - t) ** 2 * t * 0.42 + 3 * (1 - t) * t ** 2 * 1.0 + t ** 3
        low, high = (t, high) if x < time else (low, t)
    return 3 * (1 - low) * low ** 2 * 1.0 + low ** 3


def check_flat_controls(folder, scale):
    picture = Picture(f"{folder}/flat-controls@{scale}x.png", scale)
    lighter = mixed(TURQUOISE, WHITE, 0.15)
    darker = mixed(TURQUOISE, (0, 0, 0), 0.15)
    for i, color in enumerate((TURQUOISE, lighter, darker, mixed(TURQUOISE, lighter, 0.5))):
        left, top = i * 120 + 8, 8
        same_color(picture.at(left + 10, top + 16), color, f"button {i} colour @{scale}x", 1)
        start, end = span(picture, (left - 4, top + 24), (left + 108, top + 24), WHITE, color)
        near(start, 4, 0.5, f"button {i} left @{scale}x")
        near(end, 108, 0.5, f"button {i} right @{scale}x")
        # Corner radius 4: one point down, the edge is at 4 - sqrt(16 - 9).
        start, _ = span(picture, (left - 4, top + 1), (left + 20, top + 1), WHITE, color)
        near(start - 4, 4 - math.sqrt(7), 0.5, f"button {i} corner @{scale}x")
    for i, color in enumerate((SILVER, EMERALD)):
        left, top = i * 120 + 8, 2 * 48 + 8
        same_color(picture.at(left + 16, top + 16), color, f"indicator {i} colour @{scale}x")
        start, end = span(picture, (left - 4, top + 16), (left + 40, top + 16), WHITE, color)
        near(start - 4, 0, 0.5, f"indicator {i} left @{scale}x")
        near(end - 4, 32, 0.5, f"indicator {i} right @{scale}x")


def main():
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.argv[1], folder], check=True, env={**os.environ, "LC_ALL": "C"})
        for scale in (1, 2):
            check_rings(folder, scale)
            check_bars(folder, scale)
            check_shapes(folder, scale)
            check_line_chart(folder, scale)
            check_pie_chart(folder, scale)
            check_thermometer(folder, scale)
            check_flat_controls(folder, scale)
    for failure in failures:
        print(failure)
    print(f"{checks} measures, {len(failures)} off")
    return 1 if failures or not checks else 0


if __name__ == "__main__":
    sys.exit(main())
