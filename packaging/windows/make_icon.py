#!/usr/bin/env python3
"""Draws the panel's icon and writes it as a Windows icon file (16, 32 and 48 pixels).

The picture: a serial port's plug (a D-shaped shell with its two rows of pins) on a dark blue
tile, with a green lamp at the top right, the panel's sign that a port works. Drawn from shapes
at eight times the size and averaged down, so the edges are smooth at every size.
   make_icon.py OUT.ico
"""
import struct
import sys

SIZES = (16, 32, 48)
FINE = 8  # samples per pixel along each axis

TILE = (0x1F, 0x3A, 0x68)
SHELL = (0xF2, 0xF4, 0xF7)
PIN = (0x1F, 0x3A, 0x68)
LAMP = (0x2E, 0xC2, 0x4A)


def inside_rounded(x, y, left, top, right, bottom, radius):
    if not (left <= x <= right and top <= y <= bottom):
        return False
    cx = min(max(x, left + radius), right - radius)
    cy = min(max(y, top + radius), bottom - radius)
    return (x - cx) ** 2 + (y - cy) ** 2 <= radius ** 2


def inside_shell(x, y):
    """The plug's shell: wider at the top than at the bottom, as a D-sub's is."""
    top, bottom = 0.36, 0.80
    if not (top <= y <= bottom):
        return False
    t = (y - top) / (bottom - top)
    half = 0.38 - 0.08 * t
    return abs(x - 0.5) <= half


def colour_at(x, y):
    """The colour (r, g, b, a) of the point (x, y) of the unit square, or None outside."""
    lamp = (x - 0.80) ** 2 + (y - 0.20) ** 2
    if lamp <= 0.13 ** 2:
        return LAMP if lamp <= 0.10 ** 2 else TILE
    if inside_shell(x, y):
        for row, count in ((0.48, 5), (0.66, 4)):
            for pin in range(count):
                px = 0.5 + (pin - (count - 1) / 2) * 0.13
                if (x - px) ** 2 + (y - row) ** 2 <= 0.045 ** 2:
                    return PIN
        return SHELL
    if inside_rounded(x, y, 0.02, 0.02, 0.98, 0.98, 0.18):
        return TILE
    return None


def draw(size):
    """Rows of (b, g, r, a) pixels, top row first."""
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            r = g = b = a = 0
            for sy in range(FINE):
                for sx in range(FINE):
                    c = colour_at((px + (sx + 0.5) / FINE) / size, (py + (sy + 0.5) / FINE) / size)
                    if c is not None:
                        r, g, b, a = r + c[0], g + c[1], b + c[2], a + 1
            if a:
                row.append((b // a, g // a, r // a, 255 * a // (FINE * FINE)))
            else:
                row.append((0, 0, 0, 0))
        rows.append(row)
    return rows


def bitmap(size):
    """An icon image: a 32-bit bitmap of twice the height (colour, then mask), bottom row first."""
    rows = draw(size)
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(bytes(channel for pixel in row for channel in pixel) for row in reversed(rows))
    mask_stride = ((size + 31) // 32) * 4
    mask = bytearray()
    for row in reversed(rows):
        bits = bytearray(mask_stride)
        for x, pixel in enumerate(row):
            if pixel[3] == 0:
                bits[x // 8] |= 0x80 >> (x % 8)
        mask += bits
    return header + pixels + bytes(mask)


def main():
    images = [bitmap(size) for size in SIZES]
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = 6 + 16 * len(images)
    for size, image in zip(SIZES, images):
        out += struct.pack("<BBBBHHII", size, size, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(sys.argv[1], "wb") as f:
        f.write(out + b"".join(images))


if __name__ == "__main__":
    main()
