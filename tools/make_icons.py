#!/usr/bin/env python3
"""Writes the program's icon files into resources/.

Six tray pictures (an archive box: grey when stopped, green when running, blue
with an arrow that moves between the two processing pictures, amber with an
arrow for backing up) and the cross and tick of the backup manager's list.
Each file holds a 16x16 and a 32x32 image, 32-bit colour with alpha, stored
as classic bitmaps (with their AND mask) so that every icon reader takes them.

The pictures are drawn from shapes in unit coordinates and anti-aliased by
sampling each pixel on a grid, so both sizes come from one description.

    python3 tools/make_icons.py [output-folder] [--preview folder]

--preview also writes each picture as an enlarged PNG to look at.
"""

import pathlib
import struct
import sys
import zlib

SIZES = (16, 32)
SAMPLES = 4  # per axis, per pixel

GREY = ((150, 150, 150), (96, 96, 96), (70, 70, 70))
GREEN = ((76, 175, 80), (46, 125, 50), (27, 94, 32))
BLUE = ((66, 133, 244), (25, 90, 200), (13, 60, 140))
AMBER = ((255, 193, 7), (230, 145, 0), (150, 95, 0))
WHITE = (255, 255, 255)
RED = (211, 47, 47)
DARK_RED = (150, 20, 20)
TICK_GREEN = (56, 142, 60)
DARK_GREEN = (27, 94, 32)


# Shapes: each is a function of a point in [0, 1] x [0, 1] (y downwards)
# telling whether the point lies inside.


def rect(x0, y0, x1, y1):
    return lambda x, y: x0 <= x <= x1 and y0 <= y <= y1


def rounded_rect(x0, y0, x1, y1, r):
    def inside(x, y):
        if not (x0 <= x <= x1 and y0 <= y <= y1):
            return False
        cx = min(max(x, x0 + r), x1 - r)
        cy = min(max(y, y0 + r), y1 - r)
        return (x - cx) ** 2 + (y - cy) ** 2 <= r * r

    return inside


def circle(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def polygon(points):
    def inside(x, y):
        hit = False
        n = len(points)
        for i in range(n):
            (xa, ya), (xb, yb) = points[i], points[(i + 1) % n]
            if (ya > y) != (yb > y):
                cross = xa + (y - ya) * (xb - xa) / (yb - ya)
                if x < cross:
                    hit = not hit
        return hit

    return inside


def stroke(points, width):
    """A polyline drawn with round ends and joints."""
    half = width / 2

    def near(x, y, a, b):
        (xa, ya), (xb, yb) = a, b
        dx, dy = xb - xa, yb - ya
        length2 = dx * dx + dy * dy
        t = 0.0 if length2 == 0 else max(0.0, min(1.0, ((x - xa) * dx + (y - ya) * dy) / length2))
        px, py = xa + t * dx, ya + t * dy
        return (x - px) ** 2 + (y - py) ** 2 <= half * half

    return lambda x, y: any(near(x, y, points[i], points[i + 1]) for i in range(len(points) - 1))


# Pictures: lists of (shape, colour) layers, the last on top.


def archive_box(palette, handle=True):
    body, edge, slot = palette
    layers = [
        (rounded_rect(0.06, 0.30, 0.94, 0.94, 0.08), edge),
        (rounded_rect(0.12, 0.34, 0.88, 0.88, 0.05), body),
        (rounded_rect(0.02, 0.10, 0.98, 0.34, 0.06), edge),
        (rounded_rect(0.07, 0.14, 0.93, 0.30, 0.04), body),
    ]
    if handle:
        layers.append((rounded_rect(0.36, 0.42, 0.64, 0.52, 0.05), slot))
    return layers


def arrow_down(top, colour):
    """A downward arrow whose shaft starts at top."""
    return [
        (rect(0.43, top, 0.57, top + 0.18), colour),
        (polygon([(0.27, top + 0.16), (0.73, top + 0.16), (0.50, top + 0.36)]), colour),
    ]


def arrow_up(top, colour):
    """An upward arrow whose point is at top."""
    return [
        (polygon([(0.50, top), (0.73, top + 0.20), (0.27, top + 0.20)]), colour),
        (rect(0.43, top + 0.18, 0.57, top + 0.36), colour),
    ]


def badge(fill, edge, *marks):
    """A round badge with white marks on it."""
    layers = [(circle(0.5, 0.5, 0.47), edge), (circle(0.5, 0.5, 0.40), fill)]
    return layers + [(mark, WHITE) for mark in marks]


PICTURES = {
    "Stopped.ico": archive_box(GREY),
    "Running.ico": archive_box(GREEN),
    # The arrow files into the box: high in A, low in B, so the two pictures
    # taking turns read as movement.
    "ProcessingA.ico": archive_box(BLUE, handle=False) + arrow_down(0.38, WHITE),
    "ProcessingB.ico": archive_box(BLUE, handle=False) + arrow_down(0.50, WHITE),
    # A copy leaving the box: the arrow rises from A's place to B's.
    "BackingupA.ico": archive_box(AMBER, handle=False) + arrow_up(0.50, WHITE),
    "BackingupB.ico": archive_box(AMBER, handle=False) + arrow_up(0.38, WHITE),
    "cross.ico": badge(RED, DARK_RED, stroke([(0.32, 0.32), (0.68, 0.68)], 0.14),
                       stroke([(0.68, 0.32), (0.32, 0.68)], 0.14)),
    "tick.ico": badge(TICK_GREEN, DARK_GREEN,
                      stroke([(0.28, 0.52), (0.44, 0.68), (0.73, 0.34)], 0.14)),
}


def render(layers, size):
    """Rows of (r, g, b, a) pixels, top row first."""
    rows = []
    step = 1.0 / (size * SAMPLES)
    for py in range(size):
        row = []
        for px in range(size):
            r = g = b = a = 0.0
            for sy in range(SAMPLES):
                for sx in range(SAMPLES):
                    x = (px * SAMPLES + sx + 0.5) * step
                    y = (py * SAMPLES + sy + 0.5) * step
                    colour = None
                    for shape, fill in layers:
                        if shape(x, y):
                            colour = fill
                    if colour is not None:
                        r, g, b, a = r + colour[0], g + colour[1], b + colour[2], a + 1
            count = SAMPLES * SAMPLES
            if a == 0:
                row.append((0, 0, 0, 0))
            else:
                # Colour averaged over the covered samples, coverage as alpha.
                row.append((round(r / a), round(g / a), round(b / a), round(255 * a / count)))
        rows.append(row)
    return rows


def bitmap_entry(rows):
    """One icon image as a 32-bit bitmap: header, BGRA rows bottom-up, AND mask."""
    size = len(rows)
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = bytearray()
    for row in reversed(rows):
        for r, g, b, a in row:
            pixels += bytes((b, g, r, a))
    mask_stride = ((size + 31) // 32) * 4
    mask = bytearray()
    for row in reversed(rows):
        line = bytearray(mask_stride)
        for x, (_, _, _, a) in enumerate(row):
            if a == 0:  # transparent where nothing is drawn
                line[x // 8] |= 0x80 >> (x % 8)
        mask += line
    return header + bytes(pixels) + bytes(mask)


def ico_file(images):
    """An icon file from (size, entry bytes) pairs."""
    out = bytearray(struct.pack("<HHH", 0, 1, len(images)))
    offset = 6 + 16 * len(images)
    for size, data in images:
        out += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    for _, data in images:
        out += data
    return bytes(out)


def png_file(rows, scale):
    """An enlarged PNG of one image, for looking at."""
    raw = bytearray()
    for row in rows:
        line = bytearray([0])
        for pixel in row:
            line += bytes(pixel) * scale
        raw += bytes(line) * scale
    width = len(rows[0]) * scale
    height = len(rows) * scale

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    idat = zlib.compress(bytes(raw), 9)
    signature = b"\x89PNG\r\n\x1a\n"
    return signature + chunk(b"IHDR", header) + chunk(b"IDAT", idat) + chunk(b"IEND", b"")


def main(argv):
    args = list(argv[1:])
    preview = None
    if "--preview" in args:
        at = args.index("--preview")
        preview = pathlib.Path(args[at + 1])
        del args[at:at + 2]
    default = pathlib.Path(__file__).resolve().parent.parent / "resources"
    out = pathlib.Path(args[0]) if args else default
    out.mkdir(parents=True, exist_ok=True)
    if preview:
        preview.mkdir(parents=True, exist_ok=True)
    for name, layers in PICTURES.items():
        images = []
        for size in SIZES:
            rows = render(layers, size)
            images.append((size, bitmap_entry(rows)))
            if preview:
                picture = preview / f"{pathlib.Path(name).stem}-{size}.png"
                picture.write_bytes(png_file(rows, 256 // size))
        (out / name).write_bytes(ico_file(images))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
