"""Runs the NSIS example as a user does: installs two versions over each other, and removes them."""

import shutil
import subprocess
import time
from pathlib import Path

import prefix

SCRIPT = Path(__file__).parents[2] / "examples/nsis/player.nsi"
DRIVE = prefix.ROAMING.parents[3]
INSTALLED = DRIVE / "Program Files/Sample Player"
LINK = DRIVE / "ProgramData/Microsoft/Windows/Start Menu/Programs/Sample Player.lnk"
KEY = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\SamplePlayer"
UNINSTALLER = r"C:\Program Files\Sample Player\uninstall.exe"  # does nothing if started by a Unix path


def build(folder, version):
    """Returns the installer of a product whose programs differ from version to version."""
    product = folder / version / "bin"
    product.mkdir(parents=True)
    for source, name in (("first_steps", "player.exe"), ("update_service", "update_service.exe")):
        (product / name).write_bytes((prefix.BIN / f"{source}.exe").read_bytes() + version.encode())
    shutil.copy(prefix.BIN / "zelsyshelper.dll", product)
    output = folder / f"player-{version}.exe"
    subprocess.run(
        [
            "makensis",
            "-V2",
            f"-DPRODUCT={product.parent}",
            f"-DVERSION={version}",
            f"-DOUTPUT={output}",
            SCRIPT,
        ],
        check=True,
    )
    return output


def leftovers():
    """Returns the temporary folders of installers, which cannot be deleted while a DLL in them is loaded."""
    return list((prefix.ROAMING.parents[1]).glob("**/Temp/ns*.tmp"))


def expect(condition, problem):
    if not condition:
        raise SystemExit(f"nsis: {problem}")


def install(installer, version, *options, expected=0):
    code = prefix.run(installer, "/S", *options).returncode
    print(" ".join(["$", installer.name, "/S", *options, f"  (exit code {code})"]))
    expect(code == expected, "the exit code is wrong")
    files = {path.relative_to(INSTALLED).as_posix() for path in INSTALLED.rglob("*") if path.is_file()}
    expect(
        files == {"uninstall.exe", "bin/player.exe", "bin/update_service.exe", "bin/zelsyshelper.dll"}, files
    )
    for program in "player.exe", "update_service.exe":
        expect(
            (INSTALLED / "bin" / program).read_bytes().endswith(version.encode()),
            f"{program} is not {version}",
        )
    expect(
        f"REG_SZ    {version}" in prefix.run("reg.exe", "query", KEY, "/v", "DisplayVersion").stdout,
        "no version",
    )
    expect(b"player.exe" in LINK.read_bytes(), "the link leads elsewhere")
    expect(prefix.host("is-running", "update_service.exe").returncode == 0, "the update service does not run")
    expect(not leftovers(), leftovers())


def uninstall():
    expect(
        prefix.run(UNINSTALLER, "/S").returncode == 0, "the uninstaller fails"
    )  # starts a copy of itself and ends
    end = time.monotonic() + 30
    while INSTALLED.exists() and time.monotonic() < end:
        time.sleep(0.2)
    print("$ uninstall /S")
    expect(not INSTALLED.exists() and not LINK.exists(), "files are left")
    expect(prefix.run("reg.exe", "query", KEY).returncode != 0, "the registry key is left")
    expect(prefix.host("service", "status").returncode == 1, "the service is left")
    expect(prefix.host("is-running", "update_service.exe").returncode == 1, "the service still runs")
    expect(not leftovers(), leftovers())


def show(folder):
    print("\n== An NSIS installer: install, upgrade, refuse another folder, uninstall; all of it twice ==")
    first, second = build(folder, "1.0"), build(folder, "1.1")
    for _ in range(2):
        install(first, "1.0")
        install(second, "1.1")
        install(first, "1.1", r"/D=C:\elsewhere", expected=2)
        uninstall()
