"""Shows the library at work, on loopback and on a separate display: one section for each job."""

import hashlib
import json
import os
import shutil
import subprocess
import tempfile
import time
from pathlib import Path
from urllib.parse import parse_qs

import nsis
import prefix
from certificates import Authority
from server import Reply, Server


def show(*arguments, expected=0, program="zelsyshelper-host"):
    print(f"$ {program} " + " ".join(f'"{a}"' if " " in a else a for a in arguments))
    result = prefix.run(prefix.BIN / f"{program}.exe", *arguments)
    print(result.stdout + result.stderr, end="")
    if result.returncode != expected:
        raise SystemExit(f"demo: the command ended with exit code {result.returncode}")


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
    for _ in range(2):
        show(file, program="first_steps")
    print(f"The file now:\n{path.read_text(encoding='utf-8')}", end="")


def switches():
    print("\n== A switch file, enciphered on disk ==")
    show("switch", "on", "player", "new-timeline")
    show("switch", "off", "player", "telemetry")
    path = prefix.SETTINGS / "player.fx"
    print(f"player.fx holds {path.read_bytes()}")
    show("property", "read", prefix.windows_path(path), "new-timeline", "--enciphered")


def installer(folder):
    print("\n== An installer: install a tree, the update service and a link; remove all of them ==")
    product, installed, link = folder / "product", folder / "installed", folder / "Player.lnk"
    (product / "bin").mkdir(parents=True)
    shutil.copy(prefix.BIN / "update_service.exe", product / "bin")
    shutil.copy(prefix.BIN / "first_steps.exe", product / "bin/player.exe")
    paths = [prefix.windows_path(path) for path in (product, installed, link)]
    show("install", *paths, program="installer")
    print("\n".join(str(path.relative_to(folder)) for path in sorted(installed.rglob("*"))))
    show("service", "status")
    print("The link as another program reads it:")
    text = subprocess.run(["lnkinfo", str(link)], capture_output=True, text=True, check=True).stdout
    print(
        "".join(line + "\n" for line in text.splitlines() if "Local path" in line or "Description" in line),
        end="",
    )
    show("remove", *paths[1:], program="installer")
    if installed.exists() or link.exists():
        raise SystemExit("demo: the installer left something behind")
    wait_until(
        lambda: prefix.host("service", "status").returncode == 1
    )  # a deleted service exists until it has stopped and all handles to it are closed
    show("service", "status", expected=1)
    show("extension", expected=1)


def machine():
    print("\n== The machine, and the draw of a variant ==")
    # The default version of Windows differs between versions of Wine.
    prefix.run("reg.exe", "add", r"HKCU\Software\Wine", "/v", "Version", "/d", "win10", "/f", check=True)
    show("os-version")
    show("is-running", "services.exe")
    show("adv-type", "A70 B30", "--draws", "10000")


def event(folder):
    print("\n== A usage event, over HTTPS to a statistics host on loopback ==")
    authority = Authority(folder / "authority")
    server = Server(answer, authority.issue("statistics.quenlith.example", "country.quenlith.example"))
    prefix.trust(authority)
    prefix.set_proxy(server.port)
    show(
        "event",
        "--check",
        "--name",
        "install_done",
        "--source",
        "installer",
        "--info-type",
        "path",
        "--info",
        'C:\\Media "A&B"',
        "--app-id",
        "2",
        "--app-version",
        "4.1",
        "--inst-type",
        "full",
        "--guid",
        "demo-guid",
    )
    show("doctor")
    server.close()
    body = server.requests[-1].body.decode()
    print("The record that arrived:")
    print(json.dumps(json.loads(parse_qs(body, strict_parsing=True)["data"][0]), indent=2))
    print("The library's log:\n" + prefix.LOG.read_text(encoding="utf-8"), end="")


def download(folder):
    print("\n== A download in the background ==")
    content = os.urandom(40_000_000)
    server = Server(lambda request, handler: Reply(body=content))
    show(
        "download",
        "http://files.example/setup.bin",
        "--folder",
        prefix.windows_path(folder / "downloads"),
        "--proxy",
        f"127.0.0.1:{server.port}",
    )
    server.close()
    hashes = [
        hashlib.sha256(data).hexdigest() for data in (content, (folder / "downloads/setup.bin").read_bytes())
    ]
    print(f"SHA-256 at the server {hashes[0]}\nSHA-256 of the file   {hashes[1]}")
    if hashes[0] != hashes[1]:
        raise SystemExit("the file differs")


def wait_until(condition, seconds=15):
    end = time.monotonic() + seconds
    while not condition() and time.monotonic() < end:
        time.sleep(0.1)


def single_instance():
    print("\n== One instance of an application ==")
    program = prefix.BIN / "single_instance.exe"
    first = subprocess.Popen([prefix.WINE, str(program)])
    print("$ single_instance   (the first start opens a window and stays)")
    wait_until(lambda: prefix.host("raise", "SingleInstanceExample").returncode == 0)
    second = prefix.run(program)
    print(
        f"$ single_instance   (the second start asks the first, and ends with exit code {second.returncode})"
    )
    if second.returncode != 1 or first.poll() is not None:
        raise SystemExit("demo: the second start did not find the first")
    prefix.run("taskkill.exe", "/im", program.name)
    print(f"The first one was closed, and ended with exit code {first.wait(30)}.")
    show("raise", "SingleInstanceExample", expected=1)


def main():
    with tempfile.TemporaryDirectory() as folder:
        property_files(Path(folder))
        switches()
        event(Path(folder))
        download(Path(folder))
        installer(Path(folder))
        nsis.show(Path(folder))
    single_instance()
    machine()


main()
