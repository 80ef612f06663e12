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

from app_harness import AppDesktop
from harness import wait_for


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



if __name__ == "__main__":
    unittest.main()
