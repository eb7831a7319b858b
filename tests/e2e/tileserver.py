"""A map tile server on the loopback address for tests: every /{z}/{x}/{y}.png is a generated
256x256 PNG (its colour from the tile's numbers), cacheable for a day. Prints its port, then one
line per request ("GET /z/x/y.png"), flushed, so the test can count them.

Two hostile kinds of server under the same port, for the limits on a tile: /huge/z/x/y.png sends
50 MB as fast as it can without saying its length, and /endless/z/x/y.png sends a kilobyte every
50 ms and never ends."""
import http.server
import struct
import sys
import threading
import time
import zlib

PRINT = threading.Lock()


def png(z, x, y):
    colour = bytes(((x * 53 + z * 17) % 200 + 40, (y * 97 + z * 31) % 200 + 40, 180))
    rows = b"".join(b"\x00" + colour * 256 for _ in range(256))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 256, 256, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows, 1)) + chunk(b"IEND", b""))


class Tiles(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        with PRINT:
            print("GET " + self.path, flush=True)
        parts = self.path.strip("/").removesuffix(".png").split("/")
        if parts[0] in ("huge", "endless"):
            self.hostile(parts[0])
            return
        try:
            z, x, y = (int(p) for p in parts)
        except ValueError:
            self.send_error(404)
            return
        body = png(z, x, y)
        self.send_response(200)
        self.send_header("Content-Type", "image/png")
        self.send_header("Content-Length", str(len(body)))
        self.send_header("Cache-Control", "max-age=86400")
        self.end_headers()
        self.wfile.write(body)

    def hostile(self, kind):
        self.send_response(200)
        self.send_header("Content-Type", "image/png")
        self.end_headers()
        chunk = b"\x89PNG" + bytes(1020)
        try:
            if kind == "huge":
                block = chunk * 1024
                for _ in range(50):
                    self.wfile.write(block)
            else:
                while True:
                    self.wfile.write(chunk)
                    self.wfile.flush()
                    time.sleep(0.05)
        except (BrokenPipeError, ConnectionResetError):
            pass

    def log_message(self, *args):
        pass


if __name__ == "__main__":
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Tiles)
    print(server.server_address[1], flush=True)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        sys.exit(0)
