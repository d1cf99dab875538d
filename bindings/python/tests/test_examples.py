"""Runs the examples on a small recording of the demo, with the program in ZTCLIENT."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import ztlib

EXAMPLES = pathlib.Path(__file__).resolve().parents[3] / "examples"


@unittest.skipUnless("ZTCLIENT" in os.environ, "needs ztclient")
class Examples(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.root = pathlib.Path(cls.folder.name)
        subprocess.run([os.environ["ZTCLIENT"], "demo", "--frames", "8", "--size", "160x128",
                        "--out", cls.folder.name], check=True, stdout=subprocess.DEVNULL)

    def run_example(self, name, *arguments):
        return subprocess.run([sys.executable, EXAMPLES / name, *arguments], check=True,
                              stdout=subprocess.PIPE, text=True).stdout

    def test_layers(self):
        rows = [line.split() for line in
                self.run_example("layers.py", self.root / "demo-layered.zts").splitlines()]
        self.assertEqual([int(row[0]) for row in rows], list(range(8)))
        for row in rows:
            self.assertTrue(all(int(size) > 0 for size in row[1:5]))
            first, second, third = map(float, row[5:])
            self.assertTrue(first > second > third > 0)

    def test_motion_areas(self):
        for recording in "demo.zts", "demo-diff.zts", "demo-layered.zts":
            output = self.root / "areas.ppm"
            self.run_example("motion_areas.py", self.root / recording, output, "5")
            self.assertEqual(output.stat().st_size, len("P6 160 128 255\n") + 160 * 128 * 3)

    def test_a_cut_recording(self):
        whole = (self.root / "demo.zts").read_bytes()
        cut = self.root / "cut.zts"
        for size in 4, len(whole) - 1:
            cut.write_bytes(whole[:size])
            with self.assertRaisesRegex(ValueError, "cut or damaged"):
                list(ztlib.frames(cut))
