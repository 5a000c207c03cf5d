"""Checks headers, built DLL, symbols and generated pages against the sources."""

import re
import subprocess
import sys
import unittest
import uuid
from pathlib import Path

ROOT = Path(__file__).parents[2]
DLL = ROOT / "build/bin/zelsyshelper.dll"


def llvm(tool, *arguments):
    return subprocess.run([f"llvm-{tool}", *arguments], capture_output=True, text=True, check=True).stdout


def functions():
    """Returns the names that the public header declares."""
    header = (ROOT / "include/zelsyshelper.h").read_text()
    return set(re.findall(r"^ZELSYSHELPER_API \w[\w *]*?(\w+)\(", header, re.M))


def targets():
    """Maps each folder that is a CMake target to the folders that it may include."""
    text = (ROOT / "CMakeLists.txt").read_text()
    calls = [call.split() for call in re.findall(r"zelsys_folder\(([^)]*)\)", text)]
    folders = {call[0]: call[1] for call in calls}
    return {
        call[1]: {folders[name] for name in call[call.index("DEPENDS") + 1 :]} if "DEPENDS" in call else set()
        for call in calls
    }


class Project(unittest.TestCase):
    def test_headers_are_self_contained(self):
        header, loader = ROOT / "include/zelsyshelper.h", ROOT / "include/zelsyshelper_load.hpp"
        gnu, languages = "x86_64-w64-mingw32-gcc-posix", ("c -std=c99", "c++ -std=c++11")
        cases = [(compiler, language, header) for compiler in ("gcc", "clang", gnu) for language in languages]
        for compiler, language, path in cases + [(gnu, "c++ -std=c++11", loader)]:
            with self.subTest(compiler=compiler, language=language, path=path.name):
                source = f'#include "{path}"\n#ifdef min\n#error min\n#endif\n'
                source += "#include <winsock2.h>\n" if path == loader else ""
                options = f"-x {language} -fsyntax-only -Wall -Wextra -Wpedantic -Werror -".split()
                subprocess.run([compiler, *options], input=source, text=True, check=True)

    def test_dependency_diagram_matches_the_build(self):
        drawn = {}
        for line in (ROOT / "docs/architecture.md").read_text().splitlines():
            if found := re.fullmatch(r"    (\S.*?) +-> +(.*)", line):
                for folder in found[1].split(", "):
                    drawn[folder] = set(found[2].split(", "))
        built = {folder: below for folder, below in targets().items() if below}
        exports = drawn.pop("modules/zelsyshelper/src")
        self.assertEqual(drawn, built)
        text = (ROOT / "modules/zelsyshelper/src/CMakeLists.txt").read_text()
        linked = re.search(r"PRIVATE zelsys_options export_frame ([^)]*)\)", text)[1].split()
        self.assertLessEqual({"ui/common/stat" if name == "stat" else name for name in linked}, exports)

    def test_dll_is_small_and_imports_no_heavy_dll(self):
        imports = re.findall(r"^ +Name: (\S+)$", llvm("readobj", "--coff-imports", DLL), re.M)
        self.assertEqual(imports, ["KERNEL32.dll", "msvcrt.dll"])
        exports = set(re.findall(r"^ +Name: (\w+)$", llvm("readobj", "--coff-exports", DLL), re.M))
        self.assertEqual(exports, functions())
        self.assertLess(DLL.stat().st_size, 350_000)

    def test_exceptions_can_pass_through_each_function(self):
        """Without unwind information, an exception restores wrong registers. Leaf functions need none."""
        for binary in DLL, DLL.with_name("zelsyshelper-host.exe"):
            code = llvm("objdump", "-d", "--no-show-raw-insn", binary)
            calls = {int(address, 16) for address in re.findall(r"^ *(\w+): +\tcall", code, re.M)}
            self.assertGreater(len(calls), 1000)
            edges = r"StartAddress: .*\((\w+)\)\n +EndAddress: .*\((\w+)\)"
            for start, end in re.findall(edges, llvm("readobj", "--unwind", binary)):
                calls -= set(range(int(start, 16), int(end, 16)))
            places = llvm("symbolizer", "--no-inlines", f"--obj={binary}", *map(hex, calls)) if calls else ""
            # LLVM 14 writes none for __clang_call_terminate, but no exception leaves that function.
            self.assertLessEqual(set(places.split("\n")[::3]) - {""}, {"__clang_call_terminate"}, binary.name)

    def test_pdbs_match_and_slots_of_delayed_imports_are_writable(self):
        """Newer linkers make .idata read-only: a delayed import's first call would crash writing its slot."""
        for binary, name, source in (
            (DLL, "getOsVersion", "modules/zelsyshelper/src/system_helper.cpp"),
            (DLL.with_name("zelsyshelper-host.exe"), "wmain", "tools/host/main.cpp"),
        ):
            directory = llvm("readobj", "--coff-debug-directory", binary)
            parts = re.search(r"PDBGUID: (.*)\n +PDBAge: 1\n +PDBFileName: (.*)\n", directory)
            pdb = binary.with_suffix(".pdb")
            guid = uuid.UUID(llvm("pdbutil", "dump", "-summary", pdb).split("GUID: ")[1][1:37])
            # LLVM 14 prints the bytes of the GUID, LLVM 19 its text form.
            own = parts[1].strip("()")
            own = uuid.UUID(own) if "-" in own else uuid.UUID(bytes_le=bytes.fromhex(own))
            self.assertEqual((own, parts[2]), (guid, pdb.name))
            symbol = re.search(rf"`{name}`\n.* addr = (\d+):(\d+)", llvm("pdbutil", "dump", "-publics", pdb))
            starts = re.findall(r"VirtualAddress: (\w+)", llvm("readobj", "--sections", binary))
            address = hex(int(starts[int(symbol[1]) - 1], 16) + int(symbol[2]))
            place = llvm("symbolizer", "--relative-address", f"--obj={binary}", address)
            line = int(re.match(rf"{name}\n.*\\{Path(source).name}:(\d+):", place)[1])
            self.assertIn(name, "".join((ROOT / source).read_text().split("\n")[line - 2 : line]), place)

        imports = (ROOT / "modules/zelsyshelper/src/delayed_imports.cpp").read_text()
        names = re.findall(r"^ZELSYS_DELAYED\(\w+, (\w+),", imports, re.M)
        self.assertGreater(len(names), 40)
        symbols = llvm("pdbutil", "dump", "-publics", DLL.with_suffix(".pdb"))
        slots = dict(re.findall(r"`__imp_(\w+)`\n.* addr = (\d+):", symbols))
        sections = llvm("readobj", "--sections", DLL)
        writable = re.findall(r"Number: (\d+)(?:(?!Number:).)*IMAGE_SCN_MEM_WRITE", sections, re.S)
        self.assertEqual([name for name in names if str(int(slots[name])) not in writable], [])

    def test_architecture_page_names_every_top_level_entry(self):
        files = subprocess.check_output(["git", "ls-files"], cwd=ROOT, text=True).splitlines()
        named = re.findall(r"`([^`]+?)/?`", (ROOT / "docs/architecture.md").read_text())
        entries = {file.split("/")[0] for file in files}
        self.assertEqual(entries - {name.split("/")[0] for name in named}, set())

    def test_last_callback_of_a_request_does_not_return(self):
        """The library may be unloaded once the callback releases its lock. A jump must end the callback."""
        code = llvm("objdump", "-d", ROOT / "build/CMakeFiles/xferlib.dir/xferlib/async_request.cpp.obj")
        for name in "AsyncRequest8onStatus", "Signal3setEv":
            body = re.search(rf"<\w*{name}\w*>:\n(.*?)(?:\n\n|\Z)", code, re.S)[1]
            self.assertRegex(body.splitlines()[-1], r"\tjmpq?\s", name)

    def test_lists_of_functions_match_the_header(self):
        command = [sys.executable, ROOT / "tools/docs/exports.py", "--check"]
        check = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(check.stderr, "")
        for file in "tests/soak/calls.h", "bench/counts_bench.cpp":
            text = (ROOT / file).read_text()
            rows, calls = re.findall(r'\{"([^"]*)"', text), re.findall(r"(\w+)[(,)]", text)
            covered = set(re.findall(r"\w+", " ".join(rows))) & set(calls)
            self.assertEqual(functions() - covered, set(), f"{file} has no row for these")
        for place, name in ("tools/host/*.cpp", r"library\.(\w+)\("), ("docs/benchmarks.md", r"\w+"):
            text = "".join(path.read_text() for path in ROOT.glob(place))
            self.assertEqual(functions() - set(re.findall(name, text)), set(), f"{place} lacks these")


if __name__ == "__main__":
    unittest.main(verbosity=2)
