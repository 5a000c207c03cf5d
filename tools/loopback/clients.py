"""Runs the Node.js example against a server on loopback and checks the property, the events and the file."""

import hashlib
import json
import os
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from urllib.parse import parse_qs

import prefix
from certificates import Authority
from server import Reply, Server

CONTENT = os.urandom(6_000_000)


def answer(request, handler):
    """Serves the file slowly enough for several steps of the progress bar."""
    if not request.path.endswith(".bin"):
        return Reply(body=b"DE" if request.host.startswith("country.") else b"ok")
    handler.send_response(200)
    handler.send_header("Content-Length", str(len(CONTENT)))
    handler.end_headers()
    for start in range(0, len(CONTENT), 1_000_000):
        handler.wfile.write(CONTENT[start : start + 1_000_000])
        time.sleep(0.2)
    return None


def run(node, *arguments):
    """Runs Node.js and returns its exit code and its output. The output goes to a file: under Wine, libuv
    cannot open Unix pipes (EBADF)."""
    with tempfile.TemporaryFile("w+", encoding="utf-8") as output:
        code = subprocess.run(
            [prefix.WINE, str(node), *arguments],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=subprocess.STDOUT,
            timeout=120,
        ).returncode
        output.seek(0)
        return code, output.read()


def check(condition, problem, output):
    if not condition:
        raise SystemExit(f"clients: {problem}\n{output}")


def main(node, script):
    prefix.run("reg.exe", "add", r"HKCU\Software\Wine", "/v", "Version", "/d", "win10", "/f", check=True)
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        authority = Authority(folder / "authority")
        server = Server(answer, authority.issue("statistics.quenlith.example", "country.quenlith.example"))
        prefix.trust(authority)
        prefix.set_proxy(server.port)
        arguments = [
            prefix.windows_path(path)
            for path in (script, prefix.BIN / "zelsyshelper.dll", folder / "player.cfg")
        ]
        arguments += [
            "http://files.example/setup.bin",
            prefix.windows_path(folder),
            "127.0.0.1",
            str(server.port),
        ]

        for start in 1, 2:
            code, output = run(node, *arguments)
            print(output.replace("\r", "\n"), end="")
            check(code == 0, f"the example ended with exit code {code}", output)
            check(f'start {start} of "Größer, schöner – 音楽"' in output, "the property is lost", output)
            check(len(set(re.findall(r"(\d+) %", output))) > 3, "the bar does not move", output)
            received = hashlib.sha256((folder / "setup.bin").read_bytes()).digest()
            check(received == hashlib.sha256(CONTENT).digest(), "the file differs", output)
            events = [
                parse_qs(request.body.decode())
                for request in server.requests
                if request.host.startswith("statistics.")
            ]
            check(len(events) == start, f"{len(events)} events arrived", output)
            print("  -> " + json.dumps(json.loads(events[-1]["data"][0])))
        server.close()

        code, output = run(node, *arguments)
        check(code == 1 and "error 12029" in output, "the example hides a failed download", output)


main(*map(Path, sys.argv[1:]))
