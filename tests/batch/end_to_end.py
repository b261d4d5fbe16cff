"""Runs quernline-batch on small pictures and reads the drawings back."""
import os
import random
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from folder_case import FolderCase  # noqa: E402

import ezdxf
from PIL import Image, ImageDraw

BATCH = sys.argv.pop(1)


def drawing(path, size=(120, 90)):
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    d.rectangle([8, 8, size[0] - 9, size[1] - 9], outline=0, width=3)
    d.line([20, 70, 100, 20], fill=0, width=3)
    d.ellipse([40, 30, 70, 60], outline=0, width=3)
    img.save(path)


def run(*args):
    return subprocess.run([BATCH, *args], capture_output=True, text=True, timeout=120)


class EndToEnd(FolderCase):
    def setUp(self):
        super().setUp()
        self.gif = os.path.join(self.dir.name, "drawing.gif")
        drawing(self.gif)

    def test_gif_to_dxf_lines_match_the_statistics(self):
        out = self.path("out.dxf")
        preview = self.path("preview.png")
        r = run("--preview", preview, self.gif, out)
        self.assertEqual(r.returncode, 0, r.stderr)
        stats = r.stdout.splitlines()
        self.assertEqual(stats[0], "Filename: ...drawing.gif")
        self.assertEqual(stats[1], "Original Image X: 120 pixels")
        count = int(stats[5].split()[3])
        doc = ezdxf.readfile(out)
        self.assertEqual(doc.dxfversion, "AC1009")
        lines = list(doc.modelspace().query("LINE"))
        # QuickLogic is ticked: one LINE per record, separators and the record past the last included.
        self.assertEqual(len(lines), count)
        real = [l for l in lines if l.dxf.start != l.dxf.end]
        self.assertGreater(len(real), 4)
        for l in real:
            for p in (l.dxf.start, l.dxf.end):
                self.assertTrue(0 <= p.x < 120 and -90 < p.y <= 0, p)
        with Image.open(preview) as img:
            # The picture's own shape, 400 pixels on its longer side: 120 by 90.
            self.assertEqual(img.size, (400, 300))
            self.assertIn((255, 0, 0), set(img.convert("RGB").getdata()))

    def test_reorder_leaves_no_separator_lines_and_scale_shrinks_the_drawing(self):
        out = self.path("half")
        r = run("--reorder", "--scale", "0.5", "--tolerance", "20", self.gif, out)
        self.assertEqual(r.returncode, 0, r.stderr)
        lines = list(ezdxf.readfile(out + ".dxf").modelspace().query("LINE"))
        self.assertTrue(lines)
        for l in lines:
            self.assertNotEqual((l.dxf.start.x, l.dxf.start.y), (-1, 1))
            self.assertLess(l.dxf.start.x, 60)

    def test_built_in_picture_runs_without_a_picture_argument(self):
        out = self.path("builtin.dxf")
        r = run(out)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertIn("Original Image X: 700 pixels", r.stdout)
        self.assertGreater(len(ezdxf.readfile(out).modelspace().query("LINE")), 50)

    def test_refusals_and_failures_have_their_exit_codes(self):
        r = run("--blur", "9", self.path("x.dxf"))
        self.assertEqual(r.returncode, 2)
        self.assertIn("0 to 3", r.stderr)
        tga = self.path("drawing.tga")
        drawing(self.path("drawing.png"))
        os.rename(self.path("drawing.png"), tga)
        r = run(tga, self.path("x.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("the name must end in .jpg, .jpeg, .bmp, .gif, .png, .tif or .tiff", r.stderr)
        broken = self.path("broken.gif")
        with open(broken, "wb") as f:
            f.write(b"GIF89a not really")
        self.assertEqual(run(broken, self.path("x.dxf")).returncode, 1)
        r = run(self.gif, os.path.join(self.dir.name, "no", "such", "dir", "x.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertNotIn("done", r.stderr)


GOLDEN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "golden", "pictures")


def comb(path, size=(700, 700), step=3):
    """One-pixel vertical lines: thinning keeps every pixel of them."""
    img = Image.new("L", size, 255)
    d = ImageDraw.Draw(img)
    for x in range(2, size[0] - 2, step):
        d.line([x, 2, x, size[1] - 3], fill=0, width=1)
    img.save(path)


def lines_of(path):
    return list(ezdxf.readfile(path).modelspace().query("LINE"))


class LargeScans(FolderCase):
    def test_large_gives_the_same_drawing_for_pictures_within_the_limits(self):
        for picture, args in [("plan.gif", ["--reorder"]), ("sketch.jpg", ["--scale", "0.7", "--blur", "2"])]:
            plain, large = self.path("plain.dxf"), self.path("large.dxf")
            self.assertEqual(run(*args, os.path.join(GOLDEN, picture), plain).returncode, 0)
            self.assertEqual(run("--large", *args, os.path.join(GOLDEN, picture), large).returncode, 0)
            with open(plain, "rb") as a, open(large, "rb") as b:
                self.assertEqual(a.read(), b.read(), picture)

    def test_a_grey_page_refused_at_thinning_points_to_the_threshold(self):
        # Three quarters of the page darker than the threshold: thinning
        # lists too many pixels because the page is grey, not because it is large.
        picture = self.path("grey.bmp")
        shades = random.Random(1)
        im = Image.new("L", (600, 600))
        im.putdata([shades.choice((120, 140, 160, 230)) for _ in range(600 * 600)])
        im.convert("RGB").save(picture)
        r = run("--blur", "0", picture, self.path("grey.dxf"))
        self.assertEqual(r.returncode, 1, r.stderr)
        self.assertIn("stage 4 (thin) refused", r.stderr)
        self.assertIn("75% of the picture is black at --threshold 200", r.stderr)
        self.assertIn("a lower --threshold (119 leaves at most a quarter of it black)", r.stderr)
        self.assertNotIn("--large", r.stderr)
        self.assertNotIn("--scale", r.stderr)

    def test_a_listing_past_the_tables_is_refused_without_large_and_drawn_with_it(self):
        picture = self.path("comb.gif")
        comb(picture)
        out = self.path("comb.dxf")
        with open(out, "w") as f:
            f.write("an older drawing")
        r = run("--blur", "0", picture, out)
        self.assertEqual(r.returncode, 1)
        self.assertIn("stage 4 (thin) refused", r.stderr)
        self.assertIn("--large", r.stderr)
        self.assertIn("--scale", r.stderr)
        with open(out) as f:
            self.assertEqual(f.read(), "an older drawing", "a refused run leaves the old drawing")
        r = run("--large", "--blur", "0", "--reorder", picture, out)
        self.assertEqual(r.returncode, 0, r.stderr)
        count = int(r.stdout.splitlines()[5].split()[3])
        self.assertEqual(len(lines_of(out)), count)
        self.assertGreater(count, 200)

    def test_each_refusal_names_its_stage_and_exits_1_writing_nothing(self):
        wide = os.path.join(GOLDEN, "wide.gif")
        cases = [
            (["--blur", "1"], "stage 2 (blur) refused"),
            (["--blur", "0"], "stage 3 (threshold) refused"),
        ]
        for args, message in cases:
            out = self.path("wide.dxf")
            r = run(*args, wide, out)
            self.assertEqual(r.returncode, 1, args)
            self.assertIn(message, r.stderr)
            self.assertIn("A --scale of 0.93 would fit", r.stderr)
            self.assertFalse(os.path.exists(out))

    def test_many_pictures_write_the_good_ones_and_report_the_bad_one(self):
        bad = self.path("bad.gif")
        with open(bad, "wb") as f:
            f.write(b"GIF89a cut short")
        pictures = [os.path.join(GOLDEN, "plan.gif"), bad, os.path.join(GOLDEN, "strokes.bmp")]
        outdir, previews = self.path("out"), self.path("previews")
        r = run("-j", "2", "--out-dir", outdir, "--preview-dir", previews, *pictures)
        self.assertEqual(r.returncode, 1)
        self.assertEqual(sorted(os.listdir(outdir)), ["plan.dxf", "strokes.dxf"])
        self.assertEqual(sorted(os.listdir(previews)), ["plan.png", "strokes.png"])
        rows = r.stdout.splitlines()[1:-1]
        self.assertEqual([row.split()[-1] if "written" in row else "failed" for row in rows],
                         ["written", "failed", "written"])
        self.assertTrue(r.stdout.splitlines()[-1].startswith("3 pictures: 2 written, 1 failed"), r.stdout)
        self.assertIn("bad.gif: ", r.stderr)
        # The same drawing as the single-picture form writes.
        single = self.path("plan.dxf")
        self.assertEqual(run(pictures[0], single).returncode, 0)
        with open(single, "rb") as a, open(os.path.join(outdir, "plan.dxf"), "rb") as b:
            self.assertEqual(a.read(), b.read())

    def test_a_run_on_a_pipe_prints_no_progress(self):
        r = run(os.path.join(GOLDEN, "plan.gif"), self.path("plan.dxf"))
        self.assertEqual(r.returncode, 0)
        self.assertEqual(r.stderr, "")


class CadOutputs(FolderCase):
    def setUp(self):
        super().setUp()
        self.picture = os.path.join(GOLDEN, "plan.gif")

    def test_polylines_hold_every_segment_of_the_line_run_once(self):
        # --polyline makes a clean drawing; the clean LINE drawing has the
        # same paths, loops closed and stubs dropped alike.
        lines_dxf, poly_dxf = self.path("lines.dxf"), self.path("poly.dxf")
        self.assertEqual(run("--reorder", "--clean", self.picture, lines_dxf).returncode, 0)
        self.assertEqual(run("--reorder", "--polyline", self.picture, poly_dxf).returncode, 0)
        segments = sorted(
            tuple(sorted([(l.dxf.start.x, l.dxf.start.y), (l.dxf.end.x, l.dxf.end.y)]))
            for l in lines_of(lines_dxf) if l.dxf.start != l.dxf.end)
        doc = ezdxf.readfile(poly_dxf)
        self.assertEqual(len(doc.audit().errors), 0)
        self.assertEqual(len(doc.modelspace().query("LINE")), 0)
        joined = []
        for p in doc.modelspace().query("POLYLINE"):
            pts = [(v.dxf.location.x, v.dxf.location.y) for v in p.vertices]
            if p.is_closed:
                pts.append(pts[0])
            joined += [tuple(sorted([a, b])) for a, b in zip(pts, pts[1:])]
        self.assertEqual(sorted(joined), segments)

    def test_millimetres_scale_by_the_scan_resolution_and_the_rescale_factor(self):
        px, mm, svg = self.path("px.dxf"), self.path("mm.dxf"), self.path("mm.svg")
        self.assertEqual(run("--scale", "0.5", "--clean", self.picture, px).returncode, 0)
        r = run("--scale", "0.5", "--dpi", "300", "--units", "mm", "--svg", svg, self.picture, mm)
        self.assertEqual(r.returncode, 0, r.stderr)
        factor = 25.4 / (300 * 0.5)
        a, b = lines_of(px), lines_of(mm)
        self.assertEqual(len(a), len(b))
        for la, lb in zip(a, b):
            self.assertAlmostEqual(la.dxf.end.x * factor, lb.dxf.end.x, places=4)
            self.assertAlmostEqual(la.dxf.end.y * factor, lb.dxf.end.y, places=4)
        import xml.etree.ElementTree as ET
        root = ET.parse(svg).getroot()
        # A clean SVG has a polyline for each open path and a polygon for each loop.
        drawn = 0
        for e in root.iter():
            if e.tag.endswith("polyline") or e.tag.endswith("polygon"):
                n = len(e.get("points").split())
                drawn += n if e.tag.endswith("polygon") else n - 1
        self.assertEqual(drawn, len(a))
        self.assertTrue(root.get("width").endswith("mm"))

    def test_units_need_a_resolution(self):
        r = run("--units", "mm", self.picture, self.path("x.dxf"))
        self.assertEqual(r.returncode, 2)
        self.assertIn("--dpi", r.stderr)


class ScanFormats(FolderCase):
    def test_png_and_group_4_tiff_give_the_drawing_of_the_bmp(self):
        drawing(self.path("grey.png"))
        bits = Image.open(self.path("grey.png")).convert("1")
        bits.save(self.path("d.bmp"))
        bits.save(self.path("d.PNG"))
        blank = Image.new("1", (30, 20), 1)
        bits.save(self.path("d.tiff"), compression="group4", save_all=True, append_images=[blank])
        # The drawing as the second page, behind a blank one.
        blank.save(self.path("second.tif"), compression="group4", save_all=True, append_images=[bits])
        outputs = {}
        for name, extra in [("d.bmp", []), ("d.PNG", []), ("d.tiff", []), ("second.tif", ["--page", "2"])]:
            out = self.path(name + ".dxf")
            r = run(*extra, self.path(name), out)
            self.assertEqual(r.returncode, 0, name + ": " + r.stderr)
            with open(out, "rb") as f:
                outputs[name] = f.read()
        self.assertGreater(len(lines_of(self.path("d.bmp.dxf"))), 10)
        for name in ["d.PNG", "d.tiff", "second.tif"]:
            self.assertEqual(outputs[name], outputs["d.bmp"], name)
        r = run("--page", "3", self.path("d.tiff"), self.path("x.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("it has 2 pages, not 3", r.stderr)


if __name__ == "__main__":
    unittest.main()
