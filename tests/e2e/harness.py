"""A private desktop for driving a real HalywardWebHost: a temporary home, an X server
without a window manager, a private session bus with a stand-in notification service, a
test site on 127.0.0.1, and a recorder registered as the default web browser.

Everything is polled with time-outs; nothing sleeps for a fixed time to let the host
catch up."""

import http.server
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import urllib.parse
from pathlib import Path

HERE = Path(__file__).resolve().parent
HOST = os.environ.get("HALYWARD_WEB_HOST", "")
KEEP = os.environ.get("HALYWARD_E2E_KEEP") == "1"
SHOTS = Path(os.environ.get("HALYWARD_E2E_SHOTS", HERE.parent.parent / "build" / "e2e"))


class Timeout(AssertionError):
    pass


def wait_for(predicate, timeout=30.0, interval=0.05, what="condition"):
    """Polls `predicate` until it returns something truthy, and returns that."""
    deadline = time.monotonic() + timeout
    while True:
        value = predicate()
        if value:
            return value
        if time.monotonic() > deadline:
            raise Timeout(f"timed out after {timeout:.0f} s waiting for {what}")
        time.sleep(interval)


def plist(entries):
    """An XML property list of string entries."""
    def esc(text):
        return text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
    body = "".join(f"  <key>{esc(k)}</key>\n  <string>{esc(v)}</string>\n" for k, v in entries.items())
    return ('<?xml version="1.0" encoding="UTF-8"?>\n'
            '<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" '
            '"http://www.apple.com/DTDs/PropertyList-1.0.dtd">\n'
            f'<plist version="1.0">\n<dict>\n{body}</dict>\n</plist>\n')


class Site:
    """The test site: pages from `pages.py`, every request logged with its headers."""

    def __init__(self, pages):
        self.pages = pages
        self.log = []
        self.lock = threading.Lock()
        site = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                parsed = urllib.parse.urlsplit(self.path)
                with site.lock:
                    site.log.append({"path": parsed.path, "query": parsed.query,
                                     "host": self.headers.get("Host", ""),
                                     "ua": self.headers.get("User-Agent", ""),
                                     "cookie": self.headers.get("Cookie", "")})
                status, headers, body = site.pages(self, parsed)
                self.send_response(status)
                for name, value in headers:
                    self.send_header(name, value)
                self.send_header("Content-Length", str(len(body)))
                self.send_header("Cache-Control", "no-store")
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *args):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def url(self, path, host="127.0.0.1"):
        return f"http://{host}:{self.port}{path}"

    def requests(self, path=None):
        with self.lock:
            return [r for r in self.log if path is None or r["path"] == path]

    def close(self):
        self.server.shutdown()
        self.server.server_close()


class Desktop:
    """One private desktop session. Use as a context manager."""

    def __init__(self, pages, name="desktop"):
        if not HOST or not Path(HOST).is_file():
            raise RuntimeError("HALYWARD_WEB_HOST must name the built HalywardWebHost")
        self.name = name
        self.root = Path(tempfile.mkdtemp(prefix=f"halyward-e2e-{name}-"))
        self.home = self.root / "home"
        self.home.mkdir()
        self.processes = []
        self.site = Site(pages)
        self.env = self._environment()
        try:
            self._start_x()
            self._start_bus()
            self._register_browser()
        except BaseException:
            self.close()
            raise

    # --- set-up ---------------------------------------------------------------------------

    def _environment(self):
        runtime = self.root / "run"
        runtime.mkdir(mode=0o700)
        env = {
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "HOME": str(self.home),
            "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_DATA_HOME": str(self.home / ".local/share"),
            "XDG_CACHE_HOME": str(self.home / ".cache"),
            "XDG_STATE_HOME": str(self.home / ".local/state"),
            "XDG_RUNTIME_DIR": str(runtime),
            "XDG_DATA_DIRS": "/usr/local/share:/usr/share",
            "LANG": "C.UTF-8",
            "GSETTINGS_BACKEND": "memory",
            "NO_AT_BRIDGE": "1",
            "GTK_A11Y": "none",
        }
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"):
            if name in os.environ:
                env[name] = os.environ[name]
        if "ASAN_OPTIONS" in env:
            # A host built with AddressSanitizer checks its own leaks, not the toolkit's.
            suppressions = f"suppressions={HERE / 'lsan.supp'}"
            env["LSAN_OPTIONS"] = ":".join(filter(None, [env.get("LSAN_OPTIONS"), suppressions]))
        return env

    def _spawn(self, argv, **kwargs):
        process = subprocess.Popen(argv, env=self.env, start_new_session=True, **kwargs)
        self.processes.append(process)
        return process

    def _start_x(self):
        read, write = os.pipe()
        self.xvfb = self._spawn(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x1024x24",
                                 "-nolisten", "tcp", "-noreset"], pass_fds=(write,),
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        number = b""
        with os.fdopen(read, "rb") as pipe:
            while not number.endswith(b"\n"):
                chunk = pipe.read(1)
                if not chunk:
                    raise RuntimeError("Xvfb did not start")
                number += chunk
        self.env["DISPLAY"] = ":" + number.decode().strip()

    def _start_bus(self):
        self.bus_log = self.root / "bus.jsonl"
        self.bus_log.touch()
        daemon = self._spawn(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        address = daemon.stdout.readline().decode().strip()
        if not address:
            raise RuntimeError("dbus-daemon did not start")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address
        recorder = self._spawn([sys.executable, str(HERE / "bus_recorder.py"), str(self.bus_log)],
                               stdout=subprocess.DEVNULL)

        def ready():
            if recorder.poll() is not None:
                raise RuntimeError(f"the notification service stopped (python3-dbus and "
                                   f"python3-gi are needed by {sys.executable})")
            return self.bus_events("ready")
        wait_for(ready, what="the notification service")

    def _register_browser(self):
        """A recorder that is the default handler of web addresses in the temporary home."""
        self.opened_log = self.root / "opened.txt"
        self.opened_log.touch()
        # The drawing switches the host may set for itself, as the browser received them.
        self.handler_env_log = self.root / "handler-env.txt"
        self.handler_env_log.touch()
        recorder = self.root / "recorder.sh"
        recorder.write_text(
            "#!/bin/sh\n"
            "env | grep -E '^(GSK_RENDERER|GDK_DEBUG|GDK_DISABLE|WEBKIT_DISABLE_COMPOSITING_MODE)=' "
            f'>> "{self.handler_env_log}"\n'
            f'printf "%s\\n" "$1" >> "{self.opened_log}"\n')
        recorder.chmod(0o755)
        applications = self.home / ".local/share/applications"
        applications.mkdir(parents=True)
        (applications / "recorder.desktop").write_text(
            "[Desktop Entry]\nType=Application\nName=Recorder\n"
            f"Exec={recorder} %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n"
            "NoDisplay=true\n")
        config = self.home / ".config"
        config.mkdir(parents=True)
        (config / "mimeapps.list").write_text(
            "[Default Applications]\nx-scheme-handler/http=recorder.desktop\n"
            "x-scheme-handler/https=recorder.desktop\n")

    # --- bundles and the host -------------------------------------------------------------

    def bundle(self, name, entries):
        """Lays out <name>.app with the host as its executable and `entries` as Info.plist."""
        app = self.home / "Applications" / f"{name}.app"
        macos = app / "Contents" / "MacOS"
        macos.mkdir(parents=True, exist_ok=True)
        shutil.copy2(HOST, macos / "HalywardWebHost")
        (app / "Contents" / "Info.plist").write_text(plist(entries))
        return app

    def launch(self, app):
        with open(self.root / f"host-{len(self.processes)}.log", "wb") as log:
            return self._spawn([str(app / "Contents" / "MacOS" / "HalywardWebHost")],
                               stdout=log, stderr=subprocess.STDOUT)

    def write_config(self, text):
        """Replaces config.toml the way halyward does: a new file renamed over the old."""
        folder = self.home / ".config" / "halyward"
        folder.mkdir(parents=True, exist_ok=True)
        temporary = folder / ".config.toml.tmp"
        temporary.write_text(text)
        os.replace(temporary, folder / "config.toml")

    # --- observing ------------------------------------------------------------------------

    def bus_events(self, kind):
        events = []
        for line in self.bus_log.read_text().splitlines():
            event = json.loads(line)
            if event.get("kind") == kind:
                events.append(event)
        return events

    def opened(self):
        return self.opened_log.read_text().splitlines()

    def handler_environment(self):
        return self.handler_env_log.read_text().splitlines()

    def clipboard(self):
        """The clipboard's text, or none. xclip waits for the owner without end, so each
        reading gets a short time-out and the caller polls."""
        try:
            result = subprocess.run(["xclip", "-o", "-selection", "clipboard"], env=self.env,
                                    capture_output=True, text=True, timeout=2)
        except subprocess.TimeoutExpired:
            return None
        return result.stdout if result.returncode == 0 else None

    def x(self, *argv, check=True):
        result = subprocess.run(list(argv), env=self.env, capture_output=True, text=True, timeout=20)
        if check and result.returncode != 0:
            raise AssertionError(f"{argv[0]} failed: {result.stderr.strip()}")
        return result.stdout

    def windows(self, app_class):
        """The visible windows whose class is `app_class`."""
        out = self.x("xdotool", "search", "--onlyvisible", "--class", app_class, check=False)
        return [w for w in out.split() if w]

    def window_name(self, window):
        return self.x("xdotool", "getwindowname", window, check=False).strip()

    def main_window(self, app_class, timeout=30):
        return wait_for(lambda: (self.windows(app_class) or [None])[0], timeout=timeout,
                        what=f"a window of {app_class}")

    def wait_title(self, window, title, timeout=20):
        return wait_for(lambda: self.window_name(window) == title, timeout=timeout,
                        what=f"the window title {title!r} (now {self.window_name(window)!r})")

    def focus(self, window):
        self.x("xdotool", "mousemove", "--window", window, "600", "400")
        self.x("xdotool", "windowfocus", "--sync", window, check=False)

    def key(self, window, *keys):
        self.x("xdotool", "key", *keys)

    def type(self, text):
        self.x("xdotool", "type", "--delay", "20", text)

    def click(self, window, x, y):
        # The pointer has to arrive (and the page see it enter) before the button goes down.
        self.x("xdotool", "mousemove", "--sync", "--window", window, str(x), str(y))
        self.x("xdotool", "mousedown", "1")
        self.x("xdotool", "mouseup", "1")

    def screenshot(self, path):
        path = Path(path)
        path.parent.mkdir(parents=True, exist_ok=True)
        self.x("import", "-window", "root", str(path))
        return path

    def pixels(self, x, y0, y1):
        """The colours of screen column `x` from row y0 to y1, as hex texts."""
        out = self.x("import", "-window", "root", "-crop", f"1x{y1 - y0}+{x}+{y0}",
                     "-depth", "8", "txt:-")
        colours = []
        for line in out.splitlines()[1:]:
            hash_at = line.find("#")
            colours.append(line[hash_at + 1:hash_at + 7].lower())
        return colours

    def wait_painted(self, colour, x=600, y=400, timeout=30):
        """Waits until the screen shows `colour` at (x, y): WebKit draws a page some time
        after its load event, and takes no input before that."""
        colour = colour.lstrip("#").lower()
        wait_for(lambda: self.pixels(x, y, y + 1) == [colour], timeout=timeout,
                 what=f"#{colour} on screen at {x},{y}")

    def close(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                try:
                    os.killpg(process.pid, signal.SIGTERM)
                except ProcessLookupError:
                    pass
        for process in reversed(self.processes):
            try:
                process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                try:
                    os.killpg(process.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass
                process.wait()
        self.site.close()
        if not KEEP:
            shutil.rmtree(self.root, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()
