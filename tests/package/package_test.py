"""Checks that the package is reproducible, that its README works, and that its programs can be signed."""

import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

ROOT = Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "tools/loopback"))
import prefix  # noqa: E402


def run(*command, **options):
    """Runs a command that must succeed, and returns its output."""
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command}: {result.stdout}")
    return result.stdout


def package(root, *arguments):
    """Creates the package of a tree and returns its path."""
    return root / run(root / "scripts/package.sh", *arguments).split()[-1]


def built_by(toolchain):
    """Returns an environment in which CMake uses one of the project's toolchains."""
    return os.environ | {
        "CMAKE_GENERATOR": "Ninja",
        "CMAKE_TOOLCHAIN_FILE": f"{ROOT}/cmake/{toolchain}.cmake",
        "CXXFLAGS": "-Wall -Wextra -Wpedantic -Werror",
    }


class Package(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))

    def unpacked(self, archive):
        with zipfile.ZipFile(archive) as content:
            content.extractall(self.folder)
        folder = self.folder / archive.stem.removesuffix("-signed")
        run("sha256sum", "--check", "--quiet", "SHA256SUMS", cwd=folder)
        return folder

    def test_another_folder_gives_the_same_bytes(self):
        elsewhere = self.folder / "elsewhere"
        for file in filter(None, run("git", "ls-files", "-z", cwd=ROOT).split("\0")):
            (elsewhere / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / file, elsewhere / file)
        (elsewhere / "examples/build/left").mkdir(parents=True)
        (elsewhere / "examples/build/left/over.c").touch()
        here = package(ROOT)
        os.environ["SOURCE_DATE_EPOCH"] = run("git", "log", "-1", "--format=%ct", cwd=ROOT).strip()
        there = package(elsewhere)
        with zipfile.ZipFile(here) as one, zipfile.ZipFile(there) as other:
            for entry in one.infolist():
                self.assertEqual(entry.CRC, other.getinfo(entry.filename).CRC, entry.filename)
        self.assertEqual(here.read_bytes(), there.read_bytes())

    def test_readme_leads_to_programs_that_run(self):
        root = self.unpacked(package(ROOT))
        text = (root / "README.md").read_text()
        for path in re.findall(r"`((?:bin|docs|include|lib|src)/[\w/.-]*)`", text):
            self.assertTrue((root / path).exists(), path)
        for page in root.rglob("*.md"):
            for path in re.findall(r"\]\(([^):#]+)[)#]", page.read_text()):
                self.assertTrue((page.parent / path).exists(), f"{page.name}: {path}")
        for binary in (root / "bin").iterdir():  # project_test compares programs and PDBs in build/bin
            for file in binary, root / "symbols" / f"{binary.stem}.pdb":
                self.assertEqual(file.read_bytes(), (ROOT / "build/bin" / file.name).read_bytes(), file.name)
        for name, content in re.findall(r"^`(player/\S+)`:\n\n```\w+\n(.*?)^```$", text, re.M | re.S):
            (root / name).parent.mkdir(exist_ok=True)
            (root / name).write_text(content)
        for commands in re.findall(r"^```sh\n(.*?)^```$", text, re.M | re.S):
            run("bash", "-ec", commands, cwd=root, env=built_by("mingw-w64"))
        self.assertIn("skin dark", prefix.run(root / "build/player/player.exe", cwd=root / "build").stdout)

        # The server in plain C, with the library as its client.
        example = root / "build/examples/bin/single_instance_c.exe"
        with subprocess.Popen(
            [prefix.WINE, example, "Outside"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        ) as first:
            self.assertIn("serving", first.stdout.readline())
            self.assertEqual(prefix.run(example, "OUTSIDE").returncode, 1)
            served = first.communicate("\n", timeout=30)[0].splitlines()
            self.assertEqual(served, ["asked for the window", "asked to come to the front"])

        # A second compiler builds the channel's sources and the header that loads the library at run time.
        source, build = Path(__file__).parent / "outside", root / "build/outside"
        places = f"-DCMAKE_PREFIX_PATH={root}", f"-DCMAKE_RUNTIME_OUTPUT_DIRECTORY={example.parent}"
        run("cmake", "-S", source, "-B", build, *places, env=built_by("clang-mingw"))
        run("cmake", "--build", build)
        self.assertEqual(prefix.run(example.parent / "loaded.exe").returncode, 42)

    def test_programs_are_signed_on_request(self):
        (self.folder / "passphrase").write_text("of the key\n")
        key = "-newkey rsa:2048 -passout file:passphrase -keyout key.pem".split()
        options = "-x509 -subj /CN=test -addext extendedKeyUsage=codeSigning -out certificate.pem".split()
        run("openssl", "req", *key, *options, cwd=self.folder)
        before = (ROOT / "build/bin/zelsyshelper.dll").read_bytes()
        certificate, key, phrase = map(self.folder.joinpath, ("certificate.pem", "key.pem", "passphrase"))
        root = self.unpacked(package(ROOT, "--sign", certificate, key, "--passphrase", phrase))
        for program in "zelsyshelper.dll", "zelsyshelper-host.exe":
            run("osslsigncode", "verify", "-CAfile", certificate, "-in", root / "bin" / program)
        self.assertEqual((ROOT / "build/bin/zelsyshelper.dll").read_bytes(), before)


if __name__ == "__main__":
    unittest.main(verbosity=2)
