#!/usr/bin/env python3
"""Draws the icon of the three Windows files: packaging/icon/draw_icon.py > packaging/icon/vynpack.ico

A spectrum: seven bars on a rounded plate, the highest in the accent colour. Every size is drawn from
the same geometry in units of the icon's edge, with 8 x 8 samples per pixel.
"""
import struct
import sys
import zlib

SIZES = (16, 24, 32, 48, 256)
PLATE, BAR, PEAK = (22, 48, 77), (133, 178, 214), (255, 183, 77)
CORNER = 0.18
BARS = (0.22, 0.34, 0.50, 0.68, 0.42, 0.30, 0.18)  # heights
LEFT, PITCH, WIDTH, FOOT = 0.13, 0.1075, 0.075, 0.84
SAMPLES = 8


def colour(x, y):
    """The colour at a point of the unit square, None outside the plate."""
    dx = max(CORNER - x, x - (1 - CORNER), 0)
    dy = max(CORNER - y, y - (1 - CORNER), 0)
    if dx * dx + dy * dy > CORNER * CORNER:
        return None
    place = (x - LEFT) / PITCH
    bar = int(place) if place >= 0 else -1
    if 0 <= bar < len(BARS) and (place - bar) * PITCH <= WIDTH and FOOT - BARS[bar] <= y <= FOOT:
        return PEAK if BARS[bar] == max(BARS) else BAR
    return PLATE


def pixels(size):
    """Rows of (r, g, b, a), top row first."""
    steps = [(i + 0.5) / SAMPLES for i in range(SAMPLES)]
    rows = []
    for row in range(size):
        line = []
        for column in range(size):
            found = [colour((column + u) / size, (row + v) / size) for v in steps for u in steps]
            inside = [c for c in found if c]
            mean = [round(sum(c[k] for c in inside) / len(inside)) if inside else 0 for k in range(3)]
            line.append((*mean, round(255 * len(inside) / len(found))))
        rows.append(line)
    return rows


def bitmap(size):
    """A 32-bit device-independent bitmap as icons hold it: bottom row first, then the mask."""
    body = b"".join(struct.pack("4B", b, g, r, a) for line in reversed(pixels(size)) for r, g, b, a in line)
    mask = bytes(size * ((size + 31) // 32 * 4))
    return struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, len(body), 0, 0, 0, 0) + body + mask


def png(size):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    body = b"".join(b"\0" + bytes(v for pixel in line for v in pixel) for line in pixels(size))
    head = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(body, 9)) + chunk(b"IEND", b"")


def main():
    images = [(size, png(size) if size == 256 else bitmap(size)) for size in SIZES]
    offset = 6 + 16 * len(images)
    directory = b""
    for size, image in images:
        directory += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    sys.stdout.buffer.write(struct.pack("<HHH", 0, 1, len(images)) + directory + b"".join(i for _, i in images))


if __name__ == "__main__":
    main()
