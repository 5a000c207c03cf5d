"""Runs shell functions and system queries of the built library on real files, through the console host."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from functools import partial
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[4] / "tools/loopback"))
import prefix  # noqa: E402

EXTENSION = "gmbkafodnhelcjpibgkmdoafhnecjlpb"
OTHER_EXTENSION = "mhjfbmdgcfjbbpaeojofohoefgiehjai"  # listed in preferences.json


class Shell(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.source, self.destination = self.folder / "source", self.folder / "destination"

    def make(self, root, *names):
        """Creates files that contain their own names. Names that end in a slash are folders."""
        for name in names:
            path = root / name
            (path if name.endswith("/") else path.parent).mkdir(parents=True, exist_ok=True)
            if not name.endswith("/"):
                path.write_text(name)

    def names(self, root):
        return sorted(str(path.relative_to(root)) for path in root.rglob("*"))

    def copy(self, source=None, destination=None):
        """Copies a tree and returns the printed errors. Checks exit code and the count in the last line."""
        result = prefix.host("copy-dir", source or self.source, destination or self.destination)
        *lines, count = result.stdout.splitlines()
        self.assertEqual((int(count.split()[0]), result.returncode), (len(lines), int(bool(lines))), result)
        return lines

    def test_root_files_before_the_first_subfolder_are_not_copied(self):
        self.make(self.source, "0.txt", "a/b/c.txt", "a/empty/", "z.txt")
        self.assertEqual(self.copy(), ["error RemoveDirectory: 2", "error copy: 3"])
        copied = ["a", "a/b", "a/b/c.txt", "a/empty", "z.txt"]
        self.assertEqual(self.names(self.destination), copied)
        self.assertEqual((self.destination / "a/b/c.txt").read_text(), "a/b/c.txt")
        self.make(self.destination, "old/deep/file", "a/b/c.txt")
        (self.source / "0.txt").unlink()
        for source in (self.source, f"\\\\?\\{prefix.windows_path(self.source)}\\"):
            self.assertEqual(self.copy(source), [])
            self.assertEqual(self.names(self.destination), copied)
        for source in (self.source / "z.txt", self.folder / "none"):
            result = prefix.host("copy-dir", source, self.destination)
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertEqual(self.names(self.destination), copied, "nothing is deleted without a source")

    def test_undeletable_files_are_not_overwritten(self):
        self.make(self.source, "a/file", "a/other")
        self.make(self.destination, "a/file", "b/file")
        (self.destination / "a/file").write_text("old")
        (self.destination / "a/file").chmod(0o444)
        left = "RemoveDirectory: 145"
        errors = "delete: 5", left, left, "create directory: 183", "copy: 80"
        self.assertEqual(self.copy(), [f"error {error}" for error in errors])
        self.assertEqual(self.names(self.destination), ["a", "a/file", "a/other"])
        self.assertEqual((self.destination / "a/file").read_text(), "old")

    def test_deleting_follows_no_links_and_copying_no_cycles(self):
        self.make(self.folder, "outside/keep", "outside/deep/keep")
        self.make(self.source, "a/file", "a/z/file")
        (self.source / "a/out").symlink_to(self.folder / "outside")
        (self.source / "a/z/round").symlink_to(self.source)
        (self.source / "a/z/up").symlink_to(self.folder)
        (self.source / "a/z/copies").symlink_to(self.destination / "a")
        self.make(self.destination, "x/")
        (self.destination / "x/link").symlink_to(self.folder / "outside")
        # Wine refuses to remove a link to a folder that is not empty.
        self.assertEqual(self.copy(), ["error RemoveDirectory: 145"] * 3 + ["error copy: 1921"] * 3)
        self.assertEqual(self.names(self.folder / "outside"), ["deep", "deep/keep", "keep"])
        copied = (
            "a a/file a/out a/out/deep a/out/deep/keep a/out/keep a/z a/z/copies a/z/file a/z/round a/z/up"
        )
        self.assertEqual([name for name in self.names(self.destination) if name[0] == "a"], copied.split())
        link = self.folder / "link"
        link.symlink_to(self.folder / "outside")
        for destination in (link, prefix.windows_path(link) + "\\"):
            self.copy(destination=destination)
            self.assertIn("keep", self.names(self.folder / "outside"), "the destination itself is a link")

    def test_refused_paths_touch_nothing(self):
        self.make(self.source, "a/file")
        drive = Path(os.environ["WINEPREFIX"]) / "dosdevices/y:"
        drive.symlink_to(self.folder)
        self.addCleanup(drive.unlink)
        with_source = os.environ | {"SOURCE": prefix.windows_path(self.source)}
        result = prefix.run(prefix.BIN / "exports_test.exe", "--gtest_filter=OnADrive.*", env=with_source)
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertIn("[  PASSED  ] 1 test", result.stdout)

    def test_a_longer_name_is_no_ancestor(self):
        self.make(self.folder, "foobar/a/file")
        self.assertEqual(self.copy(self.folder / "foobar", self.folder / "foo"), ["error RemoveDirectory: 2"])
        self.assertEqual(self.names(self.folder / "foo"), ["a", "a/file"])

    def test_destination_inside_the_source_is_not_copied_into_itself(self):
        alias = self.folder / "alias"
        alias.symlink_to(self.source)
        for source in (self.source, alias):
            self.make(self.source, "a/file", "m/", "z/file")
            self.assertEqual(self.copy(source, self.source / "m/n")[-1:], ["error copy: 1921"])
            self.assertEqual(self.names(self.source / "m/n"), ["a", "a/file", "m", "m/n", "z", "z/file"])

    def test_long_paths_are_truncated_safely(self):
        self.make(self.source, "a/file")
        self.make(self.folder, "outside/keep")
        room = 508 - len(prefix.windows_path(self.folder / "t"))
        folders, rest = divmod(room - 2, 100)
        deep = self.folder / "t" / "/".join(["d" * 99] * folders) / ("e" * (rest + 1))
        # If truncated, these paths lead to the link "abc", to the folder itself and to its parent.
        longer = deep.with_name(deep.name + "g")
        for root, name in (deep, "abcdef/y/file"), (deep / "ef", "x/file"), (longer, "..x/file"):
            with self.subTest(name):
                self.make(root, name)
                self.make(root.parent, "beside")
                link = deep / "abc"
                if root == deep:
                    link.symlink_to(self.folder / "outside")
                self.assertTrue(self.copy(destination=root))
                self.assertTrue((root.parent / "beside").exists() and (self.folder / "outside/keep").exists())
                link.unlink(missing_ok=True)
                self.copy(destination=self.folder / "t")  # terminates, too

    def test_link_is_readable_by_another_program(self):
        link = self.folder / "a link.lnk"
        for target, *description in (r"C:\windows\notepad.exe", "To write"), (r"C:\no such\program.exe",):
            result = prefix.host("link", "create", f"  {target} ", link, *description)
            self.assertEqual(result.returncode, 0, result.stderr)
            text = subprocess.run(["lnkinfo", str(link)], capture_output=True, text=True, check=True).stdout
            fields = dict(line.strip().split(":", 1) for line in text.splitlines() if ":" in line)
            # Newer versions of lnkinfo double backslashes.
            fields = {name.strip(): value.strip().replace("\\\\", "\\") for name, value in fields.items()}
            self.assertEqual(fields["Local path"], target)
            self.assertEqual([fields[name] for name in fields if name == "Description"], description)

    def test_extension(self):
        preferences = prefix.ROAMING.parent / "Local/Google/Chrome/User Data/Default/Preferences"
        clear = partial(shutil.rmtree, preferences.parent, ignore_errors=True)
        clear()  # an interrupted run leaves the file
        self.addCleanup(clear)
        state = lambda: prefix.host("extension").stdout.strip()  # noqa: E731
        self.assertEqual(state(), "not listed")
        preferences.mkdir(parents=True)
        self.assertEqual(state(), "not listed")
        preferences.rmdir()
        real = (Path(__file__).parent / "preferences.json").read_text()
        for text, expected in (
            (real, "not listed"),
            (real.replace(OTHER_EXTENSION, EXTENSION), "listed"),
            (f'{{"pinned":["{EXTENSION}"]}}', "not listed"),
            ("", "not listed"),
        ):
            preferences.write_text(text)
            self.assertEqual(state(), expected)

    def test_os_version(self):
        key = "HKCU\\Software\\Wine\\AppDefaults\\zelsyshelper-host.exe"
        self.addCleanup(prefix.run, "reg.exe", "delete", key, "/f")
        neither = "neither Windows 10 nor Windows 11\n"
        for version, code, text in ("win7", 1, neither), ("win10", 0, "10.0.0\n"):
            prefix.run("reg.exe", "add", key, "/v", "Version", "/d", version, "/f", check=True)
            result = prefix.host("os-version")
            self.assertEqual((result.returncode, result.stdout), (code, text), version)


if __name__ == "__main__":
    unittest.main(verbosity=2)
