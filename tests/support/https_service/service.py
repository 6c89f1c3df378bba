"""service.py HOST ADDRESS CERTIFICATES LOG READY: serves documents, searches and media over HTTPS.

The requested name selects the content. Identifiers that start with "red", "green" or "blue" give a document
of that colour, "tile" one that shows its picture, the yellow "IDENTIFIER.bmp", under two names. The media file
"4096.bin" has 4096 bytes of a fixed pattern. A prefix selects a way to misbehave: "cut-red", "gzip-4096.bin"
(see BEHAVIOURS); another may follow one that redirects. The host name selects the certificate: the subdomains
"untrusted." and "wrongname." get a bad one. Each request is logged before the response, one line of host, path
and headers. The file READY is created once the service listens. It stops at the end of its standard input.
"""

import gzip
import http.server
import json
import pathlib
import re
import ssl
import struct
import sys
import threading
import urllib.parse

HOST, ADDRESS = sys.argv[1:3]
CERTIFICATES, LOG, READY = (pathlib.Path(path) for path in sys.argv[3:])
KEY = "fz3kq9"
PATTERN = bytes(i * 31 % 251 for i in range(251))
COLOURS = {"red": "vec3(1,0,0)", "green": "vec3(0,1,0)", "blue": "vec3(0,0,1)",
           "tile": "texelFetch(iChannel0, ivec2(0), 0).rgb * texelFetch(iChannel1, ivec2(0), 0).rgb"}
# One 24-bit pixel in a row padded to 4 bytes.
TILE = struct.pack("<2sIIIIiiHHIIiiII", b"BM", 58, 0, 54, 40, 1, 1, 1, 24, 0, 4, 2835, 2835, 0, 0) + b"\0\xff\xff\0"


def document(identifier):
    """A shader of one colour, or None for an unknown identifier."""
    kind = next((name for name in COLOURS if identifier.lower().startswith(name)), None)
    info = dict.fromkeys(("viewed", "likes", "published", "flags", "usePreview", "hasliked"), 0)
    info.update(dict.fromkeys(("date", "name", "username", "description"), "test"), id=identifier, tags=[])
    sampler = {"filter": "nearest", "wrap": "clamp", "vflip": "true", "srgb": "false", "internal": "byte"}
    sources = [f"/media/a/{identifier}.bmp", f"{identifier}.bmp"] if kind == "tile" else []
    inputs = [{"id": 1, "src": src, "ctype": "texture", "channel": channel, "sampler": sampler}
              for channel, src in enumerate(sources)]
    code = f"void mainImage(out vec4 c, in vec2 p)\n{{\n    c = vec4({COLOURS.get(kind)}, 1);\n}}\n"
    shader = {"ver": "0.1", "info": info, "renderpass": [{"type": "image", "code": code, "inputs": inputs}]}
    # The words are not part of the document, but must be cached with it.
    return json.dumps({"Shader": shader}).encode() + b"\nTrailing words" if kind else None


def media(name):
    size = re.fullmatch(r"(\d+)\.bin", name)
    if re.fullmatch(r"tile\d+\.bmp", name):
        return TILE
    return (PATTERN * (int(size[1]) // 251 + 1))[:int(size[1])] if size else None


class Reply(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True

    def log_message(self, *_):
        pass

    def do_GET(self):
        headers = [f"{name}: {value}" for name, value in self.headers.items()]
        # One write, so that lines of simultaneous requests do not mix.
        with LOG.open("a") as log:
            log.write("\t".join([f"{self.headers['Host']} {self.path}", *headers]) + "\t\n")
        behaviour, name, body = self.find()
        if body is None:
            self.send_whole(b"<html>Not found</html>", 404)
        else:
            BEHAVIOURS[behaviour](self, body, name)

    def find(self):
        """The behaviour, the name after it, and the body for the path."""
        parts = urllib.parse.urlsplit(self.path)
        for prefix, find_body in (("/api/v1/shaders/query/", lambda text: b'{"Shaders":0,"Results":[]}'),
                                  ("/api/v1/shaders/", document), ("/media/a/", media)):
            if parts.path.startswith(prefix):
                text = urllib.parse.unquote(parts.path[len(prefix):])
                behaviour, _, name = text.partition("-")
                if behaviour not in BEHAVIOURS:
                    behaviour, name = "good", text
                allowed = prefix == "/media/a/" or urllib.parse.parse_qs(parts.query).get("key") == [KEY]
                return behaviour, prefix + name, find_body(name.rpartition("-")[2]) if allowed else None
        return "", parts.path, None

    def send(self, part, headers, status=200, hang_up=True):
        """Hangs up afterwards, whatever the headers announced, unless `hang_up` is false."""
        self.send_response(status)
        for key, value in headers.items():
            self.send_header(key, value)
        self.end_headers()
        self.wfile.write(part)
        self.close_connection = self.close_connection or hang_up

    def send_whole(self, body, status=200, headers={}):
        self.send(body, {"Content-Length": len(body), **headers}, status, hang_up=False)

    def send_half(self, body, headers={}, status=200):
        self.send(body[:len(body) // 2], {"Content-Length": len(body), **headers}, status)

    def redirect(self, target, status=302):
        self.send_whole(b"", status, {"Location": f"{target}?key={KEY}"})


def chunks(body):
    return b"".join(b"%x\r\n%s\r\n" % (len(part), part)
                    for part in (body[start:start + 1000] for start in range(0, len(body), 1000)))


GZIP = {"Content-Encoding": "gzip"}
CHUNKED = {"Transfer-Encoding": "chunked"}

# Arguments: the reply, the good body, the path without the first behaviour.
BEHAVIOURS = {
    "good": lambda reply, body, _: reply.send_whole(body),
    "empty": lambda reply, body, _: reply.send_whole(b""),
    "brokencut": lambda reply, body, _: reply.send_half(body, status=503),
    "error": lambda reply, body, _: reply.send_whole(b'{"Error":"Shader not found"}'),
    "gzip": lambda reply, body, _: reply.send_whole(gzip.compress(body), headers=GZIP),
    "bomb": lambda reply, body, _: reply.send_whole(gzip.compress(body + b" " * (64 << 20), 1), headers=GZIP),
    "nolength": lambda reply, body, _: reply.send(body, {"Connection": "close"}),
    "chunked": lambda reply, body, _: reply.send(chunks(body) + b"0\r\n\r\n", CHUNKED, hang_up=False),
    "chunkcut": lambda reply, body, _: reply.send(chunks(body[:len(body) // 2]) + b"400\r\ncut", CHUNKED),
    "cut": lambda reply, body, _: reply.send_half(body),
    "gzipcut": lambda reply, body, _: reply.send_half(gzip.compress(body), GZIP),
    "identitycut": lambda reply, body, _: reply.send_half(body, {"Content-Encoding": "identity"}),
    "notgzip": lambda reply, body, _: reply.send_whole(body, headers=GZIP),
    "liar": lambda reply, body, _: reply.send(body, {"Content-Length": 4294967295}),
    "wrapped": lambda reply, body, _: reply.send(body, {"Content-Length": 4294967297}),
    "word": lambda reply, body, _: reply.send(body, {"Content-Length": "10 bytes"}),
    "nothing": lambda reply, body, _: reply.send(body, {"Content-Length": ""}),
    "redirect": lambda reply, _, name: reply.redirect(f"https://elsewhere.{HOST}{name}"),
    "hop": lambda reply, _, name: reply.redirect(name, (301, 303, 307, 308)[name.count("hop-") % 4]),
    "plain": lambda reply, _, name: reply.redirect(f"http://{HOST}{name}"),
    "closed": lambda reply, _, __: setattr(reply, "close_connection", True),
    **{str(status): lambda reply, body, _, status=status: reply.send_whole(body, status)
       for status in (206, 299, 300, 404)},
}


class Service(http.server.ThreadingHTTPServer):
    request_queue_size = 64

    def handle_error(self, *connection):
        # Clients may reject the certificate or hang up.
        if not isinstance(sys.exc_info()[1], OSError):
            super().handle_error(*connection)


def tls_context(name):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(CERTIFICATES / f"{name}.pem", CERTIFICATES / f"{name}.key")
    return context


def choose_certificate(connection, server_name, _):
    kind = (server_name or "").partition(".")[0]
    connection.context = CONTEXTS.get(kind, CONTEXTS["good"])


CONTEXTS = {name: tls_context(name) for name in ("good", "untrusted", "wrongname")}
CONTEXTS["good"].sni_callback = choose_certificate
service = Service((ADDRESS, 443), Reply)
# The handshake takes place on the connection's thread, so that a slow client blocks nobody else.
service.socket = CONTEXTS["good"].wrap_socket(service.socket, server_side=True, do_handshake_on_connect=False)
threading.Thread(target=service.serve_forever, daemon=True).start()
READY.touch()
sys.stdin.read()
