"""Writes the golden set's input pictures (run once; the files are committed).

Each picture exercises something the stages must keep doing the same way:
a GIF with a palette, a lossy colour JPEG whose grey edges the threshold has
to decide, an 8-bit BMP with thick strokes that take many thinning cycles,
and a GIF too wide for the filters at scale 1.
Run with /usr/bin/python3, which has Debian's PIL.
"""
import math
import os
import sys

from PIL import Image, ImageDraw

out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "pictures")


def plan(size=(320, 240)):
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    w, h = size
    d.rectangle([6, 6, w - 7, h - 7], outline=0, width=2)
    d.line([20, h - 30, w - 40, 30], fill=0, width=3)
    d.line([20, 40, 140, 40, 140, 120, 60, 120], fill=0, width=2, joint="curve")
    d.ellipse([170, 100, 260, 190], outline=0, width=3)
    d.arc([40, 140, 120, 220], 30, 300, fill=0, width=2)
    for i in range(6):
        d.line([200 + 8 * i, 20, 206 + 8 * i, 60], fill=0, width=1)
    d.point([(300, 200), (302, 200), (150, 220)], fill=0)
    return img


def sketch(size=(480, 360)):
    img = Image.new("RGB", size, (250, 246, 236))
    d = ImageDraw.Draw(img)
    w, h = size
    for k in range(5):
        r = 30 + 22 * k
        d.ellipse([w // 3 - r, h // 2 - r, w // 3 + r, h // 2 + r], outline=(40, 40, 60), width=2 + k % 2)
    pts = [(w * 0.6 + 90 * math.cos(t / 10.0), h * 0.5 + 70 * math.sin(t / 7.0)) for t in range(0, 130)]
    d.line(pts, fill=(120, 20, 20), width=3)
    d.line([10, h - 12, w - 10, h - 12], fill=(20, 90, 20), width=4)
    d.rectangle([w - 120, 20, w - 20, 80], outline=(0, 0, 0), width=2)
    return img


def strokes(size=(200, 150)):
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    d.rectangle([20, 20, 70, 60], fill=0)
    d.line([90, 20, 180, 130], fill=0, width=9)
    d.line([30, 120, 150, 120], fill=0, width=6)
    d.ellipse([110, 30, 160, 80], outline=0, width=5)
    d.polygon([(30, 80), (60, 140), (5, 140)], fill=40)
    return img


def wide(size=(1600, 400)):
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    for i in range(12):
        x = 60 + i * 125
        d.line([x, 40, x + 80, 360], fill=0, width=4)
        d.ellipse([x - 30, 150, x + 30, 210], outline=0, width=3)
    d.line([20, 380, 1580, 380], fill=0, width=5)
    return img


os.makedirs(out, exist_ok=True)
plan().save(os.path.join(out, "plan.gif"))
sketch().save(os.path.join(out, "sketch.jpg"), quality=80)
strokes().save(os.path.join(out, "strokes.bmp"))
wide().save(os.path.join(out, "wide.gif"))
