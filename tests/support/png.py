"""Reads PNG files without any library."""

import pathlib
import struct
import zlib

# What each filter guesses a byte to be, from those to its left, above it and above that to its left.
GUESSES = [lambda left, up, corner: 0,
           lambda left, up, corner: left,
           lambda left, up, corner: up,
           lambda left, up, corner: (left + up) // 2,
           lambda left, up, corner: min((left, up, corner), key=lambda byte: abs(left + up - corner - byte))]


def read(path):
    """Width, height, bytes a pixel (3 for RGB, 4 for RGBA) and the rows of a PNG of 8 bits a channel."""
    data, place, chunks = pathlib.Path(path).read_bytes(), 8, {}
    assert data.startswith(b"\x89PNG\r\n\x1a\n")
    while place < len(data):
        length, kind = struct.unpack_from(">I4s", data, place)
        chunks[kind] = chunks.get(kind, b"") + data[place + 8:place + 8 + length]
        place += 12 + length
    width, height, depth, color, *rest = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    assert depth == 8 and color in (2, 6) and not any(rest)
    channels = 3 if color == 2 else 4
    raw, stride = zlib.decompress(chunks[b"IDAT"]), width * channels
    rows, before = [], bytes(stride)
    for start in range(0, len(raw), stride + 1):
        guess, line = GUESSES[raw[start]], bytearray(raw[start + 1:start + 1 + stride])
        for i, up in enumerate(before):
            left, corner = (line[i - channels], before[i - channels]) if i >= channels else (0, 0)
            line[i] = (line[i] + guess(left, up, corner)) & 0xFF
        rows.append(line)
        before = line
    return width, height, channels, rows


def differing(path, other, shade):
    """The share of the pixels of two PNGs, 0 to 1, with a channel that differs by more than `shade` of 255."""
    width, height, channels, rows = read(path)
    *form, others = read(other)
    if form != [width, height, channels]:
        return 1.0
    pixels = (any(abs(a - b) > shade for a, b in zip(row[i:i + channels], line[i:i + channels]))
              for row, line in zip(rows, others) for i in range(0, len(row), channels))
    return sum(pixels) / (width * height)
