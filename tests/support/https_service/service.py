"""The web service for tests: documents, searches and media over HTTPS, and misbehaviour on request.

A name or identifier tells what to serve and how. "red", "green" and "blue" begin identifiers of documents
that show that colour; a media file "4096.bin" has so many bytes of a fixed pattern. A word in front tells the
manner: "cut-red", "gzip-4096.bin" (see MANNERS); "once-" before it limits that to the first request for the
name. The host name chooses the certificate: "untrusted." and "wrongname." in front of the service's own get a
bad one. Every request is appended to the log before it is answered, one JSON object a line. The service ends with its
standard input.
"""

import argparse
import gzip
import http.server
import json
import pathlib
import re
import socket
import ssl
import sys
import threading
import time
import urllib.parse

KEY = "fz3kq9"
STALL_SECONDS = 3
COLOURS = {"red": "1,0,0", "green": "0,1,0", "blue": "0,0,1"}


def document(identifier):
    """A shader in one colour, or None for an identifier that the service does not know."""
    colour = next((value for name, value in COLOURS.items() if identifier.lower().startswith(name)), None)
    if colour is None:
        return None
    code = f"void mainImage(out vec4 c, in vec2 p)\n{{\n    c = vec4({colour},1);\n}}\n"
    info = {
        "id": identifier, "date": "1700000000", "viewed": 1, "name": f"A {identifier} shader",
        "username": "tester", "description": "One colour", "likes": 0, "published": 3, "flags": 0,
        "usePreview": 0, "tags": ["test"], "hasliked": 0,
    }
    image = {"inputs": [], "outputs": [], "code": code, "name": "Image", "description": "", "type": "image"}
    text = json.dumps({"Shader": {"ver": "0.1", "info": info, "renderpass": [image]}})
    return text.encode()


def pattern(size):
    block = bytes(i * 31 % 251 for i in range(251 * 256))
    return (block * (size // len(block) + 1))[:size]


def media(name):
    size = re.fullmatch(r"(\d+)\.bin", name)
    return pattern(int(size[1])) if size else None


class Reply(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def setup(self):
        super().setup()
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def log_message(self, *_):
        pass

    def do_GET(self):
        self.server.record({"host": self.headers.get("Host"), "path": self.path, "headers": self.headers.items()})
        manner, name, body = self.find()
        if body is None:
            self.send_whole(404, b"<html>No such thing here</html>")
        else:
            MANNERS[manner](self, body, name)

    def find(self):
        """The manner, the name behind it, and the body that belongs to the path."""
        parts = urllib.parse.urlsplit(self.path)
        for prefix, find_body in (("/api/v1/shaders/query/", lambda text: b'{"Shaders":0,"Results":[]}'),
                                  ("/api/v1/shaders/", document), ("/media/a/", media)):
            if parts.path.startswith(prefix):
                manner, name = self.split(urllib.parse.unquote(parts.path[len(prefix):]))
                allowed = prefix == "/media/a/" or urllib.parse.parse_qs(parts.query).get("key") == [KEY]
                return manner, prefix + name, find_body(name) if allowed else None
        return "", parts.path, None

    def split(self, text):
        first = self.server.is_first(text)
        once = text.startswith("once-")
        manner, dash, name = text.removeprefix("once-").partition("-")
        if not dash or manner not in MANNERS:
            return "", text
        return ("" if once and not first else manner), name

    def begin(self, status, **headers):
        self.send_response(status)
        for key, value in headers.items():
            self.send_header(key.replace("_", "-"), value)
        self.end_headers()

    def send_whole(self, status, body, **headers):
        self.begin(status, Content_Length=str(len(body)), **headers)
        self.wfile.write(body)

    def hang_up(self):
        self.close_connection = True

    def good(self, body, _):
        self.send_whole(200, body)

    def chunked(self, body, _, end=b"0\r\n\r\n"):
        self.begin(200, Transfer_Encoding="chunked")
        for start in range(0, len(body), 1000):
            part = body[start:start + 1000]
            self.wfile.write(f"{len(part):x}\r\n".encode() + part + b"\r\n")
        self.wfile.write(end)

    def chunkcut(self, body, name):
        self.chunked(body[:len(body) // 2], name, b"400\r\nnot a whole chunk")
        self.hang_up()

    def nolength(self, body, _):
        self.begin(200, Connection="close")
        self.wfile.write(body)
        self.hang_up()

    def empty(self, _, __):
        self.send_whole(200, b"")

    def gzip(self, body, _):
        self.send_whole(200, gzip.compress(body), Content_Encoding="gzip")

    def gzipcut(self, body, _):
        packed = gzip.compress(body)
        self.begin(200, Content_Length=str(len(packed)), Content_Encoding="gzip")
        self.wfile.write(packed[:len(packed) // 2])
        self.hang_up()

    def missing(self, body, _):
        self.send_whole(404, body)

    def broken(self, body, _):
        self.send_whole(500, body)

    def redirect(self, _, name):
        self.send_whole(302, b"", Location=f"https://elsewhere.{self.server.host}{name}?key={KEY}")

    def error(self, _, __):
        self.send_whole(200, b'{"Error":"Shader not found"}')

    def garbage(self, body, _):
        self.send_whole(200, b"<html>" + body)

    def cut(self, body, _):
        self.begin(200, Content_Length=str(len(body)))
        self.wfile.write(body[:len(body) // 2])
        self.hang_up()

    def liar(self, body, _):
        self.begin(200, Content_Length="4294967295")
        self.wfile.write(body)
        self.hang_up()

    def closed(self, _, __):
        self.hang_up()

    def stall(self, body, _):
        self.begin(200, Content_Length=str(len(body)))
        self.wfile.write(body[:len(body) // 2])
        self.wfile.flush()
        time.sleep(STALL_SECONDS)
        self.hang_up()


MANNERS = {"": Reply.good} | {
    name: getattr(Reply, name)
    for name in ("chunked", "chunkcut", "nolength", "empty", "gzip", "gzipcut", "missing", "broken", "redirect",
                 "error", "garbage", "cut", "liar", "closed", "stall")
}


class Service(http.server.ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 64

    def __init__(self, address, host, certificates, log):
        super().__init__(address, Reply)
        self.host = host
        self.log = log
        self.lock = threading.Lock()
        self.seen = set()
        contexts = {name: self.make_context(certificates / name) for name in ("good", "untrusted", "wrongname")}

        def choose(connection, server_name, _):
            kind = (server_name or "").partition(".")[0]
            connection.context = contexts.get(kind, contexts["good"])

        contexts["good"].sni_callback = choose
        self.context = contexts["good"]

    @staticmethod
    def make_context(files):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(files.with_suffix(".pem"), files.with_suffix(".key"))
        return context

    def finish_request(self, request, client_address):
        """Shakes hands on the connection's own thread, so that a slow client holds up nobody else."""
        try:
            with self.context.wrap_socket(request, server_side=True) as connection:
                super().finish_request(connection, client_address)
        except OSError:
            # The client turned the certificate down, or hung up.
            pass

    def record(self, entry):
        with self.lock, self.log.open("a") as log:
            log.write(json.dumps(entry) + "\n")

    def is_first(self, name):
        with self.lock:
            first = name not in self.seen
            self.seen.add(name)
            return first


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--host", required=True, help="the service's own name")
    parser.add_argument("--certificates", type=pathlib.Path, required=True, help="folder of make_certificates")
    parser.add_argument("--log", type=pathlib.Path, required=True, help="file that requests are appended to")
    parser.add_argument("--ready", type=pathlib.Path, required=True, help="file that is made once it listens")
    parser.add_argument("--address", default="127.0.0.1")
    parser.add_argument("--port", type=int, default=443)
    options = parser.parse_args()
    service = Service((options.address, options.port), options.host, options.certificates, options.log)
    options.ready.touch()
    threading.Thread(target=service.serve_forever, daemon=True).start()
    sys.stdin.read()


if __name__ == "__main__":
    main()
