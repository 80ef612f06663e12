"""End-to-end tests of HalywardWebHost: a real host in a bundle, on a private X server and
session bus, against a site on 127.0.0.1, driven with real key presses and clicks."""

import subprocess
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

import harness  # noqa: E402
import pages  # noqa: E402
from harness import wait_for  # noqa: E402

UUID_A = "6F1D3A52-8C1E-4B7A-9D2E-1A2B3C4D5E6F"
UUID_B = "0B7E2C41-5D3F-4A6B-8C9D-0E1F2A3B4C5D"
PAGE = pages.PAGE_COLOUR.lstrip("#")


def toml_string(text):
    """A TOML basic string: quotes and backslashes escaped, everything else (U+2028 too)
    written as it is, since the configuration's TOML knows no \\u escapes."""
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


class HostTestCase(unittest.TestCase):
    """One private desktop per test class; each test opens its own app bundle in it."""

    desktop = None

    @classmethod
    def setUpClass(cls):
        cls.desktop = harness.Desktop(pages.page, cls.__name__.lower())

    @classmethod
    def tearDownClass(cls):
        cls.desktop.close()

    def open_app(self, slug, path, uuid=UUID_A, name=None, extra=None):
        """Lays out a bundle for `path` of the test site, launches it and returns the process
        and its main window once the page has loaded."""
        d = self.desktop
        entries = {"CFBundleName": name or slug.capitalize(),
                   "CFBundleIdentifier": f"app.halyward.web.{slug}",
                   "HWURL": d.site.url(path), "HWSlug": slug}
        if uuid:
            entries["HWDataStoreUUID"] = uuid
        entries.update(extra or {})
        process = d.launch(d.bundle(entries["CFBundleName"], entries))
        self.addCleanup(self.stop, process)
        window = d.main_window(f"app.halyward.web.{slug}")
        return process, window

    def stop(self, process):
        if process.poll() is None:
            process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def assert_exits_cleanly(self, process, timeout=20):
        wait_for(lambda: process.poll() is not None, timeout=timeout, what="the host to exit")
        self.assertEqual(process.returncode, 0)

    def page_top(self, x=600):
        """The first screen row of the page (the row after the title bar), none before it
        shows, and the first row of the window's title bar."""
        column = self.desktop.pixels(x, 0, 120)
        if PAGE not in column:
            return None
        page = column.index(PAGE)
        # Without a compositor GTK frames client-side windows with a thin light border.
        top = 0
        while top < page and column[top] in ("ffffff", "cdc7c2"):
            top += 1
        return top, page


class Navigation(HostTestCase):
    def test_links_keys_and_clipboard(self):
        d = self.desktop
        process, window = self.open_app("links", "/links")
        d.wait_painted(PAGE)  # the window is titled "Links" before the page is, by its name
        self.assertEqual(d.site.requests("/links")[-1]["ua"], "Halyward/1.0.1")
        d.focus(window)

        # A real click on a link of the app's own host loads in place; Ctrl+[ goes back.
        d.click(window, 250, 400)
        d.wait_title(window, "Second")
        d.key(window, "ctrl+bracketleft")
        d.wait_title(window, "Links")
        d.wait_painted(PAGE)

        # A real click on another host's link goes to the default browser; the app stays.
        other = d.site.url("/elsewhere", host="localhost")
        d.click(window, 850, 400)
        wait_for(lambda: other in d.opened(), what="the browser to receive the link")
        self.assertEqual(d.site.requests("/elsewhere"), [])
        # How the host draws on this machine is its own choice, not the browser's.
        self.assertEqual(d.handler_environment(), [])
        self.assertEqual(d.window_name(window), "Links")

        # Ctrl+L with another site's address typed goes to the default browser too.
        typed = d.site.url("/typed", host="localhost")
        d.key(window, "ctrl+l")
        d.type(typed)
        d.key(window, "Return")
        wait_for(lambda: typed in d.opened(), what="the browser to receive the typed address")
        self.assertEqual(d.site.requests("/typed"), [])

        # Ctrl+Shift+C copies the page's address.
        d.key(window, "ctrl+shift+c")
        wait_for(lambda: d.clipboard() == d.site.url("/links"), what="the address on the clipboard")

        # Ctrl+R reloads, with Caps Lock on as well.
        loads = len(d.site.requests("/links"))
        d.key(window, "Caps_Lock")
        try:
            d.key(window, "ctrl+r")
            wait_for(lambda: len(d.site.requests("/links")) > loads, what="a reload with Caps Lock on")
        finally:
            d.key(window, "Caps_Lock")

        # Closing the window ends the process.
        d.key(window, "ctrl+w")
        self.assert_exits_cleanly(process)

    def test_script_redirect_to_another_host_stays_in_place(self):
        d = self.desktop
        _, window = self.open_app("redirect", "/redirect")
        d.wait_title(window, "Landed")
        self.assertEqual(d.site.requests("/landed")[-1]["host"], f"localhost:{d.site.port}")
        self.assertFalse([u for u in d.opened() if "/landed" in u])

    def test_second_launch_brings_the_running_app_forward(self):
        d = self.desktop
        first, window = self.open_app("single", "/")
        d.wait_title(window, "Home")
        loads = len(d.site.requests("/"))
        second = d.launch(d.home / "Applications" / "Single.app")
        self.assert_exits_cleanly(second)
        self.assertIsNone(first.poll())
        self.assertEqual(d.windows("app.halyward.web.single"), [window])
        self.assertEqual(len(d.site.requests("/")), loads, "the running app did not load again")


class DataStores(HostTestCase):
    def test_cookies_survive_a_restart_and_stay_in_their_store(self):
        d = self.desktop
        process, window = self.open_app("keeper", "/cookie?v=alpha", uuid=UUID_A)
        d.wait_title(window, "Cookie")
        self.assertEqual(d.site.requests("/cookie")[-1]["cookie"], "")
        d.focus(window)
        d.key(window, "ctrl+w")
        self.assert_exits_cleanly(process)

        _, window = self.open_app("keeper", "/cookie?v=alpha", uuid=UUID_A)
        d.wait_title(window, "Cookie")
        self.assertEqual(d.site.requests("/cookie")[-1]["cookie"], "probe=alpha")

        _, other = self.open_app("stranger", "/cookie?v=beta", uuid=UUID_B)
        d.wait_title(other, "Cookie")
        self.assertEqual(d.site.requests("/cookie")[-1]["cookie"], "")
        self.assertTrue((d.home / ".local/share/halyward/website-data" / UUID_A).is_dir())
        self.assertTrue((d.home / ".local/share/halyward/website-data" / UUID_B).is_dir())


class PageFeatures(HostTestCase):
    def test_popup_keeps_its_opener_and_closes_itself(self):
        d = self.desktop
        process, window = self.open_app("opener", "/opener")
        wait_for(lambda: d.site.requests("/popup-saw-opener"), what="the pop-up's report")
        self.assertEqual(d.site.requests("/popup-saw-opener")[0]["query"], "ok=true")
        d.wait_title(window, "Opener got hello")
        wait_for(lambda: d.windows("app.halyward.web.opener") == [window], what="the pop-up to close")
        self.assertIsNone(process.poll())

    def test_two_downloads_of_one_name(self):
        d = self.desktop
        _, window = self.open_app("downloads", "/downloads")
        folder = d.home / "Downloads"
        wait_for(lambda: (folder / "report.pdf").is_file(), what="report.pdf")
        # Loading the page again downloads the same file again, now that the first is there.
        d.focus(window)
        d.key(window, "ctrl+r")
        wait_for(lambda: sorted(p.name for p in folder.iterdir()) == ["report-2.pdf", "report.pdf"],
                 what="report.pdf and report-2.pdf")
        for name in ("report.pdf", "report-2.pdf"):
            self.assertEqual((folder / name).read_bytes(), b"%PDF-1.4 test\n")

    def test_notification_reaches_the_notification_service(self):
        d = self.desktop
        self.open_app("notify", "/notify")
        event = wait_for(lambda: d.bus_events("notify"), what="a notification")[0]
        self.assertEqual((event["summary"], event["body"]), ("T", "B"))
        self.assertEqual(event["desktop_entry"], "app.halyward.web.notify")

    def test_title_count_is_published_as_badge(self):
        d = self.desktop
        _, window = self.open_app("badge", "/badge")
        entry = "application://app.halyward.web.badge.desktop"

        def updates():
            return [(e["count"], e["visible"]) for e in d.bus_events("badge") if e["uri"] == entry]

        wait_for(lambda: (3, True) in updates(), what="the badge")
        d.wait_painted(PAGE)  # the page takes keys once it is drawn
        d.focus(window)
        d.key(window, "x")
        wait_for(lambda: updates()[-1] == (0, False), what="the badge to clear")
        self.assertEqual(updates()[0], (3, True))


class Chrome(HostTestCase):
    def config(self, style, hotkey):
        return (f'[general]\nwindow_style = "{style}"\n\n[apps.tides]\nurl = "x"\n'
                f'name = "Tides"\nbundle_id = "app.halyward.web.tides"\nhotkey = "{hotkey}"\n')

    def test_switching_chrome_and_hotkey_without_reloading(self):
        d = self.desktop
        d.write_config(self.config("slim", "ctrl+opt+c"))
        process, window = self.open_app("tides", "/")
        d.wait_title(window, "Home")
        top, slim_page = wait_for(self.page_top, what="the page on screen")
        self.assertEqual(slim_page - top, 28, "the slim bar is 28 pixels high")
        d.screenshot(harness.SHOTS / "slim.png")
        bar_before = d.x("import", "-window", "root", "-crop", f"1100x28+0+{top}", "txt:-")

        # Editing only the hotkey relabels the bar.
        d.write_config(self.config("slim", "ctrl+opt+k"))
        wait_for(lambda: d.x("import", "-window", "root", "-crop", f"1100x28+0+{top}", "txt:-")
                 != bar_before, what="the bar's hotkey label to change")

        # Slim → standard → slim → standard, each seen although every edit replaces the file.
        for style in ("standard", "slim", "standard"):
            d.write_config(self.config(style, "ctrl+opt+k"))
            if style == "standard":
                wait_for(lambda: (self.page_top() or (0, 0))[1] > slim_page, what="the standard chrome")
            else:
                wait_for(lambda: self.page_top() == (top, slim_page), what="the slim chrome")
        d.screenshot(harness.SHOTS / "standard.png")
        self.assertEqual(len(d.site.requests("/")), 1, "switching chrome never reloads the page")
        self.assertIsNone(process.poll())


class BadInput(HostTestCase):
    def test_missing_address_shows_the_alert_and_no_web_window(self):
        d = self.desktop
        requests = len(d.site.requests())
        process = d.launch(d.bundle("Nowhere", {"CFBundleName": "Nowhere", "HWSlug": "nowhere",
                                                "CFBundleIdentifier": "app.halyward.web.nowhere"}))
        self.addCleanup(self.stop, process)
        window = wait_for(lambda: d.x("xdotool", "search", "--onlyvisible", "--pid", str(process.pid),
                                      check=False).split(), what="the alert")[0]
        d.screenshot(harness.SHOTS / "alert.png")
        children = subprocess.run(["pgrep", "-P", str(process.pid)], capture_output=True, text=True).stdout
        self.assertEqual(children.strip(), "", "no web process was started")
        d.focus(window)
        d.key(window, "Return")
        self.assert_exits_cleanly(process)
        self.assertEqual(len(d.site.requests()), requests)

    def test_hostile_configuration_and_page(self):
        d = self.desktop
        d.write_config('[general]\nwindow_style = "slim"\n\n[apps.hostile]\nurl = "x"\n'
                       f'name = "Hostile"\nbundle_id = "app.halyward.web.hostile"\n'
                       f'user_css = {toml_string(pages.HOSTILE_CSS)}\n'
                       f'user_js = {toml_string(pages.HOSTILE_SCRIPT)}\n')
        process, window = self.open_app("hostile", "/injected")
        d.wait_title(window, "css=true shim=true ran=true")

        # Downloads with names that try to leave the folder land inside it.
        d.focus(window)
        d.key(window, "ctrl+l")
        d.type(d.site.url("/hostile-downloads"))
        d.key(window, "Return")
        folder = d.home / "Downloads"
        wait_for(lambda: folder.is_dir() and len(list(folder.iterdir())) == 3, what="three downloads")
        self.assertFalse((d.home / "x").exists() or (d.root / "x").exists())
        self.assertTrue(all("/" not in p.name for p in folder.iterdir()))

        # Ten thousand notifications and a hundred pop-ups do not stop the window.
        for path, title in (("/notify-flood", "Flooded"), ("/popup-flood", "Opened")):
            d.key(window, "ctrl+l")
            d.type(d.site.url(path))
            d.key(window, "Return")
            d.wait_title(window, title, timeout=60)
        self.assertIsNone(process.poll())

        # Closing the window with its twenty pop-ups open ends the process cleanly.
        d.focus(window)
        d.key(window, "ctrl+w")
        self.assert_exits_cleanly(process, timeout=60)


if __name__ == "__main__":
    unittest.main()
