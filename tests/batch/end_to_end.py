"""Runs quernline-batch on small pictures and reads the drawings back."""
import os
import subprocess
import sys
import tempfile
import unittest

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


class EndToEnd(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()
        self.gif = os.path.join(self.dir.name, "drawing.gif")
        drawing(self.gif)

    def tearDown(self):
        self.dir.cleanup()

    def path(self, name):
        return os.path.join(self.dir.name, name)

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
            self.assertEqual(img.size, (400, 324))
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
        jpeg = self.path("drawing.jpeg")
        drawing(jpeg)
        r = run(jpeg, self.path("x.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("Not a valid File___peg", r.stderr)
        broken = self.path("broken.gif")
        with open(broken, "wb") as f:
            f.write(b"GIF89a not really")
        self.assertEqual(run(broken, self.path("x.dxf")).returncode, 1)
        r = run(self.gif, os.path.join(self.dir.name, "no", "such", "dir", "x.dxf"))
        self.assertEqual(r.returncode, 1)
        self.assertNotIn("done", r.stderr)


if __name__ == "__main__":
    unittest.main()
