"""The Wine prefix of this run: where the library keeps its files, and how to run programs."""

import os
import subprocess
from pathlib import Path
from tempfile import TemporaryFile

WINE = os.environ["WINE"]
ROAMING = next((Path(os.environ["WINEPREFIX"]) / "drive_c/users").glob("*/AppData/Roaming"))
SETTINGS = ROAMING / "Quenlith"
COMMON_CONFIG = SETTINGS / "common.cfg"
LOGS = ROAMING / "logs"
LOG = LOGS / "Quenlith.log"
# One program in several thousand does not start: Linux sometimes occupies an address that Wine needs. A
# program that has started shows the same message if this happens to a process that Wine starts for it.
START_FAILED = "failed to map the shared user data"
SECRET = "s3cret-pw"  # the proxy's password
BIN = Path(os.environ.get("ZELSYS_BIN", Path(__file__).parents[2] / "build/bin"))


def command_of(program, *arguments):
    """Returns the command that runs a Windows program under Wine. Paths become Windows paths."""
    texts = (windows_path(given) if isinstance(given, Path) else str(given) for given in arguments)
    return [WINE, str(program), *texts]


def run(program, *arguments, timeout=60, check=False, **options):
    """Runs a Windows program and returns the result of `subprocess.run`, with stdout and stderr as text.
    Fails if one of them, or a log, contains the proxy's password. Paths become Windows paths."""
    for _ in range(3):
        # Files, not pipes: a process that Wine starts meanwhile, such as its desktop, keeps a pipe open.
        with TemporaryFile() as output, TemporaryFile() as errors:
            result = subprocess.run(
                command_of(program, *arguments),
                stdout=output,
                stderr=errors,
                timeout=timeout,
                stdin=subprocess.DEVNULL,
                **options,
            )
            for name, file in ("stdout", output), ("stderr", errors):
                file.seek(0)
                setattr(result, name, file.read().decode("utf-8").replace("\r\n", "\n").replace("\r", "\n"))
        if START_FAILED not in result.stderr or result.returncode == 0 or result.stdout:
            break
    logs = [log.read_text(errors="replace") for log in LOGS.glob("*.log*") if log.is_file()]
    if any(SECRET in text for text in (result.stdout, result.stderr, *logs)):
        raise AssertionError(f"{program} {arguments} reveals the proxy's password")
    if check and result.returncode != 0:
        raise AssertionError(f"{program} {arguments} failed: {result}")
    return result


def host(*arguments, **options):
    """Runs the console host with the built library."""
    return run(BIN / "zelsyshelper-host.exe", *arguments, **options)


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def trust(authority):
    """Makes programs that start from now on trust the authority."""
    run("regedit.exe", "/S", authority.registry_file(), check=True)


def set_proxy(port, **more):
    """Directs the library's events to a proxy on loopback; `more` adds or replaces keys of the settings."""
    SETTINGS.mkdir(exist_ok=True)
    keys = {
        "ProxyType": 1,
        "ProxyAddress": "127.0.0.1",
        "ProxyPort": port,
        "ProxyUser": "user",
        "ProxyPw": SECRET,
        **more,
    }
    COMMON_CONFIG.write_text("".join(f"{key}={value}\n" for key, value in keys.items()))


def set_log_level(level):
    LOGS.mkdir(exist_ok=True)
    (LOGS / "Quenlith.cfg").write_text(f"Level={level}\n")
