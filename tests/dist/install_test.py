"""Installs the build into a DESTDIR and checks what a desktop and a shell will look for there."""
import configparser
import gzip
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, VERSION, WITH_WINDOW = sys.argv[1], sys.argv[2], sys.argv[3] == "ON"
del sys.argv[1:4]
PREFIX = "/usr"


def without_display():
    # The xcb platform with no display to go to: a program that tried to open a window would fail.
    env = {k: v for k, v in os.environ.items() if k not in ("DISPLAY", "WAYLAND_DISPLAY")}
    env["QT_QPA_PLATFORM"] = "xcb"
    return env


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory()
        cls.root = os.path.join(cls.tmp.name, "stage")
        env = dict(os.environ, DESTDIR=cls.root)
        done = subprocess.run(["cmake", "--install", BUILD, "--prefix", PREFIX], env=env,
                              capture_output=True, text=True, timeout=300)
        if done.returncode != 0:
            raise RuntimeError("cmake --install failed:\n" + done.stdout + done.stderr)

    @classmethod
    def tearDownClass(cls):
        cls.tmp.cleanup()

    def path(self, relative):
        return os.path.join(self.root, PREFIX.lstrip("/"), relative)

    def programs(self):
        return ["quernline-batch"] + (["quernline"] if WITH_WINDOW else [])

    def test_every_file_is_in_place(self):
        files = ["bin/quernline-batch", "share/man/man1/quernline-batch.1.gz", "share/doc/quernline/copyright"]
        if WITH_WINDOW:
            files += ["bin/quernline", "share/applications/quernline.desktop",
                      "share/icons/hicolor/scalable/apps/quernline.svg", "share/man/man1/quernline.1.gz"]
        for f in files:
            with self.subTest(file=f):
                self.assertTrue(os.path.isfile(self.path(f)), f)
                if f.startswith("bin/"):
                    self.assertTrue(os.access(self.path(f), os.X_OK), f)

    def manual_page(self, page):
        with gzip.open(self.path("share/man/man1/" + page + ".gz"), "rt") as f:
            return f.read()

    def test_copyright_file_is_machine_readable(self):
        with open(self.path("share/doc/quernline/copyright")) as f:
            head = f.readline()
        self.assertTrue(head.startswith("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/"))

    @unittest.skipUnless(WITH_WINDOW, "built without the window")
    def test_window_without_a_display_says_so(self):
        done = subprocess.run([self.path("bin/quernline")], env=without_display(), capture_output=True, text=True,
                              timeout=60)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn("no display", done.stderr)

    def test_version_without_a_display(self):
        for program in self.programs():
            with self.subTest(program=program):
                done = subprocess.run([self.path("bin/" + program), "--version"], env=without_display(),
                                      capture_output=True, text=True, timeout=60)
                self.assertEqual((done.returncode, done.stdout), (0, "quernline %s\n" % VERSION), done.stderr)

    def test_installed_batch_driver_writes_a_drawing(self):
        out = os.path.join(self.tmp.name, "builtin.dxf")
        done = subprocess.run([self.path("bin/quernline-batch"), out], capture_output=True, text=True, timeout=300)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"Lines for output: [1-9]\d* Normalized Objects")
        with open(out, "rb") as f:
            self.assertEqual(f.read(5), b"  0\r\n")

    def test_installed_batch_driver_reads_a_tiff(self):
        # The TIFF library is loaded only when a TIFF is read.
        picture = os.path.join(os.path.dirname(__file__), "..", "intake", "fixtures", "rgb_lzw.tif")
        out = os.path.join(self.tmp.name, "tiff.dxf")
        done = subprocess.run([self.path("bin/quernline-batch"), picture, out], capture_output=True, text=True,
                              timeout=300)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"Original Image X: 40 pixels")

    def test_manual_page_documents_every_option_of_the_help(self):
        help_text = subprocess.run([self.path("bin/quernline-batch"), "--help"], capture_output=True,
                                   text=True, timeout=60).stdout
        options = set(re.findall(r"(?<![\w-])(--[a-z][a-z-]*|-[a-z])(?![\w-])", help_text))
        self.assertIn("--scale", options)
        page = self.manual_page("quernline-batch.1").replace("\\-", "-")
        for option in sorted(options | {"--version"}):
            with self.subTest(option=option):
                # Named on a macro line of its own entry, not only in passing.
                entry = re.search(r"(?m)^\.B[IR]? (.* )?%s(?![\w-])" % re.escape(option), page)
                self.assertTrue(entry, option + " has no entry in the manual page")
        if shutil.which("groff"):
            for page in ("quernline-batch.1",) + (("quernline.1",) if WITH_WINDOW else ()):
                done = subprocess.run(["groff", "-man", "-ww", "-z"], input=self.manual_page(page),
                                      capture_output=True, text=True, timeout=60)
                self.assertEqual(done.stderr, "", page)

    @unittest.skipUnless(WITH_WINDOW, "built without the window")
    def test_desktop_entry_starts_the_program_with_its_icon_and_picture_types(self):
        entry_path = self.path("share/applications/quernline.desktop")
        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(entry_path)
        e = entry["Desktop Entry"]
        self.assertTrue(os.path.isfile(self.path("bin/" + e["Exec"].split()[0])))
        self.assertIn("%f", e["Exec"].split())
        icons = os.path.join(self.path("share/icons/hicolor"))
        found = [f for d, _, fs in os.walk(icons) for f in fs if os.path.splitext(f)[0] == e["Icon"]]
        self.assertTrue(found, "no icon named " + e["Icon"])
        types = set(filter(None, e["MimeType"].split(";")))
        self.assertEqual(types, {"image/jpeg", "image/bmp", "image/gif"})
        if shutil.which("desktop-file-validate"):
            done = subprocess.run(["desktop-file-validate", entry_path], capture_output=True, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stdout + done.stderr), (0, ""))


if __name__ == "__main__":
    unittest.main(verbosity=2)
