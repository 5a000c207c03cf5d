"""Creates an archive of what the build installs, with a manifest of its files. For scripts/package.sh."""

import argparse
import hashlib
import os
import re
import shutil
import subprocess
import time
import zipfile
from pathlib import Path

ROOT = Path(__file__).parents[2]
BUILD = ROOT / "build"
DATE = time.gmtime(max(int(os.environ["SOURCE_DATE_EPOCH"]), 315532800))[:6]  # zip has no date before 1980
NO_PATHS = (
    str(ROOT).encode(),
    str(ROOT).replace("/", "_").encode(),
    *([str(Path.home()).encode() + b"/"] if Path.home() != Path("/") else []),
)


def files_of(folder):
    return sorted(path for path in folder.rglob("*") if path.is_file())


def check(path):
    """Returns the SHA-256 of a file. Fails if the file contains a path of the building machine."""
    content = path.read_bytes()
    for found in NO_PATHS:
        if found in content:
            raise SystemExit(f"package: {path.name} contains the path {found.decode()}")
    return hashlib.sha256(content).hexdigest()


def sign(path, certificate, key, passphrase, timestamp):
    """Signs a program or DLL in place."""
    signed = path.with_suffix(".signed")
    options = ["-readpass", passphrase] if passphrase else []
    options += ["-ts", timestamp] if timestamp else []
    result = subprocess.run(
        [
            "osslsigncode",
            "sign",
            "-certs",
            certificate,
            "-key",
            key,
            "-h",
            "sha256",
            *options,
            "-n",
            "zelsyshelper",
            "-in",
            path,
            "-out",
            signed,
        ],
        stdout=subprocess.PIPE,
        text=True,
    )
    if result.returncode != 0:
        raise SystemExit(f"package: osslsigncode cannot sign {path.name}: {result.stdout.strip()}")
    signed.replace(path)


def main():
    parser = argparse.ArgumentParser(prog="package.sh")
    parser.add_argument("--sign", nargs=2, metavar=("CERTIFICATE", "KEY"))
    parser.add_argument("--passphrase", metavar="FILE")
    parser.add_argument("--timestamp", metavar="URL")
    arguments = parser.parse_args()
    if (arguments.passphrase or arguments.timestamp) and not arguments.sign:
        parser.error("--passphrase and --timestamp need --sign")

    version = re.search(r"VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text().split("project(", 1)[1])[1]
    name = f"zelsyshelper-{version}-win64"
    stage = BUILD / "package" / name
    archive = BUILD / f"{name}{'-signed' if arguments.sign else ''}.zip"
    archive.unlink(missing_ok=True)  # after a failure, an old archive would look like a new one
    shutil.rmtree(stage, ignore_errors=True)
    subprocess.run(
        ["cmake", "--install", str(BUILD), "--prefix", str(stage)], check=True, stdout=subprocess.DEVNULL
    )
    if arguments.sign:
        for program in (stage / "bin").iterdir():
            sign(program, *arguments.sign, arguments.passphrase, arguments.timestamp)

    files = files_of(stage)
    manifest = "".join(f"{check(path)}  {path.relative_to(stage).as_posix()}\n" for path in files)
    (stage / "SHA256SUMS").write_text(manifest)

    with zipfile.ZipFile(archive, "w") as target:
        for path in files_of(stage):
            entry = zipfile.ZipInfo(f"{name}/{path.relative_to(stage).as_posix()}", DATE)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o100644 << 16
            target.writestr(entry, path.read_bytes(), compresslevel=9)
    print(f"{hashlib.sha256(archive.read_bytes()).hexdigest()}  {archive.relative_to(ROOT)}")


main()
