"""End-to-end tests of halyward-app as a Linux desktop citizen: where its files go, starting
with the session, the agent chord, and the tray item read over a private session bus."""

import json
import os
import stat
import subprocess
import sys
import time
import unittest
from pathlib import Path

import dbus

from app_harness import AppDesktop
from harness import Site, wait_for

HERE = Path(__file__).resolve().parent


def mode(path):
    return stat.S_IMODE(os.lstat(path).st_mode)


class Citizen(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.desktop = AppDesktop("openbox", "citizen")
        # A terminal stand-in as the desktop's default terminal: it runs what follows -e.
        tools = cls.desktop.root / "bin"
        tools.mkdir()
        terminal = tools / "x-terminal-emulator"
        terminal.write_text('#!/bin/sh\n[ "$1" = -e ] && shift\nexec "$@"\n')
        terminal.chmod(0o755)
        cls.desktop.env["PATH"] = f"{tools}:{cls.desktop.env['PATH']}"
        cls.desktop.write_config("[general]\nanimate_tiles = false\n")
        cls.desktop.start_app()

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()

    def configure(self, *lines):
        self.desktop.write_config("[general]\nanimate_tiles = false\n" + "\n".join(lines) + "\n")

    @property
    def autostart(self):
        return self.desktop.home / ".config" / "autostart" / "app.halyward.Halyward.desktop"

    def test_files_go_where_linux_programs_keep_them(self):
        socket = self.desktop.socket_path()
        self.assertTrue(stat.S_ISSOCK(os.lstat(socket).st_mode))
        self.assertEqual(socket.parent.parent, self.desktop.root / "run")
        self.assertEqual(mode(socket), 0o600)
        self.assertEqual(mode(socket.parent), 0o700)
        doctor = self.desktop.cli("doctor")
        self.assertEqual(doctor.returncode, 0, doctor.stderr)
        self.assertIn(f"Control socket: {socket}\n", doctor.stdout)
        self.assertIn(f"State folder: {self.desktop.home}/.local/state/halyward", doctor.stdout)
        # openbox holds ctrl+alt+arrows for its desktops: the app runs without those.
        self.assertIn("Halyward is running; 4 chords could not be taken: ctrl+opt+left (held by "
                      "another program)", doctor.stdout)
        # Neither the app nor the command line made anything macOS-shaped.
        self.assertFalse((self.desktop.home / "Library").exists())

    def test_start_at_login_follows_the_setting_and_leaves_a_foreign_entry_alone(self):
        self.configure("launch_at_login = true")
        text = wait_for(lambda: self.autostart.exists() and self.autostart.read_text(),
                        what="the autostart entry")
        self.assertIn("X-Halyward-Autostart=true", text)
        self.assertIn(f'Exec="{os.path.realpath(os.environ["HALYWARD_APP"])}"', text)
        self.configure("launch_at_login = false")
        wait_for(lambda: not self.autostart.exists(), what="the autostart entry to go")

        foreign = "[Desktop Entry]\nType=Application\nExec=halyward-app --mine\n"
        self.autostart.write_text(foreign)
        self.addCleanup(self.autostart.unlink)
        self.configure("launch_at_login = true", "tile_gap = 1")
        self.configure("launch_at_login = false", "tile_gap = 2")
        # The app reads each change; a ping after it has surely seen the last one.
        self.assertEqual(self.desktop.cli("ping").returncode, 0)
        time.sleep(0.2)
        self.assertEqual(self.autostart.read_text(), foreign)

    def test_the_agent_chord_runs_the_exact_argument_list_in_the_focused_apps_folder(self):
        record = self.desktop.root / "agent.json"
        arguments = ["it's", "a  b", "$(touch pwned)", "`id`", '"q"', "back\\slash", ""]
        dump = ("import json, os, sys; json.dump([os.getcwd()] + sys.argv[1:], "
                f"open({str(record)!r}, 'w'))")
        command = ", ".join(json.dumps(a) for a in [sys.executable, "-c", dump, *arguments])
        self.configure(f"agent_command = [{command}]", 'terminal_bundle_id = "com.apple.Terminal"')
        self.assertEqual(self.desktop.cli("ping").returncode, 0)
        alpha, process = self.desktop.window("alpha")
        self.addCleanup(process.terminate)
        self.desktop.activate(alpha)
        self.desktop.key("ctrl+alt+a")
        ran = wait_for(lambda: record.exists() and record.read_text(), what="the agent command")
        self.assertEqual(json.loads(ran),
                         [os.path.realpath(f"/proc/{process.pid}/cwd"), *arguments])
        self.assertFalse((Path(os.path.realpath(f"/proc/{process.pid}/cwd")) / "pwned").exists())

    def test_the_agent_chord_without_a_command_says_how_to_set_one(self):
        self.configure("agent_command = []")
        self.assertEqual(self.desktop.cli("ping").returncode, 0)
        self.desktop.key("ctrl+alt+a")
        wait_for(lambda: "agent_command" in self.desktop.log(), what="the notice")

    # --- the new-app form ---------------------------------------------------------------

    def form_window(self):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^New web app$"],
                               env=self.desktop.env, capture_output=True, text=True)
        return found.stdout.split()[0] if found.stdout.split() else None

    def test_the_new_app_chord_opens_a_form_that_makes_what_app_add_makes(self):
        page = b"<html><head><title>Notes</title></head><body>Notes</body></html>"
        site = Site(lambda handler, parsed: (200, [("Content-Type", "text/html")], page))
        self.addCleanup(site.close)
        address = site.url("/notes")
        # The address waits on the clipboard, as after copying it in a browser.
        clipboard = self.desktop.spawn(["xclip", "-selection", "clipboard", "-quiet"],
                                       stdin=subprocess.PIPE)
        clipboard.stdin.write(address.encode())
        clipboard.stdin.close()
        self.desktop.key("ctrl+alt+n")
        form = wait_for(self.form_window, what="the new-app form")
        self.desktop.run("xdotool", "windowactivate", "--sync", form)
        self.desktop.key("Tab")
        self.desktop.run("xdotool", "type", "--delay", "20", "Notes")
        time.sleep(0.5)  # the screenshot shows the typed name, not a frame before it
        shot = self.desktop.screenshot("new-app-form")
        self.assertTrue(shot.exists())
        self.desktop.key("Return")

        wait_for(lambda: "[apps.notes]" in self.desktop.config_path.read_text(),
                 timeout=60, what="the web app's record")
        config = self.desktop.config_path.read_text()
        self.assertIn(f'url = "{address}"', config)
        self.assertIn('bundle_id = "app.halyward.web.notes"', config)
        bundle = self.desktop.home / "Applications" / "Halyward Apps" / "Notes.app"
        self.assertTrue((bundle / "Contents" / "Info.plist").exists())
        entries = list((self.desktop.home / ".local/share/applications").glob("*notes*.desktop"))
        self.assertEqual(len(entries), 1, entries)
        self.assertIn(f"X-Halyward-Bundle={bundle}", entries[0].read_text())
        # What the command line makes for the same site, side by side.
        made = self.desktop.cli("app", "add", address, "--name", "Notes 2")
        self.assertEqual(made.returncode, 0, made.stderr)
        self.assertEqual(sorted(p.name for p in (bundle / "Contents").rglob("*")),
                         sorted(p.name for p in (bundle.parent / "Notes 2.app" / "Contents").rglob("*")))
        # The form closes and the new app opens.
        wait_for(lambda: self.form_window() is None, what="the form to close")
        wait_for(lambda: self.desktop.find("app.halyward.web.notes"), timeout=60,
                 what="the new app's window")

    # --- the tray --------------------------------------------------------------------------

    def start_tray_host(self, name):
        log = self.desktop.root / f"{name}.log"
        with open(log, "wb") as out:
            host = self.desktop.spawn([sys.executable, str(HERE / "tray_host.py")], stdout=out,
                                      stderr=subprocess.STDOUT)
        wait_for(lambda: "ready" in log.read_text(), what="the tray host stand-in")
        return host, log

    def registered(self, log):
        """The item's bus name once it registered with the host."""
        lines = [line.split() for line in log.read_text().splitlines() if line != "ready"]
        return lines[-1][1] if lines else None

    def menu(self, bus, service):
        """The menu as {label: (id, properties)}, submenus flattened."""
        item = bus.get_object(service, "/StatusNotifierItem")
        path = item.Get("org.kde.StatusNotifierItem", "Menu", dbus_interface=dbus.PROPERTIES_IFACE)
        menu = dbus.Interface(bus.get_object(service, path), "com.canonical.dbusmenu")
        _, root = menu.GetLayout(0, -1, [])
        found = {}

        def walk(node):
            ident, properties, children = node
            if "label" in properties:
                found[str(properties["label"])] = (int(ident), dict(properties))
            for child in children:
                walk(child)
        walk(root)
        return menu, found

    def test_the_tray_item_and_its_menu_reach_a_host_that_comes_and_goes(self):
        self.configure('[layouts.work]\nalpha = "left-half"')
        bus = dbus.bus.BusConnection(self.desktop.env["DBUS_SESSION_BUS_ADDRESS"])
        # The app started with no host on the bus; one that appears later gets the item.
        host, log = self.start_tray_host("tray-host-1")
        service = wait_for(lambda: self.registered(log), what="the item to register")
        menu, items = self.menu(bus, service)
        for label in ("Tile mode", "Layouts", "work", "Web apps", "New web app…",
                      "Edit configuration", "Start at login", "Quit Halyward"):
            self.assertIn(label, items)
        login, properties = items["Start at login"]
        self.assertEqual(properties.get("toggle-type"), "checkmark")
        self.assertEqual(int(properties.get("toggle-state", 0)), 0)

        # Choosing "Start at login" flips the setting in the file and the entry on disk.
        # Each change of the file builds the menu again, with new item ids.
        for on in (True, False):
            menu, items = self.menu(bus, service)
            login = items["Start at login"][0]
            menu.Event(login, "clicked", dbus.Int32(0, variant_level=1), dbus.UInt32(0))
            wait_for(lambda: self.autostart.exists() == on, what=f"the autostart entry {on}")
            text = self.desktop.config_path.read_text()
            self.assertIn(f"launch_at_login = {'true' if on else 'false'}", text)
            wait_for(lambda: int(self.menu(bus, service)[1]["Start at login"][1]
                                 .get("toggle-state", 0)) == int(on),
                     what="the check mark to follow")

        # A host that goes away and comes back gets the item again.
        host.terminate()
        host.wait(5)
        _, log = self.start_tray_host("tray-host-2")
        self.assertEqual(wait_for(lambda: self.registered(log), what="the item again"), service)
        self.assertEqual(self.desktop.cli("ping").returncode, 0)


class FirstRun(unittest.TestCase):
    def test_the_first_start_shows_the_chords_and_the_tray_once(self):
        with AppDesktop("openbox", "first-run") as desktop:
            desktop.write_config("[general]\nanimate_tiles = false\n")
            desktop.start_app(first_run=True)

            def welcome():
                found = desktop.run("xdotool", "search", "--onlyvisible", "--name",
                                    "^Welcome to Halyward$").split()
                return found[0] if found else None
            window = wait_for(welcome, what="the first-run window")
            self.assertIn("onboarding_complete = true", desktop.config_path.read_text())
            time.sleep(0.5)  # drawn, not just mapped
            shot = desktop.screenshot("first-run")
            self.assertTrue(shot.exists())
            desktop.run("xdotool", "windowactivate", "--sync", window)
            desktop.key("Return")
            wait_for(lambda: welcome() is None, what="the window to close")
            # Once: the next start shows nothing.
            desktop.stop_app()
            self.assertIn("Halyward is not running.", desktop.cli("doctor").stdout)
            desktop.start_app(first_run=True)
            time.sleep(2)
            self.assertIsNone(welcome())


if __name__ == "__main__":
    unittest.main()
