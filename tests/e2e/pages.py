"""The pages of the test site. Each page paints its body in one colour that fills the web
view, so screenshots show where the page begins, and reports what it sees through its title
or a request the server logs."""

import json
import urllib.parse

PAGE_COLOUR = "#1e90c8"

# An app style sheet that tries every way out of a string or a style element.
HOSTILE_CSS = 'body::after { content: "q\\"\\\\</style><script>window.broken=1</script>\u2028" }'
# An app script that does its work and then throws.
HOSTILE_SCRIPT = "window.customRan = true; throw new Error('boom');"

STYLE = f"""<style>
html, body {{ margin: 0; height: 100%; background: {PAGE_COLOUR}; color: white;
  font: 16px sans-serif; }}
a.half {{ position: fixed; top: 0; bottom: 0; width: 50%; display: block; color: white; }}
#left {{ left: 0; }} #right {{ right: 0; }}
</style>"""


def html(title, body="", script=""):
    return (f"<!doctype html><html><head><meta charset='utf-8'><title>{title}</title>{STYLE}"
            f"</head><body>{body}<script>{script}</script></body></html>").encode()


def page(handler, parsed):
    """Routes one request of the test site."""
    port = handler.server.server_address[1]
    other = f"http://localhost:{port}"
    query = urllib.parse.parse_qs(parsed.query)
    path = parsed.path
    ok = [("Content-Type", "text/html; charset=utf-8")]

    if path == "/":
        return 200, ok, html("Home")
    if path == "/links":
        # The left half of the page links to this site, the right half to another host.
        return 200, ok, html("Links", f"<a class='half' id='left' href='/second'>same</a>"
                                      f"<a class='half' id='right' href='{other}/elsewhere'>other</a>")
    if path in ("/second", "/elsewhere", "/landed", "/typed"):
        return 200, ok, html(path.strip("/").capitalize())
    if path == "/redirect":
        return 200, ok, html("Redirecting", script=f"location.href = '{other}/landed';")
    if path == "/cookie":
        seen = handler.headers.get("Cookie", "")
        headers = list(ok)
        if "probe=" not in seen:
            headers.append(("Set-Cookie", f"probe={query.get('v', ['kept'])[0]}; Max-Age=86400; Path=/"))
        return 200, headers, html("Cookie")
    if path == "/opener":
        # The opener answers the pop-up's message, and the pop-up closes itself on the answer.
        script = """
          window.addEventListener('message', function (e) {
            document.title = 'Opener got ' + e.data; e.source.postMessage('bye', '*'); });
          window.open('/popup', 'popup', 'width=400,height=300');"""
        return 200, ok, html("Opener", script=script)
    if path == "/popup":
        script = """
          window.addEventListener('message', function () { window.close(); });
          fetch('/popup-saw-opener?ok=' + !!window.opener).then(function () {
            window.opener.postMessage('hello', '*'); });"""
        return 200, ok, html("Popup", script=script)
    if path == "/popup-saw-opener":
        return 204, [], b""
    if path == "/downloads":
        # One download per load, in a frame of its own so that nothing cancels it.
        return 200, ok, html("Downloads", "<iframe hidden src='/files/report.pdf'></iframe>")
    if path.startswith("/files/"):
        name = urllib.parse.unquote(path[len("/files/"):])
        if name == "report.pdf":
            disposition = 'attachment; filename="report.pdf"'
        else:
            disposition = f'attachment; filename="{query.get("name", [""])[0]}"'
        return 200, [("Content-Type", "application/pdf"), ("Content-Disposition", disposition)], b"%PDF-1.4 test\n"
    if path == "/hostile-downloads":
        frames = "".join(f"<iframe hidden src='/files/any?name={urllib.parse.quote(name)}'></iframe>"
                         for name in ("../../x", "a/b:c", ""))
        return 200, ok, html("Hostile downloads", frames)
    if path == "/notify":
        # The bridge is injected when the document has been parsed, so notify after load.
        return 200, ok, html("Notify", script="addEventListener('load', function () {"
                                              " new Notification('T', {body: 'B'}); });")
    if path == "/notify-flood":
        script = """addEventListener('load', function () {
          for (var i = 0; i < 10000; i++) new Notification('N' + i, {body: 'flood'});
          document.title = 'Flooded'; });"""
        return 200, ok, html("Flooding", script=script)
    if path == "/popup-flood":
        script = """
          for (var i = 0; i < 100; i++) window.open('about:blank', 'w' + i);
          document.title = 'Opened';"""
        return 200, ok, html("Opening", script=script)
    if path == "/badge":
        # The count goes when the test presses a key, once it has seen the count arrive.
        return 200, ok, html("(3) Inbox", script="addEventListener('keydown', function () {"
                                                 " document.title = 'Inbox'; });")
    if path == "/injected":
        # Reports, once the injected script has run (it runs before the load event), whether
        # the app's style sheet arrived byte for byte, whether the app's script ran although
        # it throws, and whether the notification bridge still stands.
        script = """
          addEventListener('load', function () {
            var expected = %s;
            var css = Array.from(document.querySelectorAll('style')).some(function (s) {
              return s.textContent === expected; });
            var shim = Notification.name === 'HalywardNotification' && Notification.permission === 'granted';
            document.title = 'css=' + css + ' shim=' + shim + ' ran=' + (window.customRan === true);
          });""" % json.dumps(HOSTILE_CSS).replace("</", "<\\/")
        return 200, ok, html("Injected", script=script)
    return 404, ok, html("Not found")
