"""Shows the library at work: property files, an event to a statistics host, and a download, all on loopback."""

import hashlib
import json
import os
import tempfile
from pathlib import Path
from urllib.parse import parse_qs

import prefix
from certificates import Authority
from server import Reply, Server


def show(*arguments):
    print("$ zelsyshelper-host " + " ".join(f'"{a}"' if " " in a else a for a in arguments))
    result = prefix.host(*arguments)
    print(result.stdout + result.stderr, end="")
    if result.returncode != 0:
        raise SystemExit(f"demo: the command failed with exit code {result.returncode}")


def answer(request, _handler):
    print(f"  -> {request.method} https://{request.host}{request.path}")
    return Reply(body=b"DE" if request.host.startswith("country.") else b"ok")


def property_files(folder):
    print("\n== Property files ==")
    path = folder / "player.cfg"
    path.write_bytes(b"; written by hand\r\nVolume=70\r\nSkin=dark\r\n")
    file = prefix.windows_path(path)
    show("property", "get", file, "Skin")
    show("property", "int", file, "Volume")
    show("property", "set", file, "Title", "Größer, schöner – 音楽")
    show("property", "get", file, "Title")
    print(f"The file now:\n{path.read_text(encoding='utf-8')}", end="")


def event(folder):
    print("\n== A usage event, over HTTPS to a statistics host on loopback ==")
    authority = Authority(folder / "authority")
    server = Server(answer, authority.issue("statistics.quenlith.example", "country.quenlith.example"))
    prefix.trust(authority)
    prefix.set_proxy(server.port)
    prefix.set_log_level(7)
    show("event", "--name", "install_done", "--source", "installer", "--info-type", "path", "--info",
         'C:\\Media "A&B"', "--app-id", "2", "--version", "4.1", "--inst-type", "full", "--guid", "demo-guid")
    server.close()
    body = server.requests[-1].body.decode()
    print("The record that arrived:")
    print(json.dumps(json.loads(parse_qs(body, strict_parsing=True)["data"][0]), indent=2))
    print("The library's log:\n" + prefix.LOG.read_text(encoding="utf-8"), end="")


def download(folder):
    print("\n== A download in the background ==")
    content = os.urandom(40_000_000)
    server = Server(lambda request, handler: Reply(body=content))
    show("download", "http://files.example/setup.bin", "--folder", prefix.windows_path(folder / "downloads"),
         "--proxy", f"127.0.0.1:{server.port}")
    server.close()
    hashes = [hashlib.sha256(data).hexdigest() for data in (content, (folder / "downloads/setup.bin").read_bytes())]
    print(f"SHA-256 at the server {hashes[0]}\nSHA-256 of the file   {hashes[1]}")
    if hashes[0] != hashes[1]:
        raise SystemExit("the file differs")


def main():
    with tempfile.TemporaryDirectory() as folder:
        property_files(Path(folder))
        event(Path(folder))
        download(Path(folder))


main()
