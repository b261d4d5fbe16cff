"""Runs quernline-batch --fit on a drawn plate (an outline, two holes, a
bore with centre lines through it) and reads the drawings back: ezdxf must
audit them clean and find the holes as CIRCLEs of their radius, each centre
line as one LINE, arcs as bulges with --polyline, and the SVG must parse.

usage: fit_end_to_end.py <quernline-batch>
"""
import math
import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from folder_case import FolderCase  # noqa: E402
import xml.etree.ElementTree as ET

import ezdxf
from PIL import Image, ImageDraw

BATCH = sys.argv.pop(1)
HOLES = [(90, 90, 40), (310, 90, 40), (200, 170, 60)]  # centre x, y and radius in pixels


def plate(path):
    img = Image.new("L", (400, 260), 255)
    d = ImageDraw.Draw(img)
    d.rectangle([20, 20, 380, 240], outline=0, width=3)
    for x, y, r in HOLES:
        d.ellipse([x - r - 1, y - r - 1, x + r + 1, y + r + 1], outline=0, width=3)
    d.line([120, 170, 280, 170], fill=0, width=2)  # centre lines across the bore
    d.line([200, 90, 200, 250], fill=0, width=2)
    img.save(path)


def run(*args):
    return subprocess.run([BATCH, *args], capture_output=True, text=True, timeout=120)


class FitEndToEnd(FolderCase):
    def setUp(self):
        super().setUp()
        self.picture = os.path.join(self.dir.name, "plate.gif")
        plate(self.picture)

    def convert(self, name, *options):
        out = os.path.join(self.dir.name, name + ".dxf")
        r = run("--blur", "0", "--min-branch", "8", "--fit", *options, self.picture, out)
        self.assertEqual(r.returncode, 0, r.stderr)
        doc = ezdxf.readfile(out)
        self.assertEqual([e.message for e in doc.audit().errors], [])
        return doc.modelspace()

    def test_holes_are_circles_and_centre_lines_whole(self):
        svg = os.path.join(self.dir.name, "plate.svg")
        msp = self.convert("plate", "--svg", svg)
        circles = list(msp.query("CIRCLE"))
        self.assertEqual(len(circles), len(HOLES))
        for x, y, r in HOLES:
            best = min(circles, key=lambda c: math.dist((c.dxf.center.x, c.dxf.center.y), (x, -y)))
            self.assertLess(math.dist((best.dxf.center.x, best.dxf.center.y), (x, -y)), 1.5)
            self.assertLess(abs(best.dxf.radius - r), 1.5)
        lines = list(msp.query("LINE"))
        for want in (((120, -170), (280, -170)), ((200, -90), (200, -250))):
            whole = [l for l in lines if all(min(math.dist((p.x, p.y), w) for w in want) < 6
                                             for p in (l.dxf.start, l.dxf.end))]
            self.assertEqual(len(whole), 1, want)
        # The outline: four sides, maybe with small arcs at its thinned corners.
        self.assertLessEqual(len(lines) + len(msp.query("ARC")), 2 + 8)
        root = ET.parse(svg).getroot()
        self.assertEqual(len(root.findall("{http://www.w3.org/2000/svg}g/{http://www.w3.org/2000/svg}circle")),
                         len(HOLES))

    def test_polyline_and_millimetres(self):
        msp = self.convert("plate_mm", "--polyline", "--units", "mm", "--dpi", "300")
        self.assertFalse(msp.query("LINE"))
        self.assertTrue(msp.query("POLYLINE"))
        radii = sorted(c.dxf.radius for c in msp.query("CIRCLE"))
        self.assertEqual(len(radii), len(HOLES))
        for got, (_, _, r) in zip(radii, sorted(HOLES, key=lambda h: h[2])):
            self.assertAlmostEqual(got, r * 25.4 / 300, delta=1.5 * 25.4 / 300)

    def test_tolerance_out_of_range_is_refused(self):
        r = run("--fit", "--fit-tolerance", "0", self.picture, os.path.join(self.dir.name, "x.dxf"))
        self.assertEqual(r.returncode, 2)


if __name__ == "__main__":
    unittest.main()
