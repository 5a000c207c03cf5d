"""The package: the same bytes from another folder, and enough for a project that knows nothing else."""

import os
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


def package(root):
    """Makes the package of a tree and returns its path."""
    line = subprocess.run([root / "scripts/package.sh"], check=True, capture_output=True, text=True).stdout
    return root / line.split()[-1]


class Package(unittest.TestCase):
    def test_another_folder_gives_the_same_bytes_and_an_outside_project_works_with_them(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            here = package(ROOT)
            files = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
            for file in filter(None, files.split("\0")):
                (folder / "elsewhere" / file).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(ROOT / file, folder / "elsewhere" / file)
            os.environ["SOURCE_DATE_EPOCH"] = subprocess.run(["git", "log", "-1", "--format=%ct"], cwd=ROOT, check=True,
                                                             capture_output=True, text=True).stdout.strip()
            there = package(folder / "elsewhere")
            with zipfile.ZipFile(here) as one, zipfile.ZipFile(there) as other:
                self.assertEqual([entry.filename for entry in one.infolist() if entry.CRC != other.getinfo(entry.filename).CRC],
                                 [], "these differ")
                one.extractall(folder)
            self.assertEqual(here.read_bytes(), there.read_bytes())

            unpacked = folder / here.stem
            subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=unpacked, check=True)
            subprocess.run(["cmake", "-G", "Ninja", "-S", Path(__file__).parent / "outside", "-B", folder / "built",
                            f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/mingw-w64.cmake",
                            f"-Dzelsyshelper_DIR={unpacked}/lib/cmake/zelsyshelper"], check=True, capture_output=True)
            subprocess.run(["cmake", "--build", folder / "built"], check=True, capture_output=True)
            shutil.copy(unpacked / "bin/zelsyshelper.dll", folder / "built")
            for program in ("linked.exe", "loaded.exe"):
                self.assertEqual(prefix.run(folder / "built" / program).returncode, 42, program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
