"""A test case with a temporary folder of its own, for the end-to-end tests."""
import os
import tempfile
import unittest


class FolderCase(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()

    def tearDown(self):
        self.dir.cleanup()

    def path(self, *names):
        return os.path.join(self.dir.name, *names)
