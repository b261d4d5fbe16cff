"""quernline-batch refuses what would lose a file, and on any failure leaves
every old file byte for byte as it was, with no temporary beside it."""
import os
import stat
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from folder_case import FolderCase  # noqa: E402

from PIL import Image, ImageDraw

BATCH = sys.argv.pop(1)


def run(*args):
    return subprocess.run([BATCH, "--quiet", *args], capture_output=True, text=True, timeout=120)


def picture(path):
    img = Image.new("L", (60, 40), 255)
    ImageDraw.Draw(img).line([5, 5, 55, 35], fill=0, width=3)
    img.save(path)


class NothingLost(FolderCase):
    def setUp(self):
        super().setUp()
        self.gif = self.path("in.gif")
        picture(self.gif)

    def snapshot(self):
        """Every entry under the folder: its kind and its bytes."""
        seen = {}
        for folder, _, files in os.walk(self.dir.name):
            for name in files:
                full = os.path.join(folder, name)
                mode = os.lstat(full).st_mode
                if stat.S_ISREG(mode):
                    with open(full, "rb") as f:
                        seen[full] = f.read()
                else:
                    seen[full] = stat.S_IFMT(mode)
        return seen

    def assertRefusedLeavingAll(self, code, message, *args):
        before = self.snapshot()
        r = run(*args)
        self.assertEqual(r.returncode, code, r.stderr)
        self.assertIn(message, r.stderr)
        self.assertEqual(self.snapshot(), before, "a file changed, or a temporary was left")

    def test_an_output_that_is_an_input_or_another_output_is_refused_before_any_work(self):
        with open(self.path("out.dxf"), "wb") as f:
            f.write(b"old drawing")
        os.symlink("in.gif", self.path("alias.png"))
        cases = [
            (["--preview", self.gif, self.gif, self.path("out.dxf")], "is the same file as"),
            (["--preview", self.path("alias.png"), self.gif, self.path("out.dxf")], "is the same file as"),
            (["--svg", self.path("out.dxf"), self.gif, self.path("out.dxf")], "is the same file as"),
            (["--preview", self.path(".", "out.dxf"), self.gif, self.path("out")], "is the same file as"),
        ]
        for args, message in cases:
            with self.subTest(args=args):
                self.assertRefusedLeavingAll(2, message, *args)

    def test_pictures_of_one_name_in_an_out_dir_are_refused_or_numbered(self):
        for sub in "abc":
            os.mkdir(self.path(sub))
        pictures = [self.path("a", "scan.gif"), self.path("b", "scan.gif"), self.path("c", "scan.gif")]
        for p in pictures:
            picture(p)
        picture(self.path("c", "scan-2.gif"))
        pictures.append(self.path("c", "scan-2.gif"))
        self.assertRefusedLeavingAll(2, "--on-collision suffix", "--out-dir", self.path("out"), *pictures)
        r = run("--on-collision", "suffix", "--out-dir", self.path("out"), *pictures)
        self.assertEqual(r.returncode, 0, r.stderr)
        self.assertEqual(sorted(os.listdir(self.path("out"))),
                         ["scan-2.dxf", "scan-3.dxf", "scan-4.dxf", "scan.dxf"])
        self.assertTrue(r.stdout.splitlines()[-1].startswith("4 pictures: 4 written, 0 failed"), r.stdout)

    def test_easy_mistakes_are_refused_and_write_nothing(self):
        cases = [
            ([self.gif], "is a picture: name the drawing too"),
            ([self.gif, ""], "name is empty"),
            ([self.gif, "/"], "is a folder"),
            ([self.gif, self.dir.name + "/"], "is a folder"),
            (["--svg", self.dir.name, self.gif, self.path("x.dxf")], "is a folder"),
            (["--max-megapixels", "50", self.gif, self.path("x.dxf")], "goes with --large"),
            (["--no-original", self.gif, self.path("x.dxf")], "changes only the preview"),
            (["--on-collision", "suffix", self.gif, self.path("x.dxf")], "goes with --out-dir"),
        ]
        for args, message in cases:
            with self.subTest(args=args):
                self.assertRefusedLeavingAll(2, message, *args)
        dashed = self.path("-dashed.gif")
        picture(dashed)
        r = run("--", dashed, self.path("x.dxf"))
        self.assertEqual(r.returncode, 0, r.stderr)

    def test_a_failing_preview_leaves_the_old_drawing(self):
        with open(self.path("out.dxf"), "wb") as f:
            f.write(b"old drawing")
        os.mkfifo(self.path("unread.png"))
        self.assertRefusedLeavingAll(1, "no program is reading", "--preview", self.path("unread.png"), self.gif,
                                     self.path("out.dxf"))
        if os.access("/dev/full", os.W_OK):
            # Written last, after the drawing is in place: the drawing is put back.
            self.assertRefusedLeavingAll(1, "No space left on device", "--preview", "/dev/full", self.gif,
                                         self.path("out.dxf"))

    def test_a_preview_keeps_what_its_target_is(self):
        with open(self.path("old.png"), "wb") as f:
            f.write(b"old")
        os.link(self.path("old.png"), self.path("other.png"))
        os.chmod(self.path("old.png"), 0o600)
        r = run("--preview", self.path("old.png"), self.gif, self.path("x.dxf"))
        self.assertEqual(r.returncode, 0, r.stderr)
        with open(self.path("other.png"), "rb") as f:
            self.assertTrue(f.read().startswith(b"\x89PNG"))
        self.assertEqual(stat.S_IMODE(os.stat(self.path("old.png")).st_mode), 0o600)
        if os.getuid() == 0:
            os.mknod(self.path("null.png"), 0o666 | stat.S_IFCHR, os.makedev(1, 3))
            self.assertEqual(run("--preview", self.path("null.png"), self.gif, self.path("y.dxf")).returncode, 0)
            self.assertTrue(stat.S_ISCHR(os.lstat(self.path("null.png")).st_mode))

    def test_line_tables_past_the_memory_of_max_megapixels_are_refused_before_they_grow(self):
        comb = self.path("comb.gif")
        img = Image.new("L", (700, 700), 255)
        d = ImageDraw.Draw(img)
        for x in range(2, 698, 3):
            d.line([x, 2, x, 696], fill=0, width=1)
        img.save(comb)
        # About 245,000 line pixels: past the tables of three megapixels, within those of four.
        self.assertRefusedLeavingAll(1, "the line table takes 187499", "--large", "--max-megapixels", "3", comb,
                                     self.path("comb.dxf"))
        r = run("--large", "--max-megapixels", "4", comb, self.path("comb.dxf"))
        self.assertEqual(r.returncode, 0, r.stderr)

    def test_a_scale_past_the_limits_is_refused_from_the_header_with_a_scale_that_fits(self):
        big = self.path("big.gif")
        img = Image.new("L", (5000, 5000), 255)
        ImageDraw.Draw(img).line([0, 0, 4999, 4999], fill=0, width=3)
        img.save(big)
        self.assertRefusedLeavingAll(1, "A --scale of 0.3 would fit", "--scale", "2", big, self.path("big.dxf"))
        r = run("--scale", "0.3", big, self.path("big.dxf"))
        self.assertEqual(r.returncode, 0, r.stderr)

    def test_an_out_dir_that_cannot_be_made_says_why(self):
        with open(self.path("file"), "wb") as f:
            f.write(b"not a folder")
        self.assertRefusedLeavingAll(1, "Not a directory", "--out-dir", self.path("file", "out"), self.gif)


if __name__ == "__main__":
    unittest.main()
