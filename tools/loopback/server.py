"""An HTTP server on loopback that stands in for the suite's hosts.

It answers as an origin, and as a proxy: by absolute URL for http, by CONNECT for https. After a CONNECT it
answers in place of the requested host, always with the certificate in `pem`. It keeps a list of the requests.
"""

import socket
import ssl
import sys
import threading
from dataclasses import dataclass, field
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import urlsplit


@dataclass
class Request:
    method: str
    host: str
    path: str
    headers: dict
    body: bytes
    tunnelled: bool


@dataclass
class Reply:
    status: int = 200
    body: bytes = b""
    headers: dict = field(default_factory=dict)
    close_without_answer: bool = False
    close_after: bool = False


class _Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True
    tunnel = None  # the target of the CONNECT; None before it

    def handle_one_request(self):
        # A client that sends headers and body separately sends the body after the acknowledgement of the
        # headers. A delayed acknowledgement takes longer than the rest of a request.
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)
        super().handle_one_request()

    def do_CONNECT(self):
        if not self._is_signed_in():
            return
        self.tunnel = self.path
        self.send_response(200)
        self.end_headers()
        try:
            self.connection = self.server.tls.wrap_socket(self.connection, server_side=True)
        except (ssl.SSLError, OSError):
            self.close_connection = True
            return
        self.rfile, self.wfile = self.connection.makefile("rb"), self.connection.makefile("wb", buffering=0)
        self.close_connection = False

    def do_GET(self):
        if self.tunnel is None and not self._is_signed_in():
            return
        url = urlsplit(self.path)
        body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
        request = Request(
            self.command,
            url.netloc or self.tunnel or self.headers.get("Host", ""),
            url.path + ("?" + url.query if url.query else ""),
            dict(self.headers),
            body,
            self.tunnel is not None,
        )
        with self.server.lock:
            self.server.requests.append(request)
        reply = self.server.answer(request, self)
        if reply is None:
            return  # the answer function has written the reply itself
        if reply.close_without_answer:
            self.close_connection = True
            return
        self.send_response(reply.status)
        for name, value in {"Content-Length": str(len(reply.body)), **reply.headers}.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(reply.body)
        self.close_connection |= reply.close_after

    do_POST = do_GET

    def _is_signed_in(self):
        expected, given = self.server.proxy_authorization, self.headers.get("Proxy-Authorization")
        if given is not None:
            self.server.authorizations.append(given)
        if expected is None or given == expected:
            return True
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        self.send_response(407)
        for scheme in (
            "Negotiate",
            "NTLM",
            'Digest realm="loopback", nonce="n", qop="auth"',
            'Basic realm="loopback"',
        ):
            self.send_header("Proxy-Authenticate", scheme)
        page = b"<html>sign in" + b" " * 100_000
        self.send_header("Content-Length", str(len(page)))
        self.end_headers()
        self.wfile.write(page)
        return False

    def log_message(self, *_):
        pass


class Server(ThreadingHTTPServer):
    """Runs on a free port of 127.0.0.1 from its construction until `close`.

    `answer(request, handler)` returns the reply to a request, or None if it has written the reply to
    the handler's connection itself. It runs on many threads at the same time.
    """

    daemon_threads = True
    request_queue_size = 256  # many clients connect at once; a full queue delays them

    def __init__(self, answer, pem=None, proxy_authorization=None):
        super().__init__(("127.0.0.1", 0), _Handler)
        self.answer = answer
        self.proxy_authorization = proxy_authorization
        self.requests, self.authorizations, self.lock = [], [], threading.Lock()
        if pem is not None:
            self.tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.tls.load_cert_chain(pem)
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()

    @property
    def port(self):
        return self.server_address[1]

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], OSError):  # a client that disconnects is not a failure
            super().handle_error(request, client_address)

    def close(self):
        self.shutdown()
        self.server_close()

    def __exit__(self, *_):
        self.close()
