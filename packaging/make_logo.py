#!/usr/bin/env python3
"""Draws Orvo's logo for xboard, packaging/orvo.png, from a fixed pattern.

xboard shows an engine's logo beside its clock (with -autoLogo true and a
-logoSize), looking for it under the engine's name in
/usr/share/games/plugins/logos/, where Debian's engines keep theirs: 100
by 50 pixels, RGB. The logo is "ORVO" in white block letters over a row
of board squares, on green.

    packaging/make_logo.py [FILE]          writes the logo (default: orvo.png
                                           beside this script)
    packaging/make_logo.py --check FILE    exit status 0 when FILE holds
                                           exactly these pixels

The PNG is written with Python's zlib alone, so the same pixels always
give the same file for a given zlib; the committed file is the one the
package installs.
"""
import os
import struct
import sys
import zlib

WIDTH, HEIGHT = 100, 50
GREEN = (38, 84, 52)
LIGHT = (238, 238, 210)
DARK = (118, 150, 86)
WHITE = (255, 255, 255)
SHADOW = (16, 40, 24)

# 5 by 7 block letters.
GLYPHS = {
    "O": ["01110", "10001", "10001", "10001", "10001", "10001", "01110"],
    "R": ["11110", "10001", "10001", "11110", "10100", "10010", "10001"],
    "V": ["10001", "10001", "10001", "10001", "01010", "01010", "00100"],
}
SCALE = 4          # each glyph cell is 4 by 4 pixels: letters 20 by 28
GAP = 4            # pixels between letters
TEXT_TOP = 5


def pixels():
    img = [[GREEN] * WIDTH for _ in range(HEIGHT)]
    # A row of board squares along the bottom, 10 by 10 each.
    for x in range(WIDTH):
        for y in range(HEIGHT - 10, HEIGHT):
            img[y][x] = LIGHT if (x // 10) % 2 == 0 else DARK
    text = "ORVO"
    width = len(text) * 5 * SCALE + (len(text) - 1) * GAP
    left = (WIDTH - width) // 2
    for shade, dx, dy in ((SHADOW, 1, 1), (WHITE, 0, 0)):
        for i, ch in enumerate(text):
            x0 = left + i * (5 * SCALE + GAP) + dx
            for row, bits in enumerate(GLYPHS[ch]):
                for col, bit in enumerate(bits):
                    if bit != "1":
                        continue
                    for y in range(TEXT_TOP + row * SCALE + dy, TEXT_TOP + (row + 1) * SCALE + dy):
                        for x in range(x0 + col * SCALE, x0 + (col + 1) * SCALE):
                            img[y][x] = shade
    return img


def raw_rows(img):
    # Filter type 0 (none) before every row.
    return b"".join(b"\x00" + bytes(c for px in row for c in px) for row in img)


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def png(img):
    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)  # 8-bit RGB
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(raw_rows(img), 9)) + chunk(b"IEND", b""))


def decoded_rows(data):
    """The unfiltered rows of an 8-bit RGB PNG written without filters."""
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        return None
    pos, idat, header = 8, b"", None
    while pos < len(data):
        (length,) = struct.unpack(">I", data[pos:pos + 4])
        kind, body = data[pos + 4:pos + 8], data[pos + 8:pos + 8 + length]
        pos += 12 + length
        if kind == b"IHDR":
            header = body
        elif kind == b"IDAT":
            idat += body
    if header != struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0):
        return None
    return zlib.decompress(idat)


def main(argv):
    here = os.path.dirname(os.path.abspath(__file__))
    if len(argv) == 3 and argv[1] == "--check":
        with open(argv[2], "rb") as f:
            ok = decoded_rows(f.read()) == raw_rows(pixels())
        print(f"{argv[2]}: {'the logo' if ok else 'not the logo make_logo.py draws'}")
        return 0 if ok else 1
    if len(argv) > 2:
        print(__doc__, file=sys.stderr)
        return 2
    out = argv[1] if len(argv) == 2 else os.path.join(here, "orvo.png")
    with open(out, "wb") as f:
        f.write(png(pixels()))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
