"""End-to-end tests of halyward-app: a real X server, a real window manager, real X
clients, and the halyward command line and xdotool chords driving them. Each class runs
one desktop under one window manager; the tests share it and close their own windows."""

import os
import signal
import subprocess
import unittest

from app_harness import HEIGHT, WIDTH, AppDesktop, tile_frame
from harness import Timeout, wait_for

SCREEN = (0, 0, WIDTH, HEIGHT)


class Tiling:
    """The checks every window manager must pass. Subclasses name the window manager."""

    WM = None

    @classmethod
    def setUpClass(cls):
        cls.desktop = AppDesktop(cls.WM, cls.WM)
        cls.desktop.write_config("[general]\nanimate_tiles = false\n")
        cls.desktop.start_app()

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()

    def open(self, name, *flags, geometry="400x300+100+100"):
        wid, process = self.desktop.window(name, geometry, *flags)
        self.addCleanup(self.close, process)
        return wid

    def close(self, process):
        process.terminate()
        process.wait(5)

    def tile(self, *arguments):
        result = self.desktop.cli("tile", *arguments)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_tile_gives_the_tile_of_the_visible_frame_exactly(self):
        alpha = self.open("alpha")
        for slot in ("left-half", "right-half", "top-half", "fill"):
            with self.subTest(slot=slot):
                self.tile("alpha", slot)
                self.desktop.wait_frame(alpha, tile_frame(slot, SCREEN, 0), slot)

    def test_a_terminal_lands_anchored_within_one_cell(self):
        term, _ = self.desktop.xterm()
        self.addCleanup(lambda: subprocess.run(["xdotool", "windowkill", str(term)],
                                               env=self.desktop.env))
        cell = self.desktop.size_increments(term)
        self.assertGreater(cell[0], 1)
        for slot in ("right-half", "bottom-half"):
            with self.subTest(slot=slot):
                self.tile("xterm", slot)
                want = tile_frame(slot, SCREEN, 0)

                def anchored():
                    got = self.desktop.frame(term)
                    return got and got[:2] == want[:2] and \
                        0 <= want[2] - got[2] < cell[0] and 0 <= want[3] - got[3] < cell[1]
                wait_for(anchored, timeout=10, what=f"xterm at {want}, got {self.desktop.frame(term)}")


class Openbox(Tiling, unittest.TestCase):
    WM = "openbox"


if __name__ == "__main__":
    unittest.main()
