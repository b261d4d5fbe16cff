#!/usr/bin/python3
"""Writes the PNG, TIFF and extra JPEG/GIF fixtures of the intake tests from
mono.bmp (a 40 x 30 black drawing on white). Run with Debian's python3 (PIL)."""
import os
from PIL import Image

here = os.path.join(os.path.dirname(os.path.abspath(__file__)), "fixtures")
mono = Image.open(os.path.join(here, "mono.bmp")).convert("1")
grey = mono.convert("L")
rgb = mono.convert("RGB")


def out(name):
    return os.path.join(here, name)


# PNG: every colour type the drawing can be stored as; each decodes to it.
mono.save(out("mono.png"))
grey.save(out("grey.png"))
grey.save(out("interlaced.png"), interlace=1)
rgb.save(out("rgb.png"))
rgb.convert("P").save(out("palette.png"))
grey.convert("LA").save(out("grey_alpha.png"))
rgb.convert("RGBA").save(out("rgba.png"))
grey.point(lambda v: v * 257, "I").convert("I;16").save(out("grey16.png"))

# Alpha and 16-bit rounding, in pixels whose outcome is written in the test.
alpha = Image.new("RGBA", (4, 1))
alpha.putdata([(0, 0, 0, 128), (255, 0, 0, 0), (100, 200, 50, 255), (10, 20, 30, 1)])
alpha.save(out("alpha.png"))
trns = Image.new("P", (3, 1))
trns.putpalette([0, 0, 0, 255, 0, 0, 0, 0, 255])
trns.putdata([0, 1, 2])
trns.save(out("trns.png"), transparency=1)
deep = Image.new("I;16", (6, 1))
deep.putdata([0, 128, 129, 385, 65407, 65535])
deep.save(out("deep16.png"))

# TIFF: compressions, photometrics, depths; a two-page file.
mono.save(out("g4.tif"), compression="group4")
mono.save(out("g3.tif"), compression="group3")
mono.save(out("mono_raw.tif"))
mono.save(out("mono_packbits.tif"), compression="packbits")
grey.save(out("grey_lzw.tif"), compression="tiff_lzw")
grey.save(out("grey_deflate.tif"), compression="tiff_adobe_deflate")
rgb.save(out("rgb_lzw.tif"), compression="tiff_lzw")
rgb.convert("P").save(out("palette.tif"))
grey.point(lambda v: v * 257, "I").convert("I;16").save(out("grey16.tif"))
deep.save(out("deep16.tif"))
blank = Image.new("L", (20, 10), 255)
mono.save(out("pages.tif"), compression="group4", save_all=True, append_images=[blank.convert("1")])

# JPEG and GIF kinds the window's pixels must match exactly.
Image.open(os.path.join(here, "colour.bmp")).convert("CMYK").save(out("cmyk.jpg"))
Image.open(os.path.join(here, "colour.bmp")).convert("RGB").save(out("colour420.jpg"), quality=80)
g = rgb.convert("P")
g.save(out("transparent.gif"), transparency=0)

# Min-is-white: mono_raw.tif with its bits inverted and photometric 0 is the same drawing.
raw = Image.open(out("mono_raw.tif"))
start, length = raw.tag_v2[273][0], raw.tag_v2[279][0]
data = bytearray(open(out("mono_raw.tif"), "rb").read())
data[start:start + length] = bytes(255 - v for v in data[start:start + length])
ifd = int.from_bytes(data[4:8], "little")
for i in range(int.from_bytes(data[ifd:ifd + 2], "little")):
    e = ifd + 2 + 12 * i
    if int.from_bytes(data[e:e + 2], "little") == 262:
        data[e + 8:e + 10] = (0).to_bytes(2, "little")
open(out("min_is_white.tif"), "wb").write(bytes(data))

import struct
import zlib


def interlaced_png(img, path):
    """An Adam7-interlaced 8-bit grey PNG, written by hand: PIL writes none."""
    w, h = img.size
    px = img.load()
    raw = b""
    for x0, y0, dx, dy in [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]:
        for y in range(y0, h, dy):
            row = bytes(px[x, y] for x in range(x0, w, dx))
            if row:
                raw += b"\0" + row

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    ihdr = struct.pack(">IIBBBBB", w, h, 8, 0, 0, 0, 1)
    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", ihdr) + chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b""))


interlaced_png(grey, out("interlaced.png"))


def tiled_tiff(img, path, tile=16, bits=8):
    """An uncompressed grey TIFF in 16 x 16 tiles, written by hand: PIL writes strips only."""
    w, h = img.size
    px = img.load()
    sample = (lambda v: bytes([v])) if bits == 8 else (lambda v: struct.pack("<H", v))
    across, down = (w + tile - 1) // tile, (h + tile - 1) // tile
    tiles = []
    for ty in range(down):
        for tx in range(across):
            tiles.append(b"".join(sample(px[min(tx * tile + x, w - 1), min(ty * tile + y, h - 1)])
                                  for y in range(tile) for x in range(tile)))
    entries = 10
    ifd = 8
    offsets_at = ifd + 2 + 12 * entries + 4
    counts_at = offsets_at + 4 * len(tiles)
    data_at = counts_at + 4 * len(tiles)
    tags = [(256, 4, 1, w), (257, 4, 1, h), (258, 3, 1, bits), (259, 3, 1, 1), (262, 3, 1, 1), (277, 3, 1, 1),
            (322, 4, 1, tile), (323, 4, 1, tile), (324, 4, len(tiles), offsets_at), (325, 4, len(tiles), counts_at)]
    if len(tiles) == 1:  # one offset and one count sit in their entries
        data_at = offsets_at
        tags[-2:] = [(324, 4, 1, data_at), (325, 4, 1, tile * tile * bits // 8)]
    b = b"II*\0" + struct.pack("<I", ifd) + struct.pack("<H", entries)
    for tag, kind, count, value in tags:
        b += struct.pack("<HHII", tag, kind, count, value) if kind == 4 else struct.pack("<HHIHH", tag, kind, count, value, 0)
    b += struct.pack("<I", 0)
    size = tile * tile * bits // 8
    if len(tiles) > 1:
        b += b"".join(struct.pack("<I", data_at + i * size) for i in range(len(tiles)))
        b += b"".join(struct.pack("<I", size) for _ in tiles)
    b += b"".join(tiles)
    with open(path, "wb") as f:
        f.write(b)


tiled_tiff(grey, out("tiled.tif"))
tiled_tiff(deep, out("deep16_tiled.tif"), bits=16)

# The alpha pixels as an RGBA TIFF, and 16-bit RGB samples on the rounding edges.
alpha.save(out("alpha.tif"))


def rgb16_tiff(path, pixels):
    data = b"".join(struct.pack("<HHH", *p) for p in pixels)
    entries = [(256, 3, 1, len(pixels)), (257, 3, 1, 1), (258, 3, 3, 0), (259, 3, 1, 1), (262, 3, 1, 2),
               (273, 4, 1, 0), (277, 3, 1, 3), (279, 4, 1, len(data))]
    ifd = 8
    bits_at = ifd + 2 + 12 * len(entries) + 4
    data_at = bits_at + 6
    b = b"II*\0" + struct.pack("<I", ifd) + struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        value = {258: bits_at, 273: data_at}.get(tag, value)
        b += struct.pack("<HHII", tag, kind, count, value) if kind == 4 or tag == 258 else \
            struct.pack("<HHIHH", tag, kind, count, value, 0)
    b += struct.pack("<I", 0) + struct.pack("<HHH", 16, 16, 16) + data
    with open(path, "wb") as f:
        f.write(b)


rgb16_tiff(out("rgb16.tif"), [(0, 128, 129), (385, 65407, 65535)])


def small_frame_gif(path, transparent):
    """An 8 x 6 screen with a 4 x 3 image at (2, 1): the screen around it
    shows whatever the reader puts there. LZW written by hand, cleared every
    three codes so that every code stays three bits."""
    pixels = [0, 1, 2, 3, 1, 1, 2, 2, 3, 0, 1, 2]
    codes = []
    for i in range(0, len(pixels), 2):
        codes += [4] + pixels[i:i + 2]
    codes.append(5)
    bits = 0
    value = 0
    data = bytearray()
    for c in codes:
        value |= c << bits
        bits += 3
        while bits >= 8:
            data.append(value & 255)
            value >>= 8
            bits -= 8
    if bits:
        data.append(value & 255)
    b = b"GIF89a" + struct.pack("<HHBBB", 8, 6, 0x81, 0, 0)
    b += bytes([0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255])
    if transparent:
        b += bytes([0x21, 0xF9, 4, 1, 0, 0, 1, 0])
    b += b"\x2c" + struct.pack("<HHHHB", 2, 1, 4, 3, 0) + bytes([2, len(data)]) + bytes(data) + b"\0;"
    with open(path, "wb") as f:
        f.write(b)


small_frame_gif(out("small_frame.gif"), False)
small_frame_gif(out("small_frame_transparent.gif"), True)
