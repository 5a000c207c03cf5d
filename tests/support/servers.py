"""Starts the servers that a test program needs, and runs the program."""

import base64
import os
import sys
import tempfile
import time
from pathlib import Path
from urllib.parse import unquote

sys.path.insert(0, str(Path(__file__).parents[2] / "tools/loopback"))
import prefix  # noqa: E402
from certificates import Authority  # noqa: E402
from server import Reply, Server  # noqa: E402

# Announces the close: otherwise a client could reuse the connection while it closes, and get no reply.
OK = b"HTTP/1.1 200 OK\r\nConnection: close\r\n"
RAW = {  # raw pieces of a reply, sent half a second apart; then the connection is closed
    "nolength": [b"HTTP/1.1 203 OK\r\n\r\nbody"],
    "headers": [
        b"HTTP/1.1 302 Found\r\nConnection: close\r\nContent-Length: 2\r\nSet-Cookie: a=1\r\n"
        b"Location: /x\r\nContent-Type: text/x\r\nSet-Cookie: b=2\r\nContent-Encoding: none\r\n"
        + (b"X-Long: " + b"l" * 1000 + b"\r\n") * 70
        + b"\r\nok"
    ],
    "close": [],
    "short": [OK + b"Content-Length: 10\r\nTransfer-Encoding: identity\r\n\r\nshort"],
    "negative": [OK + b"Content-Length: -5\r\n\r\nshort"],
    "huge": [OK + b"Content-Length: 99999999999999999999\r\n\r\nshort"],
    "odd": [OK + b"X: a\0b\r\nContent-Length: 2\r\n\r\nok"],
    "endless": [OK] + [b"X-Header: " + b"x" * 100_000 + b"\r\n"] * 20,
    "garbage": [b"SSH-2.0-nothing\r\n\r\n"],
    "chunked": [
        OK + b"Content-Length: 99\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n"
    ],
    "silent": [b""] * 20,
    "headtrickle": [OK + b"X-Slow: "] + [b"x"] * 20,
    "trickle": [OK + b"Content-Length: 20\r\n\r\n"] + [b"x"] * 20,
}
flaky_requests = 0
servers = {}


def write_slowly(handler, pieces):
    """Sends the pieces, half a second apart, then closes the connection. Stops if the client closes it."""
    handler.close_connection = True
    try:
        for number, piece in enumerate(pieces):
            time.sleep(0.5 if number > 0 else 0)
            handler.wfile.write(piece)
    except OSError:
        pass


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
    if what == "file":  # /file/LENGTH/NAME
        return Reply(body=pattern(int(argument.split("/")[0])))
    if what == "bodyless":  # announces a body that this status does not have
        status_line = b"HTTP/1.1 %d Empty\r\n" % int(argument)
        return write_slowly(handler, [status_line + b"Connection: close\r\nContent-Length: 9\r\n\r\n"])
    if what in RAW:
        return write_slowly(handler, RAW[what])
    if what == "useragent":
        return Reply(body=request.headers["User-Agent"].encode())
    if what == "late":
        time.sleep(1)
    if what == "tries":  # the schemes of all proxy credentials received since the last query
        given = servers["GUARDED"].authorizations
        tries = " ".join(authorization.split()[0] for authorization in given)
        given.clear()
        return Reply(body=tries.encode())
    if what == "challenge":  # a host that requests the proxy's credentials
        servers["GUARDED"].authorizations += filter(None, [request.headers.get("Proxy-Authorization")])
        return Reply(407, headers={"Proxy-Authenticate": 'Basic realm="host"'})
    if what == "cookie":
        return Reply(body=str(request.headers.get("Cookie")).encode(), headers={"Set-Cookie": "a=1; Path=/"})
    if what == "flaky":
        flaky_requests += 1
        return Reply(close_without_answer=flaky_requests == 1)
    return Reply(
        body=f"{request.method} {request.host} {request.path} {request.headers.get('Content-Type')} ".encode()
        + request.body
    )


def main(program):
    with tempfile.TemporaryDirectory() as folder:
        authority = Authority(Path(folder) / "trusted")
        prefix.trust(authority)
        secret = "Basic " + base64.b64encode("user:pass:word".encode()).decode()
        other = Authority(Path(folder) / "other", "Another Authority")
        servers.update(
            PLAIN=Server(answer, authority.issue("secure.example")),
            GUARDED=Server(answer, proxy_authorization=secret),
            UNTRUSTED=Server(answer, other.issue("secure.example")),
            EXPIRED=Server(answer, authority.issue("secure.example", days=0)),
            SELFSIGNED=Server(answer, Authority(Path(folder) / "self", "secure.example").pem()),
            CLOSED=Server(answer),
        )
        servers["CLOSED"].close()
        ports = {f"PORT_{name}": str(server.port) for name, server in servers.items()}
        result = prefix.run(program, env=os.environ | ports)
        print(result.stdout, result.stderr)
        return result.returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
