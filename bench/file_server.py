"""A server on loopback that sends bytes of value 0, with as little work of its own as possible."""

import os
import re
import socket
import threading


class FileServer:
    """Answers a GET of /N/NAME, also in the form for proxies, with N bytes of value 0. N must not exceed
    `largest`. Closes each connection after its reply."""

    def __init__(self, path, largest):
        self._file = open(path, "w+b")
        self._file.truncate(largest)
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return  # closed
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        with connection:
            request = b""
            try:
                while not request.endswith(b"\r\n\r\n"):
                    part = connection.recv(65536)
                    if not part:
                        return
                    request += part
                size = int(re.search(rb"/(\d+)/", request)[1])
                connection.sendall(
                    b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
                    b"Connection: close\r\nContent-Length: %d\r\n\r\n" % size
                )
                if not request.startswith(b"HEAD"):
                    offset = 0
                    while offset < size:
                        offset += os.sendfile(connection.fileno(), self._file.fileno(), offset, size - offset)
            except OSError:
                pass  # the client has closed the connection

    def close(self):
        self._listener.close()
