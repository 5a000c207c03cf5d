"""A server on loopback that gives one large file to everybody, with as little work of its own as possible."""

import os
import socket
import threading


class FileServer:
    """Answers each GET on any path, also in the form for proxies, by `size` zero bytes. Keeps no connections."""

    def __init__(self, path, size):
        with open(path, "wb") as file:
            file.write(bytes(size))
        self._file, self._size = open(path, "rb"), size
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
                connection.sendall(b"HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\n"
                                   b"Connection: close\r\nContent-Length: %d\r\n\r\n" % self._size)
                if not request.startswith(b"HEAD"):
                    offset = 0
                    while offset < self._size:
                        offset += os.sendfile(connection.fileno(), self._file.fileno(), offset, self._size - offset)
            except OSError:
                pass  # a client that has seen enough

    def close(self):
        self._listener.close()
