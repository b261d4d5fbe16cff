"""Writes the small sample pictures of the intake tests and the fuzz corpus.

Small line drawings in each format the intake reads, in the variants the
readers treat differently: palette and grey GIF, interlaced GIF with a
transparent colour, 1-, 8- and 24-bit BMP, grey and colour JPEG, progressive
JPEG. Run with the system interpreter: /usr/bin/python3 tools/make_sample_pictures.py
"""
import os
import sys

from PIL import Image, ImageDraw

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FOLDERS = [os.path.join(ROOT, "tests", "app", "fixtures"), os.path.join(ROOT, "fuzz", "corpus", "picture")]


def drawing(size=(40, 30)):
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    w, h = size
    d.rectangle([3, 3, w - 4, h - 4], outline=0, width=2)
    d.line([6, h - 7, w - 7, 6], fill=0, width=2)
    d.ellipse([w // 3, h // 4, w // 3 + h // 2, h // 4 + h // 2], outline=0, width=2)
    return img


def write_all(folder):
    os.makedirs(folder, exist_ok=True)
    img = drawing()
    img.convert("P").save(os.path.join(folder, "drawing.gif"))
    quantized = img.convert("RGB").quantize(4)
    palette = quantized.getpalette()
    paper = max(range(4), key=lambda i: sum(palette[3 * i:3 * i + 3]))  # white paper shows through
    quantized.save(os.path.join(folder, "interlaced.gif"), interlace=True, transparency=paper)
    img.convert("1").save(os.path.join(folder, "mono.bmp"))
    img.convert("P").save(os.path.join(folder, "palette.bmp"))
    img.convert("RGB").save(os.path.join(folder, "colour.bmp"))
    img.save(os.path.join(folder, "grey.jpg"), quality=80)
    img.convert("RGB").save(os.path.join(folder, "progressive.jpg"), quality=70, progressive=True)


if __name__ == "__main__":
    for folder in sys.argv[1:] or FOLDERS:
        write_all(folder)
