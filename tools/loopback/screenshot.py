"""Takes a picture of the example's window, in the middle of a download from a server on loopback."""

import subprocess
import sys
import threading
import time

import prefix
from server import Server

SIZE = 8_000_000
SHOWN = SIZE * 3 // 5  # bytes sent when the picture is taken

is_shown, is_taken = threading.Event(), threading.Event()


def answer(_request, handler):
    handler.send_response(200)
    handler.send_header("Content-Length", str(SIZE))
    handler.end_headers()
    for sent in range(0, SIZE, SIZE // 20):
        if sent == SHOWN:
            is_shown.set()
            is_taken.wait()
        handler.wfile.write(bytes(SIZE // 20))
        time.sleep(0.1)


def main(picture):
    server = Server(answer)
    # Without a window manager, Wine draws frame and title only for windows on a virtual desktop.
    desktop = [prefix.WINE, "explorer.exe", "/desktop=example,700x360"]
    program = str(prefix.BIN / "single_instance.exe")
    window = subprocess.Popen(
        [
            *desktop,
            prefix.windows_path(program),
            "http://files.example/player-4.1.exe",
            "127.0.0.1",
            str(server.port),
        ]
    )
    try:
        if not is_shown.wait(60):
            raise SystemExit("screenshot: the download does not reach its middle")
        time.sleep(2)  # the window polls, then paints
        shot = subprocess.run(
            ["import", "-window", "root", "png:-"], stdout=subprocess.PIPE, check=True
        ).stdout
        # The desktop has one colour, so trimming leaves the window.
        subprocess.run(["convert", "png:-", "-trim", "+repage", "-strip", picture], input=shot, check=True)
    finally:
        is_taken.set()
        prefix.run("taskkill.exe", "/f", "/im", "single_instance.exe")
        window.wait(30)
        server.close()


main(sys.argv[1])
