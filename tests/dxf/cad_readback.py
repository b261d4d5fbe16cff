"""The drawings for CAD and CAM, end to end: pictures of closed shapes made
here go through quernline-batch, and two independent readers read every
output mode back: ezdxf (a strict read and its audit) and Debian's dxflib
(through the small dxflib_reader program).

usage: cad_readback.py QUERNLINE_BATCH DXFLIB_READER
"""
import math
import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from folder_case import FolderCase  # noqa: E402

import ezdxf
from PIL import Image, ImageDraw

BATCH, READER = sys.argv[1], sys.argv[2]
DPI = 300
MM = DPI / 25.4  # pixels per millimetre


def shape_picture(path, shape, width, blur):
    """A 50 mm square, a 30 mm circle or a rounded rectangle at 300 dpi, its outline `width` pixels wide."""
    im = Image.new("RGB", (660, 660), "white")
    d = ImageDraw.Draw(im)
    if shape == "square":
        d.rectangle([30, 30, 30 + round(50 * MM), 30 + round(50 * MM)], outline="black", width=width)
    elif shape == "circle":
        d.ellipse([150, 150, 150 + round(30 * MM), 150 + round(30 * MM)], outline="black", width=width)
    else:
        d.rounded_rectangle([30, 150, 620, 450], radius=70, outline="black", width=width)
    im.save(path)
    return ["--blur", str(blur)]


def run(*args):
    return subprocess.run([BATCH, "--quiet", *args], capture_output=True, timeout=300)


def dxflib_counts(path):
    r = subprocess.run([READER, path], capture_output=True, text=True, timeout=60)
    if r.returncode != 0:
        raise AssertionError(f"dxflib cannot read {path}: {r.stderr}")
    return {k: int(v) for k, v in (line.split() for line in r.stdout.splitlines())}


def entity_points(e):
    if e.dxftype() == "LINE":
        return [(e.dxf.start.x, e.dxf.start.y), (e.dxf.end.x, e.dxf.end.y)]
    if e.dxftype() == "LWPOLYLINE":
        return [(x, y) for x, y in e.get_points("xy")]
    if e.dxftype() == "POLYLINE":
        return [(v.dxf.location.x, v.dxf.location.y) for v in e.vertices]
    raise AssertionError(f"unexpected entity {e.dxftype()}")


class CadDrawings(FolderCase):
    def read_clean(self, path):
        """Reads strictly, audits, and checks what every clean drawing must be."""
        doc = ezdxf.readfile(path)
        auditor = doc.audit()
        self.assertEqual([str(x.message) for x in auditor.errors], [], path)
        self.assertEqual([str(x.message) for x in auditor.fixes], [], path)
        msp = doc.modelspace()
        self.assertEqual(len(msp.query("DIMENSION")), 0, "template entities in a clean drawing")
        for e in msp:
            self.assertIn(e.dxf.layer, doc.layers, "an entity's layer is not in the table")
            points = entity_points(e)
            self.assertGreater(max(math.dist(points[0], p) for p in points), 0, "an entity without length")
        return doc

    def test_each_closed_shape_is_one_closed_polyline(self):
        picture = self.path("shape.bmp")
        for shape in ("square", "circle", "rounded"):
            for width in (1, 3, 6):
                for blur in (0, 1):
                    case = f"{shape}, {width} px, blur {blur}"
                    args = shape_picture(picture, shape, width, blur)
                    out = self.path("shape.dxf")
                    r = run(*args, "--polyline", "--dpi", str(DPI), "--units", "mm", picture, out)
                    self.assertEqual(r.returncode, 0, r.stderr)
                    doc = self.read_clean(out)
                    entities = list(doc.modelspace())
                    self.assertEqual(len(entities), 1, case)
                    self.assertTrue(entities[0].is_closed, case)
                    xs = [p[0] for p in entity_points(entities[0])]
                    # The centre line runs half a stroke inside the outline.
                    size = {"square": 50, "circle": 30, "rounded": 590 / MM}[shape]
                    self.assertAlmostEqual(max(xs) - min(xs), size - width / MM, delta=0.3, msg=case)

    def test_every_mode_reads_cleanly_in_both_readers(self):
        picture = self.path("two.bmp")
        im = Image.new("RGB", (700, 420), "white")
        d = ImageDraw.Draw(im)
        d.rectangle([20, 20, 320, 320], outline="black", width=3)
        d.ellipse([400, 40, 660, 300], outline="black", width=3)
        d.line([60, 380, 640, 380], fill="black", width=3)
        im.save(picture)
        units = {"px": ([], 0), "mm": (["--dpi", "300", "--units", "mm"], 4), "in": (["--dpi", "300", "--units", "in"], 1)}
        for version in ("12", "2000"):
            for joined in (False, True):
                for unit, (unit_args, insunits) in units.items():
                    case = f"R{version} {'polylines' if joined else 'lines'} in {unit}"
                    out = self.path("two.dxf")
                    args = ["--dxf", version, *unit_args, *(["--polyline"] if joined else ["--clean"])]
                    r = run(*args, picture, out)
                    self.assertEqual(r.returncode, 0, r.stderr)
                    doc = self.read_clean(out)
                    self.assertEqual(doc.dxfversion, "AC1009" if version == "12" else "AC1015", case)
                    msp = doc.modelspace()
                    seen = dxflib_counts(out)
                    self.assertEqual(seen.get("undefined_layers"), 0, case)
                    if version == "2000":
                        self.assertEqual(doc.header["$INSUNITS"], insunits, case)
                        self.assertEqual(seen.get("insunits"), insunits, case)
                    polylines = msp.query("LWPOLYLINE POLYLINE")
                    self.assertEqual(seen.get("LINE", 0), len(msp.query("LINE")), case)
                    self.assertEqual(seen.get("POLYLINE", 0), len(polylines), case)
                    if joined:
                        # The square and the circle closed, the stroke open.
                        self.assertEqual(len(polylines), 3, case)
                        self.assertEqual(sum(p.is_closed for p in polylines), 2, case)
                        self.assertEqual(seen.get("closed", 0), 2, case)
                    # The header's extents are the drawing's.
                    xs = [p[0] for e in msp for p in entity_points(e)]
                    ys = [p[1] for e in msp for p in entity_points(e)]
                    for name, value in (("$EXTMIN", (min(xs), min(ys))), ("$EXTMAX", (max(xs), max(ys)))):
                        for got, want in zip(doc.header[name][:2], value):
                            self.assertAlmostEqual(got, want, delta=1e-3 * max(1.0, abs(want)), msg=f"{case} {name}")

    def test_lower_left_origin_gives_positive_coordinates_with_y_up(self):
        picture = self.path("square.bmp")
        shape_picture(picture, "square", 3, 0)
        top, low = self.path("top.dxf"), self.path("low.dxf")
        self.assertEqual(run("--dxf", "2000", "--polyline", picture, top).returncode, 0)
        self.assertEqual(run("--dxf", "2000", "--polyline", "--origin", "lower-left", picture, low).returncode, 0)
        a = entity_points(list(self.read_clean(top).modelspace())[0])
        b = entity_points(list(self.read_clean(low).modelspace())[0])
        self.assertEqual(min(p[0] for p in b), 0)
        self.assertEqual(min(p[1] for p in b), 0)
        # The same points moved: y = 0 at the picture's lowest line, rising upwards.
        dx, dy = min(p[0] for p in a), min(p[1] for p in a)
        self.assertEqual([(x - dx, y - dy) for x, y in a], [(x, y) for x, y in b])

    def test_a_dash_writes_the_drawing_to_standard_output(self):
        picture = self.path("square.bmp")
        shape_picture(picture, "square", 1, 0)
        out = self.path("file.dxf")
        self.assertEqual(run("--polyline", picture, out).returncode, 0)
        r = run("--polyline", picture, "-")
        self.assertEqual(r.returncode, 0, r.stderr)
        with open(out, "rb") as f:
            self.assertEqual(r.stdout, f.read())
        self.assertIn(b"Lines for output", r.stderr)
        self.assertFalse(os.path.exists("-.dxf"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
