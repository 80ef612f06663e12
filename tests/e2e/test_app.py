"""End-to-end tests of halyward-app: a real X server, a real window manager, real X
clients, and the halyward command line and xdotool chords driving them. Each class runs
one desktop under one window manager; the tests share it and close their own windows."""

import faulthandler
import os
import re
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

    def test_an_animated_move_ends_exactly_on_the_tile_even_when_a_window_vanishes(self):
        alpha = self.open("alpha")
        beta, beta_process = self.desktop.window("beta", "300x200+600+500")
        self.configure("animate_tiles = true")
        # A window that closes halfway through its move does not stop the app.
        def animating():
            self.tile("beta", "fill")
            self.tile("alpha", "right-half")
            return self.desktop.frame(alpha) == tile_frame("right-half", SCREEN, 0)
        wait_for(animating, timeout=10, what="the animation to end on the right half")
        self.tile("beta", "left-half")
        self.close(beta_process)
        self.tile("alpha", "bottom-half")
        self.desktop.wait_frame(alpha, tile_frame("bottom-half", SCREEN, 0), "the animated move")
        self.assertEqual(self.desktop.cli("ping").returncode, 0)

    def test_the_leader_key_then_a_letter(self):
        alpha = self.open("alpha")
        self.configure('leader_key = "caps"', '[hotkeys]\n"leader+g" = "gamma"')
        self.desktop.activate(alpha)

        def launched():
            self.desktop.key("Caps_Lock", "g")
            try:
                return self.desktop.managed(lambda: self.desktop.find("gamma"), timeout=5)
            except Timeout:
                return None
        gamma = wait_for(launched, timeout=40, what="caps then g to launch gamma")
        self.addCleanup(self.desktop.close_window, gamma)

    def test_client_side_shadows_are_not_part_of_the_tile(self):
        shadowed = self.open("delta", "--csd", "24")
        self.tile("delta", "right-half")
        self.desktop.wait_frame(shadowed, tile_frame("right-half", SCREEN, 0), "the shadowed window")

    @unittest.skipUnless(os.environ.get("HALYWARD_WEB_HOST"), "needs HalywardWebHost")
    def test_our_own_web_app_window(self):
        notes, process = self.desktop.web_app("notes")
        self.addCleanup(self.close, process)
        for slot in ("left-half", "bottom-half"):
            with self.subTest(slot=slot):
                self.tile("app.halyward.web.notes", slot)
                self.desktop.wait_frame(notes, tile_frame(slot, SCREEN, 0), slot)
        # The page painted where the tile is (white), not a black hole.
        x, y, w, h = tile_frame("bottom-half", SCREEN, 0)
        wait_for(lambda: self.desktop.pixel(self.desktop.screenshot("web-app"), x + w // 2,
                                            y + h // 2) == "srgb(255,255,255)",
                 timeout=30, what="the web app to paint its tile")

    def test_chords_survive_a_keyboard_mapping_change(self):
        alpha = self.open("alpha")
        self.tile("alpha", "left-half")
        self.desktop.wait_frame(alpha, tile_frame("left-half", SCREEN, 0))
        # F and G change keys; ctrl+opt+f must follow F to its new key.
        self.desktop.run("xmodmap", "-e", "keycode 41 = g G", "-e", "keycode 42 = f F")
        self.addCleanup(self.desktop.run, "xmodmap", "-e", "keycode 41 = f F", "-e",
                        "keycode 42 = g G")
        self.desktop.activate(alpha)
        self.press_until("ctrl+alt+f", alpha, SCREEN, "ctrl+opt+f on its new key to fill")

    def test_size_hints_land_anchored_to_the_tiles_corner(self):
        term, _ = self.desktop.xterm()
        self.addCleanup(self.desktop.close_window, term)
        cell = self.desktop.size_increments(term)
        self.assertGreater(cell[0], 1)
        wide = self.open("delta", "--min", "900x700")
        # (app word, window, tile, how far short of the tile the size may fall, how far over)
        cases = [("xterm", term, "right-half", cell, (0, 0)),
                 ("xterm", term, "bottom-half", cell, (0, 0)),
                 ("delta", wide, "left-half", (1, 1), (900, 700))]
        for word, wid, slot, short, over in cases:
            with self.subTest(app=word, slot=slot):
                self.tile(word, slot)
                want = tile_frame(slot, SCREEN, 0)

                def anchored():
                    got = self.desktop.frame(wid)
                    return got and got[:2] == want[:2] and all(
                        -over[i] <= want[2 + i] - got[2 + i] < short[i] for i in (0, 1))
                wait_for(anchored, timeout=10,
                         what=f"{word} anchored at {want}, got {self.desktop.frame(wid)}")

    def test_a_dock_with_a_strut_shrinks_the_visible_frame(self):
        alpha = self.open("alpha")
        dock = self.desktop.test_window("dock", "top", "40")
        self.addCleanup(self.close, dock)
        # The app learns of the dock from the window manager's client list; the tile is
        # asked again until it lands below the dock.
        want = tile_frame("fill", (0, 40, WIDTH, HEIGHT - 40), 0)

        def below_dock():
            self.tile("alpha", "fill")
            return self.desktop.frame(alpha) == want
        wait_for(below_dock, timeout=10, what=f"a fill below the dock at {want}")

    def test_chords_and_tile_mode(self):
        alpha = self.open("alpha")
        beta = self.open("beta", geometry="400x300+700+100")
        self.tile("alpha", "left-half")
        self.tile("beta", "right-half")
        left, right = tile_frame("left-half", SCREEN, 0), tile_frame("right-half", SCREEN, 0)
        self.desktop.wait_frame(alpha, left)
        self.desktop.wait_frame(beta, right)
        self.desktop.activate(alpha)

        # A global chord: fill, then a layout puts the two windows back in halves.
        self.desktop.key("ctrl+alt+f")
        self.desktop.wait_frame(alpha, SCREEN, "ctrl+opt+f fills")
        self.desktop.key("ctrl+alt+1")
        wait_for(lambda: {self.desktop.frame(alpha), self.desktop.frame(beta)} == {left, right},
                 timeout=10, what="layout 1 to give the two halves")
        self.tile("alpha", "left-half")
        self.tile("beta", "right-half")
        self.desktop.wait_frame(alpha, left)
        self.desktop.wait_frame(beta, right)
        self.desktop.activate(alpha)

        # Tile mode: the panel and the focus ring show; bare keys act.
        self.desktop.key("ctrl+alt+space")
        panel = wait_for(lambda: self.desktop.overlay(min_width=200), what="the tile-mode panel")
        px, py, pw, ph = panel
        self.assertAlmostEqual(px + pw / 2, WIDTH / 2, delta=1)
        self.assertAlmostEqual(py + ph / 2, HEIGHT / 2, delta=1)
        wait_for(lambda: self.desktop.ring() == left, what="the focus ring around alpha")
        shot = self.desktop.screenshot("tile-mode")
        self.assertEqual(self.desktop.pixel(shot, px + 6, py + ph // 2), "srgb(29,31,36)")
        self.assertEqual(self.desktop.pixel(shot, left[0] + 1, left[1] + 100), "srgb(76,141,255)")

        self.desktop.key("l")
        wait_for(lambda: self.desktop.active() == beta, what="l to focus the right window")
        wait_for(lambda: self.desktop.ring() == right, what="the ring to follow the focus")
        self.desktop.key("h")
        wait_for(lambda: self.desktop.active() == alpha, what="h to focus the left window")
        self.desktop.key("shift+l")
        wait_for(lambda: self.desktop.frame(alpha) == right, timeout=10,
                 what="shift+l to move the window right")
        self.desktop.key("2")
        wait_for(lambda: self.desktop.frame(alpha)[2] < WIDTH / 2 - 1, timeout=10,
                 what="layout 2 (thirds) to narrow the focused window")
        self.desktop.key("Escape")
        wait_for(lambda: self.desktop.overlay(min_width=0) is None, what="tile mode to end")
        # The keyboard is ours no more: a bare key reaches the focused window again.
        self.desktop.key("l")
        self.assertIsNone(self.desktop.overlay(min_width=0))

    def test_a_layout_takes_only_the_windows_of_the_current_workspace(self):
        alpha = self.open("alpha")
        beta = self.open("beta", geometry="300x300+600+100")
        away = self.open("gamma", geometry="300x300+300+500")
        self.desktop.run("wmctrl", "-i", "-r", str(away), "-t", "1")
        wait_for(lambda: "= 1" in self.desktop.xprop(away, "_NET_WM_DESKTOP"),
                 what="gamma to move to the second workspace")
        self.desktop.activate(alpha)
        self.desktop.key("ctrl+alt+1")
        halves = {tile_frame("left-half", SCREEN, 0), tile_frame("right-half", SCREEN, 0)}
        wait_for(lambda: {self.desktop.frame(alpha), self.desktop.frame(beta)} == halves,
                 timeout=10, what="layout 1 to halve the two windows in sight")

    def test_only_one_display_shows_a_notice(self):
        alpha = self.open("alpha")
        self.desktop.activate(alpha)
        self.desktop.key("ctrl+alt+bracketright")
        notice = wait_for(lambda: self.desktop.overlay(min_width=50), what="the notice")
        shot = self.desktop.screenshot("notice")
        self.assertEqual(self.desktop.pixel(shot, notice[0] + 4, notice[1] + notice[3] // 2),
                         "srgb(29,31,36)")
        wait_for(lambda: self.desktop.overlay(min_width=0) is None, what="the notice to go")

    def test_an_app_hotkey_launches_focuses_cycles_and_hides(self):
        alpha = self.open("alpha")
        self.configure('hide_on_repeat = true', '[hotkeys]\n"ctrl+opt+b" = "beta"')
        self.desktop.activate(alpha)
        self.desktop.key("ctrl+alt+b")
        first = self.desktop.managed(lambda: self.desktop.find("beta"))
        self.addCleanup(self.desktop.close_window, first)
        wait_for(lambda: self.desktop.active() == first, what="the launched window to take the focus")
        # Launched with startup notification: the id carries the chord's server time.
        startup = re.search(r'_TIME(\d+)"', self.desktop.xprop(first, "_NET_STARTUP_ID"))
        self.assertTrue(startup and int(startup.group(1)) > 0, "no startup id with a time")

        second = self.open("beta", geometry="300x200+500+500")
        self.desktop.activate(alpha)
        self.desktop.key("ctrl+alt+b")
        wait_for(lambda: self.desktop.active() in (first, second), what="the hotkey to focus beta")
        focused = self.desktop.active()
        self.desktop.key("ctrl+alt+b")
        other = second if focused == first else first
        wait_for(lambda: self.desktop.active() == other, what="the hotkey to cycle beta's windows")

        self.desktop.close_window(second)
        wait_for(lambda: self.desktop.find("beta") == first and second not in self.desktop.client_list(),
                 what="the second beta window to close")
        self.desktop.activate(first)
        self.desktop.key("ctrl+alt+b")
        wait_for(lambda: "_NET_WM_STATE_HIDDEN" in self.desktop.xprop(first, "_NET_WM_STATE"),
                 what="the hotkey to hide beta")

    def test_a_rule_tiles_a_window_when_it_maps(self):
        result = self.desktop.cli("rule", "add", "gamma", "--tile", "bottom-half")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.addCleanup(self.desktop.cli, "rule", "remove", "gamma", "--yes")
        # The app reads the rule from the saved file; a gamma window opened after that is
        # tiled as it appears.
        wait_for(lambda: "gamma" in self.desktop.config_path.read_text(), what="the rule saved")
        want = tile_frame("bottom-half", SCREEN, 0)

        def tiled():
            gamma, process = self.desktop.window("gamma", "300x200+50+50")
            try:
                wait_for(lambda: self.desktop.frame(gamma) == want, timeout=3, what="the rule")
                self.addCleanup(self.close, process)
                return True
            except Timeout:
                self.close(process)
                return False
        wait_for(tiled, timeout=20, what=f"a new gamma window at {want}")

    def test_a_saved_layout_restores_the_frames(self):
        alpha = self.open("alpha")
        beta = self.open("beta", geometry="300x300+600+300")
        self.tile("alpha", "top-half")
        self.tile("beta", "bottom-half")
        top, bottom = tile_frame("top-half", SCREEN, 0), tile_frame("bottom-half", SCREEN, 0)
        self.desktop.wait_frame(alpha, top)
        self.desktop.wait_frame(beta, bottom)
        saved = self.desktop.cli("layout", "save", "stacked")
        self.assertEqual(saved.returncode, 0, saved.stderr)
        self.assertIn("[layouts.stacked]", self.desktop.config_path.read_text())
        self.tile("alpha", "right-half")
        self.tile("beta", "left-half")
        self.desktop.wait_frame(alpha, tile_frame("right-half", SCREEN, 0))
        applied = self.desktop.cli("layout", "apply", "stacked")
        self.assertEqual(applied.returncode, 0, applied.stderr)
        self.desktop.wait_frame(alpha, top, "alpha back on top")
        self.desktop.wait_frame(beta, bottom, "beta back below")

    def test_a_chord_changed_in_the_file_works_without_a_restart(self):
        alpha = self.open("alpha")
        self.tile("alpha", "left-half")
        self.configure('[tile_hotkeys]\nfill = "ctrl+opt+g"')
        # The old chord is released: another client can take it now.
        def old_chord_free():
            holder = self.desktop.test_window("grab", "f", "ctrl+alt")
            free = holder.poll() is None
            self.close(holder)
            return free
        wait_for(old_chord_free, what="ctrl+opt+f to be released")
        self.desktop.activate(alpha)
        self.press_until("ctrl+alt+g", alpha, SCREEN, "the new chord to fill")

    def press_until(self, chord, wid, frame, what):
        """Presses `chord` until `wid` has `frame`: the app takes the chord in its own time
        after a change it was told of."""
        def there():
            self.desktop.key(chord)
            try:
                self.desktop.wait_frame(wid, frame, what, timeout=2)
                return True
            except AssertionError:
                return False
        wait_for(there, timeout=30, what=what)

    def test_tile_gap_and_a_maximized_window(self):
        alpha = self.open("alpha", "--maximized")
        self.configure("tile_gap = 12")
        want = tile_frame("left-half", SCREEN, 12)

        def gapped():
            self.tile("alpha", "left-half")
            return self.desktop.frame(alpha) == want
        wait_for(gapped, timeout=10, what=f"left-half with a 12-point gap at {want}")
        self.assertNotIn("MAXIMIZED", self.desktop.xprop(alpha, "_NET_WM_STATE"))

    def configure(self, *lines):
        """Saves a configuration with these lines and animation off; restores it after."""
        general = [line for line in lines if not line.startswith("[")]
        tables = [line for line in lines if line.startswith("[")]
        text = "[general]\nanimate_tiles = false\n" + "".join(l + "\n" for l in general)
        text += "".join(t + "\n" for t in tables)
        self.desktop.write_config(text)
        self.addCleanup(self.desktop.write_config, "[general]\nanimate_tiles = false\n")


class Openbox(Tiling, unittest.TestCase):
    WM = "openbox"


class Xfwm4(Tiling, unittest.TestCase):
    WM = "xfwm4"

    # Under xfwm4 only: openbox alone needs half a minute to manage 500 windows.
    def test_five_hundred_windows(self):
        many = self.desktop.test_window("many", "500")
        self.addCleanup(self.close, many)
        wait_for(lambda: len(self.desktop.client_list()) >= 500, timeout=60,
                 what="the window manager to manage 500 windows")
        alpha = self.open("alpha")
        self.tile("alpha", "left-half")
        # The window manager itself is slow to move a window among 500 on a busy machine.
        self.desktop.wait_frame(alpha, tile_frame("left-half", SCREEN, 0), timeout=30)
        self.assertEqual(self.desktop.cli("ping").returncode, 0)


class TwoDisplays(unittest.TestCase):
    """Two RandR monitors of different sizes, side by side, under openbox."""

    PRIMARY = (0, 0, 1280, 1024)
    SECOND = (1280, 0, 1024, 768)

    @classmethod
    def setUpClass(cls):
        cls.desktop = AppDesktop("openbox", "two", displays=[(1280, 1024, 0, 0),
                                                            (1024, 768, 1280, 0)])
        cls.desktop.write_config("[general]\nanimate_tiles = false\n")
        cls.desktop.start_app()

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()

    def setUp(self):
        self.alpha, process = self.desktop.window("alpha")
        self.addCleanup(lambda: (process.terminate(), process.wait(5)))

    def tile(self, *arguments):
        result = self.desktop.cli("tile", *arguments)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_tile_on_a_chosen_display_and_moves_between_displays(self):
        self.tile("alpha", "left-half", "--display", "2")
        self.desktop.wait_frame(self.alpha, tile_frame("left-half", self.SECOND, 0), "--display 2")
        self.tile("alpha", "right-half", "--display", "1")
        self.desktop.wait_frame(self.alpha, tile_frame("right-half", self.PRIMARY, 0), "--display 1")
        self.desktop.activate(self.alpha)
        # A tiled window keeps its tile on the next display, and wraps around.
        self.desktop.key("ctrl+alt+bracketright")
        self.desktop.wait_frame(self.alpha, tile_frame("right-half", self.SECOND, 0), "]")
        self.desktop.key("ctrl+alt+bracketright")
        self.desktop.wait_frame(self.alpha, tile_frame("right-half", self.PRIMARY, 0), "] wraps")
        self.desktop.key("ctrl+alt+bracketleft")
        self.desktop.wait_frame(self.alpha, tile_frame("right-half", self.SECOND, 0), "[ wraps")

    def test_struts_count_from_the_edge_of_the_whole_screen(self):
        # A 40-pixel bottom strut under the second display's span lies below that display
        # (it is 768 high on a 1024-high screen): neither display loses room. A top strut
        # over the second display's span takes 30 pixels from it alone.
        bottom = self.desktop.test_window("dock", "bottom", "40", "1280", "2303")
        self.addCleanup(lambda: (bottom.terminate(), bottom.wait(5)))
        top = self.desktop.test_window("dock", "top", "30", "1280", "2303")
        self.addCleanup(lambda: (top.terminate(), top.wait(5)))
        x, y, w, h = self.SECOND
        want = tile_frame("fill", (x, y + 30, w, h - 30), 0)

        def below_the_top_dock():
            self.tile("alpha", "fill", "--display", "2")
            return self.desktop.frame(self.alpha) == want
        wait_for(below_the_top_dock, timeout=10, what=f"a fill of display 2 at {want}")
        self.tile("alpha", "fill", "--display", "1")
        self.desktop.wait_frame(self.alpha, self.PRIMARY, "display 1 untouched")

    def test_a_monitor_changing_size_is_followed(self):
        self.desktop.run("xrandr", "--addmode", "DUMMY1", "800x600")
        self.desktop.run("xrandr", "--output", "DUMMY1", "--mode", "800x600", "--pos", "1280x0")
        self.addCleanup(self.desktop.run, "xrandr", "--output", "DUMMY1", "--mode", "1024x768",
                        "--pos", "1280x0")
        want = (1280, 0, 800, 600)

        def resized():
            self.tile("alpha", "fill", "--display", "2")
            return self.desktop.frame(self.alpha) == want
        wait_for(resized, timeout=10, what="the app to see the smaller monitor")


class Lifecycle(unittest.TestCase):
    """Starting, refusing a second start, chords held elsewhere, and stopping."""

    def test_one_instance_per_session_and_a_clean_stop(self):
        with AppDesktop("openbox", "lifecycle") as desktop:
            holder = desktop.test_window("grab", "f", "ctrl+alt")
            self.assertIsNone(holder.poll(), "the test client could not take ctrl+alt+f")
            desktop.start_app()
            self.assertEqual(desktop.cli("ping").stdout.strip(), "pong")
            wait_for(lambda: "ctrl+opt+f: held by another program" in desktop.log(),
                     what="the held chord to be reported")
            # Every other chord works.
            alpha, _ = desktop.window("alpha")
            desktop.activate(alpha)
            desktop.key("ctrl+alt+1")
            desktop.wait_frame(alpha, tile_frame("left-half", SCREEN, 0), "layout 1")

            # A second start under XWayland: told once what it cannot reach, then that
            # the first one runs.
            second = subprocess.run([os.environ["HALYWARD_APP"]],
                                    env={**desktop.env, "WAYLAND_DISPLAY": "wayland-0"},
                                    capture_output=True, text=True, timeout=15)
            self.assertEqual(second.returncode, 0, second.stderr)
            self.assertIn("already running", second.stdout)
            self.assertEqual(second.stderr.count("native Wayland windows"), 1)

            self.assertEqual(desktop.stop_app(), 0)
            self.assertFalse(desktop.socket_path().exists())
            self.assertEqual(desktop.cli("ping", "--timeout", "1").returncode, 3)

    def test_a_configuration_written_after_the_first_start_is_followed(self):
        # A first run: no ~/.config at all until the file is saved.
        with AppDesktop("openbox", "first") as desktop:
            desktop.start_app()
            alpha, _ = desktop.window("alpha")
            desktop.write_config('[general]\nanimate_tiles = false\n'
                                 '[tile_hotkeys]\nfill = "ctrl+opt+g"\n')
            desktop.activate(alpha)

            def filled():
                desktop.key("ctrl+alt+g")
                try:
                    desktop.wait_frame(alpha, SCREEN, "fill", timeout=2)
                    return True
                except AssertionError:
                    return False
            wait_for(filled, timeout=20, what="the chord from the new file to fill")

    def test_the_x_server_going_away_ends_the_app(self):
        with AppDesktop("openbox", "lost") as desktop:
            app = desktop.start_app()
            desktop.xvfb.send_signal(signal.SIGTERM)
            self.assertEqual(app.wait(15), 0)
            desktop.app = None
            self.assertFalse(desktop.socket_path().exists())

    def test_without_a_window_manager_nothing_hangs(self):
        # No EWMH window manager: no client list, and move requests go unanswered.
        with AppDesktop(None, "bare") as desktop:
            desktop.start_app()
            process = desktop.test_window("window", "alpha", "400x300+100+100")
            self.assertIsNone(process.poll())
            result = desktop.cli("tile", "alpha", "fill", "--timeout", "5")
            self.assertEqual(result.returncode, 5, result.stderr)
            desktop.key("ctrl+alt+f")
            self.assertEqual(desktop.cli("ping").stdout.strip(), "pong")

    def test_no_x_display_exits_3_with_one_sentence(self):
        base = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": "/nonexistent"}
        for extra in ({}, {"WAYLAND_DISPLAY": "wayland-0"}, {"DISPLAY": ":999"}):
            with self.subTest(environment=extra):
                result = subprocess.run([os.environ["HALYWARD_APP"]], env={**base, **extra},
                                        capture_output=True, text=True, timeout=15)
                self.assertEqual(result.returncode, 3)
                self.assertIn("tiles X11 windows", result.stderr)
                self.assertEqual(len(result.stderr.strip().splitlines()), 1)


# A hang shows where it is before the test runner's time-out kills the suite silently.
faulthandler.dump_traceback_later(170, exit=True)

if __name__ == "__main__":
    unittest.main()
