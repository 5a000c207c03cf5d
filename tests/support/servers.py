"""Runs a test program beside the servers that it talks to."""

import base64
import os
import socket
import sys
import tempfile
import time
from pathlib import Path
from urllib.parse import unquote

sys.path.insert(0, str(Path(__file__).parents[2] / "tools/loopback"))
import prefix  # noqa: E402
from certificates import Authority  # noqa: E402
from server import Reply, Server  # noqa: E402

flaky_requests = 0


def write_slowly(handler, pieces):
    """Sends the pieces, half a second apart, for as long as the client wants them."""
    try:
        for piece in pieces:
            handler.wfile.write(piece)
            time.sleep(0.5)
    except OSError:
        pass
    handler.close_connection = True


def pattern(length):
    return (bytes(range(251)) * (length // 251 + 1))[:length]


def answer(request, handler):
    global flaky_requests
    _, what, *rest = request.path.split("/", 2)
    argument = rest[0] if rest else ""
    if what == "status":
        return Reply(int(argument), b"body of " + argument.encode())
    if what == "redirect" and int(argument) > 0:
        return Reply(302, headers={"Location": f"../redirect/{int(argument) - 1}"})
    if what == "to":
        status, target = argument.split("/", 1)
        return Reply(int(status), headers={"Location": unquote(target)})
    if what == "size":
        return Reply(body=b"x" * int(argument))
    if what == "file":  # /file/LENGTH/NAME
        return Reply(body=pattern(int(argument.split("/")[0])))
    if what == "nolength":
        handler.close_connection = True
        handler.wfile.write(b"HTTP/1.1 203 OK\r\n\r\nbody")
        return None
    if what == "useragent":
        return Reply(body=request.headers["User-Agent"].encode())
    if what == "late":
        time.sleep(1)
    if what == "headers":
        handler.wfile.write(b"HTTP/1.1 302 Found\r\nContent-Length: 2\r\nSet-Cookie: a=1\r\nLocation: /x\r\n"
                            b"Content-Type: text/x\r\nSet-Cookie: b=2\r\nContent-Encoding: none\r\n"
                            + (b"X-Long: " + b"l" * 1000 + b"\r\n") * 70 + b"\r\nok")
        return None
    if what == "flaky":
        flaky_requests += 1
        return Reply(close_without_answer=flaky_requests == 1)
    if what == "close":
        return Reply(close_without_answer=True)
    if what == "short":
        handler.close_connection = True
        return Reply(body=b"short", headers={"Content-Length": "10"})
    if what == "garbage":
        return write_slowly(handler, [b"SSH-2.0-nothing\r\n\r\n"])
    if what == "chunked":
        handler.wfile.write(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n")
        return None
    if what == "silent":
        return write_slowly(handler, [b""] * 20)
    if what == "headtrickle":
        return write_slowly(handler, [b"HTTP/1.1 200 OK\r\nX-Slow: "] + [b"x"] * 20)
    if what == "trickle":
        return write_slowly(handler, [b"HTTP/1.1 200 OK\r\nContent-Length: 20\r\n\r\n"] + [b"x"] * 20)
    return Reply(body=f"{request.method} {request.host} {request.path} {request.headers.get('Content-Type')} "
                      .encode() + request.body)


def closed_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def main(program):
    with tempfile.TemporaryDirectory() as folder:
        authority = Authority(Path(folder) / "trusted")
        prefix.trust(authority)
        secret = "Basic " + base64.b64encode("user:pass:word".encode()).decode()
        servers = {
            "PLAIN": Server(answer, authority.issue("secure.example")),
            "GUARDED": Server(answer, proxy_authorization=secret),
            "UNTRUSTED": Server(answer, Authority(Path(folder) / "other", "Another Authority").issue("secure.example")),
        }
        ports = {name: str(server.port) for name, server in servers.items()} | {"CLOSED": str(closed_port())}
        result = prefix.run(program, env=os.environ | {f"PORT_{name}": port for name, port in ports.items()})
        print(result.stdout, result.stderr)
        return result.returncode


sys.exit(main(sys.argv[1]))
