"""A small web site on 127.0.0.1 for the site-icon fetch tests.

    site_server.py [--bare]

Prints the port it listens on, then serves until its standard input closes. With --bare
the site has no /favicon.ico or /apple-touch-icon.png, so pages without icon links have
no icon at all.
"""
import http.server
import socketserver
import struct
import sys
import threading
import time
import zlib

BARE = "--bare" in sys.argv[1:]


def png(side):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    rows = b"".join(b"\x00" + b"\x10\x20\x30\xff" * side for _ in range(side))
    header = struct.pack(">IIBBBBB", side, side, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


GIF = b"GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\xff\xff\x00\x00\x00,\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02D\x01\x00;"
ICO = b"\x00\x00\x01\x00\x01\x00\x10\x10\x00\x00\x01\x00\x20\x00" + b"\x00" * 64

PAGES = {
    # Every way a page names its icons; the best PNG is the 192-pixel one.
    "/forms/": """<!doctype html><html><head>
<title>  Caf&#233; &amp; Co &#8211; &#x1F600;
  Mail </title>
<LINK REL="shortcut icon" HREF="/icons/favicon.ico">
<link rel='apple-touch-icon' href='touch.png'>
<link rel=icon sizes=192x192 href=/icons/192.png>
<link rel="icon" href="data:image/png;base64,iVBORw0KGgo=" sizes="512x512">
<link rel="mask-icon" href="/icons/mask.svg">
<link rel="manifest" href="/app.webmanifest">
</head><body>hi</body></html>""",
    # The manifest's 512-pixel icon outranks the page's own.
    "/manifest/": """<html><head><title>M</title>
<link rel="icon" href="/icons/16.png" sizes="16x16">
<link rel="manifest" href="manifest.json"></head></html>""",
    # The best candidates are broken: the first four bytes of a PNG only, not PNG, empty,
    # missing; the last one works.
    "/broken/": """<html><head>
<link rel="icon" sizes="1024x1024" href="/icons/truncated.png">
<link rel="icon" sizes="512x512" href="/icons/not-png.png">
<link rel="icon" sizes="256x256" href="/icons/empty.png">
<link rel="icon" sizes="128x128" href="/missing.png">
<link rel="icon" sizes="64x64" href="/icons/64.png">
</head></html>""",
    "/plain/": "<html><head><title>Plain</title></head><body>no icons</body></html>",
    "/only-gif/": '<html><head><link rel="icon" href="/icons/not-png.png"></head></html>',
    # Six icons that each trickle in a byte at a time, never finishing in time.
    "/trickle/": "<html><head>" + "".join(
        '<link rel="icon" href="/trickle/%d.png">' % n for n in range(6)) + "</head></html>",
    "/empty-icon/": '<html><head><link rel="icon" href="/icons/empty.png"></head></html>',
}

MANIFESTS = {
    "/app.webmanifest": b'{"name": "Forms App", "icons": [{"src": "/icons/48.png", "sizes": "48x48"}]}',
    "/manifest/manifest.json": b'{"short_name": " Short ", "icons": [{"src": "../icons/512.png", "sizes": "512x512 any"}, {"src": "data:x"}, 7]}',
}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def send(self, status, body=b"", kind="text/html", headers=()):
        self.send_response(status)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        for name, value in headers:
            self.send_header(name, value)
        self.end_headers()
        try:
            self.wfile.write(body)
        except (BrokenPipeError, ConnectionResetError):
            self.close_connection = True  # the client stopped reading at its cap

    def redirect(self, location, status=302):
        self.send(status, b"", headers=[("Location", location)])

    def do_GET(self):
        path = self.path.split("?")[0]
        if path in PAGES:
            return self.send(200, PAGES[path].encode())
        if path in MANIFESTS:
            return self.send(200, MANIFESTS[path], "application/manifest+json")
        if path.startswith("/icons/") and path.endswith(".png") and path[7:-4].isdigit():
            return self.send(200, png(int(path[7:-4])), "image/png")
        if path == "/icons/favicon.ico" or (path == "/favicon.ico" and not BARE):
            return self.send(200, ICO, "image/x-icon")
        if path == "/apple-touch-icon.png" and not BARE:
            return self.send(200, png(180), "image/png")
        if path == "/icons/not-png.png":
            return self.send(200, GIF, "image/png")
        if path == "/icons/truncated.png":
            return self.send(200, b"\x89PNG", "image/png")
        if path.startswith("/trickle/") and path.endswith(".png"):
            return self.trickle()
        if path == "/icons/empty.png":
            return self.send(200, b"", "image/png")
        if path.startswith("/hop/"):  # /hop/N redirects N times, then to /forms/
            left = int(path[5:])
            return self.redirect("/forms/" if left == 0 else "/hop/%d" % (left - 1))
        if path == "/loop":
            return self.redirect("/loop")
        if path == "/to-ftp":
            return self.redirect("ftp://127.0.0.1/icon.png")
        if path == "/to-file":
            return self.redirect("file:///etc/passwd")
        if path == "/slow/":
            time.sleep(3)
            return self.send(200, b"<html><title>Slow</title></html>")
        if path == "/huge/":  # 6 MiB, announced, with its icon link in the head
            head = b'<html><head><title>Huge</title><link rel="icon" href="/icons/32.png"></head><body>'
            return self.send(200, head + b"x" * (6 * 1024 * 1024))
        if path in ("/endless/", "/icons/endless.png"):
            return self.endless(path.endswith(".png"))
        return self.send(404, b"not found")

    def trickle(self):
        # A byte every tenth of a second for three seconds: slow, but never silent.
        self.send_response(200)
        self.send_header("Content-Type", "image/png")
        self.send_header("Connection", "close")
        self.end_headers()
        try:
            for _ in range(30):
                self.wfile.write(b"\x89")
                self.wfile.flush()
                time.sleep(0.1)
        except (BrokenPipeError, ConnectionResetError):
            pass
        self.close_connection = True

    def endless(self, image):
        # No length, no end: the client has to cut it off.
        self.send_response(200)
        self.send_header("Content-Type", "image/png" if image else "text/html")
        self.send_header("Connection", "close")
        self.end_headers()
        start = (b"\x89PNG" if image else b'<html><head><title>Endless</title><link rel="icon" href="/icons/24.png"></head>')
        try:
            self.wfile.write(start)
            block = b"y" * 65536
            for _ in range(200000):
                self.wfile.write(block)
        except (BrokenPipeError, ConnectionResetError):
            pass
        self.close_connection = True


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
    allow_reuse_address = True


def main():
    server = Server(("127.0.0.1", 0), Handler)
    print(server.server_address[1], flush=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    sys.stdin.read()
    server.shutdown()


if __name__ == "__main__":
    main()
